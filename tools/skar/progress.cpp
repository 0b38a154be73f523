#include "progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace skar::tool {

namespace {

// A terminal is a character device; of the others only the null device is ever standard error, and it does
// not mind.
bool isPersonWatching() {
    std::error_code ignored;
    return std::filesystem::is_character_file("/dev/stderr", ignored);
}

} // namespace

Progress::Progress(const Common& common, std::uint64_t total)
    : enabled_(common.progress && isPersonWatching()), total_(std::max<std::uint64_t>(total, 1)),
      nextShow_(Clock::now() + std::chrono::seconds(1)) {}

void Progress::next(std::string label, std::uint64_t total) {
    label_ = std::move(label);
    total_ = std::max<std::uint64_t>(total, 1);
}

void Progress::show(std::uint64_t done) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now < nextShow_) return;
    nextShow_ = now + std::chrono::milliseconds(200);
    fmt::print(stderr, "\r\x1B[K{} {:3d}%", label_, std::min<std::uint64_t>(done, total_) * 100 / total_);
    std::fflush(stderr);
    shown_ = true;
}

void Progress::wipe() {
    if (!shown_) return;
    fmt::print(stderr, "\r\x1B[K");
    std::fflush(stderr);
    shown_ = false;
}

} // namespace skar::tool
