#!/usr/bin/env python3
"""Makes the golden sets of the time series and the tracks from the layout of their files.

It shares nothing with the library: sizes, orders and codings stand here a second time, in exact fractions.
Run it in this folder; each case gets "<file>.hex" (offset, bytes, field = value) for its three files and
"twin.txt", which says what a caller writes and what comes back.
"""
import math
import pathlib
import struct
from fractions import Fraction

HERE = pathlib.Path(__file__).parent
FINE = Fraction(10) ** 7
MILLIS = Fraction(10) ** 3


def half_away(value):
    return int(math.copysign(1, value)) * math.floor(abs(value) + Fraction(1, 2))


def low_word(number):
    number &= 0xFFFFFFFF
    return number - 2**32 if number >= 2**31 else number


def exact(text):
    return Fraction(text)


def code_value(text, scale):
    value = exact(text)
    if scale == MILLIS and value > 2000000:
        return 2**31 - 1
    if scale == MILLIS and value < -2000000:
        return -2**31
    return low_word(half_away(value * scale))


def code_position(text, reference):
    return low_word(half_away((exact(text) - Fraction(reference, 10**7)) * 10**9))


class File:
    def __init__(self, sensor_type, file_type):
        self.lines = []
        self.size = 0
        self.u("teldToken", 0x54454C44)
        self.u("sensorType", sensor_type)
        self.u("fileType", file_type)
        self.u("versionNumber", 1)

    def raw(self, name, data, value):
        if data:
            self.lines.append(f"{self.size} {data.hex().upper()} {name} = {value}")
        self.size += len(data)

    def u(self, name, value):
        self.raw(name, struct.pack(">I", value), value)

    def i(self, name, value):
        self.raw(name, struct.pack(">i", value), value)

    def text(self, name, value):
        data = value.encode("utf-8")
        self.u(name + " length", len(data))
        self.u(name + " length again", len(data))
        self.raw(name, data, value)
        self.raw(name + " padding", bytes(-len(data) % 4), 0)


def series(case, family, sensor_type, scale, status, segments):
    """segments: (name, status, [(status, time, value)]), times and values as decimal texts."""
    records = [r for _, _, own in segments for r in own]
    minute = half_away(exact(records[0][1]) / 60)
    time = lambda text: half_away((exact(text) - minute * 60) * 1000)
    value = lambda text: code_value(text, scale)
    extents = lambda own: [("minTime", time(min((r[1] for r in own), key=exact))),
                           ("maxTime", time(max((r[1] for r in own), key=exact))),
                           ("minValue", value(min((r[2] for r in own), key=exact))),
                           ("maxValue", value(max((r[2] for r in own), key=exact)))]
    data = File(sensor_type, 1)
    data.u("status", status)
    data.u("numRecords", len(records))
    data.i("clockAccuracy", 1000)
    data.i("referenceTime", minute)
    for name, word in extents(records):
        data.i(name, word)

    def write(number, record):
        data.u(f"record {number} status", record[0])
        data.i(f"record {number} encodedTime", time(record[1]))
        data.i(f"record {number} encodedValue", value(record[2]))
        return time(record[1]), [repr(value(record[2]) / float(scale))]

    save(case, family, sensor_type, data, write, extents, minute, status, 0, segments)


def track(case, family, sensor_type, coordinate_type, status, segments):
    """segments: (name, status, [(status, time, latitude, longitude, auxiliary)])."""
    records = [r for _, _, own in segments for r in own]
    minute = half_away(exact(records[0][1]) / 60)
    references = [half_away(exact(records[0][2]) * 10**7), half_away(exact(records[0][3]) * 10**7)]
    time = lambda text: half_away((exact(text) - minute * 60) * 1000)
    place = lambda text, which: code_position(text, references[which])
    least = lambda own, which: min((r[which] for r in own), key=exact)
    most = lambda own, which: max((r[which] for r in own), key=exact)
    extents = lambda own: [("minTime", time(least(own, 1))), ("maxTime", time(most(own, 1))),
                           ("minLat", place(least(own, 2), 0)), ("maxLat", place(most(own, 2), 0)),
                           ("minLong", place(least(own, 3), 1)), ("maxLong", place(most(own, 3), 1))]
    data = File(sensor_type, 1)
    words = dict(extents(records))
    data.u("status", status)
    data.u("numberOfDataSamples", len(records))
    data.i("clockAccuracy", 1000)
    data.i("referenceTime", minute)
    data.i("minTime", words["minTime"])
    data.i("maxTime", words["maxTime"])
    data.u("coordinateType", coordinate_type)
    data.i("positionScale", 1)
    data.i("referenceLatitude", references[0])
    data.i("minLat", words["minLat"])
    data.i("maxLat", words["maxLat"])
    data.i("referenceLongitude", references[1])
    data.i("minLong", words["minLong"])
    data.i("maxLong", words["maxLong"])

    def write(number, record):
        words = [place(record[2], 0), place(record[3], 1), code_value(record[4], MILLIS)]
        data.u(f"record {number} status", record[0])
        data.i(f"record {number} encodedTime", time(record[1]))
        for name, word in zip(("encodedLatitude", "encodedLongitude", "encodedAuxiliary"), words):
            data.i(f"record {number} {name}", word)
        read = [words[i] * 1 * 1e-9 + references[i] * 1e-7 for i in (0, 1)] + [words[2] / 1000.0]
        return time(record[1]), [repr(r) for r in read]

    save(case, family, sensor_type, data, write, extents, minute, status, coordinate_type, segments)


def save(case, family, sensor_type, data, write, extents, minute, status, coordinate_type, segments):
    side = File(sensor_type, 2)
    index = File(sensor_type, 3)
    twin = [f"family {family}", f"coordinateType {coordinate_type}", f"summaryStatus {status}"]
    side.i("numLineSegments", len(segments))
    entries = []
    for number, (name, segment_status, own) in enumerate(segments, 1):
        at = f"segment {number} "
        side.u(at + "status", segment_status)
        side.text(at + "sourceFileName", name)
        side.u(at + "beginIndex", len(entries) + 1)
        side.u(at + "endIndex", len(entries) + len(own))
        for field, word in extents(own):
            side.i(at + field, word)
        twin.append(f"segment {segment_status} {name}")
        for record in own:
            offset = data.size
            time, read = write(len(entries) + 1, record)
            entries.append((time, offset))
            seconds = repr(time / 1000.0 + minute * 60.0)
            twin.append(f"record {record[0]} written {' '.join(record[1:])} read {seconds} {' '.join(read)}")
    index.u("numTmIdxSets", 1)
    index.u("maxTmIdxSetSize", 512)
    index.u("set 1 numRecords", len(entries))
    index.i("set 1 minTime", min(t for t, _ in entries))
    index.i("set 1 maxTime", max(t for t, _ in entries))
    index.u("array 1 count", len(entries))
    for number, (time, offset) in enumerate(entries, 1):
        index.i(f"entry {number} time", time)
        index.i(f"entry {number} offset", offset)
    folder = HERE / case
    folder.mkdir(exist_ok=True)
    for suffix, file in (("", data), ("LineSegments", side), ("TmIdx", index)):
        text = f"# {file.size} bytes; made by ../series.py\n" + "\n".join(file.lines) + "\n"
        (folder / f"{family}{suffix}.hex").write_text(text)
    (folder / "twin.txt").write_text("\n".join(twin) + "\n")


def gyro_beyond_the_word():
    """A fine sensor; 300 radians do not fit the word, whose low 32 bits are kept."""
    series("gyro_beyond_the_word", "Gyro", 1, FINE, 0xFFFFFFFF, [
        ("0001 - line.all", 0x80000001, [(0, "1000000000.25", "3.1415926"), (1, "1000000000.5", "-0.0000012"),
                                         (2, "1000000000.75", "300")]),
        ("b", 7, [(0xFFFFFFFF, "1000000001", "0"), (3, "1000000002.001", "-214.7483648")]),
    ])


def tide_saturated():
    """A sensor of millimetres whose times begin at 89.9 s and go back before the reference minute."""
    series("tide_saturated", "Tide", 7, MILLIS, 4, [
        ("tide.txt", 5, [(1, "89.9", "2000000"), (2, "59.5", "3000000"), (3, "0", "-3000000"),
                         (4, "-600.125", "-2000000"), (5, "2147543.647", "0.0125"), (6, "90", "-0.0125")]),
    ])


def true_heave_minute():
    """90.0 s is the first time that belongs to minute 2."""
    series("true_heave_minute", "TrueHeave", 55, MILLIS, 0, [("x", 0, [(0, "90", "1")])])


def navigation_two_segments():
    track("navigation_two_segments", "Navigation", 3, 2, 11, [
        ("Übung €.nav", 0x40000000, [(0, "1000000000", "0.785398163", "-0.05", "12.5"),
                                     (1, "1000000000.1", "0.785398164", "-0.050000001", "-3000000")]),
        ("0002.nav", 9, [(2, "999999999.999", "-1.2", "1.9", "3000000")]),
    ])


def sss_navigation():
    track("sss_navigation", "SSSNavigation", 12, 1, 0,
          [("fish", 1, [(0x12345678, "61", "-0.5", "3.1", "0"),
                        (0, "62", "-0.50000001", "3.1000001", "0.0125")])])


def navigation_new():
    """Validates as the track it is to replace."""
    track("navigation_new", "NavigationNew", 3, 0, 3, [("merged", 2, [(5, "120.5", "0", "0", "1")])])


if __name__ == "__main__":
    gyro_beyond_the_word()
    tide_saturated()
    true_heave_minute()
    navigation_two_segments()
    sss_navigation()
    navigation_new()
