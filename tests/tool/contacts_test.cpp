#include "shell.h"

#include <fstream>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

const std::string head = "project vessel 2024-153 0001\nVERSION 4\n";
const std::string padding(76, ' ');
const std::string point =
    "7   ,LINE0001,XTF,P1 ,LINE0002,XTF,S  ,ABC     ,wreck       ,1,1234  , 12.35,   44.1234568,  "
    "-63.5000000,  1.50,  2.25, -3.00,4   ,5   ,1 ,rust" +
    padding + "\n";
const std::string line2 =
    "9   ,LINE0001,XTF,   ,LINE0002,XTF,   ,        ,            ,2,2  ,20    ,  1.00,  2.00,   "
    "44.0000000,  -63.0000000,10    ,  3.00,  4.00,   45.0000000,  -64.0000000,  0.00,  0.00,  "
    "0.00,0   ,0   ,0 ,rope" +
    padding + "\n";

class SkarContacts : public ToolTest {
protected:
    SkarContacts() { fs::create_directories(line); }
    fs::path file() const { return line / "Contact"; }
    void write(const std::string& text) const { writeBytes(file(), {text.begin(), text.end()}); }
    std::string text() const {
        const std::vector<std::uint8_t> bytes = bytesOf(file());
        return {bytes.begin(), bytes.end()};
    }
    Outcome contacts(const std::string& options = "") const {
        return runSkar("contacts " + line.string() + " " + options);
    }
};

TEST_F(SkarContacts, AreListed) {
    write(head + point + line2);
    const Outcome outcome = contacts("--json");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json json = outcome.json();
    EXPECT_EQ(json["version"], 4);
    ASSERT_EQ(json["contacts"].size(), 2U);
    const Json& first = json["contacts"][0];
    EXPECT_EQ(first["number"], 7);
    EXPECT_EQ(first["source"], "LINE0001.XTF");
    EXPECT_EQ(first["subSource"], "P1");
    EXPECT_EQ(first["identifier"], "ABC");
    EXPECT_EQ(first["secondIdentifier"], "wreck");
    EXPECT_EQ(first["ping"], 1234);
    EXPECT_EQ(first["value"], 12.35);
    EXPECT_EQ(first["latitude"], 44.1234568);
    EXPECT_EQ(first["measures"], Json({1.5, 2.25, -3.0}));
    EXPECT_EQ(first["codes"], Json({4, 5}));
    EXPECT_EQ(first["flag"], true);
    EXPECT_EQ(first["remark"], "rust");
    const Json& second = json["contacts"][1];
    ASSERT_EQ(second["points"].size(), 2U);
    EXPECT_EQ(second["points"][1]["longitude"], -64.0);
    const std::vector<std::string> lines = contacts().lines();
    EXPECT_NE(lines.back().find("10-20"), std::string::npos) << lines.back();
}

TEST_F(SkarContacts, OfALineWithoutAreNone) {
    const Outcome outcome = contacts();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out.find("No contacts"), std::string::npos);
    EXPECT_FALSE(fs::exists(file()));
}

TEST_F(SkarContacts, AreAddedBehindTheOthersWithTheNextNumber) {
    write(head + point + line2);
    const Outcome outcome = contacts(
        "--add --ping 431 --latitude 44.6 --longitude -63.5 --value 2.5 --measures 1,2,3 --codes 8,9 "
        "--source LINE3.XTF --sub-source A --second B --identifier id --second-identifier second "
        "--remark 'big, round' --flag");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(text(), head + point + line2 +
                          "10  ,LINE3   ,XTF,A  ,B       , ,   ,id      ,second      ,1,431   ,  2.50,   "
                          "44.6000000,  -63.5000000,  1.00,  2.00,  3.00,8   ,9   ,1 ,big  round" +
                          std::string(70, ' ') + "\n");
    EXPECT_FALSE(fs::exists(line / "Contact.before"));
    EXPECT_NE(outcome.out.find("LINE3.XTF"), std::string::npos) << outcome.out;
    EXPECT_EQ(contacts("--add --number 7").status, 2);
    EXPECT_EQ(contacts("--add --number 3").status, 0);
}

TEST_F(SkarContacts, AreRemovedByNumberAndTheColourMapStays) {
    const std::string mapped = head + "Colour Map = grey\n";
    write(mapped + point + line2);
    ASSERT_EQ(contacts("--remove 7").status, 0);
    EXPECT_EQ(text(), mapped + line2);
    const Outcome none = contacts("--remove 7");
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("no such contact"), std::string::npos) << none.err;
    EXPECT_EQ(text(), mapped + line2);
    ASSERT_EQ(contacts("--remove 9 --add --remark rock").status, 0);
    EXPECT_EQ(contacts("--json").json()["contacts"][0]["number"], 1);
}

TEST_F(SkarContacts, OfAnOlderVersionAreWrittenInTheNewest) {
    write("project vessel 2024-153 0001\nVERSION 1\n"
          "3   ,LINE0001.XTF,P1 ,LINE0002.XTF,S  ,ABC     ,wreck       ,1234  , 12.35,   44.1234568,  "
          "-63.5000000,  "
          "1.50,  2.25,4   ,5   ,rust\n");
    const Json before = contacts("--json").json();
    ASSERT_EQ(before["contacts"].size(), 1U);
    EXPECT_EQ(before["version"], 1);
    ASSERT_EQ(contacts("--add").status, 0);
    const Json after = contacts("--json").json();
    EXPECT_EQ(after["version"], 4);
    ASSERT_EQ(after["contacts"].size(), 2U);
    EXPECT_EQ(after["contacts"][0], before["contacts"][0]);
}

TEST_F(SkarContacts, ThatDoNotDecodeAreCountedAndNeverLost) {
    const std::string whole = head + point + "nonsense\n" + line2;
    write(whole);
    const Outcome listed = contacts("--json");
    EXPECT_EQ(listed.status, 1);
    EXPECT_EQ(listed.json()["unreadable"], 1);
    EXPECT_EQ(listed.json()["contacts"].size(), 2U);
    EXPECT_EQ(contacts("--add").status, 1);
    EXPECT_EQ(contacts("--remove 7").status, 1);
    EXPECT_EQ(text(), whole);
}

TEST_F(SkarContacts, OfAFileWithoutItsHeadAreRefused) {
    write("one line only\n");
    const Outcome outcome = contacts();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("Contact"), std::string::npos) << outcome.err;
    EXPECT_EQ(contacts("--add").status, 1);
    EXPECT_EQ(text(), "one line only\n");
}

TEST_F(SkarContacts, StayWhenAChangeFails) {
    write(head + point);
    // A number that is none is written and does not read back.
    EXPECT_EQ(contacts("--add --latitude nan").status == 0, false);
    EXPECT_EQ(text(), head + point);
    EXPECT_FALSE(fs::exists(line / "Contact.before"));
    // What an earlier change has left behind is not written over.
    writeBytes(line / "Contact.before", {1});
    const Outcome outcome = contacts("--add");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("broken off"), std::string::npos) << outcome.err;
    EXPECT_EQ(text(), head + point);
}

TEST_F(SkarContacts, WithTextsThatAreTooLongAreRefused) {
    for (const std::string& option :
         {"--remark " + std::string(81, 'x'), std::string("--identifier 123456789"),
          std::string("--source LINE00001.XTF"), std::string("--source A.XTFF"),
          std::string("--sub-source ABCD"), std::string("--measures 1,2"), std::string("--ping -1")}) {
        EXPECT_EQ(contacts("--add " + option).status, 2) << option;
        EXPECT_FALSE(fs::exists(file()));
    }
    EXPECT_EQ(contacts("--remark alone").status, 2);
}

} // namespace

TEST_F(SkarContacts, AreCountedByInfoAndNoOtherFile) {
    write(head + point + "rubbish\n" + line2);
    const Outcome outcome = runSkar("info --json " + line.string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json json = outcome.json();
    EXPECT_EQ(json["contacts"]["count"], 2);
    EXPECT_EQ(json["contacts"]["version"], 4);
    EXPECT_EQ(json["contacts"]["unreadable"], 1);
    EXPECT_TRUE(json["otherFiles"].empty()) << json["otherFiles"];
    const Outcome text = runSkar("info " + line.string());
    EXPECT_NE(text.out.find("Contacts  2, file of version 4"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("1 more that do not decode"), std::string::npos) << text.out;
    write("no head");
    EXPECT_EQ(runSkar("info " + line.string()).status, 1);
}

TEST_F(SkarContacts, AreCheckedLineByLine) {
    write(head + point + line2);
    Outcome outcome = runSkar("check " + line.string());
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_NE(outcome.out.find("1 sensor checked: 0 errors, 0 warnings"), std::string::npos) << outcome.out;

    write(head + point + "rubbish\n" + point);
    const Json json = runSkar("check --json " + line.string()).json();
    EXPECT_EQ(json["errors"], 1);
    EXPECT_EQ(json["warnings"], 1);
    ASSERT_EQ(json["findings"].size(), 2U);
    EXPECT_EQ(json["findings"][0]["code"], "contact-line");
    EXPECT_EQ(json["findings"][0]["offset"], head.size() + point.size());
    EXPECT_EQ(json["findings"][1]["code"], "contact-number");
    EXPECT_EQ(json["findings"][1]["offset"], head.size() + point.size() + 8);

    write("one line");
    outcome = runSkar("check " + line.string());
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("contact-head"), std::string::npos) << outcome.out;
    write("");
    EXPECT_EQ(runSkar("check " + line.string()).status, 1);
}

TEST_F(SkarContacts, OfEndlessAndBinaryLinesAreFindings) {
    write(head + std::string(100000, 'x'));
    EXPECT_EQ(runSkar("check " + line.string()).status, 1);
    write(head + std::string("\0\x01\xFF,\0,\n", 8));
    EXPECT_EQ(runSkar("check " + line.string()).status, 1);
}

} // namespace skar::test
