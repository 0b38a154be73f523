#pragma once

#include "support/store.h"

#include <skar/sensor.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

// Every kind of imagery file behind one interface: a test written over imageryFamilies() runs for each. What
// is written and read stands as text, in the words of the twins that tests/golden/imagery.py makes.
namespace skar::tests {

using Texts = std::vector<std::string>;

struct ImageryFamily {
    const char* test; // name of the instance
    const char* name; // of the data file
    const char* golden;
    std::uint32_t stored; // type in the validation records
    int base;             // of its codes
    int noStructure;      // code of a handle without its read structure
    bool trace;           // whether a trace file is opened with it

    _TELD_Sensor* (*open)(const wchar_t*, const wchar_t*, long*);
    int (*close)(_TELD_Sensor*);
    // Writes a line of a twin without its "write"; a code.
    int (*write)(_TELD_Sensor*, const std::string&);
    // A line as the twin has it without its "read", or "code <n>".
    std::string (*summary)(_TELD_Sensor*);
    std::string (*segment)(_TELD_Sensor*, std::uint32_t);
    std::string (*record)(_TELD_Sensor*, std::uint32_t);
    // Calls every function that changes a record in its place; the code of the first.
    int (*change)(_TELD_Sensor*, std::uint32_t) = nullptr; // null where there is none
    int (*setSummaryStatus)(_TELD_Sensor*, std::uint32_t);
    int (*setSegmentStatus)(_TELD_Sensor*, std::uint32_t, std::uint32_t);
    int (*setSourceFileName)(_TELD_Sensor*, const wchar_t*) = nullptr; // null where there is none
    int (*remove)(const wchar_t*);

    int code(int offset) const { return base + offset; }
    // The trace file last, where the set has one.
    std::vector<std::string> files() const;
    // The bytes of those, from the golden set.
    std::vector<Bytes> set() const;
    // The lines of the golden twin that begin with that word, without it.
    Texts twin(const std::string& word) const;
    // Writes all of the twin up to the close; the first code that is not 0.
    int writeAll(_TELD_Sensor* sensor) const;
    // Summary, segments and records as far as they go.
    Texts readAll(_TELD_Sensor* sensor) const;
};
std::ostream& operator<<(std::ostream& out, const ImageryFamily& family);
inline std::string imageryName(const testing::TestParamInfo<ImageryFamily>& info) {
    return info.param.test;
}
const std::vector<ImageryFamily>& imageryFamilies();
// Those that have a function.
template <class Function>
std::vector<ImageryFamily> imageryFamiliesWith(Function ImageryFamily::*function) {
    std::vector<ImageryFamily> those;
    for (const ImageryFamily& family : imageryFamilies())
        if (family.*function) those.push_back(family);
    return those;
}

// Puts the golden set into a line.
inline void put(const Line& line, const ImageryFamily& family) {
    const auto set = family.set();
    for (std::size_t i = 0; i < set.size(); ++i)
        line.write(family.files()[i], set[i].string());
}

// A handle that is closed, if it still is open, when the test leaves.
class OpenImagery {
public:
    OpenImagery(const ImageryFamily& family, const std::wstring& line, const wchar_t* token)
        : family_(&family) {
        SKARIO_Init(0);
        sensor_ = family.open(line.c_str(), token, &code_);
    }
    ~OpenImagery() {
        if (sensor_) family_->close(sensor_);
    }
    OpenImagery(const OpenImagery&) = delete;
    OpenImagery& operator=(const OpenImagery&) = delete;

    explicit operator bool() const { return sensor_ != nullptr; }
    operator _TELD_Sensor*() const { return sensor_; } // NOLINT: stands for the handle
    _TELD_Sensor* operator->() const { return sensor_; }
    long code() const { return code_; }
    int close() { return family_->close(std::exchange(sensor_, nullptr)); }

private:
    const ImageryFamily* family_;
    long code_ = 77;
    _TELD_Sensor* sensor_;
};

} // namespace skar::tests
