#!/usr/bin/env python3
"""Makes the golden sets of the observed depths from the layout of their files, in exact fractions.

It shares nothing with the library: sizes, orders and codings stand here a second time, by hand.
Run it in this folder; each case gets "<file>.hex" for its three files and "twin.txt", which says what a
caller writes and what comes back:

    segment <status> <name>
    ping <status> <first beam> <beams> written <time> <latitude> <longitude> read <the same three>
    beam <status> written <time> <y> <x> <z> read <time> <y> <x> <z> <extra>
"""
from fractions import Fraction

from make import File, save, time_index

HALF = Fraction(1, 2)


def rounded(value):
    whole = int(abs(value) + HALF)
    return -whole if value < 0 else whole


def low_word(number):
    number &= 0xFFFFFFFF
    return number - 2**32 if number >= 2**31 else number


def meters(text):
    value = Fraction(text)
    if value > 2000000:
        return 2**31 - 1
    if value < -2000000:
        return -2**31
    return low_word(rounded(value * 1000))


def radians(text):
    return low_word(rounded(Fraction(text) * 10**7))


def number(value):
    return repr(float(value))


class Depths:
    def __init__(self, version, tool, status):
        self.version, self.tool, self.status = version, tool, status
        self.segments = []
        self.minute = None

    def segment(self, status, name):
        self.segments.append((status, name, []))

    def ping(self, status, start, time, latitude, longitude, beams):
        """beams: (status, time, y, x, z, extra)"""
        if self.minute is None:
            self.minute = rounded(Fraction(time) / 60)
        self.segments[-1][2].append((status, start, time, latitude, longitude, beams))

    def clock(self, seconds):
        return low_word(rounded((Fraction(seconds) - self.minute * 60) * 1000))

    def extents(self, file, pings):
        times = [self.clock(t) for p in pings for t in [p[2]] + [b[1] for b in p[5]]]
        depths = [meters(b[4]) for p in pings for b in p[5]]
        for name, value in (("minTime", min(times)), ("maxTime", max(times)), ("minDepth", min(depths)),
                            ("maxDepth", max(depths))):
            file.i(name, value)

    def make(self, case):
        pings = [p for _, _, each in self.segments for p in each]
        data, side = File(), File()
        data.validation(4, 1, self.version)
        data.u("summaryStatus", self.status)
        data.u("toolType", self.tool)
        data.u("numProfiles", len(pings))
        data.u("numDepths", sum(len(p[5]) for p in pings))
        data.i("clockAccuracy", 1000)
        data.i("secondaryClockAccuracy", 1000)
        data.i("referenceTime", self.minute)
        self.extents(data, pings)
        entries = []
        for n, ping in enumerate(pings, 1):
            entries.append((self.clock(ping[2]), data.size))
            self.put_ping(data, f"pings[{n}].", ping)
        index, _ = time_index(4, self.version, 512, [entries])

        side.validation(4, 2, self.version)
        side.i("numLineSegments", len(self.segments))
        begin = 1
        for n, (status, name, each) in enumerate(self.segments):
            at = f"segments[{n}]."
            side.u(at + "status", status)
            side.u(at + "sourceFileNameLength", len(name.encode("utf-8")))
            side.text(at + "sourceFileName", name)
            side.u(at + "beginIndex", begin)
            begin += len(each)
            side.u(at + "endIndex", begin - 1)
            self.extents(side, each)
        save(case, {"ObservedDepths": data, "ObservedDepthsLineSegments": side, "ObservedDepthsTmIdx": index},
             self.twin())

    def put_ping(self, data, at, ping):
        status, start, time, latitude, longitude, beams = ping
        data.u(at + "status", status)
        if self.version == 1:
            data.u(at + "numDepths", len(beams))
        else:
            data.u(at + "depthRange", len(beams) * 0x10000 + start)
        data.i(at + "time", self.clock(time))
        data.i(at + "latitude", radians(latitude))
        data.i(at + "longitude", radians(longitude))
        for b, (beam_status, beam_time, y, x, z, extra) in enumerate(beams):
            beam = f"{at}beams[{start + b}]."
            offset = rounded((Fraction(beam_time) - Fraction(time)) * 1000)
            if self.version == 1:
                data.u(beam + "status", beam_status)
            else:
                data.u(beam + "statusAndOffset", beam_status | offset & 0xFFFF)
            data.i(beam + "z", meters(z))
            data.i(beam + "x", meters(x))
            data.i(beam + "y", meters(y))
            if self.version == 1:
                data.i(beam + "timeOffset", low_word(offset))
                data.i(beam + "extra", meters(extra))

    def twin(self):
        lines = [f"toolType {self.tool}", f"summaryStatus {self.status}"]
        for status, name, pings in self.segments:
            lines.append(f"segment {status} {name}")
            for ping_status, start, time, latitude, longitude, beams in pings:
                base = Fraction(self.clock(time), 1000) + self.minute * 60
                lines.append(
                    f"ping {ping_status} {start} {len(beams)} written {time} {latitude} {longitude} read "
                    f"{number(base)} {number(Fraction(radians(latitude), 10**7))} "
                    f"{number(Fraction(radians(longitude), 10**7))}")
                for beam_status, beam_time, y, x, z, extra in beams:
                    offset = rounded((Fraction(beam_time) - Fraction(time)) * 1000)
                    if self.version == 2:
                        offset = (offset + 0x8000) % 0x10000 - 0x8000
                        extra = "0"
                    read = [base + Fraction(offset, 1000)] + [Fraction(meters(v), 1000) for v in (y, x, z, extra)]
                    lines.append(f"beam {beam_status} written {beam_time} {y} {x} {z} read " +
                                 " ".join(number(v) for v in read))
        return lines


def both_versions(version):
    """The same line in both versions; version 1 has all bits of a status, long offsets and an extra."""
    depths = Depths(version, 17, 5)
    low = 0x1234 if version == 1 else 0
    first = 1 if version == 1 else 2
    depths.segment(4, "0001_20240607.all")
    depths.ping(0x80000001, 1, "1051920000.25", "0.87654321", "-1.23456789",
                [(0x80000000 + low, "1051920000.25", "-12.3456", "0.0004", "45.6785", "1.5"),
                 (0x00010000, "1051920000.375", "0.0005", "-0.0005", "-45.6785", "-2.25"),
                 (0xFFFF0000 + low, "1051920000.2", "2000000.5", "-2000000.5", "2000000", "2000001")])
    depths.ping(0, first, "1051920000.75", "-0.5", "0",
                [(0x03F80000, "1051920033.75", "1", "2", "3", "0"),
                 (0, "1051919967.75", "-1", "-2", "-3.25", "0.125")])
    depths.segment(0, "Übung €.raw")
    depths.ping(7, 1, "1051920090.0625", "1.5707963268", "3.1415926536",
                [(0xF3F80000, "1051920122.82955", "7", "8", "9.9994", "0")])
    depths.make(f"observed_depths_{version}")


if __name__ == "__main__":
    both_versions(1)
    both_versions(2)
