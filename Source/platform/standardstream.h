#pragma once

#include <cstdio>

// The process's three streams, which everything that prints relies on: they are turned to another file as
// they are, never closed.
namespace skar::platform {

bool isStandardStream(const std::FILE* stream) noexcept;

// Turns a standard stream to a file. False, with errno set and the stream as it was, if that cannot be
// opened.
bool turnStandardStream(const wchar_t* path, const char* mode, std::FILE* stream);

// Closes the file that a standard stream was turned to; what is printed from then on goes nowhere.
void leaveStandardStream(std::FILE* stream) noexcept;

} // namespace skar::platform
