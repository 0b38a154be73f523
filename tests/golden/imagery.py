#!/usr/bin/env python3
"""Makes the golden sets of the imagery families from the layout of their files.

It shares nothing with the library: sizes, orders and codings stand here a second time, in exact fractions.
Run it in this folder; each case gets "<file>.hex" (offset, bytes, field = value) for its files and "twin.txt":
the lines that begin with "write" say what a caller writes, those with "read" what comes back.
"""
import math
import pathlib
import struct
from fractions import Fraction

HERE = pathlib.Path(__file__).parent


def half_away(value):
    return int(math.copysign(1, value)) * math.floor(abs(value) + Fraction(1, 2))


def signed(byte):
    byte &= 0xFF
    return byte - 256 if byte > 127 else byte


def digits(run):
    return run.hex().upper() or "-"


class File:
    def __init__(self, sensor_type=None, file_type=1, version=1):
        self.lines = []
        self.size = 0
        if sensor_type is not None:
            self.raw("teldToken", b"TELD", "TELD")
            self.u("sensorType", sensor_type)
            self.u("fileType", file_type)
            self.u("versionNumber", version)

    def raw(self, name, data, value):
        if data:
            self.lines.append(f"{self.size} {data.hex().upper()} {name} = {value}")
        self.size += len(data)

    def u(self, name, value):
        self.raw(name, struct.pack(">I", value & 0xFFFFFFFF), value)

    def i(self, name, value):
        self.raw(name, struct.pack(">i", value), value)

    def halves(self, name, high, low):
        self.raw(name, struct.pack(">HH", high & 0xFFFF, low & 0xFFFF), f"{high}, {low}")

    def four(self, name, values):
        self.raw(name, bytes(v & 0xFF for v in values), ", ".join(map(str, values)))


class Clock:
    """Milliseconds from the minute nearest to the first time."""

    def __init__(self, first):
        self.minute = half_away(Fraction(first) / 60)

    def code(self, time):
        return half_away((Fraction(time) - self.minute * 60) * 1000)

    def back(self, time):
        return f"{float(Fraction(self.code(time), 1000) + self.minute * 60):.3f}"


def save(case, name, sensor_type, version, data, clock, segments, offsets, more, twin, summary):
    """segments: (name, status, [time of each record]); summary: what a reader gets of it, with the extents."""
    side = File(sensor_type, 2, version)
    side.i("numLineSegments", len(segments))
    first = 1
    shown = []
    for n, (source, status, times) in enumerate(segments, 1):
        stored = source.encode("utf-8")
        at = f"segment {n} "
        side.u(at + "status", status)
        side.u(at + "name length", len(stored))
        side.u(at + "name length again", len(stored))
        side.raw(at + "name", stored, source)
        side.raw(at + "padding", bytes(-len(stored) % 4), 0)
        side.u(at + "beginIndex", first)
        side.u(at + "endIndex", first + len(times) - 1)
        least, most = min(times, key=Fraction), max(times, key=Fraction)
        side.i(at + "minTime", clock.code(least))
        side.i(at + "maxTime", clock.code(most))
        shown.append(f"read segment {n} {first} {first + len(times) - 1} {clock.back(least)} "
                     f"{clock.back(most)} {status} {source}")
        first += len(times)
    times = [clock.code(t) for _, _, own in segments for t in own]
    index = File(sensor_type, 3, version)
    index.u("numTmIdxSets", 1)
    index.u("maxTmIdxSetSize", 512)
    index.u("set numRecords", len(times))
    index.i("set minTime", min(times))
    index.i("set maxTime", max(times))
    index.u("array count", len(times))
    for time, offset in zip(times, offsets):
        index.i("time", time)
        index.i("offset", offset)
    folder = HERE / case
    folder.mkdir(exist_ok=True)
    files = {"": data, "LineSegments": side, "TmIdx": index, **more}
    for suffix, file in files.items():
        text = f"# {file.size} bytes; made by ../imagery.py\n" + "\n".join(file.lines) + "\n"
        (folder / f"{name}{suffix}.hex").write_text(text)
    lines = [each for each in twin if each.startswith("write")]
    lines += [summary] + shown + [each for each in twin if each.startswith("read")]
    (folder / "twin.txt").write_text("\n".join(lines) + "\n")


def all_times(segments, key):
    return [key(r) for _, _, own in segments for r in own]


def summary_words(data, clock, status, counts, times):
    data.u("summaryStatus", status)
    for word, value in counts:
        data.u(word, value)
    data.i("clockAccuracy", 1000)
    data.i("referenceTime", clock.minute)
    data.i("minTime", clock.code(min(times, key=Fraction)))
    data.i("maxTime", clock.code(max(times, key=Fraction)))


# The columns of a beam: all of the EM100, the two of the ELAC, the six of the EM1000.
ARRAYS = {9: 4, 20: 2, 10: 6}


def beams_of(sensor_type, p):
    return list(zip(*p["arrays"])) if p["arrays"] else []


def side_scan(case, sensor_type, status, segments, traces=()):
    """A profile: dict with time, first (beam), value, parameters A to E, arrays."""
    times = all_times(segments, lambda p: p["time"])
    profiles = [p for _, _, own in segments for p in own]
    clock = Clock(times[0])
    data = File(sensor_type)
    total = sum(len(beams_of(sensor_type, p)) for p in profiles)
    summary_words(data, clock, status, [("numProfiles", len(profiles)), ("numBeams", total)], times)
    offsets, twin, trace = [], [], 0
    trace_bytes = b"".join(traces)
    at = 0
    n = 0
    for source, segment_status, own in segments:
        twin.append(f"write segment {source}")
        for p in own:
            n += 1
            beams = beams_of(sensor_type, p)
            a, b, c, d, e = p["parameters"]
            offsets.append(data.size)
            name = f"profile {n} "
            data.i(name + "time", clock.code(p["time"]))
            data.halves(name + "beams, firstBeam", len(beams), p["first"])
            value = "0.0"
            if sensor_type == 9:
                data.four(name + "A, B, C, D", [a, b, c, d])
                data.u(name + "E", e & 0xFF)
                back = [a & 0xFF, signed(b), signed(c), signed(d), signed(e)]
            elif sensor_type == 20:
                data.four(name + "A, B, C", [a, b, c, 0])
                data.u(name + "D", d & 0xFF)
                back = [a & 0xFF, signed(b), signed(c), signed(d), 0]
            else:
                tenths = int(Fraction(p["value"]) * 10)
                data.i(name + "value in tenths, cut", tenths)
                # C is lost under D.
                data.raw(name + "A, B, D", struct.pack(">BBH", a & 0xFF, b & 0xFF, d & 0xFFFF), (a, b, d))
                value = f"{tenths / 10:.1f}"
                back = [a & 0xFF, signed(b), signed((d >> 8) & 0xFF), d & 0xFFFF, 0]
            read_beams = []
            start = trace
            for number, beam in enumerate(beams, p["first"]):
                name = f"profile {n} beam {number} "
                if sensor_type == 20:
                    first, second = beam
                    data.u(name + "first, second", (first & 0xFF) << 24 | second & 0xFFFFFFFF)
                    word = (first & 0xFF) << 24 | second & 0xFFFFFFFF
                    read_beams.append([word >> 24, word & 0xFFFFFF])
                    continue
                data.four(name + "first, second, third, fourth", beam[:4])
                row = [beam[0] & 0xFF] + [signed(v) for v in beam[1:4]]
                if sensor_type == 10:
                    data.halves(name + "count, value", beam[4], beam[5])
                    data.u(name + "trace", trace)
                    trace += beam[4]
                    row += [beam[4], beam[5] & 0xFFFF]
                read_beams.append(row)
            columns = ARRAYS[sensor_type]
            flat = lambda rows: "".join(f" {row[column]}" for column in range(columns) for row in rows)
            twin.append(f"write profile {len(beams)} {p['first']} {p['time']} {p.get('value', '0')} {a} {b} {c} "
                        f"{d} {e}" + flat(beams))
            twin.append(f"read profile {len(beams)} {p['first']} {clock.back(p['time'])} {value} " +
                        " ".join(map(str, back)) + flat(read_beams) + " " + digits(trace_bytes[start:trace]))
            if at < len(traces):
                twin.append(f"write trace {digits(traces[at])}")
                at += 1
        twin.append(f"write end {segment_status}")
    twin.append(f"write summary 0 {status}")
    more = {}
    if sensor_type != 20:
        more["Trace"] = File()
        for number, run in enumerate(traces, 1):
            more["Trace"].raw(f"run {number}", run, run)
    least, most = min(times, key=Fraction), max(times, key=Fraction)
    save(case, "SideScan", sensor_type, 1, data, clock,
         [(s, st, [p["time"] for p in own]) for s, st, own in segments], offsets, more, twin,
         f"read summary {len(segments)} {len(profiles)} {total} {clock.back(least)} {clock.back(most)} 0 {status}")


def samples(length, seed):
    return bytes((i * 29 + seed * 57 + 3) & 0xFF for i in range(length))


def towed(case, name, sensor_type, version, status, segments, head, arrays):
    times = all_times(segments, lambda p: p["time"])
    count = len(times)
    clock = Clock(times[0])
    data = File(sensor_type, 1, version)
    summary_words(data, clock, status, [("numPings", count)], times)
    data.u("version", version)
    offsets, twin, n = [], [], 0
    for source, segment_status, own in segments:
        twin.append(f"write segment {source}")
        for p in own:
            n += 1
            offsets.append(data.size)
            width = 2 if p["status"] & 0x40000000 else 1
            runs = [p[a] for a in arrays]
            counts = [len(run) // width for run in runs]
            fields = head(data, f"ping {n} ", p, clock, counts)
            for a, run in zip(arrays, runs):
                data.raw(f"ping {n} {a}", run, f"{len(run)} bytes")
            rest = " ".join(map(str, fields)) + "".join(" " + digits(run) for run in runs)
            twin.append(f"write ping {p['status']} {p['time']} {rest}")
            twin.append(f"read ping {p['status']} {clock.back(p['time'])} {rest}")
        twin.append(f"write end {segment_status}")
    twin.append(f"write summary {version} {status}")
    least, most = min(times, key=Fraction), max(times, key=Fraction)
    save(case, name, sensor_type, version, data, clock,
         [(s, st, [p["time"] for p in own]) for s, st, own in segments], offsets, {}, twin,
         f"read summary {len(segments)} {count} 0 {clock.back(least)} {clock.back(most)} {version} {status}")


def sss_head(data, at, p, clock, counts):
    """Seventeen words; p["v"] holds arguments 3 to 14 and 19 to 25 by their number."""
    v = p["v"]
    data.u(at + "status", p["status"])
    data.i(at + "time", clock.code(p["time"]))
    data.halves(at + "3, 4", v[3], v[4])
    data.halves(at + "5, fish height", v[5], v[6])
    data.u(at + "7", v[7])
    data.u(at + "8", v[8])
    data.halves(at + "9, 10", v[9], v[10])
    data.u(at + "11", v[11])
    data.u(at + "sample interval", v[12])
    data.halves(at + "13, 14", v[13], v[14])
    data.halves(at + "port, starboard count", counts[0], counts[1])
    data.u(at + "19", v[19])
    data.halves(at + "20, 21", v[20], v[21])
    data.u(at + "22", v[22])
    data.u(at + "23", v[23])
    data.halves(at + "24, 25", v[24], v[25])
    data.halves(at + "second port, starboard count", counts[2], counts[3])
    return [v[n] for n in list(range(3, 15)) + list(range(19, 26))]


def processed_head(data, at, p, clock, counts):
    data.u(at + "status", p["status"])
    data.i(at + "time", clock.code(p["time"]))
    data.halves(at + "3, 4", p["v"][0], p["v"][1])
    data.u(at + "5", p["v"][2])
    data.halves(at + "port, starboard count", counts[0], counts[1])
    return p["v"]


def values(*numbers):
    return dict(zip(list(range(3, 15)) + list(range(19, 26)), numbers))


def main():
    plain = [
        dict(time="1000000000.25", first=1, parameters=(0x1FF, -1, 127, -128, 0x285), arrays=[
            [200, 0x101, -1], [-3, 0x7F, 0x80], [127, -128, 255], [0x1FE, 1, 0]]),
        dict(time="999999969.9996", first=65535, parameters=(0, 0, 0, 0, 0), arrays=[]),
    ]
    last = [dict(time="1000000033.0006", first=7, parameters=(128, 1, 2, 3, -20), arrays=[[1], [2], [3], [4]])]
    side_scan("side_scan_em100", 9, 0x80000007, [("0001_20010909.raw", 4, plain), ("Übung.raw", 0xFFFFFFFF, last)])

    def cut(profile, arrays):
        return {**profile, "arrays": profile["arrays"][:arrays]}

    elac = [cut(p, 2) for p in plain + last]
    # The second array goes in whole: what lies above its 24 bits is ORed into the first.
    elac[0]["arrays"][1] = [0x00ABCDEF, 0x7F000001, -1]
    side_scan("side_scan_elac", 20, 11, [("elac.xse", 5, elac[:2]), ("b", 6, elac[2:])])

    em1000 = [
        {**plain[0], "value": "-12.37", "parameters": (0x81, -2, 0x55, 0x1234, 0),
         "arrays": plain[0]["arrays"] + [[3, 0, 2], [40000, 65535, 5]]},
        {**plain[1], "value": "0.09", "parameters": (0, 127, -1, 0xFFFF, 0)},
        {**last[0], "value": "1234.56", "parameters": (255, -128, 0, 0x0080, 0),
         "arrays": last[0]["arrays"] + [[4], [0]]},
    ]
    side_scan("side_scan_em1000", 10, 12, [("a.all", 1, em1000[:2]), ("b.all", 2, em1000[2:])],
              [b"abcde", b"", b"\x00\xFF\x80z"])

    high = values(0xFFFE, 0x8001, 0x7FFF, 0xFFFF, 0xDEADBEEF, 0x8008, -9, 0xFFF0, 0x80000001, 0xFFFFFFFF, -32768,
                  0x800E, 0xFF13, -20, 0x8015, 22, 0xFFFFFFFE, 0x8018, 0x8019)
    low = values(*range(30, 49))
    pings = [
        dict(status=1, time="1000000000.25", v=high, port=samples(5, 1), starboard=samples(3, 2), second=b"", other=b""),
        dict(status=0x40000002, time="1000000000.3756", v=low, port=samples(6, 3), starboard=b"", second=samples(2, 4),
             other=samples(4, 5)),
        dict(status=0x80000000, time="999999990", v=low, port=b"", starboard=b"", second=b"", other=b""),
        dict(status=0xFFFFFFFF, time="1000000031", v=high, port=b"", starboard=samples(4, 6), second=b"",
             other=samples(2, 7)),
    ]
    arrays = ("port", "starboard", "second", "other")
    towed("sss", "SSSSideScan", 13, 3, 0x40000011, [("0001.xtf", 4, pings[:2]), ("b", 0xFFFFFFFF, pings[2:])], sss_head,
          arrays)
    for p, v in zip(pings, ([0xFFFE, 0x8001, 0xDEADBEEF], [3, 4, 5], [0, 0, 0], [1, 0xFFFF, 0x80000000])):
        p["v"] = v
    towed("sss_processed", "SSSProcessedSideScan", 19, 2, 9, [("0001.xtf", 4, pings[:3]), ("b", 1, pings[3:])],
          processed_head, arrays[:2])


if __name__ == "__main__":
    main()
