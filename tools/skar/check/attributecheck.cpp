#include "check/attributecheck.h"

#include "attributefile.h"
#include "check/indexcheck.h"
#include "check/segments.h"
#include "openset.h"

#include <skar/attributetypes.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace skar::tool::check {

namespace fs = std::filesystem;
using SKARIOAttributes::dataType;
using SKARIOAttributes::typeRow;
using SKARIOAttributes::valueCoding;

namespace {

constexpr std::uint64_t summaryOffset = identityWords * wordSize;
constexpr std::uint32_t newestAttributeVersion = 2;
constexpr std::uint32_t longestName = 256;
constexpr std::uint64_t smallestSummaryWords = 14;
// Words of a record ahead of its attributes.
constexpr std::uint64_t recordHeadWords = 3;

struct WordAt {
    std::uint32_t value = 0;
    std::uint64_t offset = 0;
};

// Left where the summary or a record cannot be read on; what is wrong has been reported.
struct Stop {};

class AttributeCheck {
public:
    AttributeCheck(const LinePath& line, const std::string& name, Report& report, Progress& progress)
        : line_(line), name_(name), report_(report), progress_(progress), dataPath_(line.native / name),
          indexPath_(line.native / (name + indexSuffix)), entries_(index_, report, dataPath_, indexPath_),
          timesBack_(report, &Report::warning, "time-order", dataPath_.string()) {}

    SetResult run() {
        const std::uint64_t errorsBefore = report_.errors();
        std::optional<WordFile> data = openFile(dataPath_, "data-missing", report_);
        const bool readable = data && readHead(*data);
        std::optional<WordFile> indexFile = openFile(indexPath_, "index-missing", report_);
        const std::optional<std::uint32_t> version = readable ? std::optional(version_) : std::nullopt;
        if (indexFile) index_.emplace(*indexFile, version, report_, indexPath_.string());
        if (readable) {
            readRecords(*data);
            compareSummary();
            entries_.compareCount(counted_.value, indexCountOffset);
        } else if (index_) {
            index_->drain();
        }
        if (report_.errors() == errorsBefore) tryLibrary();
        return {records_, 0};
    }

private:
    static constexpr std::uint64_t indexCountOffset = 2 * wordSize;

    // False when the records cannot be told from the rest.
    bool readHead(WordFile& data) {
        try {
            bool right = readToken(data, report_);
            data.word(); // the sensor may be any
            right = readFileType(data, dataFile, report_) && right;
            const std::uint64_t versionOffset = data.position();
            version_ = data.word();
            if (version_ < 1 || version_ > newestAttributeVersion) {
                report_.warning(
                    "version", versionOffset,
                    fmt::format("is of version {}, known is {}", version_, newestAttributeVersion));
            }
            readSummary(data);
            return right;
        } catch (const Truncated& cut) {
            report_.error("truncated", cut.offset,
                          fmt::format("ends at byte {} within its summary", data.size()));
        } catch (const Stop&) {
        }
        return false;
    }

    WordAt wordAt(WordFile& file) {
        WordAt at{0, file.position()};
        at.value = file.word();
        return at;
    }

    void readSummary(WordFile& data) {
        const WordAt size = wordAt(data);
        if (size.value > data.size() - summaryOffset) {
            report_.error(
                "truncated", size.offset,
                fmt::format("ends at byte {} within its summary of {} bytes", data.size(), size.value));
            throw Stop();
        }
        const bool hasDataVersion = version_ == newestAttributeVersion;
        const std::uint64_t smallest =
            (hasDataVersion ? smallestSummaryWords + 1 : smallestSummaryWords) * wordSize;
        if (size.value < smallest) {
            report_.error(
                "summary-size", size.offset,
                fmt::format("the summary says {} bytes, the smallest has {}", size.value, smallest));
            throw Stop();
        }
        end_ = summaryOffset + size.value;
        if (hasDataVersion) data.word();
        readText(data, "the source file's name", std::numeric_limits<std::uint32_t>::max(), wordAt(data));
        data.word(); // the status may be anything
        counted_ = wordAt(data);
        const WordAt scale = wordAt(data);
        if (static_cast<std::int32_t>(scale.value) <= 0) {
            report_.error(
                "scale", scale.offset,
                fmt::format("time scale is {}, must be above 0", static_cast<std::int32_t>(scale.value)));
        }
        data.word(); // any minute may be the reference
        minTime_ = wordAt(data);
        maxTime_ = wordAt(data);
        const WordAt summaryCount = wordAt(data);
        data.word();
        const WordAt dataCount = wordAt(data);
        data.word();
        const std::vector<dataType> summaryTypes = readAttributes(data, summaryCount);
        for (std::size_t i = 0; i < summaryTypes.size(); ++i)
            readValue(data, summaryTypes[i], [&] { return fmt::format("summary attribute {}", i + 1); });
        largest_ = wordAt(data);
        types_ = readAttributes(data, dataCount);
        if (data.position() != end_) {
            report_.error("summary-size", size.offset,
                          fmt::format("the summary is {} bytes long and says {}",
                                      data.position() - summaryOffset, size.value));
            throw Stop();
        }
    }

    // A text whose length has been told once already, or has not.
    void readText(WordFile& file, const char* what, std::uint32_t longest,
                  std::optional<WordAt> told = std::nullopt) {
        const WordAt length = wordAt(file);
        if (told && told->value != length.value) {
            report_.error("value-length", length.offset,
                          fmt::format("the length of {} is {} and then {}", what, told->value, length.value));
            throw Stop();
        }
        if (length.value > longest) {
            report_.error(
                "attribute-name", length.offset,
                fmt::format("{} is {} bytes long, the longest are {}", what, length.value, longest));
            throw Stop();
        }
        skip(file, length, what);
    }

    // The types; each attribute has a type and a name.
    std::vector<dataType> readAttributes(WordFile& file, const WordAt& count) {
        if (count.value > left(file) / (2 * wordSize)) {
            report_.error("attribute-count", count.offset,
                          fmt::format("claims {} attributes, more than the summary can hold", count.value));
            throw Stop();
        }
        std::vector<dataType> types;
        for (std::uint32_t i = 0; i < count.value; ++i) {
            const WordAt type = wordAt(file);
            types.push_back(static_cast<dataType>(type.value));
            if (SKARIOAttributes::rowOf(types.back()) == nullptr) {
                report_.warning("attribute-type", type.offset,
                                fmt::format("attribute {} is of type {}, which is none; it has no values",
                                            i + 1, type.value));
            }
            readText(file, "the name of an attribute", longestName);
        }
        return types;
    }

    std::uint64_t left(const WordFile& file) const {
        return file.position() < end_ ? end_ - file.position() : 0;
    }

    // Passes over bytes and what fills them up to a word.
    template <class What>
    void skip(WordFile& file, const WordAt& length, const What& what) {
        const std::uint64_t words = (std::uint64_t{length.value} + wordSize - 1) / wordSize;
        if (words * wordSize > left(file)) {
            report_.error("value-length", length.offset,
                          fmt::format("{}: {} bytes, more than are left", what, length.value));
            throw Stop();
        }
        std::uint32_t last = 0;
        for (std::uint64_t i = 0; i < words; ++i)
            last = file.word();
        const std::uint64_t filled = words * wordSize - length.value;
        if ((last & ((std::uint64_t{1} << 8 * filled) - 1)) != 0) {
            report_.warning("padding", file.position() - filled,
                            fmt::format("{}: the bytes that fill it up are not zero", what));
        }
    }

    template <class What>
    void readValue(WordFile& file, dataType type, What what) {
        const typeRow* row = SKARIOAttributes::rowOf(type);
        if (row == nullptr) return;
        if (!row->isVariable()) {
            if (row->scalarSize() > left(file)) {
                report_.error("value-length", file.position(), fmt::format("{}: is not there whole", what()));
                throw Stop();
            }
            for (std::size_t i = 0; i < row->scalarSize() / wordSize; ++i)
                file.word();
            return;
        }
        if (left(file) < wordSize) {
            report_.error("value-length", file.position(), fmt::format("{}: is not there whole", what()));
            throw Stop();
        }
        const WordAt count = wordAt(file);
        if (count.value == 0) return;
        const WordAt bytes = left(file) < wordSize ? WordAt{} : wordAt(file);
        if (std::uint64_t{count.value} * row->width != bytes.value) {
            report_.error("value-length", count.offset,
                          fmt::format("{}: {} elements of {} bytes, then {} bytes", what(), count.value,
                                      row->width, bytes.value));
            throw Stop();
        }
        skip(file, bytes, what());
    }

    void readRecords(WordFile& data) {
        try {
            for (std::uint64_t number = 1; number <= counted_.value; ++number) {
                readRecord(data, number);
                records_ = number;
                if (number % 65536 == 0) progress_.show(number * 100 / counted_.value);
            }
        } catch (const Truncated& cut) {
            report_.enterFile(dataPath_.string());
            report_.error("truncated", cut.offset,
                          fmt::format("ends at byte {} within record {}, the summary counts {}", data.size(),
                                      records_ + 1, counted_.value));
        } catch (const Stop&) {
        }
        timesBack_.end();
        entries_.endRecords();
        if (records_ != counted_.value || data.left() == 0) return;
        report_.enterFile(dataPath_.string());
        if (counted_.value == 0) {
            report_.error("summary-count", counted_.offset,
                          "the summary counts no records, the file holds some; its writing was not finished");
        }
        report_.error("trailing-bytes", data.position(),
                      fmt::format("{} bytes follow the last record counted", data.left()));
    }

    void readRecord(WordFile& data, std::uint64_t number) {
        report_.enterFile(dataPath_.string());
        const std::uint64_t offset = data.position();
        const bool sized = version_ == newestAttributeVersion;
        const std::uint32_t size = sized ? data.word() : largest_.value;
        const std::uint64_t head = (sized ? recordHeadWords : recordHeadWords - 1) * wordSize;
        if (size < head || size > data.size() - offset) {
            const bool cut = size >= head;
            report_.error(
                cut ? "truncated" : "record-size", offset,
                cut ? fmt::format("ends at byte {} within record {} of {} bytes", data.size(), number, size)
                    : fmt::format("record {}: a size of {} bytes", number, size));
            throw Stop();
        }
        end_ = offset + size;
        data.word(); // the status may be anything
        const WordAt time = wordAt(data);
        for (std::size_t i = 0; i < types_.size(); ++i)
            readValue(data, types_[i], [&] { return fmt::format("record {}, attribute {}", number, i + 1); });
        if (data.position() != end_) {
            report_.error("record-size", offset,
                          fmt::format("record {}: says {} bytes, its attributes take {}", number, size,
                                      data.position() - offset));
            if (left(data) % wordSize != 0) throw Stop();
            while (left(data) != 0)
                data.word();
        }
        takeTime(number, time);
        seenLargest_ = std::max(seenLargest_, size);
        entries_.record(number, offset, size, static_cast<std::int32_t>(time.value), data.size());
    }

    void takeTime(std::uint64_t number, const WordAt& time) {
        const auto ticks = static_cast<std::int32_t>(time.value);
        if (number > 1 && ticks < previous_) {
            timesBack_.hit(number, time.offset, [&] {
                return fmt::format("record {}: the time goes back by {} ticks", number,
                                   std::int64_t{previous_} - ticks);
            });
        }
        previous_ = ticks;
        seenMin_ = std::min(seenMin_, ticks);
        seenMax_ = std::max(seenMax_, ticks);
    }

    void compareSummary() {
        if (records_ == 0 || records_ != counted_.value) return;
        report_.enterFile(dataPath_.string());
        const struct {
            const char* name;
            const WordAt& stored;
            std::int32_t real;
        } times[] = {{"smallest time", minTime_, seenMin_}, {"largest time", maxTime_, seenMax_}};
        for (const auto& [name, stored, real] : times) {
            const auto ticks = static_cast<std::int32_t>(stored.value);
            if (ticks != real) {
                report_.error("summary-extent", stored.offset,
                              fmt::format("{} is {} in the summary, {} in the records", name, ticks, real));
            }
        }
        if (largest_.value != seenLargest_) {
            report_.error(
                "largest-record", largest_.offset,
                fmt::format("the largest record is of {} bytes in the summary, of {} among the records",
                            largest_.value, seenLargest_));
        }
    }

    // What the library says is what every program will say.
    void tryLibrary() {
        try {
            const OpenAttributes file(line_, name_);
        } catch (const ToolError& error) {
            report_.enterFile(dataPath_.string());
            report_.error("refused", 0, error.what());
        }
    }

    const LinePath& line_;
    const std::string& name_;
    Report& report_;
    Progress& progress_;
    fs::path dataPath_;
    fs::path indexPath_;

    std::uint32_t version_ = 0;
    std::uint64_t end_ = 0; // of the summary, then of the record that is being read
    WordAt counted_;        // records, by the summary
    WordAt minTime_;
    WordAt maxTime_;
    WordAt largest_;
    std::vector<dataType> types_; // of a record's values
    std::uint64_t records_ = 0;
    std::optional<TimeIndex> index_;
    IndexCheck entries_;
    Run timesBack_;
    std::int32_t previous_ = 0;
    std::int32_t seenMin_ = std::numeric_limits<std::int32_t>::max();
    std::int32_t seenMax_ = std::numeric_limits<std::int32_t>::min();
    std::uint32_t seenLargest_ = 0;
};

} // namespace

SetResult checkAttributes(const LinePath& line, const std::string& name, Report& report, Progress& progress) {
    report.enterSensor(name);
    return AttributeCheck(line, name, report, progress).run();
}

} // namespace skar::tool::check
