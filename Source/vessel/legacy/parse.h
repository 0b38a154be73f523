#pragma once

#include "vessel/legacy/tree.h"

#include <cstdio>
#include <string>

namespace skar::vessel::legacy {

// What a parse takes from outside.
struct Surroundings {
    // As std::realloc; std::free takes its blocks.
    void* (*allocate)(void* block, std::size_t size) = nullptr;
    // Where the parser's messages go; null for the error stream.
    std::FILE* messages = nullptr;
};

// The most bytes that a text may have: the history of a ship is some thousand lines.
inline constexpr std::size_t mostBytes = std::size_t{1} << 20;

// Reads a file with its line ends as line feeds. False if it cannot be read.
bool readText(const wchar_t* fileName, std::string& text);

// Parses the statements of a text. Null after any message, and for a text without a navigation entry.
// The scanner's trace file goes by the number of the process, so one parse runs at a time.
Tree parse(std::string text, const Surroundings& surroundings = {});

} // namespace skar::vessel::legacy
