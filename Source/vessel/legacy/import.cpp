#include "vessel/legacy/convert.h"
#include "vessel/legacy/parse.h"

#include <skar/codes.h>
#include <skar/vesselimport.h>

#include <mutex>
#include <new>

namespace codes = skar::codes;
namespace legacy = skar::vessel::legacy;

namespace {

// One parse at a time in the process: all of them have one trace file.
std::mutex& parseLock() {
    static std::mutex lock;
    return lock;
}

long import(const wchar_t* fileName, SKARVessel& vessel) {
    std::string text;
    legacy::Tree tree;
    {
        const std::lock_guard<std::mutex> held(parseLock());
        if (legacy::readText(fileName, text)) tree = legacy::parse(text);
    }
    if (const long result = legacy::convert(tree, text, vessel); result != 0) return result;
    const std::wstring name = std::wstring(fileName) + SKARVessel::getDefaultExtension();
    return vessel.setFileName(name.c_str(), false);
}

// Callers may be of a language without exceptions.
template <class Work>
long codeOf(Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return codes::outOfMemory;
    }
}

} // namespace

long SKARVesselImport(const wchar_t* fileName, SKARVessel* vessel) {
    if (fileName == nullptr) return codes::vesselImportUnreadable;
    if (vessel == nullptr) return codes::failed;
    return codeOf([&] { return import(fileName, *vessel); });
}

long SKARVesselConvert(const wchar_t* fileName) {
    return codeOf([fileName] {
        SKARVessel vessel;
        const long result = SKARVesselImport(fileName, &vessel);
        return result == 0 ? vessel.store() : result;
    });
}
