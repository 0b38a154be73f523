#include "imagery/families.h"
#include "support/fault_backend.h"
#include "support/flat_families.h"
#include "support/largestblock.h"
#include "support/processortime.h"

#include <algorithm>

// Damaged files of every imagery family: each length that a small set can be cut to, every word at its
// extremes, records that claim what no file has. Whatever opens is read whole and changed. A code, an end
// within reason and bounded memory are required of each.
namespace {

using namespace skar::tests;

const std::string folder = "/survey/p/v/d/l/";
const wchar_t* const linePath = L"/survey/p/v/d/l";

// In memory: thousands of files that are cut short and written anew would wait for a real disk.
class HostileImagery : public testing::TestWithParam<ImageryFamily> {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SKARIO_Init(0));
        for (const Bytes& file : family.set())
            set.push_back(file.string());
        put();
    }
    const ImageryFamily& family = GetParam();
    const std::vector<std::string> files = GetParam().files();
    std::vector<std::string> set;
    FaultBackend disk;
    LogCapture log{SKAR::debugLogErrors};
    const QuietOutput quiet;

    void put() {
        for (std::size_t which = 0; which < set.size(); ++which)
            disk.put(folder + files[which], set[which]);
    }
    void put(std::size_t which, const std::string& bytes) { disk.put(folder + files[which], bytes); }
    std::size_t firstEntry() const { return 44; } // of the index: the offset of the first record

    // Opens in both modes, reads all there is and changes records; the code of the query.
    int survive(const std::string& what) {
        int query = 0;
        const std::string data = disk.bytes(folder + files[0]);
        const std::string segments = disk.bytes(folder + files[1]);
        for (const wchar_t* token : {L"query", L"update"}) {
            largestBlock = 0;
            const ProcessorTime time;
            long code = 77;
            _TELD_Sensor* sensor = family.open(linePath, token, &code);
            if (token[0] == L'q') query = static_cast<int>(code);
            EXPECT_EQ(code == 0, sensor != nullptr) << what;
            if (sensor) {
                family.readAll(sensor);
                family.setSummaryStatus(sensor, 1);
                if (token[0] == L'u') {
                    family.setSegmentStatus(sensor, 1, 1);
                    for (std::uint32_t record = 0; family.change && record <= 5; ++record)
                        family.change(sensor, record);
                    if (family.setSourceFileName) family.setSourceFileName(sensor, L"renamed");
                }
                EXPECT_EQ(0, family.close(sensor)) << what;
            }
            EXPECT_LT(time.seconds(), hostileLimit) << what;
            EXPECT_LE(largestBlock, mostMemory) << what;
        }
        EXPECT_EQ(0, disk.openStreams()) << what;
        const std::string after = disk.bytes(folder + files[0]);
        EXPECT_EQ(data.size(), after.size()) << what << ": an update lengthened the file";
        EXPECT_EQ(data.substr(0, 44), after.substr(0, 44))
            << what << ": an update reached the head of the file";
        put(0, data);
        put(1, segments);
        log.clear();
        return query;
    }
    bool knownCode(int code) const {
        for (const int known : {0, 5000027, 5000029, 5000038, 5000039, family.code(1), family.code(3),
                                family.code(6), family.code(25)})
            if (code == known) return true;
        return false;
    }
};
INSTANTIATE_TEST_SUITE_P(Every, HostileImagery, testing::ValuesIn(imageryFamilies()), imageryName);

TEST_P(HostileImagery, CutAtEveryByte) {
    EXPECT_EQ(0, survive("whole"));
    for (std::size_t which = 0; which < set.size(); ++which) {
        for (std::size_t size = 0; size < set[which].size(); ++size) {
            const std::string what = files[which] + " cut to " + std::to_string(size);
            put(which, set[which].substr(0, size));
            const int code = survive(what);
            EXPECT_TRUE(knownCode(code)) << what << " gives " << code;
            // A trace file has no head, and what lies behind the head of a data file is not read by the open.
            EXPECT_EQ(which == 3 || (which == 0 && size >= 44), code == 0) << what << " gives " << code;
        }
        put();
    }
}

TEST_P(HostileImagery, EveryWordAtItsExtremes) {
    for (std::size_t which = 0; which < 3; ++which) {
        for (std::size_t at = 0; at + 4 <= set[which].size(); at += 4) {
            for (const std::uint32_t word : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                const std::string what =
                    files[which] + " word at " + std::to_string(at) + " set to " + std::to_string(word);
                put(which, withWord(set[which], at, word));
                const int code = survive(what);
                EXPECT_TRUE(knownCode(code)) << what << " gives " << code;
                if (at < 12 && word != wordAt(set[which], at)) {
                    EXPECT_NE(0, code) << what;
                }
                if (which == 0 && at >= 12) {
                    EXPECT_EQ(0, code) << what;
                }
            }
        }
        put();
    }
}

// Counts of beams and samples in every place of a record's head, trace offsets among them.
TEST_P(HostileImagery, RecordsClaimMoreThanTheFileHas) {
    for (std::size_t entry = 0; entry < 2; ++entry) {
        const std::size_t record = wordAt(set[2], firstEntry() + 8 * entry);
        for (std::size_t at = record; at < record + 68 && at + 4 <= set[0].size(); at += 4) {
            for (const std::uint32_t word :
                 {0x00010000u, 0xFFFF0000u, 0x0000FFFFu, 0x40000000u, 0xFFFF0001u, 0x00080008u, 0x0001FFFFu,
                  0x00007FFFu, static_cast<std::uint32_t>(set[0].size()) << 16}) {
                put(0, withWord(set[0], at, word));
                EXPECT_EQ(0, survive("word at " + std::to_string(at) + " set to " + std::to_string(word)));
            }
        }
    }
}

TEST_P(HostileImagery, OffsetsPointAnywhere) {
    const auto size = static_cast<std::uint32_t>(set[0].size());
    const std::uint32_t first = wordAt(set[2], firstEntry());
    for (std::size_t entry = 0; entry < 3; ++entry) {
        for (const std::uint32_t offset : {0u, 4u, 16u, 43u, first + 1, first + 4, size - 1, size, size + 1,
                                           size - 20, 0x7FFFFFF0u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            put(2, withWord(set[2], firstEntry() + entry * 8, offset));
            EXPECT_EQ(0, survive("entry " + std::to_string(entry) + " at " + std::to_string(offset)));
        }
    }
}

TEST_P(HostileImagery, SideFilesMissingOrOfAnotherKind) {
    for (std::size_t which = 1; which < 3; ++which) {
        put(which, set[3 - which]);
        EXPECT_NE(0, survive(files[which] + " holds the other"));
        Files kept = disk.files();
        kept.erase(folder + files[which]);
        disk.setFiles(kept);
        long code = 77;
        EXPECT_EQ(nullptr, family.open(linePath, L"query", &code));
        EXPECT_NE(0, code);
        EXPECT_NE(77, code);
        EXPECT_EQ(0, disk.openStreams());
        put();
    }
}

} // namespace
