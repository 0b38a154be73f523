#include "support/profile_families.h"

#include <skar/errors.h>
#include <skar/observeddepths.h>
#include <skar/paths.h>
#include <skar/processeddepths.h>
#include <skar/slantrange.h>
#include <skar/tpe.h>

#include <algorithm>
#include <array>

namespace skar::tests {

namespace {

constexpr double start = 17532000 * 60.0;
constexpr std::array<std::uint32_t, 3> beams = {3, 3, 1};
constexpr std::uint32_t mostProfiles = 5;
constexpr std::uint32_t mostBeams = 8;

struct Codes {
    int first = 0;
    void operator()(int code) {
        if (first == 0) first = code;
    }
};

// The second profile begins with beam 2.
std::uint32_t firstBeam(std::uint32_t profile) {
    return profile == 2 ? 2 : 1;
}

// A line written by the functions of a family that begin with the same word.
template <class Family>
int writeSmall(_TELD_Sensor* sensor) {
    Codes note;
    note(Family::beginSummary(sensor));
    for (const auto& [name, first, last] : {std::tuple(L"a.raw", 1u, 2u), std::tuple(L"b.raw", 3u, 3u)}) {
        note(Family::beginSegment(sensor, name));
        for (std::uint32_t p = first; p <= last; ++p) {
            const std::uint32_t count = beams[p - 1];
            const double time = start + 0.5 * p;
            note(Family::beginProfile(sensor, count, firstBeam(p), time, p));
            for (std::uint32_t b = firstBeam(p); b < firstBeam(p) + count; ++b)
                note(Family::write(sensor, time + 0.002 * b, 10.0 * p + 0.125 * b,
                                   ProfileFamily::status(p, b)));
            note(Family::endProfile(sensor));
        }
        note(Family::endSegment(sensor, 0x11));
    }
    note(Family::endSummary(sensor, 0x22));
    return note.first;
}

// Runs a read that may give a code or throw.
template <class Read>
bool works(Read read) {
    try {
        return read() == 0;
    } catch (const boost::exception&) {
        return false;
    }
}

template <class Family>
std::size_t readEverything(_TELD_Sensor* sensor) {
    std::size_t count = 0;
    Family::readSummary(sensor);
    for (std::uint32_t segment = 1; segment <= 3; ++segment)
        Family::readSegment(sensor, segment);
    if (sensor->accessType == TELD_QUERY) {
        for (std::uint32_t p = 0; p < mostProfiles; ++p) {
            std::uint32_t has = 0;
            if (!works([&] { return Family::nextProfile(sensor, has); })) break;
            ++count;
            for (std::uint32_t b = 0; b < has; ++b, ++count)
                if (!works([&] { return Family::nextBeam(sensor); })) break;
        }
    }
    for (std::uint32_t p = 1; p <= mostProfiles; ++p) {
        std::uint32_t has = 0, first = 0, status = 0;
        count += works([&] { return Family::profile(sensor, p, has, first); });
        std::vector<std::uint32_t> wanted = {first - 1, first + has - 1, first + has, 0xFFFFFFFF};
        for (std::uint32_t b = 0; b < std::min(has, mostBeams); ++b)
            wanted.push_back(first + b);
        for (const std::uint32_t b : wanted)
            count += works([&] { return Family::read(sensor, p, b, status); });
        count += works([&] {
            Family::whole(*sensor, p);
            return 0;
        });
    }
    return count;
}

struct Segment {
    wchar_t* name = nullptr;
    std::uint32_t begin = 0, end = 0, status = 0;
    double extents[8] = {};
    ~Segment() { SKARIO_free(name); }
};

struct Observed {
    static int beginSummary(_TELD_Sensor* s) { return ObservedDepthsBgnSeqWriteSummary(s, 3); }
    static int beginSegment(_TELD_Sensor* s, const wchar_t* name) {
        return ObservedDepthsBgnSeqWriteLineSegment(s, name);
    }
    static int beginProfile(_TELD_Sensor* s, std::uint32_t count, std::uint32_t first, double time,
                            std::uint32_t status) {
        return ObservedDepthsBgnSeqWriteProfile(s, count, first, time, 0.5, -1.25, status);
    }
    static int write(_TELD_Sensor* s, double time, double value, std::uint32_t status) {
        return ObservedDepthsSeqWrite(s, time, value / 2, -value, value, 0, status);
    }
    static int endProfile(_TELD_Sensor* s) { return ObservedDepthsEndSeqWriteProfile(s); }
    static int endSegment(_TELD_Sensor* s, std::uint32_t status) {
        return ObservedDepthsEndSeqWriteLineSegment(s, status);
    }
    static int endSummary(_TELD_Sensor* s, std::uint32_t status) {
        return ObservedDepthsEndSeqWriteSummary(s, status);
    }
    static int readSummary(_TELD_Sensor* s) {
        return ObservedDepthsSummary(s, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr);
    }
    static int readSegment(_TELD_Sensor* s, std::uint32_t number) {
        Segment g;
        return ObservedDepthsLineSegment(s, number, &g.name, &g.begin, &g.end, &g.extents[0], &g.extents[1],
                                         &g.extents[2], &g.extents[3], &g.status);
    }
    static int profile(_TELD_Sensor* s, std::uint32_t p, std::uint32_t& count, std::uint32_t& first) {
        return ObservedDepthsReadProfile(s, p, &count, &first, nullptr, nullptr, nullptr, nullptr);
    }
    static int nextProfile(_TELD_Sensor* s, std::uint32_t& count) {
        std::uint32_t first = 0, status = 0;
        double v[3];
        return ObservedDepthsReadProfileSeq(s, &count, &first, &v[0], &v[1], &v[2], &status);
    }
    static int nextBeam(_TELD_Sensor* s) {
        double v[5];
        std::uint32_t status = 0;
        return ObservedDepthsReadSeq(s, &v[0], &v[1], &v[2], &v[3], &v[4], &status);
    }
    static int read(_TELD_Sensor* s, std::uint32_t p, std::uint32_t b, std::uint32_t& status) {
        return ObservedDepthsRead(s, p, b, nullptr, nullptr, nullptr, nullptr, nullptr, &status);
    }
    static void whole(_TELD_Sensor& s, std::uint32_t p) {
        SKAR::IO::ObservedDepths::Profile profile;
        SKAR::IO::ObservedDepths::ReadProfile(s, static_cast<int>(p), profile, true);
    }
    static void updateAll(_TELD_Sensor* s, std::uint32_t p, std::uint32_t b) {
        const double value = 5.5;
        ObservedDepthsUpdateRejectionStatus(s, p, b, 0x80000000);
        ObservedDepthsUpdateDepth(s, p, b, value);
        ObservedDepthsUpdateDepthStatus(s, p, b, value, 0x10000);
        ObservedDepthsUpdateXYZStatus(s, p, b, &value, nullptr, &value, nullptr);
    }
};

struct Processed {
    static int beginSummary(_TELD_Sensor* s) { return ProcessedDepthsBgnSeqWriteSummary(s, 3, 1); }
    static int beginSegment(_TELD_Sensor* s, const wchar_t* name) {
        return ProcessedDepthsBgnSeqWriteLineSegment(s, name);
    }
    static int beginProfile(_TELD_Sensor* s, std::uint32_t count, std::uint32_t first, double time,
                            std::uint32_t status) {
        return ProcessedDepthsBgnSeqWriteProfile(s, count, first, time, 0.5, 0.49, 0.51, -1.25, -1.26, -1.24,
                                                 0.1, 1, 0.2, 0.3, 2, 3, 0.4, 0.5, status);
    }
    static int write(_TELD_Sensor* s, double time, double value, std::uint32_t status) {
        return ProcessedDepthsSeqWrite(s, time, 0, 0, 0.5 + value * 1e-6, -1.25, value, 0, status);
    }
    static int endProfile(_TELD_Sensor* s) { return ProcessedDepthsEndSeqWriteProfile(s); }
    static int endSegment(_TELD_Sensor* s, std::uint32_t status) {
        return ProcessedDepthsEndSeqWriteLineSegment(s, status);
    }
    static int endSummary(_TELD_Sensor* s, std::uint32_t status) {
        return ProcessedDepthsEndSeqWriteSummary(s, status);
    }
    static int readSummary(_TELD_Sensor* s) {
        return ProcessedDepthsSummary(s, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    static int readSegment(_TELD_Sensor* s, std::uint32_t number) {
        Segment g;
        return ProcessedDepthsLineSegment(s, number, &g.name, &g.begin, &g.end, &g.extents[0], &g.extents[1],
                                          &g.extents[2], &g.extents[3], &g.extents[4], &g.extents[5],
                                          &g.extents[6], &g.extents[7], &g.status);
    }
    static int profile(_TELD_Sensor* s, std::uint32_t p, std::uint32_t& count, std::uint32_t& first) {
        return ProcessedDepthsReadProfile(s, p, &count, &first, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr, nullptr);
    }
    static int nextProfile(_TELD_Sensor* s, std::uint32_t& count) {
        return ProcessedDepthsReadProfileSeq(s, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr);
    }
    static int nextBeam(_TELD_Sensor* s) {
        return ProcessedDepthsReadSeq(s, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr);
    }
    static int read(_TELD_Sensor* s, std::uint32_t p, std::uint32_t b, std::uint32_t& status) {
        return ProcessedDepthsRead(s, p, b, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   &status);
    }
    static void whole(_TELD_Sensor& s, std::uint32_t p) {
        using namespace SKAR::IO::ProcessedDepths;
        std::vector<PD_Profile> many;
        ProcessedDepthsReadProfiles(&s, static_cast<int>(p), 0x7FFFFFFF, many);
        std::array<double, mostBeams> values[3];
        std::array<std::uint32_t, mostBeams> words[2];
        std::uint32_t error = 0;
        pdReadProfileDepths(&s, p, values[0].data(), values[1].data(), values[2].data(), words[0].data(),
                            words[1].data(), mostBeams, &error);
        Profile profile;
        ReadProfile(s, p, profile, true);
    }
    static void updateAll(_TELD_Sensor* s, std::uint32_t p, std::uint32_t b) {
        const double value = 0.5;
        ProcessedDepthsUpdateRejectionStatus(s, p, b, 0x80000000);
        ProcessedDepthsUpdateXYZStatus(s, p, b, &value, nullptr, &value, nullptr);
        ProcessedDepthsUpdateSummaryStatus(s);
    }
};

struct Ranges {
    static int beginSummary(_TELD_Sensor* s) { return SLRangeBgnSeqWriteSummary(s, 3); }
    static int beginSegment(_TELD_Sensor* s, const wchar_t* name) {
        return SLRangeBgnSeqWriteLineSegment(s, name);
    }
    static int beginProfile(_TELD_Sensor* s, std::uint32_t count, std::uint32_t first, double time,
                            std::uint32_t status) {
        return SLRangeBgnSeqWriteProfile(s, count, first, time, 0.5, -1.25, status);
    }
    static int write(_TELD_Sensor* s, double time, double value, std::uint32_t status) {
        return SLRangeSeqWrite(s, time, value, 0.01, 0.5, -0.5, status);
    }
    static int endProfile(_TELD_Sensor* s) { return SLRangeEndSeqWriteProfile(s); }
    static int endSegment(_TELD_Sensor* s, std::uint32_t status) {
        return SLRangeEndSeqWriteLineSegment(s, status);
    }
    static int endSummary(_TELD_Sensor* s, std::uint32_t status) {
        return SLRangeEndSeqWriteSummary(s, status);
    }
    static int readSummary(_TELD_Sensor* s) {
        return SLRangeSummary(s, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    static int readSegment(_TELD_Sensor* s, std::uint32_t number) {
        Segment g;
        return SLRangeLineSegment(s, number, &g.name, &g.begin, &g.end, &g.extents[0], &g.extents[1],
                                  &g.status);
    }
    static int profile(_TELD_Sensor* s, std::uint32_t p, std::uint32_t& count, std::uint32_t& first) {
        return SLRangeReadProfile(s, p, &count, &first, nullptr, nullptr, nullptr, nullptr);
    }
    static int nextProfile(_TELD_Sensor* s, std::uint32_t& count) {
        std::uint32_t first = 0, status = 0;
        double v[3];
        return SLRangeReadProfileSeq(s, &count, &first, &v[0], &v[1], &v[2], &status);
    }
    static int nextBeam(_TELD_Sensor* s) {
        double v[5];
        std::uint32_t status = 0;
        return SLRangeReadSeq(s, &v[0], &v[1], &v[2], &v[3], &v[4], &status);
    }
    static int read(_TELD_Sensor* s, std::uint32_t p, std::uint32_t b, std::uint32_t& status) {
        return SLRangeRead(s, p, b, nullptr, nullptr, nullptr, nullptr, nullptr, &status);
    }
    static void whole(_TELD_Sensor& s, std::uint32_t p) {
        SKAR::IO::SlantRange::Profile profile;
        SKAR::IO::SlantRange::ReadProfile(s, static_cast<int>(p), profile, true);
    }
    static void updateAll(_TELD_Sensor*, std::uint32_t, std::uint32_t) {}
};

struct Uncertainty {
    static int beginSummary(_TELD_Sensor* s) { return TPEBgnSeqWriteSummary(s, 3, 4); }
    static int beginSegment(_TELD_Sensor* s, const wchar_t* name) {
        return TPEBgnSeqWriteLineSegment(s, name);
    }
    static int beginProfile(_TELD_Sensor* s, std::uint32_t count, std::uint32_t first, double time,
                            std::uint32_t status) {
        return TPEBgnSeqWriteProfile(s, count, first, time, 7, status);
    }
    static int write(_TELD_Sensor* s, double time, double value, std::uint32_t status) {
        return TPESeqWrite(s, time, value, value / 2, status);
    }
    static int endProfile(_TELD_Sensor* s) { return TPEEndSeqWriteProfile(s); }
    static int endSegment(_TELD_Sensor* s, std::uint32_t status) {
        return TPEEndSeqWriteLineSegment(s, status);
    }
    static int endSummary(_TELD_Sensor* s, std::uint32_t status) { return TPEEndSeqWriteSummary(s, status); }
    static int readSummary(_TELD_Sensor* s) {
        return TPESummary(s, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr, nullptr, nullptr);
    }
    static int readSegment(_TELD_Sensor* s, std::uint32_t number) {
        Segment g;
        return TPELineSegment(s, number, &g.name, &g.begin, &g.end, &g.extents[0], &g.extents[1], &g.status);
    }
    static int profile(_TELD_Sensor* s, std::uint32_t p, std::uint32_t& count, std::uint32_t& first) {
        double time = 0;
        std::uint32_t tag = 0, status = 0;
        return TPEReadProfile(s, p, &count, &first, &time, &tag, &status);
    }
    static int nextProfile(_TELD_Sensor* s, std::uint32_t& count) {
        double time = 0;
        std::uint32_t first = 0, tag = 0, status = 0;
        return TPEReadProfileSeq(s, &count, &first, &time, &tag, &status);
    }
    static int nextBeam(_TELD_Sensor* s) {
        double v[3];
        std::uint32_t status = 0;
        return TPEReadSeq(s, &v[0], &v[1], &v[2], &status);
    }
    static int read(_TELD_Sensor* s, std::uint32_t p, std::uint32_t b, std::uint32_t& status) {
        return TPERead(s, p, b, nullptr, nullptr, nullptr, &status);
    }
    static void whole(_TELD_Sensor& s, std::uint32_t p) {
        SKAR::IO::TPU::Profile profile;
        SKAR::IO::TPU::ReadProfile(s, p, profile, true);
    }
    static void updateAll(_TELD_Sensor*, std::uint32_t, std::uint32_t) {}
};

template <class Family>
ProfileFamily row(ProfileFamily family) {
    family.write = writeSmall<Family>;
    family.read = Family::read;
    family.readAll = readEverything<Family>;
    family.updateAll = Family::updateAll;
    return family;
}

} // namespace

const std::vector<ProfileFamily>& profileFamilies() {
    static const std::vector<ProfileFamily> rows = {
        row<Observed>({.name = "ObservedDepths",
                       .base = 5000200,
                       .open = ObservedDepthsOpenDir,
                       .close = ObservedDepthsClose,
                       .update = ObservedDepthsUpdateStatus,
                       .save = ObservedDepthsSaveStatusToDisk}),
        row<Processed>({.name = "ProcessedDepths",
                        .base = 5001300,
                        .open = ProcessedDepthsOpenDir,
                        .close = ProcessedDepthsClose,
                        .update = ProcessedDepthsUpdateStatus,
                        .save = ProcessedDepthsSaveStatusToDisk}),
        row<Ranges>({.name = "SLRange",
                     .base = 5001900,
                     .open = SLRangeOpenDir,
                     .close = SLRangeClose,
                     .update = SLRangeUpdateStatus}),
        row<Uncertainty>({.name = "TPE", .base = 5002700, .open = TPEOpenDir, .close = TPEClose}),
    };
    return rows;
}

std::vector<std::string> smallLine(const ProfileFamily& family) {
    SKARIO_Init(0);
    const Line line;
    std::uint32_t code = 0;
    _TELD_Sensor* sensor = family.open(line.path().c_str(), L"create", &code);
    if (!sensor) return {};
    EXPECT_EQ(0, family.write(sensor));
    EXPECT_EQ(0, family.close(sensor));
    std::vector<std::string> files;
    for (const std::string& file : family.files())
        files.push_back(line.bytes(file));
    return files;
}

} // namespace skar::tests
