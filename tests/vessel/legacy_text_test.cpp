#include "legacy_support.h"

#include "support/decimal_comma.h"
#include "vessel/legacy/convert.h"
#include "vessel/legacy/parse.h"

#include <array>
#include <set>
#include <vector>

// Tokens, statements, messages, the trace and the outline of the text form.
namespace {

using namespace skar::tests;
namespace legacy = skar::vessel::legacy;

const std::string syntaxError = "YACC Parser: syntax error\n";

TEST_F(LegacyTest, TheTreeHoldsTheTextsAsTheyStand) {
    const legacy::Tree tree =
        legacy::parse("DEPTH 2001-002-03:04 CLASS \" Sweep\" MANUFACTURER \"m\" MODEL \"\t\""
                      "SERIALNUMBER \"\" COMMENT \"c\n\" AUTHORIZATION \"a\" BEAMS 2 "
                      "STARTBEAM 3 STARTBEAM2 4 POSITION 1 2 3 POSITION2 4 5 6 "
                      "MOUNT 7 8 9 MOUNT2 10 11 12 LATENCY 13 LATENCY2 14 "
                      "BEAM NO 1 2 3 BEAM YES 4 5 6;"
                      "NAVIGATION 2002-001-00:00 ; NAVIGATION 2001-001-00:00 ELLIPSE \"e \";"
                      "DRAFT 2001-001-00:00 ROW 5 6 ROW 1 2 ;");
    ASSERT_NE(tree, nullptr);
    const legacy::DepthEntry& depth = *tree->depth;
    EXPECT_EQ(depth.time, someTime());
    EXPECT_STREQ(depth.sensorClass, "\" Sweep\"");
    EXPECT_STREQ(depth.equipment.manufacturer, "\"m\"");
    EXPECT_STREQ(depth.equipment.model, "\"\t\"");
    EXPECT_STREQ(depth.equipment.serialNumber, "\"\"");
    EXPECT_STREQ(depth.remarks.comment, "\"c\n\"");
    EXPECT_STREQ(depth.remarks.authorization, "\"a\"");
    EXPECT_EQ(depth.numberOfBeams, 2U);
    EXPECT_EQ(depth.startBeam, 3U);
    EXPECT_EQ(depth.startBeam2, 4U);
    EXPECT_EQ(depth.position.y, 2);
    EXPECT_EQ(depth.position2.z, 6);
    EXPECT_EQ(depth.mount.pitch, 7);
    EXPECT_EQ(depth.mount2.azimuth, 12);
    EXPECT_EQ(depth.latency, 13);
    EXPECT_EQ(depth.latency2, 14);
    EXPECT_FALSE(depth.beamDisabled[0]);
    EXPECT_TRUE(depth.beamDisabled[1]);
    EXPECT_EQ(depth.sweepBeamOffsetX[0], 1);
    EXPECT_EQ(depth.sweepBeamOffsetY[1], 5);
    EXPECT_EQ(depth.sweepBeamOffsetZ[1], 6);
    EXPECT_EQ(depth.next, nullptr);
    // Entries come in the order of the file.
    EXPECT_EQ(tree->navigation->time, TmYDStoUTCs80(2002, 1, 0));
    EXPECT_STREQ(tree->navigation->next->ellipse, "\"e \"");
    EXPECT_EQ(tree->draft->rows, 2U);
    EXPECT_EQ(tree->draft->vesselSpeed[0], 5);
    EXPECT_EQ(tree->draft->vesselDraft[1], 2);
    EXPECT_EQ(tree->gyro, nullptr);
}

struct Field {
    const char* text;
    std::set<std::string> kinds;
};

// Which kinds take a field; the others must not.
TEST_F(LegacyTest, AKindTakesItsFieldsOnly) {
    const std::set<std::string> equipped = {"DEPTH", "GYRO", "HEAVE", "NAVIGATION", "PITCH", "ROLL", "TOWED"};
    const std::set<std::string> placed = {"DEPTH", "HEAVE", "NAVIGATION", "SOUNDVELOCITY", "TOWED"};
    const std::set<std::string> applied = {"GYRO", "HEAVE", "PITCH", "ROLL", "DRAFT", "WATERLINE"};
    const std::set<std::string> headed = {"DEPTH", "SOUNDVELOCITY"};
    std::set<std::string> all;
    for (const LegacyKind& kind : legacyKinds)
        all.insert(kind.keyword);
    const std::vector<Field> fields = {
        {"COMMENT \"c\"", all},
        {"AUTHORIZATION \"a\"", all},
        {"MANUFACTURER \"m\"", equipped},
        {"MODEL \"m\"", equipped},
        {"SERIALNUMBER \"s\"", equipped},
        {"LATENCY 1", equipped},
        {"POSITION 1 2 3", placed},
        {"OFFSET 1", {"GYRO", "HEAVE", "PITCH", "ROLL"}},
        {"APPLY NO", applied},
        {"MOUNT 1 2 3", headed},
        {"STARTBEAM2 1 POSITION2 1 2 3", {"DEPTH"}},
        {"POSITION2 1 2 3", {"SOUNDVELOCITY"}},
        {"MOUNT2 1 2 3", {"SOUNDVELOCITY"}},
        {"STARTBEAM2 1 MOUNT2 1 2 3 LATENCY2 1", {"DEPTH"}},
        {"CLASS \"Swath\"", {"DEPTH"}},
        {"STARTBEAM 1", {"DEPTH"}},
        {"BEAMS 4", {"DEPTH"}},
        {"BEAMS 1 BEAM YES 1 2 3", {"DEPTH"}},
        {"ELLIPSE \"e\"", {"NAVIGATION"}},
        {"ROW 1 2", {"DRAFT"}},
        {"HEIGHT 1", {"WATERLINE"}},
        {"LAYBACK 1", {"TOWED"}},
    };
    for (const Field& field : fields) {
        for (const LegacyKind& kind : legacyKinds) {
            vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
            const bool taken = field.kinds.contains(kind.keyword);
            EXPECT_EQ(import(statement(kind.keyword, "2001-001-00:00", field.text) + someNavigation),
                      taken ? 0 : 5000401)
                << kind.keyword << " " << field.text;
            EXPECT_EQ(messages, taken ? "" : syntaxError);
        }
    }
}

TEST_F(LegacyTest, WhatIsNoStatementIsASyntaxError) {
    const char* const wrong[] = {
        ";",
        "NAVIGATION",
        "NAVIGATION ;",
        "NAVIGATION 2001-001-00:00",
        "navigation 2001-001-00:00 ;",
        "NAVIGATION \"2001-001-00:00\" ;",
        "GYRO 2001-001-00:00 APPLY ;",
        "GYRO 2001-001-00:00 APPLY Yes ;",
        "GYRO 2001-001-00:00 APPLY YES NO ;",
        "GYRO 2001-001-00:00 LATENCY ;",
        "GYRO 2001-001-00:00 LATENCY 0,5 ;",
        "GYRO 2001-001-00:00 LATENCY 1 2 ;",
        "HEAVE 2001-001-00:00 POSITION 1 2 ;",
        "HEAVE 2001-001-00:00 POSITION 1 2 3 4 ;",
        "GYRO 2001-001-00:00 MODEL North ;",
        "GYRO 2001-001-00:00 MODEL 5 ;",
        "GYRO 2001-001-00:00 \"x\" ;",
        "GYRO 2001-001-00:00 MODEL \"a\" \"b\" ;",
        "DRAFT 2001-001-00:00 ROW 1 ;",
        "GYROS 2001-001-00:00 ;",
        "DEPTH 2001-001-00:00 BEAMS 1.5 ;",
        "DEPTH 2001-001-00:00 BEAMS -1 ;",
        "DEPTH 2001-001-00:00 BEAMS 4294967296 ;",
        "DEPTH 2001-001-00:00 STARTBEAM 1e999 ;",
        "GYRO 2001-001-00:00 GYRO 2001-001-00:00 ;",
        "\x01",
        "@",
        "GYRO 2001-001-00:00 MODEL \"a ;",
    };
    for (const char* text : wrong) {
        EXPECT_EQ(import(someNavigation + text), 5000401) << text;
        EXPECT_EQ(messages, syntaxError) << text;
        EXPECT_EQ(import(text + ("\n" + someNavigation)), 5000401) << text;
        EXPECT_TRUE(vessel.getSensors().isEmpty());
    }
}

TEST_F(LegacyTest, TimesAreWrittenWithOrWithoutBlanks) {
    const std::pair<const char*, double> times[] = {
        {"1996-123-10:30", TmYDStoUTCs80(1996, 123, 37800)},
        {"1996-  3- 7: 5", TmYDStoUTCs80(1996, 3, 25500)},
        {"1996-3-7:5", TmYDStoUTCs80(1996, 3, 25500)},
        {"1996- 33-07:05", TmYDStoUTCs80(1996, 33, 25500)},
        {"1996-366-23:59", TmYDStoUTCs80(1996, 366, 86340)},
        {"1900-000-00:00", TmYDStoUTCs80(1900, 0, 0)},
        {"2999-001-00:00", TmYDStoUTCs80(2999, 1, 0)},
        {"1979-365-23:59", TmYDStoUTCs80(1979, 365, 86340)},
    };
    for (const auto& [text, seconds] : times) {
        vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
        ASSERT_EQ(import(statement("NAVIGATION", text)), 0) << text;
        EXPECT_EQ(first<SKARNavConfig>().getTimeStamp(), seconds) << text;
    }
    for (const char* wrong :
         {"1899-001-00:00", "1996-367-00:00", "1996-001-24:00", "1996-001-00:60", "96-001-00:00",
          "19960-001-00:00", "1996-0001-00:00", "1996-001-000:00", "1996-001-00:000", "1996-001 00:00",
          "1996-001-00", "1996 -001-00:00", "1996-   1-00:00", "1996-001-00:00:00", "-996-001-00:00"}) {
        EXPECT_EQ(import(statement("NAVIGATION", wrong)), 5000401) << wrong;
        EXPECT_EQ(messages, syntaxError) << wrong;
    }
}

TEST_F(LegacyTest, NumbersAreDecimalWhateverTheLocale) {
    const std::pair<const char*, double> numbers[] = {
        {"1", 1},     {"-1.5", -1.5},   {"+.25", 0.25}, {"2.", 2},
        {"1e2", 100}, {"1.5E-1", 0.15}, {"-0", 0},      {"007", 7},
    };
    const auto check = [&] {
        for (const auto& [text, value] : numbers) {
            vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
            ASSERT_EQ(import(statement("NAVIGATION", "2001-001-00:00", std::string("LATENCY ") + text)), 0)
                << text;
            EXPECT_EQ(first<SKARNavConfig>().getLatency(), value) << text;
        }
    };
    check();
    for (const char* wrong : {"0x10", "inf", "nan", "--1", "1e", "1,5", "."})
        EXPECT_EQ(import(statement("NAVIGATION", "2001-001-00:00", std::string("LATENCY ") + wrong)), 5000401)
            << wrong;
    const DecimalComma comma;
    if (!comma) GTEST_SKIP() << "no locale with a decimal comma";
    check();
}

TEST_F(LegacyTest, CommentsAndLineEndsAreNothing) {
    ASSERT_EQ(import("# a\r\nNAVIGATION#b\r\n2001-002-03:04\t\f\vMODEL \"a\r\n# b\"#c\n#\n;# no end"), 0);
    EXPECT_STREQ(first<SKARNavConfig>().getModel(), L"a\n# b");
}

// An allocator that fails once, at the n-th request.
std::size_t requestsLeft = 0;
void* failingAllocator(void* block, std::size_t size) {
    return requestsLeft-- == 0 ? nullptr : std::realloc(block, size);
}

TEST_F(LegacyTest, EveryFailureToGetMemoryHasAMessageAndNoTree) {
    const std::string text =
        "DEPTH 2001-001-00:00 CLASS \"Sweep\" POSITION 1 2 3 BEAMS 5 BEAM NO 1 2 3 BEAM NO 1 2 3 "
        "BEAM NO 1 2 3 BEAM NO 1 2 3 BEAM NO 1 2 3 ; DRAFT 2001-001-00:00 ROW 1 2 ; " +
        statement("GYRO") + statement("WATERLINE") + statement("TOWED") + someNavigation;
    std::set<std::string> seen;
    bool whole = false;
    for (std::size_t n = 0; !whole && n < 100; ++n) {
        requestsLeft = n;
        char* printed = nullptr;
        std::size_t size = 0;
        std::FILE* const stream = ::open_memstream(&printed, &size);
        const legacy::Tree tree = legacy::parse(text, {failingAllocator, stream});
        std::fclose(stream);
        const std::string message(printed, size);
        std::free(printed);
        whole = message.empty();
        EXPECT_EQ(tree != nullptr, whole) << message;
        if (!whole) seen.insert(message);
    }
    EXPECT_TRUE(whole);
    EXPECT_EQ(seen, (std::set<std::string>{
                        "YACC Parser: out of memory\n",
                        "YACC Parser: yacc stack overflow\n",
                        "YACC Parser: malloc failed for vesselSpeed\n",
                        "YACC Parser: malloc failed for vesselDraft\n",
                        "YACC Parser: malloc failed for beamDisabled\n",
                        "YACC Parser: malloc failed for sweepBeamOffsetX\n",
                        "YACC Parser: malloc failed for sweepBeamOffsetY\n",
                        "YACC Parser: malloc failed for sweepBeamOffsetZ\n",
                    }));
}

class LegacyTrace : public LegacyTest {
protected:
    LegacyTrace() { ::setenv("TMP", directory.path().c_str(), 1); }
    const std::string name = std::to_string(::getpid()) + ".lex";
};

TEST_F(LegacyTrace, HoldsTheCharacterThatIsNotKnown) {
    ASSERT_EQ(import(someNavigation), 0);
    EXPECT_TRUE(directory.has(name));
    EXPECT_EQ(directory.read(name), "");
    const std::pair<const char*, const char*> inputs[] = {
        {"@", "@"},           {"GYRO 2001-001-00:00 LATENCY 1,5 ;", ","},
        {"\u00fc", "\u00fc"}, {"\U0001F6A2 ;", "\U0001F6A2"},
        {"\xFF", "\xFF"},     {"GYRO 2001-001-00:00 MODEL \"a ;\n", "\""},
    };
    for (const auto& [text, input] : inputs) {
        EXPECT_EQ(import(someNavigation + text), 5000401);
        EXPECT_EQ(messages, syntaxError);
        EXPECT_EQ(directory.read(name), std::string("Scanner: undefined input ") + input + "\n");
    }
    EXPECT_EQ(import(someNavigation + std::string(1, '\0')), 5000401);
    EXPECT_EQ(directory.read(name), "Scanner: undefined input \n");
    ASSERT_EQ(import(someNavigation), 5100008);
    EXPECT_EQ(directory.read(name), "");
}

TEST_F(LegacyTrace, HoldsTheStateThatFailed) {
    EXPECT_EQ(import("NAVIGATION 2001-001-00:00 MODEL \"a" + std::string(1, '\0') + "b\" ;"), 5000401);
    EXPECT_EQ(messages, syntaxError);
    EXPECT_EQ(directory.read(name), "bad switch yylook2 0");
}

TEST_F(LegacyTrace, GoesByTmpAndElseByTemp) {
    const TemporaryDirectory other;
    ::setenv("TEMP", other.path().c_str(), 1);
    ASSERT_EQ(import(someNavigation), 0);
    EXPECT_TRUE(directory.has(name));
    EXPECT_FALSE(other.has(name));
    for (const bool empty : {false, true}) {
        std::filesystem::remove(directory / name);
        std::filesystem::remove(other / name);
        empty ? ::setenv("TMP", "", 1) : ::unsetenv("TMP");
        EXPECT_EQ(import("@"), 5000401);
        EXPECT_FALSE(directory.has(name));
        EXPECT_EQ(other.read(name), "Scanner: undefined input @\n");
    }
    ::unsetenv("TEMP");
    EXPECT_EQ(import("@"), 5000401);
    EXPECT_EQ(messages, syntaxError);
    ::setenv("TMP", "/no/such/place", 1);
    EXPECT_EQ(import("@"), 5000401);
    EXPECT_EQ(messages, syntaxError);
}

TEST_F(LegacyTrace, IsNotWrittenThroughALinkOrIntoAFileOfOthers) {
    directory.write("precious", "gold");
    std::filesystem::create_symlink(directory / "precious", directory / name);
    EXPECT_EQ(import("@"), 5000401);
    EXPECT_EQ(messages, syntaxError);
    EXPECT_EQ(directory.read("precious"), "gold");
    std::filesystem::remove(directory / name);
    std::filesystem::create_symlink(directory / "made", directory / name);
    EXPECT_EQ(import("@"), 5000401);
    EXPECT_FALSE(directory.has("made"));
    std::filesystem::remove(directory / name);
    std::filesystem::create_hard_link(directory / "precious", directory / name);
    EXPECT_EQ(import("@"), 5000401);
    EXPECT_EQ(directory.read("precious"), "gold");
    std::filesystem::remove(directory / name);
    ASSERT_EQ(::mkfifo((directory / name).c_str(), 0600), 0);
    EXPECT_EQ(import("@"), 5000401);
    std::filesystem::remove(directory / name);
    std::filesystem::create_directory(directory / name);
    EXPECT_EQ(import("@"), 5000401);
    if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file of another user";
    std::filesystem::remove(directory / name);
    directory.write(name, "theirs");
    ASSERT_EQ(::chown((directory / name).c_str(), 1, 1), 0);
    EXPECT_EQ(import("@"), 5000401);
    EXPECT_EQ(directory.read(name), "theirs");
}

TEST_F(LegacyTrace, CanBeReadByItsOwnerOnly) {
    ASSERT_EQ(import(someNavigation), 0);
    EXPECT_EQ(std::filesystem::status(directory / name).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

using Points = std::vector<std::pair<double, double>>;

Points pointsOf(const SKARVesselShape::Coordinates& coordinates) {
    Points points;
    for (const auto& each : coordinates) {
        EXPECT_EQ(each.count(), 2U);
        points.emplace_back(each[0], each[1]);
    }
    return points;
}

struct Outline {
    bool there = false;
    Points plan;
    Points profile;
    std::array<double, 3> size{};
};

Outline outlineOf(const std::string& text) {
    Outline outline;
    const std::optional<SKARVesselShape> shape = legacy::readOutline(text);
    outline.there = shape.has_value();
    if (!shape) return outline;
    outline.plan = pointsOf(shape->getPlanViewCoords());
    outline.profile = pointsOf(shape->getProfileViewCoords());
    shape->getRP(outline.size[0], outline.size[1], outline.size[2]);
    return outline;
}

const std::string start = "#\tStart Shape\n";

TEST(LegacyOutline, IsReadLineByLine) {
    const Outline outline =
        outlineOf(start + "#\t1.5\t-2\n# 3 4e1 5\n#\t;\n#\t5 6\n#\t;\n#\t7 8 9\n#\tEnd Shape\n");
    EXPECT_TRUE(outline.there);
    EXPECT_EQ(outline.plan, (Points{{1.5, -2}, {3, 40}}));
    EXPECT_EQ(outline.profile, (Points{{5, 6}}));
    EXPECT_EQ(outline.size, (std::array<double, 3>{7, 8, 9}));
}

TEST(LegacyOutline, BeginsWithExactlyItsLine) {
    for (const char* other :
         {"", "#\tStart Shape", "# Start Shape\n", "#\tStart Shape \n", "#\tstart shape\n",
          "\n#\tStart Shape\n", " #\tStart Shape\n", "#\tStart Shapes\n"})
        EXPECT_FALSE(outlineOf(std::string(other) + "#\t1 2\n").there) << other;
}

TEST(LegacyOutline, ALineWithoutASecondNumberAddsNoPoint) {
    const std::string lines = "#\n#\t1\n#\t1 x\n#\tx 1\n#\t-\t-\n1 2\n\n#1\t2\n#\t3\t4abc\n#\t;\n";
    const Outline outline = outlineOf(start + lines + lines + "#\t7 8\n");
    EXPECT_EQ(outline.plan, (Points{{1, 2}, {3, 4}}));
    EXPECT_EQ(outline.profile, (Points{{1, 2}, {3, 4}}));
    EXPECT_EQ(outline.size, (std::array<double, 3>{7, 8, 0}));
}

TEST(LegacyOutline, EndsWithItsLastLineOrTheText) {
    EXPECT_TRUE(outlineOf(start).there);
    EXPECT_EQ(outlineOf(start + "#\t1 2").plan, (Points{{1, 2}}));
    const Outline early = outlineOf(start + "#\t1 2\n#\tEnd Shape\n#\t3 4\n#\t;\n#\t5 6\n");
    EXPECT_EQ(early.plan, (Points{{1, 2}}));
    EXPECT_TRUE(early.profile.empty());
    const Outline middle = outlineOf(start + "#\t1 2\n#\t;\n#\t3 4\n#\tEnd Shape\n#\t5 6\n#\t;\n#\t7 8 9\n");
    EXPECT_EQ(middle.profile, (Points{{3, 4}}));
    EXPECT_EQ(middle.size, (std::array<double, 3>{}));
    EXPECT_EQ(outlineOf(start + "#\t;\n#\t;\n#\tEnd Shape\n").size, (std::array<double, 3>{}));
    // The end of a part is exactly its line.
    EXPECT_EQ(outlineOf(start + "#\t1 2\n# ;\n#\t3 4\n#\t;\n").plan, (Points{{1, 2}, {3, 4}}));
}

TEST(LegacyOutline, LongLinesGoOnInTheNext) {
    const std::string blanks(252, ' ');
    // 255 characters up to the first number; the second one is in the next line.
    EXPECT_TRUE(outlineOf(start + "#\t" + blanks + "1 2\n#\t;\n").plan.empty());
    EXPECT_EQ(outlineOf(start + "#" + blanks.substr(3) + "1\t 2\n#\t;\n").plan, (Points{{1, 2}}));
    EXPECT_EQ(outlineOf(start + "#" + std::string(254, ' ') + "#1 2\n#\t;\n").plan, (Points{{1, 2}}));
}

TEST_F(LegacyTest, TheOutlineTakesThePlaceOfTheOneThatTheVesselHad) {
    vessel.getVesselShape().addPlanViewCoord(9, 9);
    ASSERT_EQ(import(someNavigation), 0);
    EXPECT_EQ(pointsOf(vessel.getVesselShape().getPlanViewCoords()), (Points{{9, 9}}));
    ASSERT_EQ(import("#\tStart Shape\r\n#\t1 2\r\n#\t;\r\n#\t;\r\n#\t3 4 5\r\n#\tEnd Shape\r\nNAVIGATION "
                     "2001-009-00:00 ;\r\n"),
              0);
    EXPECT_EQ(pointsOf(vessel.getVesselShape().getPlanViewCoords()), (Points{{1, 2}}));
    double length = 0, width = 0, height = 0;
    vessel.getVesselShape().getRP(length, width, height);
    EXPECT_EQ(height, 5);
}

TEST_F(LegacyTest, AFileWithoutAnOutlineConvertsWithAnEmptyOne) {
    directory.write("boat", someNavigation);
    ASSERT_EQ(SKARVesselConvert(directory.wide("boat").c_str()), 0);
    EXPECT_NE(directory.read("boat.skv").find("<PlanCoordinates/>\n    <ProfileCoordinates/>"),
              std::string::npos);
}

} // namespace
