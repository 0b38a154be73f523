#pragma once

#include <cstdint>
#include <string>

namespace skar::tests {

inline void putLittle(std::string& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out.push_back(static_cast<char>(value >> (8 * i)));
    }
}

// UTF-16 without a terminator.
inline void putUtf16(std::string& out, const std::u16string& text) {
    for (const char16_t unit : text) {
        putLittle(out, unit, 2);
    }
}

// The bytes of a shortcut that gives its target relative to itself, in full, or both; empty leaves one out.
inline std::string shortcutBytes(const std::u16string& relativePath, const std::string& localPath) {
    constexpr std::uint32_t hasLinkInfo = 0x02;
    constexpr std::uint32_t hasRelativePath = 0x08;
    constexpr std::uint32_t isUnicode = 0x80;
    std::string out;
    putLittle(out, 76, 4);
    out += std::string("\x01\x14\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
    putLittle(
        out, isUnicode | (localPath.empty() ? 0 : hasLinkInfo) | (relativePath.empty() ? 0 : hasRelativePath),
        4);
    putLittle(out, 0x20, 4);
    out += std::string(24, '\0');
    putLittle(out, 0, 4);
    putLittle(out, 0, 4);
    putLittle(out, 1, 4);
    out += std::string(12, '\0');
    if (!localPath.empty()) {
        constexpr std::uint32_t infoHeader = 28;
        constexpr std::uint32_t volume = 17;
        const auto pathSize = static_cast<std::uint32_t>(localPath.size() + 1);
        putLittle(out, infoHeader + volume + pathSize + 1, 4);
        putLittle(out, infoHeader, 4);
        putLittle(out, 1, 4);
        putLittle(out, infoHeader, 4);
        putLittle(out, infoHeader + volume, 4);
        putLittle(out, 0, 4);
        putLittle(out, infoHeader + volume + pathSize, 4);
        putLittle(out, volume, 4);
        putLittle(out, 3, 4);
        putLittle(out, 0x12345678, 4);
        putLittle(out, 16, 4);
        out.push_back('\0');
        out += localPath;
        out += std::string(2, '\0');
    }
    if (!relativePath.empty()) {
        putLittle(out, relativePath.size(), 2);
        putUtf16(out, relativePath);
    }
    putLittle(out, 0, 4);
    return out;
}

} // namespace skar::tests
