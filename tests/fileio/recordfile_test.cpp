#include "fileio/recordfile.h"
#include "platform/file.h"
#include "support/fault_backend.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <string>

using namespace skar::tests;
using skar::fileio::RecordFile;

namespace {

// The same on the real disk and on the one in memory.
class OverFiles : public testing::TestWithParam<bool> {
protected:
    OverFiles() {
        if (GetParam()) disk = std::make_unique<FaultBackend>();
        if (disk) disk->put("/d/x", "");
    }
    std::wstring path() const { return disk ? L"/d/f" : real.wide("f"); }
    void put(const std::string& bytes) {
        if (disk)
            disk->put("/d/f", bytes);
        else
            real.write("f", bytes);
    }
    std::string bytes() const { return disk ? disk->bytes("/d/f") : real.read("f"); }
    std::FILE* open(const char* mode) {
        stream.reset(skar::platform::openFile(path().c_str(), mode));
        return stream.get();
    }

    TemporaryDirectory real;
    std::unique_ptr<FaultBackend> disk;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream{nullptr, std::fclose};
};

std::string text(const std::byte* bytes, std::size_t size) {
    return bytes ? std::string(reinterpret_cast<const char*>(bytes), size) : "none";
}

std::string run(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

} // namespace

TEST_P(OverFiles, ReadsInOrderAndAnywhere) {
    const std::string whole = run(300000);
    put(whole);
    RecordFile file(open("rb"));
    EXPECT_EQ(file.size(), 300000);
    for (std::size_t at = 0; at + 12 <= whole.size(); at += 12)
        ASSERT_EQ(text(file.read(12), 12), whole.substr(at, 12)) << at;
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        const std::size_t size = 1 + random() % 100;
        const std::size_t at = random() % (whole.size() - size);
        ASSERT_TRUE(file.seek(static_cast<std::int64_t>(at)));
        ASSERT_EQ(text(file.read(size), size), whole.substr(at, size)) << at;
        ASSERT_EQ(file.position(), static_cast<std::int64_t>(at + size));
    }
    ASSERT_TRUE(file.seek(0));
    EXPECT_EQ(text(file.read(whole.size()), whole.size()), whole) << "more than a window at once";
    EXPECT_FALSE(file.failed());
}

TEST_P(OverFiles, GivesNothingWhereTheBytesEnd) {
    put(run(100));
    RecordFile file(open("rb"));
    ASSERT_TRUE(file.seek(90));
    EXPECT_EQ(file.read(11), nullptr);
    EXPECT_EQ(file.position(), 90) << "a read that fails does not move";
    EXPECT_NE(file.read(10), nullptr);
    EXPECT_EQ(file.read(1), nullptr);
    ASSERT_TRUE(file.seek(5000000000));
    EXPECT_EQ(file.read(1), nullptr);
    EXPECT_FALSE(file.failed()) << "the end of a file is no failure";
    EXPECT_FALSE(file.seek(-1));
}

TEST_P(OverFiles, AFileCutUnderTheHandleGivesAShortRead) {
    put(run(400000));
    RecordFile file(open("rb"));
    ASSERT_NE(file.read(12), nullptr);
    if (disk)
        disk->failAt(Op::read, disk->operations(Op::read) + 1, EIO, Repeat::forever);
    else
        std::filesystem::resize_file(real / "f", 100);
    ASSERT_TRUE(file.seek(300000));
    EXPECT_EQ(file.read(12), nullptr);
}

TEST_P(OverFiles, AppendsInBlocksAndOverwritesInPlace) {
    RecordFile file(open("wb"));
    const std::string whole = run(200000);
    for (std::size_t at = 0; at < whole.size(); at += 20) {
        ASSERT_EQ(file.position(), static_cast<std::int64_t>(at));
        ASSERT_TRUE(file.append(whole.data() + at, 20));
    }
    ASSERT_TRUE(file.seek(10));
    ASSERT_TRUE(file.write("HEAD", 4));
    EXPECT_EQ(file.position(), 14);
    ASSERT_TRUE(file.flush());
    std::string expected = whole;
    expected.replace(10, 4, "HEAD");
    EXPECT_TRUE(bytes() == expected);
}

TEST_P(OverFiles, AppendsMoreThanItsBufferAtOnce) {
    RecordFile file(open("wb"));
    const std::string whole = run(150000);
    ASSERT_TRUE(file.append("a", 1));
    ASSERT_TRUE(file.append(whole.data(), whole.size()));
    ASSERT_TRUE(file.append("z", 1));
    ASSERT_TRUE(file.flush());
    EXPECT_TRUE(bytes() == 'a' + whole + 'z');
}

TEST_P(OverFiles, WhatWasWrittenIsSeenByTheNextRead) {
    const std::string whole = run(1000);
    put(whole);
    RecordFile file(open("rb+"));
    ASSERT_NE(file.read(12), nullptr);
    ASSERT_NE(file.read(12), nullptr);
    ASSERT_TRUE(file.seek(12));
    ASSERT_TRUE(file.write("NEW!", 4));
    ASSERT_TRUE(file.seek(10));
    EXPECT_EQ(text(file.read(8), 8), whole.substr(10, 2) + "NEW!" + whole.substr(16, 2));
    // Appended within what the window holds, and read on without a seek.
    ASSERT_TRUE(file.seek(24));
    ASSERT_NE(file.read(12), nullptr);
    ASSERT_TRUE(file.append("more", 4));
    EXPECT_EQ(file.position(), 40);
    EXPECT_EQ(text(file.read(4), 4), whole.substr(40, 4));
    ASSERT_TRUE(file.seek(34));
    EXPECT_EQ(text(file.read(8), 8), whole.substr(34, 2) + "more" + whole.substr(40, 2));
    ASSERT_TRUE(file.flush());
    EXPECT_EQ(bytes().substr(36, 4), "more");
    EXPECT_EQ(bytes().size(), 1000u);
}

INSTANTIATE_TEST_SUITE_P(RecordFile, OverFiles, testing::Values(false, true),
                         [](const auto& each) { return each.param ? "InMemory" : "OnDisk"; });

TEST(RecordFileFault, ShortReadsChangeNothing) {
    FaultBackend disk;
    const std::string whole = run(5000);
    disk.put("/d/f", whole);
    disk.shortReads(7);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(skar::platform::openFile(L"/d/f", "rb"),
                                                                 std::fclose);
    RecordFile file(stream.get());
    for (std::size_t at = 0; at + 12 <= whole.size(); at += 12)
        ASSERT_EQ(text(file.read(12), 12), whole.substr(at, 12));
}

TEST(RecordFileFault, ABufferThatCannotBeWrittenIsKeptForTheNextTry) {
    FaultBackend disk;
    disk.put("/d/x", "");
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(skar::platform::openFile(L"/d/f", "wb"),
                                                                 std::fclose);
    RecordFile file(stream.get());
    ASSERT_TRUE(file.append("abcd", 4));
    disk.failAt(Op::write, 1, ENOSPC);
    EXPECT_FALSE(file.seek(0));
    EXPECT_TRUE(file.failed());
    EXPECT_EQ(file.position(), 4);
    EXPECT_TRUE(file.flush());
    EXPECT_EQ(disk.bytes("/d/f"), "abcd");
}

TEST(RecordFileFault, AFullDiskRefusesTheRecordsThatDoNotFit) {
    FaultBackend disk;
    disk.put("/d/x", "");
    disk.noSpaceAfter(100000);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(skar::platform::openFile(L"/d/f", "wb"),
                                                                 std::fclose);
    RecordFile file(stream.get());
    const std::string record = run(1000);
    int taken = 0;
    while (taken < 500 && file.append(record.data(), record.size()))
        ++taken;
    EXPECT_LT(taken, 500);
    EXPECT_EQ(file.position(), taken * 1000)
        << "a record that was refused does not move the place of the next";
    EXPECT_FALSE(file.flush());
}
