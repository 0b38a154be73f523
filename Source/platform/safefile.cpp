#include "platform/safefile.h"

#include "platform/file.h"

namespace skar::platform {

SafeFile::SafeFile(const std::wstring& path) : path_(path) {
    const bool exists = pathAccessible(path.c_str());
    if (exists) {
        // Replacing a file needs the same leave as writing it.
        std::FILE* probe = openFile(path.c_str(), "rb+");
        if (!probe) return;
        std::fclose(probe);
        neighbour_ = path + L".new";
        stream_ = openFile(neighbour_.c_str(), "wb");
        // Short of space or of files the old one must not be touched; a directory closed to new names is no reason to.
        if (stream_ || lastError() != errorAccessDenied) return;
        neighbour_.clear();
    }
    stream_ = openFile(path.c_str(), "wb");
}

SafeFile::~SafeFile() {
    if (!stream_) return;
    std::fclose(stream_);
    if (!neighbour_.empty()) removeFile(neighbour_.c_str());
}

bool SafeFile::commit() {
    const bool written = std::fflush(stream_) == 0 && !std::ferror(stream_);
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (neighbour_.empty()) return written && closed;
    if (written && closed && replaceFile(neighbour_.c_str(), path_.c_str())) return true;
    removeFile(neighbour_.c_str());
    return false;
}

} // namespace skar::platform
