#include "support/fault_backend.h"
#include "support/shortcut_bytes.h"
#include "support/temporary_directory.h"

#include <skar/time.h>
#include <skar/vesselsensors.h>

#include <libxml/parser.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

// What a vessel does to its file, and its file to it, over several readings and stores.
namespace {

using skar::tests::FaultBackend;

using skar::tests::TemporaryDirectory;
using Entry = MORVAType<SKARVesselSensorConfig>;

std::string around(const std::string& inside) {
    return "<?xml version=\"1.0\"?>\n<SKARVesselConfig Version=\"2.0\">\n" + inside + "</SKARVesselConfig>\n";
}

const std::string shape = "  <VesselShape>\n"
                          "    <PlanCoordinates/>\n"
                          "    <ProfileCoordinates/>\n"
                          "    <RP Length=\"0.000000\" Width=\"0.000000\" Height=\"0.000000\"/>\n"
                          "  </VesselShape>\n";

std::string sideScan(const std::string& time) {
    return "  <SideScanSensor>\n    <TimeStamp value=\"" + time +
           "\">\n      <Latency value=\"0.000000\"/>\n    </TimeStamp>\n  </SideScanSensor>\n";
}

class VesselLife : public testing::Test {
protected:
    std::unique_ptr<SKARVessel> read(const std::string& inside) {
        directory.write("v.skv", around(inside));
        auto vessel = std::make_unique<SKARVessel>(directory.wide("v.skv").c_str(), status);
        EXPECT_EQ(status, 0);
        return vessel;
    }
    std::string stored(SKARVessel& vessel) {
        EXPECT_EQ(vessel.store(), 0);
        return directory.read("v.skv");
    }
    TemporaryDirectory directory;
    long status = -1;
};

TEST_F(VesselLife, TheFlagOfChangesFollowsEntriesAndStores) {
    const auto vessel = read(sideScan("2012-001 00:00:00"));
    EXPECT_FALSE(vessel->isModified());
    SKARVesselShape other;
    vessel->setVesselShape(other);
    EXPECT_EQ(vessel->removeSensor(1, L"SideScanSensor"), 5100009);
    Entry same(std::make_unique<SKARSideScanConfig>(TmYDStoUTCs80(2012, 1, 0), status));
    EXPECT_EQ(vessel->addSensor(same), 5100008);
    EXPECT_EQ(vessel->removeAllSensors(typeid(SKARSideScanConfig)), 0);
    EXPECT_FALSE(vessel->isModified());
    EXPECT_EQ(vessel->addSensor(same), 0);
    EXPECT_TRUE(vessel->isModified());
    EXPECT_EQ(vessel->reload(), 0);
    EXPECT_FALSE(vessel->isModified());
    EXPECT_EQ(vessel->removeSensor(TmYDStoUTCs80(2012, 1, 0), typeid(SKARSideScanConfig)), 0);
    EXPECT_TRUE(vessel->isModified());
    EXPECT_EQ(vessel->reload(), 0);
    EXPECT_EQ(vessel->store(), 0);
    EXPECT_TRUE(vessel->isModified());
}

TEST_F(VesselLife, ARemovedEntryStaysInTheFileUntilItIsRead) {
    const std::string text = around(sideScan("2012-001 00:00:00") + shape);
    const auto vessel = read(sideScan("2012-001 00:00:00"));
    EXPECT_EQ(vessel->removeSensor(TmYDStoUTCs80(2012, 1, 0), L"SideScanSensor"), 0);
    EXPECT_EQ(stored(*vessel), text);
    EXPECT_EQ(vessel->reload(), 0);
    EXPECT_NE(vessel->getFirstSensor(L"SideScanSensor", status), nullptr);
}

TEST_F(VesselLife, AMovedEntryKeepsItsElement) {
    const auto vessel = read(sideScan("2012-001 00:00:00.75"));
    auto* list = const_cast<SKARVesselSensorList*>(vessel->getSensorList(typeid(SKARSideScanConfig)));
    ASSERT_NE(list, nullptr);
    // Moved to where it stands it has not changed.
    EXPECT_EQ(list->updateTimeStamp(list->getFirstConfig(), TmYDStoUTCs80(2012, 1, 0)), 0);
    EXPECT_EQ(stored(*vessel), around(sideScan("2012-001 00:00:00.75") + shape));
    EXPECT_EQ(list->updateTimeStamp(list->getFirstConfig(), TmYDStoUTCs80(2013, 32, 3661.5)), 0);
    EXPECT_EQ(stored(*vessel), around(sideScan("2013-032 01:01:01") + shape));
}

TEST_F(VesselLife, EveryTimeTextThatIsReadComesBack) {
    for (const char* text : {"1900-000 00:00:00", "3000-366 23:59:59", "2012-001 00:00:00.75 UTC",
                             "2012-  7  1: 2: 3", "1979-365 23:59:59", "1980-001 00:00:00"}) {
        const auto vessel =
            read("<SideScanSensor><TimeStamp value=\"" + std::string(text) + "\"/></SideScanSensor>");
        EXPECT_EQ(stored(*vessel), around(sideScan(text) + shape));
    }
}

TEST_F(VesselLife, AnEntryWithoutACalendarDateIsNotStored) {
    SKARVessel vessel;
    vessel.setFileName(directory.wide("v").c_str(), false);
    Entry entry(std::make_unique<SKARSideScanConfig>(-1e300, status));
    EXPECT_EQ(vessel.addSensor(entry), 0);
    EXPECT_EQ(stored(vessel), around(shape + "  <SideScanSensor/>\n"));
}

// What the text of a new entry says is the time that comes back.
TEST_F(VesselLife, ATimeThatIsStoredCanBeRead) {
    struct Case {
        double time;
        const char* text;
    };
    const double midnight = TmYDStoUTCs80(2012, 200, 0);
    const Case cases[] = {
        {TmYDStoUTCs80(1981, 1, 0), "1981-001 00:00:00"},
        {TmYDStoUTCs80(1981, 1, 0) + 0.25, "1981-001 00:00:00"},
        {TmYDStoUTCs80(1981, 1, 1), "1981-001 00:00:01"},
        {TmYDStoUTCs80(1980, 366, 86399), "1980-366 23:59:59"},
        {std::nextafter(midnight, 0), "2012-199 23:59:59"},
        {midnight, "2012-200 00:00:00"},
        {-0.5, "1979-365 23:59:59"},
    };
    for (const Case& each : cases) {
        SKARVessel vessel;
        vessel.setFileName(directory.wide("v").c_str(), false);
        Entry entry(std::make_unique<SKARSideScanConfig>(each.time, status));
        EXPECT_EQ(vessel.addSensor(entry), 0);
        EXPECT_EQ(stored(vessel), around(shape + sideScan(each.text)));
        ASSERT_EQ(vessel.reload(), 0);
        EXPECT_EQ(vessel.getFirstSensor(L"SideScanSensor", status)->getTimeStamp(), std::floor(each.time));
    }
}

TEST_F(VesselLife, EveryDayOfACenturyCanBeStored) {
    SKARVessel vessel;
    vessel.setFileName(directory.wide("v").c_str(), false);
    std::size_t days = 0;
    for (std::int32_t year = 1950; year < 2050; ++year) {
        for (std::int32_t day = 1; day <= TmYMDtoJD(year, 12, 31); ++day, ++days) {
            Entry entry(std::make_unique<SKARSideScanConfig>(TmYDStoUTCs80(year, day, 0), status));
            ASSERT_EQ(vessel.addSensor(entry), 0);
        }
    }
    ASSERT_EQ(vessel.store(), 0);
    ASSERT_EQ(vessel.reload(), 0);
    const auto* list = vessel.getSensorList(typeid(SKARSideScanConfig));
    EXPECT_EQ(list->getCount(), days);
    const auto* entry = list->getFirstConfig();
    for (std::int32_t year = 1950; year < 2050; ++year) {
        for (std::int32_t day = 1; day <= TmYMDtoJD(year, 12, 31);
             ++day, entry = list->getNextConfig(entry)) {
            ASSERT_EQ(entry->getTimeStamp(), TmYDStoUTCs80(year, day, 0)) << year << ' ' << day;
        }
    }
}

TEST_F(VesselLife, ACopyOutlivesTheVesselThatWasRead) {
    const std::string text = sideScan("2012-001 00:00:00") + "  <Own/>\n";
    auto source = read(text);
    SKARVessel copy(*source);
    EXPECT_FALSE(copy.isModified());
    EXPECT_EQ(source->reload(), 0);
    source.reset();
    EXPECT_EQ(stored(copy), around(text + shape));
    EXPECT_EQ(copy.getFileName(), directory.wide("v.skv"));
}

TEST_F(VesselLife, ACopyHoldsTheDocumentThatWasForgotten) {
    directory.write("v.skv", "<SKARVesselConfig Version=\"1.5\">" + sideScan("2012-001 00:00:00.5") +
                                 "</SKARVesselConfig>");
    auto source = std::make_unique<SKARVessel>(directory.wide("v").c_str(), status);
    ASSERT_EQ(status, 0);
    Entry entry(std::make_unique<SKARNavConfig>(1, status));
    EXPECT_EQ(source->addSensor(entry), 0);
    EXPECT_EQ(source->setFileName(directory.wide("new").c_str(), true), 0);
    SKARVessel copy(*source);
    source.reset();
    EXPECT_TRUE(copy.isModified());
    EXPECT_EQ(copy.getFileVersion(), 1.5F);
    EXPECT_EQ(copy.removeAllSensors(L"NavSensor"), 0);
    EXPECT_EQ(copy.store(), 0);
    EXPECT_EQ(directory.read("new.skv"), around(shape + sideScan("2012-001 00:00:00.5")));
}

// The first document is still what the entries point into.
TEST_F(VesselLife, ADocumentMayBeForgottenAgainAndAgain) {
    const auto vessel = read(sideScan("2012-001 00:00:00.5"));
    for (const char* name : {"a.skv", "b.skv", "c.skv"}) {
        EXPECT_EQ(vessel->setFileName(directory.wide("unused").c_str(), true), 0);
        EXPECT_EQ(vessel->setFileName(directory.wide(name).c_str(), true), 0);
        EXPECT_EQ(vessel->store(), 0);
        EXPECT_EQ(directory.read(name), around(shape + sideScan("2012-001 00:00:00.5")));
        EXPECT_EQ(vessel->store(), 0);
    }
}

TEST_F(VesselLife, EntriesGoIntoTheListOfTheFileOfExactlyTheirName) {
    const auto vessel = read("<sidescansensor/><SideScanSensor own=\"1\"/>");
    Entry entry(std::make_unique<SKARSideScanConfig>(TmYDStoUTCs80(2012, 1, 0), status));
    EXPECT_EQ(vessel->addSensor(entry), 0);
    std::string list = sideScan("2012-001 00:00:00");
    list.insert(list.find('>'), " own=\"1\"");
    EXPECT_EQ(stored(*vessel), around("  <sidescansensor/>\n" + list + shape));
    EXPECT_EQ(vessel->reload(), 0);
    EXPECT_EQ(vessel->getSensors().count(), 1U);
}

TEST_F(VesselLife, CommentsInstructionsTextsAndNamespacesSurvive) {
    const std::string text = "<?xml version=\"1.0\"?>\n<!-- ahead -->\n<?made by=\"hand\"?>\n"
                             "<SKARVesselConfig xmlns:o=\"urn:own\" Version=\"2.0\">\n"
                             "  <!-- of the towed sonar -->\n"
                             "  <SideScanSensor>\n"
                             "    <TimeStamp value=\"2012-001 00:00:00\" o:by=\"me\">\n"
                             "      <!-- within -->\n"
                             "      <o:Cable length=\"3\">a &amp; b<![CDATA[<c>]]></o:Cable>\n"
                             "      <Latency value=\"0.000000\"/>\n"
                             "    </TimeStamp>\n"
                             "    <?within list?>\n"
                             "  </SideScanSensor>\n" +
                             shape + "</SKARVesselConfig>\n<!-- behind -->\n";
    directory.write("v.skv", text);
    SKARVessel vessel(directory.wide("v").c_str(), status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(stored(vessel), text);
}

TEST_F(VesselLife, WhatAnEntryRefersToGoesAlongIntoANewDocument) {
    directory.write("v.skv",
                    "<!DOCTYPE SKARVesselConfig [<!ENTITY s \"ship\">]><SKARVesselConfig Version=\"2\">"
                    "<SideScanSensor><T value=\"2012-001 00:00:00\"><Comment value=\"a &s;\"/>"
                    "<Own of=\"&s;\">the &s;</Own></T></SideScanSensor></SKARVesselConfig>");
    SKARVessel vessel(directory.wide("v").c_str(), status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(vessel.setFileName(directory.wide("new").c_str(), true), 0);
    ASSERT_EQ(vessel.store(), 0);
    EXPECT_NE(directory.read("new.skv").find("<Own of=\"&s;\">the &s;</Own>"), std::string::npos);
    const SKARVessel again(directory.wide("new").c_str(), status);
    ASSERT_EQ(status, 0);
    EXPECT_STREQ(again.getFirstSensor(L"SideScanSensor", status)->getComment(), L"a ship");
}

TEST_F(VesselLife, ReadingSetsTheBlanksOfTheThread) {
    const auto vessel = read("");
    const int before = xmlKeepBlanksDefault(1);
    EXPECT_EQ(vessel->reload(), 0);
    EXPECT_EQ(xmlKeepBlanksDefault(before), 0);
}

// What a caller hands in may be the vessel's own.
TEST_F(VesselLife, ItsOwnTextsAndPartsMayBeHandedIn) {
    const auto vessel =
        read("<VesselShape><PlanCoordinates><Entry X=\"1\" Y=\"2\"/></PlanCoordinates></VesselShape>"
             "<DepthSensor><T value=\"2012-001 00:00:00\"><Comment value=\"c\"/><TransducerEntries>"
             "<T Number=\"1\"><Manufacturer value=\"m\"/></T></TransducerEntries></T>"
             "<T value=\"2012-002 00:00:00\"/></DepthSensor>");
    vessel->setVesselShape(vessel->getVesselShape());
    EXPECT_EQ(vessel->getVesselShape().getPlanViewCoords().count(), 1U);
    auto& depth = dynamic_cast<SKARDepthConfig&>(
        const_cast<SKARVesselSensorConfig&>(*vessel->getFirstSensor(L"DepthSensor", status)));
    EXPECT_EQ(depth.setComment(depth.getComment()), 0);
    EXPECT_STREQ(depth.getComment(), L"c");
    EXPECT_EQ(depth.addTransducer(*depth.getTransducer(1, status)), 0);
    EXPECT_STREQ(depth.getTransducer(1, status)->getManufacturer(), L"m");
    EXPECT_EQ(vessel->removeSensor(depth.getTimeStamp(), depth.getName()), 0);
    const auto* last = vessel->getFirstSensor(typeid(SKARDepthConfig), status);
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(vessel->removeSensor(last->getTimeStamp(), last->getName()), 0);
    EXPECT_TRUE(vessel->getSensors().isEmpty());
}

TEST_F(VesselLife, NoNameIsThatOfNoKind) {
    const auto vessel = read(sideScan("2012-001 00:00:00"));
    const wchar_t* const none = nullptr;
    EXPECT_EQ(vessel->getSensor(none, 1e10, status), nullptr);
    EXPECT_EQ(status, 5100003);
    EXPECT_EQ(vessel->getFirstSensor(none, status), nullptr);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(vessel->getLastSensor(none, status), nullptr);
    EXPECT_EQ(vessel->removeSensor(0, none), 5100003);
    EXPECT_EQ(vessel->getSensors().count(), 1U);
}

TEST_F(VesselLife, AnEmptyTextStaysOne) {
    const auto vessel = read("<SideScanSensor><TimeStamp value=\"2012-001 00:00:00\"><Comment value=\"\"/>"
                             "<Authorization/></TimeStamp></SideScanSensor>");
    const auto* entry = vessel->getFirstSensor(L"SideScanSensor", status);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->getComment(), L"");
    EXPECT_EQ(entry->getAuthorization(), nullptr);
    EXPECT_NE(stored(*vessel).find("<Comment value=\"\"/>"), std::string::npos);
}

TEST_F(VesselLife, AShortcutInThePlaceOfTheFileIsFollowedAndTheGivenNameKept) {
    directory.write("elsewhere/real.skv", around(sideScan("2012-001 00:00:00")));
    directory.write("v.skv.lnk", skar::tests::shortcutBytes(u".\\elsewhere\\real.skv", ""));
    const SKARVessel vessel(directory.wide("v.skv").c_str(), status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(vessel.getSensors().count(), 1U);
    EXPECT_EQ(vessel.getFileName(), directory.wide("v.skv"));
}

TEST_F(VesselLife, WhatIsRewrittenLosesOnlyItsOwnRows) {
    const auto vessel = read(
        "<VesselShape own=\"1\"><Extra/><PlanCoordinates><Gone/></PlanCoordinates></VesselShape>"
        "<DraftSensor><T value=\"2012-001 00:00:00\"><DraftEntries own=\"2\"><Entry Speed=\"1\" Draft=\"2\" "
        "gone=\"3\"/><Extra/></DraftEntries></T></DraftSensor>"
        "<GyroSensor><T value=\"2012-001 00:00:00\"><Offsets own=\"4\"><Extra/><Gyro><Entry Offset=\"5\"/>"
        "</Gyro></Offsets></T></GyroSensor>"
        "<TPEConfiguration><T value=\"2012-001 00:00:00\"><StandardDeviation own=\"6\"><Motion own=\"7\"/>"
        "<Extra/></StandardDeviation></T></TPEConfiguration>");
    const std::string text = stored(*vessel);
    for (const char* kept :
         {"<VesselShape own=\"1\">\n    <Extra/>", "<DraftEntries own=\"2\">\n        <Extra/>",
          "<Entry Speed=\"1.000000\" Draft=\"2.000000\"/>", "<Offsets own=\"4\">\n        <Extra/>",
          "<Entry Azimuth=\"0.000000\" Offset=\"5.000000\"/>", "<StandardDeviation own=\"6\">",
          "<Motion own=\"7\" Gyro=\"0.000000\"", "        <Extra/>\n        <Position"}) {
        EXPECT_NE(text.find(kept), std::string::npos) << kept;
    }
    for (const char* gone : {"Gone", "gone"}) {
        EXPECT_EQ(text.find(gone), std::string::npos) << gone;
    }
}

TEST_F(VesselLife, AnEmptiedTableLeavesTheFile) {
    const auto vessel = read("<GyroSensor><T value=\"2012-001 00:00:00\"><Offsets><Gyro><Entry Offset=\"5\"/>"
                             "</Gyro></Offsets></T></GyroSensor><SideScanGyroSensor><T value=\"2012-001 "
                             "00:00:00\"><Offsets><Gyro><Entry Offset=\"5\"/></Gyro></Offsets></T>"
                             "</SideScanGyroSensor>");
    for (const wchar_t* name : {L"GyroSensor", L"SideScanGyroSensor"}) {
        auto* table = dynamic_cast<skar::vessel::GyroTable*>(
            const_cast<SKARVesselSensorConfig*>(vessel->getFirstSensor(name, status)));
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->resizeGyroTable(), 0);
    }
    EXPECT_EQ(stored(*vessel).find("<Gyro>"), std::string::npos);
}

TEST_F(VesselLife, ListsAreFoundByNameAndByClass) {
    const auto vessel = read(sideScan("2012-001 00:00:00"));
    const auto* entry = vessel->getFirstSensor(typeid(SKARSideScanConfig), status);
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(entry->getName(), L"SideScanSensor");
    for (const SKARVesselSensorConfig* each :
         {vessel->getFirstSensor(L"SideScanSensor", status), vessel->getLastSensor(L"SideScanSensor", status),
          vessel->getLastSensor(typeid(SKARSideScanConfig), status),
          vessel->getSensor(L"SideScanSensor", 1e10, status),
          vessel->getSensor(typeid(SKARSideScanConfig), 1e10, status)}) {
        EXPECT_EQ(each, entry);
        EXPECT_EQ(status, 0);
    }
    status = 7;
    EXPECT_EQ(vessel->getFirstSensor(typeid(SKARNavConfig), status), nullptr);
    EXPECT_EQ(status, 0);
    status = 7;
    EXPECT_EQ(vessel->getLastSensor(L"NavSensor", status), nullptr);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(vessel->getSensorList(typeid(SKARNavConfig)), nullptr);
    EXPECT_EQ(vessel->getSensor(typeid(SKARSideScanConfig), 0, status), nullptr);
    EXPECT_EQ(status, 5100006);
}

TEST_F(VesselLife, AListOfAnUnknownNameStaysAndIsPassedOver) {
    const std::string unknown = "  <Winch>\n    <TimeStamp value=\"not a time\"/>\n  </Winch>\n";
    const auto vessel = read(unknown + sideScan("2012-001 00:00:00"));
    EXPECT_EQ(vessel->getSensors().count(), 1U);
    EXPECT_EQ(stored(*vessel), around(unknown + sideScan("2012-001 00:00:00") + shape));
}

TEST_F(VesselLife, TheEncodingOfTheFileIsKept) {
    directory.write("v.skv",
                    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><SKARVesselConfig Version=\"2.0\">"
                    "<SideScanSensor><T value=\"2012-001 00:00:00\"><Comment value=\"caf\xE9\"/></T>"
                    "</SideScanSensor></SKARVesselConfig>");
    SKARVessel vessel(directory.wide("v").c_str(), status);
    ASSERT_EQ(status, 0);
    EXPECT_STREQ(vessel.getFirstSensor(L"SideScanSensor", status)->getComment(), L"caf\u00e9");
    EXPECT_NE(stored(vessel).find("<Comment value=\"caf\xE9\"/>"), std::string::npos);
}

TEST_F(VesselLife, AVesselIsFoundWithoutItsExtension) {
    directory.write("plain", around(sideScan("2012-001 00:00:00")));
    const SKARVessel vessel(directory.wide("plain").c_str(), status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(vessel.getSensors().count(), 1U);
    // The name that was given stands, not that of the file that was found.
    EXPECT_EQ(vessel.getFileName(), directory.wide("plain.skv"));
}

TEST(VesselDisk, AFailureWhileStoringLeavesTheFile) {
    const std::string before = around(sideScan("2012-001 00:00:00"));
    const std::string after = around(sideScan("2012-001 00:00:00") + shape);
    std::size_t failed = 0;
    std::size_t operation = 0;
    for (std::size_t all = 1; operation < all;) {
        FaultBackend disk;
        disk.put("/vessels/v.skv", before);
        long status = -1;
        SKARVessel vessel(L"/vessels/v.skv", status);
        ASSERT_EQ(status, 0);
        disk.resetCounts();
        disk.failAt(++operation, ENOSPC);
        const long result = vessel.store();
        all = std::max(all, disk.operations());
        EXPECT_EQ(disk.openStreams(), 0);
        EXPECT_EQ(result, result == 0 ? 0 : -1);
        EXPECT_EQ(vessel.isModified(), result == 0);
        EXPECT_EQ(disk.bytes("/vessels/v.skv"), result == 0 ? after : before) << operation;
        failed += result == 0 ? 0 : 1;
    }
    EXPECT_GE(failed, 3U);
}

} // namespace
