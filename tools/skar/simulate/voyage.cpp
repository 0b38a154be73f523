#include "simulate/voyage.h"

#include "simulate/imagery.h"
#include "simulate/swath.h"
#include "simulate/track.h"
#include "simulate/waves.h"

#include <cmath>
#include <functional>
#include <numbers>
#include <string_view>

namespace skar::tool {

namespace {

using std::numbers::pi;

// Each random sequence has its number, so that adding a sensor leaves the others as they were.
enum Purpose : std::uint32_t {
    northError = 10,
    eastError,
    helm,
    surge,
    tideError,
    towCourse,
    towSide,
    towDepth = towSide + 2, // between them is that of its height
    layback,
};

double oneTurn(double angle) {
    const double rest = std::fmod(angle, 2.0 * pi);
    return rest < 0.0 ? rest + 2.0 * pi : rest;
}

// A base that depends on the time alone and a sum of waves about it.
class Series : public Source {
public:
    using Base = std::function<double(double time)>;
    Series(Base base, const Waves& waves, double step) : base_(std::move(base)), waves_(waves, step) {}
    void next(double time, Record& record) override { record.values[0] = base_(time) + waves_.next(); }

private:
    Base base_;
    Sampler waves_;
};

class Heading : public Source {
public:
    Heading(const Voyage& voyage, double astern, const Waves& yaw, double step)
        : track_(voyage), astern_(astern), yaw_(yaw, step) {}
    void next(double time, Record& record) override {
        record.values[0] = oneTurn(track_.courseAt(time, astern_) + yaw_.next());
    }

private:
    Track track_;
    double astern_;
    Sampler yaw_;
};

class Position : public Source {
public:
    Position(const Voyage& voyage, double astern, const Waves& north, const Waves& east, double step)
        : track_(voyage), astern_(astern), north_(north, step), east_(east, step) {}
    void next(double time, Record& record) override {
        const Track::Point point = track_.at(time, astern_, north_.next(), east_.next());
        record.values = {point.latitude, point.longitude, 0.0};
    }

private:
    Track track_;
    double astern_;
    Sampler north_;
    Sampler east_;
};

using Made = std::unique_ptr<Source>;

Made series(const Waves& waves, double step, Series::Base base) {
    return std::make_unique<Series>(std::move(base), waves, step);
}

double none(double) {
    return 0.0;
}

Waves sea(const Voyage& voyage) {
    return windSea(voyage.seed, voyage.waveHeight, voyage.wavePeriod);
}

Series::Base tideOf(const Voyage& voyage) {
    return [waves = astronomicalTide(voyage.seed), start = voyage.start](double time) {
        return valueAt(waves, time - start);
    };
}

struct Row {
    std::string_view name;
    Pace pace;
    Made (*make)(const Voyage& voyage, double step);
};

const Row table[] = {
    {"Navigation", Pace::position,
     [](const Voyage& v, double step) -> Made {
         return std::make_unique<Position>(v, 0.0, wander(v.seed, northError, 0.25, 20.0, 600.0),
                                           wander(v.seed, eastError, 0.25, 20.0, 600.0), step);
     }},
    {"NavigationNew", Pace::position,
     [](const Voyage& v, double step) -> Made {
         return std::make_unique<Position>(v, 0.0, Waves(), Waves(), step);
     }},
    {"Gyro", Pace::motion,
     [](const Voyage& v, double step) -> Made {
         return std::make_unique<Heading>(v, 0.0, wander(v.seed, helm, 0.012, 8.0, 90.0), step);
     }},
    {"Heave", Pace::motion, [](const Voyage& v, double step) { return series(heaveOf(sea(v)), step, none); }},
    {"TrueHeave", Pace::motion,
     [](const Voyage& v, double step) { return series(heaveOf(sea(v)), step, none); }},
    {"Pitch", Pace::motion, [](const Voyage& v, double step) { return series(pitchOf(sea(v)), step, none); }},
    {"Roll", Pace::motion, [](const Voyage& v, double step) { return series(rollOf(sea(v)), step, none); }},
    {"Tide", Pace::slow, [](const Voyage& v, double step) { return series({}, step, tideOf(v)); }},
    {"GPSTide", Pace::position,
     [](const Voyage& v, double step) {
         return series(wander(v.seed, tideError, 0.03, 30.0, 900.0), step, tideOf(v));
     }},
    {"GPSHeight", Pace::position,
     [](const Voyage& v, double step) {
         constexpr double antenna = 42.5;
         return series(heaveOf(sea(v)), step,
                       [tide = tideOf(v)](double time) { return antenna + tide(time); });
     }},
    {"DeltaDraft", Pace::slow,
     [](const Voyage& v, double step) {
         constexpr double lossPerSecond = 0.04 / 86400.0;
         return series({}, step, [start = v.start](double time) { return -lossPerSecond * (time - start); });
     }},
    {"SOW", Pace::position,
     [](const Voyage& v, double step) {
         return series(wander(v.seed, surge, 0.08 * v.speed, 6.0, 300.0), step,
                       [speed = v.speed](double) { return speed; });
     }},
    {"SSSNavigation", Pace::position,
     [](const Voyage& v, double step) -> Made {
         return std::make_unique<Position>(v, towLayback, wander(v.seed, towSide, 2.0, 60.0, 900.0),
                                           wander(v.seed, layback, 2.0, 60.0, 900.0), step);
     }},
    {"SSSGyro", Pace::motion,
     [](const Voyage& v, double step) -> Made {
         return std::make_unique<Heading>(v, towLayback, wander(v.seed, towCourse, 0.03, 15.0, 240.0), step);
     }},
    {"SSSCableOut", Pace::slow,
     [](const Voyage&, double step) { return series({}, step, [](double) { return 130.0; }); }},
    {"SSSSensorHeight", Pace::position,
     [](const Voyage& v, double step) {
         return series(towHeightWaves(v.seed), step, [](double) { return towHeight; });
     }},
    {"SSSSensorDepth", Pace::position,
     [](const Voyage& v, double step) {
         return series(wander(v.seed, towDepth, 1.0, 20.0, 600.0), step, [](double) { return 38.0; });
     }},
    {"ObservedDepths", Pace::ping, [](const Voyage& v, double) { return observedDepthsOf(v); }},
    {"ProcessedDepths", Pace::ping, [](const Voyage& v, double) { return processedDepthsOf(v); }},
    {"SLRange", Pace::ping, [](const Voyage& v, double) { return rangesOf(v); }},
    {"TPE", Pace::ping, [](const Voyage& v, double) { return uncertaintyOf(v); }},
    {"SSSSideScan", Pace::ping, nullptr},
    {"SSP", Pace::slow, [](const Voyage& v, double) { return soundSpeedOf(v); }},
};

const Row* findRow(const Family& family) {
    for (const Row& row : table) {
        if (row.name == family.name) return &row;
    }
    return nullptr;
}

const Row& rowOf(const Family& family) {
    const Row* const row = findRow(family);
    if (row == nullptr) throw std::logic_error("a sensor without simulation");
    return *row;
}

} // namespace

bool isSimulated(const Family& family) {
    return findRow(family) != nullptr;
}

Pace paceOf(const Family& family) {
    return rowOf(family).pace;
}

std::unique_ptr<Source> makeSource(const Family& family, const Voyage& voyage, double step) {
    return rowOf(family).make(voyage, step);
}

} // namespace skar::tool
