#include "xml/nodes.h"

#include "platform/file.h"
#include "platform/safefile.h"
#include "xml/numbertext.h"
#include "xml/parsecost.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>

namespace skar::xml {
namespace {

const xmlChar* xmlText(const char* text) noexcept {
    return reinterpret_cast<const xmlChar*>(text);
}

std::string takeText(xmlChar* text) {
    const std::unique_ptr<xmlChar, void (*)(void*)> owner(text, xmlFree);
    return text == nullptr ? std::string() : reinterpret_cast<const char*>(text);
}

constexpr bool fitsXml(char16_t unit) {
    return (unit >= 0x20 && unit < 0xFFFE) || unit == '\t' || unit == '\n' || unit == '\r';
}

const xmlAttr* findAttribute(const xmlNode* element, const char* name) {
    if (!isElement(element)) {
        return nullptr;
    }
    // The document type may state defaults, which stand in a declaration, not in an attribute: they do not
    // count.
    const xmlAttr* found = element->properties;
    while (found != nullptr && xmlStrcmp(found->name, xmlText(name)) != 0) {
        found = found->next;
    }
    return found;
}

// libxml2 holds the growth of entities in elements against its limits, not that in the values of attributes,
// which are put together when they are read. Counts what all references of a document come to, up to a bound.
class EntityGrowth {
public:
    explicit EntityGrowth(xmlDoc* document) : document_(document) {}

    bool exceeds(std::size_t bound) {
        // Only a document type declares entities.
        if (document_->intSubset == nullptr) {
            return false;
        }
        bound_ = bound;
        for (const xmlNode* node = document_->children; node != nullptr; node = following(node)) {
            if (isElement(node)) {
                for (const xmlAttr* each = node->properties; each != nullptr; each = each->next) {
                    count(each->children);
                }
            } else if (node->type == XML_ENTITY_REF_NODE) {
                count(node, false);
            }
            if (total_ > bound_) {
                return true;
            }
        }
        return false;
    }

private:
    static constexpr int deepest = 40;

    // In the order of the document, without recursion; what hangs from a reference belongs to its
    // declaration.
    static const xmlNode* following(const xmlNode* node) {
        if (isElement(node) && node->children != nullptr) {
            return node->children;
        }
        while (node != nullptr && node->next == nullptr) {
            node = node->parent;
        }
        return node == nullptr ? nullptr : node->next;
    }

    void count(const xmlNode* node, bool siblings = true) {
        for (; node != nullptr && total_ <= bound_; node = siblings ? node->next : nullptr) {
            if (node->type == XML_ENTITY_REF_NODE) {
                total_ += sizeOf(node->name, 0);
            }
        }
    }

    std::size_t sizeOf(const xmlChar* name, int depth) {
        const std::string key = reinterpret_cast<const char*>(name);
        if (const auto known = sizes_.find(key); known != sizes_.end()) {
            return known->second;
        }
        const xmlEntity* entity = xmlGetDocEntity(document_, name);
        std::size_t size = 0;
        if (depth > deepest) {
            size = bound_ + 1;
        } else if (entity != nullptr && entity->content != nullptr) {
            size = sizeOfText(reinterpret_cast<const char*>(entity->content), depth);
        }
        sizes_[key] = size;
        return size;
    }

    std::size_t sizeOfText(std::string_view text, int depth) {
        std::size_t size = text.size();
        for (std::size_t at = text.find('&'); at != text.npos && size <= bound_;
             at = text.find('&', at + 1)) {
            const std::size_t end = text.find(';', at);
            if (end != text.npos && text[at + 1] != '#') {
                const std::string name(text.substr(at + 1, end - at - 1));
                size += sizeOf(xmlText(name.c_str()), depth + 1);
            }
        }
        return std::min(size, bound_ + 1);
    }

    xmlDoc* document_;
    std::map<std::string, std::size_t> sizes_;
    std::size_t bound_ = 0;
    std::size_t total_ = 0;
};

// Far beyond what a setting needs.
constexpr std::size_t mostEntityText = 1000000;

} // namespace

std::string utf8Of(const wchar_t* text) {
    const MORVAUString given(text);
    icu::UnicodeString units = given.unicode();
    for (std::int32_t i = 0; i < units.length(); ++i) {
        if (!fitsXml(units.charAt(i))) {
            units.setCharAt(i, u'\uFFFD');
        }
    }
    return MORVAUString(units).toUTF8();
}

std::wstring wideOf(std::string_view utf8) {
    return MORVAUString(utf8.data(), static_cast<std::int32_t>(utf8.size()), MORVAUString::Converter())
        .toWide();
}

std::optional<std::string> attribute(const xmlNode* element, const char* name) {
    const xmlAttr* found = findAttribute(element, name);
    if (found == nullptr || found->children == nullptr) {
        return std::nullopt;
    }
    const xmlNode* value = found->children;
    std::string text;
    if (value->type == XML_TEXT_NODE && value->next == nullptr) {
        text = value->content == nullptr ? "" : reinterpret_cast<const char*>(value->content);
    } else {
        text = takeText(xmlNodeListGetString(element->doc, value, 1));
    }
    return text.empty() ? std::nullopt : std::optional(std::move(text));
}

bool hasAttribute(const xmlNode* element, const char* name) {
    return findAttribute(element, name) != nullptr;
}

void setAttribute(xmlNode* element, const char* name, const std::string& utf8) {
    xmlSetProp(element, xmlText(name), xmlText(utf8.c_str()));
}

void setAttribute(xmlNode* element, const char* name, double value) {
    setAttribute(element, name, fixedText(value));
}

void removeAttribute(xmlNode* element, const char* name) {
    xmlUnsetProp(element, xmlText(name));
}

bool isElement(const xmlNode* node) noexcept {
    return node != nullptr && node->type == XML_ELEMENT_NODE;
}

xmlNode* firstElement(const xmlNode* parent) noexcept {
    xmlNode* node = isElement(parent) ? parent->children : nullptr;
    return node == nullptr || isElement(node) ? node : nextElement(node);
}

xmlNode* nextElement(const xmlNode* element) noexcept {
    xmlNode* node = element->next;
    while (node != nullptr && !isElement(node)) {
        node = node->next;
    }
    return node;
}

xmlNode* child(const xmlNode* parent, const char* name) {
    xmlNode* found = firstElement(parent);
    while (found != nullptr && xmlStrcasecmp(found->name, xmlText(name)) != 0) {
        found = nextElement(found);
    }
    return found;
}

xmlNode* newChild(xmlNode* parent, const char* name) {
    // A name that XML cannot hold would make a file that nobody can read.
    if (parent == nullptr || xmlValidateName(xmlText(name), 0) != 0) {
        return nullptr;
    }
    return xmlNewChild(parent, nullptr, xmlText(name), nullptr);
}

xmlNode* childOrNew(xmlNode* parent, const char* name) {
    xmlNode* found = child(parent, name);
    return found != nullptr ? found : newChild(parent, name);
}

void deleteChildren(xmlNode* parent, const char* name) {
    for (xmlNode* each = firstElement(parent); each != nullptr;) {
        xmlNode* next = nextElement(each);
        if (xmlStrcasecmp(each->name, xmlText(name)) == 0) {
            DeleteNode(each);
        }
        each = next;
    }
}

Document parseBytes(std::string_view bytes, const char* name, Blanks blanks) {
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)> parser(xmlNewParserCtxt(),
                                                                          xmlFreeParserCtxt);
    if (parser == nullptr || bytes.size() > mostBytes) {
        return nullptr;
    }
    if (costsTooMuch(bytes)) {
        xmlGenericError(xmlGenericErrorContext, "%s: too many attributes, names or declarations\n", name);
        return nullptr;
    }
    const int options = XML_PARSE_NONET | (blanks == Blanks::dropped ? XML_PARSE_NOBLANKS : 0);
    Document document(xmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), name,
                                        nullptr, options));
    if (document != nullptr && EntityGrowth(document.get()).exceeds(mostEntityText)) {
        xmlGenericError(xmlGenericErrorContext, "%s: entities that grow beyond bounds\n", name);
        return nullptr;
    }
    return document;
}

Document parseFile(const wchar_t* path, Blanks blanks) {
    std::string bytes;
    if (!platform::readFile(path, mostBytes, bytes)) {
        return nullptr;
    }
    return parseBytes(bytes, platform::nativePath(path).c_str(), blanks);
}

int saveFile(xmlDoc* document, const wchar_t* path, const char* encoding, bool format) {
    if (document == nullptr || path == nullptr) {
        return -1;
    }
    xmlChar* written = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(document, &written, &size, encoding, format ? 1 : 0);
    const std::unique_ptr<xmlChar, void (*)(void*)> owner(written, xmlFree);
    if (written == nullptr) {
        return -1;
    }
    platform::SafeFile file(path);
    if (file.stream() == nullptr) {
        return -1;
    }
    const auto count = static_cast<std::size_t>(size);
    const bool complete = std::fwrite(written, 1, count, file.stream()) == count;
    return complete && file.commit() ? size : -1;
}

} // namespace skar::xml
