#include <skar/errors.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <stdexcept>

namespace {

using skar::Offset;
using skar::errors::failure;
using skar::errors::guarded;
using skar::errors::guardedOpen;
using skar::errors::translated;
namespace codes = skar::codes;

struct Handle {};

[[noreturn]] void throwWithCode(long code) {
    BOOST_THROW_EXCEPTION(
        failure<SKAR::IO::SensorReadError>(code, "errorMessages/SKARio/freadValidationError"));
}

[[noreturn]] void throwWithoutCode() {
    BOOST_THROW_EXCEPTION(failure<SKAR::IO::SensorReadError>("errorMessages/SKARio/freadValidationError"));
}

TEST(Codes, AreTheSumOfBlockAndOffset) {
    EXPECT_EQ(codes::navigation + Offset::nullHandle, 5000112);
    EXPECT_EQ(codes::navigation + Offset::rename, 5000139);
    EXPECT_EQ(codes::simpleSensor + Offset::timeIndexEntry, 5001223);
    EXPECT_EQ(codes::observedDepths + Offset::openNoSpace, 5000235);
    EXPECT_EQ(codes::sensorParameters + Offset::read, 5003025);
    EXPECT_EQ(codes::slantRange + Offset::nullSourceName, 5001930);
}

TEST(Codes, HaveOneNumberEach) {
    EXPECT_EQ(codes::success, 0);
    EXPECT_EQ(codes::failed, -1);
    EXPECT_EQ(codes::withoutCode, 140054);
    EXPECT_EQ(codes::vesselFileMissing, 5000006);
    EXPECT_EQ(codes::outOfMemory, 5000009);
    EXPECT_EQ(codes::simpleSensorNull, 5000019);
    EXPECT_EQ(codes::notInitialised, 5000020);
    EXPECT_EQ(codes::accessTypeMismatch, 5000021);
    EXPECT_EQ(codes::unknownSensor, 5000022);
    EXPECT_EQ(codes::traceOpen, 5000024);
    EXPECT_EQ(codes::lineOpen, 5000025);
    EXPECT_EQ(codes::attributeFileCreate, 5000026);
    EXPECT_EQ(codes::dataValidationRead, 5000027);
    EXPECT_EQ(codes::dataValidationWrite, 5000028);
    EXPECT_EQ(codes::segmentValidationRead, 5000029);
    EXPECT_EQ(codes::segmentValidationWrite, 5000030);
    EXPECT_EQ(codes::lineCreate, 5000034);
    EXPECT_EQ(codes::accessToken, 5000035);
    EXPECT_EQ(codes::recordZero, 5000036);
    EXPECT_EQ(codes::recordNotIndexed, 5000037);
    EXPECT_EQ(codes::timeIndexOpen, 5000038);
    EXPECT_EQ(codes::timeIndexRead, 5000039);
    EXPECT_EQ(codes::timeIndexWrite, 5000040);
    EXPECT_EQ(codes::sensorMissing, 5000046);
}

TEST(Codes, SayWhatTheyMean) {
    EXPECT_EQ(skar::errors::meaningOf(5000112), "navigation and towed navigation: the sensor handle is null");
    EXPECT_EQ(skar::errors::meaningOf(codes::withoutCode), "an exception that carries no code");
    EXPECT_EQ(skar::errors::meaningOf(5000020), "the library is not initialised; call SKARIO_Init first");
    EXPECT_EQ(skar::errors::meaningOf(5000007), "");
    EXPECT_EQ(skar::errors::meaningOf(5000104), "");
    EXPECT_EQ(skar::errors::meaningOf(12), "");
    EXPECT_EQ(skar::errors::meaningOf(-12), "");
}

TEST(Boundary, ABodyThatEndsGivesItsResult) {
    EXPECT_EQ(guarded([] {}), 0);
    EXPECT_EQ(guarded([] { return 5000219; }), 5000219);
    EXPECT_EQ(translated([] {}), 0);
    EXPECT_EQ(translated([] { return 5000219; }), 5000219);
}

TEST(Boundary, AnExceptionGivesItsCode) {
    EXPECT_EQ(guarded([] { throwWithCode(5000027); }), 5000027);
    EXPECT_EQ(translated([] { throwWithCode(5000027); }), 5000027);
}

TEST(Boundary, AnExceptionWithoutCodeGivesMinusOneOrTheTranslatorsCode) {
    EXPECT_EQ(guarded([] { throwWithoutCode(); }), -1);
    EXPECT_EQ(translated([] { throwWithoutCode(); }), 140054);
}

TEST(Boundary, OtherExceptionsPassTheGuardAndNotTheTranslator) {
    EXPECT_THROW(guarded([] { throw std::runtime_error("other"); }), std::runtime_error);
    EXPECT_THROW(guarded([] { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_EQ(translated([] { throw std::runtime_error("other"); }), 140054);
}

TEST(Boundary, AnOpenGivesItsHandleWithCodeZero) {
    Handle handle;
    std::uint32_t code = 99;
    EXPECT_EQ(guardedOpen(&code, [&handle] { return &handle; }), &handle);
    EXPECT_EQ(code, 0u);
}

TEST(Boundary, AnOpenThatFailsGivesNullAndTheCode) {
    const auto failing = []() -> Handle* { throwWithCode(5000046); };
    const auto failingWithoutCode = []() -> Handle* { throwWithoutCode(); };
    std::uint32_t code = 0;
    EXPECT_EQ(guardedOpen(&code, failing), nullptr);
    EXPECT_EQ(code, 5000046u);
    EXPECT_EQ(guardedOpen(&code, failingWithoutCode), nullptr);
    EXPECT_EQ(code, 0xFFFFFFFFu);
    long longCode = 0;
    EXPECT_EQ(guardedOpen(&longCode, failingWithoutCode), nullptr);
    EXPECT_EQ(longCode, -1);
    EXPECT_EQ(guardedOpen(static_cast<long*>(nullptr), failing), nullptr);
}

TEST(Boundary, AnOpenLetsOtherExceptionsPass) {
    long code = 7;
    EXPECT_THROW(guardedOpen(&code, []() -> Handle* { throw std::runtime_error("other"); }),
                 std::runtime_error);
    EXPECT_EQ(code, 0);
}

class ErrorManager : public testing::Test {
protected:
    void SetUp() override { manager.clear(); }
    void TearDown() override { manager.clear(); }
    MORVAErrorManager& manager = MORVAErrorManager::instance();
};

TEST_F(ErrorManager, RecordsWhatIsTranslated) {
    EXPECT_EQ(manager.last(), nullptr);
    translated([] { throwWithCode(5000027); });
    ASSERT_EQ(manager.count(), 1u);
    EXPECT_EQ(manager.last()->number(), 5000027);
    EXPECT_NE(manager.last()->text().toUTF8().find("errorMessages/SKARio/freadValidationError"),
              std::string::npos);
    EXPECT_NE(dynamic_cast<const MORVAExceptionInfo*>(manager.last().get()), nullptr);
    translated([] { throw std::runtime_error("no code here"); });
    EXPECT_EQ(manager.last()->number(), 140054);
    EXPECT_NE(manager.last()->text().toUTF8().find("no code here"), std::string::npos);
    EXPECT_EQ(manager.count(), 2u);
}

TEST_F(ErrorManager, KeepsTheNewestRecordsOnly) {
    const long more = static_cast<long>(MORVAErrorManager::capacity) + 10;
    for (long number = 1; number <= more; ++number)
        manager.add(std::make_shared<MORVAErrorInfo>(number));
    manager.add(nullptr);
    EXPECT_EQ(manager.count(), MORVAErrorManager::capacity);
    EXPECT_EQ(manager.last()->number(), more);
}

TEST_F(ErrorManager, ReportsTheNumberBetweenHashes) {
    std::ostringstream out;
    EXPECT_TRUE(manager.report(out, 5000020));
    EXPECT_EQ(out.str(), "MORVA Framework error:\n###### 5000020 ######\n");
}

TEST_F(ErrorManager, ReportsAFurtherText) {
    std::ostringstream out;
    EXPECT_TRUE(manager.report(out, 5000025, L"Line \u00F8"));
    EXPECT_EQ(out.str(), "MORVA Framework error:\n###### 5000025 ######\nExtented Message: Line \xC3\xB8\n");
}

TEST_F(ErrorManager, DoesNotRepeatANumberTwiceInARow) {
    std::ostringstream out;
    EXPECT_TRUE(manager.report(out, 1));
    EXPECT_FALSE(manager.report(out, 1, L"again"));
    EXPECT_TRUE(manager.report(out, 2));
    EXPECT_TRUE(manager.report(out, 1));
    EXPECT_EQ(out.str(), "MORVA Framework error:\n###### 1 ######\n"
                         "MORVA Framework error:\n###### 2 ######\n"
                         "MORVA Framework error:\n###### 1 ######\n");
}

TEST_F(ErrorManager, TellsItsType) {
    EXPECT_EQ(manager.toText(), "<MORVAObject typeid=\"MORVAPP::MORVAErrorManager\"/>\n");
}

} // namespace
