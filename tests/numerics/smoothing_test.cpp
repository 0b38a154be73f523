#include "support/decimal_comma.h"
#include "support/fault_backend.h"

#include <skar/codes.h>
#include <skar/errors.h>
#include <skar/smoothing.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using skar::tests::FaultBackend;

struct Freed {
    void operator()(SmoothingCoefficients* list) const { FreeSmoothingCoefficients(list); }
};
using List = std::unique_ptr<SmoothingCoefficients, Freed>;

List gyro(double upper = 12.5, double lower = 0.25) {
    return List(AllocSmoothingCoefficientNode(L"Gyro", 5, 1, upper, lower, 1, 0, 3, 1));
}

TEST(SmoothingRecord, HoldsWhatItIsMadeOf) {
    const List record = gyro();
    ASSERT_NE(nullptr, record);
    EXPECT_STREQ(L"Gyro", record->sensorName);
    EXPECT_EQ(5, record->boxLength);
    EXPECT_EQ(1, record->boxLenIsTime);
    EXPECT_EQ(12.5, record->upperThreshold);
    EXPECT_EQ(0.25, record->lowerThreshold);
    EXPECT_EQ(1, record->filterEnabled);
    EXPECT_EQ(1, record->filterBreakInterp);
    EXPECT_EQ(0, record->smoothEnabled);
    EXPECT_EQ(3, record->type);
    EXPECT_EQ(nullptr, record->next);
    EXPECT_EQ(nullptr, record->previous);
}

TEST(SmoothingRecord, HasLimits) {
    const auto made = [](const wchar_t* name, int length, int isTime, double upper, double lower, int filter,
                         int smooth, int breaks) {
        return List(AllocSmoothingCoefficientNode(name, length, isTime, upper, lower, filter, smooth, -5,
                                                  breaks)) != nullptr;
    };
    EXPECT_TRUE(made(L"", 0, 0, 0, 0, 0, 0, 0));
    EXPECT_TRUE(made(L"x", 1, 1, 1, 1, 1, 1, 1));
    EXPECT_FALSE(made(nullptr, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_FALSE(made(L"x", -1, 0, 0, 0, 0, 0, 0));
    EXPECT_FALSE(made(L"x", 0, 2, 0, 0, 0, 0, 0));
    EXPECT_FALSE(made(L"x", 0, -1, 0, 0, 0, 0, 0));
    EXPECT_FALSE(made(L"x", 0, 0, -0.1, 0, 0, 0, 0));
    EXPECT_FALSE(made(L"x", 0, 0, NAN, 0, 0, 0, 0));
    EXPECT_FALSE(made(L"x", 0, 0, 0, -0.1, 0, 0, 0));
    EXPECT_FALSE(made(L"x", 0, 0, 0, 0, 2, 0, 0));
    EXPECT_FALSE(made(L"x", 0, 0, 0, 0, 0, 2, 0));
    EXPECT_FALSE(made(L"x", 0, 0, 0, 0, 0, 0, 2));
}

TEST(SmoothingRecord, HasANameOfAtMost255Characters) {
    EXPECT_NE(nullptr,
              List(AllocSmoothingCoefficientNode(std::wstring(255, L'x').c_str(), 0, 0, 0, 0, 0, 0, 0, 0)));
    EXPECT_EQ(nullptr,
              List(AllocSmoothingCoefficientNode(std::wstring(256, L'x').c_str(), 0, 0, 0, 0, 0, 0, 0, 0)));
    FreeSmoothingCoefficients(nullptr);
}

constexpr const char* head =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SKARSmoothingCoefficients Version=\"1.00\">\n";
constexpr const char* foot = "</SKARSmoothingCoefficients>\n";

std::string sensor(const std::string& name, const std::string& length, const std::string& upper,
                   const std::string& lower, const std::string& type = "3",
                   const std::string& breakInterp = "1") {
    return "  <SKAR_SENSOR value=\"" + name + "\">\n    <BOX_LENGTH value=\"" + length +
           "\"/>\n    <BOX_LEN_IS_TIME value=\"1\"/>\n    <UPPER_THRESHOLD value=\"" + upper +
           "\"/>\n    <LOWER_THRESHOLD value=\"" + lower +
           "\"/>\n    <FILTER_ENABLED value=\"1\"/>\n    <SMOOTH_ENABLED value=\"0\"/>\n    "
           "<FILTER_BREAK_INTERP value=\"" +
           breakInterp + "\"/>\n    <TYPE value=\"" + type + "\"/>\n  </SKAR_SENSOR>\n";
}

class SmoothingFile : public testing::Test {
protected:
    static constexpr const char* file = "/line/smoothCoefficients";

    SmoothingFile() { disk.put("/line/neighbour", ""); }
    List read(const std::string& bytes) {
        disk.put(file, bytes);
        return readAgain();
    }
    List readAgain() {
        status = 7;
        return List(ReadSmoothingCoefficentFile(L"/line/smoothCoefficients", &status));
    }
    long save(const SmoothingCoefficients* list) {
        return SaveSmoothingCoefficentsFile(L"\\line\\smoothCoefficients", list);
    }
    std::string bytes() const { return disk.bytes(file); }

    FaultBackend disk;
    long status = 7;
};

TEST_F(SmoothingFile, IsReadInItsOrder) {
    const List list =
        read(head + sensor("Gyro", "5", "12.50", "0.25") + sensor("Second Tide", "7", "1.00", "2.00") + foot);
    EXPECT_EQ(0, status);
    ASSERT_NE(nullptr, list);
    EXPECT_STREQ(L"Gyro", list->sensorName);
    EXPECT_EQ(5, list->boxLength);
    EXPECT_EQ(1, list->boxLenIsTime);
    EXPECT_EQ(12.5, list->upperThreshold);
    EXPECT_EQ(0.25, list->lowerThreshold);
    EXPECT_EQ(1, list->filterEnabled);
    EXPECT_EQ(0, list->smoothEnabled);
    EXPECT_EQ(3, list->type);
    EXPECT_EQ(1, list->filterBreakInterp);
    ASSERT_NE(nullptr, list->next);
    EXPECT_STREQ(L"Second Tide", list->next->sensorName);
    EXPECT_EQ(nullptr, list->next->next);
    EXPECT_EQ(nullptr, list->next->previous);
}

TEST_F(SmoothingFile, SetsWhatItHoldsAndLeavesTheRestAtZero) {
    const List list = read(
        head +
        std::string("<x value='first'><FILTER_BREAK_INTERP value='1'/><BOX_LENGTH/><TYPE value='many'/></x>"
                    "<SKAR_SENSOR/><SKAR_SENSOR value=''><TYPE value='9'/></SKAR_SENSOR>") +
        foot);
    ASSERT_NE(nullptr, list);
    EXPECT_STREQ(L"first", list->sensorName);
    EXPECT_EQ(1, list->filterBreakInterp);
    EXPECT_EQ(0, list->boxLength);
    EXPECT_EQ(0, list->type);
    ASSERT_NE(nullptr, list->next);
    EXPECT_STREQ(L"", list->next->sensorName);
    EXPECT_EQ(9, list->next->type);
    EXPECT_EQ(nullptr, list->next->next);
}

TEST_F(SmoothingFile, OfAnotherKindIsRefused) {
    for (const char* other : {"<Other Version='1.00'/>", "<skarsmoothingcoefficients Version='1.00'/>",
                              "<SKARSmoothingCoefficients/>", "<SKARSmoothingCoefficients Version='1.01'/>",
                              "<SKARSmoothingCoefficients Version='x'/>"}) {
        EXPECT_EQ(nullptr, read(other)) << other;
        EXPECT_EQ(-1, status) << other;
    }
    EXPECT_EQ(nullptr, read("<SKARSmoothingCoefficients Version='1'/>"));
    EXPECT_EQ(0, status);
}

TEST_F(SmoothingFile, ThatIsNoXmlHasTheParsersResult) {
    for (const char* broken : {"", "words", "<SKARSmoothingCoefficients Version='1.00'>"}) {
        EXPECT_EQ(nullptr, read(broken));
        EXPECT_NE(0, status);
        EXPECT_NE(7, status);
    }
    status = 7;
    EXPECT_EQ(nullptr, ReadSmoothingCoefficentFile(L"/not/there", &status));
    EXPECT_NE(0, status);
    EXPECT_NE(7, status);
}

TEST_F(SmoothingFile, WithoutANameHasItsCode) {
    EXPECT_EQ(nullptr, ReadSmoothingCoefficentFile(nullptr, &status));
    EXPECT_EQ(5017100, status);
    status = 7;
    EXPECT_EQ(nullptr, GetAllSmoothingCoefficents(nullptr, &status));
    EXPECT_EQ(5017100, status);
    EXPECT_EQ(nullptr, ReadSmoothingCoefficentFile(nullptr, nullptr));
    const List record = gyro();
    EXPECT_EQ(5017100, SaveSmoothingCoefficentsFile(nullptr, record.get()));
    EXPECT_EQ(5017100, SaveSmoothingCoefficents(nullptr, record.get()));
    EXPECT_EQ(0, SaveSmoothingCoefficentsFile(nullptr, nullptr));
    EXPECT_EQ(0, SaveSmoothingCoefficents(L"/line", nullptr));
    EXPECT_FALSE(disk.has(file));
}

TEST_F(SmoothingFile, OfADirectoryIsFoundThere) {
    disk.put(file, head + sensor("Gyro", "5", "12.50", "0.25") + sensor("Tide", "6", "1.00", "1.00") + foot);
    const List all(GetAllSmoothingCoefficents(L"/line", &status));
    EXPECT_EQ(0, status);
    ASSERT_NE(nullptr, all);
    EXPECT_NE(nullptr, all->next);
    const List one(GetSmoothingCoefficent(L"\\line\\", L"Tide", &status));
    EXPECT_EQ(0, status);
    ASSERT_NE(nullptr, one);
    EXPECT_STREQ(L"Tide", one->sensorName);
    EXPECT_EQ(6, one->boxLength);
    EXPECT_EQ(nullptr, one->next);
}

TEST_F(SmoothingFile, OfADirectoryHasNoRecordOfAnotherSensor) {
    disk.put(file, head + sensor("Gyro", "5", "12.50", "0.25") + foot);
    status = 7;
    EXPECT_EQ(nullptr, GetSmoothingCoefficent(L"/line", L"gyro", &status));
    EXPECT_EQ(0, status);
    EXPECT_EQ(nullptr, GetSmoothingCoefficent(nullptr, L"Gyro", &status));
    EXPECT_EQ(5017100, status);
    EXPECT_EQ(nullptr, GetSmoothingCoefficent(L"/line", nullptr, &status));
    EXPECT_EQ(5017101, status);
    status = 7;
    EXPECT_EQ(nullptr, GetSmoothingCoefficent(L"/other", L"Gyro", &status));
    EXPECT_EQ(5017100, status);
    disk.put(file, "<Other/>");
    EXPECT_EQ(nullptr, GetSmoothingCoefficent(L"/line", L"Gyro", &status));
    EXPECT_EQ(-1, status);
}

TEST_F(SmoothingFile, IsWrittenAnew) {
    const List record = gyro(12.5, 0.25);
    const std::string expected = head + sensor("Gyro", "5", "12.50", "0.25") + foot;
    EXPECT_EQ(static_cast<long>(expected.size()), save(record.get()));
    EXPECT_EQ(expected, bytes());
    EXPECT_EQ(static_cast<long>(expected.size()), SaveSmoothingCoefficents(L"/line", record.get()));
    EXPECT_EQ(expected, bytes());
}

TEST_F(SmoothingFile, HasThresholdsOfTwoDecimalsAndPlainWholeNumbers) {
    const List record(
        AllocSmoothingCoefficientNode(L"a<\u00e9", 0, 1, 1234567890.126, 0.004, 1, 0, -1234567, 0));
    save(record.get());
    EXPECT_EQ(head + sensor("a&lt;\u00e9", "0", "1234567890.13", "0.00", "-1234567", "0") + foot, bytes());
    const List again = readAgain();
    ASSERT_NE(nullptr, again);
    EXPECT_STREQ(L"a<\u00e9", again->sensorName);
}

TEST_F(SmoothingFile, HasThePointInEveryLocale) {
    const skar::tests::DecimalComma comma;
    if (!comma) GTEST_SKIP() << "no locale with a comma can be had";
    const List record = gyro(1234.5, 0.25);
    save(record.get());
    EXPECT_EQ(head + sensor("Gyro", "5", "1234.50", "0.25") + foot, bytes());
    const List again = readAgain();
    ASSERT_NE(nullptr, again);
    EXPECT_EQ(1234.5, again->upperThreshold);
}

TEST_F(SmoothingFile, ANewSensorGoesFirst) {
    disk.put(file, head + sensor("Tide", "6", "1.00", "2.00") + foot);
    const List record = gyro();
    save(record.get());
    EXPECT_EQ(head + sensor("Gyro", "5", "12.50", "0.25") + sensor("Tide", "6", "1.00", "2.00") + foot,
              bytes());
}

TEST_F(SmoothingFile, SeveralNewSensorsComeInReverse) {
    const List records = gyro();
    records->next = AllocSmoothingCoefficientNode(L"Tide", 6, 1, 1, 2, 1, 0, 3, 1);
    save(records.get());
    EXPECT_EQ(head + sensor("Tide", "6", "1.00", "2.00") + sensor("Gyro", "5", "12.50", "0.25") + foot,
              bytes());
}

TEST_F(SmoothingFile, AKnownSensorKeepsItsLowerThresholdAndItsPlace) {
    disk.put(file,
             head + sensor("Tide", "6", "1.00", "2.00") + sensor("Gyro", "1", "2.00", "3.00", "9") + foot);
    const List record = gyro(12.5, 0.25);
    save(record.get());
    EXPECT_EQ(head + sensor("Tide", "6", "1.00", "2.00") + sensor("Gyro", "5", "12.50", "3.00") + foot,
              bytes());
}

TEST_F(SmoothingFile, TakesOverAllOtherFieldsOfAKnownSensor) {
    disk.put(file, head + sensor("Gyro", "1", "2.00", "3.00", "9") + foot);
    const List record(AllocSmoothingCoefficientNode(L"Gyro", 8, 0, 4, 5, 0, 1, 6, 0));
    save(record.get());
    const List again = readAgain();
    ASSERT_NE(nullptr, again);
    EXPECT_EQ(8, again->boxLength);
    EXPECT_EQ(0, again->boxLenIsTime);
    EXPECT_EQ(4, again->upperThreshold);
    EXPECT_EQ(3, again->lowerThreshold);
    EXPECT_EQ(0, again->filterEnabled);
    EXPECT_EQ(1, again->smoothEnabled);
    EXPECT_EQ(6, again->type);
    EXPECT_EQ(1, again->filterBreakInterp) << "the file's own";
}

TEST_F(SmoothingFile, ThatCannotBeReadIsReplaced) {
    disk.put(file, "<Other/>");
    const List record = gyro();
    save(record.get());
    EXPECT_EQ(head + sensor("Gyro", "5", "12.50", "0.25") + foot, bytes());
}

TEST_F(SmoothingFile, ThatCannotBeWrittenStaysAsItWas) {
    const std::string before = head + sensor("Tide", "6", "1.00", "2.00") + foot;
    disk.put(file, before);
    const auto files = disk.files();
    const List record = gyro();
    disk.noSpaceAfter(100);
    EXPECT_EQ(-1, save(record.get()));
    disk.clearFaults();
    EXPECT_EQ(files, disk.files());
    EXPECT_EQ(0, disk.openStreams());
}

TEST_F(SmoothingFile, TakesEveryTruncation) {
    const std::string whole = head + sensor("Tide", "6", "1.00", "2.00") + foot;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const List list = read(whole.substr(0, size));
        EXPECT_EQ(status == 0, size == whole.size() - 1) << size;
    }
}

TEST(SmoothingCodes, SayWhatTheyMean) {
    EXPECT_FALSE(skar::errors::meaningOf(5017100).empty());
    EXPECT_FALSE(skar::errors::meaningOf(5017101).empty());
}

} // namespace
