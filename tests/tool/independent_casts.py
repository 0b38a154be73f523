#!/usr/bin/env python3
"""Compares the sound velocity file of a line with the profiles of the raw file that it was imported from, read here
without any code of the tool. Prints what was compared; ends with status 1 at the first difference.
Usage: independent_casts.py SKAR LINE RAWFILE"""

import datetime
import os
import struct
import sys


def way_down(values):
    kept = []
    for depth, speed in values:
        if depth >= 0 and 1400 <= speed <= 2000 and (not kept or depth > kept[-1][0]):
            kept.append((depth, speed))
    return kept


def read_em(data):
    offset = 0
    while offset < len(data):
        (length,) = struct.unpack_from("<I", data, offset)
        body = data[offset + 4 : offset + 4 + length]
        if len(body) < length:
            break
        if body[1] == ord("U"):
            date, seconds, count, resolution = struct.unpack_from("<IIHH", body, 16)
            time = datetime.datetime.strptime(str(date), "%Y%m%d") + datetime.timedelta(seconds=seconds)
            pairs = [struct.unpack_from("<II", body, 28 + 8 * i) for i in range(count)]
            yield time, 0.0, 0.0, [(depth * resolution / 100, speed / 10) for depth, speed in pairs]
        offset += length + 4


def read_gsf(data):
    offset = 0
    while offset < len(data):
        size, kind = struct.unpack_from(">II", data, offset)
        body = data[offset + 8 : offset + 8 + size]
        if kind == 3:
            seconds, nanoseconds, _, _, longitude, latitude, count = struct.unpack_from(">iIiIiiI", body, 0)
            time = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
            pairs = [struct.unpack_from(">ii", body, 28 + 8 * i) for i in range(count)]
            yield time, latitude / 1e7, longitude / 1e7, [(d / 100, s / 100) for d, s in pairs]
        offset += 8 + size


def degrees(text):
    parts = [abs(float(part)) for part in text.split(":")]
    size = parts[0] + (parts[1] + parts[2] / 60) / 60
    return -size if "-" in text else size


def read_line(path):
    lines = open(path).read().split("\n")
    assert lines[0] == "[SVP_VERSION_2]", lines[0]
    casts = []
    for line in lines[2:]:
        words = line.split()
        if words and words[0] == "Section":
            time = datetime.datetime.strptime(words[1] + " " + words[2], "%Y-%j %H:%M:%S")
            casts.append((time, degrees(words[3]), degrees(words[4]), []))
        elif words:
            casts[-1][3].append((float(words[0]), float(words[1])))
    return casts


def fail(text):
    print(text)
    sys.exit(1)


def main():
    line, raw = sys.argv[2:4]
    data = open(raw, "rb").read()
    profiles = list(read_gsf(data) if b"GSF-v" in data[:32] else read_em(data))
    wanted = []
    for profile in sorted(profiles):
        if way_down(profile[3]) and profile not in wanted:
            wanted.append(profile)
    found = read_line(os.path.join(line, "Svp"))
    if len(found) != len(wanted):
        fail(f"{len(found)} casts instead of {len(wanted)}")
    for one, other in zip(wanted, found):
        if one[0].replace(microsecond=0) != other[0]:
            fail(f"{other[0]} instead of {one[0]}")
        if max(abs(one[1] - other[1]), abs(one[2] - other[2])) > 0.006 / 3600:
            fail(f"{other[0]}: position {other[1:3]} instead of {one[1:3]}")
        kept = way_down(one[3])
        if len(kept) != len(other[3]):
            fail(f"{other[0]}: {len(other[3])} values instead of {len(kept)}")
        for a, b in zip(kept, other[3]):
            if max(abs(a[0] - b[0]), abs(a[1] - b[1])) > 6e-7:
                fail(f"{other[0]}: {b} instead of {a}")
    print(f"{len(profiles)} profiles, {len(found)} casts of {sum(len(cast[3]) for cast in found)} values")


main()
