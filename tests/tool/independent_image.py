#!/usr/bin/env python3
"""Compares the imagery of a line with the raw file that it was imported from. Both are read here byte by byte, without any
code of the tool or the library. Prints what was compared; ends with status 1 at the first difference.
Usage: independent_image.py SKAR LINE RAWFILE (the command is not used)"""

import datetime
import os
import struct
import sys

# Leap seconds since 1980 as the store counts them, from the day on which each was first counted in full.
LEAPS = (
    "19810701 19820701 19830701 19850701 19880101 19900101 19910101 19920701 19930701 19940701 19960101 19970701 "
    "19990101 20060101 20090101 20120701"
).split()


def store_time(date, seconds):
    days = (datetime.datetime.strptime(date, "%Y%m%d") - datetime.datetime(1980, 1, 1)).days
    return days * 86400 + seconds + sum(leap <= date for leap in LEAPS)


class Ping:
    def __init__(self, time, head, number, width, port, starboard):
        self.time, self.head, self.number, self.width = time, head, number, width
        self.port, self.starboard = port, starboard
        self.interval = self.delay = self.speed = self.height = None


def read_xtf(data):
    pings, offset = [], 1024
    while offset < len(data):
        kind, = struct.unpack_from("<xxB", data, offset)
        size, = struct.unpack_from("<I", data, offset + 10)
        if kind == 0:
            year, month, day, hour, minute, second, hundredth = struct.unpack_from("<H6B", data, offset + 14)
            number, speed = struct.unpack_from("<If", data, offset + 28)
            height, = struct.unpack_from("<f", data, offset + 196)
            first = offset + 256
            slant, = struct.unpack_from("<f", data, first + 4)
            duration, = struct.unpack_from("<f", data, first + 16)
            count, = struct.unpack_from("<I", data, first + 42)
            port = data[first + 64 : first + 64 + count]
            second_channel = first + 64 + count
            starboard_count, = struct.unpack_from("<I", data, second_channel + 42)
            starboard = data[second_channel + 64 : second_channel + 64 + starboard_count]
            time = store_time("%04d%02d%02d" % (year, month, day),
                              hour * 3600 + minute * 60 + second + hundredth / 100)
            ping = Ping(time, 1, number, 1, list(reversed(port)), list(starboard))
            ping.interval, ping.delay = duration / count, 0
            ping.speed = 2 * speed if speed else 2 * slant / duration
            ping.height = height
            pings.append(ping)
        offset += size
    return pings


def read_all(data):
    found, offset = [], 0
    while offset < len(data):
        length, = struct.unpack_from("<I", data, offset)
        body = data[offset + 4 : offset + 4 + length]
        offset += 4 + length
        if body[1] != ord("Y"):
            continue
        date, ms, counter, serial = struct.unpack_from("<IIHH", body, 4)
        rate, incidence = struct.unpack_from("<fH", body, 16)
        beams, = struct.unpack_from("<H", body, 30)
        heads = [struct.unpack_from("<bxHxx", body, 32 + 6 * i) for i in range(beams)]
        samples = struct.unpack_from("<%dh" % sum(count for _, count in heads), body, 32 + 6 * beams)
        samples = [0 if value <= -32767 else value + 32768 for value in samples]
        # The parting leaves most beams that run outwards to starboard and most that run inwards to port.
        fits = [sum(way < 0 for way, _ in heads[:k]) + sum(way > 0 for way, _ in heads[k:]) for k in range(beams + 1)]
        nadir = sum(count for _, count in heads[: fits.index(max(fits))])
        ping = Ping(store_time(str(date), ms / 1000), serial, counter, 2, samples[:nadir][::-1], samples[nadir:])
        ping.interval, ping.delay, ping.speed, ping.height = 1 / rate, incidence, 0, 0
        found.append(ping)
    serials = sorted({ping.head for ping in found})
    for ping in found:
        ping.head = serials.index(ping.head) + 1
    return sorted(found, key=lambda ping: (ping.time, ping.head))


def words(data, offset, count):
    return struct.unpack_from(">%dI" % count, data, offset)


def near(what, found, expected, tolerance=0.0):
    if abs(found - expected) > tolerance:
        sys.exit("%s: %r, expected %r" % (what, found, expected))


def main(line, raw_path):
    with open(raw_path, "rb") as file:
        raw = file.read()
    pings = read_xtf(raw) if raw_path.endswith(".xtf") else read_all(raw)
    path = os.path.join(line, "SSSSideScan")
    if not pings:
        if os.path.exists(path):
            sys.exit("imagery out of nothing")
        print("0 pings")
        return
    with open(path, "rb") as file:
        store = file.read()
    near("pings", words(store, 20, 1)[0], len(pings))
    clock, minutes = words(store, 24, 2)
    offset = 44
    for number, ping in enumerate(pings, 1):
        what = "ping %d " % number
        head = words(store, offset, 17)
        offset += 68
        near(what + "status", head[0], ping.head | (1 << 30 if ping.width == 2 else 0))
        near(what + "time", struct.unpack(">i", struct.pack(">I", head[1]))[0] / clock + minutes * 60, ping.time, 6e-4)
        near(what + "sound speed", (head[2] >> 16) / 10, ping.speed, 0.06)
        near(what + "height", (head[3] & 0xFFFF) / 100, ping.height, 0.006)
        near(what + "number", head[4], ping.number)
        near(what + "delay", head[5] & 0xFFFF, ping.delay)
        near(what + "interval", head[8] / 1e9, ping.interval, 6e-10)
        near(what + "port samples", head[10] >> 16, len(ping.port))
        near(what + "starboard samples", head[10] & 0xFFFF, len(ping.starboard))
        near(what + "second samples", head[16], 0)
        for name, side in (("port", ping.port), ("starboard", ping.starboard)):
            size = ping.width * len(side)
            form = "<%dH" % len(side) if ping.width == 2 else "%dB" % len(side)
            if list(struct.unpack_from(form, store, offset)) != side:
                sys.exit(what + "differs in its samples to " + name)
            offset += size
    near("size of the file", len(store), offset)
    counts = [(len(ping.port), len(ping.starboard)) for ping in pings]
    everything = [sample for ping in pings for sample in ping.port + ping.starboard]
    print("%d pings, %d to %d and %d to %d samples, from %d to %d" % (
        len(pings), *(pick(count[side] for count in counts) for side in (0, 1) for pick in (min, max)),
        min(everything), max(everything)))


main(*sys.argv[2:])
