#pragma once

#include "check/run.h"
#include "check/timeindex.h"

#include <filesystem>
#include <optional>

namespace skar::tool::check {

// A file that was looked at, or the finding that it cannot be: `missing` when it is not there.
std::optional<WordFile> openFile(const std::filesystem::path& path, const char* missing, Report& report);

// A side file that contradicts its data file: what that is called and what is said of it. Saving statuses
// rewrites the data file and rightly leaves the side files alone, so age alone proves nothing; it only tells
// the likelier cause.
bool isOlder(const std::filesystem::path& side, const std::filesystem::path& data);
const char* foreignCode(const std::filesystem::path& side, const std::filesystem::path& data);
std::string foreignText(const std::filesystem::path& side, const std::filesystem::path& data);

// Holds a time index against the records, given in their order.
class IndexCheck {
public:
    // Without an index there is nothing to hold.
    IndexCheck(std::optional<TimeIndex>& index, Report& report, const std::filesystem::path& data,
               const std::filesystem::path& path);

    // A record of at least that size at an offset of a data file of `dataSize` bytes.
    void record(std::uint64_t number, std::uint64_t offset, std::uint64_t size, std::int32_t time,
                std::uint64_t dataSize);
    // Reports what runs of records share.
    void endRecords();
    // That there are as many entries as records counted, and that most of them are of this data file.
    // countOffset: of the word that tells the number of sets.
    void compareCount(std::uint64_t counted, std::uint64_t countOffset);

private:
    std::optional<TimeIndex>& index_;
    Report& report_;
    std::filesystem::path data_;
    std::filesystem::path path_;
    Run offsets_;
    Run beyond_;
    Run times_;
    std::uint64_t compared_ = 0;
};

} // namespace skar::tool::check
