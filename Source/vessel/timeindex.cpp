#include "vessel/fields.h"

#include <skar/codes.h>
#include <skar/vesseltmidx.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <numbers>
#include <typeinfo>

namespace codes = skar::codes;

namespace {

constexpr double radians = std::numbers::pi / 180.0;
constexpr std::size_t scratchBytes = 8000;

template <class Value>
void put(Value* out, Value value) {
    if (out != nullptr) *out = value;
}

template <class... Outputs>
void clear(Outputs*... outputs) {
    (put(outputs, Outputs{}), ...);
}

// What the code of the look-up becomes.
struct Failures {
    long none;
    long early;
};

constexpr Failures depthFailures{codes::depthNotConfigured, codes::depthNotConfigured};

// Collects what a function gives out; after a first failure for want of memory nothing more is made.
class Outputs {
public:
    void text(wchar_t** out, const wchar_t* value) {
        if (out == nullptr || value == nullptr || result_ != 0) return;
        *out = wcsdup(value);
        note(*out);
    }

    // All zero. Null where it cannot be made or is not wanted.
    template <class Value>
    Value* array(Value** out, std::size_t count) {
        if (out == nullptr || result_ != 0) return nullptr;
        *out = static_cast<Value*>(std::calloc(count, sizeof(Value)));
        note(*out);
        return *out;
    }

    void comments(wchar_t** comment, wchar_t** authorization, const SKARVesselSensorConfig& entry) {
        text(comment, entry.getComment());
        text(authorization, entry.getAuthorization());
    }

    template <class Equipped>
    void equipment(wchar_t** manufacturer, wchar_t** model, wchar_t** serialNumber, const Equipped& entry) {
        text(manufacturer, entry.getManufacturer());
        text(model, entry.getModel());
        text(serialNumber, entry.getSerialNumber());
    }

    long result() const { return result_; }

private:
    void note(const void* made) {
        if (made == nullptr) result_ = codes::outOfMemory;
    }

    long result_ = 0;
};

// Finds the entry of a class that is in force and has its fields given out. The look-up itself may be short
// of memory.
template <class Entry, class Give>
long inForce(void* vessel, double time, double* timeStamp, const Failures& failures, Give&& give) try {
    if (vessel == nullptr) return -1;
    long status = 0;
    const auto* entry = dynamic_cast<const Entry*>(
        static_cast<const SKARVessel*>(vessel)->getSensor(typeid(Entry), time, status));
    if (status == codes::vesselTooEarly) return failures.early;
    if (status == codes::vesselNoSuchSensor || (status == 0 && entry == nullptr)) return failures.none;
    if (status != 0) return status;
    put(timeStamp, entry->getTimeStamp());
    Outputs outputs;
    const long result = give(*entry, outputs);
    return result != 0 ? result : outputs.result();
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

bool isSweep(const SKARDepthConfig& entry) {
    return entry.getSensorClass() != nullptr &&
           skar::vessel::equalsIgnoringCase(entry.getSensorClass(), L"Sweep");
}

// By number, from 1 on; numbers without a transducer are passed over.
template <class Use>
void eachTransducer(const SKARDepthConfig& entry, Use&& use) {
    for (std::size_t number = 1; number <= entry.getNumTransducers(); ++number) {
        long status = 0;
        if (const auto* found = entry.getTransducer(static_cast<std::uint32_t>(number), status)) {
            use(number, *found);
        }
    }
}

template <class Value>
void putAt(Value* array, std::size_t index, Value value) {
    if (array != nullptr) array[index] = value;
}

template <class Entry>
void putPosition(double* x, double* y, double* z, const Entry& entry) {
    double offsets[3] = {};
    entry.getPositionOffsets(offsets[0], offsets[1], offsets[2]);
    put(x, offsets[0]);
    put(y, offsets[1]);
    put(z, offsets[2]);
}

// Where the values of one head go.
struct Head {
    double* x;
    double* y;
    double* z;
    double* pitch;
    double* roll;
    double* azimuth;
    double* latency;
};

void putHead(const Head& head, const SKARTransducerConfig& transducer) {
    double x = 0;
    double y = 0;
    double z = 0;
    transducer.getPositionOffset(x, y, z);
    put(head.x, x);
    put(head.y, y);
    put(head.z, z);
    transducer.getMountAngle(x, y, z);
    put(head.pitch, x * radians);
    put(head.roll, y * radians);
    put(head.azimuth, z * radians);
    put(head.latency, transducer.getLatency());
}

template <class Entry, class Offset>
long attitude(void* vessel, double time, double* timeStamp, wchar_t** manufacturer, wchar_t** model,
              wchar_t** serialNumber, double* latency, double* offset, int* applyFlag, wchar_t** comment,
              wchar_t** authorization, const Failures& failures, Offset&& degrees) {
    return inForce<Entry>(vessel, time, timeStamp, failures, [&](const Entry& entry, Outputs& outputs) {
        put(latency, entry.getLatency());
        put(offset, degrees(entry) * radians);
        put(applyFlag, static_cast<int>(entry.getApplyFlag()));
        outputs.equipment(manufacturer, model, serialNumber, entry);
        outputs.comments(comment, authorization, entry);
        return 0L;
    });
}

void clear(const Head& head) {
    clear(head.x, head.y, head.z, head.pitch, head.roll, head.azimuth, head.latency);
}

} // namespace

void* SKARGetVesselConfiguration(const wchar_t* fileName, long* status) try {
    put(status, 0L);
    if (fileName == nullptr) return nullptr;
    long result = 0;
    auto vessel = std::make_unique<SKARVessel>(fileName, result);
    put(status, result);
    const bool refused = result == codes::vesselImportUnreadable || result == codes::vesselImportNoNavigation;
    return refused ? nullptr : vessel.release();
} catch (const std::bad_alloc&) {
    put(status, static_cast<long>(codes::outOfMemory));
    return nullptr;
}

void VesselConfigFree(void* vessel) {
    delete static_cast<SKARVessel*>(vessel);
}

long VesselGyroSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** manufacturer,
                                 wchar_t** model, wchar_t** serialNumber, double* spare1, double* spare2,
                                 double* spare3, double* latency, double* gyroOffset, int* applyFlag,
                                 wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, manufacturer, model, serialNumber, spare1, spare2, spare3, latency, gyroOffset,
          applyFlag, comment, authorization);
    return attitude<SKARGyroConfig>(vessel, time, timeStamp, manufacturer, model, serialNumber, latency,
                                    gyroOffset, applyFlag, comment, authorization,
                                    {codes::gyroNotConfigured, codes::gyroTooEarly},
                                    [](const SKARGyroConfig& entry) { return entry.getGyroOffset(0.0); });
}

long VesselHeaveSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** manufacturer,
                                  wchar_t** model, wchar_t** serialNumber, double* x, double* y, double* z,
                                  double* latency, double* heaveOffset, int* applyFlag, wchar_t** comment,
                                  wchar_t** authorization) {
    clear(timeStamp, manufacturer, model, serialNumber, x, y, z, latency, heaveOffset, applyFlag, comment,
          authorization);
    return inForce<SKARHeaveConfig>(vessel, time, timeStamp,
                                    {codes::heaveNotConfigured, codes::heaveTooEarly},
                                    [&](const SKARHeaveConfig& entry, Outputs& outputs) {
                                        putPosition(x, y, z, entry);
                                        put(latency, entry.getLatency());
                                        put(heaveOffset, entry.getHeaveOffset());
                                        put(applyFlag, static_cast<int>(entry.getApplyFlag()));
                                        outputs.equipment(manufacturer, model, serialNumber, entry);
                                        outputs.comments(comment, authorization, entry);
                                        return 0L;
                                    });
}

long VesselNavigationSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** manufacturer,
                                       wchar_t** model, wchar_t** serialNumber, wchar_t** ellipseName,
                                       double* x, double* y, double* z, double* latency, wchar_t** comment,
                                       wchar_t** authorization) {
    clear(timeStamp, manufacturer, model, serialNumber, ellipseName, x, y, z, latency, comment,
          authorization);
    return inForce<SKARNavConfig>(vessel, time, timeStamp,
                                  {codes::navigationSensorNotConfigured, codes::navigationSensorTooEarly},
                                  [&](const SKARNavConfig& entry, Outputs& outputs) {
                                      putPosition(x, y, z, entry);
                                      put(latency, entry.getLatency());
                                      outputs.equipment(manufacturer, model, serialNumber, entry);
                                      outputs.text(ellipseName, entry.getEllipseName());
                                      outputs.comments(comment, authorization, entry);
                                      return 0L;
                                  });
}

long VesselPitchSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** manufacturer,
                                  wchar_t** model, wchar_t** serialNumber, double* spare1, double* spare2,
                                  double* spare3, double* latency, double* pitchOffset, int* applyFlag,
                                  wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, manufacturer, model, serialNumber, spare1, spare2, spare3, latency, pitchOffset,
          applyFlag, comment, authorization);
    return attitude<SKARPitchConfig>(vessel, time, timeStamp, manufacturer, model, serialNumber, latency,
                                     pitchOffset, applyFlag, comment, authorization,
                                     {codes::pitchNotConfigured, codes::pitchTooEarly},
                                     [](const SKARPitchConfig& entry) { return entry.getPitchOffset(); });
}

long VesselRollSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** manufacturer,
                                 wchar_t** model, wchar_t** serialNumber, double* spare1, double* spare2,
                                 double* spare3, double* latency, double* rollOffset, int* applyFlag,
                                 wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, manufacturer, model, serialNumber, spare1, spare2, spare3, latency, rollOffset,
          applyFlag, comment, authorization);
    return attitude<SKARRollConfig>(vessel, time, timeStamp, manufacturer, model, serialNumber, latency,
                                    rollOffset, applyFlag, comment, authorization,
                                    {codes::rollNotConfigured, codes::rollTooEarly},
                                    [](const SKARRollConfig& entry) { return entry.getRollOffset(); });
}

long VesselSVPTmIdxConfig(void* vessel, double time, double* timeStamp, double* x1, double* y1,
                          double* spare1, double* offsetX1, double* offsetY1, double* offsetZ1, double* x2,
                          double* y2, double* spare2, double* offsetX2, double* offsetY2, double* offsetZ2,
                          double* pitch1, double* roll1, double* azimuth1, double* pitch2, double* roll2,
                          double* azimuth2, wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, x1, y1, spare1, offsetX1, offsetY1, offsetZ1, x2, y2, spare2, offsetX2, offsetY2,
          offsetZ2, pitch1, roll1, azimuth1, pitch2, roll2, azimuth2, comment, authorization);
    struct Angles {
        double *pitch, *roll, *azimuth;
    };
    return inForce<SKARSVPConfig>(
        vessel, time, timeStamp, {codes::soundVelocityNotConfigured, codes::soundVelocityTooEarly},
        [&](const SKARSVPConfig& entry, Outputs& outputs) {
            double values[3] = {};
            entry.getPositionOffsets(values[0], values[1], values[2], false);
            put(x1, values[0]);
            put(y1, values[1]);
            put(offsetX1, values[0]);
            put(offsetY1, values[1]);
            put(offsetZ1, values[2]);
            if (entry.isDualHead()) {
                entry.getPositionOffsets(values[0], values[1], values[2], true);
                put(x2, values[0]);
                put(y2, values[1]);
                put(offsetX2, values[0]);
                put(offsetY2, values[1]);
                put(offsetZ2, values[2]);
            }
            const Angles heads[] = {{pitch1, roll1, azimuth1}, {pitch2, roll2, azimuth2}};
            for (const bool second : {false, true}) {
                entry.getMountAngle(values[0], values[1], values[2], second);
                put(heads[second].pitch, values[0] * radians);
                put(heads[second].roll, values[1] * radians);
                put(heads[second].azimuth, values[2] * radians);
            }
            outputs.comments(comment, authorization, entry);
            return 0L;
        });
}

long VesselTowedTmIdxConfig(void* vessel, double time, double* timeStamp, double* x, double* y, double* z,
                            double* latency, double* layback, wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, x, y, z, latency, layback, comment, authorization);
    return inForce<SKARTowedSSSConfig>(vessel, time, timeStamp,
                                       {codes::towedNotConfigured, codes::towedTooEarly},
                                       [&](const SKARTowedSSSConfig& entry, Outputs& outputs) {
                                           putPosition(x, y, z, entry);
                                           put(latency, entry.getLatency());
                                           put(layback, entry.getLaybackOffset());
                                           outputs.comments(comment, authorization, entry);
                                           return 0L;
                                       });
}

long VesselRPTmIdxConfig(void* vessel, double time, double* timeStamp, double* waterLine, int* applyFlag,
                         wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, waterLine, applyFlag, comment, authorization);
    return inForce<SKARWaterlineHeight>(vessel, time, timeStamp,
                                        {codes::waterlineNotConfigured, codes::waterlineTooEarly},
                                        [&](const SKARWaterlineHeight& entry, Outputs& outputs) {
                                            put(waterLine, entry.getWaterLine());
                                            put(applyFlag, static_cast<int>(entry.getApplyFlag()));
                                            outputs.comments(comment, authorization, entry);
                                            return 0L;
                                        });
}

long VesselDraftTmIdxConfig(void* vessel, double time, double* timeStamp, int* rowCount, double** speeds,
                            double** drafts, int* applyFlag, wchar_t** comment, wchar_t** authorization) {
    clear(timeStamp, rowCount, speeds, drafts, applyFlag, comment, authorization);
    return inForce<SKARDraftConfig>(
        vessel, time, timeStamp, {codes::draftNotConfigured, codes::draftTooEarly},
        [&](const SKARDraftConfig& entry, Outputs& outputs) {
            put(rowCount, static_cast<int>(entry.getNumEntries()));
            if (!entry.empty()) {
                put(applyFlag, static_cast<int>(entry.getApplyFlag()));
                double* speed = outputs.array(speeds, entry.getNumEntries() + 1);
                double* draft = outputs.array(drafts, entry.getNumEntries() + 1);
                std::size_t index = 1;
                for (const SKARDraftConfig::vesselDraft& row : entry.getDraftEntries()) {
                    putAt(speed, index, row.speed);
                    putAt(draft, index, row.draft);
                    ++index;
                }
            }
            outputs.comments(comment, authorization, entry);
            return 0L;
        });
}

long VesselDepthSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** sensorClass,
                                  int* count1, int* count2, double** sweepX, double** sweepY, double** sweepZ,
                                  double** scratch, wchar_t** manufacturer, wchar_t** model,
                                  wchar_t** serialNumber, double* x1, double* y1, double* z1, double* pitch1,
                                  double* roll1, double* azimuth1, double* latency1, double* spare1,
                                  double* x2, double* y2, double* z2, double* pitch2, double* roll2,
                                  double* azimuth2, double* latency2, double* spare2, wchar_t** comment,
                                  wchar_t** authorization) {
    const Head heads[] = {{x1, y1, z1, pitch1, roll1, azimuth1, latency1},
                          {x2, y2, z2, pitch2, roll2, azimuth2, latency2}};
    clear(timeStamp, sensorClass, count1, count2, sweepX, sweepY, sweepZ, scratch, manufacturer, model,
          serialNumber, spare1, spare2, comment, authorization);
    clear(heads[0]);
    clear(heads[1]);
    return inForce<SKARDepthConfig>(
        vessel, time, timeStamp, depthFailures, [&](const SKARDepthConfig& entry, Outputs& outputs) {
            const std::size_t count = entry.getNumTransducers();
            put(count1, static_cast<int>(count));
            put(count2, static_cast<int>(count));
            outputs.text(sensorClass, entry.getSensorClass());
            outputs.array(scratch, scratchBytes / sizeof(double));
            if (isSweep(entry)) {
                double* arrays[] = {outputs.array(sweepX, count + 1), outputs.array(sweepY, count + 1),
                                    outputs.array(sweepZ, count + 1)};
                eachTransducer(entry, [&](std::size_t number, const SKARTransducerConfig& transducer) {
                    double offsets[3] = {};
                    transducer.getPositionOffset(offsets[0], offsets[1], offsets[2]);
                    for (std::size_t axis = 0; axis < std::size(offsets); ++axis) {
                        putAt(arrays[axis], number, offsets[axis]);
                    }
                });
            } else {
                long status = 0;
                const SKARTransducerConfig* first = entry.getTransducer(1, status);
                if (status != 0) return status;
                if (first != nullptr) {
                    outputs.equipment(manufacturer, model, serialNumber, *first);
                    putHead(heads[0], *first);
                }
                const SKARTransducerConfig* second = count > 1 ? entry.getTransducer(2, status) : nullptr;
                if (second != nullptr) {
                    putHead(heads[1], *second);
                    // In 32 bits around, whatever the file says the beam is.
                    const std::uint32_t perHead = second->getStartBeam() - 1;
                    put(count2, static_cast<int>(perHead));
                    put(count1, static_cast<int>(2 * perHead));
                }
            }
            outputs.comments(comment, authorization, entry);
            return 0L;
        });
}

long VesselDepthSensorOrientationTmIdxConfig(void* vessel, double time, double* timeStamp,
                                             wchar_t** sensorClass, int* count1, int* count2, double** pitch,
                                             double** roll, double** azimuth) {
    clear(timeStamp, sensorClass, count1, count2, pitch, roll, azimuth);
    return inForce<SKARDepthConfig>(
        vessel, time, timeStamp, depthFailures, [&](const SKARDepthConfig& entry, Outputs& outputs) {
            const std::size_t count = entry.getNumTransducers();
            put(count1, static_cast<int>(count));
            put(count2, static_cast<int>(count));
            outputs.text(sensorClass, entry.getSensorClass());
            double* arrays[] = {outputs.array(pitch, count + 1), outputs.array(roll, count + 1),
                                outputs.array(azimuth, count + 1)};
            eachTransducer(entry, [&](std::size_t number, const SKARTransducerConfig& transducer) {
                double angles[3] = {};
                transducer.getMountAngle(angles[0], angles[1], angles[2]);
                for (std::size_t axis = 0; axis < std::size(angles); ++axis) {
                    putAt(arrays[axis], number, angles[axis] * radians);
                }
            });
            return 0L;
        });
}

long VesselDepthSensorLatencyTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** sensorClass,
                                         int* count1, int* count2, double* latency, double** latencies) {
    clear(timeStamp, sensorClass, count1, count2, latency, latencies);
    return inForce<SKARDepthConfig>(
        vessel, time, timeStamp, depthFailures, [&](const SKARDepthConfig& entry, Outputs& outputs) {
            const std::size_t count = entry.getNumTransducers();
            put(count1, static_cast<int>(count));
            put(count2, static_cast<int>(count));
            put(latency, entry.getLatency());
            outputs.text(sensorClass, entry.getSensorClass());
            double* array = outputs.array(latencies, count + 1);
            eachTransducer(entry, [&](std::size_t number, const SKARTransducerConfig& transducer) {
                putAt(array, number, transducer.getLatency());
            });
            return 0L;
        });
}

long VesselSweepTPETmIdxConfig(void* vessel, double time, double* timeStamp, int* count, double* navToBoomX,
                               double* navToBoomY, double* navToBoomZ, double* mruToBoomX, double* mruToBoomY,
                               double* mruToBoomZ, int** transducerFixed, double** squatPercent,
                               double** heavePercent, double** alignmentGyro, double** alignmentRoll) {
    clear(timeStamp, count, navToBoomX, navToBoomY, navToBoomZ, mruToBoomX, mruToBoomY, mruToBoomZ,
          transducerFixed, squatPercent, heavePercent, alignmentGyro, alignmentRoll);
    return inForce<SKARDepthConfig>(
        vessel, time, timeStamp, depthFailures, [&](const SKARDepthConfig& entry, Outputs& outputs) {
            if (!isSweep(entry)) {
                clear(timeStamp);
                return static_cast<long>(codes::vesselNoSuchSensor);
            }
            const std::size_t transducers = entry.getNumTransducers();
            put(count, static_cast<int>(transducers));
            double offsets[3] = {};
            entry.getNavigationToBoomOffset(offsets[0], offsets[1], offsets[2]);
            put(navToBoomX, offsets[0]);
            put(navToBoomY, offsets[1]);
            put(navToBoomZ, offsets[2]);
            entry.getMRUToBoomOffset(offsets[0], offsets[1], offsets[2]);
            put(mruToBoomX, offsets[0]);
            put(mruToBoomY, offsets[1]);
            put(mruToBoomZ, offsets[2]);
            int* fixed = outputs.array(transducerFixed, transducers + 1);
            double* squat = outputs.array(squatPercent, transducers + 1);
            double* heave = outputs.array(heavePercent, transducers + 1);
            double* gyro = outputs.array(alignmentGyro, transducers + 1);
            double* roll = outputs.array(alignmentRoll, transducers + 1);
            for (std::size_t number = 1; number <= transducers; ++number) {
                putAt(fixed, number, 1);
            }
            eachTransducer(entry, [&](std::size_t number, const SKARTransducerConfig& transducer) {
                bool isFixed = true;
                double values[4] = {};
                transducer.getSweepTPEParameters(isFixed, values[0], values[1], values[2], values[3]);
                putAt(fixed, number, static_cast<int>(isFixed));
                putAt(gyro, number, values[0] * radians);
                putAt(roll, number, values[1] * radians);
                putAt(squat, number, values[2]);
                putAt(heave, number, values[3]);
            });
            return 0L;
        });
}
