#pragma once

#include "support/store.h"

#include <skar/errors.h>
#include <skar/observeddepths.h>
#include <skar/sensor.h>

#include <cmath>
#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// What the tests of the observed depths share: views of what the functions give, a handle, the golden line as
// its twin tells it, and what an exception carries.
namespace skar::tests {

inline const std::vector<std::string> observedFiles = {"ObservedDepths", "ObservedDepthsLineSegments",
                                                       "ObservedDepthsTmIdx"};
constexpr std::size_t firstPing = 60; // byte of the first header
constexpr std::uint32_t rejected = 0xF3F80000;

// Times come back as sums of a base and an offset: the last bit of one is not told apart.
inline bool sameTime(double a, double b) {
    return std::abs(a - b) < 1e-6;
}
struct BeamView {
    double time = -7.0;
    double y = -7.0;
    double x = -7.0;
    double z = -7.0;
    double extra = -7.0;
    std::uint32_t status = 7;
    bool operator==(const BeamView& other) const {
        return sameTime(time, other.time) && y == other.y && x == other.x && z == other.z &&
               extra == other.extra && status == other.status;
    }
};
struct PingView {
    std::uint32_t numDepths = 7;
    std::uint32_t startBeam = 7;
    double time = -7.0;
    double latitude = -7.0;
    double longitude = -7.0;
    std::uint32_t status = 7;
    bool operator==(const PingView& other) const {
        return numDepths == other.numDepths && startBeam == other.startBeam && sameTime(time, other.time) &&
               latitude == other.latitude && longitude == other.longitude && status == other.status;
    }
};
inline std::ostream& operator<<(std::ostream& out, const BeamView& beam) {
    return out << std::fixed << "t " << beam.time << " y " << beam.y << " x " << beam.x << " z " << beam.z
               << " extra " << beam.extra << " status " << std::hex << beam.status << std::dec;
}
inline std::ostream& operator<<(std::ostream& out, const PingView& ping) {
    return out << std::fixed << ping.numDepths << " from " << ping.startBeam << " t " << ping.time << " at "
               << ping.latitude << ' ' << ping.longitude << " status " << std::hex << ping.status << std::dec;
}

inline int readBeam(_TELD_Sensor* sensor, std::uint32_t ping, std::uint32_t beam, BeamView& view) {
    return ObservedDepthsRead(sensor, ping, beam, &view.time, &view.y, &view.x, &view.z, &view.extra,
                              &view.status);
}
inline int readPing(_TELD_Sensor* sensor, std::uint32_t ping, PingView& view) {
    return ObservedDepthsReadProfile(sensor, ping, &view.numDepths, &view.startBeam, &view.time,
                                     &view.latitude, &view.longitude, &view.status);
}
inline int nextPing(_TELD_Sensor* sensor, PingView& view) {
    return ObservedDepthsReadProfileSeq(sensor, &view.numDepths, &view.startBeam, &view.time, &view.latitude,
                                        &view.longitude, &view.status);
}
inline int nextBeam(_TELD_Sensor* sensor, BeamView& view) {
    return ObservedDepthsReadSeq(sensor, &view.time, &view.y, &view.x, &view.z, &view.extra, &view.status);
}

struct SegmentExtents {
    std::string name;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    double minTime = 0.0;
    double maxTime = 0.0;
    double minDepth = 0.0;
    double maxDepth = 0.0;
    std::uint32_t status = 0;
    bool operator==(const SegmentExtents& other) const {
        return name == other.name && begin == other.begin && end == other.end &&
               sameTime(minTime, other.minTime) && sameTime(maxTime, other.maxTime) &&
               minDepth == other.minDepth && maxDepth == other.maxDepth && status == other.status;
    }
};
inline std::ostream& operator<<(std::ostream& out, const SegmentExtents& segment) {
    return out << std::fixed << segment.name << ' ' << segment.begin << " to " << segment.end << " t "
               << segment.minTime << " to " << segment.maxTime << " z " << segment.minDepth << " to "
               << segment.maxDepth << " status " << segment.status;
}
SegmentExtents segmentOf(_TELD_Sensor* sensor, std::uint32_t number);

// Closed, if it still is open, when the test leaves.
class Observed {
public:
    Observed(const std::wstring& line, const wchar_t* token) {
        SKARIO_Init(0);
        sensor_ = ObservedDepthsOpenDir(line.c_str(), token, &code_);
    }
    ~Observed() {
        if (sensor_) ObservedDepthsClose(sensor_);
    }
    Observed(const Observed&) = delete;
    Observed& operator=(const Observed&) = delete;

    explicit operator bool() const { return sensor_ != nullptr; }
    operator _TELD_Sensor*() const { return sensor_; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor_; }
    _TELD_Sensor& operator*() const { return *sensor_; }
    int code() const { return static_cast<int>(code_); }
    // Out of this object's hands.
    _TELD_Sensor* release() { return std::exchange(sensor_, nullptr); }
    int close() { return ObservedDepthsClose(release()); }

private:
    std::uint32_t code_ = 0xAAAAAAAA;
    _TELD_Sensor* sensor_ = nullptr;
};

struct TwinPing {
    PingView written;
    PingView read;
    std::vector<BeamView> writtenBeams;
    std::vector<BeamView> readBeams;
};
struct TwinOfDepths {
    struct Segment {
        std::uint32_t status = 0;
        std::string name;
        std::vector<TwinPing> pings;
    };
    std::uint32_t toolType = 0;
    std::uint32_t summaryStatus = 0;
    std::vector<Segment> segments;
    std::vector<TwinPing> pings() const;
};
TwinOfDepths depthsTwin(const std::string& text);
Golden goldenDepths(int version);
// Puts the golden set of that version into a line, under names that begin with `file`.
template <class Disk>
void putDepths(const Disk& line, int version, const std::string& file = "ObservedDepths") {
    for (const std::string suffix : {"", "LineSegments", "TmIdx"})
        line.write(file + suffix, goldenDepths(version).bytes("ObservedDepths" + suffix).string());
}
// Writes what the twin says; the first code that is not 0.
int writeDepths(_TELD_Sensor* sensor, const TwinOfDepths& twin);

// What an exception says.
struct Thrown {
    std::string kind = "nothing";
    std::string key;
    std::optional<long> code;
    std::optional<int> error;
    std::optional<unsigned long> profile;
    std::optional<unsigned long> maxProfile;
    std::optional<unsigned> beam;
    std::optional<unsigned> startBeam;
    std::optional<unsigned> maxBeam;
    std::string file;
    std::string all; // the diagnostic information
    // What the plain interface gives for it.
    int plain() const { return kind == "nothing" ? 0 : code ? static_cast<int>(*code) : -1; }
};
Thrown describe(const std::string& kind, const boost::exception& caught);

template <class Work>
Thrown thrownBy(Work&& work) {
    try {
        work();
        return {};
    } catch (const SKAR::ObsDepthReadError& caught) {
        return describe("ObsDepthReadError", caught);
    } catch (const SKAR::ObsDepthOpenError& caught) {
        return describe("ObsDepthOpenError", caught);
    } catch (const SKAR::IO::SensorReadError& caught) {
        return describe("SensorReadError", caught);
    } catch (const SKAR::IO::SensorOpenError& caught) {
        return describe("SensorOpenError", caught);
    } catch (const boost::exception& caught) {
        return describe("another", caught);
    }
}

inline std::string depthKey(const std::string& name) {
    return "errorMessages/SKARio/ObservedDepths/" + name;
}

} // namespace skar::tests
