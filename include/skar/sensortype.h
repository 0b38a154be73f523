#pragma once

#include <skar/export.h>

#include <cstdint>
#include <string>

namespace SKAR::IO {

// What the library knows of a kind of sensor: a read-only view of its table. An id outside the table has an
// empty name and version 0.
class SKAR_API SensorType {
public:
    enum ID : std::uint32_t {
        ProcessedDepths = 0,
        Gyro = 1,
        Heave = 2,
        Navigation = 3,
        ObservedDepths = 4,
        Pitch = 5,
        Roll = 6,
        Tide = 7,
        SideScanEM100 = 9,
        SideScanEM1000 = 10,
        SSSGyro = 11,
        SSSNavigation = 12,
        SSSSideScan = 13,
        SSSProcessedSideScan = 19,
        SideScanELAC = 20,
        SLRange = 30,
        EventMark = 32,
        SSSCableOut = 40,
        SSSSensorHeight = 41,
        SSSSensorDepth = 42,
        DeltaDraft = 45,
        SOW = 46,
        GPSHeight = 47,
        GPSTide = 48,
        TPE = 52,
        ObservedDepthsNew = 53,
        SSP = 54,
        TrueHeave = 55,
        SensorParameters = 57,
        RMS = 58,
        TideError = 59,
        SonarError = 60,
        RawDataIndex = 70,
        WCDRawDataIndex = 71,
        TrueHeaveRMS = 75,
        NavigationNew = 76,
        // Can be opened, but has no name of its own.
        NewSSSProcessedSideScan = 32787,
    };

    explicit SensorType(ID sensorId) : id(sensorId) {}
    SensorType(const SensorType&) = default;
    SensorType& operator=(const SensorType&) = default;
    virtual ~SensorType();

    ID getID() const { return id; }
    // The name, which for sensors of the store is the name of the data file in the line directory.
    std::string getName() const;
    // The current version of the sensor's file format.
    unsigned int getVersion() const;

private:
    ID id;
};

} // namespace SKAR::IO
