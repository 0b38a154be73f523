#pragma once

#include "platform/file.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace skar::tests {

// A file system in memory that fails on command, writes down every change and knows who left a stream open.
// It stands behind platform::openFile and its neighbours from construction to destruction.
//
//     FaultBackend disk;
//     disk.put("/survey/line/Gyro", bytes);              directories come by themselves
//     disk.failAt(3, ENOSPC);                            the third operation of any kind, once
//     disk.failAt(Op::write, 1, EIO, Repeat::forever);   every write from the first on
//     ...                                                work through the library
//     EXPECT_EQ(0, disk.openStreams());
//
// For "an error at every n-th operation": run once and ask operations(), then run again with failAt(n, ...)
// for each n up to that number, each time on a backend of its own.
//
// For "killed after the k-th change": startJournal(), work, then for each k up to journal().size() look at
// stateAfter(k), for instance on another backend filled by setFiles().
//
// stdio reads and writes in blocks of its own: one operation here is a call that would reach the system.
enum class Op {
    open,
    read,
    write,
    seek,
    close,
    status,
    remove,
    rename,
    makeDirectory,
    removeDirectory,
    list
};
enum class Repeat { once, forever };

// One change of what is on disk. A write has its offset and bytes, a rename its new path in `bytes`.
struct Change {
    enum class Kind { create, truncate, write, remove, rename, makeDirectory, removeDirectory };
    Kind kind;
    std::string path;
    std::size_t offset = 0;
    std::string bytes;
};

// Native path -> contents.
using Files = std::map<std::string, std::string>;

class FaultBackend : public platform::FileBackend {
public:
    FaultBackend();
    ~FaultBackend() override;
    FaultBackend(const FaultBackend&) = delete;
    FaultBackend& operator=(const FaultBackend&) = delete;

    // What is on disk; none of these counts as an operation or goes into the journal.
    void put(const std::string& path, std::string_view bytes);
    bool has(const std::string& path) const;
    // Empty for a file that is not there.
    std::string bytes(const std::string& path) const;
    Files files() const;
    // Replaces everything on disk.
    void setFiles(const Files& files);
    // Takes in the files below a directory of the real file system, under the same paths.
    void load(const std::string& realDirectory);

    // Counting starts at 1 with the first operation after construction or resetCounts().
    void failAt(std::size_t n, int error, Repeat repeat = Repeat::once);
    void failAt(Op kind, std::size_t n, int error, Repeat repeat = Repeat::once);
    // The disk takes this many more bytes, then ENOSPC; the write that reaches the limit is cut there.
    void noSpaceAfter(std::size_t byteCount);
    // No call moves more than this many bytes. stdio goes on after a short read and reports a short write.
    void shortReads(std::size_t most);
    void shortWrites(std::size_t most);
    // Forgets faults and limits, not counts.
    void clearFaults();
    void resetCounts();

    std::size_t operations() const;
    std::size_t operations(Op kind) const;
    int openStreams() const;

    void startJournal();
    const std::vector<Change>& journal() const;
    // What was on disk after the first `changes` changes since startJournal(), and, for a torn write, the
    // first `tornBytes` bytes of the next one if that is a write.
    Files stateAfter(std::size_t changes, std::size_t tornBytes = 0) const;

    std::FILE* open(const std::string& path, const char* mode, bool& existed) override;
    std::FILE* openOwn(const std::string& path) override;
    bool status(const std::string& path, platform::FileStatus& status) override;
    // There are no links on this disk.
    std::string linkEnd(const std::string& path) override { return path; }
    bool remove(const std::string& path) override;
    bool rename(const std::string& from, const std::string& to) override;
    bool replace(const std::string& from, const std::string& to) override;
    bool makeDirectory(const std::string& path) override;
    bool removeDirectory(const std::string& path) override;
    bool list(const std::string& path, std::vector<platform::DirectoryEntry>& entries) override;

    struct State;

private:
    bool move(const std::string& from, const std::string& to);
    std::shared_ptr<State> state;
    platform::FileBackend* before;
};

} // namespace skar::tests
