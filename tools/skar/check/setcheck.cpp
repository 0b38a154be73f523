#include "check/setcheck.h"

#include "check/layout.h"
#include "check/segments.h"
#include "check/timeindex.h"
#include "check/wordfile.h"
#include "openset.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace skar::tool::check {

namespace fs = std::filesystem;

bool readIdentity(WordFile& file, const Family& family, FileType type, std::optional<std::uint32_t> version,
                  Report& report, std::uint32_t* found) {
    bool right = true;
    const std::uint32_t fileToken = file.word();
    if (fileToken != token) {
        report.error("token", 0,
                     fmt::format("begins with 0x{:08X} instead of 0x{:08X} (\"TELD\")", fileToken, token));
        right = false;
    }
    const std::uint32_t sensorType = file.word();
    if (sensorType != family.storedType) {
        report.error(
            "sensor-type", wordSize,
            fmt::format("is of sensor type {}, {} has {}", sensorType, family.name, family.storedType));
        right = false;
    }
    const std::uint32_t fileType = file.word();
    if (fileType != type) {
        report.error(
            "file-type", 2 * wordSize,
            fmt::format("is of file type {} instead of {}", fileType, static_cast<std::uint32_t>(type)));
        right = false;
    }
    const std::uint32_t fileVersion = file.word();
    if (version && fileVersion != *version) {
        report.warning("version", 3 * wordSize,
                       fmt::format("is of version {}, the data file of version {}", fileVersion, *version));
    } else if (!version && (fileVersion < 1 || fileVersion > newestVersion(family))) {
        report.warning("version", 3 * wordSize,
                       fmt::format("is of version {}, known is {}", fileVersion, newestVersion(family)));
    }
    if (found != nullptr) *found = fileVersion;
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

// A finding that many records in a row share is one finding.
class Run {
public:
    using Add = void (Report::*)(const char* code, std::uint64_t offset, std::string text);
    Run(Report& report, Add add, const char* code, std::string file)
        : report_(report), add_(add), code_(code), file_(std::move(file)) {}

    template <class Text>
    void hit(std::uint64_t record, std::uint64_t offset, Text text) {
        ++hits_;
        if (count_ > 0 && record == first_ + count_) {
            ++count_;
            return;
        }
        end();
        first_ = record;
        count_ = 1;
        offset_ = offset;
        text_ = text();
    }
    void end() {
        if (count_ > 0) {
            if (count_ > 1) text_ += fmt::format("; so up to record {}", first_ + count_ - 1);
            report_.enterFile(file_);
            (report_.*add_)(code_, offset_, text_);
        }
        count_ = 0;
    }
    std::uint64_t hits() const { return hits_; }

private:
    Report& report_;
    Add add_;
    const char* code_;
    std::string file_;
    std::uint64_t first_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t offset_ = 0;
    std::uint64_t hits_ = 0;
    std::string text_;
};

class SetCheck {
public:
    SetCheck(const LinePath& line, const Family& family, Report& report, Progress& progress)
        : line_(line), family_(family), layout_(&layoutOf(family, newestVersion(family))), report_(report),
          progress_(progress), dataPath_(line.native / family.name), segmentsPath_(side(segmentsSuffix)),
          indexPath_(side(indexSuffix)) {}

    SetResult run() {
        const std::uint64_t errorsBefore = report_.errors();
        std::optional<WordFile> data = openFile(dataPath_, "data-missing");
        const bool readable = data && readHead(*data);
        std::optional<WordFile> segmentsFile = openFile(segmentsPath_, "segments-missing");
        if (segmentsFile) readSegments(*segmentsFile);
        std::optional<WordFile> indexFile = openFile(indexPath_, "index-missing");
        if (indexFile) index_.emplace(*indexFile, family_, version_, report_, indexPath_.string());
        if (readable) {
            compareRecords(*data);
            if (!layout_->item.empty() || isWithoutRecords_) compareEnd(*data);
            compareSummary();
            compareSegments();
            compareIndex();
        } else if (index_) {
            index_->drain();
        }
        tryLibrary(report_.errors() == errorsBefore);
        return {records_, segments_.size()};
    }

private:
    fs::path side(const char* suffix) const { return line_.native / (std::string(family_.name) + suffix); }

    std::optional<WordFile> openFile(const fs::path& path, const char* missing) {
        report_.enterFile(path.string());
        std::error_code ignored;
        if (!fs::exists(fs::symlink_status(path, ignored))) {
            report_.error(missing, 0, "is not there");
            return std::nullopt;
        }
        try {
            return std::optional<WordFile>(std::in_place, path);
        } catch (const fs::filesystem_error& error) {
            report_.error("unreadable", 0, error.code().message());
            return std::nullopt;
        }
    }

    // The identity and the summary. False when the records cannot be told from the rest.
    bool readHead(WordFile& data) {
        try {
            std::uint32_t version = 0;
            const bool right = readIdentity(data, family_, dataFile, std::nullopt, report_, &version);
            version_ = version;
            layout_ = &layoutOf(family_, version);
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
        if (!layout_->item.empty() || isWithoutRecords_) {
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
        Run offsets(report_, &Report::error, "index-offset", indexPath_.string());
        Run beyond(report_, &Report::error, "index-beyond", indexPath_.string());
        Run times(report_, &Report::error, "index-time", indexPath_.string());
        SegmentWalk walk(segments_);
        std::vector<std::uint32_t> record(layout_->record.size());
        const auto timeWord = static_cast<std::size_t>(
            std::ranges::find(layout_->record, Role::time, &Word::role) - layout_->record.begin());
        std::optional<std::int32_t> previous;
        IndexEntry entry;
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
                if (index_ && index_->next(entry)) {
                    ++indexed_;
                    const std::uint64_t offsetWord = entry.position + wordSize;
                    if (entry.offset < 0 ||
                        static_cast<std::uint64_t>(entry.offset) + layout_->recordSize() > data.size()) {
                        beyond.hit(number, offsetWord, [&] {
                            return fmt::format("record {}: offset {} lies beyond the data file's {} bytes",
                                               number, entry.offset, data.size());
                        });
                    } else if (static_cast<std::uint64_t>(entry.offset) != offset) {
                        offsets.hit(number, offsetWord, [&] {
                            return fmt::format("record {}: offset {} where the record is at {}", number,
                                               entry.offset, offset);
                        });
                    }
                    if (entry.time != time) {
                        times.hit(number, entry.position, [&] {
                            return fmt::format("record {}: time {} where the record has {}", number,
                                               entry.time, time);
                        });
                    }
                }
                if (!readItems(data, number, offset, record, range)) {
                    records_ = number - 1;
                    break;
                }
                if (number % 65536 == 0) progress_.show(number * 100 / records_);
            }
        } catch (const Truncated& cut) {
            report_.enterFile(dataPath_.string());
            if (layout_->item.empty()) {
                report_.error("unreadable", cut.offset, "cannot be read on from here");
            } else {
                records_ = begun_ - 1;
                reportCut(data, cut.offset);
            }
        }
        for (Run* run : {&timesBack, &beyond, &offsets, &times})
            run->end();
        wrongTimes_ = times.hits();
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
            }
            items_ += count;
        }
        return true;
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

    bool isOlderThanData(const fs::path& path) const {
        std::error_code error;
        const auto side = fs::last_write_time(path, error);
        const auto data = fs::last_write_time(dataPath_, error);
        return !error && side < data;
    }

    // Saving statuses rewrites the data file and rightly leaves the index alone, so age alone proves nothing;
    // it only tells the likelier cause of a contradiction.
    const char* foreignCode(const fs::path& path) const {
        return isOlderThanData(path) ? "stale" : "mixed-set";
    }
    std::string foreignText(const fs::path& path) const {
        return isOlderThanData(path) ? "it is older than the data file, which was written anew"
                                     : "it belongs to another data file";
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
            report_.error(
                foreignCode(segmentsPath_), segments_.front().offset,
                fmt::format("no segment has the times of its records: {}", foreignText(segmentsPath_)));
    }

    void compareIndex() {
        if (!index_) return;
        const std::uint64_t entries = index_->drain();
        if (!index_->isWhole()) return;
        report_.enterFile(indexPath_.string());
        if (entries != *counted_) {
            report_.error(
                entries < *counted_ && isOlderThanData(indexPath_) ? "stale" : "index-count",
                identityWords * wordSize,
                fmt::format("has entries for {} records, the data file counts {}", entries, *counted_));
        }
        if (indexed_ > 0 && wrongTimes_ * 2 > indexed_)
            report_.error(foreignCode(indexPath_), index_->firstEntry(),
                          fmt::format("{} of {} entries have other times than the records: {}", wrongTimes_,
                                      indexed_, foreignText(indexPath_)));
    }

    // What the library says is what every program will say.
    void tryLibrary(bool clean) {
        if (!clean) return;
        try {
            OpenSet set(line_, family_, L"query");
        } catch (const ToolError& error) {
            report_.enterFile(dataPath_.string());
            report_.error("refused", 0, error.what());
        }
    }

    const LinePath& line_;
    const Family& family_;
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
    std::uint64_t countOffset_ = 0;
    std::uint64_t begun_ = 0; // the record that is being read
    bool isWithoutRecords_ = false;
    std::vector<RawSegment> segments_;
    std::optional<TimeIndex> index_;
    Range all_;
    std::uint64_t indexed_ = 0;
    std::uint64_t wrongTimes_ = 0;
};

} // namespace

SetResult checkSet(const LinePath& line, const Family& family, Report& report, Progress& progress) {
    report.enterSensor(family.name);
    return SetCheck(line, family, report, progress).run();
}

} // namespace skar::tool::check
