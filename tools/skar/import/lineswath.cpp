#include "import/lineswath.h"

#include "commands/command.h"
#include "import/georeference.h"

#include <algorithm>
#include <cmath>

namespace skar::tool {

using import::PingPlace;
using import::PositionFix;

namespace {

template <typename Ping>
void readAgain(bool (*read)(import::ByteSource&, const PingPlace&, Ping&), import::FileSource& source,
               const RawFile& file, const PingPlace& place, Ping& ping) {
    if (!read(source, place, ping) || ping.beams.empty())
        throw ToolError(printable(file.path) + ": the file changed while it was imported");
}

template <typename Ping>
Record pingRecord(const PingPlace& place, const Ping& ping, StoreClock& clock) {
    Record record;
    record.time = clock.seconds(place.time);
    record.status = place.head;
    record.numItems = static_cast<std::uint32_t>(ping.beams.size());
    return record;
}

// A ping that the track does not reach lies at 0, 0; its status tells it from one that does.
void setPosition(Record& record, const import::RawData& data, const PingPlace& place) {
    if (const auto ship = import::positionAt(data.navigation.records, place.time)) {
        record.values[0] = ship->latitude;
        record.values[1] = ship->longitude;
    } else {
        record.status |= import::beam::noNumber;
    }
}

// Where the store cuts to whole steps, the margin keeps a rounded number from falling to the step below.
double wholeSteps(double value, double perUnit) {
    return (std::round(value * perUnit) + 0.01) / perUnit;
}

} // namespace

std::optional<PositionFix> placedShip(const import::RawData& data, const PingPlace& ping) {
    if (!ping.oriented) return std::nullopt;
    return import::positionAt(data.navigation.records, ping.time);
}

void writeDepths(OpenSet& set, const RawFile& file, StoreClock& clock, const std::function<void()>& ofPing) {
    import::FileSource source = reopened(file);
    import::DepthPing ping;
    for (const PingPlace& place : file.data.depthPings.records) {
        readAgain(file.format->readDepths, source, file, place, ping);
        Record record = pingRecord(place, ping, clock);
        setPosition(record, file.data, place);
        set.write(record);
        Record item;
        item.time = record.time;
        for (const import::DepthBeam& beam : ping.beams) {
            item.values[0] = beam.y;
            item.values[1] = beam.x;
            item.values[2] = beam.z;
            item.status = beam.status;
            set.writeItem(item);
        }
        set.endItems();
        ofPing();
    }
}

void writePlacedDepths(OpenSet& set, const RawFile& file, const PositionFix& first, StoreClock& clock,
                       const std::function<void()>& ofPing) {
    import::FileSource source = reopened(file);
    import::DepthPing ping;
    std::vector<import::ShipFrame::Place> places;
    for (const PingPlace& place : file.data.depthPings.records) {
        const auto ship = placedShip(file.data, place);
        if (!ship) continue;
        readAgain(file.format->readDepths, source, file, place, ping);
        Record record = pingRecord(place, ping, clock);
        const double longitude = import::nearestTurn(first.longitude, ship->longitude);
        const import::ShipFrame frame(ship->latitude, longitude, ping.heading);
        places.clear();
        for (const import::DepthBeam& beam : ping.beams)
            places.push_back(frame.below(beam.x, beam.y, beam.z));
        const auto [south, north] = std::ranges::minmax(places, {}, &import::ShipFrame::Place::latitude);
        const auto [west, east] = std::ranges::minmax(places, {}, &import::ShipFrame::Place::longitude);
        record.values = {ship->latitude, longitude,      south.latitude,
                         north.latitude, west.longitude, east.longitude};
        set.write(record);
        Record item;
        item.time = record.time;
        for (std::size_t i = 0; i < places.size(); ++i) {
            item.values[0] = ping.beams[i].z;
            item.values[1] = places[i].latitude;
            item.values[2] = places[i].longitude;
            item.status = ping.beams[i].status;
            set.writeItem(item);
        }
        set.endItems();
        ofPing();
    }
}

void writeRanges(OpenSet& set, const RawFile& file, StoreClock& clock, const std::function<void()>& ofPing) {
    import::FileSource source = reopened(file);
    import::RangePing ping;
    for (const PingPlace& place : file.data.rangePings.records) {
        readAgain(file.format->readRanges, source, file, place, ping);
        Record record = pingRecord(place, ping, clock);
        setPosition(record, file.data, place);
        set.write(record);
        Record item;
        for (const import::RangeBeam& beam : ping.beams) {
            item.time = record.time + beam.delay;
            item.values[0] = beam.range;
            item.values[1] = wholeSteps(beam.travel, 1e6);
            item.values[2] = beam.angle;
            item.values[3] = beam.tilt;
            item.status = beam.status;
            set.writeItem(item);
        }
        set.endItems();
        ofPing();
    }
}

void writeUncertainties(OpenSet& set, const RawFile& file, StoreClock& clock,
                        const std::function<void()>& ofPing) {
    import::FileSource source = reopened(file);
    import::DepthPing ping;
    for (const PingPlace& place : file.data.uncertainPings.records) {
        readAgain(file.format->readDepths, source, file, place, ping);
        const Record record = pingRecord(place, ping, clock);
        set.write(record);
        Record item;
        item.time = record.time;
        for (const import::DepthBeam& beam : ping.beams) {
            item.values[0] = wholeSteps(beam.depthError, 1e3);
            item.values[1] = wholeSteps(beam.positionError, 1e3);
            item.status = beam.status;
            set.writeItem(item);
        }
        set.endItems();
        ofPing();
    }
}

} // namespace skar::tool
