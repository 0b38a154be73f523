#include "import/lineimage.h"

#include "commands/command.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace skar::tool {

namespace {

using Samples = std::vector<std::uint16_t>;

std::array<Samples*, SideScanPing::sides> sidesOf(import::ImagePing& ping) {
    return {&ping.port, &ping.starboard, &ping.secondPort, &ping.secondStarboard};
}

void average(Samples& samples, std::size_t together) {
    std::size_t kept = 0;
    for (std::size_t begin = 0; begin < samples.size(); begin += together) {
        const std::size_t end = std::min(begin + together, samples.size());
        std::uint64_t sum = 0;
        for (std::size_t i = begin; i < end; ++i)
            sum += samples[i];
        const std::uint64_t count = end - begin;
        samples[kept++] = static_cast<std::uint16_t>((sum + count / 2) / count);
    }
    samples.resize(kept);
}

template <typename Word>
Word steps(double value, double step) {
    const double count = std::round(value / step);
    return count <= static_cast<double>(std::numeric_limits<Word>::max()) ? static_cast<Word>(count)
                                                                          : std::numeric_limits<Word>::max();
}

// The samples as bytes of the width that the status names.
class SampleBytes {
public:
    void set(import::ImagePing& ping, SideScanPing& to) {
        const auto sides = sidesOf(ping);
        for (std::size_t side = 0; side < sides.size(); ++side) {
            to.counts[side] = static_cast<std::uint32_t>(sides[side]->size());
            to.samples[side] = sides[side]->data();
            if (ping.sampleBytes != 1) continue;
            narrow_[side].assign(sides[side]->begin(), sides[side]->end());
            to.samples[side] = narrow_[side].data();
        }
        if (ping.sampleBytes != 1) to.status |= SideScanPing::twoByteSamples;
    }

private:
    std::array<std::vector<std::uint8_t>, SideScanPing::sides> narrow_;
};

} // namespace

void fitSamples(import::ImagePing& ping) {
    const auto sides = sidesOf(ping);
    std::size_t longest = 0;
    for (const Samples* side : sides)
        longest = std::max(longest, side->size());
    if (longest <= SideScanWriter::mostSamples) return;
    const std::size_t together = (longest + SideScanWriter::mostSamples - 1) / SideScanWriter::mostSamples;
    for (Samples* side : sides)
        average(*side, together);
    ping.interval *= static_cast<double>(together);
    ping.secondInterval *= static_cast<double>(together);
}

void writeImages(SideScanWriter& writer, const RawFile& file, StoreClock& clock,
                 const std::function<void()>& ofPing) {
    constexpr double nanosecond = 1e-9;
    constexpr double decimetre = 0.1;
    constexpr double centimetre = 0.01;
    import::FileSource source = reopened(file);
    import::ImagePing ping;
    SampleBytes bytes;
    for (const import::PingPlace& place : file.data.imagePings.records) {
        if (!file.format->readImage(source, place, ping))
            throw ToolError(printable(file.path) + ": the file changed while it was imported");
        fitSamples(ping);
        SideScanPing out;
        out.status = place.head & 0xFFFFU;
        out.time = clock.seconds(place.time);
        out.parameter3 = steps<std::uint16_t>(ping.soundSpeed, decimetre);
        out.fishHeight = steps<std::uint16_t>(ping.height, centimetre);
        out.parameter7 = ping.number;
        out.parameter8 = steps<std::uint16_t>(ping.delay, ping.interval);
        out.sampleInterval = steps<std::uint32_t>(ping.interval, nanosecond);
        out.parameter22 = steps<std::uint32_t>(ping.secondInterval, nanosecond);
        bytes.set(ping, out);
        writer.write(out);
        ofPing();
    }
}

} // namespace skar::tool
