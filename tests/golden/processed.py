#!/usr/bin/env python3
"""Makes the golden sets of the processed depths from the layout of their three versions, in exact fractions.

It shares nothing with the library: sizes, orders and codings stand here a second time, by hand.
Run it in this folder; each case gets "<file>.hex" for its three files and "twin.txt", which says what a
caller writes and what comes back ("-" for the largest double):

    segment <status> <name>
    extents <begin> <end> <minTime> <maxTime> <minDepth> <maxDepth> <minLat> <maxLat> <minLon> <maxLon>
    ping <status> <first beam> <beams>
    written <time> <latitude> <minLat> <maxLat> <longitude> <minLon> <maxLon> <eight angles and lengths>
    read <the same>
    beam <status>
    written <time> <y> <x> <latitude> <longitude> <depth> <extra>
    read <the same>
"""
from fractions import Fraction

from make import File, save, time_index

ANGLES = (0, 2, 3, 6, 7)  # of the eight, in the order angle1 length1 angle2 angle3 length2 length3 angle4 angle5
NAMES = ("angle1", "length1", "angle2", "angle3", "length2", "length3", "angle4", "angle5")


def rounded(value):
    whole = int(abs(value) + Fraction(1, 2))
    whole = -whole if value < 0 else whole
    return (whole + 2**31) % 2**32 - 2**31


def meters(text):
    value = Fraction(text)
    return 2**31 - 1 if value > 2000000 else -2**31 if value < -2000000 else rounded(value * 1000)


def radians(text):
    return rounded(Fraction(text) * 10**7)


def numbers(values):
    return " ".join("-" if v is None else repr(float(v)) for v in values)


class Depths:
    def __init__(self, version, tool, extra, status, clock=1000, second=1000, scale=1, second_scale=1):
        self.version, self.tool, self.extra, self.status = version, tool, extra, status
        self.clock, self.second, self.scale, self.second_scale = clock, second, scale, second_scale
        self.segments, self.minute = [], None

    def segment(self, status, name):
        self.segments.append((status, name, []))

    def ping(self, status, start, time, latitude, longitude, extents, eight, beams):
        """extents: minLat maxLat minLon maxLon; beams: (status, time, y, x, latitude, longitude, depth, extra)"""
        if self.minute is None:
            self.minute = rounded(Fraction(time) / 60)
            self.reference = [rounded(Fraction(p) * 10**7) for p in (latitude, longitude)]
        self.segments[-1][2].append((status, start, time, latitude, longitude, extents, eight, beams))

    def time(self, seconds):
        return rounded((Fraction(seconds) - self.minute * 60) * self.clock)

    def read_time(self, word):
        return Fraction(word, self.clock) + self.minute * 60

    def position(self, axis, value):
        return rounded((Fraction(value) - Fraction(self.reference[axis], 10**7)) * 10**9 / self.scale)

    def read_position(self, axis, word):
        return Fraction(word * self.scale, 10**9) + Fraction(self.reference[axis], 10**7)

    def extents(self, pings):
        beams = [b for p in pings for b in p[7]]
        times = [self.time(v) for v in [p[2] for p in pings] + [b[1] for b in beams]]
        depths = [meters(b[6]) for b in beams]
        sides = [[self.position(axis, v) for v in [p[3 + axis] for p in pings] + [b[4 + axis] for b in beams]]
                 for axis in (0, 1)]
        return [f(each) for each in (times, depths, *sides) for f in (min, max)]

    def make(self):
        pings = [p for _, _, each in self.segments for p in each]
        extents = self.extents(pings)
        data, side = File(), File()
        data.validation(0, 1, self.version)
        data.u("summaryStatus", self.status)
        data.u("toolType", self.tool)
        data.u("numProfiles", len(pings))
        data.u("numDepths", sum(len(p[7]) for p in pings))
        data.i("clockAccuracy", self.clock)
        data.i("secondaryClockAccuracy", self.second)
        data.i("referenceTime", self.minute)
        data.i("minTime", extents[0])
        data.i("maxTime", extents[1])
        data.u("summaryExtra", self.extra)
        data.i("positionScale", self.scale)
        data.i("secondaryPositionScale", self.second_scale)
        for axis, name in enumerate(("Latitude", "Longitude")):
            data.i("reference" + name, self.reference[axis])
            data.i("min" + name, extents[4 + 2 * axis])
            data.i("max" + name, extents[5 + 2 * axis])
        data.i("minDepth", extents[2])
        data.i("maxDepth", extents[3])
        assert data.size == 96
        twin = [f"toolType {self.tool}", f"summaryExtra {self.extra}", f"summaryStatus {self.status}"]
        entries, begin = [], 1
        side.validation(0, 2, self.version)
        side.i("numLineSegments", len(self.segments))
        for n, (status, name, each) in enumerate(self.segments):
            at, own, end = f"segments[{n}].", self.extents(each), begin + len(each) - 1
            twin.append(f"segment {status} {name}")
            twin.append(f"extents {begin} {end} " + numbers(
                [self.read_time(w) for w in own[:2]] + [Fraction(w, 1000) for w in own[2:4]] +
                [self.read_position(axis, own[4 + 2 * axis + k]) for axis in (0, 1) for k in (0, 1)]))
            side.u(at + "status", status)
            side.u(at + "sourceFileNameLength", len(name.encode("utf-8")))
            side.text(at + "sourceFileName", name)
            side.u(at + "beginIndex", begin)
            side.u(at + "endIndex", end)
            for word, value in zip(("minTime", "maxTime", "minDepth", "maxDepth", "minLatitude", "maxLatitude",
                                    "minLongitude", "maxLongitude"), own):
                side.i(at + word, value)
            for k, ping in enumerate(each):
                entries.append((self.time(ping[2]), data.size))
                self.put(data, f"pings[{begin + k}].", ping, twin)
            begin = end + 1
        index, _ = time_index(0, self.version, 512, [entries])
        save(f"processed_depths_{self.version}",
             {"ProcessedDepths": data, "ProcessedDepthsLineSegments": side, "ProcessedDepthsTmIdx": index},
             twin, "processed.py")

    def put(self, data, at, ping, twin):
        status, start, time, latitude, longitude, extents, eight, beams = ping
        new, before = self.version == 3, data.size
        lat, lon = self.position(0, latitude), self.position(1, longitude)
        sides = [self.position(0 if n < 2 else 1, v) for n, v in enumerate(extents)]
        words = [radians(v) if n in ANGLES else meters(v) for n, v in enumerate(eight)]
        data.u(at + "status", status)
        data.u(at + ("depthRange" if new else "numDepths"), len(beams) * 0x10000 + start if new else len(beams))
        data.i(at + "time", self.time(time))
        data.i(at + "latitude", lat)
        data.i(at + "longitude", lon)
        for n, word in enumerate(words):
            if not new or NAMES[n] == "length2":
                data.i(at + NAMES[n], word)
        if self.version > 1:
            for name, word in zip(("minLatitude", "maxLatitude", "minLongitude", "maxLongitude"), sides):
                data.i(at + name, word)
        else:
            sides = [lat, lat, lon, lon]
        assert data.size - before == {1: 52, 2: 68, 3: 40}[self.version]
        base = [self.read_time(self.time(time)), self.read_position(0, lat), self.read_position(1, lon)]
        read_sides = [self.read_position(0 if n < 2 else 1, w) for n, w in enumerate(sides)]
        values = [Fraction(w, 10**7 if n in ANGLES else 1000) if not new or n == 4 else None
                  for n, w in enumerate(words)]
        twin.append(f"ping {status} {start if new else 1} {len(beams)}")
        twin.append(" ".join(("written", time, latitude, *extents[:2], longitude, *extents[2:], *eight)))
        twin.append("read " + numbers([*base[:2], *read_sides[:2], base[2], *read_sides[2:], *values]))
        for b, (beam_status, beam_time, y, x, beam_lat, beam_lon, depth, extra) in enumerate(beams):
            name, before = f"{at}beams[{start + b}].", data.size
            offset = rounded((Fraction(beam_time) - Fraction(time)) * self.second)
            places = [rounded((Fraction(v) - Fraction(p)) * 10**9 / self.second_scale)
                      for v, p in ((beam_lat, latitude), (beam_lon, longitude))]
            data.u(name + ("statusAndOffset" if new else "status"),
                   beam_status | offset & 0xFFFF if new else beam_status)
            data.i(name + "depth", meters(depth))
            if not new:
                data.i(name + "x", meters(x))
                data.i(name + "y", meters(y))
            data.i(name + "latitude", places[0])
            data.i(name + "longitude", places[1])
            if new:
                offset = (offset + 0x8000) % 0x10000 - 0x8000
            else:
                data.i(name + "timeOffset", offset)
                data.i(name + "extra", meters(extra))
            assert data.size - before == (16 if new else 32)
            lengths = [Fraction(0 if new else meters(v), 1000) for v in (y, x, extra)]
            read = [(w * self.second_scale + 2**31) % 2**32 - 2**31 for w in places]
            twin.append(f"beam {beam_status}")
            twin.append(f"written {beam_time} {y} {x} {beam_lat} {beam_lon} {depth} {extra}")
            twin.append("read " + numbers([base[0] + Fraction(offset, self.second), *lengths[:2],
                                           base[1] + Fraction(read[0], 10**9), base[2] + Fraction(read[1], 10**9),
                                           Fraction(meters(depth), 1000), lengths[2]]))


def line(version, **scales):
    """The same line in all versions; the old ones have all bits of a status and other scales than the new."""
    depths = Depths(version, 17, 5, 0x80000003, **scales)
    low, first = (0x1234, 1) if version < 3 else (0, 4)
    depths.segment(4, "0001_20240607.all")
    depths.ping(0x80000001, 1, "1051920000.25", "0.8765432123", "-1.2345678912",
                ("0.8765", "0.8766", "-1.2346", "-1.2345"),
                ("0.1", "1.25", "-0.2", "0.3000001", "-4.5678", "2000001", "3.1415927", "-0.0000001"),
                [(0x80000000 + low, "1051920000.25", "-12.3456", "0.0004", "0.8765432123", "-1.2345678912",
                  "45.6787", "1.5"),
                 (0x00010000, "1051920000.375", "0.0006", "-0.0006", "0.8765438", "-1.2345670", "-45.6787",
                  "-2.25"),
                 (0xFFFC0000 + low, "1051919999.8", "2000000.5", "-2000000.5", "0.876", "-1.2340001", "2000000",
                  "2000001")])
    depths.ping(0, first, "1051920000.75", "0.8765436", "-1.2345672", ("0.87", "0.88", "-1.24", "-1.23"),
                ("0", "0", "0", "0", "12.125", "0", "0", "0"),
                [(0x003C0000, "1051920033.75", "1", "2", "0.8765437", "-1.2345671", "3", "0"),
                 (0, "1051920000.5", "-1", "-2", "0.8765435", "-1.2345674", "-3.25", "0.125")])
    depths.ping(9, 2, "1051920001", "0.8765441", "-1.2345665", ("0.8", "0.9", "-1.3", "-1.2"),
                ("0", "0", "0", "0", "-0.001", "0", "0", "0"), [])
    depths.segment(0, "Übung €.raw")
    depths.ping(7, 1, "1051920090.0625", "0.9", "-1.2", ("0.9", "0.9", "-1.2", "-1.2"),
                ("1", "2", "3", "4", "5", "6", "7", "8"),
                [(0xFF3C0000, "1051920090.125", "7", "8", "0.9000005", "-1.2000005", "9.9994", "10")])
    depths.make()


if __name__ == "__main__":
    line(1, clock=500, second=2000, scale=7, second_scale=3)
    line(2, clock=2000, second=500, scale=2, second_scale=11)
    line(3)
