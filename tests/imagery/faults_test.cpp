#include "fileio/imagery.h"
#include "imagery/families.h"
#include "support/fault_backend.h"
#include "support/flat_families.h"

#include <skar/multibeamsidescan.h>
#include <skar/processedsidescan.h>
#include <skar/sidescan.h>

#include <algorithm>
#include <cerrno>
#include <functional>

// A disk that fails at every single operation, once or for good, while each imagery family is written, read
// and changed: a code, no open stream left, and nothing lost that was saved before.
namespace {

using namespace skar::tests;

const std::string folder = "/survey/p/v/d/l/";
const wchar_t* const linePath = L"/survey/p/v/d/l";

class FailingDiskOfImagery : public testing::TestWithParam<ImageryFamily> {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SKARIO_Init(0));
        for (const Bytes& file : family.set())
            set.push_back(file.string());
    }
    const ImageryFamily& family = GetParam();
    const std::vector<std::string> files = GetParam().files();
    std::vector<std::string> set;
    LogCapture log;
    const QuietOutput quiet;

    void fill(FaultBackend& disk, bool filled) const {
        disk.put(folder + "keep", "x");
        for (std::size_t which = 0; filled && which < set.size(); ++which)
            disk.put(folder + files[which], set[which]);
        disk.resetCounts();
    }
    bool whole(const FaultBackend& disk) const {
        for (std::size_t which = 0; which < set.size(); ++which)
            if (disk.bytes(folder + files[which]) != set[which]) return false;
        return true;
    }
    // Runs the work with a failure at each operation in turn.
    void atEveryOperation(bool filled, const std::function<void(FaultBackend&, bool failing)>& work) {
        std::size_t operations = 0;
        {
            FaultBackend disk;
            fill(disk, filled);
            work(disk, false);
            operations = disk.operations();
            ASSERT_EQ(0, disk.openStreams());
        }
        ASSERT_GT(operations, 5u);
        for (const Repeat repeat : {Repeat::once, Repeat::forever}) {
            for (std::size_t n = 1; n <= operations; ++n) {
                SCOPED_TRACE("operation " + std::to_string(n) +
                             (repeat == Repeat::once ? " once" : " for good"));
                FaultBackend disk;
                fill(disk, filled);
                disk.failAt(n, n % 2 ? EIO : ENOSPC, repeat);
                work(disk, true);
                EXPECT_EQ(0, disk.openStreams());
                EXPECT_EQ("x", disk.bytes(folder + "keep"));
                log.clear();
            }
        }
    }
    _TELD_Sensor* open(const wchar_t* token, bool failing) const {
        long code = 77;
        _TELD_Sensor* sensor = family.open(linePath, token, &code);
        EXPECT_EQ(code == 0, sensor != nullptr);
        EXPECT_TRUE(failing || sensor) << code;
        return sensor;
    }
};
INSTANTIATE_TEST_SUITE_P(Every, FailingDiskOfImagery, testing::ValuesIn(imageryFamilies()), imageryName);

TEST_P(FailingDiskOfImagery, WritingSaysOfEveryFailureThatItFailed) {
    atEveryOperation(false, [&](FaultBackend& disk, bool failing) {
        _TELD_Sensor* sensor = open(L"create", failing);
        if (!sensor) return;
        const int written = family.writeAll(sensor);
        const int closed = family.close(sensor);
        if (!failing) {
            EXPECT_EQ(0, written);
            EXPECT_EQ(0, closed);
        }
        if (written == 0 && closed == 0) {
            EXPECT_TRUE(whole(disk)) << "reported as saved";
        }
    });
}

TEST_P(FailingDiskOfImagery, ReadingGivesTheRecordOrACode) {
    const Texts wanted = family.twin("read");
    atEveryOperation(true, [&](FaultBackend& disk, bool failing) {
        if (_TELD_Sensor* sensor = open(L"query", failing)) {
            const Texts got = family.readAll(sensor);
            EXPECT_EQ(wanted.size(), got.size());
            for (std::size_t i = 0; i < std::min(wanted.size(), got.size()); ++i) {
                const bool refused = got[i].starts_with("code ");
                EXPECT_TRUE(wanted[i] == got[i] || (failing && refused)) << got[i];
                if (refused) {
                    EXPECT_TRUE(got[i] == "code " + std::to_string(family.code(25)) ||
                                got[i] == "code " + std::to_string(family.code(15)))
                        << got[i];
                }
            }
            family.close(sensor);
        }
        EXPECT_TRUE(whole(disk));
    });
}

class FailingDiskUnderChanges : public FailingDiskOfImagery {};
INSTANTIATE_TEST_SUITE_P(Every, FailingDiskUnderChanges,
                         testing::ValuesIn(imageryFamiliesWith(&ImageryFamily::change)), imageryName);

TEST_P(FailingDiskUnderChanges, AChangeThatFailsLosesNothing) {
    const Texts before = family.twin("read");
    Texts after;
    const auto change = [&](_TELD_Sensor* sensor) {
        return family.stored == 13 ? SSSUpdateFishHeight(sensor, 2, 0x1234)
                                   : SSSProcUpdateStatus(sensor, 2, 0x40000009);
    };
    atEveryOperation(true, [&](FaultBackend& disk, bool failing) {
        int changed = -2;
        if (_TELD_Sensor* sensor = open(L"update", failing)) {
            changed = change(sensor);
            EXPECT_TRUE(failing || changed == 0);
            family.close(sensor);
        }
        disk.clearFaults();
        _TELD_Sensor* again = open(L"query", false);
        ASSERT_NE(nullptr, again);
        const Texts got = family.readAll(again);
        if (!failing) after = got;
        ASSERT_EQ(before.size(), got.size());
        for (std::size_t i = 0; i < got.size(); ++i) {
            const bool second = i == 4;
            EXPECT_TRUE(second ? got[i] == after[i] || (changed != 0 && got[i] == before[i])
                               : got[i] == before[i])
                << got[i];
        }
        family.close(again);
    });
    EXPECT_NE(before[4], after[4]);
}

TEST_P(FailingDiskOfImagery, AFullDiskIsToldByTheWriteOrTheClose) {
    std::size_t all = 0;
    for (const std::string& file : set)
        all += file.size();
    for (std::size_t space = 0; space <= all + 12; space += 4) {
        SCOPED_TRACE(space);
        FaultBackend disk;
        fill(disk, false);
        disk.noSpaceAfter(space);
        long code = 77;
        _TELD_Sensor* sensor = family.open(linePath, L"create", &code);
        EXPECT_EQ(code == 0, sensor != nullptr);
        if (sensor) {
            const int written = family.writeAll(sensor);
            const int closed = family.close(sensor);
            EXPECT_EQ(whole(disk), written == 0 && closed == 0);
        }
        EXPECT_EQ(0, disk.openStreams());
        log.clear();
    }
}

// The codes of the steps of a close, each step made to fail alone.
TEST_P(FailingDiskOfImagery, ACloseTellsWhichStepFailed) {
    const auto closeCode = [&](const std::function<void(FaultBackend&)>& damage) {
        FaultBackend disk;
        fill(disk, false);
        _TELD_Sensor* sensor = open(L"create", false);
        EXPECT_EQ(0, family.writeAll(sensor));
        disk.resetCounts();
        damage(disk);
        const int code = family.close(sensor);
        EXPECT_EQ(0, disk.openStreams());
        log.clear();
        return code;
    };
    EXPECT_EQ(0, closeCode([](FaultBackend&) {}));
    EXPECT_EQ(family.code(5),
              closeCode([](FaultBackend& disk) { disk.failAt(Op::write, 1, EIO, Repeat::forever); }));
    // The data file, then the segments and the index, each behind its own name until it is whole.
    EXPECT_EQ(family.code(2), closeCode([](FaultBackend& disk) { disk.failAt(Op::open, 1, EACCES); }));
    EXPECT_EQ(family.code(14), closeCode([](FaultBackend& disk) { disk.failAt(Op::open, 2, EACCES); }));
    EXPECT_EQ(family.code(15), closeCode([](FaultBackend& disk) { disk.failAt(Op::close, 1, EIO); }));
    if (family.trace) {
        EXPECT_EQ(5001726, closeCode([](FaultBackend& disk) { disk.failAt(Op::close, 4, EIO); }));
    }
}

TEST_P(FailingDiskOfImagery, AnOffsetBeyondTheIndexIsRefusedAndTheLineStillReads) {
    // A sparse file: the hole stands for the records before the limit.
    const Line line;
    OpenImagery sensor(family, line.path(), L"create");
    ASSERT_TRUE(sensor);
    const Texts lines = family.twin("write");
    ASSERT_EQ(0, family.write(sensor, lines[1]));
    auto& file = sensor->state->file;
    ASSERT_TRUE(file.seek(INT32_MAX));
    skar::fileio::imageryState(*sensor).common.seeksSeen = file.seeks();
    ASSERT_EQ(0, family.write(sensor, lines[1])) << "the last offset that an entry can hold";
    EXPECT_EQ(family.code(23), family.write(sensor, lines[1]));
    EXPECT_EQ(family.code(23), family.write(sensor, lines[1]));
    ASSERT_EQ(0, sensor.close());
    OpenImagery again(family, line.path(), L"query");
    ASSERT_TRUE(again) << again.code();
    EXPECT_EQ(2u, again->numRecords);
    EXPECT_EQ(family.record(again, 1).substr(0, 30), family.record(again, 2).substr(0, 30));
    EXPECT_EQ("code " + std::to_string(family.code(19)), family.record(again, 3));
}

// Records are gathered before they go to the disk; what is too large for that goes at once.
TEST(FailingDiskOfTowed, SamplesThatCannotBeWritten) {
    for (const std::size_t which : {3u, 4u}) {
        const ImageryFamily& family = imageryFamilies()[which];
        SKARIO_Init(0);
        FaultBackend disk;
        disk.put(folder + "keep", "x");
        long code = 77;
        _TELD_Sensor* sensor = family.open(linePath, L"create", &code);
        ASSERT_NE(nullptr, sensor);
        const Texts lines = family.twin("write");
        ASSERT_EQ(0, family.write(sensor, lines[1]));
        // The first ping with other samples.
        const std::string head = lines[1].substr(0, lines[1].find(" 3C5976"));
        const std::string large =
            head + ' ' + std::string(12000, 'A') + ' ' +
            (which == 3 ? "- " + std::string(2 * 65535, 'B') + " -" : std::string(2 * 65535, 'B'));
        disk.noSpaceAfter(1000);
        EXPECT_EQ(family.code(24), family.write(sensor, large));
        disk.clearFaults();
        EXPECT_EQ(0, family.write(sensor, lines[2])) << "in the place of what failed";
        ASSERT_EQ(0, family.close(sensor));
        const std::size_t third = wordAt(family.set()[2], 60);
        EXPECT_EQ(hex(family.set()[0].string().substr(44, third - 44)),
                  hex(disk.bytes(folder + family.name).substr(44, third - 44)));
        sensor = family.open(linePath, L"query", &code);
        ASSERT_NE(nullptr, sensor) << code;
        EXPECT_EQ(2u, sensor->numRecords);
        EXPECT_EQ(family.twin("read")[3], family.record(sensor, 1));
        EXPECT_EQ(family.twin("read")[4], family.record(sensor, 2));
        EXPECT_EQ(0, family.close(sensor));
    }
}

TEST(FailingDiskOfMultibeam, TracesThatCannotBeWritten) {
    const ImageryFamily& em1000 = imageryFamilies()[1];
    SKARIO_Init(0);
    FaultBackend disk;
    disk.put(folder + "keep", "x");
    long code = 77;
    _TELD_Sensor* sensor = em1000.open(linePath, L"create", &code);
    ASSERT_NE(nullptr, sensor);
    ASSERT_EQ(0, em1000.write(sensor, em1000.twin("write")[1]));
    const std::string large(1 << 20, 'x');
    disk.noSpaceAfter(1000);
    EXPECT_EQ(5001724, EM1000SideScanSeqWriteTrace(sensor, 1 << 20, large.data()));
    disk.clearFaults();
    EXPECT_EQ(0, SideScanClose(sensor));
}

} // namespace
