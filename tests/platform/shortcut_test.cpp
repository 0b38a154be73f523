#include "support/shortcut_bytes.h"
#include "support/temporary_directory.h"

#include <skar/platform.h>

#include <gtest/gtest.h>

#include <array>
#include <random>

using MORVAPP::MORVAUString;
using skar::tests::shortcutBytes;
using skar::tests::TemporaryDirectory;

namespace {

struct Resolved {
    int code;
    std::wstring path;
};
Resolved resolved(const std::wstring& path) {
    MORVAUString text(path.c_str());
    const int code = resolveShortcut(text);
    return {code, text.toWide()};
}

// With slashes only, for comparing: targets come with the separator of their shortcut or the backslash.
std::wstring slashes(std::wstring path) {
    for (wchar_t& c : path) {
        c = c == L'\\' ? L'/' : c;
    }
    return path;
}

TEST(ResolveShortcut, APathWithoutShortcutPassesUnchanged) {
    for (const wchar_t* path : {L"", L"a\\b/c", L"\\\\server\\share", L"x.LNK", L"lnk"}) {
        const Resolved r = resolved(path);
        EXPECT_EQ(0, r.code);
        EXPECT_EQ(path, r.path);
    }
}

TEST(ResolveShortcut, TheRelativeTargetIsTakenFirst) {
    const TemporaryDirectory dir;
    dir.write("links/ship.lnk", shortcutBytes(u"..\\near\\ship.skv", (dir / "far.skv").string()));
    dir.write("near/ship.skv", "");
    dir.write("far.skv", "");
    const Resolved r = resolved(dir.wide("links/ship.lnk"));
    EXPECT_EQ(0, r.code);
    EXPECT_EQ(dir.wide("near/ship.skv"), slashes(r.path));
}

TEST(ResolveShortcut, TheStoredTargetHoldsWhereTheRelativeOneDoesNotExist) {
    const TemporaryDirectory dir;
    dir.write("ship.lnk", shortcutBytes(u".\\gone.skv", (dir / "far.skv").string()));
    dir.write("far.skv", "");
    EXPECT_EQ(dir.wide("far.skv"), resolved(dir.wide("ship.lnk")).path);
}

TEST(ResolveShortcut, AStretchInTheMiddleIsReplacedAndTheRestKept) {
    const TemporaryDirectory dir;
    dir.write("real/deep/file", "");
    dir.write("dir.lnk", shortcutBytes(u".\\real", ""));
    const Resolved r = resolved(dir.wide() + L"\\dir.lnk\\deep\\file");
    EXPECT_EQ(0, r.code);
    EXPECT_EQ(dir.wide("real/deep/file"), slashes(r.path));
}

TEST(ResolveShortcut, ShortcutsToShortcutsAndSeveralInAPathAreFollowed) {
    const TemporaryDirectory dir;
    dir.write("a.lnk", shortcutBytes(u".\\b.lnk", ""));
    dir.write("b.lnk", shortcutBytes(u".\\real", ""));
    dir.write("real/c.lnk", shortcutBytes(u"..\\other", ""));
    dir.write("other/file", "");
    EXPECT_EQ(dir.wide("other/file"), slashes(resolved(dir.wide("a.lnk/c.lnk/file")).path));
}

TEST(ResolveShortcut, NamesBeyondAsciiAreFollowed) {
    const TemporaryDirectory dir;
    dir.write("\xC3\x96l.lnk", shortcutBytes(u".\\\u00C4\xD83C\xDF0A", ""));
    dir.write("\xC3\x84\xF0\x9F\x8C\x8A", "");
    EXPECT_EQ(dir.wide() + L"/\u00C4\U0001F30A", slashes(resolved(dir.wide() + L"/\u00D6l.lnk").path));
}

// The header of a shortcut with flags of the caller's.
std::string header(char flags) {
    std::string bytes = shortcutBytes(u"", "").substr(0, 76);
    bytes[20] = flags;
    return bytes;
}

TEST(ResolveShortcut, NarrowTextsBehindAnItemListAndANameAreRead) {
    const TemporaryDirectory dir;
    const std::string itemList("\x04\x00"
                               "ABCD",
                               6);
    const std::string name("\x03\x00"
                           "abc",
                           5);
    dir.write("a.lnk", header(0x01 | 0x04 | 0x08) + itemList + name + std::string("\x03\x00.\\\xC4", 5));
    dir.write("\xC3\x84", "");
    EXPECT_EQ(dir.wide() + L"/\u00C4", slashes(resolved(dir.wide("a.lnk")).path));
}

TEST(ResolveShortcut, ATargetOnANetworkShareIsItsShareAndTheRest) {
    const TemporaryDirectory dir;
    dir.write("share/file", "");
    const std::string share = (dir / "share").string();
    const auto shareSize = static_cast<std::uint32_t>(share.size() + 1);
    std::string info;
    for (const std::uint32_t word : {28 + 20 + shareSize + 5, 28u, 2u, 0u, 0u, 28u, 28 + 20 + shareSize,
                                     20 + shareSize, 2u, 20u, 0u, 0x20000u}) {
        skar::tests::putLittle(info, word, 4);
    }
    info += share + '\0' + "file" + '\0';
    dir.write("a.lnk", header(0x02) + info);
    EXPECT_EQ(dir.wide("share/file"), slashes(resolved(dir.wide("a.lnk")).path));
}

TEST(ResolveShortcut, ALocalTargetInUtf16GoesBeforeTheNarrowOne) {
    const TemporaryDirectory dir;
    dir.write("\xE6\xB5\xB7", "");
    std::string wide;
    skar::tests::putUtf16(wide, (dir.path() / u"\u6D77").u16string() + u'\0');
    const auto size = static_cast<std::uint32_t>(wide.size());
    std::string info;
    for (const std::uint32_t word : {36 + 2 + size, 36u, 1u, 0u, 36u, 0u, 37u, 38u, 0u}) {
        skar::tests::putLittle(info, word, 4);
    }
    dir.write("a.lnk", header(0x02) + info + std::string("?\0", 2) + wide);
    EXPECT_EQ(dir.wide() + L"/\u6D77", slashes(resolved(dir.wide("a.lnk")).path));
}

TEST(ResolveShortcut, AShortcutThatCannotBeResolvedStays) {
    const TemporaryDirectory dir;
    dir.write("gone.lnk", shortcutBytes(u".\\gone", "/no/such/file"));
    dir.write("text.lnk", "not a shortcut");
    dir.write("empty.lnk", "");
    dir.write("folder.lnk/file", "");
    for (const char* name : {"gone.lnk", "text.lnk", "empty.lnk", "folder.lnk/file", "none.lnk"}) {
        const Resolved r = resolved(dir.wide(name));
        EXPECT_EQ(-1, r.code) << name;
        EXPECT_EQ(dir.wide(name), r.path);
    }
}

TEST(ResolveShortcut, AnElementBehindOneThatStaysIsStillResolved) {
    const TemporaryDirectory dir;
    dir.write("folder.lnk/a.lnk", shortcutBytes(u".\\file", ""));
    dir.write("folder.lnk/file", "");
    const Resolved r = resolved(dir.wide("folder.lnk/a.lnk"));
    EXPECT_EQ(-1, r.code);
    EXPECT_EQ(dir.wide("folder.lnk/file"), slashes(r.path));
}

TEST(ResolveShortcut, ShortcutsInACircleEnd) {
    const TemporaryDirectory dir;
    dir.write("a.lnk", shortcutBytes(u".\\b.lnk", ""));
    dir.write("b.lnk", shortcutBytes(u".\\a.lnk", ""));
    dir.write("self.lnk", shortcutBytes(u".\\self.lnk", ""));
    dir.write("sub/x", "");
    dir.write("winding.lnk", shortcutBytes(u".\\sub\\..\\winding.lnk", ""));
    for (const char* name : {"a.lnk", "self.lnk", "winding.lnk"}) {
        const Resolved r = resolved(dir.wide(name));
        EXPECT_EQ(-1, r.code) << name;
        EXPECT_EQ(dir.wide(name), r.path);
    }
}

TEST(ResolveShortcut, EveryTruncationAndBrokenByteIsSurvived) {
    const TemporaryDirectory dir;
    dir.write("file", "");
    const std::string good = shortcutBytes(u".\\file", (dir / "file").string());
    for (std::size_t n = 0; n < good.size(); ++n) {
        dir.write("cut.lnk", good.substr(0, n));
        const Resolved r = resolved(dir.wide("cut.lnk"));
        EXPECT_EQ(slashes(r.path), r.code == 0 ? dir.wide("file") : dir.wide("cut.lnk")) << "cut at " << n;
    }
    constexpr unsigned seed = 41;
    std::mt19937 random(seed);
    for (int i = 0; i < 300; ++i) {
        std::string broken = good;
        for (int k = 0; k < 3; ++k) {
            broken[random() % broken.size()] = static_cast<char>(random());
        }
        dir.write("cut.lnk", broken);
        const Resolved r = resolved(dir.wide("cut.lnk"));
        EXPECT_TRUE(r.code == 0 || r.path == dir.wide("cut.lnk")) << "seed " << seed << ", round " << i;
    }
}

TEST(ShortcutSupport, StartsAndEnds) {
    EXPECT_EQ(0, initSrhotcutSupport());
    EXPECT_EQ(0, initSrhotcutSupport());
    terminateShortcutSupport();
}

TEST(SKARResolveShortcut, PutsTheResultIntoTheBuffer) {
    const TemporaryDirectory dir;
    dir.write("a.lnk", shortcutBytes(u".\\file", ""));
    dir.write("file", "");
    std::array<wchar_t, 512> buffer;
    EXPECT_EQ(0, SKARResolveShortcut(dir.wide("a.lnk").c_str(), 0, buffer.data(), buffer.size()));
    EXPECT_EQ(dir.wide("file"), slashes(buffer.data()));
    EXPECT_EQ(0, SKARResolveShortcut(L"plain", 1, buffer.data(), 6));
    EXPECT_STREQ(L"plain", buffer.data());
}

TEST(SKARResolveShortcut, TheFlagDecidesAboutAShortcutThatLeadsNowhere) {
    std::array<wchar_t, 64> buffer;
    EXPECT_EQ(0, SKARResolveShortcut(L"none.lnk", 0, buffer.data(), buffer.size()));
    EXPECT_STREQ(L"none.lnk", buffer.data());
    EXPECT_EQ(-1, SKARResolveShortcut(L"none.lnk", 1, buffer.data(), buffer.size()));
    EXPECT_STREQ(L"", buffer.data());
}

TEST(SKARResolveShortcut, NullArgumentsAndSmallBuffersFail) {
    wchar_t buffer[5] = L"old";
    EXPECT_EQ(-1, SKARResolveShortcut(nullptr, 0, buffer, 5));
    EXPECT_STREQ(L"", buffer);
    EXPECT_EQ(-1, SKARResolveShortcut(L"plain", 0, buffer, 5));
    EXPECT_STREQ(L"", buffer);
    EXPECT_EQ(-1, SKARResolveShortcut(L"plain", 0, nullptr, 5));
    EXPECT_EQ(-1, SKARResolveShortcut(L"plain", 0, buffer, 0));
}

} // namespace
