#!/usr/bin/env python3
"""Makes the golden sets of the slant ranges and the uncertainties from the layout of their files.

It shares nothing with the library: sizes, orders and codings stand here a second time, in exact fractions.
Run it in this folder; each case gets "<file>.hex" (offset, bytes, field = value) for its three files and
"twin.txt", which says what a caller writes and what comes back.
"""
import math
import pathlib
import struct
from fractions import Fraction

HERE = pathlib.Path(__file__).parent


def half_away(value):
    return int(math.copysign(1, value)) * math.floor(abs(value) + Fraction(1, 2))


def low_word(number):
    number &= 0xFFFFFFFF
    return number - 2**32 if number >= 2**31 else number


def low_half(number):
    number &= 0xFFFF
    return number - 2**16 if number >= 2**15 else number


def metres(text):
    value = Fraction(text)
    if abs(value) > 2000000:
        return 2**31 - 1 if value > 0 else -2**31
    return half_away(value * 1000)


def cut(text, scale):
    return low_word(math.trunc(Fraction(text) * scale))


class File:
    def __init__(self, sensor_type, file_type, version):
        self.lines = []
        self.size = 0
        self.raw("teldToken", b"TELD", "TELD")
        self.u("sensorType", sensor_type)
        self.u("fileType", file_type)
        self.u("versionNumber", version)

    def raw(self, name, data, value):
        if data:
            self.lines.append(f"{self.size} {data.hex().upper()} {name} = {value}")
        self.size += len(data)

    def u(self, name, value):
        self.raw(name, struct.pack(">I", value), value)

    def i(self, name, value):
        self.raw(name, struct.pack(">i", value), value)


def side_files(sensor_type, version, time, segments, entries):
    """segments: (name, status, first, last, least and most time); entries: (encoded time, offset)."""
    f = File(sensor_type, 2, version)
    f.i("numLineSegments", len(segments))
    for n, (name, status, first, last, least, most) in enumerate(segments, 1):
        data = name.encode("utf-8")
        f.u(f"segment {n} status", status)
        f.u(f"segment {n} name length", len(data))
        f.u(f"segment {n} name length again", len(data))
        f.raw(f"segment {n} name", data, name)
        f.raw(f"segment {n} padding", bytes(-len(data) % 4), 0)
        f.u(f"segment {n} beginIndex", first)
        f.u(f"segment {n} endIndex", last)
        f.i(f"segment {n} minTime", time(least))
        f.i(f"segment {n} maxTime", time(most))
    index = File(sensor_type, 3, version)
    index.u("numTmIdxSets", 1)
    index.u("maxTmIdxSetSize", 512)
    index.u("set 1 numRecords", len(entries))
    index.i("set 1 minTime", min(t for t, _ in entries))
    index.i("set 1 maxTime", max(t for t, _ in entries))
    index.u("array 1 count", len(entries))
    for n, (encoded, offset) in enumerate(entries, 1):
        index.i(f"entry {n} time", encoded)
        index.i(f"entry {n} offset", offset)
    return f, index


def make(case, name, sensor_type, version, status, tools, segments, spare, header_words, beam_words, extents):
    """segments: (name, status, [profile]); a profile: dict with status, start, time and beams."""
    profiles = [p for _, _, own in segments for p in own]
    times = lambda some: [t for p in some for t in [p["time"]] + [b[0] for b in p["beams"]]]
    minute = half_away(Fraction(profiles[0]["time"]) / 60)
    time = lambda text: half_away((Fraction(text) - minute * 60) * 1000)
    data = File(sensor_type, 1, version)
    data.u("summaryStatus", status)
    for word, value in tools:
        data.u(word, value)
    data.u("numProfiles", len(profiles))
    data.u("numDepths", sum(len(p["beams"]) for p in profiles))
    data.i("clockAccuracy", 1000)
    data.i("secondaryClockAccuracy", 1000)
    data.i("referenceTime", minute)
    data.i("minTime", time(min(times(profiles), key=Fraction)))
    data.i("maxTime", time(max(times(profiles), key=Fraction)))
    for word, value in extents([b for p in profiles for b in p["beams"]]):
        data.i(word, value)
    for _ in range(spare):
        data.u("spare", 0)
    entries = []
    twin = [f"{name}, {len(profiles)} profiles, reference minute {minute}"]
    for n, p in enumerate(profiles, 1):
        entries.append((time(p["time"]), data.size))
        data.u(f"profile {n} status", p["status"])
        data.u(f"profile {n} depthRange", len(p["beams"]) << 16 | p["start"])
        data.i(f"profile {n} time", time(p["time"]))
        for word, value in header_words(p):
            data.raw(f"profile {n} {word}", struct.pack(">I", value & 0xFFFFFFFF), value)
        twin.append(f"profile {n} status {p['status']:#x} start {p['start']} time {p['time']}")
        for b, beam in enumerate(p["beams"], p["start"]):
            offset = half_away((Fraction(beam[0]) - Fraction(p["time"])) * 1000)
            data.u(f"profile {n} beam {b} statusAndOffset", offset & 0xFFFF | beam[-1])
            for word, value in beam_words(beam):
                data.raw(f"profile {n} beam {b} {word}", struct.pack(">I", value & 0xFFFFFFFF), value)
            back = Fraction(low_half(offset), 1000) + minute * 60 + Fraction(time(p["time"]), 1000)
            twin.append(f"beam {b} written {' '.join(map(str, beam))}, read at {float(back):.3f}")
    shown, first = [], 1
    for segment, segment_status, own in segments:
        last = first + len(own) - 1
        shown.append((segment, segment_status, first, last, min(times(own), key=Fraction),
                      max(times(own), key=Fraction)))
        first = last + 1
    lines, index = side_files(sensor_type, version, time, shown, entries)
    folder = HERE / case
    folder.mkdir(exist_ok=True)
    for file, content in ((name, data), (name + "LineSegments", lines), (name + "TmIdx", index)):
        (folder / f"{file}.hex").write_text(
            f"# {content.size} bytes; made by ../ranges.py\n" + "\n".join(content.lines) + "\n")
    (folder / "twin.txt").write_text("\n".join(twin) + "\n")


def angles(first, second):
    code = lambda text: half_away(Fraction(text) * 10000) & 0xFFFF
    return code(first) << 16 | code(second)


make("slant_range", "SLRange", 30, 2, 0x55, [("toolType", 9)], [
    ("0001.all", 4, [
        dict(status=0x80000001, start=1, time="1000000000.25", at=("0.7853982", "-1.25"), beams=[
            ("1000000000.35", "12.3456", "0.0000019", "0.5", "-0.00005", 0x00010000),
            ("1000000000", "-0.0005", "-0.0000019", "3.2768", "-3.3", 0xFFFF0000),
            ("1000000033.25", "2000000.5", "1.5", "0", "0.12345", 0)]),
        dict(status=0, start=20, time="1000000001.5", at=("0", "3.1415927"), beams=[
            ("1000000001.5", "-2000000.5", "0.25", "-1.5", "1.5", 0x00080000),
            ("1000000001.501", "50", "0", "0", "0", 0)])]),
    ("b", 0xFFFFFFFF, [dict(status=7, start=1, time="1000000002", at=("-0.5", "0.5"), beams=[])]),
], 0,
     lambda p: [("latitude", half_away(Fraction(p["at"][0]) * 10**7)),
                ("longitude", half_away(Fraction(p["at"][1]) * 10**7))],
     lambda b: [("range", metres(b[1])), ("travel", cut(b[2], 10**6)), ("angles", angles(b[3], b[4]))],
     lambda beams: [])

make("tpe", "TPE", 52, 1, 0x66, [("toolType1", 3), ("toolType2", 4)], [
    ("0001.all", 4, [
        dict(status=0x80000001, start=1, time="1000000000.25", tag=0xDEADBEEF, beams=[
            ("1000000000.35", "0.0019", "-0.0019", 0x00010000),
            ("1000000000", "12.5", "0", 0xFFFF0000)]),
        dict(status=0, start=20, time="1000000001.5", tag=0, beams=[
            ("1000000034.5", "-3", "2.25", 0x00080000),
            ("1000000001.501", "0.25", "2147483.75", 0),
            ("1000000001.502", "0", "0", 0)])]),
    ("b", 0xFFFFFFFF, [dict(status=7, start=3, time="1000000002", tag=1, beams=[
        ("1000000002", "0.5", "-0.5", 0x20000000)])]),
], 4,
     lambda p: [("profileTag", p["tag"])],
     lambda b: [("tpe1", cut(b[1], 1000)), ("tpe2", cut(b[2], 1000))],
     lambda beams: [(edge + word, low_word(half_away(of((Fraction(b[i]) for b in beams)) * 1000)))
                    for i, word in ((1, "Tpe1"), (2, "Tpe2")) for edge, of in (("min", min), ("max", max))])
