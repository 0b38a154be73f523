#include <skar/errors.h>

namespace skar::errors {

namespace {

struct Entry {
    int number;
    const char* meaning;
};

#define SKAR_ENTRY(name, number, meaning) {number, meaning},
constexpr Entry blocks[] = {SKAR_CODE_BLOCKS(SKAR_ENTRY)};
constexpr Entry offsets[] = {SKAR_CODE_OFFSETS(SKAR_ENTRY)};
constexpr Entry singles[] = {SKAR_CODES(SKAR_ENTRY)};
#undef SKAR_ENTRY

constexpr int blockSize = 100;

template <std::size_t size>
const Entry* find(const Entry (&table)[size], long number) {
    for (const Entry& entry : table) {
        if (entry.number == number) return &entry;
    }
    return nullptr;
}

} // namespace

long codeOf(const boost::exception& thrown) noexcept {
    const long* code = boost::get_error_info<bathy::error::BathyException::tag_error_code>(thrown);
    return code == nullptr ? codes::failed : *code;
}

std::string meaningOf(long code) {
    if (const Entry* single = find(singles, code)) return single->meaning;
    const Entry* block = find(blocks, code - code % blockSize);
    const Entry* offset = find(offsets, code % blockSize);
    if (block == nullptr || offset == nullptr || block->number == codes::frame) return {};
    return std::string(block->meaning) + ": " + offset->meaning;
}

} // namespace skar::errors
