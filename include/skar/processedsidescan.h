#ifndef SKAR_PROCESSEDSIDESCAN_H
#define SKAR_PROCESSEDSIDESCAN_H

#include <skar/sensor.h>

/* Side scan imagery after its processing: one record per ping with the port and the starboard samples. Pings
   count from 1. The file may stand beside a scratch form of the same records; putting the one in the place of
   the other is the caller's.

   Times are seconds, kept to a millisecond. Bit 30 of a ping's status says how wide its samples are: set, two
   bytes each, clear, one. Samples are raw bytes, in the byte order of the writer's memory. Parameters 3, 4
   and 5 are the caller's. Sample counts are at most 65535 a side, and no ping is shortened.

   Codes: 5002312 null handle, 5002313 another sensor's handle, 5002318 wrong access type, 5002319 no such
   ping, 5002317 no such segment, 5002308 not in the time index, 5002315 positioning, 5002321 decoding,
   5002322 a time or a count that no coding can hold, 5002323 no room in the time index, 5002324 and 5002325
   write and read, 5002327 a fault of an update, -1 a null argument that is needed. */

/* Opens the processed side scan of a line, or its scratch form: "create", "query" or "update". The caller
   ends it with SSSProcClose. Null on failure: the code (5000020 to 5000046, 5002301 to 5002325) is in *code,
   which may be null. */
SKAR_EXPORT _TELD_Sensor* SSSProcOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code);
SKAR_EXPORT _TELD_Sensor* SSSProcScratchOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                                long* code);
/* Ends the handle. In create mode writes the summary (5002305), the LineSegments (5002302) and the TmIdx
   (5002314) files, or removes the file when no ping was written. The first failure's code; the handle is gone
   all the same. */
SKAR_EXPORT int SSSProcClose(_TELD_Sensor* sensor);

/* Counts, time extents, the version and the status given at the end of writing; each output may be null. */
SKAR_EXPORT int SSSProcSummary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numPings,
                               double* minTime, double* maxTime, uint32_t* version, uint32_t* status);
/* A segment, counted in pings; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int SSSProcLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                                   uint32_t* firstPing, uint32_t* lastPing, double* minTime, double* maxTime,
                                   uint32_t* status);

/* Writing (create), in this order: summary, per segment its pings. A buffer whose count is 0 may be null. */
SKAR_EXPORT int SSSProcBgnSeqWriteSummary(_TELD_Sensor* sensor);
SKAR_EXPORT int SSSProcBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int SSSProcWriteProfile(_TELD_Sensor* sensor, uint32_t status, double time, uint16_t parameter3,
                                    uint16_t parameter4, uint32_t parameter5, uint32_t portCount,
                                    uint32_t starboardCount, const void* port, const void* starboard);
SKAR_EXPORT int SSSProcEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
/* The version goes into the summary and the heads of all three files. */
SKAR_EXPORT int SSSProcEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t version, uint32_t status);

/* Reads a ping (query); each output may be null. The sample arrays belong to the handle and stay as they are
   until its next read. */
SKAR_EXPORT int SSSProcReadProfile(_TELD_Sensor* sensor, uint32_t ping, uint32_t* status, double* time,
                                   uint16_t* parameter3, uint16_t* parameter4, uint32_t* parameter5,
                                   uint32_t* portCount, uint32_t* starboardCount, void** port,
                                   void** starboard);

/* Statuses of the summary and of a segment (the latter in update mode only). They reach the disk when the
   summary and the segments do: a file that is open for update has no way to save the first, and saves the
   second with SSSProcSetSourceFileName. */
SKAR_EXPORT int SSSProcSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SSSProcSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
/* Gives every segment that source file name and rewrites the LineSegments file (update). 5002330 for a null
   name, 5002302 when the file could not be written. */
SKAR_EXPORT int SSSProcSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name);

/* Changes the status of a ping in place (update). One whose bit 30 is not that of the ping makes its samples
   read wrong. */
SKAR_EXPORT int SSSProcUpdateStatus(_TELD_Sensor* sensor, uint32_t ping, uint32_t status);
/* Replaces status and samples of a ping in place (update). The counts of the ping stay: `portCount` must be
   the stored one (5002327, nothing is written), and `starboard` has as many samples as the ping. Bit 30 of
   the new status says how wide the samples are that are given; wider ones than the ping's run into the next
   ping, or are refused with 5002327 where the file ends. */
SKAR_EXPORT int SSSProcUpdateProfile(_TELD_Sensor* sensor, uint32_t ping, uint32_t status, uint32_t portCount,
                                     const void* port, const void* starboard);

/* Removes the file set of a line, not its scratch form; 0. */
SKAR_EXPORT int SSSProcRemoveDir(const wchar_t* linePath);

#endif
