#include "platform/safefile.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using skar::platform::SafeFile;
using skar::tests::TemporaryDirectory;

bool write(const std::wstring& path, const std::string& bytes) {
    SafeFile file(path);
    if (file.stream() == nullptr) return false;
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file.stream()), bytes.size());
    return file.commit();
}

TEST(SafeFile, ReplacesAFileAndLeavesNothingElse) {
    const TemporaryDirectory folder;
    folder.write("file", "before");
    EXPECT_TRUE(write(folder.wide("file"), "after"));
    EXPECT_EQ(folder.read("file"), "after");
    EXPECT_TRUE(write(folder.wide("new"), "made"));
    EXPECT_EQ(folder.read("new"), "made");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 2);
}

TEST(SafeFile, WithoutACommitTheFileStays) {
    const TemporaryDirectory folder;
    folder.write("file", "before");
    {
        const SafeFile file(folder.wide("file"));
        std::fputs("half", file.stream());
        const SafeFile other(folder.wide("new"));
        std::fputs("half", other.stream());
    }
    EXPECT_EQ(folder.read("file"), "before");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 1);
}

TEST(SafeFile, KeepsThePermissions) {
    const TemporaryDirectory folder;
    folder.write("file", "before");
    fs::permissions(folder.path() / "file", fs::perms(0640));
    EXPECT_TRUE(write(folder.wide("file"), "after"));
    EXPECT_EQ(fs::status(folder.path() / "file").permissions(), fs::perms(0640));
}

TEST(SafeFile, WritesThroughALink) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "elsewhere");
    folder.write("elsewhere/file", "before");
    fs::create_symlink("elsewhere/file", folder.path() / "link");
    fs::create_symlink("link", folder.path() / "second");
    EXPECT_TRUE(write(folder.wide("second"), "after"));
    EXPECT_TRUE(fs::is_symlink(folder.path() / "second"));
    EXPECT_TRUE(fs::is_symlink(folder.path() / "link"));
    EXPECT_EQ(folder.read("elsewhere/file"), "after");
    // One that leads nowhere yet makes the file at its end.
    fs::create_symlink("elsewhere/made", folder.path() / "dangling");
    EXPECT_TRUE(write(folder.wide("dangling"), "made"));
    EXPECT_TRUE(fs::is_symlink(folder.path() / "dangling"));
    EXPECT_EQ(folder.read("elsewhere/made"), "made");
}

TEST(SafeFile, WritesIntoAPipe) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "pipe").string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    EXPECT_TRUE(write(folder.wide("pipe"), "through"));
    std::array<char, 16> bytes{};
    EXPECT_EQ(read(reader, bytes.data(), bytes.size()), 7);
    EXPECT_STREQ(bytes.data(), "through");
    close(reader);
    EXPECT_TRUE(fs::is_fifo(path));
}

} // namespace
