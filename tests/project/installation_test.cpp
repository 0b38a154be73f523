#include "support/decimal_comma.h"
#include "support/fault_backend.h"

#include <skar/installation.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <string>
#include <vector>

namespace {

using SKAR::IO::InstallationParameters;
using SKAR::Temporary::String;
using skar::tests::FaultBackend;

std::string document(const std::string& children) {
    return "<?xml version=\"1.0\"?><InstallationParameters>" + children + "</InstallationParameters>";
}
std::string element(const std::string& name, const std::string& value) {
    return "<" + name + " value=\"" + value + "\"/>";
}
std::string transducer(int number, double first, const char* without = "") {
    std::string elements;
    for (const char* name : {"X", "Y", "Z", "Roll", "Pitch", "Heading"}) {
        if (std::string(name) != without)
            elements += element("Transducer" + std::to_string(number) + name, std::to_string(first));
        first += 1;
    }
    return elements;
}

class Installation : public testing::Test {
protected:
    void put(const std::string& bytes) { disk.put("/vessel/InstallationParameter.xml", bytes); }
    FaultBackend disk;
};

TEST_F(Installation, HasItsFileInTheDirectory) {
    wchar_t name[64] = L"before";
    getInstallationParameterFileName(nullptr, name);
    EXPECT_STREQ(L"before", name);
    getInstallationParameterFileName(L"C:\\vessel", name);
    EXPECT_STREQ(L"C:\\vessel\\InstallationParameter.xml", name);
}

TEST_F(Installation, IsATableOfNumbers) {
    put(document(element("Waterline", " -1.25 ") + element("Other", "3e2x") + element("Empty", "") +
                 "<None/>" + element("Waterline", "-1.5") + "text <!-- and a comment -->"));
    InstallationParameters parameters;
    ASSERT_TRUE(parameters.open(L"/vessel"));
    EXPECT_EQ(3u, parameters.get().size());
    EXPECT_EQ(-1.5, parameters.get("Waterline", 7));
    EXPECT_EQ(300.0, parameters.get("Other", 7));
    EXPECT_EQ(0.0, parameters.get("Empty", 7));
    EXPECT_EQ(7.0, parameters.get("None", 7));
    EXPECT_EQ(7.0, parameters.get("waterline", 7));
    const InstallationParameters copy = parameters;
    EXPECT_EQ(parameters.get(), copy.get());
}

TEST_F(Installation, ThatIsNoneIsFalseAndEmpty) {
    put(document(element("Waterline", "1")));
    InstallationParameters parameters;
    ASSERT_TRUE(parameters.open(L"\\vessel"));
    for (const char* other : {"<Other/>", "<installationparameters/>", "words", ""}) {
        ASSERT_TRUE((put(document(element("Waterline", "1"))), parameters.open(L"/vessel")));
        put(other);
        EXPECT_FALSE(parameters.open(L"/vessel")) << other;
        EXPECT_TRUE(parameters.get().empty());
    }
    EXPECT_FALSE(parameters.open(L"/nowhere"));
}

TEST_F(Installation, GivesThreeAntennas) {
    put(document(element("Position1X", "1.5") + element("Position1Y", "2") + element("Position1Z", "3") +
                 element("Position2X", "4") + element("Position2Y", "5") + element("Position2Z", "6") +
                 element("Position3X", "7") + element("Position3Z", "9") +
                 element("PositioningSystem", "2.9")));
    double p[9] = {};
    int system = 0;
    ASSERT_TRUE(ReadAntPositionFromXMLFile(L"/vessel", &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7],
                                           &p[8], &system));
    const double expected[9] = {1.5, 2, 3, 4, 5, 6, 7, 0, 9};
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(expected[i], p[i]) << i;
    EXPECT_EQ(2, system);
    EXPECT_TRUE(ReadAntPositionFromXMLFile(L"/vessel", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Installation, UsesTheFirstAntennaWhereItDoesNotSay) {
    put(document(""));
    double p = 7;
    int system = 7;
    ASSERT_TRUE(ReadAntPositionFromXMLFile(L"/vessel", &p, &p, &p, &p, &p, &p, &p, &p, &p, &system));
    EXPECT_EQ(0.0, p);
    EXPECT_EQ(1, system);
    put(document(element("PositioningSystem", "1e300")));
    ASSERT_TRUE(ReadAntPositionFromXMLFile(L"/vessel", &p, &p, &p, &p, &p, &p, &p, &p, &p, &system));
    EXPECT_EQ(INT_MAX, system);
}

TEST_F(Installation, WithoutAFileLeavesTheAntennas) {
    double p = 7;
    int system = 7;
    EXPECT_FALSE(ReadAntPositionFromXMLFile(L"/vessel", &p, &p, &p, &p, &p, &p, &p, &p, &p, &system));
    EXPECT_FALSE(ReadAntPositionFromXMLFile(nullptr, &p, &p, &p, &p, &p, &p, &p, &p, &p, &system));
    EXPECT_EQ(7, p);
    EXPECT_EQ(7, system);
}

TEST_F(Installation, GivesTheWaterlineOrTheLargestDouble) {
    EXPECT_EQ(DBL_MAX, getWaterlineFromXML(L"/vessel"));
    EXPECT_EQ(DBL_MAX, getWaterlineFromXML(nullptr));
    put(document(""));
    EXPECT_EQ(DBL_MAX, getWaterlineFromXML(L"/vessel"));
    put(document(element("Waterline", "-0.75")));
    EXPECT_EQ(-0.75, getWaterlineFromXML(L"/vessel"));
}

TEST_F(Installation, GivesTheLeadingCompleteTransducers) {
    std::vector<std::vector<double>> offsets(3);
    EXPECT_FALSE(ReadTransducerOffsetsFromXMLFile(L"/vessel", offsets));
    EXPECT_EQ(3u, offsets.size());
    put(document(transducer(1, 1) + transducer(2, 11) + transducer(3, 21, "Heading") + transducer(4, 31)));
    ASSERT_TRUE(ReadTransducerOffsetsFromXMLFile(L"/vessel", offsets));
    EXPECT_EQ((std::vector<std::vector<double>>{{1, 2, 3, 4, 5, 6}, {11, 12, 13, 14, 15, 16}}), offsets);
    put(document(""));
    ASSERT_TRUE(ReadTransducerOffsetsFromXMLFile(L"/vessel", offsets));
    EXPECT_TRUE(offsets.empty());
    std::string all;
    for (int number = 1; number <= 7; ++number)
        all += transducer(number, 10 * number);
    put(document(all));
    ASSERT_TRUE(ReadTransducerOffsetsFromXMLFile(L"/vessel", offsets));
    ASSERT_EQ(6u, offsets.size());
    EXPECT_EQ(65, offsets[5][5]);
}

TEST_F(Installation, HasThePointInEveryLocale) {
    const skar::tests::DecimalComma comma;
    if (!comma) GTEST_SKIP() << "no locale with a comma can be had";
    put(document(element("Waterline", "-0.75")));
    EXPECT_EQ(-0.75, getWaterlineFromXML(L"/vessel"));
}

class IhoTables : public testing::Test {
protected:
    void put(const std::string& bytes) { disk.put("/iho.xml", bytes); }
    static std::vector<double> numbers(const SKARIOUtils::IHOData& data) {
        std::vector<double> all;
        for (const auto& each : data.standards)
            all.insert(all.end(), {each.a, each.b, each.horizontal, each.percentageOfDepth});
        all.insert(all.end(), data.reserved, data.reserved + 4);
        return all;
    }
    static std::string group(const std::string& name, int first) {
        std::string elements;
        for (const char* each : {"a", "b", "Horizontal", "PercentageOfDepth"})
            elements += element(each, std::to_string(first++) + ".5");
        return "<" + name + ">" + elements + "</" + name + ">";
    }
    FaultBackend disk;
    long status = 7;
};

static_assert(sizeof(SKARIOUtils::IHOData) == 20 * sizeof(double));

TEST_F(IhoTables, OfOrdersAndOfZonesAreRead) {
    put("<IHO><S57>" + group("A1", 101) + group("A2", 105) + group("B", 109) + group("C", 113) +
        "</S57><S44>" + group("Order2", 13) + group("Order1b", 9) + group("Order1a", 5) +
        group("SpecialOrder", 1) + "</S44></IHO>");
    std::vector<double> expected(20, 0.0);
    for (std::size_t i = 0; i < 16; ++i)
        expected[i] = static_cast<double>(i) + 1.5;
    EXPECT_EQ(expected, numbers(SKARIOUtils::GetS44Values(L"/iho.xml", status)));
    EXPECT_EQ(0, status);
    for (std::size_t i = 0; i < 16; ++i)
        expected[i] += 100;
    status = 7;
    EXPECT_EQ(expected, numbers(SKARIOUtils::GetS57Values("\\iho.xml", status)));
    EXPECT_EQ(0, status);
}

TEST_F(IhoTables, AreZeroWhereTheFileSaysNothing) {
    put("<IHO><S44><Order1a><b value='0.013'/><Horizontal/></Order1a><Other><a "
        "value='1'/></Other></S44></IHO>");
    std::vector<double> expected(20, 0.0);
    expected[5] = 0.013;
    EXPECT_EQ(expected, numbers(SKARIOUtils::GetS44Values(L"/iho.xml", status)));
    EXPECT_EQ(0, status);
}

TEST_F(IhoTables, ThatAreMissingAreZeroWithAStatus) {
    const std::vector<double> zeros(20, 0.0);
    for (const char* bytes : {"<IHO><S57/></IHO>", "<S44/>", "words", ""}) {
        put(bytes);
        status = 7;
        EXPECT_EQ(zeros, numbers(SKARIOUtils::GetS44Values(L"/iho.xml", status))) << bytes;
        EXPECT_EQ(-1, status) << bytes;
    }
    SKARIOUtils::GetS57Values(L"/missing.xml", status = 7);
    EXPECT_EQ(-1, status);
    SKARIOUtils::GetS57Values(CString(), status = 7);
    EXPECT_EQ(-1, status);
}

TEST(CStringText, HoldsWideText) {
    EXPECT_TRUE(CString().IsEmpty());
    EXPECT_TRUE(CString(static_cast<const wchar_t*>(nullptr)).IsEmpty());
    const CString text("\u00e9a");
    EXPECT_EQ(2, text.GetLength());
    EXPECT_STREQ(L"\u00e9a", text.GetString());
    EXPECT_STREQ(L"\u00e9a", text);
}

} // namespace
