#include "support/fault_backend.h"
#include "support/flat_families.h"
#include "support/largestblock.h"
#include "support/processortime.h"
#include "support/profile_families.h"

#include <skar/sensorparameters.h>

#include <functional>

// Damaged files that the library reads and never writes, or whose open takes more than a line: each length a
// golden set can be cut to, every word at its extremes.
namespace {

using namespace skar::tests;

struct Case {
    const char* golden;
    const char* data; // name of the data file
    // Opens, reads all there is and, in update mode, changes it; the code of the open.
    std::function<std::uint32_t(const wchar_t* token)> work;
};
std::ostream& operator<<(std::ostream& out, const Case& each) {
    return out << each.golden;
}

const wchar_t* const linePath = L"/survey/p/v/d/l";
const std::string folder = "/survey/p/v/d/l/";

std::uint32_t workOnPings(const char* name, const wchar_t* token) {
    const auto family = std::find_if(profileFamilies().begin(), profileFamilies().end(),
                                     [&](const ProfileFamily& row) { return std::string(row.name) == name; });
    if (family == profileFamilies().end()) return 99;
    std::uint32_t code = 77;
    _TELD_Sensor* const sensor = family->open(linePath, token, &code);
    EXPECT_EQ(code == 0, sensor != nullptr);
    if (!sensor) return code;
    family->readAll(sensor);
    if (token[0] == L'u') {
        for (std::uint32_t ping = 0; ping <= 5; ++ping) {
            for (const std::uint32_t beam : {0u, 1u, 2u, 65535u, 0xFFFFFFFFu})
                family->updateAll(sensor, ping, beam);
        }
        family->readAll(sensor);
    }
    EXPECT_EQ(0, family->close(sensor));
    return code;
}

std::uint32_t workOnSettings(const wchar_t* token) {
    std::uint32_t code = 77;
    constexpr std::uint32_t reson8100 = 1;
    _TELD_Sensor* const sensor = SensorParametersOpenDir(linePath, token, reson8100, &code);
    EXPECT_EQ(code == 0, sensor != nullptr);
    if (!sensor) return code;
    double time = 0.0, d[26] = {};
    std::uint32_t status = 0, w[26] = {};
    for (const std::uint32_t record : {0u, 1u, 2u, 3u, 4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        if (SensorParametersRead(sensor, record, &time, &status) != 0) continue;
        SensorParametersDecodeReson8100_V1(sensor, &time, &status, &w[1], &w[2], &w[3], &w[4], &w[5], &d[5],
                                           &w[7], &w[8], &w[9], &w[10], &w[11], &w[12], &w[13], &w[14],
                                           &w[15], &d[15], &d[16], &w[18], &w[19], &d[19], &d[20], &d[21],
                                           &d[22], &w[24], &w[25]);
    }
    for (int i = 0; i < 100 && SensorParametersReadSeq(sensor, &time, &status) == 0; ++i) {
    }
    EXPECT_EQ(0, SensorParametersClose(sensor));
    return code;
}

class HostileGolden : public testing::TestWithParam<Case> {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SKARIO_Init(0));
        for (const char* side : {"", "LineSegments", "TmIdx"}) {
            const std::string name = std::string(GetParam().data) + side;
            names.push_back(folder + name);
            set.push_back(golden(GetParam().golden).bytes(name).string());
            ASSERT_FALSE(set.back().empty()) << name;
        }
    }
    // The code of the query, with that file in the place of the whole one.
    std::uint32_t survive(std::size_t which, const std::string& bytes, const std::string& what) {
        std::uint32_t query = 0;
        for (const wchar_t* token : {L"query", L"update"}) {
            FaultBackend disk;
            for (std::size_t i = 0; i < set.size(); ++i)
                disk.put(names[i], i == which ? bytes : set[i]);
            largestBlock = 0;
            const ProcessorTime spent;
            const std::uint32_t code = GetParam().work(token);
            if (token[0] == L'q') query = code;
            EXPECT_LT(spent.seconds(), hostileLimit) << what;
            EXPECT_LE(largestBlock, mostMemory) << what;
            EXPECT_EQ(0, disk.openStreams()) << what;
            EXPECT_EQ(which == 0 ? bytes.size() : set[0].size(), disk.bytes(names[0]).size()) << what;
        }
        log.clear();
        return query;
    }

    std::vector<std::string> names;
    std::vector<std::string> set;
    LogCapture log{SKAR::debugLogErrors};
};
INSTANTIATE_TEST_SUITE_P(
    Every, HostileGolden,
    testing::Values(Case{"observed_depths_1", "ObservedDepths",
                         [](const wchar_t* token) { return workOnPings("ObservedDepths", token); }},
                    Case{"processed_depths_1", "ProcessedDepths",
                         [](const wchar_t* token) { return workOnPings("ProcessedDepths", token); }},
                    Case{"processed_depths_2", "ProcessedDepths",
                         [](const wchar_t* token) { return workOnPings("ProcessedDepths", token); }},
                    Case{"sensor_parameters_reson8100", "SensorParameters", workOnSettings}),
    [](const auto& each) { return std::string(each.param.golden); });

TEST_P(HostileGolden, TheWholeSetOpens) {
    EXPECT_EQ(0u, survive(0, set[0], "whole"));
}

TEST_P(HostileGolden, CutAtEveryByte) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < set.size(); ++which) {
        for (std::size_t size = 0; size < set[which].size(); ++size) {
            const std::string what = names[which] + " cut to " + std::to_string(size);
            const std::uint32_t code = survive(which, set[which].substr(0, size), what);
            if (which != 0 || size < 16) {
                EXPECT_NE(0u, code) << what;
            }
        }
    }
}

TEST_P(HostileGolden, EveryWordAtItsExtremes) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < set.size(); ++which) {
        for (std::size_t at = 0; at + 4 <= set[which].size(); at += 4) {
            for (const std::uint32_t word : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                const std::string what =
                    names[which] + " word at " + std::to_string(at) + " set to " + std::to_string(word);
                const std::uint32_t code = survive(which, withWord(set[which], at, word), what);
                if (at < 12 && word != wordAt(set[which], at)) {
                    EXPECT_NE(0u, code) << what;
                }
            }
        }
    }
}

} // namespace
