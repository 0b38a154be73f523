#include "platform/file.h"
#include "support/fault_backend.h"
#include "support/shortcut_bytes.h"
#include "support/temporary_directory.h"

#include <skar/paths.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <type_traits>
#include <vector>

#include <unistd.h>

using namespace SKARIOUtils;
using skar::tests::FaultBackend;
using skar::tests::Op;
using skar::tests::shortcutBytes;
using skar::tests::TemporaryDirectory;

namespace {

struct Split {
    bool whole = false;
    MORVAUString root{L"old"};
    MORVAUString project{L"old"};
    MORVAUString vessel{L"old"};
    MORVAUString day{L"old"};
    MORVAUString line{L"old"};
};
std::ostream& operator<<(std::ostream& out, const Split& s) {
    return out << s.whole << ' ' << s.root << '|' << s.project << '|' << s.vessel << '|' << s.day << '|'
               << s.line;
}
std::string text(const Split& split) {
    std::ostringstream out;
    out << split;
    return out.str();
}
std::string splitDay(const wchar_t* path) {
    Split s;
    s.whole = pathToPVD(path, s.root, s.project, s.vessel, s.day);
    return text(s);
}
std::string splitLine(const wchar_t* path) {
    Split s;
    s.whole = pathToPVDL(path, s.root, s.project, s.vessel, s.day, s.line);
    return text(s);
}

std::wstring appended(const wchar_t* base, const wchar_t* leaf) {
    MORVAUString path(base);
    appendPath(path, leaf);
    return path.toWide();
}

std::wstring slashes(std::wstring path) {
    for (wchar_t& c : path) {
        c = c == L'\\' ? L'/' : c;
    }
    return path;
}

TEST(PathToPVDL, SplitsALinePath) {
    EXPECT_EQ("1 a|b|c|d|e", splitLine(L"a/b/c/d/e"));
    EXPECT_EQ("1 a|b|c|d|e", splitLine(L"a\\b\\c\\d\\e"));
    EXPECT_EQ("1 x\\y|b|c|d|e", splitLine(L"x/y\\b/c\\d/e"));
}

TEST(PathToPVDL, WithoutRootTheRootIsEmpty) {
    EXPECT_EQ("1 |b|c|d|e", splitLine(L"b/c/d/e"));
    EXPECT_EQ("1 |b|c|d|e", splitLine(L"/b/c/d/e"));
}

TEST(PathToPVDL, OneSeparatorAtTheEndIsPassedOverTwoGiveAnEmptyLine) {
    EXPECT_EQ(splitLine(L"a/b/c/d/e"), splitLine(L"a/b/c/d/e/"));
    EXPECT_EQ("1 a|b|c|d|", splitLine(L"a/b/c/d//"));
    EXPECT_EQ("1 b|c|d|e|", splitLine(L"b/c/d/e//"));
}

TEST(PathToPVDL, WhatIsMissingGivesFalse) {
    EXPECT_EQ("0 |old|old|old|old", splitLine(L""));
    EXPECT_EQ("0 |old|old|old|old", splitLine(L"e"));
    EXPECT_EQ("0 |old|old|old|e", splitLine(L"d/e"));
    EXPECT_EQ("0 |old|old|d|e", splitLine(L"c/d/e"));
    EXPECT_EQ("0 |old||d|e", splitLine(L"a/b//d/e"));
    EXPECT_EQ("0 a||c|d|e", splitLine(L"a//c/d/e"));
    EXPECT_EQ("1 \\a|b|c|d|e", splitLine(L"/a/b/c/d/e"));
}

TEST(PathToPVD, SplitsADayPath) {
    EXPECT_EQ("1 a|b|c|d|old", splitDay(L"a/b/c/d"));
    EXPECT_EQ("1 a|b|c|d|old", splitDay(L"a/b/c/d/"));
    EXPECT_EQ("1 |b|c|d|old", splitDay(L"b/c/d"));
    EXPECT_EQ("0 |old|old||old", splitDay(L"a/b/c//"));
    EXPECT_EQ("0 |old|old|old|old", splitDay(L"d"));
    EXPECT_EQ("0 |old|old|d|old", splitDay(L"c/d"));
}

TEST(PathToPVD, ThePathMayBeOneOfTheOutputs) {
    Split s;
    s.root = L"a/b/c/d";
    EXPECT_TRUE(pathToPVD(s.root, s.root, s.project, s.vessel, s.day));
    EXPECT_EQ(L"a", s.root.toWide());
    EXPECT_EQ(L"d", s.day.toWide());
}

TEST(PathToPVD, LongAndWideNamesAreKept) {
    const std::wstring name = std::wstring(1000, L'n') + L"\U0001F30A";
    Split s;
    EXPECT_TRUE(pathToPVD((L"r/" + name + L"/v/d").c_str(), s.root, s.project, s.vessel, s.day));
    EXPECT_EQ(name, s.project.toWide());
}

TEST(AppendPath, PutsOneBackslashBetween) {
    EXPECT_EQ(L"a\\b", appended(L"a\\\\", L"\\\\b"));
    EXPECT_EQ(L"a\\b", appended(L"a", L"b"));
    EXPECT_EQ(L"a\\", appended(L"a", L""));
    EXPECT_EQ(L"\\b", appended(L"", L"b"));
    EXPECT_EQ(L"a/\\/b", appended(L"a/", L"/b"));
    MORVAUString self(L"\\x\\");
    appendPath(self, self);
    EXPECT_EQ(L"\\x\\x\\", self.toWide());
}

TEST(SensorIDToName, IsEmptyOutsideTheTable) {
    EXPECT_EQ(L"Gyro", sensorIDToName(1).toWide());
    EXPECT_EQ(L"SideScan", sensorIDToName(20).toWide());
    EXPECT_TRUE(sensorIDToName(8).isEmpty());
    EXPECT_TRUE(sensorIDToName(32787).isEmpty());
    EXPECT_TRUE(sensorIDToName(0xFFFFFFFFu).isEmpty());
}

TEST(SensorExists, LooksForTheDataFile) {
    const TemporaryDirectory dir;
    dir.write("line/Gyro", "");
    dir.write("line/NewSSSProcessedSideScan", "");
    const MORVAUString line(dir.wide("line").c_str());
    EXPECT_TRUE(sensorExists(line, 1u));
    EXPECT_TRUE(sensorExists(line, L"Gyro"));
    EXPECT_FALSE(sensorExists(line, 2u));
    EXPECT_FALSE(sensorExists(line, 32787u));
    EXPECT_TRUE(sensorExists(line, L"NewSSSProcessedSideScan"));
    EXPECT_FALSE(sensorExists(MORVAUString(L"/none"), 1u));
}

TEST(SensorExists, AZeroInThePathHidesNothing) {
    const TemporaryDirectory dir;
    dir.write("line/Gyro", "");
    MORVAUString line(dir.wide("line/Gyro").c_str());
    line += L'\0';
    EXPECT_FALSE(sensorExists(line, 1u));
}

TEST(CreateLineDirectory, MakesWhatIsMissing) {
    const TemporaryDirectory dir;
    const MORVAUString root(dir.wide().c_str());
    EXPECT_TRUE(createLineDirectory(root, L"p", L"v", L"d", L"l"));
    EXPECT_TRUE(dir.has("p/v/d/l"));
    EXPECT_TRUE(createLineDirectory(root, L"p", L"v", L"d", L"m"));
    EXPECT_TRUE(dir.has("p/v/d/m"));
    EXPECT_TRUE(createLineDirectory(root, L"p", L"v", L"d", L"m"));
}

TEST(CreateLineDirectory, NeedsARootAndKeepsWhatWasMade) {
    const TemporaryDirectory dir;
    EXPECT_FALSE(createLineDirectory(MORVAUString(dir.wide("none").c_str()), L"p", L"v", L"d", L"l"));
    EXPECT_FALSE(dir.has("none"));
    dir.write("p/v", "a file");
    EXPECT_FALSE(createLineDirectory(MORVAUString(dir.wide().c_str()), L"p", L"v", L"d", L"l"));
    FaultBackend disk;
    disk.put("/r/x", "");
    disk.failAt(Op::makeDirectory, 3, ENOSPC);
    EXPECT_FALSE(createLineDirectory(L"/r", L"p", L"v", L"d", L"l"));
    EXPECT_TRUE(skar::platform::pathAccessible(L"/r/p/v"));
    EXPECT_FALSE(skar::platform::pathAccessible(L"/r/p/v/d"));
}

TEST(DeleteFolder, RemovesEverythingBelow) {
    const TemporaryDirectory dir;
    dir.write("outside", "kept");
    dir.write("tree/a/b/c", "");
    dir.write("tree/.hidden", "");
    ASSERT_EQ(0, ::symlink("../outside", (dir / "tree/link").c_str()));
    EXPECT_TRUE(deleteFolder(MORVAUString(dir.wide("tree").c_str())));
    EXPECT_FALSE(dir.has("tree"));
    EXPECT_EQ("kept", dir.read("outside"));
}

TEST(DeleteFolder, FailsForWhatIsNoFolder) {
    const TemporaryDirectory dir;
    dir.write("file", "kept");
    EXPECT_FALSE(deleteFolder(MORVAUString(dir.wide("none").c_str())));
    EXPECT_FALSE(deleteFolder(MORVAUString(dir.wide("file").c_str())));
    EXPECT_EQ("kept", dir.read("file"));
    EXPECT_FALSE(deleteFolder(MORVAUString()));
}

TEST(DeleteFolder, StopsAtTheFirstFailure) {
    FaultBackend disk;
    disk.put("/t/a", "");
    disk.put("/t/b/c", "");
    disk.put("/t/d", "");
    disk.failAt(Op::remove, 2, EACCES);
    EXPECT_FALSE(deleteFolder(L"\\t"));
    EXPECT_FALSE(disk.has("/t/a"));
    EXPECT_TRUE(disk.has("/t/b/c"));
    EXPECT_TRUE(disk.has("/t/d"));
}

TEST(GetVesselFileName, LiesBesideTheProjects) {
    EXPECT_EQ(L"r\\VesselConfig\\v.skv", getVesselFileName(L"r/p/v/d/l").toWide());
    EXPECT_EQ(L"\\VesselConfig\\v.skv", getVesselFileName(L"p/v/d/l").toWide());
}

TEST(GetVesselFileName, FindsTheFileWithoutExtension) {
    const TemporaryDirectory dir;
    dir.write("VesselConfig/v", "");
    EXPECT_EQ(dir.wide("VesselConfig/v"),
              slashes(getVesselFileName((dir.wide() + L"/p/v/d/l").c_str()).toWide()));
}

class ResolveVesselName : public testing::Test {
protected:
    std::string resolved(const std::string& given, int expectedCode = 0) const {
        MORVAUString name(dir.wide(given).c_str());
        EXPECT_EQ(expectedCode, resolveVesselName(name));
        const std::wstring path = slashes(name.toWide());
        return skar::platform::nativePath(path.substr(dir.wide().size() + 1).c_str());
    }
    const TemporaryDirectory dir;
};

TEST_F(ResolveVesselName, TriesItsFourSpellingsInOrder) {
    EXPECT_EQ("v.skv", resolved("v.skv", 5000006));
    dir.write("short", "");
    dir.write("long", "");
    dir.write("v.lnk", shortcutBytes(u".\\short", ""));
    EXPECT_EQ("short", resolved("v.skv"));
    dir.write("v", "");
    EXPECT_EQ("v", resolved("v.skv"));
    dir.write("v.skv.lnk", shortcutBytes(u".\\long", ""));
    EXPECT_EQ("long", resolved("v.skv"));
    dir.write("v.skv", "");
    EXPECT_EQ("v.skv", resolved("v.skv"));
}

TEST_F(ResolveVesselName, AShortcutThatLeadsNowhereIsTheResultItself) {
    dir.write("v.skv.lnk", shortcutBytes(u".\\gone", ""));
    EXPECT_EQ("v.skv.lnk", resolved("v.skv"));
}

TEST(ResolveVesselNameShort, NamesShorterThanTheExtensionAreRefused) {
    for (const wchar_t* given : {L"", L"a", L"abc", L"none"}) {
        MORVAUString name(given);
        EXPECT_EQ(5000006, resolveVesselName(name));
        EXPECT_EQ(given, name.toWide());
    }
}

TEST(FindVesselConfigurationDir, CopiesWhatFits) {
    const std::wstring path = L"r\\VesselConfig\\v.skv";
    std::array<wchar_t, 64> buffer{};
    EXPECT_EQ(0, SKARFindVesselConfigurationDir(L"r/p/v/d/l", buffer.data(), path.size() + 1));
    EXPECT_EQ(path, buffer.data());
}

TEST(FindVesselConfigurationDir, ACapacityOfThePathsLengthIsTooSmall) {
    const std::wstring path = L"r\\VesselConfig\\v.skv";
    std::array<wchar_t, 64> buffer{};
    EXPECT_EQ(5000006, SKARFindVesselConfigurationDir(L"r/p/v/d/l", buffer.data(), path.size()));
    EXPECT_EQ(5000006, SKARFindVesselConfigurationDir(L"r/p/v/d/l", buffer.data(), 0));
    EXPECT_EQ(L'\0', buffer[0]);
    EXPECT_EQ(5000006, SKARFindVesselConfigurationDir(nullptr, buffer.data(), buffer.size()));
    EXPECT_EQ(5000006, SKARFindVesselConfigurationDir(L"r/p/v/d/l", nullptr, 64));
}

TEST(ConvertText, GoesToUtf8AndBack) {
    char* narrow = SKARConvertWideCharToASCII(L"a\u00C4\u6D77\U0001F30A");
    EXPECT_STREQ("a\xC3\x84\xE6\xB5\xB7\xF0\x9F\x8C\x8A", narrow);
    wchar_t* wide = SKARConvertASCIICharToWide(narrow);
    EXPECT_STREQ(L"a\u00C4\u6D77\U0001F30A", wide);
    SKARIO_free(narrow);
    SKARIO_free(wide);
    EXPECT_EQ(nullptr, SKARConvertWideCharToASCII(nullptr));
    EXPECT_EQ(nullptr, SKARConvertASCIICharToWide(nullptr));
    SKARIO_free(nullptr);
}

TEST(SoundingRecord, IsOrderedByProfileThenBeam) {
    const SoundingRecord record{3, 4, {1, 2}};
    EXPECT_TRUE((record == SoundingRecord{3, 4, {9, 9}}));
    EXPECT_FALSE((record != SoundingRecord{3, 4, {9, 9}}));
    EXPECT_TRUE((record < SoundingRecord{3, 5, {0, 0}}));
    EXPECT_TRUE((record > SoundingRecord{2, 9, {0, 0}}));
    EXPECT_FALSE((record < SoundingRecord{3, 4, {9, 9}}));
    const SoundingRecord empty;
    EXPECT_EQ(0u, empty.profile + empty.beam + empty.data[0] + empty.data[1]);
    EXPECT_EQ(16u, sizeof(SoundingRecord));
}

TEST(SoundingStatusRecordList, HoldsEachSoundingOnceInOrder) {
    static_assert(std::has_virtual_destructor_v<SoundingStatusRecordList>);
    SoundingStatusRecordList list;
    list.put({2, 1, {10, 0}});
    list.put({1, 2, {20, 0}});
    list.put({2, 1, {30, 0}});
    const SoundingStatusRecordList copy(list);
    list.put({0, 0, {0, 0}});
    ASSERT_EQ(2u, copy.size());
    std::vector<std::uint32_t> profiles;
    for (const SoundingRecord& record : copy) {
        profiles.push_back(record.profile);
    }
    EXPECT_EQ((std::vector<std::uint32_t>{1, 2}), profiles);
    EXPECT_EQ(30u, copy.find(2, 1)->data[0]);
    EXPECT_TRUE(copy.find(2, 2) == copy.end());
}

} // namespace
