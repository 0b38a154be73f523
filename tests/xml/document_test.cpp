#include "support/temporary_directory.h"

#include <skar/errors.h>
#include <skar/xml.h>

#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxslt/xsltutils.h>

#include <gtest/gtest.h>

#include <concepts>
#include <string>
#include <type_traits>

namespace {

using Morva::Exception::AssertionError;
using Morva::Exception::errinfo_assertion_message;
using Morva::Exception::FileAccessError;
using Morva::Foundation::errinfo_xml_diagnostic;
using Morva::Foundation::errinfo_xml_url;
using Morva::Foundation::errinfo_xpath_expression;
using Morva::Foundation::XMLError;
using skar::tests::TemporaryDirectory;

static_assert(std::is_base_of_v<MORVAObject, MORVAXMLDocument>);
static_assert(!std::is_copy_constructible_v<MORVAXMLDocument>);

template <class Thrown, class Work>
Thrown thrownBy(Work&& work) {
    try {
        work();
    } catch (const Thrown& thrown) {
        return thrown;
    }
    ADD_FAILURE() << "nothing of the kind was thrown";
    return Thrown();
}

template <class Info>
std::string detail(const boost::exception& thrown) {
    const auto* found = boost::get_error_info<Info>(thrown);
    if constexpr (std::same_as<typename Info::value_type, std::string>) {
        return found == nullptr ? "(none)" : *found;
    } else {
        return found == nullptr ? "(none)" : found->toUTF8();
    }
}

std::string nameOf(const xmlNode* node) {
    return node == nullptr ? "(null)" : reinterpret_cast<const char*>(node->name);
}

MORVAUString in(const TemporaryDirectory& folder, const std::string& name) {
    return MORVAUString(folder.wide(name).c_str());
}

std::string heard;
void hear(void*, const char* format, ...) {
    heard += format;
}

TEST(XmlDocument, HoldsNothingAtFirst) {
    const MORVAXMLDocument document;
    EXPECT_EQ(document.getDocument(), nullptr);
    EXPECT_EQ(document.getRoot(), nullptr);
}

TEST(XmlDocument, ANewOneHasARootAndIsSavedInItsEncoding) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    document.newDocument(L"Root");
    EXPECT_EQ(nameOf(document.getRoot()), "Root");
    WriteElementString(document.getRoot(), L"S", L"\u00fc");
    document.saveDocument(in(folder, "utf8.xml"));
    EXPECT_EQ(folder.read("utf8.xml"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Root>\n  <S value=\"\u00fc\"/>\n</Root>\n");
    document.saveDocument(in(folder, "latin.xml"), false, L"ISO-8859-1");
    EXPECT_EQ(folder.read("latin.xml"),
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<Root><S value=\"\xfc\"/></Root>\n");
    document.saveDocument(in(folder, "own.xml"), false, L"");
    EXPECT_EQ(folder.read("own.xml"), "<?xml version=\"1.0\"?>\n<Root><S value=\"&#xFC;\"/></Root>\n");
}

TEST(XmlDocument, MayHaveACommentAheadOfTheRoot) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    document.newDocument(L"Root", L" written by hand ");
    document.saveDocument(in(folder, "file.xml"));
    EXPECT_EQ(folder.read("file.xml"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- written by hand -->\n<Root/>\n");
}

TEST(XmlDocument, ABadNewOneThrowsAndKeepsWhatIsHeld) {
    MORVAXMLDocument document;
    document.newDocument(L"Kept");
    EXPECT_EQ(thrownBy<XMLError>([&] { document.newDocument(L"two words"); }).messageId(),
              "MESSAGE_ID_XML_ERROR");
    EXPECT_EQ(thrownBy<XMLError>([&] { document.newDocument(L"Root", L"a--b"); }).messageId(),
              "MESSAGE_ID_XML_ERROR");
    EXPECT_EQ(nameOf(document.getRoot()), "Kept");
}

TEST(XmlDocument, OpensAFileInThePlaceOfWhatIsHeld) {
    const TemporaryDirectory folder;
    folder.write("file.xml", "<Other/>");
    MORVAXMLDocument document;
    document.newDocument(L"Root");
    document.openDocument(in(folder, "file.xml"));
    EXPECT_EQ(nameOf(document.getRoot()), "Other");
}

TEST(XmlDocument, AMissingFileThrowsItsName) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    document.newDocument(L"Kept");
    const auto thrown = thrownBy<FileAccessError>([&] { document.openDocument(in(folder, "missing.xml")); });
    EXPECT_EQ(thrown.messageId(), "MESSAGE_ID_FILE_ACCESS_ERROR");
    EXPECT_EQ(detail<boost::errinfo_file_name>(thrown), (folder / "missing.xml").string());
    EXPECT_NE(boost::get_error_info<boost::throw_line>(thrown), nullptr);
    EXPECT_EQ(nameOf(document.getRoot()), "Kept");
}

TEST(XmlDocument, ABadFileThrowsWhatTheParserSaid) {
    const TemporaryDirectory folder;
    folder.write("bad file.xml", "<Root><A></Root>");
    MORVAXMLDocument document;
    document.newDocument(L"Kept");
    const auto thrown = thrownBy<XMLError>([&] { document.openDocument(in(folder, "bad file.xml")); });
    EXPECT_EQ(thrown.messageId(), "MESSAGE_ID_XML_PARSE_ERROR");
    EXPECT_NE(detail<errinfo_xml_diagnostic>(thrown).find("Opening and ending tag mismatch"),
              std::string::npos);
    EXPECT_EQ(detail<errinfo_xml_url>(thrown), "file://" + folder.path().string() + "/bad%20file.xml");
    EXPECT_EQ(nameOf(document.getRoot()), "Kept");
}

TEST(XmlDocument, AFileThatTheParserNeverSeesSaysWhy) {
    const TemporaryDirectory folder;
    std::string attributes;
    for (int i = 0; i < 10000; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    const std::string grown = "<!DOCTYPE r [<!ENTITY e '" + std::string(100000, 'x') +
                              "'>]><r a='&e;&e;&e;&e;&e;&e;"
                              "&e;&e;&e;&e;&e;'/>";
    for (const auto& [text, reason] :
         {std::pair("<r" + attributes + "/>", "too many attributes, names or declarations"),
          std::pair(grown, "entities that grow beyond bounds")}) {
        folder.write("bad.xml", text);
        MORVAXMLDocument document;
        const auto thrown = thrownBy<XMLError>([&] { document.openDocument(in(folder, "bad.xml")); });
        EXPECT_EQ(detail<errinfo_xml_diagnostic>(thrown),
                  (folder / "bad.xml").string() + ": " + reason + "\n");
    }
}

TEST(XmlDocument, ADirectoryThrowsAsAParseError) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    const auto thrown =
        thrownBy<XMLError>([&] { document.openDocument(MORVAUString(folder.wide().c_str())); });
    EXPECT_EQ(thrown.messageId(), "MESSAGE_ID_XML_PARSE_ERROR");
    EXPECT_NE(detail<errinfo_xml_diagnostic>(thrown), "");
}

TEST(XmlDocument, ThatCannotBeSavedThrows) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    const auto assertion = thrownBy<AssertionError>([&] { document.saveDocument(in(folder, "file.xml")); });
    EXPECT_EQ(detail<errinfo_assertion_message>(assertion), "this->document != NULL");
    EXPECT_EQ(assertion.messageId(), "MESSAGE_ID_INTERNAL_ERROR");

    document.newDocument(L"Root");
    const auto place = thrownBy<XMLError>([&] { document.saveDocument(in(folder, "missing/file.xml")); });
    EXPECT_EQ(place.messageId(), "MESSAGE_ID_XML_SAVE_ERROR");
    EXPECT_EQ(detail<errinfo_xml_url>(place), "file://" + folder.path().string() + "/missing/file.xml");
    const auto encoding =
        thrownBy<XMLError>([&] { document.saveDocument(in(folder, "file.xml"), true, L"no-such-encoding"); });
    EXPECT_EQ(encoding.messageId(), "MESSAGE_ID_XML_SAVE_ERROR");
    EXPECT_FALSE(folder.has("file.xml"));
}

TEST(XmlDocument, SavingSetsTheBlanksOfTheThread) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    document.newDocument(L"Root");
    const int before = xmlKeepBlanksDefault(1);
    document.saveDocument(in(folder, "file.xml"));
    EXPECT_EQ(xmlKeepBlanksDefault(before), 0);
}

TEST(XmlDocument, IsSearchedWithXPath) {
    const TemporaryDirectory folder;
    folder.write("file.xml", "<r xmlns:s='urn:s'><a n='1'/><s:a n='2'/><b><a n='3'/></b></r>");
    MORVAXMLDocument document;
    document.openDocument(in(folder, "file.xml"));
    std::vector<xmlNodePtr> nodes;
    document.xPathSearch(L"//a", nodes);
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(nameOf(nodes[1]->parent), "b");
    document.xPathSearch(L"//s:a", nodes);
    EXPECT_EQ(nodes.size(), 1u);
    document.xPathSearch(L"//missing", nodes);
    EXPECT_TRUE(nodes.empty());
    nodes.assign(2, nullptr);
    document.xPathSearch(L"count(//a)", nodes);
    EXPECT_TRUE(nodes.empty());
    // They would not outlive the search.
    document.xPathSearch(L"//namespace::*", nodes);
    EXPECT_TRUE(nodes.empty());
}

TEST(XmlDocument, ABadSearchThrows) {
    const TemporaryDirectory folder;
    MORVAXMLDocument document;
    std::vector<xmlNodePtr> nodes(1, nullptr);
    const auto assertionOf = [&](const wchar_t* expression) {
        return detail<errinfo_assertion_message>(
            thrownBy<AssertionError>([&] { document.xPathSearch(expression, nodes); }));
    };
    EXPECT_EQ(assertionOf(L""), "!xPathExpression.isEmpty()");
    EXPECT_EQ(assertionOf(L"//a"), "this->document != NULL");
    document.newDocument(L"Root");
    for (const wchar_t* expression : {L"//[", L"//unknown:a"}) {
        const auto thrown = thrownBy<XMLError>([&] { document.xPathSearch(expression, nodes); });
        EXPECT_EQ(thrown.messageId(), "MESSAGE_ID_XPATH_ERROR");
        EXPECT_EQ(detail<errinfo_xpath_expression>(thrown), MORVAUString(expression).toUTF8());
        EXPECT_NE(detail<errinfo_xml_diagnostic>(thrown), "");
    }
    EXPECT_EQ(nodes.size(), 1u);
    DeleteNode(document.getRoot());
    EXPECT_EQ(assertionOf(L"//a"), "root != NULL");
}

TEST(XmlDocument, PutsTheHandlersOfDiagnosticsBack) {
    const TemporaryDirectory folder;
    folder.write("bad.xml", "<Root>");
    xmlSetGenericErrorFunc(nullptr, hear);
    xsltSetGenericErrorFunc(nullptr, hear);
    MORVAXMLDocument document;
    thrownBy<XMLError>([&] { document.openDocument(in(folder, "bad.xml")); });
    EXPECT_EQ(heard, "") << "the document's own diagnostics are its own";
    EXPECT_EQ(xmlGenericError, &hear);
    EXPECT_EQ(xsltGenericError, &hear);
    EXPECT_EQ(OpenXmlFile(folder.wide("bad.xml").c_str()), nullptr);
    EXPECT_NE(heard, "") << "those of the plain functions go to the caller's handler";
    xmlSetGenericErrorFunc(nullptr, nullptr);
    xsltSetGenericErrorFunc(nullptr, nullptr);
}

} // namespace
