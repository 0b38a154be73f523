#include "import/kongsbergall.h"
#include "import/kongsbergswath.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace {

// Hardly any input that is made up carries the right checksum; with a sound frame put around it, the content
// of the datagrams is tried as well.
std::vector<std::byte> framed(std::span<const std::byte> inner) {
    std::vector<std::byte> file;
    const auto word = [&](std::size_t value, unsigned count) {
        for (unsigned i = 0; i < count; ++i)
            file.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFFU));
    };
    unsigned sum = 0;
    for (const std::byte b : inner)
        sum += std::to_integer<unsigned>(b);
    word(inner.size() + 4, 4);
    word(2, 1);
    file.insert(file.end(), inner.begin(), inner.end());
    word(3, 1);
    word(sum, 2);
    return file;
}

void read(std::span<const std::byte> bytes) {
    skar::import::MemorySource source(bytes);
    const skar::import::RawData data = skar::import::readKongsbergAll(source);
    skar::import::DepthPing depths;
    for (const skar::import::PingPlace& place : data.depthPings.records)
        skar::import::readKongsbergDepths(source, place, depths);
    skar::import::RangePing ranges;
    for (const skar::import::PingPlace& place : data.rangePings.records)
        skar::import::readKongsbergRanges(source, place, ranges);
    skar::import::ImagePing image;
    for (const skar::import::PingPlace& place : data.imagePings.records)
        skar::import::readKongsbergImage(source, place, image);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    read(bytes);
    read(framed(bytes));
    return 0;
}
