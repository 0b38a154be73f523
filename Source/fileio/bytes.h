#pragma once

#include <boost/endian/conversion.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>

// Big-endian words in memory; the only place that knows the byte order of the files.
namespace skar::fileio {

inline constexpr std::size_t wordSize = 4;

inline std::uint32_t loadWord(const void* from) noexcept {
    std::uint32_t word;
    std::memcpy(&word, from, wordSize);
    return boost::endian::big_to_native(word);
}

inline void storeWord(void* to, std::uint32_t word) noexcept {
    word = boost::endian::native_to_big(word);
    std::memcpy(to, &word, wordSize);
}

// Turns a run of words in place.
void swapWords(void* words, std::size_t count) noexcept;

} // namespace skar::fileio
