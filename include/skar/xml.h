#ifndef SKAR_XML_H
#define SKAR_XML_H

#include <skar/export.h>

#include <stdint.h>
#include <wchar.h>

/* XML of the store: a setting is an element, its value the element's attribute "value". Documents and nodes
   are those of libxml2, named here so that its headers are needed only by callers who look inside. Element
   names are compared without regard to case. Files are read without network, external entities and entity
   expansion beyond libxml2's limits. Diagnostics of libxml2 go where the caller has sent them. */

typedef struct _xmlDoc xmlDoc;
typedef xmlDoc* xmlDocPtr;
typedef struct _xmlNode xmlNode;
typedef xmlNode* xmlNodePtr;

/* A new document whose root carries the attribute Version with two decimals. The caller's, to be freed with
   FreeXmlDoc. Null for a root name that is null or no XML name. */
SKAR_EXPORT xmlDocPtr CreateXmlFile(const wchar_t* rootName, float version);

/* The document of a file, the caller's; null for one that cannot be read or is not well-formed. */
SKAR_EXPORT xmlDocPtr OpenXmlFile(const wchar_t* path);

/* Writes the document, indented. Returns the number of bytes, or -1 for a null document and for a file that
   could not be written; one that was there before is then as it was. */
SKAR_EXPORT int SaveXmlFile(xmlDocPtr document, const wchar_t* path);

/* Frees a document with all its nodes. Null is accepted. */
SKAR_EXPORT void FreeXmlDoc(xmlDocPtr document);

/* The child element of that name, made at the end if there is none. Null for a null argument and a name that
   is no XML name. */
SKAR_EXPORT xmlNodePtr CreateNode(xmlNodePtr parent, const wchar_t* name);

/* Takes a node with all below it out of its document and frees it. Null is accepted. */
SKAR_EXPORT void DeleteNode(xmlNodePtr node);

/* A copy without a parent, the caller's. `recursive` 1 copies all below, 2 only the attributes of the node.
   Null for a null node. */
SKAR_EXPORT xmlNodePtr CopyNode(xmlNodePtr node, int recursive);

/* The first element of that name among the node and the siblings behind it; of the document's root among its
   children. So for any other parent its first child is passed. Null for a null argument and without a match.
 */
SKAR_EXPORT xmlNodePtr getNode(xmlNodePtr node, const wchar_t* name);
/* The same with the name in UTF-8. */
SKAR_EXPORT xmlNodePtr getNode2(xmlNodePtr node, const char* name);

/* Put a value into the attribute "value" of the child element of that name, which is made if there is none:
   six decimals, a whole number, a text. A null text leaves the attribute alone; characters that XML cannot
   hold become U+FFFD. Return the element, or null if there is none and it cannot be made. */
SKAR_EXPORT xmlNodePtr WriteElementDouble(xmlNodePtr parent, const wchar_t* name, double value);
SKAR_EXPORT xmlNodePtr WriteElementInt(xmlNodePtr parent, const wchar_t* name, int32_t value);
SKAR_EXPORT xmlNodePtr WriteElementString(xmlNodePtr parent, const wchar_t* name, const wchar_t* value);

/* Read it back: the longest number at the start of the text, 0 or an empty text where element, attribute or
   number is missing. The buffer of the text must be long enough, which is not checked. Return the element, or
   null without parent or element. A null output is left out. */
SKAR_EXPORT xmlNodePtr ReadElementDouble(xmlNodePtr parent, const wchar_t* name, double* value);
SKAR_EXPORT xmlNodePtr ReadElementInt(xmlNodePtr parent, const wchar_t* name, int32_t* value);
SKAR_EXPORT xmlNodePtr ReadElementString(xmlNodePtr parent, const wchar_t* name, wchar_t* buffer);

/* Copies UTF-8 text with its terminator into a buffer that is long enough, an empty text for null. A null
   buffer is left alone. */
SKAR_EXPORT void CopyString(wchar_t* buffer, const char* text);

#ifdef __cplusplus

#include <skar/strings.h>

#include <vector>

namespace MORVAPP {

// A document that throws. Every failure is a Morva::Exception::Error with its message id; what libxml2 said
// is in errinfo_xml_diagnostic. Objects may be used side by side, one thread each.
class SKAR_API MORVAXMLDocument : public MORVAObject {
public:
    MORVAXMLDocument();
    ~MORVAXMLDocument() override;
    MORVAXMLDocument(const MORVAXMLDocument&) = delete;
    MORVAXMLDocument& operator=(const MORVAXMLDocument&) = delete;

    // Replaces what is held by a document with a root and, unless it is empty, a comment ahead of the root.
    // Throws XMLError (MESSAGE_ID_XML_ERROR) for a name that is no XML name; what was held stays.
    void newDocument(const MORVAUString& rootName, const MORVAUString& comment = {});
    // Replaces what is held by the document of a file. Throws FileAccessError for a missing file, XMLError
    // (MESSAGE_ID_XML_PARSE_ERROR) for one that cannot be read or is not well-formed; what was held stays.
    void openDocument(const MORVAUString& path);
    // Writes the document, indented if `format` is set. Throws AssertionError without a document, XMLError
    // (MESSAGE_ID_XML_SAVE_ERROR) for an unknown encoding and a file that could not be written.
    void saveDocument(const MORVAUString& path, bool format = true,
                      const MORVAUString& encoding = MORVAUString(L"UTF-8")) const;
    // Replaces `nodes` by what an XPath expression selects, save namespaces, which are no nodes of
    // the document; none for one that gives no set of nodes. The prefixes declared at the root hold. Throws
    // AssertionError without expression, document or root, XMLError (MESSAGE_ID_XPATH_ERROR) for an
    // expression that cannot be evaluated.
    void xPathSearch(const MORVAUString& xPathExpression, std::vector<xmlNodePtr>& nodes) const;

    // Both stay the property of this object; null without a document.
    xmlDocPtr getDocument() const noexcept { return document; }
    xmlNodePtr getRoot() const;

private:
    void hold(xmlDocPtr newer) noexcept;

    xmlDocPtr document = nullptr;
};

} // namespace MORVAPP

using MORVAPP::MORVAXMLDocument;

#endif

#endif
