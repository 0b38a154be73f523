#include "import/xtf.h"

#include "import/xtfpackets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace skar::import {

namespace {

// Recorders write pings of some hundred kilobytes; what claims more is damaged.
constexpr std::uint32_t largestPing = 1U << 24U;
constexpr std::size_t channelHeadBytes = 64;

std::optional<Micros> timeOf(int year, int month, int day, int hour, int minute, int second,
                             Micros fraction) {
    const auto begin = midnight(year, month, day);
    // A leap second makes a minute of 61.
    if (!begin || hour > 23 || minute > 59 || second > 60 || fraction >= microsPerSecond) return std::nullopt;
    return *begin + ((hour * 60 + minute) * 60 + second) * microsPerSecond + fraction;
}

// The header that pings of all kinds share. Zeros mean that the recorder had no such value.
struct PingHead {
    std::optional<Micros> time;
    std::uint32_t number = 0;
    float soundSpeed = 0.0F; // m/s, one way
    float shipHeading = 0.0F;
    double shipY = 0.0;
    double shipX = 0.0;
    double sensorY = 0.0;
    double sensorX = 0.0;
    double cableOut = 0.0; // metres
    float sensorDepth = 0.0F;
    float sensorHeight = 0.0F;
    float sensorPitch = 0.0F;
    float sensorRoll = 0.0F;
    float sensorHeading = 0.0F;
    std::uint32_t tag = 0; // ms on the scale of the attitude packets
};

bool decode(Cursor in, PingHead& head) {
    const int year = in.readAt<std::uint16_t>(14);
    std::array<int, 6> part{}; // month, day, hour, minute, second, hundredth
    for (int& value : part)
        value = in.read<std::uint8_t>();
    constexpr Micros hundredth = microsPerSecond / 100;
    head.time = timeOf(year, part[0], part[1], part[2], part[3], part[4], part[5] * hundredth);
    head.number = in.readAt<std::uint32_t>(28);
    head.soundSpeed = in.read<float>();
    head.shipHeading = in.readAt<float>(124);
    head.shipY = in.read<double>();
    head.shipX = in.read<double>();
    head.sensorY = in.readAt<double>(160);
    head.sensorX = in.read<double>();
    head.cableOut = in.readAt<std::uint16_t>(182);
    head.sensorDepth = in.readAt<float>(192);
    head.sensorHeight = in.read<float>();
    head.sensorPitch = in.readAt<float>(204);
    head.sensorRoll = in.read<float>();
    head.sensorHeading = in.read<float>();
    head.tag = in.readAt<std::uint32_t>(224);
    head.cableOut += in.readAt<std::uint8_t>(249) / 100.0;
    in.seek(XtfPacket::pingBytes);
    return !in.failed();
}

// A channel of a side scan ping and where its samples are.
struct PingChannel {
    std::uint8_t type = 0;
    std::uint16_t bytesPerSample = 0;
    std::uint32_t samples = 0;
    std::uint64_t offset = 0;
    double slantRange = 0.0; // metres
    double delay = 0.0;      // seconds
    double duration = 0.0;   // seconds
};

// False when they do not fit into the ping.
bool readChannels(ByteSource& source, const XtfFileHeader& file, std::uint64_t offset, std::uint64_t end,
                  std::uint16_t count, std::vector<PingChannel>& channels) {
    channels.clear();
    std::array<std::byte, channelHeadBytes> bytes{};
    offset += XtfPacket::pingBytes;
    for (std::uint16_t i = 0; i < count; ++i) {
        if (offset + channelHeadBytes > end || source.read(offset, bytes) != bytes.size()) return false;
        Cursor in(bytes, ByteOrder::little);
        const auto number = in.read<std::uint16_t>();
        if (number >= file.channels.size()) return false;
        const XtfChannel& record = file.channels[number];
        PingChannel channel;
        channel.type = record.type;
        channel.bytesPerSample = record.bytesPerSample;
        channel.slantRange = in.readAt<float>(4);
        channel.delay = in.readAt<float>(12);
        channel.duration = in.read<float>();
        channel.samples = in.readAt<std::uint32_t>(42);
        if (channel.samples == 0) channel.samples = record.samples;
        channel.offset = offset + channelHeadBytes;
        const std::uint64_t size = std::uint64_t{channel.samples} * channel.bytesPerSample;
        if (size > end - channel.offset) return false;
        offset = channel.offset + size;
        channels.push_back(channel);
    }
    return true;
}

bool canBeKept(const PingChannel& channel) {
    return (channel.type == XtfChannel::port || channel.type == XtfChannel::starboard) &&
           channel.samples != 0 && (channel.bytesPerSample == 1 || channel.bytesPerSample == 2);
}

// The first and the second channel of a side, null where there is none.
struct Sides {
    std::array<const PingChannel*, 2> port{};
    std::array<const PingChannel*, 2> starboard{};
    std::uint64_t others = 0; // that have no place in the store

    explicit Sides(const std::vector<PingChannel>& channels) {
        for (const PingChannel& channel : channels) {
            auto& side = channel.type == XtfChannel::port ? port : starboard;
            const auto free = std::find(side.begin(), side.end(), nullptr);
            if (!canBeKept(channel) || free == side.end())
                ++others;
            else
                *free = &channel;
        }
    }
    // Of the first pair, or the second.
    const PingChannel* any(std::size_t pair) const {
        return port[pair] != nullptr ? port[pair] : starboard[pair];
    }
};

double between(double value, double low, double high) {
    return value >= low && value <= high ? value : 0.0;
}

// Recorders state the speed one way, half of the real one; some the real one all the same.
double soundSpeedOf(float stated) {
    const double speed = between(stated, 600.0, 2500.0);
    return speed < 1250.0 ? 2.0 * speed : speed;
}

constexpr double usualSoundSpeed = 1500.0;
constexpr double longestPing = 1000.0; // seconds

double intervalOf(const PingChannel& channel, double soundSpeed) {
    double duration = between(channel.duration, 1e-9, longestPing);
    if (duration == 0.0) {
        const double speed = soundSpeed != 0.0 ? soundSpeed : usualSoundSpeed;
        duration = between(2.0 * channel.slantRange / speed, 1e-9, longestPing);
    }
    return duration / channel.samples;
}

bool readSamples(ByteSource& source, const PingChannel* channel, std::vector<std::uint16_t>& samples) {
    if (channel == nullptr) return true;
    std::vector<std::byte> bytes(std::size_t{channel->samples} * channel->bytesPerSample);
    if (source.read(channel->offset, bytes) != bytes.size()) return false;
    Cursor in(bytes, ByteOrder::little);
    samples.resize(channel->samples);
    for (std::uint16_t& sample : samples)
        sample = channel->bytesPerSample == 1 ? in.read<std::uint8_t>() : in.read<std::uint16_t>();
    return true;
}

// What is gathered while a file goes by.
class XtfImport {
public:
    XtfImport(ByteSource& source, const XtfFileHeader& file) : source_(source), file_(file) {}

    void sideScan(const XtfPacket& packet);
    void otherPing(const XtfPacket& packet);
    void attitude(const XtfPacket& packet);
    void navigation(const XtfPacket& packet);
    void keepPlace(const XtfPacket& packet) {
        data_.index.push_back({packet.offset, RawRecord::untimed, packet.type, packet.size});
    }

    RawData finish();
    Problems& problems() { return data_.problems; }
    LeftOutCounter& leftOut() { return leftOut_; }

private:
    struct Track {
        std::vector<PositionFix> fixes;
        std::uint64_t projected = 0; // left out: metres
    };
    struct Values {
        std::vector<TimedValue> records;
        bool any = false; // not all 0

        void add(Micros time, double value) {
            records.push_back({time, value});
            any = any || value != 0.0;
        }
    };
    // What the headers of pings say beside the ping.
    struct Heads {
        Track ship;
        Track fish;
        Values shipHeading;
        Values fishHeading;
        Values height;
        Values depth;
        Values cable;
        std::uint64_t tilted = 0;
    };
    struct Attitude {
        std::optional<Micros> time;
        std::uint32_t tag = 0;
        std::uint64_t offset = 0;
        std::size_t place = 0; // in the index
        float pitch = 0.0F;
        float roll = 0.0F;
        float heave = 0.0F;
        float heading = 0.0F;
    };

    std::optional<PingHead> headOf(const XtfPacket& packet);
    void takeHead(const PingHead& head, std::uint64_t offset, Heads& to);
    void takeFix(double y, double x, Micros time, std::uint64_t offset, Track& to);
    void takeTag(const PingHead& head);
    void finishAttitude();
    void finishTracks();
    void finishValues(const Values& from, ScalarKind kind, bool isAngle, const char* origin);
    void say(const std::string& text) { data_.conventions.push_back(text); }

    ByteSource& source_;
    const XtfFileHeader& file_;
    RawData data_;
    LeftOutCounter leftOut_;
    std::vector<PingChannel> channels_;
    Heads sideScan_;
    Heads other_; // of pings that are no side scan
    Track logged_;
    std::vector<Attitude> attitudes_;
    std::uint64_t tags_ = 0; // of pings, against their times
    Micros tagLow_ = std::numeric_limits<Micros>::max();
    Micros tagHigh_ = std::numeric_limits<Micros>::min();
};

std::optional<PingHead> XtfImport::headOf(const XtfPacket& packet) {
    PingHead head;
    if (!decode(packet.cursor(), head)) {
        problems().add(ProblemKind::length, packet.offset);
        return std::nullopt;
    }
    if (!head.time) {
        problems().add(ProblemKind::noDate, packet.offset);
        return std::nullopt;
    }
    data_.index.back().time = *head.time;
    return head;
}

void XtfImport::takeFix(double y, double x, Micros time, std::uint64_t offset, Track& to) {
    if (y == 0.0 && x == 0.0) return;
    if (file_.navigationUnits != XtfFileHeader::degrees)
        ++to.projected;
    else if (!(std::abs(y) <= 90.0 && std::abs(x) <= 180.0))
        problems().add(ProblemKind::badValue, offset);
    else
        to.fixes.push_back({time, radiansFromDegrees(y), radiansFromDegrees(x), 0.0});
}

void XtfImport::takeTag(const PingHead& head) {
    if (head.tag == 0) return;
    const Micros apart = *head.time - Micros{head.tag} * 1000;
    tagLow_ = std::min(tagLow_, apart);
    tagHigh_ = std::max(tagHigh_, apart);
    ++tags_;
}

void XtfImport::takeHead(const PingHead& head, std::uint64_t offset, Heads& to) {
    takeTag(head);
    takeFix(head.shipY, head.shipX, *head.time, offset, to.ship);
    takeFix(head.sensorY, head.sensorX, *head.time, offset, to.fish);
    const auto keep = [&](Values& values, double value, double limit) {
        if (std::abs(value) <= limit)
            values.add(*head.time, value);
        else
            problems().add(ProblemKind::badValue, offset);
    };
    constexpr double farthest = 20'000.0; // metres
    keep(to.shipHeading, head.shipHeading, 360.0);
    keep(to.fishHeading, head.sensorHeading, 360.0);
    keep(to.height, head.sensorHeight, farthest);
    keep(to.depth, head.sensorDepth, farthest);
    keep(to.cable, head.cableOut, farthest);
    if (head.sensorPitch != 0.0F || head.sensorRoll != 0.0F) ++to.tilted;
}

void XtfImport::sideScan(const XtfPacket& packet) {
    const auto head = headOf(packet);
    if (!head) return;
    if (packet.size > largestPing ||
        !readChannels(source_, file_, packet.offset, packet.offset + packet.size, packet.channels, channels_))
        return problems().add(ProblemKind::length, packet.offset);
    takeHead(*head, packet.offset, sideScan_);
    const Sides sides(channels_);
    if (sides.others != 0)
        leftOut_.add("side scan channels", "beside two of each side, or of a kind that cannot be kept",
                     sides.others);
    if (sides.any(0) == nullptr) return leftOut_.add("side scan", "ping without samples of a side");
    PingPlace place;
    place.time = *head->time;
    place.offset = packet.offset;
    place.length = packet.size;
    place.head = 1;
    for (const PingChannel* side : {sides.port[0], sides.starboard[0], sides.port[1], sides.starboard[1]}) {
        if (side != nullptr) place.samples = std::max(place.samples, side->samples);
    }
    data_.imagePings.records.push_back(place);
}

void XtfImport::otherPing(const XtfPacket& packet) {
    if (const auto head = headOf(packet)) {
        takeHead(*head, packet.offset, other_);
        leftOut_.add(packet.type == 2 ? "bathymetry" : "multibeam",
                     "packet not carried over but for its header");
    }
}

void XtfImport::attitude(const XtfPacket& packet) {
    Cursor in = packet.cursor();
    Attitude attitude;
    attitude.offset = packet.offset;
    attitude.place = data_.index.size() - 1;
    attitude.pitch = in.readAt<float>(30);
    attitude.roll = in.read<float>();
    attitude.heave = in.read<float>();
    attitude.tag = in.readAt<std::uint32_t>(46);
    attitude.heading = in.read<float>();
    const int year = in.read<std::uint16_t>();
    std::array<int, 5> part{}; // month, day, hour, minute, second
    for (int& value : part)
        value = in.read<std::uint8_t>();
    const auto milliseconds = in.read<std::uint16_t>();
    if (in.failed()) return problems().add(ProblemKind::length, packet.offset);
    attitude.time = timeOf(year, part[0], part[1], part[2], part[3], part[4], Micros{milliseconds} * 1000);
    attitudes_.push_back(attitude);
}

void XtfImport::navigation(const XtfPacket& packet) {
    Cursor in = packet.cursor();
    const int year = in.readAt<std::uint16_t>(14);
    std::array<int, 5> part{};
    for (int& value : part)
        value = in.read<std::uint8_t>();
    constexpr Micros tenthOfMillisecond = 100;
    const auto fraction = in.read<std::uint16_t>() * tenthOfMillisecond;
    const auto y = in.read<double>();
    const auto x = in.read<double>();
    if (in.failed()) return problems().add(ProblemKind::length, packet.offset);
    const auto time = timeOf(year, part[0], part[1], part[2], part[3], part[4], fraction);
    if (!time) return problems().add(ProblemKind::noDate, packet.offset);
    data_.index.back().time = *time;
    takeFix(y, x, *time, packet.offset, logged_);
}

// Some recorders leave the dates of attitudes at 0, or at what was in their memory: then the time tag, tied
// to the clock by the pings, is all there is.
void XtfImport::finishAttitude() {
    if (attitudes_.empty()) return;
    const auto dated = std::count_if(attitudes_.begin(), attitudes_.end(),
                                     [](const Attitude& attitude) { return attitude.time.has_value(); });
    const bool byDate = 2 * static_cast<std::size_t>(dated) >= attitudes_.size();
    // Beyond that the tags were begun anew, or are no clock's.
    constexpr Micros steadiest = microsPerSecond;
    const bool tied = tags_ != 0 && tagHigh_ - tagLow_ <= steadiest;
    const Micros apart = tied ? tagLow_ + (tagHigh_ - tagLow_) / 2 : 0;
    Values heading;
    for (const Attitude& attitude : attitudes_) {
        if (byDate ? !attitude.time.has_value() : !tied) {
            problems().add(ProblemKind::noDate, attitude.offset);
            continue;
        }
        const Micros time = byDate ? *attitude.time : Micros{attitude.tag} * 1000 + apart;
        data_.index[attitude.place].time = time;
        const auto isAngle = [](float value) { return std::abs(value) <= 180.0F; };
        if (!isAngle(attitude.pitch) || !isAngle(attitude.roll) || !(std::abs(attitude.heave) <= 100.0F)) {
            problems().add(ProblemKind::badValue, attitude.offset);
            continue;
        }
        data_[ScalarKind::pitch].records.push_back({time, radiansFromDegrees(attitude.pitch)});
        data_[ScalarKind::roll].records.push_back({time, radiansFromDegrees(attitude.roll)});
        data_[ScalarKind::heave].records.push_back({time, attitude.heave});
        heading.add(time, attitude.heading);
    }
    for (const ScalarKind kind : {ScalarKind::pitch, ScalarKind::roll, ScalarKind::heave})
        data_[kind].origin = "attitude";
    finishValues(heading, ScalarKind::gyro, true, "attitude");
    data_.heaveSign = "positive upwards";
    say("Heave is positive upwards, pitch positive bow up, roll positive starboard down, as in the file.");
    if (byDate || !tied) return;
    std::array<char, 160> text{};
    std::snprintf(
        text.data(), text.size(),
        "Attitudes have no date: their time tags are tied to the clock by those of the pings, to %.3f s.",
        static_cast<double>(tagHigh_ - tagLow_) / 2e6);
    say(text.data());
}

void XtfImport::finishTracks() {
    const Heads& heads = data_.imagePings.records.empty() ? other_ : sideScan_;
    const bool logged = !logged_.fixes.empty() || logged_.projected != 0;
    const Track& ship = logged ? logged_ : heads.ship;
    data_.navigation.records = ship.fixes;
    data_.navigation.origin = logged ? "navigation packets" : "ship in the ping headers";
    // A sonar on the hull has the ship's track, not one of its own.
    if (!data_.imagePings.records.empty()) {
        data_.fishNavigation.records = heads.fish.fixes;
        data_.fishNavigation.origin = "sensor in the ping headers";
    }
    constexpr const char* reason = "in a projection that the file does not name";
    if (ship.projected != 0) leftOut_.add("positions of the ship", reason, ship.projected);
    if (heads.fish.projected != 0) leftOut_.add("positions of the sensor", reason, heads.fish.projected);
    if (heads.tilted != 0)
        leftOut_.add("pitch and roll of the sensor", "no sensor of a line holds them", heads.tilted);
}

void XtfImport::finishValues(const Values& from, ScalarKind kind, bool isAngle, const char* origin) {
    if (!from.any) return;
    Series<TimedValue>& to = data_[kind];
    for (const TimedValue& record : from.records)
        to.records.push_back({record.time, isAngle ? radiansFromDegrees(record.value) : record.value});
    to.origin = origin;
}

RawData XtfImport::finish() {
    finishTracks();
    say("Times are UTC as the file has them, those of pings to a hundredth of a second.");
    finishAttitude();
    const bool sideScan = !data_.imagePings.records.empty();
    Heads& heads = sideScan ? sideScan_ : other_;
    constexpr const char* origin = "ping headers";
    if (data_[ScalarKind::gyro].records.empty())
        finishValues(heads.shipHeading, ScalarKind::gyro, true, origin);
    if (sideScan) {
        data_.imagePings.origin = "side scan packets";
        // No towfish lies on the sea floor.
        std::erase_if(heads.height.records, [](const TimedValue& record) { return record.value == 0.0; });
        finishValues(heads.fishHeading, ScalarKind::fishGyro, true, origin);
        finishValues(heads.height, ScalarKind::fishHeight, false, origin);
        finishValues(heads.depth, ScalarKind::fishDepth, false, origin);
        finishValues(heads.cable, ScalarKind::cableOut, false, origin);
        say("Samples stand as in the file, those to port turned round: on both sides from the sonar "
            "outwards.");
        say("Values of the headers that are 0 in all pings were not recorded.");
    }
    data_.leftOut = leftOut_.take();
    sortByTime(data_);
    return std::move(data_);
}

struct PacketType {
    std::uint8_t type;
    const char* name;
    void (XtfImport::*load)(const XtfPacket& packet);
};
constexpr std::array<PacketType, 9> packetTypes{{
    {0, "side scan", &XtfImport::sideScan},
    {1, "note", nullptr},
    {2, "bathymetry", &XtfImport::otherPing},
    {3, "attitude", &XtfImport::attitude},
    {6, "raw serial text", nullptr},
    {42, "position", nullptr},
    {65, "multibeam", &XtfImport::otherPing},
    {84, "gyro", nullptr},
    {107, "navigation", &XtfImport::navigation},
}};

} // namespace

bool looksLikeXtf(Bytes head) {
    MemorySource source(head);
    const auto file = readXtfFileHeader(source);
    if (!file) return false;
    Cursor in(head, ByteOrder::little);
    return in.readAt<std::uint16_t>(static_cast<std::size_t>(file->size)) == 0xFACE;
}

RawData readXtf(ByteSource& source) {
    const auto file = readXtfFileHeader(source);
    if (!file) throw ImportError("not an XTF file: it does not begin with a whole file header");
    XtfImport import(source, *file);
    XtfPackets packets(source, file->size, import.problems());
    XtfPacket packet;
    while (packets.next(packet)) {
        import.keepPlace(packet);
        const auto type = std::find_if(packetTypes.begin(), packetTypes.end(),
                                       [&](const PacketType& row) { return row.type == packet.type; });
        if (type == packetTypes.end())
            import.leftOut().add("type " + std::to_string(packet.type), "packet not known");
        else if (type->load == nullptr)
            import.leftOut().add(type->name, "packet not carried over");
        else
            (import.*type->load)(packet);
    }
    return import.finish();
}

bool readXtfImage(ByteSource& source, const PingPlace& place, ImagePing& ping) {
    const auto file = readXtfFileHeader(source);
    std::array<std::byte, XtfPacket::pingBytes> bytes{};
    if (!file || source.read(place.offset, bytes) != bytes.size()) return false;
    Cursor in(bytes, ByteOrder::little);
    PingHead head;
    std::vector<PingChannel> channels;
    const auto count = in.readAt<std::uint16_t>(4);
    if (!decode(in, head) ||
        !readChannels(source, *file, place.offset, place.offset + place.length, count, channels))
        return false;
    const Sides sides(channels);
    if (sides.any(0) == nullptr) return false;

    ping = {};
    ping.number = head.number;
    ping.height = between(head.sensorHeight, 0.0, 1e5);
    const PingChannel& first = *sides.any(0);
    ping.soundSpeed = soundSpeedOf(head.soundSpeed);
    if (ping.soundSpeed == 0.0 && first.duration > 0.0)
        ping.soundSpeed = between(2.0 * first.slantRange / first.duration, 1250.0, 2500.0);
    ping.interval = intervalOf(first, ping.soundSpeed);
    ping.delay = between(first.delay, 0.0, longestPing);
    if (sides.any(1) != nullptr) ping.secondInterval = intervalOf(*sides.any(1), ping.soundSpeed);
    for (const PingChannel* side : {sides.port[0], sides.starboard[0], sides.port[1], sides.starboard[1]}) {
        if (side != nullptr) ping.sampleBytes = std::max<unsigned>(ping.sampleBytes, side->bytesPerSample);
    }
    if (!readSamples(source, sides.port[0], ping.port) ||
        !readSamples(source, sides.starboard[0], ping.starboard) ||
        !readSamples(source, sides.port[1], ping.secondPort) ||
        !readSamples(source, sides.starboard[1], ping.secondStarboard))
        return false;
    // The file has those to port from the far end to the sonar.
    std::ranges::reverse(ping.port);
    std::ranges::reverse(ping.secondPort);
    return true;
}

} // namespace skar::import
