#include <skar/strings.h>

#include <unicode/utf16.h>

#include <algorithm>
#include <limits>
#include <ostream>
#include <string_view>

namespace MORVAPP {

namespace {

constexpr const char* defaultCodePage = "UTF-8";
constexpr UChar32 replacement = 0xFFFD;

std::int32_t boundedLength(std::size_t length) noexcept {
    constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(length < most ? length : most);
}

UChar32 codePoint(wchar_t character) noexcept {
    const auto value = static_cast<std::uint32_t>(character);
    return value <= 0x10FFFF ? static_cast<UChar32>(value) : replacement;
}

icu::UnicodeString fromWide(std::wstring_view wide) {
    icu::UnicodeString text;
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        text.append(reinterpret_cast<const char16_t*>(wide.data()), boundedLength(wide.size()));
    } else {
        for (const wchar_t character : wide)
            text.append(codePoint(character));
    }
    return text;
}

icu::UnicodeString fromNarrow(std::string_view bytes, UConverter* converter) {
    if (converter == nullptr) return {};
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString text(bytes.data(), boundedLength(bytes.size()), converter, status);
    return U_SUCCESS(status) ? text : icu::UnicodeString();
}

std::wstring_view upToTerminator(const wchar_t* text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

template <class Character>
std::basic_string_view<Character> counted(const Character* text, std::int32_t length) {
    if (text == nullptr || length < 1) return {};
    return {text, static_cast<std::size_t>(length)};
}

} // namespace

struct MORVAUString::Cache {
    std::string narrow;
    std::wstring wide;
    bool narrowValid = false;
    bool wideValid = false;
};

MORVAUString::MORVAUString() noexcept = default;
MORVAUString::~MORVAUString() = default;
MORVAUString::MORVAUString(const wchar_t* source) : units(fromWide(upToTerminator(source))) {}
MORVAUString::MORVAUString(const wchar_t* source, std::int32_t length)
    : units(fromWide(counted(source, length))) {}
MORVAUString::MORVAUString(const char* source, const char* codePage)
    : units(source == nullptr ? icu::UnicodeString() : fromNarrow(source, Converter(codePage).get())) {}
MORVAUString::MORVAUString(const char* bytes, std::int32_t length, const Converter& converter)
    : units(fromNarrow(counted(bytes, length), converter.get())) {}
MORVAUString::MORVAUString(const icu::UnicodeString& source) : units(source) {
    if (units.isBogus()) units.remove();
}
MORVAUString::MORVAUString(const MORVAUString& other) : units(other.units) {}
MORVAUString::MORVAUString(MORVAUString&& other) noexcept : units(std::move(other.units)) {
    other.changed();
}

MORVAUString& MORVAUString::operator=(const MORVAUString& other) {
    if (this != &other) {
        units = other.units;
        changed();
    }
    return *this;
}

MORVAUString& MORVAUString::operator=(MORVAUString&& other) noexcept {
    if (this != &other) {
        units = std::move(other.units);
        changed();
        other.changed();
    }
    return *this;
}

MORVAUString& MORVAUString::operator=(const wchar_t* source) {
    units = fromWide(upToTerminator(source));
    changed();
    return *this;
}

void MORVAUString::changed() noexcept {
    if (cache != nullptr) cache->narrowValid = cache->wideValid = false;
}

MORVAUString::Cache& MORVAUString::cached() const {
    if (cache == nullptr) cache = std::make_unique<Cache>();
    return *cache;
}

const wchar_t* MORVAUString::getTerminatedBuffer() const {
    Cache& buffers = cached();
    if (!buffers.wideValid) {
        buffers.wide = toWide();
        buffers.wideValid = true;
    }
    return buffers.wide.c_str();
}

const char* MORVAUString::getUTF8Buffer() const {
    Cache& buffers = cached();
    if (!buffers.narrowValid) {
        buffers.narrow = toUTF8();
        buffers.narrowValid = true;
    }
    return buffers.narrow.c_str();
}

const char* MORVAUString::getNarrowBuffer() const {
    return getUTF8Buffer();
}

std::wstring MORVAUString::toWide() const {
    std::wstring wide;
    wide.reserve(static_cast<std::size_t>(units.length()));
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        for (std::int32_t i = 0; i < units.length(); ++i)
            wide.push_back(static_cast<wchar_t>(units.charAt(i)));
    } else {
        for (std::int32_t i = 0; i < units.length(); i = units.moveIndex32(i, 1))
            wide.push_back(static_cast<wchar_t>(units.char32At(i)));
    }
    return wide;
}

std::string MORVAUString::toUTF8() const {
    std::string narrow;
    units.toUTF8String(narrow);
    return narrow;
}

std::int32_t MORVAUString::lastIndexOf(wchar_t character) const {
    return units.lastIndexOf(codePoint(character));
}

bool MORVAUString::endsWith(wchar_t character) const {
    return units.endsWith(icu::UnicodeString(codePoint(character)));
}

bool MORVAUString::endsWith(const MORVAUString& end) const {
    return units.endsWith(end.units);
}

bool MORVAUString::startsWith(wchar_t character) const {
    return units.startsWith(icu::UnicodeString(codePoint(character)));
}

bool MORVAUString::startsWith(const MORVAUString& start) const {
    return units.startsWith(start.units);
}

void MORVAUString::extract(std::int32_t start, std::int32_t length, MORVAUString& target) const {
    icu::UnicodeString stretch;
    units.extract(start, length, stretch);
    target.units = std::move(stretch);
    target.changed();
}

bool MORVAUString::truncate(std::int32_t length) {
    changed();
    return units.truncate(length);
}

MORVAUString& MORVAUString::remove(std::int32_t start, std::int32_t length) {
    units.remove(start, length);
    changed();
    return *this;
}

MORVAUString& MORVAUString::findAndReplace(wchar_t oldCharacter, wchar_t newCharacter) {
    units.findAndReplace(icu::UnicodeString(codePoint(oldCharacter)),
                         icu::UnicodeString(codePoint(newCharacter)));
    changed();
    return *this;
}

MORVAUString& MORVAUString::operator+=(const MORVAUString& more) {
    units.append(more.units);
    changed();
    return *this;
}

MORVAUString& MORVAUString::operator+=(wchar_t character) {
    units.append(codePoint(character));
    changed();
    return *this;
}

std::strong_ordering MORVAUString::compare(const MORVAUString& other) const noexcept {
    return units.compare(other.units) <=> 0;
}

std::ostream& operator<<(std::ostream& out, const MORVAUString& text) {
    return out << text.toUTF8();
}

MORVAUString::Converter::Converter(const char* codePage) {
    UErrorCode status = U_ZERO_ERROR;
    converter = ucnv_open(codePage == nullptr ? defaultCodePage : codePage, &status);
    if (U_FAILURE(status)) converter = nullptr;
}

MORVAUString::Converter::Converter(Converter&& other) noexcept
    : converter(std::exchange(other.converter, nullptr)) {}

MORVAUString::Converter& MORVAUString::Converter::operator=(Converter&& other) noexcept {
    std::swap(converter, other.converter);
    return *this;
}

MORVAUString::Converter::~Converter() {
    if (converter != nullptr) ucnv_close(converter);
}

} // namespace MORVAPP

namespace SKAR::Temporary {

namespace {

MORVAUString oneCharacter(wchar_t character) {
    return {&character, 1};
}

std::int32_t sizeOf(const auto& bytes) {
    constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min<std::size_t>(std::size(bytes), most));
}

} // namespace

String::String(const MORVAUString& text) : MORVAUString(text) {}
String::String(const std::string& text) : MORVAUString(text.data(), sizeOf(text), Converter()) {}
String::String(const char* text) : MORVAUString(text) {}
String::String(const char* text, const char* codePage) : MORVAUString(text, codePage) {}
String::String(wchar_t character) : MORVAUString(oneCharacter(character)) {}
String::String(const wchar_t* text) : MORVAUString(text) {}
String::String(const wchar_t* text, std::int32_t length) : MORVAUString(text, length) {}
String::String(const MORVAArray<char>& bytes, const char* codePage)
    : MORVAUString(bytes.data(), sizeOf(std::string_view(bytes.data(), bytes.count())), Converter(codePage)) {
}
String::String(const char* bytes, std::int32_t length, const Converter& converter)
    : MORVAUString(bytes, length, converter) {}
String::String(const icu::UnicodeString& text) : MORVAUString(text) {}

} // namespace SKAR::Temporary
