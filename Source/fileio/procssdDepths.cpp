#include "fileio/formats.h"
#include "fileio/profilesteps.h"

#include <skar/processeddepths.h>

// Depths after merging, each with a position of its own.
namespace skar::fileio {

namespace {

using SKAR::IO::ProcessedDepths::Depth;
using Header = ProfileHeader;

// A beam's position in steps of secondaryPositionScale * 1e-9 from its profile's.
template <double ProfileState::*Profile>
struct BeamPosition {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning =
        "radians: (p - profile position) / (secondaryPositionScale * 1e-9), rounded";
    static bool encode(const Scale& scale, double value, std::uint32_t& word) noexcept {
        return TELD_EncodeDepthPosition(value, profileState(scale).*Profile, scale.secondaryPositionScale,
                                        word);
    }
    static double decode(const Scale& scale, std::uint32_t word) noexcept {
        return TELD_DecodeDepthPosition(profileState(scale).*Profile, static_cast<std::int32_t>(word),
                                        scale.secondaryPositionScale);
    }
};
using BeamLatitude = BeamPosition<&ProfileState::latitude>;
using BeamLongitude = BeamPosition<&ProfileState::longitude>;

constexpr auto headerVersion1 =
    layout<Header>(field<Unsigned>("status", &Header::status), field<DepthCount>("numDepths", &Header::range),
                   field<Time>("time", &Header::time), field<Latitude>("latitude", &Header::latitude),
                   field<Longitude>("longitude", &Header::longitude),
                   field<Radians>("angle1", &Header::angle1), field<Meters>("length1", &Header::length1),
                   field<Radians>("angle2", &Header::angle2), field<Radians>("angle3", &Header::angle3),
                   field<Meters>("length2", &Header::length2), field<Meters>("length3", &Header::length3),
                   field<Radians>("angle4", &Header::angle4), field<Radians>("angle5", &Header::angle5));
// Version 1 and the extents of the profile.
constexpr auto headerVersion2 = extended(headerVersion1, field<Latitude>("minLatitude", &Header::minLatitude),
                                         field<Latitude>("maxLatitude", &Header::maxLatitude),
                                         field<Longitude>("minLongitude", &Header::minLongitude),
                                         field<Longitude>("maxLongitude", &Header::maxLongitude));
constexpr auto headerVersion3 = layout<Header>(
    field<Unsigned>("status", &Header::status), field<DepthRange>("depthRange", &Header::range),
    field<Time>("time", &Header::time), field<Latitude>("latitude", &Header::latitude),
    field<Longitude>("longitude", &Header::longitude), field<Meters>("length2", &Header::length2),
    field<Latitude>("minLatitude", &Header::minLatitude),
    field<Latitude>("maxLatitude", &Header::maxLatitude),
    field<Longitude>("minLongitude", &Header::minLongitude),
    field<Longitude>("maxLongitude", &Header::maxLongitude));
constexpr auto depthVersion1 = layout<Depth>(
    field<Unsigned>("status", &Depth::status), field<Meters>("depth", &Depth::depth),
    field<Meters>("x", &Depth::x), field<Meters>("y", &Depth::y),
    field<BeamLatitude>("latitude", &Depth::latitude), field<BeamLongitude>("longitude", &Depth::longitude),
    field<ProfileTime>("timeOffset", &Depth::time), field<Meters>("extra", &Depth::extra));
constexpr auto depthVersion3 = layout<Depth>(
    field<StatusAndOffset>("statusAndOffset", Whole{}), field<Meters>("depth", &Depth::depth),
    field<BeamLatitude>("latitude", &Depth::latitude), field<BeamLongitude>("longitude", &Depth::longitude));

// Places of the extents in handle and segments.
enum Quantity : std::size_t { depthExtent, latitudeExtent, longitudeExtent };

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus), field<Unsigned>("toolType", &Handle::toolType),
    field<Unsigned>("numProfiles", &Handle::numRecords), field<Unsigned>("numDepths", &Handle::numDepths),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("secondaryClockAccuracy", &Handle::secondaryClockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), field<Unsigned>("summaryExtra", &Handle::summaryExtra),
    field<Signed>("positionScale", &Handle::positionScale),
    field<Signed>("secondaryPositionScale", &Handle::secondaryPositionScale),
    field<Signed>("referenceLatitude", &Handle::referenceLatitude),
    element<Latitude>("minLatitude", &Handle::min, latitudeExtent),
    element<Latitude>("maxLatitude", &Handle::max, latitudeExtent),
    field<Signed>("referenceLongitude", &Handle::referenceLongitude),
    element<Longitude>("minLongitude", &Handle::min, longitudeExtent),
    element<Longitude>("maxLongitude", &Handle::max, longitudeExtent),
    element<Meters>("minDepth", &Handle::min, depthExtent),
    element<Meters>("maxDepth", &Handle::max, depthExtent));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime, "min time"),
                    field<Time>("maxTime", &Segment::maxTime, "max time"),
                    element<Meters>("minDepth", &Segment::min, depthExtent, "min depth"),
                    element<Meters>("maxDepth", &Segment::max, depthExtent, "max depth"),
                    element<Latitude>("minLatitude", &Segment::min, latitudeExtent, "min lat"),
                    element<Latitude>("maxLatitude", &Segment::max, latitudeExtent, "max lat"),
                    element<Longitude>("minLongitude", &Segment::min, longitudeExtent, "min lng"),
                    element<Longitude>("maxLongitude", &Segment::max, longitudeExtent, "max lng"));

constexpr std::uint32_t rejectionMask = 0xFF3C0000;

struct ProcessedTraits {
    using Beam = Depth;
    static constexpr std::uint32_t written = 3;
    static constexpr auto& header = headerVersion3;
    static constexpr auto& beam = depthVersion3;
    static constexpr std::size_t timeOffset = headerVersion3.offsetOf("time");
    static constexpr std::size_t encodeSize = headerVersion3.size;
    static constexpr bool testsStartBeam = false;
    static constexpr std::size_t decodeSize(std::uint32_t version) {
        return version == 1 ? headerVersion1.size : version == 2 ? headerVersion2.size : headerVersion3.size;
    }
    template <class Use>
    [[gnu::always_inline]] static decltype(auto) withVersion(std::uint32_t version, Use use) {
        return version == 1   ? use(headerVersion1, depthVersion1)
               : version == 2 ? use(headerVersion2, depthVersion1)
                              : use(headerVersion3, depthVersion3);
    }
    static std::uint32_t profileLimit(const _TELD_Sensor& sensor) { return sensor.numRecords; }
    static void completeHeader(std::uint32_t version, Header& read) {
        if (version != 1) return;
        read.minLatitude = read.maxLatitude = read.latitude;
        read.minLongitude = read.maxLongitude = read.longitude;
    }

    static constexpr Family family = {
        .name = "ProcessedDepths",
        .sensorId = 0,
        .storedType = 0,
        .base = codes::processedDepths,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = headerVersion3.size,
        .nullHandle = codes::processedDepths + Offset::nullHandle,
        .testsSensor = true,
        .structureBeforeAccess = true,
        .streamErrorLog = "There is an error in the ProcessedDepths file stream before closing %d\n",
        .segmentOutputsOptional = true,
        .segmentOpen = {.onWriting = codes::processedDepths + Offset::writeSegments,
                        .firstOfTable = codes::processedDepths + Offset::openOther,
                        .otherCode = codes::processedDepths + Offset::openFile},
        .segmentWordLog = "ProcessedDepthsReadLineSegmentFile",
    };

    static bool setReferences(_TELD_Sensor& sensor, const Header& first) {
        std::uint32_t minutes = 0;
        std::uint32_t latitude = 0;
        std::uint32_t longitude = 0;
        const bool coded = TELD_EncodeRefTime(first.time, minutes) &&
                           TELD_EncodeRefPosition(first.latitude, latitude) &&
                           TELD_EncodeRefPosition(first.longitude, longitude);
        sensor.referenceTime = static_cast<std::int32_t>(minutes);
        sensor.referenceLatitude = static_cast<std::int32_t>(latitude);
        sensor.referenceLongitude = static_cast<std::int32_t>(longitude);
        return coded;
    }
    static void widenByHeader(_TELD_Sensor& sensor, const Header& profile) {
        widenTime(sensor, profile.time);
        widenExtent(sensor, latitudeExtent, profile.latitude);
        widenExtent(sensor, longitudeExtent, profile.longitude);
    }
    static void widenByBeam(_TELD_Sensor& sensor, const Depth& depth) {
        widenTime(sensor, depth.time);
        widenExtent(sensor, depthExtent, depth.depth);
        widenExtent(sensor, latitudeExtent, depth.latitude);
        widenExtent(sensor, longitudeExtent, depth.longitude);
    }
};
constexpr const Family& family = ProcessedTraits::family;
constexpr codes::Block base = codes::processedDepths;

#define SKAR_KEY(name) "errorMessages/SKARio/ProcessedDepths/" name
// The keys of the second stage end with a full stop and are other keys than those without.
constexpr StepRow readSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), codes::failed},
    {Step::profileRange, SKAR_KEY("profileIndexRange"), base + Offset::outOfRange,
     withProfile | withMaxProfile},
    {Step::mapIndex, SKAR_KEY("computeByteOffsetFailed"), 0, withIndexCode | withProfile},
    {Step::seekHeader, SKAR_KEY("fseekProfileFailed"), base + Offset::seek, withErrno | withOffset},
    {Step::readHeader, SKAR_KEY("freadDepthFailed"), 0, withErrno},
    {Step::positionHeader, SKAR_KEY("decodeDepthFailed"), base + Offset::decode},
    {Step::decodeHeader, SKAR_KEY("decodeDepthFailed"), base + Offset::decode},
    {Step::beamRange, SKAR_KEY("depthIndexRange."), base + Offset::outOfRange,
     withProfile | withBeam | withBeamRange},
    {Step::seekBeam, SKAR_KEY("fseekDepthFailed."), base + Offset::seek, withErrno},
    {Step::readBeam, SKAR_KEY("freadDepthFailed."), 0, withErrno},
    {Step::positionBeam, "Decode set up for depth record failed.", base + Offset::decode},
    {Step::decodeBeam, SKAR_KEY("decodeDepthFailed."), base + Offset::decode},
};
constexpr StepRow profileSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), codes::failed},
    {Step::profileRange, SKAR_KEY("profileIndexRange"), base + Offset::outOfRange,
     withProfile | withMaxProfile},
    {Step::mapIndex, SKAR_KEY("computeByteOffsetFailed"), 0, withIndexCode | withProfile},
    {Step::seekHeader, SKAR_KEY("fseekProfileFailed"), 0, withErrno | withOffset},
    {Step::readHeader, SKAR_KEY("freadProfileFailed"), 0, withErrno},
    {Step::decodeHeader, SKAR_KEY("decodeProfileFailed"), base + Offset::decode},
};
constexpr StepRow nextSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), codes::failed},
    {Step::readBeam, SKAR_KEY("freadDepthFailed"), 0, withErrno},
    {Step::decodeBeam, SKAR_KEY("decodeDepthFailed"), base + Offset::decode},
};
constexpr OpenKeys openKeys = {
    SKAR_KEY("fseekHeaderFailed"),  SKAR_KEY("freadHeaderFailed"), nullptr, nullptr, nullptr, nullptr,
    SKAR_KEY("timeIndexReadFailed")};
#undef SKAR_KEY

// What a header gives to a caller's pointers, in the order of the plain functions.
struct HeaderOutputs {
    std::uint32_t* numDepths;
    std::uint32_t* startBeam;
    double* time;
    double* latitude;
    double* minLatitude;
    double* maxLatitude;
    double* longitude;
    double* minLongitude;
    double* maxLongitude;
    double* angle1;
    double* length1;
    double* angle2;
    double* angle3;
    double* length2;
    double* length3;
    double* angle4;
    double* angle5;
    std::uint32_t* status;

    void take(const Header& header) const {
        give(numDepths, header.range.numDepths);
        give(startBeam, header.range.startBeam);
        give(time, header.time);
        give(latitude, header.latitude);
        give(minLatitude, header.minLatitude);
        give(maxLatitude, header.maxLatitude);
        give(longitude, header.longitude);
        give(minLongitude, header.minLongitude);
        give(maxLongitude, header.maxLongitude);
        give(angle1, header.angle1);
        give(length1, header.length1);
        give(angle2, header.angle2);
        give(angle3, header.angle3);
        give(length2, header.length2);
        give(length3, header.length3);
        give(angle4, header.angle4);
        give(angle5, header.angle5);
        give(status, header.status);
    }
};

// The plain functions' own way with a header that did not come: positioning and reading throw, the rest are
// codes.
int headerFailure(const _TELD_Sensor& sensor, Step step, std::uint32_t profile, int error) {
    switch (step) {
    case Step::done:
        return codes::success;
    case Step::profileRange:
        return base + Offset::outOfRange;
    case Step::mapIndex:
        return base + Offset::mapIndex;
    case Step::seekHeader:
    case Step::readHeader:
        throwStep<SKAR::ProcDepthReadError>(profileSteps, step, {sensor, profile, 0, 0, error});
    default:
        return base + Offset::decode;
    }
}

int readHeader(_TELD_Sensor& sensor, std::uint32_t profile, Header& header) {
    if (const int code = checkHandle(family, &sensor, "ReadProfile", inQuery | inUpdate, Structure::needed))
        return code;
    if (profile < 1 || profile > sensor.numRecords) return base + Offset::outOfRange;
    int indexCode = 0;
    errno = 0;
    const Step step = findHeader<ProcessedTraits>(sensor, profile, header, indexCode);
    return headerFailure(sensor, step, profile, errno);
}

int readNextHeader(_TELD_Sensor& sensor, Header& header) {
    errno = 0;
    const Step step = followingHeader<ProcessedTraits>(sensor, header);
    return headerFailure(sensor, step, 0, errno);
}

// The next beam behind the header that was read last, as a step.
Step nextDepth(_TELD_Sensor& sensor, Depth& depth) {
    if (const Step step = checkRead(sensor, family, 1, 1); step != Step::done) return step;
    ProfileState& state = profileState(sensor);
    if (state.numDepths == 0) return Step::readBeam;
    const Step step =
        takeBeam<ProcessedTraits>(sensor, inCache(sensor, beamSize<ProcessedTraits>(state.version)), depth);
    state.common.needSeek = 1;
    return step;
}

// Out of the way of reads that go on where the last one ended.
[[gnu::noinline]] int readElsewhere(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                    Depth& depth) {
    if (!sensor) return family.nullHandle;
    int indexCode = 0;
    Depth read;
    const Step step = readBeam<ProcessedTraits>(*sensor, profile, beam, read, indexCode);
    if (step != Step::done) return codeOfStep(readSteps, step, indexCode);
    depth = read;
    return codes::success;
}

using SKAR::IO::ProcessedDepths::CompactDepth;
using SKAR::IO::ProcessedDepths::PD_Profile;

// The beams behind the header that was read last.
int readCompact(_TELD_Sensor& sensor, std::vector<CompactDepth>& depths) {
    const auto compact = [](const Depth& depth) {
        return CompactDepth{depth.time, depth.latitude, depth.longitude, static_cast<float>(depth.depth),
                            depth.status};
    };
    const auto codeOf = [](Step step) {
        return step == Step::done       ? codes::success
               : step == Step::readBeam ? codes::withoutCode
                                        : base + Offset::decode;
    };
    const ProfileState& state = profileState(sensor);
    const std::uint64_t bytes = std::uint64_t{state.numDepths} * beamSize<ProcessedTraits>(state.version);
    if (!inCache(sensor, bytes) && fits(sensor, bytes)) {
        depths.resize(state.numDepths);
        return codeOf(readBeams<ProcessedTraits>(
            sensor, [&](std::uint32_t i, const Depth& depth) { depths[i] = compact(depth); }));
    }
    for (std::uint32_t i = 0; i < state.numDepths; ++i) {
        Depth depth;
        const Step step = nextDepth(sensor, depth);
        if (step != Step::done) return codeOf(step);
        depths.push_back(compact(depth));
    }
    return codes::success;
}

} // namespace

FormatTables processedDepthsFormat() {
    static constexpr FormatTable tables[] = {
        {"Processed depths summary", pagesOf<summaryLayout, Handle>},
        {"Processed depths profile, version 1", pagesOf<headerVersion1, Header>},
        {"Processed depths profile, version 2", pagesOf<headerVersion2, Header>},
        {"Processed depths profile, version 3", pagesOf<headerVersion3, Header>},
        {"Processed depths beam, versions 1 and 2", pagesOf<depthVersion1, Depth>},
        {"Processed depths beam, version 3", pagesOf<depthVersion3, Depth>},
        {"Processed depths segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

namespace SKAR::IO::ProcessedDepths {

_TELD_Sensor* Open(const wchar_t* linePath, const wchar_t* accessToken) {
    SensorGuard sensor(openProfiles<ProcessedTraits, ProcDepthOpenError, ProcDepthReadError>(
        linePath, family.sensorId, accessToken, openKeys));
    if (!sensor) return nullptr;
    const std::uint32_t version = sensor->version;
    if (version < 1 || version > ProcessedTraits::written) {
        ProcDepthOpenError unsupported;
        unsupported << unsupported_processed_depths_version(static_cast<int>(version))
                    << file_name_info(MORVAUString(sensor->dataFilePath.c_str()));
        BOOST_THROW_EXCEPTION(unsupported);
    }
    if (sensor->accessType == TELD_CREATE)
        sensor->summaryExtra = 1;
    else if (const int code = initialiseCacheSize(sensor.get(), cacheSizeFromEnvironment()))
        throwOpen<ProcDepthOpenError>(*sensor, "errorMessages/General/outOfMemory", code);
    return sensor.release();
}

void Read(_TELD_Sensor& sensor, unsigned profile, unsigned beam, Depth& depth) {
    int indexCode = 0;
    fileio::Depth read;
    const Step step = readBeam<ProcessedTraits>(sensor, profile, beam, read, indexCode);
    if (step != Step::done)
        throwStep<ProcDepthReadError>(readSteps, step, {sensor, profile, beam, indexCode, errno});
    depth = read;
}

void ReadProfile(_TELD_Sensor& sensor, unsigned profile, Profile& result, bool withDepths) {
    fileio::Header header;
    int indexCode = 0;
    bool inBeams = false;
    Step step = checkRead(sensor, family, profile, sensor.numRecords);
    if (step == Step::done && profileState(sensor).version != ProcessedTraits::written) {
        // Older headers are the plain function's job; it gives its code.
        if (const int code = readHeader(sensor, profile, header)) {
            ProcDepthReadError failed;
            failed << bathy::error::BathyException::tag_error_code(code);
            BOOST_THROW_EXCEPTION(failed);
        }
    } else if (step == Step::done && !withDepths) {
        step = findHeader<ProcessedTraits>(sensor, profile, header, indexCode);
    }
    if (step == Step::done && withDepths)
        step = readProfile<ProcessedTraits>(sensor, profile, header, &result.depths, indexCode, inBeams);
    if (step != Step::done)
        throwStep<ProcDepthReadError>(inBeams ? StepTable(readSteps) : StepTable(profileSteps), step,
                                      {sensor, profile, header.range.startBeam, indexCode, errno});
    result.numDepths = header.range.numDepths;
    result.startBeam = header.range.startBeam;
    result.time = header.time;
    result.longitude = header.longitude;
    result.latitude = header.latitude;
    result.minLongitude = header.minLongitude;
    result.minLatitude = header.minLatitude;
    result.maxLongitude = header.maxLongitude;
    result.maxLatitude = header.maxLatitude;
    result.length2 = header.length2;
    result.status = header.status;
}

void ReadNext(_TELD_Sensor& sensor, Depth& depth) {
    fileio::Depth next;
    const Step step = nextDepth(sensor, next);
    if (step != Step::done) throwStep<ProcDepthReadError>(nextSteps, step, {sensor, 0, 0, 0, errno});
    depth = next;
}

int ProcessedDepthsReadProfiles(_TELD_Sensor* sensor, int first, int count,
                                std::vector<PD_Profile>& profiles) {
    if (const int code = checkHandle(family, sensor, "ReadProfiles", inQuery | inUpdate, Structure::needed))
        return code;
    if (first < 1 || count < 1) return base + Offset::outOfRange;
    const std::int64_t there = std::int64_t{sensor->numRecords} - first + 1;
    const auto wanted = static_cast<std::size_t>(std::clamp<std::int64_t>(there, 0, count));
    std::size_t complete = 0;
    try {
        // A count that the file cannot have is not worth the memory for it: one more profile than it has room
        // for is enough to tell.
        const auto room = static_cast<std::size_t>(std::max<std::int64_t>(0, sensor->state->file.size())) /
                          fileio::headerSize<ProcessedTraits>(profileState(*sensor).version);
        profiles.resize(std::min(wanted, room + 1));
        for (; complete < wanted; ++complete) {
            if (complete == profiles.size()) profiles.resize(std::min(wanted, 2 * complete));
            fileio::Header header;
            PD_Profile& profile = profiles[complete];
            const int code = complete == 0 ? readHeader(*sensor, static_cast<std::uint32_t>(first), header)
                                           : readNextHeader(*sensor, header);
            if (code != codes::success) return code;
            profile.time = header.time;
            profile.latitude = header.latitude;
            profile.minLatitude = header.minLatitude;
            profile.maxLatitude = header.maxLatitude;
            profile.longitude = header.longitude;
            profile.minLongitude = header.minLongitude;
            profile.maxLongitude = header.maxLongitude;
            profile.angle1 = header.angle1;
            profile.startBeam = header.range.startBeam;
            profile.status = header.status;
            profile.depths.clear();
            if (const int failed = readCompact(*sensor, profile.depths)) return failed;
        }
    } catch (const boost::exception& thrown) {
        return static_cast<int>(errors::codeOf(thrown));
    } catch (const std::bad_alloc&) {
        profiles.resize(complete);
    }
    return codes::success;
}

} // namespace SKAR::IO::ProcessedDepths

_TELD_Sensor* ProcessedDepthsOpenDir(const wchar_t* linePath, const wchar_t* accessToken,
                                     std::uint32_t* error) {
    return errors::guardedOpen(error, [&] { return SKAR::IO::ProcessedDepths::Open(linePath, accessToken); });
}

int ProcessedDepthsClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int ProcessedDepthsSummary(_TELD_Sensor* sensor, std::uint32_t* toolType, std::uint32_t* summaryExtra,
                           std::uint32_t* numLineSegments, std::uint32_t* numProfiles,
                           std::uint32_t* numDepths, double* minTime, double* maxTime, double* minDepth,
                           double* maxDepth, double* minLatitude, double* maxLatitude, double* minLongitude,
                           double* maxLongitude, std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(toolType, sensor->toolType);
    give(summaryExtra, sensor->summaryExtra);
    give(numLineSegments, sensor->numLineSegments);
    give(numProfiles, sensor->numRecords);
    give(numDepths, sensor->numDepths);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(minDepth, sensor->min[depthExtent]);
    give(maxDepth, sensor->max[depthExtent]);
    give(minLatitude, sensor->min[latitudeExtent]);
    give(maxLatitude, sensor->max[latitudeExtent]);
    give(minLongitude, sensor->min[longitudeExtent]);
    give(maxLongitude, sensor->max[longitudeExtent]);
    give(summaryStatus, sensor->summaryStatus);
    return codes::success;
}

int ProcessedDepthsLineSegment(_TELD_Sensor* sensor, std::uint32_t number, wchar_t** sourceFileName,
                               std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime,
                               double* maxTime, double* minDepth, double* maxDepth, double* minLatitude,
                               double* maxLatitude, double* minLongitude, double* maxLongitude,
                               std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, number, sourceFileName, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    give(minDepth, segment->min[depthExtent]);
    give(maxDepth, segment->max[depthExtent]);
    give(minLatitude, segment->min[latitudeExtent]);
    give(maxLatitude, segment->max[latitudeExtent]);
    give(minLongitude, segment->min[longitudeExtent]);
    give(maxLongitude, segment->max[longitudeExtent]);
    return codes::success;
}

int ProcessedDepthsRead(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, double* time,
                        double* y, double* x, double* latitude, double* longitude, double* depth,
                        double* extra, std::uint32_t* status) {
    Depth read;
    if (const std::byte* bytes = nextOfRun<ProcessedTraits>(sensor, profile, beam)) [[likely]] {
        ProcessedTraits::beam.decode(*sensor, bytes, read);
    } else {
        if (const int code = readElsewhere(sensor, profile, beam, read)) return code;
    }
    give(time, read.time);
    give(y, read.y);
    give(x, read.x);
    give(latitude, read.latitude);
    give(longitude, read.longitude);
    give(depth, read.depth);
    give(extra, read.extra);
    give(status, read.status);
    return codes::success;
}

int ProcessedDepthsReadProfile(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t* numDepths,
                               std::uint32_t* startBeam, double* time, double* latitude, double* minLatitude,
                               double* maxLatitude, double* longitude, double* minLongitude,
                               double* maxLongitude, double* angle1, double* length1, double* angle2,
                               double* angle3, double* length2, double* length3, double* angle4,
                               double* angle5, std::uint32_t* status) {
    if (!sensor) return family.nullHandle;
    Header header;
    if (const int code = readHeader(*sensor, profile, header)) return code;
    HeaderOutputs{numDepths, startBeam,    time,         latitude, minLatitude, maxLatitude,
                  longitude, minLongitude, maxLongitude, angle1,   length1,     angle2,
                  angle3,    length2,      length3,      angle4,   angle5,      status}
        .take(header);
    return codes::success;
}

int ProcessedDepthsReadProfileSeq(_TELD_Sensor* sensor, std::uint32_t* numDepths, std::uint32_t* startBeam,
                                  double* time, double* latitude, double* minLatitude, double* maxLatitude,
                                  double* longitude, double* minLongitude, double* maxLongitude,
                                  double* angle1, double* length1, double* angle2, double* angle3,
                                  double* length2, double* length3, double* angle4, double* angle5,
                                  std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadProfileSeq", inQuery)) return code;
    Header header;
    if (const int code = readNextHeader(*sensor, header)) return code;
    HeaderOutputs{numDepths, startBeam,    time,         latitude, minLatitude, maxLatitude,
                  longitude, minLongitude, maxLongitude, angle1,   length1,     angle2,
                  angle3,    length2,      length3,      angle4,   angle5,      status}
        .take(header);
    return codes::success;
}

int ProcessedDepthsReadSeq(_TELD_Sensor* sensor, double* time, double* y, double* x, double* latitude,
                           double* longitude, double* depth, double* extra, std::uint32_t* status) {
    if (!sensor) return family.nullHandle;
    Depth next;
    // The throwing reader's way, without the cost of an exception barrier on each record.
    if (const Step step = nextDepth(*sensor, next); step != Step::done) [[unlikely]]
        return errors::translated([&] {
            throwStep<SKAR::ProcDepthReadError>(nextSteps, step, {*sensor, 0, 0, 0, errno});
        });
    give(time, next.time);
    give(y, next.y);
    give(x, next.x);
    give(latitude, next.latitude);
    give(longitude, next.longitude);
    give(depth, next.depth);
    give(extra, next.extra);
    give(status, next.status);
    return codes::success;
}

std::uint32_t pdReadProfileDepths(_TELD_Sensor* sensor, std::uint32_t profile, double* latitudes,
                                  double* longitudes, double* depths, std::uint32_t* statuses,
                                  std::uint32_t* beams, std::uint32_t maxDepths, std::uint32_t* error) {
    std::uint32_t ignored = 0;
    std::uint32_t& failure = error ? *error : ignored;
    failure = 0;
    int code = checkHandle(family, sensor, "ReadProfileDepths", inQuery | inUpdate);
    if (code == codes::success && profile == 0) code = base + Offset::outOfRange;
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 0;
    if (code == codes::success)
        code = errors::guarded([&] {
            return ProcessedDepthsReadProfile(sensor, profile, &numDepths, &startBeam, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        });
    std::uint32_t count = 0;
    for (; code == codes::success && count < std::min(numDepths, maxDepths); ++count) {
        Depth depth;
        code = ProcessedDepthsReadSeq(sensor, nullptr, nullptr, nullptr, &depth.latitude, &depth.longitude,
                                      &depth.depth, nullptr, &depth.status);
        if (code != codes::success) break;
        if (latitudes) latitudes[count] = depth.latitude;
        if (longitudes) longitudes[count] = depth.longitude;
        if (depths) depths[count] = depth.depth;
        if (statuses) statuses[count] = depth.status;
        if (beams) beams[count] = startBeam + count;
    }
    failure = static_cast<std::uint32_t>(code);
    return count;
}

int ProcessedDepthsBgnSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t toolType,
                                      std::uint32_t summaryExtra) {
    if (const int code = beginSummary(family, sensor)) return code;
    sensor->toolType = toolType;
    sensor->summaryExtra = summaryExtra;
    return codes::success;
}

int ProcessedDepthsBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int ProcessedDepthsBgnSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t numDepths, std::uint32_t startBeam,
                                      double time, double latitude, double minLatitude, double maxLatitude,
                                      double longitude, double minLongitude, double maxLongitude, double,
                                      double, double, double, double length2, double, double, double,
                                      std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "BgnSeqWriteProfile", inCreate)) return code;
    Header header;
    header.status = status;
    header.range = {numDepths, startBeam};
    header.time = time;
    header.latitude = latitude;
    header.minLatitude = minLatitude;
    header.maxLatitude = maxLatitude;
    header.longitude = longitude;
    header.minLongitude = minLongitude;
    header.maxLongitude = maxLongitude;
    header.length2 = length2;
    return writeHeader<ProcessedTraits>(*sensor, header);
}

int ProcessedDepthsSeqWrite(_TELD_Sensor* sensor, double time, double, double, double latitude,
                            double longitude, double depth, double, std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "SeqWrite", inCreate)) return code;
    Depth beam;
    beam.time = time;
    beam.latitude = latitude;
    beam.longitude = longitude;
    beam.depth = depth;
    beam.status = status;
    return writeBeam<ProcessedTraits>(*sensor, beam);
}

int ProcessedDepthsEndSeqWriteProfile(_TELD_Sensor* sensor) {
    return checkHandle(family, sensor, "EndSeqWriteProfile", inCreate);
}

int ProcessedDepthsEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int ProcessedDepthsEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int ProcessedDepthsSetToolType(_TELD_Sensor* sensor, std::uint32_t toolType) {
    if (const int code = checkHandle(family, sensor, "SetToolType", inAny)) return code;
    sensor->toolType = toolType;
    return codes::success;
}

int ProcessedDepthsSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int ProcessedDepthsSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int ProcessedDepthsSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name) {
    return setSourceFileName(family, sensor, name, base, Offset::openNoSpace);
}

int ProcessedDepthsUpdateStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                std::uint32_t status) {
    return updateBeam<ProcessedTraits>(sensor, "UpdateStatus", profile, beam,
                                       family.code(Offset::decodeForUpdate), family.code(Offset::seek),
                                       [&](auto& words) { return changeStatus(words[0], status); });
}

int ProcessedDepthsUpdateRejectionStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                         std::uint32_t rejectionBits) {
    return updateBeam<ProcessedTraits>(
        sensor, "UpdateRejectionStatus", profile, beam, family.code(Offset::decodeForUpdate),
        family.code(Offset::decodeForUpdate),
        [&](auto& words) { return changeRejection(words[0], rejectionMask, rejectionBits); });
}

int ProcessedDepthsUpdateXYZStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                                   const double* x, const double* y, const double* z,
                                   const std::uint32_t* status) {
    bool changed = false;
    const int code = updateBeam<ProcessedTraits>(
        sensor, "UpdateXYZStatus", profile, beam, family.code(Offset::encode), family.code(Offset::seek),
        [&](auto& words) {
            constexpr std::size_t depthWord = depthVersion3.offsetOf("depth") / wordSize;
            constexpr std::size_t latitudeWord = depthVersion3.offsetOf("latitude") / wordSize;
            constexpr std::size_t longitudeWord = depthVersion3.offsetOf("longitude") / wordSize;
            if ((x && !BeamLongitude::encode(*sensor, *x, words[longitudeWord])) ||
                (y && !BeamLatitude::encode(*sensor, *y, words[latitudeWord])) ||
                (z && !TELD_EncodeMeters(*z, words[depthWord])))
                return Change::refuse;
            changed = true;
            return status ? changeStatus(words[0], *status) : Change::write;
        });
    if (code != codes::success || !changed) return code;
    if (x) widenExtent(*sensor, longitudeExtent, *x);
    if (y) widenExtent(*sensor, latitudeExtent, *y);
    if (z) widenExtent(*sensor, depthExtent, *z);
    return code;
}

int ProcessedDepthsUpdateSummaryStatus(_TELD_Sensor* sensor) {
    if (!sensor) return family.nullHandle;
    if (!sensor->pReadStruct) return codes::failed;
    if (sensor->sensorType == family.storedType && profileState(*sensor).version != ProcessedTraits::written)
        return codes::success;
    if (const int code = checkWriter(family, sensor, "UpdateSummaryStatus", inUpdate)) return code;
    profileState(*sensor).common.needSeek = 1;
    const PositionGuard readersGoOn(sensor->state->file);
    if (const int code = TELD_ReadDataValidationRecord(sensor)) return code;
    RecordFile& file = sensor->state->file;
    const std::int64_t start = file.position();
    const std::byte* stored = file.read(family.summary.size);
    if (!stored) return base + Offset::read;
    std::array<std::byte, summaryLayout.size> summary;
    std::memcpy(summary.data(), stored, summary.size());
    storeWord(summary.data(), sensor->summaryStatus);
    if (!file.seek(start)) return base + Offset::seek;
    return file.write(summary.data(), summary.size()) ? codes::success : base + Offset::write;
}

int ProcessedDepthsSaveStatusToDisk(_TELD_Sensor* sensor) {
    if (!sensor) return family.nullHandle;
    const PositionGuard readersGoOn(sensor->state->file);
    return saveStatus(family, sensor);
}

int ProcessedDepthsRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"ProcessedDepths");
}
