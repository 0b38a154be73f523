#!/usr/bin/env python3
"""Counts, first times and sums of the active positions, motion and headings of raw files, read without any code of
the tool: what import_real_test.cpp expects. Usage: independent_raw.py FILE..."""

import collections
import datetime
import struct
import sys


def read_all(data):
    positions, motion, headings = [], [], []
    offset = 0
    while offset < len(data):
        (length,) = struct.unpack_from("<I", data, offset)
        body = data[offset + 4 : offset + 4 + length]
        (checksum,) = struct.unpack("<H", body[-2:])
        assert body[0] == 2 and body[-3] == 3 and sum(body[1:-3]) & 0xFFFF == checksum, offset
        date, ms = struct.unpack_from("<II", body, 4)
        time = datetime.datetime.strptime(str(date), "%Y%m%d") + datetime.timedelta(milliseconds=ms)
        if body[1:2] == b"P" and body[32] & 0x80:
            latitude, longitude = struct.unpack_from("<ii", body, 16)
            positions.append((time, latitude / 2e7, longitude / 1e7))
        if body[1:2] == b"A":
            (count,) = struct.unpack_from("<H", body, 16)
            descriptor = body[18 + 12 * count]
            for i in range(count):
                after, _, roll, pitch, heave, heading = struct.unpack_from("<HHhhhH", body, 18 + 12 * i)
                at = time + datetime.timedelta(milliseconds=after)
                if not descriptor & 0x0E:
                    motion.append((at, roll / 100, pitch / 100, heave / 100))
                if descriptor & 1:
                    headings.append((at, heading / 100))
        offset += 4 + length
    for name, series in (("position", positions), ("motion", motion), ("heading", headings)):
        series.sort()
        sums = ["%.6f" % sum(values) for values in list(zip(*series))[1:]]
        print("  %-9s %6d  first %s  sums %s" % (name, len(series), series[0][0] if series else "-", " ".join(sums)))


def read_nmea(data):
    counts = collections.Counter()
    for line in data.decode("latin1").splitlines():
        if not line.startswith("$"):
            continue
        body, _, stored = line[1:].partition("*")
        checksum = 0
        for character in body:
            checksum ^= ord(character)
        if int(stored, 16) != checksum:
            counts["bad checksum"] += 1
            continue
        fields = body.split(",")
        usable = {"GGA": lambda: fields[6] != "0", "HDT": lambda: fields[1], "HDG": lambda: fields[1]}
        kind = fields[0] if fields[0].startswith("P") else fields[0][2:]
        if usable.get(kind, lambda: True)():
            counts[kind] += 1
    print("  " + ", ".join("%s %d" % item for item in sorted(counts.items())))


for path in sys.argv[1:]:
    print(path)
    with open(path, "rb") as file:
        content = file.read()
    (read_all if content[4:5] == b"\x02" else read_nmea)(content)
