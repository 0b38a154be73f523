#ifndef SKAR_SIDESCAN_H
#define SKAR_SIDESCAN_H

#include <skar/sensor.h>

/* The imagery of a towed side scan sonar: one record per ping, with the parameters of sonar and towfish, the
   samples of the port and the starboard side and, if wanted, a second pair of sample arrays. Pings count from
   1.

   Times are seconds, kept to a millisecond. Bit 30 of a ping's status says how wide its samples are: set, two
   bytes each, clear, one. Samples are raw bytes; two-byte samples stand in the file as they do in the
   writer's memory. The parameters that have a number and no name are the caller's: they are kept in so many
   bits as their type has, and returned as they were given. Sample counts are at most 65535 a side.

   Codes: 5002112 null handle, 5002113 another sensor's handle, 5002118 wrong access type, 5002119 no such
   ping, 5002117 no such segment, 5002108 not in the time index, 5002115 positioning, 5002121 decoding,
   5002122 a time or a count that no coding can hold, 5002123 no room in the time index, 5002124 and 5002125
   write and read, 5002127 decoding in an update, -1 a null argument that is needed. */

/* Opens the towed side scan of a line: "create", "query" or "update". The caller ends it with SSSClose. Null
   on failure: the code (5000020 to 5000046, 5002101 to 5002125) is in *code, which may be null. */
SKAR_EXPORT _TELD_Sensor* SSSOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code);
/* Ends the handle. In create mode writes the summary (5002105), the LineSegments (5002102) and the TmIdx
   (5002114) files, or removes the file when no ping was written. The first failure's code; the handle is gone
   all the same. */
SKAR_EXPORT int SSSClose(_TELD_Sensor* sensor);

/* Counts, time extents, the version and the status given at the end of writing; each output may be null. */
SKAR_EXPORT int SSSSummary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numPings,
                           double* minTime, double* maxTime, uint32_t* version, uint32_t* status);
/* A segment, counted in pings; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int SSSLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                               uint32_t* firstPing, uint32_t* lastPing, double* minTime, double* maxTime,
                               uint32_t* status);

/* Writing (create), in this order: summary, per segment its pings. */
SKAR_EXPORT int SSSBgnSeqWriteSummary(_TELD_Sensor* sensor);
SKAR_EXPORT int SSSBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
/* Writes a ping. A buffer whose count is 0 may be null. When the larger of the port and starboard counts is
   above 6000 the ping is shortened: with k that count divided by 6000, cut, both counts become count / k - 1,
   cut (0 stays 0), and the interval becomes interval / k, cut; the first samples are kept as they are. So
   12000 samples become 5999 with half the interval, and 6001 become 6000 with the same. The second counts are
   not shortened. */
SKAR_EXPORT int SSSWriteProfile(_TELD_Sensor* sensor, uint32_t status, double time, uint16_t parameter3,
                                uint16_t parameter4, uint16_t parameter5, uint16_t fishHeight,
                                uint32_t parameter7, uint16_t parameter8, int16_t parameter9,
                                uint16_t parameter10, uint32_t parameter11, uint32_t sampleInterval,
                                int16_t parameter13, uint16_t parameter14, uint32_t portCount,
                                uint32_t starboardCount, const void* port, const void* starboard,
                                uint16_t parameter19, int16_t parameter20, uint16_t parameter21,
                                uint32_t parameter22, uint32_t parameter23, uint16_t parameter24,
                                uint16_t parameter25, uint32_t secondPortCount, uint32_t secondStarboardCount,
                                const void* secondPort, const void* secondStarboard);
SKAR_EXPORT int SSSEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
/* The version goes into the summary and the heads of all three files. */
SKAR_EXPORT int SSSEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t version, uint32_t status);

/* Reads a ping (query); each output may be null. The sample arrays belong to the handle and stay as they are
   until its next read; the two second ones are null when the ping has none. */
SKAR_EXPORT int SSSReadProfile(_TELD_Sensor* sensor, uint32_t ping, uint32_t* status, double* time,
                               uint16_t* parameter3, uint16_t* parameter4, uint16_t* parameter5,
                               uint16_t* fishHeight, uint32_t* parameter7, uint16_t* parameter8,
                               int16_t* parameter9, uint16_t* parameter10, uint32_t* parameter11,
                               uint32_t* sampleInterval, int16_t* parameter13, uint16_t* parameter14,
                               uint32_t* portCount, uint32_t* starboardCount, void** port, void** starboard,
                               uint16_t* parameter19, int16_t* parameter20, uint16_t* parameter21,
                               uint32_t* parameter22, uint32_t* parameter23, uint16_t* parameter24,
                               uint16_t* parameter25, uint32_t* secondPortCount,
                               uint32_t* secondStarboardCount, void** secondPort, void** secondStarboard);
/* The same with the samples straight into the caller's buffers. A buffer must have room for the samples that
   the ping has: 131070 bytes are always enough, and a call with null buffers tells the counts. The samples of
   a null buffer are passed over. */
SKAR_EXPORT int SSSReadProfile2(_TELD_Sensor* sensor, uint32_t ping, uint32_t* status, double* time,
                                uint16_t* parameter3, uint16_t* parameter4, uint16_t* parameter5,
                                uint16_t* fishHeight, uint32_t* parameter7, uint16_t* parameter8,
                                int16_t* parameter9, uint16_t* parameter10, uint32_t* parameter11,
                                uint32_t* sampleInterval, int16_t* parameter13, uint16_t* parameter14,
                                uint32_t* portCount, uint32_t* starboardCount, void* port, void* starboard,
                                uint16_t* parameter19, int16_t* parameter20, uint16_t* parameter21,
                                uint32_t* parameter22, uint32_t* parameter23, uint16_t* parameter24,
                                uint16_t* parameter25, uint32_t* secondPortCount,
                                uint32_t* secondStarboardCount, void* secondPort, void* secondStarboard);

/* Statuses of the summary and of a segment (the latter in update mode only). They reach the disk when the
   summary and the segments do: a file that is open for update has no way to save the first, and saves the
   second with SSSSetSourceFileName. */
SKAR_EXPORT int SSSSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SSSSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
/* Gives every segment that source file name and rewrites the LineSegments file (update). 5002130 for a null
   name, 5002102 when the file could not be written. */
SKAR_EXPORT int SSSSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name);

/* Changes in place (update), on disk at once. A status whose bit 30 is not that of the ping makes its samples
   read wrong. The fish height and the interval are in the units that they were written in. */
SKAR_EXPORT int SSSUpdateStatus(_TELD_Sensor* sensor, uint32_t ping, uint32_t status);
SKAR_EXPORT int SSSUpdateFishHeight(_TELD_Sensor* sensor, uint32_t ping, unsigned short height);
SKAR_EXPORT int SSSUpdateSampleInterval(_TELD_Sensor* sensor, uint32_t ping, unsigned interval);

/* Removes the file set of a line; 0. */
SKAR_EXPORT int SSSRemoveDir(const wchar_t* linePath);

#endif
