#include "fileio/formats.h"
#include "fileio/profilesteps.h"

#include <skar/log.h>
#include <skar/tpe.h>

#include <ostream>

// Error estimates, beam by beam beside a depth file.
namespace skar::fileio {

namespace {

using SKAR::IO::TPU::Record;

// Steps of 0.001 without a clamp; extents are rounded, estimates are cut.
struct RoundedMillis {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "value * 1000, rounded";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return roundToWord(value * 1000.0, word);
    }
    static double decode(const Scale&, std::uint32_t word) noexcept {
        return static_cast<std::int32_t>(word) / 1000.0;
    }
};
struct CutMillis : RoundedMillis {
    static constexpr const char* meaning = "value * 1000, cut and not rounded";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return lowWord(value * 1000.0, word);
    }
};

// A word of the summary's room that nobody has given a meaning.
struct Spare {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "no meaning; written as 0 and not looked at";
    static bool encode(const Scale&, const _TELD_Sensor&, std::uint32_t& word) noexcept {
        word = 0;
        return true;
    }
    static void decodeInto(const Scale&, std::uint32_t, _TELD_Sensor&) noexcept {}
};

constexpr auto headerLayout = layout<ProfileHeader>(
    field<Unsigned>("status", &ProfileHeader::status), field<DepthRange>("depthRange", &ProfileHeader::range),
    field<Time>("time", &ProfileHeader::time), field<Unsigned>("profileTag", &ProfileHeader::tag));
constexpr auto recordLayout =
    layout<Record>(field<StatusAndOffset>("statusAndOffset", Whole{}),
                   field<CutMillis>("tpe1", &Record::tpe1), field<CutMillis>("tpe2", &Record::tpe2));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus), field<Unsigned>("toolType1", &Handle::toolType),
    field<Unsigned>("toolType2", &Handle::toolType2), field<Unsigned>("numProfiles", &Handle::numRecords),
    field<Unsigned>("numDepths", &Handle::numDepths), field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("secondaryClockAccuracy", &Handle::secondaryClockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime), element<RoundedMillis>("minTpe1", &Handle::min, 0),
    element<RoundedMillis>("maxTpe1", &Handle::max, 0), element<RoundedMillis>("minTpe2", &Handle::min, 1),
    element<RoundedMillis>("maxTpe2", &Handle::max, 1), field<Spare>("spare", Whole{}),
    field<Spare>("spare", Whole{}), field<Spare>("spare", Whole{}), field<Spare>("spare", Whole{}));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr codes::Block base = codes::tpe;
constexpr int beamOutOfRange = base + Offset::specific28;

#define SKAR_STATES "  fread() failed.  ferror() returned %i, feof() returned %i\n"

struct TpeTraits {
    using Beam = Record;
    static constexpr std::uint32_t written = 1;
    static constexpr auto& header = headerLayout;
    static constexpr auto& beam = recordLayout;
    static constexpr std::size_t timeOffset = headerLayout.offsetOf("time");
    static constexpr bool testsStartBeam = false;
    template <class Use>
    [[gnu::always_inline]] static decltype(auto) withVersion(std::uint32_t, Use use) {
        return use(headerLayout, recordLayout);
    }
    // The number of beams is meant: a profile beyond the last one fails in the time index only.
    static std::uint32_t profileLimit(const _TELD_Sensor& sensor) { return sensor.numDepths; }
    static void completeHeader(std::uint32_t, ProfileHeader&) {}

    static constexpr Family family = {
        .name = "TPE",
        .sensorId = 52,
        .storedType = 52,
        .base = base,
        .summary = block<summaryLayout, Handle>(),
        .extents = block<extentsLayout, Segment>(),
        .recordSize = headerLayout.size,
        .nullHandle = base + Offset::nullHandle,
        .testsSensor = true,
        .keepsStatusShadow = false,
        .segmentOutputsOptional = true,
        .closeKeepsCodes = true,
        .segmentOpen = {.firstOfTable = base + Offset::openOther, .otherCode = base + Offset::openFile},
        .summaryLog = {.shortReadStates = "TPEReadSummary(): Unable to read TPE Header record." SKAR_STATES},
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
    static void widenByBeam(_TELD_Sensor& sensor, const Record& record) {
        widenTime(sensor, record.time);
        widen(record.tpe1, sensor.min[0], sensor.max[0]);
        widen(record.tpe2, sensor.min[1], sensor.max[1]);
    }
};
constexpr const Family& family = TpeTraits::family;

#define SKAR_KEY(name) "errorMessages/SKARio/TPU/" name
constexpr StepRow readSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), base + Offset::wrongAccess},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::profileRange, SKAR_KEY("Profile index out of range."), base + Offset::outOfRange,
     withProfile | withMaxProfile},
    {Step::mapIndex, SKAR_KEY("TmIdxMapIndexToByteOffset() failed"), base + Offset::mapIndex, withProfile},
    {Step::seekHeader, SKAR_KEY("fseek() failed"), base + Offset::seek, withErrno},
    {Step::readHeader, SKAR_KEY("fread() failed"), base + Offset::read, withErrno},
    {Step::beamRange, SKAR_KEY("Profile index out of range."), beamOutOfRange,
     withProfile | withBeam | withBeamRange},
    {Step::seekBeam, SKAR_KEY("fseek() failed"), base + Offset::seek, withErrno},
    {Step::readBeam, SKAR_KEY("fread() failed"), base + Offset::read, withErrno},
    {Step::decodeBeam, SKAR_KEY("XDR decode failed"), base + Offset::decode}, // and all others
};
constexpr StepRow nextSteps[] = {
    {Step::wrongSensor, SKAR_KEY("incorrectSensorID"), base + Offset::wrongSensor},
    {Step::wrongAccess, SKAR_KEY("invalidAccessType"), base + Offset::wrongAccess},
    {Step::noStructure, SKAR_KEY("internalReadStructInvalid"), codes::failed},
    {Step::readBeam, SKAR_KEY("freadProfileFailed"), base + Offset::read, withErrno},
    {Step::decodeBeam, SKAR_KEY("XDR decode failed"), base + Offset::decode}, // and all others
};
#undef SKAR_KEY

// Whether the next bytes of the file are those that the current record of the cache gives next. What the
// cache cannot serve comes from the file, at the same place.
bool served(const _TELD_Sensor& sensor, std::size_t bytes) {
    return holds(cacheOf(sensor), sensor.state->file.position(), bytes);
}

Step takeProfile(_TELD_Sensor& sensor, std::uint32_t profile, ProfileHeader& header) {
    const Step step = takeHeader<TpeTraits>(sensor, profile, served(sensor, headerLayout.size), header);
    if (step == Step::done) profileState(sensor).profile = profile;
    return step;
}

Step findProfile(_TELD_Sensor& sensor, std::uint32_t profile, ProfileHeader& header) {
    if (readRecord(cacheOf(sensor), profile) != 0) {
        std::int32_t offset = 0;
        if (TmIdxMapIndexToByteOffset(&sensor, profile, &offset) != codes::success) return Step::mapIndex;
        if (!sensor.state->file.seek(offset)) return Step::seekHeader;
    }
    return takeProfile(sensor, profile, header);
}

Step takeRecord(_TELD_Sensor& sensor, Record& record) {
    return takeBeam<TpeTraits>(sensor, served(sensor, recordLayout.size), record);
}

// Moves over the beams that lie before one.
Step skipBeams(_TELD_Sensor& sensor, std::uint32_t beams) {
    const auto ahead = static_cast<std::uint32_t>(beams * recordLayout.size);
    if (served(sensor, 0) && setByteOffset(cacheOf(sensor), ahead, 1)) return Step::done;
    RecordFile& file = sensor.state->file;
    return file.seek(file.position() + ahead) ? Step::done : Step::seekBeam;
}

Step readThroughCache(_TELD_Sensor& sensor, std::uint32_t profile, std::uint32_t beam, Record& record) {
    const Bookmark bookmark(sensor);
    ProfileHeader header;
    Step step = findProfile(sensor, profile, header);
    const std::uint32_t before = beam - header.range.startBeam;
    if (step == Step::done && (beam < header.range.startBeam || before >= header.range.numDepths))
        step = Step::beamRange;
    if (step == Step::done) step = skipBeams(sensor, before);
    if (step == Step::done) step = takeRecord(sensor, record);
    profileState(sensor).beam = beam;
    return bookmark.settle(step);
}

Step readRecordOf(_TELD_Sensor& sensor, std::uint32_t profile, std::uint32_t beam, Record& record) {
    int indexCode = 0;
    if (getCacheSize(cacheOf(sensor)) == 0)
        return readBeam<TpeTraits>(sensor, profile, beam, record, indexCode);
    const Step step = checkRead(sensor, family, profile, TpeTraits::profileLimit(sensor));
    return step == Step::done ? readThroughCache(sensor, profile, beam, record) : step;
}

Step readRecords(_TELD_Sensor& sensor, std::uint32_t count, std::vector<Record>& records) {
    // A count that the file cannot have is not worth the memory for it.
    if (!fits(sensor, std::uint64_t{count} * recordLayout.size)) return Step::readBeam;
    records.resize(count);
    for (Record& record : records)
        if (const Step step = takeRecord(sensor, record); step != Step::done) return step;
    return Step::done;
}

Step readProfileOf(_TELD_Sensor& sensor, std::uint32_t profile, ProfileHeader& header,
                   std::vector<Record>* records) {
    if (const Step step = checkRead(sensor, family, profile, TpeTraits::profileLimit(sensor));
        step != Step::done)
        return step;
    const Bookmark bookmark(sensor);
    Step step = findProfile(sensor, profile, header);
    if (step == Step::done && records) step = readRecords(sensor, header.range.numDepths, *records);
    return bookmark.settle(step);
}

// The header of the profile after the one at hand, however many of its beams were read.
Step readNextProfile(_TELD_Sensor& sensor, ProfileHeader& header) {
    const Bookmark bookmark(sensor);
    const ProfileState& state = profileState(sensor);
    RecordFile& file = sensor.state->file;
    if (state.profile != 0) {
        const auto beams = static_cast<std::int64_t>(state.numDepths * recordLayout.size);
        const std::int64_t end = state.profileOffset + static_cast<std::int64_t>(headerLayout.size) + beams;
        if (file.position() != end) file.seek(end);
    }
    const std::int64_t position = file.position();
    const std::uint32_t next = state.profile + 1;
    if (readRecord(cacheOf(sensor), next) == 0 && file.position() != position) file.seek(position);
    return bookmark.settle(takeProfile(sensor, next, header));
}

Step readNextRecord(_TELD_Sensor& sensor, Record& record) {
    const Step step = takeRecord(sensor, record);
    profileState(sensor).common.needSeek = 1;
    return step;
}

int codeOf(const _TELD_Sensor& sensor, Step step, const char* headerLog, const char* recordLog) {
    const char* format = step == Step::readHeader ? headerLog : step == Step::readBeam ? recordLog : nullptr;
    if (format) logShortRead(format, sensor.state->file);
    return codeOfStep(readSteps, step, 0);
}

int open(_TELD_Sensor& sensor) {
    const std::int32_t cacheSize = sensor.accessType == TELD_CREATE ? 0 : cacheSizeFromEnvironment();
    if (const int code = attachProfileState(sensor, TpeTraits::written, headerLayout.size, headerLayout.size))
        return code;
    if (cacheSize > 0) skarDebugLog(1, "Block reading enabled.  Block size = %d\n", cacheSize);
    if (sensor.accessType != TELD_CREATE) {
        if (const int code = loadFile(sensor, family)) return code;
        return initialiseCacheSize(&sensor, cacheSize);
    }
    if (const int code = beginFile(sensor, family)) return code;
    profileState(sensor).end = sensor.state->file.position();
    return codes::success;
}

} // namespace

FormatTables tpeFormat() {
    static constexpr FormatTable tables[] = {
        {"TPE summary", pagesOf<summaryLayout, Handle>},
        {"TPE profile", pagesOf<headerLayout, ProfileHeader>},
        {"TPE beam", pagesOf<recordLayout, Record>},
        {"TPE segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

namespace SKAR::IO::TPU {

std::ostream& operator<<(std::ostream& stream, const Record& record) {
    return stream << record.time << ", " << record.tpe1 << ", " << record.tpe2 << ", " << record.status;
}

void Read(_TELD_Sensor& sensor, unsigned profile, unsigned beam, Record& record) {
    errno = 0;
    Record read;
    if (const Step step = readRecordOf(sensor, profile, beam, read); step != Step::done)
        throwStep<ReadError>(readSteps, step, {sensor, profile, beam, 0, errno});
    record = read;
}

void ReadProfile(_TELD_Sensor& sensor, unsigned profile, Profile& result, bool withDepths) {
    errno = 0;
    ProfileHeader header;
    if (const Step step = readProfileOf(sensor, profile, header, withDepths ? &result.records : nullptr);
        step != Step::done)
        throwStep<ReadError>(readSteps, step, {sensor, profile, header.range.startBeam, 0, errno});
    result.time = header.time;
    result.numDepths = header.range.numDepths;
    result.startBeam = header.range.startBeam;
    result.profileTag = header.tag;
    result.status = header.status;
}

void ReadNext(_TELD_Sensor& sensor, Record& record) {
    errno = 0;
    Record next;
    Step step = checkRead(sensor, family, 1, 1);
    if (step == Step::done) step = readNextRecord(sensor, next);
    if (step != Step::done) throwStep<ReadError>(nextSteps, step, {sensor, 0, 0, 0, errno});
    record = next;
}

} // namespace SKAR::IO::TPU

_TELD_Sensor* TPEOpenDir(const wchar_t* linePath, const wchar_t* accessToken, std::uint32_t* error) {
    std::uint32_t ignored = 0;
    std::uint32_t& result = error ? *error : ignored;
    result = codes::success;
    _TELD_Sensor* sensor = SensorOpenDir(linePath, family.sensorId, accessToken, &result);
    if (!sensor) return nullptr;
    result = static_cast<std::uint32_t>(open(*sensor));
    if (result == codes::success) return sensor;
    SensorFree(sensor);
    return nullptr;
}

int TPEClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int TPESummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numProfiles,
               std::uint32_t* numDepths, double* minTime, double* maxTime, std::uint32_t* toolType1,
               std::uint32_t* toolType2, double* minTpe1, double* maxTpe1, double* minTpe2, double* maxTpe2,
               std::uint32_t* summaryStatus) {
    if (const int code = checkHandle(family, sensor, "Summary", inAny)) return code;
    give(numLineSegments, sensor->numLineSegments);
    give(numProfiles, sensor->numRecords);
    give(numDepths, sensor->numDepths);
    give(minTime, sensor->minTime);
    give(maxTime, sensor->maxTime);
    give(toolType1, sensor->toolType);
    give(toolType2, sensor->toolType2);
    give(minTpe1, sensor->min[0]);
    give(maxTpe1, sensor->max[0]);
    give(minTpe2, sensor->min[1]);
    give(maxTpe2, sensor->max[1]);
    give(summaryStatus, sensor->summaryStatus);
    return codes::success;
}

int TPELineSegment(_TELD_Sensor* sensor, std::uint32_t number, wchar_t** sourceFileName,
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

int TPERead(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t beam, double* time, double* tpe1,
            double* tpe2, std::uint32_t* status) {
    Record record;
    if (const std::byte* bytes = nextOfRun<TpeTraits>(sensor, profile, beam)) [[likely]] {
        TpeTraits::beam.decode(*sensor, bytes, record);
    } else {
        if (!sensor) return family.nullHandle;
        if (const Step step = readRecordOf(*sensor, profile, beam, record); step != Step::done)
            return codeOf(*sensor, step, "TPERead(): Unable to read TPE Header record." SKAR_STATES,
                          "TPERead(): Unable to read TPE record." SKAR_STATES);
    }
    give(time, record.time);
    give(tpe1, record.tpe1);
    give(tpe2, record.tpe2);
    give(status, record.status);
    return codes::success;
}

int TPEReadProfile(_TELD_Sensor* sensor, std::uint32_t profile, std::uint32_t* numDepths,
                   std::uint32_t* startBeam, double* time, std::uint32_t* profileTag, std::uint32_t* status) {
    if (const int code = checkHandle(family, sensor, "ReadProfile", inQuery | inUpdate, Structure::needed))
        return code;
    if (!(numDepths && startBeam && time && profileTag && status)) return codes::failed;
    ProfileHeader header;
    if (const Step step = readProfileOf(*sensor, profile, header, nullptr); step != Step::done)
        return codeOf(*sensor, step,
                      "TPEReadProfile(): Unable to read TPE Profile Header record." SKAR_STATES, nullptr);
    *numDepths = header.range.numDepths;
    *startBeam = header.range.startBeam;
    *time = header.time;
    *profileTag = header.tag;
    *status = header.status;
    return codes::success;
}

int TPEReadProfileSeq(_TELD_Sensor* sensor, std::uint32_t* numDepths, std::uint32_t* startBeam, double* time,
                      std::uint32_t* profileTag, std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadProfileSeq", inQuery)) return code;
    if (!(numDepths && startBeam && time && profileTag && status)) return codes::failed;
    ProfileHeader header;
    if (const Step step = readNextProfile(*sensor, header); step != Step::done)
        return codeOf(*sensor, step,
                      "TPEReadProfileSeq(): Unable to read TPE Profile Header record." SKAR_STATES, nullptr);
    *numDepths = header.range.numDepths;
    *startBeam = header.range.startBeam;
    *time = header.time;
    *profileTag = header.tag;
    *status = header.status;
    return codes::success;
}

int TPEReadSeq(_TELD_Sensor* sensor, double* time, double* tpe1, double* tpe2, std::uint32_t* status) {
    if (const int code = checkWriter(family, sensor, "ReadSeq", inQuery)) return code;
    if (!(time && tpe1 && tpe2 && status)) return codes::failed;
    Record record;
    if (const Step step = readNextRecord(*sensor, record); step != Step::done)
        return codeOf(*sensor, step, nullptr, "TPEReadSeq(): Unable to read TPE record." SKAR_STATES);
    *time = record.time;
    *tpe1 = record.tpe1;
    *tpe2 = record.tpe2;
    *status = record.status;
    return codes::success;
}

int TPEBgnSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t toolType1, std::uint32_t toolType2) {
    if (const int code = beginSummary(family, sensor)) return code;
    return TPESetToolType(sensor, toolType1, toolType2);
}

int TPEBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int TPEBgnSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t numDepths, std::uint32_t startBeam, double time,
                          std::uint32_t profileTag, std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "BgnSeqWriteProfile", inCreate)) return code;
    ProfileHeader header;
    header.status = status;
    header.range = {numDepths, startBeam};
    header.time = time;
    header.tag = profileTag;
    return writeHeader<TpeTraits>(*sensor, header);
}

int TPESeqWrite(_TELD_Sensor* sensor, double time, double tpe1, double tpe2, std::uint32_t status) {
    if (const int code = checkWriter(family, sensor, "SeqWrite", inCreate)) return code;
    Record record;
    record.time = time;
    record.tpe1 = tpe1;
    record.tpe2 = tpe2;
    record.status = status;
    return writeBeam<TpeTraits>(*sensor, record);
}

int TPEEndSeqWriteProfile(_TELD_Sensor* sensor) {
    return checkHandle(family, sensor, "EndSeqWriteProfile", inCreate);
}

int TPEEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int TPEEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

int TPESetToolType(_TELD_Sensor* sensor, std::uint32_t toolType1, std::uint32_t toolType2) {
    if (const int code = checkHandle(family, sensor, "SetToolType", inAny)) return code;
    sensor->toolType = toolType1;
    sensor->toolType2 = toolType2;
    return codes::success;
}

int TPESetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int TPESetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int TPERemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"TPE");
}
