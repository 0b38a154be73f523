#include "xml/parsecost.h"

#include <skar/strings.h>

#include <libxml/encoding.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <unordered_set>

namespace skar::xml {
namespace {

// Each of these keeps libxml2 2.9 below some tenths of a second.
constexpr std::size_t mostAttributePairs = 20000000;
// So few in one tag cost no more than reading them.
constexpr std::size_t freeAttributes = 16;
constexpr std::size_t mostPrefixSteps = 400000000;
constexpr std::size_t mostNames = 50000;
constexpr std::size_t mostDeclarations = std::size_t{1} << 20;
// An attribute cannot be declared with a default in fewer bytes.
constexpr std::size_t leastDeclaration = 10;

// The parser goes on behind most mistakes, so this looks at everything that it could take for a tag, wherever
// that stands: in comments and other sections, in values that hold a bracket.
class Scan {
public:
    explicit Scan(std::string_view document) : text_(document) {}

    bool costsTooMuch() {
        while (at_ < text_.size() && !tooMuch_) {
            const char next = text_[at_++];
            if (next == '&') {
                noteName(name());
            } else if (next == '<') {
                construct();
            }
        }
        return tooMuch_;
    }

private:
    static bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
    static bool endsName(char c) {
        return isBlank(c) || c == '=' || c == '>' || c == '/' || c == '<' || c == '&' || c == ';' || c == '?';
    }
    char current() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    std::string_view name() {
        const std::size_t start = at_;
        while (at_ < text_.size() && !endsName(text_[at_])) {
            ++at_;
        }
        return text_.substr(start, at_ - start);
    }

    void skipBlanks() {
        while (at_ < text_.size() && isBlank(text_[at_])) {
            ++at_;
        }
    }

    void noteName(std::string_view name) {
        if (name == last_) {
            return;
        }
        last_ = name;
        names_.insert(name);
        tooMuch_ = tooMuch_ || names_.size() > mostNames;
    }

    void construct() {
        if (current() == '!') {
            declaration();
        } else if (current() == '/' || current() == '?') {
            ++at_;
            noteName(name());
        } else {
            tag();
        }
    }

    void declaration() {
        const std::string_view rest = text_.substr(at_ + 1);
        if (rest.starts_with("--") || rest.starts_with("[CDATA[")) {
            return;
        }
        const std::size_t size = std::min(rest.find('<'), rest.size());
        declarations_ += size;
        const std::string_view own = rest.substr(0, size);
        attributesDeclared_ = attributesDeclared_ || own.starts_with("ATTLIST") || own.find('%') != own.npos;
        tooMuch_ = declarations_ > mostDeclarations;
    }

    void tag() {
        const std::string_view element = name();
        noteName(element);
        std::size_t attributes = attributesDeclared_ ? declarations_ / leastDeclaration : 0;
        std::size_t prefixed = 1;
        for (skipBlanks(); at_ < text_.size() && current() != '>' && current() != '<'; skipBlanks()) {
            const std::size_t before = at_;
            const std::string_view attribute = name();
            skipBlanks();
            if (current() == '=') {
                ++at_;
                ++attributes;
                noteName(attribute);
                namespaces_ += attribute.starts_with("xmlns") ? 1 : 0;
                prefixed += attribute.find(':') != attribute.npos ? 1 : 0;
                skipBlanks();
                value();
            } else if (at_ == before) {
                ++at_;
            }
        }
        attributePairs_ += attributes > freeAttributes ? attributes * attributes : 0;
        prefixSteps_ += namespaces_ * prefixed;
        tooMuch_ = tooMuch_ || attributePairs_ > mostAttributePairs || prefixSteps_ > mostPrefixSteps;
    }

    void value() {
        const char quote = current();
        if (quote != '"' && quote != '\'') {
            return;
        }
        ++at_;
        while (at_ < text_.size() && text_[at_] != quote && text_[at_] != '<') {
            if (text_[at_++] == '&') {
                noteName(name());
            }
        }
        at_ += current() == quote ? 1 : 0;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::unordered_set<std::string_view> names_;
    std::string_view last_;
    std::size_t attributePairs_ = 0;
    std::size_t prefixSteps_ = 0;
    std::size_t namespaces_ = 0;
    std::size_t declarations_ = 0;
    bool attributesDeclared_ = false;
    bool tooMuch_ = false;
};

// The encoding that the first line names, in small letters.
std::string declaredEncoding(std::string_view document) {
    const std::string_view line = document.substr(0, std::min(document.find("?>"), std::size_t{1024}));
    const std::size_t place = line.find("encoding");
    const std::size_t start = place == line.npos ? place : line.find_first_of("\"'", place);
    if (start == line.npos) {
        return {};
    }
    std::string name(line.substr(start + 1, line.find(line[start], start + 1) - start - 1));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

// Whether markup is written in the bytes of ASCII.
bool marksAsAscii(const std::string& encoding) {
    constexpr std::array like = {"utf-8", "us-ascii", "ascii", "iso-8859-", "windows-125"};
    return encoding.empty() || std::any_of(like.begin(), like.end(), [&encoding](const char* start) {
               return encoding.starts_with(start);
           });
}

} // namespace

bool costsTooMuch(std::string_view document) {
    const xmlCharEncoding detected =
        document.size() < 4
            ? XML_CHAR_ENCODING_NONE
            : xmlDetectCharEncoding(reinterpret_cast<const unsigned char*>(document.data()), 4);
    std::string encoding = declaredEncoding(document);
    if (detected != XML_CHAR_ENCODING_NONE && detected != XML_CHAR_ENCODING_UTF8) {
        encoding = xmlGetCharEncodingName(detected) == nullptr ? "?" : xmlGetCharEncodingName(detected);
    }
    if (marksAsAscii(encoding)) {
        return Scan(document).costsTooMuch();
    }
    const MORVAUString::Converter converter(encoding.c_str());
    if (!converter.isValid()) {
        return true;
    }
    const std::string same =
        MORVAUString(document.data(), static_cast<std::int32_t>(document.size()), converter).toUTF8();
    return Scan(same).costsTooMuch();
}

} // namespace skar::xml
