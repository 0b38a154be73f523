#pragma once

#include "families.h"

#include <skar/skario.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

// The families that keep imagery. Their samples and beams come in arrays, not one by one.
namespace skar::tool {

// A ping of a towed sonar, raw or processed. The numbered parameters are the caller's; a processed ping has
// 3, 4 and 5 only, the last one wider.
struct SideScanPing {
    static constexpr std::uint32_t twoByteSamples = 1U << 30U;
    static constexpr std::size_t sides = 4; // port, starboard, second port, second starboard

    std::uint32_t status = 0;
    double time = 0.0;
    std::uint16_t parameter3 = 0;
    std::uint16_t parameter4 = 0;
    std::uint32_t parameter5 = 0;
    std::uint16_t fishHeight = 0;
    std::uint32_t parameter7 = 0;
    std::uint16_t parameter8 = 0;
    std::int16_t parameter9 = 0;
    std::uint16_t parameter10 = 0;
    std::uint32_t parameter11 = 0;
    std::uint32_t sampleInterval = 0;
    std::int16_t parameter13 = 0;
    std::uint16_t parameter14 = 0;
    std::uint16_t parameter19 = 0;
    std::int16_t parameter20 = 0;
    std::uint16_t parameter21 = 0;
    std::uint32_t parameter22 = 0;
    std::uint32_t parameter23 = 0;
    std::uint16_t parameter24 = 0;
    std::uint16_t parameter25 = 0;
    std::array<std::uint32_t, sides> counts{};
    std::array<const void*, sides> samples{}; // of a read: the reader's until its next one

    std::uint16_t sample(std::size_t side, std::size_t index) const;
};

struct CloseSensor {
    int (*close)(_TELD_Sensor*) = nullptr;
    void operator()(_TELD_Sensor* sensor) const { close(sensor); }
};
using SensorHandle = std::unique_ptr<_TELD_Sensor, CloseSensor>;

// The library's functions of a family of side scan pings in one form.
struct SideScanAccess;

// Every failure is a ToolError that names the file and the library's code.
class SideScanReader : public Reader {
public:
    SideScanReader(const LinePath& line, const Family& family);
    std::uint32_t version() const override { return sensor_->version; }
    Summary summary() override;
    Segment segment(std::uint32_t number) override;
    void read(std::uint32_t number, Record& record) override;
    void readItem(Record& item) override;

    void readPing(std::uint32_t number, SideScanPing& ping);

private:
    const SideScanAccess& access_;
    std::string file_;
    SensorHandle sensor_;
    SideScanPing ping_;
    std::uint32_t item_ = 0;
};

// Writes the raw pings of a towed sonar.
class SideScanWriter {
public:
    explicit SideScanWriter(const LinePath& line);
    void beginSegment(const std::string& source);
    // At most `mostSamples` a side, beyond which the library would shorten the ping.
    void write(const SideScanPing& ping);
    void endSegment();
    // Ends the writing. Only after it has returned are the files whole.
    void finish();

    static constexpr std::uint32_t mostSamples = 6000;

private:
    std::string file_;
    SensorHandle sensor_;
    std::uint32_t written_ = 0;
};

extern const Kind sideScanKind;
extern const Kind multibeamImageryKind;

} // namespace skar::tool
