#include "platform/file.h"

#include <skar/platform.h>

#include <libbfio.h>
#include <liblnk.h>

#include <cstdint>
#include <cwchar>
#include <optional>
#include <string>
#include <vector>

using MORVAPP::MORVAUString;

namespace {

constexpr std::size_t largestShortcut = 1 << 20;
constexpr int mostShortcuts = 40;
constexpr wchar_t extension[] = L".lnk";

// What a shortcut says of its target, nearest first.
using Targets = std::vector<std::wstring>;

class ShortcutFile {
public:
    // `bytes` must stay while the object lives.
    explicit ShortcutFile(std::string& bytes) {
        opened = libbfio_memory_range_initialize(&memory, nullptr) == 1 &&
                 libbfio_memory_range_set(memory, reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size(),
                                          nullptr) == 1 &&
                 liblnk_check_file_signature_file_io_handle(memory, nullptr) == 1 &&
                 liblnk_file_initialize(&file, nullptr) == 1 &&
                 liblnk_file_open_file_io_handle(file, memory, LIBLNK_OPEN_READ, nullptr) == 1;
    }
    ShortcutFile(const ShortcutFile&) = delete;
    ShortcutFile& operator=(const ShortcutFile&) = delete;
    ~ShortcutFile() {
        if (opened) {
            liblnk_file_close(file, nullptr);
        }
        if (file != nullptr) {
            liblnk_file_free(&file, nullptr);
        }
        if (memory != nullptr) {
            libbfio_handle_free(&memory, nullptr);
        }
    }

    using SizeOf = int (*)(liblnk_file_t*, size_t*, liblnk_error_t**);
    using TextOf = int (*)(liblnk_file_t*, std::uint8_t*, size_t, liblnk_error_t**);
    std::wstring text(SizeOf sizeOf, TextOf textOf) {
        std::size_t size = 0;
        if (!opened || sizeOf(file, &size, nullptr) != 1 || size == 0 || size > largestShortcut) {
            return {};
        }
        std::string utf8(size, '\0');
        if (textOf(file, reinterpret_cast<std::uint8_t*>(utf8.data()), size, nullptr) != 1) {
            return {};
        }
        return MORVAUString(utf8.c_str()).toWide();
    }

private:
    libbfio_handle_t* memory = nullptr;
    liblnk_file_t* file = nullptr;
    bool opened = false;
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
    ShortcutFile file(bytes);
    Targets targets;
    const std::wstring relative =
        file.text(liblnk_file_get_utf8_relative_path_size, liblnk_file_get_utf8_relative_path);
    if (!relative.empty()) {
        targets.push_back(besideShortcut(shortcut, relative));
    }
    targets.push_back(file.text(liblnk_file_get_utf8_local_path_size, liblnk_file_get_utf8_local_path));
    targets.push_back(file.text(liblnk_file_get_utf8_network_path_size, liblnk_file_get_utf8_network_path));
    for (const std::wstring& target : targets) {
        if (!target.empty() && skar::platform::pathAccessible(target.c_str())) {
            return target;
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
