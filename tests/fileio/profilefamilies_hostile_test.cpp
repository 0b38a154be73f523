#include "support/flat_families.h"
#include "support/largestblock.h"
#include "support/processortime.h"
#include "support/profile_families.h"

#include <filesystem>

// Damaged files of every family with profiles: each length that a small set can be cut to, every word at its
// extremes, profiles that claim what no file has. Whatever opens is read whole and changed. No answer is
// required of a damage that the formats cannot tell; a code, an end within reason and bounded memory always
// are.
namespace {

using namespace skar::tests;

class HostileProfiles : public testing::TestWithParam<ProfileFamily> {
protected:
    void SetUp() override {
        ASSERT_EQ(0, SKARIO_Init(0));
        ASSERT_EQ(3u, set.size());
    }
    const ProfileFamily& family = GetParam();
    const std::vector<std::string> set = smallLine(GetParam());
    const std::vector<std::string> files = GetParam().files();
    Line line;
    LogCapture log{SKAR::debugLogErrors};

    // Where the index has it.
    std::size_t firstHeader() const { return wordAt(set[2], 44); }
    void put() const {
        for (std::size_t which = 0; which < 3; ++which)
            line.write(files[which], set[which]);
    }
    // Opens in both modes, reads all there is and changes beams; the code of the query.
    int survive(const std::string& what) {
        int query = 0;
        const std::string data = line.bytes(files[0]);
        for (const wchar_t* token : {L"query", L"update"}) {
            largestBlock = 0;
            const ProcessorTime spent;
            std::uint32_t code = 77;
            _TELD_Sensor* sensor = family.open(line.path().c_str(), token, &code);
            if (token[0] == L'q') query = static_cast<int>(code);
            EXPECT_EQ(code == 0, sensor != nullptr) << what;
            if (sensor) {
                family.readAll(sensor);
                if (token[0] == L'u') {
                    for (std::uint32_t p = 0; p <= 4; ++p) {
                        for (const std::uint32_t b : {0u, 1u, 2u, 65535u, 131069u, 0xFFFFFFFFu}) {
                            if (family.update) family.update(sensor, p, b, 0x10000);
                            family.updateAll(sensor, p, b);
                        }
                    }
                    family.readAll(sensor);
                }
                EXPECT_EQ(0, family.close(sensor)) << what;
            }
            EXPECT_LT(spent.seconds(), hostileLimit) << what;
            EXPECT_LE(largestBlock, mostMemory) << what;
        }
        EXPECT_EQ(data.size(), line.bytes(files[0]).size()) << what << ": an update lengthened the file";
        if (data != line.bytes(files[0])) line.write(files[0], data);
        log.clear();
        return query;
    }
    bool knownCode(int code) const {
        for (const int known : {0, -1, 5000009, 5000027, 5000029, 5000038, 5000039, 5000046, family.code(1),
                                family.code(3), family.code(6), family.code(15), family.code(25)})
            if (code == known) return true;
        return false;
    }
};
INSTANTIATE_TEST_SUITE_P(Every, HostileProfiles, testing::ValuesIn(profileFamilies()), profileFamilyName);

TEST_P(HostileProfiles, TheWholeSetReads) {
    put();
    EXPECT_EQ(0, survive("whole"));
    std::uint32_t code = 77, status = 0;
    _TELD_Sensor* sensor = family.open(line.path().c_str(), L"query", &code);
    ASSERT_NE(nullptr, sensor);
    EXPECT_GE(family.readAll(sensor), 23u) << "7 beams and 3 headers by number and in order, and whole";
    ASSERT_EQ(0, family.read(sensor, 2, 4, status));
    EXPECT_EQ(ProfileFamily::status(2, 4), status);
    EXPECT_EQ(0, family.close(sensor));
}

TEST_P(HostileProfiles, CutAtEveryByte) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < 3; ++which) {
        put();
        for (std::size_t size = 0; size < set[which].size(); ++size) {
            const std::string what = files[which] + " cut to " + std::to_string(size);
            line.write(files[which], set[which].substr(0, size));
            const int code = survive(what);
            EXPECT_TRUE(knownCode(code)) << what << " gives " << code;
            EXPECT_EQ(which == 0 && size >= firstHeader(), code == 0) << what << " gives " << code;
        }
    }
}

TEST_P(HostileProfiles, EveryWordAtItsExtremes) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < 3; ++which) {
        put();
        for (std::size_t at = 0; at + 4 <= set[which].size(); at += 4) {
            for (const std::uint32_t word : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                const std::string what =
                    files[which] + " word at " + std::to_string(at) + " set to " + std::to_string(word);
                line.write(files[which], withWord(set[which], at, word));
                const int code = survive(what);
                EXPECT_TRUE(knownCode(code)) << what << " gives " << code;
                if (at < 12 && word != wordAt(set[which], at)) {
                    EXPECT_NE(0, code) << what;
                }
                if (which == 0 && at > 12) {
                    EXPECT_EQ(0, code) << what;
                }
            }
        }
    }
}

TEST_P(HostileProfiles, HeadersClaimMoreThanTheFileHas) {
    const QuietOutput quiet;
    put();
    const std::size_t first = firstHeader();
    for (std::size_t at = first; at < first + 80 && at + 4 <= set[0].size(); at += 4) {
        for (const std::uint32_t word : {0x00010000u, 0xFFFF0000u, 0x0000FFFFu, 0xFFFFFFFFu, 0xFFFF0001u,
                                         0x00020014u, 0x0001FFFFu, 0x10000000u}) {
            line.write(files[0], withWord(set[0], at, word));
            EXPECT_EQ(0, survive("word at " + std::to_string(at) + " set to " + std::to_string(word)));
        }
    }
}

TEST_P(HostileProfiles, OffsetsPointAnywhere) {
    const QuietOutput quiet;
    put();
    const auto size = static_cast<std::uint32_t>(set[0].size());
    for (std::size_t entry = 0; entry < 3; ++entry) {
        for (const std::uint32_t offset : {0u, 4u, 16u, 59u, wordAt(set[2], 44) + 4, size - 1, size, size + 1,
                                           size - 40, 0x7FFFFFF0u, 0x80000000u, 0xFFFFFFFFu}) {
            line.write(files[2], withWord(set[2], 44 + entry * 8, offset));
            EXPECT_EQ(0, survive("entry " + std::to_string(entry) + " at " + std::to_string(offset)));
        }
    }
    // Backwards: the last profile's header for the first and the other way round.
    line.write(files[2], withWord(withWord(set[2], 44, wordAt(set[2], 60)), 60, wordAt(set[2], 44)));
    EXPECT_EQ(0, survive("backwards"));
}

TEST_P(HostileProfiles, ASaveOfWhatOpenedStillOpens) {
    if (!family.save) GTEST_SKIP() << "the family has nothing to save";
    const QuietOutput quiet;
    for (std::size_t which = 0; which < 3; ++which) {
        for (std::size_t at = 16; at + 4 <= set[which].size(); at += 4) {
            for (const std::uint32_t word : {0u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
                put();
                line.write(files[which], withWord(set[which], at, word));
                std::uint32_t code = 77;
                _TELD_Sensor* sensor = family.open(line.path().c_str(), L"update", &code);
                if (!sensor) continue;
                family.updateAll(sensor, 1, 1);
                EXPECT_EQ(0, family.save(sensor));
                EXPECT_EQ(0, family.close(sensor));
                sensor = family.open(line.path().c_str(), L"query", &code);
                EXPECT_EQ(0u, code) << files[which] << " word at " << at << " set to " << word;
                if (sensor) family.close(sensor);
            }
        }
    }
    log.clear();
}

TEST_P(HostileProfiles, SideFilesMissingOrOfAnotherKind) {
    const QuietOutput quiet;
    for (std::size_t which = 1; which < 3; ++which) {
        put();
        line.write(files[which], set[3 - which]);
        EXPECT_NE(0, survive(files[which] + " holds the other"));
        std::filesystem::remove(line.folder() / files[which]);
        const int missing = survive(files[which] + " missing");
        EXPECT_TRUE(missing != 0 && missing != 77) << missing;
        std::filesystem::create_directory(line.folder() / files[which]);
        EXPECT_NE(0, survive(files[which] + " is a directory"));
        std::filesystem::remove(line.folder() / files[which]);
    }
}

} // namespace
