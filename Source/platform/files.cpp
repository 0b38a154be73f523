#include <skar/files.h>

#include "platform/file.h"
#include "platform/standardstream.h"

#include <string>

namespace SKAR {

namespace {

void close(std::FILE* stream) {
    if (stream == nullptr) return;
    if (skar::platform::isStandardStream(stream)) {
        skar::platform::leaveStandardStream(stream);
    } else {
        std::fclose(stream);
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
    return {skar::platform::openFile(path, narrowMode(mode).c_str()), close};
}

boost::shared_ptr<std::FILE> reOpenFile(const wchar_t* path, const wchar_t* mode, std::FILE* stream) {
    const std::string narrow = narrowMode(mode);
    if (!skar::platform::isStandardStream(stream))
        return {skar::platform::reopenFile(path, narrow.c_str(), stream), close};
    const bool turned = skar::platform::turnStandardStream(path, narrow.c_str(), stream);
    return {turned ? stream : nullptr, close};
}

} // namespace SKAR
