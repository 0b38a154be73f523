#include "platform/standardstream.h"

#include "platform/file.h"

namespace skar::platform {

namespace {

constexpr const char* nowhere = "/dev/null";

} // namespace

bool isStandardStream(const std::FILE* stream) noexcept {
    return stream == stdin || stream == stdout || stream == stderr;
}

bool turnStandardStream(const wchar_t* path, const char* mode, std::FILE* stream) {
    // A reopening that fails leaves the stream closed, so it is tried on another stream first.
    std::FILE* trial = openFile(path, mode);
    if (trial == nullptr) return false;
    std::fclose(trial);
    return std::freopen(nativePath(path).c_str(), mode, stream) != nullptr;
}

void leaveStandardStream(std::FILE* stream) noexcept {
    const char* mode = stream == stdin ? "r" : "w";
    [[maybe_unused]] const std::FILE* left = std::freopen(nowhere, mode, stream);
}

} // namespace skar::platform
