#ifndef SKAR_NAVIGATION_H
#define SKAR_NAVIGATION_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <iosfwd>
#endif

/* Tracks: of the ship (Navigation), of the towfish (SSSNavigation), and a reprocessed one (NavigationNew), whose handle
   serves the Navigation functions.

   Times are seconds, kept in milliseconds. Latitudes and longitudes are kept in steps of positionScale * 1e-9 (1e-9) around
   a reference in steps of 1e-7 that the first record sets, within +-2.147 of it: radians. The auxiliary value is kept in
   steps of 0.001 and saturates beyond +-2 000 000.

   Codes: 5000112 null handle, 5000113 another sensor's handle, 5000118 wrong access type, 5000119 record out of range,
   5000117 no such segment, 5000122 a value that no coding can hold, 5000124 and 5000125 write and read, -1 null
   argument that is needed. */

#define SKAR_NAVIGATION_FUNCTIONS(Family)                                                                          \
    SKAR_EXPORT _TELD_Sensor* Family##OpenDir(const wchar_t* linePath, const wchar_t* accessToken, uint32_t* code);\
    /* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */                \
    SKAR_EXPORT int Family##Close(_TELD_Sensor* sensor);                                                           \
    /* Counts and extents; each output may be null. */                                                             \
    SKAR_EXPORT int Family##Summary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numRecords,         \
                                    uint32_t* coordinateType, double* minTime, double* maxTime, double* minLat,    \
                                    double* maxLat, double* minLong, double* maxLong, uint32_t* status);           \
    /* A segment; *name is the caller's, to be freed with SKARIO_free. Name and status must be given. */           \
    SKAR_EXPORT int Family##LineSegment(_TELD_Sensor* sensor, uint32_t segmentNumber, wchar_t** name,              \
                                        uint32_t* beginIndex, uint32_t* endIndex, double* minTime,                 \
                                        double* maxTime, double* minLat, double* maxLat, double* minLong,          \
                                        double* maxLong, uint32_t* status);                                        \
    /* The record of that number (query, update). */                                                               \
    SKAR_EXPORT int Family##Read(_TELD_Sensor* sensor, uint32_t recordNumber, double* time, double* latitude,      \
                                 double* longitude, double* auxiliary, uint32_t* status);                          \
    /* The record at the present position of the file (query). */                                                  \
    SKAR_EXPORT int Family##ReadSeq(_TELD_Sensor* sensor, double* time, double* latitude, double* longitude,       \
                                    double* auxiliary, uint32_t* status);                                          \
    /* Writing (create). The coordinate type is 1 unless given here. */                                            \
    SKAR_EXPORT int Family##BgnSeqWriteSummary(_TELD_Sensor* sensor, uint32_t coordinateType);                     \
    SKAR_EXPORT int Family##BgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);           \
    SKAR_EXPORT int Family##SeqWrite(_TELD_Sensor* sensor, double time, double latitude, double longitude,         \
                                     double auxiliary, uint32_t status);                                           \
    SKAR_EXPORT int Family##EndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);                         \
    SKAR_EXPORT int Family##EndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);                             \
    /* Statuses; those of records and segments need update mode and reach the disk by SaveStatusToDisk only. */    \
    SKAR_EXPORT int Family##SetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);                               \
    SKAR_EXPORT int Family##SetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segmentNumber, uint32_t status);   \
    SKAR_EXPORT int Family##GetRecordStatus(_TELD_Sensor* sensor, uint32_t recordNumber, uint32_t* status);        \
    SKAR_EXPORT int Family##SetRecordStatus(_TELD_Sensor* sensor, uint32_t recordNumber, uint32_t status);         \
    SKAR_EXPORT int Family##SaveStatusToDisk(_TELD_Sensor* sensor);                                                \
    /* Gives every segment that source file name and rewrites the LineSegments file (update). Its codes are those of */ \
    /* the observed depths: 5000212, 5000213, 5000218, 5000235 for a null name, 5000202. */                        \
    SKAR_EXPORT int Family##SetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name);                          \
    /* Removes the files of the track. 0, or 5000009. */                                                           \
    SKAR_EXPORT int Family##RemoveDir(const wchar_t* linePath);

SKAR_NAVIGATION_FUNCTIONS(Navigation)
SKAR_NAVIGATION_FUNCTIONS(SSSNavigation)

SKAR_EXPORT _TELD_Sensor* NavigationNewOpenDir(const wchar_t* linePath, const wchar_t* accessToken, uint32_t* code);
/* Puts the NavigationNew files in the place of the Navigation files, which are removed first. 0; a rename that fails
   throws SKAR::NavigationIOError with 5000139, and what was done stays done. */
SKAR_EXPORT int NavigationNewRestoreBackupDir(const wchar_t* linePath);

#ifdef __cplusplus
namespace SKAR::IO::Navigation {

struct Record {
    double time = 0.0; /* seconds */
    std::uint32_t status = 0;
    double latitude = 0.0;  /* radians, north positive */
    double longitude = 0.0; /* radians, east positive */
    double auxiliaryValue = 0.0;

    bool operator==(const Record&) const = default;
    Record& operator=(const Record&) = default;
    Record(const Record&) = default;
    Record() = default;
};
/* Time, latitude, longitude, auxiliary value, status. */
SKAR_API std::ostream& operator<<(std::ostream& stream, const Record& record);

/* Reads the record at the present position of the file (query mode only). Throws ReadError. */
SKAR_API void ReadNext(_TELD_Sensor& sensor, Record& record);

} // namespace SKAR::IO::Navigation
#endif
#endif
