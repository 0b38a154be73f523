#ifndef SKAR_MULTIBEAMSIDESCAN_H
#define SKAR_MULTIBEAMSIDESCAN_H

#include <skar/sensor.h>

/* The amplitudes that a multibeam sounder delivers beside its depths: profiles (pings) of beams, for three
   systems (EM100, EM1000, ELAC) in one file of a line. The first profile that is written makes the file one
   of its system's. Profiles count from 1.

   Times are seconds, kept to a millisecond. Parameters and arrays are the caller's. A parameter or an element
   keeps its low byte: A and the elements of the first array come back as 0 to 255, the others as -128 to 127.
   The second array of an ELAC is kept in 24 bits and comes back unsigned; higher bits of it run into the
   first array. Counts, values and the 16-bit parameter D of an EM1000 come back as 0 to 65535. A beam count
   above 65535 does not fit and comes back as its low 16 bits.

   Arrays hold an element per beam; a caller of a read makes room for as many as the profile has.

   Codes: 5001712 null handle, 5001713 a handle of another sensor or system, 5001718 wrong access type,
   5001719 no such profile, 5001717 no such segment, 5001708 not in the time index, 5001715 positioning,
   5001721 decoding, 5001722 a value that no coding can hold, 5001723 no room in the time index, 5001724 and
   5001725 write and read, -1 a null argument that is needed. */

/* Open the amplitudes of a line: "create", "query" or "update". SideScanOpenDir opens those of any system,
   the others of theirs. The caller ends the handle with SideScanClose. Null on failure: the code (5000020 to
   5000046, 5001701 to 5001725) is in *code, which may be null. */
SKAR_EXPORT _TELD_Sensor* SideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code);
SKAR_EXPORT _TELD_Sensor* EM100SideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                               long* code);
SKAR_EXPORT _TELD_Sensor* EM1000SideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                                long* code);
SKAR_EXPORT _TELD_Sensor* ELACSideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                              long* code);
/* Ends the handle. In create mode writes the summary (5001705), the LineSegments (5001702) and the TmIdx
   (5001714) files and closes the trace file (5001726), or removes the files when no profile was written. The
   first failure's code; the handle is gone all the same. */
SKAR_EXPORT int SideScanClose(_TELD_Sensor* sensor);

/* Counts and time extents; each output may be null. */
SKAR_EXPORT int SideScanSummary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numProfiles,
                                uint32_t* numBeams, double* minTime, double* maxTime, uint32_t* status);
/* A segment, counted in profiles; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int SideScanLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                                    uint32_t* firstProfile, uint32_t* lastProfile, double* minTime,
                                    double* maxTime, uint32_t* status);

/* Writing (create), in this order: summary, per segment its profiles. */
SKAR_EXPORT int SideScanBgnSeqWriteSummary(_TELD_Sensor* sensor);
SKAR_EXPORT int SideScanBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int EM100SideScanSeqWriteProfile(_TELD_Sensor* sensor, uint32_t beams, uint32_t firstBeam,
                                             double time, int32_t A, int32_t B, int32_t C, int32_t D,
                                             int32_t E, const int32_t* first, const int32_t* second,
                                             const int32_t* third, const int32_t* fourth);
SKAR_EXPORT int ELACSideScanSeqWriteProfile(_TELD_Sensor* sensor, uint32_t beams, uint32_t firstBeam,
                                            double time, int32_t A, int32_t B, int32_t C, int32_t D,
                                            const int32_t* first, const int32_t* second);
/* `value` is kept in tenths, cut; C leaves no trace in the file; D is a value of 16 bits. `counts` are the
   samples of each beam's trace, at most 65535: the traces are expected in the trace file in the same order.
 */
SKAR_EXPORT int EM1000SideScanSeqWriteProfile(_TELD_Sensor* sensor, uint32_t beams, uint32_t firstBeam,
                                              double time, double value, int32_t A, int32_t B, int32_t C,
                                              const int32_t* first, const int32_t* second,
                                              const int32_t* third, const int32_t* fourth,
                                              const int32_t* counts, const int32_t* values, int32_t D);
/* Appends trace samples, a byte each. 5001724 when they cannot be written or there is no trace file. */
SKAR_EXPORT int EM1000SideScanSeqWriteTrace(_TELD_Sensor* sensor, uint32_t size, const void* buffer);
SKAR_EXPORT int SideScanEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SideScanEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);

/* The head of a profile (query); each output may be null. Of the EM1000's D is the 16-bit value and C its
   high byte, signed. */
SKAR_EXPORT int EM100SideScanReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* beams,
                                         uint32_t* firstBeam, double* time, int32_t* A, int32_t* B,
                                         int32_t* C, int32_t* D, int32_t* E);
SKAR_EXPORT int ELACSideScanReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* beams,
                                        uint32_t* firstBeam, double* time, int32_t* A, int32_t* B, int32_t* C,
                                        int32_t* D);
SKAR_EXPORT int EM1000SideScanReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* beams,
                                          uint32_t* firstBeam, double* time, double* value, int32_t* A,
                                          int32_t* B, int32_t* C, int32_t* D);
/* The beams of a profile (query); each output may be null. `traces` gets the samples of all beams in one run:
   room for the sum of the counts, which a call without it tells. */
SKAR_EXPORT int EM100SideScanRead(_TELD_Sensor* sensor, uint32_t profile, double* time, int32_t* first,
                                  int32_t* second, int32_t* third, int32_t* fourth);
SKAR_EXPORT int ELACSideScanRead(_TELD_Sensor* sensor, uint32_t profile, double* time, int32_t* first,
                                 int32_t* second);
SKAR_EXPORT int EM1000SideScanRead(_TELD_Sensor* sensor, uint32_t profile, double* time, int32_t* first,
                                   int32_t* second, int32_t* third, int32_t* fourth, int32_t* counts,
                                   int32_t* values, void* traces);

/* Statuses of the summary and of a segment (the latter in update mode only); neither reaches the disk of a
   file that is open for update. */
SKAR_EXPORT int SideScanSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SideScanSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);

/* Removes the file set of a line, not its trace file; 0. */
SKAR_EXPORT int SideScanRemoveDir(const wchar_t* linePath);

#endif
