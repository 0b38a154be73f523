#pragma once

#include "fileio/family.h"
#include "fileio/xdr.h"

#include <array>
#include <cstring>

// Reading and writing of the families whose file is one run of records of a fixed size. A family's Traits
// name its Record, its `record` layout, its `family` descriptor, the place of the time in a record, and what
// its first record and its extents set:
//
//   static bool setReferences(_TELD_Sensor&, const Record&)   false for values without a coding
//   static void widenExtents(_TELD_Sensor&, const Record&)
//   static bool isStored(const _TELD_Sensor&)                 optional: false where records have no bytes
//
// A record may be longer than its layout. What is behind the words stays in the record buffer of the handle:
// a read leaves it there, and a write takes it from there.
namespace skar::fileio {

inline bool setReferenceTime(_TELD_Sensor& sensor, double time) {
    std::uint32_t minutes = 0;
    const bool coded = TELD_EncodeRefTime(time, minutes);
    sensor.referenceTime = static_cast<std::int32_t>(minutes);
    return coded;
}

template <class Traits>
[[gnu::always_inline]] inline bool isStored([[maybe_unused]] const _TELD_Sensor& sensor) {
    if constexpr (requires { Traits::isStored(sensor); }) return Traits::isStored(sensor);
    return true;
}

// `prepare` readies a new handle for the family's codings; it gives false to have the handle ended and the
// code left as it is.
template <class Traits, class Prepare>
_TELD_Sensor* openFlat(const wchar_t* linePath, std::uint32_t sensorId, const wchar_t* accessToken,
                       std::uint32_t* code, Prepare prepare) {
    std::uint32_t ignored = 0;
    std::uint32_t& result = code ? *code : ignored;
    _TELD_Sensor* sensor = SensorOpenDir(linePath, sensorId, accessToken, &result);
    if (!sensor) return nullptr;
    if (!prepare(*sensor)) {
        SensorFree(sensor);
        return nullptr;
    }
    const Family& family = Traits::family;
    int failure = attachFlatState(*sensor, family);
    if (failure == codes::success)
        failure = sensor->accessType == TELD_CREATE ? beginFile(*sensor, family) : loadFile(*sensor, family);
    if (failure != codes::success) {
        SensorFree(sensor);
        result = static_cast<std::uint32_t>(failure);
        return nullptr;
    }
    result = codes::success;
    return sensor;
}

// The record at the present position of the file, decoded. 0, or the family's code of a short read or a
// failed decode.
template <class Traits>
[[gnu::always_inline]] inline int nextRecord(_TELD_Sensor& sensor, typename Traits::Record& record) {
    if (!isStored<Traits>(sensor)) return codes::success;
    constexpr std::size_t size = Traits::family.recordSize;
    const std::byte* stored = sensor.state->file.read(size);
    if (!stored) [[unlikely]]
        return Traits::family.code(Offset::read);
    const RecordSpan span = recordSpan(sensor.decodeXDRStream, XDR_DECODE);
    if (span.size < size) [[unlikely]]
        return Traits::family.code(Offset::decode);
    std::memcpy(span.bytes, stored, size);
    Traits::record.decode(sensor, stored, record);
    return codes::success;
}

// Moves the file to a record. 0, or the family's code.
int seekRecord(_TELD_Sensor& sensor, const Family& family, std::uint32_t number);

// The record of that number. `outputsGiven` tells whether the caller has a place for all that it must take.
template <class Traits>
[[gnu::always_inline]] inline int readRecord(_TELD_Sensor* sensor, std::uint32_t number, bool outputsGiven,
                                             typename Traits::Record& record) {
    constexpr const Family& family = Traits::family;
    if (const int code = checkHandle(family, sensor, "Read", inQuery | inUpdate, Structure::needed))
        return code;
    if (!outputsGiven) return codes::failed;
    if (number < 1 || number > sensor->numRecords) return family.code(Offset::outOfRange);
    FlatState& state = flatState(*sensor);
    const RecordFile& file = sensor->state->file;
    constexpr std::uint32_t ahead = family.positioning == Positioning::unlessNext ? 1 : 0;
    if (family.positioning == Positioning::everyRead ||
        number != static_cast<std::uint32_t>(state.lastRecordRead) + ahead || file.seeks() != state.seeksSeen)
        state.needSeek = 1;
    if (state.needSeek) {
        if (const int code = seekRecord(*sensor, family, number)) return code;
        state.seeksSeen = file.seeks();
    }
    const int code = nextRecord<Traits>(*sensor, record);
    // A record that did not come or does not decode leaves the position open.
    state.needSeek = code != codes::success;
    if (code != codes::success) return code;
    state.lastRecordRead = static_cast<std::int32_t>(number);
    if (sensor->statusShadow && sensor->accessType == TELD_UPDATE)
        record.status = sensor->statusShadow[number];
    return codes::success;
}

// Where the next record goes, whatever moved the file since the last.
template <class Traits>
std::int64_t endOfRecords(const _TELD_Sensor& sensor) {
    constexpr const Family& family = Traits::family;
    const std::int64_t there = isStored<Traits>(sensor) ? flatState(sensor).recordsWritten : 0;
    return family.firstRecordOffset() + there * static_cast<std::int64_t>(family.recordSize);
}

// The record at the present position of the file, for the sequential readers.
template <class Traits>
[[gnu::always_inline]] inline int readInOrder(_TELD_Sensor* sensor, bool outputsGiven,
                                              typename Traits::Record& record) {
    if (const int code = checkHandle(Traits::family, sensor, "ReadSeq", inQuery, Structure::needed))
        return code;
    if (!outputsGiven) return codes::failed;
    // A read by number must not go on from where this leaves the file.
    flatState(*sensor).needSeek = 1;
    return nextRecord<Traits>(*sensor, record);
}

struct LeaveRest {
    void operator()(std::byte*) const noexcept {}
};

// `fillRest` sets what it wants to of the bytes behind the words, once nothing can be refused any more.
template <class Traits, class FillRest = LeaveRest>
[[gnu::always_inline]] inline int writeRecord(_TELD_Sensor* sensor, const typename Traits::Record& record,
                                              FillRest fillRest = {}) {
    constexpr const Family& family = Traits::family;
    if (const int code = checkHandle(family, sensor, "SeqWrite", inCreate, Structure::needed)) return code;
    // Counted even if a later step fails.
    ++sensor->numRecords;
    // A value without a coding is refused before anything else of it shows.
    std::array<std::byte, Traits::record.size> bytes;
    if (sensor->firstRecord && !Traits::setReferences(*sensor, record)) return family.code(Offset::encode);
    if (!Traits::record.encode(*sensor, record, bytes.data())) return family.code(Offset::encode);
    sensor->firstRecord = 0;
    FlatState& state = flatState(*sensor);
    RecordFile& file = sensor->state->file;
    if (file.seeks() != state.seeksSeen) [[unlikely]] {
        if (!file.seek(endOfRecords<Traits>(*sensor))) return family.code(Offset::write);
        state.seeksSeen = file.seeks();
    }
    if (roomForIndexEntry(*sensor) != codes::success) return family.code(Offset::timeIndexEntry);
    const std::int64_t offset = file.position();
    if (isStored<Traits>(*sensor)) {
        const RecordSpan span = recordSpan(sensor->encodeXDRStream, XDR_ENCODE);
        if (span.size < family.recordSize) return family.code(Offset::encode);
        std::memcpy(span.bytes, bytes.data(), bytes.size());
        fillRest(span.bytes + bytes.size());
        const std::byte* whole = family.recordSize == bytes.size() ? bytes.data() : span.bytes;
        if (!file.append(whole, family.recordSize)) return family.code(Offset::write);
    }
    enterInIndex(*sensor, static_cast<std::int32_t>(loadWord(bytes.data() + Traits::timeOffset)), offset);
    Traits::widenExtents(*sensor, record);
    ++state.recordsWritten;
    state.needSeek = 1;
    return codes::success;
}

} // namespace skar::fileio
