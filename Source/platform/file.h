#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// The file operations of the library on wide paths. A store path may use the backslash or the slash; it becomes
// the platform's own form here and nowhere else. Every stream that the library opens comes from openFile, so
// that a test can put a backend behind all of them.
namespace skar::platform {

// The last-error word of the calling thread, in the numbers of the store's platform.
// 0 at the start of a thread. Set by the operations below when they fail; a creating open that succeeds sets 0
// (made) or 183 (existed before); other successes leave it alone.
enum LastError : std::uint32_t {
    errorNone = 0,
    errorFileNotFound = 2,
    errorPathNotFound = 3,
    errorTooManyOpenFiles = 4,
    errorAccessDenied = 5,
    errorNotEnoughMemory = 8,
    errorAlreadyExists = 183,
};
std::uint32_t lastError() noexcept;
void setLastError(std::uint32_t code) noexcept;
// The last error that an errno value stands for; the one table of the library.
std::uint32_t lastErrorFromErrno(int error) noexcept;
// A readable text for a last-error number, as a log line shows it.
std::wstring lastErrorText(std::uint32_t code);

// Native form of a store path: separators turned, characters as UTF-8.
std::string nativePath(const wchar_t* path);

// What stands behind openFile. The default opens real files; a test's backend may give streams of its own
// (fopencookie), in memory, failing or recording. `path` is native. Null with errno set on failure.
class FileBackend {
public:
    virtual ~FileBackend() = default;
    virtual std::FILE* open(const std::string& path, const char* mode) = 0;
};
// Puts a backend behind openFile, null for the real one. Returns the one before. Not for use while another
// thread opens files.
FileBackend* setFileBackend(FileBackend* backend) noexcept;

// Opens in a stdio mode ("rb", "rb+", "wb", ...). Null on failure, with errno and the last error set.
std::FILE* openFile(const wchar_t* path, const char* mode);
std::FILE* reopenFile(const wchar_t* path, const char* mode, std::FILE* stream);

struct FileStatus {
    bool directory = false;
    std::int64_t size = 0;
};
// All of these return true on success; on failure errno and the last error are set.
bool pathAccessible(const wchar_t* path);
bool fileStatus(const wchar_t* path, FileStatus& status);
bool removeFile(const wchar_t* path);
// Fails, and keeps both files, when the target exists.
bool renameFile(const wchar_t* from, const wchar_t* to);
bool makeDirectory(const wchar_t* path);
bool removeDirectory(const wchar_t* path);

} // namespace skar::platform
