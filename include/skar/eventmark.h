#ifndef SKAR_EVENTMARK_H
#define SKAR_EVENTMARK_H

#include <skar/sensor.h>

/* The event marks of a line: numbered notes, each with a time, a text and a status.

   A time is seconds, kept in milliseconds. A text is kept in narrow characters (UTF-8), at most 79 bytes of them.

   Codes: 5000712 null handle, 5000713 another sensor's handle, 5000718 wrong access type, 5000719 record out of range,
   5000717 no such segment, 5000722 a time that no coding can hold or a text that is too long, 5000724 and 5000725 write
   and read, -1 null argument that is needed. */

/* Wide characters that a text takes at most, its terminator included. */
enum { SKAR_EVENT_MARK_TEXT = 80 };

SKAR_EXPORT _TELD_Sensor* EMOpenDir(const wchar_t* linePath, const wchar_t* accessToken, uint32_t* code);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */
SKAR_EXPORT int EMClose(_TELD_Sensor* sensor);
/* Counts and extents; no output may be null. */
SKAR_EXPORT int EMSummary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numRecords, double* minTime,
                          double* maxTime, uint32_t* summaryStatus);
/* A segment; *sourceFileName is the caller's, to be freed with SKARIO_free. Name and status must be given. */
SKAR_EXPORT int EMLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName, uint32_t* beginIndex,
                              uint32_t* endIndex, double* minTime, double* maxTime, uint32_t* status);
/* The mark with that record number (query, update); in update mode with the status as last set. `text` is the caller's
   buffer of SKAR_EVENT_MARK_TEXT wide characters. No output may be null. */
SKAR_EXPORT int EMRead(_TELD_Sensor* sensor, uint32_t record, uint32_t* number, double* time, wchar_t* text,
                       uint32_t* status);
/* The mark at the present position of the file (query); otherwise as EMRead. */
SKAR_EXPORT int EMReadSeq(_TELD_Sensor* sensor, uint32_t* number, double* time, wchar_t* text, uint32_t* status);
/* Writing (create), in this order: summary, then per segment its marks in order of time. A text of more than 79 narrow
   bytes is refused with 5000722, and nothing is written. */
SKAR_EXPORT int EMBgnSeqWriteSummary(_TELD_Sensor* sensor);
SKAR_EXPORT int EMBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int EMSeqWrite(_TELD_Sensor* sensor, uint32_t number, double time, const wchar_t* text, uint32_t status);
SKAR_EXPORT int EMEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int EMEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);
/* Statuses; those of records and segments need update mode and reach the disk by SaveStatusToDisk only. */
SKAR_EXPORT int EMSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int EMSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
SKAR_EXPORT int EMSetRecordStatus(_TELD_Sensor* sensor, uint32_t record, uint32_t status);
SKAR_EXPORT int EMSaveStatusToDisk(_TELD_Sensor* sensor);
/* Removes the files of the marks from a line. Always 0. */
SKAR_EXPORT int EMRemoveDir(const wchar_t* linePath);

#endif
