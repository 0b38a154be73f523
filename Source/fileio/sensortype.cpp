#include "fileio/sensortype.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace skar::fileio {
namespace {

using Id = SKAR::IO::SensorType::ID;

constexpr SensorRow sensor(Id id, const wchar_t* name) {
    return {id, name, 1, name, id, false};
}

constexpr SensorRow sideScan(Id id, bool hasTrace) {
    return {id, L"SideScan", 1, L"SideScan", id, hasTrace};
}

// A file set that is written beside the one it is to replace, and validates as that one.
constexpr SensorRow replacement(Id id, const wchar_t* name, std::uint32_t version, Id replaced) {
    return {id, name, version, name, replaced, false};
}

constexpr SensorRow attributes(Id id, const wchar_t* name, std::uint32_t version) {
    return {id, name, version, nullptr, id, false};
}

constexpr SensorRow sensorRows[] = {
    sensor(Id::ProcessedDepths, L"ProcessedDepths"),
    sensor(Id::Gyro, L"Gyro"),
    sensor(Id::Heave, L"Heave"),
    sensor(Id::Navigation, L"Navigation"),
    sensor(Id::ObservedDepths, L"ObservedDepths"),
    sensor(Id::Pitch, L"Pitch"),
    sensor(Id::Roll, L"Roll"),
    sensor(Id::Tide, L"Tide"),
    sideScan(Id::SideScanEM100, true),
    sideScan(Id::SideScanEM1000, true),
    sensor(Id::SSSGyro, L"SSSGyro"),
    sensor(Id::SSSNavigation, L"SSSNavigation"),
    sensor(Id::SSSSideScan, L"SSSSideScan"),
    sensor(Id::SSSProcessedSideScan, L"SSSProcessedSideScan"),
    sideScan(Id::SideScanELAC, false),
    sensor(Id::SLRange, L"SLRange"),
    sensor(Id::EventMark, L"EventMark"),
    sensor(Id::SSSCableOut, L"SSSCableOut"),
    sensor(Id::SSSSensorHeight, L"SSSSensorHeight"),
    sensor(Id::SSSSensorDepth, L"SSSSensorDepth"),
    sensor(Id::DeltaDraft, L"DeltaDraft"),
    sensor(Id::SOW, L"SOW"),
    sensor(Id::GPSHeight, L"GPSHeight"),
    sensor(Id::GPSTide, L"GPSTide"),
    sensor(Id::TPE, L"TPE"),
    replacement(Id::ObservedDepthsNew, L"ObservedDepthsNew", 1, Id::ObservedDepths),
    sensor(Id::SSP, L"SSP"),
    sensor(Id::TrueHeave, L"TrueHeave"),
    sensor(Id::SensorParameters, L"SensorParameters"),
    attributes(Id::RMS, L"RMS", 1),
    attributes(Id::TideError, L"TideError", 1),
    attributes(Id::SonarError, L"SonarError", 1),
    attributes(Id::RawDataIndex, L"RawDataIndex", 2),
    attributes(Id::WCDRawDataIndex, L"WCDRawDataIndex", 2),
    attributes(Id::TrueHeaveRMS, L"TrueHeaveRMS", 2),
    replacement(Id::NavigationNew, L"NavigationNew", 2, Id::Navigation),
    {Id::NewSSSProcessedSideScan, L"", 0, L"NewSSSProcessedSideScan", Id::SSSProcessedSideScan, false},
};
static_assert(std::ranges::is_sorted(sensorRows, {}, &SensorRow::id));

} // namespace

const SensorRow* sensorRow(std::uint32_t id) noexcept {
    const SensorRow* row = std::ranges::lower_bound(sensorRows, id, {}, &SensorRow::id);
    return row != std::end(sensorRows) && row->id == id ? row : nullptr;
}

const wchar_t* fileNameOf(std::uint32_t id) noexcept {
    const SensorRow* row = sensorRow(id);
    return row == nullptr ? nullptr : row->fileName;
}

std::uint32_t storedTypeOf(std::uint32_t id) noexcept {
    const SensorRow* row = sensorRow(id);
    return row == nullptr ? id : row->storedType;
}

} // namespace skar::fileio

namespace SKAR::IO {

SensorType::~SensorType() = default;

std::string SensorType::getName() const {
    const auto* row = skar::fileio::sensorRow(id);
    const std::wstring_view name = row == nullptr ? std::wstring_view() : row->name;
    std::string narrow;
    std::ranges::transform(name, std::back_inserter(narrow), [](wchar_t c) { return static_cast<char>(c); });
    return narrow;
}

unsigned int SensorType::getVersion() const {
    const auto* row = skar::fileio::sensorRow(id);
    return row == nullptr ? 0 : row->version;
}

} // namespace SKAR::IO
