#include "support/fault_backend.h"
#include "support/flat_families.h"
#include "support/profile_families.h"

#include <cerrno>
#include <functional>

// A disk that fails at every single operation, once or for good, while each family with profiles is written,
// read and changed: a code or an exception, no open stream left, and nothing lost that was saved before.
namespace {

using namespace skar::tests;

const std::string folder = "/survey/p/v/d/l/";
const wchar_t* const linePath = L"/survey/p/v/d/l";

class FailingDiskOfProfiles : public testing::TestWithParam<ProfileFamily> {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SKARIO_Init(0));
        ASSERT_EQ(3u, set.size());
    }
    const ProfileFamily& family = GetParam();
    const std::vector<std::string> set = smallLine(GetParam());
    const std::vector<std::string> files = GetParam().files();
    LogCapture log;

    void fill(FaultBackend& disk, bool filled) const {
        disk.put(folder + "keep", "x");
        for (std::size_t which = 0; filled && which < 3; ++which)
            disk.put(folder + files[which], set[which]);
        disk.resetCounts();
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
        std::uint32_t code = 77;
        _TELD_Sensor* sensor = family.open(linePath, token, &code);
        EXPECT_EQ(code == 0, sensor != nullptr);
        EXPECT_TRUE(failing || sensor) << code;
        return sensor;
    }
};
INSTANTIATE_TEST_SUITE_P(Every, FailingDiskOfProfiles, testing::ValuesIn(profileFamilies()),
                         profileFamilyName);

TEST_P(FailingDiskOfProfiles, WritingSaysOfEveryFailureThatItFailed) {
    const QuietOutput quiet;
    atEveryOperation(false, [&](FaultBackend& disk, bool failing) {
        _TELD_Sensor* sensor = open(L"create", failing);
        if (!sensor) return;
        const int written = family.write(sensor);
        const int closed = family.close(sensor);
        if (!failing) {
            EXPECT_EQ(0, written);
            EXPECT_EQ(0, closed);
        }
        if (written != 0 || closed != 0) return;
        for (std::size_t which = 0; which < 3; ++which)
            EXPECT_EQ(set[which], disk.bytes(folder + files[which])) << "reported as saved";
    });
}

TEST_P(FailingDiskOfProfiles, ReadingGivesTheBeamOrACode) {
    const QuietOutput quiet;
    atEveryOperation(true, [&](FaultBackend& disk, bool failing) {
        if (_TELD_Sensor* sensor = open(L"query", failing)) {
            for (const auto& [p, b] : {std::pair(3u, 1u), {1u, 1u}, {1u, 2u}, {2u, 4u}, {1u, 3u}, {2u, 2u}}) {
                std::uint32_t status = 0;
                const int code = family.read(sensor, p, b, status);
                EXPECT_TRUE(failing || code == 0) << code;
                if (code == 0) {
                    EXPECT_EQ(ProfileFamily::status(p, b), status) << p << ' ' << b;
                }
            }
            family.readAll(sensor);
            family.close(sensor);
        }
        for (std::size_t which = 0; which < 3; ++which)
            EXPECT_EQ(set[which], disk.bytes(folder + files[which]));
    });
}

TEST_P(FailingDiskOfProfiles, AChangeThatFailsLosesNothing) {
    if (!family.update) GTEST_SKIP() << "the family changes no beam in its place";
    const QuietOutput quiet;
    atEveryOperation(true, [&](FaultBackend& disk, bool failing) {
        int updated = -2;
        if (_TELD_Sensor* sensor = open(L"update", failing)) {
            updated = family.update(sensor, 2, 3, 0x7F0000);
            const int saved = family.save ? family.save(sensor) : 0;
            std::uint32_t status = 0;
            if (family.read(sensor, 2, 4, status) == 0) {
                EXPECT_EQ(ProfileFamily::status(2, 4), status);
            }
            EXPECT_TRUE(failing || (updated == 0 && saved == 0));
            family.close(sensor);
        }
        disk.clearFaults();
        _TELD_Sensor* again = open(L"query", false);
        ASSERT_NE(nullptr, again);
        for (const auto& [p, b] : {std::pair(1u, 1u), {1u, 3u}, {2u, 2u}, {2u, 3u}, {2u, 4u}, {3u, 1u}}) {
            std::uint32_t status = 0;
            ASSERT_EQ(0, family.read(again, p, b, status));
            const bool changed = p == 2 && b == 3 && status == 0x7F0000;
            EXPECT_TRUE(changed || status == ProfileFamily::status(p, b)) << p << ' ' << b;
            if (updated == 0 && p == 2 && b == 3) {
                EXPECT_TRUE(changed);
            }
        }
        family.close(again);
    });
}

TEST_P(FailingDiskOfProfiles, AFullDiskIsToldByTheWriteOrTheClose) {
    const QuietOutput quiet;
    for (std::size_t space = 0; space < set[0].size() + set[1].size() + set[2].size(); space += 12) {
        SCOPED_TRACE(space);
        FaultBackend disk;
        fill(disk, false);
        disk.noSpaceAfter(space);
        std::uint32_t code = 77;
        _TELD_Sensor* sensor = family.open(linePath, L"create", &code);
        EXPECT_EQ(code == 0, sensor != nullptr);
        if (sensor) {
            const int written = family.write(sensor);
            const int closed = family.close(sensor);
            const bool whole = disk.bytes(folder + files[0]) == set[0] &&
                               disk.bytes(folder + files[1]) == set[1] &&
                               disk.bytes(folder + files[2]) == set[2];
            EXPECT_EQ(whole, written == 0 && closed == 0);
        }
        EXPECT_EQ(0, disk.openStreams());
        log.clear();
    }
}

} // namespace
