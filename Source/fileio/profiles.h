#pragma once

#include "fileio/blockcache.h"
#include "fileio/family.h"
#include "fileio/xdr.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cfloat>
#include <cstring>
#include <new>
#include <vector>

// Reading, writing and updating of the families whose file is a run of profiles (pings), each a header
// directly followed by one record per beam. A family is a Traits class:
//
// - using Beam: what a caller gets of a beam
// - static constexpr Family family: codes and departures
// - static constexpr std::uint32_t written: the version that is written; only that one is updated in place
// - static constexpr auto& header, beam: the layouts of that version
// - static decltype(auto) withVersion(version, use): calls use(header, beam) with the layouts of a version
// - static bool setReferences(_TELD_Sensor&, const ProfileHeader&)
// - static void widenByHeader(_TELD_Sensor&, const ProfileHeader&), widenByBeam(_TELD_Sensor&, const Beam&)
//
// What a read came to is a Step; how a step reads as a code, a key and details is a table of the family
// (StepTable).
namespace skar::fileio {

// What the values of a beam count from.
struct ProfileBase {
    double time;
    double latitude;
    double longitude;
};

struct BeamRange {
    std::uint32_t numDepths = 0;
    std::uint32_t startBeam = 1;
};

// Everything that a header of any family may hold; a version without a value leaves it as it is.
struct ProfileHeader {
    std::uint32_t status = 0;
    BeamRange range;
    double time = 0.0;
    double latitude = 0.0;
    double longitude = 0.0;
    double minLatitude = 0.0;
    double maxLatitude = 0.0;
    double minLongitude = 0.0;
    double maxLongitude = 0.0;
    double angle1 = DBL_MAX;
    double length1 = DBL_MAX;
    double angle2 = DBL_MAX;
    double angle3 = DBL_MAX;
    double length2 = DBL_MAX;
    double length3 = DBL_MAX;
    double angle4 = DBL_MAX;
    double angle5 = DBL_MAX;
    std::uint32_t tag = 0;
};

// The read structure of a profile handle. The common state comes first, as in every family.
struct ProfileState {
    FlatState common; // needSeek: the file does not stand at the next beam of the current profile
    std::uint32_t version;
    double time; // of the profile whose beams are read or written
    double latitude;
    double longitude;
    // The profile whose header is known, 0 for none, and what its header says.
    std::uint32_t profile;
    std::uint32_t numDepths;
    std::uint32_t startBeam;
    std::uint32_t beam; // read last
    std::int64_t profileOffset;
    std::int64_t end; // of what was written, in create mode
    std::uint32_t profileStatus;
    std::byte buffer[96];       // under both streams
    BeamRange refused;          // of the profile in which a read by number failed last
    std::int64_t refusedOffset; // where the file could not be moved to
    // Of the profile that was updated last, 0 for none, whatever is being read meanwhile.
    std::uint32_t updatedProfile;
    BeamRange updatedRange;
    ProfileBase updatedBase;
    std::int64_t updatedOffset;
    // Of the run of beams that is read: the file's seeks when it began, and where a decoded record also goes,
    // null where readers have to look closer.
    std::uint32_t run;
    std::uint32_t runEnd; // behind the last beam that may be read by number; 0 for none
    std::int64_t runPosition;
    std::byte* runCopy;
};
inline ProfileState& profileState(const _TELD_Sensor& sensor) {
    return *static_cast<ProfileState*>(sensor.pReadStruct);
}

// Count in bits 16 to 31, first beam in bits 0 to 15.
struct DepthRange {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "number of beams in bits 16 to 31, first beam in bits 0 to 15";
    static bool encode(const Scale&, const BeamRange& range, std::uint32_t& word) noexcept {
        word = range.numDepths << 16 | (range.startBeam & 0xFFFF);
        return range.numDepths <= 0xFFFF && range.startBeam <= 0xFFFF;
    }
    static BeamRange decode(const Scale&, std::uint32_t word) noexcept { return {word >> 16, word & 0xFFFF}; }
};

// The count alone, where beams begin with 1.
struct DepthCount {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "number of beams; the first beam is 1";
    static bool encode(const Scale&, const BeamRange& range, std::uint32_t& word) noexcept {
        word = range.numDepths;
        return true;
    }
    static BeamRange decode(const Scale&, std::uint32_t word) noexcept { return {word, 1}; }
};

// A time as ticks of the secondary clock from the profile's.
struct ProfileTime {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "seconds: (t - profile time) * secondaryClockAccuracy, rounded";
    static bool encode(const Scale& scale, double value, std::uint32_t& word) noexcept {
        return TELD_EncodeDepthTime(value, profileState(scale).time, scale.secondaryClockAccuracy, word);
    }
    static double decode(const Scale& scale, std::uint32_t word) noexcept {
        return TELD_DecodeDepthTime(profileState(scale).time, scale.secondaryClockAccuracy,
                                    static_cast<std::int32_t>(word));
    }
};

// Status in bits 16 to 31, where it also stands for the caller, and the time offset as a signed 16-bit value
// below, cut without a check. Stray low bits of a status are a caller's fault and corrupt the offset.
struct StatusAndOffset {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "status in bits 16 to 31, 16-bit time offset in bits 0 to 15";
    template <class Beam>
    static bool encode(const Scale& scale, const Beam& beam, std::uint32_t& word) noexcept {
        const bool coded = ProfileTime::encode(scale, beam.time, word);
        word = (word & 0xFFFF) | beam.status;
        return coded;
    }
    template <class Beam>
    static void decodeInto(const Scale& scale, std::uint32_t word, Beam& beam) noexcept {
        beam.status = word & 0xFFFF0000;
        beam.time = static_cast<double>(static_cast<std::int16_t>(word)) / scale.secondaryClockAccuracy +
                    profileState(scale).time;
    }
};

struct Radians {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "radians * 1e7, rounded";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return TELD_EncodeRadians(value, word);
    }
    static double decode(const Scale&, std::uint32_t word) noexcept {
        return TELD_DecodeRadians(static_cast<std::int32_t>(word));
    }
};

// Where a read came to an end.
enum class Step {
    done,
    wrongSensor,
    noStructure,
    wrongAccess,
    profileRange,
    mapIndex,
    seekHeader,
    readHeader,
    positionHeader,
    decodeHeader,
    startBeamBelow,
    startBeamBeyond,
    beamRange,
    seekBeam,
    readBeam,
    positionBeam,
    decodeBeam,
};

// Room for a header and a beam of any version under both streams.
int attachProfileState(_TELD_Sensor& sensor, std::uint32_t version, std::size_t encodeSize,
                       std::size_t decodeSize);

// The tests of a random read, in the order of the family.
inline Step checkRead(const _TELD_Sensor& sensor, const Family& family, std::uint32_t profile,
                      std::uint32_t profiles) {
    const bool denied = sensor.accessType != TELD_QUERY && sensor.accessType != TELD_UPDATE;
    if (sensor.sensorType != family.storedType) return Step::wrongSensor;
    if (family.structureBeforeAccess && !sensor.pReadStruct) return Step::noStructure;
    if (denied) return Step::wrongAccess;
    if (!sensor.pReadStruct) return Step::noStructure;
    return profile < 1 || profile > profiles ? Step::profileRange : Step::done;
}

// How many bytes there are ahead in the file or in the cached record.
inline bool fits(const _TELD_Sensor& sensor, std::uint64_t bytes) {
    const RecordFile& file = sensor.state->file;
    return bytes <= static_cast<std::uint64_t>(std::max<std::int64_t>(0, file.size() - file.position()));
}

// Decodes a run of bytes through the handle's stream: its position and room are what a word by word decoding
// would find.
template <class Layout, class Record>
[[gnu::always_inline]] inline Step decodeThrough(const _TELD_Sensor& sensor, const Layout& layout,
                                                 const std::byte* bytes, Record& record, Step unpositioned,
                                                 Step undecoded) {
    const RecordSpan span = recordSpan(sensor.decodeXDRStream, XDR_DECODE);
    if (!span.bytes) [[unlikely]]
        return unpositioned;
    if (span.size < layout.size) [[unlikely]]
        return undecoded;
    std::memcpy(span.bytes, bytes, layout.size);
    layout.decode(sensor, bytes, record);
    return Step::done;
}

// The next bytes from the block cache, or from the file, which stands at the same place, where the cache does
// not have them.
inline const std::byte* fromCache(const _TELD_Sensor& sensor, std::byte* copy, std::size_t size) {
    RecordFile& file = sensor.state->file;
    BlockCache* cache = cacheOf(sensor);
    if (!holds(cache, file.position(), size)) return file.read(size);
    BlockIOFread(cache, copy, size);
    return copy;
}

// The next header of the file or, with a block cache, of the cached record; what it says is the base of the
// beams that follow. `profile` is its number, 0 when it is not known.
template <class Traits>
Step takeHeader(_TELD_Sensor& sensor, std::uint32_t profile, bool cached, ProfileHeader& header,
                std::size_t together = 0) {
    ProfileState& state = profileState(sensor);
    state.profile = 0;
    state.common.needSeek = 1;
    return Traits::withVersion(state.version, [&](const auto& headerLayout, const auto&) {
        const std::int64_t offset = sensor.state->file.position();
        std::array<std::byte, sizeof state.buffer> copy;
        const std::byte* bytes = cached ? fromCache(sensor, copy.data(), headerLayout.size)
                                        : sensor.state->file.readWith(headerLayout.size, together);
        if (!bytes) return Step::readHeader;
        ProfileHeader decoded;
        const Step step =
            decodeThrough(sensor, headerLayout, bytes, decoded, Step::positionHeader, Step::decodeHeader);
        if (step != Step::done) return step;
        Traits::completeHeader(state.version, decoded);
        header = decoded;
        state.time = decoded.time;
        state.latitude = decoded.latitude;
        state.longitude = decoded.longitude;
        state.numDepths = decoded.range.numDepths;
        state.startBeam = decoded.range.startBeam;
        state.profile = profile;
        state.profileOffset = offset;
        state.profileStatus = decoded.status;
        return Step::done;
    });
}

template <class Traits>
std::size_t headerSize(std::uint32_t version) {
    return Traits::withVersion(version, [](const auto& header, const auto&) { return header.size; });
}
template <class Traits>
std::size_t beamSize(std::uint32_t version) {
    return Traits::withVersion(version, [](const auto&, const auto& beam) { return beam.size; });
}

// Whether the block cache has what the file gives next. The file is where the handle stands; the cache only
// spares the reading of it.
inline bool inCache(const _TELD_Sensor& sensor, std::size_t bytes) {
    const BlockCache* cache = cacheOf(sensor);
    return cache && holds(cache, sensor.state->file.position(), bytes);
}

// Where a handle stands. A read by number that fails leaves the sequential readers there.
class Bookmark {
public:
    explicit Bookmark(_TELD_Sensor& sensor) : sensor_(sensor), position_(sensor.state->file.position()) {
        std::memcpy(saved_, sensor.pReadStruct, sizeof saved_);
    }
    Step settle(Step step) const {
        if (step == Step::done) return step;
        const ProfileState& state = profileState(sensor_);
        profileState(sensor_).refused = {state.numDepths, state.startBeam};
        goBack();
        return step;
    }
    void goBack() const {
        std::memcpy(sensor_.pReadStruct, saved_, sizeof saved_);
        profileState(sensor_).common.needSeek = 1;
        sensor_.state->file.seek(position_);
    }

private:
    _TELD_Sensor& sensor_;
    std::int64_t position_;
    std::byte saved_[offsetof(ProfileState, buffer)];
};

// The header of a profile by number, straight from the file.
template <class Traits>
Step seekHeader(_TELD_Sensor& sensor, std::uint32_t profile, ProfileHeader& header, int& indexCode,
                std::size_t together = 0) {
    std::int32_t offset = 0;
    indexCode = TmIdxMapIndexToByteOffset(&sensor, profile, &offset);
    if (indexCode != codes::success) return Step::mapIndex;
    if (!sensor.state->file.seek(offset)) {
        profileState(sensor).refusedOffset = offset;
        return Step::seekHeader;
    }
    return takeHeader<Traits>(sensor, profile, false, header, together);
}

// The header of a profile by number, from the block cache where there is one.
template <class Traits>
Step findHeader(_TELD_Sensor& sensor, std::uint32_t profile, ProfileHeader& header, int& indexCode) {
    const Bookmark bookmark(sensor);
    if (readRecord(cacheOf(sensor), profile) == 0)
        return bookmark.settle(takeHeader<Traits>(sensor, profile, true, header));
    return bookmark.settle(seekHeader<Traits>(sensor, profile, header, indexCode));
}

// The header behind the profile at hand, however many of its beams were read.
template <class Traits>
Step followingHeader(_TELD_Sensor& sensor, ProfileHeader& header) {
    const Bookmark bookmark(sensor);
    const ProfileState& state = profileState(sensor);
    RecordFile& file = sensor.state->file;
    const std::size_t size = headerSize<Traits>(state.version);
    if (state.profile != 0) {
        const std::int64_t end =
            state.profileOffset +
            static_cast<std::int64_t>(size + std::size_t{state.numDepths} * beamSize<Traits>(state.version));
        if (file.position() != end) file.seek(end);
    }
    const std::int64_t position = file.position();
    const std::uint32_t next = state.profile + 1;
    if (readRecord(cacheOf(sensor), next) == 0 && file.position() != position) file.seek(position);
    return bookmark.settle(takeHeader<Traits>(sensor, next, inCache(sensor, size), header));
}

// The next beam of the file or of the cached record.
template <class Traits>
Step takeBeam(_TELD_Sensor& sensor, bool cached, typename Traits::Beam& beam) {
    return Traits::withVersion(profileState(sensor).version, [&](const auto&, const auto& beamLayout) {
        std::array<std::byte, sizeof(ProfileState::buffer)> copy;
        const std::byte* bytes = !cached ? sensor.state->file.read(beamLayout.size)
                                         : fromCache(sensor, copy.data(), beamLayout.size);
        if (!bytes) [[unlikely]]
            return Step::readBeam;
        return decodeThrough(sensor, beamLayout, bytes, beam, Step::positionBeam, Step::decodeBeam);
    });
}

// Makes the profile that is updated that one. The sequential readers stay where they are.
template <class Traits>
Step ensureUpdated(_TELD_Sensor& sensor, std::uint32_t profile, int& indexCode) {
    ProfileState& state = profileState(sensor);
    if (state.updatedProfile == profile) return Step::done;
    if (state.profile == profile) {
        state.updatedRange = {state.numDepths, state.startBeam};
        state.updatedBase = {state.time, state.latitude, state.longitude};
        state.updatedOffset = state.profileOffset;
        state.updatedProfile = profile;
        return Step::done;
    }
    const Bookmark bookmark(sensor);
    ProfileHeader header;
    const Step step = seekHeader<Traits>(sensor, profile, header, indexCode);
    if (step == Step::done) {
        state.updatedRange = header.range;
        state.updatedBase = {header.time, header.latitude, header.longitude};
        state.updatedOffset = state.profileOffset;
        state.updatedProfile = profile;
    }
    bookmark.goBack();
    return step;
}

// Takes the header of a profile from memory where a read by number has been there before: one that looks at
// beams here and there reads each header once. Headers never change under a handle that only reads.
inline bool recallHeader(const _TELD_Sensor& sensor, std::uint32_t profile, std::size_t size) {
    const auto& visited = sensor.state->visited;
    // A stream without room for a header has to be told as one.
    if (visited.empty() || recordSpan(sensor.decodeXDRStream, XDR_DECODE).size < size) return false;
    const VisitedProfile& known = visited[profile % visited.size()];
    if (known.profile != profile) return false;
    ProfileState& state = profileState(sensor);
    state.time = known.time;
    state.latitude = known.latitude;
    state.longitude = known.longitude;
    state.numDepths = known.numDepths;
    state.startBeam = known.startBeam;
    state.profile = profile;
    state.profileOffset = known.offset;
    state.profileStatus = known.status;
    state.common.needSeek = 1;
    return true;
}

// Keeps the header that was just taken. `before` is the profile that was read until then: who goes on to the
// next one does not come back.
inline void rememberHeader(const _TELD_Sensor& sensor, std::uint32_t before) {
    constexpr std::size_t mostVisited = 16384;
    const ProfileState& state = profileState(sensor);
    auto& visited = sensor.state->visited;
    if (sensor.accessType != TELD_QUERY) return;
    if (visited.empty()) {
        if (before == 0 || state.profile == before + 1) return;
        try {
            visited.resize(mostVisited);
        } catch (const std::bad_alloc&) {
            return;
        }
    }
    visited[state.profile % visited.size()] = {state.profile,       state.numDepths,     state.startBeam,
                                               state.profileStatus, state.profileOffset, state.time,
                                               state.latitude,      state.longitude};
}

// Positions the file at a beam that is not the next one.
template <class Traits>
Step seekBeam(_TELD_Sensor& sensor, std::uint32_t profile, std::uint32_t beam, int& indexCode) {
    ProfileState& state = profileState(sensor);
    const std::size_t size = headerSize<Traits>(state.version);
    if (!recallHeader(sensor, profile, size)) {
        ProfileHeader header;
        // A beam that is not far from its header comes with it: copying the ones between costs less than a
        // second call.
        constexpr std::size_t near = 4096;
        const std::uint64_t both = size + std::uint64_t{beam} * beamSize<Traits>(state.version);
        const std::uint32_t before = state.profile;
        const Step step = seekHeader<Traits>(sensor, profile, header, indexCode,
                                             both <= near ? static_cast<std::size_t>(both) : 0);
        if (step != Step::done) return step;
        rememberHeader(sensor, before);
    }
    if constexpr (Traits::testsStartBeam) {
        if (state.startBeam < 1) return Step::startBeamBelow;
        // Held against the count and not against the last beam, which shuts out profiles that begin late.
        if (state.startBeam > state.numDepths) return Step::startBeamBeyond;
    }
    if (beam < state.startBeam || beam - state.startBeam >= state.numDepths) return Step::beamRange;
    const auto ahead = static_cast<std::int64_t>(beam - state.startBeam) *
                       static_cast<std::int64_t>(beamSize<Traits>(state.version));
    const std::int64_t place = state.profileOffset + static_cast<std::int64_t>(size) + ahead;
    return sensor.state->file.seek(place) ? Step::done : Step::seekBeam;
}

// What a read of a beam in passing has to look at once: where a decoded record also goes, null where the file
// is of an older version, a block cache has a say or the stream has no room.
// `end` is the number behind the last beam that may be read by number, 0 where beams are read in the order of
// the file.
template <class Traits>
void startRun(const _TELD_Sensor& sensor, std::uint32_t end) {
    ProfileState& state = profileState(sensor);
    const RecordSpan span = recordSpan(sensor.decodeXDRStream, XDR_DECODE);
    const bool plain = state.version == Traits::written && !cacheOf(sensor) && span.size >= Traits::beam.size;
    state.runCopy = plain ? span.bytes : nullptr;
    state.runEnd = plain ? end : 0;
    state.run = sensor.state->file.seeks();
    state.runPosition = sensor.state->file.position();
}

template <class Traits>
Step readBeamElsewhere(_TELD_Sensor& sensor, std::uint32_t profile, std::uint32_t beam,
                       typename Traits::Beam& result, int& indexCode) {
    ProfileState& state = profileState(sensor);
    const Bookmark bookmark(sensor);
    Step step = seekBeam<Traits>(sensor, profile, beam, indexCode);
    if (step == Step::done) step = takeBeam<Traits>(sensor, false, result);
    if (step != Step::done) return bookmark.settle(step);
    state.common.needSeek = 0;
    state.common.seeksSeen = sensor.state->file.seeks();
    state.beam = beam;
    startRun<Traits>(sensor, state.startBeam + state.numDepths);
    return step;
}

// The beam behind the one that was read last by number: what that one has passed holds for this one too. Null
// when it is another or not in the window, to be read by readBeam; nothing has changed then.
template <class Traits>
[[gnu::always_inline]] inline const std::byte* nextOfRun(_TELD_Sensor* sensor, std::uint32_t profile,
                                                         std::uint32_t beam) {
    if (!sensor || sensor->sensorType != Traits::family.storedType || !sensor->pReadStruct) [[unlikely]]
        return nullptr;
    ProfileState& state = profileState(*sensor);
    RecordFile& file = sensor->state->file;
    if (beam != state.beam + 1 || profile != state.profile || beam >= state.runEnd ||
        !file.isAt(state.runPosition)) [[unlikely]]
        return nullptr;
    const std::byte* bytes = file.take(Traits::beam.size);
    if (!bytes) [[unlikely]]
        return nullptr;
    std::memcpy(state.runCopy, bytes, Traits::beam.size);
    state.beam = beam;
    state.runPosition += static_cast<std::int64_t>(Traits::beam.size);
    return bytes;
}

// The beam behind the header or beam that was read last in the order of the file. Null when there is more to
// it.
template <class Traits>
[[gnu::always_inline]] inline const std::byte* nextOfFile(_TELD_Sensor* sensor) {
    if (!sensor || sensor->sensorType != Traits::family.storedType || !sensor->pReadStruct ||
        sensor->accessType != TELD_QUERY) [[unlikely]]
        return nullptr;
    ProfileState& state = profileState(*sensor);
    RecordFile& file = sensor->state->file;
    if (file.seeks() != state.run || !state.runCopy) [[unlikely]]
        return nullptr;
    const std::byte* bytes = file.take(Traits::beam.size);
    if (!bytes) [[unlikely]]
        return nullptr;
    std::memcpy(state.runCopy, bytes, Traits::beam.size);
    state.common.needSeek = 1;
    return bytes;
}

// A beam by profile and beam. Reading the beams of a profile in order looks the header up once.
template <class Traits>
Step readBeam(_TELD_Sensor& sensor, std::uint32_t profile, std::uint32_t beam, typename Traits::Beam& result,
              int& indexCode) {
    if (const Step step = checkRead(sensor, Traits::family, profile, Traits::profileLimit(sensor));
        step != Step::done)
        return step;
    ProfileState& state = profileState(sensor);
    const bool next = !state.common.needSeek && profile == state.profile && beam == state.beam + 1 &&
                      sensor.state->file.seeks() == state.common.seeksSeen;
    if (!next) return readBeamElsewhere<Traits>(sensor, profile, beam, result, indexCode);
    if (beam - state.startBeam >= state.numDepths) {
        state.refused = {state.numDepths, state.startBeam};
        return Step::beamRange;
    }
    const Step step = takeBeam<Traits>(sensor, false, result);
    if (step != Step::done) {
        state.common.needSeek = 1;
        return step;
    }
    state.beam = beam;
    startRun<Traits>(sensor, state.startBeam + state.numDepths);
    return step;
}

// All beams of the profile whose header was just taken from the file, in one run: use(i, beam).
template <class Traits, class Use>
[[gnu::always_inline]] inline Step readBeams(_TELD_Sensor& sensor, Use use) {
    const ProfileState& state = profileState(sensor);
    return Traits::withVersion(state.version, [&](const auto&, const auto& beamLayout) {
        const RecordSpan span = recordSpan(sensor.decodeXDRStream, XDR_DECODE);
        if (!span.bytes) return Step::positionBeam;
        if (span.size < beamLayout.size) return Step::decodeBeam;
        const std::uint32_t beams = state.numDepths;
        const std::byte* bytes = sensor.state->file.read(beams * beamLayout.size);
        if (!bytes) return Step::readBeam;
        for (std::uint32_t i = 0; i < beams; ++i) {
            typename Traits::Beam beam;
            beamLayout.decode(sensor, bytes + i * beamLayout.size, beam);
            use(i, beam);
        }
        return Step::done;
    });
}

// The header of a profile and, if asked for, its beams.
template <class Traits, class Beams>
Step readProfile(_TELD_Sensor& sensor, std::uint32_t profile, ProfileHeader& header, Beams* beams,
                 int& indexCode, bool& inBeams) {
    if (const Step step = checkRead(sensor, Traits::family, profile, Traits::profileLimit(sensor));
        step != Step::done)
        return step;
    const Bookmark bookmark(sensor);
    if (const Step step = seekHeader<Traits>(sensor, profile, header, indexCode); step != Step::done)
        return bookmark.settle(step);
    if (!beams) return Step::done;
    inBeams = true;
    ProfileState& state = profileState(sensor);
    if constexpr (Traits::testsStartBeam) {
        if (state.numDepths != 0 && state.startBeam < 1) return bookmark.settle(Step::startBeamBelow);
        if (state.numDepths != 0 && state.startBeam > state.numDepths)
            return bookmark.settle(Step::startBeamBeyond);
    }
    // A count that the file cannot have is not worth the memory for it.
    if (!fits(sensor, std::uint64_t{state.numDepths} * beamSize<Traits>(state.version)))
        return bookmark.settle(Step::readBeam);
    beams->resize(state.numDepths);
    const Step step = readBeams<Traits>(
        sensor, [&](std::uint32_t i, const typename Traits::Beam& beam) { (*beams)[i] = beam; });
    state.common.needSeek = 1;
    return bookmark.settle(step);
}

// Appends behind what was written, whatever moved the file since.
template <std::size_t Size>
[[gnu::always_inline]] inline bool appendRecord(_TELD_Sensor& sensor,
                                                const std::array<std::byte, Size>& bytes) {
    ProfileState& state = profileState(sensor);
    RecordFile& file = sensor.state->file;
    if (file.seeks() != state.common.seeksSeen) [[unlikely]] {
        if (!file.seek(state.end)) return false;
        state.common.seeksSeen = file.seeks();
    }
    if (!file.append(bytes.data(), bytes.size())) return false;
    state.end = file.position();
    return true;
}

// Writes the header of a profile. 0, or the family's code.
template <class Traits>
int writeHeader(_TELD_Sensor& sensor, const ProfileHeader& header) {
    constexpr const Family& family = Traits::family;
    ProfileState& state = profileState(sensor);
    // A value or a count without a coding is refused before anything of it shows.
    std::array<std::byte, Traits::header.size> bytes;
    if (sensor.firstRecord && !Traits::setReferences(sensor, header)) return family.code(Offset::encode);
    if (!Traits::header.encode(sensor, header, bytes.data())) return family.code(Offset::encode);
    sensor.firstRecord = 0;
    ++sensor.numRecords;
    state.time = header.time;
    state.latitude = header.latitude;
    state.longitude = header.longitude;
    if (roomForIndexEntry(sensor) != codes::success) return family.code(Offset::timeIndexEntry);
    const RecordSpan span = recordSpan(sensor.encodeXDRStream, XDR_ENCODE);
    if (span.size < bytes.size()) return family.code(Offset::encode);
    std::memcpy(span.bytes, bytes.data(), bytes.size());
    if (!appendRecord(sensor, bytes)) return family.code(Offset::write);
    enterInIndex(sensor, static_cast<std::int32_t>(loadWord(bytes.data() + Traits::timeOffset)),
                 state.end - static_cast<std::int64_t>(bytes.size()));
    Traits::widenByHeader(sensor, header);
    sensor.numDepths += header.range.numDepths; // of the profiles that are in the file
    ++state.common.recordsWritten;
    state.common.needSeek = 1;
    return codes::success;
}

template <class Traits>
[[gnu::always_inline]] inline int writeBeam(_TELD_Sensor& sensor, const typename Traits::Beam& beam) {
    constexpr const Family& family = Traits::family;
    std::array<std::byte, Traits::beam.size> bytes;
    if (!Traits::beam.encode(sensor, beam, bytes.data())) return family.code(Offset::encode);
    const RecordSpan span = recordSpan(sensor.encodeXDRStream, XDR_ENCODE);
    if (span.size < bytes.size()) return family.code(Offset::encode);
    std::memcpy(span.bytes, bytes.data(), bytes.size());
    if (!appendRecord(sensor, bytes)) return family.code(Offset::write);
    Traits::widenByBeam(sensor, beam);
    profileState(sensor).common.needSeek = 1;
    return codes::success;
}

// The tests of the writers and updates, which begin with the read structure.
inline int checkWriter(const Family& family, const _TELD_Sensor* sensor, const char* operation,
                       Access access) {
    if (!sensor) return family.nullHandle;
    if (!sensor->pReadStruct) return codes::failed;
    return checkHandle(family, sensor, operation, access);
}

// What an update function makes of the words of a beam: false for a value without a coding.
enum class Change { write, keep, refuse };

// Leaves the file where it found it.
class PositionGuard {
public:
    explicit PositionGuard(RecordFile& file) : file_(file), position_(file.position()) {}
    ~PositionGuard() { file_.seek(position_); }
    PositionGuard(const PositionGuard&) = delete;
    PositionGuard& operator=(const PositionGuard&) = delete;

private:
    RecordFile& file_;
    std::int64_t position_;
};

// Changes the words of one beam in the file. `change` gets the raw words and says what becomes of them.
template <class Traits, class Changer>
int updateBeam(_TELD_Sensor* sensor, const char* operation, std::uint32_t profile, std::uint32_t beam,
               int headerDecodeCode, int seekCode, Changer change) {
    constexpr const Family& family = Traits::family;
    if (!sensor) return family.nullHandle;
    if (!sensor->pReadStruct) return codes::failed;
    if (sensor->sensorType == family.storedType && profileState(*sensor).version != Traits::written)
        return codes::success;
    if (const int code = checkWriter(family, sensor, operation, inUpdate)) return code;
    if (profile < 1 || profile > sensor->numRecords) return family.code(Offset::outOfRange);
    ProfileState& state = profileState(*sensor);
    int indexCode = 0;
    switch (ensureUpdated<Traits>(*sensor, profile, indexCode)) {
    case Step::done:
        break;
    case Step::mapIndex:
        return family.code(Offset::mapIndex);
    case Step::seekHeader:
        return family.code(Offset::seek);
    case Step::readHeader:
        return family.code(Offset::read);
    default:
        return headerDecodeCode;
    }
    const BeamRange& range = state.updatedRange;
    if (beam < range.startBeam || beam - range.startBeam >= range.numDepths)
        return family.code(Offset::outOfRange);
    const std::int64_t offset =
        state.updatedOffset + static_cast<std::int64_t>(Traits::header.size) +
        static_cast<std::int64_t>(beam - range.startBeam) * static_cast<std::int64_t>(Traits::beam.size);
    RecordFile& file = sensor->state->file;
    state.common.needSeek = 1;
    const PositionGuard guard(file);
    if (!file.seek(offset)) return seekCode;
    const std::byte* stored = file.read(Traits::beam.size);
    if (!stored) return family.code(Offset::read);
    const RecordSpan decoding = recordSpan(sensor->decodeXDRStream, XDR_DECODE);
    const RecordSpan encoding = recordSpan(sensor->encodeXDRStream, XDR_ENCODE);
    if (decoding.size < Traits::beam.size) return family.code(Offset::decodeForUpdate);
    if (encoding.size < Traits::beam.size) return family.code(Offset::encode);
    std::array<std::uint32_t, Traits::beam.words> words;
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = loadWord(stored + i * wordSize);
    // The codings count from the profile at hand; for the time of the change that is this one.
    const ProfileBase base = {state.time, state.latitude, state.longitude};
    const auto countFrom = [&](const ProfileBase& from) {
        state.time = from.time;
        state.latitude = from.latitude;
        state.longitude = from.longitude;
    };
    countFrom(state.updatedBase);
    const Change made = change(words);
    countFrom(base);
    switch (made) {
    case Change::keep:
        return codes::success;
    case Change::refuse:
        return family.code(Offset::encode);
    case Change::write:
        break;
    }
    for (std::size_t i = 0; i < words.size(); ++i)
        storeWord(encoding.bytes + i * wordSize, words[i]);
    if (!file.seek(offset)) return seekCode;
    if (!file.write(encoding.bytes, Traits::beam.size)) {
        // Part of it may have been written.
        clearBuffer(cacheOf(*sensor));
        return family.code(Offset::write);
    }
    showWritten(cacheOf(*sensor), offset, encoding.bytes, Traits::beam.size);
    return codes::success;
}

// Status of a beam in its high half; the time offset below stays.
inline Change changeStatus(std::uint32_t& word, std::uint32_t status) {
    word = (word & 0xFFFF) | status;
    return Change::write;
}
// Rejection bits within a mask; nothing is written when they are there already.
inline Change changeRejection(std::uint32_t& word, std::uint32_t mask, std::uint32_t bits) {
    if ((word & mask) == bits) return Change::keep;
    word = ((word & 0xFFFF0000) - (word & mask) + bits) | (word & 0xFFFF);
    return Change::write;
}

} // namespace skar::fileio
