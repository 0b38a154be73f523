#include <skar/vesselsensors.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

namespace {

// An entry in a document of its own.
class Slot {
public:
    explicit Slot(const std::string& inside = {}) {
        const std::string text =
            "<List>" +
            (inside.empty() ? inside : "<TimeStamp value=\"2012-001 00:00:00\">" + inside + "</TimeStamp>") +
            "</List>";
        document =
            xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NOBLANKS);
    }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() { xmlFreeDoc(document); }
    xmlNode* list() const { return xmlDocGetRootElement(document); }
    xmlNode* entry() const { return list()->children; }
    // The children of the entry as text.
    std::string text() const {
        xmlBuffer* buffer = xmlBufferCreate();
        for (xmlNode* each = entry()->children; each != nullptr; each = each->next) {
            xmlNodeDump(buffer, document, each, 0, 0);
        }
        const std::string result(reinterpret_cast<const char*>(xmlBufferContent(buffer)));
        xmlBufferFree(buffer);
        return result;
    }

private:
    xmlDoc* document = nullptr;
};

// What the sample holds goes along into another document and comes back from there.
template <class Kind>
void comesBack(const std::string& sample) {
    const Slot read(sample);
    long status = -1;
    Kind entry(0, status);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(entry.load(read.entry()), 0);
    const Slot written;
    ASSERT_EQ(entry.store(written.list()), 0);
    EXPECT_EQ(written.text(), sample);
}

const std::string base = "<Comment value=\"c\"/><Authorization value=\"a\"/><Latency value=\"1.500000\"/>";
const std::string standard = "<Manufacturer value=\"m\"/><Model value=\"o\"/><SerialNumber value=\"s\"/>";
const std::string apply = "<ApplyFlag value=\"Yes\"/>";
const std::string xyz = "X=\"1.000000\" Y=\"2.000000\" Z=\"3.000000\"";
const std::string table = "<Offsets><Gyro><Entry Azimuth=\"10.000000\" Offset=\"1.000000\"/>"
                          "<Entry Azimuth=\"20.000000\" Offset=\"2.000000\"/></Gyro></Offsets>";

TEST(VesselEntries, EveryKindGoesAlongIntoAnotherDocument) {
    const std::string nav = base + standard + "<Ellipse value=\"WG84\"/><Offsets " + xyz + "/>";
    comesBack<SKARNavConfig>(nav);
    comesBack<SKARSideScanNavConfig>(nav);
    comesBack<SKARGyroConfig>(base + standard + apply + table);
    const std::string heave = base + standard + apply + "<Offsets " + xyz + " Heave=\"4.000000\"/>";
    comesBack<SKARHeaveConfig>(heave);
    comesBack<SKARSideScanHeaveConfig>(heave);
    comesBack<SKARPitchConfig>(base + standard + apply + "<Offsets Pitch=\"4.000000\"/>");
    comesBack<SKARRollConfig>(base + standard + apply + "<Offsets Roll=\"4.000000\"/>");
    comesBack<SKARSideScanPitchConfig>(base + standard + apply +
                                       "<Offsets Pitch=\"4.000000\"/><StdDev Pitch=\"5.000000\"/>");
    comesBack<SKARSideScanRollConfig>(base + standard + apply +
                                      "<Offsets Roll=\"4.000000\"/><StdDev Roll=\"5.000000\"/>");
    comesBack<SKARSideScanConfig>(base + standard);
    comesBack<SKARTowedSSSConfig>(base + standard + "<Offsets " + xyz + " Layback=\"4.000000\"/>");
    comesBack<SKARSVPConfig>(base + "<DualHead value=\"Yes\"/><Offsets " + xyz +
                             " X2=\"4.000000\" Y2=\"5.000000\" Z2=\"6.000000\"/>"
                             "<MountAngle Pitch=\"1.000000\" Roll=\"2.000000\" Azimuth=\"3.000000\" "
                             "Pitch2=\"4.000000\" Roll2=\"5.000000\" Azimuth2=\"6.000000\"/>");
    comesBack<SKARDraftConfig>(base + apply +
                               "<DraftEntries><Entry Speed=\"1.000000\" Draft=\"2.000000\"/>"
                               "<Entry Speed=\"3.000000\" Draft=\"4.000000\"/></DraftEntries>");
    comesBack<SKARWaterlineHeight>(base + "<WaterLine value=\"-1.000000\"/>" + apply +
                                   "<StdDev Waterline=\"0.500000\"/>");
    comesBack<SKARTPEConfig>(
        base +
        "<Offsets><MRUtoTransducer X=\"1.000000\" Y=\"2.000000\" Z=\"3.000000\" X2=\"4.000000\" "
        "Y2=\"5.000000\" "
        "Z2=\"6.000000\"/><NavigationToTransducer X=\"7.000000\" Y=\"8.000000\" Z=\"9.000000\" "
        "X2=\"10.000000\" "
        "Y2=\"11.000000\" Z2=\"12.000000\"/><Transducer Roll=\"13.000000\" Roll2=\"14.000000\"/>"
        "<Navigation Latency=\"15.000000\"/></Offsets>"
        "<StandardDeviation><Motion Gyro=\"16.000000\" HeavePercAmplitude=\"17.000000\" Heave=\"18.000000\" "
        "Roll=\"19.000000\" Pitch=\"20.000000\" PitchStablized=\"21.000000\"/><Position "
        "Navigation=\"22.000000\"/>"
        "<Timing Transducer=\"23.000000\" Navigation=\"24.000000\" Gyro=\"25.000000\" Heave=\"26.000000\" "
        "Pitch=\"27.000000\" Roll=\"28.000000\"/><SoundVelocity Measured=\"29.000000\" "
        "Surface=\"30.000000\"/>"
        "<Tide Measured=\"31.000000\" Zoning=\"32.000000\"/><Offsets X=\"33.000000\" Y=\"34.000000\" "
        "Z=\"35.000000\"/><MRUAlignment Gyro=\"36.000000\" Pitch=\"37.000000\" Roll=\"38.000000\"/>"
        "<Vessel Speed=\"39.000000\" Loading=\"40.000000\" Draft=\"41.000000\" DeltaDraft=\"42.000000\">"
        "<StDevComment value=\"t\"/></Vessel></StandardDeviation>");
}

TEST(VesselEntries, NamesLoseTheirQuotesAndNullClears) {
    long status = 0;
    SKARNavConfig nav(0, status);
    EXPECT_EQ(nav.getModel(), nullptr);
    nav.setManufacturer(L"\"Acme\"");
    EXPECT_STREQ(nav.getManufacturer(), L"Acme");
    nav.setManufacturer(L"\"");
    EXPECT_STREQ(nav.getManufacturer(), L"");
    nav.setManufacturer(L"\"\"");
    EXPECT_STREQ(nav.getManufacturer(), L"");
    nav.setManufacturer(L"a\"b\"");
    EXPECT_STREQ(nav.getManufacturer(), L"a\"b");
    nav.setManufacturer(nullptr);
    EXPECT_EQ(nav.getManufacturer(), nullptr);
    EXPECT_EQ(nav.setEllipseName(L"\"WG84\""), 0);
    EXPECT_EQ(nav.setEllipseName(nullptr), -1);
    EXPECT_STREQ(nav.getEllipseName(), L"\"WG84\"");
}

TEST(VesselEntries, BothLatenciesAreReadAndTheOwnOneIsWritten) {
    const Slot slot("<Latency value=\"2\"/>");
    long status = 0;
    SKARRollConfig roll(0, status);
    ASSERT_EQ(roll.load(slot.entry()), 0);
    EXPECT_EQ(roll.getLatency(), 2);
    EXPECT_EQ(roll.SKARVesselSensorConfig::getLatency(), 2);
    roll.SKARVesselSensorConfig::setLatency(5);
    roll.setLatency(3);
    ASSERT_EQ(roll.store(slot.list()), 0);
    EXPECT_NE(slot.text().find("<Latency value=\"3.000000\"/>"), std::string::npos);
}

TEST(VesselEntries, FlagsAndNumbersThatAreMissingStay) {
    const Slot slot("<Offsets/>");
    long status = 0;
    SKARHeaveConfig heave(0, status);
    heave.setApplyFlag(true);
    heave.setHeaveOffset(7);
    ASSERT_EQ(heave.load(slot.entry()), 0);
    EXPECT_TRUE(heave.getApplyFlag());
    EXPECT_EQ(heave.getHeaveOffset(), 7);
    for (const auto& [text, flag] :
         {std::pair{"TRUE", true}, std::pair{"yes", true}, std::pair{"1", false}}) {
        const Slot other(std::string("<ApplyFlag value=\"") + text + "\"/>");
        ASSERT_EQ(heave.load(other.entry()), 0);
        EXPECT_EQ(heave.getApplyFlag(), flag) << text;
    }
}

TEST(VesselEntries, ALatencyThatIsMissingIsZeroForTheEntryAndStaysForItsKind) {
    const Slot slot("<Offsets/>");
    long status = 0;
    SKARRollConfig roll(0, status);
    roll.setLatency(3);
    roll.SKARVesselSensorConfig::setLatency(5);
    ASSERT_EQ(roll.load(slot.entry()), 0);
    EXPECT_EQ(roll.getLatency(), 3);
    EXPECT_EQ(roll.SKARVesselSensorConfig::getLatency(), 0);
}

TEST(VesselEntries, ElementsAreFoundWithoutRegardToCaseAndUsedAgain) {
    const Slot slot("<offsets X=\"1\" Layback=\"2\"/><MODEL value=\"o\"/>");
    long status = 0;
    SKARTowedSSSConfig towed(0, status);
    ASSERT_EQ(towed.load(slot.entry()), 0);
    EXPECT_EQ(towed.getLaybackOffset(), 2);
    EXPECT_STREQ(towed.getModel(), L"o");
    ASSERT_EQ(towed.store(slot.list()), 0);
    EXPECT_EQ(slot.text(), "<offsets X=\"1.000000\" Layback=\"2.000000\" Y=\"0.000000\" Z=\"0.000000\"/>"
                           "<MODEL value=\"o\"/><Latency value=\"0.000000\"/>");
}

TEST(VesselEntries, WithoutAnElementOrAPlaceFailAndStayAsTheyAre) {
    long status = 0;
    SKARRollConfig roll(7, status);
    EXPECT_EQ(roll.load(nullptr), -1);
    EXPECT_EQ(roll.store(nullptr), -1);
    SKARDepthConfig depth(7, L"Sweep", status);
    EXPECT_EQ(depth.load(nullptr), -1);
    EXPECT_EQ(depth.store(nullptr), -1);
    EXPECT_EQ(SKARTransducerConfig(1, 1, true).store(nullptr), -1);
    SKARVesselSensorList list;
    EXPECT_EQ(list.load(nullptr), 0);
    EXPECT_EQ(list.store(nullptr), 0);
    MORVAType<SKARVesselSensorConfig> entry(std::make_unique<SKARRollConfig>(7, status));
    EXPECT_EQ(list.add(entry), 0);
    EXPECT_EQ(list.store(nullptr), 5100005);
    EXPECT_EQ(roll.getTimeStamp(), 7);
}

TEST(VesselEntries, ATextSetToNullLeavesTheFile) {
    const Slot slot("<Comment value=\"c\"/><Model value=\"o\"/>");
    long status = 0;
    SKARSideScanConfig entry(0, status);
    ASSERT_EQ(entry.load(slot.entry()), 0);
    entry.setComment(nullptr);
    entry.setModel(nullptr);
    ASSERT_EQ(entry.store(slot.list()), 0);
    EXPECT_EQ(slot.text(), "<Latency value=\"0.000000\"/>");
}

TEST(VesselGyroTable, IsCircularAndJumpsAtTheLastRow) {
    long status = 0;
    SKARGyroConfig gyro(0, status);
    EXPECT_EQ(gyro.getGyroOffset(90), 0);
    gyro.setGyroOffset(90, 7);
    gyro.setGyroOffset(90, 1);
    EXPECT_EQ(gyro.getAllGyroOffsets().count(), 1U);
    for (const double within : {0.0, 5.0, 360.0}) {
        EXPECT_EQ(gyro.getGyroOffset(within), 1);
    }
    gyro.setGyroOffset(270, 3);
    EXPECT_EQ(gyro.getGyroOffset(90), 1);
    EXPECT_EQ(gyro.getGyroOffset(180), 2);
    EXPECT_EQ(gyro.getGyroOffset(270), 3);
    // (1 - 3) / (90 + 360 - 270) for each degree behind the last row, from the first row's offset.
    EXPECT_NEAR(gyro.getGyroOffset(315), 1 - 0.5, 1e-12);
    EXPECT_NEAR(gyro.getGyroOffset(45), 1 - 1.5, 1e-12);
    for (const double outside : {-1.0, 400.0, std::nan("")}) {
        EXPECT_EQ(gyro.getGyroOffset(outside), 0.0);
    }
    gyro.setGyroOffset(8);
    EXPECT_EQ(gyro.getGyroOffset(90) + gyro.getGyroOffset(270), 16);
    gyro.resizeGyroTable();
    gyro.setGyroOffset(4);
    EXPECT_EQ(gyro.getAllGyroOffsets()[0].azimuth, 0);
}

TEST(VesselGyroTable, ARowInTheMiddleCopiesTheDisplacedOneUpward) {
    long status = 0;
    SKARSideScanGyroConfig gyro(0, status);
    for (const double azimuth : {10.0, 30.0, 40.0}) {
        gyro.setGyroOffset(azimuth, azimuth);
    }
    gyro.setGyroOffset(20, 5);
    const auto& rows = gyro.getAllGyroOffsets();
    ASSERT_EQ(rows.count(), 4U);
    EXPECT_EQ(rows[1].azimuth, 20);
    EXPECT_EQ(rows[1].offset, 5);
    EXPECT_EQ(rows[2].azimuth, 30);
    EXPECT_EQ(rows[3].azimuth, 30);
}

TEST(VesselGyroTable, OfTheSideScanIsAddedAtEveryStoreOfTheShipReplaced) {
    const std::string one =
        "<Offsets><Gyro><Entry Azimuth=\"20\" Offset=\"2\"/><Entry Azimuth=\"10\"/></Gyro></Offsets>";
    long status = 0;
    const Slot first(one);
    SKARGyroConfig ship(0, status);
    ASSERT_EQ(ship.load(first.entry()), 0);
    EXPECT_EQ(ship.getAllGyroOffsets()[0].azimuth, 10);
    EXPECT_EQ(ship.getAllGyroOffsets()[0].offset, 0);
    ASSERT_EQ(ship.store(first.list()), 0);
    ASSERT_EQ(ship.store(first.list()), 0);
    ASSERT_EQ(ship.load(first.entry()), 0);
    EXPECT_EQ(ship.getAllGyroOffsets().count(), 2U);
    const Slot second(one);
    SKARSideScanGyroConfig tow(0, status);
    ASSERT_EQ(tow.load(second.entry()), 0);
    ASSERT_EQ(tow.store(second.list()), 0);
    ASSERT_EQ(tow.store(second.list()), 0);
    ASSERT_EQ(tow.load(second.entry()), 0);
    EXPECT_EQ(tow.getAllGyroOffsets().count(), 6U);
    for (const char* without : {"<Offsets/>", "<Offsets><Gyro/></Offsets>"}) {
        const Slot slot(without);
        ASSERT_EQ(tow.load(slot.entry()), 0);
        EXPECT_EQ(tow.getAllGyroOffsets().count(), 6U) << without;
    }
}

TEST(VesselGyroTable, AnAzimuthThatIsNoNumberComesLast) {
    const Slot slot("<Offsets><Gyro><Entry Azimuth=\"30\"/><Entry Azimuth=\"nan\"/><Entry Azimuth=\"20\"/>"
                    "<Entry Azimuth=\"-nan\"/><Entry Azimuth=\"10\"/></Gyro></Offsets>");
    long status = 0;
    SKARGyroConfig gyro(0, status);
    ASSERT_EQ(gyro.load(slot.entry()), 0);
    const auto& rows = gyro.getAllGyroOffsets();
    ASSERT_EQ(rows.count(), 5U);
    EXPECT_EQ(rows[0].azimuth, 10);
    EXPECT_EQ(rows[1].azimuth, 20);
    EXPECT_EQ(rows[2].azimuth, 30);
    EXPECT_TRUE(std::isnan(rows[3].azimuth));
    EXPECT_TRUE(std::isnan(rows[4].azimuth));
}

TEST(VesselDraft, RowsStandInTheOrderOfSpeed) {
    long status = 0;
    SKARDraftConfig draft(0, status);
    EXPECT_TRUE(draft.empty());
    draft.setDraft(5, 1);
    draft.setDraft(2, 2);
    draft.setDraft(5, 3);
    EXPECT_EQ(draft.getNumEntries(), 2U);
    EXPECT_EQ(draft.getDraftEntries().head()->speed, 2);
    EXPECT_EQ(draft.getDraftEntries().last()->draft, 3);
    EXPECT_EQ(draft.removeDraft(4), -1);
    EXPECT_EQ(draft.removeDraft(5), 0);
    draft.resizeDraftTable();
    EXPECT_EQ(draft.getNumEntries(), 0U);
    const Slot slot("<DraftEntries><Entry Speed=\"4\" Draft=\"1\"/><Entry Speed=\"3\"/><Entry Draft=\"3\"/>"
                    "<Entry Speed=\"4\" Draft=\"2\"/></DraftEntries>");
    ASSERT_EQ(draft.load(slot.entry()), 0);
    ASSERT_EQ(draft.getNumEntries(), 1U);
    EXPECT_EQ(draft.getDraftEntries().head()->draft, 2);
}

TEST(VesselSvp, TheSecondHeadSetsTheFlagAndIsWrittenWithItOnly) {
    long status = 0;
    SKARSVPConfig entry(0, status);
    entry.setPositionOffsets(1, 2, 3, false);
    const Slot single;
    ASSERT_EQ(entry.store(single.list()), 0);
    EXPECT_EQ(single.text(), "<Latency value=\"0.000000\"/><DualHead value=\"No\"/><Offsets " + xyz +
                                 "/><MountAngle Pitch=\"0.000000\" Roll=\"0.000000\" Azimuth=\"0.000000\"/>");
    EXPECT_FALSE(entry.isDualHead());
    entry.setMountAngle(4, 5, 6, true);
    entry.setMountAngle(1, 2, 3, false);
    EXPECT_TRUE(entry.isDualHead());
    SKARSVPConfig other(0, status);
    other.setPositionOffsets(1, 2, 3, true);
    EXPECT_TRUE(other.isDualHead());
    other.setPositionOffsets(1, 2, 3, false);
    EXPECT_TRUE(other.isDualHead());
}

TEST(VesselTpe, AWrongIndexChangesNothing) {
    long status = 0;
    SKARTPEConfig tpe(0, status);
    EXPECT_EQ(tpe.setOffsetMRUToTrans(1, 2, 3, 3), -1);
    EXPECT_EQ(tpe.setOffsetNavToTrans(1, 2, 3, 0), -1);
    EXPECT_EQ(tpe.setTransducerRollOffset(1, 3), -1);
    double x = 9;
    EXPECT_EQ(tpe.getTransducerRollOffset(x, 0), -1);
    EXPECT_EQ(x, 9);
    double y = 0;
    double z = 0;
    EXPECT_EQ(tpe.getOffsetMRUToTrans(x, y, z, 1), 0);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(tpe.setOffsetMRUToTrans(1, 2, 3, 2), 0);
    EXPECT_EQ(tpe.getOffsetMRUToTrans(x, y, z, 2), 0);
    EXPECT_EQ(x + y + z, 6);
}

TEST(VesselTpe, WithoutDeviationsTheCommentStays) {
    long status = 0;
    SKARTPEConfig tpe(0, status);
    tpe.setStDevComment(L"kept");
    const Slot offsets("<Offsets><Transducer Roll=\"2\"/></Offsets>");
    ASSERT_EQ(tpe.load(offsets.entry()), 0);
    EXPECT_STREQ(tpe.getStDevComment(), L"kept");
    EXPECT_EQ(tpe.getGyroStdDev(), 0);
    const Slot deviations("<StandardDeviation/>");
    ASSERT_EQ(tpe.load(deviations.entry()), 0);
    EXPECT_EQ(tpe.getStDevComment(), nullptr);
    const Slot told("<StandardDeviation><Vessel><StDevComment value=\"t\"/></Vessel></StandardDeviation>");
    ASSERT_EQ(tpe.load(told.entry()), 0);
    EXPECT_STREQ(tpe.getStDevComment(), L"t");
    tpe.setStDevComment(nullptr);
    ASSERT_EQ(tpe.store(told.list()), 0);
    EXPECT_EQ(told.text().find("StDevComment"), std::string::npos);
}

TEST(VesselWaterline, AMissingHeightIsZero) {
    long status = 0;
    SKARWaterlineHeight entry(0, status);
    entry.setWaterLine(5);
    const Slot slot("<StdDev Waterline=\"2\"/>");
    ASSERT_EQ(entry.load(slot.entry()), 0);
    EXPECT_EQ(entry.getWaterLine(), 0);
    EXPECT_EQ(entry.getWaterlineStdDev(), 2);
}

long loadDepth(const std::string& transducers) {
    const Slot slot("<SensorClass value=\"Swath\"/><TransducerEntries>" + transducers +
                    "</TransducerEntries>");
    long status = 0;
    SKARDepthConfig depth(0, L"Swath", status);
    return depth.load(slot.entry());
}

TEST(VesselDepth, TransducersAreChecked) {
    EXPECT_EQ(loadDepth("<Transducer Number=\"1\"/>"), 0);
    EXPECT_EQ(loadDepth("<Transducer/>"), 5100101);
    EXPECT_EQ(loadDepth("<!-- a remark -->"), 5100101);
    EXPECT_EQ(loadDepth("<Transducer Number=\"0\"/>"), 5100100);
    EXPECT_EQ(loadDepth("<Transducer Number=\"99999999999999999999\"/>"), 5100100);
    EXPECT_EQ(loadDepth("<Transducer Number=\"1\" StartBeam=\"0\"/>"), 5100102);
    long status = 0;
    const SKARTransducerConfig none(nullptr, status);
    EXPECT_EQ(status, -1);
}

TEST(VesselDepth, TheClassIsOneOfTwo) {
    long status = 0;
    SKARDepthConfig depth(0, L"swath", status);
    EXPECT_EQ(status, 5100103);
    EXPECT_EQ(depth.getSensorClass(), nullptr);
    EXPECT_EQ(depth.setSensorClass(L"Sweep"), 0);
    EXPECT_EQ(depth.setSensorClass(nullptr), 5100103);
    EXPECT_STREQ(depth.getSensorClass(), L"Sweep");
}

TEST(VesselDepth, ATransducerOfTheSameNumberIsOverwritten) {
    long status = 0;
    SKARDepthConfig depth(0, L"Swath", status);
    SKARTransducerConfig transducer(2, 7, true);
    EXPECT_STREQ(transducer.getModel(), L"Unknown");
    depth.addTransducer(transducer);
    transducer.setStartBeamNum(9);
    depth.addTransducer(transducer);
    EXPECT_EQ(depth.getNumTransducers(), 1U);
    EXPECT_EQ(depth.getTransducer(2, status)->getStartBeam(), 9U);
    EXPECT_EQ(depth.getTransducer(1, status), nullptr);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(depth.removeTransducer(1), 0);
    EXPECT_EQ(depth.removeTransducer(2), 0);
    EXPECT_EQ(depth.getNumTransducers(), 0U);
}

const std::string mounting =
    "<Offsets X=\"1.000000\" Y=\"2.000000\" Z=\"3.000000\" Latency=\"4.000000\"/>"
    "<MountAngle Pitch=\"5.000000\" Roll=\"6.000000\" Azimuth=\"7.000000\"/></Transducer>"
    "</TransducerEntries>";

std::string depthAgain(const std::string& sample) {
    const Slot slot(sample);
    long status = 0;
    SKARDepthConfig depth(0, L"Swath", status);
    EXPECT_EQ(depth.load(slot.entry()), 0);
    const Slot written;
    EXPECT_EQ(depth.store(written.list()), 0);
    EXPECT_EQ(depth.store(written.list()), 0);
    return written.text();
}

TEST(VesselDepth, OnlyASweepHasTheSweepElements) {
    const std::string head = "<TransducerEntries><Transducer Number=\"1\" StartBeam=\"1\" Model=\"o\">"
                             "<Manufacturer value=\"m\"/><SerialNumber value=\"s\"/>";
    const std::string booms = "<TPENavigationToBoomOffset " + xyz + "/><TPEMRUToBoomOffset " + xyz + "/>";
    const std::string sweep = "<TransducerFixed value=\"No\"/><SquatPercFactor value=\"50.000000\"/>"
                              "<HeavePercAmplitude value=\"60.000000\"/>"
                              "<MRUAlignment Gyro=\"1.000000\" Roll=\"2.000000\"/>";
    const std::string swathText = base + "<SensorClass value=\"Swath\"/>" + head + mounting;
    EXPECT_EQ(depthAgain(swathText), swathText);
    // What a file has for the booms stays as it is; the transducers are written anew.
    EXPECT_EQ(depthAgain(base + "<SensorClass value=\"Swath\"/>" + booms + head + sweep + mounting),
              base + "<SensorClass value=\"Swath\"/>" + booms + head + mounting);
    const std::string sweepText = base + "<SensorClass value=\"sweep\"/>" + booms + head + sweep + mounting;
    EXPECT_EQ(depthAgain(sweepText), sweepText);
}

TEST(VesselDepth, TheSweepFieldsHaveTheirDefaults) {
    const Slot slot("<Transducer Number=\"3\"/>");
    const SKARTransducerConfig transducer = [&] {
        long status = -1;
        SKARTransducerConfig loaded(slot.entry()->children, status);
        EXPECT_EQ(status, 0);
        return loaded;
    }();
    bool fixed = false;
    double gyro = -1;
    double roll = -1;
    double squat = 0;
    double heave = 0;
    transducer.getSweepTPEParameters(fixed, gyro, roll, squat, heave);
    EXPECT_TRUE(fixed);
    EXPECT_EQ(gyro + roll, 0);
    EXPECT_EQ(squat, 100);
    EXPECT_EQ(heave, 100);
    EXPECT_EQ(transducer.getStartBeam(), 1U);
    // Also where there were others before; the rest stays, save the names.
    SKARTransducerConfig other(5, 6, true);
    other.setSweepTPEParameters(false, 1, 2, 3, 4);
    other.setModel(L"o");
    other.setManufacturer(L"m");
    other.setLatency(7);
    ASSERT_EQ(other.load(slot.entry()->children), 0);
    other.getSweepTPEParameters(fixed, gyro, roll, squat, heave);
    EXPECT_TRUE(fixed);
    EXPECT_EQ(gyro + roll, 0);
    EXPECT_EQ(squat + heave, 200);
    EXPECT_EQ(other.getTransducerNumber(), 3U);
    EXPECT_EQ(other.getStartBeam(), 6U);
    EXPECT_STREQ(other.getModel(), L"o");
    EXPECT_EQ(other.getManufacturer(), nullptr);
    EXPECT_EQ(other.getLatency(), 7);
}

TEST(VesselDepth, OneExactTextFixesATransducer) {
    for (const auto& [text, expected] :
         {std::pair{" value=\"Yes\"", true}, std::pair{" value=\"yes\"", false},
          std::pair{" value=\"true\"", false}, std::pair{"", false}}) {
        const Slot slot(std::string("<Transducer Number=\"3\"><TransducerFixed") + text + "/></Transducer>");
        long status = -1;
        const SKARTransducerConfig transducer(slot.entry()->children, status);
        EXPECT_EQ(status, 0);
        bool fixed = !expected;
        double unused = 0;
        transducer.getSweepTPEParameters(fixed, unused, unused, unused, unused);
        EXPECT_EQ(fixed, expected) << text;
    }
}

TEST(VesselDepth, ATransducerWithoutAModelHasNoneInTheFile) {
    long status = 0;
    SKARDepthConfig depth(0, L"Swath", status);
    SKARTransducerConfig transducer(1, 1, true);
    transducer.setModel(nullptr);
    depth.addTransducer(transducer);
    const Slot written;
    ASSERT_EQ(depth.store(written.list()), 0);
    EXPECT_NE(written.text().find("<Transducer Number=\"1\" StartBeam=\"1\"><Offsets"), std::string::npos);
}

TEST(VesselDepth, BoomsThatAreMissingAreZero) {
    const Slot slot("<TPEMRUToBoomOffset Y=\"9\"/>");
    long status = 0;
    SKARDepthConfig depth(0, L"Sweep", status);
    depth.setNavigationToBoomOffset(1, 2, 3);
    depth.setMRUToBoomOffset(4, 5, 6);
    ASSERT_EQ(depth.load(slot.entry()), 0);
    double x = -1;
    double y = -1;
    double z = -1;
    depth.getNavigationToBoomOffset(x, y, z);
    EXPECT_EQ(x + y + z, 0);
    depth.getMRUToBoomOffset(x, y, z);
    EXPECT_EQ(x * 100 + y * 10 + z, 496);
    EXPECT_EQ(depth.getSensorClass(), nullptr);
}

} // namespace
