#ifndef SKAR_SIMPLESENSOR_H
#define SKAR_SIMPLESENSOR_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <iosfwd>
#endif

/* Series of time, value and status: heading, heave, pitch, roll, tide and the like.

   A time is seconds; it is kept in milliseconds. What a value means is the caller's: the fine sensors (Gyro, Pitch,
   Roll, SSSGyro) keep it in steps of 1e-7 within +-214.7, so radians; all others in steps of 0.001, saturating
   beyond +-2 000 000, so metres or metres per second. A status is 32 bits that this layer stores and returns.

   Codes: 5000019 null handle, 5001218 wrong access type, 5001219 record out of range, 5001217 no such segment,
   5001222 a time or value that no coding can hold, 5001224 and 5001225 write and read, -1 null argument that is needed.
   A handle of another family is not told apart. */

/* The generic functions; each family below forwards to them. valueCoding: 0 steps of 0.001, 1 steps of 1e-7; any
   other gives null and leaves *code as the open of the files left it, 0. */
SKAR_EXPORT _TELD_Sensor* SimpleSensorOpen(const wchar_t* linePath, const wchar_t* accessToken, uint32_t sensorId,
                                           uint32_t valueCoding, uint32_t* code);

#define SKAR_SIMPLE_SENSOR_FUNCTIONS(Family)                                                                       \
    /* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files first. */         \
    SKAR_EXPORT int Family##Close(_TELD_Sensor* sensor);                                                           \
    /* Counts and extents; each output may be null. */                                                             \
    SKAR_EXPORT int Family##Summary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numRecords,         \
                                    double* minTime, double* maxTime, double* minValue, double* maxValue,          \
                                    uint32_t* status);                                                             \
    /* A segment; *name is the caller's, to be freed with SKARIO_free. Name and status must be given. */           \
    SKAR_EXPORT int Family##LineSegment(_TELD_Sensor* sensor, uint32_t segmentNumber, wchar_t** name,              \
                                        uint32_t* beginIndex, uint32_t* endIndex, double* minTime,                 \
                                        double* maxTime, double* minValue, double* maxValue, uint32_t* status);    \
    /* The record of that number (query, update); the status must be given. */                                     \
    SKAR_EXPORT int Family##Read(_TELD_Sensor* sensor, uint32_t recordNumber, double* time, double* value,         \
                                 uint32_t* status);                                                                \
    /* The next record (query); each output may be null. Not to be mixed with the read by number. */               \
    SKAR_EXPORT int Family##ReadSeq(_TELD_Sensor* sensor, double* time, double* value, uint32_t* status);          \
    /* Writing (create), in this order: summary, then per segment its records in order of time. */                 \
    SKAR_EXPORT int Family##BgnSeqWriteSummary(_TELD_Sensor* sensor);                                              \
    SKAR_EXPORT int Family##BgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);           \
    SKAR_EXPORT int Family##SeqWrite(_TELD_Sensor* sensor, double time, double value, uint32_t status);            \
    SKAR_EXPORT int Family##EndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);                         \
    SKAR_EXPORT int Family##EndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);                             \
    /* Statuses; those of records and segments need update mode and reach the disk by SaveStatusToDisk only. */    \
    SKAR_EXPORT int Family##SetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);                               \
    SKAR_EXPORT int Family##SetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segmentNumber, uint32_t status);   \
    SKAR_EXPORT int Family##SetRecordStatus(_TELD_Sensor* sensor, uint32_t recordNumber, uint32_t status);         \
    SKAR_EXPORT int Family##SaveStatusToDisk(_TELD_Sensor* sensor);

#define SKAR_SIMPLE_SENSOR_FAMILY(Family)                                                                          \
    SKAR_EXPORT _TELD_Sensor* Family##OpenDir(const wchar_t* linePath, const wchar_t* accessToken, uint32_t* code);\
    SKAR_SIMPLE_SENSOR_FUNCTIONS(Family)

#define SKAR_SIMPLE_SENSOR_REMOVER(Family)                                                                         \
    /* Removes the sensor's files from a line. Always 0. */                                                        \
    SKAR_EXPORT int Family##RemoveDir(const wchar_t* linePath);

SKAR_SIMPLE_SENSOR_FUNCTIONS(SimpleSensor)

/* Every simple sensor: X(prefix, id, value coding). A remover is declared below for those that have one. */
#define SKAR_SIMPLE_SENSORS(X)                                                                                     \
    X(Gyro, 1, 1)             /* heading of the ship, radians */                                                   \
    X(Heave, 2, 0)            /* metres */                                                                         \
    X(Pitch, 5, 1)            /* radians */                                                                        \
    X(Roll, 6, 1)             /* radians */                                                                        \
    X(Tide, 7, 0)             /* metres */                                                                         \
    X(SSSGyro, 11, 1)         /* heading of the towfish, radians */                                                \
    X(SSSCableOut, 40, 0)     /* metres */                                                                         \
    X(SSSSensorHeight, 41, 0) /* metres above the sea floor */                                                     \
    X(SSSSensorDepth, 42, 0)  /* metres below the surface */                                                       \
    X(DeltaDraft, 45, 0)      /* metres */                                                                         \
    X(SOW, 46, 0)             /* speed over water */                                                               \
    X(GPSHeight, 47, 0)       /* metres */                                                                         \
    X(GPSTide, 48, 0)         /* metres */                                                                         \
    X(TrueHeave, 55, 0)       /* metres */
#define SKAR_SIMPLE_SENSORS_WITH_REMOVER(X) X(Gyro, 1) X(Heave, 2) X(Pitch, 5) X(SSSGyro, 11) X(TrueHeave, 55)

#define SKAR_DECLARE_FAMILY(Family, id, coding) SKAR_SIMPLE_SENSOR_FAMILY(Family)
#define SKAR_DECLARE_REMOVER(Family, id) SKAR_SIMPLE_SENSOR_REMOVER(Family)
SKAR_SIMPLE_SENSORS(SKAR_DECLARE_FAMILY)
SKAR_SIMPLE_SENSORS_WITH_REMOVER(SKAR_DECLARE_REMOVER)
#undef SKAR_DECLARE_FAMILY
#undef SKAR_DECLARE_REMOVER

#ifdef __cplusplus
namespace SKAR::IO::SimpleSensor {

struct Record {
    double time = 0.0;  /* seconds */
    double value = 0.0; /* unit of the sensor */
    std::uint32_t status = 0;

    Record& operator=(const Record&) = default;
    Record(const Record&) = default;
    Record() = default;
    Record(double recordTime, double recordValue, std::uint32_t recordStatus)
        : time(recordTime), value(recordValue), status(recordStatus) {}
    bool operator==(const Record&) const = default;
};
SKAR_API std::ostream& operator<<(std::ostream& stream, const Record& record);

/* Reads the record at the present position of the file (query mode only). Throws
   Morva::Exception::AssertionError holding the condition that failed. */
SKAR_API void ReadNext(_TELD_Sensor& sensor, Record& record);

} // namespace SKAR::IO::SimpleSensor
#endif
#endif
