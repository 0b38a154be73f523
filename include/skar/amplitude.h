#pragma once

#include <skar/multibeamsidescan.h>

#include <cstdint>
#include <memory>
#include <vector>

// One amplitude of 8 bits per beam from the side scan data of a multibeam sounder, whatever its system, with
// the beams of one profile in memory. Copies share the open file, which the last of them closes. An object
// serves one thread at a time.
class SKAR_API SKARAmplitudeIO {
public:
    // How the bottom was found, as the first array of the profile tells: below 128, or not. A file of the
    // third system does not tell.
    enum DetectType { firstNotBelow128 = 0, firstBelow128 = 1, unknown = 2 };

    SKARAmplitudeIO();
    SKARAmplitudeIO(const SKARAmplitudeIO& other);
    SKARAmplitudeIO& operator=(const SKARAmplitudeIO& other);
    ~SKARAmplitudeIO();

    // Opens the side scan file of a line directory. 0, 4294967295 if there is none that opens, or the code of
    // its summary.
    std::uint32_t open(const wchar_t* directory);
    void close();
    // Makes a beam of a profile the current one; both count as the file does. The profile that is in memory is
    // not read again. 0, 4294967294 without an open file, or a code 50017xx; no profile is in memory then.
    std::uint32_t read(unsigned profile, unsigned beam);
    // The amplitude of the current beam; status is 0, or -1 with an amplitude of 0 for a beam that the profile
    // has not.
    unsigned char getAmplitude(long& status) const;
    DetectType getDetectType() const;
    // The open file, which stays the object's; null without one.
    _TELD_Sensor* getSensor();

private:
    std::uint32_t readEM100();
    std::uint32_t readEM1000();
    std::uint32_t readELAC();
    void resize();

    std::uint32_t currentProfile = 0;
    std::uint32_t currentBeam = 0;
    std::shared_ptr<_TELD_Sensor> sensor;
    double minTime = 0.0;
    double maxTime = 0.0;
    std::uint32_t numProfiles = 0;
    std::uint32_t numBeams = 0;
    std::uint32_t status = 0;
    std::uint32_t beams = 0;
    std::uint32_t firstBeam = 0;
    double time = 0.0;
    std::vector<unsigned char> amplitudes;
    std::vector<std::int32_t> second;
    std::vector<std::int32_t> first;
};
