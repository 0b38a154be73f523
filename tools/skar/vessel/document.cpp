#include "vessel/document.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <fstream>

namespace skar::tool::vessel {

namespace {

// The first fault; those behind it follow from it.
struct Fault {
    std::string text;
    std::uint64_t line = 0;
};

template <class Error>
void keepFirst(void* context, Error error) {
    auto& fault = *static_cast<Fault*>(static_cast<xmlParserCtxt*>(context)->_private);
    if (!fault.text.empty() || error->level < XML_ERR_ERROR || error->message == nullptr) return;
    fault.text = error->message;
    fault.text.erase(std::min(fault.text.find('\n'), fault.text.size()));
    if (fault.text.starts_with("Excessive depth")) fault.text = "elements within elements, too deep";
    fault.line = static_cast<std::uint64_t>(error->line);
}

// The nodes themselves have room for lines up to 65535 only.
void startElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                  int numNamespaces, const xmlChar** namespaces, int numAttributes, int numDefaulted,
                  const xmlChar** attributes) {
    xmlSAX2StartElementNs(context, name, prefix, uri, numNamespaces, namespaces, numAttributes, numDefaulted,
                          attributes);
    const auto* parser = static_cast<xmlParserCtxt*>(context);
    if (parser->node != nullptr)
        parser->node->_private = reinterpret_cast<void*>(static_cast<std::uintptr_t>(parser->input->line));
}

void dropText(void*, const char*, ...) {}

constexpr std::size_t mostBytes = std::size_t{256} << 20U;

} // namespace

const xmlNode* Document::root() const {
    return tree == nullptr ? nullptr : xmlDocGetRootElement(tree.get());
}

bool Document::declaresEntities() const {
    return tree != nullptr && tree->intSubset != nullptr && tree->intSubset->entities != nullptr;
}

Document parseVessel(std::string_view bytes) {
    Document document;
    const std::size_t first = bytes.find_first_not_of(" \t\r\n");
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    document.legacy =
        first == bytes.npos || (bytes[first] != '<' && !bytes.starts_with(byteOrderMark) &&
                                !bytes.starts_with("\xFF\xFE") && !bytes.starts_with("\xFE\xFF"));
    const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxt*)> parser(xmlNewParserCtxt(),
                                                                          xmlFreeParserCtxt);
    if (parser == nullptr) {
        document.failure = "no memory for the parser";
        return document;
    }
    Fault fault;
    parser->_private = &fault;
    parser->sax->serror = [](void* context, auto error) { keepFirst(context, error); };
    parser->sax->startElementNs = startElement;
    constexpr int options = XML_PARSE_NONET | XML_PARSE_NOBLANKS;
    document.tree.reset(xmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                          nullptr, options));
    if (document.tree != nullptr) {
        document.legacy = false;
        return document;
    }
    document.failure = fault.text.empty() ? "empty" : fault.text;
    document.line = fault.line;
    return document;
}

QuietXml::QuietXml() : before_(xmlGenericError), context_(xmlGenericErrorContext) {
    xmlSetGenericErrorFunc(nullptr, dropText);
}

QuietXml::~QuietXml() {
    xmlSetGenericErrorFunc(context_, before_);
}

std::optional<std::string> readVessel(const std::string& path) {
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) return std::nullopt;
    const std::streamoff size = in.tellg();
    if (size < 0 || static_cast<std::uint64_t>(size) > mostBytes) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    in.seekg(0);
    in.read(bytes.data(), size);
    if (in.gcount() != size) return std::nullopt;
    return bytes;
}

namespace {

const xmlNode* elementFrom(const xmlNode* node) {
    while (node != nullptr && node->type != XML_ELEMENT_NODE)
        node = node->next;
    return node;
}

} // namespace

const xmlNode* firstElement(const xmlNode* parent) {
    return parent == nullptr ? nullptr : elementFrom(parent->children);
}

const xmlNode* nextElement(const xmlNode* element) {
    return elementFrom(element->next);
}

std::string nameOf(const xmlNode* element) {
    return reinterpret_cast<const char*>(element->name);
}

std::uint64_t lineOf(const xmlNode* node) {
    if (node->type == XML_ELEMENT_NODE) return reinterpret_cast<std::uintptr_t>(node->_private);
    return static_cast<std::uint64_t>(std::max(xmlGetLineNo(node), 0L));
}

std::optional<std::string> attributeOf(const xmlNode* element, const char* name) {
    const xmlAttr* found = element == nullptr ? nullptr : element->properties;
    while (found != nullptr && xmlStrcmp(found->name, reinterpret_cast<const xmlChar*>(name)) != 0)
        found = found->next;
    if (found == nullptr) return std::nullopt;
    const std::unique_ptr<xmlChar, void (*)(void*)> text(
        xmlNodeListGetString(element->doc, found->children, 1), xmlFree);
    return text == nullptr ? std::string() : reinterpret_cast<const char*>(text.get());
}

} // namespace skar::tool::vessel
