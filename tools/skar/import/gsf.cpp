#include "import/gsf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace skar::import {

namespace {

constexpr std::size_t recordHead = 8; // size and identifier
constexpr std::uint32_t largestRecord = 1U << 24U;
constexpr std::size_t shortPingHead = 42; // before version 3.01
constexpr std::size_t longPingHead = 56;
constexpr double largestSoundSpeedValue = 6553.5;

enum RecordType : std::uint32_t {
    fileHeader = 1,
    ping = 2,
    profile = 3,
    parameters = 4,
    attitude = 12,
    lastType = 13
};
enum Subrecord : std::uint8_t {
    depthArray = 1,
    acrossArray = 2,
    alongArray = 3,
    travelArray = 4,
    angleArray = 5,
    flagArray = 16,
    forwardAngleArray = 18,
    verticalErrorArray = 19,
    horizontalErrorArray = 20,
    scaleFactors = 100,
    multibeam = 134,
};

struct ScaleFactor {
    std::uint8_t compression = 0;
    std::uint32_t multiplier = 0; // 0: none is known
    std::int32_t offset = 0;
};
constexpr std::size_t lastArray = 31;
using ScaleFactors = std::array<ScaleFactor, lastArray + 1>;

struct Subrecords {
    std::array<std::optional<Bytes>, 256> bytes; // the last one of each identifier
    // The last one of a record may claim a byte more than the record holds.
    explicit Subrecords(Bytes record, std::size_t from) {
        Cursor in(record, ByteOrder::big);
        in.seek(from);
        while (in.remaining() > sizeof(std::uint32_t)) {
            const auto word = in.read<std::uint32_t>();
            const std::size_t size = std::min<std::size_t>(word & 0xFFFFFFU, in.remaining());
            bytes[word >> 24U] = record.subspan(in.position(), size);
            in.skip(size);
        }
    }
    const std::optional<Bytes>& operator[](std::size_t identifier) const { return bytes[identifier]; }
};

ScaleFactors scaleFactorsOf(Bytes content) {
    ScaleFactors factors;
    Cursor in(content, ByteOrder::big);
    const auto count = in.read<std::uint32_t>();
    for (std::uint32_t i = 0; i < count && in.remaining() >= 12; ++i) {
        const auto array = in.read<std::uint8_t>();
        ScaleFactor factor;
        factor.compression = in.read<std::uint8_t>();
        in.skip(2);
        factor.multiplier = in.read<std::uint32_t>();
        factor.offset = in.read<std::int32_t>();
        if (array <= lastArray) factors[array] = factor;
    }
    return factors;
}

// The array's values; none when the array or its scale is not there or is too short for the beams.
std::vector<double> valuesOf(const Subrecords& all, const ScaleFactors& factors, Subrecord array,
                             std::size_t beams) {
    const ScaleFactor& factor = factors[array];
    if (!all[array] || factor.multiplier == 0) return {};
    const bool isSigned = array == acrossArray || array == alongArray || array == angleArray;
    std::size_t width = factor.compression >> 4U;
    if (width == 0) width = 2;
    if ((width != 1 && width != 2 && width != 4) || all[array]->size() < beams * width) return {};
    Cursor in(*all[array], ByteOrder::big);
    std::vector<double> values(beams);
    for (double& value : values) {
        double raw = 0.0;
        if (width == 1)
            raw = isSigned ? static_cast<double>(in.read<std::int8_t>())
                           : static_cast<double>(in.read<std::uint8_t>());
        else if (width == 2)
            raw = isSigned ? static_cast<double>(in.read<std::int16_t>())
                           : static_cast<double>(in.read<std::uint16_t>());
        else
            raw = isSigned ? static_cast<double>(in.read<std::int32_t>())
                           : static_cast<double>(in.read<std::uint32_t>());
        value = raw / factor.multiplier - factor.offset;
    }
    return values;
}

struct PingHead {
    std::int32_t longitude = 0; // 1e-7 degree
    std::int32_t latitude = 0;
    std::uint16_t beams = 0;
    std::uint16_t flags = 0;
    std::uint16_t heading = 0; // 0.01 degree

    bool flagged() const { return (flags & 1U) != 0; }
    bool headingStated() const { return heading < 36'000; }
};

bool decode(Bytes record, PingHead& head) {
    Cursor in(record, ByteOrder::big);
    in.skip(8);
    head.longitude = in.read<std::int32_t>();
    head.latitude = in.read<std::int32_t>();
    head.beams = in.read<std::uint16_t>();
    in.skip(2); // centre beam
    head.flags = in.read<std::uint16_t>();
    in.skip(8); // tide and depth corrector
    head.heading = in.read<std::uint16_t>();
    return !in.failed();
}

std::optional<Micros> timeAt(Bytes record, std::size_t position) {
    Cursor in(record, ByteOrder::big);
    in.seek(position);
    const auto seconds = in.read<std::int32_t>();
    const auto nanoseconds = in.read<std::uint32_t>();
    if (in.failed() || seconds <= 0 || nanoseconds >= 1'000'000'000U) return std::nullopt;
    return seconds * microsPerSecond + Micros{nanoseconds} / 1000;
}

// Speed at the transducer, m/s; 0 where the sonar's own subrecord states none.
double soundSpeedOf(const Subrecords& all) {
    if (!all[multibeam]) return 0.0;
    return Cursor(*all[multibeam], ByteOrder::big).readAt<std::uint16_t>(6) / 10.0;
}

std::size_t pingHeadBytes(Bytes fileStart) {
    // "GSF-v03.07"
    std::array<int, 4> digits{};
    constexpr std::array<std::size_t, 4> places{5, 6, 8, 9};
    for (std::size_t i = 0; i < places.size(); ++i) {
        const std::size_t at = recordHead + places[i];
        if (at >= fileStart.size()) return longPingHead;
        digits[i] = std::to_integer<int>(fileStart[at]) - '0';
    }
    const int version = digits[0] * 1000 + digits[1] * 100 + digits[2] * 10 + digits[3];
    return version < 301 ? shortPingHead : longPingHead;
}

std::vector<std::byte> bytesAt(ByteSource& source, std::uint64_t offset, std::size_t count) {
    std::vector<std::byte> bytes(count);
    bytes.resize(source.read(offset, bytes));
    return bytes;
}

std::size_t pingHeadBytes(ByteSource& source) {
    return pingHeadBytes(bytesAt(source, 0, recordHead + 12));
}

// A ping read for the second time, with the scale factors that are in force for it.
struct WholePing {
    std::vector<std::byte> record;
    PingHead head;
    std::optional<Subrecords> arrays;
    ScaleFactors factors;

    bool read(ByteSource& source, const PingPlace& place) {
        record = bytesAt(source, place.offset, place.length);
        if (record.size() != place.length || !decode(record, head)) return false;
        arrays.emplace(record, pingHeadBytes(source));
        if ((*arrays)[scaleFactors]) {
            factors = scaleFactorsOf(*(*arrays)[scaleFactors]);
            return true;
        }
        factors = scaleFactorsOf(bytesAt(source, place.aside, 4 + 12 * (lastArray + 1)));
        return true;
    }
    std::vector<double> values(Subrecord array) const {
        return valuesOf(*arrays, factors, array, head.beams);
    }
    std::uint32_t status(std::size_t beam) const {
        std::uint32_t status = head.flagged() ? beam::pingFlagged : 0;
        const auto& flags = (*arrays)[flagArray];
        if (flags && beam < flags->size() && (std::to_integer<unsigned>((*flags)[beam]) & 1U) != 0)
            status |= beam::notDetected;
        return status;
    }
};

class GsfImport {
public:
    explicit GsfImport(ByteSource& source) : source_(source), pingHead_(pingHeadBytes(source)) {}

    void readAll();
    RawData finish();

private:
    void keepPlace(std::uint32_t type, std::uint64_t offset, std::size_t size, Bytes record);
    void load(std::uint32_t type, std::uint64_t offset, Bytes record);
    void loadPing(std::uint64_t offset, Bytes record);
    void loadProfile(std::uint64_t offset, Bytes record);
    void loadAttitude(std::uint64_t offset, Bytes record);
    Bytes window(std::uint64_t offset, std::size_t count);
    Problems& problems() { return data_.problems; }

    ByteSource& source_;
    std::size_t pingHead_;
    std::vector<std::byte> window_;
    std::uint64_t windowStart_ = 0;
    RawData data_;
    LeftOutCounter leftOut_;
    std::uint64_t factorsAt_ = 0; // 0: there were none yet
    ScaleFactors factors_;
};

// As many of the bytes as the file has there; valid until the next call.
Bytes GsfImport::window(std::uint64_t offset, std::size_t count) {
    constexpr std::size_t ahead = std::size_t{1} << 18U;
    if (offset < windowStart_ || offset + count > windowStart_ + window_.size()) {
        windowStart_ = offset;
        const std::uint64_t left = source_.size() - std::min(offset, source_.size());
        window_ = bytesAt(source_, offset,
                          static_cast<std::size_t>(std::min<std::uint64_t>(std::max(count, ahead), left)));
    }
    const auto at = static_cast<std::size_t>(offset - windowStart_);
    return Bytes(window_).subspan(at, std::min(count, window_.size() - at));
}

void GsfImport::readAll() {
    std::uint64_t offset = 0;
    while (offset < source_.size()) {
        Cursor in(window(offset, recordHead + 4), ByteOrder::big);
        const auto size = in.read<std::uint32_t>();
        const auto identifier = in.read<std::uint32_t>();
        const std::uint64_t left = source_.size() - offset;
        const std::uint32_t type = identifier & 0xFFFU;
        const std::size_t head = recordHead + ((identifier >> 31U) != 0 ? 4 : 0);
        if (in.failed() || head + std::uint64_t{size} > left) {
            // Nothing marks the start of a record, so that there is no going on behind a wrong size.
            const bool likely = !in.failed() && type <= lastType && size <= largestRecord;
            return problems().add(likely || in.failed() ? ProblemKind::truncated : ProblemKind::framing,
                                  offset, left);
        }
        if (type == 0 || type > lastType || size > largestRecord)
            return problems().add(ProblemKind::framing, offset, left);
        const Bytes record = window(offset + head, size);
        keepPlace(type, offset, head + size, record);
        load(type, offset + head, record);
        offset += head + size;
    }
}

void GsfImport::keepPlace(std::uint32_t type, std::uint64_t offset, std::size_t size, Bytes record) {
    constexpr std::size_t appliedTime = 8; // of a profile, behind the time of its observation
    std::optional<Micros> time;
    if (type == ping || type == profile || type == parameters || type == attitude)
        time = timeAt(record, type == profile ? appliedTime : 0);
    data_.index.push_back(
        {offset, time.value_or(RawRecord::untimed), type, static_cast<std::uint32_t>(size)});
}

void GsfImport::load(std::uint32_t type, std::uint64_t offset, Bytes record) {
    static constexpr std::array<const char*, lastType + 1> names{"",
                                                                 "header",
                                                                 "",
                                                                 "",
                                                                 "processing parameters",
                                                                 "sensor parameters",
                                                                 "comment",
                                                                 "history",
                                                                 "navigation error",
                                                                 "swath summary",
                                                                 "single beam ping",
                                                                 "navigation error (new)",
                                                                 "",
                                                                 "other attitude"};
    switch (type) {
    case fileHeader:
        return;
    case ping:
        return loadPing(offset, record);
    case profile:
        return loadProfile(offset, record);
    case attitude:
        return loadAttitude(offset, record);
    default:
        leftOut_.add(names[type], "record not carried over");
    }
}

void GsfImport::loadPing(std::uint64_t offset, Bytes record) {
    PingHead head;
    if (!decode(record, head) || record.size() < pingHead_)
        return problems().add(ProblemKind::length, offset);
    const auto time = timeAt(record, 0);
    const Subrecords arrays(record, pingHead_);
    if (arrays[scaleFactors]) {
        factors_ = scaleFactorsOf(*arrays[scaleFactors]);
        factorsAt_ = offset + static_cast<std::uint64_t>(arrays[scaleFactors]->data() - record.data());
    }
    if (!time) return problems().add(ProblemKind::noDate, offset);

    if (std::abs(head.latitude / 1e7) > 90.0 || std::abs(head.longitude / 1e7) > 180.0) {
        problems().add(ProblemKind::noFix, offset);
    } else {
        data_.navigation.records.push_back(
            {*time, radiansFromDegrees(head.latitude / 1e7), radiansFromDegrees(head.longitude / 1e7), 0.0});
    }
    PingPlace place;
    place.time = *time;
    place.offset = offset;
    place.aside = factorsAt_;
    place.length = static_cast<std::uint32_t>(record.size());
    place.head = 1;
    place.order = ByteOrder::big;
    place.oriented = head.headingStated();
    const auto has = [&](Subrecord array) { return !valuesOf(arrays, factors_, array, head.beams).empty(); };
    if (has(depthArray) && has(acrossArray)) {
        data_.depthPings.records.push_back(place);
        if (has(verticalErrorArray) && has(horizontalErrorArray))
            data_.uncertainPings.records.push_back(place);
    } else {
        leftOut_.add("ping", "no depths and across track distances that can be read");
    }
    if (has(travelArray) && soundSpeedOf(arrays) > 0.0)
        data_.rangePings.records.push_back(place);
    else
        leftOut_.add("ping's ranges", "no travel times or no sound speed at the transducer");
}

void GsfImport::loadProfile(std::uint64_t offset, Bytes record) {
    const auto time = timeAt(record, 8);
    Cursor in(record, ByteOrder::big);
    in.seek(std::min<std::size_t>(24, record.size()));
    const auto count = in.read<std::uint32_t>();
    if (in.failed() || count > in.remaining() / 8) return problems().add(ProblemKind::length, offset);
    if (!time) return problems().add(ProblemKind::noDate, offset);
    Cast cast;
    // The time of the cast stands first; some writers leave it out.
    cast.time = timeAt(record, 0).value_or(*time);
    Cursor place(record, ByteOrder::big);
    place.seek(16);
    const double longitude = place.read<std::int32_t>() / 1e7;
    const double latitude = place.read<std::int32_t>() / 1e7;
    const bool stated = latitude != 0.0 || longitude != 0.0;
    if (stated && std::abs(latitude) <= 90.0 && std::abs(longitude) <= 180.0) {
        cast.latitude = latitude;
        cast.longitude = longitude;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        cast.samples.push_back({in.read<std::int32_t>() / 100.0, in.read<std::int32_t>() / 100.0});
        // Steps of a tenth are what the sensor keeps.
        const double depth = std::round(cast.samples.back().depth * 10.0) / 10.0;
        const double speed = std::round(cast.samples.back().speed * 10.0) / 10.0;
        if (speed <= 0.0 || speed > largestSoundSpeedValue || depth < 0.0)
            problems().add(ProblemKind::badValue, offset);
        else if (depth > largestSoundSpeedValue)
            leftOut_.add("sound speeds of a profile", "deeper than the 6553.5 m that the sensor can hold");
        else
            data_.soundSpeeds.records.push_back({*time, speed, depth, SoundSpeed::inProfile});
    }
    if (!cast.samples.empty()) data_.casts.push_back(std::move(cast));
}

void GsfImport::loadAttitude(std::uint64_t offset, Bytes record) {
    const auto time = timeAt(record, 0);
    Cursor in(record, ByteOrder::big);
    in.seek(std::min<std::size_t>(8, record.size()));
    const auto count = in.read<std::uint16_t>();
    if (in.failed() || count > in.remaining() / 10) return problems().add(ProblemKind::length, offset);
    if (!time) return problems().add(ProblemKind::noDate, offset);
    for (std::uint16_t i = 0; i < count; ++i) {
        const Micros at = *time + Micros{in.read<std::uint16_t>()} * 1000;
        const double pitch = in.read<std::int16_t>() / 100.0;
        const double roll = in.read<std::int16_t>() / 100.0;
        const double heave = in.read<std::int16_t>() / 100.0;
        const double heading = in.read<std::uint16_t>() / 100.0;
        if (std::abs(pitch) > 180.0 || std::abs(roll) > 180.0 || heading > 360.0) {
            problems().add(ProblemKind::badValue, offset);
            continue;
        }
        data_[ScalarKind::pitch].records.push_back({at, radiansFromDegrees(pitch)});
        data_[ScalarKind::roll].records.push_back({at, radiansFromDegrees(roll)});
        data_[ScalarKind::heave].records.push_back({at, heave});
        data_[ScalarKind::gyro].records.push_back({at, radiansFromDegrees(heading)});
    }
}

RawData GsfImport::finish() {
    for (auto& series : data_.scalars)
        series.origin = "attitude records";
    data_.navigation.origin = data_.depthPings.origin = data_.rangePings.origin = "ping records";
    data_.uncertainPings.origin = "vertical and horizontal errors";
    data_.soundSpeeds.origin = "sound velocity profiles";
    auto& say = data_.conventions;
    say.emplace_back("Times are UTC of the records, attitude entries by their own offset.");
    if (!data_[ScalarKind::heave].records.empty()) {
        data_.heaveSign = "positive downwards";
        say.emplace_back("Heave is positive downwards, as in the file.");
    }
    if (!data_.depthPings.records.empty())
        say.emplace_back("Depths are those of the file, with the corrections that it has applied.");
    if (!data_.rangePings.records.empty())
        say.emplace_back("Angles, positive to port in the file, are turned to be positive to starboard.");
    if (!data_.soundSpeeds.records.empty())
        say.emplace_back("A sound speed profile has the time from which it was applied.");
    data_.leftOut = leftOut_.take();
    sortByTime(data_);
    return std::move(data_);
}

} // namespace

bool looksLikeGsf(Bytes head) {
    Cursor in(head, ByteOrder::big);
    in.skip(4);
    const auto type = in.read<std::uint32_t>() & 0xFFFU;
    for (const char c : {'G', 'S', 'F', '-'}) {
        if (in.read<std::uint8_t>() != static_cast<std::uint8_t>(c)) return false;
    }
    return !in.failed() && type == fileHeader;
}

RawData readGsf(ByteSource& source) {
    GsfImport import(source);
    import.readAll();
    return import.finish();
}

bool readGsfDepths(ByteSource& source, const PingPlace& place, DepthPing& ping) {
    WholePing in;
    if (!in.read(source, place)) return false;
    const auto z = in.values(depthArray);
    const auto y = in.values(acrossArray);
    const auto x = in.values(alongArray);
    const auto vertical = in.values(verticalErrorArray);
    const auto horizontal = in.values(horizontalErrorArray);
    if (z.empty() || y.empty()) return false;
    ping.heading = radiansFromDegrees(in.head.heading / 100.0);
    ping.beams.clear();
    for (std::size_t i = 0; i < z.size(); ++i) {
        ping.beams.push_back({y[i], x.empty() ? 0.0 : x[i], z[i], in.status(i),
                              vertical.empty() ? 0.0 : vertical[i],
                              horizontal.empty() ? 0.0 : horizontal[i]});
        ping.beams.back().refuseNonsense();
    }
    return true;
}

bool readGsfRanges(ByteSource& source, const PingPlace& place, RangePing& ping) {
    WholePing in;
    if (!in.read(source, place)) return false;
    const auto travel = in.values(travelArray);
    const auto angle = in.values(angleArray);
    const auto tilt = in.values(forwardAngleArray);
    const double speed = soundSpeedOf(*in.arrays);
    if (travel.empty()) return false;
    ping.beams.clear();
    for (std::size_t i = 0; i < travel.size(); ++i) {
        RangeBeam beam;
        beam.travel = travel[i];
        beam.range = travel[i] / 2.0 * speed;
        beam.angle = angle.empty() ? 0.0 : -radiansFromDegrees(angle[i]);
        beam.tilt = tilt.empty() ? 0.0 : radiansFromDegrees(tilt[i]);
        beam.status = in.status(i);
        beam.refuseNonsense();
        ping.beams.push_back(beam);
    }
    return true;
}

} // namespace skar::import
