#include "fileio/xdr.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include <unistd.h>

using namespace skar::tests;
using namespace std::string_literals;
using skar::fileio::XdrScope;

namespace {

using Work = std::function<int(qon_XDR*)>;

// What encoding leaves in a buffer of that size, with the bytes that were not touched as they were.
std::string encoded(std::size_t size, const Work& work, int expected = 1) {
    std::string buffer(size, '\xEE');
    qon_XDR stream;
    qon_xdrmem_create(&stream, buffer.data(), static_cast<std::uint32_t>(size), XDR_ENCODE);
    const XdrScope scope(stream);
    EXPECT_EQ(expected != 0, work(&stream) != 0);
    return buffer;
}

int decode(std::string bytes, const Work& work) {
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), XDR_DECODE);
    const XdrScope scope(stream);
    return work(&stream);
}

int freeing(const Work& work) {
    qon_XDR stream;
    qon_xdrmem_create(&stream, nullptr, 0, XDR_FREE);
    const XdrScope scope(stream);
    return work(&stream);
}

char* copied(const char* text) {
    return ::strdup(text);
}

// A stream over a file of the real disk, or of the one in memory if that stands behind the platform.
class FileStream {
public:
    FileStream(std::FILE* opened, std::uint32_t op) : file(opened) { qon_xdrstdio_create(&stream, file, op); }
    ~FileStream() {
        qon_xdr_destroy(&stream);
        if (file) std::fclose(file);
    }
    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;
    qon_XDR* operator()() { return &stream; }

    std::FILE* file;

private:
    qon_XDR stream{};
};

std::FILE* fileWith(std::string_view bytes) {
    std::FILE* file = std::tmpfile();
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::rewind(file);
    return file;
}

std::string printed(const std::function<void()>& work) {
    testing::internal::CaptureStdout();
    work();
    return testing::internal::GetCapturedStdout();
}

struct Scarce {
    Scarce() {
        qon_xdr_allocate = [](std::size_t) -> void* { return nullptr; };
    }
    ~Scarce() { qon_xdr_allocate = std::malloc; }
};

} // namespace

TEST(XdrWords, AreBigEndianInBothSigns) {
    EXPECT_EQ(encoded(4,
                      [](auto* s) {
                          std::int32_t v = -2;
                          return qon_xdr_int(s, &v);
                      }),
              "\xFF\xFF\xFF\xFE");
    EXPECT_EQ(encoded(4,
                      [](auto* s) {
                          std::uint32_t v = 0x54454C44;
                          return qon_xdr_u_int(s, &v);
                      }),
              "TELD");
    std::int32_t number = 0;
    EXPECT_TRUE(decode("\x80\0\0\0"s, [&](auto* s) { return qon_xdr_int(s, &number); }));
    EXPECT_EQ(number, std::numeric_limits<std::int32_t>::min());
}

TEST(XdrWords, ShortsAreExtendedOnEncodeAndCutOnDecode) {
    EXPECT_EQ(encoded(4,
                      [](auto* s) {
                          std::int16_t v = -2;
                          return qon_xdr_short(s, &v);
                      }),
              "\xFF\xFF\xFF\xFE");
    EXPECT_EQ(encoded(4,
                      [](auto* s) {
                          std::uint16_t v = 0xFFFE;
                          return qon_xdr_u_short(s, &v);
                      }),
              "\0\0\xFF\xFE"s);
    std::int16_t number = 0;
    EXPECT_TRUE(decode("\x00\x01\x80\x00"s, [&](auto* s) { return qon_xdr_short(s, &number); }));
    EXPECT_EQ(number, -32768);
    std::uint16_t unsignedNumber = 0;
    EXPECT_TRUE(decode("\x12\x34\x56\x78"s, [&](auto* s) { return qon_xdr_u_short(s, &unsignedNumber); }));
    EXPECT_EQ(unsignedNumber, 0x5678);
}

TEST(XdrWords, ACharacterTakesAWholeWord) {
    const std::string bytes = encoded(8, [](auto* s) {
        char v = 'A';
        return qon_xdr_char(s, &v);
    });
    EXPECT_EQ(bytes, "\0\0\0A\xEE\xEE\xEE\xEE"s);
    char letter = 0;
    EXPECT_TRUE(decode("\x11\x22\x33Z"s, [&](auto* s) { return qon_xdr_char(s, &letter); }));
    EXPECT_EQ(letter, 'Z');
}

TEST(XdrDouble, HasItsLowOrderWordFirst) {
    EXPECT_EQ(encoded(8,
                      [](auto* s) {
                          double v = 1.0;
                          return qon_xdr_double(s, &v);
                      }),
              "\0\0\0\0\x3F\xF0\0\0"s);
    // pi is 0x400921FB54442D18
    EXPECT_EQ(encoded(8,
                      [](auto* s) {
                          double v = 3.141592653589793;
                          return qon_xdr_double(s, &v);
                      }),
              "\x54\x44\x2D\x18\x40\x09\x21\xFB"s);
    double value = 0;
    EXPECT_TRUE(
        decode("\x54\x44\x2D\x18\xC0\x09\x21\xFB"s, [&](auto* s) { return qon_xdr_double(s, &value); }));
    EXPECT_EQ(value, -3.141592653589793);
    EXPECT_FALSE(decode("\0\0\0\0\x3F\xF0\0"s, [&](auto* s) { return qon_xdr_double(s, &value); }));
    EXPECT_EQ(value, -3.141592653589793) << "half a double must not show";
}

TEST(XdrWords, AStreamThatFreesSucceedsAndAnyOtherOperationFails) {
    std::array<char, 8> buffer{};
    std::int32_t number = 7;
    std::uint32_t unsignedNumber = 7;
    std::int16_t shortNumber = 7;
    std::uint16_t unsignedShort = 7;
    char letter = 7;
    double real = 7;
    for (const std::uint32_t op : {XDR_FREE + 0u, 3u, 0xFFFFFFFFu}) {
        qon_XDR stream;
        qon_xdrmem_create(&stream, buffer.data(), 8, op);
        const XdrScope scope(stream);
        const int frees = op == XDR_FREE;
        EXPECT_EQ(qon_xdr_int(&stream, &number), frees);
        EXPECT_EQ(qon_xdr_u_int(&stream, &unsignedNumber), frees);
        EXPECT_EQ(qon_xdr_short(&stream, &shortNumber), frees);
        EXPECT_EQ(qon_xdr_u_short(&stream, &unsignedShort), frees);
        EXPECT_EQ(qon_xdr_char(&stream, &letter), frees);
        EXPECT_EQ(qon_xdr_double(&stream, &real), frees);
        EXPECT_EQ(qon_xdr_opaque(&stream, buffer.data(), 4), frees);
        EXPECT_EQ(qon_xdr_getpos(&stream), 0u);
    }
    EXPECT_EQ(buffer, (std::array<char, 8>{}));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(real, 7);
}

TEST(XdrMemory, AStreamThatRanOutFailsUntilItIsRepositionedToItsFullSize) {
    std::string bytes = Bytes{1, 2}.string() + "\0\0"s;
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), 10, XDR_DECODE);
    const XdrScope scope(stream);
    std::uint32_t word = 0;
    ASSERT_TRUE(qon_xdr_u_int(&stream, &word));
    ASSERT_TRUE(qon_xdr_u_int(&stream, &word));
    EXPECT_FALSE(qon_xdr_u_int(&stream, &word));
    EXPECT_EQ(word, 2u);
    EXPECT_LT(stream.x_handy, 0);
    char one = 0;
    EXPECT_FALSE(stream.x_ops->getbytes(&stream, &one, 1))
        << "two bytes are there, but the stream has failed";
    EXPECT_FALSE(stream.x_ops->getbytes(&stream, &one, 0));
    EXPECT_EQ(stream.x_ops->inlineBytes(&stream, 0), nullptr);
    EXPECT_EQ(qon_xdr_getpos(&stream), 8u);

    EXPECT_TRUE(qon_xdr_setpos(&stream, 0));
    EXPECT_EQ(stream.x_handy, 10);
    EXPECT_TRUE(qon_xdr_u_int(&stream, &word));
    EXPECT_EQ(word, 1u);
}

TEST(XdrMemory, PositionsCountFromTheBaseAndEndWithTheStream) {
    std::string bytes = Bytes{1, 2};
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), 8, XDR_DECODE);
    const XdrScope scope(stream);
    EXPECT_EQ(qon_xdr_getpos(&stream), 0u);
    EXPECT_TRUE(qon_xdr_setpos(&stream, 4));
    std::uint32_t word = 0;
    EXPECT_TRUE(qon_xdr_u_int(&stream, &word));
    EXPECT_EQ(word, 2u);
    EXPECT_TRUE(qon_xdr_setpos(&stream, 8));
    EXPECT_EQ(stream.x_handy, 0);
    EXPECT_FALSE(qon_xdr_setpos(&stream, 9));
    EXPECT_FALSE(qon_xdr_setpos(&stream, 0xFFFFFFFF));
    EXPECT_EQ(qon_xdr_getpos(&stream), 8u) << "a position that was refused changes nothing";
}

TEST(XdrMemory, HandsOutWhatIsLeftInline) {
    std::string bytes = Bytes{1, 2};
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), 8, XDR_DECODE);
    const XdrScope scope(stream);
    EXPECT_EQ(stream.x_ops->inlineBytes(&stream, 5), static_cast<void*>(bytes.data()));
    EXPECT_EQ(qon_xdr_getpos(&stream), 5u);
    EXPECT_EQ(stream.x_ops->inlineBytes(&stream, 4), nullptr);
    EXPECT_EQ(stream.x_ops->inlineBytes(&stream, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(qon_xdr_getpos(&stream), 5u);
    EXPECT_EQ(stream.x_ops->inlineBytes(&stream, 3), static_cast<void*>(bytes.data() + 5));
}

TEST(XdrMemory, ACountBeyondTheBufferIsNeverCopied) {
    std::string bytes(8, 'x');
    std::array<char, 4> to{'o', 'l', 'd', '!'};
    EXPECT_FALSE(decode(bytes, [&](auto* s) { return s->x_ops->getbytes(s, to.data(), 9); }));
    EXPECT_FALSE(decode(bytes, [&](auto* s) { return s->x_ops->getbytes(s, to.data(), 0x80000000); }));
    EXPECT_FALSE(decode(bytes, [&](auto* s) { return s->x_ops->getbytes(s, to.data(), 0xFFFFFFFF); }));
    EXPECT_EQ(std::string(to.data(), 4), "old!");
    EXPECT_EQ(encoded(
                  4, [&](auto* s) { return s->x_ops->putbytes(s, bytes.data(), 5); }, 0),
              "\xEE\xEE\xEE\xEE");
    EXPECT_EQ(encoded(
                  3,
                  [](auto* s) {
                      std::int32_t v = 1;
                      return qon_xdr_int(s, &v);
                  },
                  0),
              "\xEE\xEE\xEE");
}

TEST(XdrMemory, AStreamIsDestroyedOnceAndThenDoesNothing) {
    std::array<char, 8> buffer{};
    qon_XDR stream;
    qon_xdrmem_create(&stream, buffer.data(), 8, XDR_ENCODE);
    EXPECT_EQ(stream.x_public, nullptr);
    EXPECT_EQ(stream.x_ops->spare, nullptr);
    qon_xdr_destroy(&stream);
    EXPECT_EQ(stream.x_ops, nullptr);
    qon_xdr_destroy(&stream);
    std::int32_t number = 1;
    EXPECT_FALSE(qon_xdr_int(&stream, &number));
    EXPECT_FALSE(qon_xdr_setpos(&stream, 0));
    EXPECT_EQ(qon_xdr_getpos(&stream), 0u);
}

TEST(XdrOpaque, IsPaddedWithZerosToFourBytes) {
    char text[] = "abcdefgh";
    const auto of = [&](std::uint32_t count) {
        return encoded(8, [&](auto* s) { return qon_xdr_opaque(s, text, count); });
    };
    EXPECT_EQ(of(0), "\xEE\xEE\xEE\xEE\xEE\xEE\xEE\xEE");
    EXPECT_EQ(of(4), "abcd\xEE\xEE\xEE\xEE");
    EXPECT_EQ(of(5), "abcde\0\0\0"s);
    EXPECT_EQ(of(6), "abcdef\0\0"s);
    EXPECT_EQ(of(7), "abcdefg\0"s);
}

TEST(XdrOpaque, DiscardsThePaddingWhateverItHolds) {
    std::array<char, 6> to{};
    std::uint32_t next = 0;
    EXPECT_TRUE(decode("abcdeXYZ" + Bytes{9}.string(),
                       [&](auto* s) { return qon_xdr_opaque(s, to.data(), 5) && qon_xdr_u_int(s, &next); }));
    EXPECT_STREQ(to.data(), "abcde");
    EXPECT_EQ(next, 9u);
    EXPECT_FALSE(decode("abcdeXY", [&](auto* s) { return qon_xdr_opaque(s, to.data(), 5); }))
        << "the padding has to be there";
}

TEST(XdrBytes, StandBehindTheirCount) {
    char body[] = "abcde";
    char* pointer = body;
    std::uint32_t size = 5;
    EXPECT_EQ(encoded(12, [&](auto* s) { return qon_xdr_bytes(s, &pointer, &size, 5); }),
              "\0\0\0\5abcde\0\0\0"s);
    EXPECT_EQ(encoded(
                  12, [&](auto* s) { return qon_xdr_bytes(s, &pointer, &size, 4); }, 0)
                  .substr(4),
              std::string(8, '\xEE'));

    char* made = nullptr;
    EXPECT_TRUE(decode("\0\0\0\5abcde\0\0\0"s, [&](auto* s) { return qon_xdr_bytes(s, &made, &size, 5); }));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(std::string(made, size), "abcde");
    char* const kept = made;
    EXPECT_TRUE(decode("\0\0\0\2zz\0\0"s, [&](auto* s) { return qon_xdr_bytes(s, &made, &size, 5); }));
    EXPECT_EQ(made, kept) << "a pointer that is set is decoded into";
    EXPECT_EQ(std::string(made, 5), "zzcde");
    EXPECT_TRUE(freeing([&](auto* s) { return qon_xdr_bytes(s, &made, &size, 0); })) << "no limit on freeing";
    EXPECT_EQ(made, nullptr);
    EXPECT_TRUE(freeing([&](auto* s) { return qon_xdr_bytes(s, &made, &size, 0); }));
}

TEST(XdrBytes, ACountOfZeroLeavesThePointerAsItIs) {
    char* pointer = nullptr;
    std::uint32_t size = 9;
    EXPECT_TRUE(decode(Bytes{0}, [&](auto* s) { return qon_xdr_bytes(s, &pointer, &size, 5); }));
    EXPECT_EQ(pointer, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(XdrBytes, ACountAboveTheLimitFailsBeforeAnyAllocation) {
    const Scarce memory;
    testing::internal::CaptureStderr();
    char* pointer = nullptr;
    std::uint32_t size = 0;
    EXPECT_FALSE(decode(Bytes{6, 0, 0}, [&](auto* s) { return qon_xdr_bytes(s, &pointer, &size, 5); }));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XdrString, StandsBehindItsLength) {
    char body[] = "line 7";
    char* text = body;
    EXPECT_EQ(encoded(12, [&](auto* s) { return qon_xdr_string(s, &text, 6); }), "\0\0\0\6line 7\0\0"s);
    char* made = nullptr;
    EXPECT_TRUE(decode("\0\0\0\6line 7\0\0"s, [&](auto* s) { return qon_xdr_string(s, &made, 6); }));
    EXPECT_STREQ(made, "line 7");
    std::free(made);

    std::array<char, 8> room{'o', 'o', 'o', 'o', 'o', 'o', 'o', 'o'};
    char* there = room.data();
    EXPECT_TRUE(decode("\0\0\0\2ab\0\0"s, [&](auto* s) { return qon_xdr_string(s, &there, 6); }));
    EXPECT_EQ(std::string(room.data(), 8), "ab\0ooooo"s);
    made = nullptr;
    EXPECT_TRUE(decode(Bytes{0}, [&](auto* s) { return qon_xdr_string(s, &made, 0); }));
    EXPECT_STREQ(made, "") << "an empty text is a text";
    std::free(made);
}

TEST(XdrString, ALengthAboveTheLimitFailsBeforeAnyAllocation) {
    const Scarce memory;
    testing::internal::CaptureStderr();
    char* text = nullptr;
    EXPECT_FALSE(decode("\0\0\0\7abcdefg\0"s, [&](auto* s) { return qon_xdr_string(s, &text, 6); }));
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XdrString, ALongTextIsRefusedBehindItsLengthWord) {
    char body[] = "abcdefg";
    char* text = body;
    EXPECT_EQ(encoded(
                  12, [&](auto* s) { return qon_xdr_string(s, &text, 6); }, 0),
              Bytes{7}.string() + std::string(8, '\xEE'));
}

TEST(XdrString, FreeingHoldsTheTextAgainstTheLimitToo) {
    char* text = copied("abc");
    EXPECT_FALSE(freeing([&](auto* s) { return qon_xdr_string(s, &text, 2); }));
    ASSERT_STREQ(text, "abc");
    EXPECT_TRUE(freeing([&](auto* s) { return qon_xdr_string(s, &text, 3); }));
    EXPECT_EQ(text, nullptr);
    EXPECT_TRUE(freeing([&](auto* s) { return qon_xdr_string(s, &text, 0); })) << "a null text is free";
    EXPECT_EQ(encoded(
                  4, [&](auto* s) { return qon_xdr_string(s, &text, 9); }, 0),
              "\xEE\xEE\xEE\xEE");
}

TEST(XdrString, ALengthThatWrapsSucceedsWithNothingDone) {
    char* text = nullptr;
    std::uint32_t next = 0;
    EXPECT_TRUE(decode(Bytes{-1, 5}, [&](auto* s) {
        return qon_xdr_string(s, &text, 0xFFFFFFFF) && qon_xdr_u_int(s, &next);
    }));
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(next, 5u);
}

namespace {
int codePair(qon_XDR* stream, void* element) {
    auto* pair = static_cast<std::int32_t*>(element);
    return qon_xdr_int(stream, &pair[0]) && qon_xdr_int(stream, &pair[1]);
}
} // namespace

TEST(XdrArray, CodesEachElementBehindTheCount) {
    std::int32_t pairs[] = {1, 2, 3, -4};
    void* elements = pairs;
    std::uint32_t count = 2;
    EXPECT_EQ(encoded(20, [&](auto* s) { return qon_xdr_array(s, &elements, &count, 2, 8, codePair); }),
              (Bytes{2, 1, 2, 3, -4}.string()));
    EXPECT_EQ(encoded(
                  20, [&](auto* s) { return qon_xdr_array(s, &elements, &count, 1, 8, codePair); }, 0)
                  .substr(4),
              std::string(16, '\xEE'));

    void* made = nullptr;
    EXPECT_TRUE(decode(Bytes{2, 1, 2, 3, -4},
                       [&](auto* s) { return qon_xdr_array(s, &made, &count, 2, 8, codePair); }));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(static_cast<std::int32_t*>(made)[3], -4);
    EXPECT_TRUE(freeing([&](auto* s) { return qon_xdr_array(s, &made, &count, 0, 8, codePair); }))
        << "no limit on freeing";
    EXPECT_EQ(made, nullptr);
    EXPECT_TRUE(freeing([&](auto* s) { return qon_xdr_array(s, &made, &count, 2, 8, codePair); }));
}

TEST(XdrArray, OfNoElementsIntoANullPointerStaysNull) {
    void* made = nullptr;
    std::uint32_t count = 9;
    EXPECT_TRUE(decode(Bytes{0}, [&](auto* s) { return qon_xdr_array(s, &made, &count, 5, 8, codePair); }));
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(encoded(4, [&](auto* s) { return qon_xdr_array(s, &made, &count, 5, 8, codePair); }),
              Bytes{0}.string());
}

TEST(XdrArray, StopsAtTheFirstElementThatFailsAndTheRestIsZero) {
    void* made = nullptr;
    std::uint32_t count = 0;
    EXPECT_FALSE(
        decode(Bytes{3, 7, 8, 9}, [&](auto* s) { return qon_xdr_array(s, &made, &count, 3, 8, codePair); }));
    ASSERT_NE(made, nullptr);
    const auto* values = static_cast<std::int32_t*>(made);
    EXPECT_EQ(values[0], 7);
    EXPECT_EQ(values[2], 9);
    EXPECT_EQ(values[3], 0);
    EXPECT_EQ(values[5], 0);
    std::free(made);
}

TEST(XdrArray, ACountAboveTheLimitFailsBeforeAnyAllocation) {
    const Scarce memory;
    testing::internal::CaptureStderr();
    void* made = nullptr;
    std::uint32_t count = 0;
    EXPECT_FALSE(decode(Bytes{-1}, [&](auto* s) { return qon_xdr_array(s, &made, &count, 3, 8, codePair); }));
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(XdrMemoryShortage, IsToldOnTheStandardErrorByTheNameOfTheCodec) {
    const Scarce memory;
    const auto told = [](const Bytes& bytes, const Work& work) {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(decode(bytes, work));
        return testing::internal::GetCapturedStderr();
    };
    char* text = nullptr;
    void* elements = nullptr;
    std::uint32_t count = 0;
    EXPECT_EQ(told({4, 0}, [&](auto* s) { return qon_xdr_bytes(s, &text, &count, 4); }),
              "xdr_bytes: out of memory\n");
    EXPECT_EQ(told({4, 0}, [&](auto* s) { return qon_xdr_string(s, &text, 4); }),
              "xdr_string: out of memory\n");
    EXPECT_EQ(told({1, 0, 0}, [&](auto* s) { return qon_xdr_array(s, &elements, &count, 4, 8, codePair); }),
              "xdr_array: out of memory\n");
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(elements, nullptr);
}

TEST(XdrEveryCodec, FailsAtEveryTruncationAndSucceedsWhole) {
    struct Case {
        const char* name;
        Bytes bytes;
        Work work;
    };
    char* text = nullptr;
    void* elements = nullptr;
    std::uint32_t count = 0;
    std::uint32_t word = 0;
    double real = 0;
    std::array<char, 8> body{};
    const Case cases[] = {
        {"u_int", {7}, [&](auto* s) { return qon_xdr_u_int(s, &word); }},
        {"double", {7, 8}, [&](auto* s) { return qon_xdr_double(s, &real); }},
        {"opaque", {7, 8}, [&](auto* s) { return qon_xdr_opaque(s, body.data(), 5); }},
        {"bytes", {5, 8, 9}, [&](auto* s) { return qon_xdr_bytes(s, &text, &count, 9); }},
        {"string", {5, 8, 9}, [&](auto* s) { return qon_xdr_string(s, &text, 9); }},
        {"array", {1, 8, 9}, [&](auto* s) { return qon_xdr_array(s, &elements, &count, 9, 8, codePair); }},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        for (std::size_t size = 0; size <= each.bytes.size(); ++size) {
            // Exactly as much memory as the truncation has, so that a read beyond it is caught.
            EXPECT_EQ(decode(std::string(each.bytes.string(), 0, size), each.work) != 0,
                      size == each.bytes.size())
                << size << " bytes";
            std::free(text);
            std::free(elements);
            text = nullptr;
            elements = nullptr;
        }
    }
}

TEST(XdrFile, ReadsAndWritesAsTheMemoryDoes) {
    std::FILE* file = std::tmpfile();
    char body[] = "segment";
    char* text = body;
    {
        FileStream out(file, XDR_ENCODE);
        std::int32_t number = -5;
        double real = 1.0;
        EXPECT_TRUE(qon_xdr_int(out(), &number));
        EXPECT_TRUE(qon_xdr_string(out(), &text, 7));
        EXPECT_TRUE(qon_xdr_double(out(), &real));
        EXPECT_EQ(qon_xdr_getpos(out()), 24u);
        EXPECT_EQ(out()->x_ops->inlineBytes(out(), 0), nullptr);
        EXPECT_EQ(out()->x_base, nullptr);
        EXPECT_EQ(out()->x_handy, 0);
        EXPECT_TRUE(qon_xdr_setpos(out(), 0));
        qon_xdr_destroy(out());
        std::string bytes(24, '\0');
        EXPECT_EQ(std::fread(bytes.data(), 1, 24, file), 24u) << "the file stays open";
        EXPECT_TRUE(same(Bytes{-5}.text("text", "segment").word("low", 0).word("high", 0x3FF00000), bytes));
    }
}

TEST(XdrFile, ACountOfZeroDoesNotTouchTheFile) {
    FileStream in(fileWith(""), XDR_DECODE);
    EXPECT_TRUE(in()->x_ops->getbytes(in(), nullptr, 0));
    EXPECT_FALSE(std::feof(in.file));
    EXPECT_TRUE(in()->x_ops->putbytes(in(), nullptr, 0));
}

TEST(XdrFile, AWordThatIsNotThereIsReadTwiceAndTold) {
    FileStream in(fileWith("abcd\0"s), XDR_DECODE);
    std::int32_t word = 77;
    EXPECT_EQ(printed([&] { EXPECT_TRUE(qon_xdr_int(in(), &word)); }), "");
    errno = 0;
    EXPECT_EQ(printed([&] { EXPECT_FALSE(qon_xdr_int(in(), &word)); }),
              "qon_xdrstdio_getlong() failed.  fread() returned 0.  errno set to 0\n"
              "qon_xdrstdio_getlong() failed (second attempt).  fread() returned 0.  errno set to 0, ferror "
              "returned 0, "
              "feof returned 1 %\n");
    EXPECT_EQ(word, 0x61626364);
}

TEST(XdrFile, AWordThatComesOnTheSecondAttemptIsTaken) {
    FaultBackend disk;
    disk.put("/f", Bytes{0x01020304}.string());
    disk.failAt(Op::read, 1, EIO);
    FileStream in(skar::platform::openFile(L"/f", "rb"), XDR_DECODE);
    std::setvbuf(in.file, nullptr, _IONBF, 0);
    std::int32_t word = 0;
    EXPECT_EQ(printed([&] { EXPECT_TRUE(qon_xdr_int(in(), &word)); }),
              "qon_xdrstdio_getlong() failed.  fread() returned 0.  errno set to " + std::to_string(EIO) +
                  "\n");
    EXPECT_EQ(word, 0x01020304);
}

TEST(XdrFile, AWordThatFailsTwiceIsToldWithTheErrorAndNotTriedAgain) {
    FaultBackend disk;
    disk.put("/f", Bytes{1, 2}.string());
    disk.failAt(Op::read, 1, EIO, Repeat::forever);
    FileStream in(skar::platform::openFile(L"/f", "rb"), XDR_DECODE);
    std::int32_t word = 0;
    const std::string eio = std::to_string(EIO);
    EXPECT_EQ(printed([&] { EXPECT_FALSE(qon_xdr_int(in(), &word)); }),
              "qon_xdrstdio_getlong() failed.  fread() returned 0.  errno set to " + eio +
                  "\n"
                  "qon_xdrstdio_getlong() failed (second attempt).  fread() returned 0.  errno set to " +
                  eio + ", ferror returned 1, feof returned 0 %\n");
    disk.clearFaults();
    const std::size_t reads = disk.operations(Op::read);
    EXPECT_EQ(printed([&] { EXPECT_FALSE(qon_xdr_int(in(), &word)); }),
              "qon_xdrstdio_getlong() failed.  ferror returned 1 before fread\n");
    EXPECT_EQ(disk.operations(Op::read), reads);
}

TEST(XdrFile, ANullOutputOrFileIsTold) {
    FileStream in(fileWith("abcd"), XDR_DECODE);
    EXPECT_EQ(printed([&] { EXPECT_FALSE(in()->x_ops->getlong(in(), nullptr)); }),
              "qon_xdrstdio_getlong() failed.  Invalid (NULL) output\n");
    FileStream none(nullptr, XDR_DECODE);
    std::int32_t word = 0;
    EXPECT_EQ(printed([&] { EXPECT_FALSE(qon_xdr_int(none(), &word)); }),
              "qon_xdrstdio_getlong() failed.  Invalid (NULL) file handle\n");
    FileStream out(nullptr, XDR_ENCODE);
    EXPECT_FALSE(qon_xdr_int(out(), &word));
}

TEST(XdrFile, BytesThatAreNotThereAreTold) {
    FileStream in(fileWith("abc"), XDR_DECODE);
    std::array<char, 4> to{};
    errno = 0;
    EXPECT_EQ(printed([&] { EXPECT_FALSE(qon_xdr_opaque(in(), to.data(), 4)); }),
              "qon_xdrstdio_getbytes() failed.  fread() returned 0.  errno set to 0\n");
}

TEST(XdrFile, AWriteThatFailsFailsTheCodec) {
    FileStream out(std::fopen("/dev/full", "wb"), XDR_ENCODE);
    ASSERT_NE(out.file, nullptr);
    std::setvbuf(out.file, nullptr, _IONBF, 0);
    std::int32_t word = 1;
    EXPECT_FALSE(qon_xdr_int(out(), &word));
    char text[] = "abcd";
    EXPECT_FALSE(qon_xdr_opaque(out(), text, 4));
}

TEST(XdrFile, PositionsOfAPipeFail) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    ::close(ends[1]);
    FileStream in(::fdopen(ends[0], "rb"), XDR_DECODE);
    EXPECT_FALSE(qon_xdr_setpos(in(), 0));
}

TEST(XdrRandom, WhatWasWrittenIsReadBackInOrderFromMemoryAndFile) {
    constexpr unsigned seed = 20240607;
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 200; ++round) {
        std::string buffer(4096, '\0');
        const std::size_t count = random() % 40;
        qon_XDR stream;
        qon_xdrmem_create(&stream, buffer.data(), 4096, XDR_ENCODE);
        Bytes expected;
        for (std::size_t i = 0; i < count; ++i) {
            auto word = static_cast<std::uint32_t>(random());
            std::string text(random() % 9, static_cast<char>('a' + i % 26));
            char* pointer = text.data();
            EXPECT_TRUE(qon_xdr_u_int(&stream, &word));
            EXPECT_TRUE(qon_xdr_string(&stream, &pointer, 9));
            expected.word("word", word).text("text", text);
        }
        EXPECT_EQ(qon_xdr_getpos(&stream), expected.size());
        qon_xdr_destroy(&stream);
        buffer.resize(expected.size());
        ASSERT_TRUE(same(expected, buffer));

        FileStream in(fileWith(buffer), XDR_DECODE);
        for (const Bytes::Field& field : expected.fields()) {
            if (field.name != "word") continue;
            std::uint32_t word = 0;
            char* text = nullptr;
            ASSERT_TRUE(qon_xdr_u_int(in(), &word));
            ASSERT_TRUE(qon_xdr_string(in(), &text, 9));
            EXPECT_EQ(word, wordAt(buffer, field.offset));
            EXPECT_EQ(std::strlen(text), wordAt(buffer, field.offset + 4));
            std::free(text);
        }
    }
}
