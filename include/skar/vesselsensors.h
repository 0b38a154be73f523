#pragma once

#include <skar/vessel.h>

#include <unordered_map>

// The kinds of entries of a vessel file. Offsets are metres in the vessel's frame, angles degrees, latencies
// seconds, percentages 0 to 100; nothing is checked against limits. New entries hold zeros, no texts and
// false. Constructors take the time stamp and set the status. Setters return 0 where nothing else is said.

namespace skar::vessel {

using Text = std::optional<std::wstring>;
inline const wchar_t* textOf(const Text& text) noexcept {
    return text ? text->c_str() : nullptr;
}

// What several kinds have in common.
class SKAR_API Equipment {
public:
    struct Table;
    const wchar_t* getManufacturer() const noexcept { return textOf(manufacturer); }
    const wchar_t* getModel() const noexcept { return textOf(model); }
    const wchar_t* getSerialNumber() const noexcept { return textOf(serialNumber); }
    // Copies without the double quotes around the text; null clears it.
    long setManufacturer(const wchar_t* text);
    long setModel(const wchar_t* text);
    long setSerialNumber(const wchar_t* text);

private:
    Text manufacturer;
    Text model;
    Text serialNumber;
};

class SKAR_API Ellipse {
public:
    struct Table;
    const wchar_t* getEllipseName() const noexcept { return textOf(ellipseName); }
    // -1 for null, and the name stays.
    long setEllipseName(const wchar_t* text);

private:
    Text ellipseName;
};

class SKAR_API Latency {
public:
    struct Table;
    double getLatency() const noexcept { return latency; }
    long setLatency(double seconds);

private:
    double latency = 0;
};

class SKAR_API ApplyFlag {
public:
    struct Table;
    bool getApplyFlag() const noexcept { return applyFlag; }
    long setApplyFlag(bool flag);

private:
    bool applyFlag = false;
};

class SKAR_API Position {
public:
    struct Table;
    long getPositionOffsets(double& xOffset, double& yOffset, double& zOffset) const;
    long setPositionOffsets(double xOffset, double yOffset, double zOffset);

private:
    double x = 0;
    double y = 0;
    double z = 0;
};

class SKAR_API HeaveOffset {
public:
    struct Table;
    double getHeaveOffset() const noexcept { return heaveOffset; }
    long setHeaveOffset(double offset);

private:
    double heaveOffset = 0;
};

class SKAR_API PitchOffset {
public:
    struct Table;
    double getPitchOffset() const noexcept { return pitchOffset; }
    long setPitchOffset(double offset);

private:
    double pitchOffset = 0;
};

class SKAR_API RollOffset {
public:
    struct Table;
    double getRollOffset() const noexcept { return rollOffset; }
    long setRollOffset(double offset);

private:
    double rollOffset = 0;
};

} // namespace skar::vessel

// A row of the table of gyro offsets.
struct SKARGyroOffset {
    double offset = 0;
    double azimuth = 0;
};

namespace skar::vessel {

class SKAR_API GyroTable {
public:
    struct Table;
    // The offset at an azimuth, linear between the rows; 0 outside 0 to 360. Beyond the last row and before
    // the first the line starts from the first row's offset, so the curve jumps at the last row.
    double getGyroOffset(double azimuth) const;
    // Sets the offset of the row at exactly this azimuth, or adds one. A row that comes between others leaves
    // all rows behind it as copies of the one whose place it took.
    long setGyroOffset(double azimuth, double offset);
    const MORVAArray<SKARGyroOffset>& getAllGyroOffsets() const noexcept { return rows; }
    // Empties the table.
    long resizeGyroTable();

protected:
    MORVAArray<SKARGyroOffset> rows;
};

} // namespace skar::vessel

class SKAR_API SKARNavConfig : public SKARVesselSensorConfig,
                               public skar::vessel::Equipment,
                               public skar::vessel::Ellipse,
                               public skar::vessel::Latency,
                               public skar::vessel::Position {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARNavConfig(double time, long& status);
    ~SKARNavConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARSideScanNavConfig : public SKARVesselSensorConfig,
                                       public skar::vessel::Equipment,
                                       public skar::vessel::Ellipse,
                                       public skar::vessel::Latency,
                                       public skar::vessel::Position {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARSideScanNavConfig(double time, long& status);
    ~SKARSideScanNavConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARGyroConfig : public SKARVesselSensorConfig,
                                public skar::vessel::Equipment,
                                public skar::vessel::Latency,
                                public skar::vessel::ApplyFlag,
                                public skar::vessel::GyroTable {
public:
    using skar::vessel::GyroTable::setGyroOffset;
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARGyroConfig(double time, long& status);
    ~SKARGyroConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    // Gives every row this offset; an empty table gets a row at azimuth 0.
    long setGyroOffset(double offset);
};

// Storing adds the rows of the table to those that the file has.
class SKAR_API SKARSideScanGyroConfig : public SKARVesselSensorConfig,
                                        public skar::vessel::Equipment,
                                        public skar::vessel::ApplyFlag,
                                        public skar::vessel::GyroTable {
public:
    SKARSideScanGyroConfig(double time, long& status);
    ~SKARSideScanGyroConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    double getGyroError() const noexcept { return gyroError; }
    long setGyroError(double error);

private:
    struct Table;
    double gyroError = 0;
};

class SKAR_API SKARHeaveConfig : public SKARVesselSensorConfig,
                                 public skar::vessel::Equipment,
                                 public skar::vessel::ApplyFlag,
                                 public skar::vessel::Latency,
                                 public skar::vessel::Position,
                                 public skar::vessel::HeaveOffset {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARHeaveConfig(double time, long& status);
    ~SKARHeaveConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARSideScanHeaveConfig : public SKARVesselSensorConfig,
                                         public skar::vessel::Equipment,
                                         public skar::vessel::ApplyFlag,
                                         public skar::vessel::Latency,
                                         public skar::vessel::Position,
                                         public skar::vessel::HeaveOffset {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARSideScanHeaveConfig(double time, long& status);
    ~SKARSideScanHeaveConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARPitchConfig : public SKARVesselSensorConfig,
                                 public skar::vessel::Equipment,
                                 public skar::vessel::ApplyFlag,
                                 public skar::vessel::Latency,
                                 public skar::vessel::PitchOffset {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARPitchConfig(double time, long& status);
    ~SKARPitchConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARRollConfig : public SKARVesselSensorConfig,
                                public skar::vessel::Equipment,
                                public skar::vessel::ApplyFlag,
                                public skar::vessel::Latency,
                                public skar::vessel::RollOffset {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARRollConfig(double time, long& status);
    ~SKARRollConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARSideScanPitchConfig : public SKARVesselSensorConfig,
                                         public skar::vessel::Equipment,
                                         public skar::vessel::ApplyFlag,
                                         public skar::vessel::PitchOffset {
public:
    SKARSideScanPitchConfig(double time, long& status);
    ~SKARSideScanPitchConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    double getPitchError() const noexcept { return pitchError; }
    long setPitchError(double error);

private:
    struct Table;
    double pitchError = 0;
};

class SKAR_API SKARSideScanRollConfig : public SKARVesselSensorConfig,
                                        public skar::vessel::Equipment,
                                        public skar::vessel::ApplyFlag,
                                        public skar::vessel::RollOffset {
public:
    SKARSideScanRollConfig(double time, long& status);
    ~SKARSideScanRollConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    double getRollError() const noexcept { return rollError; }
    long setRollError(double error);

private:
    struct Table;
    double rollError = 0;
};

class SKAR_API SKARSideScanConfig : public SKARVesselSensorConfig, public skar::vessel::Equipment {
public:
    SKARSideScanConfig(double time, long& status);
    ~SKARSideScanConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
};

class SKAR_API SKARTowedSSSConfig : public SKARVesselSensorConfig,
                                    public skar::vessel::Equipment,
                                    public skar::vessel::Latency {
public:
    using skar::vessel::Latency::getLatency;
    using skar::vessel::Latency::setLatency;
    SKARTowedSSSConfig(double time, long& status);
    ~SKARTowedSSSConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    long getPositionOffsets(double& xOffset, double& yOffset, double& zOffset) const;
    long setPositionOffsets(double xOffset, double yOffset, double zOffset);
    double getLaybackOffset() const noexcept { return laybackOffset; }
    long setLaybackOffset(double offset);

private:
    struct Table;
    double x = 0;
    double y = 0;
    double z = 0;
    double laybackOffset = 0;
};

class SKAR_API SKARSVPConfig : public SKARVesselSensorConfig {
public:
    SKARSVPConfig(double time, long& status);
    ~SKARSVPConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    // Set with the offsets or angles of the second head; never cleared.
    bool isDualHead() const noexcept { return dualHead; }
    long getPositionOffsets(double& xOffset, double& yOffset, double& zOffset, bool second) const;
    long setPositionOffsets(double xOffset, double yOffset, double zOffset, bool second);
    long getMountAngle(double& pitchAngle, double& rollAngle, double& azimuthAngle, bool second) const;
    long setMountAngle(double pitchAngle, double rollAngle, double azimuthAngle, bool second);

private:
    struct Table;
    bool dualHead = false;
    double x = 0, y = 0, z = 0;
    double x2 = 0, y2 = 0, z2 = 0;
    double pitch = 0, roll = 0, azimuth = 0;
    double pitch2 = 0, roll2 = 0, azimuth2 = 0;
};

class SKAR_API SKARDraftConfig : public SKARVesselSensorConfig, public skar::vessel::ApplyFlag {
public:
    struct vesselDraft {
        double speed = 0;
        double draft = 0;
    };
    SKARDraftConfig(double time, long& status);
    ~SKARDraftConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    // In the order of speed.
    const MORVASList<vesselDraft>& getDraftEntries() const noexcept { return rows; }
    std::size_t getNumEntries() const noexcept { return rows.count(); }
    bool empty() const noexcept { return rows.isEmpty(); }
    // Sets the draft of the row with exactly this speed, or adds one.
    long setDraft(double speed, double draft);
    // -1 without a row of exactly this speed.
    long removeDraft(double speed);
    // Empties the table.
    long resizeDraftTable();

private:
    struct Table;
    MORVASList<vesselDraft> rows;
};

class SKAR_API SKARWaterlineHeight : public SKARVesselSensorConfig, public skar::vessel::ApplyFlag {
public:
    SKARWaterlineHeight(double time, long& status);
    ~SKARWaterlineHeight() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;
    double getWaterLine() const noexcept { return waterLine; }
    long setWaterLine(double height);
    double getWaterlineStdDev() const noexcept { return waterlineStdDev; }
    long setWaterlineStdDev(double deviation);

private:
    struct Table;
    double waterLine = 0;
    double waterlineStdDev = 0;
};

// One transducer of a depth sensor; a value that copies with its texts.
class SKAR_API SKARTransducerConfig {
public:
    SKARTransducerConfig(std::uint32_t number, std::uint32_t firstBeam, bool unused);
    // Loads the element; the status is that of load.
    SKARTransducerConfig(xmlNode* element, long& status);
    SKARTransducerConfig(const SKARTransducerConfig& other);
    SKARTransducerConfig& operator=(const SKARTransducerConfig& other);
    ~SKARTransducerConfig();

    // -1 for null, 5100101 without a number, 5100100 for a number of 0, 5100102 for a start beam of 0;
    // numbers beyond 32 bits count as 0.
    long load(xmlNode* element);
    // Adds an element to the parent, with the fields of a sweep if the entry around it is of that class. -1
    // if none can be made.
    long store(xmlNode* parent) const;

    std::uint32_t getTransducerNumber() const noexcept { return transducerNumber; }
    std::uint32_t getStartBeam() const noexcept { return startBeam; }
    long setStartBeamNum(int beam);
    double getLatency() const noexcept { return latency; }
    long setLatency(double seconds);
    long getPositionOffset(double& xOffset, double& yOffset, double& zOffset) const;
    long setPositionOffset(double xOffset, double yOffset, double zOffset);
    long getMountAngle(double& pitchAngle, double& rollAngle, double& azimuthAngle) const;
    long setMountAngle(double pitchAngle, double rollAngle, double azimuthAngle);
    long getSweepTPEParameters(bool& fixed, double& alignGyro, double& alignRoll, double& squatPercent,
                               double& heavePercent) const;
    long setSweepTPEParameters(bool fixed, double alignGyro, double alignRoll, double squatPercent,
                               double heavePercent);
    const wchar_t* getModel() const noexcept { return skar::vessel::textOf(model); }
    const wchar_t* getManufacturer() const noexcept { return skar::vessel::textOf(manufacturer); }
    const wchar_t* getSerialNumber() const noexcept { return skar::vessel::textOf(serialNumber); }
    // Copy without the double quotes around the text; null clears it.
    void setModel(const wchar_t* text);
    void setManufacturer(const wchar_t* text);
    void setSerialNumber(const wchar_t* text);

private:
    struct Table;
    std::uint32_t transducerNumber;
    std::uint32_t startBeam;
    double x = 0, y = 0, z = 0;
    double latency = 0;
    double pitch = 0, roll = 0, azimuth = 0;
    double mruAlignGyro = 0, mruAlignRoll = 0;
    double squatPercFactor = 100.0;
    double heavePercAmplitude = 100.0;
    bool transducerFixed = true;
    skar::vessel::Text model = L"Unknown";
    skar::vessel::Text manufacturer;
    skar::vessel::Text serialNumber;
};

class SKAR_API SKARDepthConfig : public SKARVesselSensorConfig {
public:
    // The status is that of setSensorClass.
    SKARDepthConfig(double time, const wchar_t* classText, long& status);
    ~SKARDepthConfig() override;
    // Also returns the code of a transducer that cannot be loaded.
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;

    const wchar_t* getSensorClass() const noexcept { return skar::vessel::textOf(sensorClass); }
    // "Swath" or "Sweep"; 5100103 for any other text and for null.
    long setSensorClass(const wchar_t* text);
    std::size_t getNumTransducers() const noexcept { return transducers.count(); }
    // Null without a transducer of that number; the status is 0.
    const SKARTransducerConfig* getTransducer(std::uint32_t number, long& status) const;
    // Copies it, over the one of the same number if there is one.
    long addTransducer(const SKARTransducerConfig& transducer);
    long removeTransducer(std::uint32_t number);
    long getNavigationToBoomOffset(double& xOffset, double& yOffset, double& zOffset) const;
    long setNavigationToBoomOffset(double xOffset, double yOffset, double zOffset);
    long getMRUToBoomOffset(double& xOffset, double& yOffset, double& zOffset) const;
    long setMRUToBoomOffset(double xOffset, double yOffset, double zOffset);

private:
    struct Table;
    bool isSweep() const;

    skar::vessel::Text sensorClass;
    MORVASList<SKARTransducerConfig> transducers;
    std::unordered_map<std::uint32_t, SKARTransducerConfig*> byNumber;
    double navToBoomX = 0, navToBoomY = 0, navToBoomZ = 0;
    double mruToBoomX = 0, mruToBoomY = 0, mruToBoomZ = 0;
};

// What the total propagated error is computed from: offsets and standard deviations. The index of a
// transducer is 1 or 2; any other gives -1 and changes nothing.
class SKAR_API SKARTPEConfig : public SKARVesselSensorConfig {
public:
    SKARTPEConfig(double time, long& status);
    ~SKARTPEConfig() override;
    long load(xmlNode* element) override;
    long store(xmlNode* parentList) override;

    long getOffsetMRUToTrans(double& x, double& y, double& z, int index) const;
    long setOffsetMRUToTrans(double x, double y, double z, int index);
    long getOffsetNavToTrans(double& x, double& y, double& z, int index) const;
    long setOffsetNavToTrans(double x, double y, double z, int index);
    long getTransducerRollOffset(double& offset, int index) const;
    long setTransducerRollOffset(double offset, int index);

    void getMeasurementStdDev(double& x, double& y, double& z) const;
    long setMeasurementStdDev(double x, double y, double z);
    long getMRUAlignmentStdDev(double& gyroAngle, double& pitchAngle, double& rollAngle) const;
    long setMRUAlignmentStdDev(double gyroAngle, double pitchAngle, double rollAngle);
    void getHeaveStdDev(double& heaveDeviation, double& percentOfAmplitude) const;
    long setHeaveStdDev(double heaveDeviation, double percentOfAmplitude);
    double getNavigationLatency() const noexcept { return navigationLatency; }
    long setNavigationLatency(double seconds);
    double getGyroStdDev() const noexcept { return gyro; }
    long setGyroStdDev(double deviation);
    double getPitchStdDev() const noexcept { return pitch; }
    long setPitchStdDev(double deviation);
    double getRollStdDev() const noexcept { return roll; }
    long setRollStdDev(double deviation);
    double getNavigationStdDev() const noexcept { return navigation; }
    long setNavigationStdDev(double deviation);
    double getTidePredictedStdDev() const noexcept { return tidePredicted; }
    long setTidePredictedStdDev(double deviation);
    double getTideMeasuredStdDev() const noexcept { return tideMeasured; }
    long setTideMeasuredStdDev(double deviation);
    double getSoundVelocityStdDev() const noexcept { return soundVelocity; }
    long setSoundVelocityStdDev(double deviation);
    double getSurfSoundSpeedStdDev() const noexcept { return surfSoundSpeed; }
    long setSurfSoundSpeedStdDev(double deviation);
    double getPitchStablizationStdDev() const noexcept { return pitchStablization; }
    long setPitchStablizationStdDev(double deviation);
    double getVesselLoadingStdDev() const noexcept { return vesselLoading; }
    long setVesselLoadingStdDev(double deviation);
    double getDraftStdDev() const noexcept { return draft; }
    long setDraftStdDev(double deviation);
    double getDeltaDraftStdDev() const noexcept { return deltaDraft; }
    long setDeltaDraftStdDev(double deviation);
    double getSpeedOverGroundStdDev() const noexcept { return speedOverGround; }
    long setSpeedOverGroundStdDev(double deviation);
    double getNavigationTimingStdDev() const noexcept { return navigationTiming; }
    long setNavigationTimingStdDev(double deviation);
    double getTransducerTimingStdDev() const noexcept { return transducerTiming; }
    long setTransducerTimingStdDev(double deviation);
    double getGyroTimingStdDev() const noexcept { return gyroTiming; }
    long setGyroTimingStdDev(double deviation);
    double getHeaveTimingStdDev() const noexcept { return heaveTiming; }
    long setHeaveTimingStdDev(double deviation);
    double getPitchTimingStdDev() const noexcept { return pitchTiming; }
    long setPitchTimingStdDev(double deviation);
    double getRollTimingStdDev() const noexcept { return rollTiming; }
    long setRollTimingStdDev(double deviation);
    // Null if there is none; null clears it.
    const wchar_t* getStDevComment() const noexcept { return skar::vessel::textOf(stDevComment); }
    long setStDevComment(const wchar_t* text);

private:
    struct Table;
    double mruToTransX = 0, mruToTransY = 0, mruToTransZ = 0;
    double mruToTransX2 = 0, mruToTransY2 = 0, mruToTransZ2 = 0;
    double navToTransX = 0, navToTransY = 0, navToTransZ = 0;
    double navToTransX2 = 0, navToTransY2 = 0, navToTransZ2 = 0;
    double measurementX = 0, measurementY = 0, measurementZ = 0;
    double alignmentGyro = 0, alignmentPitch = 0, alignmentRoll = 0;
    double transducerRoll1 = 0, transducerRoll2 = 0;
    double heave = 0, heavePercentOfAmplitude = 0;
    double gyro = 0;
    double pitch = 0;
    double roll = 0;
    double navigation = 0;
    double tidePredicted = 0;
    double tideMeasured = 0;
    double soundVelocity = 0;
    double surfSoundSpeed = 0;
    double pitchStablization = 0;
    double vesselLoading = 0;
    double draft = 0;
    double deltaDraft = 0;
    double speedOverGround = 0;
    double navigationTiming = 0;
    double transducerTiming = 0;
    double gyroTiming = 0;
    double heaveTiming = 0;
    double pitchTiming = 0;
    double rollTiming = 0;
    double navigationLatency = 0;
    skar::vessel::Text stDevComment;
};
