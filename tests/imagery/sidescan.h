#pragma once

#include "support/store.h"

#include <skar/sidescan.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

// A ping of the towed side scan as a test writes and reads it.
namespace skar::tests {

struct SssPing {
    std::uint32_t status = 0;
    double time = 1000000000.0;
    std::uint16_t p3 = 0, p4 = 0, p5 = 0, fishHeight = 0;
    std::uint32_t p7 = 0;
    std::uint16_t p8 = 0;
    std::int16_t p9 = 0;
    std::uint16_t p10 = 0;
    std::uint32_t p11 = 0, sampleInterval = 0;
    std::int16_t p13 = 0;
    std::uint16_t p14 = 0, p19 = 0;
    std::int16_t p20 = 0;
    std::uint16_t p21 = 0;
    std::uint32_t p22 = 0, p23 = 0;
    std::uint16_t p24 = 0, p25 = 0;
    std::string port, starboard, secondPort, secondStarboard; // the samples' bytes
    bool operator==(const SssPing&) const = default;

    std::size_t width() const { return status & 0x40000000 ? 2 : 1; }
    std::uint32_t countOf(const std::string& samples) const {
        return static_cast<std::uint32_t>(samples.size() / width());
    }
};

struct SssCounts {
    std::uint32_t port = 0, starboard = 0, secondPort = 0, secondStarboard = 0;
    bool operator==(const SssCounts&) const = default;
};

inline int writeSss(_TELD_Sensor* s, const SssPing& p, const SssCounts& n) {
    return SSSWriteProfile(s, p.status, p.time, p.p3, p.p4, p.p5, p.fishHeight, p.p7, p.p8, p.p9, p.p10,
                           p.p11, p.sampleInterval, p.p13, p.p14, n.port, n.starboard, p.port.data(),
                           p.starboard.data(), p.p19, p.p20, p.p21, p.p22, p.p23, p.p24, p.p25, n.secondPort,
                           n.secondStarboard, p.secondPort.data(), p.secondStarboard.data());
}
inline int writeSss(_TELD_Sensor* s, const SssPing& p) {
    return writeSss(
        s, p,
        {p.countOf(p.port), p.countOf(p.starboard), p.countOf(p.secondPort), p.countOf(p.secondStarboard)});
}

struct SssRead {
    int code = -2;
    SssPing ping;
    SssCounts counts;
    void* arrays[4] = {};
};

inline SssRead readSss(_TELD_Sensor* s, std::uint32_t number) {
    SssRead r;
    SssPing& p = r.ping;
    SssCounts& n = r.counts;
    r.code = SSSReadProfile(s, number, &p.status, &p.time, &p.p3, &p.p4, &p.p5, &p.fishHeight, &p.p7, &p.p8,
                            &p.p9, &p.p10, &p.p11, &p.sampleInterval, &p.p13, &p.p14, &n.port, &n.starboard,
                            &r.arrays[0], &r.arrays[1], &p.p19, &p.p20, &p.p21, &p.p22, &p.p23, &p.p24,
                            &p.p25, &n.secondPort, &n.secondStarboard, &r.arrays[2], &r.arrays[3]);
    if (r.code != 0) return r;
    const auto bytes = [&](void* from, std::uint32_t count) {
        return count == 0 || !from ? std::string() : std::string(static_cast<char*>(from), count * p.width());
    };
    p.port = bytes(r.arrays[0], n.port);
    p.starboard = bytes(r.arrays[1], n.starboard);
    p.secondPort = bytes(r.arrays[2], n.secondPort);
    p.secondStarboard = bytes(r.arrays[3], n.secondStarboard);
    return r;
}

// The same through the caller's own buffers; `wanted` picks those that are given.
inline SssRead readSssInto(_TELD_Sensor* s, std::uint32_t number, unsigned wanted = 15) {
    constexpr std::size_t most = 131070;
    SssRead r;
    SssPing& p = r.ping;
    SssCounts& n = r.counts;
    const std::string fresh(most + 64, '\x7E');
    std::vector<std::string> room(4, fresh);
    void* into[4];
    for (unsigned i = 0; i < 4; ++i)
        into[i] = wanted & 1u << i ? room[i].data() : nullptr;
    r.code = SSSReadProfile2(s, number, &p.status, &p.time, &p.p3, &p.p4, &p.p5, &p.fishHeight, &p.p7, &p.p8,
                             &p.p9, &p.p10, &p.p11, &p.sampleInterval, &p.p13, &p.p14, &n.port, &n.starboard,
                             into[0], into[1], &p.p19, &p.p20, &p.p21, &p.p22, &p.p23, &p.p24, &p.p25,
                             &n.secondPort, &n.secondStarboard, into[2], into[3]);
    if (r.code != 0) return r;
    const std::uint32_t counts[] = {n.port, n.starboard, n.secondPort, n.secondStarboard};
    std::string* const out[] = {&p.port, &p.starboard, &p.secondPort, &p.secondStarboard};
    for (unsigned i = 0; i < 4; ++i) {
        if (!into[i]) continue;
        *out[i] = room[i].substr(0, counts[i] * p.width());
        EXPECT_EQ(0, room[i].compare(counts[i] * p.width(), 64, fresh, 0, 64))
            << "nothing behind the samples";
    }
    return r;
}

// An open towed side scan, closed with the object.
struct OpenSss {
    _TELD_Sensor* sensor;
    long code = 77;
    OpenSss(const std::wstring& path, const wchar_t* token) {
        SKARIO_Init(0);
        sensor = SSSOpenDir(path.c_str(), token, &code);
    }
    ~OpenSss() {
        if (sensor) SSSClose(sensor);
    }
    OpenSss(const OpenSss&) = delete;
    OpenSss& operator=(const OpenSss&) = delete;
    operator _TELD_Sensor*() const { return sensor; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor; }
    int close() { return SSSClose(std::exchange(sensor, nullptr)); }
};

// `count` samples that differ from those of another seed.
inline std::string samples(std::size_t bytes, unsigned seed) {
    std::string made(bytes, '\0');
    for (std::size_t i = 0; i < bytes; ++i)
        made[i] = static_cast<char>((i * 31 + seed * 101 + (i >> 8)) & 0xFF);
    return made;
}

} // namespace skar::tests
