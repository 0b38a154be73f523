#include "imagery/families.h"

#include "imagery/sidescan.h"

#include <skar/multibeamsidescan.h>
#include <skar/paths.h>
#include <skar/processedsidescan.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

namespace skar::tests {

namespace {

std::string unhex(const std::string& digits) {
    std::string bytes;
    for (std::size_t i = 0; digits != "-" && i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}
std::string hexed(const std::string& bytes) {
    std::string text = hex(bytes);
    std::erase(text, ' ');
    return text.empty() ? "-" : text;
}
std::string decimals(double value, int count) {
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", count, value);
    return text;
}
std::string coded(int code) {
    return "code " + std::to_string(code);
}
std::wstring wide(const std::string& text) {
    wchar_t* made = SKARConvertASCIICharToWide(text.c_str());
    const std::wstring copy = made;
    SKARIO_free(made);
    return copy;
}

// What all families have of the protocol, under the names of each.
struct SideScanNames {
    static constexpr auto beginSegment = SideScanBgnSeqWriteLineSegment;
    static constexpr auto endSegment = SideScanEndSeqWriteLineSegment;
    static constexpr auto segment = SideScanLineSegment;
    static int endSummary(_TELD_Sensor* s, std::uint32_t, std::uint32_t status) {
        return SideScanEndSeqWriteSummary(s, status);
    }
    static int summary(_TELD_Sensor* s, std::uint32_t* segments, std::uint32_t* count, std::uint32_t* beams,
                       double* least, double* most, std::uint32_t*, std::uint32_t* status) {
        return SideScanSummary(s, segments, count, beams, least, most, status);
    }
};
struct SssNames {
    static constexpr auto beginSegment = SSSBgnSeqWriteLineSegment;
    static constexpr auto endSegment = SSSEndSeqWriteLineSegment;
    static constexpr auto endSummary = SSSEndSeqWriteSummary;
    static constexpr auto segment = SSSLineSegment;
    static int summary(_TELD_Sensor* s, std::uint32_t* segments, std::uint32_t* count, std::uint32_t*,
                       double* least, double* most, std::uint32_t* version, std::uint32_t* status) {
        return SSSSummary(s, segments, count, least, most, version, status);
    }
};
struct ProcessedNames {
    static constexpr auto beginSegment = SSSProcBgnSeqWriteLineSegment;
    static constexpr auto endSegment = SSSProcEndSeqWriteLineSegment;
    static constexpr auto endSummary = SSSProcEndSeqWriteSummary;
    static constexpr auto segment = SSSProcLineSegment;
    static int summary(_TELD_Sensor* s, std::uint32_t* segments, std::uint32_t* count, std::uint32_t*,
                       double* least, double* most, std::uint32_t* version, std::uint32_t* status) {
        return SSSProcSummary(s, segments, count, least, most, version, status);
    }
};

template <class Names>
std::string summaryOf(_TELD_Sensor* s) {
    std::uint32_t segments = 0, count = 0, beams = 0, version = 0, status = 0;
    double least = 0, most = 0;
    if (const int code = Names::summary(s, &segments, &count, &beams, &least, &most, &version, &status))
        return coded(code);
    std::ostringstream text;
    text << "summary " << segments << ' ' << count << ' ' << beams << ' ' << decimals(least, 3) << ' '
         << decimals(most, 3) << ' ' << version << ' ' << status;
    return text.str();
}

template <class Names>
std::string segmentOf(_TELD_Sensor* s, std::uint32_t number) {
    wchar_t* name = nullptr;
    std::uint32_t first = 0, last = 0, status = 0;
    double least = 0, most = 0;
    if (const int code = Names::segment(s, number, &name, &first, &last, &least, &most, &status))
        return coded(code);
    char* narrow = SKARConvertWideCharToASCII(name);
    std::ostringstream text;
    text << "segment " << number << ' ' << first << ' ' << last << ' ' << decimals(least, 3) << ' '
         << decimals(most, 3) << ' ' << status << ' ' << narrow;
    SKARIO_free(narrow);
    SKARIO_free(name);
    return text.str();
}

template <class Names>
int writeFrame(_TELD_Sensor* s, const std::string& kind, std::istringstream& words) {
    if (kind == "segment") {
        std::string name;
        std::getline(words >> std::ws, name);
        return Names::beginSegment(s, wide(name).c_str());
    }
    std::uint32_t first = 0, second = 0;
    words >> first >> second;
    return kind == "end" ? Names::endSegment(s, first) : Names::endSummary(s, first, second);
}

using Columns = std::vector<std::vector<std::int32_t>>;
struct Head {
    std::uint32_t beams = 0, first = 0;
    double time = 0, value = 0;
    std::array<std::int32_t, 5> p{};
};

struct EM100 {
    static constexpr std::size_t arrays = 4;
    static int write(_TELD_Sensor* s, const Head& h, const Columns& c) {
        return EM100SideScanSeqWriteProfile(s, h.beams, h.first, h.time, h.p[0], h.p[1], h.p[2], h.p[3],
                                            h.p[4], c[0].data(), c[1].data(), c[2].data(), c[3].data());
    }
    static int head(_TELD_Sensor* s, std::uint32_t n, Head& h) {
        return EM100SideScanReadProfile(s, n, &h.beams, &h.first, &h.time, &h.p[0], &h.p[1], &h.p[2], &h.p[3],
                                        &h.p[4]);
    }
    static int read(_TELD_Sensor* s, std::uint32_t n, double* time, Columns& c, std::string&) {
        return EM100SideScanRead(s, n, time, c[0].data(), c[1].data(), c[2].data(), c[3].data());
    }
};
struct ELAC {
    static constexpr std::size_t arrays = 2;
    static int write(_TELD_Sensor* s, const Head& h, const Columns& c) {
        return ELACSideScanSeqWriteProfile(s, h.beams, h.first, h.time, h.p[0], h.p[1], h.p[2], h.p[3],
                                           c[0].data(), c[1].data());
    }
    static int head(_TELD_Sensor* s, std::uint32_t n, Head& h) {
        return ELACSideScanReadProfile(s, n, &h.beams, &h.first, &h.time, &h.p[0], &h.p[1], &h.p[2], &h.p[3]);
    }
    static int read(_TELD_Sensor* s, std::uint32_t n, double* time, Columns& c, std::string&) {
        return ELACSideScanRead(s, n, time, c[0].data(), c[1].data());
    }
};
struct EM1000 {
    static constexpr std::size_t arrays = 6;
    static int write(_TELD_Sensor* s, const Head& h, const Columns& c) {
        return EM1000SideScanSeqWriteProfile(s, h.beams, h.first, h.time, h.value, h.p[0], h.p[1], h.p[2],
                                             c[0].data(), c[1].data(), c[2].data(), c[3].data(), c[4].data(),
                                             c[5].data(), h.p[3]);
    }
    static int head(_TELD_Sensor* s, std::uint32_t n, Head& h) {
        return EM1000SideScanReadProfile(s, n, &h.beams, &h.first, &h.time, &h.value, &h.p[0], &h.p[1],
                                         &h.p[2], &h.p[3]);
    }
    static int read(_TELD_Sensor* s, std::uint32_t n, double* time, Columns& c, std::string& traces) {
        if (const int code = EM1000SideScanRead(s, n, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                c[4].data(), nullptr, nullptr))
            return code;
        std::size_t sum = 0;
        for (const std::int32_t count : c[4])
            sum += static_cast<std::size_t>(count);
        // One byte more shows what lies behind the samples. No test has a trace file of more than this: a sum
        // that a damaged profile claims is to be refused before any of it is read.
        constexpr std::size_t most = 1 << 16;
        traces.assign(std::min(sum, most) + 1, '\x7E');
        const int code = EM1000SideScanRead(s, n, time, c[0].data(), c[1].data(), c[2].data(), c[3].data(),
                                            c[4].data(), c[5].data(), traces.data());
        EXPECT_EQ('\x7E', traces.back());
        traces.pop_back();
        return code;
    }
};

template <class System>
int writeProfileLine(_TELD_Sensor* s, const std::string& line) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind == "trace") {
        words >> kind;
        const std::string bytes = unhex(kind);
        return EM1000SideScanSeqWriteTrace(s, static_cast<std::uint32_t>(bytes.size()), bytes.data());
    }
    if (kind != "profile") return writeFrame<SideScanNames>(s, kind, words);
    Head h;
    words >> h.beams >> h.first >> h.time >> h.value;
    for (std::int32_t& p : h.p)
        words >> p;
    Columns c(System::arrays, std::vector<std::int32_t>(h.beams));
    for (auto& column : c)
        for (std::int32_t& element : column)
            words >> element;
    EXPECT_TRUE(words) << line;
    return System::write(s, h, c);
}

template <class System>
std::string readProfileLine(_TELD_Sensor* s, std::uint32_t number) {
    Head h;
    if (const int code = System::head(s, number, h)) return coded(code);
    Columns c(System::arrays, std::vector<std::int32_t>(h.beams));
    std::string traces;
    double time = 0;
    if (const int code = System::read(s, number, &time, c, traces)) return coded(code);
    EXPECT_EQ(h.time, time);
    std::ostringstream text;
    text << "profile " << h.beams << ' ' << h.first << ' ' << decimals(h.time, 3) << ' '
         << decimals(h.value, 1);
    for (const std::int32_t p : h.p)
        text << ' ' << p;
    for (const auto& column : c)
        for (const std::int32_t element : column)
            text << ' ' << element;
    text << ' ' << hexed(traces);
    return text.str();
}

int writeSssLine(_TELD_Sensor* s, const std::string& line) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind != "ping") return writeFrame<SssNames>(s, kind, words);
    SssPing p;
    words >> p.status >> p.time >> p.p3 >> p.p4 >> p.p5 >> p.fishHeight >> p.p7 >> p.p8 >> p.p9 >> p.p10 >>
        p.p11 >> p.sampleInterval >> p.p13 >> p.p14 >> p.p19 >> p.p20 >> p.p21 >> p.p22 >> p.p23 >> p.p24 >>
        p.p25 >> p.port >> p.starboard >> p.secondPort >> p.secondStarboard;
    EXPECT_TRUE(words) << line;
    for (std::string* run : {&p.port, &p.starboard, &p.secondPort, &p.secondStarboard})
        *run = unhex(*run);
    return writeSss(s, p);
}

// Both readers: what one gives the other must give.
std::string readSssLine(_TELD_Sensor* s, std::uint32_t number) {
    const SssRead own = readSss(s, number);
    const SssRead into = readSssInto(s, number);
    if (own.code != 0) return coded(own.code);
    // On a disk that fails the second may fail where the first did not.
    if (into.code != 0) return coded(into.code);
    EXPECT_EQ(own.ping, into.ping);
    EXPECT_EQ(own.counts, into.counts);
    const SssPing& p = own.ping;
    std::ostringstream text;
    text << "ping " << p.status << ' ' << decimals(p.time, 3);
    for (const std::int64_t word :
         {std::int64_t{p.p3}, std::int64_t{p.p4}, std::int64_t{p.p5}, std::int64_t{p.fishHeight},
          std::int64_t{p.p7}, std::int64_t{p.p8}, std::int64_t{p.p9}, std::int64_t{p.p10},
          std::int64_t{p.p11}, std::int64_t{p.sampleInterval}, std::int64_t{p.p13}, std::int64_t{p.p14},
          std::int64_t{p.p19}, std::int64_t{p.p20}, std::int64_t{p.p21}, std::int64_t{p.p22},
          std::int64_t{p.p23}, std::int64_t{p.p24}, std::int64_t{p.p25}})
        text << ' ' << word;
    for (const std::string* run : {&p.port, &p.starboard, &p.secondPort, &p.secondStarboard})
        text << ' ' << hexed(*run);
    return text.str();
}

int changeSss(_TELD_Sensor* s, std::uint32_t number) {
    const int code = SSSUpdateStatus(s, number, 7);
    SSSUpdateFishHeight(s, number, 0x1234);
    SSSUpdateSampleInterval(s, number, 0x56789ABC);
    return code;
}

int writeProcessedLine(_TELD_Sensor* s, const std::string& line) {
    std::istringstream words(line);
    std::string kind;
    words >> kind;
    if (kind != "ping") return writeFrame<ProcessedNames>(s, kind, words);
    std::uint32_t status = 0, p5 = 0;
    double time = 0;
    std::uint16_t p3 = 0, p4 = 0;
    std::string port, starboard;
    words >> status >> time >> p3 >> p4 >> p5 >> port >> starboard;
    EXPECT_TRUE(words) << line;
    const std::uint32_t width = status & 0x40000000 ? 2 : 1;
    port = unhex(port);
    starboard = unhex(starboard);
    return SSSProcWriteProfile(s, status, time, p3, p4, p5, static_cast<std::uint32_t>(port.size()) / width,
                               static_cast<std::uint32_t>(starboard.size()) / width, port.data(),
                               starboard.data());
}

std::string readProcessedLine(_TELD_Sensor* s, std::uint32_t number) {
    std::uint32_t status = 0, p5 = 0, counts[2] = {};
    double time = 0;
    std::uint16_t p3 = 0, p4 = 0;
    void* arrays[2] = {};
    if (const int code = SSSProcReadProfile(s, number, &status, &time, &p3, &p4, &p5, &counts[0], &counts[1],
                                            &arrays[0], &arrays[1]))
        return coded(code);
    std::ostringstream text;
    text << "ping " << status << ' ' << decimals(time, 3) << ' ' << p3 << ' ' << p4 << ' ' << p5;
    for (std::size_t i = 0; i < 2; ++i) {
        const std::size_t bytes = counts[i] * (status & 0x40000000 ? 2u : 1u);
        text << ' ' << hexed(bytes == 0 ? std::string() : std::string(static_cast<char*>(arrays[i]), bytes));
    }
    return text.str();
}

int changeProcessed(_TELD_Sensor* s, std::uint32_t number) {
    const int code = SSSProcUpdateStatus(s, number, 7);
    // Room for what a damaged head can claim.
    static const std::string room(131070, '\x33');
    for (const std::uint32_t count : {5u, 3u, 0u, 65535u}) {
        SSSProcUpdateProfile(s, number, 7, count, room.data(), room.data());
        SSSProcUpdateProfile(s, number, 0x40000007, count, room.data(), room.data());
    }
    return code;
}

template <class System>
constexpr ImageryFamily multibeam(const char* test, const char* golden, std::uint32_t stored, bool trace,
                                  _TELD_Sensor* (*open)(const wchar_t*, const wchar_t*, long*)) {
    return {.test = test,
            .name = "SideScan",
            .golden = golden,
            .stored = stored,
            .base = 5001700,
            .noStructure = 5001713,
            .trace = trace,
            .open = open,
            .close = SideScanClose,
            .write = writeProfileLine<System>,
            .summary = summaryOf<SideScanNames>,
            .segment = segmentOf<SideScanNames>,
            .record = readProfileLine<System>,
            .setSummaryStatus = SideScanSetSummaryStatus,
            .setSegmentStatus = SideScanSetLineSegmentStatus,
            .remove = SideScanRemoveDir};
}

constexpr ImageryFamily towed = {.test = "Towed",
                                 .name = "SSSSideScan",
                                 .golden = "sss",
                                 .stored = 13,
                                 .base = 5002100,
                                 .noStructure = -1,
                                 .trace = false,
                                 .open = SSSOpenDir,
                                 .close = SSSClose,
                                 .write = writeSssLine,
                                 .summary = summaryOf<SssNames>,
                                 .segment = segmentOf<SssNames>,
                                 .record = readSssLine,
                                 .change = changeSss,
                                 .setSummaryStatus = SSSSetSummaryStatus,
                                 .setSegmentStatus = SSSSetLineSegmentStatus,
                                 .setSourceFileName = SSSSetSourceFileName,
                                 .remove = SSSRemoveDir};
constexpr ImageryFamily processed = {.test = "Processed",
                                     .name = "SSSProcessedSideScan",
                                     .golden = "sss_processed",
                                     .stored = 19,
                                     .base = 5002300,
                                     .noStructure = -1,
                                     .trace = false,
                                     .open = SSSProcOpenDir,
                                     .close = SSSProcClose,
                                     .write = writeProcessedLine,
                                     .summary = summaryOf<ProcessedNames>,
                                     .segment = segmentOf<ProcessedNames>,
                                     .record = readProcessedLine,
                                     .change = changeProcessed,
                                     .setSummaryStatus = SSSProcSetSummaryStatus,
                                     .setSegmentStatus = SSSProcSetLineSegmentStatus,
                                     .setSourceFileName = SSSProcSetSourceFileName,
                                     .remove = SSSProcRemoveDir};

int removeScratch(const wchar_t* line) {
    return SensorRemoveDir(line, L"NewSSSProcessedSideScan");
}

constexpr ImageryFamily scratch() {
    ImageryFamily family = processed;
    family.test = "ProcessedScratch";
    family.name = "NewSSSProcessedSideScan";
    family.open = SSSProcScratchOpenDir;
    family.remove = removeScratch;
    return family;
}

} // namespace

const std::vector<ImageryFamily>& imageryFamilies() {
    static const std::vector<ImageryFamily> families = {
        multibeam<EM100>("EM100", "side_scan_em100", 9, true, EM100SideScanOpenDir),
        multibeam<EM1000>("EM1000", "side_scan_em1000", 10, true, EM1000SideScanOpenDir),
        multibeam<ELAC>("ELAC", "side_scan_elac", 20, false, ELACSideScanOpenDir),
        towed,
        processed,
        scratch(),
    };
    return families;
}

std::ostream& operator<<(std::ostream& out, const ImageryFamily& family) {
    return out << family.test;
}

std::vector<std::string> ImageryFamily::files() const {
    std::vector<std::string> all;
    for (const char* suffix : {"", "LineSegments", "TmIdx"})
        all.push_back(std::string(name) + suffix);
    if (trace) all.push_back(std::string(name) + "Trace");
    return all;
}

std::vector<Bytes> ImageryFamily::set() const {
    const Golden folder(golden, SKAR_TEST_DATA);
    const std::string stored_name = stored == 19 ? "SSSProcessedSideScan" : name;
    std::vector<Bytes> all;
    for (const std::string& file : files())
        all.push_back(folder.bytes(stored_name + file.substr(std::string(name).size())));
    return all;
}

Texts ImageryFamily::twin(const std::string& word) const {
    std::istringstream lines(Golden(golden, SKAR_TEST_DATA).twin());
    Texts found;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(word + ' ')) found.push_back(line.substr(word.size() + 1));
    return found;
}

int ImageryFamily::writeAll(_TELD_Sensor* sensor) const {
    int first = 0;
    for (const std::string& line : twin("write")) {
        const int code = write(sensor, line);
        if (first == 0) first = code;
    }
    return first;
}

Texts ImageryFamily::readAll(_TELD_Sensor* sensor) const {
    Texts lines = {summary(sensor)};
    constexpr std::uint32_t most = 8;
    for (std::uint32_t n = 1; n <= std::min(sensor->numLineSegments, most); ++n)
        lines.push_back(segment(sensor, n));
    for (std::uint32_t n = 1; n <= std::min(sensor->numRecords, most); ++n)
        lines.push_back(record(sensor, n));
    return lines;
}

} // namespace skar::tests
