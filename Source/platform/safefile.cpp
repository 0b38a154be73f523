#include "platform/safefile.h"

#include "platform/file.h"

#include <cerrno>

namespace skar::platform {

namespace {

// Somebody may keep a file of his own under the first name.
std::wstring freeName(const std::wstring& path) {
    std::wstring name = path + L".new";
    for (int n = 2; n < 100 && pathAccessible(name.c_str()); ++n)
        name = path + L".new" + std::to_wstring(n);
    return name;
}

} // namespace

SafeFile::SafeFile(const std::wstring& path) : path_(linkEnd(path)) {
    FileStatus before;
    const bool exists = fileStatus(path_.c_str(), before);
    // A device or a pipe is written, never replaced.
    if (exists && before.regular) {
        // Replacing a file needs the same leave as writing it.
        std::FILE* probe = openFile(path_.c_str(), "rb+");
        if (!probe) return;
        std::fclose(probe);
        neighbour_ = freeName(path_);
        stream_ = openFile(neighbour_.c_str(), "wb");
        // Short of space or of files the old one must not be touched; a directory closed to new names is no
        // reason to.
        if (stream_ || lastError() != errorAccessDenied) return;
        neighbour_.clear();
    }
    stream_ = openFile(path_.c_str(), "wb");
    made_ = !exists && stream_;
}

SafeFile::~SafeFile() {
    if (!stream_) return;
    std::fclose(stream_);
    removeUnfinished();
}

bool SafeFile::commit() {
    const bool written = std::fflush(stream_) == 0 && !std::ferror(stream_);
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (written && closed && (neighbour_.empty() || replaceFile(neighbour_.c_str(), path_.c_str())))
        return true;
    const int error = errno;
    removeUnfinished();
    errno = error;
    return false;
}

void SafeFile::removeUnfinished() {
    if (!neighbour_.empty()) {
        removeFile(neighbour_.c_str());
    } else if (made_) {
        removeFile(path_.c_str());
    }
}

} // namespace skar::platform
