#include "fileio/handle.h"
#include "fileio/validation.h"
#include "fileio/xdr.h"
#include "storehandle.h"
#include "support/fault_backend.h"
#include "support/store.h"

#include <skar/errors.h>
#include <skar/sensor.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace skar::tests;
using bathy::error::BathyException;
using skar::fileio::ValidationStep;

namespace {

constexpr std::uint32_t gyro = 1;

Bytes validData(std::uint32_t version = 1) {
    return Bytes().validation(gyro, 1, version);
}

// A gyro whose data file holds those bytes, opened by the frame alone.
struct Stored {
    Line line;
    std::unique_ptr<Handle> handle;
    explicit Stored(std::string_view bytes, const wchar_t* token = L"query") {
        line.write("Gyro", bytes);
        handle = std::make_unique<Handle>(line.path(), gyro, token);
        EXPECT_EQ(handle->code, 0u);
    }
    _TELD_Sensor* operator->() const { return handle->sensor; }
    operator _TELD_Sensor*() const { return handle->sensor; } // NOLINT
};

struct Thrown {
    std::string key;
    long code = 0;
    std::optional<int> error;
};
template <class Details>
auto detail(const boost::exception& thrown) {
    const auto* found = boost::get_error_info<Details>(thrown);
    return found ? std::optional(*found) : std::nullopt;
}

Thrown readFailure(_TELD_Sensor& sensor) {
    try {
        SKAR::IO::ReadDataValidationRecord(sensor);
    } catch (const SKAR::IO::SensorReadError& thrown) {
        return {detail<BathyException::tag_additional_details>(thrown).value_or("no key"),
                detail<BathyException::tag_error_code>(thrown).value_or(0),
                detail<SKAR::stdio_error_info>(thrown)};
    }
    return {"nothing thrown", 0, {}};
}

std::string writeFailure(_TELD_Sensor& sensor) {
    try {
        SKAR::IO::WriteDataValidationRecord(sensor);
    } catch (const Morva::Exception::Error& thrown) {
        EXPECT_STREQ(thrown.what(), "MESSAGE_ID_INTERNAL_ERROR");
        EXPECT_FALSE(detail<BathyException::tag_error_code>(thrown));
        return detail<skar::fileio::xdr_encoding_failed>(thrown).value_or("no record");
    }
    return "nothing thrown";
}

} // namespace

TEST(DataValidation, ReadsTheVersionAndStandsBehindTheRecord) {
    for (const std::uint32_t version : {0u, 1u, 7u, 0xFFFFFFFFu}) {
        const Stored sensor(validData(version).string() + "rest");
        EXPECT_EQ(TELD_ReadDataValidationRecord(sensor), 0);
        EXPECT_EQ(sensor->version, version);
        EXPECT_EQ(sensor->state->file.position(), 16);
        EXPECT_NO_THROW(SKAR::IO::ReadDataValidationRecord(*sensor.handle->sensor));
        EXPECT_EQ(sensor->state->file.position(), 16);
    }
}

TEST(DataValidation, CutAtAnyByteIsAFailureToRead) {
    const LogCapture log;
    for (std::size_t size = 0; size < 16; ++size) {
        const Stored sensor(validData().string().substr(0, size));
        EXPECT_EQ(TELD_ReadDataValidationRecord(sensor), 5000027) << size;
        const Thrown thrown = readFailure(*sensor.handle->sensor);
        EXPECT_EQ(thrown.key, "errorMessages/SKARio/freadValidationError");
        EXPECT_EQ(thrown.code, 5000027);
        EXPECT_TRUE(thrown.error.has_value());
    }
    EXPECT_TRUE(log.lines().empty()) << "the data file's record has no log lines";
}

TEST(DataValidation, OfAnotherFileNamesTheWordThatDiffers) {
    const struct {
        std::size_t offset;
        const char* key;
    } words[] = {{0, "errorMessages/SKARio/tokenMismatch"},
                 {4, "errorMessages/SKARio/sensorTypeMismatch"},
                 {8, "errorMessages/SKARio/fileTypeMismatch"}};
    const LogCapture log;
    for (const auto& each : words)
        for (const std::uint32_t word : {0u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
            const Stored sensor(withWord(validData(), each.offset, word));
            sensor->version = 55;
            EXPECT_EQ(TELD_ReadDataValidationRecord(sensor), 5000027);
            const Thrown thrown = readFailure(*sensor.handle->sensor);
            EXPECT_EQ(thrown.key, each.key);
            EXPECT_EQ(thrown.code, 5000027);
            EXPECT_FALSE(thrown.error);
            EXPECT_EQ(sensor->version, 55u) << "the version of a wrong file is not taken";
        }
    EXPECT_TRUE(log.lines().empty());
}

TEST(DataValidation, TestsTheWordsInTheirOrder) {
    const Stored sensor(Bytes{1, 2, 3, 4});
    EXPECT_EQ(readFailure(*sensor.handle->sensor).key, "errorMessages/SKARio/tokenMismatch");
    const Stored other(Bytes{0x54454C44, 2, 3, 4});
    EXPECT_EQ(readFailure(*other.handle->sensor).key, "errorMessages/SKARio/sensorTypeMismatch");
}

TEST(DataValidation, AShortBufferNamesTheWordThatCannotBeDecoded) {
    const Stored sensor(validData());
    std::string bytes = validData();
    const auto from = [&](std::size_t size) {
        // Exactly as much memory as there are bytes.
        std::vector<std::byte> buffer(size);
        std::memcpy(buffer.data(), bytes.data(), size);
        return skar::fileio::decodeDataValidation(*sensor.handle->sensor, buffer);
    };
    EXPECT_EQ(from(3), ValidationStep::decodeToken);
    EXPECT_EQ(from(7), ValidationStep::decodeSensorType);
    EXPECT_EQ(from(11), ValidationStep::decodeFileType);
    EXPECT_EQ(from(15), ValidationStep::decodeVersion);
    EXPECT_EQ(from(16), std::nullopt);
}

TEST(DataValidation, EachStepOfReadingHasItsKey) {
    const struct {
        ValidationStep step;
        const char* key;
        bool hasError;
    } steps[] = {{ValidationStep::seek, "fseekBeginError", true},
                 {ValidationStep::transfer, "freadValidationError", true},
                 {ValidationStep::decodeToken, "decodeTokenError", false},
                 {ValidationStep::token, "tokenMismatch", false},
                 {ValidationStep::decodeSensorType, "decodeSensorType", false},
                 {ValidationStep::sensorType, "sensorTypeMismatch", false},
                 {ValidationStep::decodeFileType, "decodeFileType", false},
                 {ValidationStep::fileType, "fileTypeMismatch", false},
                 {ValidationStep::decodeVersion, "decodeVersion", false}};
    for (const auto& each : steps) {
        try {
            skar::fileio::throwReadFailure(each.step, EIO);
        } catch (const SKAR::IO::SensorReadError& thrown) {
            EXPECT_EQ(detail<BathyException::tag_additional_details>(thrown),
                      std::string("errorMessages/SKARio/") + each.key);
            EXPECT_EQ(detail<BathyException::tag_error_code>(thrown), 5000027);
            EXPECT_EQ(detail<SKAR::stdio_error_info>(thrown),
                      each.hasError ? std::optional(EIO) : std::nullopt);
            continue;
        }
        ADD_FAILURE() << each.key << " was not thrown";
    }
}

TEST(DataValidation, EachStepOfWritingHasItsText) {
    const struct {
        ValidationStep step;
        const char* text;
    } steps[] = {
        {ValidationStep::decodeToken, "TELD token"},   {ValidationStep::decodeSensorType, "Sensor type"},
        {ValidationStep::decodeFileType, "File type"}, {ValidationStep::decodeVersion, "Version number"},
        {ValidationStep::seek, "fseek() failed"},      {ValidationStep::transfer, "fwrite() failed"}};
    for (const auto& each : steps) {
        try {
            skar::fileio::throwWriteFailure(each.step);
        } catch (const Morva::Exception::Error& thrown) {
            EXPECT_STREQ(thrown.what(), "MESSAGE_ID_INTERNAL_ERROR");
            EXPECT_EQ(detail<skar::fileio::xdr_encoding_failed>(thrown), std::string(each.text));
            continue;
        }
        ADD_FAILURE() << each.text << " was not thrown";
    }
}

TEST(DataValidation, IsWrittenOverTheHeadOfTheFile) {
    const Stored sensor(std::string(20, 'x'), L"update");
    sensor->version = 7;
    ASSERT_EQ(TELD_WriteDataValidationRecord(sensor), 0);
    EXPECT_EQ(sensor->state->file.position(), 16);
    EXPECT_TRUE(same(validData(7).raw("rest", "xxxx"), sensor.line.bytes("Gyro")));
    sensor->version = 8;
    EXPECT_NO_THROW(SKAR::IO::WriteDataValidationRecord(*sensor.handle->sensor));
    EXPECT_TRUE(same(validData(8).raw("rest", "xxxx"), sensor.line.bytes("Gyro")));
}

TEST(DataValidation, ThatCannotBeWrittenIs5000028) {
    const Stored sensor(validData(), L"query");
    EXPECT_EQ(TELD_WriteDataValidationRecord(sensor), 5000028) << "the file is open for reading";
    EXPECT_EQ(writeFailure(*sensor.handle->sensor), "fwrite() failed");
    EXPECT_TRUE(same(validData(), sensor.line.bytes("Gyro")));
}

TEST(DataValidation, AFailingDiskGivesTheCodeOfTheStep) {
    FaultBackend disk;
    const std::string path = "/survey/project/vessel/day/line/Gyro";
    disk.put(path, validData());
    Handle sensor(L"/survey/project/vessel/day/line", gyro, L"update");
    ASSERT_EQ(sensor.code, 0u);
    disk.resetCounts();
    disk.failAt(Op::read, 1, EIO, Repeat::forever);
    EXPECT_EQ(TELD_ReadDataValidationRecord(sensor), 5000027);
    const Thrown thrown = readFailure(*sensor.sensor);
    EXPECT_EQ(thrown.key, "errorMessages/SKARio/freadValidationError");
    EXPECT_EQ(thrown.error, EIO);
    disk.clearFaults();
    disk.resetCounts();
    disk.failAt(Op::write, 1, ENOSPC, Repeat::forever);
    EXPECT_EQ(TELD_WriteDataValidationRecord(sensor), 5000028);
    EXPECT_EQ(writeFailure(*sensor.sensor), "fwrite() failed");
    disk.clearFaults();
    EXPECT_EQ(TELD_WriteDataValidationRecord(sensor), 0);
    EXPECT_TRUE(same(validData(), disk.bytes(path)));
}

TEST(DataValidation, OfANullHandleIsMinusOne) {
    EXPECT_EQ(TELD_ReadDataValidationRecord(nullptr), -1);
    EXPECT_EQ(TELD_WriteDataValidationRecord(nullptr), -1);
    EXPECT_EQ(TELD_ReadLnSegValidationRecord(nullptr, nullptr), -1);
    EXPECT_EQ(TELD_WriteLnSegValidationRecord(nullptr, nullptr), -1);
}

namespace {

int readSegmentValidation(_TELD_Sensor* sensor, std::string bytes) {
    qon_XDR stream;
    qon_xdrmem_create(&stream, bytes.data(), static_cast<std::uint32_t>(bytes.size()), XDR_DECODE);
    const skar::fileio::XdrScope scope(stream);
    return TELD_ReadLnSegValidationRecord(sensor, &stream);
}

std::string failed(const std::string& what) {
    return "TELD_ReadLnSegValidationRecord() failed, unable to " + what + "\n";
}

} // namespace

TEST(SegmentValidation, ReadsAndDropsTheVersion) {
    const Stored sensor(validData());
    sensor->version = 3;
    const LogCapture log;
    EXPECT_EQ(readSegmentValidation(sensor, Bytes().validation(gyro, 2, 9)), 0);
    EXPECT_EQ(sensor->version, 3u);
    EXPECT_TRUE(log.lines().empty());
}

TEST(SegmentValidation, CutAtAnyByteIs5000029AndTellsTheWord) {
    const Stored sensor(validData());
    const std::string texts[] = {failed("decode teldToken.  qon_xdr_u_int() failed()"),
                                 failed("decode sensorType.  qon_xdr_u_int() failed()"),
                                 failed("decode fileType"), failed("decode versionNumber")};
    for (std::size_t size = 0; size < 16; ++size) {
        const LogCapture log(1);
        EXPECT_EQ(readSegmentValidation(sensor, Bytes().validation(gyro, 2).string().substr(0, size)),
                  5000029);
        EXPECT_EQ(log.lines(), (Lines{{1, texts[size / 4]}})) << size;
    }
}

TEST(SegmentValidation, OfAnotherFileIs5000029AndTellsWhatItFound) {
    const Stored sensor(validData());
    const struct {
        std::size_t offset;
        std::uint32_t word;
        std::string text;
    } cases[] = {
        {0, 0xAB12CD34, "verify teldToken (ab12cd34)"},
        {4, 47, "match sensor type (47, expected 1)"},
        {4, 0xFFFFFFFF, "match sensor type (-1, expected 1)"},
        {8, 3, "match file type (3)"},
    };
    for (const auto& each : cases) {
        const LogCapture log(1);
        EXPECT_EQ(
            readSegmentValidation(sensor, withWord(Bytes().validation(gyro, 2), each.offset, each.word)),
            5000029);
        EXPECT_EQ(log.lines(), (Lines{{1, failed(each.text)}}));
    }
}

TEST(SegmentValidation, IsWrittenWithTheTypeAndVersionOfTheHandle) {
    const Stored sensor(validData());
    sensor->version = 7;
    for (std::size_t size = 0; size <= 16; ++size) {
        std::string bytes(size, '\0');
        qon_XDR stream;
        qon_xdrmem_create(&stream, bytes.data(), static_cast<std::uint32_t>(size), XDR_ENCODE);
        const skar::fileio::XdrScope scope(stream);
        EXPECT_EQ(TELD_WriteLnSegValidationRecord(sensor, &stream), size == 16 ? 0 : 5000030);
        if (size == 16) {
            EXPECT_TRUE(same(Bytes().validation(gyro, 2, 7), bytes));
        }
    }
    EXPECT_EQ(TELD_WriteLnSegValidationRecord(sensor, nullptr), -1);
}
