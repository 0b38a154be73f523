#pragma once

#include "support/fault_backend.h"

#include <skar/log.h>
#include <skar/sensor.h>
#include <skar/simplesensor.h>

#include <boost/smart_ptr/make_shared.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// What the targets that open a file set share. An input is two lengths of 16 bits, big-endian, and the bytes
// of the data file, of the LineSegments file (those lengths) and of the TmIdx file (the rest).
namespace skar::fuzz {

// The log and the messages of the stream codecs would hide what a run says.
class NoLog : public SKAR::DebugLogger {
public:
    NoLog() { setDebuggingLevel(SKAR::debugLogErrors); }
    boost::shared_ptr<SKAR::DebugLogger> clone() const override { return boost::make_shared<NoLog>(*this); }

private:
    void write(const SKAR::Temporary::String&) override {}
};

inline void quiet() {
    static const bool once = [] {
        SKAR::setDebugLogger(NoLog());
        SKARIO_Init(0);
        return std::freopen("/dev/null", "w", stdout) != nullptr;
    }();
    static_cast<void>(once);
}

// Puts the files into a line in memory and opens it in both modes; `read` gets each handle that came and ends
// it.
template <class Open, class Read>
void openSet(const std::uint8_t* data, std::size_t size, const std::string& name, Open open, Read read) {
    if (size < 4) return;
    quiet();
    const std::string bytes(reinterpret_cast<const char*>(data) + 4, size - 4);
    const std::size_t first = std::min<std::size_t>(bytes.size(), data[0] << 8 | data[1]);
    const std::size_t second = std::min<std::size_t>(bytes.size() - first, data[2] << 8 | data[3]);
    const std::string folder = "/survey/project/vessel/day/line/";
    tests::FaultBackend disk;
    disk.put(folder + name, bytes.substr(0, first));
    disk.put(folder + name + "LineSegments", bytes.substr(first, second));
    disk.put(folder + name + "TmIdx", bytes.substr(first + second));
    for (const wchar_t* token : {L"query", L"update"}) {
        std::uint32_t code = 0;
        if (_TELD_Sensor* sensor = open(L"/survey/project/vessel/day/line", token, &code)) read(sensor);
    }
    if (disk.openStreams() != 0) __builtin_trap();
}

} // namespace skar::fuzz
