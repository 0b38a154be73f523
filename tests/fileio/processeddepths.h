#pragma once

#include "support/store.h"

#include <skar/errors.h>
#include <skar/paths.h>
#include <skar/processeddepths.h>
#include <skar/sensor.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// What the tests of the processed depths share: views of what the functions give, a handle with a block cache
// of a size, the golden line as its twin tells it, and what an exception carries.
namespace skar::tests::processed {

// Sums of a base and an offset: the last bits are not told apart.
inline bool near(double a, double b) {
    return a == b || std::abs(a - b) <= 1e-12 + 1e-15 * std::abs(a);
}
template <std::size_t Count>
bool near(const std::array<double, Count>& a, const std::array<double, Count>& b) {
    for (std::size_t i = 0; i < Count; ++i)
        if (!near(a[i], b[i])) return false;
    return true;
}

struct Beam {
    std::uint32_t status = 7;
    std::array<double, 7> values{}; // time y x latitude longitude depth extra
    bool operator==(const Beam& other) const { return status == other.status && near(values, other.values); }
};
struct Ping {
    std::uint32_t status = 7;
    std::uint32_t startBeam = 7;
    std::uint32_t numDepths = 7;
    std::array<double, 7> place{}; // time latitude min max longitude min max
    std::array<double, 8> eight{}; // angle1 length1 angle2 angle3 length2 length3 angle4 angle5
    bool operator==(const Ping& other) const {
        return status == other.status && startBeam == other.startBeam && numDepths == other.numDepths &&
               near(place, other.place) && near(eight, other.eight);
    }
};
inline std::ostream& operator<<(std::ostream& out, const Beam& beam) {
    out << std::hex << beam.status << std::dec;
    out.precision(15);
    for (const double value : beam.values)
        out << ' ' << value;
    return out;
}
inline std::ostream& operator<<(std::ostream& out, const Ping& ping) {
    out << std::hex << ping.status << std::dec << ' ' << ping.numDepths << " from " << ping.startBeam;
    out.precision(15);
    for (const double value : ping.place)
        out << ' ' << value;
    for (const double value : ping.eight)
        out << ' ' << value;
    return out;
}

inline int readPing(_TELD_Sensor* sensor, std::uint32_t number, Ping& p) {
    return ProcessedDepthsReadProfile(sensor, number, &p.numDepths, &p.startBeam, &p.place[0], &p.place[1],
                                      &p.place[2], &p.place[3], &p.place[4], &p.place[5], &p.place[6],
                                      &p.eight[0], &p.eight[1], &p.eight[2], &p.eight[3], &p.eight[4],
                                      &p.eight[5], &p.eight[6], &p.eight[7], &p.status);
}
inline int nextPing(_TELD_Sensor* sensor, Ping& p) {
    return ProcessedDepthsReadProfileSeq(sensor, &p.numDepths, &p.startBeam, &p.place[0], &p.place[1],
                                         &p.place[2], &p.place[3], &p.place[4], &p.place[5], &p.place[6],
                                         &p.eight[0], &p.eight[1], &p.eight[2], &p.eight[3], &p.eight[4],
                                         &p.eight[5], &p.eight[6], &p.eight[7], &p.status);
}
inline int readBeam(_TELD_Sensor* sensor, std::uint32_t ping, std::uint32_t beam, Beam& b) {
    return ProcessedDepthsRead(sensor, ping, beam, &b.values[0], &b.values[1], &b.values[2], &b.values[3],
                               &b.values[4], &b.values[5], &b.values[6], &b.status);
}
inline int nextBeam(_TELD_Sensor* sensor, Beam& b) {
    return ProcessedDepthsReadSeq(sensor, &b.values[0], &b.values[1], &b.values[2], &b.values[3],
                                  &b.values[4], &b.values[5], &b.values[6], &b.status);
}
inline Beam viewOf(const SKAR::IO::ProcessedDepths::Depth& d) {
    return {d.status, {d.time, d.y, d.x, d.latitude, d.longitude, d.depth, d.extra}};
}

// Closed, if it still is open, when the test leaves.
class Depths {
public:
    Depths(const std::wstring& line, const wchar_t* token, const char* cacheSize = nullptr) {
        SKARIO_Init(0);
        if (cacheSize) setenv("SkarIOCacheSize", cacheSize, 1);
        sensor_ = ProcessedDepthsOpenDir(line.c_str(), token, &code_);
        unsetenv("SkarIOCacheSize");
    }
    ~Depths() {
        if (sensor_) ProcessedDepthsClose(sensor_);
    }
    Depths(const Depths&) = delete;
    Depths& operator=(const Depths&) = delete;

    explicit operator bool() const { return sensor_ != nullptr; }
    operator _TELD_Sensor*() const { return sensor_; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor_; }
    _TELD_Sensor& operator*() const { return *sensor_; }
    int code() const { return static_cast<int>(code_); }
    int close() { return ProcessedDepthsClose(std::exchange(sensor_, nullptr)); }

private:
    std::uint32_t code_ = 0xAAAAAAAA;
    _TELD_Sensor* sensor_ = nullptr;
};

struct TwinPing {
    Ping written;
    Ping read;
    std::vector<Beam> writtenBeams;
    std::vector<Beam> readBeams;
};
struct TwinSegment {
    std::uint32_t status = 0;
    std::string name;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::array<double, 8> extents{}; // times, depths, latitudes, longitudes
    std::vector<TwinPing> pings;
};
struct Twin {
    std::uint32_t toolType = 0;
    std::uint32_t extra = 0;
    std::uint32_t status = 0;
    std::vector<TwinSegment> segments;
    std::vector<TwinPing> pings() const {
        std::vector<TwinPing> all;
        for (const TwinSegment& segment : segments)
            all.insert(all.end(), segment.pings.begin(), segment.pings.end());
        return all;
    }
};

const std::vector<std::string> files = {"ProcessedDepths", "ProcessedDepthsLineSegments",
                                        "ProcessedDepthsTmIdx"};
inline std::string goldenName(int version) {
    return "processed_depths_" + std::to_string(version);
}
template <class Disk>
void put(const Disk& line, int version) {
    for (const std::string& file : files)
        line.write(file, golden(goldenName(version)).bytes(file).string());
}
Twin twinOf(int version);
// Writes what the twin says; the first code that is not 0.
int write(_TELD_Sensor* sensor, const Twin& twin);

// What an exception says.
struct Thrown {
    std::string kind = "nothing";
    std::string key;
    std::optional<long> code;
    std::optional<int> error;
    std::optional<int> offset;
    std::optional<unsigned long> profile;
    std::optional<unsigned long> maxProfile;
    std::optional<unsigned> beam;
    std::optional<unsigned> startBeam;
    std::optional<unsigned> maxBeam;
    std::optional<int> version;
    std::string file;
    // What the shells of the reads by number give for it.
    int plain() const { return kind == "nothing" ? 0 : code ? static_cast<int>(*code) : -1; }
};
Thrown describe(const std::string& kind, const boost::exception& caught);

template <class Work>
Thrown thrownBy(Work&& work) {
    try {
        work();
        return {};
    } catch (const SKAR::ProcDepthReadError& caught) {
        return describe("ProcDepthReadError", caught);
    } catch (const SKAR::ProcDepthOpenError& caught) {
        return describe("ProcDepthOpenError", caught);
    } catch (const SKAR::IO::SensorReadError& caught) {
        return describe("SensorReadError", caught);
    } catch (const boost::exception& caught) {
        return describe("another", caught);
    }
}
inline std::string key(const std::string& name) {
    return "errorMessages/SKARio/ProcessedDepths/" + name;
}

} // namespace skar::tests::processed
