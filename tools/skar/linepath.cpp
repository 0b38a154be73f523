#include "linepath.h"

#include "commands/command.h"

#include <fmt/format.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cwchar>

namespace skar::tool {

static_assert(sizeof(wchar_t) == sizeof(UChar32));

std::wstring wideText(const std::string& text) {
    const icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
    std::wstring wide;
    for (int i = 0; i < unicode.length(); i = unicode.moveIndex32(i, 1))
        wide += static_cast<wchar_t>(unicode.char32At(i));
    return wide;
}

std::string narrowText(const wchar_t* text) {
    std::string narrow;
    icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(text), static_cast<int>(std::wcslen(text)))
        .toUTF8String(narrow);
    return narrow;
}

std::string printable(const std::string& text) {
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F)
            shown += fmt::format("\\x{:02X}", byte);
        else
            shown += c;
    }
    return shown;
}

std::string LinePath::element(int fromEnd) const {
    std::filesystem::path path = native;
    for (int i = 0; i < fromEnd; ++i)
        path = path.parent_path();
    return path.filename().string();
}

std::string LinePath::root() const {
    return native.parent_path().parent_path().parent_path().parent_path().string();
}

LinePath linePath(const std::string& text) {
    if (text.empty()) throw ToolError("the path of the line is empty", exitUsage);
    if (narrowText(wideText(text).c_str()) != text)
        throw ToolError("the path of the line is not UTF-8 text", exitUsage);
    std::string native = text;
    std::replace(native.begin(), native.end(), '\\', '/');

    LinePath line;
    line.native = std::filesystem::absolute(native).lexically_normal();
    if (!line.native.has_filename()) line.native = line.native.parent_path();
    line.store = wideText(line.native.string());
    std::replace(line.store.begin(), line.store.end(), L'/', L'\\');
    return line;
}

LinePath existingLine(const std::string& text) {
    LinePath line = linePath(text);
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(line.native, error);
    if (!std::filesystem::exists(status))
        throw ToolError(fmt::format("{}: there is no such line", printable(line.native.string())));
    if (!std::filesystem::is_directory(status))
        throw ToolError(fmt::format("{}: not a directory; a line is a directory of sensor files",
                                    printable(line.native.string())));
    return line;
}

} // namespace skar::tool
