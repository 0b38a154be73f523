#pragma once

#include <boost/endian/conversion.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace skar::platform {

// Bytes of a file of the store's platform, with little-endian words in them; what lies outside reads as
// nothing.
class ByteBlock {
public:
    ByteBlock() = default;
    explicit ByteBlock(std::vector<unsigned char> content) : bytes(std::move(content)) {}
    explicit ByteBlock(const std::string& content) : bytes(content.begin(), content.end()) {}

    std::size_t size() const { return bytes.size(); }
    std::optional<std::uint8_t> byte(std::size_t at) const {
        return has(at, 1) ? std::optional(bytes[at]) : std::nullopt;
    }
    std::optional<std::uint16_t> word16(std::size_t at) const {
        return has(at, 2) ? std::optional(boost::endian::load_little_u16(bytes.data() + at)) : std::nullopt;
    }
    std::optional<std::uint32_t> word32(std::size_t at) const {
        return has(at, 4) ? std::optional(boost::endian::load_little_u32(bytes.data() + at)) : std::nullopt;
    }
    // UTF-16 units up to a terminator or to the byte `limit`; a lone surrogate shows as U+FFFD.
    std::wstring utf16(std::size_t at, std::size_t limit) const {
        std::wstring result;
        for (; at + 2 <= limit; at += 2) {
            const auto unit = word16(at);
            if (!unit || *unit == 0) {
                break;
            }
            const auto next = at + 4 <= limit ? word16(at + 2) : std::nullopt;
            if ((*unit & 0xFC00) == 0xD800 && next && (*next & 0xFC00) == 0xDC00) {
                result.push_back(static_cast<wchar_t>(0x10000 + ((*unit & 0x3FFu) << 10) + (*next & 0x3FFu)));
                at += 2;
            } else {
                result.push_back((*unit & 0xF800) == 0xD800 ? L'\uFFFD' : static_cast<wchar_t>(*unit));
            }
        }
        return result;
    }
    // Bytes up to a terminator or to the byte `limit`.
    std::string narrow(std::size_t at, std::size_t limit) const {
        std::string result;
        for (; at < limit && has(at, 1) && bytes[at] != 0; ++at) {
            result.push_back(static_cast<char>(bytes[at]));
        }
        return result;
    }

private:
    bool has(std::size_t at, std::size_t count) const {
        return at <= bytes.size() && count <= bytes.size() - at;
    }

    std::vector<unsigned char> bytes;
};

} // namespace skar::platform
