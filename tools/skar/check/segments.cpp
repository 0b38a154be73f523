#include "check/segments.h"

#include <fmt/format.h>

#include <algorithm>

namespace skar::tool::check {

namespace {

RawSegment readSegment(WordFile& file, const Layout& layout, std::size_t number, Report& report) {
    RawSegment segment;
    segment.offset = file.position();
    file.word(); // the status may be anything
    const std::uint32_t nameLength = file.word();
    const std::uint64_t lengthOffset = file.position();
    const std::uint32_t textLength = file.word();
    if (textLength != nameLength) {
        report.error("segment-name", lengthOffset,
                     fmt::format("segment {}: the length of its name is {} and then {}", number, nameLength,
                                 textLength));
    }
    file.text(textLength);
    const std::uint64_t paddingOffset = file.position();
    const std::string padding = file.text((wordSize - textLength % wordSize) % wordSize);
    if (std::ranges::any_of(padding, [](char c) { return c != '\0'; })) {
        report.warning("padding", paddingOffset,
                       fmt::format("segment {}: the bytes that fill up its name are not zero", number));
    }
    segment.beginOffset = file.position();
    segment.begin = file.word();
    segment.end = file.word();
    segment.extentsOffset = file.position();
    for (std::size_t i = 0; i < layout.segmentExtents.size(); ++i)
        segment.extents.push_back(file.word());
    return segment;
}

} // namespace

std::vector<RawSegment> readSegmentsFile(WordFile& file, const Family& family, const Layout& layout,
                                         std::optional<std::uint32_t> version, Report& report) {
    std::vector<RawSegment> segments;
    try {
        if (!readIdentity(file, family, segmentsFile, version, report)) return segments;
        const std::uint64_t countOffset = file.position();
        const auto count = static_cast<std::int32_t>(file.word());
        if (count < 0) {
            report.error("segment-count", countOffset, fmt::format("the number of segments is {}", count));
            return segments;
        }
        try {
            while (segments.size() < static_cast<std::size_t>(count))
                segments.push_back(readSegment(file, layout, segments.size() + 1, report));
        } catch (const Truncated&) {
            report.error("truncated", file.position(),
                         fmt::format("ends at byte {} within segment {} of {}", file.size(),
                                     segments.size() + 1, count));
            return segments;
        }
        if (file.left() > 0) {
            report.error("trailing-bytes", file.position(),
                         fmt::format("{} bytes follow the last segment", file.left()));
        }
    } catch (const Truncated& cut) {
        report.error("truncated", cut.offset, fmt::format("ends at byte {}, within its head", file.size()));
    }
    return segments;
}

void checkSegmentRanges(const std::vector<RawSegment>& segments, std::uint64_t records, Report& report) {
    std::uint64_t next = 1;
    std::uint64_t endOfLast = (identityWords * wordSize);
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const RawSegment& segment = segments[i];
        const std::uint64_t begin = segment.begin;
        const std::uint64_t end = segment.end;
        endOfLast = segment.endOffset();
        if (begin < 1 || end + 1 < begin) {
            report.error("segment-range", segment.beginOffset,
                         fmt::format("segment {}: goes from record {} to {}", i + 1, begin, end));
            continue;
        }
        if (end > records) {
            report.error("segment-range", segment.endOffset(),
                         fmt::format("segment {}: ends with record {} of {}", i + 1, end, records));
        }
        if (begin > next) {
            report.error("segment-gap", segment.beginOffset,
                         fmt::format("segment {}: begins with record {}; {} to {} are in no segment", i + 1,
                                     begin, next, begin - 1));
        } else if (begin < next) {
            report.error("segment-overlap", segment.beginOffset,
                         fmt::format("segment {}: begins with record {}, a segment ahead of it ends with {}",
                                     i + 1, begin, next - 1));
        }
        next = std::max(next, end + 1);
    }
    if (next <= records) {
        report.error("segment-gap", endOfLast,
                     fmt::format("records {} to {} are in no segment", next, records));
    }
}

Range* SegmentWalk::at(std::uint64_t record) {
    while (current_ < segments_.size() &&
           (!segments_[current_].hasRecords() || segments_[current_].end < record))
        ++current_;
    if (current_ == segments_.size() || segments_[current_].begin > record) return nullptr;
    return &segments_[current_].real;
}

} // namespace skar::tool::check
