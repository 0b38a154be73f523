#ifndef SKAR_SSP_H
#define SKAR_SSP_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <iosfwd>
#endif

/* The series SSP: a time, two values and a status in each record.

   A time is seconds, kept in milliseconds. A value is kept in steps of 0.1, cut and not rounded, from 0 to 6553.5; of
   one outside that range the low 16 bits of the steps remain (-1.0 reads as 6552.6). What the values mean is the
   caller's. Extents are kept of the times and of the first value, the latter in steps of 0.001.

   Codes: 5002812 null handle, 5002813 another sensor's handle, 5002818 wrong access type, 5002819 record out of range,
   5002817 no such segment, 5002822 a time or value that no coding can hold, 5002824 and 5002825 write and read, -1 null
   argument that is needed. */

SKAR_EXPORT _TELD_Sensor* SspOpenDir(const wchar_t* linePath, const wchar_t* accessToken, uint32_t* code);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */
SKAR_EXPORT int SspClose(_TELD_Sensor* sensor);
/* Counts and extents; each output may be null. */
SKAR_EXPORT int SspSummary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numRecords, double* minTime,
                           double* maxTime, double* minValue1, double* maxValue1, uint32_t* summaryStatus);
/* A segment; *sourceFileName is the caller's, to be freed with SKARIO_free. No output may be null. */
SKAR_EXPORT int SspLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName, uint32_t* beginIndex,
                               uint32_t* endIndex, double* minTime, double* maxTime, double* minValue1,
                               double* maxValue1, uint32_t* status);
/* The record of that number (query, update); in update mode with the status as last set. No output may be null. */
SKAR_EXPORT int SspRead(_TELD_Sensor* sensor, uint32_t record, double* time, double* value1, double* value2,
                        uint32_t* status);
/* The record at the present position of the file (query). No output may be null. */
SKAR_EXPORT int SspReadSeq(_TELD_Sensor* sensor, double* time, double* value1, double* value2, uint32_t* status);
/* Writing (create), in this order: summary, then per segment its records in order of time. */
SKAR_EXPORT int SspBgnSeqWriteSummary(_TELD_Sensor* sensor);
SKAR_EXPORT int SspBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int SspSeqWrite(_TELD_Sensor* sensor, double time, double value1, double value2, uint32_t status);
SKAR_EXPORT int SspEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SspEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);
/* Statuses; those of records and segments need update mode and reach the disk by SaveStatusToDisk only. */
SKAR_EXPORT int SspSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SspSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
SKAR_EXPORT int SspSetRecordStatus(_TELD_Sensor* sensor, uint32_t record, uint32_t status);
SKAR_EXPORT int SspSaveStatusToDisk(_TELD_Sensor* sensor);

#ifdef __cplusplus
namespace SKAR::IO::SSP {

struct Record {
    double time = 0.0;   /* seconds */
    double value1 = 0.0; /* 0 to 6553.5 */
    double value2 = 0.0; /* 0 to 6553.5 */
    std::uint32_t status = 0;

    bool operator==(const Record&) const = default;
    Record& operator=(const Record&) = default;
    Record(const Record&) = default;
    Record() = default;
};
/* Time, first value, second value, status. */
SKAR_API std::ostream& operator<<(std::ostream& stream, const Record& record);

/* Reads the record at the present position of the file (query mode only). Throws ReadError with the code that
   SspReadSeq returns. */
SKAR_API void ReadNext(_TELD_Sensor& sensor, Record& record);

} // namespace SKAR::IO::SSP
#endif
#endif
