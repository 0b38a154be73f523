#include "check/indexcheck.h"

namespace skar::tool::check {

namespace fs = std::filesystem;

std::optional<WordFile> openFile(const fs::path& path, const char* missing, Report& report) {
    report.enterFile(path.string());
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(path, ignored))) {
        report.error(missing, 0, "is not there");
        return std::nullopt;
    }
    try {
        return std::optional<WordFile>(std::in_place, path);
    } catch (const fs::filesystem_error& error) {
        report.error("unreadable", 0, error.code().message());
        return std::nullopt;
    }
}

bool isOlder(const fs::path& side, const fs::path& data) {
    std::error_code error;
    const auto sideTime = fs::last_write_time(side, error);
    const auto dataTime = fs::last_write_time(data, error);
    return !error && sideTime < dataTime;
}

const char* foreignCode(const fs::path& side, const fs::path& data) {
    return isOlder(side, data) ? "stale" : "mixed-set";
}

std::string foreignText(const fs::path& side, const fs::path& data) {
    return isOlder(side, data) ? "it is older than the data file, which was written anew"
                               : "it belongs to another data file";
}

IndexCheck::IndexCheck(std::optional<TimeIndex>& index, Report& report, const fs::path& data,
                       const fs::path& path)
    : index_(index), report_(report), data_(data), path_(path),
      offsets_(report, &Report::error, "index-offset", path.string()),
      beyond_(report, &Report::error, "index-beyond", path.string()),
      times_(report, &Report::error, "index-time", path.string()) {}

void IndexCheck::record(std::uint64_t number, std::uint64_t offset, std::uint64_t size, std::int32_t time,
                        std::uint64_t dataSize) {
    IndexEntry entry;
    if (!index_ || !index_->next(entry)) return;
    ++compared_;
    const std::uint64_t offsetWord = entry.position + wordSize;
    if (entry.offset < 0 || static_cast<std::uint64_t>(entry.offset) + size > dataSize) {
        beyond_.hit(number, offsetWord, [&] {
            return fmt::format("record {}: offset {} lies beyond the data file's {} bytes", number,
                               entry.offset, dataSize);
        });
    } else if (static_cast<std::uint64_t>(entry.offset) != offset) {
        offsets_.hit(number, offsetWord, [&] {
            return fmt::format("record {}: offset {} where the record is at {}", number, entry.offset,
                               offset);
        });
    }
    if (entry.time != time) {
        times_.hit(number, entry.position, [&] {
            return fmt::format("record {}: time {} where the record has {}", number, entry.time, time);
        });
    }
}

void IndexCheck::endRecords() {
    for (Run* run : {&beyond_, &offsets_, &times_})
        run->end();
}

void IndexCheck::compareCount(std::uint64_t counted, std::uint64_t countOffset) {
    if (!index_) return;
    const std::uint64_t entries = index_->drain();
    if (!index_->isWhole()) return;
    report_.enterFile(path_.string());
    if (entries != counted) {
        report_.error(entries < counted && isOlder(path_, data_) ? "stale" : "index-count", countOffset,
                      fmt::format("has entries for {} records, the data file counts {}", entries, counted));
    }
    if (compared_ > 0 && times_.hits() * 2 > compared_)
        report_.error(foreignCode(path_, data_), index_->firstEntry(),
                      fmt::format("{} of {} entries have other times than the records: {}", times_.hits(),
                                  compared_, foreignText(path_, data_)));
}

} // namespace skar::tool::check
