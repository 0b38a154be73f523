#include "svp/textfile.h"

#include "platform/file.h"
#include "platform/safefile.h"

#include <skar/codes.h>
#include <skar/errors.h>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace skar::svp {

namespace {

constexpr UChar32 firstRawByte = 0xDC80;
constexpr UChar32 lastRawByte = 0xDCFF;

} // namespace

MORVAUString textOf(std::string_view bytes) {
    icu::UnicodeString text;
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto size = static_cast<std::int32_t>(bytes.size());
    for (std::int32_t i = 0; i < size;) {
        const std::int32_t start = i;
        UChar32 character = 0;
        U8_NEXT(data, i, size, character);
        if (character >= 0) {
            text.append(character);
        } else {
            for (std::int32_t raw = start; raw < i; ++raw)
                text.append(static_cast<char16_t>(0xDC00 + data[raw]));
        }
    }
    return MORVAUString(text);
}

std::string bytesOf(const MORVAUString& text) {
    const icu::UnicodeString& units = text.unicode();
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(units.length()));
    for (std::int32_t i = 0; i < units.length();) {
        const UChar32 character = units.char32At(i);
        i += U16_LENGTH(character);
        if (character < 0x80) {
            bytes.push_back(static_cast<char>(character));
        } else if (character >= firstRawByte && character <= lastRawByte) {
            bytes.push_back(static_cast<char>(character - 0xDC00));
        } else {
            icu::UnicodeString(U_IS_SURROGATE(character) ? UChar32{0xFFFD} : character).toUTF8String(bytes);
        }
    }
    return bytes;
}

bool TextLines::fill() {
    std::memmove(block.data(), block.data() + at, end - at);
    end -= at;
    at = 0;
    const std::size_t got = std::fread(block.data() + end, 1, block.size() - end, stream);
    end += got;
    exhausted = got == 0;
    broken = broken || std::ferror(stream) != 0;
    return got != 0;
}

bool TextLines::next() {
    constexpr std::size_t lineEnd = 2;
    while (end - at < longest + lineEnd && !exhausted && fill()) {
    }
    if (at == end) return false;
    const char* start = block.data() + at;
    const std::size_t available = std::min(end - at, longest + lineEnd);
    const auto* newline = static_cast<const char*>(std::memchr(start, '\n', available));
    std::size_t size = newline != nullptr ? static_cast<std::size_t>(newline - start) : available;
    std::size_t taken = newline != nullptr ? size + 1 : size;
    if (newline != nullptr && size != 0 && start[size - 1] == '\r') --size;
    if (size > longest) taken = size = longest;
    std::memcpy(text.data(), start, size);
    text[size] = '\0';
    length = std::strlen(text.data());
    at += taken;
    return true;
}

void TextLines::rewind() {
    std::rewind(stream);
    at = end = length = 0;
    exhausted = broken = false;
}

int readLines(const MORVAUString& file, const std::function<int(TextLines&)>& body) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(
        platform::openFile(file.getTerminatedBuffer(), "rb"), std::fclose);
    if (stream == nullptr) return codes::svpOpen;
    const auto lines = std::make_unique<TextLines>(stream.get());
    const int result = body(*lines);
    return lines->failed() ? codes::failed : result;
}

bool TextOutput::write() {
    broken = broken || std::fwrite(pending.data(), 1, pending.size(), stream) != pending.size();
    pending.clear();
    return !broken;
}

int saveText(const MORVAUString& file, const std::function<bool(TextOutput&)>& body) {
    platform::SafeFile target(file.toWide());
    if (target.stream() == nullptr) return notSaved(platform::lastErrorText(platform::lastError()));
    TextOutput output(target.stream());
    errno = 0;
    const bool complete = body(output);
    if (!complete && !output.failed()) return codes::failed;
    if (complete && output.write() && target.commit()) return codes::success;
    platform::setLastError(platform::lastErrorFromErrno(errno));
    return notSaved(platform::lastErrorText(platform::lastError()));
}

int notSaved(const std::wstring& why) {
    MORVAErrorManager::instance().add(
        std::make_shared<MORVAErrorInfo>(codes::failed, MORVAUString(why.c_str())));
    return codes::failed;
}

} // namespace skar::svp
