#pragma once

#include "check/layout.h"
#include "check/report.h"
#include "check/wordfile.h"

#include <array>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace skar::tool::check {

// A word at the head of a file. False, with a finding, when it is another one.
bool readToken(WordFile& file, Report& report);
bool readFileType(WordFile& file, FileType type, Report& report);

struct Identity {
    std::uint32_t sensorType = 0;
    std::uint32_t version = 0;
};

// The four words at the head of a file. version: what the words should name, if the data file has told it.
// False when the file is of another kind; throws Truncated.
bool readIdentity(WordFile& file, const Family& family, FileType type, std::optional<std::uint32_t> version,
                  Report& report, Identity* found = nullptr);

// Encoded extents over records.
struct Range {
    bool any = false;
    std::int32_t minTime = std::numeric_limits<std::int32_t>::max();
    std::int32_t maxTime = std::numeric_limits<std::int32_t>::min();
    std::array<std::int32_t, maxQuantities> min = {minTime, minTime, minTime};
    std::array<std::int32_t, maxQuantities> max = {maxTime, maxTime, maxTime};

    void add(std::span<const Word> layout, std::span<const std::uint32_t> record);
    // What a word of that role should hold; nothing for a word that holds no extent.
    std::optional<std::int32_t> valueOf(const Word& word) const;
};

struct RawSegment {
    std::uint64_t offset = 0; // of the entry
    std::uint64_t beginOffset = 0;
    std::uint64_t extentsOffset = 0;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::vector<std::uint32_t> extents;
    Range real; // over its records, where no other segment claims them

    std::uint64_t endOffset() const { return beginOffset + wordSize; }
    bool hasRecords() const { return begin >= 1 && begin <= end; }
};

// All entries up to the first that cannot be read.
std::vector<RawSegment> readSegmentsFile(WordFile& file, const Family& family, const Layout& layout,
                                         std::optional<std::uint32_t> version, Report& report);

// That the segments follow one another without gap or overlap and end with the last record.
void checkSegmentRanges(const std::vector<RawSegment>& segments, std::uint64_t records, Report& report);

// Finds the segment of each record, for records asked for in order. A segment that overlaps one ahead of it
// is left out.
class SegmentWalk {
public:
    explicit SegmentWalk(std::vector<RawSegment>& segments) : segments_(segments) {}
    Range* at(std::uint64_t record);

private:
    std::vector<RawSegment>& segments_;
    std::size_t current_ = 0;
};

} // namespace skar::tool::check
