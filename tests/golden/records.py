#!/usr/bin/env python3
"""Makes the golden sets of SSP, the event marks and the sensor parameters from the layout of their files.

It shares nothing with the library: sizes, orders and codings stand here a second time.
Run it in this folder; each case gets "<file>.hex" (offset, bytes, field = value) for its three files and
"twin.txt", which says what a caller writes and what comes back.
"""
import math
import pathlib
import struct

HERE = pathlib.Path(__file__).parent


def rounded(value):
    return int(math.copysign(math.floor(abs(value) + 0.5), value))


class File:
    def __init__(self, sensor_type, file_type):
        self.lines = []
        self.size = 0
        self.raw("teldToken", b"TELD", "TELD")
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


class Clock:
    """Milliseconds from the minute nearest to the first time."""

    def __init__(self, first):
        self.minute = rounded(first / 60)

    def code(self, time):
        return rounded((time - self.minute * 60) * 1000)

    def extents(self, file, times):
        file.i("minTime", self.code(min(times)))
        file.i("maxTime", self.code(max(times)))


def save(case, name, sensor_type, data, clock, segments, offsets, value_extents, twin):
    """segments: (name, status, [record]), a record beginning with its time."""
    side = File(sensor_type, 2)
    side.i("numLineSegments", len(segments))
    begin = 1
    for source, status, records in segments:
        stored = source.encode("utf-8")
        side.u("status", status)
        side.u("sourceFileNameLength", len(stored))
        side.u("sourceFileName length", len(stored))
        side.raw("sourceFileName", stored, source)
        side.raw("sourceFileName padding", bytes(-len(stored) % 4), 0)
        side.u("beginIndex", begin)
        side.u("endIndex", begin + len(records) - 1)
        clock.extents(side, [r[0] for r in records])
        value_extents(side, records)
        begin += len(records)
    times = [clock.code(r[0]) for _, _, records in segments for r in records]
    index = File(sensor_type, 3)
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
    for file, suffix in ((data, ""), (side, "LineSegments"), (index, "TmIdx")):
        text = f"# {file.size} bytes; made by ../records.py\n" + "\n".join(file.lines) + "\n"
        (folder / f"{name}{suffix}.hex").write_text(text)
    (folder / "twin.txt").write_text("\n".join(twin) + "\n")


def all_records(segments):
    return [r for _, _, records in segments for r in records]


def ssp():
    segments = [
        ("0001.ssp", 0x40000000, [(1e9 + 12.345, 1500.27, 0.0, 1), (1e9 + 13.5, 1499.0, -1.0, 0x80000000)]),
        ("Übung.ssp", 9, [(1e9 - 70.001, 6553.5, 6553.6, 0xFFFFFFFF)]),
    ]
    records = all_records(segments)
    clock = Clock(records[0][0])

    def values(file, own):
        file.i("minValue1", rounded(min(r[1] for r in own) * 1000))
        file.i("maxValue1", rounded(max(r[1] for r in own) * 1000))

    data = File(54, 1)
    data.u("summaryStatus", 11)
    data.u("numRecords", len(records))
    data.i("clockAccuracy", 1000)
    data.i("referenceTime", clock.minute)
    clock.extents(data, [r[0] for r in records])
    values(data, records)
    offsets, twin = [], ["time value1 value2 status, as written and as read"]
    for time, value1, value2, status in records:
        offsets.append(data.size)
        data.u("status", status)
        data.i("time", clock.code(time))
        high, low = int(value1 * 10.0) & 0xFFFF, int(value2 * 10.0) & 0xFFFF
        data.u("values", high << 16 | low)
        read = clock.code(time) / 1000 + clock.minute * 60
        twin.append(f"{time} {value1} {value2} {status} -> {read} {high / 10.0} {low / 10.0} {status}")
    save("ssp", "SSP", 54, data, clock, segments, offsets, values, twin)


def event_marks():
    full = "x" * 78 + "y"
    segments = [
        ("0001.evt", 5, [(1e9 + 0.001, 7, "start of line, buoy to port", 1), (1e9 + 1, 8, "wreck", 2)]),
        ("0002.evt", 6, [(1e9 + 2, 0xFFFFFFFF, "Größe 5 →", 3), (1e9 + 3, 0, "", 4), (1e9 + 4, 9, full, 5)]),
    ]
    records = all_records(segments)
    clock = Clock(records[0][0])
    data = File(32, 1)
    data.u("summaryStatus", 12)
    data.u("numRecords", len(records))
    data.i("clockAccuracy", 1000)
    data.i("referenceTime", clock.minute)
    clock.extents(data, [r[0] for r in records])
    offsets, twin = [], ["time number text status"]
    left = bytes(80)
    for time, number, text, status in records:
        offsets.append(data.size)
        data.u("status", status)
        data.u("number", number)
        data.i("time", clock.code(time))
        stored = text.encode("utf-8") + b"\0"
        left = stored + left[len(stored):]
        data.raw("text", left, repr(text))
        twin.append(f"{time} {number} {text!r} {status}")
    save("event_marks", "EventMark", 32, data, clock, segments, offsets, lambda *_: None, twin)


# Parameters 6, 16, 17 and 20 to 23 in hundredths, cut.
CENTS = {6, 16, 17, 20, 21, 22, 23}


def sensor_parameters(case, sonar_type, version):
    first = {n: 1000 + n for n in range(1, 26)}
    first.update({6: 1.239, 16: -1.239, 17: 0.0, 20: 2.5, 21: 99.999, 22: -0.009, 23: 1234567.891})
    second = {n: 0xFFFFFFFF - n for n in range(1, 26)}
    second.update({n: n + 0.25 for n in CENTS})
    segments = [("8100.raw", 3, [(1e9 + 30.5, 21, first), (1e9 + 31, 22, second)]), ("b", 4, [(1e9 + 32, 23, None)])]
    records = all_records(segments)
    clock = Clock(records[0][0])
    data = File(57, 1)
    data.u("summaryStatus", 13)
    data.u("sonarType", sonar_type)
    data.u("sonarVersion", version)
    data.u("numRecords", len(records))
    data.i("clockAccuracy", 1000)
    data.i("referenceTime", clock.minute)
    clock.extents(data, [r[0] for r in records])
    offsets, twin = [], ["time status parameters; none: those of the record before"]
    parameters = {}
    for time, status, own in records:
        offsets.append(data.size)
        twin.append(f"{time} {status} {' '.join(str(own[n]) for n in range(1, 26)) if own else 'none'}")
        if (sonar_type, version) != (1, 1):
            continue
        parameters = own or parameters
        data.u("status", status)
        data.i("time", clock.code(time))
        for n in [1, 2, 3, 4, 5, 3] + list(range(6, 26)):
            if n in CENTS:
                data.i(f"param{n}", int(parameters[n] * 100.0))
            else:
                data.u(f"param{n}", parameters[n])
        data.u("word 28", 0)
    save(case, "SensorParameters", 57, data, clock, segments, offsets, lambda *_: None, twin)


ssp()
event_marks()
sensor_parameters("sensor_parameters_reson8100", 1, 1)
sensor_parameters("sensor_parameters_other_sonar", 2, 0)
