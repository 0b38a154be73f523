#include "simulate/swath.h"

#include "import/georeference.h"
#include "import/rawfile.h"
#include "simulate/seafloor.h"
#include "simulate/track.h"
#include "simulate/waves.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace skar::tool {

namespace {

constexpr double soundSpeed = 1490.0;

// A random number of each beam of each ping, whoever asks for it.
std::uint64_t mixed(std::uint64_t seed, std::uint64_t ping, std::uint64_t beam) {
    std::uint64_t value = seed ^ (ping << 20U) ^ beam;
    // splitmix64, of Steele, Lea and Flood, 2014
    value += 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31U);
}

// Of deviation 1, from the sum of four even shares.
double normal(std::uint64_t random) {
    double sum = 0.0;
    for (int i = 0; i < 4; ++i)
        sum += static_cast<double>(random >> (16 * i) & 0xFFFFU) / 65536.0 + 0x1p-17;
    return (sum - 2.0) * std::numbers::sqrt3;
}

double even(std::uint64_t random) {
    return static_cast<double>(random >> 11U) * 0x1p-53;
}

struct Beam {
    double angle = 0.0; // from the vertical, to starboard positive, radians
    double y = 0.0;     // metres, to starboard
    double z = 0.0;     // below the water line, metres
    double deviation = 0.0;
    std::uint32_t status = 0;
};

// Pings of a sounder whose beams are steered to the vertical plane across the track; straight rays.
class Sounder {
public:
    explicit Sounder(const Voyage& voyage)
        : voyage_(voyage), track_(voyage), tide_(astronomicalTide(voyage.seed)),
          floor_(voyage.seed, voyage.swath.depth, voyage.lineLength()), beams_(voyage.swath.beams) {
        const double last = std::max(1.0, voyage.swath.beams - 1.0);
        for (std::size_t i = 0; i < beams_.size(); ++i)
            beams_[i].angle = voyage.swath.openingAngle * (static_cast<double>(i) / last - 0.5);
    }

    void ping(double time) {
        place_ = track_.at(time);
        tideNow_ = valueAt(tide_, time - voyage_.start);
        const Track::Local ship = track_.localAt(time);
        const double sine = std::sin(ship.turned);
        const double cosine = std::cos(ship.turned);
        const auto floorAt = [&](double y) {
            return floor_.depth(ship.along - y * sine, ship.starboard + y * cosine) + tideNow_;
        };
        double guess = floorAt(0.0);
        for (std::size_t i = 0; i < beams_.size(); ++i) {
            Beam& beam = beams_[i];
            const double slope = std::tan(beam.angle);
            // The floor is even enough for the neighbour's depth to be near.
            constexpr int rounds = 2;
            for (int round = 0; round < rounds; ++round) {
                beam.y = guess * slope;
                guess = std::max(0.5, floorAt(beam.y));
            }
            hear(beam, guess, i);
        }
        ++number_;
    }

    const std::vector<Beam>& beams() const { return beams_; }
    const Track::Point& place() const { return place_; }
    double tide() const { return tideNow_; }

private:
    void hear(Beam& beam, double depth, std::size_t number) const {
        const double slope = std::abs(std::tan(beam.angle));
        beam.deviation = 0.02 + 0.0012 * depth * (1.0 + slope * slope);
        beam.z = depth + beam.deviation * normal(mixed(voyage_.seed, number_, 2 * number));
        constexpr double phaseFrom = 0.3;
        beam.status = std::abs(beam.angle) > phaseFrom ? import::beam::phaseDetection : 0U;
        const double chance = even(mixed(voyage_.seed, number_, 2 * number + 1));
        if (chance >= voyage_.swath.outliers) return;
        // Fish above the floor and second echoes below it.
        const double part = chance / voyage_.swath.outliers;
        beam.z *= part < 0.7 ? 0.4 + 0.7 * part : 0.45 + part;
        beam.status |= import::beam::cleanedOut;
    }

    Voyage voyage_;
    Track track_;
    Waves tide_;
    SeaFloor floor_;
    std::vector<Beam> beams_;
    Track::Point place_;
    double tideNow_ = 0.0;
    std::uint64_t number_ = 0;
};

class SwathSource : public Source {
public:
    explicit SwathSource(const Voyage& voyage) : sounder_(voyage) {}
    void next(double time, Record& record) override {
        sounder_.ping(time);
        record.numItems = static_cast<std::uint32_t>(sounder_.beams().size());
        record.firstItem = 1;
        constexpr std::uint32_t head = 1;
        record.status = head;
        fill(record);
    }
    void item(std::size_t index, Record& item) override {
        const Beam& beam = sounder_.beams()[index];
        item.status = beam.status;
        fill(beam, index, item);
    }

protected:
    const Sounder& sounder() const { return sounder_; }
    virtual void fill(Record& ping) = 0;
    virtual void fill(const Beam& beam, std::size_t index, Record& item) = 0;

private:
    Sounder sounder_;
};

class ObservedSource : public SwathSource {
public:
    using SwathSource::SwathSource;

private:
    void fill(Record& ping) override {
        ping.values[0] = sounder().place().latitude;
        ping.values[1] = sounder().place().longitude;
    }
    void fill(const Beam& beam, std::size_t, Record& item) override {
        item.values[0] = beam.y;
        item.values[1] = 0.0;
        item.values[2] = beam.z;
    }
};

class ProcessedSource : public SwathSource {
public:
    using SwathSource::SwathSource;

private:
    void fill(Record& ping) override {
        const Track::Point& ship = sounder().place();
        const import::ShipFrame frame(ship.latitude, ship.longitude, ship.course);
        places_.clear();
        for (const Beam& beam : sounder().beams())
            places_.push_back(frame.below(0.0, beam.y, beam.z));
        const auto [south, north] = std::ranges::minmax(places_, {}, &import::ShipFrame::Place::latitude);
        const auto [west, east] = std::ranges::minmax(places_, {}, &import::ShipFrame::Place::longitude);
        ping.values = {ship.latitude,  ship.longitude, south.latitude,
                       north.latitude, west.longitude, east.longitude};
    }
    void fill(const Beam& beam, std::size_t index, Record& item) override {
        item.values[0] = beam.z - sounder().tide();
        item.values[1] = places_[index].latitude;
        item.values[2] = places_[index].longitude;
    }

    std::vector<import::ShipFrame::Place> places_;
};

class RangeSource : public SwathSource {
public:
    using SwathSource::SwathSource;

private:
    void fill(Record& ping) override {
        ping.values[0] = sounder().place().latitude;
        ping.values[1] = sounder().place().longitude;
    }
    void fill(const Beam& beam, std::size_t, Record& item) override {
        const double range = std::hypot(beam.y, beam.z);
        item.values[0] = range;
        item.values[1] = 2.0 * range / soundSpeed;
        item.values[2] = beam.angle;
        item.values[3] = 0.0;
    }
};

// Twice the standard deviation of depth and of position: the sounder's and that of tide, draft and fix.
class UncertaintySource : public SwathSource {
public:
    using SwathSource::SwathSource;

private:
    void fill(Record& ping) override { ping.values[0] = 0.0; }
    void fill(const Beam& beam, std::size_t, Record& item) override {
        constexpr double reduction = 0.05;
        constexpr double fix = 0.25;
        constexpr double pointing = 0.0009; // radians
        item.values[0] = 2.0 * std::hypot(beam.deviation, reduction);
        item.values[1] = 2.0 * std::hypot(fix, pointing * std::hypot(beam.y, beam.z));
    }
};

class SoundSpeedSource : public Source {
public:
    explicit SoundSpeedSource(const Voyage& voyage)
        : start_(voyage.start), wander_(wander(voyage.seed, speedPurpose, 0.3, 300.0, 7200.0)) {}
    void next(double time, Record& record) override {
        record.values[0] = soundSpeed + valueAt(wander_, time - start_);
        record.values[1] = 0.0;
        record.status = 0;
    }

private:
    static constexpr std::uint32_t speedPurpose = 31;
    double start_;
    Waves wander_;
};

} // namespace

std::unique_ptr<Source> observedDepthsOf(const Voyage& voyage) {
    return std::make_unique<ObservedSource>(voyage);
}

std::unique_ptr<Source> processedDepthsOf(const Voyage& voyage) {
    return std::make_unique<ProcessedSource>(voyage);
}

std::unique_ptr<Source> rangesOf(const Voyage& voyage) {
    return std::make_unique<RangeSource>(voyage);
}

std::unique_ptr<Source> uncertaintyOf(const Voyage& voyage) {
    return std::make_unique<UncertaintySource>(voyage);
}

std::unique_ptr<Source> soundSpeedOf(const Voyage& voyage) {
    return std::make_unique<SoundSpeedSource>(voyage);
}

} // namespace skar::tool
