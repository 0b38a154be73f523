#include "vessel/fields.h"

#include <skar/codes.h>
#include <skar/vesselsensors.h>

#include <limits>
#include <string>

using skar::vessel::Field;
namespace codes = skar::codes;

namespace {

constexpr const wchar_t* swath = L"Swath";
constexpr const wchar_t* sweep = L"Sweep";

// Numbers are written as signed ones; what fits neither form counts as 0.
std::uint32_t unsignedIn(const xmlNode* element, const char* attribute) {
    const std::int64_t number =
        skar::xml::wholeNumberOf(skar::xml::attribute(element, attribute).value_or(std::string()));
    const bool fits = number >= std::numeric_limits<std::int32_t>::min() &&
                      number <= std::int64_t{std::numeric_limits<std::uint32_t>::max()};
    return fits ? static_cast<std::uint32_t>(number) : 0;
}

std::string signedText(std::uint32_t number) {
    return std::to_string(static_cast<std::int32_t>(number));
}

} // namespace

struct SKARTransducerConfig::Table {
    static constexpr Field<SKARTransducerConfig> names[] = {
        {"Manufacturer", "value", &SKARTransducerConfig::manufacturer},
        {"SerialNumber", "value", &SKARTransducerConfig::serialNumber},
    };
    // Written for a sweep only; the flag is true for one exact text alone, so it is read apart.
    static constexpr Field<SKARTransducerConfig> fixed[] = {
        {"TransducerFixed", "value", &SKARTransducerConfig::transducerFixed},
    };
    static constexpr Field<SKARTransducerConfig> ofSweep[] = {
        {"SquatPercFactor", "value", &SKARTransducerConfig::squatPercFactor},
        {"HeavePercAmplitude", "value", &SKARTransducerConfig::heavePercAmplitude},
        {"MRUAlignment", "Gyro", &SKARTransducerConfig::mruAlignGyro},
        {"MRUAlignment", "Roll", &SKARTransducerConfig::mruAlignRoll},
    };
    static constexpr Field<SKARTransducerConfig> mounting[] = {
        {"Offsets", "X", &SKARTransducerConfig::x},
        {"Offsets", "Y", &SKARTransducerConfig::y},
        {"Offsets", "Z", &SKARTransducerConfig::z},
        {"Offsets", "Latency", &SKARTransducerConfig::latency},
        {"MountAngle", "Pitch", &SKARTransducerConfig::pitch},
        {"MountAngle", "Roll", &SKARTransducerConfig::roll},
        {"MountAngle", "Azimuth", &SKARTransducerConfig::azimuth},
    };
};

SKARTransducerConfig::SKARTransducerConfig(std::uint32_t number, std::uint32_t firstBeam, bool)
    : transducerNumber(number), startBeam(firstBeam) {}

SKARTransducerConfig::SKARTransducerConfig(xmlNode* element, long& status)
    : transducerNumber(0), startBeam(1) {
    status = load(element);
}

SKARTransducerConfig::SKARTransducerConfig(const SKARTransducerConfig& other) = default;
SKARTransducerConfig& SKARTransducerConfig::operator=(const SKARTransducerConfig& other) = default;
SKARTransducerConfig::~SKARTransducerConfig() = default;

long SKARTransducerConfig::load(xmlNode* element) {
    if (element == nullptr) return -1;
    if (!skar::xml::hasAttribute(element, "Number")) return codes::transducerNumberMissing;
    transducerNumber = unsignedIn(element, "Number");
    if (transducerNumber == 0) return codes::transducerNumberZero;
    if (skar::xml::hasAttribute(element, "StartBeam")) {
        startBeam = unsignedIn(element, "StartBeam");
        if (startBeam == 0) return codes::startBeamZero;
    }
    if (skar::vessel::Text text = skar::vessel::textIn(element, "Model")) model = std::move(text);
    skar::vessel::loadFields(*this, element, Table::names);
    skar::vessel::loadFields(*this, element, Table::mounting);
    const xmlNode* fixed = skar::xml::child(element, "TransducerFixed");
    transducerFixed = fixed == nullptr || skar::xml::attribute(fixed, "value") == "Yes";
    squatPercFactor = 100.0;
    heavePercAmplitude = 100.0;
    mruAlignGyro = 0;
    mruAlignRoll = 0;
    skar::vessel::loadFields(*this, element, Table::ofSweep);
    return 0;
}

long SKARTransducerConfig::store(xmlNode* parent) const {
    xmlNode* element = skar::xml::newChild(parent, "Transducer");
    if (element == nullptr) return -1;
    skar::xml::setAttribute(element, "Number", signedText(transducerNumber));
    if (startBeam != 0) skar::xml::setAttribute(element, "StartBeam", signedText(startBeam));
    if (model) skar::xml::setAttribute(element, "Model", skar::xml::utf8Of(model->c_str()));
    skar::vessel::storeFields(*this, element, Table::names);
    const skar::vessel::Text sensorClass = skar::vessel::textOfChild(parent->parent, "SensorClass");
    if (skar::vessel::equalsIgnoringCase(skar::vessel::textOf(sensorClass), sweep)) {
        skar::vessel::storeFields(*this, element, Table::fixed);
        skar::vessel::storeFields(*this, element, Table::ofSweep);
    }
    skar::vessel::storeFields(*this, element, Table::mounting);
    return 0;
}

long SKARTransducerConfig::setStartBeamNum(int beam) {
    startBeam = static_cast<std::uint32_t>(beam);
    return 0;
}

long SKARTransducerConfig::setLatency(double seconds) {
    latency = seconds;
    return 0;
}

long SKARTransducerConfig::getPositionOffset(double& xOffset, double& yOffset, double& zOffset) const {
    xOffset = x;
    yOffset = y;
    zOffset = z;
    return 0;
}

long SKARTransducerConfig::setPositionOffset(double xOffset, double yOffset, double zOffset) {
    x = xOffset;
    y = yOffset;
    z = zOffset;
    return 0;
}

long SKARTransducerConfig::getMountAngle(double& pitchAngle, double& rollAngle, double& azimuthAngle) const {
    pitchAngle = pitch;
    rollAngle = roll;
    azimuthAngle = azimuth;
    return 0;
}

long SKARTransducerConfig::setMountAngle(double pitchAngle, double rollAngle, double azimuthAngle) {
    pitch = pitchAngle;
    roll = rollAngle;
    azimuth = azimuthAngle;
    return 0;
}

long SKARTransducerConfig::getSweepTPEParameters(bool& fixed, double& alignGyro, double& alignRoll,
                                                 double& squatPercent, double& heavePercent) const {
    fixed = transducerFixed;
    alignGyro = mruAlignGyro;
    alignRoll = mruAlignRoll;
    squatPercent = squatPercFactor;
    heavePercent = heavePercAmplitude;
    return 0;
}

long SKARTransducerConfig::setSweepTPEParameters(bool fixed, double alignGyro, double alignRoll,
                                                 double squatPercent, double heavePercent) {
    transducerFixed = fixed;
    mruAlignGyro = alignGyro;
    mruAlignRoll = alignRoll;
    squatPercFactor = squatPercent;
    heavePercAmplitude = heavePercent;
    return 0;
}

void SKARTransducerConfig::setModel(const wchar_t* text) {
    model = skar::vessel::withoutQuotes(text);
}

void SKARTransducerConfig::setManufacturer(const wchar_t* text) {
    manufacturer = skar::vessel::withoutQuotes(text);
}

void SKARTransducerConfig::setSerialNumber(const wchar_t* text) {
    serialNumber = skar::vessel::withoutQuotes(text);
}

struct SKARDepthConfig::Table {
    static bool ofSweep(const SKARDepthConfig& entry) { return entry.isSweep(); }

    static constexpr Field<SKARDepthConfig> fields[] = {
        {"SensorClass", "value", &SKARDepthConfig::sensorClass},
        {"TPENavigationToBoomOffset", "X", &SKARDepthConfig::navToBoomX, nullptr, ofSweep},
        {"TPENavigationToBoomOffset", "Y", &SKARDepthConfig::navToBoomY, nullptr, ofSweep},
        {"TPENavigationToBoomOffset", "Z", &SKARDepthConfig::navToBoomZ, nullptr, ofSweep},
        {"TPEMRUToBoomOffset", "X", &SKARDepthConfig::mruToBoomX, nullptr, ofSweep},
        {"TPEMRUToBoomOffset", "Y", &SKARDepthConfig::mruToBoomY, nullptr, ofSweep},
        {"TPEMRUToBoomOffset", "Z", &SKARDepthConfig::mruToBoomZ, nullptr, ofSweep},
    };
};

SKARDepthConfig::SKARDepthConfig(double time, const wchar_t* classText, long& status)
    : SKARVesselSensorConfig(L"DepthSensor", time) {
    status = setSensorClass(classText);
}

SKARDepthConfig::~SKARDepthConfig() = default;

bool SKARDepthConfig::isSweep() const {
    return skar::vessel::equalsIgnoringCase(getSensorClass(), sweep);
}

long SKARDepthConfig::load(xmlNode* entry) {
    if (const long result = SKARVesselSensorConfig::load(entry); result != 0) return result;
    if (skar::xml::child(entry, "TPENavigationToBoomOffset") == nullptr) setNavigationToBoomOffset(0, 0, 0);
    if (skar::xml::child(entry, "TPEMRUToBoomOffset") == nullptr) setMRUToBoomOffset(0, 0, 0);
    skar::vessel::loadFields(*this, entry, Table::fields);
    xmlNode* list = skar::xml::child(entry, "TransducerEntries");
    for (xmlNode* each = list == nullptr ? nullptr : list->children; each != nullptr; each = each->next) {
        long status = 0;
        const SKARTransducerConfig transducer(each, status);
        if (status != 0) return status;
        addTransducer(transducer);
    }
    return 0;
}

long SKARDepthConfig::store(xmlNode* parentList) {
    if (const long result = SKARVesselSensorConfig::store(parentList); result != 0) return result;
    skar::vessel::storeFields(*this, getElement(), Table::fields);
    xmlNode* list = skar::xml::childOrNew(getElement(), "TransducerEntries");
    skar::xml::deleteChildren(list, "Transducer");
    for (const SKARTransducerConfig& each : transducers) {
        if (const long result = each.store(list); result != 0) return result;
    }
    return 0;
}

long SKARDepthConfig::setSensorClass(const wchar_t* text) {
    const skar::vessel::Text given = skar::vessel::copyOf(text);
    if (given != swath && given != sweep) return codes::sensorClassUnknown;
    sensorClass = given;
    return 0;
}

const SKARTransducerConfig* SKARDepthConfig::getTransducer(std::uint32_t number, long& status) const {
    status = 0;
    const auto found = byNumber.find(number);
    return found == byNumber.end() ? nullptr : found->second;
}

long SKARDepthConfig::addTransducer(const SKARTransducerConfig& transducer) {
    SKARTransducerConfig*& place = byNumber[transducer.getTransducerNumber()];
    if (place == nullptr) {
        place = &transducers.append(transducer);
    } else {
        *place = transducer;
    }
    return 0;
}

long SKARDepthConfig::removeTransducer(std::uint32_t number) {
    if (byNumber.erase(number) == 0) return 0;
    transducers.removeIf(
        [number](const SKARTransducerConfig& each) { return each.getTransducerNumber() == number; });
    return 0;
}

long SKARDepthConfig::getNavigationToBoomOffset(double& xOffset, double& yOffset, double& zOffset) const {
    xOffset = navToBoomX;
    yOffset = navToBoomY;
    zOffset = navToBoomZ;
    return 0;
}

long SKARDepthConfig::setNavigationToBoomOffset(double xOffset, double yOffset, double zOffset) {
    navToBoomX = xOffset;
    navToBoomY = yOffset;
    navToBoomZ = zOffset;
    return 0;
}

long SKARDepthConfig::getMRUToBoomOffset(double& xOffset, double& yOffset, double& zOffset) const {
    xOffset = mruToBoomX;
    yOffset = mruToBoomY;
    zOffset = mruToBoomZ;
    return 0;
}

long SKARDepthConfig::setMRUToBoomOffset(double xOffset, double yOffset, double zOffset) {
    mruToBoomX = xOffset;
    mruToBoomY = yOffset;
    mruToBoomZ = zOffset;
    return 0;
}
