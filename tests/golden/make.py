#!/usr/bin/env python3
"""Makes the golden files of the sensor store from the layout of its files, word by word.

It shares nothing with the library: sizes, order and byte order stand here a second time, by hand.
Run it in this folder; each case gets "<file>.hex" (offset, bytes, field = value) and "twin.txt".
"""
import pathlib
import struct

HERE = pathlib.Path(__file__).parent
TOKEN = 0x54454C44


class File:
    def __init__(self):
        self.lines = []
        self.size = 0

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
        self.u(name + ".length", len(data))
        self.raw(name, data, repr(value))
        self.raw(name + ".padding", bytes(-len(data) % 4), 0)

    def validation(self, sensor_type, file_type, version):
        self.raw("teldToken", b"TELD", hex(TOKEN))
        self.u("sensorType", sensor_type)
        self.u("fileType", file_type)
        self.u("versionNumber", version)


def save(case, files, twin, script="make.py"):
    folder = HERE / case
    folder.mkdir(exist_ok=True)
    for name, file in files.items():
        text = f"# {file.size} bytes; made by ../{script}\n" + "\n".join(file.lines) + "\n"
        (folder / f"{name}.hex").write_text(text)
    (folder / "twin.txt").write_text("\n".join(twin) + "\n")


def time_index(sensor_type, version, capacity, sets):
    """A time index; each set is a list of (encoded time, byte offset)."""
    f = File()
    twin = [f"maxTmIdxSetSize = {capacity}"]
    f.validation(sensor_type, 3, version)
    f.u("numTmIdxSets", len(sets))
    f.u("maxTmIdxSetSize", capacity)
    for n, entries in enumerate(sets):
        times = [t for t, _ in entries]
        least = min(times, default=2**31 - 1)
        most = max(times, default=-2**31)
        f.u(f"sets[{n}].numRecords", len(entries))
        f.i(f"sets[{n}].minTime", least)
        f.i(f"sets[{n}].maxTime", most)
        twin += [f"sets[{n}].numRecords = {len(entries)}", f"sets[{n}].minTime = {least}",
                 f"sets[{n}].maxTime = {most}"]
    for n, entries in enumerate(sets):
        f.u(f"sets[{n}].offsets.count", len(entries))
        for e, (time, offset) in enumerate(entries):
            f.i(f"sets[{n}].offsets[{e}].time", time)
            f.i(f"sets[{n}].offsets[{e}].offset", offset)
            twin.append(f"sets[{n}].offsets[{e}] = {time} at {offset}")
    return f, twin


def line_segments(sensor_type, version, segments):
    """The segments of a simple sensor; times and values as the words that stand for them."""
    f = File()
    f.validation(sensor_type, 2, version)
    f.i("numLineSegments", len(segments))
    for n, s in enumerate(segments):
        at = f"segments[{n}]."
        f.u(at + "status", s["status"])
        f.u(at + "sourceFileNameLength", len(s["name"].encode("utf-8")))
        f.text(at + "sourceFileName", s["name"])
        f.u(at + "beginIndex", s["first"])
        f.u(at + "endIndex", s["last"])
        for word in ("minTime", "maxTime", "minValue", "maxValue"):
            f.i(at + word, s[word])
    return f


def heave(version, status, minutes, records, segments):
    """Data file of a heave: times in milliseconds from the reference minute, values in millimetres."""
    f = File()
    f.validation(2, 1, version)
    f.u("summaryStatus", status)
    f.u("numRecords", len(records))
    f.i("clockAccuracy", 1000)
    f.i("referenceTime", minutes)
    f.i("minTime", min(t for _, t, _ in records))
    f.i("maxTime", max(t for _, t, _ in records))
    f.i("minValue", min(v for _, _, v in records))
    f.i("maxValue", max(v for _, _, v in records))
    for n, (record_status, time, value) in enumerate(records, 1):
        f.u(f"records[{n}].status", record_status)
        f.i(f"records[{n}].encodedTime", time)
        f.i(f"records[{n}].encodedValue", value)
    return f


def seconds(minutes, milliseconds):
    return f"{minutes * 60 + milliseconds / 1000:.3f}"


def heave_twin(minutes, status, records, segments):
    twin = [f"summaryStatus = {status}"]
    for n, s in enumerate(segments, 1):
        twin.append(
            f"segment {n} = {s['name']} | records {s['first']} to {s['last']} | status {s['status']} | "
            f"{seconds(minutes, s['minTime'])} to {seconds(minutes, s['maxTime'])} s | "
            f"{s['minValue'] / 1000:.3f} to {s['maxValue'] / 1000:.3f} m")
    for n, (record_status, time, value) in enumerate(records, 1):
        twin.append(f"record {n} = {seconds(minutes, time)} s, {value / 1000:.3f} m, status {record_status}")
    return twin


def main():
    sets = [[(5, 48), (-7, 60), (2147483647, 2147483647)], [(-2147483648, 72)], []]
    index, twin = time_index(2, 9, 512, sets)
    save("time_index", {"TmIdx": index}, twin)

    # 513 records of 12 bytes behind 16 bytes of validation record and 32 of summary.
    entries = [(n * 20, 48 + 12 * n) for n in range(513)]
    index, twin = time_index(2, 1, 512, [entries[:512], entries[512:]])
    save("time_index_two_sets", {"TmIdx": index}, twin)

    minutes = 17532000
    records = [(0, 0, 0), (1, 250, -1250), (0x80000000, 500, 2147483647), (3, -29999, -2147483648),
               (7, 30000, 17)]
    segments = [
        dict(name="0001_20240607.all", status=4, first=1, last=3, minTime=0, maxTime=500, minValue=-1250,
             maxValue=2147483647),
        dict(name="Übung €.raw", status=0xFFFFFFFF, first=4, last=5, minTime=-29999, maxTime=30000,
             minValue=-2147483648, maxValue=17),
        dict(name="", status=0, first=6, last=5, minTime=0, maxTime=0, minValue=0, maxValue=0),
    ]
    # A segment without a record: its extents never widened. The time has no 64-bit result at all, the
    # value saturates.
    segments[2].update(minValue=2147483647, maxValue=-2147483648)
    index, _ = time_index(2, 1, 512, [[(t, 48 + 12 * n) for n, (_, t, _) in enumerate(records)]])
    save("heave", {
        "Heave": heave(1, 11, minutes, records, segments),
        "HeaveLineSegments": line_segments(2, 1, segments),
        "HeaveTmIdx": index,
    }, heave_twin(minutes, 11, records, segments))


if __name__ == "__main__":
    main()
