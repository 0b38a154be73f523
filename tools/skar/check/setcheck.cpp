#include "check/setcheck.h"

#include "check/indexcheck.h"
#include "check/layout.h"
#include "check/segments.h"
#include "openset.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace skar::tool::check {

namespace fs = std::filesystem;

bool readToken(WordFile& file, Report& report) {
    const std::uint32_t fileToken = file.word();
    if (fileToken == token) return true;
    report.error("token", 0,
                 fmt::format("begins with 0x{:08X} instead of 0x{:08X} (\"TELD\")", fileToken, token));
    return false;
}

bool readFileType(WordFile& file, FileType type, Report& report) {
    const std::uint64_t offset = file.position();
    const std::uint32_t fileType = file.word();
    if (fileType == type) return true;
    report.error("file-type", offset,
                 fmt::format("is of file type {} instead of {}", fileType, static_cast<std::uint32_t>(type)));
    return false;
}

bool readIdentity(WordFile& file, const Family& family, FileType type, std::optional<std::uint32_t> version,
                  Report& report, Identity* found) {
    bool right = readToken(file, report);
    const std::uint32_t sensorType = file.word();
    const bool isSideFile = version.has_value();
    if (isSideFile ? sensorType != family.storedType : !acceptsType(family, sensorType)) {
        report.error(
            "sensor-type", wordSize,
            fmt::format("is of sensor type {}, {} has {}", sensorType, family.name, family.storedType));
        right = false;
    }
    right = readFileType(file, type, report) && right;
    const std::uint32_t fileVersion = file.word();
    if (version && fileVersion != *version) {
        report.warning("version", 3 * wordSize,
                       fmt::format("is of version {}, the data file of version {}", fileVersion, *version));
    } else if (!version && !acceptsVersion(family, fileVersion)) {
        report.warning("version", 3 * wordSize,
                       fmt::format("is of version {}, known is {}", fileVersion, newestVersion(family)));
    }
    if (found != nullptr) *found = {sensorType, fileVersion};
    return right;
}

void Range::add(std::span<const Word> layout, std::span<const std::uint32_t> record) {
    any = true;
    for (std::size_t i = 0; i < record.size(); ++i) {
        const auto value = static_cast<std::int32_t>(record[i]);
        const Word& word = layout[i];
        if (word.role == Role::time) {
            minTime = std::min(minTime, value);
            maxTime = std::max(maxTime, value);
        } else if (word.role == Role::value) {
            min[word.quantity] = std::min(min[word.quantity], value);
            max[word.quantity] = std::max(max[word.quantity], value);
        }
    }
}

std::optional<std::int32_t> Range::valueOf(const Word& word) const {
    switch (word.role) {
    case Role::minTime:
        return minTime;
    case Role::maxTime:
        return maxTime;
    case Role::min:
        return min[word.quantity];
    case Role::max:
        return max[word.quantity];
    default:
        return std::nullopt;
    }
}

namespace {

class SetCheck {
public:
    SetCheck(const LinePath& line, const Family& family, Report& report, Progress& progress)
        : line_(line), family_(family), layout_(&layoutOf(family, newestVersion(family))), report_(report),
          progress_(progress), dataPath_(line.native / family.name), segmentsPath_(side(segmentsSuffix)),
          indexPath_(side(indexSuffix)), entries_(index_, report, dataPath_, indexPath_) {}

    SetResult run() {
        const std::uint64_t errorsBefore = report_.errors();
        std::optional<WordFile> data = openFile(dataPath_, "data-missing", report_);
        const bool readable = data && readHead(*data);
        std::optional<WordFile> segmentsFile = openFile(segmentsPath_, "segments-missing", report_);
        if (segmentsFile) readSegments(*segmentsFile);
        std::optional<WordFile> indexFile = openFile(indexPath_, "index-missing", report_);
        if (indexFile) index_.emplace(*indexFile, family_, version_, report_, indexPath_.string());
        if (readable) {
            compareRecords(*data);
            if (layout_->isVariable() || isWithoutRecords_) compareEnd(*data);
            compareSummary();
            compareSegments();
            entries_.compareCount(*counted_, identityWords * wordSize);
        } else if (index_) {
            index_->drain();
        }
        tryLibrary(report_.errors() == errorsBefore);
        return {records_, segments_.size()};
    }

private:
    fs::path side(const char* suffix) const { return line_.native / (std::string(family_.name) + suffix); }

    // The identity and the summary. False when the records cannot be told from the rest.
    bool readHead(WordFile& data) {
        try {
            Identity identity;
            const bool right = readIdentity(data, family_, dataFile, std::nullopt, report_, &identity);
            version_ = identity.version;
            if (right) family_.storedType = identity.sensorType;
            layout_ = &layoutOf(family_, identity.version);
            for (const Word& word : layout_->summary) {
                const std::uint64_t offset = data.position();
                summary_.push_back(data.word());
                const std::uint32_t value = summary_.back();
                if (word.role == Role::scale && static_cast<std::int32_t>(value) <= 0)
                    report_.error("scale", offset,
                                  fmt::format("{} is {}, must be above 0", word.name,
                                              static_cast<std::int32_t>(value)));
                if (word.role == Role::sonar && value != 1) isWithoutRecords_ = true;
                if (word.role == Role::itemCount) countedItems_ = {value, offset};
                if (word.role == Role::recordCount) countRecords(data, value, offset);
            }
            return right;
        } catch (const Truncated& cut) {
            report_.error("truncated", cut.offset,
                          fmt::format("ends at byte {}, within its first {} bytes", data.size(),
                                      layout_->firstRecord()));
            return false;
        }
    }

    void countRecords(const WordFile& data, std::uint32_t counted, std::uint64_t offset) {
        counted_ = counted;
        if (data.size() < layout_->firstRecord()) return;
        if (layout_->isVariable() || isWithoutRecords_) {
            // Only reading the pings tells where they end.
            records_ = isWithoutRecords_ ? 0 : counted;
            countOffset_ = offset;
            return;
        }
        const std::uint64_t body = data.size() - layout_->firstRecord();
        const std::uint64_t whole = body / layout_->recordSize();
        records_ = std::min<std::uint64_t>(counted, whole);
        const std::uint64_t end = layout_->firstRecord() + records_ * layout_->recordSize();
        if (counted > whole) {
            report_.error("truncated", end,
                          fmt::format("ends at byte {} after {} records, the summary counts {}", data.size(),
                                      whole, counted));
        } else if (counted < whole) {
            report_.error("summary-count", offset,
                          fmt::format("the summary counts {} records, the file holds {}{}", counted, whole,
                                      counted == 0 ? "; its writing was not finished" : ""));
        }
        if (counted <= whole && data.size() > end)
            report_.error("trailing-bytes", end,
                          fmt::format("{} bytes follow the last record counted", data.size() - end));
    }

    void readSegments(WordFile& file) {
        segments_ = readSegmentsFile(file, family_, *layout_, version_, report_);
        if (counted_) checkSegmentRanges(segments_, *counted_, report_);
    }

    void compareRecords(WordFile& data) {
        Run timesBack(report_, &Report::warning, "time-order", dataPath_.string());
        SegmentWalk walk(segments_);
        std::vector<std::uint32_t> record(layout_->record.size());
        const auto timeWord = static_cast<std::size_t>(
            std::ranges::find(layout_->record, Role::time, &Word::role) - layout_->record.begin());
        std::optional<std::int32_t> previous;
        try {
            for (std::uint64_t number = 1; number <= records_; ++number) {
                const std::uint64_t offset = data.position();
                begun_ = number;
                for (std::uint32_t& word : record)
                    word = data.word();
                const auto time = static_cast<std::int32_t>(record[timeWord]);
                Range* const range = walk.at(number);
                all_.add(layout_->record, record);
                if (range != nullptr) range->add(layout_->record, record);
                if (previous && time < *previous) {
                    timesBack.hit(number, offset + timeWord * wordSize, [&] {
                        return fmt::format("record {}: the time goes back by {} ticks", number,
                                           static_cast<std::int64_t>(*previous) - time);
                    });
                }
                previous = time;
                entries_.record(number, offset, layout_->recordSize(), time, data.size());
                if (!readItems(data, number, offset, record, range) || !passSamples(data, offset, record)) {
                    records_ = number - 1;
                    break;
                }
                if (number % 65536 == 0) progress_.show(number * 100 / records_);
            }
        } catch (const Truncated& cut) {
            report_.enterFile(dataPath_.string());
            if (!layout_->isVariable()) {
                report_.error("unreadable", cut.offset, "cannot be read on from here");
            } else {
                records_ = begun_ - 1;
                reportCut(data, cut.offset);
            }
        }
        timesBack.end();
        entries_.endRecords();
    }

    void reportCut(const WordFile& data, std::uint64_t offset) {
        report_.enterFile(dataPath_.string());
        report_.error("truncated", offset,
                      fmt::format("ends at byte {} within ping {}, the summary counts {}", data.size(),
                                  begun_, counted_.value_or(0)));
    }

    // The beams of a ping. False when the file ends before they do.
    bool readItems(WordFile& data, std::uint64_t number, std::uint64_t offset,
                   std::span<const std::uint32_t> record, Range* range) {
        for (std::size_t i = 0; i < record.size(); ++i) {
            const Role role = layout_->record[i].role;
            if (role != Role::items && role != Role::itemRange) continue;
            const std::uint64_t count = role == Role::items ? record[i] : record[i] >> 16U;
            const std::uint64_t first = role == Role::items ? 1 : record[i] & 0xFFFFU;
            if (count > data.left() / layout_->itemSize()) {
                reportCut(data, offset + i * wordSize);
                return false;
            }
            if (role == Role::itemRange && count > 0 && first + count - 1 > 0xFFFF) {
                report_.enterFile(dataPath_.string());
                report_.error(
                    "beam-range", offset + i * wordSize,
                    fmt::format("ping {}: {} beams from {} on go beyond beam 65535", number, count, first));
            }
            std::vector<std::uint32_t> item(layout_->item.size());
            for (std::uint64_t beam = 0; beam < count; ++beam) {
                for (std::uint32_t& word : item)
                    word = data.word();
                all_.add(layout_->item, item);
                if (range != nullptr) range->add(layout_->item, item);
                checkTrace(item, number, first + beam, data.position() - layout_->itemSize());
            }
            items_ += count;
        }
        return true;
    }

    // The samples of a ping. False when the file ends before they do.
    bool passSamples(WordFile& data, std::uint64_t offset, std::span<const std::uint32_t> record) {
        constexpr std::uint32_t twoByteSamples = 1U << 30U;
        std::uint64_t width = 1;
        std::uint64_t bytes = 0;
        std::size_t last = 0;
        for (std::size_t i = 0; i < record.size(); ++i) {
            const Role role = layout_->record[i].role;
            if (role == Role::width && (record[i] & twoByteSamples) != 0) width = 2;
            if (role != Role::samples) continue;
            bytes += width * ((record[i] >> 16U) + (record[i] & 0xFFFFU));
            last = i;
        }
        if (bytes > data.left()) {
            reportCut(data, offset + last * wordSize);
            return false;
        }
        data.skip(bytes);
        return true;
    }

    void checkTrace(std::span<const std::uint32_t> item, std::uint64_t ping, std::uint64_t beam,
                    std::uint64_t offset) {
        std::uint64_t samples = 0;
        for (std::size_t i = 0; i < item.size(); ++i) {
            const Role role = layout_->item[i].role;
            if (role == Role::trace) samples = item[i] >> 16U;
            if (role != Role::traceAt || samples == 0) continue;
            if (!traceSize_) traceSize_ = sizeOfTraces();
            if (item[i] + samples <= *traceSize_) continue;
            report_.enterFile(dataPath_.string());
            report_.error("trace-beyond", offset + i * wordSize,
                          fmt::format("ping {}, beam {}: {} trace samples from byte {} on lie beyond the {} "
                                      "bytes of {}",
                                      ping, beam, samples, item[i], *traceSize_, family_.companion));
        }
    }

    std::uint64_t sizeOfTraces() const {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(line_.native / family_.companion, error);
        return error ? 0 : size;
    }

    void compareEnd(const WordFile& data) {
        if (!isWithoutRecords_ && records_ != counted_) return;
        report_.enterFile(dataPath_.string());
        if (!isWithoutRecords_ && items_ != countedItems_.value) {
            report_.error(
                "summary-count", countedItems_.offset,
                fmt::format("the summary counts {} beams, the pings have {}", countedItems_.value, items_));
        }
        if (data.left() == 0) return;
        if (records_ == 0 && !isWithoutRecords_) {
            report_.error("summary-count", countOffset_,
                          "the summary counts no pings, the file holds some; its writing was not finished");
        }
        report_.error("trailing-bytes", data.position(),
                      fmt::format("{} bytes follow the last record counted", data.left()));
    }

    bool differs(const Word& word, std::int32_t stored, std::int32_t real) const {
        if (layout_->extentsAreExact()) return stored != real;
        return word.role == Role::minTime || word.role == Role::min ? stored > real : stored < real;
    }
    // Updates widen the extents in memory; those that were not saved leave them too narrow, and no harm is
    // done.
    void extentFinding(const char* code, std::uint64_t offset, std::string text) {
        if (layout_->extentsAreExact())
            report_.error(code, offset, std::move(text));
        else
            report_.warning(code, offset, std::move(text));
    }

    void compareSummary() {
        if (!all_.any || records_ != counted_) return;
        report_.enterFile(dataPath_.string());
        for (std::size_t i = 0; i < layout_->summary.size(); ++i) {
            const std::optional<std::int32_t> real = all_.valueOf(layout_->summary[i]);
            const auto stored = static_cast<std::int32_t>(summary_[i]);
            if (real && differs(layout_->summary[i], stored, *real)) {
                extentFinding("summary-extent", (identityWords + i) * wordSize,
                              fmt::format("{} is {} in the summary, {} in the records",
                                          layout_->summary[i].name, stored, *real));
            }
        }
    }

    void compareSegments() {
        if (records_ != counted_) return;
        report_.enterFile(segmentsPath_.string());
        std::uint64_t compared = 0;
        std::uint64_t foreign = 0;
        for (std::size_t s = 0; s < segments_.size(); ++s) {
            const RawSegment& segment = segments_[s];
            if (!segment.real.any) continue;
            ++compared;
            bool timesDiffer = layout_->extentsAreExact();
            for (std::size_t i = 0; i < segment.extents.size(); ++i) {
                const Word& word = layout_->segmentExtents[i];
                const std::optional<std::int32_t> real = segment.real.valueOf(word);
                const auto stored = static_cast<std::int32_t>(segment.extents[i]);
                if (!real) continue;
                const bool isTime = word.role == Role::minTime || word.role == Role::maxTime;
                if (!differs(word, stored, *real)) {
                    timesDiffer = timesDiffer && !isTime;
                    continue;
                }
                extentFinding(
                    "segment-extent", segment.extentsOffset + i * wordSize,
                    fmt::format("segment {}: {} is {}, {} in its records", s + 1, word.name, stored, *real));
            }
            if (timesDiffer) ++foreign;
        }
        if (compared > 0 && foreign == compared)
            report_.error(foreignCode(segmentsPath_, dataPath_), segments_.front().offset,
                          fmt::format("no segment has the times of its records: {}",
                                      foreignText(segmentsPath_, dataPath_)));
    }

    // What the library says is what every program will say.
    void tryLibrary(bool clean) {
        if (!clean) return;
        try {
            family_.kind->open(line_, family_);
        } catch (const ToolError& error) {
            report_.enterFile(dataPath_.string());
            report_.error("refused", 0, error.what());
        }
    }

    const LinePath& line_;
    Family family_; // of the sensor type that the data file names
    const Layout* layout_;
    Report& report_;
    Progress& progress_;
    fs::path dataPath_;
    fs::path segmentsPath_;
    fs::path indexPath_;

    std::optional<std::uint32_t> version_;
    std::vector<std::uint32_t> summary_;
    std::optional<std::uint64_t> counted_; // records, by the summary
    std::uint64_t records_ = 0;            // that are counted and there
    struct CountedItems {
        std::uint64_t value = 0;
        std::uint64_t offset = 0;
    };
    CountedItems countedItems_; // by the summary
    std::uint64_t items_ = 0;
    std::optional<std::uint64_t> traceSize_; // of the file of traces
    std::uint64_t countOffset_ = 0;
    std::uint64_t begun_ = 0; // the record that is being read
    bool isWithoutRecords_ = false;
    std::vector<RawSegment> segments_;
    std::optional<TimeIndex> index_;
    Range all_;
    IndexCheck entries_;
};

} // namespace

SetResult checkSet(const LinePath& line, const Family& family, Report& report, Progress& progress) {
    report.enterSensor(family.name);
    return SetCheck(line, family, report, progress).run();
}

} // namespace skar::tool::check
