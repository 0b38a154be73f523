#include "vessel/sheet.h"

#include "linepath.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace skar::tool::vessel {

namespace {

using Entry = SKARVesselSensorConfig;

Value text(const wchar_t* wide) {
    return wide == nullptr ? Value() : Value(narrowText(wide));
}

void addPosition(Cells& cells, double x, double y, double z) {
    cells.push_back({"x", "X [m]", x});
    cells.push_back({"y", "Y [m]", y});
    cells.push_back({"z", "Z [m]", z});
}

void addAngles(Cells& cells, double pitch, double roll, double azimuth) {
    cells.push_back({"pitch", "PITCH [deg]", pitch});
    cells.push_back({"roll", "ROLL [deg]", roll});
    cells.push_back({"azimuth", "AZIMUTH [deg]", azimuth});
}

// What entries of several kinds have, in the order in which it is shown.
void addOffsets(Cells& cells, const Entry& entry) {
    double x = 0;
    double y = 0;
    double z = 0;
    if (const auto* position = dynamic_cast<const skar::vessel::Position*>(&entry)) {
        position->getPositionOffsets(x, y, z);
        addPosition(cells, x, y, z);
    }
    if (const auto* towed = dynamic_cast<const SKARTowedSSSConfig*>(&entry)) {
        towed->getPositionOffsets(x, y, z);
        addPosition(cells, x, y, z);
        cells.push_back({"layback", "LAYBACK [m]", towed->getLaybackOffset()});
    }
    if (const auto* heave = dynamic_cast<const skar::vessel::HeaveOffset*>(&entry))
        cells.push_back({"heaveOffset", "HEAVE [m]", heave->getHeaveOffset()});
    if (const auto* pitch = dynamic_cast<const skar::vessel::PitchOffset*>(&entry))
        cells.push_back({"pitchOffset", "PITCH [deg]", pitch->getPitchOffset()});
    if (const auto* roll = dynamic_cast<const skar::vessel::RollOffset*>(&entry))
        cells.push_back({"rollOffset", "ROLL [deg]", roll->getRollOffset()});
    if (const auto* pitch = dynamic_cast<const SKARSideScanPitchConfig*>(&entry))
        cells.push_back({"pitchError", "ERROR [deg]", pitch->getPitchError()});
    if (const auto* roll = dynamic_cast<const SKARSideScanRollConfig*>(&entry))
        cells.push_back({"rollError", "ERROR [deg]", roll->getRollError()});
    if (const auto* gyro = dynamic_cast<const SKARSideScanGyroConfig*>(&entry))
        cells.push_back({"gyroError", "ERROR [deg]", gyro->getGyroError()});
    if (const auto* waterline = dynamic_cast<const SKARWaterlineHeight*>(&entry)) {
        cells.push_back({"waterLine", "WATER LINE [m]", waterline->getWaterLine()});
        cells.push_back({"waterlineStdDev", "DEVIATION [m]", waterline->getWaterlineStdDev()});
    }
}

void addEquipment(Cells& cells, const Entry& entry) {
    const auto* latency = dynamic_cast<const skar::vessel::Latency*>(&entry);
    cells.push_back(
        {"latency", "LATENCY [s]", latency != nullptr ? latency->getLatency() : entry.getLatency()});
    if (const auto* apply = dynamic_cast<const skar::vessel::ApplyFlag*>(&entry))
        cells.push_back({"apply", "APPLY", apply->getApplyFlag()});
    if (const auto* ellipse = dynamic_cast<const skar::vessel::Ellipse*>(&entry))
        cells.push_back({"ellipse", "ELLIPSE", text(ellipse->getEllipseName())});
    if (const auto* equipment = dynamic_cast<const skar::vessel::Equipment*>(&entry)) {
        cells.push_back({"manufacturer", "MANUFACTURER", text(equipment->getManufacturer())});
        cells.push_back({"model", "MODEL", text(equipment->getModel())});
        cells.push_back({"serialNumber", "SERIAL", text(equipment->getSerialNumber())});
    }
    cells.push_back({"authorization", "AUTHORIZATION", text(entry.getAuthorization())});
    cells.push_back({"comment", "COMMENT", text(entry.getComment())});
}

Part gyroTable(const skar::vessel::GyroTable& gyro) {
    Part part{"offsets", "offsets by azimuth", true, {}};
    for (const SKARGyroOffset& row : gyro.getAllGyroOffsets())
        part.rows.push_back(
            {{"azimuth", "AZIMUTH [deg]", row.azimuth}, {"offset", "OFFSET [deg]", row.offset}});
    return part;
}

Part draftTable(const SKARDraftConfig& draft) {
    Part part{"drafts", "drafts by speed, in the unit of its writer", true, {}};
    for (const SKARDraftConfig::vesselDraft& row : draft.getDraftEntries())
        part.rows.push_back({{"speed", "SPEED", row.speed}, {"draft", "DRAFT [m]", row.draft}});
    return part;
}

Part heads(const SKARSVPConfig& svp) {
    Part part{"heads", "heads", true, {}};
    for (const bool second : {false, true}) {
        if (second && !svp.isDualHead()) break;
        double a = 0;
        double b = 0;
        double c = 0;
        Cells cells{{"head", "HEAD", std::int64_t{second ? 2 : 1}}};
        svp.getPositionOffsets(a, b, c, second);
        addPosition(cells, a, b, c);
        svp.getMountAngle(a, b, c, second);
        addAngles(cells, a, b, c);
        part.rows.push_back(std::move(cells));
    }
    return part;
}

Cells transducerCells(const SKARTransducerConfig& transducer, bool sweep) {
    double a = 0;
    double b = 0;
    double c = 0;
    Cells cells{{"number", "TRANSDUCER", std::int64_t{transducer.getTransducerNumber()}},
                {"startBeam", "START BEAM", std::int64_t{transducer.getStartBeam()}}};
    transducer.getPositionOffset(a, b, c);
    addPosition(cells, a, b, c);
    transducer.getMountAngle(a, b, c);
    addAngles(cells, a, b, c);
    cells.push_back({"latency", "LATENCY [s]", transducer.getLatency()});
    if (sweep) {
        bool fixed = false;
        double gyro = 0;
        double roll = 0;
        double squat = 0;
        double heave = 0;
        transducer.getSweepTPEParameters(fixed, gyro, roll, squat, heave);
        cells.push_back({"fixed", "FIXED", fixed});
        cells.push_back({"mruAlignmentGyro", "MRU GYRO [deg]", gyro});
        cells.push_back({"mruAlignmentRoll", "MRU ROLL [deg]", roll});
        cells.push_back({"squatPercentage", "SQUAT [%]", squat});
        cells.push_back({"heavePercentage", "HEAVE [%]", heave});
    }
    cells.push_back({"manufacturer", "MANUFACTURER", text(transducer.getManufacturer())});
    cells.push_back({"model", "MODEL", text(transducer.getModel())});
    cells.push_back({"serialNumber", "SERIAL", text(transducer.getSerialNumber())});
    return cells;
}

// As the library tells the classes apart: without regard to case.
bool isSweep(const SKARDepthConfig& depth) {
    std::string name = depth.getSensorClass() == nullptr ? "" : narrowText(depth.getSensorClass());
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name == "sweep";
}

void addDepth(Sheet& sheet, const SKARDepthConfig& depth, std::set<std::uint32_t> numbers) {
    const bool sweep = isSweep(depth);
    sheet.cells.push_back({"sensorClass", "CLASS", text(depth.getSensorClass())});
    const auto count = static_cast<std::uint32_t>(depth.getNumTransducers());
    sheet.cells.push_back({"transducerCount", "TRANSDUCERS", std::int64_t{count}});
    for (std::uint32_t number = 1; number <= count; ++number)
        numbers.insert(number);
    Part part{"transducers", "transducers", true, {}};
    for (const std::uint32_t number : numbers) {
        long status = 0;
        if (const SKARTransducerConfig* found = depth.getTransducer(number, status))
            part.rows.push_back(transducerCells(*found, sweep));
    }
    sheet.parts.push_back(std::move(part));
    if (!sweep) return;
    Part booms{"booms", "offsets to the boom", false, {{}}};
    double x = 0;
    double y = 0;
    double z = 0;
    depth.getNavigationToBoomOffset(x, y, z);
    booms.rows[0] = {
        {"navigationX", "NAVIGATION X [m]", x}, {"navigationY", "Y [m]", y}, {"navigationZ", "Z [m]", z}};
    depth.getMRUToBoomOffset(x, y, z);
    booms.rows[0].insert(booms.rows[0].end(),
                         {{"mruX", "MRU X [m]", x}, {"mruY", "Y [m]", y}, {"mruZ", "Z [m]", z}});
    sheet.parts.push_back(std::move(booms));
}

Part errorOffsets(const SKARTPEConfig& tpe) {
    Part part{"offsets", "offsets by transducer", true, {}};
    for (const int index : {1, 2}) {
        double mru[3] = {};
        double navigation[3] = {};
        double roll = 0;
        tpe.getOffsetMRUToTrans(mru[0], mru[1], mru[2], index);
        tpe.getOffsetNavToTrans(navigation[0], navigation[1], navigation[2], index);
        tpe.getTransducerRollOffset(roll, index);
        part.rows.push_back({{"transducer", "TRANSDUCER", std::int64_t{index}},
                             {"mruX", "FROM MRU X [m]", mru[0]},
                             {"mruY", "Y [m]", mru[1]},
                             {"mruZ", "Z [m]", mru[2]},
                             {"navigationX", "FROM NAVIGATION X [m]", navigation[0]},
                             {"navigationY", "Y [m]", navigation[1]},
                             {"navigationZ", "Z [m]", navigation[2]},
                             {"roll", "ROLL [deg]", roll}});
    }
    return part;
}

void addErrors(Sheet& sheet, const SKARTPEConfig& tpe) {
    double a = 0;
    double b = 0;
    double c = 0;
    sheet.cells.push_back({"navigationLatency", "NAVIGATION LATENCY [s]", tpe.getNavigationLatency()});
    sheet.parts.push_back(errorOffsets(tpe));
    tpe.getHeaveStdDev(a, b);
    sheet.parts.push_back(
        {"motion",
         "standard deviations of motion and position",
         false,
         {{{"gyro", "GYRO [deg]", tpe.getGyroStdDev()},
           {"heave", "HEAVE [m]", a},
           {"heavePercentOfAmplitude", "HEAVE [% of amplitude]", b},
           {"pitch", "PITCH [deg]", tpe.getPitchStdDev()},
           {"roll", "ROLL [deg]", tpe.getRollStdDev()},
           {"pitchStabilisation", "PITCH STABILISATION [deg]", tpe.getPitchStablizationStdDev()},
           {"navigation", "NAVIGATION [m]", tpe.getNavigationStdDev()}}}});
    sheet.parts.push_back({"timing",
                           "standard deviations of timing",
                           false,
                           {{{"navigation", "NAVIGATION [s]", tpe.getNavigationTimingStdDev()},
                             {"transducer", "TRANSDUCER [s]", tpe.getTransducerTimingStdDev()},
                             {"gyro", "GYRO [s]", tpe.getGyroTimingStdDev()},
                             {"heave", "HEAVE [s]", tpe.getHeaveTimingStdDev()},
                             {"pitch", "PITCH [s]", tpe.getPitchTimingStdDev()},
                             {"roll", "ROLL [s]", tpe.getRollTimingStdDev()}}}});
    Part mounting{"mounting", "standard deviations of offsets and alignment", false, {{}}};
    tpe.getMeasurementStdDev(a, b, c);
    mounting.rows[0] = {{"x", "X [m]", a}, {"y", "Y [m]", b}, {"z", "Z [m]", c}};
    tpe.getMRUAlignmentStdDev(a, b, c);
    mounting.rows[0].insert(mounting.rows[0].end(), {{"mruGyro", "MRU GYRO [deg]", a},
                                                     {"mruPitch", "MRU PITCH [deg]", b},
                                                     {"mruRoll", "MRU ROLL [deg]", c}});
    sheet.parts.push_back(std::move(mounting));
    sheet.parts.push_back({"environment",
                           "standard deviations of water and vessel",
                           false,
                           {{{"tideMeasured", "TIDE MEASURED [m]", tpe.getTideMeasuredStdDev()},
                             {"tidePredicted", "PREDICTED [m]", tpe.getTidePredictedStdDev()},
                             {"soundVelocity", "SOUND SPEED [m/s]", tpe.getSoundVelocityStdDev()},
                             {"surfaceSoundSpeed", "AT SURFACE [m/s]", tpe.getSurfSoundSpeedStdDev()},
                             {"loading", "LOADING [m]", tpe.getVesselLoadingStdDev()},
                             {"draft", "DRAFT [m]", tpe.getDraftStdDev()},
                             {"deltaDraft", "DELTA DRAFT [m]", tpe.getDeltaDraftStdDev()},
                             {"speedOverGround", "SPEED", tpe.getSpeedOverGroundStdDev()},
                             {"comment", "COMMENT", text(tpe.getStDevComment())}}}});
}

} // namespace

Sheet sheetOf(const SKARVesselSensorConfig& entry, const std::set<std::uint32_t>& numbers) {
    Sheet sheet;
    addOffsets(sheet.cells, entry);
    if (const auto* depth = dynamic_cast<const SKARDepthConfig*>(&entry)) addDepth(sheet, *depth, numbers);
    if (const auto* tpe = dynamic_cast<const SKARTPEConfig*>(&entry)) addErrors(sheet, *tpe);
    if (const auto* svp = dynamic_cast<const SKARSVPConfig*>(&entry)) sheet.parts.push_back(heads(*svp));
    if (const auto* gyro = dynamic_cast<const skar::vessel::GyroTable*>(&entry))
        sheet.parts.push_back(gyroTable(*gyro));
    if (const auto* draft = dynamic_cast<const SKARDraftConfig*>(&entry))
        sheet.parts.push_back(draftTable(*draft));
    addEquipment(sheet.cells, entry);
    return sheet;
}

std::string textOf(const Value& value) {
    if (const auto* number = std::get_if<double>(&value)) return fmt::format("{:.6g}", *number);
    if (const auto* whole = std::get_if<std::int64_t>(&value)) return fmt::to_string(*whole);
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "yes" : "no";
    if (const auto* words = std::get_if<std::string>(&value)) return printable(*words);
    return "";
}

} // namespace skar::tool::vessel
