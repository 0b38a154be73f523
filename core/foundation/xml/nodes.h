#pragma once

#include <skar/xml.h>

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// What the other rooms do to documents and nodes beyond the exported helpers.
namespace skar::xml {

struct DocumentDeleter {
    void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

// Wide text as UTF-8 that XML can hold: what it cannot becomes U+FFFD. Null gives an empty text.
std::string utf8Of(const wchar_t* text);
std::wstring wideOf(std::string_view utf8);

// The text of an attribute; nothing if the element is null, has no such attribute or an empty one.
std::optional<std::string> attribute(const xmlNode* element, const char* name);
bool hasAttribute(const xmlNode* element, const char* name);
void setAttribute(xmlNode* element, const char* name, const std::string& utf8);
void setAttribute(xmlNode* element, const char* name, double value);
void removeAttribute(xmlNode* element, const char* name);

// The first child element of that name, without regard to case; null without one. Unlike getNode it takes the
// parent, whichever that is.
xmlNode* child(const xmlNode* parent, const char* name);
// That child, or a new one at the end; null if it cannot be made.
xmlNode* childOrNew(xmlNode* parent, const char* name);
// A further child at the end; null if it cannot be made.
xmlNode* newChild(xmlNode* parent, const char* name);
void deleteChildren(xmlNode* parent, const char* name);

bool isElement(const xmlNode* node) noexcept;
// For walks over child elements: the first of them, and the next one behind it.
xmlNode* firstElement(const xmlNode* parent) noexcept;
xmlNode* nextElement(const xmlNode* element) noexcept;

// What a parser may do with blanks between elements.
enum class Blanks { asSetForTheThread, dropped };

// Parses a file, or bytes, without network, external entities and beyond libxml2's limits. Null for what
// cannot be read or is not well-formed; libxml2's diagnostics go to its handlers.
Document parseFile(const wchar_t* path, Blanks blanks = Blanks::asSetForTheThread);
Document parseBytes(std::string_view bytes, const char* name, Blanks blanks);
// The most bytes that a file of the store may have to be parsed.
inline constexpr std::size_t mostBytes = std::size_t{256} << 20;

// Writes a document; `encoding` null is the document's own, or ASCII with character references. Returns the
// number of bytes, or -1 with the file that may have been there as it was.
int saveFile(xmlDoc* document, const wchar_t* path, const char* encoding, bool format);

} // namespace skar::xml
