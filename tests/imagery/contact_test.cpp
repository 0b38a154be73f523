#include "support/decimal_comma.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/contact.h>
#include <skar/errors.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <vector>

using namespace skar::tests;

namespace {

const std::string header = "project vessel day line\nVERSION 4\n";

struct CloseContacts {
    void operator()(ContactFile* contacts) const { ContactClose(contacts); }
};
using Contacts = std::unique_ptr<ContactFile, CloseContacts>;

Contacts create(const Line& line, const char* colourMap = nullptr) {
    long code = 77;
    std::string map = colourMap ? colourMap : "";
    Contacts contacts(ContactNewDir(line.path().c_str(), colourMap ? map.data() : nullptr, &code));
    EXPECT_EQ(contacts ? 0 : 5024001, code);
    return contacts;
}
Contacts open(const Line& line) {
    long code = 77;
    Contacts contacts(ContactOpenDir(line.path().c_str(), &code));
    EXPECT_EQ(contacts != nullptr, code == 0) << code;
    return contacts;
}
// A contact file of that version with those lines.
Contacts openLines(const Line& line, int version, const std::string& lines) {
    line.write("Contact", "p v d l\nVERSION " + std::to_string(version) + "\n" + lines);
    return open(line);
}

template <std::size_t Size>
void set(wchar_t (&field)[Size], const std::wstring& text) {
    ASSERT_LT(text.size(), Size);
    field[text.copy(field, Size - 1)] = L'\0';
}

Contact point() {
    Contact c;
    c.number = 7;
    c.kind = 1;
    c.profile = 1234;
    set(c.sourceName, L"LINE0001.XTF");
    set(c.sourceSubName, L"P1");
    set(c.secondName, L"LINE0002.XTF");
    set(c.secondSubName, L"S");
    c.value = 12.345;
    c.latitude = 44.12345678;
    c.longitude = -63.5;
    c.measures[0] = 1.5;
    c.measures[1] = -2.25;
    c.measures[2] = 1234567.0;
    c.codes[0] = 12;
    c.codes[1] = -3;
    set(c.firstIdentifier, L"ABC");
    set(c.secondIdentifier, L"wreck");
    set(c.remark, L"a boiler");
    c.flag = true;
    return c;
}
const std::string pointLine = "7   ,LINE0001,XTF,P1 ,LINE0002,XTF,S  ,ABC     ,wreck       ,1,"
                              "1234  , 12.35,   44.1234568,  -63.5000000,"
                              "  1.50, -2.25,1234567.00,12  ,-3  ,1 ,a boiler" +
                              std::string(72, ' ');

Contact pointList() {
    Contact c = point();
    c.number = 12345;
    c.kind = 2;
    c.numPoints = 2;
    c.pointProfile = {20, 10};
    c.pointFirst = {1.25F, -0.5F};
    c.pointSecond = {100000.0F, 0.0F};
    c.pointLatitude = {1.0, -2.0};
    c.pointLongitude = {179.12345678, -0.00000004};
    c.flag = false;
    return c;
}
const std::string listLine = "12345,LINE0001,XTF,P1 ,LINE0002,XTF,S  ,ABC     ,wreck       ,2,2  ,"
                             "20    ,  1.25,100000.00,    1.0000000,  179.1234568,"
                             "10    , -0.50,  0.00,   -2.0000000,   -0.0000000,"
                             "  1.50, -2.25,1234567.00,12  ,-3  ,0 ,a boiler" +
                             std::string(72, ' ');

std::wstring padded(std::wstring text, std::size_t width) {
    text.resize(width, L' ');
    return text;
}

// What is read of pointLine, or of the common fields of a list.
void expectPoint(const Contact& c) {
    EXPECT_STREQ(L"LINE0001.XTF", c.sourceName);
    EXPECT_STREQ(L"P1 ", c.sourceSubName);
    EXPECT_STREQ(L"LINE0002.XTF", c.secondName);
    EXPECT_STREQ(L"S  ", c.secondSubName);
    EXPECT_STREQ(L"ABC     ", c.firstIdentifier);
    EXPECT_STREQ(L"wreck       ", c.secondIdentifier);
    EXPECT_EQ(1.5, c.measures[0]);
    EXPECT_EQ(-2.25, c.measures[1]);
    EXPECT_EQ(1234567.0, c.measures[2]);
    EXPECT_EQ(12, c.codes[0]);
    EXPECT_EQ(-3, c.codes[1]);
    EXPECT_EQ(padded(L"a boiler", 80), c.remark) << "the padding stays";
}

TEST(Contacts, AreWrittenToExactWidths) {
    const Line line;
    {
        const Contacts contacts = create(line);
        ASSERT_TRUE(contacts);
        EXPECT_EQ(4u, contacts->version);
        Contact c = point();
        EXPECT_EQ(0, WriteContactRecord(contacts.get(), &c));
        c = pointList();
        EXPECT_EQ(0, WriteContactRecord(contacts.get(), &c));
        EXPECT_EQ(header + pointLine + "\n" + listLine + "\n", line.bytes("Contact")) << "on disk at once";
    }
    EXPECT_EQ(header + pointLine + "\n" + listLine + "\n", line.bytes("Contact"));
}

TEST(Contacts, AreReadInTheirOrder) {
    const Line line;
    line.write("Contact", header + pointLine + "\n" + listLine + "\n");
    const Contacts contacts = open(line);
    ASSERT_TRUE(contacts);
    Contact c;
    long code = 77;
    ASSERT_NE(0, ReadFirstContact(contacts.get(), &c, &code));
    EXPECT_EQ(0, code);
    expectPoint(c);
    EXPECT_EQ(7, c.number);
    EXPECT_EQ(1, c.kind);
    EXPECT_EQ(1234, c.profile);
    EXPECT_EQ(12.35, c.value);
    EXPECT_EQ(44.1234568, c.latitude);
    EXPECT_EQ(-63.5, c.longitude);
    EXPECT_TRUE(c.flag);
    ASSERT_NE(0, ReadNextContact(contacts.get(), &c, nullptr));
    expectPoint(c);
    EXPECT_EQ(12345, c.number);
    EXPECT_EQ(2, c.kind);
    EXPECT_EQ(2, c.numPoints);
    EXPECT_EQ(10, c.lowestProfile);
    EXPECT_EQ(20, c.highestProfile);
    EXPECT_EQ((std::vector<int>{20, 10}), c.pointProfile);
    EXPECT_EQ((std::vector<float>{1.25F, -0.5F}), c.pointFirst);
    EXPECT_EQ((std::vector<float>{100000.0F, 0.0F}), c.pointSecond);
    EXPECT_EQ((std::vector<double>{1.0, -2.0}), c.pointLatitude);
    EXPECT_EQ((std::vector<double>{179.1234568, 0.0}), c.pointLongitude);
    EXPECT_EQ((std::vector<double>{0.0, 0.0}), c.pointSpare1);
    EXPECT_EQ((std::vector<double>{0.0, 0.0}), c.pointSpare2);
    EXPECT_FALSE(c.flag);
    for (int again = 0; again < 2; ++again) {
        code = 77;
        EXPECT_EQ(0, ReadNextContact(contacts.get(), &c, &code));
        EXPECT_EQ(0, code) << "the end is no fault";
    }
    ASSERT_NE(0, ReadFirstContact(contacts.get(), &c, &code));
    EXPECT_EQ(7, c.number);
}

TEST(Contacts, AColourMapTakesTheThirdLine) {
    const Line line;
    {
        const Contacts contacts = create(line, "grey scale");
        Contact c = point();
        EXPECT_EQ(0, WriteContactRecord(contacts.get(), &c));
    }
    EXPECT_EQ(header + "Colour Map = grey scale\n" + pointLine + "\n", line.bytes("Contact"));
    const Contacts contacts = open(line);
    int version = 0;
    std::vector<wchar_t> map(8192, L'?');
    EXPECT_EQ(0, ContactSummary(contacts.get(), &version, map.data()));
    EXPECT_EQ(4, version);
    EXPECT_STREQ(L"grey", map.data()) << "up to the first blank";
    Contact c;
    EXPECT_NE(0, ReadFirstContact(contacts.get(), &c, nullptr));
    EXPECT_EQ(7, c.number);
}

TEST(Contacts, WithoutAColourMapItsNameIsEmpty) {
    const Line line;
    create(line);
    EXPECT_EQ(header, line.bytes("Contact"));
    std::vector<wchar_t> map(8192, L'?');
    int version = 0;
    EXPECT_EQ(0, ContactSummary(open(line).get(), &version, map.data()));
    EXPECT_STREQ(L"", map.data());
    for (const char* third : {"Colour Map = \n", "Colour Map =x\n", "colour Map = x\n"}) {
        map[0] = L'?';
        EXPECT_EQ(0, ContactSummary(openLines(line, 4, third).get(), nullptr, map.data())) << third;
        EXPECT_STREQ(L"", map.data()) << third;
    }
    EXPECT_EQ(0, ContactSummary(openLines(line, 4, pointLine + "\n").get(), nullptr, map.data()));
    EXPECT_STREQ(L"", map.data());
}

TEST(Contacts, TheSummaryRereadsTheVersion) {
    const Line line;
    const Contacts contacts = openLines(line, 3, "");
    EXPECT_EQ(3u, contacts->version);
    contacts->version = 99;
    EXPECT_EQ(0, ContactSummary(contacts.get(), nullptr, nullptr));
    EXPECT_EQ(3u, contacts->version);
}

TEST(Contacts, FilesWithoutTheirHeaderDoNotOpen) {
    const Line line;
    long code = 77;
    EXPECT_EQ(nullptr, ContactOpenDir(line.path().c_str(), &code));
    EXPECT_EQ(5024001, code);
    EXPECT_EQ(nullptr, ContactOpenDir(nullptr, nullptr));
    for (const char* bytes : {"", "p v d l", "p v d l\n", "p v d l\nVERSION", "p v d l\nVERSION x\n",
                              "VERSION 4\n", "p v d l\nversion 4\n", "\n\n\n"}) {
        line.write("Contact", bytes);
        code = 77;
        EXPECT_EQ(nullptr, ContactOpenDir(line.path().c_str(), &code)) << bytes;
        EXPECT_EQ(-1, code) << bytes;
    }
    line.write("Contact", "p v d l\r\nVERSION 4");
    EXPECT_NE(nullptr, open(line)) << "an end of another system, and none at all";
}

TEST(Contacts, FilesThatCannotBeMade) {
    long code = 77;
    EXPECT_EQ(nullptr, ContactNewDir(nullptr, nullptr, &code));
    EXPECT_EQ(5024001, code);
    EXPECT_EQ(nullptr, ContactNewDir(L"/no/such/place", nullptr, &code));
    EXPECT_EQ(5024001, code);
    const Line line;
    std::string map(8179, 'x');
    EXPECT_EQ(nullptr, ContactNewDir(line.path().c_str(), map.data(), &code)) << "could not be read";
    EXPECT_EQ(5024001, code);
    map.pop_back();
    const Contacts contacts(ContactNewDir(line.path().c_str(), map.data(), &code));
    ASSERT_TRUE(contacts);
    std::vector<wchar_t> shown(8192);
    EXPECT_EQ(0, ContactSummary(open(line).get(), nullptr, shown.data()));
    EXPECT_EQ(map.size(), std::wstring(shown.data()).size());
}

TEST(Contacts, ColourMapsWithLineEndsStayOneLine) {
    const Line line;
    create(line, "a\nb\rc");
    EXPECT_EQ(header + "Colour Map = a b c\n", line.bytes("Contact"));
}

TEST(Contacts, NullAndClosedHandles) {
    Contact c;
    long code = 77;
    ContactFile closed;
    for (ContactFile* none : {static_cast<ContactFile*>(nullptr), &closed}) {
        EXPECT_EQ(-1, ContactSummary(none, nullptr, nullptr));
        EXPECT_EQ(-1, WriteContactRecord(none, &c));
        for (const auto read : {ReadFirstContact, ReadNextContact}) {
            code = 77;
            EXPECT_EQ(0, read(none, &c, &code));
            EXPECT_EQ(-1, code);
            EXPECT_EQ(0, read(none, &c, nullptr));
        }
        code = 77;
        EXPECT_EQ(0, GetContact(none, 1, &c, &code));
        EXPECT_EQ(-1, code);
    }
    EXPECT_EQ(0, ContactClose(nullptr));
    EXPECT_EQ(-1, DecodeContactRecord(4, nullptr, &c));
    EXPECT_EQ(-1, DecodeContactRecord(4, L"1", nullptr));
    const Line line;
    const Contacts contacts = create(line);
    EXPECT_EQ(-1, WriteContactRecord(contacts.get(), nullptr));
    EXPECT_EQ(0, ReadNextContact(contacts.get(), &c, &code)) << "a file that is being written is not read";
    EXPECT_EQ(-1, ContactSummary(contacts.get(), nullptr, nullptr));
    c = point();
    EXPECT_EQ(0, WriteContactRecord(contacts.get(), &c));
    EXPECT_EQ(header + pointLine + "\n", line.bytes("Contact"));
}

TEST(Contacts, AreFoundByTheirNumber) {
    const Line line;
    Contact c = point();
    {
        const Contacts contacts = create(line, "map");
        for (const int number : {5, 1, 9, 5}) {
            c.number = number;
            c.profile = number * 10;
            EXPECT_EQ(0, WriteContactRecord(contacts.get(), &c));
            c.profile = 1;
        }
    }
    // A line that does not decode is passed by.
    std::string bytes = line.bytes("Contact");
    bytes.insert(bytes.find("1   ,LINE"), "rubbish\n\n");
    line.write("Contact", bytes);
    const Contacts contacts = open(line);
    for (const int number : {9, 1, 5, 1}) {
        long code = 77;
        EXPECT_EQ(1, GetContact(contacts.get(), static_cast<unsigned>(number), &c, &code)) << number;
        EXPECT_EQ(number, c.number);
        EXPECT_EQ(number * 10, c.profile);
        EXPECT_EQ(0, code);
    }
    long code = 77;
    c = Contact();
    EXPECT_EQ(0, GetContact(contacts.get(), 2, &c, &code));
    EXPECT_EQ(0, code);
    EXPECT_EQ(5, c.number) << "the last one";
    EXPECT_EQ(0, GetContact(contacts.get(), 0xFFFFFFFF, &c, nullptr));
}

TEST(Contacts, ALineThatDoesNotDecodeIsToldAndTheNextIsRead) {
    const Line line;
    const Contacts contacts = openLines(line, 4, "x\n" + pointLine + "\n-5,a,b\n" + listLine);
    Contact c;
    long code = 77;
    EXPECT_EQ(0, ReadFirstContact(contacts.get(), &c, &code));
    EXPECT_EQ(-1, code);
    EXPECT_EQ(-1, c.number);
    EXPECT_NE(0, ReadNextContact(contacts.get(), &c, &code));
    EXPECT_EQ(7, c.number);
    EXPECT_EQ(0, ReadNextContact(contacts.get(), &c, &code));
    EXPECT_EQ(-1, c.number);
    EXPECT_NE(0, ReadNextContact(contacts.get(), &c, &code)) << "without a line end";
    EXPECT_EQ(12345, c.number);
}

// The tail of a line behind its identifiers: kind where there is one, place, measures, codes.
const std::wstring placeAndMeasures = L"44,1.5,2.5,3.5,10,20,";

TEST(ContactLines, OfVersionOneHaveNoKindAndTwoMeasures) {
    Contact c;
    c.measures[2] = 99.5;
    c.flag = true;
    ASSERT_EQ(0, DecodeContactRecord(
                     1, L"3,AFILE,s1,BFILE.XTF.LONG,s2,id1,id2,44,1.5,2.5,3.5,10,20,4,5,text\n", &c));
    EXPECT_EQ(3, c.number);
    EXPECT_EQ(1, c.kind);
    EXPECT_STREQ(L"AFILE", c.sourceName) << "as it stands";
    EXPECT_STREQ(L"s1", c.sourceSubName);
    EXPECT_STREQ(L"BFILE.XTF.LONG", c.secondName);
    EXPECT_STREQ(L"s2", c.secondSubName);
    EXPECT_STREQ(L"id1", c.firstIdentifier);
    EXPECT_STREQ(L"id2", c.secondIdentifier);
    EXPECT_EQ(44, c.profile);
    EXPECT_EQ(1.5, c.value);
    EXPECT_EQ(2.5, c.latitude);
    EXPECT_EQ(3.5, c.longitude);
    EXPECT_EQ(10.0, c.measures[0]);
    EXPECT_EQ(20.0, c.measures[1]);
    EXPECT_EQ(99.5, c.measures[2]) << "as it was";
    EXPECT_EQ(4, c.codes[0]);
    EXPECT_EQ(5, c.codes[1]);
    EXPECT_FALSE(c.flag);
    EXPECT_STREQ(L"text", c.remark);
}

TEST(ContactLines, OfVersionTwoHaveAThirdMeasure) {
    Contact c;
    ASSERT_EQ(0, DecodeContactRecord(2, L"3,A,s1,B,s2,id1,id2,44,1.5,2.5,3.5,10,20,30,4,5,1 ,\r\n", &c));
    EXPECT_EQ(30.0, c.measures[2]);
    EXPECT_FALSE(c.flag) << "there is none";
    EXPECT_STREQ(L"1 ", c.remark);
}

TEST(ContactLines, OfVersionThreeHaveAKindAndWholeOrDividedNames) {
    Contact c;
    c.flag = true;
    ASSERT_EQ(0,
              DecodeContactRecord(
                  3, L"3,LINE0001.XTF,s1,LINE0002.XTFX,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,text", &c));
    EXPECT_STREQ(L"LINE0001.XTF", c.sourceName);
    EXPECT_STREQ(L"LINE0002.XTFX", c.secondName);
    EXPECT_FALSE(c.flag);
    EXPECT_STREQ(L"text", c.remark) << "the old form has no flag";
    ASSERT_EQ(
        0, DecodeContactRecord(
               3, L"3,LINE0001,XTF,s1,LINE002.XTF,BAK,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,1,text", &c));
    EXPECT_STREQ(L"LINE0001.XTF", c.sourceName);
    EXPECT_STREQ(L"LINE002.XTF.BAK", c.secondName) << "eleven characters";
    EXPECT_TRUE(c.flag);
    EXPECT_STREQ(L"text", c.remark);
}

TEST(ContactLines, OfVersionFourAlwaysHaveDividedNames) {
    Contact c;
    ASSERT_EQ(0, DecodeContactRecord(
                     4, L"3,LINE0001.XTF.,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,0,text", &c));
    EXPECT_STREQ(L"LINE0001.XTF..B", c.sourceName);
    EXPECT_STREQ(L"C.D", c.secondName);
    EXPECT_FALSE(c.flag);
}

TEST(ContactLines, FlagsAreSetByOneAlone) {
    const std::wstring head = L"3,A,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5";
    for (const auto& [flag, set] : {std::pair(L",1 ,r", true),
                                    {L",0 ,r", false},
                                    {L",2,r", false},
                                    {L",-1,r", false},
                                    {L",x,r", false}}) {
        Contact c;
        c.flag = !set;
        EXPECT_EQ(0, DecodeContactRecord(4, (head + flag).c_str(), &c)) << flag;
        EXPECT_EQ(set, c.flag) << flag;
        EXPECT_STREQ(L"r", c.remark);
    }
    for (const wchar_t* missing : {L"", L",", L",,"}) {
        Contact c;
        c.flag = true;
        EXPECT_EQ(-1, DecodeContactRecord(4, (head + missing).c_str(), &c)) << missing;
        EXPECT_EQ(-1, c.number);
        EXPECT_FALSE(c.flag);
    }
}

TEST(ContactLines, LongTextsAreCutToTheirFields) {
    Contact c;
    const std::wstring line =
        L"3,12345678901234567,ABCDEF,subname,2,3,subname,123456789,1234567890123,1,44,1.5,2.5,3.5,"
        L"10,20,30,4,5,1," +
        std::wstring(100, L'r');
    ASSERT_EQ(0, DecodeContactRecord(4, line.c_str(), &c));
    EXPECT_STREQ(L"12345678901234567.A", c.sourceName);
    EXPECT_STREQ(L"sub", c.sourceSubName);
    EXPECT_STREQ(L"12345678", c.firstIdentifier);
    EXPECT_STREQ(L"123456789012", c.secondIdentifier);
    EXPECT_EQ(std::wstring(80, L'r'), c.remark);
}

TEST(ContactLines, ARemarkEndsAtItsCommaAndMayBeMissing) {
    const std::wstring head = L"3,A,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,1";
    Contact c;
    set(c.remark, L"of before");
    EXPECT_EQ(0, DecodeContactRecord(4, (head + L",one, two").c_str(), &c));
    EXPECT_STREQ(L"one", c.remark);
    EXPECT_EQ(0, DecodeContactRecord(4, (head + L",").c_str(), &c));
    EXPECT_STREQ(L"", c.remark);
    EXPECT_EQ(0, DecodeContactRecord(4, (head + L",end\n").c_str(), &c));
    EXPECT_STREQ(L"end", c.remark) << "no line end stays";
}

TEST(ContactLines, AListMayBeEmptyAndItsCountIsHeldAgainstTheLine) {
    const std::wstring head = L"3,A,B,s1,C,D,s2,id1,id2,2,";
    const std::wstring tail = L"10,20,30,4,5,1,r";
    Contact c;
    c.pointProfile = {1, 2, 3};
    c.lowestProfile = 9;
    ASSERT_EQ(0, DecodeContactRecord(4, (head + L"0  ," + tail).c_str(), &c));
    EXPECT_EQ(0, c.numPoints);
    EXPECT_TRUE(c.pointProfile.empty());
    EXPECT_EQ(0, c.lowestProfile);
    EXPECT_EQ(10.0, c.measures[0]);
    ASSERT_EQ(0, DecodeContactRecord(4, (head + L"1,-7,1,2,3,4," + tail).c_str(), &c));
    EXPECT_EQ(-7, c.lowestProfile);
    EXPECT_EQ(-7, c.highestProfile);
    EXPECT_EQ(-1, DecodeContactRecord(4, (head + L"1,-7,1e39,2,3,4," + tail).c_str(), &c)) << "no float";
    for (const wchar_t* count : {L"-1,", L"2147483647,", L"1000,", L"x,"}) {
        EXPECT_EQ(-1, DecodeContactRecord(4, (head + count + L"-7,1,2,3,4," + tail).c_str(), &c)) << count;
        EXPECT_EQ(-1, c.number);
    }
    EXPECT_EQ(-1, DecodeContactRecord(4, (head + L"2,-7,1,2,3,4," + tail).c_str(), &c));
}

TEST(ContactLines, OtherKindsAndVersionsDoNotDecode) {
    Contact c;
    for (const wchar_t* kind : {L"0,", L"3,", L"-1,", L"x,"}) {
        EXPECT_EQ(
            -1,
            DecodeContactRecord(
                4,
                (L"3,A,B,s1,C,D,s2,id1,id2," + std::wstring(kind) + placeAndMeasures + L"30,4,5,1,r").c_str(),
                &c))
            << kind;
        EXPECT_EQ(-1, c.number);
    }
    const std::wstring good = L"3,A,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,1,r";
    EXPECT_EQ(0, DecodeContactRecord(4, good.c_str(), &c));
    EXPECT_EQ(-1, DecodeContactRecord(5, good.c_str(), &c));
    EXPECT_EQ(-1, c.number);
}

TEST(ContactLines, EveryMissingTokenMakesTheLineUndecoded) {
    const struct {
        int version;
        std::wstring line;
    } lines[] = {{1, L"3,A,s1,B,s2,id1,id2,44,1.5,2.5,3.5,10,20,4,5"},
                 {2, L"3,A,s1,B,s2,id1,id2,44,1.5,2.5,3.5,10,20,30,4,5"},
                 {3, L"3,LINE0001.XTF,s1,LINE0001.XTF,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5"},
                 {4, L"3,A,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,1"},
                 {4, L"3,A,B,s1,C,D,s2,id1,id2,2,2,44,1.5,2.5,3.5,4.5,44,1.5,2.5,3.5,4.5,10,20,30,4,5,1"}};
    for (const auto& [version, line] : lines) {
        Contact c;
        ASSERT_EQ(0, DecodeContactRecord(version, line.c_str(), &c)) << version;
        for (std::size_t comma = line.rfind(L','); comma != std::wstring::npos;
             comma = comma == 0 ? comma : line.rfind(L',', comma - 1)) {
            for (const std::size_t size : {comma, comma + 1}) {
                EXPECT_EQ(-1, DecodeContactRecord(version, line.substr(0, size).c_str(), &c))
                    << line.substr(0, size);
                EXPECT_EQ(-1, c.number);
            }
        }
        EXPECT_EQ(-1, DecodeContactRecord(version, L"", &c));
        EXPECT_EQ(-1, DecodeContactRecord(version, L",,,", &c));
        // Every number in turn that is none; a flag that is none is not set.
        for (std::size_t begin = 0; begin < line.size(); begin = line.find(L',', begin) + 1) {
            std::wstring damaged = line;
            const std::size_t end = std::min(line.find(L',', begin), line.size());
            const std::wstring token = line.substr(begin, end - begin);
            if (end == line.size() && version == 4) break;
            if (token.find_first_not_of(L"0123456789.") == std::wstring::npos) {
                EXPECT_EQ(
                    -1, DecodeContactRecord(version, damaged.replace(begin, token.size(), L"q9").c_str(), &c))
                    << damaged;
            }
            if (end == line.size()) break;
        }
    }
}

TEST(ContactLines, NumbersAreReadAsFarAsTheyGo) {
    Contact c;
    ASSERT_EQ(0, DecodeContactRecord(1, L" 12abc,A,s1,B,s2,id1,id2, +44 ,1e2x,-.5,3.,1,2,4,5", &c));
    EXPECT_EQ(12, c.number);
    EXPECT_EQ(44, c.profile);
    EXPECT_EQ(100.0, c.value);
    EXPECT_EQ(-0.5, c.latitude);
    EXPECT_EQ(3.0, c.longitude);
    EXPECT_EQ(-1, DecodeContactRecord(1, L"-12,A,s1,B,s2,id1,id2,44,1,2,3,1,2,4,5", &c));
    EXPECT_EQ(-1, c.number);
}

TEST(ContactLines, EveryVersionIsReadFromItsFile) {
    const std::string tail = ",s2,id1,id2,";
    const Line line;
    const struct {
        int version;
        std::string text;
        bool flag;
    } lines[] = {{1, "3,A,s1,B,s2,id1,id2,44,1.5,2.5,3.5,10,20,4,5,r", false},
                 {2, "3,A,s1,B,s2,id1,id2,44,1.5,2.5,3.5,10,20,30,4,5,r", false},
                 {3, "3,A,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,1,r", true},
                 {4, "3,A,B,s1,C,D,s2,id1,id2,1,44,1.5,2.5,3.5,10,20,30,4,5,1,r", true}};
    for (const auto& [version, text, flag] : lines) {
        const Contacts contacts = openLines(line, version, text + "\r\n" + text + "\n");
        Contact c;
        for (const auto read : {ReadFirstContact, ReadNextContact}) {
            c = Contact();
            ASSERT_NE(0, read(contacts.get(), &c, nullptr)) << version;
            EXPECT_EQ(44, c.profile);
            EXPECT_EQ(5, c.codes[1]);
            EXPECT_EQ(flag, c.flag);
            EXPECT_STREQ(L"r", c.remark) << "no carriage return stays";
        }
    }
}

// The line that is written of a contact.
std::string written(Contact c) {
    const Line line;
    EXPECT_EQ(0, WriteContactRecord(create(line).get(), &c));
    std::string bytes = line.bytes("Contact").substr(header.size());
    EXPECT_TRUE(bytes.ends_with('\n'));
    bytes.pop_back();
    return bytes;
}

TEST(ContactWriting, ANameIsDividedAtItsNinthCharacterWhateverStandsThere) {
    const auto nameOf = [](const wchar_t* name) {
        Contact c = point();
        set(c.sourceName, name);
        const std::string line = written(c);
        return line.substr(5, line.find(",P1 ,") - 5);
    };
    EXPECT_EQ("LINE0001,XTF", nameOf(L"LINE0001.XTF"));
    EXPECT_EQ("LINE0001,3.XTF", nameOf(L"LINE000123.XTF")) << "the ninth is lost";
    EXPECT_EQ("LINE1.XT, ", nameOf(L"LINE1.XTF"));
    EXPECT_EQ("ABC     , ", nameOf(L"ABC")) << "filled up with blanks";
    EXPECT_EQ("        , ", nameOf(L""));
    EXPECT_EQ("LINE0001, ", nameOf(L"LINE0001")) << "a blank keeps the token";
    EXPECT_EQ("LI E 001,XTF", nameOf(L"LI,E\n001.XTF"));
}

TEST(ContactWriting, CommasAndLineEndsInTextsBecomeBlanks) {
    Contact c = point();
    set(c.sourceSubName, L",a,");
    set(c.firstIdentifier, L"1,2");
    set(c.secondIdentifier, L"\r\n,");
    set(c.remark, L"one, two\nthree");
    const std::string line = written(c);
    EXPECT_NE(std::string::npos, line.find(", a ,")) << line;
    EXPECT_NE(std::string::npos, line.find(",1 2     ,            ,")) << line;
    EXPECT_TRUE(line.ends_with(",one  two three" + std::string(66, ' '))) << line;
    EXPECT_EQ(20, std::count(line.begin(), line.end(), ','));
}

TEST(ContactWriting, FullFieldsHaveNoPaddingAndTextBeyondAsciiComesBack) {
    Contact c = point();
    set(c.sourceSubName, L"äöü");
    set(c.firstIdentifier, L"12345678");
    set(c.secondIdentifier, L"123456789012");
    set(c.remark, std::wstring(79, L'ß') + L"€");
    const Line line;
    EXPECT_EQ(0, WriteContactRecord(create(line).get(), &c));
    Contact read;
    EXPECT_NE(0, ReadFirstContact(open(line).get(), &read, nullptr));
    EXPECT_STREQ(c.sourceSubName, read.sourceSubName);
    EXPECT_STREQ(c.firstIdentifier, read.firstIdentifier);
    EXPECT_STREQ(c.secondIdentifier, read.secondIdentifier);
    EXPECT_STREQ(c.remark, read.remark);
}

TEST(ContactWriting, WideNumbersWidenTheirFields) {
    Contact c = point();
    c.number = 2147483647;
    c.codes[0] = -2147483647 - 1;
    c.value = 1e20;
    c.latitude = 123456.0;
    const std::string line = written(c);
    EXPECT_TRUE(line.starts_with("2147483647,LINE0001")) << line;
    EXPECT_NE(std::string::npos, line.find(",-2147483648,")) << line;
    EXPECT_NE(std::string::npos, line.find(",100000000000000000000.00,123456.0000000,")) << line;
}

TEST(ContactWriting, WhatCouldNotBeReadIsRefused) {
    const Line line;
    const Contacts contacts = create(line);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<Contact> bad(8, point());
    bad[0].kind = 0;
    bad[1].kind = 3;
    bad[2].value = nan;
    bad[3].measures[2] = HUGE_VAL;
    for (std::size_t i = 4; i < 8; ++i)
        bad[i] = pointList();
    bad[4].numPoints = 3;
    bad[5].numPoints = -1;
    bad[6].pointLongitude.pop_back();
    bad[7].pointFirst[1] = std::numeric_limits<float>::infinity();
    for (Contact& each : bad)
        EXPECT_EQ(-1, WriteContactRecord(contacts.get(), &each));
    EXPECT_EQ(header, line.bytes("Contact"));
}

// A list whose line has that many bytes: the points fill it, a measure takes up the rest.
Contact listOfLength(std::size_t length) {
    Contact c = pointList();
    c.numPoints = 163;
    c.pointProfile.assign(163, 1);
    c.pointFirst.assign(163, 0.0F);
    c.pointSecond.assign(163, 0.0F);
    c.pointLatitude.assign(163, 0.0);
    c.pointLongitude.assign(163, 0.0);
    // 5 + 13 + 4 + 13 + 4 + 9 + 13 + 2 + 4 = 67 in front, 49 a point, and behind them 7 + 7 + w + 1 + 5 + 5 +
    // 3
    // + 80.
    const std::size_t width = length - 67 - 163 * 49 - 108;
    c.number = 1;
    c.measures[2] = 0.0;
    if (width > 6) c.measures[2] = std::pow(10.0, static_cast<double>(width) - 4);
    return c;
}

TEST(ContactWriting, ALineOf8191BytesIsWrittenAndReadAndOneOf8192IsRefused) {
    const Line line;
    const Contacts contacts = create(line);
    Contact c = listOfLength(8191);
    ASSERT_EQ(0, WriteContactRecord(contacts.get(), &c));
    EXPECT_EQ(header.size() + 8192, line.bytes("Contact").size()) << "with its end";
    c = listOfLength(8192);
    EXPECT_EQ(5024003, WriteContactRecord(contacts.get(), &c));
    c = listOfLength(8193);
    EXPECT_EQ(5024003, WriteContactRecord(contacts.get(), &c));
    EXPECT_EQ(header.size() + 8192, line.bytes("Contact").size()) << "nothing of it";
    c = point();
    ASSERT_EQ(0, WriteContactRecord(contacts.get(), &c));
    for (const bool otherEnds : {false, true}) {
        std::string bytes = line.bytes("Contact");
        if (otherEnds)
            for (std::size_t at = bytes.find('\n'); at != std::string::npos; at = bytes.find('\n', at + 2))
                bytes.insert(at, "\r");
        line.write("Contact", bytes);
        const Contacts reader = open(line);
        ASSERT_NE(0, ReadFirstContact(reader.get(), &c, nullptr));
        EXPECT_EQ(163, c.numPoints);
        EXPECT_EQ(padded(L"a boiler", 80), c.remark);
        ASSERT_NE(0, ReadNextContact(reader.get(), &c, nullptr));
        EXPECT_EQ(7, c.number);
        EXPECT_EQ(0, ReadNextContact(reader.get(), &c, nullptr));
    }
}

TEST(ContactFiles, ALineBeyondTheLongestGoesOnAsTheNext) {
    const Line line;
    const Contacts contacts = openLines(line, 4, std::string(8191, 'x') + pointLine + "\n" + listLine + "\n");
    Contact c;
    long code = 77;
    EXPECT_EQ(0, ReadFirstContact(contacts.get(), &c, &code));
    EXPECT_EQ(-1, code);
    EXPECT_NE(0, ReadNextContact(contacts.get(), &c, &code)) << "the rest of it";
    EXPECT_EQ(7, c.number);
    EXPECT_NE(0, ReadNextContact(contacts.get(), &c, &code));
    EXPECT_EQ(12345, c.number);
}

TEST(ContactFiles, BinaryBytesAndEndlessLinesEnd) {
    const Line line;
    std::string bytes;
    for (int i = 0; i < 300000; ++i)
        bytes.push_back(static_cast<char>(i * 7 + i / 251));
    for (const std::string& rubbish :
         {bytes, std::string(1 << 20, '\0'), std::string(1 << 20, ','), std::string(1 << 20, '9'),
          std::string(1 << 20, '\xFF'), std::string(5000, '\r')}) {
        const Contacts contacts = openLines(line, 4, rubbish + "\n" + pointLine + "\n");
        Contact c;
        long code = 77;
        EXPECT_EQ(1, GetContact(contacts.get(), 7, &c, &code));
        EXPECT_EQ(0, GetContact(contacts.get(), 8, &c, &code));
        EXPECT_EQ(0, code);
        line.write("Contact", rubbish);
        EXPECT_EQ(nullptr, ContactOpenDir(line.path().c_str(), &code));
        EXPECT_EQ(-1, code);
    }
}

TEST(ContactFiles, EveryCutOfAFileIsReadAsFarAsItGoes) {
    const Line line;
    const std::string whole = header + "Colour Map = m\n" + pointLine + "\n" + listLine + "\n";
    for (std::size_t size = 0; size < whole.size(); ++size) {
        line.write("Contact", whole.substr(0, size));
        long code = 77;
        const Contacts contacts(ContactOpenDir(line.path().c_str(), &code));
        ASSERT_EQ(size >= header.size() - 1, contacts != nullptr) << size;
        if (!contacts) continue;
        Contact c;
        std::size_t read = 0;
        for (bool first = true; (first ? ReadFirstContact : ReadNextContact)(contacts.get(), &c, &code) != 0;
             first = false)
            ++read;
        EXPECT_LE(read, 2u);
        if (size > whole.size() - 80) {
            EXPECT_EQ(2u, read) << size;
        }
        std::vector<wchar_t> map(8192);
        EXPECT_EQ(0, ContactSummary(contacts.get(), nullptr, map.data()));
    }
}

TEST(ContactFiles, AWriteToAFileOpenForReadingIsSilentAndKeepsItsPlace) {
    const Line line;
    line.write("Contact", header + pointLine + "\n" + listLine + "\n");
    const Contacts contacts = open(line);
    Contact c;
    ASSERT_NE(0, ReadFirstContact(contacts.get(), &c, nullptr));
    EXPECT_EQ(0, WriteContactRecord(contacts.get(), &c));
    EXPECT_EQ(header + pointLine + "\n" + listLine + "\n", line.bytes("Contact"));
    ASSERT_NE(0, ReadNextContact(contacts.get(), &c, nullptr));
    EXPECT_EQ(12345, c.number);
}

TEST(ContactFiles, TheirCodesHaveMeaningsOfTheirOwn) {
    EXPECT_EQ("the contact file could not be opened or made", skar::errors::meaningOf(5024001));
    EXPECT_EQ("the contact file could not be closed", skar::errors::meaningOf(5024002));
    EXPECT_EQ("the line of a contact would have 8192 bytes or more", skar::errors::meaningOf(5024003));
}

TEST(ContactFiles, AreMadeInThePlaceOfOldOnesAndRemoved) {
    const Line line;
    line.write("Contact", "old");
    create(line);
    EXPECT_EQ(header, line.bytes("Contact"));
    EXPECT_EQ(0, ContactRemoveDir(line.path().c_str()));
    EXPECT_FALSE(line.has("Contact"));
    EXPECT_EQ(-1, ContactRemoveDir(line.path().c_str()));
    EXPECT_EQ(-1, ContactRemoveDir(nullptr));
}

TEST(ContactFiles, HoldTheirNumbersWithAPointInAnyLocale) {
    const DecimalComma comma;
    if (!comma) GTEST_SKIP() << "no locale with a comma can be had";
    EXPECT_EQ(pointLine, written(point()));
    Contact c;
    ASSERT_EQ(0, DecodeContactRecord(4, std::wstring(pointLine.begin(), pointLine.end()).c_str(), &c));
    EXPECT_EQ(12.35, c.value);
}

// What is in the memory of a failing disk after two contacts were written.
TEST(ContactFiles, OnAFailingDiskWhatIsReportedIsThere) {
    std::size_t operations = 0;
    const auto work = [](FaultBackend& disk, bool failing) {
        std::size_t reported = 0;
        long code = 77;
        ContactFile* contacts = ContactNewDir(L"/survey/p/v/d/l", nullptr, &code);
        EXPECT_EQ(contacts ? 0 : 5024001, code);
        EXPECT_TRUE(contacts || failing);
        if (contacts) {
            Contact c = point();
            for (int number = 1; number <= 3; ++number) {
                c.number = number;
                reported |= WriteContactRecord(contacts, &c) == 0 ? 1u << number : 0;
            }
            EXPECT_TRUE(ContactClose(contacts) == 0 || failing);
            disk.clearFaults();
            contacts = ContactOpenDir(L"/survey/p/v/d/l", &code);
            EXPECT_NE(nullptr, contacts);
            for (unsigned number = 1; contacts && number <= 3; ++number)
                if (reported & 1u << number) {
                    EXPECT_EQ(1, GetContact(contacts, number, &c, &code)) << number;
                }
            ContactClose(contacts);
            EXPECT_TRUE(failing || reported == 14);
        }
        EXPECT_EQ(0, disk.openStreams());
    };
    {
        FaultBackend disk;
        disk.put("/survey/p/v/d/l/keep", "x");
        disk.resetCounts();
        work(disk, false);
        operations = disk.operations();
    }
    ASSERT_GT(operations, 5u);
    for (const Repeat repeat : {Repeat::once, Repeat::forever}) {
        for (std::size_t n = 1; n <= operations; ++n) {
            SCOPED_TRACE(n);
            FaultBackend disk;
            disk.put("/survey/p/v/d/l/keep", "x");
            disk.resetCounts();
            disk.failAt(n, EIO, repeat);
            work(disk, true);
        }
    }
    for (std::size_t space = 0; space < 800; space += 7) {
        SCOPED_TRACE(space);
        FaultBackend disk;
        disk.put("/survey/p/v/d/l/keep", "x");
        disk.noSpaceAfter(space);
        work(disk, true);
    }
}

TEST(ContactFiles, WhatWasWrittenInPartDoesNotSpoilTheNext) {
    for (const std::size_t space : {1u, 40u, 200u}) {
        FaultBackend disk;
        disk.put("/survey/p/v/d/l/keep", "x");
        long code = 77;
        ContactFile* contacts = ContactNewDir(L"/survey/p/v/d/l", nullptr, &code);
        ASSERT_NE(nullptr, contacts);
        Contact c = point();
        disk.noSpaceAfter(space);
        EXPECT_EQ(-1, WriteContactRecord(contacts, &c));
        EXPECT_EQ(-1, WriteContactRecord(contacts, &c));
        disk.clearFaults();
        for (c.number = 8; c.number < 10; ++c.number)
            EXPECT_EQ(0, WriteContactRecord(contacts, &c));
        EXPECT_EQ(0, ContactClose(contacts));
        contacts = ContactOpenDir(L"/survey/p/v/d/l", &code);
        ASSERT_NE(nullptr, contacts);
        EXPECT_EQ(1, GetContact(contacts, 8, &c, &code)) << space;
        EXPECT_EQ(1, GetContact(contacts, 9, &c, &code)) << space;
        EXPECT_EQ(0, ContactClose(contacts));
    }
}

TEST(ContactFiles, ACloseThatFailsIsToldAndEndsTheHandle) {
    FaultBackend disk;
    disk.put("/survey/p/v/d/l/keep", "x");
    long code = 77;
    ContactFile* contacts = ContactNewDir(L"/survey/p/v/d/l", nullptr, &code);
    ASSERT_NE(nullptr, contacts);
    disk.failAt(Op::close, 1, EIO);
    EXPECT_EQ(5024002, ContactClose(contacts));
    EXPECT_EQ(0, disk.openStreams());
}

} // namespace
