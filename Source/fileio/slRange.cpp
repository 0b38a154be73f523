#include "fileio/formats.h"
#include "fileio/profilesteps.h"

#include <skar/slantrange.h>

// What was measured before depths were computed.
namespace skar::fileio {

namespace {

using SKAR::IO::SlantRange::Range;

// Steps of 1e-6, cut toward zero.
struct Travel {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "value * 1e6, cut and not rounded";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return lowWord(value * 1000000.0, word);
    }
    static double decode(const Scale&, std::uint32_t word) noexcept {
        return TELD_DecodeSeconds(static_cast<std::int32_t>(word));
    }
};

struct Angles {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning =
        "angle1 in bits 16 to 31, angle2 in bits 0 to 15: value * 10000, rounded, "
        "cut to 16 bits, signed";
    static bool encode(const Scale&, const Range& range, std::uint32_t& word) noexcept {
        std::uint32_t high = 0;
        std::uint32_t low = 0;
        const bool coded =
            roundToWord(range.angle1 * 10000.0, high) && roundToWord(range.angle2 * 10000.0, low);
        word = high << 16 | (low & 0xFFFF);
        return coded;
    }
    static void decodeInto(const Scale&, std::uint32_t word, Range& range) noexcept {
        range.angle1 = static_cast<std::int16_t>(word >> 16) / 10000.0;
        range.angle2 = static_cast<std::int16_t>(word) / 10000.0;
    }
};

constexpr auto headerLayout = layout<ProfileHeader>(
    field<Unsigned>("status", &ProfileHeader::status), field<DepthRange>("depthRange", &ProfileHeader::range),
    field<Time>("time", &ProfileHeader::time), field<Radians>("latitude", &ProfileHeader::latitude),
    field<Radians>("longitude", &ProfileHeader::longitude));
constexpr auto rangeLayout =
    layout<Range>(field<StatusAndOffset>("statusAndOffset", Whole{}), field<Meters>("range", &Range::range),
                  field<Travel>("travel", &Range::travel), field<Angles>("angles", Whole{}));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus), field<Unsigned>("toolType", &Handle::toolType),
    field<Unsigned>("numProfiles", &Handle::numRecords), field<Unsigned>("numDepths", &Handle::numDepths),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("secondaryClockAccuracy", &Handle::secondaryClockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr codes::Block base = codes::slantRange;

struct SlantRangeTraits {
    using Beam = Range;
    static constexpr std::uint32_t written = 2;
    static constexpr auto& header = headerLayout;
    static constexpr auto& beam = rangeLayout;
    static constexpr std::size_t timeOffset = headerLayout.offsetOf("time");
    static constexpr std::size_t encodeSize = headerLayout.size;
    static constexpr bool testsStartBeam = false;
    static constexpr std::size_t decodeSize(std::uint32_t) { return headerLayout.size; }
    template <class Use>
    [[gnu::always_inline]] static decltype(auto) withVersion(std::uint32_t, Use use) {
        return use(headerLayout, rangeLayout);
    }
    // The number of beams is meant: a profile beyond the last one fails in the time index only.
    static std::uint32_t profileLimit(const _TELD_Sensor& sensor) { return sensor.numDepths; }
    static void completeHeader(std::uint32_t, ProfileHeader&) {}

    static constexpr Family family = {
        .name = "SLRange",
        .sensorId = 30,
        .storedType = 30,
        .base = base,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = headerLayout.size,
        .nullHandle = base + Offset::nullHandle,
        .testsSensor = true,
        .streamErrorLog = "There is an error in the SLRange file stream before closing %d\n",
        .segmentOutputsOptional = true,
        .segmentOpen = {.onWriting = base + Offset::writeSegments,
                        .firstOfTable = base + Offset::openOther,
                        .otherCode = base + Offset::openFile},
    };

    static bool setReferences(_TELD_Sensor& sensor, const ProfileHeader& profile) {
        std::uint32_t minutes = 0;
        const bool coded = TELD_EncodeRefTime(profile.time, minutes);
        sensor.referenceTime = static_cast<std::int32_t>(minutes);
        return coded;
    }
    static void widenByHeader(_TELD_Sensor& sensor, const ProfileHeader& profile) {
        widenTime(sensor, profile.time);
    }
    static void widenByBeam(_TELD_Sensor& sensor, const Range& range) { widenTime(sensor, range.time); }
};
constexpr const Family& family = SlantRangeTraits::family;

#define SKAR_KEY(name) "errorMessages/SKARio/SlantRange/" name
constexpr StepRow readSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), base + Offset::wrongAccess},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::profileRange, SKAR_KEY("profileIndexRange"), base + Offset::outOfRange,
     withProfile | withMaxProfile},
    {Step::mapIndex, SKAR_KEY("computeByteOffsetFailed"), 0, withIndexCode | withProfile},
    {Step::seekHeader, SKAR_KEY("fseekProfileFailed"), base + Offset::seek, withErrno},
    {Step::readHeader, SKAR_KEY("freadProfileFailed"), base + Offset::read, withErrno | withProfile},
    {Step::positionHeader, SKAR_KEY("decodeProfileFailed"), base + Offset::decode, withProfile},
    {Step::decodeHeader, SKAR_KEY("decodeProfileFailed"), base + Offset::decode, withProfile},
    {Step::beamRange, SKAR_KEY("depthIndexRange"), base + Offset::outOfRange,
     withProfile | withBeam | withBeamRange},
    {Step::seekBeam, SKAR_KEY("fseekRecordFailed"), base + Offset::seek, withErrno},
    {Step::readBeam, SKAR_KEY("freadRecordFailed"), base + Offset::read, withErrno},
    {Step::decodeBeam, SKAR_KEY("decodeRecordFailed"), base + Offset::decode}, // and all others
};
constexpr OpenKeys openKeys = {.seekSummary = SKAR_KEY("fseekHeaderFailed"),
                               .shortSummary = nullptr,
                               .undecodedSummary = nullptr,
                               .segmentsOpen = SKAR_KEY("validationReadFailed"),
                               .segmentsValidation = SKAR_KEY("validationReadFailed"),
                               .segmentsDecode = SKAR_KEY("validationReadFailed"),
                               .timeIndex = SKAR_KEY("timeIndexReadFailed"),
                               .sensorOpen = SKAR_KEY("openFailed"),
                               .writeValidation = SKAR_KEY("writeValidationFailed"),
                               .summaryCode = base + Offset::readSummary,
                               .segmentsCode = base + Offset::decodeSegments};
#undef SKAR_KEY

} // namespace

FormatTables slantRangeFormat() {
    static constexpr FormatTable tables[] = {
        {"Slant range summary", pagesOf<summaryLayout, Handle>},
        {"Slant range profile", pagesOf<headerLayout, ProfileHeader>},
        {"Slant range beam", pagesOf<rangeLayout, Range>},
        {"Slant range segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

namespace SKAR::IO::SlantRange {

_TELD_Sensor* Open(const wchar_t* linePath, const wchar_t* accessToken) {
    return openProfiles<SlantRangeTraits, SlantRangeOpenError, SlantRangeOpenError>(linePath, family.sensorId,
                                                                                    accessToken, openKeys);
}

void Read(_TELD_Sensor& sensor, int profile, int beam, Range& range) {
    const auto number = static_cast<std::uint32_t>(profile);
    const auto beamNumber = static_cast<std::uint32_t>(beam);
    int indexCode = 0;
    Range read;
    const Step step = readBeam<SlantRangeTraits>(sensor, number, beamNumber, read, indexCode);
    if (step != Step::done)
        throwStep<SlantRangeReadError>(readSteps, step, {sensor, number, beamNumber, indexCode, errno});
    range = read;
}

void Read(_TELD_Sensor& sensor, int profile, int beam, double* time, double* range, double* travel,
          double* angle1, double* angle2, unsigned* status) {
    Range read;
    Read(sensor, profile, beam, read);
    give(time, read.time);
    give(range, read.range);
    give(travel, read.travel);
    give(angle1, read.angle1);
    give(angle2, read.angle2);
    give(status, read.status);
}

void ReadProfile(_TELD_Sensor& sensor, int profile, Profile& result, bool withDepths) {
    const auto number = static_cast<std::uint32_t>(profile);
    ProfileHeader header;
    int indexCode = 0;
    bool inBeams = false;
    const Step step = readProfile<SlantRangeTraits>(
        sensor, number, header, withDepths ? &result.ranges : nullptr, indexCode, inBeams);
    if (step != Step::done)
        throwStep<SlantRangeReadError>(readSteps, step,
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

} // namespace SKAR::IO::SlantRange

_TELD_Sensor* SLRangeOpenDir(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t* error) {
    return errors::guardedOpen(error, [&] { return SKAR::IO::SlantRange::Open(linePath, accessToken); });
}

int SLRangeClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SLRangeSummary(_TELD_Sensor* sensor, std::uint32_t* toolType, std::uint32_t* numLineSegments,
                   std::uint32_t* numProfiles, std::uint32_t* numDepths, double* minTime, double* maxTime,
                   std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(toolType, sensor->toolType);
    give(numLineSegments, sensor->numLineSegments);
    give(numProfiles, sensor->numRecords);
    give(numDepths, sensor->numDepths);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(summaryStatus, sensor->summaryStatus);
    return codes::success;
}

int SLRangeLineSegment(_TELD_Sensor* sensor, std::uint32_t number, wchar_t** sourceFileName,
                       std::uint32_t* beginIndex, std::uint32_t* endIndex, double* minTime, double* maxTime,
                       std::uint32_t* status) {
    const _TELD_LineSegment* segment = nullptr;
    if (const int code =
            getSegment(family, sensor, number, sourceFileName, beginIndex, endIndex, status, segment))
        return code;
    give(minTime, segment->minTime);
    give(maxTime, segment->maxTime);
    return codes::success;
}

int SLRangeRead(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, double* time, double* range,
                double* travel, double* angle1, double* angle2, std::uint32_t* status) {
    Range read;
    if (const std::byte* bytes = nextOfRun<SlantRangeTraits>(sensor, profile, beam)) [[likely]] {
        SlantRangeTraits::beam.decode(*sensor, bytes, read);
    } else {
        if (!sensor) return family.nullHandle;
        int indexCode = 0;
        if (const Step step = readBeam<SlantRangeTraits>(*sensor, profile, beam, read, indexCode);
            step != Step::done)
            return codeOfStep(readSteps, step, indexCode);
    }
    give(time, read.time);
    give(range, read.range);
    give(travel, read.travel);
    give(angle1, read.angle1);
    give(angle2, read.angle2);
    give(status, read.status);
    return codes::success;
}

int SLRangeReadProfile(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t* numDepths,
                       std::uint32_t* startBeam, double* time, double* latitude, double* longitude,
                       std::uint32_t* status) {
    if (!sensor) return family.nullHandle;
    int indexCode = 0;
    bool inBeams = false;
    ProfileHeader header;
    std::vector<Range>* none = nullptr;
    const Step step = readProfile<SlantRangeTraits>(*sensor, profile, header, none, indexCode, inBeams);
    if (step != Step::done) return codeOfStep(readSteps, step, indexCode);
    give(numDepths, header.range.numDepths);
    give(startBeam, header.range.startBeam);
    give(time, header.time);
    give(latitude, header.latitude);
    give(longitude, header.longitude);
    give(status, header.status);
    return codes::success;
}

int SLRangeReadProfileSeq(_TELD_Sensor* sensor, std::uint32_t* numDepths, std::uint32_t* startBeam,
                          double* time, double* latitude, double* longitude, std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadProfileSeq", inQuery)) return code;
    if (!(numDepths && startBeam && time && latitude && longitude && status)) return codes::failed;
    ProfileHeader header;
    if (const Step step = takeHeader<SlantRangeTraits>(*sensor, 0, false, header); step != Step::done)
        return codeOfStep(readSteps, step, 0);
    *numDepths = header.range.numDepths;
    *startBeam = header.range.startBeam;
    *time = header.time;
    *latitude = header.latitude;
    *longitude = header.longitude;
    *status = header.status;
    return codes::success;
}

int SLRangeReadSeq(_TELD_Sensor* sensor, double* time, double* range, double* travel, double* angle1,
                   double* angle2, std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadSeq", inQuery)) return code;
    if (!(time && range && travel && angle1 && angle2 && status)) return codes::failed;
    Range read;
    if (const std::byte* bytes = nextOfFile<SlantRangeTraits>(sensor)) [[likely]] {
        SlantRangeTraits::beam.decode(*sensor, bytes, read);
    } else {
        const Step step = takeBeam<SlantRangeTraits>(*sensor, false, read);
        profileState(*sensor).common.needSeek = 1;
        if (step != Step::done) return codeOfStep(readSteps, step, 0);
        startRun<SlantRangeTraits>(*sensor, 0);
    }
    *time = read.time;
    *range = read.range;
    *travel = read.travel;
    *angle1 = read.angle1;
    *angle2 = read.angle2;
    *status = read.status;
    return codes::success;
}

int SLRangeBgnSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t toolType) {
    if (const int code = beginSummary(family, sensor)) return code;
    sensor->toolType = toolType;
    return codes::success;
}

int SLRangeBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int SLRangeBgnSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t numDepths, std::uint32_t startBeam,
                              double time, double latitude, double longitude, std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "BgnSeqWriteProfile", inCreate)) return code;
    ProfileHeader header;
    header.status = status;
    header.range = {numDepths, startBeam};
    header.time = time;
    header.latitude = latitude;
    header.longitude = longitude;
    return writeHeader<SlantRangeTraits>(*sensor, header);
}

int SLRangeSeqWrite(_TELD_Sensor* sensor, double time, double range, double travel, double angle1,
                    double angle2, std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "SeqWrite", inCreate)) return code;
    return writeBeam<SlantRangeTraits>(*sensor, {time, range, travel, angle1, angle2, status});
}

int SLRangeEndSeqWriteProfile(_TELD_Sensor* sensor) {
    return checkHandle(family, sensor, "EndSeqWriteProfile", inCreate);
}

int SLRangeEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SLRangeEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int SLRangeSetToolType(_TELD_Sensor* sensor, std::uint32_t toolType) {
    if (const int code = checkHandle(family, sensor, "SetToolType", inAny)) return code;
    sensor->toolType = toolType;
    return codes::success;
}

int SLRangeSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SLRangeSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int SLRangeSetSourceFileName(_TELD_Sensor* sensor, const wchar_t* name) {
    return setSourceFileName(family, sensor, name, base, Offset::nullSourceName);
}

int SLRangeUpdateStatus(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam,
                        std::uint32_t status) {
    return updateBeam<SlantRangeTraits>(sensor, "UpdateStatus", profile, beam,
                                        family.code(Offset::decodeForUpdate), family.code(Offset::seek),
                                        [&](auto& words) { return changeStatus(words[0], status); });
}

int SLRangeRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"SLRange");
}
