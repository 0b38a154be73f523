#include <skar/platform.h>

#include "platform/file.h"
#include "support/temporary_directory.h"

#include <dirent.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include <unistd.h>

using skar::tests::TemporaryDirectory;

namespace {

class DirectoryEnumeration : public testing::Test {
protected:
    ~DirectoryEnumeration() override { std::filesystem::current_path(before); }

    static std::set<std::wstring> names(SKAR::Directory* directory) {
        std::set<std::wstring> result;
        while (const SKAR::DirectoryEntry* entry = readdir(directory)) {
            result.insert(entry->d_name);
        }
        return result;
    }

    const std::filesystem::path before = std::filesystem::current_path();
    const TemporaryDirectory dir;
};

TEST_F(DirectoryEnumeration, ListsEverythingOnce) {
    dir.write("a", "");
    dir.write("sub/inner", "");
    dir.write("\xC3\x84\xF0\x9F\x8C\x8A", "");
    dir.write(".hidden", "");
    SKAR::Directory* directory = opendir(dir.wide().c_str());
    ASSERT_NE(nullptr, directory);
    EXPECT_EQ((std::set<std::wstring>{L".", L"..", L"a", L"sub", L"\u00C4\U0001F30A", L".hidden"}),
              names(directory));
    EXPECT_EQ(nullptr, readdir(directory));
    EXPECT_EQ(0, closedir(directory));
}

TEST_F(DirectoryEnumeration, TheWorkingDirectoryIsTheOpenedOneUntilTheEnd) {
    SKAR::Directory* directory = opendir(dir.wide().c_str());
    ASSERT_NE(nullptr, directory);
    EXPECT_EQ(dir.path(), std::filesystem::current_path());
    EXPECT_EQ(0, closedir(directory));
    EXPECT_EQ(before, std::filesystem::current_path());
}

TEST_F(DirectoryEnumeration, AMissingPathOrAFileGivesNullAndStays) {
    dir.write("file", "");
    for (const std::wstring& path : {dir.wide("none"), dir.wide("file"), std::wstring()}) {
        EXPECT_EQ(nullptr, opendir(path.c_str()));
        EXPECT_EQ(before, std::filesystem::current_path());
    }
    EXPECT_EQ(nullptr, opendir(static_cast<const wchar_t*>(nullptr)));
}

TEST_F(DirectoryEnumeration, RewindStartsAgainInTheOpenedDirectory) {
    dir.write("a", "");
    dir.write("sub/inner", "");
    std::filesystem::current_path(dir.path().parent_path());
    SKAR::Directory* directory = opendir(dir.path().filename().wstring().c_str());
    ASSERT_NE(nullptr, directory);
    EXPECT_EQ(4u, names(directory).size());
    std::filesystem::current_path(dir / "sub");
    rewinddir(directory);
    EXPECT_EQ(dir.path(), std::filesystem::current_path());
    EXPECT_EQ(1u, names(directory).count(L"sub"));
    EXPECT_EQ(0, closedir(directory));
    EXPECT_EQ(dir.path().parent_path(), std::filesystem::current_path());
}

TEST_F(DirectoryEnumeration, TheFirstReadListsTheWorkingDirectory) {
    dir.write("sub/inner", "");
    SKAR::Directory* directory = opendir(dir.wide().c_str());
    ASSERT_NE(nullptr, directory);
    std::filesystem::current_path(dir / "sub");
    EXPECT_EQ(1u, names(directory).count(L"inner"));
    closedir(directory);
}

TEST_F(DirectoryEnumeration, OnlyOneIsOpenAtATime) {
    SKAR::Directory* directory = opendir(dir.wide().c_str());
    ASSERT_NE(nullptr, directory);
    EXPECT_EQ(nullptr, opendir(dir.wide().c_str()));
    closedir(directory);
    directory = opendir(dir.wide().c_str());
    EXPECT_NE(nullptr, directory);
    closedir(directory);
}

TEST_F(DirectoryEnumeration, EveryCallHasTheSameEntryBuffer) {
    SKAR::Directory* directory = opendir(dir.wide().c_str());
    ASSERT_NE(nullptr, directory);
    const SKAR::DirectoryEntry* first = readdir(directory);
    EXPECT_EQ(first, readdir(directory));
    closedir(directory);
}

TEST_F(DirectoryEnumeration, AWorkingDirectoryOfMoreThan256CharactersFails) {
    std::filesystem::path deep = dir.path();
    while (deep.native().size() <= 256) {
        deep /= std::string(40, 'd');
    }
    std::filesystem::create_directories(deep);
    std::filesystem::current_path(deep);
    EXPECT_EQ(nullptr, opendir(dir.wide().c_str()));
    EXPECT_EQ(deep, std::filesystem::current_path());
    const std::size_t longest = 256 - dir.path().native().size() - 1;
    std::filesystem::create_directory(dir / std::string(std::min<std::size_t>(longest, 255), 'e'));
    std::filesystem::current_path(dir / std::string(std::min<std::size_t>(longest, 255), 'e'));
    SKAR::Directory* directory = opendir(dir.wide().c_str());
    EXPECT_NE(nullptr, directory);
    closedir(directory);
}

TEST_F(DirectoryEnumeration, ABackslashSeparates) {
    dir.write("sub/inner", "");
    SKAR::Directory* directory = opendir((dir.wide() + L"\\sub").c_str());
    ASSERT_NE(nullptr, directory);
    EXPECT_EQ(1u, names(directory).count(L"inner"));
    closedir(directory);
}

TEST_F(DirectoryEnumeration, NullHandlesAreAccepted) {
    EXPECT_EQ(nullptr, readdir(static_cast<SKAR::Directory*>(nullptr)));
    rewinddir(static_cast<SKAR::Directory*>(nullptr));
    EXPECT_EQ(-1, closedir(static_cast<SKAR::Directory*>(nullptr)));
}

TEST_F(DirectoryEnumeration, TheFunctionsOfTheCLibraryStayBesideIt) {
    dir.write("a", "");
    DIR* native = opendir(dir.path().c_str());
    ASSERT_NE(nullptr, native);
    int entries = 0;
    while (const dirent* entry = readdir(native)) {
        entries += entry->d_name[0] == 'a' ? 1 : 0;
    }
    EXPECT_EQ(1, entries);
    EXPECT_EQ(0, closedir(native));
    EXPECT_EQ(before, std::filesystem::current_path());
}

} // namespace
