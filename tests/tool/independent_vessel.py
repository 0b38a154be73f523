#!/usr/bin/env python3
"""Compares the vessel file that an import wrote with the installation parameters of the raw file, read without any code
of the tool: what import_vessel_test.cpp expects. Usage: independent_vessel.py SKAR LINE FILE"""

import datetime
import pathlib
import struct
import sys
import xml.etree.ElementTree as ElementTree


def installations(data):
    """Time, model, the two serial numbers and the fields of each datagram; beams by serial number of the pings."""
    found, beams, offset = [], {}, 0
    while offset < len(data):
        (length,) = struct.unpack_from("<I", data, offset)
        body = data[offset + 4 : offset + 4 + length]
        model, date, ms, _, serial = struct.unpack_from("<HIIHH", body, 2)
        if body[1:2] in (b"I", b"i", b"r"):
            (second,) = struct.unpack_from("<H", body, 16)
            text = body[18:-3].decode("latin-1").replace("\0", "")
            fields = dict(part.split("=", 1) for part in text.split(",") if "=" in part)
            fields = {key.strip(): value.strip() for key, value in fields.items()}
            day = datetime.datetime.strptime(str(date), "%Y%m%d")
            found.append((day + datetime.timedelta(seconds=ms // 1000), model, serial, second, fields))
        if body[1:2] == b"X":
            (count,) = struct.unpack_from("<H", body, 24)
            beams[serial] = max(beams.get(serial, 0), count)
        offset += 4 + length
    return found, beams


def place(fields, prefix):
    # Starboard, forward, down.
    return {"X": fields[prefix + "Y"], "Y": fields[prefix + "X"], "Z": fields[prefix + "Z"]}


def angles(fields, prefix):
    return {"Pitch": fields[prefix + "P"], "Roll": fields[prefix + "R"], "Azimuth": fields[prefix + "H"]}


def expected(model, serial, second, fields, beams):
    """Element path below the entry: attributes; by kind of sensor. Numbers as texts of the file."""
    position = str(int(fields["APS"]) + 1)
    motion = {"2": "MS", "3": "NS"}[fields["ARO"]]
    heave = {"2": "MS", "3": "NS"}[fields["AHE"]]
    delay = str(int(fields[motion + "D"]) / 1000)
    heads = {None: ["1", "2"] if "S2X" in fields else ["1"], "0": ["1", "2"], "3": ["1", "2", "3"]}[fields.get("STC")]
    sender, receivers = heads[0], heads[1:] or heads
    serials = [fields.get("R1S", str(serial)), fields.get("R2S", str(second))]
    transducers = []
    for number, head in enumerate(receivers, 1):
        transducers.append({
            ".": {"Number": str(number), "StartBeam": str(1 if number == 1 else beams.get(serial, 0) + 1),
                  "Model": "EM %d" % model},
            "Offsets": {**place(fields, "S" + head), "Latency": "0"},
            "MountAngle": angles(fields, "S" + head),
            "Manufacturer": {"value": "Kongsberg"},
            "SerialNumber": {"value": serials[number - 1]},
        })
    return {
        "DepthSensor": {"SensorClass": {"value": "Swath"}, "Latency": {"value": "0"},
                        "TransducerEntries/Transducer": transducers},
        "SVPSensor": {"Offsets": place(fields, "S" + sender), "MountAngle": angles(fields, "S" + sender),
                      "DualHead": {"value": "No"}, "Latency": {"value": "0"}},
        "NavSensor": {"Offsets": place(fields, "P" + position), "Latency": {"value": fields["P%sD" % position]},
                      **({"Ellipse": {"value": fields["P%sG" % position]}} if fields["P%sG" % position] else {})},
        "GyroSensor": {"Offsets/Gyro/Entry": [{".": {"Azimuth": "0", "Offset": fields["GCG"]}}],
                       "ApplyFlag": {"value": "No"}, "Latency": {"value": "0"}},
        "PitchSensor": {"Offsets": {"Pitch": fields[motion + "P"]}, "Latency": {"value": delay},
                        "ApplyFlag": {"value": "No"}},
        "RollSensor": {"Offsets": {"Roll": fields[motion + "R"]}, "Latency": {"value": delay},
                       "ApplyFlag": {"value": "No"}},
        "HeaveSensor": {"Offsets": {**place(fields, heave), "Heave": "0"}, "Latency": {"value": delay},
                        "ApplyFlag": {"value": "No"}},
        "WaterlineHeight": {"WaterLine": {"value": fields["WLZ"]}, "StdDev": {"Waterline": "0"},
                            "ApplyFlag": {"value": "No"}, "Latency": {"value": "0"}},
    }


def require(condition, *what):
    if not condition:
        print(*what)
        sys.exit(1)


def same(a, b):
    try:
        return abs(float(a) - float(b)) < 1e-9
    except ValueError:
        return a == b


def compare(where, element, wanted):
    """How many attributes were compared; every one of the element has to be wanted, but for comments."""
    count, seen = 0, {element}
    for path, attributes in wanted.items():
        if isinstance(attributes, list):
            rows = element.findall(path)
            require(len(rows) == len(attributes), where, path, len(rows), len(attributes))
            for row, part in zip(rows, attributes):
                count += compare(where + "/" + path, row, part)
                seen.update(row.iter())
            names = path.split("/")
            seen.update(element.find("/".join(names[:i])) for i in range(1, len(names)))
            continue
        found = element if path == "." else element.find(path)
        require(found is not None, where, path, "is not there")
        require(set(found.attrib) == set(attributes), where, path, found.attrib, attributes)
        for name, value in attributes.items():
            require(same(found.attrib[name], value), where, path, name, found.attrib[name], value)
            count += 1
        seen.add(found)
    for other in element.iter():
        require(other in seen or other.tag == "Comment", where, other.tag, "was not expected")
    return count


def main():
    _, line, path = sys.argv[1:]
    found, beams = installations(open(path, "rb").read())
    require(all(each[1:4] == found[0][1:4] for each in found), "sonars differ")
    time, model, serial, second, fields = found[0]
    for each in found:
        require({**each[4], "SID": 0, "RFN": 0} == {**fields, "SID": 0, "RFN": 0}, "installations differ")
    folder = pathlib.Path(line)
    file = folder.parents[3] / "VesselConfig" / (folder.parents[1].name + ".skv")
    root = ElementTree.parse(file).getroot()
    wanted = expected(model, serial, second, fields, beams)
    kinds = [child.tag for child in root if child.tag != "VesselShape"]
    require(sorted(kinds) == sorted(wanted), kinds, sorted(wanted))
    count = 0
    for kind in kinds:
        entries = root.findall(kind + "/TimeStamp")
        require(len(entries) == 1, kind, len(entries), "entries")
        require(entries[0].attrib["value"] == time.strftime("%Y-%j %H:%M:%S"), kind, entries[0].attrib, time)
        count += compare(kind, entries[0], {**wanted[kind], ".": dict(entries[0].attrib)}) - 1
    print("%d values of %d kinds, from %s" % (count, len(kinds), time))


main()
