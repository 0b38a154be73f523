#include "observeddepths.h"

#include "fileio/profiles.h"
#include "support/fault_backend.h"

#include <cerrno>

// The file sets of a line: removing, setting aside and bringing back, and a close that fails on the way.
namespace {

using namespace skar::tests;
using Names = std::vector<std::string>;

const Names oldSet = observedFiles;
const Names newSet = {"ObservedDepthsNew", "ObservedDepthsNewLineSegments", "ObservedDepthsNewTmIdx"};
const Names backups = {"ObservedDepths.backup", "ObservedDepthsLineSegments.backup",
                       "ObservedDepthsTmIdx.backup"};

void put(const Line& line, const Names& names, const std::string& content = "") {
    for (const std::string& name : names)
        line.write(name, content + name);
}
Names sorted(Names names) {
    std::sort(names.begin(), names.end());
    return names;
}
Names operator+(Names a, const Names& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

constexpr double minute = 17532000 * 60.0;
const std::string folder = "/survey/p/v/d/l/";
const std::wstring survey = L"/survey/p/v/d/l";

} // namespace

TEST(ObservedDepthsFiles, AreRemovedSetBySet) {
    const Line line;
    put(line, oldSet + newSet + backups + Names{"ObservedDepthsOther", "Gyro"});
    EXPECT_EQ(0, ObservedDepthsNewRemoveDir(line.path().c_str()));
    EXPECT_EQ(sorted(oldSet + backups + Names{"ObservedDepthsOther", "Gyro"}), line.files());
    EXPECT_EQ(0, ObservedDepthsRemoveDir(line.path().c_str()));
    EXPECT_EQ(sorted(backups + Names{"ObservedDepthsOther", "Gyro"}), line.files());
    EXPECT_EQ(0, ObservedDepthsRemoveBackupDir(line.path().c_str()));
    EXPECT_EQ(sorted({"ObservedDepthsOther", "Gyro"}), line.files());
    EXPECT_EQ(0, ObservedDepthsRemoveBackupDir(line.path().c_str())) << "nothing there is no failure";
    EXPECT_EQ(0, ObservedDepthsRemoveDir(line.path().c_str()));
    EXPECT_EQ(0, ObservedDepthsRemoveDir(L"/no/such/line"));
    EXPECT_EQ(0, ObservedDepthsRemoveBackupDir(nullptr));
}

TEST(ObservedDepthsFiles, AreBackedUpAndRestored) {
    const Line line;
    putDepths(line, 2);
    EXPECT_EQ(0, ObservedDepthsBackupDir(line.path().c_str()));
    EXPECT_EQ(backups, line.files());
    EXPECT_EQ(5000228, ObservedDepthsBackupDir(line.path().c_str()));
    EXPECT_EQ(0, ObservedDepthsRestoreBackupDir(line.path().c_str()));
    EXPECT_EQ(oldSet, line.files());
    for (const std::string& file : oldSet)
        EXPECT_TRUE(same(goldenDepths(2).bytes(file), line.bytes(file)));
    EXPECT_EQ(5000228, ObservedDepthsRestoreBackupDir(line.path().c_str()));
    EXPECT_EQ(oldSet, line.files());
    EXPECT_EQ(5000228, ObservedDepthsBackupDir(nullptr));
    EXPECT_EQ(5000228, ObservedDepthsRestoreBackupDir(nullptr));
    EXPECT_EQ(5000228, ObservedDepthsNewRestoreBackupDir(nullptr));
}

TEST(ObservedDepthsFiles, OfTheNewSetMoveIntoTheOldNames) {
    const Line line;
    put(line, newSet);
    EXPECT_EQ(0, ObservedDepthsNewRestoreBackupDir(line.path().c_str()));
    EXPECT_EQ(oldSet, line.files());
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(newSet[i], line.bytes(oldSet[i]));
    EXPECT_EQ(5000228, ObservedDepthsNewRestoreBackupDir(line.path().c_str()));
}

TEST(ObservedDepthsFiles, InTheWayAreKeptWithTheEarlierRenamesDone) {
    const struct {
        int (*move)(const wchar_t*);
        Names from;
        Names to;
    } moves[] = {{ObservedDepthsBackupDir, oldSet, backups},
                 {ObservedDepthsRestoreBackupDir, backups, oldSet},
                 {ObservedDepthsNewRestoreBackupDir, newSet, oldSet}};
    for (const auto& move : moves) {
        for (std::size_t blocked = 0; blocked < 3; ++blocked) {
            SCOPED_TRACE(move.to[blocked]);
            const Line line;
            put(line, move.from);
            line.write(move.to[blocked], "in the way");
            EXPECT_EQ(5000228, move.move(line.path().c_str()));
            EXPECT_EQ("in the way", line.bytes(move.to[blocked]));
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_EQ(i < blocked, !line.has(move.from[i]));
                EXPECT_EQ(i < blocked    ? move.from[i]
                          : i == blocked ? "in the way"
                                         : "",
                          line.bytes(move.to[i]));
            }
        }
        for (std::size_t missing = 0; missing < 3; ++missing) {
            SCOPED_TRACE(move.from[missing]);
            const Line line;
            put(line, move.from);
            std::filesystem::remove(line.folder() / move.from[missing]);
            EXPECT_EQ(5000228, move.move(line.path().c_str()));
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_EQ(i < missing, line.has(move.to[i]));
        }
    }
}

TEST(ObservedDepthsFiles, AreRenamedInTheirOrderUntilOneFails) {
    for (std::size_t n = 1; n <= 3; ++n) {
        FaultBackend disk;
        for (const std::string& file : oldSet)
            disk.put(folder + file, file);
        disk.failAt(Op::rename, n, EACCES);
        EXPECT_EQ(5000228, ObservedDepthsBackupDir(survey.c_str()));
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(i + 1 < n, disk.has(folder + backups[i]));
            EXPECT_EQ(i + 1 >= n, disk.has(folder + oldSet[i]));
        }
        EXPECT_EQ(n, disk.operations(Op::rename)) << "at once";
    }
}

TEST(ObservedDepthsFiles, TheCloseOfACreatorGivesTheCodeOfItsStep) {
    SKARIO_Init(0);
    const auto closed = [](const auto& fault) {
        FaultBackend disk;
        disk.put(folder + "keep", "x");
        Observed sensor(survey, L"create");
        EXPECT_TRUE(sensor);
        EXPECT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 1, 1, minute, 0, 0, 0));
        EXPECT_EQ(0, ObservedDepthsSeqWrite(sensor, minute, 0, 0, 1, 0, 0));
        disk.resetCounts();
        fault(disk);
        const int code = sensor.close();
        EXPECT_EQ(0, disk.openStreams());
        return code;
    };
    LogCapture log;
    EXPECT_EQ(0, closed([](FaultBackend&) {}));
    EXPECT_EQ(log.lines(), Lines{});
    EXPECT_EQ(5000205, closed([](FaultBackend& d) { d.failAt(Op::write, 1, EIO, Repeat::forever); }));
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(2, log.lines()[0].level);
    EXPECT_EQ(
        0u, log.lines()[0].text.find("There is an error in the ObservedDepths file stream before closing "));
    EXPECT_EQ("There is an error in the ObservedDepths file stream before closing " + std::to_string(EIO) +
                  "\n",
              log.lines()[0].text);
    EXPECT_EQ(5000202, closed([](FaultBackend& d) { d.failAt(Op::open, 1, EACCES); }));
    EXPECT_EQ(5000214, closed([](FaultBackend& d) { d.failAt(Op::open, 2, EACCES); }));
}

TEST(ObservedDepthsFiles, AnOffsetBeyondTheIndexIsRefusedAndLeavesNoProfile) {
    const Line line;
    Observed sensor(line.path(), L"create");
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 0, 1, minute, 0, 0, 0));
    ASSERT_TRUE(sensor->state->file.seek(std::int64_t{INT32_MAX} + 1));
    auto& state = skar::fileio::profileState(*sensor);
    state.common.seeksSeen = sensor->state->file.seeks();
    EXPECT_EQ(5000223, ObservedDepthsBgnSeqWriteProfile(sensor, 7, 1, minute, 0, 0, 0));
    ASSERT_TRUE(sensor->state->file.seek(state.end));
    state.common.seeksSeen = sensor->state->file.seeks();
    ASSERT_EQ(0, ObservedDepthsBgnSeqWriteProfile(sensor, 3, 1, minute + 1, 0, 0, 0));
    ASSERT_EQ(0, sensor.close());
    const Observed again(line.path(), L"query");
    EXPECT_EQ(2u, again->numRecords);
    EXPECT_EQ(3u, again->numDepths) << "the beams of the profiles that are there";
}
