#ifndef SKAR_OBSERVEDDEPTHS_H
#define SKAR_OBSERVEDDEPTHS_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <vector>
#endif

/* Depths as a sounder recorded them: profiles (pings) of beams. Profiles count from 1, beams from the
   profile's start beam.

   Times are seconds, positions radians (kept in steps of 1e-7), x, y, z and extra metres (steps of 0.001,
   saturating beyond +-2 000 000); z is the depth that the extents follow. A beam's time is kept as a 16-bit
   offset from its profile's: +-32.767 s, wrapping beyond. A beam's status has its low 16 bits clear. Files of
   version 1 are read, with 32-bit statuses and offsets and an `extra`; version 2 is written and has none.

   Codes: 5000212 null handle, 5000213 another sensor's handle, 5000218 wrong access type, 5000219 profile or
   beam out of range, 5000217 no such segment, 5000221 decoding, 5000222 a value or count that no coding can
   hold, 5000224 and 5000225 write and read, -1 a failure without a code or a null argument that is needed. */

SKAR_EXPORT _TELD_Sensor* ObservedDepthsOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                                uint32_t* error);
SKAR_EXPORT _TELD_Sensor* ObservedDepthsNewOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                                   uint32_t* error);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */
SKAR_EXPORT int ObservedDepthsClose(_TELD_Sensor* sensor);

/* Counts and extents; each output may be null. */
SKAR_EXPORT int ObservedDepthsSummary(_TELD_Sensor* sensor, uint32_t* toolType, uint32_t* numLineSegments,
                                      uint32_t* numProfiles, uint32_t* numDepths, double* minTime,
                                      double* maxTime, double* minDepth, double* maxDepth,
                                      uint32_t* summaryStatus);
/* A segment, counted in profiles; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int ObservedDepthsLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                                          uint32_t* beginIndex, uint32_t* endIndex, double* minTime,
                                          double* maxTime, double* minDepth, double* maxDepth,
                                          uint32_t* status);

/* Reading by number (query, update); each output may be null. */
SKAR_EXPORT int ObservedDepthsRead(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam, double* time,
                                   double* y, double* x, double* z, double* extra, uint32_t* status);
SKAR_EXPORT int ObservedDepthsReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* numDepths,
                                          uint32_t* startBeam, double* time, double* latitude,
                                          double* longitude, uint32_t* status);
/* Reading on from where the file stands (query): a profile's header, then each of its beams. No output may be
   null. A read that falls short throws SKAR::ObsDepthReadError; other failures come as codes. */
SKAR_EXPORT int ObservedDepthsReadProfileSeq(_TELD_Sensor* sensor, uint32_t* numDepths, uint32_t* startBeam,
                                             double* time, double* latitude, double* longitude,
                                             uint32_t* status);
SKAR_EXPORT int ObservedDepthsReadSeq(_TELD_Sensor* sensor, double* time, double* y, double* x, double* z,
                                      double* extra, uint32_t* status);

/* Writing (create), in this order: summary, per segment its profiles, per profile its beams. `extra` is not
 * kept. */
SKAR_EXPORT int ObservedDepthsBgnSeqWriteSummary(_TELD_Sensor* sensor, uint32_t toolType);
SKAR_EXPORT int ObservedDepthsBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int ObservedDepthsBgnSeqWriteProfile(_TELD_Sensor* sensor, uint32_t numDepths, uint32_t startBeam,
                                                 double time, double latitude, double longitude,
                                                 uint32_t status);
SKAR_EXPORT int ObservedDepthsSeqWrite(_TELD_Sensor* sensor, double time, double y, double x, double z,
                                       double extra, uint32_t status);
SKAR_EXPORT int ObservedDepthsEndSeqWriteProfile(_TELD_Sensor* sensor);
SKAR_EXPORT int ObservedDepthsEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int ObservedDepthsEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);

/* The tool type and the statuses of summary and segments; they reach the disk when the summary and the
 * segments do. */
SKAR_EXPORT int ObservedDepthsSetToolType(_TELD_Sensor* sensor, uint32_t toolType);
SKAR_EXPORT int ObservedDepthsSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int ObservedDepthsSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
/* Gives every segment that source file name and rewrites the LineSegments file (update). 5000235 for a null
 * name. */
SKAR_EXPORT int ObservedDepthsSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name);

/* Changes of a beam in its place (update); on a file of version 1 they succeed without changing anything. The
   extents widen in memory and reach the disk with SaveStatusToDisk. rejectionBits lie within 0xF3F80000. Of
   the four values of UpdateXYZStatus a null one is left as it is. */
SKAR_EXPORT int ObservedDepthsUpdateStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                           uint32_t status);
SKAR_EXPORT int ObservedDepthsUpdateRejectionStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                                    uint32_t rejectionBits);
SKAR_EXPORT int ObservedDepthsUpdateDepth(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                          double depth);
SKAR_EXPORT int ObservedDepthsUpdateDepthStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                                double depth, uint32_t status);
SKAR_EXPORT int ObservedDepthsUpdateXYZStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                              const double* x, const double* y, const double* z,
                                              const uint32_t* status);
/* Rewrites summary and LineSegments (update). */
SKAR_EXPORT int ObservedDepthsSaveStatusToDisk(_TELD_Sensor* sensor);

/* The file sets of a line. Removing gives 0. Backing up renames the three files to ".backup", restoring
   renames them back, ObservedDepthsNewRestoreBackupDir renames the new set to the old names: 5000228 at the
   first rename that fails, with the earlier ones left done; a file that is in the way is kept and fails the
   rename. */
SKAR_EXPORT int ObservedDepthsRemoveDir(const wchar_t* linePath);
SKAR_EXPORT int ObservedDepthsNewRemoveDir(const wchar_t* linePath);
SKAR_EXPORT int ObservedDepthsBackupDir(const wchar_t* linePath);
SKAR_EXPORT int ObservedDepthsRestoreBackupDir(const wchar_t* linePath);
SKAR_EXPORT int ObservedDepthsRemoveBackupDir(const wchar_t* linePath);
SKAR_EXPORT int ObservedDepthsNewRestoreBackupDir(const wchar_t* linePath);

#ifdef __cplusplus
/* The throwing interface on the same handles: SKAR::ObsDepthOpenError from Open, SKAR::ObsDepthReadError from
   the rest, with code, key and details. */
namespace SKAR::IO::ObservedDepths {

struct ObservedSummary {
    std::uint32_t toolType;
    std::uint32_t numLineSegments;
    std::uint32_t numProfiles;
    std::uint32_t numDepths;
    double minTime;
    double maxTime;
    double minDepth;
    double maxDepth;
    std::uint32_t summaryStatus;
};

struct Depth {
    double time = 0.0; /* seconds */
    double y = 0.0;    /* metres, as x, z and extra */
    double x = 0.0;
    double z = 0.0;
    double extra = 0.0;
    std::uint32_t status = 0;
};

struct Profile {
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 0;
    double latitude = 0.0; /* radians */
    double longitude = 0.0;
    double time = 0.0; /* seconds */
    std::uint32_t status = 0;
    std::vector<Depth> depths; /* one per beam, filled on request only */
};

SKAR_API _TELD_Sensor* Open(const wchar_t* linePath, const wchar_t* accessToken, bool newFile);
SKAR_API void Summary(_TELD_Sensor& sensor, ObservedSummary& summary);
SKAR_API void Summary(_TELD_Sensor& sensor, int* toolType, int* numLineSegments, int* numProfiles,
                      int* numDepths, double* minTime, double* maxTime, double* minDepth, double* maxDepth,
                      unsigned* summaryStatus);
SKAR_API void Read(_TELD_Sensor& sensor, int profile, int beam, Depth& depth);
SKAR_API void Read(_TELD_Sensor& sensor, int profile, int beam, double* time, double* y, double* x, double* z,
                   double* extra, unsigned* status);
SKAR_API void ReadProfile(_TELD_Sensor& sensor, int profile, Profile& result, bool withDepths);
SKAR_API void ReadProfile(_TELD_Sensor& sensor, int profile, int* numDepths, int* startBeam, double* time,
                          double* latitude, double* longitude, unsigned* status);

} // namespace SKAR::IO::ObservedDepths
#endif
#endif
