#!/usr/bin/env python3
"""Compares the pings, beams and sound speeds of a line with the raw file that it was imported from, read here without any
code of the tool. Prints what was compared; ends with status 1 at the first difference.
Usage: independent_swath.py SKAR LINE RAWFILE"""

import collections
import csv
import datetime
import math
import struct
import subprocess
import sys

NOT_DETECTED, NO_NUMBER, PHASE = 1 << 31, 1 << 28, 1 << 16
# Leap seconds since 1980 as the store counts them, from the day on which each was first counted in full.
LEAPS = (
    "19810701 19820701 19830701 19850701 19880101 19900101 19910101 19920701 19930701 19940701 19960101 19970701 "
    "19990101 20060101 20090101 20120701"
).split()
WGS84_A, WGS84_F = 6378137.0, 1 / 298.257223563


def store_time(date, ms):
    days = (datetime.datetime.strptime(str(date), "%Y%m%d") - datetime.datetime(1980, 1, 1)).days
    return days * 86400 + ms / 1000 + sum(leap <= str(date) for leap in LEAPS)


class Raw:
    def __init__(self):
        self.track, self.depths, self.ranges, self.speeds, self.errors = [], [], [], [], []


def read_all(data):
    raw = Raw()
    offset = 0
    while offset < len(data):
        (length,) = struct.unpack_from("<I", data, offset)
        body = data[offset + 4 : offset + 4 + length]
        offset += 4 + length
        date, ms, _, serial = struct.unpack_from("<IIHH", body, 4)
        time = store_time(date, ms)
        kind = chr(body[1])
        if kind == "P" and body[32] & 0x80:
            latitude, longitude = struct.unpack_from("<ii", body, 16)
            raw.track.append((time, math.radians(latitude / 2e7), math.radians(longitude / 1e7)))
        elif kind == "X":
            heading, _, below, count = struct.unpack_from("<HHfH", body, 16)
            beams = []
            for i in range(count):
                z, y, x = struct.unpack_from("<fff", body, 36 + 20 * i)
                detection = body[36 + 20 * i + 16]
                status = NOT_DETECTED if detection & 0x80 else PHASE if detection & 0x0F == 1 else 0
                beams.append((y, x, z + below, status))
            raw.depths.append((time, serial, math.radians(heading / 100), beams))
        elif kind == "N":
            speed, sectors, count = struct.unpack_from("<HHH", body, 16)
            tilts = [struct.unpack_from("<h6xf", body, 32 + 24 * i) for i in range(sectors)]
            beams = []
            for i in range(count):
                angle, sector, detection, travel = struct.unpack_from("<hBB4xf", body, 32 + 24 * sectors + 16 * i)
                status = NOT_DETECTED if detection & 0x80 else PHASE if detection & 0x0F == 1 else 0
                beams.append((travel * speed / 20, travel, math.radians(angle / 100),
                              math.radians(tilts[sector][0] / 100), tilts[sector][1], status))
            if beams[0][2] > beams[-1][2]:
                beams = [(r, t, -a, tilt, delay, s) for r, t, a, tilt, delay, s in beams]
            raw.ranges.append((time, serial, None, beams))
        elif kind == "U":
            count, resolution = struct.unpack_from("<HH", body, 24)
            for i in range(count):
                depth, speed = struct.unpack_from("<II", body, 28 + 8 * i)
                if depth * resolution <= 655350:
                    raw.speeds.append((time, speed / 10, depth * resolution / 100, 1))
        elif kind == "G":
            (count,) = struct.unpack_from("<H", body, 16)
            for i in range(count):
                after, speed = struct.unpack_from("<HH", body, 18 + 4 * i)
                raw.speeds.append((time + after, speed / 10, 0, 0))
    return raw


def read_gsf(data):
    raw = Raw()
    offset, factors = 0, {}
    natural = {1: "H", 2: "h", 3: "h", 4: "H", 5: "h", 16: "B", 18: "H", 19: "H", 20: "H"}

    def moment(seconds, nanoseconds):
        at = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
        midnight = at.replace(hour=0, minute=0, second=0)
        return store_time(at.strftime("%Y%m%d"), (at - midnight).total_seconds() * 1000 + nanoseconds // 1000 / 1000)

    while offset < len(data):
        size, kind = struct.unpack_from(">II", data, offset)
        body = data[offset + 8 : offset + 8 + size]
        offset += 8 + size
        if kind == 3:
            time = moment(*struct.unpack_from(">iI", body, 8))
            (count,) = struct.unpack_from(">I", body, 24)
            for i in range(count):
                depth, speed = struct.unpack_from(">ii", body, 28 + 8 * i)
                if depth <= 655354:
                    raw.speeds.append((time, math.floor(speed / 10 + 0.5) / 10, depth / 100, 1))
        if kind != 2:
            continue
        seconds, nanoseconds, longitude, latitude, count, _, bad, _, _, _, heading = struct.unpack_from(
            ">iIiiHHHHhiH", body, 0)
        time = moment(seconds, nanoseconds)
        raw.track.append((time, math.radians(latitude / 1e7), math.radians(longitude / 1e7)))
        arrays, at = {}, 56
        while at + 4 < len(body):
            (word,) = struct.unpack_from(">I", body, at)
            arrays[word >> 24] = body[at + 4 : at + 4 + (word & 0xFFFFFF)]
            at += 4 + (word & 0xFFFFFF)
        for i in range(struct.unpack_from(">I", arrays[100])[0] if 100 in arrays else 0):
            array, width, multiplier, shift = struct.unpack_from(">BBxxIi", arrays[100], 4 + 12 * i)
            factors[array] = (width >> 4, multiplier, shift)

        def values(array):
            width, multiplier, shift = factors[array]
            code = natural[array]
            if width:
                code = {1: "b", 2: "h", 4: "i"}[width] if code.islower() else {1: "B", 2: "H", 4: "I"}[width]
            return [raw / multiplier - shift for raw in struct.unpack_from(">%d%s" % (count, code), arrays[array])]

        states = [(NOT_DETECTED if flag & 1 else 0) | (1 << 29 if bad & 1 else 0) for flag in arrays[16]]
        (speed,) = struct.unpack_from(">H", arrays[134], 6)
        raw.depths.append((time, 1, math.radians(heading / 100), list(zip(values(2), values(3), values(1), states))))
        raw.ranges.append((time, 1, None, [
            (travel * speed / 20, travel, -math.radians(angle), math.radians(tilt), 0, status)
            for travel, angle, tilt, status in zip(values(4), values(5), values(18), states)]))
        raw.errors.append((time, 1, None, list(zip(values(19), values(20), states))))
    return raw


class Line:
    def __init__(self, skar, line):
        self.skar, self.line = skar, line

    def rows(self, sensor, *options):
        run = subprocess.run([self.skar, "dump", self.line, sensor, *options], capture_output=True, text=True)
        if run.returncode != 0:
            return []
        rows = csv.DictReader(line for line in run.stdout.splitlines() if not line.startswith("#"))
        return [{key: float(value) for key, value in row.items() if key != "utc" and value} for row in rows]

    def pings(self, sensor):
        beams = collections.defaultdict(list)
        for row in self.rows(sensor):
            beams[row["ping"]].append(row)
        return [(head, beams[head["ping"]]) for head in self.rows(sensor, "--pings")]


def near(what, found, expected, tolerance):
    if abs(found - expected) > tolerance:
        sys.exit("%s: %r, expected %r" % (what, found, expected))


def position_at(track, time):
    for (t0, lat0, lon0), (t1, lat1, lon1) in zip(track, track[1:]):
        if t0 - 5e-4 <= time <= t1 + 5e-4 and t1 > t0:
            part = (time - t0) / (t1 - t0)
            return lat0 + part * (lat1 - lat0), lon0 + part * (lon1 - lon0)
    return None


def compare_pings(name, expected, found, columns):
    near(name + " pings", len(found), len(expected), 0)
    heads = sorted({serial for _, serial, _, _ in expected})
    beams = 0
    for number, ((time, serial, _, wanted), (head, got)) in enumerate(zip(expected, found), 1):
        what = "%s ping %d " % (name, number)
        near(what + "time", head["time"], time, 2e-3)
        near(what + "head", int(head["status"]) & 0xFFFF, heads.index(serial) + 1, 0)
        near(what + "beams", len(got), len(wanted), 0)
        near(what + "first beam", got[0]["beam"], 1, 0)
        near(what + "last beam", got[-1]["beam"], len(wanted), 0)
        for i, (values, row) in enumerate(zip(wanted, got), 1):
            for (column, tolerance), value in zip(columns, values):
                near(what + "beam %d %s" % (i, column), row[column], value, tolerance)
            near(what + "beam %d status" % i, int(row["status"]), values[-1], 0)
        beams += len(got)
    return beams


def main(skar, path, raw_path):
    with open(raw_path, "rb") as file:
        data = file.read()
    raw = read_gsf(data) if data[8:11] == b"GSF" else read_all(data)
    raw.track.sort()
    line = Line(skar, path)

    depths = sorted(raw.depths, key=lambda ping: ping[:2])
    found = line.pings("ObservedDepths")
    beams = compare_pings("ObservedDepths", depths, found, [("y", 6e-4), ("x", 6e-4), ("z", 6e-4)])
    for number, ((time, _, _, wanted), (head, got)) in enumerate(zip(depths, found), 1):
        for pick in (min, max):
            near("depth of ping %d" % number, pick(row["z"] for row in got), pick(beam[2] for beam in wanted), 6e-4)
        ship = position_at(raw.track, time)
        near("position of ping %d is known" % number, not int(head["status"]) & NO_NUMBER, ship is not None, 0)
        if ship:
            near("latitude of ping %d" % number, head["latitude"], ship[0], 1e-7)
            near("longitude of ping %d" % number, head["longitude"], ship[1], 1e-7)
    valid = [beam[2] for ping in depths for beam in ping[3] if not beam[3] & NOT_DETECTED]

    ranges = sorted(raw.ranges, key=lambda ping: ping[:2])
    found = line.pings("SLRange")
    columns = [("range", 6e-4), ("travel", 6e-7), ("angle1", 6e-5), ("angle2", 6e-5)]
    range_beams = compare_pings("SLRange", ranges, found, columns)
    for (time, _, _, wanted), (_, got) in zip(ranges, found):
        for beam, row in zip(wanted, got):
            near("time of a beam", row["time"], time + beam[4], 2e-3)

    placed = [ping for ping in depths if position_at(raw.track, ping[0])]
    found = line.pings("ProcessedDepths")
    near("ProcessedDepths pings", len(found), len(placed), 0)
    for number, ((time, _, heading, wanted), (head, got)) in enumerate(zip(placed, found), 1):
        what = "ProcessedDepths ping %d" % number
        near(what + " time", head["time"], time, 2e-3)
        near(what + " beams", len(got), len(wanted), 0)
        latitude, longitude = position_at(raw.track, time)
        e2 = WGS84_F * (2 - WGS84_F)
        w = 1 - e2 * math.sin(latitude) ** 2
        for (y, x, z, status), row in zip(wanted, got):
            north = x * math.cos(heading) - y * math.sin(heading)
            east = x * math.sin(heading) + y * math.cos(heading)
            # By the radii of curvature at the beam's depth, to the second order of the distance.
            meridian = WGS84_A * (1 - e2) / w**1.5 - z
            normal = WGS84_A / w**0.5 - z
            tangent = math.tan(latitude)
            at_north = north / meridian - east * east * tangent / (2 * meridian * normal)
            at_east = east / (normal * math.cos(latitude)) * (1 + north * tangent / meridian)
            near(what + " latitude", row["latitude"], latitude + at_north, 2.5e-9)
            near(what + " longitude", row["longitude"], longitude + at_east, 2.5e-9 / math.cos(latitude))
            near(what + " depth", row["depth"], z, 6e-4)
            near(what + " status", int(row["status"]), status, 0)

    found = line.pings("TPE")
    error_beams = compare_pings("TPE", raw.errors, found, [("tpe1", 1e-6), ("tpe2", 1e-6)]) if raw.errors else len(found)

    speeds = sorted(raw.speeds, key=lambda speed: speed[0])
    found = line.rows("SSP")
    near("SSP records", len(found), len(speeds), 0)
    for (time, speed, depth, status), row in zip(speeds, found):
        near("SSP time", row["time"], time, 2e-3)
        near("SSP speed", row["value1"], speed, 1e-6)
        near("SSP depth", row["value2"], depth, 0.0501)
        near("SSP status", int(row["status"]), status, 0)

    extent = " %.2f to %.2f m" % (min(valid), max(valid)) if valid else ""
    print("%d X, %d beams, %d valid%s, %d N, %d beams, %d placed, %d speeds%s" % (
        len(depths), beams, len(valid), extent, len(ranges), range_beams, len(placed), len(speeds),
        ", %d beams with errors" % error_beams if error_beams else ""))


main(*sys.argv[1:])
