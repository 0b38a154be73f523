#include "fileio/formats.h"
#include "fileio/profilesteps.h"
#include "fileio/setnames.h"

#include <skar/observeddepths.h>

// Depths as recorded: the model of the profile families.
namespace skar::fileio {

namespace {

using SKAR::IO::ObservedDepths::Depth;

constexpr auto headerVersion1 = layout<ProfileHeader>(
    field<Unsigned>("status", &ProfileHeader::status), field<DepthCount>("numDepths", &ProfileHeader::range),
    field<Time>("time", &ProfileHeader::time), field<Radians>("latitude", &ProfileHeader::latitude),
    field<Radians>("longitude", &ProfileHeader::longitude));
constexpr auto headerVersion2 = layout<ProfileHeader>(
    field<Unsigned>("status", &ProfileHeader::status), field<DepthRange>("depthRange", &ProfileHeader::range),
    field<Time>("time", &ProfileHeader::time), field<Radians>("latitude", &ProfileHeader::latitude),
    field<Radians>("longitude", &ProfileHeader::longitude));
constexpr auto depthVersion1 =
    layout<Depth>(field<Unsigned>("status", &Depth::status), field<Meters>("z", &Depth::z),
                  field<Meters>("x", &Depth::x), field<Meters>("y", &Depth::y),
                  field<ProfileTime>("timeOffset", &Depth::time), field<Meters>("extra", &Depth::extra));
constexpr auto depthVersion2 =
    layout<Depth>(field<StatusAndOffset>("statusAndOffset", Whole{}), field<Meters>("z", &Depth::z),
                  field<Meters>("x", &Depth::x), field<Meters>("y", &Depth::y));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus), field<Unsigned>("toolType", &Handle::toolType),
    field<Unsigned>("numProfiles", &Handle::numRecords), field<Unsigned>("numDepths", &Handle::numDepths),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("secondaryClockAccuracy", &Handle::secondaryClockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), element<Meters>("minDepth", &Handle::min, 0),
    element<Meters>("maxDepth", &Handle::max, 0));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout = layout<Segment>(
    field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime),
    element<Meters>("minDepth", &Segment::min, 0), element<Meters>("maxDepth", &Segment::max, 0));

constexpr std::uint32_t rejectionMask = 0xF3F80000;

struct ObservedTraits {
    using Beam = Depth;
    static constexpr std::uint32_t written = 2;
    static constexpr auto& header = headerVersion2;
    static constexpr auto& beam = depthVersion2;
    static constexpr std::size_t timeOffset = headerVersion2.offsetOf("time");
    static constexpr std::size_t encodeSize = headerVersion2.size;
    static constexpr bool testsStartBeam = true;
    static constexpr std::size_t decodeSize(std::uint32_t version) {
        return version == 1 ? depthVersion1.size : headerVersion2.size;
    }
    template <class Use>
    [[gnu::always_inline]] static decltype(auto) withVersion(std::uint32_t version, Use use) {
        return version == 1 ? use(headerVersion1, depthVersion1) : use(headerVersion2, depthVersion2);
    }
    static std::uint32_t profileLimit(const _TELD_Sensor& sensor) { return sensor.numRecords; }
    static void completeHeader(std::uint32_t, ProfileHeader&) {}

    static constexpr Family family = {
        .name = "ObservedDepths",
        .sensorId = 4,
        .storedType = 4,
        .base = codes::observedDepths,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = headerVersion2.size,
        .nullHandle = codes::observedDepths + Offset::nullHandle,
        .testsSensor = true,
        .structureBeforeAccess = true,
        .streamErrorLog = "There is an error in the ObservedDepths file stream before closing %d\n",
        .segmentOutputsOptional = true,
        .segmentOpen = {.onWriting = codes::observedDepths + Offset::writeSegments,
                        .firstOfTable = codes::observedDepths + Offset::openOther,
                        .otherCode = codes::observedDepths + Offset::openFile},
    };

    static bool setReferences(_TELD_Sensor& sensor, const ProfileHeader& header) {
        std::uint32_t minutes = 0;
        const bool coded = TELD_EncodeRefTime(header.time, minutes);
        sensor.referenceTime = static_cast<std::int32_t>(minutes);
        return coded;
    }
    static void widenByHeader(_TELD_Sensor& sensor, const ProfileHeader& header) {
        widenTime(sensor, header.time);
    }
    static void widenByBeam(_TELD_Sensor& sensor, const Depth& depth) {
        widenTime(sensor, depth.time);
        widenExtent(sensor, 0, depth.z);
    }
};
constexpr const Family& family = ObservedTraits::family;
constexpr codes::Block base = codes::observedDepths;

#define SKAR_KEY(name) "errorMessages/SKARio/ObservedDepths/" name
// The code of the processed depths in the header's read is meant; it stands in this one place.
constexpr int headerReadCode = codes::processedDepths + Offset::read;
constexpr StepRow readSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), codes::failed},
    {Step::profileRange, SKAR_KEY("profileIndexRange"), base + Offset::outOfRange,
     withProfile | withMaxProfile},
    {Step::mapIndex, SKAR_KEY("computeByteOffsetFailed"), 0, withIndexCode | withProfile},
    {Step::seekHeader, SKAR_KEY("fseekDepthFailed"), base + Offset::seek, withErrno},
    {Step::readHeader, SKAR_KEY("freadDepthFailed"), headerReadCode, withErrno},
    {Step::positionHeader, SKAR_KEY("decodeInitFailed"), base + Offset::decode, withProfile | withBeam},
    {Step::startBeamBelow, SKAR_KEY("startDepthInvalid"), base + Offset::outOfRange},
    {Step::startBeamBeyond, SKAR_KEY("startDepthIndexRange"), base + Offset::outOfRange},
    {Step::beamRange, SKAR_KEY("depthIndexRange"), base + Offset::outOfRange,
     withProfile | withBeam | withBeamRange},
    {Step::seekBeam, SKAR_KEY("fseekDepthFailed"), 0, withErrno},
    {Step::readBeam, SKAR_KEY("freadDepthFailed"), 0, withErrno},
    {Step::positionBeam, SKAR_KEY("decodeInitFailed"), base + Offset::decode},
    {Step::decodeBeam, SKAR_KEY("decodeDepthFailed"), base + Offset::decode}, // and all others
};
constexpr StepRow profileSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), codes::failed},
    {Step::profileRange, SKAR_KEY("profileIndexRange"), base + Offset::outOfRange,
     withProfile | withMaxProfile},
    {Step::mapIndex, SKAR_KEY("computeByteOffsetFailed"), 0, withProfile},
    {Step::seekHeader, SKAR_KEY("fseekHeaderFailed"), 0, withErrno},
    {Step::readHeader, SKAR_KEY("freadProfileFailed"), 0, withErrno | withProfile},
    {Step::positionHeader, SKAR_KEY("decodeInitFailed"), base + Offset::decode},
    {Step::decodeHeader, SKAR_KEY("decodeProfileFailed"), base + Offset::decode}, // and all others
};
constexpr OpenKeys openKeys = {SKAR_KEY("writeValidationFailed"), SKAR_KEY("freadHeaderFailed"),
                               SKAR_KEY("summaryDecodeFialed"),   SKAR_KEY("fopenSegmentFailed"),
                               SKAR_KEY("freadSegmentFailed"),    SKAR_KEY("headerDecodeFailed"),
                               SKAR_KEY("timeIndexReadFailed")};
#undef SKAR_KEY

using unsupported_observed_depths_version =
    boost::error_info<struct unsupported_observed_depths_version_, int>;

StepTable tableOf(bool inBeams) {
    return inBeams ? StepTable(readSteps) : StepTable(profileSteps);
}

int toCode(_TELD_Sensor* sensor) {
    return sensor ? codes::success : family.nullHandle;
}

// Reads that do not just go on where the last one ended, with the arguments of the exported functions.
[[gnu::noinline]] int readElsewhere(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                    double* time, double* y, double* x, double* z, double* extra,
                                    std::uint32_t* status) {
    if (const int code = toCode(sensor)) return code;
    int indexCode = 0;
    Depth depth;
    if (const Step step = readBeam<ObservedTraits>(*sensor, profile, beam, depth, indexCode);
        step != Step::done)
        return codeOfStep(readSteps, step, indexCode);
    give(time, depth.time);
    give(y, depth.y);
    give(x, depth.x);
    give(z, depth.z);
    give(extra, depth.extra);
    give(status, depth.status);
    return codes::success;
}

[[gnu::noinline]] int readNextElsewhere(_TELD_Sensor* sensor, double* time, double* y, double* x, double* z,
                                        double* extra, std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadSeq", inQuery)) return code;
    if (!(time && y && x && z && extra && status)) return codes::failed;
    Depth depth;
    const Step step = takeBeam<ObservedTraits>(*sensor, false, depth);
    profileState(*sensor).common.needSeek = 1;
    if (step == Step::readBeam)
        BOOST_THROW_EXCEPTION(errors::failure<SKAR::ObsDepthReadError>(
            "errorMessages/SKARio/ObservedDepths/freadDepthFailed", SKAR::stdio_error_info(errno)));
    if (step != Step::done) return family.code(Offset::decode);
    startRun<ObservedTraits>(*sensor, 0);
    *time = depth.time;
    *y = depth.y;
    *x = depth.x;
    *z = depth.z;
    *extra = depth.extra;
    *status = depth.status;
    return codes::success;
}

constexpr const wchar_t fileName[] = L"ObservedDepths";
constexpr const wchar_t newFileName[] = L"ObservedDepthsNew";

} // namespace

FormatTables observedDepthsFormat() {
    static constexpr FormatTable tables[] = {
        {"Observed depths summary", pagesOf<summaryLayout, Handle>},
        {"Observed depths profile, version 1", pagesOf<headerVersion1, ProfileHeader>},
        {"Observed depths profile, version 2", pagesOf<headerVersion2, ProfileHeader>},
        {"Observed depths beam, version 1", pagesOf<depthVersion1, Depth>},
        {"Observed depths beam, version 2", pagesOf<depthVersion2, Depth>},
        {"Observed depths segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

namespace SKAR::IO::ObservedDepths {

_TELD_Sensor* Open(const wchar_t* linePath, const wchar_t* accessToken, bool newFile) {
    SensorGuard sensor(openProfiles<ObservedTraits, ObsDepthOpenError, ObsDepthReadError>(
        linePath, newFile ? 53 : 4, accessToken, openKeys));
    if (!sensor) return nullptr;
    const std::uint32_t version = sensor->version;
    if (version != 1 && version != ObservedTraits::written) {
        ObsDepthOpenError unsupported;
        unsupported << unsupported_observed_depths_version(static_cast<int>(version))
                    << file_name_info(MORVAUString(sensor->dataFilePath.c_str()));
        BOOST_THROW_EXCEPTION(unsupported);
    }
    return sensor.release();
}

void Summary(_TELD_Sensor& sensor, ObservedSummary& summary) {
    if (sensor.sensorType != family.storedType)
        throwStep<ObsDepthReadError>(readSteps, Step::wrongSensor, {sensor});
    summary = {sensor.toolType,  sensor.numLineSegments, sensor.numRecords,
               sensor.numDepths, sensor.minTime,         sensor.maxTime,
               sensor.min[0],    sensor.max[0],          sensor.summaryStatus};
}

void Summary(_TELD_Sensor& sensor, int* toolType, int* numLineSegments, int* numProfiles, int* numDepths,
             double* minTime, double* maxTime, double* minDepth, double* maxDepth, unsigned* summaryStatus) {
    ObservedSummary summary;
    Summary(sensor, summary);
    give(toolType, static_cast<int>(summary.toolType));
    give(numLineSegments, static_cast<int>(summary.numLineSegments));
    give(numProfiles, static_cast<int>(summary.numProfiles));
    give(numDepths, static_cast<int>(summary.numDepths));
    give(minTime, summary.minTime);
    give(maxTime, summary.maxTime);
    give(minDepth, summary.minDepth);
    give(maxDepth, summary.maxDepth);
    give(summaryStatus, summary.summaryStatus);
}

void Read(_TELD_Sensor& sensor, int profile, int beam, Depth& depth) {
    const auto number = static_cast<std::uint32_t>(profile);
    const auto beamNumber = static_cast<std::uint32_t>(beam);
    int indexCode = 0;
    Depth read;
    const Step step = readBeam<ObservedTraits>(sensor, number, beamNumber, read, indexCode);
    if (step != Step::done)
        throwStep<ObsDepthReadError>(readSteps, step, {sensor, number, beamNumber, indexCode, errno});
    depth = read;
}

void Read(_TELD_Sensor& sensor, int profile, int beam, double* time, double* y, double* x, double* z,
          double* extra, unsigned* status) {
    Depth depth;
    Read(sensor, profile, beam, depth);
    give(time, depth.time);
    give(y, depth.y);
    give(x, depth.x);
    give(z, depth.z);
    give(extra, depth.extra);
    give(status, depth.status);
}

void ReadProfile(_TELD_Sensor& sensor, int profile, Profile& result, bool withDepths) {
    const auto number = static_cast<std::uint32_t>(profile);
    ProfileHeader header;
    int indexCode = 0;
    bool inBeams = false;
    const Step step = readProfile<ObservedTraits>(sensor, number, header,
                                                  withDepths ? &result.depths : nullptr, indexCode, inBeams);
    if (step != Step::done)
        throwStep<ObsDepthReadError>(tableOf(inBeams), step,
                                     {sensor, number, header.range.startBeam, indexCode, errno});
    result.numDepths = header.range.numDepths;
    result.startBeam = header.range.startBeam;
    result.latitude = header.latitude;
    result.longitude = header.longitude;
    result.time = header.time;
    result.status = header.status;
}

void ReadProfile(_TELD_Sensor& sensor, int profile, int* numDepths, int* startBeam, double* time,
                 double* latitude, double* longitude, unsigned* status) {
    Profile result;
    ReadProfile(sensor, profile, result, false);
    give(numDepths, static_cast<int>(result.numDepths));
    give(startBeam, static_cast<int>(result.startBeam));
    give(time, result.time);
    give(latitude, result.latitude);
    give(longitude, result.longitude);
    give(status, result.status);
}

} // namespace SKAR::IO::ObservedDepths

namespace {

_TELD_Sensor* openDir(const wchar_t* linePath, const wchar_t* accessToken, bool newFile,
                      std::uint32_t* error) {
    return errors::guardedOpen(
        error, [&] { return SKAR::IO::ObservedDepths::Open(linePath, accessToken, newFile); });
}

// Renames the three files of a set. A file that is in the way is kept.
int renameSet(const wchar_t* linePath, const wchar_t* from, const wchar_t* fromSuffix, const wchar_t* to,
              const wchar_t* toSuffix) {
    return renameFiles(linePath, from, fromSuffix, to, toSuffix) ? codes::success : base + Offset::specific28;
}

} // namespace

_TELD_Sensor* ObservedDepthsOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                    std::uint32_t* error) {
    return openDir(linePath, accessToken, false, error);
}

_TELD_Sensor* ObservedDepthsNewOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                       std::uint32_t* error) {
    return openDir(linePath, accessToken, true, error);
}

int ObservedDepthsClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int ObservedDepthsSummary(_TELD_Sensor* sensor, std::uint32_t* toolType, std::uint32_t* numLineSegments,
                          std::uint32_t* numProfiles, std::uint32_t* numDepths, double* minTime,
                          double* maxTime, double* minDepth, double* maxDepth, std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    SKAR::IO::ObservedDepths::ObservedSummary summary;
    SKAR::IO::ObservedDepths::Summary(*sensor, summary);
    give(toolType, summary.toolType);
    give(numLineSegments, summary.numLineSegments);
    give(numProfiles, summary.numProfiles);
    give(numDepths, summary.numDepths);
    give(minTime, summary.minTime);
    give(maxTime, summary.maxTime);
    give(minDepth, summary.minDepth);
    give(maxDepth, summary.maxDepth);
    give(summaryStatus, summary.summaryStatus);
    return codes::success;
}

int ObservedDepthsLineSegment(_TELD_Sensor* sensor, std::uint32_t number, wchar_t** sourceFileName,
                              std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime,
                              double* maxTime, double* minDepth, double* maxDepth, std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, number, sourceFileName, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    give(minDepth, segment->min[0]);
    give(maxDepth, segment->max[0]);
    return codes::success;
}

int ObservedDepthsRead(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, double* time,
                       double* y, double* x, double* z, double* extra, std::uint32_t* status) {
    const std::byte* bytes = time && y && x && z ? nextOfRun<ObservedTraits>(sensor, profile, beam) : nullptr;
    if (!bytes) [[unlikely]]
        return readElsewhere(sensor, profile, beam, time, y, x, z, extra, status);
    Depth depth;
    ObservedTraits::beam.decode(*sensor, bytes, depth);
    *time = depth.time;
    *y = depth.y;
    *x = depth.x;
    *z = depth.z;
    give(extra, depth.extra);
    give(status, depth.status);
    return codes::success;
}

int ObservedDepthsReadProfile(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t* numDepths,
                              std::uint32_t* startBeam, double* time, double* latitude, double* longitude,
                              std::uint32_t* status) {
    if (const int code = toCode(sensor)) return code;
    int indexCode = 0;
    bool inBeams = false;
    ProfileHeader header;
    std::vector<Depth>* none = nullptr;
    const Step step = readProfile<ObservedTraits>(*sensor, profile, header, none, indexCode, inBeams);
    if (step != Step::done) return codeOfStep(profileSteps, step, indexCode);
    give(numDepths, header.range.numDepths);
    give(startBeam, header.range.startBeam);
    give(time, header.time);
    give(latitude, header.latitude);
    give(longitude, header.longitude);
    give(status, header.status);
    return codes::success;
}

int ObservedDepthsReadProfileSeq(_TELD_Sensor* sensor, std::uint32_t* numDepths, std::uint32_t* startBeam,
                                 double* time, double* latitude, double* longitude, std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadProfileSeq", inQuery)) return code;
    if (!(numDepths && startBeam && time && latitude && longitude && status)) return codes::failed;
    ProfileHeader header;
    errno = 0;
    const Step step = takeHeader<ObservedTraits>(*sensor, 0, false, header);
    // A short read throws here, and nothing catches it.
    if (step == Step::readHeader)
        BOOST_THROW_EXCEPTION(errors::failure<SKAR::ObsDepthReadError>(
            "errorMessages/SKARio/ObservedDepths/freadProfileFailed", SKAR::stdio_error_info(errno)));
    if (step != Step::done) return family.code(Offset::decode);
    *numDepths = header.range.numDepths;
    *startBeam = header.range.startBeam;
    *time = header.time;
    *latitude = header.latitude;
    *longitude = header.longitude;
    *status = header.status;
    return codes::success;
}

int ObservedDepthsReadSeq(_TELD_Sensor* sensor, double* time, double* y, double* x, double* z, double* extra,
                          std::uint32_t* status) {
    const bool all = time && y && x && z && extra && status;
    const std::byte* bytes = all ? nextOfFile<ObservedTraits>(sensor) : nullptr;
    if (!bytes) [[unlikely]]
        return readNextElsewhere(sensor, time, y, x, z, extra, status);
    Depth depth;
    ObservedTraits::beam.decode(*sensor, bytes, depth);
    *time = depth.time;
    *y = depth.y;
    *x = depth.x;
    *z = depth.z;
    *extra = depth.extra;
    *status = depth.status;
    return codes::success;
}

int ObservedDepthsBgnSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t toolType) {
    if (const int code = beginSummary(family, sensor)) return code;
    sensor->toolType = toolType;
    return codes::success;
}

int ObservedDepthsBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int ObservedDepthsBgnSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t numDepths, std::uint32_t startBeam,
                                     double time, double latitude, double longitude, std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "BgnSeqWriteProfile", inCreate)) return code;
    ProfileHeader header;
    header.status = status;
    header.range = {numDepths, startBeam};
    header.time = time;
    header.latitude = latitude;
    header.longitude = longitude;
    return writeHeader<ObservedTraits>(*sensor, header);
}

int ObservedDepthsSeqWrite(_TELD_Sensor* sensor, double time, double y, double x, double z, double,
                           std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "SeqWrite", inCreate)) return code;
    return writeBeam<ObservedTraits>(*sensor, {time, y, x, z, 0.0, status});
}

int ObservedDepthsEndSeqWriteProfile(_TELD_Sensor* sensor) {
    return checkHandle(family, sensor, "EndSeqWriteProfile", inCreate);
}

int ObservedDepthsEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int ObservedDepthsEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int ObservedDepthsSetToolType(_TELD_Sensor* sensor, std::uint32_t toolType) {
    if (const int code = checkHandle(family, sensor, "SetToolType", inAny)) return code;
    sensor->toolType = toolType;
    return codes::success;
}

int ObservedDepthsSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int ObservedDepthsSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int ObservedDepthsSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name) {
    return setSourceFileName(family, sensor, name, base, Offset::openNoSpace);
}

int ObservedDepthsUpdateStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                               std::uint32_t status) {
    return updateBeam<ObservedTraits>(sensor, "UpdateStatus", profile, beam,
                                      family.code(Offset::decodeForUpdate), family.code(Offset::seek),
                                      [&](auto& words) { return changeStatus(words[0], status); });
}

int ObservedDepthsUpdateRejectionStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                        std::uint32_t rejectionBits) {
    return updateBeam<ObservedTraits>(
        sensor, "UpdateRejectionStatus", profile, beam, family.code(Offset::decodeForUpdate),
        family.code(Offset::decodeForUpdate),
        [&](auto& words) { return changeRejection(words[0], rejectionMask, rejectionBits); });
}

namespace {

// The members that an update gives; the others stay as the file has them, bit for bit.
int updateXYZStatus(_TELD_Sensor* sensor, const char* operation, std::uint32_t profile, std::uint32_t beam,
                    const double* x, const double* y, const double* z, const std::uint32_t* status,
                    int headerDecodeCode) {
    const int code = updateBeam<ObservedTraits>(
        sensor, operation, profile, beam, headerDecodeCode, family.code(Offset::seek), [&](auto& words) {
            constexpr std::size_t zWord = depthVersion2.offsetOf("z") / wordSize;
            constexpr std::size_t xWord = depthVersion2.offsetOf("x") / wordSize;
            constexpr std::size_t yWord = depthVersion2.offsetOf("y") / wordSize;
            if ((z && !TELD_EncodeMeters(*z, words[zWord])) || (x && !TELD_EncodeMeters(*x, words[xWord])) ||
                (y && !TELD_EncodeMeters(*y, words[yWord])))
                return Change::refuse;
            return status ? changeStatus(words[0], *status) : Change::write;
        });
    // Extents widen and never shrink, those of the last segment whichever the profile lies in.
    if (code == codes::success && z && profileState(*sensor).version == ObservedTraits::written)
        widenExtent(*sensor, 0, *z);
    return code;
}

} // namespace

int ObservedDepthsUpdateDepth(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, double depth) {
    return updateXYZStatus(sensor, "UpdateDepth", profile, beam, nullptr, nullptr, &depth, nullptr,
                           family.code(Offset::decodeForUpdate));
}

int ObservedDepthsUpdateDepthStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                    double depth, std::uint32_t status) {
    return updateXYZStatus(sensor, "UpdateDepthStatus", profile, beam, nullptr, nullptr, &depth, &status,
                           family.code(Offset::decodeForUpdate));
}

int ObservedDepthsUpdateXYZStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                  const double* x, const double* y, const double* z,
                                  const std::uint32_t* status) {
    return updateXYZStatus(sensor, "UpdateXYZStatus", profile, beam, x, y, z, status,
                           family.code(Offset::encode));
}

int ObservedDepthsSaveStatusToDisk(_TELD_Sensor* sensor) {
    return saveStatus(family, sensor);
}

int ObservedDepthsRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, fileName);
}
int ObservedDepthsNewRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, newFileName);
}

int ObservedDepthsBackupDir(const wchar_t* linePath) {
    return renameSet(linePath, fileName, L"", fileName, L".backup");
}

int ObservedDepthsRestoreBackupDir(const wchar_t* linePath) {
    return renameSet(linePath, fileName, L".backup", fileName, L"");
}

int ObservedDepthsRemoveBackupDir(const wchar_t* linePath) {
    removeFiles(linePath, fileName, L".backup");
    return codes::success;
}

int ObservedDepthsNewRestoreBackupDir(const wchar_t* linePath) {
    return renameSet(linePath, newFileName, L"", fileName, L"");
}
