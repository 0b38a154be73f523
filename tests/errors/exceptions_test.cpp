#include <skar/errors.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>
#include <type_traits>

namespace {

using bathy::error::BathyException;
using skar::errors::failure;

template <class Thrown>
std::string messageIdOf() {
    return Thrown().messageId();
}

template <class Thrown, class Base>
constexpr bool derived = std::is_base_of_v<Base, Thrown>&& std::is_base_of_v<std::exception, Thrown>&&
    std::is_base_of_v<boost::exception, Thrown>;

static_assert(derived<Morva::Exception::Error, std::exception>);
static_assert(derived<Morva::Exception::AssertionError, Morva::Exception::Error>);
static_assert(derived<Morva::Exception::IOError, Morva::Exception::Error>);
static_assert(derived<Morva::Exception::FileAccessError, Morva::Exception::IOError>);
static_assert(derived<Morva::Foundation::XMLError, Morva::Exception::Error>);
static_assert(derived<SKAR::ObsDepthOpenError, Morva::Exception::Error>);
static_assert(derived<SKAR::ObsDepthReadError, Morva::Exception::Error>);
static_assert(derived<SKAR::ProcDepthOpenError, Morva::Exception::Error>);
static_assert(derived<SKAR::ProcDepthReadError, Morva::Exception::Error>);
static_assert(derived<SKAR::IO::SensorOpenError, BathyException>);
static_assert(derived<SKAR::IO::SensorReadError, BathyException>);
static_assert(derived<SKAR::NavigationIOError, BathyException>);
static_assert(derived<SKAR::IO::Navigation::ReadError, BathyException>);
static_assert(derived<SKAR::IO::SSP::ReadError, BathyException>);
static_assert(derived<SKAR::IO::TPU::ReadError, BathyException>);
static_assert(derived<SKAR::SlantRangeOpenError, BathyException>);
static_assert(derived<SKAR::SlantRangeReadError, BathyException>);
static_assert(derived<ContactError, BathyException>);
static_assert(std::is_base_of_v<Morva::Exception::Handler, Morva::Exception::NullHandler>);

static_assert(std::is_same_v<BathyException::tag_error_code::value_type, long>);
static_assert(std::is_same_v<BathyException::tag_additional_details::value_type, std::string>);
static_assert(std::is_same_v<SKAR::tag_sensor_id::value_type, int>);
static_assert(std::is_same_v<SKAR::tag_access_type::value_type, MORVAUString>);
static_assert(std::is_same_v<SKAR::tag_access_id_type::value_type, int>);
static_assert(std::is_same_v<SKAR::line_name_info::value_type, MORVAUString>);
static_assert(std::is_same_v<SKAR::file_name_info::value_type, MORVAUString>);
static_assert(std::is_same_v<SKAR::stdio_error_info::value_type, int>);
static_assert(std::is_same_v<SKAR::byte_offset_info::value_type, int>);
static_assert(std::is_same_v<SKAR::profile_number_info::value_type, unsigned long>);
static_assert(std::is_same_v<SKAR::max_profile_number_info::value_type, unsigned long>);
static_assert(std::is_same_v<SKAR::beam_number_info::value_type, unsigned int>);
static_assert(std::is_same_v<SKAR::start_beam_number_info::value_type, unsigned int>);
static_assert(std::is_same_v<SKAR::max_beam_number_info::value_type, unsigned int>);
static_assert(std::is_same_v<Morva::Exception::errinfo_assertion_message::value_type, std::string>);
static_assert(std::is_same_v<Morva::Foundation::errinfo_xml_url::value_type, MORVAUString>);
static_assert(std::is_same_v<Morva::Foundation::errinfo_xml_diagnostic::value_type, MORVAUString>);
static_assert(std::is_same_v<Morva::Foundation::errinfo_xpath_expression::value_type, MORVAUString>);

template <class Info, class Exception>
typename Info::value_type infoOf(const Exception& thrown) {
    const typename Info::value_type* value = boost::get_error_info<Info>(thrown);
    EXPECT_NE(value, nullptr);
    return value == nullptr ? typename Info::value_type() : *value;
}

[[noreturn]] void throwOpenError() {
    BOOST_THROW_EXCEPTION(failure<SKAR::IO::SensorOpenError>(
        skar::codes::sensorMissing, "errorMessages/SKARio/sensorDoesNotExist", SKAR::stdio_error_info(ENOENT),
        SKAR::file_name_info(L"C:\\line\\Gyro")));
}

TEST(Exceptions, HaveTheMessageIdOfTheirKind) {
    EXPECT_EQ(messageIdOf<Morva::Exception::Error>(), "MESSAGE_ID_INTERNAL_ERROR");
    EXPECT_EQ(messageIdOf<Morva::Exception::AssertionError>(), "MESSAGE_ID_INTERNAL_ERROR");
    EXPECT_EQ(messageIdOf<Morva::Exception::FileAccessError>(), "MESSAGE_ID_FILE_ACCESS_ERROR");
    EXPECT_EQ(messageIdOf<Morva::Foundation::XMLError>(), "MESSAGE_ID_XML_ERROR");
    EXPECT_EQ(messageIdOf<SKAR::ObsDepthReadError>(), "MESSAGE_ID_INTERNAL_ERROR");
    const Morva::Foundation::XMLError parse("MESSAGE_ID_XML_PARSE_ERROR");
    EXPECT_EQ(parse.messageId(), "MESSAGE_ID_XML_PARSE_ERROR");
    EXPECT_STREQ(parse.what(), "MESSAGE_ID_XML_PARSE_ERROR");
}

TEST(Exceptions, CarryCodeKeyAndDetails) {
    try {
        throwOpenError();
    } catch (const SKAR::IO::SensorOpenError& thrown) {
        EXPECT_EQ(infoOf<BathyException::tag_error_code>(thrown), 5000046);
        EXPECT_EQ(infoOf<BathyException::tag_additional_details>(thrown),
                  "errorMessages/SKARio/sensorDoesNotExist");
        EXPECT_EQ(infoOf<SKAR::stdio_error_info>(thrown), ENOENT);
        EXPECT_EQ(infoOf<SKAR::file_name_info>(thrown), MORVAUString(L"C:\\line\\Gyro"));
        EXPECT_STREQ(thrown.what(), "errorMessages/SKARio/sensorDoesNotExist");
        EXPECT_EQ(boost::get_error_info<SKAR::line_name_info>(thrown), nullptr);
    }
}

TEST(Exceptions, KnowWhereTheyWereThrown) {
    try {
        throwOpenError();
    } catch (const boost::exception& thrown) {
        const std::string function = infoOf<boost::throw_function>(thrown);
        EXPECT_NE(function.find("void"), std::string::npos);
        EXPECT_NE(function.find("throwOpenError"), std::string::npos);
        EXPECT_NE(std::string(infoOf<boost::throw_file>(thrown)).find("exceptions_test.cpp"),
                  std::string::npos);
        EXPECT_GT(infoOf<boost::throw_line>(thrown), 0);
    }
}

TEST(Exceptions, ArriveInAnotherThreadWithTheirType) {
    boost::exception_ptr carried;
    std::thread([&carried] {
        try {
            throwOpenError();
        } catch (...) {
            carried = boost::current_exception();
        }
    }).join();
    try {
        boost::rethrow_exception(carried);
    } catch (const SKAR::IO::SensorOpenError& thrown) {
        EXPECT_EQ(infoOf<BathyException::tag_error_code>(thrown), 5000046);
        return;
    }
    FAIL() << "another type came over";
}

TEST(Exceptions, AreCaughtByTheirAncestors) {
    EXPECT_THROW(throwOpenError(), BathyException);
    EXPECT_THROW(throwOpenError(), std::exception);
    EXPECT_THROW(throwOpenError(), boost::exception);
    EXPECT_THROW(BOOST_THROW_EXCEPTION(SKAR::ProcDepthOpenError()), Morva::Exception::Error);
    EXPECT_THROW(BOOST_THROW_EXCEPTION(Morva::Exception::FileAccessError()), Morva::Exception::IOError);
}

TEST(Exceptions, NameProfileAndBeamInTheirDiagnostics) {
    const auto thrown = failure<SKAR::ObsDepthReadError>(
        "errorMessages/SKARio/ObservedDepths/depthIndexRange", SKAR::profile_number_info(7),
        SKAR::max_profile_number_info(9), SKAR::beam_number_info(300), SKAR::start_beam_number_info(1),
        SKAR::max_beam_number_info(256));
    const std::string text = boost::diagnostic_information(thrown);
    for (const char* line :
         {"\nSKAR Profile number: 7\n", "Maximum SKAR Profile number: 9\n", "\nSKAR beam number: 300\n",
          "Start SKAR beam number: 1\n", "Maximum SKAR beam number: 256\n"})
        EXPECT_NE(('\n' + text).find(line), std::string::npos) << line << text;
}

TEST(Exceptions, WithoutAKeySayWhatTheyAre) {
    EXPECT_STREQ(BathyException().what(), "std::exception");
}

TEST(Handlers, TheNullHandlerLetsEverythingPass) {
    Morva::Exception::NullHandler handler;
    Morva::Exception::Handler& asHandler = handler;
    EXPECT_FALSE(asHandler.handle(BathyException()));
}

} // namespace
