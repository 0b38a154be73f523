#ifndef SKAR_SENSORPARAMETERS_H
#define SKAR_SENSORPARAMETERS_H

#include <skar/sensor.h>

/* The settings of a sonar, ping after ping.

   The summary names the sonar by a type and a version; the only pair whose records have a layout is type 1, version 1,
   the Reson 8100. Of any other pair the file keeps summary, segments and time index, and no record bytes.

   A time is seconds, kept in milliseconds. Of the 25 parameters of the Reson 8100, numbers 6, 16, 17 and 20 to 23 are
   kept in steps of 0.01, cut and not rounded, within +-21474836.47; the others are whole numbers of 32 bits. What they
   mean is in the sonar's documentation.

   Codes: 5003012 null handle, 5003013 another sensor's handle (Close and SaveStatusToDisk: 5003005), 5003018 wrong access
   type, 5003019 record out of range, 5003017 no such segment, 5003022 a time or parameter that no coding can hold,
   5003024 and 5003025 write and read, -1 null argument that is needed. */

/* The sonar type counts on create only; type 1 gets version 1, any other version 0. */
SKAR_EXPORT _TELD_Sensor* SensorParametersOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                                  uint32_t sonarType, uint32_t* code);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */
SKAR_EXPORT int SensorParametersClose(_TELD_Sensor* sensor);
/* Sonar, counts and extents; no output may be null. */
SKAR_EXPORT int SensorParametersSummary(_TELD_Sensor* sensor, uint32_t* sonarType, uint32_t* sonarVersion,
                                        uint32_t* numLineSegments, uint32_t* numRecords, double* minTime,
                                        double* maxTime, uint32_t* summaryStatus);
/* A segment; *sourceFileName is the caller's, to be freed with SKARIO_free. Name and status must be given. */
SKAR_EXPORT int SensorParametersLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                                            uint32_t* beginIndex, uint32_t* endIndex, double* minTime,
                                            double* maxTime, uint32_t* status);

/* Reading in two steps: time and status come from a read, which keeps the record in the handle, and the parameters
   from the decode after it.

   The record of that number (query, update). Reading the record again that was read last gives the one behind it, unless
   anything else moved the file in between. Neither output may be null; a file without record bytes leaves both as
   they are. */
SKAR_EXPORT int SensorParametersRead(_TELD_Sensor* sensor, uint32_t record, double* time, uint32_t* status);
/* The record at the present position of the file (query); otherwise as SensorParametersRead. */
SKAR_EXPORT int SensorParametersReadSeq(_TELD_Sensor* sensor, double* time, uint32_t* status);
/* Takes the record apart that the last read, write or status update left in the handle. No output may be null. 5003021
   for a file without record bytes. */
SKAR_EXPORT int SensorParametersDecodeReson8100_V1(
    _TELD_Sensor* sensor, double* time, uint32_t* status, uint32_t* param1, uint32_t* param2, uint32_t* param3,
    uint32_t* param4, uint32_t* param5, double* param6, uint32_t* param7, uint32_t* param8, uint32_t* param9,
    uint32_t* param10, uint32_t* param11, uint32_t* param12, uint32_t* param13, uint32_t* param14, uint32_t* param15,
    double* param16, double* param17, uint32_t* param18, uint32_t* param19, double* param20, double* param21,
    double* param22, double* param23, uint32_t* param24, uint32_t* param25);

/* Writing (create): per segment its records in order of time. */
SKAR_EXPORT int SensorParametersBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
/* A record with its parameters. 5003022 for a file without record bytes. */
SKAR_EXPORT int SensorParametersSeqWriteReson8100_V1(
    _TELD_Sensor* sensor, double time, uint32_t status, uint32_t param1, uint32_t param2, uint32_t param3,
    uint32_t param4, uint32_t param5, double param6, uint32_t param7, uint32_t param8, uint32_t param9,
    uint32_t param10, uint32_t param11, uint32_t param12, uint32_t param13, uint32_t param14, uint32_t param15,
    double param16, double param17, uint32_t param18, uint32_t param19, double param20, double param21, double param22,
    double param23, uint32_t param24, uint32_t param25);
/* A record with the parameters of the one before it. */
SKAR_EXPORT int SensorParametersSeqWrite(_TELD_Sensor* sensor, double time, uint32_t status);
SKAR_EXPORT int SensorParametersEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SensorParametersEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);

/* Statuses. That of a record is rewritten on disk at once (update); those of the summary (any access) and of segments
   (update) reach the disk by SaveStatusToDisk only. */
SKAR_EXPORT int SensorParametersUpdateStatus(_TELD_Sensor* sensor, uint32_t record, uint32_t status);
SKAR_EXPORT int SensorParametersSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SensorParametersSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
SKAR_EXPORT int SensorParametersSaveStatusToDisk(_TELD_Sensor* sensor);

#endif
