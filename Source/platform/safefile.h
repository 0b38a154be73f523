#pragma once

#include <cstdio>
#include <string>

// A file written anew in the place of one that must not be lost: the bytes go to a neighbour, which takes the
// place only once all of them are with the system. Where no neighbour can be made the file itself is written,
// and so is what is no regular file. A link stays one: the file at its end is replaced.
namespace skar::platform {

class SafeFile {
public:
    // Opens for writing. stream() is null when the file could not have been opened, with the last error set.
    explicit SafeFile(const std::wstring& path);
    // Without a commit the file stays as it was.
    ~SafeFile();
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    std::FILE* stream() const noexcept { return stream_; }
    // False when something could not be written; the file is then as it was.
    bool commit();

private:
    void removeUnfinished();

    std::wstring path_;
    std::wstring neighbour_; // empty where the file itself is written
    bool made_ = false;      // whether there was no file under the path before
    std::FILE* stream_ = nullptr;
};

} // namespace skar::platform
