#!/usr/bin/env python3
"""Compares the raw data index and the error figures of a line with the raw file that it was imported from, read here
without any code of the tool. Prints what was compared; ends with status 1 at the first difference.
Usage: independent_index.py SKAR LINE RAWFILE"""

import datetime
import json
import math
import struct
import subprocess
import sys

# Leap seconds since 1980 as the store counts them, from the day on which each was first counted in full.
LEAPS = (
    "19810701 19820701 19830701 19850701 19880101 19900101 19910101 19920701 19930701 19940701 19960101 19970701 "
    "19990101 20060101 20090101 20120701"
).split()


def store_time(moment):
    return (moment - datetime.datetime(1980, 1, 1)).total_seconds() + sum(
        leap <= moment.strftime("%Y%m%d") for leap in LEAPS)


class Raw:
    """Records as [type, offset, length, time or None], and for each the ping that it is: (kind, key to sort by)."""

    def __init__(self, kind):
        self.kind, self.records, self.pings, self.errors = kind, [], [], []

    def add(self, kind, offset, length, time, ping=None):
        self.records.append([kind, offset, length, time])
        self.pings.append(ping)

    def profiles(self):
        numbers = [0xFFFFFFFF] * len(self.records)
        for kind in {ping[0] for ping in self.pings if ping}:
            of_kind = [i for i, ping in enumerate(self.pings) if ping and ping[0] == kind]
            for number, i in enumerate(sorted(of_kind, key=lambda i: self.pings[i][1])):
                numbers[i] = number + 1
        return numbers


def read_em(data):
    raw, offset = Raw(1), 0
    while offset < len(data):
        (length,) = struct.unpack_from("<I", data, offset)
        body = data[offset + 4 : offset + 4 + length]
        if len(body) < length:
            break
        date, ms, _, serial = struct.unpack_from("<IIHH", body, 4)
        time = datetime.datetime.strptime(str(date), "%Y%m%d") + datetime.timedelta(milliseconds=ms)
        kind = chr(body[1])
        raw.add(body[1], offset, length + 4, time, (kind, (time, serial)) if kind in "XNY" else None)
        if kind == "P" and body[32] & 0x80:
            quality = struct.unpack_from("<H", body, 24)[0]
            if quality != 65535:
                raw.errors.append((time, quality / 100, quality / 100, None, None, None, None))
        offset += length + 4
    return raw


def read_gsf(data):
    raw, offset = Raw(4), 0
    while offset < len(data):
        size, kind = struct.unpack_from(">II", data, offset)
        at = {2: 0, 3: 8, 4: 0, 12: 0}.get(kind)
        time = None
        if at is not None:
            seconds, nanoseconds = struct.unpack_from(">iI", data, offset + 8 + at)
            time = datetime.datetime(1970, 1, 1) + datetime.timedelta(
                seconds=seconds, microseconds=nanoseconds // 1000)
            # Before the store's calendar begins there is no time.
            time = time if time.year >= 1980 else None
        raw.add(kind, offset, size + 8, time, ("ping", time) if kind == 2 else None)
        offset += size + 8
    return raw


def date(*parts):
    """None for what was in the recorder's memory and is no date."""
    try:
        return datetime.datetime(*parts)
    except ValueError:
        return None


def read_xtf(data):
    raw, offset, tags = Raw(5), 1024, []
    attitudes = []
    while offset + 14 <= len(data):
        kind, size = data[offset + 2], struct.unpack_from("<I", data, offset + 10)[0]
        if offset + size > len(data):
            break
        time = None
        if kind in (0, 2, 65):
            year, month, day, hour, minute, second, hundredth = struct.unpack_from("<H6B", data, offset + 14)
            time = datetime.datetime(year, month, day, hour, minute, second, hundredth * 10000)
            tag = struct.unpack_from("<I", data, offset + 224)[0]
            if tag:
                tags.append(time - datetime.timedelta(milliseconds=tag))
        elif kind == 3:
            year, month, day, hour, minute, second, ms = struct.unpack_from("<H5BH", data, offset + 54)
            tag = struct.unpack_from("<I", data, offset + 46)[0]
            attitudes.append((len(raw.records), date(year, month, day, hour, minute, second, ms * 1000), tag))
        elif kind == 107:
            year, month, day, hour, minute, second, tenths = struct.unpack_from("<H5BH", data, offset + 14)
            time = datetime.datetime(year, month, day, hour, minute, second, tenths * 100)
        raw.add(kind, offset, size, time, ("image", time) if kind == 0 else None)
        offset += size
    undated = sum(time is None for _, time, _ in attitudes)
    for i, time, tag in attitudes:
        if 2 * undated > len(attitudes):
            time = min(tags) + (max(tags) - min(tags)) / 2 + datetime.timedelta(milliseconds=tag)
        raw.records[i][3] = time
    return raw


def sentence_of(line):
    """The fields of a sound sentence, None for any other line."""
    begin = min([at for at in (line.find("$"), line.find("!")) if at >= 0], default=-1)
    body, star, stored = line[begin + 1 :].rpartition("*")
    if begin < 0 or line.startswith("#") or not star:
        return None
    check = 0
    for c in body:
        check ^= ord(c)
    return body.split(",") if stored.strip().upper() == "%02X" % check else None


def read_nmea(data):
    raw, offset, lines = Raw(2), 0, []
    for line in data.split(b"\n"):
        text = line.rstrip(b"\r").decode("latin-1")
        fields = sentence_of(text)
        if fields:
            lines.append((offset, len(text), fields))
        offset += len(line) + 1
    # Which field is the time; those of other sentences have none, or are not looked at.
    times = {"GGA": 1, "GNS": 1, "ZDA": 1, "PASHR": 1, "RMC": 1, "GLL": 5, "GST": 1}
    now, day = None, None
    clock = []
    for _, _, fields in lines:
        name = fields[0] if fields[0].startswith("P") else fields[0][2:]
        at = times.get(name)
        if name == "GGA" and fields[6] in ("0", ""):
            at = None
        if name == "RMC" and fields[2] != "A":
            at = None
        if name == "GLL" and len(fields) > 6 and fields[6] != "A":
            at = None
        if at and len(fields) > at and fields[at]:
            text = fields[at]
            now = int(text[:2]) * 3600 + int(text[2:4]) * 60 + float(text[4:])
            if name == "ZDA" and fields[4]:
                day = datetime.datetime(int(fields[4]), int(fields[3]), int(fields[2]))
            if name == "RMC" and fields[9]:
                day = datetime.datetime(2000 + int(fields[9][4:]), int(fields[9][2:4]), int(fields[9][:2]))
        clock.append((now, day))
    first_day = next((day for _, day in clock if day), None)
    for (offset, length, fields), (now, day) in zip(lines, clock):
        name = fields[0][1:5] if fields[0].startswith("P") else fields[0][2:]
        number = int.from_bytes(name.encode(), "big")
        day = day or first_day
        time = None
        if now is not None and day is not None:
            time = day + datetime.timedelta(microseconds=round(now * 1e6))
        raw.add(number, offset, length, time)
        if fields[0] == "PASHR" and time:
            raw.errors.append((time, None, None, None) + tuple(math.radians(float(f)) for f in fields[7:10]))
    return raw


def read_log(data):
    raw, offset = Raw(3), 0
    for number, line in enumerate(data.split(b"\n")):
        text = line.rstrip(b"\r").decode("latin-1")
        if number and text:
            raw.add(0, offset, len(text), datetime.datetime.fromisoformat(text.split(";")[0]))
        offset += len(line) + 1
    return raw


def reader_of(data):
    if data[4:5] == b"\x02":
        return read_em
    if data[8:12] == b"GSF-" or data[12:16] == b"GSF-":
        return read_gsf
    if data[:1] == b"\x7b":
        return read_xtf
    return read_log if data.startswith(b"Timestamp;") else read_nmea


def dumped(skar, line, name):
    text = subprocess.run([skar, "dump", "--json", line, name], check=True, capture_output=True, text=True).stdout
    rows = [json.loads(row) for row in text.splitlines()]
    return rows[0]["header"], rows[1:]


def require(condition, *what):
    if not condition:
        print(*what)
        sys.exit(1)


def near(a, b):
    return a is None and b is None or a is not None and b is not None and abs(a - b) <= 1e-6 * max(1, abs(b))


def main():
    skar, line, path = sys.argv[1:]
    data = open(path, "rb").read()
    raw = reader_of(data)(data)
    header, rows = dumped(skar, line, "RawDataIndex")
    require(header["summary"][0]["value"] == raw.kind, "kind of file", header["summary"], raw.kind)
    require(len(rows) == len(raw.records), "records", len(rows), len(raw.records))
    timed = numbered = 0
    for i, (row, (kind, offset, length, time), profile) in enumerate(zip(rows, raw.records, raw.profiles())):
        values = row["values"]
        expected = {"RecordType": kind, "RecordByteOffset": offset, "RecordLength": length,
                    "SKARProfileNumber": profile}
        found = {name: values[name] for name in expected}
        require(found == expected, "record", i + 1, found, expected)
        stamp = store_time(time) if time else 0
        require(abs(values["SKARTimestamp"] - stamp) < 2e-6, "record", i + 1, values["SKARTimestamp"], stamp)
        require(row["time"] == 0 and row["status"] == 0, "record", i + 1, row)
        timed += time is not None
        numbered += profile != 0xFFFFFFFF
    said = "%d records, %d with a time, %d profiles" % (len(rows), timed, numbered)
    if raw.errors:
        header, rows = dumped(skar, line, "RMS")
        raw.errors.sort(key=lambda row: row[0])
        require(len(rows) == len(raw.errors), "errors", len(rows), len(raw.errors))
        names = [column["name"] for column in header["attributes"]]
        require(names == ["N_RMS", "E_RMS", "HEAVE_RMS", "ROLL_RMS", "PITCH_RMS", "GYRO_RMS"], names)
        for row, (time, *figures) in zip(rows, raw.errors):
            require(abs(row["time"] - store_time(time)) < 1.1e-3, "time of errors", row, time)
            for name, figure in zip(names, figures):
                require(near(row["values"][name], figure), name, row, figure)
        flags = {flag["name"]: flag["value"] for flag in header["summary"]}
        stated = [any(row[i] is not None for row in raw.errors) for i in (1, 3, 4, 5, 6)]
        require(list(flags.values()) == stated, flags, stated)
        said += ", %d errors" % len(rows)
    print(said)


main()
