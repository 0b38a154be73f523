#include "platform/file.h"
#include "strings/numbers.h"

#include <skar/codes.h>
#include <skar/contact.h>
#include <skar/errors.h>
#include <skar/paths.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cwchar>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// The contacts of a line, a text file.
namespace skar::fileio {

namespace {

constexpr std::size_t lineSize = 8192; // with its end
constexpr std::uint32_t currentVersion = 4;
constexpr std::string_view colourMapWord = "Colour Map = ";

enum Kind { single = 1, list = 2 };
constexpr std::size_t tokensOfPoint = 5;
constexpr std::size_t pointOfName = 8; // where a name has its point
constexpr std::size_t wholeName = 12;  // a name of this length was written as it stands

std::wstring contactPath(const wchar_t* linePath) {
    MORVAUString path(linePath);
    SKARIOUtils::appendPath(path, MORVAUString(L"Contact"));
    return path.toWide();
}

// A line of the file without its end; one that is longer than any that is written goes on in the next.
// Nothing at the end of the file.
std::optional<std::string> nextLine(std::FILE* file) {
    std::string line;
    int byte = 0;
    while ((byte = std::getc(file)) != EOF && byte != '\n') {
        // The end that another system gives a line of the full length does not count.
        if (line.size() + (byte == '\r' ? 0 : 1) >= lineSize) {
            std::ungetc(byte, file);
            return line;
        }
        line.push_back(static_cast<char>(byte));
    }
    if (byte == EOF && line.empty()) return std::nullopt;
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

// A zero byte ends a line as it does any text.
std::wstring wide(const std::string& line) {
    return MORVAUString(line.c_str()).toWide();
}

std::string narrow(const std::wstring& text) {
    return MORVAUString(text.c_str()).getNarrowBuffer();
}

// The pieces of a line between commas; commas without anything between them are as one.
class Tokens {
public:
    explicit Tokens(std::wstring line) : line_(std::move(line)), rest_(line_) {
        rest_ = rest_.substr(0, rest_.find_first_of(L"\r\n"));
    }
    Tokens(const Tokens&) = delete;
    Tokens& operator=(const Tokens&) = delete;

    std::optional<std::wstring_view> next() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(L','), rest_.size()));
        if (rest_.empty()) return std::nullopt;
        const std::wstring_view token = rest_.substr(0, rest_.find(L','));
        rest_.remove_prefix(std::min(token.size() + 1, rest_.size()));
        return token;
    }
    template <class Number>
    bool number(Number& value) {
        const auto token = next();
        return token && toNumber(*token, value);
    }
    // One that is 1 or not. False for none.
    bool flag(bool& set) {
        const auto token = next();
        int value = 0;
        set = token && toNumber(*token, value) && value == 1;
        return token.has_value();
    }
    template <std::size_t Size>
    bool text(wchar_t (&field)[Size]) {
        const auto token = next();
        if (!token) return false;
        field[token->copy(field, Size - 1)] = L'\0';
        return true;
    }
    std::size_t left() const { return rest_.size(); }

private:
    template <class Number>
    static bool toNumber(std::wstring_view token, Number& value) {
        // No number has a character beyond these.
        std::string text;
        for (const wchar_t each : token)
            text.push_back(each < 0x80 ? static_cast<char>(each) : '?');
        strings::Scanner scanner(text);
        if constexpr (std::is_same_v<Number, int>) {
            return scanner.whole(value);
        } else {
            double taken = 0.0;
            if (!scanner.number(taken) || std::abs(taken) > std::numeric_limits<Number>::max()) return false;
            value = static_cast<Number>(taken);
            return true;
        }
    }
    std::wstring line_;
    std::wstring_view rest_;
};

// A name that was written in two tokens, or, below version 4, in one. Tells which it was.
template <std::size_t Size>
bool decodeName(Tokens& tokens, int version, wchar_t (&field)[Size], bool& divided) {
    const auto first = tokens.next();
    if (!first) return false;
    std::wstring name(*first);
    divided = version >= 4 || (version == 3 && name.size() < wholeName);
    if (divided) {
        const auto second = tokens.next();
        if (!second) return false;
        name.append(1, L'.').append(*second);
    }
    field[name.copy(field, Size - 1)] = L'\0';
    return true;
}

bool decodePoints(Tokens& tokens, Contact& contact) {
    int count = 0;
    // A point has at least a character and a comma for each of its tokens.
    if (!tokens.number(count) || count < 0 ||
        static_cast<std::size_t>(count) > (tokens.left() + 1) / (2 * tokensOfPoint))
        return false;
    const auto size = static_cast<std::size_t>(count);
    contact.numPoints = count;
    contact.lowestProfile = contact.highestProfile = 0;
    contact.pointProfile.assign(size, 0);
    for (auto* values : {&contact.pointFirst, &contact.pointSecond})
        values->assign(size, 0.0F);
    for (auto* values :
         {&contact.pointLatitude, &contact.pointLongitude, &contact.pointSpare1, &contact.pointSpare2})
        values->assign(size, 0.0);
    for (std::size_t i = 0; i < size; ++i) {
        const int& profile = contact.pointProfile[i];
        if (!tokens.number(contact.pointProfile[i]) || !tokens.number(contact.pointFirst[i]) ||
            !tokens.number(contact.pointSecond[i]) || !tokens.number(contact.pointLatitude[i]) ||
            !tokens.number(contact.pointLongitude[i]))
            return false;
        contact.lowestProfile = i == 0 ? profile : std::min(contact.lowestProfile, profile);
        contact.highestProfile = i == 0 ? profile : std::max(contact.highestProfile, profile);
    }
    return true;
}

bool decodePlace(Tokens& tokens, Contact& contact) {
    if (contact.kind == list) return decodePoints(tokens, contact);
    return contact.kind == single && tokens.number(contact.profile) && tokens.number(contact.value) &&
           tokens.number(contact.latitude) && tokens.number(contact.longitude);
}

// Below 3 a line has no kind, below 2 no third measure; the flag came with the divided names.
bool decode(Tokens& tokens, int version, Contact& contact) {
    bool divided = false;
    bool secondDivided = false;
    if (!tokens.number(contact.number) || !decodeName(tokens, version, contact.sourceName, divided) ||
        !tokens.text(contact.sourceSubName) ||
        !decodeName(tokens, version, contact.secondName, secondDivided) ||
        !tokens.text(contact.secondSubName) || !tokens.text(contact.firstIdentifier) ||
        !tokens.text(contact.secondIdentifier))
        return false;
    contact.kind = single;
    if (version >= 3 && !tokens.number(contact.kind)) return false;
    if (!decodePlace(tokens, contact)) return false;
    if (!tokens.number(contact.measures[0]) || !tokens.number(contact.measures[1]) ||
        (version >= 2 && !tokens.number(contact.measures[2])))
        return false;
    if (!tokens.number(contact.codes[0]) || !tokens.number(contact.codes[1])) return false;
    contact.flag = false;
    if ((divided || secondDivided) && !tokens.flag(contact.flag)) return false;
    contact.remark[0] = L'\0';
    tokens.text(contact.remark);
    return true;
}

// The only way into a line: one that would not fit is never written.
void strConcatenate(std::string& line, std::string_view piece) {
    if (line.size() + piece.size() >= lineSize) {
        ContactError failure;
        failure << bathy::error::BathyException::tag_error_code(codes::contactLineTooLong)
                << boost::throw_function("void __cdecl strConcatenate(char *,char *)")
                << boost::throw_file("Source/fileio/contact");
        boost::throw_exception(failure);
    }
    line.append(piece);
}

// What would end a field or the line becomes a blank.
std::wstring withoutEnds(std::wstring_view text) {
    std::wstring clean(text.substr(0, text.find(L'\0')));
    for (wchar_t& each : clean)
        if (each == L',' || each == L'\n' || each == L'\r') each = L' ';
    return clean;
}

class LineWriter {
public:
    explicit LineWriter(std::string& line) : line_(line) {}

    void number(int value, std::size_t width) {
        std::string text = std::to_string(value);
        text.append(width - std::min(width, text.size()), ' ');
        field(text);
    }
    void measure(double value) { real(value, {.decimals = 2, .width = 6}); }
    void position(double value) { real(value, {.decimals = 7, .width = 13}); }
    template <std::size_t Size>
    void text(const wchar_t (&value)[Size], std::size_t width) {
        field(padded(value, width));
    }
    template <std::size_t Size>
    void lastText(const wchar_t (&value)[Size], std::size_t width) {
        strConcatenate(line_, padded(value, width));
    }
    // The comma takes the place of the point. A blank keeps the place of what is not behind it.
    template <std::size_t Size>
    void name(const wchar_t (&value)[Size]) {
        std::wstring clean = withoutEnds({value, Size});
        if (clean.size() < pointOfName + 2) clean.resize(pointOfName + 2, L' ');
        field(narrow(clean.substr(0, pointOfName)));
        field(narrow(clean.substr(pointOfName + 1)));
    }
    void field(std::string_view text) {
        strConcatenate(line_, text);
        strConcatenate(line_, ",");
    }

private:
    template <std::size_t Size>
    static std::string padded(const wchar_t (&value)[Size], std::size_t width) {
        std::wstring clean = withoutEnds({value, Size});
        clean.resize(std::max(width, clean.size()), L' ');
        return narrow(clean);
    }
    void real(double value, strings::Fixed form) {
        std::string text;
        strings::append(text, value, form);
        field(text);
    }
    std::string& line_;
};

bool finite(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(), [](double each) { return std::isfinite(each); });
}

// Whether what is written can be read again.
bool writable(const Contact& contact) {
    std::vector<double> reals(std::begin(contact.measures), std::end(contact.measures));
    if (contact.kind == single) {
        reals.insert(reals.end(), {contact.value, contact.latitude, contact.longitude});
        return finite(reals);
    }
    if (contact.kind != list || contact.numPoints < 0) return false;
    const auto count = static_cast<std::size_t>(contact.numPoints);
    const auto has = [count](const auto&... values) { return ((values.size() >= count) && ...); };
    if (!has(contact.pointProfile, contact.pointFirst, contact.pointSecond, contact.pointLatitude,
             contact.pointLongitude))
        return false;
    const auto take = [&](const auto& values) {
        reals.insert(reals.end(), values.begin(), values.begin() + contact.numPoints);
    };
    take(contact.pointFirst);
    take(contact.pointSecond);
    take(contact.pointLatitude);
    take(contact.pointLongitude);
    return finite(reals);
}

std::string lineOf(const Contact& contact) {
    std::string line;
    LineWriter writer(line);
    writer.number(contact.number, 4);
    writer.name(contact.sourceName);
    writer.text(contact.sourceSubName, 3);
    writer.name(contact.secondName);
    writer.text(contact.secondSubName, 3);
    writer.text(contact.firstIdentifier, 8);
    writer.text(contact.secondIdentifier, 12);
    writer.number(contact.kind, 1);
    if (contact.kind == single) {
        writer.number(contact.profile, 6);
        writer.measure(contact.value);
        writer.position(contact.latitude);
        writer.position(contact.longitude);
    } else {
        writer.number(contact.numPoints, 3);
        for (std::size_t i = 0; i < static_cast<std::size_t>(contact.numPoints); ++i) {
            writer.number(contact.pointProfile[i], 6);
            writer.measure(contact.pointFirst[i]);
            writer.measure(contact.pointSecond[i]);
            writer.position(contact.pointLatitude[i]);
            writer.position(contact.pointLongitude[i]);
        }
    }
    for (const double measure : contact.measures)
        writer.measure(measure);
    for (const int code : contact.codes)
        writer.number(code, 4);
    writer.field(contact.flag ? "1 " : "0 ");
    writer.lastText(contact.remark, 80);
    return line;
}

// Whether all of it has left the program.
bool put(std::FILE* file, const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), file) == text.size() && std::fflush(file) == 0;
}

// An empty text for a header that could not be read back.
std::string headerOf(const wchar_t* linePath, const char* colourMap) {
    MORVAUString root, project, vessel, day, line;
    SKARIOUtils::pathToPVDL(MORVAUString(linePath), root, project, vessel, day, line);
    std::string text;
    for (const MORVAUString* name : {&project, &vessel, &day, &line}) {
        if (name != &project) text += ' ';
        text += name->getNarrowBuffer();
    }
    std::string map = colourMap ? std::string(colourMapWord) + colourMap : "";
    for (std::string* each : {&text, &map}) {
        if (each->size() >= lineSize) return {};
        std::replace_if(
            each->begin(), each->end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    }
    text += "\nVERSION " + std::to_string(currentVersion) + '\n';
    return colourMap ? text + map + '\n' : text;
}

// The first contact line, behind the lines of the header.
std::optional<std::string> firstLine(std::FILE* file) {
    std::rewind(file);
    if (!nextLine(file) || !nextLine(file)) return std::nullopt;
    auto line = nextLine(file);
    return line && line->starts_with(colourMapWord) ? nextLine(file) : line;
}

enum class Step { read, undecoded, end, failed };

Step take(ContactFile& contacts, const std::optional<std::string>& line, Contact& contact) {
    if (!line) return std::ferror(contacts.file) ? Step::failed : Step::end;
    DecodeContactRecord(static_cast<int>(contacts.version), wide(*line).c_str(), &contact);
    return contact.number >= 0 ? Step::read : Step::undecoded;
}

int result(Step step, long* code) {
    if (code) *code = step == Step::read || step == Step::end ? codes::success : codes::failed;
    return step == Step::read;
}

int refused(long* code) {
    if (code) *code = codes::failed;
    return 0;
}

} // namespace

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

ContactFile* ContactNewDir(const wchar_t* linePath, char* colourMap, long* code) try {
    long ignored = 0;
    long& failure = code ? *code : ignored;
    failure = codes::contactOpen;
    const std::string header = linePath ? headerOf(linePath, colourMap) : std::string();
    if (header.empty()) return nullptr;
    auto contacts = std::make_unique<ContactFile>();
    contacts->file = platform::openFile(contactPath(linePath).c_str(), "w");
    contacts->version = currentVersion;
    if (!contacts->file) return nullptr;
    if (!put(contacts->file, header)) {
        std::fclose(contacts->file);
        return nullptr;
    }
    failure = codes::success;
    return contacts.release();
} catch (const std::bad_alloc&) {
    return nullptr;
}

ContactFile* ContactOpenDir(const wchar_t* linePath, long* code) try {
    long ignored = 0;
    long& failure = code ? *code : ignored;
    failure = codes::contactOpen;
    if (!linePath) return nullptr;
    auto contacts = std::make_unique<ContactFile>();
    contacts->file = platform::openFile(contactPath(linePath).c_str(), "r");
    if (!contacts->file) return nullptr;
    failure = ContactSummary(contacts.get(), nullptr, nullptr);
    if (failure == codes::success) return contacts.release();
    std::fclose(contacts->file);
    return nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

int ContactClose(ContactFile* contacts) {
    if (!contacts) return codes::success;
    const std::unique_ptr<ContactFile> ended(contacts);
    return !ended->file || std::fclose(ended->file) == 0 ? codes::success : codes::contactClose;
}

int ContactSummary(ContactFile* contacts, int* version, wchar_t* colourMap) try {
    if (!contacts || !contacts->file) return codes::failed;
    std::rewind(contacts->file);
    if (!nextLine(contacts->file)) return codes::failed;
    const auto second = nextLine(contacts->file);
    constexpr std::string_view word = "VERSION";
    if (!second || !second->starts_with(word)) return codes::failed;
    int found = 0;
    if (!strings::Scanner(std::string_view(*second).substr(word.size())).whole(found)) return codes::failed;
    contacts->version = static_cast<std::uint32_t>(found);
    if (version) *version = found;
    if (!colourMap) return codes::success;
    colourMap[0] = L'\0';
    const auto third = nextLine(contacts->file);
    std::string name;
    if (third && third->starts_with(colourMapWord) &&
        strings::Scanner(std::string_view(*third).substr(colourMapWord.size())).word(name)) {
        const std::wstring shown = wide(name);
        colourMap[shown.copy(colourMap, lineSize - 1)] = L'\0';
    }
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::failed;
}

int ReadFirstContact(ContactFile* contacts, Contact* contact, long* code) try {
    if (!contacts || !contacts->file || !contact) return refused(code);
    return result(take(*contacts, firstLine(contacts->file), *contact), code);
} catch (const std::bad_alloc&) {
    return refused(code);
}

int ReadNextContact(ContactFile* contacts, Contact* contact, long* code) try {
    if (!contacts || !contacts->file || !contact) return refused(code);
    return result(take(*contacts, nextLine(contacts->file), *contact), code);
} catch (const std::bad_alloc&) {
    return refused(code);
}

int GetContact(ContactFile* contacts, unsigned number, Contact* contact, long* code) try {
    if (!contacts || !contacts->file || !contact) return refused(code);
    Step step = take(*contacts, firstLine(contacts->file), *contact);
    while (step == Step::undecoded ||
           (step == Step::read && static_cast<unsigned>(contact->number) != number))
        step = take(*contacts, nextLine(contacts->file), *contact);
    return result(step, code);
} catch (const std::bad_alloc&) {
    return refused(code);
}

int DecodeContactRecord(int version, const wchar_t* line, Contact* contact) try {
    if (!line || !contact) return codes::failed;
    Tokens tokens(line);
    if (version <= static_cast<int>(currentVersion) && decode(tokens, version, *contact) &&
        contact->number >= 0)
        return codes::success;
    contact->number = -1;
    return codes::failed;
} catch (const std::bad_alloc&) {
    contact->number = -1;
    return codes::failed;
}

int WriteContactRecord(ContactFile* contacts, Contact* contact) try {
    if (!contacts || !contacts->file || !contact || !writable(*contact)) return codes::failed;
    return errors::guarded([&] {
        const std::string line = lineOf(*contact) + '\n';
        const long before = std::ftell(contacts->file);
        errno = 0;
        if (std::fseek(contacts->file, 0, SEEK_END) == 0 &&
            put(contacts->file, contacts->torn ? '\n' + line : line)) {
            contacts->torn = false;
            return codes::success;
        }
        const bool readOnly = errno == EBADF;
        std::clearerr(contacts->file);
        if (!readOnly) {
            contacts->torn = true;
            return codes::failed;
        }
        std::fseek(contacts->file, before, SEEK_SET);
        return codes::success;
    });
} catch (const std::bad_alloc&) {
    return codes::failed;
}

int ContactRemoveDir(const wchar_t* linePath) {
    return linePath && platform::removeFile(contactPath(linePath).c_str()) ? codes::success : codes::failed;
}
