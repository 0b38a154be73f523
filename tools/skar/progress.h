#pragma once

#include "commands/command.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace skar::tool {

// A line on standard error that counts up while something takes longer than a second; nothing when standard
// error is no terminal or progress was switched off. The line is wiped at the end.
class Progress {
public:
    Progress(const Common& common, std::uint64_t total);
    ~Progress() { wipe(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void setLabel(std::string label) { label_ = std::move(label); }
    // The next of several things to count, up to a total of its own.
    void next(std::string label, std::uint64_t total);
    // done: of the total, from its start. To be called every few thousand records.
    void show(std::uint64_t done);
    void wipe();

private:
    using Clock = std::chrono::steady_clock;
    bool enabled_;
    bool shown_ = false;
    std::uint64_t total_;
    std::string label_;
    Clock::time_point nextShow_;
};

} // namespace skar::tool
