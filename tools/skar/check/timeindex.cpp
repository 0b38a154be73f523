#include "check/timeindex.h"

#include "check/segments.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace skar::tool::check {

TimeIndex::TimeIndex(WordFile& file, const Family& family, std::optional<std::uint32_t> version,
                     Report& report, std::string path)
    : file_(file), report_(report), path_(std::move(path)) {
    readHead([&] { return readIdentity(file_, family, indexFile, version, report_); });
}

TimeIndex::TimeIndex(WordFile& file, std::optional<std::uint32_t> version, Report& report, std::string path)
    : file_(file), report_(report), path_(std::move(path)) {
    readHead([&] {
        const bool right = readToken(file_, report_);
        const std::uint32_t own = file_.word();
        if (version && own != *version) {
            report_.warning("version", wordSize,
                            fmt::format("is of version {}, the data file of version {}", own, *version));
        }
        return right;
    });
}

template <class Identify>
void TimeIndex::readHead(Identify identify) {
    report_.enterFile(path_);
    try {
        if (identify())
            readSets();
        else
            stop();
    } catch (const Truncated& cut) {
        error("truncated", cut.offset, fmt::format("ends at byte {}, within its head", file_.size()));
        stop();
    }
}

void TimeIndex::readSets() {
    const std::uint64_t countOffset = file_.position();
    const std::uint32_t count = file_.word();
    const std::uint64_t capacityOffset = file_.position();
    capacity_ = file_.word();
    setsOffset_ = file_.position();
    // Each set has its head and, further on, at least the number of its entries.
    if (count > file_.left() / ((indexSetWords + 1) * wordSize)) {
        error("index-size", countOffset,
              fmt::format("claims {} sets, more than its {} bytes can hold", count, file_.size()));
        stop();
        return;
    }
    if (capacity_ == 0 && count > 0) error("index-size", capacityOffset, "the capacity of a set is 0");
    for (std::uint32_t i = 0; i < count; ++i) {
        Set set;
        set.count = file_.word();
        set.minTime = static_cast<std::int32_t>(file_.word());
        set.maxTime = static_cast<std::int32_t>(file_.word());
        sets_.push_back(set);
        if (set.count > capacity_) {
            error("index-size", headOf(i),
                  fmt::format("set {}: has {} entries, a set holds {}", i + 1, set.count, capacity_));
        }
    }
    firstEntry_ = file_.position() + wordSize;
}

void TimeIndex::error(const char* code, std::uint64_t offset, std::string text) {
    report_.enterFile(path_);
    report_.error(code, offset, std::move(text));
}

bool TimeIndex::beginSet() {
    const std::size_t set = set_;
    const std::uint64_t offset = file_.position();
    const std::uint32_t count = file_.word();
    if (count != sets_[set].count) {
        error(
            "index-size", offset,
            fmt::format("set {}: has {} entries here and {} in its head", set + 1, count, sets_[set].count));
    }
    if (count > file_.left() / (indexEntryWords * wordSize)) {
        error("truncated", offset,
              fmt::format("ends at byte {} within set {} of {}", file_.size(), set + 1, sets_.size()));
        stop();
        return false;
    }
    ++set_;
    leftInSet_ = count;
    seen_ = {count, emptySetMin, std::numeric_limits<std::int32_t>::min()};
    return true;
}

void TimeIndex::endSet() {
    const Set& head = sets_[set_ - 1];
    if (seen_.minTime != head.minTime || seen_.maxTime != head.maxTime) {
        error("index-set-time", headOf(set_ - 1) + wordSize,
              fmt::format("set {}: its times are {} to {}, those of its entries {} to {}", set_, head.minTime,
                          head.maxTime, seen_.minTime, seen_.maxTime));
    }
}

bool TimeIndex::next(IndexEntry& entry) {
    if (ended_) return false;
    try {
        while (leftInSet_ == 0) {
            if (set_ > 0) endSet();
            if (set_ == sets_.size()) {
                ended_ = true;
                if (file_.left() > 0) {
                    error("trailing-bytes", file_.position(),
                          fmt::format("{} bytes follow the last entry", file_.left()));
                }
                return false;
            }
            if (!beginSet()) return false;
        }
        entry.position = file_.position();
        entry.time = static_cast<std::int32_t>(file_.word());
        entry.offset = static_cast<std::int32_t>(file_.word());
    } catch (const Truncated& cut) {
        error("truncated", cut.offset, fmt::format("ends at byte {}", file_.size()));
        stop();
        return false;
    }
    seen_.minTime = std::min(seen_.minTime, entry.time);
    seen_.maxTime = std::max(seen_.maxTime, entry.time);
    --leftInSet_;
    ++entries_;
    return true;
}

std::uint64_t TimeIndex::drain() {
    IndexEntry entry;
    while (next(entry)) {
    }
    return entries_;
}

} // namespace skar::tool::check
