#include "vessel/legacy/convert.h"
#include "vessel/legacy/parse.h"

#include <skar/codes.h>
#include <skar/vessel.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace {

// What the parser prints is of no interest here; whether it printed is.
struct Messages {
    Messages() : stream(std::tmpfile()) {
        if (stream == nullptr) __builtin_trap();
        std::setvbuf(stream, nullptr, _IOFBF, 1 << 12);
    }
    bool any() {
        const bool printed = std::ftell(stream) > 0;
        std::rewind(stream);
        return printed;
    }
    std::FILE* stream;
};

} // namespace

// Parses a made-up vessel text and fills a vessel with what it says.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Messages messages;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const skar::vessel::legacy::Tree tree = skar::vessel::legacy::parse(text, {nullptr, messages.stream});
    if (messages.any() && tree != nullptr) __builtin_trap();
    SKARVessel vessel;
    const long result = skar::vessel::legacy::convert(tree, text, vessel);
    if ((tree == nullptr) != (result == skar::codes::vesselImportUnreadable)) __builtin_trap();
    if (result == skar::codes::sensorClassUnknown && !vessel.getSensors().isEmpty()) __builtin_trap();
    return 0;
}
