#include "import/kongsbergall.h"

#include "import/kongsberginstallation.h"
#include "import/kongsbergswath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <set>

namespace skar::import {

namespace {

std::optional<Micros> timeOf(std::uint32_t date, std::uint32_t milliseconds) {
    // A leap second makes a day of 86 401 seconds.
    if (date > 99'991'231 || milliseconds > 86'401'000) return std::nullopt;
    const auto begin = midnight(static_cast<int>(date / 10000), static_cast<int>(date / 100 % 100),
                                static_cast<int>(date % 100));
    if (!begin) return std::nullopt;
    return *begin + Micros{milliseconds} * 1000;
}

// A list of entries behind a count; false when the list does not fit what is there.
template <typename Entry, typename ReadEntry>
bool readEntries(Cursor& in, std::size_t entryBytes, std::vector<Entry>& entries, ReadEntry readEntry) {
    const auto count = in.read<std::uint16_t>();
    if (in.failed() || std::size_t{count} * entryBytes > in.remaining()) return false;
    entries.resize(count);
    for (Entry& entry : entries)
        readEntry(entry);
    return true;
}

constexpr std::size_t afterHeader = KongsbergFrames::headerBytes;

} // namespace

std::optional<Micros> KongsbergHeader::time() const {
    return timeOf(date, milliseconds);
}

bool decode(const KongsbergFrame& frame, KongsbergHeader& header) {
    Cursor in = frame.cursor();
    in.skip(1);
    header.type = in.read<std::uint8_t>();
    header.model = in.read<std::uint16_t>();
    header.date = in.read<std::uint32_t>();
    header.milliseconds = in.read<std::uint32_t>();
    header.counter = in.read<std::uint16_t>();
    header.serial = in.read<std::uint16_t>();
    return !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergAttitude& attitude) {
    Cursor in = frame.cursor();
    in.seek(afterHeader);
    const bool fits = readEntries(in, 12, attitude.entries, [&](KongsbergAttitude::Entry& entry) {
        entry.offset = in.read<std::uint16_t>();
        entry.status = in.read<std::uint16_t>();
        entry.roll = in.read<std::int16_t>();
        entry.pitch = in.read<std::int16_t>();
        entry.heave = in.read<std::int16_t>();
        entry.heading = in.read<std::uint16_t>();
    });
    attitude.descriptor = in.read<std::uint8_t>();
    return fits && !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergHeading& heading) {
    Cursor in = frame.cursor();
    in.seek(afterHeader);
    const bool fits = readEntries(in, 4, heading.entries, [&](KongsbergHeading::Entry& entry) {
        entry.offset = in.read<std::uint16_t>();
        entry.heading = in.read<std::uint16_t>();
    });
    heading.indicator = in.read<std::uint8_t>();
    return fits && !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergPosition& position) {
    Cursor in = frame.cursor();
    in.seek(afterHeader);
    position.latitude = in.read<std::int32_t>();
    position.longitude = in.read<std::int32_t>();
    position.quality = in.read<std::uint16_t>();
    in.skip(6); // speed, course and heading of the position system
    position.descriptor = in.read<std::uint8_t>();
    in.skip(in.read<std::uint8_t>()); // the input sentence
    return !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergClock& clock) {
    Cursor in = frame.cursor();
    in.seek(afterHeader);
    clock.date = in.read<std::uint32_t>();
    clock.milliseconds = in.read<std::uint32_t>();
    clock.pulsePerSecond = in.read<std::uint8_t>();
    return !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergSoundProfile& profile) {
    Cursor in = frame.cursor();
    in.seek(afterHeader);
    profile.castDate = in.read<std::uint32_t>();
    profile.castSeconds = in.read<std::uint32_t>();
    const auto count = in.read<std::uint16_t>();
    profile.resolution = in.read<std::uint16_t>();
    if (in.failed() || count * sizeof(std::uint64_t) > in.remaining()) return false;
    profile.entries.resize(count);
    for (KongsbergSoundProfile::Entry& entry : profile.entries) {
        entry.depth = in.read<std::uint32_t>();
        entry.speed = in.read<std::uint32_t>();
    }
    return !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergSurfaceSpeed& surface) {
    Cursor in = frame.cursor();
    in.seek(afterHeader);
    return readEntries(in, 4, surface.entries, [&](KongsbergSurfaceSpeed::Entry& entry) {
        entry.offset = in.read<std::uint16_t>();
        entry.speed = in.read<std::uint16_t>();
    });
}

namespace {

// Speeds and depths are kept in 16 bits, in steps of 0.1.
constexpr double largestSoundSpeedValue = 6553.5;

template <typename T>
constexpr bool stated(T value) {
    return value != std::numeric_limits<T>::max();
}

std::string joined(const std::set<int>& numbers) {
    std::string text;
    for (int number : numbers)
        text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

// What is gathered while a file goes by.
class AllImport {
public:
    void attitude(const KongsbergFrame& frame, Micros time);
    void heading(const KongsbergFrame& frame, Micros time);
    void position(const KongsbergFrame& frame, Micros time);
    void clock(const KongsbergFrame& frame, Micros time);
    void cast(const KongsbergSoundProfile& in, std::uint64_t offset);
    void soundProfile(const KongsbergFrame& frame, Micros time);
    void surfaceSpeed(const KongsbergFrame& frame, Micros time);
    void depths(const KongsbergFrame& frame, Micros time);
    void ranges(const KongsbergFrame& frame, Micros time);
    void image(const KongsbergFrame& frame, Micros time);
    void installation(const KongsbergFrame& frame, Micros time);

    void keepPlace(const KongsbergFrame& frame, std::optional<Micros> time) {
        data_.index.push_back({frame.offset, time.value_or(RawRecord::untimed), frame.type, frame.size});
    }
    RawData finish();
    Problems& problems() { return data_.problems; }
    LeftOutCounter& leftOut() { return leftOut_; }

private:
    void angle(ScalarKind kind, Micros time, std::int16_t hundredths, std::uint64_t offset) {
        value(data_[kind].records, time, stated(hundredths), hundredths / 100.0, 180.0, offset);
    }
    void compass(std::vector<TimedValue>& records, Micros time, std::uint16_t hundredths,
                 std::uint64_t offset) {
        value(records, time, stated(hundredths), hundredths / 100.0, 360.0, offset);
    }
    void value(std::vector<TimedValue>& records, Micros time, bool isStated, double degrees, double limit,
               std::uint64_t offset) {
        if (!isStated)
            problems().add(ProblemKind::noValue, offset);
        else if (std::abs(degrees) > limit)
            problems().add(ProblemKind::badValue, offset);
        else
            records.push_back({time, radiansFromDegrees(degrees)});
    }

    void soundSpeed(Micros time, double speed, double depth, std::uint32_t status, std::uint64_t offset);
    void numberHeads();
    void layOut();

    RawData data_;
    LeftOutCounter leftOut_;
    KongsbergDepths depths_; // kept for their memory
    KongsbergRanges ranges_;
    KongsbergSeabedImage image_;
    std::vector<TimedValue> headingSeries_; // from the active compass, should no motion sensor give it
    struct Fitting {
        Micros time = 0;
        std::uint64_t offset = 0;
        KongsbergInstallation parameters;
    };
    std::vector<Fitting> fittings_;
    std::map<std::uint32_t, std::uint32_t> beams_; // most in a ping of each head, by its serial number
    std::set<int> motionSensors_;
    std::set<int> headingSensors_;
    std::set<int> positionSystems_;
    bool systemTime_ = false;
    bool sentenceTime_ = false;
    std::uint64_t clocks_ = 0;
    Micros clockLow_ = std::numeric_limits<Micros>::max();
    Micros clockHigh_ = std::numeric_limits<Micros>::min();
};

void AllImport::attitude(const KongsbergFrame& frame, Micros time) {
    KongsbergAttitude in;
    if (!decode(frame, in)) return problems().add(ProblemKind::length, frame.offset);
    const bool motion = in.rollInUse() || in.pitchInUse() || in.heaveInUse();
    if (!motion && !in.headingInUse()) {
        return leftOut_.add("attitude of motion sensor " + std::to_string(in.sensor()),
                            "the descriptor says that it is not in use");
    }
    if (motion) motionSensors_.insert(in.sensor());
    if (in.headingInUse()) headingSensors_.insert(in.sensor());
    for (const auto& entry : in.entries) {
        if (!entry.valid()) {
            problems().add(ProblemKind::noValue, frame.offset);
            continue;
        }
        const Micros at = time + Micros{entry.offset} * 1000;
        if (in.rollInUse()) angle(ScalarKind::roll, at, entry.roll, frame.offset);
        if (in.pitchInUse()) angle(ScalarKind::pitch, at, entry.pitch, frame.offset);
        if (in.headingInUse()) compass(data_[ScalarKind::gyro].records, at, entry.heading, frame.offset);
        if (in.heaveInUse()) {
            if (stated(entry.heave))
                data_[ScalarKind::heave].records.push_back({at, entry.heave / 100.0});
            else
                problems().add(ProblemKind::noValue, frame.offset);
        }
    }
}

void AllImport::heading(const KongsbergFrame& frame, Micros time) {
    KongsbergHeading in;
    if (!decode(frame, in)) return problems().add(ProblemKind::length, frame.offset);
    if (!in.active()) return leftOut_.add("heading", "marked as not the active heading");
    for (const auto& entry : in.entries)
        compass(headingSeries_, time + Micros{entry.offset} * 1000, entry.heading, frame.offset);
}

void AllImport::position(const KongsbergFrame& frame, Micros time) {
    KongsbergPosition in;
    if (!decode(frame, in)) return problems().add(ProblemKind::length, frame.offset);
    if (!in.active()) {
        return leftOut_.add("position of system " + std::to_string(in.system()),
                            "the descriptor says that it is not the active one");
    }
    if (!stated(in.latitude) || !stated(in.longitude))
        return problems().add(ProblemKind::noFix, frame.offset);
    const double latitude = in.latitude / 2e7;
    const double longitude = in.longitude / 1e7;
    if (std::abs(latitude) > 90.0 || std::abs(longitude) > 180.0)
        return problems().add(ProblemKind::badValue, frame.offset);
    positionSystems_.insert(in.system());
    (in.sentenceTime() ? sentenceTime_ : systemTime_) = true;
    if (stated(in.quality)) {
        ErrorFigures figures{time};
        figures[ErrorKind::north] = figures[ErrorKind::east] = in.quality / 100.0;
        data_.errorFigures.records.push_back(figures);
    }
    data_.navigation.records.push_back({time, radiansFromDegrees(latitude), radiansFromDegrees(longitude),
                                        stated(in.quality) ? in.quality / 100.0 : 0.0});
}

void AllImport::clock(const KongsbergFrame& frame, Micros time) {
    KongsbergClock in;
    if (!decode(frame, in)) return problems().add(ProblemKind::length, frame.offset);
    const auto external = timeOf(in.date, in.milliseconds);
    if (!external) return problems().add(ProblemKind::noValue, frame.offset);
    ++clocks_;
    clockLow_ = std::min(clockLow_, *external - time);
    clockHigh_ = std::max(clockHigh_, *external - time);
}

void AllImport::soundSpeed(Micros time, double speed, double depth, std::uint32_t status,
                           std::uint64_t offset) {
    if (speed <= 0.0 || speed > largestSoundSpeedValue)
        problems().add(ProblemKind::badValue, offset);
    else if (depth > largestSoundSpeedValue)
        leftOut_.add("sound speeds of a profile", "deeper than the 6553.5 m that the sensor can hold");
    else
        data_.soundSpeeds.records.push_back({time, speed, depth, status});
}

void AllImport::soundProfile(const KongsbergFrame& frame, Micros time) {
    KongsbergSoundProfile in;
    if (!decode(frame, in)) return problems().add(ProblemKind::length, frame.offset);
    for (const auto& entry : in.entries) {
        const double depth = std::round(static_cast<double>(entry.depth) * in.resolution / 10.0) / 10.0;
        soundSpeed(time, entry.speed / 10.0, depth, SoundSpeed::inProfile, frame.offset);
    }
    cast(in, frame.offset);
}

void AllImport::cast(const KongsbergSoundProfile& in, std::uint64_t offset) {
    constexpr std::uint32_t secondsPerDay = 86400;
    const auto day =
        in.castSeconds < secondsPerDay ? timeOf(in.castDate, in.castSeconds * 1000) : std::nullopt;
    if (!day) return problems().add(ProblemKind::badValue, offset);
    Cast cast;
    cast.time = *day;
    for (const auto& entry : in.entries)
        cast.samples.push_back(
            {static_cast<double>(entry.depth) * in.resolution / 100.0, entry.speed / 10.0});
    if (!cast.samples.empty()) data_.casts.push_back(std::move(cast));
}

void AllImport::surfaceSpeed(const KongsbergFrame& frame, Micros time) {
    KongsbergSurfaceSpeed in;
    if (!decode(frame, in)) return problems().add(ProblemKind::length, frame.offset);
    for (const auto& entry : in.entries) {
        if (!stated(entry.speed)) {
            problems().add(ProblemKind::noValue, frame.offset);
            continue;
        }
        soundSpeed(time + entry.offset * microsPerSecond, entry.speed / 10.0, 0.0, SoundSpeed::atTransducer,
                   frame.offset);
    }
}

void AllImport::depths(const KongsbergFrame& frame, Micros time) {
    if (!decode(frame, depths_)) return problems().add(ProblemKind::length, frame.offset);
    if (depths_.beams.empty()) return leftOut_.add("XYZ 88", "ping without beams");
    PingPlace place = placeOf(frame, time);
    place.oriented = depths_.headingStated();
    std::uint32_t& most = beams_[place.head];
    most = std::max(most, static_cast<std::uint32_t>(depths_.beams.size()));
    data_.depthPings.records.push_back(place);
}

void AllImport::ranges(const KongsbergFrame& frame, Micros time) {
    if (!decode(frame, ranges_)) return problems().add(ProblemKind::length, frame.offset);
    if (ranges_.beams.empty()) return leftOut_.add("raw range and angle 78", "ping without beams");
    data_.rangePings.records.push_back(placeOf(frame, time));
}

void AllImport::image(const KongsbergFrame& frame, Micros time) {
    if (!decode(frame, image_)) return problems().add(ProblemKind::length, frame.offset);
    if (image_.samples.empty()) return leftOut_.add("seabed image 89", "ping without samples");
    constexpr double slowest = 0.25; // Hz; the time between two samples is kept in 32 bits of nanoseconds
    if (!(image_.samplingRate >= slowest && image_.samplingRate <= 1e9F))
        return problems().add(ProblemKind::badValue, frame.offset);
    PingPlace place = placeOf(frame, time);
    const std::size_t port = image_.samplesToPort();
    place.samples = static_cast<std::uint32_t>(std::max(port, image_.samples.size() - port));
    data_.imagePings.records.push_back(place);
}

void AllImport::installation(const KongsbergFrame& frame, Micros time) {
    Fitting fitting{time, frame.offset, {}};
    if (!decode(frame, fitting.parameters)) return problems().add(ProblemKind::length, frame.offset);
    // Most files repeat at their end, or at every pause, what they said at their beginning.
    if (fittings_.empty() || fittings_.back().parameters.fields != fitting.parameters.fields)
        fittings_.push_back(std::move(fitting));
}

// At the end, when it is known how many beams the heads have.
void AllImport::layOut() {
    for (const Fitting& fitting : fittings_) {
        std::uint64_t bad = 0;
        Installation installation = layoutOf(fitting.parameters, beams_, bad);
        if (bad != 0) problems().add(ProblemKind::badValue, fitting.offset);
        if (installation == Installation()) {
            leftOut_.add("installation parameters", "nothing in them that a vessel file holds");
            continue;
        }
        if (!installation.sonar && fitting.parameters.fields.contains("S1X"))
            leftOut_.add("installation parameters of transducers", "their arrangement is not known");
        auto& all = data_.installations;
        if (all.empty() || all.back().installation != installation)
            all.push_back({fitting.time, std::move(installation)});
    }
}

void AllImport::numberHeads() {
    std::set<std::uint32_t> serials;
    for (const auto* series : {&data_.depthPings, &data_.rangePings, &data_.imagePings}) {
        for (const PingPlace& place : series->records)
            serials.insert(place.head);
    }
    for (auto* series : {&data_.depthPings, &data_.rangePings, &data_.imagePings}) {
        for (PingPlace& place : series->records) {
            place.head =
                1 + static_cast<std::uint32_t>(std::distance(serials.begin(), serials.find(place.head)));
        }
    }
    std::set<int> named(serials.begin(), serials.end());
    if (!data_.depthPings.records.empty()) data_.depthPings.origin = "XYZ 88, serial number " + joined(named);
    if (!data_.rangePings.records.empty())
        data_.rangePings.origin = "raw range and angle 78, serial number " + joined(named);
    if (!data_.imagePings.records.empty())
        data_.imagePings.origin = "seabed image 89, serial number " + joined(named);
}

RawData AllImport::finish() {
    numberHeads();
    layOut();
    if (!data_.soundSpeeds.records.empty())
        data_.soundSpeeds.origin = "sound speed at transducer and profile";
    auto& gyro = data_[ScalarKind::gyro];
    if (!gyro.records.empty()) {
        gyro.origin = "attitude, sensor " + joined(headingSensors_);
        if (!headingSeries_.empty()) {
            leftOut_.add("active heading entries", "the heading in use comes with the attitude",
                         headingSeries_.size());
        }
    } else if (!headingSeries_.empty()) {
        gyro.records = std::move(headingSeries_);
        gyro.origin = "heading datagrams";
    }
    for (const ScalarKind kind : {ScalarKind::heave, ScalarKind::pitch, ScalarKind::roll}) {
        if (!data_[kind].records.empty()) data_[kind].origin = "attitude, sensor " + joined(motionSensors_);
    }
    if (!data_.navigation.records.empty())
        data_.navigation.origin = "position, system " + joined(positionSystems_);
    data_.errorFigures.origin = "fix quality of the positions";

    auto& say = data_.conventions;
    if (data_.records() != 0) {
        say.emplace_back("Times are UTC of the datagrams, entries by their own offset.");
        say.emplace_back("Only what the descriptors name as in use is loaded.");
    }
    if (systemTime_) say.emplace_back("Positions carry the time of the sounder's clock.");
    if (sentenceTime_) say.emplace_back("Positions carry the time of the positioning system.");
    if (!data_.errorFigures.records.empty())
        say.emplace_back("The fix quality of a position is its error both north and east.");
    if (clocks_ != 0) {
        std::array<char, 160> text{};
        std::snprintf(text.data(), text.size(),
                      "The external clock stands %+.3f to %+.3f s off the sounder's (%llu readings); no time "
                      "was corrected by it.",
                      static_cast<double>(clockLow_) / 1e6, static_cast<double>(clockHigh_) / 1e6,
                      static_cast<unsigned long long>(clocks_));
        say.emplace_back(text.data());
    }
    if (!data_[ScalarKind::heave].records.empty()) {
        data_.heaveSign = "positive downwards";
        say.emplace_back("Heave is positive downwards, as in the file.");
    }
    if (!motionSensors_.empty()) say.emplace_back("Roll is positive port side up, pitch positive bow up.");
    if (!data_.depthPings.records.empty())
        say.emplace_back("Depths are below the water line, the transducer's depth with its heave added.");
    if (!data_.rangePings.records.empty())
        say.emplace_back("Angles are those of the receive array, turned to be positive to starboard.");
    if (!data_.imagePings.records.empty())
        say.emplace_back(
            "Samples of seabed images are kept as 0.1 dB above -3276.8 dB, 0 where there is none.");
    if (!data_.soundSpeeds.records.empty())
        say.emplace_back("A sound speed profile has the time of its datagram, not that of its cast.");
    if (!data_.installations.empty())
        say.emplace_back("Offsets of the vessel are x to starboard, y forward, z down.");
    data_.leftOut = leftOut_.take();
    sortByTime(data_);
    return std::move(data_);
}

// Every datagram by its type: what it is called, and what takes it in. A type without a loader is counted.
struct DatagramType {
    char type;
    const char* name;
    void (AllImport::*load)(const KongsbergFrame& frame, Micros time);
};
constexpr std::array<DatagramType, 21> datagramTypes{{
    {'A', "attitude", &AllImport::attitude},
    {'C', "clock", &AllImport::clock},
    {'H', "heading", &AllImport::heading},
    {'P', "position", &AllImport::position},
    {'0', "PU id", nullptr},
    {'1', "PU status", nullptr},
    {'3', "extra parameters", nullptr},
    {'G', "surface sound speed", &AllImport::surfaceSpeed},
    {'I', "installation parameters (start)", &AllImport::installation},
    {'i', "installation parameters (stop)", &AllImport::installation},
    {'r', "installation parameters (remote)", &AllImport::installation},
    {'N', "raw range and angle 78", &AllImport::ranges},
    {'O', "quality factor 79", nullptr},
    {'R', "runtime parameters", nullptr},
    {'U', "sound speed profile", &AllImport::soundProfile},
    {'X', "XYZ 88", &AllImport::depths},
    {'Y', "seabed image 89", &AllImport::image},
    {'h', "height", nullptr},
    {'k', "water column", nullptr},
    {'n', "network attitude velocity", nullptr},
    {'D', "depth", nullptr},
}};

} // namespace

bool looksLikeKongsbergAll(Bytes head) {
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        Cursor in(head, order);
        const auto length = in.read<std::uint32_t>();
        const auto mark = in.read<std::uint8_t>();
        in.skip(3);
        const auto date = in.read<std::uint32_t>();
        const auto milliseconds = in.read<std::uint32_t>();
        if (!in.failed() && mark == 0x02 && length <= KongsbergFrames::largestDatagram &&
            timeOf(date, milliseconds))
            return true;
    }
    return false;
}

RawData readKongsbergAll(ByteSource& source) {
    AllImport import;
    KongsbergFrames frames(source, import.problems());
    KongsbergFrame frame;
    while (frames.next(frame)) {
        KongsbergHeader header;
        const bool whole = decode(frame, header);
        const auto time = header.time();
        import.keepPlace(frame, whole ? time : std::nullopt);
        const auto type =
            std::find_if(datagramTypes.begin(), datagramTypes.end(), [&](const DatagramType& row) {
                return static_cast<std::uint8_t>(row.type) == frame.type;
            });
        if (type == datagramTypes.end()) {
            std::array<char, 16> name{};
            std::snprintf(name.data(), name.size(), "type %02Xh", frame.type);
            import.leftOut().add(name.data(), "datagram not known");
            continue;
        }
        if (type->load == nullptr) {
            import.leftOut().add(type->name, "datagram not carried over");
            continue;
        }
        if (whole && time)
            (import.*type->load)(frame, *time);
        else
            import.problems().add(whole ? ProblemKind::noDate : ProblemKind::length, frame.offset);
    }
    return import.finish();
}

} // namespace skar::import
