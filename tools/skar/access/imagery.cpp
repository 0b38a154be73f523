#include "access/imagery.h"

#include "access/access.h"
#include "check/setcheck.h"
#include "codetext.h"
#include "commands/command.h"
#include "openset.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace skar::tool {

struct SideScanAccess {
    _TELD_Sensor* (*open)(const wchar_t* line, const wchar_t* token, long* code);
    int (*close)(_TELD_Sensor* sensor);
    int (*summary)(_TELD_Sensor* sensor, std::uint32_t* segments, std::uint32_t* pings, double* minTime,
                   double* maxTime, std::uint32_t* version, std::uint32_t* status);
    int (*segment)(_TELD_Sensor* sensor, std::uint32_t number, wchar_t** name, std::uint32_t* first,
                   std::uint32_t* last, double* minTime, double* maxTime, std::uint32_t* status);
    int (*read)(_TELD_Sensor* sensor, std::uint32_t number, SideScanPing& ping);
    void (*describe)(const SideScanPing& ping, Record& record);
};

namespace {

constexpr double missing = std::numeric_limits<double>::quiet_NaN();

void succeed(int code, const std::string& file, const char* step, std::uint32_t ping = 0) {
    if (code == 0) return;
    const std::string where = ping != 0 ? fmt::format(" ping {}", ping) : "";
    throw ToolError(fmt::format("{}: {}{} failed: {}", file, step, where, codeText(code)));
}

template <class Open>
SensorHandle opened(const LinePath& line, const std::string& file, const wchar_t* token, Open open,
                    int (*close)(_TELD_Sensor*)) {
    startLibrary();
    long code = 0;
    SensorHandle sensor(open(line.store.c_str(), token, &code), {close});
    if (!sensor)
        throw ToolError(fmt::format("{}: cannot be opened: {}", file, codeText(static_cast<int>(code))));
    return sensor;
}

int readTowed(_TELD_Sensor* sensor, std::uint32_t number, SideScanPing& to) {
    void* samples[SideScanPing::sides] = {};
    std::uint16_t parameter5 = 0;
    const int code = SSSReadProfile(
        sensor, number, &to.status, &to.time, &to.parameter3, &to.parameter4, &parameter5, &to.fishHeight,
        &to.parameter7, &to.parameter8, &to.parameter9, &to.parameter10, &to.parameter11, &to.sampleInterval,
        &to.parameter13, &to.parameter14, &to.counts[0], &to.counts[1], &samples[0], &samples[1],
        &to.parameter19, &to.parameter20, &to.parameter21, &to.parameter22, &to.parameter23, &to.parameter24,
        &to.parameter25, &to.counts[2], &to.counts[3], &samples[2], &samples[3]);
    to.parameter5 = parameter5;
    std::ranges::copy(samples, to.samples.begin());
    return code;
}

void describeTowed(const SideScanPing& ping, Record& record) {
    const double values[] = {static_cast<double>(ping.parameter3),  static_cast<double>(ping.parameter4),
                             static_cast<double>(ping.parameter5),  static_cast<double>(ping.fishHeight),
                             static_cast<double>(ping.parameter7),  static_cast<double>(ping.parameter8),
                             static_cast<double>(ping.parameter9),  static_cast<double>(ping.parameter10),
                             static_cast<double>(ping.parameter11), static_cast<double>(ping.sampleInterval),
                             static_cast<double>(ping.parameter13), static_cast<double>(ping.parameter14),
                             static_cast<double>(ping.counts[0]),   static_cast<double>(ping.counts[1]),
                             static_cast<double>(ping.parameter19), static_cast<double>(ping.parameter20),
                             static_cast<double>(ping.parameter21), static_cast<double>(ping.parameter22),
                             static_cast<double>(ping.parameter23), static_cast<double>(ping.parameter24),
                             static_cast<double>(ping.parameter25), static_cast<double>(ping.counts[2]),
                             static_cast<double>(ping.counts[3])};
    std::ranges::copy(values, record.values.begin());
}

int readProcessed(_TELD_Sensor* sensor, std::uint32_t number, SideScanPing& to) {
    void* samples[2] = {};
    const int code =
        SSSProcReadProfile(sensor, number, &to.status, &to.time, &to.parameter3, &to.parameter4,
                           &to.parameter5, &to.counts[0], &to.counts[1], &samples[0], &samples[1]);
    std::ranges::copy(samples, to.samples.begin());
    return code;
}

void describeProcessed(const SideScanPing& ping, Record& record) {
    const double values[] = {static_cast<double>(ping.parameter3), static_cast<double>(ping.parameter4),
                             static_cast<double>(ping.parameter5), static_cast<double>(ping.counts[0]),
                             static_cast<double>(ping.counts[1])};
    std::ranges::copy(values, record.values.begin());
}

constexpr SideScanAccess towed = {SSSOpenDir, SSSClose, SSSSummary, SSSLineSegment, readTowed, describeTowed};
constexpr SideScanAccess processed = {SSSProcOpenDir,     SSSProcClose,  SSSProcSummary,
                                      SSSProcLineSegment, readProcessed, describeProcessed};
constexpr SideScanAccess scratch = {SSSProcScratchOpenDir, SSSProcClose,  SSSProcSummary,
                                    SSSProcLineSegment,    readProcessed, describeProcessed};

const SideScanAccess& accessOf(const Family& family) {
    using SKAR::IO::SensorType;
    switch (family.id) {
    case SensorType::SSSSideScan:
        return towed;
    case SensorType::SSSProcessedSideScan:
        return processed;
    default:
        return scratch;
    }
}

} // namespace

std::uint16_t SideScanPing::sample(std::size_t side, std::size_t index) const {
    const auto* const bytes = static_cast<const unsigned char*>(samples[side]);
    if ((status & twoByteSamples) == 0) return bytes[index];
    std::uint16_t value = 0;
    std::memcpy(&value, bytes + index * sizeof value, sizeof value);
    return value;
}

SideScanReader::SideScanReader(const LinePath& line, const Family& family)
    : access_(accessOf(family)), file_((line.native / family.name).string()),
      sensor_(opened(line, file_, L"query", access_.open, access_.close)) {}

Summary SideScanReader::summary() {
    Summary to;
    std::uint32_t stated = 0;
    succeed(access_.summary(sensor_.get(), &to.segments, &to.records, &to.time.min, &to.time.max, &stated,
                            &to.status),
            file_, "reading the summary");
    return to;
}

Segment SideScanReader::segment(std::uint32_t number) {
    Segment to;
    wchar_t* name = nullptr;
    const int code = access_.segment(sensor_.get(), number, &name, &to.begin, &to.end, &to.time.min,
                                     &to.time.max, &to.status);
    takeName(name, to.source);
    succeed(code, file_, "reading a line segment");
    return to;
}

void SideScanReader::readPing(std::uint32_t number, SideScanPing& ping) {
    succeed(access_.read(sensor_.get(), number, ping), file_, "reading", number);
}

void SideScanReader::read(std::uint32_t number, Record& record) {
    readPing(number, ping_);
    record.time = ping_.time;
    record.status = ping_.status;
    record.firstItem = 1;
    record.numItems = *std::ranges::max_element(ping_.counts);
    access_.describe(ping_, record);
    item_ = 0;
}

void SideScanReader::readItem(Record& item) {
    item.time = ping_.time;
    item.status = 0;
    for (std::size_t side = 0; side < SideScanPing::sides; ++side)
        item.values[side] = item_ < ping_.counts[side] ? ping_.sample(side, item_) : missing;
    ++item_;
}

SideScanWriter::SideScanWriter(const LinePath& line)
    : file_((line.native / "SSSSideScan").string()),
      sensor_(opened(line, file_, L"create", SSSOpenDir, SSSClose)) {
    succeed(SSSBgnSeqWriteSummary(sensor_.get()), file_, "beginning the set");
}

void SideScanWriter::beginSegment(const std::string& source) {
    succeed(SSSBgnSeqWriteLineSegment(sensor_.get(), wideText(source).c_str()), file_,
            "beginning a line segment");
}

void SideScanWriter::write(const SideScanPing& p) {
    ++written_;
    succeed(SSSWriteProfile(sensor_.get(), p.status, p.time, p.parameter3, p.parameter4,
                            static_cast<std::uint16_t>(p.parameter5), p.fishHeight, p.parameter7,
                            p.parameter8, p.parameter9, p.parameter10, p.parameter11, p.sampleInterval,
                            p.parameter13, p.parameter14, p.counts[0], p.counts[1], p.samples[0],
                            p.samples[1], p.parameter19, p.parameter20, p.parameter21, p.parameter22,
                            p.parameter23, p.parameter24, p.parameter25, p.counts[2], p.counts[3],
                            p.samples[2], p.samples[3]),
            file_, "writing", written_);
}

void SideScanWriter::endSegment() {
    succeed(SSSEndSeqWriteLineSegment(sensor_.get(), 0), file_, "ending a line segment");
}

void SideScanWriter::finish() {
    constexpr std::uint32_t version = 1;
    succeed(SSSEndSeqWriteSummary(sensor_.get(), version, 0), file_, "ending the set");
    succeed(SSSClose(sensor_.release()), file_, "closing");
}

namespace {

std::vector<std::string> filesOf(const Family& family) {
    std::vector<std::string> names;
    for (const char* suffix : setSuffixes)
        names.push_back(std::string(family.name) + suffix);
    if (family.companion != nullptr) names.emplace_back(family.companion);
    return names;
}

// The amplitudes of a multibeam sounder's beams, in the form of the system that the file is of.
class BeamAmplitudeReader : public Reader {
public:
    BeamAmplitudeReader(const LinePath& line, const Family& family)
        : file_((line.native / family.name).string()),
          sensor_(opened(line, file_, L"query", SideScanOpenDir, SideScanClose)) {}

    std::uint32_t version() const override { return sensor_->version; }
    Summary summary() override {
        Summary to;
        std::uint32_t beams = 0;
        succeed(SideScanSummary(sensor_.get(), &to.segments, &to.records, &beams, &to.time.min, &to.time.max,
                                &to.status),
                file_, "reading the summary");
        to.items = beams;
        to.settings = {{"sensorType", sensor_->sensorType}};
        return to;
    }
    Segment segment(std::uint32_t number) override {
        Segment to;
        wchar_t* name = nullptr;
        const int code = SideScanLineSegment(sensor_.get(), number, &name, &to.begin, &to.end, &to.time.min,
                                             &to.time.max, &to.status);
        takeName(name, to.source);
        succeed(code, file_, "reading a line segment");
        return to;
    }
    void read(std::uint32_t number, Record& record) override {
        std::ranges::fill(record.values, missing);
        record.status = 0;
        succeed(readHead(number, record), file_, "reading", number);
        for (std::vector<std::int32_t>& column : columns_)
            column.assign(record.numItems, 0);
        succeed(readBeams(number), file_, "reading", number);
        time_ = record.time;
        item_ = 0;
    }
    void readItem(Record& item) override {
        item.time = time_;
        item.status = 0;
        std::ranges::fill(item.values, missing);
        for (std::size_t i = 0; i < columnsKept(); ++i)
            item.values[i] = columns_[i].at(item_);
        ++item_;
    }

private:
    using Type = SKAR::IO::SensorType;

    std::size_t columnsKept() const {
        switch (sensor_->sensorType) {
        case Type::SideScanEM1000:
            return 6;
        case Type::SideScanELAC:
            return 2;
        default:
            return 4;
        }
    }
    int readHead(std::uint32_t number, Record& to) {
        std::int32_t parameters[5] = {};
        auto& [a, b, c, d, e] = parameters;
        std::size_t kept = 4;
        int code = 0;
        switch (sensor_->sensorType) {
        case Type::SideScanEM1000:
            code = EM1000SideScanReadProfile(sensor_.get(), number, &to.numItems, &to.firstItem, &to.time,
                                             &to.values[0], &a, &b, &c, &d);
            break;
        case Type::SideScanELAC:
            code = ELACSideScanReadProfile(sensor_.get(), number, &to.numItems, &to.firstItem, &to.time, &a,
                                           &b, &c, &d);
            break;
        default:
            code = EM100SideScanReadProfile(sensor_.get(), number, &to.numItems, &to.firstItem, &to.time, &a,
                                            &b, &c, &d, &e);
            kept = 5;
        }
        for (std::size_t i = 0; i < kept; ++i)
            to.values[i + 1] = parameters[i];
        return code;
    }
    int readBeams(std::uint32_t number) {
        auto& c = columns_;
        switch (sensor_->sensorType) {
        case Type::SideScanEM1000:
            return EM1000SideScanRead(sensor_.get(), number, nullptr, c[0].data(), c[1].data(), c[2].data(),
                                      c[3].data(), c[4].data(), c[5].data(), nullptr);
        case Type::SideScanELAC:
            return ELACSideScanRead(sensor_.get(), number, nullptr, c[0].data(), c[1].data());
        default:
            return EM100SideScanRead(sensor_.get(), number, nullptr, c[0].data(), c[1].data(), c[2].data(),
                                     c[3].data());
        }
    }

    std::string file_;
    SensorHandle sensor_;
    std::array<std::vector<std::int32_t>, 6> columns_;
    double time_ = 0.0;
    std::uint32_t item_ = 0;
};

std::unique_ptr<Reader> openSideScan(const LinePath& line, const Family& family) {
    return std::make_unique<SideScanReader>(line, family);
}

std::unique_ptr<Reader> openBeamAmplitudes(const LinePath& line, const Family& family) {
    return std::make_unique<BeamAmplitudeReader>(line, family);
}

} // namespace

const Kind sideScanKind = {filesOf, openSideScan, check::checkSet};
const Kind multibeamImageryKind = {filesOf, openBeamAmplitudes, check::checkSet};

} // namespace skar::tool
