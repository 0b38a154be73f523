#include "open_set.h"

#include <skar/amplitude.h>
#include <skar/multibeamsidescan.h>
#include <skar/paths.h>
#include <skar/processedsidescan.h>
#include <skar/sidescan.h>

#include <string_view>
#include <vector>

// Opens the imagery files of every family from made-up bytes, reads all of them and changes records in their
// place. An input is a byte that picks the family, then data file, segments, index and trace file, each
// behind its length in two bytes, big-endian.
namespace {

constexpr std::uint32_t records[] = {0, 1, 2, 3, 1, 513, 0x7FFFFFFF, 0xFFFFFFFF};
constexpr std::size_t mostSamples = 131070;
const wchar_t* const line = L"/survey/project/vessel/day/line";

std::string_view part(std::string_view& rest) {
    if (rest.size() < 2) return {};
    const std::size_t length = static_cast<unsigned char>(rest[0]) << 8 | static_cast<unsigned char>(rest[1]);
    const std::string_view taken = rest.substr(2, length);
    rest.remove_prefix(2 + taken.size());
    return taken;
}

struct Columns {
    std::vector<std::int32_t> arrays[6];
    explicit Columns(std::uint32_t beams) {
        for (auto& each : arrays)
            each.resize(beams);
    }
    std::int32_t* operator[](std::size_t i) { return arrays[i].data(); }
};

void readMultibeam(_TELD_Sensor* s, std::size_t traceSize) {
    double time = 0, value = 0;
    std::uint32_t beams = 0, first = 0;
    std::int32_t p[5] = {};
    std::vector<char> traces(traceSize);
    for (const std::uint32_t number : records) {
        if (EM100SideScanReadProfile(s, number, &beams, &first, &time, &p[0], &p[1], &p[2], &p[3], &p[4]) ==
            0) {
            Columns c(beams);
            EM100SideScanRead(s, number, &time, c[0], c[1], c[2], c[3]);
        }
        if (ELACSideScanReadProfile(s, number, &beams, &first, &time, &p[0], &p[1], &p[2], &p[3]) == 0) {
            Columns c(beams);
            ELACSideScanRead(s, number, &time, c[0], c[1]);
        }
        if (EM1000SideScanReadProfile(s, number, &beams, &first, &time, &value, &p[0], &p[1], &p[2], &p[3]) ==
            0) {
            Columns c(beams);
            // No more can come than the file has.
            EM1000SideScanRead(s, number, &time, c[0], c[1], c[2], c[3], c[4], c[5], traces.data());
        }
    }
    std::uint32_t counts[4] = {};
    double last = 0;
    SideScanSummary(s, &counts[0], &counts[1], &counts[2], &time, &last, &counts[3]);
    wchar_t* name = nullptr;
    if (SideScanLineSegment(s, 1, &name, &counts[0], &counts[1], &time, &last, &counts[2]) == 0)
        SKARIO_free(name);
    SideScanSetLineSegmentStatus(s, 1, 2);
    SideScanClose(s);
}

void readAmplitudes() {
    SKARAmplitudeIO reader;
    if (reader.open(line) != 0) return;
    for (const std::uint32_t profile : records) {
        for (const unsigned beam : {0u, 1u, 7u, 65535u, 0xFFFFFFFFu}) {
            reader.read(profile, beam);
            long status = 0;
            reader.getAmplitude(status);
            reader.getDetectType();
        }
    }
}

// Every byte that a reader hands out is looked at.
unsigned touch(const void* samples, std::size_t size) {
    unsigned sum = 0;
    for (std::size_t i = 0; samples && i < size; ++i)
        sum += static_cast<const unsigned char*>(samples)[i];
    return sum;
}

void readTowed(_TELD_Sensor* s) {
    static std::vector<char> room[4] = {std::vector<char>(mostSamples), std::vector<char>(mostSamples),
                                        std::vector<char>(mostSamples), std::vector<char>(mostSamples)};
    unsigned sum = 0;
    for (const std::uint32_t number : records) {
        std::uint32_t status = 0, count[4] = {};
        void* samples[4] = {};
        if (SSSReadProfile(s, number, &status, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count[0], &count[1],
                           &samples[0], &samples[1], nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, &count[2], &count[3], &samples[2], &samples[3]) == 0)
            for (std::size_t i = 0; i < 4; ++i)
                sum += touch(samples[i], count[i] * (status & 0x40000000 ? 2u : 1u));
        SSSReadProfile2(s, number, &status, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count[0], &count[1],
                        room[0].data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, &count[2], &count[3], room[2].data(), room[3].data());
        SSSUpdateStatus(s, number, 3);
        SSSUpdateFishHeight(s, number, 3);
        SSSUpdateSampleInterval(s, number, 3);
    }
    static_cast<void>(*const_cast<volatile unsigned*>(&sum));
    SSSSetSourceFileName(s, L"fuzzed");
    SSSClose(s);
}

void readProcessed(_TELD_Sensor* s) {
    static const std::vector<char> room(mostSamples);
    unsigned sum = 0;
    for (const std::uint32_t number : records) {
        std::uint32_t status = 0, count[2] = {};
        void* samples[2] = {};
        if (SSSProcReadProfile(s, number, &status, nullptr, nullptr, nullptr, nullptr, &count[0], &count[1],
                               &samples[0], &samples[1]) == 0)
            for (std::size_t i = 0; i < 2; ++i)
                sum += touch(samples[i], count[i] * (status & 0x40000000 ? 2u : 1u));
        for (const std::uint32_t port : {0u, 3u, 5u, 65535u})
            SSSProcUpdateProfile(s, number, port << 30, port, room.data(), room.data());
        SSSProcUpdateStatus(s, number, 3);
    }
    static_cast<void>(*const_cast<volatile unsigned*>(&sum));
    SSSProcSetSourceFileName(s, L"fuzzed");
    SSSProcClose(s);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    skar::fuzz::quiet();
    const std::size_t family = data[0] % 4;
    const char* const names[] = {"SideScan", "SSSSideScan", "SSSProcessedSideScan",
                                 "NewSSSProcessedSideScan"};
    std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string path = std::string("/survey/project/vessel/day/line/") + names[family];
    skar::tests::FaultBackend disk;
    for (const char* suffix : {"", "LineSegments", "TmIdx"})
        disk.put(path + suffix, part(rest));
    const std::string_view traces = part(rest);
    disk.put(path + "Trace", traces);
    if (family == 0) readAmplitudes();
    for (const wchar_t* token : {L"query", L"update"}) {
        long code = 0;
        if (family == 0) {
            if (_TELD_Sensor* s = SideScanOpenDir(line, token, &code)) readMultibeam(s, traces.size());
        } else if (family == 1) {
            if (_TELD_Sensor* s = SSSOpenDir(line, token, &code)) readTowed(s);
        } else {
            const auto open = family == 2 ? SSSProcOpenDir : SSSProcScratchOpenDir;
            if (_TELD_Sensor* s = open(line, token, &code)) readProcessed(s);
        }
    }
    if (disk.openStreams() != 0) __builtin_trap();
    return 0;
}
