#pragma once

#include "fileio/family.h"
#include "fileio/flatrecords.h"
#include "fileio/xdr.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

// What the imagery families share: records of a head of words and bytes behind it whose number the head
// tells. A ping family is a Traits class:
//
//   struct Ping                            the words of a head, and under them status and time
//   static constexpr auto& head            its layout
//   static constexpr Family family
//   static std::array<std::uint32_t, N> counts(const Ping&)   samples of each array behind the head
namespace skar::fileio {

// The read structure of an imagery handle; the record buffer of both streams follows it.
struct ImageryState {
    FlatState common;
    std::int64_t end;          // of what was written, in create mode
    std::uint32_t traceOffset; // where the next beam's trace starts
};
inline ImageryState& imageryState(const _TELD_Sensor& sensor) {
    return *static_cast<ImageryState*>(sensor.pReadStruct);
}

// Opens a file set and completes the handle. Null on failure, with the code.
_TELD_Sensor* openImagery(const Family& family, std::uint32_t sensorId, const wchar_t* linePath,
                          const wchar_t* accessToken, long* code);

// Counts and time extents; each output may be null.
int imagerySummary(const Family& family, _TELD_Sensor* sensor, std::uint32_t* numLineSegments,
                   std::uint32_t* numRecords, double* minTime, double* maxTime, std::uint32_t* status);
int imagerySegment(const Family& family, _TELD_Sensor* sensor, std::uint32_t number, wchar_t** name,
                   std::uint32_t* first, std::uint32_t* last, double* minTime, double* maxTime,
                   std::uint32_t* status);

// What the first record of a file sets. False for a time that has no coding.
bool setReferences(_TELD_Sensor& sensor, double time);

struct Samples {
    const void* bytes = nullptr;
    std::size_t size = 0;
};

// Appends a record whose words are coded: the head, then the arrays. It is in the file whole, or it is not in
// the index and the next one takes its place. 0, or the family's code.
int appendImage(_TELD_Sensor& sensor, const Family& family, double time, std::int32_t encodedTime,
                std::span<const std::byte> head, std::span<const Samples> arrays);

// Moves the file to a record that is held against their number. 0, or the family's code.
int seekImage(_TELD_Sensor& sensor, const Family& family, std::uint32_t number);

// Set in a ping's status when a sample has two bytes, clear for one.
inline constexpr std::uint32_t twoByteSamples = 1u << 30;
inline std::size_t sampleWidth(std::uint32_t status) {
    return status & twoByteSamples ? 2 : 1;
}

// Two fields of 16 bits in one word, signed or not as the members are; what does not fit is cut.
template <auto High, auto Low>
struct Halves {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "the first in bits 16 to 31, the second in bits 0 to 15";
    template <class Record>
    static bool encode(const Scale&, const Record& record, std::uint32_t& word) noexcept {
        word = static_cast<std::uint32_t>(record.*High) << 16 |
               (static_cast<std::uint32_t>(record.*Low) & 0xFFFF);
        return true;
    }
    template <class Record>
    static void decodeInto(const Scale&, std::uint32_t word, Record& record) noexcept {
        record.*High = static_cast<std::remove_reference_t<decltype(record.*High)>>(word >> 16);
        record.*Low = static_cast<std::remove_reference_t<decltype(record.*Low)>>(word & 0xFFFF);
    }
};
template <auto High, auto Low>
struct SignedHalves : Halves<High, Low> {
    static constexpr const char* meaning =
        "the first in bits 16 to 31, signed, the second in bits 0 to 15, unsigned";
};

// Two counts of samples. One that has no room is refused: the file would not say how long the record is.
template <auto High, auto Low>
struct Counts : Halves<High, Low> {
    template <class Record>
    static bool encode(const Scale& scale, const Record& record, std::uint32_t& word) noexcept {
        Halves<High, Low>::encode(scale, record, word);
        return record.*High <= 0xFFFF && record.*Low <= 0xFFFF;
    }
};

// One field of 16 bits.
struct LowHalf {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "in bits 0 to 15";
    static bool encode(const Scale&, std::uint16_t value, std::uint32_t& word) noexcept {
        word = value;
        return true;
    }
    static std::uint16_t decode(const Scale&, std::uint32_t word) noexcept {
        return static_cast<std::uint16_t>(word);
    }
};

template <class Traits>
inline constexpr std::size_t arraysOf =
    std::tuple_size_v<decltype(Traits::counts(std::declval<const typename Traits::Ping&>()))>;

// Writes a ping: `arrays` point to the samples of the counts, which may be smaller than what is there.
template <class Traits>
int writePing(_TELD_Sensor& sensor, const typename Traits::Ping& ping,
              const std::array<const void*, arraysOf<Traits>>& arrays) {
    constexpr const Family& family = Traits::family;
    const auto counts = Traits::counts(ping);
    for (std::size_t i = 0; i < counts.size(); ++i)
        if (counts[i] != 0 && !arrays[i]) return codes::failed;
    // Counted even if a later step fails.
    ++sensor.numRecords;
    std::array<std::byte, Traits::head.size> head;
    if (sensor.firstRecord && !setReferences(sensor, ping.time)) return family.code(Offset::encode);
    if (!Traits::head.encode(sensor, ping, head.data())) return family.code(Offset::encode);
    sensor.firstRecord = 0;
    std::array<Samples, arraysOf<Traits>> samples;
    for (std::size_t i = 0; i < counts.size(); ++i)
        samples[i] = {arrays[i], counts[i] * sampleWidth(ping.status)};
    constexpr std::size_t timeOffset = Traits::head.offsetOf("time");
    return appendImage(sensor, family, ping.time,
                       static_cast<std::int32_t>(loadWord(head.data() + timeOffset)), head, samples);
}

// The head of a ping. The file stands at its samples then.
template <class Traits>
int readHead(_TELD_Sensor* sensor, std::uint32_t number, typename Traits::Ping& ping) {
    constexpr const Family& family = Traits::family;
    if (const int code = checkHandle(family, sensor, "ReadProfile", inQuery, Structure::needed)) return code;
    if (const int code = seekImage(*sensor, family, number)) return code;
    const std::byte* stored = sensor->state->file.read(Traits::head.size);
    if (!stored) return family.code(Offset::read);
    const RecordSpan span = recordSpan(sensor->decodeXDRStream, XDR_DECODE);
    if (span.size < Traits::head.size) return family.code(Offset::decode);
    std::memcpy(span.bytes, stored, Traits::head.size);
    Traits::head.decode(*sensor, stored, ping);
    return codes::success;
}

// The sizes in bytes of a ping's arrays.
template <class Traits>
std::array<std::size_t, arraysOf<Traits>> sizesOf(const typename Traits::Ping& ping) {
    const auto counts = Traits::counts(ping);
    std::array<std::size_t, arraysOf<Traits>> sizes;
    for (std::size_t i = 0; i < sizes.size(); ++i)
        sizes[i] = counts[i] * sampleWidth(ping.status);
    return sizes;
}

// Makes room for arrays of these sizes in the handle and shows where it is. The room only grows.
bool reserveSamples(_TELD_Sensor& sensor, std::span<const std::size_t> sizes, std::span<void*> into);
// Reads the arrays from where the file stands; one without a place is passed over. 0, or the family's code.
int readSamples(_TELD_Sensor& sensor, const Family& family, std::span<const std::size_t> sizes,
                std::span<void* const> into);

// The head of a ping in the buffer of the handle, for an update: where it is in the file, and its bytes, or
// the code.
int headForUpdate(_TELD_Sensor* sensor, const Family& family, const char* operation, std::uint32_t number,
                  std::size_t headSize, std::int64_t& offset, std::byte*& head);
// Changes one word of a head in its place: (word & keep) | bits.
int updateWord(_TELD_Sensor* sensor, const Family& family, const char* operation, std::uint32_t number,
               std::size_t headSize, std::size_t wordOffset, std::uint32_t keep, std::uint32_t bits);

} // namespace skar::fileio
