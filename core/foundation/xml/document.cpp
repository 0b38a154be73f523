#include "platform/file.h"
#include "xml/nodes.h"

#include <skar/errors.h>
#include <skar/xml.h>

#include <libxml/parser.h>
#include <libxml/uri.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <memory>
#include <mutex>

namespace MORVAPP {
namespace {

using Morva::Exception::AssertionError;
using Morva::Exception::errinfo_assertion_message;
using Morva::Exception::FileAccessError;
using Morva::Foundation::errinfo_xml_diagnostic;
using Morva::Foundation::errinfo_xml_url;
using Morva::Foundation::errinfo_xpath_expression;
using Morva::Foundation::XMLError;

// Collects what libxml2 and libxslt say while it lives. The handler of libxslt is one for the process, so
// only one collector can be at work.
class Diagnostics {
public:
    Diagnostics()
        : held(guard), xmlBefore(xmlGenericError), xmlContextBefore(xmlGenericErrorContext),
          structuredBefore(xmlStructuredError), structuredContextBefore(xmlStructuredErrorContext),
          xsltBefore(xsltGenericError), xsltContextBefore(xsltGenericErrorContext) {
        xmlSetStructuredErrorFunc(nullptr, nullptr);
        xmlSetGenericErrorFunc(this, collect);
        xsltSetGenericErrorFunc(this, collect);
    }
    ~Diagnostics() {
        xsltSetGenericErrorFunc(xsltContextBefore, xsltBefore);
        xmlSetGenericErrorFunc(xmlContextBefore, xmlBefore);
        xmlSetStructuredErrorFunc(structuredContextBefore, structuredBefore);
    }
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;

    errinfo_xml_diagnostic info() const { return errinfo_xml_diagnostic(MORVAUString(text.c_str())); }
    void add(const std::string& more) { text += more; }

private:
    // libxml2 may have a line for each of a million faults.
    static constexpr std::size_t mostText = 64 * 1024;

    static void collect(void* context, const char* format, ...) {
        auto& self = *static_cast<Diagnostics*>(context);
        std::array<char, 1024> part;
        std::va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(part.data(), part.size(), format, arguments);
        va_end(arguments);
        if (length > 0 && self.text.size() < mostText) {
            self.text += part.data();
        }
    }

    static inline std::mutex guard;
    std::lock_guard<std::mutex> held;
    std::string text;
    xmlGenericErrorFunc xmlBefore;
    void* xmlContextBefore;
    xmlStructuredErrorFunc structuredBefore;
    void* structuredContextBefore;
    xmlGenericErrorFunc xsltBefore;
    void* xsltContextBefore;
};

void require(bool condition, const char* text) {
    if (!condition) {
        BOOST_THROW_EXCEPTION(AssertionError() << errinfo_assertion_message(text));
    }
}

// The path as a URL; one that names a scheme already, longer than the letter of a drive, stays.
errinfo_xml_url urlOf(const MORVAUString& path) {
    const std::string native = skar::platform::nativePath(path.getTerminatedBuffer());
    const std::size_t colon = native.find(':');
    if (colon != std::string::npos && colon > 1 && native.find('/') > colon) {
        return errinfo_xml_url(path);
    }
    const std::unique_ptr<xmlChar, void (*)(void*)> escaped(
        xmlURIEscapeStr(reinterpret_cast<const xmlChar*>(native.c_str()),
                        reinterpret_cast<const xmlChar*>("/")),
        xmlFree);
    std::string url = native.starts_with('/') ? "file://" : "file:";
    url += escaped == nullptr ? native : reinterpret_cast<const char*>(escaped.get());
    return errinfo_xml_url(MORVAUString(url.c_str()));
}

} // namespace

MORVAXMLDocument::MORVAXMLDocument() = default;

MORVAXMLDocument::~MORVAXMLDocument() {
    hold(nullptr);
}

void MORVAXMLDocument::hold(xmlDocPtr newer) noexcept {
    FreeXmlDoc(document);
    document = newer;
}

xmlNodePtr MORVAXMLDocument::getRoot() const {
    return document == nullptr ? nullptr : xmlDocGetRootElement(document);
}

void MORVAXMLDocument::newDocument(const MORVAUString& rootName, const MORVAUString& comment) {
    const Diagnostics diagnostics;
    const std::string name = rootName.toUTF8();
    const auto* xmlName = reinterpret_cast<const xmlChar*>(name.c_str());
    skar::xml::Document made(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")));
    const xmlNodePtr root = made == nullptr || xmlValidateName(xmlName, 0) != 0
                                ? nullptr
                                : xmlNewDocNode(made.get(), nullptr, xmlName, nullptr);
    if (root == nullptr) {
        BOOST_THROW_EXCEPTION(XMLError("MESSAGE_ID_XML_ERROR") << diagnostics.info());
    }
    xmlDocSetRootElement(made.get(), root);
    if (!comment.isEmpty()) {
        const std::string text = skar::xml::utf8Of(comment.getTerminatedBuffer());
        const xmlNodePtr node =
            text.find("--") != std::string::npos || text.ends_with('-')
                ? nullptr
                : xmlNewDocComment(made.get(), reinterpret_cast<const xmlChar*>(text.c_str()));
        if (node == nullptr) {
            BOOST_THROW_EXCEPTION(XMLError("MESSAGE_ID_XML_ERROR") << diagnostics.info());
        }
        xmlAddPrevSibling(root, node);
    }
    hold(made.release());
}

void MORVAXMLDocument::openDocument(const MORVAUString& path) {
    Diagnostics diagnostics;
    const wchar_t* wide = path.getTerminatedBuffer();
    if (!skar::platform::pathAccessible(wide)) {
        BOOST_THROW_EXCEPTION(FileAccessError() << boost::errinfo_file_name(path.toUTF8()));
    }
    std::string bytes;
    skar::xml::Document opened;
    if (skar::platform::readFile(wide, skar::xml::mostBytes, bytes)) {
        opened = skar::xml::parseBytes(bytes, skar::platform::nativePath(path.getTerminatedBuffer()).c_str(),
                                       skar::xml::Blanks::asSetForTheThread);
    } else {
        diagnostics.add(
            MORVAUString(skar::platform::lastErrorText(skar::platform::lastError()).c_str()).toUTF8());
    }
    if (opened == nullptr) {
        BOOST_THROW_EXCEPTION(XMLError("MESSAGE_ID_XML_PARSE_ERROR") << diagnostics.info() << urlOf(path));
    }
    hold(opened.release());
}

void MORVAXMLDocument::saveDocument(const MORVAUString& path, bool format,
                                    const MORVAUString& encoding) const {
    require(document != nullptr, "this->document != NULL");
    const Diagnostics diagnostics;
    xmlKeepBlanksDefault(0);
    const std::string name = encoding.toUTF8();
    const wchar_t* wide = path.getTerminatedBuffer();
    if (skar::xml::saveFile(document, wide, name.empty() ? nullptr : name.c_str(), format) < 0) {
        BOOST_THROW_EXCEPTION(XMLError("MESSAGE_ID_XML_SAVE_ERROR") << diagnostics.info() << urlOf(path));
    }
}

void MORVAXMLDocument::xPathSearch(const MORVAUString& xPathExpression,
                                   std::vector<xmlNodePtr>& nodes) const {
    require(!xPathExpression.isEmpty(), "!xPathExpression.isEmpty()");
    require(document != nullptr, "this->document != NULL");
    const xmlNodePtr root = getRoot();
    require(root != nullptr, "root != NULL");

    const Diagnostics diagnostics;
    const std::unique_ptr<xmlXPathContext, void (*)(xmlXPathContext*)> context(xmlXPathNewContext(document),
                                                                               xmlXPathFreeContext);
    if (context == nullptr) {
        BOOST_THROW_EXCEPTION(XMLError("MESSAGE_ID_XML_ERROR") << diagnostics.info());
    }
    for (const xmlNs* space = root->nsDef; space != nullptr; space = space->next) {
        if (space->prefix != nullptr) {
            xmlXPathRegisterNs(context.get(), space->prefix, space->href);
        }
    }
    const std::string expression = xPathExpression.toUTF8();
    const std::unique_ptr<xmlXPathObject, void (*)(xmlXPathObject*)> found(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(expression.c_str()), context.get()),
        xmlXPathFreeObject);
    if (found == nullptr) {
        BOOST_THROW_EXCEPTION(XMLError("MESSAGE_ID_XPATH_ERROR")
                              << errinfo_xpath_expression(xPathExpression) << diagnostics.info());
    }
    nodes.clear();
    if (found->type == XPATH_NODESET && found->nodesetval != nullptr) {
        const xmlNodeSet& set = *found->nodesetval;
        // Namespaces are no nodes of the document; they go with the result of the search.
        std::copy_if(set.nodeTab, set.nodeTab + set.nodeNr, std::back_inserter(nodes),
                     [](const xmlNode* node) { return node->type != XML_NAMESPACE_DECL; });
    }
}

} // namespace MORVAPP
