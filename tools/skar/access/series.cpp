#include "access/access.h"

// Time series and tracks.
namespace skar::tool {

void takeName(wchar_t* name, std::string& text) {
    text = name != nullptr ? narrowText(name) : std::string();
    SKARIO_free(name);
}

const Access seriesAccess = {
    .open =
        [](const Family& family, const wchar_t* line, const wchar_t* token, std::uint32_t* code) {
            const std::uint32_t valueCoding = family.coding == Coding::fine ? 1 : 0;
            return SimpleSensorOpen(line, token, family.id, valueCoding, code);
        },
    .close = SimpleSensorClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            return SimpleSensorSummary(set, &to.segments, &to.records, &to.time.min, &to.time.max,
                                       &to.extents[0].min, &to.extents[0].max, &to.status);
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code =
                SimpleSensorLineSegment(set, number, &name, &to.begin, &to.end, &to.time.min, &to.time.max,
                                        &to.extents[0].min, &to.extents[0].max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read = [](_TELD_Sensor* set, std::uint32_t number,
               Record& to) { return SimpleSensorRead(set, number, &to.time, &to.values[0], &to.status); },
    .readItem = nullptr,
    .begin = [](_TELD_Sensor* set, std::uint32_t,
                std::uint32_t) { return SimpleSensorBgnSeqWriteSummary(set); },
    .beginSegment = SimpleSensorBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            return SimpleSensorSeqWrite(set, record.time, record.values[0], record.status);
        },
    .writeItem = nullptr,
    .endItems = nullptr,
    .endSegment = SimpleSensorEndSeqWriteLineSegment,
    .end = SimpleSensorEndSeqWriteSummary,
};

namespace {

// The functions of the ship's track; those of the towfish have the same form under other names.
struct ShipTrack {
    static constexpr auto open = NavigationOpenDir;
    static constexpr auto close = NavigationClose;
    static constexpr auto summary = NavigationSummary;
    static constexpr auto segment = NavigationLineSegment;
    static constexpr auto read = NavigationRead;
    static constexpr auto begin = NavigationBgnSeqWriteSummary;
    static constexpr auto beginSegment = NavigationBgnSeqWriteLineSegment;
    static constexpr auto write = NavigationSeqWrite;
    static constexpr auto endSegment = NavigationEndSeqWriteLineSegment;
    static constexpr auto end = NavigationEndSeqWriteSummary;
};
struct ReprocessedTrack : ShipTrack {
    static constexpr auto open = NavigationNewOpenDir;
};
struct TowfishTrack {
    static constexpr auto open = SSSNavigationOpenDir;
    static constexpr auto close = SSSNavigationClose;
    static constexpr auto summary = SSSNavigationSummary;
    static constexpr auto segment = SSSNavigationLineSegment;
    static constexpr auto read = SSSNavigationRead;
    static constexpr auto begin = SSSNavigationBgnSeqWriteSummary;
    static constexpr auto beginSegment = SSSNavigationBgnSeqWriteLineSegment;
    static constexpr auto write = SSSNavigationSeqWrite;
    static constexpr auto endSegment = SSSNavigationEndSeqWriteLineSegment;
    static constexpr auto end = SSSNavigationEndSeqWriteSummary;
};

constexpr std::uint32_t geographic = 1;

template <class Track>
constexpr Access trackAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return Track::open(line, token, code); },
    .close = Track::close,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            return Track::summary(set, &to.segments, &to.records, nullptr, &to.time.min, &to.time.max,
                                  &to.extents[0].min, &to.extents[0].max, &to.extents[1].min,
                                  &to.extents[1].max, &to.status);
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code = Track::segment(set, number, &name, &to.begin, &to.end, &to.time.min,
                                            &to.time.max, &to.extents[0].min, &to.extents[0].max,
                                            &to.extents[1].min, &to.extents[1].max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            return Track::read(set, number, &to.time, &to.values[0], &to.values[1], &to.values[2],
                               &to.status);
        },
    .readItem = nullptr,
    .begin = [](_TELD_Sensor* set, std::uint32_t, std::uint32_t) { return Track::begin(set, geographic); },
    .beginSegment = Track::beginSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            return Track::write(set, record.time, record.values[0], record.values[1], record.values[2],
                                record.status);
        },
    .writeItem = nullptr,
    .endItems = nullptr,
    .endSegment = Track::endSegment,
    .end = Track::end,
};

} // namespace

const Access shipTrackAccess = trackAccess<ShipTrack>;
const Access reprocessedTrackAccess = trackAccess<ReprocessedTrack>;
const Access towfishTrackAccess = trackAccess<TowfishTrack>;

} // namespace skar::tool
