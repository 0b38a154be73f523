#include "fileio/family.h"
#include "support/fault_backend.h"
#include "support/flat_families.h"

#include <cerrno>
#include <cstring>
#include <functional>

#include <sys/mount.h>
#include <unistd.h>

// A disk that fails at every single operation, once or for good, while each family is written, read and
// updated: a code, no open stream left, and nothing lost that was saved before.
namespace {

using namespace skar::tests;

const std::string folder = "/survey/p/v/d/l/";
const std::wstring linePath = L"/survey/p/v/d/l";
constexpr std::uint32_t records = 3;

class FailingDisk : public testing::TestWithParam<FlatFamily> {
protected:
    void SetUp() override { ASSERT_EQ(0, SKARIO_Init(0)); }
    const FlatFamily& family = GetParam();
    const FlatSet set = flatSet(GetParam(), {2, 1});
    LogCapture log;

    void fill(FaultBackend& disk) const {
        disk.put(folder + "keep", "x");
        for (std::size_t which = 0; which < 3; ++which)
            disk.put(folder + family.files()[which], set.file(which).string());
    }
    // Runs the work with a failure at each operation in turn.
    void atEveryOperation(bool filled,
                          const std::function<void(FaultBackend&, bool failing, std::size_t n)>& work) {
        std::size_t operations = 0;
        {
            FaultBackend disk;
            filled ? fill(disk) : disk.put(folder + "keep", "x");
            disk.resetCounts();
            work(disk, false, 0);
            operations = disk.operations();
            ASSERT_EQ(0, disk.openStreams());
        }
        ASSERT_GT(operations, 5u);
        for (const Repeat repeat : {Repeat::once, Repeat::forever}) {
            for (std::size_t n = 1; n <= operations; ++n) {
                SCOPED_TRACE("operation " + std::to_string(n) +
                             (repeat == Repeat::once ? " once" : " for good"));
                FaultBackend disk;
                filled ? fill(disk) : disk.put(folder + "keep", "x");
                disk.resetCounts();
                disk.failAt(n, n % 2 ? EIO : ENOSPC, repeat);
                work(disk, true, n);
                EXPECT_EQ(0, disk.openStreams());
                EXPECT_EQ("x", disk.bytes(folder + "keep"));
                log.clear();
            }
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Every, FailingDisk, testing::ValuesIn(flatFamilies()), familyName);

TEST_P(FailingDisk, WritingSaysOfEveryFailureThatItFailed) {
    const QuietOutput quiet;
    atEveryOperation(false, [&](FaultBackend& disk, bool failing, std::size_t) {
        const int code = writeLine(family, linePath, {2, 1});
        if (!failing) {
            EXPECT_EQ(0, code);
        }
        if (code != 0) return;
        // What was reported as saved is there.
        for (std::size_t which = 0; which < 3; ++which)
            EXPECT_TRUE(same(set.file(which), disk.bytes(folder + family.files()[which])));
    });
}

TEST_P(FailingDisk, ReadingGivesTheRecordOrACode) {
    const QuietOutput quiet;
    atEveryOperation(true, [&](FaultBackend& disk, bool failing, std::size_t) {
        Opened sensor(family, linePath, L"query");
        EXPECT_EQ(sensor.code() == 0, static_cast<bool>(sensor));
        if (sensor) {
            for (const std::uint32_t n : {3u, 1u, 2u, 3u}) {
                Sample sample;
                const int code = family.read(sensor, n, sample);
                if (!failing) {
                    EXPECT_EQ(0, code);
                }
                if (code == 0) {
                    EXPECT_EQ(family.sample(n).status, sample.status);
                }
            }
            sensor.close();
        }
        for (std::size_t which = 0; which < 3; ++which)
            EXPECT_TRUE(same(set.file(which), disk.bytes(folder + family.files()[which])));
    });
}

TEST_P(FailingDisk, AnUpdateThatFailsLosesNothing) {
    const QuietOutput quiet;
    atEveryOperation(true, [&](FaultBackend& disk, bool failing, std::size_t) {
        int code = -2;
        {
            Opened sensor(family, linePath, L"update");
            if (sensor) {
                EXPECT_EQ(0, family.setRecordStatus(sensor, 2, 0x22));
                EXPECT_EQ(0, family.setSegmentStatus(sensor, 1, 0x33));
                code = family.save(sensor);
                sensor.close();
            }
        }
        if (!failing) {
            EXPECT_EQ(0, code);
        }
        disk.clearFaults();
        Opened again(family, linePath, L"query");
        ASSERT_TRUE(again) << again.code() << " after a save that gave " << code;
        for (std::uint32_t n = 1; n <= records; ++n) {
            Sample sample;
            ASSERT_EQ(0, family.read(again, n, sample));
            EXPECT_NEAR(family.sample(n).time, sample.time, 0.0005001);
            const bool changed = n == 2 && sample.status == 0x22;
            EXPECT_TRUE(changed || sample.status == family.sample(n).status);
            if (code == 0 && n == 2) {
                EXPECT_TRUE(changed);
            }
        }
        SegmentView segment;
        ASSERT_EQ(0, family.segment(again, 2, segment));
        EXPECT_EQ(L"b.raw", segment.name);
    });
}

TEST_P(FailingDisk, TheCloseGivesTheCodeOfItsStep) {
    const auto codeOf = [&](const std::string& refused, int error) {
        FaultBackend disk;
        disk.put(folder + "keep", "x");
        Opened sensor(family, linePath, L"create");
        EXPECT_TRUE(sensor);
        EXPECT_EQ(0, family.write(sensor, family.sample(1)));
        disk.resetCounts();
        if (refused == "summary") disk.failAt(Op::write, 1, error, Repeat::forever);
        if (refused == "segments") disk.failAt(Op::open, 1, error);
        if (refused == "index") disk.failAt(Op::open, 2, error);
        const int code = sensor.close();
        EXPECT_EQ(0, disk.openStreams());
        return code;
    };
    EXPECT_EQ(family.code(5), codeOf("summary", ENOSPC));
    EXPECT_EQ(family.segmentsNotWritten, codeOf("segments", EACCES));
    EXPECT_EQ(family.code(14), codeOf("index", EACCES));
}

TEST_P(FailingDisk, AFullDiskIsToldByTheWriteOrTheClose) {
    for (std::size_t space = 16; space < 70000; space += 9973) {
        SCOPED_TRACE(space);
        FaultBackend disk;
        disk.put(folder + "keep", "x");
        int first = 0;
        Opened sensor(family, linePath, L"create");
        ASSERT_TRUE(sensor);
        disk.noSpaceAfter(space);
        for (std::uint32_t n = 1; n <= 8000; ++n) {
            const int code = family.write(sensor, family.sample(n));
            if (code != 0) {
                EXPECT_EQ(family.code(24), code);
            }
            if (first == 0) first = code;
        }
        const int closed = sensor.close();
        EXPECT_TRUE(first != 0 || closed != 0);
        EXPECT_NE(0, closed) << "the summary has no room either";
        EXPECT_EQ(0, disk.openStreams());
        log.clear();
    }
}

TEST_P(FailingDisk, ARecordBehindAFailedWriteStandsInItsPlace) {
    FaultBackend disk;
    disk.put(folder + "keep", "x");
    std::uint32_t kept = 0;
    {
        Opened sensor(family, linePath, L"create");
        ASSERT_TRUE(sensor);
        ASSERT_EQ(0, family.beginSegment(sensor, L"a"));
        disk.resetCounts();
        disk.failAt(Op::write, 1, EIO);
        for (std::uint32_t n = 1; n <= 8000; ++n) {
            const int code = family.write(sensor, family.sample(n));
            EXPECT_TRUE(code == 0 || code == family.code(24)) << code;
            kept += code == 0;
        }
        EXPECT_EQ(7999u, kept);
        EXPECT_EQ(8000u, sensor->numRecords);
        ASSERT_EQ(0, family.endSegment(sensor, 0));
        ASSERT_EQ(0, sensor.close());
    }
    Opened sensor(family, linePath, L"update");
    ASSERT_TRUE(sensor) << sensor.code();
    EXPECT_EQ(kept, sensor->numRecords);
    SegmentView segment;
    ASSERT_EQ(0, family.segment(sensor, 1, segment));
    EXPECT_EQ(kept, segment.end);
    Sample sample;
    ASSERT_EQ(0, family.read(sensor, 1, sample));
    EXPECT_EQ(family.sample(1).status, sample.status);
    ASSERT_EQ(0, family.read(sensor, kept, sample));
    EXPECT_EQ(family.sample(8000).status, sample.status);
}

TEST_P(FailingDisk, AnOffsetBeyondTheIndexIsRefusedAndTheLineStillReads) {
    // A sparse file: the records before the limit are the room of a hole.
    const Line line;
    const auto size = static_cast<std::int64_t>(family.recordSize());
    const auto first = static_cast<std::int64_t>(family.firstRecord());
    const auto last = static_cast<std::uint32_t>((INT32_MAX - first) / size);
    Opened sensor(family, line.path(), L"create");
    ASSERT_TRUE(sensor);
    ASSERT_EQ(0, family.beginSegment(sensor, L"a"));
    ASSERT_EQ(0, family.write(sensor, family.sample(1)));
    auto& file = sensor->state->file;
    ASSERT_TRUE(file.seek(first + last * size));
    skar::fileio::flatState(*sensor).seeksSeen = file.seeks();
    ASSERT_EQ(0, family.write(sensor, family.sample(2))) << "the last offset that an entry can hold";
    EXPECT_EQ(family.code(23), family.write(sensor, family.sample(3)));
    EXPECT_EQ(family.code(23), family.write(sensor, family.sample(4)));
    ASSERT_EQ(0, family.endSegment(sensor, 0));
    ASSERT_EQ(0, sensor.close());
    Opened again(family, line.path(), L"query");
    ASSERT_TRUE(again) << again.code();
    EXPECT_EQ(2u, again->numRecords);
    Sample sample;
    ASSERT_EQ(0, family.read(again, 2, sample));
    EXPECT_EQ(family.sample(2).status, sample.status);
    EXPECT_EQ(family.code(19), family.read(again, 3, sample));
}

// A real file system without room, where the process may mount one.
TEST(FullFileSystem, IsToldAndLeavesWhatWasThere) {
    ASSERT_EQ(0, SKARIO_Init(0));
    const TemporaryDirectory root;
    if (::mount("tmpfs", root.path().c_str(), "tmpfs", 0, "size=64k") != 0)
        GTEST_SKIP() << "no file system can be mounted here: " << std::strerror(errno)
                     << "; the full disk in memory stands for it";
    const std::wstring line = root.wide("p/v/d/l");
    std::filesystem::create_directories(root / "p/v/d/l");
    const FlatFamily& gyro = flatFamily("Gyro");
    const FlatFamily& heave = flatFamily("Heave");
    EXPECT_EQ(0, writeLine(gyro, line, {10}));
    EXPECT_NE(0, writeLine(heave, line, {20000}));
    {
        Opened sensor(gyro, line, L"query");
        EXPECT_TRUE(sensor) << sensor.code();
        if (sensor) {
            EXPECT_EQ(10u, readAll(gyro, sensor).inOrder);
        }
    }
    EXPECT_EQ(0, ::umount2(root.path().c_str(), MNT_DETACH));
}

} // namespace
