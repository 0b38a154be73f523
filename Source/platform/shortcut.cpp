#include "platform/byteblock.h"
#include "platform/file.h"

#include <skar/platform.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

using MORVAPP::MORVAUString;
using skar::platform::ByteBlock;

namespace {

constexpr std::size_t largestShortcut = 1 << 20;
constexpr int mostShortcuts = 40;
constexpr wchar_t extension[] = L".lnk";

// The target of a shortcut file: relative to itself, on a local volume, on a network share. Empty where it is
// not given, all empty if the bytes are no shortcut.
struct Targets {
    std::wstring relative;
    std::wstring local;
    std::wstring network;
};

class ShortcutReader {
public:
    explicit ShortcutReader(const std::string& content) : bytes(content) {}

    Targets read() {
        constexpr std::uint32_t headerSize = 76;
        constexpr std::string_view classId("\x01\x14\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46",
                                           16);
        const auto flags = bytes.word32(20);
        if (bytes.word32(0) != headerSize || !flags) {
            return {};
        }
        for (std::size_t i = 0; i < classId.size(); ++i) {
            if (bytes.byte(4 + i) != static_cast<std::uint8_t>(classId[i])) {
                return {};
            }
        }
        Targets targets;
        std::size_t at = headerSize;
        if ((*flags & hasIdList) != 0) {
            at += 2 + std::size_t{bytes.word16(at).value_or(0)};
        }
        if ((*flags & hasLinkInfo) != 0) {
            at += readLinkInfo(at, targets);
        }
        const std::size_t unit = (*flags & isUnicode) != 0 ? 2 : 1;
        if ((*flags & hasName) != 0) {
            at += 2 + unit * bytes.word16(at).value_or(0);
        }
        if ((*flags & hasRelativePath) != 0) {
            const std::size_t end = at + 2 + unit * bytes.word16(at).value_or(0);
            if (end <= bytes.size()) {
                targets.relative = unit == 2 ? bytes.utf16(at + 2, end) : windowsText(at + 2, end);
            }
        }
        return targets;
    }

private:
    enum Flag : std::uint32_t {
        hasIdList = 0x01,
        hasLinkInfo = 0x02,
        hasName = 0x04,
        hasRelativePath = 0x08,
        isUnicode = 0x80,
    };

    std::wstring windowsText(std::size_t at, std::size_t limit) const {
        return MORVAUString(bytes.narrow(at, limit).c_str(), "windows-1252").toWide();
    }

    // The text that a word of a structure gives the place of, in UTF-16 if the structure has a place for that
    // too.
    std::wstring textAt(std::size_t start, std::size_t end, std::size_t narrowWord,
                        std::optional<std::size_t> wideWord) const {
        const auto wide = wideWord ? bytes.word32(start + *wideWord).value_or(0) : 0;
        if (wide != 0) {
            return bytes.utf16(start + wide, end);
        }
        const auto narrow = bytes.word32(start + narrowWord).value_or(0);
        return narrow == 0 ? std::wstring() : windowsText(start + narrow, end);
    }

    // Returns the size of the structure; what does not fit the file ends the reading behind it.
    std::size_t readLinkInfo(std::size_t at, Targets& targets) const {
        constexpr std::uint32_t hasLocalPath = 1;
        constexpr std::uint32_t hasNetworkPath = 2;
        constexpr std::uint32_t headerWithUnicode = 36;
        constexpr std::uint32_t networkWithUnicode = 20;
        const auto size = bytes.word32(at);
        const auto header = bytes.word32(at + 4);
        const auto flags = bytes.word32(at + 8);
        if (!size || !header || !flags || *size > bytes.size() - at) {
            return bytes.size();
        }
        const std::size_t end = at + *size;
        const bool unicode = *header >= headerWithUnicode;
        const auto word = [unicode](std::size_t place) {
            return unicode ? std::optional<std::size_t>(place) : std::nullopt;
        };
        const std::wstring suffix = textAt(at, end, 24, word(32));
        if ((*flags & hasLocalPath) != 0) {
            targets.local = textAt(at, end, 16, word(28)) + suffix;
        }
        const auto network = bytes.word32(at + 20);
        if ((*flags & hasNetworkPath) != 0 && network && *network < *size) {
            const std::size_t start = at + *network;
            const bool wide = bytes.word32(start + 8).value_or(0) > networkWithUnicode;
            targets.network =
                textAt(start, end, 8, wide ? std::optional<std::size_t>(networkWithUnicode) : std::nullopt);
            if (!targets.network.empty() && !suffix.empty()) {
                targets.network += L'\\' + suffix;
            }
        }
        return *size;
    }

    ByteBlock bytes;
};

bool isSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

constexpr wchar_t separators[] = L"\\/";

// Puts a relative target behind the directory of its shortcut; "." and ".." are worked off as far as they go.
std::wstring besideShortcut(const std::wstring& shortcut, const std::wstring& relative) {
    const auto end = shortcut.find_last_of(separators);
    std::wstring path = end == std::wstring::npos ? std::wstring() : shortcut.substr(0, end + 1);
    for (std::size_t at = 0; at < relative.size();) {
        const std::size_t next = std::min(relative.find_first_of(separators, at), relative.size());
        const std::wstring element = relative.substr(at, next - at);
        at = next + 1;
        if (element.empty() || element == L".") {
            continue;
        }
        const bool hasParent = path.size() > 1 && path.substr(0, path.size() - 1) != L"." &&
                               !path.ends_with(L"..\\") && !path.ends_with(L"../");
        if (element == L".." && hasParent) {
            const auto parent = path.find_last_of(separators, path.size() - 2);
            path.erase(parent == std::wstring::npos ? 0 : parent + 1);
        } else {
            path += element;
            if (next < relative.size()) {
                path += L'\\';
            }
        }
    }
    return path;
}

std::optional<std::wstring> targetOf(const std::wstring& shortcut) {
    std::string bytes;
    if (!skar::platform::readFile(shortcut.c_str(), largestShortcut, bytes) || bytes.empty()) {
        return std::nullopt;
    }
    const Targets targets = ShortcutReader(bytes).read();
    const std::wstring near =
        targets.relative.empty() ? std::wstring() : besideShortcut(shortcut, targets.relative);
    for (const std::wstring* target : {&near, &targets.local, &targets.network}) {
        if (!target->empty() && skar::platform::pathAccessible(target->c_str())) {
            return *target;
        }
    }
    return std::nullopt;
}

struct Stretch {
    std::size_t end;
    std::wstring target;
};

// The first element of the path that is a shortcut with a target; `stayed` tells of others ahead of it.
std::optional<Stretch> firstShortcut(const std::wstring& path, bool& stayed) {
    stayed = false;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find_first_of(separators, at), path.size());
        if (path.substr(at, end - at).find(extension) != std::wstring::npos) {
            if (auto target = targetOf(path.substr(0, end))) {
                return Stretch{end, *target};
            }
            stayed = true;
        }
        at = end + 1;
    }
    return std::nullopt;
}

// False if a shortcut stays.
bool resolve(std::wstring& path) {
    std::wstring resolved = path;
    bool stayed = false;
    for (int n = 0; n <= mostShortcuts; ++n) {
        const auto found = firstShortcut(resolved, stayed);
        if (!found) {
            path = resolved;
            return !stayed;
        }
        std::wstring target = found->target;
        while (found->end < resolved.size() && !target.empty() && isSeparator(target.back())) {
            target.pop_back();
        }
        resolved.replace(0, found->end, target);
    }
    return false;
}

} // namespace

int initSrhotcutSupport() {
    return 0;
}

void terminateShortcutSupport() {}

int resolveShortcut(MORVAUString& path) {
    std::wstring wide = path.toWide();
    if (wide.find(extension) == std::wstring::npos || wide.find(L'\0') != std::wstring::npos) {
        return 0;
    }
    const bool complete = resolve(wide);
    path = wide.c_str();
    return complete ? 0 : -1;
}

int SKARResolveShortcut(const wchar_t* path, int flag, wchar_t* buffer, size_t capacity) {
    if (buffer == nullptr || capacity == 0) {
        return -1;
    }
    buffer[0] = L'\0';
    if (path == nullptr) {
        return -1;
    }
    std::wstring resolved = path;
    if ((!resolve(resolved) && flag != 0) || resolved.size() >= capacity) {
        return -1;
    }
    std::wmemcpy(buffer, resolved.c_str(), resolved.size() + 1);
    return 0;
}
