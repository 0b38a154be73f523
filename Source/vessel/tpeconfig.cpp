#include <skar/vesselsensors.h>

#include "vessel/fields.h"

struct SKARTPEConfig::Table {
    static constexpr skar::vessel::Field<SKARTPEConfig> fields[] = {
        {"MRUtoTransducer", "X", &SKARTPEConfig::mruToTransX, "Offsets"},
        {"MRUtoTransducer", "Y", &SKARTPEConfig::mruToTransY, "Offsets"},
        {"MRUtoTransducer", "Z", &SKARTPEConfig::mruToTransZ, "Offsets"},
        {"MRUtoTransducer", "X2", &SKARTPEConfig::mruToTransX2, "Offsets"},
        {"MRUtoTransducer", "Y2", &SKARTPEConfig::mruToTransY2, "Offsets"},
        {"MRUtoTransducer", "Z2", &SKARTPEConfig::mruToTransZ2, "Offsets"},
        {"NavigationToTransducer", "X", &SKARTPEConfig::navToTransX, "Offsets"},
        {"NavigationToTransducer", "Y", &SKARTPEConfig::navToTransY, "Offsets"},
        {"NavigationToTransducer", "Z", &SKARTPEConfig::navToTransZ, "Offsets"},
        {"NavigationToTransducer", "X2", &SKARTPEConfig::navToTransX2, "Offsets"},
        {"NavigationToTransducer", "Y2", &SKARTPEConfig::navToTransY2, "Offsets"},
        {"NavigationToTransducer", "Z2", &SKARTPEConfig::navToTransZ2, "Offsets"},
        {"Transducer", "Roll", &SKARTPEConfig::transducerRoll1, "Offsets"},
        {"Transducer", "Roll2", &SKARTPEConfig::transducerRoll2, "Offsets"},
        {"Navigation", "Latency", &SKARTPEConfig::navigationLatency, "Offsets"},
        {"Motion", "Gyro", &SKARTPEConfig::gyro, "StandardDeviation"},
        {"Motion", "HeavePercAmplitude", &SKARTPEConfig::heavePercentOfAmplitude, "StandardDeviation"},
        {"Motion", "Heave", &SKARTPEConfig::heave, "StandardDeviation"},
        {"Motion", "Roll", &SKARTPEConfig::roll, "StandardDeviation"},
        {"Motion", "Pitch", &SKARTPEConfig::pitch, "StandardDeviation"},
        {"Motion", "PitchStablized", &SKARTPEConfig::pitchStablization, "StandardDeviation"},
        {"Position", "Navigation", &SKARTPEConfig::navigation, "StandardDeviation"},
        {"Timing", "Transducer", &SKARTPEConfig::transducerTiming, "StandardDeviation"},
        {"Timing", "Navigation", &SKARTPEConfig::navigationTiming, "StandardDeviation"},
        {"Timing", "Gyro", &SKARTPEConfig::gyroTiming, "StandardDeviation"},
        {"Timing", "Heave", &SKARTPEConfig::heaveTiming, "StandardDeviation"},
        {"Timing", "Pitch", &SKARTPEConfig::pitchTiming, "StandardDeviation"},
        {"Timing", "Roll", &SKARTPEConfig::rollTiming, "StandardDeviation"},
        {"SoundVelocity", "Measured", &SKARTPEConfig::soundVelocity, "StandardDeviation"},
        {"SoundVelocity", "Surface", &SKARTPEConfig::surfSoundSpeed, "StandardDeviation"},
        {"Tide", "Measured", &SKARTPEConfig::tideMeasured, "StandardDeviation"},
        {"Tide", "Zoning", &SKARTPEConfig::tidePredicted, "StandardDeviation"},
        {"Offsets", "X", &SKARTPEConfig::measurementX, "StandardDeviation"},
        {"Offsets", "Y", &SKARTPEConfig::measurementY, "StandardDeviation"},
        {"Offsets", "Z", &SKARTPEConfig::measurementZ, "StandardDeviation"},
        {"MRUAlignment", "Gyro", &SKARTPEConfig::alignmentGyro, "StandardDeviation"},
        {"MRUAlignment", "Pitch", &SKARTPEConfig::alignmentPitch, "StandardDeviation"},
        {"MRUAlignment", "Roll", &SKARTPEConfig::alignmentRoll, "StandardDeviation"},
        {"Vessel", "Speed", &SKARTPEConfig::speedOverGround, "StandardDeviation"},
        {"Vessel", "Loading", &SKARTPEConfig::vesselLoading, "StandardDeviation"},
        {"Vessel", "Draft", &SKARTPEConfig::draft, "StandardDeviation"},
        {"Vessel", "DeltaDraft", &SKARTPEConfig::deltaDraft, "StandardDeviation"},
    };
};

SKARTPEConfig::SKARTPEConfig(double time, long& status) : SKARVesselSensorConfig(L"TPEConfiguration", time) {
    status = 0;
}

SKARTPEConfig::~SKARTPEConfig() = default;

long SKARTPEConfig::load(xmlNode* entry) {
    if (const long result = SKARVesselSensorConfig::load(entry); result != 0) return result;
    skar::vessel::loadFields(*this, entry, Table::fields);
    // The comment hangs one level deeper than the numbers, and is left alone where these are missing.
    if (const xmlNode* deviations = skar::xml::child(entry, "StandardDeviation")) {
        stDevComment = skar::vessel::textOfChild(skar::xml::child(deviations, "Vessel"), "StDevComment");
    }
    return 0;
}

long SKARTPEConfig::store(xmlNode* parentList) {
    if (const long result = SKARVesselSensorConfig::store(parentList); result != 0) return result;
    skar::vessel::storeFields(*this, getElement(), Table::fields);
    if (xmlNode* deviations = skar::xml::child(getElement(), "StandardDeviation")) {
        skar::vessel::storeTextOfChild(skar::xml::child(deviations, "Vessel"), "StDevComment", stDevComment);
    }
    return 0;
}

namespace {

constexpr bool isTransducer(int index) {
    return index == 1 || index == 2;
}

} // namespace

long SKARTPEConfig::getOffsetMRUToTrans(double& x, double& y, double& z, int index) const {
    if (!isTransducer(index)) return -1;
    x = index == 1 ? mruToTransX : mruToTransX2;
    y = index == 1 ? mruToTransY : mruToTransY2;
    z = index == 1 ? mruToTransZ : mruToTransZ2;
    return 0;
}

long SKARTPEConfig::setOffsetMRUToTrans(double x, double y, double z, int index) {
    if (!isTransducer(index)) return -1;
    (index == 1 ? mruToTransX : mruToTransX2) = x;
    (index == 1 ? mruToTransY : mruToTransY2) = y;
    (index == 1 ? mruToTransZ : mruToTransZ2) = z;
    return 0;
}

long SKARTPEConfig::getOffsetNavToTrans(double& x, double& y, double& z, int index) const {
    if (!isTransducer(index)) return -1;
    x = index == 1 ? navToTransX : navToTransX2;
    y = index == 1 ? navToTransY : navToTransY2;
    z = index == 1 ? navToTransZ : navToTransZ2;
    return 0;
}

long SKARTPEConfig::setOffsetNavToTrans(double x, double y, double z, int index) {
    if (!isTransducer(index)) return -1;
    (index == 1 ? navToTransX : navToTransX2) = x;
    (index == 1 ? navToTransY : navToTransY2) = y;
    (index == 1 ? navToTransZ : navToTransZ2) = z;
    return 0;
}

long SKARTPEConfig::getTransducerRollOffset(double& offset, int index) const {
    if (!isTransducer(index)) return -1;
    offset = index == 1 ? transducerRoll1 : transducerRoll2;
    return 0;
}

long SKARTPEConfig::setTransducerRollOffset(double offset, int index) {
    if (!isTransducer(index)) return -1;
    (index == 1 ? transducerRoll1 : transducerRoll2) = offset;
    return 0;
}

void SKARTPEConfig::getMeasurementStdDev(double& x, double& y, double& z) const {
    x = measurementX;
    y = measurementY;
    z = measurementZ;
}

long SKARTPEConfig::setMeasurementStdDev(double x, double y, double z) {
    measurementX = x;
    measurementY = y;
    measurementZ = z;
    return 0;
}

long SKARTPEConfig::getMRUAlignmentStdDev(double& gyroAngle, double& pitchAngle, double& rollAngle) const {
    gyroAngle = alignmentGyro;
    pitchAngle = alignmentPitch;
    rollAngle = alignmentRoll;
    return 0;
}

long SKARTPEConfig::setMRUAlignmentStdDev(double gyroAngle, double pitchAngle, double rollAngle) {
    alignmentGyro = gyroAngle;
    alignmentPitch = pitchAngle;
    alignmentRoll = rollAngle;
    return 0;
}

void SKARTPEConfig::getHeaveStdDev(double& heaveDeviation, double& percentOfAmplitude) const {
    heaveDeviation = heave;
    percentOfAmplitude = heavePercentOfAmplitude;
}

long SKARTPEConfig::setHeaveStdDev(double heaveDeviation, double percentOfAmplitude) {
    heave = heaveDeviation;
    heavePercentOfAmplitude = percentOfAmplitude;
    return 0;
}

long SKARTPEConfig::setNavigationLatency(double seconds) {
    navigationLatency = seconds;
    return 0;
}

long SKARTPEConfig::setStDevComment(const wchar_t* text) {
    stDevComment = skar::vessel::copyOf(text);
    return 0;
}

long SKARTPEConfig::setGyroStdDev(double deviation) {
    gyro = deviation;
    return 0;
}

long SKARTPEConfig::setPitchStdDev(double deviation) {
    pitch = deviation;
    return 0;
}

long SKARTPEConfig::setRollStdDev(double deviation) {
    roll = deviation;
    return 0;
}

long SKARTPEConfig::setNavigationStdDev(double deviation) {
    navigation = deviation;
    return 0;
}

long SKARTPEConfig::setTidePredictedStdDev(double deviation) {
    tidePredicted = deviation;
    return 0;
}

long SKARTPEConfig::setTideMeasuredStdDev(double deviation) {
    tideMeasured = deviation;
    return 0;
}

long SKARTPEConfig::setSoundVelocityStdDev(double deviation) {
    soundVelocity = deviation;
    return 0;
}

long SKARTPEConfig::setSurfSoundSpeedStdDev(double deviation) {
    surfSoundSpeed = deviation;
    return 0;
}

long SKARTPEConfig::setPitchStablizationStdDev(double deviation) {
    pitchStablization = deviation;
    return 0;
}

long SKARTPEConfig::setVesselLoadingStdDev(double deviation) {
    vesselLoading = deviation;
    return 0;
}

long SKARTPEConfig::setDraftStdDev(double deviation) {
    draft = deviation;
    return 0;
}

long SKARTPEConfig::setDeltaDraftStdDev(double deviation) {
    deltaDraft = deviation;
    return 0;
}

long SKARTPEConfig::setSpeedOverGroundStdDev(double deviation) {
    speedOverGround = deviation;
    return 0;
}

long SKARTPEConfig::setNavigationTimingStdDev(double deviation) {
    navigationTiming = deviation;
    return 0;
}

long SKARTPEConfig::setTransducerTimingStdDev(double deviation) {
    transducerTiming = deviation;
    return 0;
}

long SKARTPEConfig::setGyroTimingStdDev(double deviation) {
    gyroTiming = deviation;
    return 0;
}

long SKARTPEConfig::setHeaveTimingStdDev(double deviation) {
    heaveTiming = deviation;
    return 0;
}

long SKARTPEConfig::setPitchTimingStdDev(double deviation) {
    pitchTiming = deviation;
    return 0;
}

long SKARTPEConfig::setRollTimingStdDev(double deviation) {
    rollTiming = deviation;
    return 0;
}
