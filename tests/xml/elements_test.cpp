#include "support/fault_backend.h"
#include "support/temporary_directory.h"

#include <skar/xml.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <memory>
#include <string>

namespace {

using skar::tests::FaultBackend;
using skar::tests::TemporaryDirectory;

struct DocumentDeleter {
    void operator()(xmlDoc* document) const { FreeXmlDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

Document parsed(const std::string& text) {
    return Document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NOBLANKS));
}

std::string textOf(xmlDocPtr document) {
    xmlChar* text = nullptr;
    int size = 0;
    xmlDocDumpMemory(document, &text, &size);
    const std::string result(reinterpret_cast<char*>(text), static_cast<std::size_t>(size));
    xmlFree(text);
    return result;
}

std::string attributeOf(xmlNodePtr node, const char* name) {
    xmlChar* text = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    const std::string result = text == nullptr ? "(none)" : reinterpret_cast<char*>(text);
    xmlFree(text);
    return result;
}

class XmlElements : public testing::Test {
protected:
    Document document{CreateXmlFile(L"Root", 1.0F)};
    xmlNodePtr root = xmlDocGetRootElement(document.get());
};

TEST(XmlFile, ANewOneHasTheVersionWithTwoDecimals) {
    const Document document(CreateXmlFile(L"Root", 2.5F));
    EXPECT_EQ(textOf(document.get()),
              "<?xml version=\"1.0\" standalone=\"yes\"?>\n<Root Version=\"2.50\"/>\n");
    const Document first(CreateXmlFile(L"Root", 1.0F));
    EXPECT_EQ(attributeOf(xmlDocGetRootElement(first.get()), "Version"), "1.00");
}

TEST(XmlFile, ARootThatIsNoXmlNameGivesNone) {
    EXPECT_EQ(CreateXmlFile(nullptr, 1.0F), nullptr);
    EXPECT_EQ(CreateXmlFile(L"", 1.0F), nullptr);
    EXPECT_EQ(CreateXmlFile(L"two words", 1.0F), nullptr);
}

TEST(XmlFile, IsSavedIndentedAndReadBack) {
    const TemporaryDirectory folder;
    const Document document(CreateXmlFile(L"Root", 1.0F));
    const xmlNodePtr group = CreateNode(xmlDocGetRootElement(document.get()), L"Group");
    WriteElementInt(group, L"Count", 3);
    const std::string expected = "<?xml version=\"1.0\" standalone=\"yes\"?>\n"
                                 "<Root Version=\"1.00\">\n"
                                 "  <Group>\n"
                                 "    <Count value=\"3\"/>\n"
                                 "  </Group>\n"
                                 "</Root>\n";
    EXPECT_EQ(SaveXmlFile(document.get(), folder.wide("file.xml").c_str()),
              static_cast<int>(expected.size()));
    EXPECT_EQ(folder.read("file.xml"), expected);

    const Document opened(OpenXmlFile(folder.wide("file.xml").c_str()));
    ASSERT_NE(opened, nullptr);
    const xmlNodePtr again = getNode(xmlDocGetRootElement(opened.get()), L"Group");
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(attributeOf(getNode(again->children, L"Count"), "value"), "3");
}

TEST(XmlFile, TheStorePathMayHaveBackslashesAndAnyLetters) {
    const TemporaryDirectory folder;
    folder.write("gr\u00f6\u00dfe/x", "");
    const Document document(CreateXmlFile(L"Root", 1.0F));
    const std::wstring path = folder.wide() + L"\\gr\u00f6\u00dfe\\\u6d77.xml";
    EXPECT_GT(SaveXmlFile(document.get(), path.c_str()), 0);
    EXPECT_TRUE(folder.has("gr\u00f6\u00dfe/\u6d77.xml"));
    EXPECT_NE(Document(OpenXmlFile(path.c_str())), nullptr);
}

TEST(XmlFile, SavingFailsWithMinusOne) {
    const TemporaryDirectory folder;
    const Document document(CreateXmlFile(L"Root", 1.0F));
    EXPECT_EQ(SaveXmlFile(nullptr, folder.wide("file.xml").c_str()), -1);
    EXPECT_EQ(SaveXmlFile(document.get(), nullptr), -1);
    EXPECT_EQ(SaveXmlFile(document.get(), folder.wide("missing/file.xml").c_str()), -1);
    EXPECT_EQ(SaveXmlFile(document.get(), folder.wide().c_str()), -1);
    EXPECT_FALSE(folder.has("file.xml"));
}

TEST(XmlFile, AFailedSaveLeavesTheFileAsItWas) {
    const Document document(CreateXmlFile(L"Root", 1.0F));
    FaultBackend counting;
    counting.put("/store/file.xml", "before");
    ASSERT_GT(SaveXmlFile(document.get(), L"\\store\\file.xml"), 0);
    const std::size_t operations = counting.operations();
    for (std::size_t n = 1; n <= operations; ++n) {
        FaultBackend disk;
        disk.put("/store/file.xml", "before");
        disk.failAt(n, ENOSPC);
        if (SaveXmlFile(document.get(), L"\\store\\file.xml") == -1) {
            EXPECT_EQ(disk.bytes("/store/file.xml"), "before") << "operation " << n;
        } else {
            EXPECT_EQ(disk.bytes("/store/file.xml"), textOf(document.get())) << "operation " << n;
        }
        EXPECT_EQ(disk.openStreams(), 0);
    }
}

TEST(XmlFile, OneThatCannotBeReadOrParsedOpensAsNull) {
    const TemporaryDirectory folder;
    folder.write("bad.xml", "<Root>");
    EXPECT_EQ(OpenXmlFile(nullptr), nullptr);
    EXPECT_EQ(OpenXmlFile(folder.wide("missing.xml").c_str()), nullptr);
    EXPECT_EQ(OpenXmlFile(folder.wide("bad.xml").c_str()), nullptr);
    EXPECT_EQ(OpenXmlFile(folder.wide().c_str()), nullptr);
    FreeXmlDoc(nullptr);
}

TEST_F(XmlElements, AreMadeOnceUnderTheirParent) {
    const xmlNodePtr made = CreateNode(root, L"Group");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(CreateNode(root, L"GROUP"), made);
    EXPECT_EQ(xmlChildElementCount(root), 1u);
    const xmlNodePtr below = CreateNode(made, L"Group");
    EXPECT_NE(below, made);
    EXPECT_EQ(below->parent, made);
}

TEST_F(XmlElements, AreNotMadeOfANullOrABadName) {
    EXPECT_EQ(CreateNode(nullptr, L"Group"), nullptr);
    EXPECT_EQ(CreateNode(root, nullptr), nullptr);
    EXPECT_EQ(CreateNode(root, L"a b"), nullptr);
    EXPECT_EQ(WriteElementDouble(root, L"<", 1.0), nullptr);
    EXPECT_EQ(WriteElementInt(root, L"", 1), nullptr);
    EXPECT_EQ(WriteElementDouble(nullptr, L"A", 1.0), nullptr);
    EXPECT_EQ(WriteElementInt(nullptr, L"A", 1), nullptr);
    EXPECT_EQ(WriteElementString(nullptr, L"A", L"x"), nullptr);
    EXPECT_EQ(root->children, nullptr);
}

TEST_F(XmlElements, GoWithAllBelowThem) {
    WriteElementInt(CreateNode(root, L"Group"), L"A", 1);
    DeleteNode(CreateNode(root, L"Group"));
    EXPECT_EQ(root->children, nullptr);
    DeleteNode(nullptr);
}

TEST_F(XmlElements, AreCopiedWithOrWithoutWhatIsBelow) {
    const xmlNodePtr group = CreateNode(root, L"Group");
    WriteElementInt(group, L"A", 1);
    const xmlNodePtr whole = CopyNode(group, 1);
    const xmlNodePtr alone = CopyNode(group, 0);
    EXPECT_EQ(whole->parent, nullptr);
    EXPECT_EQ(xmlChildElementCount(whole), 1u);
    EXPECT_EQ(xmlChildElementCount(alone), 0u);
    DeleteNode(whole);
    DeleteNode(alone);
    EXPECT_EQ(CopyNode(nullptr, 1), nullptr);
}

TEST(XmlSearch, StartsAtTheChildrenOfTheRootAndAtAnyOtherNodeItself) {
    const Document document = parsed("<Root><A/><B><A n='inner'/></B><!--C--><C/></Root>");
    const xmlNodePtr root = xmlDocGetRootElement(document.get());
    const xmlNodePtr a = getNode(root, L"A");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->parent, root);
    EXPECT_EQ(getNode(root, L"Root"), nullptr);
    EXPECT_EQ(getNode(a, L"A"), a);
    const xmlNodePtr b = getNode(a, L"b");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(getNode(b, L"A"), nullptr) << "the search goes on to the siblings, not below";
    EXPECT_EQ(attributeOf(getNode(b->children, L"A"), "n"), "inner");
    EXPECT_EQ(getNode(b, L"C")->type, XML_ELEMENT_NODE);
    EXPECT_EQ(getNode2(root, "c"), getNode(root, L"C"));
}

TEST(XmlSearch, OfNothingFindsNothing) {
    const Document document = parsed("<Root><A/></Root>");
    const xmlNodePtr root = xmlDocGetRootElement(document.get());
    EXPECT_EQ(getNode(nullptr, L"A"), nullptr);
    EXPECT_EQ(getNode(root, nullptr), nullptr);
    EXPECT_EQ(getNode2(nullptr, "A"), nullptr);
    EXPECT_EQ(getNode2(root, nullptr), nullptr);
    EXPECT_EQ(getNode(root, L"Missing"), nullptr);
}

TEST_F(XmlElements, HoldNumbersAndTextsInTheirValue) {
    EXPECT_EQ(attributeOf(WriteElementDouble(root, L"D", -1.25), "value"), "-1.250000");
    EXPECT_EQ(attributeOf(WriteElementDouble(root, L"Small", 1e-9), "value"), "0.000000");
    EXPECT_EQ(attributeOf(WriteElementInt(root, L"I", -2147483647 - 1), "value"), "-2147483648");
    EXPECT_EQ(attributeOf(WriteElementString(root, L"S", L"\u00fc & \"<"), "value"), "\u00fc & \"<");
}

TEST_F(XmlElements, AreRewrittenInPlace) {
    const xmlNodePtr first = WriteElementInt(root, L"First", 1);
    WriteElementInt(root, L"Second", 2);
    xmlSetProp(first, reinterpret_cast<const xmlChar*>("unit"), reinterpret_cast<const xmlChar*>("m"));
    EXPECT_EQ(WriteElementInt(root, L"first", 7), first);
    EXPECT_EQ(root->children, first);
    EXPECT_EQ(xmlChildElementCount(root), 2u);
    EXPECT_EQ(attributeOf(first, "value"), "7");
    EXPECT_EQ(attributeOf(first, "unit"), "m");
}

TEST_F(XmlElements, ANullTextLeavesTheAttributeAlone) {
    const xmlNodePtr made = WriteElementString(root, L"S", nullptr);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(attributeOf(made, "value"), "(none)");
    WriteElementString(root, L"S", L"kept");
    EXPECT_EQ(WriteElementString(root, L"S", nullptr), made);
    EXPECT_EQ(attributeOf(made, "value"), "kept");
}

TEST_F(XmlElements, WhatXmlCannotHoldDoesNotMakeTheFileUnreadable) {
    const TemporaryDirectory folder;
    WriteElementString(root, L"S", L"a\u0001b\uFFFE\n\tc\U0001F6A2");
    ASSERT_GT(SaveXmlFile(document.get(), folder.wide("file.xml").c_str()), 0);
    const Document opened(OpenXmlFile(folder.wide("file.xml").c_str()));
    ASSERT_NE(opened, nullptr);
    wchar_t text[32];
    ReadElementString(xmlDocGetRootElement(opened.get()), L"S", text);
    EXPECT_STREQ(text, L"a\uFFFDb\uFFFD\n\tc\U0001F6A2");
}

TEST(XmlReading, FindsNamesWithoutRegardToCase) {
    const Document document = parsed("<Root><Value value='3'/></Root>");
    std::int32_t number = -1;
    EXPECT_NE(ReadElementInt(xmlDocGetRootElement(document.get()), L"VALUE", &number), nullptr);
    EXPECT_EQ(number, 3);
}

TEST(XmlReading, GivesTheStartOfTheText) {
    const Document document = parsed("<Root><A value=' 12.5m'/><B value='abc'/></Root>");
    const xmlNodePtr root = xmlDocGetRootElement(document.get());
    double number = -1.0;
    std::int32_t whole = -1;
    EXPECT_NE(ReadElementDouble(root, L"A", &number), nullptr);
    EXPECT_EQ(number, 12.5);
    EXPECT_NE(ReadElementInt(root, L"A", &whole), nullptr);
    EXPECT_EQ(whole, 12);
    EXPECT_NE(ReadElementInt(root, L"B", &whole), nullptr);
    EXPECT_EQ(whole, 0);
    EXPECT_NE(ReadElementDouble(root, L"B", &number), nullptr);
    EXPECT_EQ(number, 0.0);
}

TEST(XmlReading, GivesZeroAndAnEmptyTextForWhatIsMissing) {
    const Document document = parsed("<Root><NoValue other='1'/><Empty value=''/></Root>");
    const xmlNodePtr root = xmlDocGetRootElement(document.get());
    struct Case {
        xmlNodePtr parent;
        const wchar_t* name;
        bool found;
    };
    for (const Case& each :
         {Case{nullptr, L"NoValue", false}, Case{root, L"Missing", false}, Case{root, nullptr, false},
          Case{root, L"NoValue", true}, Case{root, L"Empty", true}}) {
        double number = 9.0;
        std::int32_t whole = 9;
        wchar_t text[4] = L"old";
        EXPECT_EQ(ReadElementDouble(each.parent, each.name, &number) != nullptr, each.found);
        EXPECT_EQ(ReadElementInt(each.parent, each.name, &whole) != nullptr, each.found);
        EXPECT_EQ(ReadElementString(each.parent, each.name, text) != nullptr, each.found);
        EXPECT_EQ(number, 0.0);
        EXPECT_EQ(whole, 0);
        EXPECT_STREQ(text, L"");
    }
    EXPECT_NE(ReadElementDouble(root, L"Empty", nullptr), nullptr);
    EXPECT_NE(ReadElementInt(root, L"Empty", nullptr), nullptr);
    EXPECT_NE(ReadElementString(root, L"Empty", nullptr), nullptr);
}

TEST(XmlReading, TurnsUtf8IntoWideText) {
    const Document document = parsed("<Root><S value='\u6d77 &amp; &#x1F6A2;'/></Root>");
    wchar_t text[16];
    EXPECT_NE(ReadElementString(xmlDocGetRootElement(document.get()), L"S", text), nullptr);
    EXPECT_STREQ(text, L"\u6d77 & \U0001F6A2");
}

TEST(XmlText, IsCopiedWithItsTerminator) {
    wchar_t buffer[8] = L"1234567";
    CopyString(buffer, "\u00fcber");
    EXPECT_STREQ(buffer, L"\u00fcber");
    EXPECT_EQ(buffer[5], L'6');
    CopyString(buffer, nullptr);
    EXPECT_STREQ(buffer, L"");
    CopyString(nullptr, "x");
}

TEST_F(XmlElements, NumbersHaveThePointInEveryLocale) {
    const char* found = std::setlocale(LC_ALL, "de_DE.UTF-8");
    WriteElementDouble(root, L"D", 1.5);
    double number = 0.0;
    ReadElementDouble(root, L"D", &number);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(attributeOf(root->children, "value"), "1.500000") << (found == nullptr ? "C" : found);
    EXPECT_EQ(number, 1.5);
}

} // namespace
