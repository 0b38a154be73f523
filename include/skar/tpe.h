#ifndef SKAR_TPE_H
#define SKAR_TPE_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <iosfwd>
#include <vector>
#endif

/* Two error estimates per beam, parallel to a depth file: profiles (pings) of beams. Profiles count from 1,
   beams from the profile's start beam.

   Times are seconds. Estimates are kept in steps of 0.001, cut and not rounded, and wrap beyond +-2 147
   483.647. Which of the two is which, and what a profile's tag and the tool types mean, is the caller's. A
   beam's time is kept as a 16-bit offset from its profile's: +-32.767 s, wrapping beyond. A beam's status has
   its low 16 bits clear. At most 65535 beams and a start beam of at most 65535 fit a profile.

   With the environment variable SkarIOCacheSize at a number above 0 when a file is opened for query or
   update, that many profiles are read at once; the values are the same.

   Codes: 5002712 null handle, 5002713 another sensor's handle, 5002718 wrong access type, 5002719 profile out
   of range, 5002728 beam out of range, 5002717 no such segment, 5002721 decoding, 5002722 a value or count
   that no coding can hold, 5002724 and 5002725 write and read, -1 a failure without a code or a null argument
   that is needed. A profile number is held against the number of beams: one beyond the last profile gives
   5002708. */

SKAR_EXPORT _TELD_Sensor* TPEOpenDir(const wchar_t* linePath, const wchar_t* accessToken, uint32_t* error);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. The code of what
   failed comes back as it stands. */
SKAR_EXPORT int TPEClose(_TELD_Sensor* sensor);

/* Counts and extents; each output may be null. */
SKAR_EXPORT int TPESummary(_TELD_Sensor* sensor, uint32_t* numLineSegments, uint32_t* numProfiles,
                           uint32_t* numDepths, double* minTime, double* maxTime, uint32_t* toolType1,
                           uint32_t* toolType2, double* minTpe1, double* maxTpe1, double* minTpe2,
                           double* maxTpe2, uint32_t* summaryStatus);
/* A segment, counted in profiles; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int TPELineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                               uint32_t* beginIndex, uint32_t* endIndex, double* minTime, double* maxTime,
                               uint32_t* status);

/* Reading by number (query, update). Each output of TPERead may be null, none of TPEReadProfile. */
SKAR_EXPORT int TPERead(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam, double* time, double* tpe1,
                        double* tpe2, uint32_t* status);
SKAR_EXPORT int TPEReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* numDepths,
                               uint32_t* startBeam, double* time, uint32_t* profileTag, uint32_t* status);
/* Reading on (query): the header of the profile after the one at hand, then each of its beams. No output may
   be null. */
SKAR_EXPORT int TPEReadProfileSeq(_TELD_Sensor* sensor, uint32_t* numDepths, uint32_t* startBeam,
                                  double* time, uint32_t* profileTag, uint32_t* status);
SKAR_EXPORT int TPEReadSeq(_TELD_Sensor* sensor, double* time, double* tpe1, double* tpe2, uint32_t* status);

/* Writing (create), in this order: summary, per segment its profiles, per profile its beams. */
SKAR_EXPORT int TPEBgnSeqWriteSummary(_TELD_Sensor* sensor, uint32_t toolType1, uint32_t toolType2);
SKAR_EXPORT int TPEBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int TPEBgnSeqWriteProfile(_TELD_Sensor* sensor, uint32_t numDepths, uint32_t startBeam,
                                      double time, uint32_t profileTag, uint32_t status);
SKAR_EXPORT int TPESeqWrite(_TELD_Sensor* sensor, double time, double tpe1, double tpe2, uint32_t status);
SKAR_EXPORT int TPEEndSeqWriteProfile(_TELD_Sensor* sensor);
SKAR_EXPORT int TPEEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int TPEEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);

/* The tool types and the statuses of summary and segments. They reach the disk when a file that is being
   created is closed; one that is open for update has no way to save them. */
SKAR_EXPORT int TPESetToolType(_TELD_Sensor* sensor, uint32_t toolType1, uint32_t toolType2);
SKAR_EXPORT int TPESetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int TPESetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);

/* Removes the file set of a line; 0. */
SKAR_EXPORT int TPERemoveDir(const wchar_t* linePath);

#ifdef __cplusplus
/* The throwing reads on the same handles: ReadError with code, key and details. */
namespace SKAR::IO::TPU {

struct Record {
    double time = 0.0; /* seconds */
    double tpe1 = 0.0; /* steps of 0.001 */
    double tpe2 = 0.0;
    std::uint32_t status = 0;

    bool operator==(const Record&) const = default;
    Record& operator=(const Record&) = default;
    Record(const Record&) = default;
    Record() = default;
};
/* "time, tpe1, tpe2, status" */
SKAR_API std::ostream& operator<<(std::ostream& stream, const Record& record);

struct Profile {
    double time = 0.0; /* seconds */
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 0;
    std::uint32_t profileTag = 0;
    std::uint32_t status = 0;
    std::vector<Record> records; /* one per beam, filled on request only */
};

SKAR_API void Read(_TELD_Sensor& sensor, unsigned profile, unsigned beam, Record& record);
SKAR_API void ReadProfile(_TELD_Sensor& sensor, unsigned profile, Profile& result, bool withDepths);
/* The beam that follows the one or the header read last. */
SKAR_API void ReadNext(_TELD_Sensor& sensor, Record& record);

} // namespace SKAR::IO::TPU
#endif
#endif
