#include "families.h"

#include "codetext.h"
#include "commands/command.h"

#include <skar/log.h>
#include <skar/paths.h>

#include <boost/make_shared.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace skar::tool {

namespace {

class Silence : public SKAR::DebugLogger {
public:
    boost::shared_ptr<SKAR::DebugLogger> clone() const override { return boost::make_shared<Silence>(); }
    bool passes(SKAR::DebugLogOutputLevel) const override { return false; }

protected:
    void write(const SKAR::Temporary::String&) override {}
};

void takeName(wchar_t* name, std::string& text) {
    text = name != nullptr ? narrowText(name) : std::string();
    SKARIO_free(name);
}

constexpr Access seriesAccess = {
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
    .begin = SimpleSensorBgnSeqWriteSummary,
    .beginSegment = SimpleSensorBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            return SimpleSensorSeqWrite(set, record.time, record.values[0], record.status);
        },
    .endSegment = SimpleSensorEndSeqWriteLineSegment,
    .end = SimpleSensorEndSeqWriteSummary,
};

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
    .begin = [](_TELD_Sensor* set) { return Track::begin(set, geographic); },
    .beginSegment = Track::beginSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            return Track::write(set, record.time, record.values[0], record.values[1], record.values[2],
                                record.status);
        },
    .endSegment = Track::endSegment,
    .end = Track::end,
};

constexpr const char* asRecorded = "zero and sign as its source recorded it";

constexpr Quantity heading[] = {{"heading", "rad", "clockwise from north"}};
constexpr Quantity heave[] = {{"heave", "m", asRecorded}};
constexpr Quantity pitch[] = {{"pitch", "rad", asRecorded}};
constexpr Quantity roll[] = {{"roll", "rad", asRecorded}};
constexpr Quantity tide[] = {{"tide", "m", "height of the water above the datum, up positive"}};
constexpr Quantity cable[] = {{"cable_out", "m", "length paid out"}};
constexpr Quantity altitude[] = {{"height", "m", "above the sea floor, up positive"}};
constexpr Quantity depth[] = {{"depth", "m", "below the surface, down positive"}};
constexpr Quantity draft[] = {{"delta_draft", "m", asRecorded}};
constexpr Quantity speed[] = {{"speed", "m/s", "through the water"}};
constexpr Quantity height[] = {{"height", "m", "above the ellipsoid, up positive"}};
constexpr Quantity position[] = {{"latitude", "rad", "north positive"},
                                 {"longitude", "rad", "east positive"},
                                 {"auxiliary", "", "as its source recorded it"}};

constexpr Family series(const char* name, std::uint32_t id, Coding coding, const char* about,
                        std::span<const Quantity> quantity) {
    return {name, id, id, coding, about, quantity, 1, &seriesAccess};
}

constexpr Family track(const char* name, std::uint32_t id, std::uint32_t storedType, const char* about,
                       const Access& access) {
    return {name, id, storedType, Coding::position, about, position, 2, &access};
}

constexpr Family table[] = {
    track("Navigation", 3, 3, "track of the ship", trackAccess<ShipTrack>),
    track("NavigationNew", 76, 3, "reprocessed track of the ship", trackAccess<ReprocessedTrack>),
    series("Gyro", 1, Coding::fine, "heading of the ship", heading),
    series("Heave", 2, Coding::millis, "vertical motion of the ship", heave),
    series("TrueHeave", 55, Coding::millis, "delayed heave of the motion sensor", heave),
    series("Pitch", 5, Coding::fine, "pitch of the ship", pitch),
    series("Roll", 6, Coding::fine, "roll of the ship", roll),
    series("Tide", 7, Coding::millis, "tide", tide),
    series("GPSTide", 48, Coding::millis, "tide from satellite heights", tide),
    series("GPSHeight", 47, Coding::millis, "height of the antenna", height),
    series("DeltaDraft", 45, Coding::millis, "change of draft", draft),
    series("SOW", 46, Coding::millis, "speed over water", speed),
    track("SSSNavigation", 12, 12, "track of the towfish", trackAccess<TowfishTrack>),
    series("SSSGyro", 11, Coding::fine, "heading of the towfish", heading),
    series("SSSCableOut", 40, Coding::millis, "cable of the towfish", cable),
    series("SSSSensorHeight", 41, Coding::millis, "height of the towfish", altitude),
    series("SSSSensorDepth", 42, Coding::millis, "depth of the towfish", depth),
};

bool sameName(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

} // namespace

std::span<const Family> families() {
    return table;
}

const Family* findFamily(std::string_view name) {
    const auto found =
        std::ranges::find_if(table, [&](const Family& row) { return sameName(row.name, name); });
    return found != std::end(table) ? &*found : nullptr;
}

const char* codingText(Coding coding) {
    switch (coding) {
    case Coding::millis:
        return "steps of 0.001";
    case Coding::fine:
        return "steps of 1e-7";
    case Coding::position:
        return "position, steps of 1e-9 around a reference";
    }
    return "";
}

std::vector<std::string> otherFiles(const LinePath& line, std::span<const Family* const> known) {
    std::set<std::string> names;
    for (const Family* family : known) {
        for (const char* suffix : setSuffixes)
            names.insert(std::string(family->name) + suffix);
    }
    std::vector<std::string> others;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator(line.native, error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!names.contains(name)) others.push_back(name);
    }
    if (error) throw ToolError(fmt::format("{}: {}", printable(line.native.string()), error.message()));
    std::ranges::sort(others);
    return others;
}

bool isPresent(const LinePath& line, const Family& family) {
    std::error_code ignored;
    return std::filesystem::exists(line.native / family.name, ignored);
}

OpenSet::OpenSet(const LinePath& line, const Family& family, const wchar_t* token)
    : family_(family), file_((line.native / family.name).string()) {
    startLibrary();
    std::uint32_t code = 0;
    set_ = family.access->open(family, line.store.c_str(), token, &code);
    if (set_ == nullptr)
        throw ToolError(fmt::format("{}: cannot be opened: {}", file_, codeText(static_cast<int>(code))));
}

OpenSet::~OpenSet() {
    if (set_ != nullptr) family_.access->close(set_);
}

void OpenSet::test(int code, const char* step, std::uint32_t record) {
    if (code == 0) return;
    const std::string where = record != 0 ? fmt::format(" record {}", record) : std::string();
    throw ToolError(fmt::format("{}: {}{} failed: {}", file_, step, where, codeText(code)));
}

Summary OpenSet::summary() {
    Summary summary;
    test(family_.access->summary(set_, summary), "reading the summary");
    return summary;
}

Segment OpenSet::segment(std::uint32_t number) {
    Segment segment;
    test(family_.access->segment(set_, number, segment), "reading a line segment");
    return segment;
}

void OpenSet::read(std::uint32_t number, Record& record) {
    if (const int code = family_.access->read(set_, number, record); code != 0) test(code, "reading", number);
}

void OpenSet::begin() {
    test(family_.access->begin(set_), "beginning the set");
}

void OpenSet::beginSegment(const std::string& source) {
    test(family_.access->beginSegment(set_, wideText(source).c_str()), "beginning a line segment");
}

void OpenSet::write(const Record& record) {
    ++written_;
    if (const int code = family_.access->write(set_, record); code != 0) test(code, "writing", written_);
}

void OpenSet::endSegment() {
    test(family_.access->endSegment(set_, 0), "ending a line segment");
}

void OpenSet::finish() {
    test(family_.access->end(set_, 0), "ending the set");
    test(family_.access->close(std::exchange(set_, nullptr)), "closing");
}

void startLibrary() {
    // The library's log would mix with the data on standard output; what it says also arrives as a code.
    static const int code = (SKAR::setDebugLogger(Silence()), SKARIO_Init(0));
    if (code != 0) throw ToolError("the library cannot be started: " + codeText(code));
}

} // namespace skar::tool
