#include "support/processortime.h"
#include "support/temporary_directory.h"

#include <skar/xml.h>

#include <libxml/tree.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using skar::tests::TemporaryDirectory;

class HostileXml : public testing::Test {
protected:
    // What the file comes to when it is opened; it is held to a time.
    bool opens(const std::string& bytes) {
        folder.write("file.xml", bytes);
        const skar::tests::ProcessorTime spent;
        const xmlDocPtr document = OpenXmlFile(folder.wide("file.xml").c_str());
        EXPECT_LT(spent.seconds(), 10 * skar::tests::hostileLimit);
        value.assign(64, L'\0');
        if (document == nullptr) return false;
        std::wstring text(11 << 20, L'\0');
        ReadElementString(xmlDocGetRootElement(document), L"S", text.data());
        value = text.c_str();
        FreeXmlDoc(document);
        return true;
    }

    TemporaryDirectory folder;
    std::wstring value;
};

std::string bomb(const std::string& use) {
    std::string text = "<!DOCTYPE r [<!ENTITY e0 \"0123456789\">";
    for (int i = 1; i < 12; ++i) {
        text += "<!ENTITY e" + std::to_string(i) + " \"";
        for (int n = 0; n < 10; ++n)
            text += "&e" + std::to_string(i - 1) + ";";
        text += "\">";
    }
    return text + "]><r>" + use + "</r>";
}

TEST_F(HostileXml, AnEntityBombIsRefused) {
    EXPECT_FALSE(opens(bomb("<S value='&e11;'/>")));
    EXPECT_FALSE(opens(bomb("&e11;")));
}

TEST_F(HostileXml, AnEntityOfManyUsesIsRefused) {
    std::string text = "<!DOCTYPE r [<!ENTITY e \"" + std::string(100000, 'x') + "\">]><r><S value='";
    for (int n = 0; n < 10000; ++n)
        text += "&e;";
    EXPECT_FALSE(opens(text + "'/></r>"));
}

TEST_F(HostileXml, AnEntityOfTheFileItselfHolds) {
    EXPECT_TRUE(opens("<!DOCTYPE r [<!ENTITY v \"Morning &amp; Star\">]><r><S value='&v;'/></r>"));
    EXPECT_EQ(value, L"Morning & Star");
}

TEST_F(HostileXml, EntitiesThatNameEachOtherAreRefused) {
    EXPECT_FALSE(opens("<!DOCTYPE r [<!ENTITY a \"&b;\"><!ENTITY b \"&a;\">]><r><S value='&a;'/></r>"));
}

TEST_F(HostileXml, NothingExternalIsRead) {
    folder.write("secret.txt", "secret");
    folder.write("secret.dtd", "<!ENTITY s \"secret\"><!ATTLIST S value CDATA \"secret\">");
    const std::string place = "file://" + folder.path().string();
    const std::string root = "<r><S/>&s;</r>";
    opens("<!DOCTYPE r [<!ENTITY s SYSTEM \"" + place + "/secret.txt\">]>" + root);
    EXPECT_EQ(value.find(L"secret"), std::wstring::npos);
    opens("<!DOCTYPE r SYSTEM \"" + place + "/secret.dtd\"><r><S/></r>");
    EXPECT_EQ(value, L"");
    opens("<!DOCTYPE r [<!ENTITY % p SYSTEM \"" + place + "/secret.dtd\">%p;]><r><S/></r>");
    EXPECT_EQ(value, L"");
    EXPECT_FALSE(
        opens("<!DOCTYPE r [<!ENTITY s SYSTEM \"" + place + "/secret.txt\">]><r><S value='&s;'/></r>"));
}

TEST_F(HostileXml, NestingOfAHundredThousandLevelsIsRefused) {
    std::string text;
    for (int n = 0; n < 100000; ++n)
        text += "<a>";
    for (int n = 0; n < 100000; ++n)
        text += "</a>";
    EXPECT_FALSE(opens(text));
}

TEST_F(HostileXml, AnAttributeOfTenMillionBytesIsRefused) {
    EXPECT_FALSE(opens("<r><S value='" + std::string(10500000, 'x') + "'/></r>"));
}

std::string numbered(const std::string& before, int count, const std::string& behind) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += before + std::to_string(i) + behind;
    return text;
}

std::string wide(const std::string& text) {
    std::string units = "\xFF\xFE";
    for (const char c : text) {
        units += c;
        units += '\0';
    }
    return units;
}

TEST_F(HostileXml, WhatTheParserWouldCompareInPairsIsRefused) {
    const std::string many = numbered("b", 100000, "='' ");
    EXPECT_FALSE(opens("<r " + many + "/>"));
    EXPECT_FALSE(opens(wide("<r " + many + "/>")));
    EXPECT_FALSE(opens("<?xml version='1.0' encoding='no-such-thing'?><r " + many + "/>"));
    // The parser goes on behind these mistakes.
    EXPECT_FALSE(opens("<r><c x='<d " + many + "/>'/></r>"));
    EXPECT_FALSE(opens("<r><?>\n<c " + many + "/>?></r>"));
    EXPECT_FALSE(opens("<r><c x=1><d y " + many + "/></c></r>"));
    EXPECT_FALSE(opens("<r>" + numbered("<c", 10000, " " + numbered("b", 100, "='' ") + "/>") + "</r>"));
    EXPECT_FALSE(opens("<!DOCTYPE r [<!ATTLIST r " + numbered("b", 40000, " CDATA 'x' ") + ">]><r/>"));
    EXPECT_FALSE(opens("<!DOCTYPE r [" + numbered("<!ELEMENT b", 100000, " EMPTY>") + "]><r/>"));
}

TEST_F(HostileXml, TooManyNamesOrPrefixesAreRefused) {
    EXPECT_FALSE(opens("<r>" + numbered("<b", 1000000, "/>") + "</r>"));
    EXPECT_FALSE(opens("<r>" + numbered("&b", 1000000, ";") + "</r>"));
    EXPECT_FALSE(opens("<r>" + numbered("</b", 1000000, ">") + "</r>"));
    EXPECT_FALSE(opens("<r>" + numbered("<?b", 1000000, "?>") + "</r>"));
    std::string deep;
    for (int i = 0; i < 200; ++i)
        deep += "<a " + numbered("xmlns:p" + std::to_string(i) + "x", 100, "='u' ") + ">";
    EXPECT_FALSE(opens(deep + numbered("<q:z c='", 40000, "'/>")));
}

TEST_F(HostileXml, WhatALargeFileOfOurOwnHoldsIsAccepted) {
    const std::string names = numbered("<n", 20000, " a='1' b='2' c='3' d='4' e='5' f='6'/>");
    EXPECT_TRUE(opens("<r><S value='last'/>" + names + "</r>"));
    EXPECT_EQ(value, L"last");
    EXPECT_TRUE(opens("<r>" + [] {
        std::string tags;
        for (int n = 0; n < 100000; ++n)
            tags += "<n a='' b='' c='' d='' e='' f='' g='' h='' i='' j='' k='' l='' m='' n='' o=''/>";
        return tags;
    }() + "<S value='many'/></r>"));
    EXPECT_EQ(value, L"many");
    EXPECT_TRUE(opens("<r " + numbered("b", 4000, "='' ") + "><S value='&lt;&amp;&gt;'/></r>"));
    EXPECT_EQ(value, L"<&>");
    EXPECT_TRUE(opens(wide("<r><S value='wide'/></r>")));
    EXPECT_EQ(value, L"wide");
    EXPECT_TRUE(opens("<?xml version='1.0' encoding='Shift_JIS'?><r><S value='\x83\x65'/></r>"));
    EXPECT_EQ(value, L"\u30c6");
    EXPECT_TRUE(opens("<!DOCTYPE r [<!ATTLIST S value CDATA 'x'>]><r>" + std::string(10000, ' ') +
                      "<S value='own'/></r>"));
    EXPECT_EQ(value, L"own");
}

TEST_F(HostileXml, BytesThatAreNoTextAreRefused) {
    EXPECT_FALSE(opens(std::string("<r><S value='a\0b'/></r>", 23)));
    EXPECT_FALSE(opens("<r><S value='\xff\xfe'/></r>"));
    EXPECT_FALSE(opens("<r><S value='&#0;'/></r>"));
    EXPECT_FALSE(opens(std::string(100000, '\0')));
    EXPECT_FALSE(opens(""));
}

TEST_F(HostileXml, EveryCutOfAFileIsRefused) {
    const std::string whole = "<?xml version=\"1.0\"?><r Version=\"1.0\"><S value=\"1\"/></r>";
    ASSERT_TRUE(opens(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(opens(whole.substr(0, size))) << size;
    }
}

} // namespace
