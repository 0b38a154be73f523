#ifndef SKAR_PROCESSEDDEPTHS_H
#define SKAR_PROCESSEDDEPTHS_H

#include <skar/sensor.h>

#ifdef __cplusplus
#include <boost/exception/info.hpp>

#include <vector>
#endif

/* Depths after merging: a position, a time and a depth per beam. Profiles count from 1, beams from the
   profile's start beam.

   Times are seconds; positions radians, a profile's in steps of positionScale * 1e-9 around the file's
   reference, a beam's in steps of secondaryPositionScale * 1e-9 around its profile's; depths and lengths
   metres (steps of 0.001, saturating beyond
   +-2 000 000). Status and time offset of a beam as in the observed depths. Files of versions 1 and 2 are
   read, version 3 is written; of the eight angles and lengths of a profile it keeps length2 alone and reads
   the largest double for the others, and y, x and extra of a beam are 0.

   Codes: 5001312 null handle, 5001313 another sensor's handle, 5001318 wrong access type, 5001319 profile or
   beam out of range, 5001317 no such segment, 5001321 decoding, 5001322 a value or count that no coding can
   hold, 5001324 and 5001325 write and read, -1 a failure without a code or a null argument that is needed. */

SKAR_EXPORT _TELD_Sensor* ProcessedDepthsOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                                 uint32_t* error);
/* Ends the handle; in create mode writes the summary, the LineSegments and the TmIdx files. */
SKAR_EXPORT int ProcessedDepthsClose(_TELD_Sensor* sensor);

/* Counts and extents; each output may be null. */
SKAR_EXPORT int ProcessedDepthsSummary(_TELD_Sensor* sensor, uint32_t* toolType, uint32_t* summaryExtra,
                                       uint32_t* numLineSegments, uint32_t* numProfiles, uint32_t* numDepths,
                                       double* minTime, double* maxTime, double* minDepth, double* maxDepth,
                                       double* minLatitude, double* maxLatitude, double* minLongitude,
                                       double* maxLongitude, uint32_t* summaryStatus);
/* A segment, counted in profiles; each output may be null. *sourceFileName is the caller's (SKARIO_free). */
SKAR_EXPORT int ProcessedDepthsLineSegment(_TELD_Sensor* sensor, uint32_t segment, wchar_t** sourceFileName,
                                           uint32_t* beginIndex, uint32_t* endIndex, double* minTime,
                                           double* maxTime, double* minDepth, double* maxDepth,
                                           double* minLatitude, double* maxLatitude, double* minLongitude,
                                           double* maxLongitude, uint32_t* status);

/* Reading by number (query, update); each output may be null. ReadProfile throws SKAR::ProcDepthReadError
   when the file cannot be positioned or falls short. */
SKAR_EXPORT int ProcessedDepthsRead(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam, double* time,
                                    double* y, double* x, double* latitude, double* longitude, double* depth,
                                    double* extra, uint32_t* status);
SKAR_EXPORT int ProcessedDepthsReadProfile(_TELD_Sensor* sensor, uint32_t profile, uint32_t* numDepths,
                                           uint32_t* startBeam, double* time, double* latitude,
                                           double* minLatitude, double* maxLatitude, double* longitude,
                                           double* minLongitude, double* maxLongitude, double* angle1,
                                           double* length1, double* angle2, double* angle3, double* length2,
                                           double* length3, double* angle4, double* angle5, uint32_t* status);
/* Reading on: the next header (query), then each of its beams (query, update); each output may be null. */
SKAR_EXPORT int ProcessedDepthsReadProfileSeq(_TELD_Sensor* sensor, uint32_t* numDepths, uint32_t* startBeam,
                                              double* time, double* latitude, double* minLatitude,
                                              double* maxLatitude, double* longitude, double* minLongitude,
                                              double* maxLongitude, double* angle1, double* length1,
                                              double* angle2, double* angle3, double* length2,
                                              double* length3, double* angle4, double* angle5,
                                              uint32_t* status);
SKAR_EXPORT int ProcessedDepthsReadSeq(_TELD_Sensor* sensor, double* time, double* y, double* x,
                                       double* latitude, double* longitude, double* depth, double* extra,
                                       uint32_t* status);
/* Reads up to maxDepths beams of a profile into arrays of that length. Returns how many were read; *error has
   the code of what ended it early, else 0. */
SKAR_EXPORT uint32_t pdReadProfileDepths(_TELD_Sensor* sensor, uint32_t profile, double* latitudes,
                                         double* longitudes, double* depths, uint32_t* statuses,
                                         uint32_t* beams, uint32_t maxDepths, uint32_t* error);

/* Writing (create), in this order: summary, per segment its profiles, per profile its beams. */
SKAR_EXPORT int ProcessedDepthsBgnSeqWriteSummary(_TELD_Sensor* sensor, uint32_t toolType,
                                                  uint32_t summaryExtra);
SKAR_EXPORT int ProcessedDepthsBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName);
SKAR_EXPORT int ProcessedDepthsBgnSeqWriteProfile(_TELD_Sensor* sensor, uint32_t numDepths,
                                                  uint32_t startBeam, double time, double latitude,
                                                  double minLatitude, double maxLatitude, double longitude,
                                                  double minLongitude, double maxLongitude, double angle1,
                                                  double length1, double angle2, double angle3,
                                                  double length2, double length3, double angle4,
                                                  double angle5, uint32_t status);
SKAR_EXPORT int ProcessedDepthsSeqWrite(_TELD_Sensor* sensor, double time, double y, double x,
                                        double latitude, double longitude, double depth, double extra,
                                        uint32_t status);
SKAR_EXPORT int ProcessedDepthsEndSeqWriteProfile(_TELD_Sensor* sensor);
SKAR_EXPORT int ProcessedDepthsEndSeqWriteLineSegment(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int ProcessedDepthsEndSeqWriteSummary(_TELD_Sensor* sensor, uint32_t status);

SKAR_EXPORT int ProcessedDepthsSetToolType(_TELD_Sensor* sensor, uint32_t toolType);
SKAR_EXPORT int ProcessedDepthsSetSummaryStatus(_TELD_Sensor* sensor, uint32_t status);
SKAR_EXPORT int ProcessedDepthsSetLineSegmentStatus(_TELD_Sensor* sensor, uint32_t segment, uint32_t status);
/* Gives every segment that source file name and rewrites the LineSegments file (update). 5001335 for a null
   name, 5000202, the code of the observed depths, when the file cannot be rewritten. */
SKAR_EXPORT int ProcessedDepthsSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name);

/* Changes of a beam in its place (update); on a file of version 1 or 2 they succeed without changing
   anything. x is the longitude, y the latitude, z the depth; a null one is left as it is. rejectionBits lie
   within 0xFF3C0000. */
SKAR_EXPORT int ProcessedDepthsUpdateStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                            uint32_t status);
SKAR_EXPORT int ProcessedDepthsUpdateRejectionStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                                     uint32_t rejectionBits);
SKAR_EXPORT int ProcessedDepthsUpdateXYZStatus(_TELD_Sensor* sensor, uint32_t profile, uint32_t beam,
                                               const double* x, const double* y, const double* z,
                                               const uint32_t* status);
/* Writes the summary's status alone. */
SKAR_EXPORT int ProcessedDepthsUpdateSummaryStatus(_TELD_Sensor* sensor);
/* Rewrites summary and LineSegments (update). */
SKAR_EXPORT int ProcessedDepthsSaveStatusToDisk(_TELD_Sensor* sensor);
/* Removes the files. Always 0. */
SKAR_EXPORT int ProcessedDepthsRemoveDir(const wchar_t* linePath);

#ifdef __cplusplus
namespace SKAR {
/* The version of a file that Open does not know, in a ProcDepthOpenError. */
using unsupported_processed_depths_version =
    boost::error_info<struct unsupported_processed_depths_version_, int>;
} // namespace SKAR

/* The throwing interface on the same handles: SKAR::ProcDepthOpenError from Open, SKAR::ProcDepthReadError
 * from the rest. */
namespace SKAR::IO::ProcessedDepths {

struct Depth {
    double time = 0.0; /* seconds */
    double y = 0.0;    /* metres, versions 1 and 2 */
    double x = 0.0;
    double longitude = 0.0; /* radians */
    double latitude = 0.0;
    double depth = 0.0; /* metres */
    double extra = 0.0;
    std::uint32_t status = 0;
};

struct Profile {
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 0;
    double time = 0.0;
    double longitude = 0.0;
    double latitude = 0.0;
    double minLongitude = 0.0;
    double minLatitude = 0.0;
    double maxLongitude = 0.0;
    double maxLatitude = 0.0;
    double length2 = 0.0;
    std::uint32_t status = 0;
    std::vector<Depth> depths; /* one per beam, filled on request only */
};

/* A beam without what version 3 does not keep. */
struct CompactDepth {
    double time;
    double latitude;
    double longitude;
    float depth;
    std::uint32_t status;
};
static_assert(sizeof(CompactDepth) == 32);

struct PD_Profile {
    double time;
    double latitude;
    double minLatitude;
    double maxLatitude;
    double longitude;
    double minLongitude;
    double maxLongitude;
    double angle1;
    std::uint32_t startBeam;
    std::uint32_t status;
    std::vector<CompactDepth> depths;
};

SKAR_API _TELD_Sensor* Open(const wchar_t* linePath, const wchar_t* accessToken);
SKAR_API void Read(_TELD_Sensor& sensor, unsigned profile, unsigned beam, Depth& depth);
SKAR_API void ReadProfile(_TELD_Sensor& sensor, unsigned profile, Profile& result, bool withDepths);
/* The next beam behind the header that was read last. */
SKAR_API void ReadNext(_TELD_Sensor& sensor, Depth& depth);
/* Profiles `first` to `first` + `count` - 1, as many of them as there are, with their beams. 0, or the code
   of the read that failed, with what was read before it. */
SKAR_API int ProcessedDepthsReadProfiles(_TELD_Sensor* sensor, int first, int count,
                                         std::vector<PD_Profile>& profiles);

} // namespace SKAR::IO::ProcessedDepths
#endif
#endif
