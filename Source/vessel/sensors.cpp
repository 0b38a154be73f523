#include "vessel/fields.h"

#include <skar/vesselsensors.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>
#include <utility>
#include <vector>

using skar::vessel::ApplyFlag;
using skar::vessel::Ellipse;
using skar::vessel::Equipment;
using skar::vessel::Field;
using skar::vessel::GyroTable;
using skar::vessel::HeaveOffset;
using skar::vessel::Latency;
using skar::vessel::loadFields;
using skar::vessel::PitchOffset;
using skar::vessel::Position;
using skar::vessel::RollOffset;
using skar::vessel::storeFields;

namespace skar::vessel {

struct Equipment::Table {
    static constexpr Field<Equipment> fields[] = {
        {"Manufacturer", "value", &Equipment::manufacturer},
        {"Model", "value", &Equipment::model},
        {"SerialNumber", "value", &Equipment::serialNumber},
    };
};

struct Ellipse::Table {
    static constexpr Field<Ellipse> fields[] = {{"Ellipse", "value", &Ellipse::ellipseName}};
};

struct Latency::Table {
    static constexpr Field<Latency> fields[] = {{"Latency", "value", &Latency::latency}};
};

struct ApplyFlag::Table {
    static constexpr Field<ApplyFlag> fields[] = {{"ApplyFlag", "value", &ApplyFlag::applyFlag}};
};

struct Position::Table {
    static constexpr Field<Position> fields[] = {
        {"Offsets", "X", &Position::x},
        {"Offsets", "Y", &Position::y},
        {"Offsets", "Z", &Position::z},
    };
};

struct HeaveOffset::Table {
    static constexpr Field<HeaveOffset> fields[] = {{"Offsets", "Heave", &HeaveOffset::heaveOffset}};
};

struct PitchOffset::Table {
    static constexpr Field<PitchOffset> fields[] = {{"Offsets", "Pitch", &PitchOffset::pitchOffset}};
};

struct RollOffset::Table {
    static constexpr Field<RollOffset> fields[] = {{"Offsets", "Roll", &RollOffset::rollOffset}};
};

namespace {

// What is no number comes last: without an order among all of them qsort could go anywhere.
int compareGyroOffsetEntry(const void* left, const void* right) {
    const double first = static_cast<const SKARGyroOffset*>(left)->azimuth;
    const double second = static_cast<const SKARGyroOffset*>(right)->azimuth;
    if (std::isnan(first) || std::isnan(second))
        return static_cast<int>(std::isnan(first)) - static_cast<int>(std::isnan(second));
    return first < second ? -1 : static_cast<int>(first > second);
}

void sortByAzimuth(MORVAArray<SKARGyroOffset>& rows) {
    if (rows.count() > 1)
        std::qsort(rows.data(), rows.count(), sizeof(SKARGyroOffset), compareGyroOffsetEntry);
}

} // namespace

// The gyro of the vessel writes its rows in place of those of the file, the gyro of the side scan sonar adds
// them to those.
struct GyroTable::Table {
    static void load(GyroTable& owner, const xmlNode* entry) {
        const xmlNode* gyro = xml::child(xml::child(entry, "Offsets"), "Gyro");
        if (gyro == nullptr || gyro->children == nullptr) return;
        owner.rows.resize(0);
        for (const xmlNode* row = xml::firstElement(gyro); row != nullptr; row = xml::nextElement(row)) {
            owner.rows.append(
                {numberIn(row, "Offset").value_or(0.0), numberIn(row, "Azimuth").value_or(0.0)});
        }
        sortByAzimuth(owner.rows);
    }

    static void replace(const GyroTable& owner, xmlNode* entry) {
        xml::deleteChildren(xml::child(entry, "Offsets"), "Gyro");
        append(owner, entry);
    }

    static void append(const GyroTable& owner, xmlNode* entry) {
        if (owner.rows.isEmpty()) {
            xml::deleteChildren(xml::child(entry, "Offsets"), "Gyro");
            return;
        }
        xmlNode* gyro = xml::childOrNew(xml::childOrNew(entry, "Offsets"), "Gyro");
        for (const SKARGyroOffset& row : owner.rows) {
            if (xmlNode* place = xml::newChild(gyro, "Entry")) {
                xml::setAttribute(place, "Azimuth", row.azimuth);
                xml::setAttribute(place, "Offset", row.offset);
            }
        }
    }

    static constexpr Field<GyroTable> replaced[] = {rowsOf<GyroTable>(load, replace)};
    static constexpr Field<GyroTable> appended[] = {rowsOf<GyroTable>(load, append)};
};

long Equipment::setManufacturer(const wchar_t* text) {
    manufacturer = withoutQuotes(text);
    return 0;
}

long Equipment::setModel(const wchar_t* text) {
    model = withoutQuotes(text);
    return 0;
}

long Equipment::setSerialNumber(const wchar_t* text) {
    serialNumber = withoutQuotes(text);
    return 0;
}

long Ellipse::setEllipseName(const wchar_t* text) {
    if (text == nullptr) return -1;
    ellipseName = copyOf(text);
    return 0;
}

long Latency::setLatency(double seconds) {
    latency = seconds;
    return 0;
}

long ApplyFlag::setApplyFlag(bool flag) {
    applyFlag = flag;
    return 0;
}

long Position::getPositionOffsets(double& xOffset, double& yOffset, double& zOffset) const {
    xOffset = x;
    yOffset = y;
    zOffset = z;
    return 0;
}

long Position::setPositionOffsets(double xOffset, double yOffset, double zOffset) {
    x = xOffset;
    y = yOffset;
    z = zOffset;
    return 0;
}

long HeaveOffset::setHeaveOffset(double offset) {
    heaveOffset = offset;
    return 0;
}

long PitchOffset::setPitchOffset(double offset) {
    pitchOffset = offset;
    return 0;
}

long RollOffset::setRollOffset(double offset) {
    rollOffset = offset;
    return 0;
}

double GyroTable::getGyroOffset(double azimuth) const {
    if (!(azimuth >= 0.0 && azimuth <= 360.0) || rows.isEmpty()) return 0.0;
    const SKARGyroOffset& first = rows[0];
    const SKARGyroOffset& last = rows[rows.count() - 1];
    if (rows.count() == 1) return first.offset;
    // Both lines across north start from the first row's offset: the curve is to jump at the last row.
    const double slope = (first.offset - last.offset) / (first.azimuth + 360.0 - last.azimuth);
    if (azimuth < first.azimuth) return slope * (azimuth + 360.0 - last.azimuth) + first.offset;
    if (azimuth > last.azimuth) return slope * (azimuth - last.azimuth) + first.offset;
    const SKARGyroOffset* before = &first;
    for (const SKARGyroOffset& row : rows) {
        if (row.azimuth == azimuth) return row.offset;
        if (row.azimuth > azimuth) {
            return before->offset + (row.offset - before->offset) / (row.azimuth - before->azimuth) *
                                        (azimuth - before->azimuth);
        }
        before = &row;
    }
    return 0.0;
}

long GyroTable::setGyroOffset(double azimuth, double offset) {
    for (SKARGyroOffset& row : rows) {
        if (row.azimuth == azimuth) {
            row.offset = offset;
            return 0;
        }
    }
    for (std::size_t place = 0; place < rows.count(); ++place) {
        if (rows[place].azimuth > azimuth) {
            rows.resize(rows.count() + 1);
            // Upward, as callers know it: what lies behind the new row becomes copies of the row it
            // displaces.
            for (std::size_t behind = place + 1; behind < rows.count(); ++behind) {
                rows[behind] = rows[behind - 1];
            }
            rows[place] = {offset, azimuth};
            return 0;
        }
    }
    rows.append({offset, azimuth});
    return 0;
}

long GyroTable::resizeGyroTable() {
    rows.resize(0);
    return 0;
}

void setDrafts(SKARDraftConfig& owner, std::vector<SKARDraftConfig::vesselDraft> rows) {
    using Row = SKARDraftConfig::vesselDraft;
    std::stable_sort(rows.begin(), rows.end(), [](const Row& left, const Row& right) {
        return std::isnan(right.speed) ? !std::isnan(left.speed) : left.speed < right.speed;
    });
    for (const Row& row : rows)
        owner.setDraft(row.speed, row.draft);
}

} // namespace skar::vessel

namespace {

// The tables of the kinds that have no fields of their own, in the order of the file.
constexpr auto navFields = std::tie(Equipment::Table::fields, Ellipse::Table::fields, Latency::Table::fields,
                                    Position::Table::fields);
constexpr auto gyroFields = std::tie(Equipment::Table::fields, Latency::Table::fields,
                                     ApplyFlag::Table::fields, GyroTable::Table::replaced);
constexpr auto heaveFields =
    std::tie(Equipment::Table::fields, ApplyFlag::Table::fields, Latency::Table::fields,
             Position::Table::fields, HeaveOffset::Table::fields);
constexpr auto pitchFields = std::tie(Equipment::Table::fields, ApplyFlag::Table::fields,
                                      Latency::Table::fields, PitchOffset::Table::fields);
constexpr auto rollFields = std::tie(Equipment::Table::fields, ApplyFlag::Table::fields,
                                     Latency::Table::fields, RollOffset::Table::fields);
constexpr auto equipmentFields = std::tie(Equipment::Table::fields);

template <class Entry, class Tables>
long loadAll(Entry& entry, xmlNode* element, const Tables& tables) {
    if (const long result = entry.SKARVesselSensorConfig::load(element); result != 0) return result;
    std::apply([&](const auto&... each) { (loadFields(entry, element, each), ...); }, tables);
    return 0;
}

template <class Entry, class Tables>
long storeAll(const Entry& entry, xmlNode* element, const Tables& tables) {
    std::apply([&](const auto&... each) { (storeFields(entry, element, each), ...); }, tables);
    return 0;
}

} // namespace

SKARNavConfig::SKARNavConfig(double time, long& status) : SKARVesselSensorConfig(L"NavSensor", time) {
    status = 0;
}

SKARNavConfig::~SKARNavConfig() = default;

long SKARNavConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, navFields);
}

long SKARNavConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), navFields);
}

SKARSideScanNavConfig::SKARSideScanNavConfig(double time, long& status)
    : SKARVesselSensorConfig(L"SideScanNavSensor", time) {
    status = 0;
}

SKARSideScanNavConfig::~SKARSideScanNavConfig() = default;

long SKARSideScanNavConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, navFields);
}

long SKARSideScanNavConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), navFields);
}

SKARGyroConfig::SKARGyroConfig(double time, long& status) : SKARVesselSensorConfig(L"GyroSensor", time) {
    status = 0;
}

SKARGyroConfig::~SKARGyroConfig() = default;

long SKARGyroConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, gyroFields);
}

long SKARGyroConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), gyroFields);
}

struct SKARSideScanGyroConfig::Table {
    static constexpr Field<SKARSideScanGyroConfig> fields[] = {
        {"StdDev", "Gyro", &SKARSideScanGyroConfig::gyroError}};
    static constexpr auto all =
        std::tie(Equipment::Table::fields, ApplyFlag::Table::fields, GyroTable::Table::appended, fields);
};

SKARSideScanGyroConfig::SKARSideScanGyroConfig(double time, long& status)
    : SKARVesselSensorConfig(L"SideScanGyroSensor", time) {
    status = 0;
}

SKARSideScanGyroConfig::~SKARSideScanGyroConfig() = default;

long SKARSideScanGyroConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, Table::all);
}

long SKARSideScanGyroConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

SKARHeaveConfig::SKARHeaveConfig(double time, long& status) : SKARVesselSensorConfig(L"HeaveSensor", time) {
    status = 0;
}

SKARHeaveConfig::~SKARHeaveConfig() = default;

long SKARHeaveConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, heaveFields);
}

long SKARHeaveConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), heaveFields);
}

SKARSideScanHeaveConfig::SKARSideScanHeaveConfig(double time, long& status)
    : SKARVesselSensorConfig(L"SideScanHeaveSensor", time) {
    status = 0;
}

SKARSideScanHeaveConfig::~SKARSideScanHeaveConfig() = default;

long SKARSideScanHeaveConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, heaveFields);
}

long SKARSideScanHeaveConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), heaveFields);
}

SKARPitchConfig::SKARPitchConfig(double time, long& status) : SKARVesselSensorConfig(L"PitchSensor", time) {
    status = 0;
}

SKARPitchConfig::~SKARPitchConfig() = default;

long SKARPitchConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, pitchFields);
}

long SKARPitchConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), pitchFields);
}

SKARRollConfig::SKARRollConfig(double time, long& status) : SKARVesselSensorConfig(L"RollSensor", time) {
    status = 0;
}

SKARRollConfig::~SKARRollConfig() = default;

long SKARRollConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, rollFields);
}

long SKARRollConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), rollFields);
}

struct SKARSideScanPitchConfig::Table {
    static constexpr Field<SKARSideScanPitchConfig> fields[] = {
        {"StdDev", "Pitch", &SKARSideScanPitchConfig::pitchError}};
    static constexpr auto all =
        std::tie(Equipment::Table::fields, ApplyFlag::Table::fields, PitchOffset::Table::fields, fields);
};

SKARSideScanPitchConfig::SKARSideScanPitchConfig(double time, long& status)
    : SKARVesselSensorConfig(L"SideScanPitchSensor", time) {
    status = 0;
}

SKARSideScanPitchConfig::~SKARSideScanPitchConfig() = default;

long SKARSideScanPitchConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, Table::all);
}

long SKARSideScanPitchConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

struct SKARSideScanRollConfig::Table {
    static constexpr Field<SKARSideScanRollConfig> fields[] = {
        {"StdDev", "Roll", &SKARSideScanRollConfig::rollError}};
    static constexpr auto all =
        std::tie(Equipment::Table::fields, ApplyFlag::Table::fields, RollOffset::Table::fields, fields);
};

SKARSideScanRollConfig::SKARSideScanRollConfig(double time, long& status)
    : SKARVesselSensorConfig(L"SideScanRollSensor", time) {
    status = 0;
}

SKARSideScanRollConfig::~SKARSideScanRollConfig() = default;

long SKARSideScanRollConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, Table::all);
}

long SKARSideScanRollConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

SKARSideScanConfig::SKARSideScanConfig(double time, long& status)
    : SKARVesselSensorConfig(L"SideScanSensor", time) {
    status = 0;
}

SKARSideScanConfig::~SKARSideScanConfig() = default;

long SKARSideScanConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, equipmentFields);
}

long SKARSideScanConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), equipmentFields);
}

// Written under one spelling and looked for under another; names are compared without regard to case.
struct SKARTowedSSSConfig::Table {
    static constexpr Field<SKARTowedSSSConfig> fields[] = {
        {"Offsets", "X", &SKARTowedSSSConfig::x, nullptr, nullptr, "offsets"},
        {"Offsets", "Y", &SKARTowedSSSConfig::y, nullptr, nullptr, "offsets"},
        {"Offsets", "Z", &SKARTowedSSSConfig::z, nullptr, nullptr, "offsets"},
        {"Offsets", "Layback", &SKARTowedSSSConfig::laybackOffset, nullptr, nullptr, "offsets"},
    };
    static constexpr auto all = std::tie(Equipment::Table::fields, Latency::Table::fields, fields);
};

SKARTowedSSSConfig::SKARTowedSSSConfig(double time, long& status)
    : SKARVesselSensorConfig(L"TowedSensor", time) {
    status = 0;
}

SKARTowedSSSConfig::~SKARTowedSSSConfig() = default;

long SKARTowedSSSConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, Table::all);
}

long SKARTowedSSSConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

struct SKARSVPConfig::Table {
    static bool hasSecond(const SKARSVPConfig& entry) { return entry.dualHead; }
    static constexpr Field<SKARSVPConfig> fields[] = {
        {"DualHead", "value", &SKARSVPConfig::dualHead},
        {"Offsets", "X", &SKARSVPConfig::x},
        {"Offsets", "Y", &SKARSVPConfig::y},
        {"Offsets", "Z", &SKARSVPConfig::z},
        {"MountAngle", "Pitch", &SKARSVPConfig::pitch},
        {"MountAngle", "Roll", &SKARSVPConfig::roll},
        {"MountAngle", "Azimuth", &SKARSVPConfig::azimuth},
        {"Offsets", "X2", &SKARSVPConfig::x2, nullptr, hasSecond},
        {"Offsets", "Y2", &SKARSVPConfig::y2, nullptr, hasSecond},
        {"Offsets", "Z2", &SKARSVPConfig::z2, nullptr, hasSecond},
        {"MountAngle", "Pitch2", &SKARSVPConfig::pitch2, nullptr, hasSecond},
        {"MountAngle", "Roll2", &SKARSVPConfig::roll2, nullptr, hasSecond},
        {"MountAngle", "Azimuth2", &SKARSVPConfig::azimuth2, nullptr, hasSecond},
    };
    static constexpr auto all = std::tie(fields);
};

SKARSVPConfig::SKARSVPConfig(double time, long& status) : SKARVesselSensorConfig(L"SVPSensor", time) {
    status = 0;
}

SKARSVPConfig::~SKARSVPConfig() = default;

long SKARSVPConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, Table::all);
}

long SKARSVPConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

struct SKARDraftConfig::Table {
    static void load(SKARDraftConfig& owner, const xmlNode* entry) {
        std::vector<vesselDraft> read;
        for (const xmlNode* row = skar::xml::firstElement(skar::xml::child(entry, "DraftEntries"));
             row != nullptr; row = skar::xml::nextElement(row)) {
            const std::optional<double> speed = skar::vessel::numberIn(row, "Speed");
            const std::optional<double> draft = skar::vessel::numberIn(row, "Draft");
            if (speed && draft) read.push_back({*speed, *draft});
        }
        skar::vessel::setDrafts(owner, std::move(read));
    }

    static void store(const SKARDraftConfig& owner, xmlNode* entry) {
        xmlNode* list = skar::xml::childOrNew(entry, "DraftEntries");
        skar::xml::deleteChildren(list, "Entry");
        for (const vesselDraft& row : owner.rows) {
            if (xmlNode* place = skar::xml::newChild(list, "Entry")) {
                skar::xml::setAttribute(place, "Speed", row.speed);
                skar::xml::setAttribute(place, "Draft", row.draft);
            }
        }
    }

    static constexpr Field<SKARDraftConfig> fields[] = {skar::vessel::rowsOf<SKARDraftConfig>(load, store)};
    static constexpr auto all = std::tie(ApplyFlag::Table::fields, fields);
};

SKARDraftConfig::SKARDraftConfig(double time, long& status) : SKARVesselSensorConfig(L"DraftSensor", time) {
    status = 0;
}

SKARDraftConfig::~SKARDraftConfig() = default;

long SKARDraftConfig::load(xmlNode* entry) {
    return loadAll(*this, entry, Table::all);
}

long SKARDraftConfig::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

struct SKARWaterlineHeight::Table {
    static constexpr Field<SKARWaterlineHeight> height[] = {
        {"WaterLine", "value", &SKARWaterlineHeight::waterLine}};
    static constexpr Field<SKARWaterlineHeight> deviation[] = {
        {"StdDev", "Waterline", &SKARWaterlineHeight::waterlineStdDev}};
    static constexpr auto all = std::tie(height, ApplyFlag::Table::fields, deviation);
};

SKARWaterlineHeight::SKARWaterlineHeight(double time, long& status)
    : SKARVesselSensorConfig(L"WaterlineHeight", time) {
    status = 0;
}

SKARWaterlineHeight::~SKARWaterlineHeight() = default;

long SKARWaterlineHeight::load(xmlNode* entry) {
    waterLine = 0;
    return loadAll(*this, entry, Table::all);
}

long SKARWaterlineHeight::store(xmlNode* parentList) {
    const long result = SKARVesselSensorConfig::store(parentList);
    return result != 0 ? result : storeAll(*this, getElement(), Table::all);
}

long SKARGyroConfig::setGyroOffset(double offset) {
    for (SKARGyroOffset& row : rows) {
        row.offset = offset;
    }
    if (rows.isEmpty()) rows.append({offset, 0.0});
    return 0;
}

long SKARSideScanGyroConfig::setGyroError(double error) {
    gyroError = error;
    return 0;
}

long SKARSideScanPitchConfig::setPitchError(double error) {
    pitchError = error;
    return 0;
}

long SKARSideScanRollConfig::setRollError(double error) {
    rollError = error;
    return 0;
}

long SKARTowedSSSConfig::getPositionOffsets(double& xOffset, double& yOffset, double& zOffset) const {
    xOffset = x;
    yOffset = y;
    zOffset = z;
    return 0;
}

long SKARTowedSSSConfig::setPositionOffsets(double xOffset, double yOffset, double zOffset) {
    x = xOffset;
    y = yOffset;
    z = zOffset;
    return 0;
}

long SKARTowedSSSConfig::setLaybackOffset(double offset) {
    laybackOffset = offset;
    return 0;
}

long SKARSVPConfig::getPositionOffsets(double& xOffset, double& yOffset, double& zOffset, bool second) const {
    xOffset = second ? x2 : x;
    yOffset = second ? y2 : y;
    zOffset = second ? z2 : z;
    return 0;
}

long SKARSVPConfig::setPositionOffsets(double xOffset, double yOffset, double zOffset, bool second) {
    (second ? x2 : x) = xOffset;
    (second ? y2 : y) = yOffset;
    (second ? z2 : z) = zOffset;
    dualHead = dualHead || second;
    return 0;
}

long SKARSVPConfig::getMountAngle(double& pitchAngle, double& rollAngle, double& azimuthAngle,
                                  bool second) const {
    pitchAngle = second ? pitch2 : pitch;
    rollAngle = second ? roll2 : roll;
    azimuthAngle = second ? azimuth2 : azimuth;
    return 0;
}

long SKARSVPConfig::setMountAngle(double pitchAngle, double rollAngle, double azimuthAngle, bool second) {
    (second ? pitch2 : pitch) = pitchAngle;
    (second ? roll2 : roll) = rollAngle;
    (second ? azimuth2 : azimuth) = azimuthAngle;
    dualHead = dualHead || second;
    return 0;
}

long SKARDraftConfig::setDraft(double speed, double draft) {
    if (rows.isEmpty() || rows.last()->speed < speed || std::isnan(speed)) {
        rows.append({speed, draft});
        return 0;
    }
    if (rows.last()->speed == speed) {
        rows.last()->draft = draft;
        return 0;
    }
    for (vesselDraft& row : rows) {
        if (row.speed == speed) {
            row.draft = draft;
            return 0;
        }
    }
    rows.insertBefore([speed](const vesselDraft& row) { return row.speed > speed; }, {speed, draft});
    return 0;
}

long SKARDraftConfig::removeDraft(double speed) {
    return rows.removeIf([speed](const vesselDraft& row) { return row.speed == speed; }) > 0 ? 0 : -1;
}

long SKARDraftConfig::resizeDraftTable() {
    rows.clear();
    return 0;
}

long SKARWaterlineHeight::setWaterLine(double height) {
    waterLine = height;
    return 0;
}

long SKARWaterlineHeight::setWaterlineStdDev(double deviation) {
    waterlineStdDev = deviation;
    return 0;
}
