#include "platform/file.h"

#include <skar/platform.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <new>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::size_t longestWorkingDirectory = 256;

SKAR::DirectoryEntry sharedEntry;
bool enumerationOpen = false;

struct CloseSearch {
    void operator()(DIR* search) const { ::closedir(search); }
};

// A descriptor finds its directory again also when the path to it was relative or its name is not UTF-8.
class DirectoryPlace {
public:
    DirectoryPlace() = default;
    explicit DirectoryPlace(const char* path)
        : descriptor(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}
    DirectoryPlace(const DirectoryPlace&) = delete;
    DirectoryPlace& operator=(const DirectoryPlace&) = delete;
    ~DirectoryPlace() {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    bool enter() const { return descriptor >= 0 && ::fchdir(descriptor) == 0; }

private:
    int descriptor = -1;
};

} // namespace

struct SKAR::Directory {
    explicit Directory(const std::string& path) : before("."), opened(path.c_str()) {}

    DirectoryPlace before;
    DirectoryPlace opened;
    std::unique_ptr<DIR, CloseSearch> search;
    bool started = false;
};

SKAR::Directory* opendir(const wchar_t* path) {
    const std::string native = skar::platform::nativePath(path);
    if (enumerationOpen || native.empty()) {
        return nullptr;
    }
    const std::wstring workingDirectory = skar::platform::currentDirectory();
    if (workingDirectory.empty() || workingDirectory.size() > longestWorkingDirectory) {
        return nullptr;
    }
    std::unique_ptr<SKAR::Directory> directory(new (std::nothrow) SKAR::Directory(native));
    if (!directory || !directory->opened.enter()) {
        return nullptr;
    }
    enumerationOpen = true;
    return directory.release();
}

SKAR::DirectoryEntry* readdir(SKAR::Directory* directory) {
    if (directory == nullptr) {
        return nullptr;
    }
    if (!directory->started) {
        directory->started = true;
        directory->search.reset(::opendir("."));
    }
    const dirent* found = directory->search ? ::readdir(directory->search.get()) : nullptr;
    if (found == nullptr) {
        directory->search.reset();
        return nullptr;
    }
    const std::wstring name = skar::platform::wideName(found->d_name);
    const std::size_t length = std::min(name.size(), std::size(sharedEntry.d_name) - 1);
    std::wmemcpy(sharedEntry.d_name, name.c_str(), length);
    sharedEntry.d_name[length] = L'\0';
    return &sharedEntry;
}

void rewinddir(SKAR::Directory* directory) {
    if (directory != nullptr) {
        directory->search.reset();
        directory->started = false;
        directory->opened.enter();
    }
}

int closedir(SKAR::Directory* directory) {
    if (directory == nullptr) {
        return -1;
    }
    const std::unique_ptr<SKAR::Directory> ended(directory);
    enumerationOpen = false;
    return ended->before.enter() ? 0 : -1;
}
