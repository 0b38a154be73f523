#pragma once

#include "commands/command.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdio>

namespace skar::tool {

// Standard output by large blocks; a reader that has gone away ends the command.
class Sink {
public:
    fmt::memory_buffer& text() { return text_; }
    void flushWhenFull() {
        if (text_.size() >= bufferSize) flush();
    }
    void flush() {
        if (std::fwrite(text_.data(), 1, text_.size(), stdout) != text_.size())
            throw ToolError("standard output could not be written");
        text_.clear();
    }

private:
    static constexpr std::size_t bufferSize = 1U << 18U;
    fmt::memory_buffer text_;
};

} // namespace skar::tool
