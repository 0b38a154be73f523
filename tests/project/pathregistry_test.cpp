#include "support/fault_backend.h"
#include "support/temporary_directory.h"

#include <skar/errors.h>
#include <skar/project.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

namespace {

using SKAR::Project::PathRegistry;
using skar::tests::FaultBackend;
using skar::tests::TemporaryDirectory;
using Paths = PathRegistry::Paths;

MORVAUString text(const std::string& utf8) {
    return MORVAUString(utf8.c_str());
}

constexpr const char* head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string registry(const std::string& children) {
    return head + std::string("<SKAR_DOLM_Project_Registry>\n") + children +
           "</SKAR_DOLM_Project_Registry>\n";
}

class Registry : public testing::Test {
protected:
    MORVAUString file() const { return MORVAUString(folder.wide("registry.xml").c_str()); }
    void write(const std::string& bytes) { folder.write("registry.xml", bytes); }
    // As another program does it some time later.
    void writeLater(const std::string& bytes) {
        const auto before = std::filesystem::last_write_time(folder / "registry.xml");
        write(bytes);
        std::filesystem::last_write_time(folder / "registry.xml", before + std::chrono::seconds(5));
    }
    std::string bytes() const { return folder.read("registry.xml"); }

    TemporaryDirectory folder;
};

TEST_F(Registry, OfNoFileIsEmptyAndCannotBeSaved) {
    // Ahead of any loadInstance in this process, where the test runs alone.
    PathRegistry::loadInstance(MORVAUString());
    PathRegistry& instance = PathRegistry::getInstance();
    EXPECT_TRUE(instance.getPaths().empty());
    EXPECT_TRUE(instance.getFileName().isEmpty());
    EXPECT_EQ(5028603, instance.save(nullptr));
}

TEST_F(Registry, ThatWasNeverLoadedIsEmpty) {
    const PathRegistry alone{file()};
    EXPECT_EQ(file(), alone.getFileName());
    EXPECT_TRUE(alone.getPaths().empty());
    if (PathRegistry::getInstance().getFileName().isEmpty()) {
        EXPECT_EQ(5028603, PathRegistry::getInstance().save(nullptr));
    }
}

TEST_F(Registry, OfAFileThatIsMissingIsEmptyAndMakesItWhenSaved) {
    EXPECT_EQ(0, PathRegistry::loadInstance(file()));
    PathRegistry& instance = PathRegistry::getInstance();
    EXPECT_TRUE(instance.getPaths().empty());
    instance.add(text("b"), text("C:\\two"));
    instance.add(text("a"), text("/one"));
    const std::string expected =
        registry("  <Project label=\"a\" path=\"/one\"/>\n  <Project label=\"b\" path=\"C:\\two\"/>\n");
    EXPECT_EQ(static_cast<long>(expected.size()), instance.save(nullptr));
    EXPECT_EQ(expected, bytes());
}

TEST_F(Registry, IsLoaded) {
    write(registry("<Project label='a' path='/one'/><Other label='x' path='y'/><Project label='b'/>"
                   "<Project path='/three'/><project label='c' path='d'/><Project label='a' path='/later'/>"
                   "<Project label='' path=''/>"));
    PathRegistry loaded(file());
    EXPECT_EQ(0, loaded.load());
    EXPECT_EQ((Paths{{text("a"), text("/later")}, {text(""), text("")}}), loaded.getPaths());
}

TEST_F(Registry, IsEmptiedByEachLoad) {
    write(registry("<Project label='a' path='/one'/>"));
    PathRegistry loaded(file());
    ASSERT_EQ(0, loaded.load());
    for (const auto& [content, code] : {std::pair<const char*, long>{"words", 0},
                                        {"", 0},
                                        {"<Other/>", 5028602},
                                        {"<skar_dolm_project_registry/>", 5028602}}) {
        loaded.add(text("kept"), text("?"));
        write(content);
        EXPECT_EQ(code, loaded.load()) << content;
        EXPECT_TRUE(loaded.getPaths().empty());
    }
    std::filesystem::remove(folder / "registry.xml");
    loaded.add(text("kept"), text("?"));
    EXPECT_EQ(0, loaded.load());
    EXPECT_TRUE(loaded.getPaths().empty());
}

TEST_F(Registry, EntriesAreSetReplacedRemovedAndRenamed) {
    PathRegistry table(file());
    table.add(text("a"), text("1"));
    table.add(text("a"), text("2"));
    EXPECT_EQ((Paths{{text("a"), text("2")}}), table.getPaths());
    EXPECT_FALSE(table.remove(text("b")));
    EXPECT_FALSE(table.rename(text("b"), text("c")));
    EXPECT_TRUE(table.rename(text("a"), text("b")));
    EXPECT_EQ((Paths{{text("b"), text("2")}}), table.getPaths());
    table.add(text("c"), text("3"));
    EXPECT_TRUE(table.rename(text("b"), text("c")));
    EXPECT_EQ((Paths{{text("c"), text("2")}}), table.getPaths());
    EXPECT_TRUE(table.rename(text("c"), text("c")));
    EXPECT_EQ((Paths{{text("c"), text("2")}}), table.getPaths());
    EXPECT_TRUE(table.remove(text("c")));
    EXPECT_TRUE(table.getPaths().empty());
    table.setPaths({{text("x"), text("y")}});
    EXPECT_EQ(1u, table.getPaths().size());
}

TEST_F(Registry, KeepsWhatItDoesNotKnow) {
    write(registry("<!-- ours --><Project label='gone' path='x'/><Other a='1'><Project label='deep' "
                   "path='y'/></Other>"));
    PathRegistry table(file());
    table.add(text("\u00e9<"), text("\"q\""));
    EXPECT_LT(0, table.save(nullptr));
    EXPECT_EQ(
        registry("  <!-- ours -->\n  <Other a=\"1\">\n    <Project label=\"deep\" path=\"y\"/>\n  </Other>\n"
                 "  <Project label=\"\u00e9&lt;\" path=\"&quot;q&quot;\"/>\n"),
        bytes());
    ASSERT_EQ(0, table.load());
    EXPECT_EQ((Paths{{text("\u00e9<"), text("\"q\"")}}), table.getPaths());
}

TEST_F(Registry, IsSavedUnderANewNameThatItKeeps) {
    PathRegistry table{MORVAUString()};
    EXPECT_EQ(5028603, table.save(nullptr));
    const MORVAUString name = file();
    EXPECT_LT(0, table.save(&name));
    EXPECT_EQ(name, table.getFileName());
    EXPECT_EQ(head + std::string("<SKAR_DOLM_Project_Registry/>\n"), bytes());
    const MORVAUString none;
    EXPECT_EQ(5028603, table.save(&none));
}

TEST_F(Registry, DoesNotReplaceAFileOfAnotherKind) {
    write("<Other/>");
    PathRegistry table(file());
    EXPECT_EQ(5028602, table.save(nullptr));
    EXPECT_EQ("<Other/>", bytes());
    write("no XML");
    EXPECT_LT(0, table.save(nullptr));
    EXPECT_EQ(head + std::string("<SKAR_DOLM_Project_Registry/>\n"), bytes());
}

TEST_F(Registry, IsLoadedAgainWhenAnotherProgramChangedIt) {
    write(registry("<Project label='a' path='1'/>"));
    ASSERT_EQ(0, PathRegistry::loadInstance(file()));
    PathRegistry::getInstance().add(text("unsaved"), text("x"));
    EXPECT_EQ(2u, PathRegistry::getInstance().getPaths().size());
    writeLater(registry("<Project label='b' path='2'/>"));
    EXPECT_EQ((Paths{{text("b"), text("2")}}), PathRegistry::getInstance().getPaths());
    std::filesystem::remove(folder / "registry.xml");
    EXPECT_EQ(1u, PathRegistry::getInstance().getPaths().size());
}

TEST_F(Registry, IsLoadedAgainAfterItsOwnSave) {
    write(registry(""));
    std::filesystem::last_write_time(folder / "registry.xml",
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    ASSERT_EQ(0, PathRegistry::loadInstance(file()));
    PathRegistry& instance = PathRegistry::getInstance();
    instance.add(text("a"), text("1"));
    ASSERT_LT(0, instance.save(nullptr));
    instance.add(text("unsaved"), text("2"));
    EXPECT_EQ((Paths{{text("a"), text("1")}}), PathRegistry::getInstance().getPaths());
}

TEST_F(Registry, HasOneInstanceUntilTheNextLoad) {
    write(registry("<Project label='a' path='1'/>"));
    ASSERT_EQ(0, PathRegistry::loadInstance(file()));
    EXPECT_EQ(&PathRegistry::getInstance(), &PathRegistry::getInstance());
    write("<Other/>");
    EXPECT_EQ(5028602, PathRegistry::loadInstance(file()));
    EXPECT_EQ(file(), PathRegistry::getInstance().getFileName());
    EXPECT_TRUE(PathRegistry::getInstance().getPaths().empty());
}

TEST(RegistryOnAFullDisk, LeavesTheFileAsItWas) {
    FaultBackend disk;
    disk.put("/r.xml", registry("<Project label='a' path='1'/>"));
    const auto files = disk.files();
    PathRegistry table(text("/r.xml"));
    table.add(text("b"), text("2"));
    disk.noSpaceAfter(60);
    EXPECT_EQ(-1, table.save(nullptr));
    disk.clearFaults();
    EXPECT_EQ(files, disk.files());
    EXPECT_EQ(0, disk.openStreams());
}

TEST(RegistryCodes, SayWhatTheyMean) {
    for (const int code : {5028601, 5028602, 5028603})
        EXPECT_FALSE(skar::errors::meaningOf(code).empty());
}

} // namespace
