#include <skar/files.h>

#include "platform/file.h"

#include <string>

namespace SKAR {

namespace {

constexpr const wchar_t* nowhere = L"/dev/null";

void close(std::FILE* stream) {
    if (stream != nullptr) std::fclose(stream);
}

bool isStandard(const std::FILE* stream) {
    return stream == stdin || stream == stdout || stream == stderr;
}

// A standard stream that is closed would be a trap for everything that prints afterwards.
void leave(std::FILE* stream) {
    if (isStandard(stream)) {
        if (skar::platform::reopenFile(nowhere, stream == stdin ? "r" : "w", stream) == nullptr)
            clearerr(stream);
    } else {
        close(stream);
    }
}

std::string narrowMode(const wchar_t* mode) {
    std::string narrow;
    if (mode == nullptr) return narrow;
    for (; *mode != L'\0'; ++mode)
        narrow += *mode < 128 ? static_cast<char>(*mode) : '?';
    return narrow;
}

} // namespace

boost::shared_ptr<std::FILE> openFile(const wchar_t* path, const wchar_t* mode) {
    if (path == nullptr) return {};
    return {skar::platform::openFile(path, narrowMode(mode).c_str()), close};
}

boost::shared_ptr<std::FILE> reOpenFile(const wchar_t* path, const wchar_t* mode, std::FILE* stream) {
    if (path == nullptr || stream == nullptr) return {};
    return {skar::platform::reopenFile(path, narrowMode(mode).c_str(), stream), leave};
}

} // namespace SKAR
