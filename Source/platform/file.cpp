#include "platform/file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace skar::platform {
namespace {

thread_local std::uint32_t lastErrorWord = errorNone;

FileBackend realFiles;
FileBackend* activeBackend = &realFiles;

struct ErrorRow {
    int error;
    std::uint32_t code;
};
constexpr ErrorRow errorRows[] = {
    {0, errorNone},
    {ENOENT, errorFileNotFound},
    {ENOTDIR, errorPathNotFound},
    {EMFILE, errorTooManyOpenFiles},
    {ENFILE, errorTooManyOpenFiles},
    {EACCES, errorAccessDenied},
    {EPERM, errorAccessDenied},
    {EROFS, errorAccessDenied},
    {EISDIR, errorAccessDenied},
    {EBADF, errorInvalidHandle},
    {ENOMEM, errorNotEnoughMemory},
    {ENOSPC, errorNotEnoughMemory},
    {EDQUOT, errorNotEnoughMemory},
    {EXDEV, errorNotSameDevice},
    {EBUSY, errorSharingViolation},
    {ETXTBSY, errorSharingViolation},
    {EINVAL, errorInvalidParameter},
    {EFAULT, errorInvalidParameter},
    {EILSEQ, errorInvalidName},
    {ENOTEMPTY, errorDirectoryNotEmpty},
    {EEXIST, errorAlreadyExists},
    {ENAMETOOLONG, errorNameTooLong},
    {EFBIG, errorFileTooLarge},
    {EIO, errorDevice},
    {ELOOP, errorCannotResolveName},
};

struct ErrorText {
    std::uint32_t code;
    const wchar_t* text;
};
constexpr ErrorText errorTexts[] = {
    {errorNone, L"There was no error."},
    {errorFileNotFound, L"The file does not exist."},
    {errorPathNotFound, L"A directory of the path does not exist."},
    {errorTooManyOpenFiles, L"Too many files are open."},
    {errorAccessDenied, L"Access is denied."},
    {errorInvalidHandle, L"The file is not open."},
    {errorNotEnoughMemory, L"There is not enough memory or disk space."},
    {errorNotSameDevice, L"The two paths are on different devices."},
    {errorGeneralFailure, L"The system could not do what was asked."},
    {errorSharingViolation, L"The file is in use."},
    {errorInvalidParameter, L"An argument is not valid."},
    {errorInvalidName, L"The path has a character that no file name can hold."},
    {errorDirectoryNotEmpty, L"The directory is not empty."},
    {errorAlreadyExists, L"The file exists already."},
    {errorNameTooLong, L"The path is too long."},
    {errorFileTooLarge, L"The file would become too large."},
    {errorDevice, L"The device reported an error."},
    {errorCannotResolveName, L"The path has too many links."},
};

void appendUtf8(std::string& out, std::uint32_t c) {
    auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

std::string parentOf(const std::string& path) {
    const auto end = path.find_last_not_of('/');
    const auto slash = end == std::string::npos ? end : path.find_last_of('/', end);
    if (slash == std::string::npos) {
        return ".";
    }
    const auto stem = path.find_last_not_of('/', slash);
    return stem == std::string::npos ? "/" : path.substr(0, stem + 1);
}

// The system tells a missing file and a missing directory above it by one errno, the last error by two
// numbers.
bool failed(const std::string& path) {
    const int error = errno;
    std::uint32_t code = lastErrorFromErrno(error);
    if (error == ENOENT && !path.empty()) {
        FileStatus parent;
        if (!activeBackend->status(parentOf(path), parent)) {
            code = errorPathNotFound;
        }
    }
    lastErrorWord = code;
    errno = error;
    return false;
}

// Runs an operation of the backend on the native form of a path.
template <class Operation>
bool onPath(const wchar_t* path, Operation operation) {
    const std::string native = nativePath(path);
    if (native.empty()) {
        return failed(native);
    }
    return operation(native) || failed(native);
}

struct OpenMode {
    int flags = 0;
    bool creates = false;
    bool valid = false;
};

OpenMode parseMode(const char* mode) {
    OpenMode result;
    if (mode == nullptr) {
        return result;
    }
    const bool update = std::strchr(mode, '+') != nullptr;
    switch (mode[0]) {
    case 'r':
        result.flags = update ? O_RDWR : O_RDONLY;
        break;
    case 'w':
        result.flags = (update ? O_RDWR : O_WRONLY) | O_TRUNC;
        result.creates = true;
        break;
    case 'a':
        result.flags = (update ? O_RDWR : O_WRONLY) | O_APPEND;
        result.creates = true;
        break;
    default:
        return result;
    }
    result.flags |= O_CLOEXEC | O_NOCTTY;
    result.valid = true;
    return result;
}

std::FILE* closeKeepingErrno(int descriptor) {
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return nullptr;
}

bool isDirectory(int descriptor) {
    struct stat info = {};
    return fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode);
}

bool removeTreeAt(const std::string& path) {
    std::vector<DirectoryEntry> entries;
    if (!activeBackend->list(path, entries)) {
        return failed(path);
    }
    for (const DirectoryEntry& entry : entries) {
        const std::string child = path + '/' + entry.name;
        if (entry.directory) {
            if (!removeTreeAt(child)) {
                return false;
            }
        } else if (!activeBackend->remove(child)) {
            return failed(child);
        }
    }
    return activeBackend->removeDirectory(path) || failed(path);
}

} // namespace

std::uint32_t lastError() noexcept {
    return lastErrorWord;
}

void setLastError(std::uint32_t code) noexcept {
    lastErrorWord = code;
}

std::uint32_t lastErrorFromErrno(int error) noexcept {
    const auto* row = std::find_if(std::begin(errorRows), std::end(errorRows),
                                   [error](const ErrorRow& r) { return r.error == error; });
    return row == std::end(errorRows) ? static_cast<std::uint32_t>(errorGeneralFailure) : row->code;
}

std::wstring lastErrorText(std::uint32_t code) {
    const auto* row = std::find_if(std::begin(errorTexts), std::end(errorTexts),
                                   [code](const ErrorText& r) { return r.code == code; });
    return row == std::end(errorTexts) ? L"System error " + std::to_wstring(code) + L"." : row->text;
}

std::string nativePath(const wchar_t* path) {
    if (path == nullptr) {
        errno = EINVAL;
        return {};
    }
    std::string native;
    for (const wchar_t* p = path; *p != L'\0'; ++p) {
        const auto c = static_cast<std::uint32_t>(*p);
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            errno = EILSEQ;
            return {};
        }
        appendUtf8(native, c == L'\\' ? L'/' : c);
    }
    if (native.empty()) {
        errno = ENOENT;
    }
    return native;
}

std::wstring wideName(const std::string& native) {
    static constexpr std::array<std::uint32_t, 4> smallest = {0, 0x80, 0x800, 0x10000};
    std::wstring wide;
    for (std::size_t i = 0; i < native.size();) {
        const auto lead = static_cast<unsigned char>(native[i++]);
        const std::size_t more = lead < 0x80 ? 0 : (lead & 0xE0) == 0xC0 ? 1 : (lead & 0xF0) == 0xE0 ? 2 : 3;
        std::uint32_t c = more == 0 ? lead : lead & (0x3Fu >> more);
        bool good = lead < 0x80 || (lead >= 0xC2 && lead <= 0xF4);
        std::size_t used = 0;
        while (good && used < more) {
            const std::size_t at = i + used;
            good = at < native.size() && (static_cast<unsigned char>(native[at]) & 0xC0) == 0x80;
            if (good) {
                c = (c << 6) | (static_cast<unsigned char>(native[at]) & 0x3Fu);
                ++used;
            }
        }
        good = good && c >= smallest[more] && c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
        wide.push_back(good ? static_cast<wchar_t>(c) : L'\uFFFD');
        if (good) {
            i += more;
        }
    }
    return wide;
}

std::FILE* FileBackend::open(const std::string& path, const char* mode, bool& existed) {
    const OpenMode how = parseMode(mode);
    if (!how.valid) {
        errno = EINVAL;
        return nullptr;
    }
    existed = !how.creates;
    int descriptor = ::open(path.c_str(), how.flags | (how.creates ? O_CREAT | O_EXCL : 0), 0666);
    if (descriptor < 0 && how.creates && errno == EEXIST) {
        existed = true;
        descriptor = ::open(path.c_str(), how.flags | O_CREAT, 0666);
    }
    if (descriptor < 0) {
        return nullptr;
    }
    if (isDirectory(descriptor)) {
        ::close(descriptor);
        errno = EISDIR;
        return nullptr;
    }
    std::FILE* stream = fdopen(descriptor, mode);
    return stream != nullptr ? stream : closeKeepingErrno(descriptor);
}

std::FILE* FileBackend::openOwn(const std::string& path) {
    constexpr int flags = O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW | O_NONBLOCK;
    constexpr mode_t ownerOnly = 0600;
    int descriptor = ::open(path.c_str(), flags | O_CREAT | O_EXCL, ownerOnly);
    if (descriptor < 0 && errno == EEXIST) {
        descriptor = ::open(path.c_str(), flags);
        struct stat info = {};
        if (descriptor >= 0 && (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode) ||
                                info.st_uid != ::geteuid() || info.st_nlink != 1)) {
            ::close(descriptor);
            errno = EACCES;
            return nullptr;
        }
        if (descriptor >= 0 && ::ftruncate(descriptor, 0) != 0) {
            return closeKeepingErrno(descriptor);
        }
    }
    if (descriptor < 0) {
        return nullptr;
    }
    std::FILE* stream = fdopen(descriptor, "wb");
    return stream != nullptr ? stream : closeKeepingErrno(descriptor);
}

bool FileBackend::status(const std::string& path, FileStatus& status) {
    struct stat info = {};
    if (::stat(path.c_str(), &info) != 0) {
        return false;
    }
    status.directory = S_ISDIR(info.st_mode);
    status.regular = S_ISREG(info.st_mode);
    status.size = info.st_size;
    status.modified = std::int64_t{info.st_mtim.tv_sec} * 1000000000 + info.st_mtim.tv_nsec;
    status.device = info.st_dev;
    status.number = info.st_ino;
    return true;
}

std::string FileBackend::linkEnd(const std::string& path) {
    struct stat info = {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
        return path;
    }
    const std::unique_ptr<char, void (*)(void*)> end(::realpath(path.c_str(), nullptr), std::free);
    return end == nullptr ? path : end.get();
}

bool FileBackend::remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

bool FileBackend::rename(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // File systems without the exclusive rename: a hard link never replaces anything either.
    if (::link(from.c_str(), to.c_str()) == 0) {
        return ::unlink(from.c_str()) == 0;
    }
    if (errno == EEXIST || errno == ENOENT) {
        return false;
    }
    struct stat info = {};
    if (::lstat(to.c_str(), &info) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

bool FileBackend::replace(const std::string& from, const std::string& to) {
    struct stat info = {};
    if (::stat(to.c_str(), &info) == 0) {
        // A file system without permissions is no reason not to replace.
        static_cast<void>(::chmod(from.c_str(), info.st_mode & 07777));
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

bool FileBackend::makeDirectory(const std::string& path) {
    return ::mkdir(path.c_str(), 0777) == 0;
}

bool FileBackend::removeDirectory(const std::string& path) {
    return ::rmdir(path.c_str()) == 0;
}

bool FileBackend::list(const std::string& path, std::vector<DirectoryEntry>& entries) {
    entries.clear();
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path.c_str()), ::closedir);
    if (!directory) {
        return false;
    }
    errno = 0;
    while (const dirent* found = ::readdir(directory.get())) {
        const std::string name = found->d_name;
        if (name != "." && name != "..") {
            struct stat info = {};
            const bool known =
                ::fstatat(::dirfd(directory.get()), found->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0;
            entries.push_back({name, known && S_ISDIR(info.st_mode)});
        }
        errno = 0;
    }
    std::sort(entries.begin(), entries.end(),
              [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
    return errno == 0;
}

FileBackend* setFileBackend(FileBackend* backend) noexcept {
    FileBackend* before = activeBackend;
    activeBackend = backend == nullptr ? &realFiles : backend;
    return before == &realFiles ? nullptr : before;
}

std::FILE* openFile(const wchar_t* path, const char* mode) {
    std::FILE* stream = nullptr;
    bool existed = false;
    onPath(path, [&](const std::string& native) {
        stream = activeBackend->open(native, mode, existed);
        return stream != nullptr;
    });
    if (stream != nullptr && parseMode(mode).creates) {
        lastErrorWord = existed ? errorAlreadyExists : errorNone;
    }
    return stream;
}

std::FILE* reopenFile(const wchar_t* path, const char* mode, std::FILE* stream) {
    if (stream != nullptr) {
        std::fclose(stream);
    }
    return openFile(path, mode);
}

std::FILE* openOwnFile(const wchar_t* path) {
    std::FILE* stream = nullptr;
    onPath(path, [&](const std::string& native) {
        stream = activeBackend->openOwn(native);
        return stream != nullptr;
    });
    return stream;
}

bool readFile(const wchar_t* path, std::size_t most, std::string& bytes) {
    bytes.clear();
    std::FILE* stream = openFile(path, "rb");
    if (stream == nullptr) {
        return false;
    }
    std::array<char, 65536> block;
    errno = 0;
    for (std::size_t n;
         bytes.size() <= most && (n = std::fread(block.data(), 1, block.size(), stream)) > 0;) {
        bytes.append(block.data(), n);
    }
    const int error = bytes.size() > most ? EFBIG : std::ferror(stream) != 0 ? errno : 0;
    std::fclose(stream);
    if (error != 0) {
        bytes.clear();
        errno = error;
        return failed({});
    }
    return true;
}

bool pathAccessible(const wchar_t* path) {
    FileStatus ignored;
    return fileStatus(path, ignored);
}

bool fileStatus(const wchar_t* path, FileStatus& status) {
    return onPath(path,
                  [&status](const std::string& native) { return activeBackend->status(native, status); });
}

std::wstring linkEnd(const std::wstring& path) {
    const std::string native = nativePath(path.c_str());
    const std::string end = native.empty() ? native : activeBackend->linkEnd(native);
    return end == native ? path : wideName(end.c_str());
}

bool removeFile(const wchar_t* path) {
    return onPath(path, [](const std::string& native) { return activeBackend->remove(native); });
}

namespace {

using Rename = bool (FileBackend::*)(const std::string&, const std::string&);

bool renameBy(Rename rename, const wchar_t* from, const wchar_t* to) {
    const std::string source = nativePath(from);
    const std::string target = source.empty() ? source : nativePath(to);
    if (target.empty()) {
        return failed(target);
    }
    if ((activeBackend->*rename)(source, target)) {
        return true;
    }
    const int error = errno;
    FileStatus ignored;
    const bool sourceThere = activeBackend->status(source, ignored);
    errno = error;
    return failed(sourceThere ? target : source);
}

} // namespace

bool renameFile(const wchar_t* from, const wchar_t* to) {
    return renameBy(&FileBackend::rename, from, to);
}

bool replaceFile(const wchar_t* from, const wchar_t* to) {
    return renameBy(&FileBackend::replace, from, to);
}

bool copyFile(const wchar_t* from, const wchar_t* to) {
    FileStatus one;
    FileStatus other;
    const bool overwrites = fileStatus(from, one) && fileStatus(to, other);
    if (overwrites && one.device == other.device && one.number == other.number) {
        errno = EBUSY;
        return failed({});
    }
    const auto closeQuietly = [](std::FILE* f) { std::fclose(f); };
    using Stream = std::unique_ptr<std::FILE, decltype(closeQuietly)>;
    const Stream source(openFile(from, "rb"), closeQuietly);
    if (!source) {
        return false;
    }
    std::FILE* target = openFile(to, "wb");
    if (target == nullptr) {
        return false;
    }
    std::array<char, 65536> block;
    bool good = true;
    errno = 0;
    for (std::size_t n; good && (n = std::fread(block.data(), 1, block.size(), source.get())) > 0;) {
        good = std::fwrite(block.data(), 1, n, target) == n;
    }
    good = good && std::ferror(source.get()) == 0;
    int error = errno;
    if (std::fclose(target) != 0 && good) {
        good = false;
        error = errno;
    }
    if (!good) {
        removeFile(to);
        errno = error;
        return failed({});
    }
    return true;
}

bool makeDirectory(const wchar_t* path) {
    return onPath(path, [](const std::string& native) { return activeBackend->makeDirectory(native); });
}

bool removeDirectory(const wchar_t* path) {
    return onPath(path, [](const std::string& native) { return activeBackend->removeDirectory(native); });
}

bool listDirectory(const wchar_t* path, std::vector<DirectoryEntry>& entries) {
    return onPath(path,
                  [&entries](const std::string& native) { return activeBackend->list(native, entries); });
}

bool removeTree(const wchar_t* path) {
    const std::string native = nativePath(path);
    return native.empty() ? failed(native) : removeTreeAt(native);
}

int processNumber() noexcept {
    return ::getpid();
}

std::wstring currentDirectory() {
    const std::unique_ptr<char, void (*)(void*)> directory(::getcwd(nullptr, 0), std::free);
    if (!directory) {
        failed({});
        return {};
    }
    return wideName(directory.get());
}

bool changeDirectory(const wchar_t* path) {
    return onPath(path, [](const std::string& native) { return ::chdir(native.c_str()) == 0; });
}

} // namespace skar::platform
