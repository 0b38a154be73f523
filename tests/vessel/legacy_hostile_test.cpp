#include "legacy_support.h"

#include "support/fault_backend.h"
#include "support/largestblock.h"
#include "support/processortime.h"
#include "vessel/legacy/parse.h"

#include <array>
#include <cerrno>
#include <random>

// Texts that nobody wrote in good faith: the right code, soon, and with little memory.
namespace {

using namespace skar::tests;

const std::size_t mostBytes = skar::vessel::legacy::mostBytes;

std::string timeText(int minutes) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%4d-%3d-%2d:%2d", 1900 + minutes / 525600,
                  minutes / 1440 % 365 + 1, minutes / 60 % 24, minutes % 60);
    return text.data();
}

class LegacyHostile : public LegacyTest {
protected:
    // The result, held against the limits. A text of the largest size that is read to its end may cost more.
    long importInTime(const std::string& text, double limit = hostileLimit) {
        directory.write("boat", text);
        const std::wstring name = directory.wide("boat");
        testing::internal::CaptureStderr();
        largestBlock = 0;
        const ProcessorTime spent;
        const long result = SKARVesselImport(name.c_str(), &vessel);
        EXPECT_LT(spent.seconds(), limit);
        EXPECT_LT(largestBlock.load(), mostMemory);
        messages = testing::internal::GetCapturedStderr();
        return result;
    }
    static std::string filledUp(std::string text, std::string with) {
        const std::size_t room = (mostBytes - text.size()) / with.size() * with.size();
        while (with.size() < room)
            with += with;
        return text += with.substr(0, room);
    }
};

TEST_F(LegacyHostile, TokensWithoutAnEnd) {
    const std::string start = someNavigation + "GYRO 2001-001-00:00 ";
    const std::string starts[] = {start + "MODEL \"", start + "LATENCY ", start, someNavigation,
                                  someNavigation + "#"};
    for (const std::string& each : starts) {
        for (const char* fill : {"a", "1", " ", "A9_", ".", "#", "-", "\n", "\xC3\xBC", "\xFF"}) {
            const bool blank = fill[0] == ' ' || fill[0] == '\n' || fill[0] == '#';
            const bool comment = each.ends_with("#") && fill[0] != '\n';
            const bool whole = (blank || comment) && (each.ends_with("#") || each == someNavigation);
            EXPECT_EQ(importInTime(filledUp(each, fill)), whole ? 0 : 5000401) << each << fill;
            vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
        }
    }
}

TEST_F(LegacyHostile, QuotesWithoutAnEnd) {
    for (const char* fill : {"\"", "\" ", "\"\"\"", "\"a", "\"\n;"})
        EXPECT_EQ(importInTime(filledUp(someNavigation, fill)), 5000401);
    const std::string zeros("\"\0", 2);
    EXPECT_EQ(importInTime(filledUp(someNavigation, zeros)), 5000401);
    EXPECT_EQ(importInTime(std::string(mostBytes, '\0')), 5000401);
}

TEST_F(LegacyHostile, AFileThatIsTooLargeIsNotRead) {
    EXPECT_EQ(importInTime(filledUp(someNavigation, "#") + "##"), 5000401);
    EXPECT_EQ(messages, "");
    std::filesystem::resize_file(directory / "boat", std::uintmax_t{1} << 40);
    const ProcessorTime spent;
    EXPECT_EQ(SKARVesselImport(directory.wide("boat").c_str(), &vessel), 5000401);
    EXPECT_LT(spent.seconds(), hostileLimit);
}

TEST_F(LegacyHostile, CountsWithoutTheirRows) {
    for (const char* beams : {"4294967295", "1e9", "2147483648"}) {
        const std::string count = std::string(" BEAMS ") + beams;
        EXPECT_EQ(importInTime("DEPTH 2001-001-00:00 CLASS \"Sweep\"" + count + " BEAM NO 1 2 3 ;" +
                               someNavigation),
                  5000401);
        EXPECT_EQ(importInTime(statement("DEPTH", "2001-001-00:00", count) + someNavigation), 0);
        vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
    }
    EXPECT_LT(largestBlock.load(), std::size_t{1} << 20);
}

TEST_F(LegacyHostile, HalfAStatementAtEveryByte) {
    std::string text =
        "#\tStart Shape\n#\t1 2\n#\t;\n#\t3 4\n#\t;\n#\t5 6 7\n#\tEnd Shape\n" + someNavigation;
    const std::size_t navigationEnd = text.size();
    for (const LegacyKind& kind : legacyKinds)
        text += statement(kind.keyword, "2001-001-00:00", "COMMENT \"a b\" AUTHORIZATION \"c\"");
    text += "DEPTH 2002-  1- 0: 0 CLASS \"Sweep\" BEAMS 2 BEAM NO 1 2 3 BEAM YES 4.5e0 -5 +6 ;\n"
            "DRAFT 2002-  1- 0: 0 APPLY YES ROW 1 2 ROW 3 4 ;\n";
    for (std::size_t size = 0; size <= text.size(); ++size) {
        vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
        const std::size_t lastEnd = text.find_last_not_of(" \n", size == 0 ? 0 : size - 1);
        const bool whole = size >= navigationEnd - 1 && lastEnd != std::string::npos && text[lastEnd] == ';';
        EXPECT_EQ(import(text.substr(0, size)), whole ? 0 : 5000401) << size;
    }
}

TEST_F(LegacyHostile, AnyByteInAnyPlace) {
    const std::string text =
        "#\tStart Shape\n#\t1 2\n#\t;\nNAVIGATION 2001-001-00:00 MODEL \"a\" POSITION 1 2 3 ;\n"
        "DRAFT 2001-001-00:00 ROW 1 2 APPLY NO ;\n";
    for (std::size_t place = 0; place < text.size(); ++place) {
        for (const char byte : {'\0', '"', '#', ';', '\n', '-', '9', 'E', '\xFF'}) {
            std::string damaged = text;
            damaged[place] = byte;
            const skar::vessel::legacy::Tree tree = [&] {
                testing::internal::CaptureStderr();
                auto parsed = skar::vessel::legacy::parse(damaged);
                messages = testing::internal::GetCapturedStderr();
                return parsed;
            }();
            // Without a message everything has been taken.
            if (messages.empty() && tree != nullptr) {
                EXPECT_EQ(import(damaged), 0);
                vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
            } else {
                EXPECT_EQ(tree, nullptr);
            }
        }
    }
}

TEST_F(LegacyHostile, ManyEntriesInAnyOrder) {
    std::vector<int> minutes(30000);
    for (std::size_t i = 0; i < minutes.size(); ++i)
        minutes[i] = static_cast<int>(i);
    std::mt19937 random(20010102);
    for (const char* order : {"up", "down", "shuffled"}) {
        if (order == std::string("down")) std::reverse(minutes.begin(), minutes.end());
        if (order == std::string("shuffled")) std::shuffle(minutes.begin(), minutes.end(), random);
        std::string text;
        for (const int minute : minutes)
            text += statement("NAVIGATION", timeText(minute));
        EXPECT_EQ(importInTime(text, 10 * hostileLimit), 0) << order;
        EXPECT_EQ(count(L"NavSensor"), minutes.size());
        vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
    }
}

TEST_F(LegacyHostile, ManyEntriesAtOneTime) {
    EXPECT_EQ(importInTime(filledUp("", "NAVIGATION 2001-1-1:1;"), 10 * hostileLimit), 5100008);
    EXPECT_EQ(count(L"NavSensor"), 1U);
}

TEST_F(LegacyHostile, ManyRowsInAnyOrder) {
    std::string beams = "DEPTH 2001-001-00:00 CLASS \"Sweep\" MODEL \"" + std::string(5000, 'm') + "\" ";
    constexpr int beamCount = 2000;
    for (int beam = 0; beam < beamCount; ++beam)
        beams += "BEAM NO 1 2 3\n";
    EXPECT_EQ(
        importInTime(beams + "BEAMS " + std::to_string(beamCount) + ";" + someNavigation, 10 * hostileLimit),
        0);
    EXPECT_EQ(first<SKARDepthConfig>().getNumTransducers(), std::size_t{beamCount});

    vessel.removeAllSensors(static_cast<const wchar_t*>(nullptr));
    std::mt19937 random(20010102);
    std::string draft = someNavigation + "DRAFT 2001-001-00:00";
    while (draft.size() < mostBytes - 100)
        draft += " ROW " + std::to_string(random() % 1000000) + " 1";
    EXPECT_EQ(importInTime(draft + ";", 10 * hostileLimit), 0);
    EXPECT_GT(first<SKARDraftConfig>().getNumEntries(), std::size_t{50000});
}

TEST_F(LegacyHostile, OutlinesWithoutAnEnd) {
    for (const char* line : {"#\t1 2\n", "#\t1\n", "#\n", "#\t;\n", "# "})
        EXPECT_EQ(importInTime(filledUp("#\tStart Shape\n" + std::string(line), line), 10 * hostileLimit),
                  5000401);
    const std::string text = filledUp("#\tStart Shape\n", "#\t1 2\n");
    EXPECT_EQ(importInTime(text.substr(0, text.size() - 60) + "\n" + someNavigation, 10 * hostileLimit), 0);
    EXPECT_GT(vessel.getVesselShape().getPlanViewCoords().count(), mostBytes / 10);
}

TEST_F(LegacyHostile, WithoutMemoryTheCodeSaysSo) {
    directory.write("boat", someNavigation + std::string(100000, '#'));
    {
        const RefusedMemory refused(100000);
        EXPECT_EQ(SKARVesselImport(directory.wide("boat").c_str(), &vessel), 5000009);
    }
    EXPECT_TRUE(vessel.getSensors().isEmpty());
    EXPECT_EQ(SKARVesselImport(directory.wide("boat").c_str(), &vessel), 0);
}

// A disk that fails at every place in turn. Without the trace the import goes on; without the text, or a
// place for the vessel file, nothing is written.
TEST_F(LegacyHostile, AFailingDisk) {
    ::setenv("TMP", "/tmp", 1);
    const std::string trace = "/tmp/" + std::to_string(::getpid()) + ".lex";
    const std::string before = "the vessel file that was there";
    const std::string text = "#\tStart Shape\n" + someNavigation;
    std::size_t operations = 1;
    for (std::size_t n = 0; n <= operations; ++n) {
        FaultBackend disk;
        disk.put("/tmp/keep", "");
        disk.put("/survey/boat", text);
        disk.put("/survey/boat.skv", before);
        if (n > 0) disk.failAt(n, EIO);
        testing::internal::CaptureStderr();
        const long result = SKARVesselConvert(L"/survey/boat");
        testing::internal::GetCapturedStderr();
        EXPECT_TRUE(result == 0 || result == 5000401 || result == -1) << n << ": " << result;
        EXPECT_EQ(disk.bytes("/survey/boat.skv") == before, result != 0) << n;
        EXPECT_EQ(disk.bytes("/survey/boat"), text);
        EXPECT_EQ(disk.openStreams(), 0) << n;
        if (n == 0) {
            EXPECT_EQ(result, 0);
            EXPECT_TRUE(disk.has(trace));
            operations = disk.operations();
        }
    }
    FaultBackend disk;
    disk.put("/tmp/keep", "");
    disk.put("/survey/boat", text);
    disk.noSpaceAfter(0);
    EXPECT_EQ(SKARVesselImport(L"/survey/boat", &vessel), 0);
}

} // namespace
