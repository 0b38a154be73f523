#include <skar/strings.h>

#include <gtest/gtest.h>

#include <clocale>
#include <sstream>

namespace {

// U+1F30A, outside the plane that one UTF-16 unit holds.
constexpr wchar_t wave = 0x1F30A;
constexpr const char* waveUTF8 = "\xF0\x9F\x8C\x8A";
constexpr wchar_t highSurrogate = 0xD83C;

MORVAUString units(std::initializer_list<char16_t> list) {
    return MORVAUString(icu::UnicodeString(std::data(list), static_cast<std::int32_t>(list.size())));
}

TEST(UString, ANullTextOfAnyKindGivesAnEmptyString) {
    EXPECT_TRUE(MORVAUString(static_cast<const wchar_t*>(nullptr)).isEmpty());
    EXPECT_TRUE(MORVAUString(static_cast<const wchar_t*>(nullptr), 5).isEmpty());
    EXPECT_TRUE(MORVAUString(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_TRUE(MORVAUString(nullptr, 5, MORVAUString::Converter()).isEmpty());
    MORVAUString text(L"line");
    text = nullptr;
    EXPECT_TRUE(text.isEmpty());
    EXPECT_STREQ(text.getTerminatedBuffer(), L"");
    EXPECT_STREQ(text.getNarrowBuffer(), "");
}

TEST(UString, ANegativeLengthGivesAnEmptyString) {
    EXPECT_TRUE(MORVAUString(L"line", -1).isEmpty());
    EXPECT_TRUE(MORVAUString("line", -1, MORVAUString::Converter()).isEmpty());
}

TEST(UString, WideTextOutsideTheBasicPlaneIsTwoUnitsAndComesBackWhole) {
    const wchar_t wide[] = {L'a', wave, L'b', 0};
    const MORVAUString text(wide);
    EXPECT_EQ(text.length(), 4);
    EXPECT_EQ(text.charAt(1), 0xD83C);
    EXPECT_EQ(text.charAt(2), 0xDF0A);
    EXPECT_STREQ(text.getTerminatedBuffer(), wide);
    EXPECT_EQ(text.toUTF8(), std::string("a") + waveUTF8 + "b");
}

TEST(UString, ALoneSurrogateComesBackAsItWas) {
    const wchar_t wide[] = {L'a', highSurrogate, L'b', 0};
    const MORVAUString text(wide);
    EXPECT_EQ(text.length(), 3);
    EXPECT_STREQ(text.getTerminatedBuffer(), wide);
    EXPECT_EQ(text.toUTF8(), "a\xEF\xBF\xBD"
                             "b");
}

TEST(UString, AZeroInsideTheTextIsKept) {
    const wchar_t wide[] = {L'a', 0, L'b'};
    const MORVAUString text(wide, 3);
    EXPECT_EQ(text.length(), 3);
    EXPECT_EQ(text.toWide(), std::wstring(wide, 3));
    EXPECT_EQ(text.toUTF8(), std::string("a\0b", 3));
    EXPECT_EQ(MORVAUString("a\0b", 3, MORVAUString::Converter("UTF-8")), text);
}

TEST(UString, AWideValueThatIsNoCharacterBecomesTheReplacement) {
    const wchar_t wide[] = {static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1), 0};
    EXPECT_EQ(MORVAUString(wide), units({0xFFFD, 0xFFFD}));
}

TEST(UString, NarrowTextIsUTF8WhateverTheLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    const MORVAUString text("Bj\xC3\xB8rn");
    EXPECT_EQ(text, MORVAUString(L"Bj\u00F8rn"));
    EXPECT_STREQ(text.getNarrowBuffer(), "Bj\xC3\xB8rn");
    EXPECT_STREQ(text.getUTF8Buffer(), "Bj\xC3\xB8rn");
    std::setlocale(LC_ALL, before.c_str());
}

TEST(UString, ANamedCodePageDecodesItsBytes) {
    EXPECT_EQ(MORVAUString("Bj\xF8rn", "windows-1252"), MORVAUString(L"Bj\u00F8rn"));
    EXPECT_EQ(MORVAUString("Bj\xC3\xB8rn", "utf8"), MORVAUString(L"Bj\u00F8rn"));
    const MORVAUString::Converter latin("ISO-8859-1");
    EXPECT_TRUE(latin.isValid());
    EXPECT_EQ(MORVAUString("\xF8x", 1, latin), MORVAUString(L"\u00F8"));
}

TEST(UString, ACodePageThatDoesNotExistGivesAnEmptyString) {
    EXPECT_TRUE(MORVAUString("line", "no such code page").isEmpty());
    const MORVAUString::Converter missing("no such code page");
    EXPECT_FALSE(missing.isValid());
    EXPECT_TRUE(MORVAUString("line", 4, missing).isEmpty());
}

TEST(UString, BytesThatAreNoUTF8BecomeReplacements) {
    EXPECT_EQ(MORVAUString("a\xFF"
                           "b"),
              units({u'a', 0xFFFD, u'b'}));
}

TEST(UString, ABufferStaysValidWhileTheStringIsNotChanged) {
    const MORVAUString text(L"Heave");
    const wchar_t* wide = text.getTerminatedBuffer();
    const char* narrow = text.getNarrowBuffer();
    EXPECT_EQ(text.getTerminatedBuffer(), wide);
    EXPECT_EQ(text.getUTF8Buffer(), narrow);
    EXPECT_STREQ(wide, L"Heave");
    EXPECT_STREQ(narrow, "Heave");
}

TEST(UString, EveryChangeShowsInTheBuffers) {
    MORVAUString text(L"Heave");
    const auto expectBuffers = [&text](const wchar_t* wide, const char* narrow) {
        EXPECT_STREQ(text.getTerminatedBuffer(), wide);
        EXPECT_STREQ(text.getNarrowBuffer(), narrow);
    };
    expectBuffers(L"Heave", "Heave");
    text += L"TmIdx";
    expectBuffers(L"HeaveTmIdx", "HeaveTmIdx");
    text += L'!';
    expectBuffers(L"HeaveTmIdx!", "HeaveTmIdx!");
    text.remove(0, 5);
    expectBuffers(L"TmIdx!", "TmIdx!");
    text.findAndReplace(L'm', wave);
    EXPECT_EQ(text.toUTF8(), std::string("T") + waveUTF8 + "Idx!");
    text.findAndReplace(wave, L'm');
    EXPECT_TRUE(text.truncate(2));
    expectBuffers(L"Tm", "Tm");
    text = L"Roll";
    expectBuffers(L"Roll", "Roll");
    text = MORVAUString(L"Pitch");
    expectBuffers(L"Pitch", "Pitch");
    const MORVAUString gyro(L"Gyro");
    text = gyro;
    expectBuffers(L"Gyro", "Gyro");
    gyro.extract(1, 2, text);
    expectBuffers(L"yr", "yr");
}

TEST(UString, ACopyHasBuffersOfItsOwn) {
    const MORVAUString text(L"Tide");
    const wchar_t* wide = text.getTerminatedBuffer();
    const MORVAUString copy(text);
    EXPECT_NE(copy.getTerminatedBuffer(), wide);
    EXPECT_STREQ(copy.getTerminatedBuffer(), L"Tide");
}

TEST(UString, AMovedFromStringCanBeUsedAgain) {
    MORVAUString text(L"Tide");
    EXPECT_STREQ(text.getTerminatedBuffer(), L"Tide");
    const MORVAUString taken(std::move(text));
    EXPECT_EQ(taken, MORVAUString(L"Tide"));
    text = L"Gyro";
    EXPECT_STREQ(text.getTerminatedBuffer(), L"Gyro");
    MORVAUString assigned;
    assigned = std::move(text);
    EXPECT_STREQ(assigned.getTerminatedBuffer(), L"Gyro");
}

TEST(UString, FindsCharactersFromTheEndAndAtBothEnds) {
    const MORVAUString path(L"a\\b\\c");
    EXPECT_EQ(path.lastIndexOf(L'\\'), 3);
    EXPECT_EQ(path.lastIndexOf(L'/'), -1);
    EXPECT_TRUE(path.startsWith(L'a'));
    EXPECT_FALSE(path.startsWith(L'b'));
    EXPECT_TRUE(path.endsWith(L'c'));
    EXPECT_FALSE(path.endsWith(L'\\'));
    EXPECT_TRUE(path.startsWith(L"a\\"));
    EXPECT_TRUE(path.endsWith(L"\\c"));
    EXPECT_FALSE(path.endsWith(L"xa\\b\\c"));
    EXPECT_FALSE(MORVAUString().endsWith(L'c'));
    EXPECT_EQ(MORVAUString().lastIndexOf(L'c'), -1);
}

TEST(UString, AStretchBeyondTheEndIsCutToTheText) {
    const MORVAUString text(L"Sounding");
    MORVAUString stretch;
    text.extract(5, 100, stretch);
    EXPECT_EQ(stretch, MORVAUString(L"ing"));
    text.extract(-3, 5, stretch);
    EXPECT_EQ(stretch, MORVAUString(L"Sound"));
    text.extract(100, 5, stretch);
    EXPECT_TRUE(stretch.isEmpty());
    text.extract(0, -1, stretch);
    EXPECT_TRUE(stretch.isEmpty());
    EXPECT_EQ(text.charAt(100), 0xFFFF);
    MORVAUString itself(L"Sounding");
    itself.extract(1, 3, itself);
    EXPECT_EQ(itself, MORVAUString(L"oun"));
}

TEST(UString, TruncatingToAGreaterLengthCutsNothing) {
    MORVAUString text(L"Gyro");
    EXPECT_FALSE(text.truncate(4));
    EXPECT_EQ(text, MORVAUString(L"Gyro"));
}

TEST(UString, PlusMakesANewString) {
    const MORVAUString name(L"Gyro");
    EXPECT_EQ(name + L"LineSegments", MORVAUString(L"GyroLineSegments"));
    EXPECT_EQ(L"SSS" + name, MORVAUString(L"SSSGyro"));
    EXPECT_EQ(name, MORVAUString(L"Gyro"));
    MORVAUString doubled(L"ab");
    doubled += doubled;
    EXPECT_EQ(doubled, MORVAUString(L"abab"));
}

TEST(UString, ComparesByCodeUnitsNotByCodePoints) {
    // U+FF00 is one unit above every surrogate, though U+1F30A is the greater code point.
    EXPECT_LT(MORVAUString(std::wstring(1, wave).c_str()), units({0xFF00}));
    EXPECT_LT(MORVAUString(L"Gyr"), MORVAUString(L"Gyro"));
    EXPECT_LT(MORVAUString(L"Z"), MORVAUString(L"a"));
    EXPECT_NE(MORVAUString(L"gyro"), MORVAUString(L"Gyro"));
    EXPECT_GT(MORVAUString(L"b"), L"a");
}

TEST(UString, GoesToAStreamAsUTF8) {
    std::ostringstream out;
    out << MORVAUString(std::wstring(1, wave).c_str());
    EXPECT_EQ(out.str(), waveUTF8);
}

TEST(Converter, IsGivenOnToAnotherObject) {
    MORVAUString::Converter first("UTF-8");
    MORVAUString::Converter second(std::move(first));
    EXPECT_TRUE(second.isValid());
    MORVAUString::Converter third("ISO-8859-1");
    third = std::move(second);
    EXPECT_EQ(MORVAUString("\xC3\xB8", 2, third), MORVAUString(L"\u00F8"));
}

TEST(TemporaryString, IsMadeFromEveryKindOfText) {
    using SKAR::Temporary::String;
    const MORVAUString expected(L"\u00F8");
    EXPECT_EQ(String(std::string("\xC3\xB8")), expected);
    EXPECT_EQ(String("\xC3\xB8"), expected);
    EXPECT_EQ(String("\xF8", "ISO-8859-1"), expected);
    EXPECT_EQ(String(L'\u00F8'), expected);
    EXPECT_EQ(String(L"\u00F8"), expected);
    EXPECT_EQ(String(L"\u00F8x", 1), expected);
    EXPECT_EQ(String(MORVAArray<char>{'\xF8'}, "ISO-8859-1"), expected);
    EXPECT_EQ(String("\xF8x", 1, MORVAUString::Converter("ISO-8859-1")), expected);
    EXPECT_EQ(String(icu::UnicodeString(static_cast<UChar32>(0xF8))), expected);
    EXPECT_EQ(String(expected), expected);
    EXPECT_TRUE(String().isEmpty());
}

TEST(TemporaryString, KeepsZerosOfCountedText) {
    using SKAR::Temporary::String;
    EXPECT_EQ(String(std::string("a\0b", 3)).length(), 3);
    EXPECT_EQ(String(MORVAArray<char>{'a', '\0', 'b'}, "utf8").length(), 3);
    EXPECT_EQ(String(L'\0').length(), 1);
}

TEST(TemporaryString, NullsGiveEmptyStrings) {
    using SKAR::Temporary::String;
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_TRUE(String(static_cast<const char*>(nullptr), "utf8").isEmpty());
    EXPECT_TRUE(String(static_cast<const wchar_t*>(nullptr)).isEmpty());
    EXPECT_TRUE(String(MORVAArray<char>(), "utf8").isEmpty());
}

TEST(TemporaryString, BecomesNarrowAndWideText) {
    const SKAR::Temporary::String text(L"\u00F8");
    const std::string narrow = text;
    const std::wstring wide = text;
    EXPECT_EQ(narrow, "\xC3\xB8");
    EXPECT_EQ(wide, L"\u00F8");
    static_assert(sizeof(SKAR::Temporary::String) == sizeof(MORVAUString));
}

} // namespace
