#ifndef SKAR_SLANTRANGE_H
#define SKAR_SLANTRANGE_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <vector>
#endif

/* What a sounder measured of each beam before any depth was computed: profiles (pings) of beams with a range,
   a travel value and two angles. Profiles count from 1, beams from the profile's start beam.

   Times are seconds, positions radians (kept in steps of 1e-7). A range is metres, in steps of 0.001,
   saturating beyond +-2 000 000. A travel value is kept in steps of 1e-6, cut and not rounded, and an angle
   in steps of 1e-4 from -3.2768 to 3.2767, wrapping beyond; what the two are is the caller's. A beam's time
   is kept as a 16-bit offset from its profile's: +-32.767 s, wrapping beyond. A beam's status has its low 16
   bits clear. At most 65535 beams and a start beam of at most 65535 fit a profile.

   Codes: 5001912 null handle, 5001913 another sensor's handle, 5001918 wrong access type, 5001919 profile or
   beam out of range, 5001917 no such segment, 5001921 decoding, 5001922 a value or count that no coding can
   hold, 5001924 and 5001925 write and read, -1 a failure without a code or a null argument that is needed. A
   profile number is held against the number of beams: one beyond the last profile gives 5000037, of the time
   index. */

SKAR_EXPORT _TELD_Sensor* SLRangeOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                         uint32_t* error);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */
SKAR_EXPORT int SLRangeClose(_TELD_Sensor* sensor);

/* Counts and time extents; each output may be null. */
SKAR_EXPORT int SLRangeSummary(_TELD_Sensor* sensor, uint32_t* toolType, uint32_t* numLineSegments,
                               uint32_t* numProfiles, uint32_t* numDepths, double* minTime, double* maxTime,
                               uint32_t* summaryStatus);
/* A segment, counted in profiles; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int SLRangeLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                                   uint32_t* beginIndex, uint32_t* endIndex, double* minTime, double* maxTime,
                                   uint32_t* status);

/* Reading by number (query, update); each output may be null. */
SKAR_EXPORT int SLRangeRead(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam, double* time,
                            double* range, double* travel, double* angle1, double* angle2, uint32_t* status);
SKAR_EXPORT int SLRangeReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* numDepths,
                                   uint32_t* startBeam, double* time, double* latitude, double* longitude,
                                   uint32_t* status);
/* Reading on from where the file stands (query): a profile's header, then each of its beams. No output may be
   null. */
SKAR_EXPORT int SLRangeReadProfileSeq(_TELD_Sensor* sensor, uint32_t* numDepths, uint32_t* startBeam,
                                      double* time, double* latitude, double* longitude, uint32_t* status);
SKAR_EXPORT int SLRangeReadSeq(_TELD_Sensor* sensor, double* time, double* range, double* travel,
                               double* angle1, double* angle2, uint32_t* status);

/* Writing (create), in this order: summary, per segment its profiles, per profile its beams. */
SKAR_EXPORT int SLRangeBgnSeqWriteSummary(_TELD_Sensor* sensor, uint32_t toolType);
SKAR_EXPORT int SLRangeBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int SLRangeBgnSeqWriteProfile(_TELD_Sensor* sensor, uint32_t numDepths, uint32_t startBeam,
                                          double time, double latitude, double longitude, uint32_t status);
SKAR_EXPORT int SLRangeSeqWrite(_TELD_Sensor* sensor, double time, double range, double travel, double angle1,
                                double angle2, uint32_t status);
SKAR_EXPORT int SLRangeEndSeqWriteProfile(_TELD_Sensor* sensor);
SKAR_EXPORT int SLRangeEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SLRangeEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);

/* The tool type and the statuses of summary and segments. They reach the disk when the summary and the
   segments do: a file that is open for update has no way to save the first two. */
SKAR_EXPORT int SLRangeSetToolType(_TELD_Sensor* sensor, uint32_t toolType);
SKAR_EXPORT int SLRangeSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int SLRangeSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
/* Gives every segment that source file name and rewrites the LineSegments file (update). 5001930 for a null
   name, 5000202 when the file could not be written. */
SKAR_EXPORT int SLRangeSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name);
/* Changes the status of a beam in its place (update); on a file of another version than 2 it succeeds without
   changing anything. */
SKAR_EXPORT int SLRangeUpdateStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam, uint32_t status);

/* Removes the file set of a line; 0. */
SKAR_EXPORT int SLRangeRemoveDir(const wchar_t* linePath);

#ifdef __cplusplus
/* The throwing interface on the same handles: SKAR::SlantRangeOpenError from Open, SKAR::SlantRangeReadError
   from the rest, with code, key and details. */
namespace SKAR::IO::SlantRange {

struct Range {
    double time = 0.0;   /* seconds */
    double range = 0.0;  /* metres */
    double travel = 0.0; /* steps of 1e-6 */
    double angle1 = 0.0; /* steps of 1e-4 */
    double angle2 = 0.0;
    std::uint32_t status = 0;
};

struct Profile {
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 0;
    double latitude = 0.0; /* radians */
    double longitude = 0.0;
    double time = 0.0; /* seconds */
    std::uint32_t status = 0;
    std::vector<Range> ranges; /* one per beam, filled on request only */
};

SKAR_API _TELD_Sensor* Open(const wchar_t* linePath, const wchar_t* accessToken);
SKAR_API void Read(_TELD_Sensor& sensor, int profile, int beam, Range& range);
SKAR_API void Read(_TELD_Sensor& sensor, int profile, int beam, double* time, double* range, double* travel,
                   double* angle1, double* angle2, unsigned* status);
SKAR_API void ReadProfile(_TELD_Sensor& sensor, int profile, Profile& result, bool withDepths);
SKAR_API void ReadProfile(_TELD_Sensor& sensor, int profile, int* numDepths, int* startBeam, double* time,
                          double* latitude, double* longitude, unsigned* status);

} // namespace SKAR::IO::SlantRange
#endif
#endif
