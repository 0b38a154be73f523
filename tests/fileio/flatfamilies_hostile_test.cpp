#include "support/flat_families.h"
#include "support/largestblock.h"
#include "support/processortime.h"

#include <cstdlib>
#include <memory>

// Damaged files of every family: each length that a small set can be cut to, every word at its extremes, side
// files of other lines or missing. Whatever opens is read whole. No answer is required of a damage that the
// formats cannot tell; a code, an end within reason and bounded memory always are.
namespace {

using namespace skar::tests;

class HostileFiles : public testing::TestWithParam<FlatFamily> {
protected:
    void SetUp() override { ASSERT_EQ(0, SKARIO_Init(0)); }
    const FlatFamily& family = GetParam();
    Line line;
    const FlatSet set = flatSet(GetParam(), {2, 1});
    LogCapture log{SKAR::debugLogErrors};

    // Opens in both modes and reads all there is; the code of the query.
    int survive(const std::string& what) {
        int query = 0;
        for (const wchar_t* token : {L"query", L"update"}) {
            largestBlock = 0;
            const ProcessorTime spent;
            Opened sensor(family, line.path(), token);
            if (token[0] == L'q') query = sensor.code();
            EXPECT_EQ(sensor.code() == 0, static_cast<bool>(sensor)) << what;
            if (sensor) {
                readAll(family, sensor);
                EXPECT_EQ(0, sensor.close()) << what;
            }
            EXPECT_LT(spent.seconds(), hostileLimit) << what;
            EXPECT_LE(largestBlock, mostMemory) << what;
        }
        log.clear();
        return query;
    }
    bool knownCode(int code) const {
        for (const int known :
             {0, 5000027, 5000029, 5000038, 5000039, 5000046, family.segmentsMissing, family.code(3),
              family.code(6), family.code(8), family.code(15), family.code(25)})
            if (code == known) return true;
        return false;
    }
};
INSTANTIATE_TEST_SUITE_P(Every, HostileFiles, testing::ValuesIn(flatFamilies()), familyName);

TEST(MemoryOfTheProgram, IsSeen) {
    largestBlock = 0;
    void* volatile zeros = std::calloc(1000, 77); // volatile, or the compiler drops the pair
    std::free(zeros);
    EXPECT_EQ(77000u, largestBlock);
    std::byte* volatile block = new std::byte[100000];
    delete[] block;
    EXPECT_EQ(100000u, largestBlock);
}

TEST_P(HostileFiles, CutAtEveryByte) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < 3; ++which) {
        put(line, family, set);
        const std::string whole = set.file(which);
        const std::string file = family.files()[which];
        for (std::size_t size = 0; size < whole.size(); ++size) {
            line.write(file, whole.substr(0, size));
            const int code = survive(file + " cut to " + std::to_string(size));
            int expected = 0;
            if (which == 0)
                expected = size < 16 ? 5000027 : size < family.firstRecord() ? family.code(25) : 0;
            else if (which == 1)
                expected = size < 16 ? 5000029 : family.code(3);
            else
                expected = 5000039;
            EXPECT_EQ(expected, code) << file << " cut to " << size;
        }
    }
}

TEST_P(HostileFiles, EveryWordAtItsExtremes) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < 3; ++which) {
        put(line, family, set);
        const std::string whole = set.file(which);
        const std::string file = family.files()[which];
        for (std::size_t at = 0; at + 4 <= whole.size(); at += 4) {
            for (const std::uint32_t word : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                line.write(file, withWord(whole, at, word));
                const std::string what =
                    file + " word at " + std::to_string(at) + " set to " + std::to_string(word);
                const int code = survive(what);
                EXPECT_TRUE(knownCode(code)) << what << " gives " << code;
                const bool validated = at < 12 && word != wordAt(whole, at);
                const int ofFile[] = {5000027, 5000029, 5000039};
                if (validated) {
                    EXPECT_EQ(ofFile[which], code) << what;
                }
                if (which == 0 && !validated) {
                    EXPECT_EQ(0, code) << what;
                }
            }
        }
    }
}

TEST_P(HostileFiles, ASaveOfWhatOpenedNeverBreaksMore) {
    const QuietOutput quiet;
    for (std::size_t which = 0; which < 3; ++which) {
        const std::string whole = set.file(which);
        for (std::size_t at = 12; at + 4 <= whole.size(); at += 4) {
            for (const std::uint32_t word : {0u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
                put(line, family, set);
                line.write(family.files()[which], withWord(whole, at, word));
                Opened sensor(family, line.path(), L"update");
                if (!sensor) continue;
                for (std::uint32_t n = 1; n <= sensor->numRecords && n <= 3; ++n)
                    EXPECT_EQ(0, family.setRecordStatus(sensor, n, 0x77));
                const int saved = family.save(sensor);
                EXPECT_EQ(0, sensor.close());
                const int opened = Opened(family, line.path(), L"query").code();
                EXPECT_EQ(0, opened) << family.files()[which] << " word at " << at << " set to " << word
                                     << ", saved with " << saved;
            }
        }
    }
    log.clear();
}

TEST_P(HostileFiles, SideFilesMissingEmptyOrOfOtherLines) {
    const QuietOutput quiet;
    const FlatFamily& other = flatFamily(std::string_view(family.name) == "Roll" ? "Tide" : "Roll");
    const FlatSet longer = flatSet(family, {300, 300});
    const FlatSet shorter = flatSet(family, {1});
    const FlatSet foreign = flatSet(other, {2, 1});
    for (std::size_t which = 1; which < 3; ++which) {
        const std::string file = family.files()[which];
        for (const Bytes* bytes : {&longer.file(which), &shorter.file(which)}) {
            put(line, family, set);
            line.write(file, bytes->string());
            EXPECT_EQ(0, survive(file + " of another line"));
        }
        line.write(file, foreign.file(which).string());
        EXPECT_EQ(which == 1 ? 5000029 : 5000039, survive(file + " of another sensor"));
        line.write(file, "");
        EXPECT_EQ(which == 1 ? 5000029 : 5000039, survive(file + " empty"));
        std::filesystem::remove(line.folder() / file);
        EXPECT_EQ(which == 1 ? family.segmentsMissing : 5000038, survive(file + " missing"));
        std::filesystem::create_directory(line.folder() / file);
        EXPECT_NE(0, survive(file + " is a directory"));
        std::filesystem::remove(line.folder() / file);
    }
}

TEST_P(HostileFiles, HugeClaimsCostNothing) {
    const QuietOutput quiet;
    put(line, family, set);
    line.patch(family.name, 20, 0xFFFFFFFF);
    EXPECT_EQ(0, survive("record count in the summary"));
    Opened sensor(family, line.path(), L"update");
    EXPECT_EQ(family.code(25), sensor.code()) << "no shadow for records that are not there";
    put(line, family, set);
    line.patch(family.segmentsFile(), 28, 0x7FFFFFFF);
    line.patch(family.segmentsFile(), 24, 0x7FFFFFFF);
    EXPECT_EQ(family.code(3), survive("length of a name"));
    put(line, family, set);
    line.patch(family.indexFile(), 20, 0xFFFFFFFF);
    EXPECT_EQ(0, survive("capacity of a set"));
    line.patch(family.indexFile(), 24, 0x1FFFFFFF);
    line.patch(family.indexFile(), 36, 0x1FFFFFFF);
    EXPECT_EQ(5000039, survive("entries of a set"));
    line.patch(family.indexFile(), 16, 0x0FFFFFFF);
    EXPECT_EQ(5000039, survive("number of sets"));
}

} // namespace
