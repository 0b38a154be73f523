#include "support/temporary_directory.h"

#include <skar/codes.h>
#include <skar/time.h>
#include <skar/vesselsensors.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

namespace codes = skar::codes;
using skar::tests::TemporaryDirectory;
using Entry = MORVAType<SKARVesselSensorConfig>;

template <class Kind>
long addTo(SKARVessel& vessel, double time) {
    long status = -1;
    Entry entry(std::make_unique<Kind>(time, status));
    EXPECT_EQ(status, 0);
    return vessel.addSensor(entry);
}

class VesselFile : public testing::Test {
protected:
    void write(const std::string& inside, const std::string& version = "2.0") {
        directory.write("v.skv", "<?xml version=\"1.0\"?>\n<SKARVesselConfig Version=\"" + version + "\">" +
                                     inside + "</SKARVesselConfig>\n");
    }
    std::unique_ptr<SKARVessel> read() {
        return std::make_unique<SKARVessel>(directory.wide("v.skv").c_str(), status);
    }
    // The file after loading and storing it.
    std::string again() {
        const auto vessel = read();
        EXPECT_EQ(status, 0);
        EXPECT_EQ(vessel->store(), 0);
        return directory.read("v.skv");
    }
    TemporaryDirectory directory;
    long status = -1;
};

const std::string emptyShape = "  <VesselShape>\n"
                               "    <PlanCoordinates/>\n"
                               "    <ProfileCoordinates/>\n"
                               "    <RP Length=\"0.000000\" Width=\"0.000000\" Height=\"0.000000\"/>\n"
                               "  </VesselShape>\n";

std::string stored(const std::string& inside) {
    return "<?xml version=\"1.0\"?>\n<SKARVesselConfig Version=\"2.0\">\n" + inside + "</SKARVesselConfig>\n";
}

TEST(VesselTimes, TheEntryInForceIsTheLastAtOrBefore) {
    SKARVessel vessel;
    EXPECT_EQ(addTo<SKARGyroConfig>(vessel, 20), 0);
    EXPECT_EQ(addTo<SKARGyroConfig>(vessel, 10), 0);
    const auto* list = vessel.getSensorList(typeid(SKARGyroConfig));
    ASSERT_NE(list, nullptr);
    long status = -1;
    EXPECT_EQ(list->getConfig(5, status), nullptr);
    EXPECT_EQ(status, 5100006);
    EXPECT_EQ(list->getConfig(10, status), list->getFirstConfig());
    EXPECT_EQ(status, 0);
    EXPECT_EQ(list->getConfig(15, status)->getTimeStamp(), 10);
    EXPECT_EQ(list->getConfig(1e12, status), list->getLastConfig());
    EXPECT_EQ(list->getNextConfig(list->getFirstConfig()), list->getLastConfig());
    EXPECT_EQ(list->getNextConfig(list->getLastConfig()), nullptr);
    EXPECT_EQ(list->getNextConfig(nullptr), nullptr);
    EXPECT_EQ(vessel.getSensor(L"gyrosensor", 10, status), nullptr);
    EXPECT_EQ(status, 5100003);
    EXPECT_EQ(vessel.getSensor(L"GyroSensor", 12, status)->getTimeStamp(), 10);
}

TEST(VesselTimes, ADuplicateIsRefusedAndStaysTheCallers) {
    SKARVessel vessel;
    EXPECT_EQ(addTo<SKARRollConfig>(vessel, 10), 0);
    long status = 0;
    Entry second(std::make_unique<SKARRollConfig>(10, status));
    EXPECT_EQ(vessel.addSensor(second), 5100008);
    EXPECT_FALSE(second.isNull());
    Entry none;
    EXPECT_EQ(vessel.addSensor(none), 0);
    SKARVesselSensorList list;
    EXPECT_EQ(list.add(none), 5100007);
    EXPECT_EQ(list.getConfig(1, status), nullptr);
    EXPECT_EQ(status, 0);
}

TEST(VesselTimes, MovingOntoAnotherEntryDestroysTheMovedOne) {
    SKARVesselSensorList list;
    long status = 0;
    for (const double time : {10.0, 20.0, 30.0}) {
        Entry entry(std::make_unique<SKARPitchConfig>(time, status));
        EXPECT_EQ(list.add(entry), 0);
        EXPECT_TRUE(entry.isNull());
    }
    EXPECT_EQ(list.updateTimeStamp(nullptr, 1), -1);
    EXPECT_EQ(list.updateTimeStamp(list.getFirstConfig(), 25), 0);
    EXPECT_EQ(list.getFirstConfig()->getTimeStamp(), 20);
    EXPECT_EQ(list.updateTimeStamp(list.getFirstConfig(), 30), 0);
    EXPECT_EQ(list.getCount(), 2U);
    EXPECT_EQ(list.updateTimeStamp(list.getLastConfig(), 30), 0);
    EXPECT_EQ(list.getCount(), 2U);
    const SKARPitchConfig stranger(99, status);
    EXPECT_EQ(list.updateTimeStamp(&stranger, 1), 5100009);
    EXPECT_EQ(list.remove(1), 5100009);
}

TEST(VesselTimes, AnEntryIsFollowedByTheNextWhateverWasAskedBefore) {
    SKARVesselSensorList list;
    long status = 0;
    const SKARVesselSensorConfig* entries[4] = {};
    for (const int place : {0, 1, 2, 3}) {
        Entry entry(std::make_unique<SKARPitchConfig>(place, status));
        entries[place] = entry.get();
        EXPECT_EQ(list.add(entry), 0);
    }
    for (const int place : {2, 0, 0, 1, 2, 1}) {
        EXPECT_EQ(list.getNextConfig(entries[place]), entries[place + 1]) << place;
    }
    const SKARPitchConfig stranger(1, status);
    EXPECT_EQ(list.getNextConfig(&stranger), nullptr);
    EXPECT_EQ(list.remove(1), 0);
    EXPECT_EQ(list.getNextConfig(entries[0]), entries[2]);
    EXPECT_EQ(list.getNextConfig(entries[3]), nullptr);
}

TEST(VesselTimes, TheListGoesWithItsLastEntry) {
    SKARVessel vessel;
    addTo<SKARNavConfig>(vessel, 10);
    EXPECT_TRUE(vessel.isModified());
    EXPECT_EQ(vessel.removeSensor(11, L"NavSensor"), 5100009);
    EXPECT_EQ(vessel.removeSensor(10, typeid(SKARNavConfig)), 0);
    long status = 0;
    vessel.getSensor(L"NavSensor", 10, status);
    EXPECT_EQ(status, 5100003);
    EXPECT_EQ(vessel.removeSensor(10, L"NavSensor"), 5100003);
    EXPECT_EQ(vessel.removeAllSensors(L"NavSensor"), -1);
    EXPECT_EQ(vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr)), 0);
}

TEST(VesselTimes, ListsStandInTheOrderOfTheirNames) {
    SKARVessel vessel;
    addTo<SKARTPEConfig>(vessel, 1);
    addTo<SKARDraftConfig>(vessel, 1);
    addTo<SKARNavConfig>(vessel, 1);
    std::wstring names;
    for (const auto& list : vessel.getSensors()) {
        names += list->getFirstConfig()->getName();
        names += L' ';
    }
    EXPECT_EQ(names, L"DraftSensor NavSensor TPEConfiguration ");
    EXPECT_EQ(vessel.removeAllSensors(typeid(SKARNavConfig)), 0);
    EXPECT_EQ(vessel.getSensors().count(), 2U);
}

TEST(VesselCopy, TakesTheListsOutOfTheSource) {
    SKARVessel source;
    addTo<SKARNavConfig>(source, 1);
    const SKARVessel copy(source);
    long status = 0;
    EXPECT_NE(copy.getFirstSensor(L"NavSensor", status), nullptr);
    EXPECT_EQ(source.getFirstSensor(L"NavSensor", status), nullptr);
    EXPECT_EQ(addTo<SKARNavConfig>(source, 2), 0);
    // The handle that was left behind stands ahead of the new list and is removed first, which moves the list
    // out of the place that was counted for it.
    EXPECT_EQ(source.removeAllSensors(L"NavSensor"), 0);
    EXPECT_EQ(source.getSensors().count(), 1U);
    EXPECT_NE(source.getFirstSensor(L"NavSensor", status), nullptr);
    EXPECT_EQ(source.removeAllSensors(L"NavSensor"), 0);
    EXPECT_TRUE(source.getSensors().isEmpty());
}

TEST(VesselCopy, OfSeveralListsLeftBehindTheLastIsRemovedFirst) {
    SKARVessel source;
    addTo<SKARGyroConfig>(source, 1);
    addTo<SKARHeaveConfig>(source, 1);
    const SKARVessel copy(source);
    EXPECT_EQ(addTo<SKARNavConfig>(source, 2), 0);
    EXPECT_EQ(source.getSensors().count(), 3U);
    EXPECT_EQ(source.removeAllSensors(L"NavSensor"), 0);
    // Both handles are gone, and with them the place that was counted for the list.
    long status = -1;
    EXPECT_EQ(source.getSensors().count(), 1U);
    EXPECT_NE(source.getFirstSensor(L"NavSensor", status), nullptr);
}

// A list can be reached, and emptied, behind the back of its vessel.
TEST(VesselTimes, AnEmptiedListIsPassedOverAndSweptAway) {
    SKARVessel vessel;
    addTo<SKARGyroConfig>(vessel, 1);
    addTo<SKARNavConfig>(vessel, 1);
    ASSERT_EQ(vessel.getSensors().head()->get()->remove(1), 0);
    long status = 0;
    EXPECT_EQ(vessel.getSensor(L"GyroSensor", 1, status), nullptr);
    EXPECT_EQ(status, 5100003);
    EXPECT_EQ(vessel.getSensor(typeid(SKARGyroConfig), 1, status), nullptr);
    EXPECT_EQ(status, 5100003);
    EXPECT_EQ(vessel.removeSensor(1, L"GyroSensor"), 5100003);
    EXPECT_EQ(addTo<SKARGyroConfig>(vessel, 2), 0);
    EXPECT_EQ(vessel.getFirstSensor(L"GyroSensor", status)->getTimeStamp(), 2);
    EXPECT_EQ(vessel.getSensors().count(), 3U);
    EXPECT_EQ(vessel.removeAllSensors(typeid(SKARHeaveConfig)), 0);
    EXPECT_EQ(vessel.getSensors().count(), 2U);
    EXPECT_NE(vessel.getFirstSensor(L"GyroSensor", status), nullptr);
    EXPECT_EQ(vessel.removeAllSensors(typeid(SKARHeaveConfig)), -1);
}

TEST(VesselName, OfNoneIsRefusedAndTheDocumentForgottenAllTheSame) {
    long status = 0;
    const SKARVessel unnamed(nullptr, status);
    EXPECT_EQ(status, 5100002);
    EXPECT_EQ(unnamed.getFileName(), nullptr);
    const TemporaryDirectory directory;
    directory.write("v.skv", "<SKARVesselConfig Version=\"1\"><Own/></SKARVesselConfig>");
    SKARVessel vessel(directory.wide("v").c_str(), status);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(vessel.setFileName(nullptr, true), 5100002);
    EXPECT_EQ(vessel.getFileName(), directory.wide("v.skv"));
    EXPECT_EQ(vessel.store(), 0);
    EXPECT_EQ(directory.read("v.skv"), stored(emptyShape));
}

TEST(VesselParts, ThatHoldNothingYetAreThere) {
    SKARVessel vessel;
    EXPECT_EQ(vessel.getMetaData().load(nullptr), 0);
    EXPECT_EQ(vessel.getMetaData().store(nullptr), 0);
    EXPECT_EQ(vessel.getEditHistory().load(nullptr), 0);
    EXPECT_EQ(vessel.getEditHistory().store(nullptr), 0);
    EXPECT_EQ(vessel.getVesselShape().store(nullptr), -1);
    SKARVesselShape shape;
    shape.addPlanViewCoord(1, 2);
    vessel.setVesselShape(shape);
    shape.clearPlanViewCoords();
    EXPECT_EQ(vessel.getVesselShape().getPlanViewCoords().count(), 1U);
    EXPECT_EQ(SKARVesselShape(vessel.getVesselShape()).getPlanViewCoords().count(), 1U);
}

TEST(VesselName, GetsTheExtensionUnlessItHasIt) {
    SKARVessel vessel;
    EXPECT_EQ(vessel.getFileName(), nullptr);
    EXPECT_EQ(vessel.setFileName(nullptr, false), 5100002);
    for (const auto& [given, held] :
         {std::pair{L"a\\b", L"a\\b.skv"}, std::pair{L"b.SKV", L"b.SKV"}, std::pair{L"b.txt", L"b.txt.skv"},
          std::pair{L"d.skv/b", L"d.skv/b.skv"}}) {
        EXPECT_EQ(vessel.setFileName(given, false), 0);
        EXPECT_STREQ(vessel.getFileName(), held);
    }
    EXPECT_EQ(vessel.setFileName(vessel.getFileName(), false), 0);
    EXPECT_STREQ(vessel.getFileName(), L"d.skv/b.skv");
    SKARVessel unnamed;
    EXPECT_EQ(unnamed.store(), -1);
    EXPECT_EQ(unnamed.getFileVersion(), 2.0F);
}

struct TimeCase {
    const char* text;
    const char* message;
};

TEST(VesselTimeText, EachMistakeHasItsMessage) {
    const TimeCase cases[] = {
        {nullptr, "Invalid format.  Supplied string (NULL) is less than 17 characters.\n"},
        {"2012-183 07:05:0",
         "Invalid format.  Supplied string (2012-183 07:05:0) is less than 17 characters.\n"},
        {"2012/183 07:05:09",
         "Invalid format.  Supplied string (2012/183 07:05:09) does not have a '-' at position 4.\n"},
        {"2012-183T07:05:09",
         "Invalid format.  Supplied string (2012-183T07:05:09) does not have a ' ' at position 8.\n"},
        {"2012-183 07.05:09",
         "Invalid format.  Supplied string (2012-183 07.05:09) does not have a ':' at position 11.\n"},
        {"2012-183 07:05.09",
         "Invalid format.  Supplied string (2012-183 07:05.09) does not have a ':' at position 14.\n"},
        {"1899-183 07:05:09", "Invalid year.  Supplied string (1899-183 07:05:09).  Year = 1899\n"},
        {"3001-183 07:05:09", "Invalid year.  Supplied string (3001-183 07:05:09).  Year = 3001\n"},
        {"2012-367 07:05:09", "Invalid julian day.  Supplied string (2012-367 07:05:09).  JDay = 367\n"},
        {"2012--01 07:05:09", "Invalid julian day.  Supplied string (2012--01 07:05:09).  JDay = -1\n"},
        {"2012-183 24:05:09", "Invalid hour.  Supplied string (2012-183 24:05:09).  hour = 24\n"},
        {"2012-183 07:60:09", "Invalid minute.  Supplied string (2012-183 07:60:09).  Minute = 60\n"},
        {"2012-183 07:05:60.5",
         "Invalid seconds.  Supplied string (2012-183 07:05:60.5).  Seconds = 60, SecondStr = 60\n"},
    };
    for (const TimeCase& each : cases) {
        double seconds = 7;
        testing::internal::CaptureStdout();
        EXPECT_EQ(SKARVesselSensorConfig::decodeTime(each.text, seconds), 5100010);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string("decodeTime(): ") + each.message);
        EXPECT_EQ(seconds, 7);
    }
}

TEST(VesselTimeText, TheLimitsAndTextBehindAreAccepted) {
    double seconds = 0;
    EXPECT_EQ(SKARVesselSensorConfig::decodeTime("2012-183 07:05:09.75", seconds), 0);
    EXPECT_EQ(seconds, TmYDStoUTCs80(2012, 183, 7 * 3600 + 5 * 60 + 9));
    EXPECT_EQ(SKARVesselSensorConfig::decodeTime("2012-183 07:05:098", seconds), 0);
    EXPECT_EQ(seconds, TmYDStoUTCs80(2012, 183, 7 * 3600 + 5 * 60 + 9));
    for (const char* text : {"1900-000 00:00:00", "3000-366 23:59:59"}) {
        EXPECT_EQ(SKARVesselSensorConfig::decodeTime(text, seconds), 0) << text;
    }
}

TEST_F(VesselFile, ANewVesselIsWrittenAsAText) {
    SKARVessel vessel;
    vessel.setFileName(directory.wide("v").c_str(), false);
    SKARVesselShape shape;
    shape.addPlanViewCoord(1, 2);
    shape.addProfileViewCoord(3, -4.5);
    shape.setRP(10, 5, 2);
    vessel.setVesselShape(shape);
    long result = 0;
    auto gyro = std::make_unique<SKARGyroConfig>(TmYDStoUTCs80(2012, 7, 3661.9), result);
    gyro->setManufacturer(L"\"Acme\"");
    gyro->setComment(L"caf\u00e9");
    gyro->setAuthorization(L"me");
    gyro->setLatency(0.25);
    gyro->SKARVesselSensorConfig::setLatency(9);
    gyro->setApplyFlag(true);
    gyro->setGyroOffset(1.5);
    Entry entry(std::move(gyro));
    vessel.addSensor(entry);
    EXPECT_EQ(vessel.store(), 0);
    EXPECT_TRUE(vessel.isModified());
    EXPECT_EQ(directory.read("v.skv"),
              stored("  <VesselShape>\n"
                     "    <PlanCoordinates>\n"
                     "      <Entry X=\"1.000000\" Y=\"2.000000\"/>\n"
                     "    </PlanCoordinates>\n"
                     "    <ProfileCoordinates>\n"
                     "      <Entry Y=\"3.000000\" Z=\"-4.500000\"/>\n"
                     "    </ProfileCoordinates>\n"
                     "    <RP Length=\"10.000000\" Width=\"5.000000\" Height=\"2.000000\"/>\n"
                     "  </VesselShape>\n"
                     "  <GyroSensor>\n"
                     "    <TimeStamp value=\"2012-007 01:01:01\">\n"
                     "      <Comment value=\"caf&#xE9;\"/>\n"
                     "      <Authorization value=\"me\"/>\n"
                     "      <Latency value=\"0.250000\"/>\n"
                     "      <Manufacturer value=\"Acme\"/>\n"
                     "      <ApplyFlag value=\"Yes\"/>\n"
                     "      <Offsets>\n"
                     "        <Gyro>\n"
                     "          <Entry Azimuth=\"0.000000\" Offset=\"1.500000\"/>\n"
                     "        </Gyro>\n"
                     "      </Offsets>\n"
                     "    </TimeStamp>\n"
                     "  </GyroSensor>\n"));
}

TEST_F(VesselFile, WhatIsNotKnownSurvives) {
    write("<MetaData who=\"me\"><More/></MetaData><Unknown a=\"1\"><Deep/></Unknown>"
          "<RollSensor note=\"n\"><TimeStamp value=\"2012-001 00:00:00.50\" extra=\"e\"><Own><Sub "
          "s=\"t\"/></Own>"
          "<Offsets Roll=\"1\" Other=\"kept\"/></TimeStamp></RollSensor><NavSensor empty=\"yes\"/>");
    EXPECT_EQ(again(), stored("  <MetaData who=\"me\">\n"
                              "    <More/>\n"
                              "  </MetaData>\n"
                              "  <Unknown a=\"1\">\n"
                              "    <Deep/>\n"
                              "  </Unknown>\n"
                              "  <RollSensor note=\"n\">\n"
                              "    <TimeStamp value=\"2012-001 00:00:00.50\" extra=\"e\">\n"
                              "      <Own>\n"
                              "        <Sub s=\"t\"/>\n"
                              "      </Own>\n"
                              "      <Offsets Roll=\"1.000000\" Other=\"kept\"/>\n"
                              "      <Latency value=\"0.000000\"/>\n"
                              "      <ApplyFlag value=\"No\"/>\n"
                              "    </TimeStamp>\n"
                              "  </RollSensor>\n"
                              "  <NavSensor empty=\"yes\"/>\n" +
                              emptyShape));
    const auto vessel = read();
    EXPECT_EQ(vessel->getSensors().count(), 1U);
    vessel->setFileName(directory.wide("new.skv").c_str(), true);
    EXPECT_EQ(vessel->store(), 0);
    const std::string text = directory.read("new.skv");
    EXPECT_EQ(text.find("Unknown"), std::string::npos);
    EXPECT_NE(text.find("<Sub s=\"t\"/>"), std::string::npos);
}

TEST_F(VesselFile, OfTwoAtOneTimeAndOfTwoListsTheFirstStays) {
    write("<RollSensor><TimeStamp value=\"2012-001 00:00:00\"><Model value=\"first\"/></TimeStamp>"
          "<TimeStamp value=\"2012-001 00:00:00\"><Model value=\"second\"/></TimeStamp></RollSensor>"
          "<RollSensor><TimeStamp value=\"2012-002 00:00:00\"/></RollSensor>",
          "1.5");
    const auto vessel = read();
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(vessel->isModified());
    EXPECT_EQ(vessel->getFileVersion(), 1.5F);
    const auto* list = vessel->getSensorList(typeid(SKARRollConfig));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(vessel->getSensors().count(), 1U);
    EXPECT_EQ(list->getCount(), 1U);
    EXPECT_STREQ(static_cast<const SKARRollConfig*>(list->getFirstConfig())->getModel(), L"first");
    EXPECT_EQ(vessel->store(), 0);
    EXPECT_NE(directory.read("v.skv").find("Version=\"2.0\""), std::string::npos);
}

TEST_F(VesselFile, OfManyAtTwoTimesTheFirstOfEachStays) {
    std::string entries;
    for (int entry = 0; entry < 100; ++entry) {
        entries += "<TimeStamp value=\"2012-00" + std::string(entry % 2 == 0 ? "2" : "1") +
                   " 00:00:00\"><Model value=\"" + std::to_string(entry) + "\"/></TimeStamp>";
    }
    write("<RollSensor>" + entries + "</RollSensor>");
    const auto vessel = read();
    EXPECT_EQ(status, 0);
    const auto* list = vessel->getSensorList(typeid(SKARRollConfig));
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->getCount(), 2U);
    EXPECT_STREQ(static_cast<const SKARRollConfig*>(list->getFirstConfig())->getModel(), L"1");
    EXPECT_STREQ(static_cast<const SKARRollConfig*>(list->getLastConfig())->getModel(), L"0");
}

TEST_F(VesselFile, TheReasonOfARefusalIsTold) {
    EXPECT_NE(read(), nullptr);
    EXPECT_EQ(status, 5000401);
    directory.write("v.skv", "no markup");
    read();
    EXPECT_EQ(status, 5000401);
    directory.write("v.skv", "<Other Version=\"2.0\"/>");
    read();
    EXPECT_EQ(status, 5100001);
    directory.write("v.skv", "<SKARVesselConfig/>");
    read();
    EXPECT_EQ(status, 5100001);
    write("", "");
    read();
    EXPECT_EQ(status, 5100001);
    directory.write("v.skv", "<skarvesselconfig Version=\"2\"/>");
    read();
    EXPECT_EQ(status, 0);
    write("<RollSensor><TimeStamp value=\"\"/></RollSensor>");
    read();
    EXPECT_EQ(status, -1);
    write("<RollSensor><TimeStamp/></RollSensor>");
    read();
    EXPECT_EQ(status, -1);
    testing::internal::CaptureStdout();
    write("<NavSensor><TimeStamp value=\"2012-001 00:00:00\"/></NavSensor><RollSensor><X "
          "value=\"never\"/></RollSensor>");
    const auto vessel = read();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, 5100010);
    EXPECT_EQ(vessel->getSensors().count(), 1U);
}

TEST_F(VesselFile, ReloadingReplacesListsAndDoublesTheShape) {
    write("<VesselShape><PlanCoordinates><Entry X=\"1\" Y=\"2\"/><Entry X=\"1\"/></PlanCoordinates>"
          "<ProfileCoordinates/><Any Length=\"4\" Width=\"5\" Height=\"6\"/></VesselShape>"
          "<SVPSensor><TimeStamp value=\"2012-001 00:00:00\"/></SVPSensor>");
    const auto vessel = read();
    EXPECT_EQ(vessel->getVesselShape().getPlanViewCoords().count(), 1U);
    EXPECT_EQ(vessel->reload(), 0);
    EXPECT_EQ(vessel->getVesselShape().getPlanViewCoords().count(), 2U);
    EXPECT_EQ(vessel->getSensors().count(), 1U);
    double length = 0;
    double width = 0;
    double height = 0;
    vessel->getVesselShape().getRP(length, width, height);
    EXPECT_EQ(length + width * 10 + height * 100, 654);
    vessel->getVesselShape().clearPlanViewCoords();
    EXPECT_EQ(vessel->store(), 0);
    EXPECT_NE(directory.read("v.skv").find("<PlanCoordinates/>"), std::string::npos);
}

TEST_F(VesselFile, AShapeWithoutPlanHasNoReferencePoint) {
    write("<VesselShape><RP Length=\"4\" Width=\"5\" Height=\"6\"/></VesselShape>");
    const auto vessel = read();
    double length = -1;
    double width = -1;
    double height = -1;
    vessel->getVesselShape().getRP(length, width, height);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(height, 0);
    write("<VesselShape><PlanCoordinates><Entry X=\"1\" Y=\"2\"/></PlanCoordinates>"
          "<RP Length=\"4\" Width=\"5\" Height=\"6\"/></VesselShape>");
    const auto second = read();
    EXPECT_EQ(second->getVesselShape().getPlanViewCoords().count(), 1U);
    second->getVesselShape().getRP(length, width, height);
    EXPECT_EQ(length, 0);
}

TEST_F(VesselFile, OfSeveralReferencePointsTheFirstWholeOneCounts) {
    write("<VesselShape><PlanCoordinates/><ProfileCoordinates><Entry Y=\"1\" Z=\"2\"/><Entry Z=\"2\"/>"
          "</ProfileCoordinates><RP Length=\"1\" Width=\"2\"/><RP Length=\"4\" Width=\"5\" Height=\"6\"/>"
          "<RP Length=\"7\" Width=\"8\" Height=\"9\"/></VesselShape>");
    const auto vessel = read();
    double size[3] = {};
    vessel->getVesselShape().getRP(size[0], size[1], size[2]);
    EXPECT_EQ(size[0] * 100 + size[1] * 10 + size[2], 456);
    EXPECT_EQ(vessel->getVesselShape().getProfileViewCoords().count(), 1U);
}

} // namespace
