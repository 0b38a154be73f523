#pragma once

#include "check/layout.h"
#include "check/report.h"
#include "check/wordfile.h"

#include <optional>
#include <string>
#include <vector>

namespace skar::tool::check {

struct IndexEntry {
    std::uint64_t position = 0; // of the entry in the index file
    std::int32_t time = 0;
    std::int32_t offset = 0;
};

// A time index, read entry by entry; what contradicts itself is reported on the way.
class TimeIndex {
public:
    TimeIndex(WordFile& file, const Family& family, std::optional<std::uint32_t> version, Report& report,
              std::string path);
    // That of a file that describes itself: its head names the version only.
    TimeIndex(WordFile& file, std::optional<std::uint32_t> version, Report& report, std::string path);

    // The next entry; false after the last.
    bool next(IndexEntry& entry);
    // Reads what is left. The number of all entries.
    std::uint64_t drain();
    // False when the index could not be read to its end.
    bool isWhole() const { return whole_; }
    std::uint64_t firstEntry() const { return firstEntry_; }

private:
    struct Set {
        std::uint32_t count = 0;
        std::int32_t minTime = 0;
        std::int32_t maxTime = 0;
    };

    template <class Identify>
    void readHead(Identify identify);
    void readSets();
    void error(const char* code, std::uint64_t offset, std::string text);
    bool beginSet();
    void endSet();
    void stop() {
        whole_ = false;
        ended_ = true;
    }
    std::uint64_t headOf(std::size_t set) const { return setsOffset_ + set * indexSetWords * wordSize; }

    WordFile& file_;
    Report& report_;
    std::string path_;
    std::uint32_t capacity_ = 0;
    std::uint64_t setsOffset_ = 0;
    std::uint64_t firstEntry_ = 0;
    std::vector<Set> sets_;
    std::size_t set_ = 0;         // the one that is being read, from 1
    std::uint32_t leftInSet_ = 0; // entries
    Set seen_;                    // what the entries of the set say
    std::uint64_t entries_ = 0;
    bool ended_ = false;
    bool whole_ = true;
};

} // namespace skar::tool::check
