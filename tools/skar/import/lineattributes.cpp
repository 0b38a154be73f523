#include "import/lineattributes.h"

#include "attributefile.h"
#include "codetext.h"
#include "commands/command.h"
#include "families.h"
#include "import/gsf.h"
#include "import/kongsbergall.h"
#include "import/nmea.h"
#include "import/recorderlog.h"
#include "import/xtf.h"
#include "openset.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace skar::tool {

using import::ErrorFigures;
using import::Micros;
using import::RawRecord;
using import::Series;

namespace {

constexpr const char* indexName = attributeNames[0];
constexpr const char* errorsName = attributeNames[1];

constexpr struct {
    import::RawData (*read)(import::ByteSource&);
    SKARRawDataIndex::RawDataFileType type;
} rawTypes[] = {{import::readKongsbergAll, SKARRawDataIndex::rawDataKongsbergAll},
                {import::readNmea, SKARRawDataIndex::rawDataNmea},
                {import::readRecorderLog, SKARRawDataIndex::rawDataRecorderLog},
                {import::readGsf, SKARRawDataIndex::rawDataGsf},
                {import::readXtf, SKARRawDataIndex::rawDataXtf}};

SKARRawDataIndex::RawDataFileType rawTypeOf(const RawFile& file) {
    for (const auto& [read, type] : rawTypes) {
        if (file.format != nullptr && file.format->read == read) return type;
    }
    return SKARRawDataIndex::rawDataUnknown;
}

// The sensors whose pings the records of a raw file can be; the first one that has a record numbers it.
constexpr struct {
    const char* sensor;
    Series<import::PingPlace> import::RawData::*pings;
} pingSensors[] = {{"ObservedDepths", &import::RawData::depthPings},
                   {"SLRange", &import::RawData::rangePings},
                   {"SSSSideScan", &import::RawData::imagePings}};

void takeTime(PlannedAttributes& planned, Micros time) {
    if (time == RawRecord::untimed) return;
    planned.first = planned.first == RawRecord::untimed ? time : std::min(planned.first, time);
    planned.last = std::max(planned.last, time);
}

// The number that each record of the file has among the pings of the line, -1 for one that is none.
std::vector<int> profilesOf(const RawFile& file, const ImportPlan& plan) {
    const std::vector<RawRecord>& index = file.data.index;
    std::vector<int> profiles(index.size(), -1);
    for (const auto& [name, pings] : pingSensors) {
        const Family* family = findFamily(name);
        int before = 0;
        for (const PlannedSegment& segment : plan.segments) {
            if (segment.family != family) continue;
            if (segment.file != &file) {
                before += static_cast<int>(segment.records);
                continue;
            }
            for (const import::PingPlace& ping : (file.data.*pings).records) {
                ++before;
                const auto behind =
                    std::ranges::upper_bound(index, ping.offset, std::less<>(), &RawRecord::offset);
                if (behind == index.begin()) continue;
                int& profile = profiles[static_cast<std::size_t>(behind - index.begin()) - 1];
                if (profile < 0) profile = before;
            }
        }
    }
    return profiles;
}

template <class File>
void require(const LinePath& line, const std::string& name, const char* step, File code) {
    if (code == 0) return;
    throw ToolError(fmt::format("{}: {} failed: {}", printable((line.native / name).string()), step,
                                codeText(static_cast<int>(code))));
}

void writeIndex(const LinePath& line, const PlannedAttributes& planned, const ImportPlan& plan,
                StoreClock& clock) {
    const RawFile& raw = *planned.files.front();
    const std::vector<int> profiles = profilesOf(raw, plan);
    long status = 0;
    SKARRawDataIndex file(line.store.c_str(), wideText(raw.name).c_str(), SKARDataFile::create, status,
                          wideText(planned.name).c_str());
    require(line, planned.name, "creating", status);
    for (std::size_t i = 0; i < raw.data.index.size(); ++i) {
        const RawRecord& record = raw.data.index[i];
        const double time = record.time == RawRecord::untimed ? 0.0 : clock.seconds(record.time);
        file.addRawDataIndexArray(static_cast<int>(record.type), static_cast<std::int64_t>(record.offset),
                                  static_cast<int>(record.length), time);
        file.setSKARProfileNumber(profiles[i]);
    }
    require(line, planned.name, "writing", file.writeRawDataIndex(rawTypeOf(raw)));
}

void writeErrors(const LinePath& line, const PlannedAttributes& planned, StoreClock& clock) {
    std::string source;
    std::array<bool, import::errorKinds> stated{};
    for (const RawFile* raw : planned.files) {
        source += (source.empty() ? "" : ", ") + raw->name;
        for (const ErrorFigures& figures : raw->data.errorFigures.records) {
            for (std::size_t i = 0; i < stated.size(); ++i)
                stated[i] = stated[i] || !std::isnan(figures.values[i]);
        }
    }
    long status = 0;
    SKARRmsFile file(line.store.c_str(), wideText(source).c_str(), SKARDataFile::create, status);
    require(line, planned.name, "creating", status);
    // In the order of the columns; the two of the position share a flag.
    constexpr const wchar_t* flags[] = {L"POSITION_SET", L"POSITION_SET", L"HEAVE_SET",
                                        L"ROLL_SET",     L"PITCH_SET",    L"GYRO_SET"};
    static_assert(std::size(flags) == import::errorKinds);
    SKARDataFile::dataValue set;
    set.boolean = true;
    for (std::size_t i = 0; i < stated.size(); ++i) {
        if (stated[i]) require(line, planned.name, "writing", file.SetSummaryAttribute(flags[i], set, 0));
    }
    std::vector<SKARDataFile::dataValue> values(import::errorKinds);
    for (const RawFile* raw : planned.files) {
        for (const ErrorFigures& figures : raw->data.errorFigures.records) {
            for (std::size_t i = 0; i < values.size(); ++i)
                values[i].float32 = static_cast<float>(figures.values[i]);
            require(line, planned.name, "writing",
                    file.WriteRecord(clock.seconds(figures.time), 0, values, {}));
        }
    }
}

} // namespace

std::vector<PlannedAttributes> planAttributes(std::span<const RawFile> files,
                                              std::span<const std::string> wanted) {
    const auto isWanted = [&](const char* name) {
        return wanted.empty() || std::ranges::find(wanted, name) != wanted.end();
    };
    std::vector<PlannedAttributes> all;
    std::vector<const RawFile*> withErrors;
    for (const RawFile& file : files) {
        if (!file.data.errorFigures.records.empty()) withErrors.push_back(&file);
        if (file.data.index.empty() || !isWanted(indexName)) continue;
        PlannedAttributes planned;
        planned.name = all.empty() ? indexName : fmt::format("{}{}", indexName, all.size() + 1);
        planned.files = {&file};
        planned.records = file.data.index.size();
        planned.origin = "records of the raw file";
        for (const RawRecord& record : file.data.index)
            takeTime(planned, record.time);
        all.push_back(std::move(planned));
    }
    if (withErrors.empty() || !isWanted(errorsName)) return all;
    const auto firstTime = [](const RawFile* file) { return file->data.errorFigures.records.front().time; };
    std::ranges::stable_sort(withErrors, {}, firstTime);
    PlannedAttributes planned;
    planned.name = errorsName;
    planned.files = withErrors;
    for (const RawFile* file : withErrors) {
        const Series<ErrorFigures>& figures = file->data.errorFigures;
        planned.records += figures.records.size();
        takeTime(planned, figures.records.front().time);
        takeTime(planned, figures.records.back().time);
        if (planned.origin.find(figures.origin) == std::string::npos)
            planned.origin += (planned.origin.empty() ? "" : "; ") + figures.origin;
    }
    all.push_back(std::move(planned));
    return all;
}

void refuseOverwriting(const LinePath& line, std::span<const PlannedAttributes> attributes) {
    for (const PlannedAttributes& planned : attributes) {
        std::error_code ignored;
        if (std::filesystem::exists(line.native / planned.name, ignored)) {
            throw ToolError(fmt::format("{}: is there already; --force writes over it",
                                        printable((line.native / planned.name).string())));
        }
    }
}

void writeAttributes(const LinePath& line, const ImportPlan& plan) {
    StoreClock clock;
    for (const PlannedAttributes& planned : plan.attributes) {
        if (planned.name == errorsName)
            writeErrors(line, planned, clock);
        else
            writeIndex(line, planned, plan, clock);
        // A file that could not be completed when it was closed counts fewer records, or does not open.
        OpenAttributes written(line, planned.name);
        if (written.file().GetNumberOfRecords() != planned.records) {
            throw ToolError(fmt::format("{}: could not be written whole",
                                        printable((line.native / planned.name).string())));
        }
    }
}

} // namespace skar::tool
