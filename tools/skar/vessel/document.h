#pragma once

#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// The XML of a vessel file, read without the library.
namespace skar::tool::vessel {

struct DocumentDeleter {
    void operator()(xmlDoc* document) const noexcept { xmlFreeDoc(document); }
};

struct Document {
    std::unique_ptr<xmlDoc, DocumentDeleter> tree; // null when the bytes are no XML
    std::string failure;                           // what is wrong then, and in which line
    std::uint64_t line = 0;
    bool legacy = false; // no XML, nor something that begins like it

    const xmlNode* root() const;
    // Entities may stand for any amount of text.
    bool declaresEntities() const;
};

// Parses without network, external entities and beyond libxml2's limits.
Document parseVessel(std::string_view bytes);

// The bytes of a file; nothing for one that cannot be read or is larger than the library would read.
std::optional<std::string> readVessel(const std::string& path);

// Keeps libxml2 from writing to standard error while it lives.
class QuietXml {
public:
    QuietXml();
    ~QuietXml();
    QuietXml(const QuietXml&) = delete;
    QuietXml& operator=(const QuietXml&) = delete;

private:
    xmlGenericErrorFunc before_;
    void* context_;
};

const xmlNode* firstElement(const xmlNode* parent);
const xmlNode* nextElement(const xmlNode* element);
std::string nameOf(const xmlNode* element);
std::uint64_t lineOf(const xmlNode* node);
// Nothing where the element is null or lacks it.
std::optional<std::string> attributeOf(const xmlNode* element, const char* name);

} // namespace skar::tool::vessel
