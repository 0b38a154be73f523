#include "import/kongsbergswath.h"

namespace skar::import {

namespace {

constexpr std::size_t depthBeamBytes = 20;
constexpr std::size_t sectorBytes = 24;
constexpr std::size_t rangeBeamBytes = 16;

} // namespace

bool decode(const KongsbergFrame& frame, KongsbergDepths& depths) {
    Cursor in = frame.cursor();
    in.seek(KongsbergFrames::headerBytes);
    depths.heading = in.read<std::uint16_t>();
    depths.soundSpeed = in.read<std::uint16_t>();
    depths.transducerDepth = in.read<float>();
    const auto count = in.read<std::uint16_t>();
    in.skip(10); // valid detections, sampling frequency, scanning, spare
    if (in.failed() || count * depthBeamBytes > in.remaining()) return false;
    depths.beams.resize(count);
    for (KongsbergDepths::Beam& beam : depths.beams) {
        beam.z = in.read<float>();
        beam.y = in.read<float>();
        beam.x = in.read<float>();
        in.skip(4); // window, quality, incidence adjustment
        beam.detection = in.read<std::uint8_t>();
        beam.cleaning = in.read<std::int8_t>();
        in.skip(2); // reflectivity
    }
    return !in.failed();
}

bool decode(const KongsbergFrame& frame, KongsbergRanges& ranges) {
    Cursor in = frame.cursor();
    in.seek(KongsbergFrames::headerBytes);
    ranges.soundSpeed = in.read<std::uint16_t>();
    const auto sectors = in.read<std::uint16_t>();
    const auto beams = in.read<std::uint16_t>();
    in.skip(10); // valid detections, sampling frequency, Doppler scale
    if (in.failed() || sectors * sectorBytes + beams * rangeBeamBytes > in.remaining()) return false;
    ranges.sectors.resize(sectors);
    for (KongsbergRanges::Sector& sector : ranges.sectors) {
        sector.tilt = in.read<std::int16_t>();
        in.skip(6); // focus, signal length
        sector.delay = in.read<float>();
        in.skip(12); // frequency, absorption, wave form, number, bandwidth
    }
    ranges.beams.resize(beams);
    for (KongsbergRanges::Beam& beam : ranges.beams) {
        beam.angle = in.read<std::int16_t>();
        beam.sector = in.read<std::uint8_t>();
        beam.detection = in.read<std::uint8_t>();
        in.skip(4); // window, quality, Doppler correction
        beam.travelTime = in.read<float>();
        in.skip(2); // reflectivity
        beam.cleaning = in.read<std::int8_t>();
        in.skip(1);
    }
    return !in.failed();
}

} // namespace skar::import
