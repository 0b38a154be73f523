#include "vessel/vocabulary.h"

#include <array>
#include <cstddef>

namespace skar::tool::vessel {

namespace {

using Attribute = KnownAttribute;
using Element = KnownElement;

template <std::size_t... counts>
constexpr auto joined(const std::array<Element, counts>&... parts) {
    std::array<Element, (counts + ...)> all{};
    std::size_t at = 0;
    const auto add = [&](const auto& part) {
        for (const Element& element : part)
            all[at++] = element;
    };
    (add(parts), ...);
    return all;
}

constexpr ValueKind number = ValueKind::number;

constexpr Attribute textValue[] = {{"value", ValueKind::text}};
constexpr Attribute numberValue[] = {{"value", number}};
constexpr Attribute yesNoValue[] = {{"value", ValueKind::yesNo}};
constexpr Attribute exactYesNoValue[] = {{"value", ValueKind::exactYesNo}};
constexpr Attribute timeValue[] = {{"value", ValueKind::time}};
constexpr Attribute classValue[] = {{"value", ValueKind::sensorClass}};
constexpr Attribute xyz[] = {{"X", number}, {"Y", number}, {"Z", number}};
constexpr Attribute xyzHeave[] = {{"X", number}, {"Y", number}, {"Z", number}, {"Heave", number}};
constexpr Attribute xyzLayback[] = {{"X", number}, {"Y", number}, {"Z", number}, {"Layback", number}};
constexpr Attribute xyzLatency[] = {{"X", number}, {"Y", number}, {"Z", number}, {"Latency", number}};
constexpr Attribute xyzTwice[] = {{"X", number},  {"Y", number},  {"Z", number},
                                  {"X2", number}, {"Y2", number}, {"Z2", number}};
constexpr Attribute angles[] = {{"Pitch", number}, {"Roll", number}, {"Azimuth", number}};
constexpr Attribute anglesTwice[] = {{"Pitch", number},  {"Roll", number},  {"Azimuth", number},
                                     {"Pitch2", number}, {"Roll2", number}, {"Azimuth2", number}};
constexpr Attribute gyro[] = {{"Gyro", number}};
constexpr Attribute pitch[] = {{"Pitch", number}};
constexpr Attribute roll[] = {{"Roll", number}};
constexpr Attribute gyroRoll[] = {{"Gyro", number}, {"Roll", number}};
constexpr Attribute gyroPitchRoll[] = {{"Gyro", number}, {"Pitch", number}, {"Roll", number}};

constexpr auto common = std::to_array<Element>(
    {{"Comment", textValue, {}}, {"Authorization", textValue, {}}, {"Latency", numberValue, {}}});
constexpr auto equipment = std::to_array<Element>(
    {{"Manufacturer", textValue, {}}, {"Model", textValue, {}}, {"SerialNumber", textValue, {}}});
constexpr auto applyFlag = std::to_array<Element>({{"ApplyFlag", yesNoValue, {}}});
constexpr auto position = std::to_array<Element>({{"Offsets", xyz, {}}});

constexpr Attribute gyroRow[] = {{"Azimuth", number}, {"Offset", number}};
constexpr Element gyroRows[] = {{"Entry", gyroRow, {}}};
constexpr Element gyroTable[] = {{"Gyro", {}, gyroRows, Rule::gyroRows}};
constexpr auto gyroOffsets = std::to_array<Element>({{"Offsets", {}, gyroTable}});

constexpr auto navigation =
    joined(common, equipment, position, std::to_array<Element>({{"Ellipse", textValue, {}}}));
constexpr auto compass = joined(common, equipment, applyFlag, gyroOffsets);
constexpr auto sideScanCompass =
    joined(common, equipment, applyFlag, gyroOffsets, std::to_array<Element>({{"StdDev", gyro, {}}}));
constexpr auto heave =
    joined(common, equipment, applyFlag, std::to_array<Element>({{"Offsets", xyzHeave, {}}}));
constexpr auto pitches =
    joined(common, equipment, applyFlag, std::to_array<Element>({{"Offsets", pitch, {}}}));
constexpr auto rolls = joined(common, equipment, applyFlag, std::to_array<Element>({{"Offsets", roll, {}}}));
constexpr auto sideScanPitches = joined(pitches, std::to_array<Element>({{"StdDev", pitch, {}}}));
constexpr auto sideScanRolls = joined(rolls, std::to_array<Element>({{"StdDev", roll, {}}}));
constexpr auto sideScan = joined(common, equipment);
constexpr auto towed = joined(common, equipment, std::to_array<Element>({{"Offsets", xyzLayback, {}}}));
constexpr auto soundSpeed = joined(
    common, std::to_array<Element>(
                {{"DualHead", yesNoValue, {}}, {"Offsets", xyzTwice, {}}, {"MountAngle", anglesTwice, {}}}));

constexpr Attribute draftRow[] = {{"Speed", number}, {"Draft", number}};
constexpr Element draftRows[] = {{"Entry", draftRow, {}}};
constexpr auto draft =
    joined(common, applyFlag, std::to_array<Element>({{"DraftEntries", {}, draftRows, Rule::draftRows}}));

constexpr Attribute waterlineDeviation[] = {{"Waterline", number}};
constexpr auto waterline =
    joined(common, applyFlag,
           std::to_array<Element>({{"WaterLine", numberValue, {}}, {"StdDev", waterlineDeviation, {}}}));

constexpr Attribute transducerAttributes[] = {
    {"Number", ValueKind::whole}, {"StartBeam", ValueKind::whole}, {"Model", ValueKind::text}};
constexpr Element transducerParts[] = {
    {"Manufacturer", textValue, {}},
    {"SerialNumber", textValue, {}},
    {"Offsets", xyzLatency, {}},
    {"MountAngle", angles, {}},
    {"TransducerFixed", exactYesNoValue, {}, Rule::none, true},
    {"SquatPercFactor", numberValue, {}, Rule::none, true},
    {"HeavePercAmplitude", numberValue, {}, Rule::none, true},
    {"MRUAlignment", gyroRoll, {}, Rule::none, true},
};
constexpr Element transducerRows[] = {{"Transducer", transducerAttributes, transducerParts}};
constexpr auto depth = joined(common, std::to_array<Element>({
                                          {"SensorClass", classValue, {}},
                                          {"TPENavigationToBoomOffset", xyz, {}, Rule::none, true},
                                          {"TPEMRUToBoomOffset", xyz, {}, Rule::none, true},
                                          {"TransducerEntries", {}, transducerRows, Rule::transducers},
                                      }));

constexpr Attribute transducerRolls[] = {{"Roll", number}, {"Roll2", number}};
constexpr Attribute latency[] = {{"Latency", number}};
constexpr Element errorOffsets[] = {
    {"MRUtoTransducer", xyzTwice, {}},
    {"NavigationToTransducer", xyzTwice, {}},
    {"Transducer", transducerRolls, {}},
    {"Navigation", latency, {}},
};
constexpr Attribute motion[] = {{"Gyro", number}, {"Heave", number}, {"HeavePercAmplitude", number},
                                {"Roll", number}, {"Pitch", number}, {"PitchStablized", number}};
constexpr Attribute fix[] = {{"Navigation", number}};
constexpr Attribute timing[] = {{"Transducer", number}, {"Navigation", number}, {"Gyro", number},
                                {"Heave", number},      {"Pitch", number},      {"Roll", number}};
constexpr Attribute speeds[] = {{"Measured", number}, {"Surface", number}};
constexpr Attribute tide[] = {{"Measured", number}, {"Zoning", number}};
constexpr Attribute ship[] = {
    {"Speed", number}, {"Loading", number}, {"Draft", number}, {"DeltaDraft", number}};
constexpr Element deviationComment[] = {{"StDevComment", textValue, {}}};
constexpr Element deviations[] = {
    {"Motion", motion, {}},
    {"Position", fix, {}},
    {"Timing", timing, {}},
    {"SoundVelocity", speeds, {}},
    {"Tide", tide, {}},
    {"Offsets", xyz, {}},
    {"MRUAlignment", gyroPitchRoll, {}},
    {"Vessel", ship, deviationComment},
};
constexpr auto propagatedError = joined(
    common, std::to_array<Element>({{"Offsets", {}, errorOffsets}, {"StandardDeviation", {}, deviations}}));

constexpr Element navigationEntry[] = {{"TimeStamp", timeValue, navigation}};
constexpr Element compassEntry[] = {{"TimeStamp", timeValue, compass}};
constexpr Element sideScanCompassEntry[] = {{"TimeStamp", timeValue, sideScanCompass}};
constexpr Element heaveEntry[] = {{"TimeStamp", timeValue, heave}};
constexpr Element pitchEntry[] = {{"TimeStamp", timeValue, pitches}};
constexpr Element rollEntry[] = {{"TimeStamp", timeValue, rolls}};
constexpr Element sideScanPitchEntry[] = {{"TimeStamp", timeValue, sideScanPitches}};
constexpr Element sideScanRollEntry[] = {{"TimeStamp", timeValue, sideScanRolls}};
constexpr Element sideScanEntry[] = {{"TimeStamp", timeValue, sideScan}};
constexpr Element towedEntry[] = {{"TimeStamp", timeValue, towed}};
constexpr Element soundSpeedEntry[] = {{"TimeStamp", timeValue, soundSpeed, Rule::soundSpeeds}};
constexpr Element draftEntry[] = {{"TimeStamp", timeValue, draft}};
constexpr Element waterlineEntry[] = {{"TimeStamp", timeValue, waterline}};
constexpr Element depthEntry[] = {{"TimeStamp", timeValue, depth, Rule::depths}};
constexpr Element propagatedErrorEntry[] = {{"TimeStamp", timeValue, propagatedError}};

constexpr Element lists[] = {
    {"NavSensor", {}, navigationEntry, Rule::entries},
    {"GyroSensor", {}, compassEntry, Rule::entries},
    {"HeaveSensor", {}, heaveEntry, Rule::entries},
    {"PitchSensor", {}, pitchEntry, Rule::entries},
    {"RollSensor", {}, rollEntry, Rule::entries},
    {"SVPSensor", {}, soundSpeedEntry, Rule::entries},
    {"DepthSensor", {}, depthEntry, Rule::entries},
    {"DraftSensor", {}, draftEntry, Rule::entries},
    {"TowedSensor", {}, towedEntry, Rule::entries},
    {"WaterlineHeight", {}, waterlineEntry, Rule::entries},
    {"SideScanSensor", {}, sideScanEntry, Rule::entries},
    {"SideScanNavSensor", {}, navigationEntry, Rule::entries},
    {"SideScanGyroSensor", {}, sideScanCompassEntry, Rule::entries},
    {"SideScanHeaveSensor", {}, heaveEntry, Rule::entries},
    {"SideScanPitchSensor", {}, sideScanPitchEntry, Rule::entries},
    {"SideScanRollSensor", {}, sideScanRollEntry, Rule::entries},
    {"TPEConfiguration", {}, propagatedErrorEntry, Rule::entries},
};

constexpr Attribute planPoint[] = {{"X", number}, {"Y", number}};
constexpr Attribute profilePoint[] = {{"Y", number}, {"Z", number}};
constexpr Attribute extent[] = {{"Length", number}, {"Width", number}, {"Height", number}};
constexpr Element planPoints[] = {{"Entry", planPoint, {}}};
constexpr Element profilePoints[] = {{"Entry", profilePoint, {}}};
constexpr Element shape[] = {
    {"PlanCoordinates", {}, planPoints, Rule::points},
    {"ProfileCoordinates", {}, profilePoints, Rule::points},
    {"RP", extent, {}},
};
constexpr Element rootParts[] = {
    {"MetaData", {}, {}}, {"EditHistory", {}, {}}, {"VesselShape", {}, shape, Rule::shape}};
constexpr Attribute version[] = {{"Version", number}};
constexpr Element root = {"SKARVesselConfig", version, rootParts};

} // namespace

const KnownElement& vesselRoot() {
    return root;
}

std::span<const KnownElement> sensorLists() {
    return lists;
}

} // namespace skar::tool::vessel
