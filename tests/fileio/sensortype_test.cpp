#include "fileio/sensortype.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

using SKAR::IO::SensorType;
using namespace skar::fileio;

namespace {

struct Expected {
    std::uint32_t id;
    const char* name;
    unsigned version;
    const wchar_t* fileName;
    std::uint32_t storedType;
};
constexpr Expected expected[] = {
    {0, "ProcessedDepths", 1, L"ProcessedDepths", 0},
    {1, "Gyro", 1, L"Gyro", 1},
    {2, "Heave", 1, L"Heave", 2},
    {3, "Navigation", 1, L"Navigation", 3},
    {4, "ObservedDepths", 1, L"ObservedDepths", 4},
    {5, "Pitch", 1, L"Pitch", 5},
    {6, "Roll", 1, L"Roll", 6},
    {7, "Tide", 1, L"Tide", 7},
    {9, "SideScan", 1, L"SideScan", 9},
    {10, "SideScan", 1, L"SideScan", 10},
    {11, "SSSGyro", 1, L"SSSGyro", 11},
    {12, "SSSNavigation", 1, L"SSSNavigation", 12},
    {13, "SSSSideScan", 1, L"SSSSideScan", 13},
    {19, "SSSProcessedSideScan", 1, L"SSSProcessedSideScan", 19},
    {20, "SideScan", 1, L"SideScan", 20},
    {30, "SLRange", 1, L"SLRange", 30},
    {32, "EventMark", 1, L"EventMark", 32},
    {40, "SSSCableOut", 1, L"SSSCableOut", 40},
    {41, "SSSSensorHeight", 1, L"SSSSensorHeight", 41},
    {42, "SSSSensorDepth", 1, L"SSSSensorDepth", 42},
    {45, "DeltaDraft", 1, L"DeltaDraft", 45},
    {46, "SOW", 1, L"SOW", 46},
    {47, "GPSHeight", 1, L"GPSHeight", 47},
    {48, "GPSTide", 1, L"GPSTide", 48},
    {52, "TPE", 1, L"TPE", 52},
    {53, "ObservedDepthsNew", 1, L"ObservedDepthsNew", 4},
    {54, "SSP", 1, L"SSP", 54},
    {55, "TrueHeave", 1, L"TrueHeave", 55},
    {57, "SensorParameters", 1, L"SensorParameters", 57},
    {58, "RMS", 1, nullptr, 58},
    {59, "TideError", 1, nullptr, 59},
    {60, "SonarError", 1, nullptr, 60},
    {70, "RawDataIndex", 2, nullptr, 70},
    {71, "WCDRawDataIndex", 2, nullptr, 71},
    {75, "TrueHeaveRMS", 2, nullptr, 75},
    {76, "NavigationNew", 2, L"NavigationNew", 3},
    {32787, "", 0, L"NewSSSProcessedSideScan", 19},
};

TEST(SensorType, EveryKindHasItsNameVersionFileAndStoredType) {
    for (const Expected& row : expected) {
        const SensorType type(static_cast<SensorType::ID>(row.id));
        EXPECT_EQ(row.id, type.getID());
        EXPECT_EQ(row.name, type.getName()) << row.id;
        EXPECT_EQ(row.version, type.getVersion()) << row.id;
        if (row.fileName == nullptr) {
            EXPECT_EQ(nullptr, fileNameOf(row.id)) << row.id;
        } else {
            EXPECT_STREQ(row.fileName, fileNameOf(row.id)) << row.id;
        }
        EXPECT_EQ(row.storedType, storedTypeOf(row.id)) << row.id;
    }
}

TEST(SensorType, AnIdOutsideTheTableHasNoNameVersionOrFile) {
    for (std::uint32_t id = 0; id < 40000; ++id) {
        if (std::ranges::find(expected, id, &Expected::id) != std::end(expected)) {
            continue;
        }
        const SensorType type(static_cast<SensorType::ID>(id));
        ASSERT_EQ("", type.getName()) << id;
        ASSERT_EQ(0u, type.getVersion()) << id;
        ASSERT_EQ(nullptr, fileNameOf(id)) << id;
        ASSERT_EQ(nullptr, sensorRow(id)) << id;
    }
    EXPECT_EQ("", SensorType(static_cast<SensorType::ID>(0xFFFFFFFFu)).getName());
}

TEST(SensorType, OnlyTheSideScanOfIdsNineAndTenHasATraceFile) {
    for (const Expected& row : expected) {
        EXPECT_EQ(row.id == 9 || row.id == 10, sensorRow(row.id)->hasTrace) << row.id;
    }
}

} // namespace
