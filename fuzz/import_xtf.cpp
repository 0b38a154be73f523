#include "import/xtf.h"
#include "import/xtfpackets.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace {

void read(std::span<const std::byte> bytes) {
    skar::import::MemorySource source(bytes);
    try {
        const skar::import::RawData file = skar::import::readXtf(source);
        skar::import::ImagePing ping;
        for (const skar::import::PingPlace& place : file.imagePings.records)
            skar::import::readXtfImage(source, place, ping);
    } catch (const skar::import::ImportError&) {
        // No file header.
    }
}

// Hardly any input that is made up begins with a file header; with one of two channels a side in front, its
// packets are tried as well.
std::vector<std::byte> headed(std::span<const std::byte> packets) {
    std::vector<std::byte> file(skar::import::XtfFileHeader::blockBytes);
    constexpr std::size_t channels = 4;
    file[0] = std::byte{0x7B};
    file[164] = std::byte{3};
    file[166] = std::byte{channels};
    for (std::size_t i = 0; i < channels; ++i) {
        file[256 + 128 * i] = static_cast<std::byte>(1 + i % 2);
        file[256 + 128 * i + 6] = static_cast<std::byte>(1 + i / 2);
        file[256 + 128 * i + 8] = std::byte{3};
    }
    file.insert(file.end(), packets.begin(), packets.end());
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    read(bytes);
    read(headed(bytes));
    return 0;
}
