#include "support/temporary_directory.h"

#include <skar/time.h>
#include <skar/vesselsensors.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>

// One vessel with an entry of every kind, made by setters, held against the text of its file.
namespace {

using skar::tests::TemporaryDirectory;

const double time = TmYDStoUTCs80(2012, 183, 25509.9);

template <class Kind, class... Arguments>
std::unique_ptr<Kind> made(Arguments... arguments) {
    long status = -1;
    auto entry = std::make_unique<Kind>(time, arguments..., status);
    EXPECT_EQ(status, 0);
    return entry;
}

template <class Kind>
void place(SKARVessel& vessel, std::unique_ptr<Kind> entry) {
    MORVAType<SKARVesselSensorConfig> handle(std::move(entry));
    EXPECT_EQ(vessel.addSensor(handle), 0);
}

template <class Kind>
void equip(Kind& entry, const wchar_t* maker) {
    EXPECT_EQ(entry.setManufacturer(maker), 0);
    EXPECT_EQ(entry.setModel((maker + std::wstring(L" model")).c_str()), 0);
    EXPECT_EQ(entry.setSerialNumber((maker + std::wstring(L" number")).c_str()), 0);
}

template <class Kind>
void expectEquipped(const Kind& entry, const std::wstring& maker) {
    EXPECT_EQ(entry.getManufacturer(), maker);
    EXPECT_EQ(entry.getModel(), maker + L" model");
    EXPECT_EQ(entry.getSerialNumber(), maker + L" number");
}

template <class Kind>
const Kind& in(const SKARVessel& vessel) {
    long status = -1;
    const auto* found = dynamic_cast<const Kind*>(vessel.getSensor(typeid(Kind), time, status));
    EXPECT_EQ(status, 0);
    if (found == nullptr) throw std::runtime_error("no entry of the kind");
    return *found;
}

template <class Kind>
void expectPosition(const Kind& entry, double x, double y, double z) {
    double values[3] = {};
    EXPECT_EQ(entry.getPositionOffsets(values[0], values[1], values[2]), 0);
    EXPECT_EQ(values[0], x);
    EXPECT_EQ(values[1], y);
    EXPECT_EQ(values[2], z);
}

template <class Kind>
std::unique_ptr<Kind> navigation(const wchar_t* maker, double start) {
    auto entry = made<Kind>();
    equip(*entry, maker);
    entry->setEllipseName(L"WG84");
    entry->setLatency(start);
    entry->setPositionOffsets(start + 1, start + 2, start + 3);
    return entry;
}

template <class Kind>
std::unique_ptr<Kind> heave(const wchar_t* maker, double start) {
    auto entry = made<Kind>();
    equip(*entry, maker);
    entry->setApplyFlag(true);
    entry->setLatency(start);
    entry->setPositionOffsets(start + 1, start + 2, start + 3);
    entry->setHeaveOffset(start + 4);
    return entry;
}

void fill(SKARVessel& vessel) {
    auto depth = made<SKARDepthConfig>(L"Sweep");
    depth->setComment(L"boom & arm");
    depth->setAuthorization(L"\u00e9lise");
    depth->SKARVesselSensorConfig::setLatency(0.125);
    depth->setNavigationToBoomOffset(1, 2, 3);
    depth->setMRUToBoomOffset(4, 5, 6);
    SKARTransducerConfig transducer(7, 8, false);
    transducer.setModel(L"\"d model\"");
    transducer.setManufacturer(L"d");
    transducer.setSerialNumber(L"d number");
    transducer.setSweepTPEParameters(false, 9, 10, 11, 12);
    transducer.setPositionOffset(13, 14, 15);
    transducer.setLatency(16);
    transducer.setMountAngle(17, 18, 19);
    depth->addTransducer(transducer);
    depth->addTransducer(SKARTransducerConfig(2, 0, true));
    place(vessel, std::move(depth));

    auto draft = made<SKARDraftConfig>();
    draft->setApplyFlag(true);
    draft->setDraft(21, 22);
    draft->setDraft(20, 23);
    place(vessel, std::move(draft));

    auto gyro = made<SKARGyroConfig>();
    equip(*gyro, L"g");
    gyro->setLatency(24);
    gyro->setApplyFlag(true);
    gyro->setGyroOffset(25, 26);
    gyro->setGyroOffset(27, 28);
    place(vessel, std::move(gyro));

    place(vessel, heave<SKARHeaveConfig>(L"h", 29));
    place(vessel, navigation<SKARNavConfig>(L"n", 34));

    auto pitch = made<SKARPitchConfig>();
    equip(*pitch, L"p");
    pitch->setApplyFlag(true);
    pitch->setLatency(38);
    pitch->setPitchOffset(39);
    place(vessel, std::move(pitch));

    auto roll = made<SKARRollConfig>();
    equip(*roll, L"r");
    roll->setApplyFlag(true);
    roll->setLatency(40);
    roll->setRollOffset(41);
    place(vessel, std::move(roll));

    auto heads = made<SKARSVPConfig>();
    heads->setPositionOffsets(42, 43, 44, false);
    heads->setMountAngle(45, 46, 47, false);
    heads->setPositionOffsets(48, 49, 50, true);
    heads->setMountAngle(51, 52, 53, true);
    place(vessel, std::move(heads));

    auto towedGyro = made<SKARSideScanGyroConfig>();
    equip(*towedGyro, L"sg");
    towedGyro->setApplyFlag(true);
    towedGyro->setGyroOffset(54, 55);
    towedGyro->setGyroError(56);
    place(vessel, std::move(towedGyro));

    place(vessel, heave<SKARSideScanHeaveConfig>(L"sh", 57));
    place(vessel, navigation<SKARSideScanNavConfig>(L"sn", 62));

    auto towedPitch = made<SKARSideScanPitchConfig>();
    equip(*towedPitch, L"sp");
    towedPitch->setApplyFlag(true);
    towedPitch->setPitchOffset(66);
    towedPitch->setPitchError(67);
    place(vessel, std::move(towedPitch));

    auto towedRoll = made<SKARSideScanRollConfig>();
    equip(*towedRoll, L"sr");
    towedRoll->setApplyFlag(true);
    towedRoll->setRollOffset(68);
    towedRoll->setRollError(69);
    place(vessel, std::move(towedRoll));

    auto sideScan = made<SKARSideScanConfig>();
    equip(*sideScan, L"s");
    place(vessel, std::move(sideScan));

    auto tpe = made<SKARTPEConfig>();
    tpe->setOffsetMRUToTrans(70, 71, 72, 1);
    tpe->setOffsetMRUToTrans(73, 74, 75, 2);
    tpe->setOffsetNavToTrans(76, 77, 78, 1);
    tpe->setOffsetNavToTrans(79, 80, 81, 2);
    tpe->setTransducerRollOffset(82, 1);
    tpe->setTransducerRollOffset(83, 2);
    tpe->setNavigationLatency(84);
    tpe->setGyroStdDev(85);
    tpe->setHeaveStdDev(86, 87);
    tpe->setRollStdDev(88);
    tpe->setPitchStdDev(89);
    tpe->setPitchStablizationStdDev(90);
    tpe->setNavigationStdDev(91);
    tpe->setTransducerTimingStdDev(92);
    tpe->setNavigationTimingStdDev(93);
    tpe->setGyroTimingStdDev(94);
    tpe->setHeaveTimingStdDev(95);
    tpe->setPitchTimingStdDev(96);
    tpe->setRollTimingStdDev(97);
    tpe->setSoundVelocityStdDev(98);
    tpe->setSurfSoundSpeedStdDev(99);
    tpe->setTideMeasuredStdDev(100);
    tpe->setTidePredictedStdDev(101);
    tpe->setMeasurementStdDev(102, 103, 104);
    tpe->setMRUAlignmentStdDev(105, 106, 107);
    tpe->setSpeedOverGroundStdDev(108);
    tpe->setVesselLoadingStdDev(109);
    tpe->setDraftStdDev(110);
    tpe->setDeltaDraftStdDev(111);
    tpe->setStDevComment(L"from \"sheets\"");
    place(vessel, std::move(tpe));

    auto towed = made<SKARTowedSSSConfig>();
    equip(*towed, L"t");
    towed->setLatency(112);
    towed->setPositionOffsets(113, 114, 115);
    towed->setLaybackOffset(116);
    place(vessel, std::move(towed));

    auto water = made<SKARWaterlineHeight>();
    water->setWaterLine(-117);
    water->setWaterlineStdDev(118);
    water->setApplyFlag(true);
    place(vessel, std::move(water));
}

const char* const wholeFile = R"(<?xml version="1.0"?>
<SKARVesselConfig Version="2.0">
  <VesselShape>
    <PlanCoordinates/>
    <ProfileCoordinates/>
    <RP Length="0.000000" Width="0.000000" Height="0.000000"/>
  </VesselShape>
  <DepthSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Comment value="boom &amp; arm"/>
      <Authorization value="&#xE9;lise"/>
      <Latency value="0.125000"/>
      <SensorClass value="Sweep"/>
      <TPENavigationToBoomOffset X="1.000000" Y="2.000000" Z="3.000000"/>
      <TPEMRUToBoomOffset X="4.000000" Y="5.000000" Z="6.000000"/>
      <TransducerEntries>
        <Transducer Number="7" StartBeam="8" Model="d model">
          <Manufacturer value="d"/>
          <SerialNumber value="d number"/>
          <TransducerFixed value="No"/>
          <SquatPercFactor value="11.000000"/>
          <HeavePercAmplitude value="12.000000"/>
          <MRUAlignment Gyro="9.000000" Roll="10.000000"/>
          <Offsets X="13.000000" Y="14.000000" Z="15.000000" Latency="16.000000"/>
          <MountAngle Pitch="17.000000" Roll="18.000000" Azimuth="19.000000"/>
        </Transducer>
        <Transducer Number="2" Model="Unknown">
          <TransducerFixed value="Yes"/>
          <SquatPercFactor value="100.000000"/>
          <HeavePercAmplitude value="100.000000"/>
          <MRUAlignment Gyro="0.000000" Roll="0.000000"/>
          <Offsets X="0.000000" Y="0.000000" Z="0.000000" Latency="0.000000"/>
          <MountAngle Pitch="0.000000" Roll="0.000000" Azimuth="0.000000"/>
        </Transducer>
      </TransducerEntries>
    </TimeStamp>
  </DepthSensor>
  <DraftSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <ApplyFlag value="Yes"/>
      <DraftEntries>
        <Entry Speed="20.000000" Draft="23.000000"/>
        <Entry Speed="21.000000" Draft="22.000000"/>
      </DraftEntries>
    </TimeStamp>
  </DraftSensor>
  <GyroSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="24.000000"/>
      <Manufacturer value="g"/>
      <Model value="g model"/>
      <SerialNumber value="g number"/>
      <ApplyFlag value="Yes"/>
      <Offsets>
        <Gyro>
          <Entry Azimuth="25.000000" Offset="26.000000"/>
          <Entry Azimuth="27.000000" Offset="28.000000"/>
        </Gyro>
      </Offsets>
    </TimeStamp>
  </GyroSensor>
  <HeaveSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="29.000000"/>
      <Manufacturer value="h"/>
      <Model value="h model"/>
      <SerialNumber value="h number"/>
      <ApplyFlag value="Yes"/>
      <Offsets X="30.000000" Y="31.000000" Z="32.000000" Heave="33.000000"/>
    </TimeStamp>
  </HeaveSensor>
  <NavSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="34.000000"/>
      <Manufacturer value="n"/>
      <Model value="n model"/>
      <SerialNumber value="n number"/>
      <Ellipse value="WG84"/>
      <Offsets X="35.000000" Y="36.000000" Z="37.000000"/>
    </TimeStamp>
  </NavSensor>
  <PitchSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="38.000000"/>
      <Manufacturer value="p"/>
      <Model value="p model"/>
      <SerialNumber value="p number"/>
      <ApplyFlag value="Yes"/>
      <Offsets Pitch="39.000000"/>
    </TimeStamp>
  </PitchSensor>
  <RollSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="40.000000"/>
      <Manufacturer value="r"/>
      <Model value="r model"/>
      <SerialNumber value="r number"/>
      <ApplyFlag value="Yes"/>
      <Offsets Roll="41.000000"/>
    </TimeStamp>
  </RollSensor>
  <SVPSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <DualHead value="Yes"/>
      <Offsets X="42.000000" Y="43.000000" Z="44.000000" X2="48.000000" Y2="49.000000" Z2="50.000000"/>
      <MountAngle Pitch="45.000000" Roll="46.000000" Azimuth="47.000000" Pitch2="51.000000" Roll2="52.000000" Azimuth2="53.000000"/>
    </TimeStamp>
  </SVPSensor>
  <SideScanGyroSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <Manufacturer value="sg"/>
      <Model value="sg model"/>
      <SerialNumber value="sg number"/>
      <ApplyFlag value="Yes"/>
      <Offsets>
        <Gyro>
          <Entry Azimuth="54.000000" Offset="55.000000"/>
        </Gyro>
      </Offsets>
      <StdDev Gyro="56.000000"/>
    </TimeStamp>
  </SideScanGyroSensor>
  <SideScanHeaveSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="57.000000"/>
      <Manufacturer value="sh"/>
      <Model value="sh model"/>
      <SerialNumber value="sh number"/>
      <ApplyFlag value="Yes"/>
      <Offsets X="58.000000" Y="59.000000" Z="60.000000" Heave="61.000000"/>
    </TimeStamp>
  </SideScanHeaveSensor>
  <SideScanNavSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="62.000000"/>
      <Manufacturer value="sn"/>
      <Model value="sn model"/>
      <SerialNumber value="sn number"/>
      <Ellipse value="WG84"/>
      <Offsets X="63.000000" Y="64.000000" Z="65.000000"/>
    </TimeStamp>
  </SideScanNavSensor>
  <SideScanPitchSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <Manufacturer value="sp"/>
      <Model value="sp model"/>
      <SerialNumber value="sp number"/>
      <ApplyFlag value="Yes"/>
      <Offsets Pitch="66.000000"/>
      <StdDev Pitch="67.000000"/>
    </TimeStamp>
  </SideScanPitchSensor>
  <SideScanRollSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <Manufacturer value="sr"/>
      <Model value="sr model"/>
      <SerialNumber value="sr number"/>
      <ApplyFlag value="Yes"/>
      <Offsets Roll="68.000000"/>
      <StdDev Roll="69.000000"/>
    </TimeStamp>
  </SideScanRollSensor>
  <SideScanSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <Manufacturer value="s"/>
      <Model value="s model"/>
      <SerialNumber value="s number"/>
    </TimeStamp>
  </SideScanSensor>
  <TPEConfiguration>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <Offsets>
        <MRUtoTransducer X="70.000000" Y="71.000000" Z="72.000000" X2="73.000000" Y2="74.000000" Z2="75.000000"/>
        <NavigationToTransducer X="76.000000" Y="77.000000" Z="78.000000" X2="79.000000" Y2="80.000000" Z2="81.000000"/>
        <Transducer Roll="82.000000" Roll2="83.000000"/>
        <Navigation Latency="84.000000"/>
      </Offsets>
      <StandardDeviation>
        <Motion Gyro="85.000000" HeavePercAmplitude="87.000000" Heave="86.000000" Roll="88.000000" Pitch="89.000000" PitchStablized="90.000000"/>
        <Position Navigation="91.000000"/>
        <Timing Transducer="92.000000" Navigation="93.000000" Gyro="94.000000" Heave="95.000000" Pitch="96.000000" Roll="97.000000"/>
        <SoundVelocity Measured="98.000000" Surface="99.000000"/>
        <Tide Measured="100.000000" Zoning="101.000000"/>
        <Offsets X="102.000000" Y="103.000000" Z="104.000000"/>
        <MRUAlignment Gyro="105.000000" Pitch="106.000000" Roll="107.000000"/>
        <Vessel Speed="108.000000" Loading="109.000000" Draft="110.000000" DeltaDraft="111.000000">
          <StDevComment value="from &quot;sheets&quot;"/>
        </Vessel>
      </StandardDeviation>
    </TimeStamp>
  </TPEConfiguration>
  <TowedSensor>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="112.000000"/>
      <Manufacturer value="t"/>
      <Model value="t model"/>
      <SerialNumber value="t number"/>
      <Offsets X="113.000000" Y="114.000000" Z="115.000000" Layback="116.000000"/>
    </TimeStamp>
  </TowedSensor>
  <WaterlineHeight>
    <TimeStamp value="2012-183 07:05:09">
      <Latency value="0.000000"/>
      <WaterLine value="-117.000000"/>
      <ApplyFlag value="Yes"/>
      <StdDev Waterline="118.000000"/>
    </TimeStamp>
  </WaterlineHeight>
</SKARVesselConfig>
)";

TEST(VesselGolden, EveryKindIsWrittenInItsOrder) {
    const TemporaryDirectory directory;
    SKARVessel vessel;
    vessel.setFileName(directory.wide("v.skv").c_str(), false);
    fill(vessel);
    ASSERT_EQ(vessel.store(), 0);
    EXPECT_EQ(directory.read("v.skv"), wholeFile);
}

class ReadVessel : public testing::Test {
protected:
    ReadVessel() {
        directory.write("v.skv", wholeFile);
        vessel = std::make_unique<SKARVessel>(directory.wide("v.skv").c_str(), status);
        EXPECT_EQ(status, 0);
    }
    TemporaryDirectory directory;
    long status = -1;
    std::unique_ptr<SKARVessel> vessel;
};

TEST_F(ReadVessel, StoredUnchangedGetsTheRowsAgainAndTheStartBeamThatWasMissing) {
    ASSERT_EQ(vessel->store(), 0);
    const std::string row = "          <Entry Azimuth=\"54.000000\" Offset=\"55.000000\"/>\n";
    std::string expected = wholeFile;
    expected.insert(expected.find(row), row);
    const std::string second = "<Transducer Number=\"2\"";
    expected.insert(expected.find(second) + second.size(), " StartBeam=\"1\"");
    EXPECT_EQ(directory.read("v.skv"), expected);
}

TEST_F(ReadVessel, HasTheNavigationAndAttitudeThatWasSet) {
    const auto& nav = in<SKARNavConfig>(*vessel);
    expectEquipped(nav, L"n");
    EXPECT_STREQ(nav.getEllipseName(), L"WG84");
    EXPECT_EQ(nav.getLatency(), 34);
    EXPECT_EQ(nav.SKARVesselSensorConfig::getLatency(), 34);
    expectPosition(nav, 35, 36, 37);
    const auto& towedNav = in<SKARSideScanNavConfig>(*vessel);
    expectEquipped(towedNav, L"sn");
    EXPECT_STREQ(towedNav.getEllipseName(), L"WG84");
    EXPECT_EQ(towedNav.getLatency(), 62);
    expectPosition(towedNav, 63, 64, 65);
    const auto& gyro = in<SKARGyroConfig>(*vessel);
    expectEquipped(gyro, L"g");
    EXPECT_EQ(gyro.getLatency(), 24);
    EXPECT_TRUE(gyro.getApplyFlag());
    EXPECT_EQ(gyro.getGyroOffset(25), 26);
    EXPECT_EQ(gyro.getGyroOffset(27), 28);
    const auto& towedGyro = in<SKARSideScanGyroConfig>(*vessel);
    expectEquipped(towedGyro, L"sg");
    EXPECT_TRUE(towedGyro.getApplyFlag());
    EXPECT_EQ(towedGyro.getGyroOffset(54), 55);
    EXPECT_EQ(towedGyro.getGyroError(), 56);
}

TEST_F(ReadVessel, HasTheMotionThatWasSet) {
    const auto& heave = in<SKARHeaveConfig>(*vessel);
    expectEquipped(heave, L"h");
    EXPECT_TRUE(heave.getApplyFlag());
    EXPECT_EQ(heave.getLatency(), 29);
    expectPosition(heave, 30, 31, 32);
    EXPECT_EQ(heave.getHeaveOffset(), 33);
    const auto& towedHeave = in<SKARSideScanHeaveConfig>(*vessel);
    expectEquipped(towedHeave, L"sh");
    EXPECT_TRUE(towedHeave.getApplyFlag());
    EXPECT_EQ(towedHeave.getLatency(), 57);
    expectPosition(towedHeave, 58, 59, 60);
    EXPECT_EQ(towedHeave.getHeaveOffset(), 61);
    const auto& pitch = in<SKARPitchConfig>(*vessel);
    expectEquipped(pitch, L"p");
    EXPECT_TRUE(pitch.getApplyFlag());
    EXPECT_EQ(pitch.getLatency(), 38);
    EXPECT_EQ(pitch.getPitchOffset(), 39);
    const auto& roll = in<SKARRollConfig>(*vessel);
    expectEquipped(roll, L"r");
    EXPECT_TRUE(roll.getApplyFlag());
    EXPECT_EQ(roll.getLatency(), 40);
    EXPECT_EQ(roll.getRollOffset(), 41);
    const auto& towedPitch = in<SKARSideScanPitchConfig>(*vessel);
    expectEquipped(towedPitch, L"sp");
    EXPECT_TRUE(towedPitch.getApplyFlag());
    EXPECT_EQ(towedPitch.getPitchOffset(), 66);
    EXPECT_EQ(towedPitch.getPitchError(), 67);
    const auto& towedRoll = in<SKARSideScanRollConfig>(*vessel);
    expectEquipped(towedRoll, L"sr");
    EXPECT_TRUE(towedRoll.getApplyFlag());
    EXPECT_EQ(towedRoll.getRollOffset(), 68);
    EXPECT_EQ(towedRoll.getRollError(), 69);
}

TEST_F(ReadVessel, HasTheTransducersThatWereSet) {
    const auto& depth = in<SKARDepthConfig>(*vessel);
    EXPECT_STREQ(depth.getComment(), L"boom & arm");
    EXPECT_STREQ(depth.getAuthorization(), L"\u00e9lise");
    EXPECT_EQ(depth.getLatency(), 0.125);
    EXPECT_STREQ(depth.getSensorClass(), L"Sweep");
    double x = 0;
    double y = 0;
    double z = 0;
    depth.getNavigationToBoomOffset(x, y, z);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(1, 2, 3));
    depth.getMRUToBoomOffset(x, y, z);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(4, 5, 6));
    ASSERT_EQ(depth.getNumTransducers(), 2U);
    const SKARTransducerConfig* first = depth.getTransducer(7, status);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->getStartBeam(), 8U);
    EXPECT_STREQ(first->getModel(), L"d model");
    EXPECT_STREQ(first->getManufacturer(), L"d");
    EXPECT_STREQ(first->getSerialNumber(), L"d number");
    bool fixed = true;
    double alignment[2] = {};
    double percent[2] = {};
    first->getSweepTPEParameters(fixed, alignment[0], alignment[1], percent[0], percent[1]);
    EXPECT_FALSE(fixed);
    EXPECT_EQ(std::tuple(alignment[0], alignment[1], percent[0], percent[1]), std::tuple(9, 10, 11, 12));
    first->getPositionOffset(x, y, z);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(13, 14, 15));
    EXPECT_EQ(first->getLatency(), 16);
    first->getMountAngle(x, y, z);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(17, 18, 19));
    // Written without a start beam, which is 1 then.
    EXPECT_EQ(depth.getTransducer(2, status)->getStartBeam(), 1U);
}

TEST_F(ReadVessel, HasTheRestThatWasSet) {
    const auto& draft = in<SKARDraftConfig>(*vessel);
    EXPECT_TRUE(draft.getApplyFlag());
    EXPECT_EQ(draft.getNumEntries(), 2U);
    EXPECT_EQ(draft.getDraftEntries().head()->draft, 23);
    EXPECT_EQ(draft.getDraftEntries().last()->speed, 21);
    const auto& heads = in<SKARSVPConfig>(*vessel);
    EXPECT_TRUE(heads.isDualHead());
    double x = 0;
    double y = 0;
    double z = 0;
    heads.getPositionOffsets(x, y, z, false);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(42, 43, 44));
    heads.getMountAngle(x, y, z, false);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(45, 46, 47));
    heads.getPositionOffsets(x, y, z, true);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(48, 49, 50));
    heads.getMountAngle(x, y, z, true);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(51, 52, 53));
    expectEquipped(in<SKARSideScanConfig>(*vessel), L"s");
    const auto& towed = in<SKARTowedSSSConfig>(*vessel);
    expectEquipped(towed, L"t");
    EXPECT_EQ(towed.getLatency(), 112);
    expectPosition(towed, 113, 114, 115);
    EXPECT_EQ(towed.getLaybackOffset(), 116);
    const auto& water = in<SKARWaterlineHeight>(*vessel);
    EXPECT_EQ(water.getWaterLine(), -117);
    EXPECT_EQ(water.getWaterlineStdDev(), 118);
    EXPECT_TRUE(water.getApplyFlag());
}

TEST_F(ReadVessel, HasTheDeviationsThatWereSet) {
    const auto& tpe = in<SKARTPEConfig>(*vessel);
    double x = 0;
    double y = 0;
    double z = 0;
    tpe.getOffsetMRUToTrans(x, y, z, 1);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(70, 71, 72));
    tpe.getOffsetMRUToTrans(x, y, z, 2);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(73, 74, 75));
    tpe.getOffsetNavToTrans(x, y, z, 1);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(76, 77, 78));
    tpe.getOffsetNavToTrans(x, y, z, 2);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(79, 80, 81));
    tpe.getTransducerRollOffset(x, 1);
    tpe.getTransducerRollOffset(y, 2);
    EXPECT_EQ(std::tuple(x, y), std::tuple(82, 83));
    EXPECT_EQ(tpe.getNavigationLatency(), 84);
    EXPECT_EQ(tpe.getGyroStdDev(), 85);
    tpe.getHeaveStdDev(x, y);
    EXPECT_EQ(std::tuple(x, y), std::tuple(86, 87));
    EXPECT_EQ(tpe.getRollStdDev(), 88);
    EXPECT_EQ(tpe.getPitchStdDev(), 89);
    EXPECT_EQ(tpe.getPitchStablizationStdDev(), 90);
    EXPECT_EQ(tpe.getNavigationStdDev(), 91);
    EXPECT_EQ(tpe.getTransducerTimingStdDev(), 92);
    EXPECT_EQ(tpe.getNavigationTimingStdDev(), 93);
    EXPECT_EQ(tpe.getGyroTimingStdDev(), 94);
    EXPECT_EQ(tpe.getHeaveTimingStdDev(), 95);
    EXPECT_EQ(tpe.getPitchTimingStdDev(), 96);
    EXPECT_EQ(tpe.getRollTimingStdDev(), 97);
    EXPECT_EQ(tpe.getSoundVelocityStdDev(), 98);
    EXPECT_EQ(tpe.getSurfSoundSpeedStdDev(), 99);
    EXPECT_EQ(tpe.getTideMeasuredStdDev(), 100);
    EXPECT_EQ(tpe.getTidePredictedStdDev(), 101);
    tpe.getMeasurementStdDev(x, y, z);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(102, 103, 104));
    EXPECT_EQ(tpe.getMRUAlignmentStdDev(x, y, z), 0);
    EXPECT_EQ(std::tuple(x, y, z), std::tuple(105, 106, 107));
    EXPECT_EQ(tpe.getSpeedOverGroundStdDev(), 108);
    EXPECT_EQ(tpe.getVesselLoadingStdDev(), 109);
    EXPECT_EQ(tpe.getDraftStdDev(), 110);
    EXPECT_EQ(tpe.getDeltaDraftStdDev(), 111);
    EXPECT_STREQ(tpe.getStDevComment(), L"from \"sheets\"");
}

} // namespace
