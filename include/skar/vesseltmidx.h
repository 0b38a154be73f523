#ifndef SKAR_VESSELTMIDX_H
#define SKAR_VESSELTMIDX_H

#include <skar/export.h>

#include <wchar.h>

/* The configuration of a vessel for processing: one function per kind of sensor gives what is in force at a
   time, in seconds since 1980 with leap seconds. That is the last entry at or before the time; its own time
   comes first. Angles are radians, offsets metres, latencies seconds. Texts and arrays belong to the caller,
   who releases them with free; a text that is not there is null. Every output is zero or null first; an
   output that is passed as null is left out. Results: 0; -1 for a null vessel; 5000009 without memory, with
   what was made before staying the caller's; and the two codes named at each function, for a vessel without
   such entries and for a time before the first. */

/* Reads a vessel file. Null for a null name, and if the file is neither XML nor legacy text (status 5000401,
   5000402) or there is no memory (5000009). Any other failure gives the vessel as far as it was read, with the status: look at it. To be
   ended with VesselConfigFree. */
SKAR_EXPORT void* SKARGetVesselConfiguration(const wchar_t* fileName, long* status);

/* Destroys the vessel. Null is accepted. */
SKAR_EXPORT void VesselConfigFree(void* vessel);

/* Gyro: 5000412, 5000413. The offset is that at azimuth 0; the three spares stay 0. */
SKAR_EXPORT long VesselGyroSensorTmIdxConfig(void* vessel, double time, double* timeStamp,
                                             wchar_t** manufacturer, wchar_t** model, wchar_t** serialNumber,
                                             double* spare1, double* spare2, double* spare3, double* latency,
                                             double* gyroOffset, int* applyFlag, wchar_t** comment,
                                             wchar_t** authorization);

/* Heave: 5000414, 5000415. */
SKAR_EXPORT long VesselHeaveSensorTmIdxConfig(void* vessel, double time, double* timeStamp,
                                              wchar_t** manufacturer, wchar_t** model, wchar_t** serialNumber,
                                              double* x, double* y, double* z, double* latency,
                                              double* heaveOffset, int* applyFlag, wchar_t** comment,
                                              wchar_t** authorization);

/* Navigation: 5000416, 5000417. */
SKAR_EXPORT long VesselNavigationSensorTmIdxConfig(void* vessel, double time, double* timeStamp,
                                                   wchar_t** manufacturer, wchar_t** model,
                                                   wchar_t** serialNumber, wchar_t** ellipseName, double* x,
                                                   double* y, double* z, double* latency, wchar_t** comment,
                                                   wchar_t** authorization);

/* Pitch: 5000418, 5000419. Roll: 5000420, 5000421. The three spares stay 0. */
SKAR_EXPORT long VesselPitchSensorTmIdxConfig(void* vessel, double time, double* timeStamp,
                                              wchar_t** manufacturer, wchar_t** model, wchar_t** serialNumber,
                                              double* spare1, double* spare2, double* spare3, double* latency,
                                              double* pitchOffset, int* applyFlag, wchar_t** comment,
                                              wchar_t** authorization);
SKAR_EXPORT long VesselRollSensorTmIdxConfig(void* vessel, double time, double* timeStamp,
                                             wchar_t** manufacturer, wchar_t** model, wchar_t** serialNumber,
                                             double* spare1, double* spare2, double* spare3, double* latency,
                                             double* rollOffset, int* applyFlag, wchar_t** comment,
                                             wchar_t** authorization);

/* Sound velocity profiler: 5000410, 5000411. Each head has X and Y, a spare that stays 0, and X, Y and Z;
   those of the second are 0 unless the entry is of a dual head. Then the mount angles of both. */
SKAR_EXPORT long VesselSVPTmIdxConfig(void* vessel, double time, double* timeStamp, double* x1, double* y1,
                                      double* spare1, double* offsetX1, double* offsetY1, double* offsetZ1,
                                      double* x2, double* y2, double* spare2, double* offsetX2,
                                      double* offsetY2, double* offsetZ2, double* pitch1, double* roll1,
                                      double* azimuth1, double* pitch2, double* roll2, double* azimuth2,
                                      wchar_t** comment, wchar_t** authorization);

/* Towed sensor: 5000408, 5000409. */
SKAR_EXPORT long VesselTowedTmIdxConfig(void* vessel, double time, double* timeStamp, double* x, double* y,
                                        double* z, double* latency, double* layback, wchar_t** comment,
                                        wchar_t** authorization);

/* Waterline: 5000407, 5000406. */
SKAR_EXPORT long VesselRPTmIdxConfig(void* vessel, double time, double* timeStamp, double* waterLine,
                                     int* applyFlag, wchar_t** comment, wchar_t** authorization);

/* Draft: 5000422, 5000423. The arrays have one element more than there are rows, with 0 ahead of the first;
   without rows there are none and the flag is 0. */
SKAR_EXPORT long VesselDraftTmIdxConfig(void* vessel, double time, double* timeStamp, int* rowCount,
                                        double** speeds, double** drafts, int* applyFlag, wchar_t** comment,
                                        wchar_t** authorization);

/* Depth: 5000405 for both. A sweep's arrays hold, by transducer number from index 1, the offsets of its
   transducers. Any other class gives the first transducer and, if there are more, the second; the two counts
   are then beams in all and beams per head, else the number of transducers. The scratch block has 8000 bytes,
   all zero. The spares stay 0. */
SKAR_EXPORT long
VesselDepthSensorTmIdxConfig(void* vessel, double time, double* timeStamp, wchar_t** sensorClass, int* count1,
                             int* count2, double** sweepX, double** sweepY, double** sweepZ, double** scratch,
                             wchar_t** manufacturer, wchar_t** model, wchar_t** serialNumber, double* x1,
                             double* y1, double* z1, double* pitch1, double* roll1, double* azimuth1,
                             double* latency1, double* spare1, double* x2, double* y2, double* z2,
                             double* pitch2, double* roll2, double* azimuth2, double* latency2,
                             double* spare2, wchar_t** comment, wchar_t** authorization);

/* The mount angles of all transducers, by number from index 1: 5000405. */
SKAR_EXPORT long VesselDepthSensorOrientationTmIdxConfig(void* vessel, double time, double* timeStamp,
                                                         wchar_t** sensorClass, int* count1, int* count2,
                                                         double** pitch, double** roll, double** azimuth);

/* The latency of the entry and those of its transducers, by number from index 1: 5000405. */
SKAR_EXPORT long VesselDepthSensorLatencyTmIdxConfig(void* vessel, double time, double* timeStamp,
                                                     wchar_t** sensorClass, int* count1, int* count2,
                                                     double* latency, double** latencies);

/* What the propagated error of a sweep needs: 5000405, and 5100003 for any other class. Arrays by transducer
   number from index 1; a number without transducer is fixed, with zeros. */
SKAR_EXPORT long VesselSweepTPETmIdxConfig(void* vessel, double time, double* timeStamp, int* count,
                                           double* navToBoomX, double* navToBoomY, double* navToBoomZ,
                                           double* mruToBoomX, double* mruToBoomY, double* mruToBoomZ,
                                           int** transducerFixed, double** squatPercent,
                                           double** heavePercent, double** alignmentGyro,
                                           double** alignmentRoll);

#endif
