#include "legacy_support.h"

#include "vessel/legacy/convert.h"

#include <skar/vesseltmidx.h>

#include <array>
#include <map>
#include <tuple>

// What the statements of the text form become.
namespace {

using namespace skar::tests;
using Three = std::array<double, 3>;

template <class Config>
Three positionOf(const Config& entry) {
    Three values = {};
    EXPECT_EQ(entry.getPositionOffsets(values[0], values[1], values[2]), 0);
    return values;
}

Three positionOf(const SKARSVPConfig& entry, bool second) {
    Three values = {};
    EXPECT_EQ(entry.getPositionOffsets(values[0], values[1], values[2], second), 0);
    return values;
}

Three mountOf(const SKARSVPConfig& entry, bool second) {
    Three values = {};
    EXPECT_EQ(entry.getMountAngle(values[0], values[1], values[2], second), 0);
    return values;
}

Three positionOf(const SKARTransducerConfig& entry) {
    Three values = {};
    EXPECT_EQ(entry.getPositionOffset(values[0], values[1], values[2]), 0);
    return values;
}

Three mountOf(const SKARTransducerConfig& entry) {
    Three values = {};
    EXPECT_EQ(entry.getMountAngle(values[0], values[1], values[2]), 0);
    return values;
}

template <class Config>
void expectEquipment(const Config& entry, const wchar_t* manufacturer, const wchar_t* model,
                     const wchar_t* serialNumber) {
    EXPECT_STREQ(entry.getManufacturer(), manufacturer);
    EXPECT_STREQ(entry.getModel(), model);
    EXPECT_STREQ(entry.getSerialNumber(), serialNumber);
}

void expectRemarks(const SKARVesselSensorConfig& entry, const wchar_t* comment,
                   const wchar_t* authorization = L"J. Doe") {
    EXPECT_STREQ(entry.getComment(), comment);
    EXPECT_STREQ(entry.getAuthorization(), authorization);
}

const SKARTransducerConfig& transducer(const SKARDepthConfig& entry, std::uint32_t number) {
    long status = -1;
    const SKARTransducerConfig* found = entry.getTransducer(number, status);
    if (found == nullptr) throw std::runtime_error("no such transducer");
    return *found;
}

// The blocks of code of docs/legacy-vessel.md by their first word.
std::string example(const std::string& start) {
    std::ifstream page(std::string(SKAR_TEST_DATA) + "/../docs/legacy-vessel.md", std::ios::binary);
    const std::string text(std::istreambuf_iterator<char>(page), {});
    const std::size_t begin = text.find("\n```\n" + start);
    if (begin == std::string::npos) throw std::runtime_error("no example: " + start);
    const std::size_t end = text.find("\n```\n", begin + 5);
    return text.substr(begin + 5, end + 1 - (begin + 5));
}

class LegacyPage : public LegacyTest {
protected:
    void importExample(const std::string& start) {
        ASSERT_EQ(import(example(start) + someNavigation), 0) << messages;
        EXPECT_EQ(messages, "");
    }
};

const double pageTime = TmYDStoUTCs80(1996, 123, 10 * 3600 + 30 * 60);

TEST_F(LegacyPage, ASwathOfTwoHeads) {
    importExample("DEPTH 1996-123-10:30\n");
    const auto& entry = first<SKARDepthConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    EXPECT_STREQ(entry.getSensorClass(), L"Swath");
    expectRemarks(entry, L"dual head");
    ASSERT_EQ(entry.getNumTransducers(), 2U);
    const SKARTransducerConfig& one = transducer(entry, 1);
    EXPECT_EQ(one.getStartBeam(), 1U);
    EXPECT_EQ(positionOf(one), (Three{-1.2, 0.8, 3.1}));
    EXPECT_EQ(mountOf(one), (Three{0.3, -40, 1}));
    EXPECT_EQ(one.getLatency(), 0.01);
    expectEquipment(one, L"Soundworks", L"Fan 60", L"4711/4712");
    const SKARTransducerConfig& two = transducer(entry, 2);
    EXPECT_EQ(two.getStartBeam(), 61U);
    EXPECT_EQ(positionOf(two), (Three{1.2, 0.8, 3.15}));
    EXPECT_EQ(mountOf(two), (Three{0.25, 40, 359.5}));
    EXPECT_EQ(two.getLatency(), 0.015);
    expectEquipment(two, L"Soundworks", L"Fan 60", L"4711/4712");
}

TEST_F(LegacyPage, ASweepHasATransducerForEachBeam) {
    importExample("DEPTH 1997-001-00:00\n");
    const auto& entry = first<SKARDepthConfig>();
    EXPECT_EQ(entry.getTimeStamp(), TmYDStoUTCs80(1997, 1, 0));
    EXPECT_STREQ(entry.getSensorClass(), L"Sweep");
    Three boom = {1, 1, 1};
    entry.getNavigationToBoomOffset(boom[0], boom[1], boom[2]);
    EXPECT_EQ(boom, Three{});
    entry.getMRUToBoomOffset(boom[0], boom[1], boom[2]);
    EXPECT_EQ(boom, Three{});
    ASSERT_EQ(entry.getNumTransducers(), 3U);
    const Three positions[] = {{1, -12, 2}, {1, 0, 2.5}, {1, 12, 2}};
    for (std::uint32_t number = 1; number <= 3; ++number) {
        const SKARTransducerConfig& each = transducer(entry, number);
        EXPECT_EQ(each.getStartBeam(), number);
        EXPECT_EQ(positionOf(each), positions[number - 1]);
        EXPECT_EQ(mountOf(each), Three{});
        EXPECT_EQ(each.getLatency(), 0.05);
        expectEquipment(each, nullptr, L"Boom 3", nullptr);
        bool fixed = false;
        double gyro = 1, roll = 1, squat = 0, heave = 0;
        each.getSweepTPEParameters(fixed, gyro, roll, squat, heave);
        EXPECT_EQ(std::tuple(fixed, gyro, roll, squat, heave), std::tuple(true, 0.0, 0.0, 100.0, 100.0));
    }
}

TEST_F(LegacyPage, AGyro) {
    importExample("GYRO 1996-123-10:30\n");
    const auto& entry = first<SKARGyroConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    expectEquipment(entry, L"Meridian", L"North 2", L"88");
    EXPECT_EQ(entry.getLatency(), 0.02);
    EXPECT_EQ(entry.getGyroOffset(0), -1.25);
    EXPECT_EQ(entry.getGyroOffset(222), -1.25);
    EXPECT_TRUE(entry.getApplyFlag());
    expectRemarks(entry, L"dock calibration");
}

TEST_F(LegacyPage, AHeaveSensor) {
    importExample("HEAVE 1996-123-10:30\n");
    const auto& entry = first<SKARHeaveConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    expectEquipment(entry, L"Levelworks", L"Motion 5", L"m5-01");
    EXPECT_EQ(entry.getLatency(), 0.004);
    EXPECT_EQ(positionOf(entry), (Three{0.1, 0.2, -0.3}));
    EXPECT_EQ(entry.getHeaveOffset(), 0.05);
    EXPECT_TRUE(entry.getApplyFlag());
    expectRemarks(entry, L"amidships");
}

TEST_F(LegacyPage, ANavigationSensor) {
    importExample("NAVIGATION 1996-123-10:30\n");
    const auto& entry = first<SKARNavConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    expectEquipment(entry, L"Northway", L"Fix 12", L"A-118");
    EXPECT_STREQ(entry.getEllipseName(), L"WG84");
    EXPECT_EQ(entry.getLatency(), 0.12);
    EXPECT_EQ(positionOf(entry), (Three{0.25, -1.5, -11}));
    expectRemarks(entry, L"antenna on the mast");
}

TEST_F(LegacyPage, APitchSensor) {
    importExample("PITCH 1996-123-10:30\n");
    const auto& entry = first<SKARPitchConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    expectEquipment(entry, L"Levelworks", L"Motion 5", L"m5-01");
    EXPECT_EQ(entry.getLatency(), 0.004);
    EXPECT_EQ(entry.getPitchOffset(), 0.75);
    EXPECT_FALSE(entry.getApplyFlag());
    expectRemarks(entry, L"patch test");
}

TEST_F(LegacyPage, ARollSensor) {
    importExample("ROLL 1996-123-10:30\n");
    const auto& entry = first<SKARRollConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    expectEquipment(entry, L"Levelworks", L"Motion 5", L"m5-01");
    EXPECT_EQ(entry.getLatency(), 0.004);
    EXPECT_EQ(entry.getRollOffset(), -0.35);
    EXPECT_TRUE(entry.getApplyFlag());
    expectRemarks(entry, L"patch test");
}

TEST_F(LegacyPage, ADraftTable) {
    importExample("DRAFT 1996-123-10:30\n");
    const auto& entry = first<SKARDraftConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    std::vector<std::pair<double, double>> rows;
    for (const auto& row : entry.getDraftEntries())
        rows.emplace_back(row.speed, row.draft);
    EXPECT_EQ(rows, (std::vector<std::pair<double, double>>{{0, 0}, {4, 0.08}, {8, 0.22}}));
    EXPECT_TRUE(entry.getApplyFlag());
    expectRemarks(entry, L"squat trial");
}

TEST_F(LegacyPage, ASoundVelocityProbe) {
    importExample("SOUNDVELOCITY 1996-123-10:30\n");
    const auto& entry = first<SKARSVPConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    EXPECT_TRUE(entry.isDualHead());
    EXPECT_EQ(positionOf(entry, false), (Three{-1.2, 0.8, 3.1}));
    EXPECT_EQ(mountOf(entry, false), (Three{0.3, -40, 1}));
    EXPECT_EQ(positionOf(entry, true), (Three{1.2, 0.8, 3.15}));
    EXPECT_EQ(mountOf(entry, true), (Three{0.25, 40, 359.5}));
    expectRemarks(entry, L"at the heads");
}

TEST_F(LegacyPage, AWaterline) {
    importExample("WATERLINE 1996-123-10:30\n");
    const auto& entry = first<SKARWaterlineHeight>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    EXPECT_EQ(entry.getWaterLine(), -0.85);
    EXPECT_TRUE(entry.getApplyFlag());
    expectRemarks(entry, L"full tanks");
}

TEST_F(LegacyPage, ATowedSensor) {
    importExample("TOWED 1996-123-10:30\n");
    const auto& entry = first<SKARTowedSSSConfig>();
    EXPECT_EQ(entry.getTimeStamp(), pageTime);
    expectEquipment(entry, L"Deepline", L"Fish 7", L"f-007");
    EXPECT_EQ(entry.getLatency(), 0.1);
    EXPECT_EQ(positionOf(entry), (Three{0, -18, -2.5}));
    EXPECT_EQ(entry.getLaybackOffset(), 55.5);
    expectRemarks(entry, L"stern gantry");
}

TEST_F(LegacyPage, AFileWithItsOutline) {
    ASSERT_EQ(import(example("#\tStart Shape")), 0) << messages;
    EXPECT_EQ(count(L"GyroSensor"), 2U);
    EXPECT_EQ(first<SKARGyroConfig>().getTimeStamp(), TmYDStoUTCs80(1996, 123, 0));
    EXPECT_EQ(first<SKARNavConfig>().getLatency(), 0.12);
    EXPECT_EQ(vessel.getVesselShape().getPlanViewCoords().count(), 3U);
    EXPECT_EQ(vessel.getVesselShape().getProfileViewCoords().count(), 2U);
    Three size = {};
    vessel.getVesselShape().getRP(size[0], size[1], size[2]);
    EXPECT_EQ(size, (Three{35, 8, 6.4}));
}

TEST_F(LegacyTest, FieldsThatAreNotGivenAreZerosAndNoTexts) {
    std::string text;
    for (const LegacyKind& kind : legacyKinds)
        text += statement(kind.keyword);
    ASSERT_EQ(import(text), 0);
    const auto& navigation = first<SKARNavConfig>();
    expectEquipment(navigation, nullptr, nullptr, nullptr);
    EXPECT_EQ(navigation.getEllipseName(), nullptr);
    expectRemarks(navigation, nullptr, nullptr);
    EXPECT_EQ(positionOf(navigation), Three{});
    const auto& depth = first<SKARDepthConfig>();
    ASSERT_EQ(depth.getNumTransducers(), 1U);
    expectEquipment(transducer(depth, 1), nullptr, L"Unknown", nullptr);
    EXPECT_EQ(transducer(depth, 1).getStartBeam(), 1U);
    EXPECT_EQ(first<SKARGyroConfig>().getAllGyroOffsets().count(), 1U);
    EXPECT_EQ(first<SKARGyroConfig>().getGyroOffset(0), 0);
    EXPECT_FALSE(first<SKARDraftConfig>().getApplyFlag());
    EXPECT_TRUE(first<SKARDraftConfig>().empty());
    EXPECT_TRUE(first<SKARSVPConfig>().isDualHead());
    EXPECT_EQ(first<SKARTowedSSSConfig>().getLaybackOffset(), 0);
    EXPECT_TRUE(vessel.isModified());
}

TEST_F(LegacyTest, TextsLoseBlanksQuotesTabsAndLineFeedsAtTheirEnds) {
    ASSERT_EQ(
        import(statement("NAVIGATION", "2001-002-03:04",
                         "MANUFACTURER \"  North\t way \n\" MODEL \"\" SERIALNUMBER \" \t\n \" "
                         "ELLIPSE \"\tWG84\" COMMENT \"\n\n\" AUTHORIZATION \" M\u00fcller, \u4e2d # ; \"")),
        0);
    const auto& entry = first<SKARNavConfig>();
    expectEquipment(entry, L"North\t way", nullptr, nullptr);
    EXPECT_STREQ(entry.getEllipseName(), L"WG84");
    expectRemarks(entry, nullptr, L"M\u00fcller, \u4e2d # ;");
    EXPECT_EQ(skar::vessel::legacy::cleaned("\" \t\n\"a \" b\"\" "), "a \" b");
    EXPECT_EQ(skar::vessel::legacy::cleaned("\" \" "), "");
    EXPECT_EQ(skar::vessel::legacy::cleaned(nullptr), "");
}

TEST_F(LegacyTest, TextsThatAreNotUtf8ShowIt) {
    ASSERT_EQ(import("NAVIGATION 2001-002-03:04 MODEL \"M\xFCller\" ;"), 0);
    EXPECT_STREQ(first<SKARNavConfig>().getModel(), L"M\uFFFDller");
}

TEST_F(LegacyTest, OfAFieldGivenTwiceTheLastCounts) {
    ASSERT_EQ(import(statement("NAVIGATION", "2001-002-03:04",
                               "MODEL \"a\" LATENCY 1 MODEL \"b\" LATENCY 2 COMMENT \"c\" COMMENT \"\"")),
              0);
    EXPECT_STREQ(first<SKARNavConfig>().getModel(), L"b");
    EXPECT_EQ(first<SKARNavConfig>().getLatency(), 2);
    EXPECT_EQ(first<SKARNavConfig>().getComment(), nullptr);
}

TEST_F(LegacyTest, AStartBeamMakesTheSecondHead) {
    ASSERT_EQ(import(statement("DEPTH", "2001-002-03:04", "STARTBEAM 7 STARTBEAM2 9") + someNavigation), 0);
    EXPECT_EQ(transducer(first<SKARDepthConfig>(), 1).getStartBeam(), 7U);
    EXPECT_EQ(transducer(first<SKARDepthConfig>(), 2).getStartBeam(), 9U);
    for (const char* alone : {"POSITION2 1 2 3", "MOUNT2 1 2 3", "LATENCY2 1", "STARTBEAM 0", "STARTBEAM2 0"})
        EXPECT_EQ(import(statement("DEPTH", "2001-003-00:00", alone) + someNavigation), 5000401) << alone;
    EXPECT_EQ(first<SKARDepthConfig>().getNumTransducers(), 2U);
}

TEST_F(LegacyTest, ASweepNeedsARowForEachBeam) {
    const auto sweep = [this](const std::string& fields) {
        vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
        return import("DEPTH 2001-002-03:04 CLASS \" Sweep\" " + fields + " ;" + someNavigation);
    };
    EXPECT_EQ(sweep("BEAMS 2 BEAM NO 1 2 3"), 5000401);
    EXPECT_EQ(sweep("BEAMS 1 BEAM NO 1 2 3 BEAM NO 1 2 3"), 5000401);
    EXPECT_EQ(sweep("BEAMS 1"), 5000401);
    EXPECT_EQ(sweep("BEAM NO 1 2 3"), 5000401);
    EXPECT_EQ(messages, "YACC Parser: syntax error\n");
    EXPECT_EQ(sweep(""), 0);
    EXPECT_EQ(first<SKARDepthConfig>().getNumTransducers(), 0U);
    // The second head of a sweep is nothing that it has.
    EXPECT_EQ(sweep("BEAM YES 1 2 3 BEAMS 1 STARTBEAM2 5"), 0);
    EXPECT_EQ(first<SKARDepthConfig>().getNumTransducers(), 1U);
}

TEST_F(LegacyTest, AClassThatThereIsNotLeavesTheVesselAsItWas) {
    vessel.setFileName(L"old", false);
    const std::string good = statement("DEPTH") + "#\tStart Shape\n";
    for (const char* wrong : {"CLASS \"Side\"", "CLASS \"sweep\"", "CLASS \"SWATH\"", "CLASS \"\"", ""}) {
        EXPECT_EQ(import(good + "DEPTH 2001-009-00:00 " + wrong + " ;\n" + someNavigation), 5100103) << wrong;
        EXPECT_TRUE(vessel.getSensors().isEmpty());
        EXPECT_FALSE(vessel.isModified());
        EXPECT_STREQ(vessel.getFileName(), L"old.skv");
    }
    EXPECT_EQ(import("DEPTH 2001-009-00:00 CLASS \"\tSwath \" ;\n" + someNavigation), 0);
}

class LegacyKinds : public LegacyTest, public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(InTheOrderOfConversion, LegacyKinds, testing::Range(std::size_t{0}, std::size_t{10}),
                         [](const auto& given) { return std::string(legacyKinds[given.param].keyword); });

TEST_P(LegacyKinds, HaveTheirRemarks) {
    const LegacyKind& kind = legacyKinds[GetParam()];
    ASSERT_EQ(import(statement(kind.keyword, "2001-001-00:00", "COMMENT \" c \" AUTHORIZATION \"a\"") +
                     someNavigation),
              0);
    long status = -1;
    const SKARVesselSensorConfig* entry = vessel.getFirstSensor(kind.element, status);
    ASSERT_NE(entry, nullptr);
    expectRemarks(*entry, L"c", L"a");
    EXPECT_EQ(entry->getTimeStamp(), TmYDStoUTCs80(2001, 1, 0));
}

// The lists come in the order of conversion, and the one with the double ends it.
TEST_P(LegacyKinds, OfTwoEntriesAtATimeTheSecondEndsTheImport) {
    std::string text;
    for (const LegacyKind& kind : legacyKinds)
        text = statement(kind.keyword) + text;
    const std::string keyword = legacyKinds[GetParam()].keyword;
    for (const char* more : {"2001-005-00:00", "2001-001-00:00", "2001-002-03:04", "2001-006-00:00"})
        text += statement(keyword, more);
    vessel.setFileName(L"old", false);
    ASSERT_EQ(import("#\tStart Shape\n# 1 2\n" + text), 5100008);
    EXPECT_EQ(messages, "");
    for (std::size_t each = 0; each < std::size(legacyKinds); ++each) {
        const std::size_t expected = each < GetParam() ? 1 : each == GetParam() ? 3 : 0;
        EXPECT_EQ(count(legacyKinds[each].element), expected) << legacyKinds[each].keyword;
    }
    long status = -1;
    const wchar_t* element = legacyKinds[GetParam()].element;
    EXPECT_EQ(vessel.getFirstSensor(element, status)->getTimeStamp(), TmYDStoUTCs80(2001, 1, 0));
    EXPECT_EQ(vessel.getLastSensor(element, status)->getTimeStamp(), TmYDStoUTCs80(2001, 5, 0));
    EXPECT_STREQ(vessel.getFileName(), L"old.skv");
    EXPECT_TRUE(vessel.getVesselShape().getPlanViewCoords().isEmpty());
}

TEST_F(LegacyTest, EntriesThatTheVesselHasAreDoubledNoMoreThanThoseOfTheFile) {
    ASSERT_EQ(import(statement("GYRO") + someNavigation), 0);
    EXPECT_EQ(import("NAVIGATION 2001-005-00:00 ; NAVIGATION 2001-002-03:04 ; NAVIGATION 2001-001-00:00 ;"),
              5100008);
    EXPECT_EQ(count(L"NavSensor"), 2U);
    EXPECT_EQ(import("NAVIGATION 2001-004-00:00 ; NAVIGATION 2001-001-00:00 ;"), 0);
    EXPECT_EQ(count(L"NavSensor"), 4U);
    EXPECT_EQ(count(L"GyroSensor"), 1U);
    long status = -1;
    EXPECT_EQ(vessel.getSensor(L"NavSensor", TmYDStoUTCs80(2001, 3, 0), status)->getTimeStamp(), someTime());
}

TEST_F(LegacyTest, TheVesselTakesTheNameOfTheFileWithTheExtension) {
    ASSERT_EQ(import(someNavigation), 0);
    EXPECT_EQ(vessel.getFileName(), directory.wide("boat.skv"));
    directory.write("other.skv", someNavigation);
    SKARVessel other;
    ASSERT_EQ(SKARVesselImport(directory.wide("other.skv").c_str(), &other), 0);
    EXPECT_EQ(other.getFileName(), directory.wide("other.skv.skv"));
}

TEST_F(LegacyTest, WithoutANavigationEntryThereIsNothing) {
    EXPECT_EQ(SKARVesselImport(nullptr, &vessel), 5000401);
    EXPECT_EQ(SKARVesselImport(nullptr, nullptr), 5000401);
    EXPECT_EQ(SKARVesselImport(directory.wide("none").c_str(), &vessel), 5000401);
    EXPECT_EQ(SKARVesselImport(directory.wide().c_str(), &vessel), 5000401);
    directory.write("boat", someNavigation);
    EXPECT_EQ(SKARVesselImport(directory.wide("boat").c_str(), nullptr), -1);
    EXPECT_EQ(import(""), 5000401);
    EXPECT_EQ(import("# nothing\n"), 5000401);
    EXPECT_EQ(import(statement("GYRO")), 5000401);
    EXPECT_EQ(messages, "");
    EXPECT_TRUE(vessel.getSensors().isEmpty());
    EXPECT_EQ(vessel.getFileName(), nullptr);

    namespace legacy = skar::vessel::legacy;
    EXPECT_EQ(legacy::convert(nullptr, "", vessel), 5000401);
    void* const block = std::malloc(sizeof(legacy::_vesselConfig));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(legacy::convert(legacy::ownTree(new (block) legacy::_vesselConfig), "", vessel), 5000402);
}

TEST_F(LegacyTest, ConvertingWritesTheVesselFileBesideTheText) {
    directory.write("boat", "#\tStart Shape\n#\t1 2\n#\t;\n#\t3 4\n#\t;\n#\t5 6 7\n#\tEnd Shape\n" +
                                statement("NAVIGATION", "2001-002-03:04", "ELLIPSE \"WG84\" LATENCY 0.5") +
                                statement("WATERLINE", "1996-366-23:59", "HEIGHT -1.5 APPLY YES"));
    ASSERT_EQ(SKARVesselConvert(directory.wide("boat").c_str()), 0);
    EXPECT_EQ(directory.read("boat.skv"), R"(<?xml version="1.0"?>
<SKARVesselConfig Version="2.0">
  <VesselShape>
    <PlanCoordinates>
      <Entry X="1.000000" Y="2.000000"/>
    </PlanCoordinates>
    <ProfileCoordinates>
      <Entry Y="3.000000" Z="4.000000"/>
    </ProfileCoordinates>
    <RP Length="5.000000" Width="6.000000" Height="7.000000"/>
  </VesselShape>
  <NavSensor>
    <TimeStamp value="2001-002 03:04:00">
      <Latency value="0.500000"/>
      <Ellipse value="WG84"/>
      <Offsets X="0.000000" Y="0.000000" Z="0.000000"/>
    </TimeStamp>
  </NavSensor>
  <WaterlineHeight>
    <TimeStamp value="1996-366 23:59:00">
      <Latency value="0.000000"/>
      <WaterLine value="-1.500000"/>
      <ApplyFlag value="Yes"/>
      <StdDev Waterline="0.000000"/>
    </TimeStamp>
  </WaterlineHeight>
</SKARVesselConfig>
)");
    directory.write("bad", "NAVIGATION");
    EXPECT_EQ(SKARVesselConvert(directory.wide("bad").c_str()), 5000401);
    EXPECT_FALSE(directory.has("bad.skv"));
    EXPECT_EQ(SKARVesselConvert(nullptr), 5000401);
    std::filesystem::create_directory(directory / "boat.skv.skv");
    directory.write("boat.skv", someNavigation);
    EXPECT_EQ(SKARVesselConvert(directory.wide("boat.skv").c_str()), -1);
}

class LegacyFallback : public LegacyTest {
protected:
    std::unique_ptr<SKARVessel> open(const std::string& name) {
        testing::internal::CaptureStderr();
        auto opened = std::make_unique<SKARVessel>(directory.wide(name).c_str(), status);
        messages = testing::internal::GetCapturedStderr();
        return opened;
    }
    long status = -1;
};

TEST_F(LegacyFallback, AVesselReadsTheTextWithoutTheExtension) {
    directory.write("boat", someNavigation);
    for (const char* name : {"boat", "boat.skv", "boat.SKV"}) {
        const auto read = open(name);
        EXPECT_EQ(status, 0) << name;
        EXPECT_EQ(read->getFileName(), directory.wide(name == std::string("boat") ? "boat.skv" : name));
        EXPECT_NE(read->getFirstSensor(L"NavSensor", status), nullptr) << name;
        EXPECT_FALSE(read->isModified());
        EXPECT_EQ(read->reload(), 0);
        EXPECT_EQ(read->getSensorList(typeid(SKARNavConfig))->getCount(), 1U);
    }
}

TEST_F(LegacyFallback, AVesselReadsTheTextThatHasTheNameOfAVesselFile) {
    directory.write("boat.skv", someNavigation);
    const auto read = open("boat.skv");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read->getFileName(), directory.wide("boat.skv"));
    EXPECT_NE(read->getFirstSensor(L"NavSensor", status), nullptr);
    ASSERT_EQ(read->store(), 0);
    EXPECT_EQ(directory.read("boat.skv").substr(0, 5), "<?xml");
    EXPECT_NE(open("boat.skv")->getFirstSensor(L"NavSensor", status), nullptr);
}

TEST_F(LegacyFallback, WithoutTheExtensionComesFirst) {
    directory.write("boat", someNavigation);
    directory.write("boat.skv", statement("NAVIGATION") + statement("GYRO"));
    EXPECT_EQ(open("boat.skv")->getFirstSensor(L"GyroSensor", status), nullptr);
    // A folder may have the name of its vessel.
    directory.write("ship/readme", "");
    directory.write("ship.skv", someNavigation);
    open("ship.skv");
    EXPECT_EQ(status, 0);
}

TEST_F(LegacyFallback, WhatIsNeitherIsRefused) {
    const std::map<std::string, long> results = {
        {"neither", 5000401},
        {"<SKARVesselConfig Version=\"2.0\">", 5000401},
        {"", 5000401},
        {"GYRO 2001-001-00:00 ;", 5000401},
        {"DEPTH 2001-001-00:00 CLASS \"x\" ; " + someNavigation, 5100103},
        {someNavigation + someNavigation, 5100008},
    };
    for (const auto& [text, expected] : results) {
        directory.write("boat.skv", text);
        const auto read = open("boat.skv");
        EXPECT_EQ(status, expected) << text;
        EXPECT_EQ(read->getFileName(), directory.wide("boat.skv"));
        testing::internal::CaptureStderr();
        void* const handle = SKARGetVesselConfiguration(directory.wide("boat.skv").c_str(), &status);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(status, expected);
        EXPECT_EQ(handle == nullptr, expected == 5000401) << text;
        VesselConfigFree(handle);
    }
    open("missing.skv");
    EXPECT_EQ(status, 5000401);
}

} // namespace
