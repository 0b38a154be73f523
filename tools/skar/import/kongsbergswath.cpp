#include "import/kongsbergswath.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace skar::import {

namespace {

constexpr std::size_t depthBeamBytes = 20;
constexpr std::size_t sectorBytes = 24;
constexpr std::size_t rangeBeamBytes = 16;
constexpr std::size_t imageBeamBytes = 6;

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

bool decode(const KongsbergFrame& frame, KongsbergSeabedImage& image) {
    Cursor in = frame.cursor();
    image.counter = in.readAt<std::uint16_t>(12);
    in.seek(KongsbergFrames::headerBytes);
    image.samplingRate = in.read<float>();
    image.normalIncidence = in.read<std::uint16_t>();
    in.skip(8); // backscatter at normal and oblique incidence, beam width, crossover
    const auto count = in.read<std::uint16_t>();
    if (in.failed() || count * imageBeamBytes > in.remaining()) return false;
    std::size_t samples = 0;
    image.beams.resize(count);
    for (KongsbergSeabedImage::Beam& beam : image.beams) {
        beam.direction = in.read<std::int8_t>();
        in.skip(1); // detection
        beam.samples = in.read<std::uint16_t>();
        in.skip(2); // centre sample
        samples += beam.samples;
    }
    if (samples * sizeof(std::int16_t) > in.remaining()) return false;
    image.samples.resize(samples);
    for (std::int16_t& sample : image.samples)
        sample = in.read<std::int16_t>();
    return !in.failed();
}

// Near the nadir a bottom that is not level turns the order of single beams, so the parting is where it fits
// most of them.
std::size_t KongsbergSeabedImage::samplesToPort() const {
    std::ptrdiff_t fit = 0;
    std::ptrdiff_t bestFit = 0;
    std::size_t passed = 0;
    std::size_t best = 0;
    for (const Beam& beam : beams) {
        fit -= beam.direction;
        passed += beam.samples;
        if (fit > bestFit) {
            bestFit = fit;
            best = passed;
        }
    }
    return best;
}

PingPlace placeOf(const KongsbergFrame& frame, Micros time) {
    PingPlace place;
    place.time = time;
    place.offset = frame.offset + sizeof(std::uint32_t);
    place.length = static_cast<std::uint32_t>(frame.body.size());
    place.head = frame.cursor().readAt<std::uint16_t>(14);
    place.order = frame.order;
    return place;
}

namespace {

template <typename Swath>
bool decodeAt(ByteSource& source, const PingPlace& place, char type, Swath& swath) {
    std::vector<std::byte> body(place.length);
    if (source.read(place.offset, body) != body.size()) return false;
    KongsbergFrame frame;
    frame.order = place.order;
    frame.body = body;
    return frame.cursor().readAt<std::uint8_t>(1) == static_cast<std::uint8_t>(type) && decode(frame, swath);
}

template <typename Beam>
std::uint32_t statusOf(const Beam& beam) {
    constexpr unsigned detectionKind = 0x0FU;
    std::uint32_t status = 0;
    if (!beam.valid())
        status |= beam::notDetected;
    else if ((beam.detection & detectionKind) == 1)
        status |= beam::phaseDetection;
    if (beam.cleanedOut()) status |= beam::cleanedOut;
    return status;
}

} // namespace

bool readKongsbergDepths(ByteSource& source, const PingPlace& place, DepthPing& ping) {
    KongsbergDepths in;
    if (!decodeAt(source, place, 'X', in)) return false;
    ping.heading = radiansFromDegrees(in.heading / 100.0);
    ping.beams.clear();
    for (const KongsbergDepths::Beam& beam : in.beams) {
        DepthBeam out{beam.y, beam.x, double{beam.z} + double{in.transducerDepth}, statusOf(beam)};
        out.refuseNonsense();
        ping.beams.push_back(out);
    }
    return true;
}

bool readKongsbergRanges(ByteSource& source, const PingPlace& place, RangePing& ping) {
    KongsbergRanges in;
    if (!decodeAt(source, place, 'N', in)) return false;
    ping.beams.clear();
    if (in.beams.empty()) return true;
    // Beams run from port to starboard; whether their angles fall or rise shows how the array is mounted.
    const double toStarboard = in.beams.front().angle > in.beams.back().angle ? -1.0 : 1.0;
    for (const KongsbergRanges::Beam& beam : in.beams) {
        RangeBeam out;
        out.status = statusOf(beam);
        out.travel = beam.travelTime;
        out.range = out.travel / 2.0 * (in.soundSpeed / 10.0);
        out.angle = toStarboard * radiansFromDegrees(beam.angle / 100.0);
        if (beam.sector < in.sectors.size()) {
            out.delay = in.sectors[beam.sector].delay;
            out.tilt = radiansFromDegrees(in.sectors[beam.sector].tilt / 100.0);
        } else {
            out.delay = std::numeric_limits<double>::quiet_NaN();
        }
        out.refuseNonsense();
        ping.beams.push_back(out);
    }
    return true;
}

bool readKongsbergImage(ByteSource& source, const PingPlace& place, ImagePing& ping) {
    KongsbergSeabedImage in;
    if (!decodeAt(source, place, 'Y', in)) return false;
    ping = {};
    ping.sampleBytes = sizeof(std::uint16_t);
    ping.number = in.counter;
    ping.interval = 1.0 / double{in.samplingRate};
    ping.delay = in.normalIncidence * ping.interval;
    // The store's samples have no sign; the order of strengths stays, and 0 is left for what has none.
    const auto strength = [](std::int16_t sample) {
        constexpr int zero = 32768;
        return static_cast<std::uint16_t>(sample <= KongsbergSeabedImage::noValue ? 0 : sample + zero);
    };
    const auto nadir = in.samples.begin() + static_cast<std::ptrdiff_t>(in.samplesToPort());
    std::transform(std::make_reverse_iterator(nadir), in.samples.rend(), std::back_inserter(ping.port),
                   strength);
    std::transform(nadir, in.samples.end(), std::back_inserter(ping.starboard), strength);
    return true;
}

} // namespace skar::import
