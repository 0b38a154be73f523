#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// The file operations of the library on wide paths. A store path may use the backslash or the slash; it
// becomes the platform's own form here and nowhere else. Every stream that the library opens comes from
// openFile, so that a test can put a backend behind all of them.
namespace skar::platform {

// The last-error word of the calling thread, in the numbers of the store's platform.
// 0 at the start of a thread. Set by the operations below when they fail; a creating open that succeeds sets
// 0 (made) or 183 (existed before); other successes leave it alone.
enum LastError : std::uint32_t {
    errorNone = 0,
    errorFileNotFound = 2,
    errorPathNotFound = 3,
    errorTooManyOpenFiles = 4,
    errorAccessDenied = 5,
    errorInvalidHandle = 6,
    errorNotEnoughMemory = 8,
    errorNotSameDevice = 17,
    errorGeneralFailure = 31,
    errorSharingViolation = 32,
    errorInvalidParameter = 87,
    errorInvalidName = 123,
    errorDirectoryNotEmpty = 145,
    errorAlreadyExists = 183,
    errorNameTooLong = 206,
    errorFileTooLarge = 223,
    errorDevice = 1117,
    errorCannotResolveName = 1921,
};
std::uint32_t lastError() noexcept;
void setLastError(std::uint32_t code) noexcept;
// The last error that an errno value stands for; the one table of the library.
std::uint32_t lastErrorFromErrno(int error) noexcept;
// A readable text for a last-error number, as a log line shows it.
std::wstring lastErrorText(std::uint32_t code);

// Native form of a store path: separators turned, characters as UTF-8. Empty, with errno set, for a null path
// and for one with a character that is no Unicode scalar value.
std::string nativePath(const wchar_t* path);
// The wide form of a native name; bytes that are not UTF-8 show as U+FFFD. Separators stay as they are.
std::wstring wideName(const std::string& native);

struct FileStatus {
    bool directory = false;
    // A file that holds bytes: no directory, device or pipe.
    bool regular = false;
    std::int64_t size = 0;
    // When it was written last, in nanoseconds since 1970 as far as the file system keeps them.
    std::int64_t modified = 0;
    // Two paths with equal device and number lead to one file.
    std::uint64_t device = 0;
    std::uint64_t number = 0;
};
struct DirectoryEntry {
    std::string name;
    // A link to a directory is no directory here, so that nothing walks out of a tree.
    bool directory = false;
};

// What stands behind the operations below. The class itself works on real files; a test's backend may give
// streams of its own (fopencookie), in memory, failing or recording. Paths are native. A failure is null or
// false, with errno set.
class FileBackend {
public:
    virtual ~FileBackend() = default;
    // `existed` tells after a success whether the file was there before.
    virtual std::FILE* open(const std::string& path, const char* mode, bool& existed);
    virtual std::FILE* openOwn(const std::string& path);
    virtual bool status(const std::string& path, FileStatus& status);
    virtual std::string linkEnd(const std::string& path);
    virtual bool remove(const std::string& path);
    virtual bool rename(const std::string& from, const std::string& to);
    // Puts the file in the place of one that may be there, whose permissions it gets.
    virtual bool replace(const std::string& from, const std::string& to);
    virtual bool makeDirectory(const std::string& path);
    virtual bool removeDirectory(const std::string& path);
    // The names in a directory in byte order, without "." and "..".
    virtual bool list(const std::string& path, std::vector<DirectoryEntry>& entries);
};
// Puts a backend behind the operations, null for the real one. Returns the one before. Not for use while
// another thread uses files.
FileBackend* setFileBackend(FileBackend* backend) noexcept;

// Opens in a stdio mode ("rb", "rb+", "wb", ...), closed in a child process that runs another program. A
// directory does not open in any mode. Null on failure, with errno and the last error set.
std::FILE* openFile(const wchar_t* path, const char* mode);
// Closes the stream, if there is one, and opens the path. The stream given is gone whatever comes back.
std::FILE* reopenFile(const wchar_t* path, const char* mode, std::FILE* stream);

// Opens a file of the process's own for writing anew, in a directory that others may write to as well: a link
// under the name is not followed, and a file of another user or with further names is left as it is. Nobody
// else may read it. Null on failure, with errno and the last error set.
std::FILE* openOwnFile(const wchar_t* path);

// Reads a whole file; one of more than `most` bytes fails with EFBIG.
bool readFile(const wchar_t* path, std::size_t most, std::string& bytes);

// All of these return true on success; on failure errno and the last error are set.
bool pathAccessible(const wchar_t* path);
bool fileStatus(const wchar_t* path, FileStatus& status);
// Where a symbolic link leads in the end; the path itself if it is none, or leads nowhere.
std::wstring linkEnd(const std::wstring& path);
bool removeFile(const wchar_t* path);
// Fails, and keeps both files, when the target exists.
bool renameFile(const wchar_t* from, const wchar_t* to);
// Puts a file in the place of another in one step: whoever opens the name sees the one or the other, whole.
bool replaceFile(const wchar_t* from, const wchar_t* to);
// Makes or replaces `to`; a file is not copied onto itself, and a copy that fails on the way leaves no part
// of a new file behind.
bool copyFile(const wchar_t* from, const wchar_t* to);
bool makeDirectory(const wchar_t* path);
bool removeDirectory(const wchar_t* path);
bool listDirectory(const wchar_t* path, std::vector<DirectoryEntry>& entries);
// Removes a directory with all in it, and stops at the first entry that does not go. A link is removed, never
// followed.
bool removeTree(const wchar_t* path);

int processNumber() noexcept;

// The working directory of the process in wide native form; empty on failure.
std::wstring currentDirectory();
bool changeDirectory(const wchar_t* path);

} // namespace skar::platform
