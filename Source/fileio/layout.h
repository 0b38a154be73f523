#pragma once

#include "fileio/bytes.h"
#include "fileio/coding.h"

#include <array>
#include <functional>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>

// The layout of a record, a summary or a segment's extents, stated once: a list of words, each with its name,
// the member it belongs to and its coding. Size, encoding, decoding, offsets, names in log lines and the
// pages of docs/formats all come from it.
namespace skar::fileio {

// What the codings count from: the references of a handle.
using Scale = _TELD_Sensor;

// A word as it stands.
struct Unsigned {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "as it stands";
    static bool encode(const Scale&, std::uint32_t value, std::uint32_t& word) noexcept {
        word = value;
        return true;
    }
    static std::uint32_t decode(const Scale&, std::uint32_t word) noexcept { return word; }
};

struct Signed {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "as it stands";
    static bool encode(const Scale&, std::int32_t value, std::uint32_t& word) noexcept {
        word = static_cast<std::uint32_t>(value);
        return true;
    }
    static std::int32_t decode(const Scale&, std::uint32_t word) noexcept {
        return static_cast<std::int32_t>(word);
    }
};

struct Time {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "seconds: (t - referenceTime * 60) * clockAccuracy, rounded";
    static bool encode(const Scale& scale, double value, std::uint32_t& word) noexcept {
        return TELD_EncodeTime(value, scale.referenceTime, scale.clockAccuracy, word);
    }
    static double decode(const Scale& scale, std::uint32_t word) noexcept {
        return TELD_DecodeTime(static_cast<std::int32_t>(word), scale.referenceTime, scale.clockAccuracy);
    }
};

struct Meters {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "value * 1000, rounded, saturating beyond +-2e6";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return TELD_EncodeMeters(value, word);
    }
    static double decode(const Scale&, std::uint32_t word) noexcept {
        return TELD_DecodeMeters(static_cast<std::int32_t>(word));
    }
};

template <std::int32_t _TELD_Sensor::*Reference>
struct Position {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning =
        "radians: (p - reference * 1e-7) / (positionScale * 1e-9), rounded";
    static bool encode(const Scale& scale, double value, std::uint32_t& word) noexcept {
        return TELD_EncodePosition(value, scale.*Reference, scale.positionScale, word);
    }
    static double decode(const Scale& scale, std::uint32_t word) noexcept {
        return TELD_DecodePosition(static_cast<std::int32_t>(word), scale.*Reference, scale.positionScale);
    }
};
using Latitude = Position<&_TELD_Sensor::referenceLatitude>;
using Longitude = Position<&_TELD_Sensor::referenceLongitude>;

// Reaches one element of an array member.
template <class Record>
struct Element {
    double (Record::*array)[3];
    std::size_t index;
    double& operator()(Record& record) const noexcept { return (record.*array)[index]; }
    const double& operator()(const Record& record) const noexcept { return (record.*array)[index]; }
};

// The record itself, for a word that several members share: its coding encodes from it and decodes into it.
struct Whole {
    template <class Record>
    Record& operator()(Record& record) const noexcept {
        return record;
    }
};

template <class Coding, class Access>
struct Field {
    using coding = Coding;
    const char* name;
    Access access;
    const char* complaint = nullptr; // the log line when the word cannot be decoded, where the family has one
};

// field<Time>("encodedTime", &Record::time)
template <class Coding, class Access>
constexpr Field<Coding, Access> field(const char* name, Access access, const char* complaint = nullptr) {
    return {name, access, complaint};
}
// element<Latitude>("minLat", &Record::min, 0)
template <class Coding, class Record>
constexpr Field<Coding, Element<Record>> element(const char* name, double (Record::*array)[3],
                                                 std::size_t index, const char* complaint = nullptr) {
    return {name, {array, index}, complaint};
}

// What a page about a layout shows of a word.
struct FieldPage {
    const char* name;
    const char* wordType;
    const char* meaning;
    const char* complaint;
};

template <class Record, class... Fields>
struct Layout {
    std::tuple<Fields...> fields;

    static constexpr std::size_t words = sizeof...(Fields);
    static constexpr std::size_t size = words * wordSize;

    // False when a value has no coding; every word is set all the same.
    bool encode(const Scale& scale, const Record& record, void* bytes) const noexcept {
        return [&]<std::size_t... I>(std::index_sequence<I...>) {
            bool all = true;
            ((all &=
              encodeField(std::get<I>(fields), scale, record, static_cast<std::byte*>(bytes) + I * wordSize)),
             ...);
            return all;
        }
        (std::make_index_sequence<words>());
    }

    // Word by word in order, so that a word may count from a reference decoded before it.
    [[gnu::always_inline]] void decode(const Scale& scale, const void* bytes, Record& record) const noexcept {
        [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
            (decodeField(std::get<I>(fields), scale, static_cast<const std::byte*>(bytes) + I * wordSize,
                         record),
             ...);
        }
        (std::make_index_sequence<words>());
    }

    // Bytes before the word of that name.
    constexpr std::size_t offsetOf(std::string_view name) const {
        std::size_t at = 0;
        for (const FieldPage& page : pages()) {
            if (name == page.name) return at;
            at += wordSize;
        }
        throw "no such word"; // does not compile in a constant
    }

    constexpr std::array<FieldPage, words> pages() const {
        return std::apply(
            [](const auto&... each) {
                return std::array<FieldPage, words>{
                    FieldPage{each.name, std::decay_t<decltype(each)>::coding::wordType,
                              std::decay_t<decltype(each)>::coding::meaning, each.complaint}...};
            },
            fields);
    }

private:
    template <class F>
    static bool encodeField(const F& f, const Scale& scale, const Record& record, std::byte* at) noexcept {
        std::uint32_t word = 0;
        const bool coded = F::coding::encode(scale, std::invoke(f.access, record), word);
        storeWord(at, word);
        return coded;
    }
    template <class F>
    [[gnu::always_inline]] static void decodeField(const F& f, const Scale& scale, const std::byte* at,
                                                   Record& record) noexcept {
        if constexpr (requires { F::coding::decodeInto(scale, 0u, std::invoke(f.access, record)); })
            F::coding::decodeInto(scale, loadWord(at), std::invoke(f.access, record));
        else
            std::invoke(f.access, record) = F::coding::decode(scale, loadWord(at));
    }
};

template <class Record, class... Fields>
constexpr Layout<Record, Fields...> layout(Fields... fields) {
    return {{fields...}};
}

// A layout with further words behind it.
template <class Record, class... Fields, class... More>
constexpr Layout<Record, Fields..., More...> extended(const Layout<Record, Fields...>& base, More... more) {
    return {std::tuple_cat(base.fields, std::make_tuple(more...))};
}

// A layout without its types, for the frame that is written once for all families.
template <class Record>
struct Block {
    std::size_t size = 0;
    std::span<const FieldPage> pages;
    bool (*encode)(const Scale&, const Record&, void*) = nullptr;
    void (*decode)(const Scale&, const void*, Record&) = nullptr;
};

template <const auto& layoutOf, class Record>
inline constexpr auto pagesOf = layoutOf.pages();

// block<layout, Record>: the layout must be a constexpr variable with a name.
template <const auto& layoutOf, class Record>
constexpr Block<Record> block() {
    return {
        layoutOf.size, pagesOf<layoutOf, Record>,
        [](const Scale& scale, const Record& record, void* bytes) {
            return layoutOf.encode(scale, record, bytes);
        },
        [](const Scale& scale, const void* bytes, Record& record) { layoutOf.decode(scale, bytes, record); }};
}

} // namespace skar::fileio
