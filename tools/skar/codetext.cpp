#include "codetext.h"

#include <skar/codes.h>

#include <fmt/format.h>

namespace skar::tool {

namespace {

struct Entry {
    int number;
    const char* meaning;
};

#define SKAR_ENTRY(name, number, meaning) {number, meaning},
constexpr Entry singles[] = {SKAR_CODES(SKAR_ENTRY)};
constexpr Entry blocks[] = {SKAR_CODE_BLOCKS(SKAR_ENTRY)};
constexpr Entry offsets[] = {SKAR_CODE_OFFSETS(SKAR_ENTRY)};
#undef SKAR_ENTRY

constexpr int blockSize = 100;

} // namespace

std::string codeText(int code) {
    for (const Entry& single : singles) {
        if (single.number == code) return fmt::format("code {} ({})", code, single.meaning);
    }
    for (const Entry& block : blocks) {
        if (code <= block.number || code >= block.number + blockSize) continue;
        for (const Entry& offset : offsets) {
            if (block.number + offset.number == code)
                return fmt::format("code {} ({}: {})", code, block.meaning, offset.meaning);
        }
    }
    return fmt::format("code {}", code);
}

} // namespace skar::tool
