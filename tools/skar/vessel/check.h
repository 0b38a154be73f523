#pragma once

#include "check/report.h"
#include "vessel/document.h"

#include <cstdint>
#include <set>
#include <string>

namespace skar::tool::vessel {

// What a walk through a vessel file counts beside its findings.
struct Checked {
    std::uint64_t lists = 0;
    std::uint64_t entries = 0;
    std::set<std::uint32_t> transducers; // all numbers in it
    // Where the library gives up, with the reason; it has nothing of what follows.
    std::string refusal;
    std::uint64_t refusalLine = 0;
};

// Holds a document against what is known of vessel files. The offset of a finding is the number of its line.
Checked checkVessel(const Document& document, check::Report& report);

// Seconds on a scale without leap seconds of a text such as "2012-183 07:05:09". What the library refuses has
// a refusal, what it reads in spite of itself a remark.
struct DecodedTime {
    double seconds = 0.0;
    std::string refusal;
    std::string remark;
};
DecodedTime decodeTime(const std::string& text);

} // namespace skar::tool::vessel
