#include "picture.h"
#include "raw_bytes.h"
#include "shell.h"
#include "support/realdata.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>

namespace skar::test {

namespace {

namespace fs = std::filesystem;

const std::string twoCasts = "[SVP_VERSION_2]\nprobe 7\n"
                             "Section 2026-045 12:30:00 45:30:00.00 -063:15:00.25\n"
                             "  1.000000 1480.500000\n  2.500000 1481.000000\n"
                             "Section 2026-046 00:00:01 00:00:0.00 000:00:0.00\n"
                             "  10.000000 1490.000000\n";
const std::string depthsOfCentimetres =
    "[SVP_VERSION_2]\nx\nSection 2026-045 12:30:00 45:30:00.00 -063:15:00.00\n"
    "  0.290000 1480.500000\n  0.580000 1481.000000\n  1.250000 1482.000000\n";

class SkarSvp : public ToolTest {
protected:
    fs::path put(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return folder / name;
    }
    static std::string get(const fs::path& file) {
        const auto bytes = bytesOf(file);
        return {bytes.begin(), bytes.end()};
    }
    std::string out(const std::string& name) const { return (folder / name).string(); }
    static Json show(const fs::path& file, const std::string& options = "") {
        const Outcome outcome = runSkar("svp show --json '" + file.string() + "' " + options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.status == 0 ? outcome.json() : Json();
    }
    static Outcome convert(const fs::path& from, const std::string& to, const std::string& format,
                           const std::string& options = "") {
        return runSkar("svp convert '" + from.string() + "' '" + to + "' --format " + format + " " + options);
    }
};

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(SkarSvp, ExplainsItselfWithAnExample) {
    const Outcome outcome = runSkar("svp --help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(holds(outcome.out, "Example:  skar svp convert "));
    EXPECT_TRUE(holds(runSkar("svp convert --help").out, "--format"));
    EXPECT_TRUE(holds(runSkar("--help").out, "svp"));
}

TEST_F(SkarSvp, ShowsEveryCastInATable) {
    const Outcome outcome = runSkar("svp show " + put("cast", twoCasts).string());
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "Format  native\n"));
    EXPECT_TRUE(holds(outcome.out, "   1  2026-02-14T12:30:00.000Z  45.500000  -63.250069       2    1.00 to "
                                   "2.50  1480.50 to 1481.00\n"))
        << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "   2  2026-02-15T00:00:01.000Z          -           -       1  10.00 to "
                                   "10.00  1490.00 to 1490.00\n"))
        << outcome.out;
    EXPECT_FALSE(holds(outcome.out, "1480.500"));
}

TEST_F(SkarSvp, ShowsTheValuesWhenAskedAndOneCastOnly) {
    const fs::path file = put("cast", twoCasts);
    const Outcome outcome = runSkar("svp show --values --cast 1 " + file.string());
    EXPECT_TRUE(holds(outcome.out, "       1.000      1480.500\n       2.500      1481.000\n"))
        << outcome.out;
    EXPECT_FALSE(holds(outcome.out, "1490"));
    const Json json = show(file, "--cast 2");
    ASSERT_EQ(json["casts"].size(), 1U);
    EXPECT_EQ(json["casts"][0]["time"], "2026-02-15T00:00:01.000Z");
    EXPECT_TRUE(json["casts"][0]["latitude"].is_null());
    EXPECT_EQ(json["casts"][0]["values"], Json::parse("[[10.0, 1490.0]]"));
    EXPECT_EQ(show(file)["casts"][0]["latitude"], 45.5);
    const Outcome third = runSkar("svp show --cast 3 " + file.string());
    EXPECT_EQ(third.status, 2);
    EXPECT_TRUE(holds(third.err, "there is no cast 3, only 2"));
}

TEST_F(SkarSvp, ShowsWhatWasTakenForGranted) {
    const fs::path file = put("cast.csv", "7-30-13, 9:26:2, 1504.30, 0.90\n1,2\n");
    const Outcome outcome = runSkar("svp show " + file.string());
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "month-day-year"));
    EXPECT_TRUE(holds(outcome.out, "taken as UTC"));
    EXPECT_TRUE(holds(outcome.out, "1 lines hold no value"));
    EXPECT_EQ(show(file)["remarks"].size(), 4U);
}

TEST_F(SkarSvp, ACastWithoutTimeTakesThatOfItsHeader) {
    const std::string values = "0.00 1531.40\n6.87 1531.40\n";
    const fs::path dated =
        put("a", "( SoundVelocity 1.0 0 201203212242 22.5 -156.5 -1 0 0 X P 2 )\n" + values);
    Json json = show(dated);
    EXPECT_EQ(json["format"], "chs");
    EXPECT_EQ(json["casts"][0]["time"], "2012-03-21T22:42:00.000Z");
    EXPECT_TRUE(holds(json["remarks"][0], "that of its header is taken"));
    json = show(put("b", "( SoundVelocity 1.0 0 20121 22.5 -156.5 -1 0 0 X P 2 )\n" + values));
    EXPECT_TRUE(json["casts"][0]["time"].is_null());
    EXPECT_TRUE(holds(json["remarks"][0], "no time that could be read"));
    for (const char* date : {"201213212242", "201203322242", "201203212442", "201203212260", "20120321224x"})
        EXPECT_TRUE(show(put("c", "( SoundVelocity 1.0 0 " + std::string(date) +
                                      " 22.5 -156.5 -1 0 0 X P 2 )\n" + values))["casts"][0]["time"]
                        .is_null())
            << date;
}

TEST_F(SkarSvp, ATimeOutsideOfTheCalendarIsNone) {
    for (const char* date : {"0000-001", "1979-365", "9999-999"}) {
        const Json json = show(put("c", "Section " + std::string(date) + " 00:00:00\n  1.0 1480.0\n"));
        EXPECT_TRUE(json["casts"][0]["time"].is_null()) << date << json;
        EXPECT_TRUE(holds(json["remarks"][0], "no time that could be read")) << date;
    }
}

TEST_F(SkarSvp, AFileThatIsNoneIsNamed) {
    for (const std::string& bytes : {std::string(), std::string("nothing\n"), std::string(1000, '\0')}) {
        const Outcome outcome = runSkar("svp show " + put("strange", bytes).string());
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_TRUE(holds(outcome.err, "strange: no casts could be read, as native file: "));
    }
    EXPECT_EQ(runSkar("svp show " + out("missing")).status, 1);
    EXPECT_EQ(runSkar("svp show " + folder.string()).status, 1);
    EXPECT_EQ(runSkar("svp").status, 2);
    EXPECT_EQ(runSkar("svp convert a b --format nonsense").status, 2);
    EXPECT_EQ(runSkar("svp convert a b").status, 2);
    EXPECT_EQ(runSkar("svp show --cast 0 a").status, 2);
}

TEST_F(SkarSvp, ConvertsToTheNativeFormat) {
    const fs::path file = put("cast.chs", "( SoundVelocity 1.01 1 202602141230 45.5 -63.25 -1 202602141230 0 "
                                          "X N 2 )\n1.00   1480.50\n2.50   1481.00\n");
    const Outcome outcome = convert(file, out("native"), "native");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, out("native") + ": 1 casts of 2 values as native\n");
    EXPECT_EQ(get(out("native")), "[SVP_VERSION_2]\ncast.chs\n"
                                  "Section 2026-045 12:30:00 45:30:00.00 -063:15:00.00\n"
                                  "  1.000000 1480.500000\n  2.500000 1481.000000\n");
}

TEST_F(SkarSvp, ConvertsToTheFormatOfTheHydrographicService) {
    const Outcome outcome = convert(put("cast", twoCasts), out("chs"), "chs");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::vector<std::string> lines = split(get(out("chs")), '\n');
    ASSERT_GE(lines.size(), 5U);
    EXPECT_TRUE(lines[0].starts_with("( SoundVelocity 1.01 1 "));
    EXPECT_TRUE(lines[0].ends_with(" 45.5000000 -63.2500694 -1 202602141230 202602141230 SVPEDITOR N 2 )"));
    EXPECT_EQ(lines[1], "1.00   1480.50");
    EXPECT_TRUE(lines[3].ends_with(" -1 202602150000 202602150000 SVPEDITOR N 1 )"));
    EXPECT_TRUE(holds(outcome.out, "the time changed by up to 1 s"));
}

TEST_F(SkarSvp, ConvertsToTheFormatsOfTheNavy) {
    const fs::path file = put("cast", twoCasts);
    Outcome outcome = convert(file, out("dat"), "dat", "--cast 1");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(get(out("dat")), "+45.5000 ,-63.2501 ,+001.000 ,14/02/2026 12:30:00,  +1.0000 ,+1480.5000\n"
                               "+45.5000 ,-63.2501 ,+002.500 ,14/02/2026 12:30:00,  +1.0000 ,+1481.0000\n");
    outcome = convert(file, out("probe.edf"), "edf", "--cast 1");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string edf = get(out("probe.edf"));
    EXPECT_TRUE(holds(edf, "Date of Launch:  14/02/2026\nTime of Launch:  12:30:00\n"
                           "Latitude      :  45 30.000N\nLongitude     :  63 15.000W\nDepth (m)"))
        << edf;
    EXPECT_TRUE(edf.ends_with("\n1.0 1.00 1480.50\n2.5 1.00 1481.00\n")) << edf;
    // Both read as they were written.
    for (const char* name : {"dat", "probe.edf"}) {
        const Json json = show(out(name));
        EXPECT_EQ(json["casts"][0]["values"], Json::parse("[[1.0, 1480.5], [2.5, 1481.0]]"));
        EXPECT_EQ(json["casts"][0]["time"], "2026-02-14T12:30:00.000Z");
    }
    EXPECT_EQ(show(out("dat"))["format"], "dat");
    EXPECT_EQ(show(out("probe.edf"))["format"], "edf");
}

TEST_F(SkarSvp, FilesOfOneCastTakeOneOnly) {
    for (const char* format : {"dat", "edf"}) {
        const Outcome outcome = convert(put("cast", twoCasts), out("new"), format);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(holds(outcome.err, "holds one cast, not 2; choose one with --cast")) << outcome.err;
        EXPECT_FALSE(fs::exists(out("new")));
    }
    const Outcome outcome = convert(put("cast", twoCasts), out("new"), "dat", "--cast 2");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(holds(outcome.err, "a dat file needs a position"));
}

TEST_F(SkarSvp, WarnsOfTheCentimetreThatASaveTakes) {
    // 0.29 and 0.58 lie below their centimetres in binary; 1.25 does not.
    const Outcome outcome = convert(put("cast", depthsOfCentimetres), out("dat"), "dat");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "note  2 depths changed, by up to 0.01 m")) << outcome.out;
    EXPECT_TRUE(holds(get(out("dat")), "+000.290 ,"));
    EXPECT_EQ(show(out("dat"))["casts"][0]["values"][0][0], 0.28);
    const Outcome native = convert(folder / "cast", out("native"), "native");
    EXPECT_FALSE(holds(native.out, "note"));
}

TEST_F(SkarSvp, ValuesThatAFormatCannotTellApartAreLost) {
    const fs::path file = put("cast", "[SVP_VERSION_2]\nx\nSection 2026-045 12:30:00 45:30:00.00 "
                                      "-063:15:00.00\n  1.010000 1480.0\n  1.020000 1485.0\n  "
                                      "2.000000 1490.0\n");
    const Outcome outcome = convert(file, out("a.edf"), "edf");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_TRUE(holds(outcome.out, "LOST  1 values are not in the file")) << outcome.out;
    const Json json =
        runSkar("svp convert --json " + file.string() + " " + out("a.edf") + " --format edf").json();
    EXPECT_EQ(json["lost"], true);
    EXPECT_EQ(json["values"], 2);
    EXPECT_EQ(json["notes"][0]["loss"], true);
}

TEST_F(SkarSvp, OnlyTheWayDownIsWritten) {
    const fs::path file = put("c.csv", "7-30-13, 9:26:2, 0.0, -0.1\n7-30-13, 9:26:2, 1504.0, 1.0\n"
                                       "7-30-13, 9:26:2, 1503.0, 2.0\n7-30-13, 9:26:2, 1502.0, 1.5\n");
    const Outcome outcome = convert(file, out("native"), "native");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "1 casts of 2 values"));
    EXPECT_TRUE(holds(outcome.out, "1 values above the water or outside 1400 to 2000 m/s were left out"));
    EXPECT_TRUE(holds(outcome.out, "1 values not deeper than the one before were left out"));
    const Outcome empty = convert(put("e.csv", "7-30-13, 9:26:2, 0.0, -0.1\n"), out("native"), "native");
    EXPECT_EQ(empty.status, 1);
    EXPECT_TRUE(holds(empty.err, "no cast has a value between 1400 and 2000 m/s to write"));
    EXPECT_TRUE(holds(get(out("native")), "1504.0")) << "the file of before stays";
}

TEST_F(SkarSvp, AFileThatCannotBeWrittenIsNamed) {
    const fs::path file = put("cast", twoCasts);
    const Outcome missing = convert(file, out("no/such/folder"), "native");
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(holds(missing.err, "folder: could not be written: ")) << missing.err;
    const Outcome seed = convert(file, out("no/such/folder"), "dat", "--cast 1");
    EXPECT_EQ(seed.status, 1);
    EXPECT_TRUE(holds(seed.err, "could not be written")) << seed.err;
    for (const std::string& other : {folder.string(), std::string("/dev/null")}) {
        const Outcome outcome = convert(file, other, "native");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(holds(outcome.err, "is no file")) << outcome.err;
        EXPECT_FALSE(fs::is_regular_file(other));
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1)
        << "nothing is left over";
}

TEST_F(SkarSvp, ShortOfSpaceTheFileStaysAsItWas) {
    std::string cast = "[SVP_VERSION_2]\nx\nSection 2026-045 12:30:00 45:30:00.00 -063:15:00.00\n";
    for (int i = 0; i < 5000; ++i)
        cast += "  " + std::to_string(i) + ".500000 1480.500000\n";
    put("cast", cast);
    for (const std::string format : {"native", "chs", "dat", "edf"}) {
        const std::string target = out("target." + format);
        put("target." + format, "as it was");
        const std::string command = "trap '' XFSZ; ulimit -f 16; '" SKAR_COMMAND "' svp convert '" +
                                    out("cast") + "' '" + target + "' --format " + format + " 2>'" +
                                    out("said") + "'";
        EXPECT_NE(std::system(command.c_str()), 0) << format;
        EXPECT_TRUE(holds(get(out("said")), "could not be written")) << get(out("said"));
        EXPECT_EQ(get(target), "as it was") << format;
        fs::remove(target);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2)
        << "nothing but the cast and what was said";
}

TEST_F(SkarSvp, DrawsTheCurves) {
    const Outcome outcome =
        runSkar("svp plot --json " + put("cast", twoCasts + "Section 2026-047 00:00\n 3 1488\n").string() +
                " -o " + out("a.png"));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["values"], 4);
    const Picture picture(out("a.png"));
    ASSERT_TRUE(picture.isGood());
    std::size_t blue = 0;
    std::size_t green = 0;
    for (int y = 90; y < picture.height() - 100; ++y) {
        for (int x = 92; x < picture.width() - 27; ++x) {
            const Pixel pixel = picture.at(x, y);
            if (!pixel.isColoured()) continue;
            blue += pixel.blue > pixel.red + 30 ? 1 : 0;
            green += pixel.green > std::max(pixel.red, pixel.blue) + 30 ? 1 : 0;
        }
    }
    EXPECT_GT(blue, 30U) << "the first cast, a line and two points";
    EXPECT_GT(green, 10U) << "the third, a point";
}

TEST_F(SkarSvp, DrawsDeepBelowShallowAndFastRightOfSlow) {
    put("cast", "[SVP_VERSION_2]\nx\nSection 2026-045 12:30:00\n  0.0 1450.0\n  100.0 1550.0\n");
    ASSERT_EQ(runSkar("svp plot " + out("cast") + " -o " + out("a.png")).status, 0);
    const Picture picture(out("a.png"));
    int first = -1;
    int last = -1;
    for (int y = 90; y < picture.height() - 100; y += 10) {
        for (int x = 95; x < picture.width() - 30; ++x) {
            if (!picture.at(x, y).isColoured()) continue;
            if (first < 0) first = x;
            last = x;
        }
    }
    EXPECT_LT(first, 200);
    EXPECT_GT(last, 500);
}

TEST_F(SkarSvp, LeavesReadingsInAirOutOfThePicture) {
    const fs::path file = put("c.csv", "7-30-13, 9:26:2, 0.0, -0.1\n7-30-13, 9:26:2, 1504.0, 1.0\n");
    const Outcome outcome = runSkar("svp plot " + file.string() + " -o " + out("a.png"));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(holds(outcome.out, "a.png: 1 casts of 1 values\n"));
    EXPECT_TRUE(holds(outcome.out, "1 values above the water or outside 1400 to 2000 m/s are not drawn"));
    const Outcome none = runSkar("svp plot " + put("e.csv", "7-30-13, 9:26:2, 0.0, -0.1\n").string());
    EXPECT_EQ(none.status, 1);
    EXPECT_TRUE(holds(none.err, "there is no value to draw"));
    EXPECT_EQ(runSkar("svp plot " + file.string() + " -o " + out("no/such/a.png")).status, 1);
}

TEST_F(SkarSvp, AHeaderFullOfControlCharactersDoesNotReachTheTerminal) {
    const Outcome outcome = runSkar("svp show '" + put("a\x1b[2Jb", twoCasts).string() + "'");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos);
}

// Casts of a raw file.

constexpr std::uint32_t castDate = 20140218;

RawBytes profile(std::uint32_t seconds, const std::vector<std::pair<unsigned, unsigned>>& entries,
                 std::uint32_t date = castDate) {
    RawBytes content;
    content.u32(date).u32(seconds).u16(static_cast<unsigned>(entries.size())).u16(10);
    for (const auto& [depth, speed] : entries)
        content.u32(depth).u32(speed);
    content.zeros(1);
    return datagram('U', someDate, 36'000'000, content);
}

class CastsOfARawFile : public SkarSvp {
protected:
    fs::path raw(const std::string& name, RawBytes bytes) const {
        const auto* data = reinterpret_cast<const char*>(bytes.bytes().data());
        return put(name, std::string(data, bytes.size()));
    }
    Outcome importInto(const std::string& arguments) const {
        return runSkar("import --line " + line.string() + " " + arguments);
    }
};

TEST_F(CastsOfARawFile, BecomeTheSoundVelocityFileOfTheLine) {
    const Outcome outcome =
        importInto(raw("a.all", profile(3661, {{0, 14805}, {25, 14810}, {120000, 16690}})).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err << outcome.out;
    EXPECT_TRUE(holds(outcome.out, "Svp "));
    EXPECT_TRUE(holds(outcome.out, "casts of 3 values"));
    EXPECT_EQ(get(line / "Svp"), "[SVP_VERSION_2]\na.all\n"
                                 "Section 2014-049 01:01:01 00:00:0.00 000:00:0.00\n"
                                 "  0.000000 1480.500000\n  2.500000 1481.000000\n"
                                 "  12000.000000 1669.000000\n");
}

TEST_F(CastsOfARawFile, RepeatedOnesAreWrittenOnceInOrderOfTime) {
    RawBytes first = profile(7200, {{10, 15000}});
    first.add(profile(3600, {{10, 15000}})).add(profile(7200, {{10, 15000}}));
    RawBytes second = profile(7200, {{10, 15000}});
    second.add(profile(7200, {{10, 15010}}));
    const Outcome outcome = importInto("--allow-overlap --json " + raw("a.all", first).string() + " " +
                                       raw("b.all", second).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const Json planned = outcome.json()["soundVelocityFile"];
    EXPECT_EQ(planned["casts"], 3);
    EXPECT_EQ(planned["values"], 3);
    EXPECT_EQ(planned["of"], Json::parse(R"(["a.all", "b.all"])"));
    EXPECT_EQ(get(line / "Svp"),
              "[SVP_VERSION_2]\na.all, b.all\n"
              "Section 2014-049 01:00:00 00:00:0.00 000:00:0.00\n  1.000000 1500.000000\n"
              "Section 2014-049 02:00:00 00:00:0.00 000:00:0.00\n  1.000000 1500.000000\n"
              "Section 2014-049 02:00:00 00:00:0.00 000:00:0.00\n  1.000000 1501.000000\n");
}

TEST_F(CastsOfARawFile, AreNotWrittenOverUnlessForced) {
    const std::string file = raw("a.all", profile(3600, {{10, 15000}})).string();
    fs::create_directories(line);
    for (const char* name : {"SoundSpeedProfile", "Svp", "SVP"}) {
        put("old", "old");
        fs::copy_file(folder / "old", line / name);
        const Outcome refused = importInto("--sensors Svp " + file);
        EXPECT_EQ(refused.status, 1);
        EXPECT_TRUE(holds(refused.err, std::string(name) + ": is there already; --force writes over it"));
        EXPECT_EQ(get(line / name), "old");
        EXPECT_EQ(importInto("--force --sensors Svp " + file).status, 0);
        EXPECT_TRUE(holds(get(line / name), "1500.000000"))
            << "the file that the library opens is the one that is written";
        fs::remove(line / name);
    }
    EXPECT_EQ(importInto("--sensors SSP " + file).status, 0);
    EXPECT_FALSE(fs::exists(line / "Svp"));
}

TEST_F(CastsOfARawFile, WithoutADateOrAValueInWaterAreNot) {
    RawBytes file = profile(86400, {{10, 15000}});
    file.add(profile(3600, {{10, 15000}}, 20141301)).add(profile(3600, {})).add(profile(0, {{10, 100}}));
    const Outcome outcome = importInto("--json " + raw("a.all", file).string());
    EXPECT_FALSE(outcome.json().contains("soundVelocityFile"));
    EXPECT_FALSE(fs::exists(line / "Svp"));
    EXPECT_EQ(outcome.json()["files"][0]["problems"][0]["kind"], "badValue");
    EXPECT_EQ(outcome.json()["files"][0]["problems"][0]["count"], 2);
    EXPECT_EQ(importInto("--sensors Svp " + raw("a.all", file).string()).status, 1);
}

TEST_F(CastsOfARawFile, OfGsfHaveTimeAndPositionOfTheCast) {
    RawBytes record(import::ByteOrder::big);
    record.u32(1'392'775'200).u32(0).u32(1'392'778'800).u32(0);
    record.i32(-632'500'000).i32(455'000'000).u32(2).u32(100).u32(148'050).u32(250).u32(148'100);
    RawBytes file(import::ByteOrder::big);
    file.u32(12).u32(1).text("GSF-v03.07").zeros(2);
    file.u32(static_cast<unsigned>(record.size())).u32(3).add(record);
    const Outcome outcome = importInto("--sensors Svp " + raw("a.gsf", file).string());
    ASSERT_EQ(outcome.status, 0) << outcome.err << outcome.out;
    EXPECT_EQ(get(line / "Svp"), "[SVP_VERSION_2]\na.gsf\n"
                                 "Section 2014-050 02:00:00 45:30:00.00 -063:15:00.00\n"
                                 "  1.000000 1480.500000\n  2.500000 1481.000000\n");
}

TEST_F(CastsOfARawFile, OfALineWithTidesAreCutByNoTime) {
    const std::string tide = put("tide.csv", "Date,Time (GMT),Verified (ft)\n2014/02/19,10:00,10\n"
                                             "2014/02/19,10:06,11\n2014/04/19,10:06,12\n")
                                 .string();
    const std::string file = raw("a.all", profile(3600, {{10, 15000}})).string();
    const Outcome wide = importInto(tide);
    EXPECT_EQ(wide.status, 1);
    EXPECT_TRUE(holds(wide.err, "--from and --to")) << wide.err;
    const Outcome outcome =
        importInto(tide + " " + file + " --from 2014-02-19T10:06:00 --to 2014-02-20 --json");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto rows = runSkar("dump --no-header " + line.string() + " Tide").lines();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_NEAR(std::strtod(split(rows[0], ',').at(3).c_str(), nullptr), 11 * 0.3048, 5e-4);
    EXPECT_EQ(split(rows[0], ',').at(2), "2014-02-19T10:06:00.000Z");
    EXPECT_TRUE(holds(outcome.out, "outside of --from and --to"));
    EXPECT_TRUE(fs::exists(line / "Svp"));
    EXPECT_EQ(importInto(tide + " --from yesterday").status, 2);
    EXPECT_EQ(runSkar("check " + line.string()).status, 0);
}

// The comparison itself is that of independent_casts.py; what it prints says how much there was to compare.
struct FileOfProfiles {
    const char* name;
    const char* compared;
    friend std::ostream& operator<<(std::ostream& stream, const FileOfProfiles& file) {
        return stream << file.name;
    }
};

class RealProfiles : public ToolTest, public testing::WithParamInterface<FileOfProfiles> {};

TEST_P(RealProfiles, AreThoseThatAnIndependentReaderFinds) {
    expectIndependentReaderAgrees("independent_casts.py", GetParam().name, GetParam().compared);
}

INSTANTIATE_TEST_SUITE_P(
    All, RealProfiles,
    testing::Values(
        FileOfProfiles{"all/0001_20140213_052736_Yolla.all", "1 profiles, 1 casts of 44 values"},
        FileOfProfiles{"all/0200_MBES_EM122_20150203_010431_Supporter_GA4430.all",
                       "2 profiles, 1 casts of 361 values"},
        FileOfProfiles{"all/0243_P007_MBES_EM122_20150207_044356_Supporter_GA4430.all",
                       "1 profiles, 1 casts of 735 values"},
        FileOfProfiles{"all-mpl/0077_20221109_123655_Belgica.all", "1 profiles, 1 casts of 16 values"},
        FileOfProfiles{"all-mpl/0077_20221109_123655_Belgica.wcd", "1 profiles, 1 casts of 16 values"},
        FileOfProfiles{"all-mpl/EM710_3092155654265012286.all", "1 profiles, 1 casts of 545 values"},
        FileOfProfiles{"all-mpl/EM710_7041029013895133878.all", "1 profiles, 1 casts of 41 values"},
        FileOfProfiles{"gsf/0059_20181102_212138_EX1811_MB_EM302.gsf.mb121",
                       "1 profiles, 1 casts of 977 values"}),
    skar::tests::namedAfterFile);

// The casts of real instruments.

struct RealCastFile {
    const char* name;
    bool placed;
    std::size_t kept; // of the way down, in water
    friend std::ostream& operator<<(std::ostream& stream, const RealCastFile& file) {
        return stream << file.name;
    }
};

class RealCastsOfTheCommand : public SkarSvp, public testing::WithParamInterface<RealCastFile> {
protected:
    static void expectSame(const Json& before, const Json& after) {
        ASSERT_EQ(after["casts"].size(), 1U);
        const Json& a = before["casts"][0];
        const Json& b = after["casts"][0];
        EXPECT_EQ(a["time"], b["time"]);
        for (const char* name : {"latitude", "longitude"}) {
            ASSERT_EQ(a[name].is_null(), b[name].is_null());
            if (!a[name].is_null()) {
                EXPECT_NEAR(a[name].get<double>(), b[name].get<double>(), 0.5 / 360000);
            }
        }
        // The way down of what was read, which is not all that some instruments give.
        std::size_t at = 0;
        double deepest = -1.0;
        for (const Json& value : a["values"]) {
            const double depth = value[0];
            const double speed = value[1];
            if (depth < 0.0 || speed < 1400.0 || speed > 2000.0 || depth <= deepest) continue;
            deepest = depth;
            ASSERT_LT(at, b["values"].size());
            EXPECT_NEAR(depth, b["values"][at][0].get<double>(), 5.1e-7);
            EXPECT_NEAR(speed, b["values"][at][1].get<double>(), 5.1e-7);
            ++at;
        }
        EXPECT_EQ(at, b["values"].size());
    }
};

TEST_P(RealCastsOfTheCommand, ReadSavedAndReadAgainAreTheSame) {
    const fs::path file = skar::tests::realData(SKAR_SOURCE_DIR) / "svp" / GetParam().name;
    SKAR_SKIP_WITHOUT(file);
    const Json before = show(file);
    ASSERT_EQ(before["casts"].size(), 1U);
    EXPECT_EQ(before["casts"][0]["latitude"].is_null(), !GetParam().placed);
    ASSERT_EQ(convert(file, out("native"), "native").status, 0);
    const Json native = show(out("native"));
    expectSame(before, native);
    EXPECT_EQ(native["casts"][0]["values"].size(), GetParam().kept);
    ASSERT_EQ(convert(out("native"), out("again"), "native").status, 0);
    EXPECT_EQ(show(out("again"))["casts"], native["casts"]);
    EXPECT_EQ(convert(file, out("chs"), "chs").status, 0);
    EXPECT_EQ(show(out("chs"))["casts"][0]["values"].size(), GetParam().kept);
    EXPECT_EQ(convert(file, out("dat"), "dat").status, GetParam().placed ? 0 : 1);
    const int edf = convert(file, out("a.edf"), "edf").status;
    EXPECT_TRUE(edf == 0 || edf == 3);
    const Outcome plot = runSkar("svp plot '" + file.string() + "' -o " + out("a.png"));
    EXPECT_EQ(plot.status, 0) << plot.err;
    EXPECT_TRUE(Picture(out("a.png")).isGood());
}

INSTANTIATE_TEST_SUITE_P(All, RealCastsOfTheCommand,
                         testing::Values(RealCastFile{"00018_001241535.ssp", false, 13},
                                         RealCastFile{"11E101663_20120821_122817.csv", true, 75},
                                         RealCastFile{"20120321_224205.asvp", true, 35},
                                         RealCastFile{"6291663_718905_160909_1941_34_59.000", false, 33},
                                         RealCastFile{"7-30cast2.csv", false, 48},
                                         RealCastFile{"EX1105_XBT40_110902.EDF", true, 1184},
                                         RealCastFile{"EX1105_XBT40_110902_crlf.EDF", true, 1184},
                                         RealCastFile{"S1_00008.EDF", true, 1650},
                                         RealCastFile{"S2_00004.edf", true, 1661},
                                         RealCastFile{"SBE19Plus_PCTSDSv_2013_192_183432.cnv", false, 70},
                                         RealCastFile{"T5_00386.EDF", false, 2907},
                                         RealCastFile{"T5_XBT1_CAST_06.edf", true, 602},
                                         RealCastFile{"T7_00070.EDF", true, 1226},
                                         RealCastFile{"VL_68630_190329190022.vp2", true, 21},
                                         RealCastFile{"down_cast_08-16-17_17_47_28.csv", false, 29},
                                         RealCastFile{"hsrr_2017_s250_dn242_0004.calc", true, 12},
                                         RealCastFile{"ssp1_051017.asvp", true, 49}),
                         skar::tests::namedAfterFile);

} // namespace

} // namespace skar::test
