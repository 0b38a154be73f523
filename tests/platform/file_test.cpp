#include "platform/file.h"
#include "support/fault_backend.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace skar::platform;
using skar::tests::FaultBackend;
using skar::tests::Files;
using skar::tests::Op;
using skar::tests::Repeat;
using skar::tests::TemporaryDirectory;

namespace {

std::string slurp(std::FILE* stream) {
    std::string result;
    for (int c; (c = std::fgetc(stream)) != EOF;) {
        result.push_back(static_cast<char>(c));
    }
    return result;
}

TEST(NativePath, BothSeparatorsBecomeTheNativeOne) {
    EXPECT_EQ("a/b/c", nativePath(L"a\\b/c"));
}

TEST(NativePath, CharactersAreUtf8) {
    EXPECT_EQ("\x7F|\xC2\x80|\xDF\xBF|\xE0\xA0\x80|\xEF\xBF\xBF|\xF0\x90\x80\x80|\xF4\x8F\xBF\xBF",
              nativePath(L"\x7F|\x80|\u07FF|\u0800|\uFFFF|\U00010000|\U0010FFFF"));
}

TEST(NativePath, SurrogatesAndOutOfRangeCharactersAreRefused) {
    for (const wchar_t bad : {wchar_t(0xD800), wchar_t(0xDFFF), wchar_t(0x110000), wchar_t(-1)}) {
        const wchar_t path[] = {L'a', bad, L'b', 0};
        errno = 0;
        EXPECT_EQ("", nativePath(path));
        EXPECT_EQ(EILSEQ, errno);
        EXPECT_EQ(nullptr, openFile(path, "wb"));
        EXPECT_EQ(errorInvalidName, lastError());
        EXPECT_FALSE(pathAccessible(path));
    }
}

TEST(NativePath, NullAndEmptyPathsFail) {
    EXPECT_EQ(nullptr, openFile(nullptr, "rb"));
    EXPECT_EQ(errorInvalidParameter, lastError());
    EXPECT_EQ(nullptr, openFile(L"", "rb"));
    EXPECT_EQ(errorFileNotFound, lastError());
}

TEST(WideName, GoesBackToTheSameBytes) {
    const std::string name = "\x7F-\xC2\x80-\xE0\xA0\x80-\xF0\x90\x80\x80-\xF4\x8F\xBF\xBF";
    EXPECT_EQ(name, nativePath(wideName(name).c_str()));
}

TEST(WideName, BytesThatAreNotUtf8ShowAsReplacement) {
    EXPECT_EQ(L"a\uFFFD.", wideName("a\xFF."));
    EXPECT_EQ(L"\uFFFD", wideName("\xE2"));
    EXPECT_EQ(L"\uFFFD\uFFFD", wideName("\xC0\x80"));
    EXPECT_EQ(L"\uFFFD\uFFFD\uFFFD", wideName("\xED\xA0\x80"));
    EXPECT_EQ(L"\uFFFD\uFFFD\uFFFD\uFFFD", wideName("\xF4\x90\x80\x80"));
}

TEST(LastError, IsZeroAtTheStartOfAThread) {
    setLastError(errorAccessDenied);
    std::uint32_t seen = 99;
    std::thread([&seen] { seen = lastError(); }).join();
    EXPECT_EQ(0u, seen);
    EXPECT_EQ(errorAccessDenied, lastError());
}

TEST(LastError, EachErrnoHasItsNumber) {
    const std::pair<int, std::uint32_t> rows[] = {{0, 0},        {ENOENT, 2},   {ENOTDIR, 3}, {EMFILE, 4},
                                                  {ENFILE, 4},   {EACCES, 5},   {EPERM, 5},   {EROFS, 5},
                                                  {EISDIR, 5},   {ENOMEM, 8},   {ENOSPC, 8},  {EDQUOT, 8},
                                                  {EEXIST, 183}, {EILSEQ, 123}, {-12345, 31}};
    for (const auto& [error, code] : rows) {
        EXPECT_EQ(code, lastErrorFromErrno(error)) << error;
    }
}

TEST(LastError, EveryNumberHasAText) {
    EXPECT_EQ(L"Access is denied.", lastErrorText(5));
    EXPECT_EQ(L"System error 4711.", lastErrorText(4711));
}

TEST(OpenFile, ACreatingOpenTellsANewFileFromAnOldOne) {
    const TemporaryDirectory dir;
    for (const char* mode : {"wb", "ab+"}) {
        const std::wstring path = dir.wide(mode);
        setLastError(errorAccessDenied);
        std::fclose(openFile(path.c_str(), mode));
        EXPECT_EQ(errorNone, lastError());
        std::fclose(openFile(path.c_str(), mode));
        EXPECT_EQ(errorAlreadyExists, lastError());
    }
}

TEST(OpenFile, ASuccessfulReadingOpenLeavesTheLastErrorAlone) {
    const TemporaryDirectory dir;
    dir.write("f", "abc");
    setLastError(errorTooManyOpenFiles);
    std::FILE* f = openFile(dir.wide("f").c_str(), "rb");
    ASSERT_NE(nullptr, f);
    EXPECT_EQ("abc", slurp(f));
    std::fclose(f);
    EXPECT_EQ(errorTooManyOpenFiles, lastError());
}

TEST(OpenFile, AMissingFileAndAMissingDirectoryDiffer) {
    const TemporaryDirectory dir;
    EXPECT_EQ(nullptr, openFile(dir.wide("none").c_str(), "rb"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(errorFileNotFound, lastError());
    EXPECT_EQ(nullptr, openFile(dir.wide("none/f").c_str(), "rb"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_EQ(errorPathNotFound, lastError());
    dir.write("file", "");
    EXPECT_EQ(nullptr, openFile(dir.wide("file/f").c_str(), "wb"));
    EXPECT_EQ(errorPathNotFound, lastError());
}

TEST(OpenFile, ADirectoryDoesNotOpen) {
    const TemporaryDirectory dir;
    for (const char* mode : {"rb", "rb+", "wb", "ab"}) {
        EXPECT_EQ(nullptr, openFile(dir.wide().c_str(), mode)) << mode;
        EXPECT_EQ(errorAccessDenied, lastError()) << mode;
    }
}

TEST(OpenFile, AnUnknownModeFails) {
    const TemporaryDirectory dir;
    for (const char* mode : {"", "q", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(nullptr, openFile(dir.wide("f").c_str(), mode));
        EXPECT_EQ(EINVAL, errno);
    }
    EXPECT_FALSE(dir.has("f"));
}

TEST(OpenFile, StreamsAreClosedInAChildProgram) {
    const TemporaryDirectory dir;
    std::FILE* f = openFile(dir.wide("f").c_str(), "wb");
    ASSERT_NE(nullptr, f);
    EXPECT_NE(0, ::fcntl(::fileno(f), F_GETFD) & FD_CLOEXEC);
    std::fclose(f);
}

TEST(OpenFile, TheBackslashSeparatesAndNamesKeepTheirCharacters) {
    const TemporaryDirectory dir;
    ASSERT_TRUE(makeDirectory((dir.wide() + L"\\\u00C4\U0001F30A").c_str()));
    std::fclose(openFile((dir.wide() + L"\\\u00C4\U0001F30A\\\u6D77").c_str(), "wb"));
    EXPECT_TRUE(dir.has("\xC3\x84\xF0\x9F\x8C\x8A/\xE6\xB5\xB7"));
}

TEST(OpenFile, AFileWithoutRightsIsAccessDenied) {
    // The administrator may read everything, so there the denial is made.
    if (::geteuid() == 0) {
        FaultBackend disk;
        disk.failAt(Op::open, 1, EACCES);
        EXPECT_EQ(nullptr, openFile(L"/f", "rb"));
    } else {
        const TemporaryDirectory dir;
        dir.write("f", "");
        ::chmod((dir / "f").c_str(), 0);
        EXPECT_EQ(nullptr, openFile(dir.wide("f").c_str(), "rb"));
    }
    EXPECT_EQ(errorAccessDenied, lastError());
}

TEST(ReopenFile, ClosesTheStreamAlsoWhenTheNewPathDoesNotOpen) {
    FaultBackend disk;
    disk.put("/one", "1");
    disk.put("/two", "2");
    std::FILE* f = reopenFile(L"\\two", "rb", openFile(L"\\one", "rb"));
    ASSERT_NE(nullptr, f);
    EXPECT_EQ("2", slurp(f));
    EXPECT_EQ(1, disk.openStreams());
    EXPECT_EQ(nullptr, reopenFile(L"\\three", "rb", f));
    EXPECT_EQ(0, disk.openStreams());
    EXPECT_EQ(errorFileNotFound, lastError());
}

TEST(ReadFile, ReadsWholeFilesUpToTheLimit) {
    FaultBackend disk;
    const std::string bytes(100000, 'x');
    disk.put("/f", bytes);
    std::string content;
    EXPECT_TRUE(readFile(L"/f", bytes.size(), content));
    EXPECT_EQ(bytes, content);
    EXPECT_FALSE(readFile(L"/f", bytes.size() - 1, content));
    EXPECT_EQ(errorFileTooLarge, lastError());
    EXPECT_EQ("", content);
    disk.failAt(Op::read, disk.operations(Op::read) + 2, EIO);
    EXPECT_FALSE(readFile(L"/f", bytes.size(), content));
    EXPECT_EQ(errorDevice, lastError());
    EXPECT_FALSE(readFile(L"/none", 1, content));
    EXPECT_EQ(0, disk.openStreams());
}

TEST(FileStatus, TellsFilesFromDirectoriesAndTheSize) {
    const TemporaryDirectory dir;
    dir.write("f", "12345");
    FileStatus status;
    ASSERT_TRUE(fileStatus(dir.wide("f").c_str(), status));
    EXPECT_FALSE(status.directory);
    EXPECT_EQ(5, status.size);
    ASSERT_TRUE(fileStatus(dir.wide().c_str(), status));
    EXPECT_TRUE(status.directory);
    EXPECT_FALSE(fileStatus(dir.wide("none").c_str(), status));
    EXPECT_TRUE(pathAccessible(dir.wide("f").c_str()));
    EXPECT_FALSE(pathAccessible(dir.wide("none").c_str()));
}

TEST(RenameFile, KeepsBothFilesWhenTheTargetExists) {
    const TemporaryDirectory dir;
    dir.write("a", "A");
    dir.write("b", "B");
    EXPECT_FALSE(renameFile(dir.wide("a").c_str(), dir.wide("b").c_str()));
    EXPECT_EQ(EEXIST, errno);
    EXPECT_EQ(errorAlreadyExists, lastError());
    EXPECT_EQ("A", dir.read("a"));
    EXPECT_EQ("B", dir.read("b"));
    EXPECT_TRUE(renameFile(dir.wide("a").c_str(), dir.wide("c").c_str()));
    EXPECT_FALSE(dir.has("a"));
    EXPECT_EQ("A", dir.read("c"));
}

TEST(RenameFile, TellsAMissingSourceFromAMissingTargetDirectory) {
    const TemporaryDirectory dir;
    dir.write("a", "A");
    EXPECT_FALSE(renameFile(dir.wide("none").c_str(), dir.wide("b").c_str()));
    EXPECT_EQ(errorFileNotFound, lastError());
    EXPECT_FALSE(renameFile(dir.wide("a").c_str(), dir.wide("none/b").c_str()));
    EXPECT_EQ(errorPathNotFound, lastError());
    EXPECT_FALSE(renameFile(dir.wide("a").c_str(), nullptr));
    EXPECT_EQ("A", dir.read("a"));
}

TEST(CopyFile, CopiesTheBytesAndReplacesTheTarget) {
    const TemporaryDirectory dir;
    const std::string bytes(200000, 'x');
    dir.write("a", bytes);
    dir.write("b", "old");
    ASSERT_TRUE(copyFile(dir.wide("a").c_str(), dir.wide("b").c_str()));
    EXPECT_EQ(bytes, dir.read("b"));
}

TEST(CopyFile, AFileIsNotCopiedOntoItself) {
    const TemporaryDirectory dir;
    dir.write("a", "A");
    ASSERT_EQ(0, ::symlink("a", (dir / "link").c_str()));
    EXPECT_FALSE(copyFile(dir.wide("a").c_str(), dir.wide("link").c_str()));
    EXPECT_EQ("A", dir.read("a"));
}

TEST(CopyFile, AFullDiskFailsWithoutAPartialFile) {
    FaultBackend disk;
    disk.put("/a", std::string(100000, 'x'));
    disk.noSpaceAfter(50000);
    EXPECT_FALSE(copyFile(L"/a", L"/b"));
    EXPECT_EQ(errorNotEnoughMemory, lastError());
    EXPECT_FALSE(disk.has("/b"));
    EXPECT_EQ(0, disk.openStreams());
}

TEST(CopyFile, AFailureAtAnyOperationLeavesAWholeCopyOrNone) {
    const std::string bytes(100000, 'x');
    std::size_t operations = 0;
    {
        FaultBackend disk;
        disk.put("/a", bytes);
        ASSERT_TRUE(copyFile(L"/a", L"/b"));
        operations = disk.operations();
    }
    for (std::size_t n = 1; n <= operations; ++n) {
        FaultBackend disk;
        disk.put("/a", bytes);
        disk.failAt(n, EIO);
        const bool copied = copyFile(L"/a", L"/b");
        EXPECT_EQ(copied ? bytes : "", disk.bytes("/b")) << "operation " << n;
        EXPECT_EQ(copied, disk.has("/b")) << "operation " << n;
        EXPECT_EQ(0, disk.openStreams()) << "operation " << n;
    }
}

TEST(RemoveFile, RemovesFilesButNoDirectories) {
    const TemporaryDirectory dir;
    dir.write("f", "");
    EXPECT_TRUE(removeFile(dir.wide("f").c_str()));
    EXPECT_FALSE(dir.has("f"));
    EXPECT_FALSE(removeFile(dir.wide("f").c_str()));
    EXPECT_EQ(errorFileNotFound, lastError());
    EXPECT_FALSE(removeFile(dir.wide().c_str()));
    EXPECT_TRUE(dir.has("."));
}

TEST(Directories, AreMadeListedAndRemoved) {
    const TemporaryDirectory dir;
    EXPECT_TRUE(makeDirectory(dir.wide("d").c_str()));
    EXPECT_FALSE(makeDirectory(dir.wide("d").c_str()));
    EXPECT_EQ(errorAlreadyExists, lastError());
    EXPECT_FALSE(makeDirectory(dir.wide("none/d").c_str()));
    EXPECT_EQ(errorPathNotFound, lastError());
    dir.write("d/b", "");
    dir.write("d/a/x", "");
    ASSERT_EQ(0, ::symlink("a", (dir / "d/l").c_str()));
    std::vector<DirectoryEntry> entries;
    ASSERT_TRUE(listDirectory(dir.wide("d").c_str(), entries));
    ASSERT_EQ(3u, entries.size());
    EXPECT_EQ("a", entries[0].name);
    EXPECT_TRUE(entries[0].directory);
    EXPECT_EQ("b", entries[1].name);
    EXPECT_FALSE(entries[1].directory);
    EXPECT_EQ("l", entries[2].name);
    EXPECT_FALSE(entries[2].directory);
    EXPECT_FALSE(removeDirectory(dir.wide("d").c_str()));
    EXPECT_EQ(errorDirectoryNotEmpty, lastError());
    EXPECT_FALSE(listDirectory(dir.wide("d/b").c_str(), entries));
    EXPECT_FALSE(listDirectory(dir.wide("none").c_str(), entries));
}

TEST(RemoveTree, TakesLinksAndNamesThatAreNotUtf8ButNothingOutside) {
    const TemporaryDirectory dir;
    dir.write("outside/kept", "K");
    dir.write("tree/sub/file", "");
    dir.write("tree/bad\xFFname\\x", "");
    ASSERT_EQ(0, ::symlink("../outside", (dir / "tree/link").c_str()));
    EXPECT_TRUE(removeTree(dir.wide("tree").c_str()));
    EXPECT_FALSE(dir.has("tree"));
    EXPECT_EQ("K", dir.read("outside/kept"));
    EXPECT_FALSE(removeTree(dir.wide("tree").c_str()));
}

TEST(RemoveTree, StopsAtTheFirstEntryThatDoesNotGo) {
    FaultBackend disk;
    disk.put("/t/a", "");
    disk.put("/t/b", "");
    disk.put("/t/c", "");
    disk.failAt(Op::remove, 2, EACCES);
    EXPECT_FALSE(removeTree(L"/t"));
    EXPECT_EQ(errorAccessDenied, lastError());
    EXPECT_EQ((Files{{"/t/b", ""}, {"/t/c", ""}}), disk.files());
}

TEST(FaultBackend, AFaultHitsItsOperationOnceOrForEver) {
    FaultBackend disk;
    disk.put("/f", "x");
    disk.failAt(Op::open, 2, EMFILE);
    for (const bool works : {true, false, true}) {
        std::FILE* f = openFile(L"/f", "rb");
        EXPECT_EQ(works, f != nullptr);
        if (f != nullptr) {
            std::fclose(f);
        }
    }
    EXPECT_EQ(errorTooManyOpenFiles, lastError());
    EXPECT_EQ(3u, disk.operations(Op::open));
    disk.clearFaults();
    disk.resetCounts();
    disk.failAt(1, EIO, Repeat::forever);
    EXPECT_EQ(nullptr, openFile(L"/f", "rb"));
    EXPECT_EQ(nullptr, openFile(L"/f", "rb"));
}

TEST(FaultBackend, StreamsReadWriteSeekAndAppend) {
    FaultBackend disk;
    disk.put("/f", "hello");
    std::FILE* f = openFile(L"/f", "rb+");
    std::fseek(f, 7, SEEK_SET);
    std::fputs("!", f);
    std::rewind(f);
    EXPECT_EQ(std::string("hello\0\0!", 8), slurp(f));
    EXPECT_EQ(1, disk.openStreams());
    EXPECT_EQ(0, std::fclose(f));
    EXPECT_EQ(0, disk.openStreams());
    f = openFile(L"/f", "ab");
    std::fputs("?", f);
    std::fclose(f);
    EXPECT_EQ(std::string("hello\0\0!?", 9), disk.bytes("/f"));
    f = openFile(L"/f", "wb");
    std::fclose(f);
    EXPECT_EQ("", disk.bytes("/f"));
}

TEST(FaultBackend, ShortReadsDeliverEverythingAndShortWritesFail) {
    FaultBackend disk;
    disk.put("/f", std::string(1000, 'a'));
    disk.shortReads(7);
    std::FILE* f = openFile(L"/f", "rb");
    EXPECT_EQ(1000u, slurp(f).size());
    std::fclose(f);
    disk.shortWrites(7);
    f = openFile(L"/g", "wb");
    std::fputs("0123456789", f);
    EXPECT_NE(0, std::fflush(f));
    std::fclose(f);
    disk.clearFaults();
    disk.failAt(Op::close, disk.operations(Op::close) + 1, EIO);
    f = openFile(L"/h", "wb");
    EXPECT_NE(0, std::fclose(f));
    EXPECT_EQ(0, disk.openStreams());
}

TEST(FaultBackend, TheJournalReplaysEveryCrashState) {
    FaultBackend disk;
    disk.put("/d/old", "OLD");
    disk.startJournal();
    std::FILE* f = openFile(L"/d/new", "wb");
    std::fputs("abc", f);
    std::fflush(f);
    std::fseek(f, 1, SEEK_SET);
    std::fputs("X", f);
    std::fclose(f);
    removeFile(L"/d/old");
    renameFile(L"/d/new", L"/d/old");
    ASSERT_EQ(5u, disk.journal().size());
    EXPECT_EQ((Files{{"/d/old", "OLD"}}), disk.stateAfter(0));
    EXPECT_EQ((Files{{"/d/old", "OLD"}, {"/d/new", ""}}), disk.stateAfter(1));
    EXPECT_EQ((Files{{"/d/old", "OLD"}, {"/d/new", "ab"}}), disk.stateAfter(1, 2));
    EXPECT_EQ((Files{{"/d/old", "OLD"}, {"/d/new", "abc"}}), disk.stateAfter(2));
    EXPECT_EQ((Files{{"/d/old", "OLD"}, {"/d/new", "aXc"}}), disk.stateAfter(3));
    EXPECT_EQ((Files{{"/d/new", "aXc"}}), disk.stateAfter(4));
    EXPECT_EQ((Files{{"/d/old", "aXc"}}), disk.stateAfter(5));
    EXPECT_EQ(disk.files(), disk.stateAfter(5));
}

TEST(FaultBackend, LoadsADirectoryOfTheRealFileSystem) {
    const TemporaryDirectory dir;
    dir.write("line/Gyro", "bytes");
    FaultBackend disk;
    disk.load(dir.path().string());
    EXPECT_EQ("bytes", disk.bytes((dir / "line/Gyro").string()));
    EXPECT_TRUE(pathAccessible(dir.wide("line").c_str()));
}

TEST(FaultBackend, TheRealFilesAreBackAfterwards) {
    { const FaultBackend disk; }
    const TemporaryDirectory dir;
    dir.write("f", "real");
    std::FILE* f = openFile(dir.wide("f").c_str(), "rb");
    ASSERT_NE(nullptr, f);
    EXPECT_EQ("real", slurp(f));
    std::fclose(f);
}

} // namespace
