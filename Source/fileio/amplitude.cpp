#include <skar/amplitude.h>
#include <skar/codes.h>
#include <skar/sensortype.h>

#include <cmath>
#include <new>

// Amplitudes of the beams of a multibeam sounder.
namespace {

using Id = SKAR::IO::SensorType::ID;

constexpr std::uint32_t notOpened = 0xFFFFFFFF;
constexpr std::uint32_t noSensor = 0xFFFFFFFE;

// The gains of two parameters come in steps of -10 and stand for small whole numbers.
std::int32_t stepOfGain(std::int32_t parameter, std::int32_t steps) {
    return parameter < 0 && parameter % 10 == 0 && -parameter / 10 <= steps ? -parameter / 10 : parameter;
}

// What lies beyond a byte leaves its low bits.
unsigned char lowByte(double value) {
    return static_cast<unsigned char>(static_cast<std::int64_t>(value));
}

unsigned char amplitudeEM100(std::int32_t first, std::int32_t c, std::int32_t d, std::int32_t e) {
    const double a = first > 255 ? first - 255 : first;
    const double x = std::pow(1.412537, 20 - e) * a * std::pow(3.162277, d) * std::pow(3.162277, c);
    return lowByte(x > 0.0 ? std::log10(x) * 255.0 : x);
}

unsigned char amplitudeEM1000(std::int32_t second) {
    const auto amplitude = static_cast<std::int32_t>((second + 64.0) * 2.0);
    return static_cast<unsigned char>(amplitude >= 256 ? 255 : amplitude);
}

} // namespace

SKARAmplitudeIO::SKARAmplitudeIO() = default;
SKARAmplitudeIO::SKARAmplitudeIO(const SKARAmplitudeIO& other) = default;
SKARAmplitudeIO& SKARAmplitudeIO::operator=(const SKARAmplitudeIO& other) = default;
SKARAmplitudeIO::~SKARAmplitudeIO() = default;

std::uint32_t SKARAmplitudeIO::open(const wchar_t* directory) {
    close();
    for (const auto opener : {EM100SideScanOpenDir, EM1000SideScanOpenDir, ELACSideScanOpenDir}) {
        long code = 0;
        _TELD_Sensor* opened = opener(directory, L"query", &code);
        if (!opened) continue;
        sensor = std::shared_ptr<_TELD_Sensor>(opened, [](_TELD_Sensor* handle) { SideScanClose(handle); });
        const int failure =
            SideScanSummary(opened, nullptr, &numProfiles, &numBeams, &minTime, &maxTime, &status);
        if (failure != skar::codes::success) close();
        return static_cast<std::uint32_t>(failure);
    }
    return notOpened;
}

void SKARAmplitudeIO::close() {
    *this = SKARAmplitudeIO();
}

void SKARAmplitudeIO::resize() {
    amplitudes.resize(beams);
    first.resize(beams);
    second.resize(beams);
}

std::uint32_t SKARAmplitudeIO::readEM100() {
    std::int32_t c = 0, d = 0, e = 0;
    int code = EM100SideScanReadProfile(sensor.get(), currentProfile, &beams, &firstBeam, &time, nullptr,
                                        nullptr, &c, &d, &e);
    if (code != skar::codes::success) return static_cast<std::uint32_t>(code);
    resize();
    code = EM100SideScanRead(sensor.get(), currentProfile, nullptr, first.data(), second.data(), nullptr,
                             nullptr);
    d = stepOfGain(d, 3);
    c = stepOfGain(c, 2);
    for (std::uint32_t i = 0; i < beams; ++i)
        amplitudes[i] = amplitudeEM100(first[i], c, d, e);
    return static_cast<std::uint32_t>(code);
}

std::uint32_t SKARAmplitudeIO::readEM1000() {
    int code = EM1000SideScanReadProfile(sensor.get(), currentProfile, &beams, &firstBeam, &time, nullptr,
                                         nullptr, nullptr, nullptr, nullptr);
    if (code != skar::codes::success) return static_cast<std::uint32_t>(code);
    resize();
    code = EM1000SideScanRead(sensor.get(), currentProfile, nullptr, first.data(), second.data(), nullptr,
                              nullptr, nullptr, nullptr, nullptr);
    for (std::uint32_t i = 0; i < beams; ++i)
        amplitudes[i] = amplitudeEM1000(second[i]);
    return static_cast<std::uint32_t>(code);
}

std::uint32_t SKARAmplitudeIO::readELAC() {
    int code = ELACSideScanReadProfile(sensor.get(), currentProfile, &beams, &firstBeam, &time, nullptr,
                                       nullptr, nullptr, nullptr);
    if (code != skar::codes::success) return static_cast<std::uint32_t>(code);
    resize();
    code = ELACSideScanRead(sensor.get(), currentProfile, nullptr, first.data(), second.data());
    for (std::uint32_t i = 0; i < beams; ++i)
        amplitudes[i] = static_cast<unsigned char>(first[i]);
    return static_cast<std::uint32_t>(code);
}

std::uint32_t SKARAmplitudeIO::read(unsigned profile, unsigned beam) try {
    if (!sensor) return noSensor;
    currentBeam = beam;
    if (profile == currentProfile) return skar::codes::success;
    currentProfile = profile;
    std::uint32_t code = skar::codes::success;
    switch (sensor->sensorType) {
    case Id::SideScanEM100:
        code = readEM100();
        break;
    case Id::SideScanEM1000:
        code = readEM1000();
        break;
    case Id::SideScanELAC:
        code = readELAC();
        break;
    default:
        break;
    }
    if (code != skar::codes::success) {
        currentProfile = beams = 0;
        amplitudes.clear();
    }
    return code;
} catch (const std::bad_alloc&) {
    currentProfile = beams = 0;
    amplitudes.clear();
    return skar::codes::outOfMemory;
}

unsigned char SKARAmplitudeIO::getAmplitude(long& result) const {
    const std::uint32_t index = currentBeam - firstBeam;
    const bool there = currentBeam != 0 && index < amplitudes.size() && index < beams;
    result = there ? 0 : -1;
    return there ? amplitudes[index] : 0;
}

SKARAmplitudeIO::DetectType SKARAmplitudeIO::getDetectType() const {
    const std::uint32_t index = currentBeam - firstBeam;
    if (!sensor || sensor->sensorType == Id::SideScanELAC || index >= beams || index >= first.size())
        return unknown;
    return first[index] < 128 ? firstBelow128 : firstNotBelow128;
}

_TELD_Sensor* SKARAmplitudeIO::getSensor() {
    return sensor.get();
}
