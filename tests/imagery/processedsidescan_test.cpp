#include "imagery/families.h"
#include "imagery/sidescan.h"

#include <skar/processedsidescan.h>

using namespace skar::tests;

namespace {

const ImageryFamily& processed = imageryFamilies()[4];
const ImageryFamily& scratch = imageryFamilies()[5];

int write(_TELD_Sensor* s, std::uint32_t status, const std::string& port, const std::string& starboard) {
    const std::uint32_t width = status & 0x40000000 ? 2 : 1;
    return SSSProcWriteProfile(s, status, 1e9, 1, 2, 3, static_cast<std::uint32_t>(port.size()) / width,
                               static_cast<std::uint32_t>(starboard.size()) / width, port.data(),
                               starboard.data());
}

// Two pings of one-byte samples, five and three.
std::string twoPings(const Line& line) {
    OpenImagery sensor(processed, line.path(), L"create");
    EXPECT_EQ(0, write(sensor, 1, "abcde", "fgh"));
    EXPECT_EQ(0, write(sensor, 2, "ABCDE", "FGH"));
    EXPECT_EQ(0, sensor.close());
    return line.bytes("SSSProcessedSideScan");
}
constexpr std::size_t pingSize = 20 + 8;

TEST(ProcessedSideScan, LongPingsStayWhole) {
    for (const std::uint32_t count : {6001u, 8000u, 12000u, 65535u}) {
        const Line line;
        const std::string port = samples(2 * count, 1), starboard = samples(2 * count, 2);
        {
            OpenImagery sensor(processed, line.path(), L"create");
            ASSERT_EQ(0, write(sensor, 0x40000000, port, starboard));
        }
        EXPECT_EQ(44u + 20 + 4 * count, line.bytes("SSSProcessedSideScan").size());
        EXPECT_EQ(count << 16 | count, wordAt(line.bytes("SSSProcessedSideScan"), 60));
        EXPECT_EQ(port + starboard, line.bytes("SSSProcessedSideScan").substr(64));
    }
}

TEST(ProcessedSideScan, CountsWithoutRoomAreRefusedAndNothingIsWritten) {
    const Line line;
    OpenImagery sensor(processed, line.path(), L"create");
    EXPECT_EQ(5002322, write(sensor, 0, samples(65536, 1), ""));
    EXPECT_EQ(5002322, write(sensor, 0, "", samples(65536, 1)));
    EXPECT_EQ(-1, SSSProcWriteProfile(sensor, 0, 1e9, 0, 0, 0, 1, 0, nullptr, nullptr));
    EXPECT_EQ(-1, SSSProcWriteProfile(sensor, 0, 1e9, 0, 0, 0, 0, 1, nullptr, nullptr));
    EXPECT_EQ(0, sensor.close());
    EXPECT_EQ(Texts{}, line.files());
}

TEST(ProcessedSideScan, TheScratchFormStandsBesideTheFileAndValidatesAsIt) {
    const Line line;
    const std::string file = twoPings(line);
    {
        OpenImagery sensor(scratch, line.path(), L"create");
        ASSERT_TRUE(sensor) << sensor.code();
        ASSERT_EQ(0, write(sensor, 5, "new", "er"));
    }
    EXPECT_EQ((Texts{"NewSSSProcessedSideScan", "NewSSSProcessedSideScanLineSegments",
                     "NewSSSProcessedSideScanTmIdx", "SSSProcessedSideScan",
                     "SSSProcessedSideScanLineSegments", "SSSProcessedSideScanTmIdx"}),
              line.files());
    for (const char* suffix : {"", "LineSegments", "TmIdx"})
        EXPECT_EQ(19u, wordAt(line.bytes(std::string("NewSSSProcessedSideScan") + suffix), 4)) << suffix;
    EXPECT_EQ(file, line.bytes("SSSProcessedSideScan"));
    EXPECT_EQ(0, SSSProcRemoveDir(line.path().c_str()));
    EXPECT_EQ(3u, line.files().size()) << "the scratch form stays";
    const OpenImagery query(scratch, line.path(), L"query");
    ASSERT_TRUE(query) << query.code();
    EXPECT_EQ("ping 5 1000000000.000 1 2 3 6E6577 6572", scratch.record(query, 1));
    long code = 77;
    EXPECT_EQ(nullptr, SSSProcOpenDir(line.path().c_str(), L"query", &code));
    EXPECT_EQ(5000046, code);
}

TEST(ProcessedSideScan, AScratchFormThatIsNotThereDoesNotOpen) {
    const Line line;
    twoPings(line);
    for (const wchar_t* token : {L"query", L"update"}) {
        const OpenImagery sensor(scratch, line.path(), token);
        EXPECT_FALSE(sensor);
        EXPECT_EQ(5000046, sensor.code());
    }
}

TEST(ProcessedSideScan, AnUpdateReplacesStatusAndSamplesOfItsPing) {
    const Line line;
    const std::string before = twoPings(line);
    OpenImagery sensor(processed, line.path(), L"update");
    ASSERT_TRUE(sensor);
    EXPECT_EQ(0, SSSProcUpdateProfile(sensor, 1, 0x80000004, 5, "12345", "678"));
    std::string expected = withWord(before, 44, 0x80000004);
    expected.replace(44 + 20, 8, "12345678");
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSProcessedSideScan")));
    EXPECT_EQ(0, SSSProcUpdateProfile(sensor, 2, 0, 5, "vwxyz", "uts"));
    expected = withWord(expected, 44 + pingSize, 0);
    expected.replace(44 + pingSize + 20, 8, "vwxyzuts");
    EXPECT_EQ(0, SSSProcUpdateStatus(sensor, 1, 6));
    expected = withWord(expected, 44, 6);
    EXPECT_EQ(0, sensor.close());
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSProcessedSideScan")));
}

TEST(ProcessedSideScan, AnUpdateWithAnotherCountIsRefusedAndWritesNothing) {
    const Line line;
    const std::string before = twoPings(line);
    OpenImagery sensor(processed, line.path(), L"update");
    ASSERT_TRUE(sensor);
    const std::string room(131070, '!');
    for (const std::uint32_t count : {0u, 3u, 4u, 6u, 65535u, 65536u + 5, 0xFFFFFFFFu})
        for (const std::uint32_t ping : {1u, 2u})
            EXPECT_EQ(5002327, SSSProcUpdateProfile(sensor, ping, 9, count, room.data(), room.data()))
                << count;
    EXPECT_EQ(-1, SSSProcUpdateProfile(sensor, 1, 9, 5, nullptr, room.data()));
    EXPECT_EQ(-1, SSSProcUpdateProfile(sensor, 1, 9, 5, room.data(), nullptr));
    EXPECT_EQ(0, sensor.close());
    EXPECT_EQ(before, line.bytes("SSSProcessedSideScan"));
}

TEST(ProcessedSideScan, TheWidthOfAnUpdateIsThatOfTheNewStatus) {
    const Line line;
    const std::string before = twoPings(line);
    const std::string samples(16, '#');
    OpenImagery sensor(processed, line.path(), L"update");
    ASSERT_TRUE(sensor);
    // Wider samples run into the ping behind; where there is none they have no room.
    EXPECT_EQ(0, SSSProcUpdateProfile(sensor, 1, 0x40000000, 5, samples.data(), samples.data()));
    std::string expected = withWord(before, 44, 0x40000000);
    expected.replace(44 + 20, 16, samples);
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSProcessedSideScan")));
    EXPECT_EQ(5002327, SSSProcUpdateProfile(sensor, 2, 0x40000000, 5, samples.data(), samples.data()));
    EXPECT_EQ(hex(expected), hex(line.bytes("SSSProcessedSideScan")));
}

TEST(ProcessedSideScan, UpdatesNameWhatIsWrongInTheirOrder) {
    const Line line;
    twoPings(line);
    {
        OpenImagery sensor(processed, line.path(), L"query");
        EXPECT_EQ(5002318, SSSProcUpdateProfile(sensor, 1, 0, 5, "abcde", "fgh"));
        EXPECT_EQ(5002318, SSSProcUpdateStatus(sensor, 1, 0));
    }
    EXPECT_EQ(5002312, SSSProcUpdateProfile(nullptr, 1, 0, 5, "abcde", "fgh"));
    OpenImagery sensor(processed, line.path(), L"update");
    EXPECT_EQ(5002319, SSSProcUpdateProfile(sensor, 0, 0, 5, "abcde", "fgh"));
    EXPECT_EQ(5002319, SSSProcUpdateProfile(sensor, 3, 0, 5, "abcde", "fgh"));
    const auto type = std::exchange(sensor->sensorType, 13u);
    EXPECT_EQ(5002313, SSSProcUpdateProfile(sensor, 1, 0, 5, "abcde", "fgh"));
    sensor->sensorType = type;
    void* structure = std::exchange(sensor->pReadStruct, nullptr);
    EXPECT_EQ(-1, SSSProcUpdateProfile(sensor, 3, 0, 5, "abcde", "fgh"));
    sensor->pReadStruct = structure;
    const auto op = std::exchange(sensor->decodeXDRStream.x_op, 0u);
    EXPECT_EQ(5002327, SSSProcUpdateProfile(sensor, 1, 0, 5, "abcde", "fgh"));
    sensor->decodeXDRStream.x_op = op;
    ASSERT_EQ(0, sensor.close());
    line.cut("SSSProcessedSideScan", 44 + pingSize + 19);
    OpenImagery cut(processed, line.path(), L"update");
    EXPECT_EQ(5002325, SSSProcUpdateProfile(cut, 2, 0, 5, "abcde", "fgh"));
    line.patch("SSSProcessedSideScanTmIdx", 44, 0x80000000);
    OpenImagery again(processed, line.path(), L"update");
    EXPECT_EQ(5002315, SSSProcUpdateProfile(again, 1, 0, 5, "abcde", "fgh"));
}

TEST(ProcessedSideScan, EveryOutputMayBeLeftOut) {
    const Line line;
    twoPings(line);
    const OpenImagery sensor(processed, line.path(), L"query");
    EXPECT_EQ(0, SSSProcReadProfile(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, nullptr));
    EXPECT_EQ(0, SSSProcSummary(sensor, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0,
              SSSProcLineSegment(sensor, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr) - 5002317)
        << "no segment was begun";
}

} // namespace
