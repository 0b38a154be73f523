#pragma once

#include <skar/codes.h>
#include <skar/export.h>
#include <skar/strings.h>

#include <boost/exception/all.hpp>

#include <cstddef>
#include <deque>
#include <exception>
#include <iosfwd>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>

#include <unicode/resbund.h>

// What the library throws. Every class is a std::exception and a boost::exception; the details are
// boost::error_info records, read with boost::get_error_info<tag>(exception). Each thrown object can be
// carried to another thread and knows the function, source file and line it was thrown from.

namespace Morva::Exception {

using errinfo_assertion_message = boost::error_info<struct errinfo_assertion_message_, std::string>;

// Root of the framework's exceptions; what() is the message id.
class SKAR_API Error : public std::exception, public boost::exception {
public:
    explicit Error(std::string messageId = "MESSAGE_ID_INTERNAL_ERROR");
    ~Error() noexcept override;
    const char* what() const noexcept override;
    const std::string& messageId() const noexcept { return id; }

private:
    std::string id;
};

// A condition of the library's own did not hold; its text is the errinfo_assertion_message.
class SKAR_API AssertionError : public Error {
public:
    AssertionError();
    ~AssertionError() noexcept override;
};

class SKAR_API IOError : public Error {
public:
    using Error::Error;
    ~IOError() noexcept override;
};

class SKAR_API FileAccessError : public IOError {
public:
    FileAccessError();
    ~FileAccessError() noexcept override;
};

// Takes what a caller's code catches.
class SKAR_API Handler {
public:
    virtual ~Handler();
    // True if the exception needs no more attention.
    virtual bool handle(const std::exception& caught) = 0;
};

// Lets everything pass.
class SKAR_API NullHandler : public Handler {
public:
    bool handle(const std::exception& caught) override;
};

} // namespace Morva::Exception

namespace Morva::Foundation {

using errinfo_xml_url = boost::error_info<struct errinfo_xml_url_, MORVAUString>;
using errinfo_xml_diagnostic = boost::error_info<struct errinfo_xml_diagnostic_, MORVAUString>;
using errinfo_xpath_expression = boost::error_info<struct errinfo_xpath_expression_, MORVAUString>;

// The message id says which step failed: MESSAGE_ID_XML_ERROR, MESSAGE_ID_XML_PARSE_ERROR,
// MESSAGE_ID_XML_SAVE_ERROR or MESSAGE_ID_XPATH_ERROR.
class SKAR_API XMLError : public Exception::Error {
public:
    explicit XMLError(std::string messageId = "MESSAGE_ID_XML_ERROR");
    ~XMLError() noexcept override;
};

} // namespace Morva::Foundation

namespace bathy::error {

// Root of the store's exceptions.
class SKAR_API BathyException : public std::exception, public boost::exception {
public:
    // The code that a plain function returns for the exception.
    using tag_error_code = boost::error_info<struct tag_error_code_, long>;
    // The key of the message, such as "errorMessages/SKARio/sensorDoesNotExist"; also what() where there is
    // one.
    using tag_additional_details = boost::error_info<struct tag_additional_details_, std::string>;

    ~BathyException() noexcept override;
    const char* what() const noexcept override;
};

} // namespace bathy::error

namespace SKAR {

using tag_sensor_id = boost::error_info<struct tag_sensor_id_, int>;
// The access token as the caller gave it, and the number of the access type.
using tag_access_type = boost::error_info<struct tag_access_type_, MORVAUString>;
using tag_access_id_type = boost::error_info<struct tag_access_id_type_, int>;
using line_name_info = boost::error_info<struct line_name_info_, MORVAUString>;
using file_name_info = boost::error_info<struct file_name_info_, MORVAUString>;
// errno at the failure.
using stdio_error_info = boost::error_info<struct stdio_error_info_, int>;
using byte_offset_info = boost::error_info<struct byte_offset_info_, int>;
using profile_number_info = boost::error_info<struct profile_number_info_, unsigned long>;
using max_profile_number_info = boost::error_info<struct max_profile_number_info_, unsigned long>;
using beam_number_info = boost::error_info<struct beam_number_info_, unsigned int>;
using start_beam_number_info = boost::error_info<struct start_beam_number_info_, unsigned int>;
using max_beam_number_info = boost::error_info<struct max_beam_number_info_, unsigned int>;

// How the numbers stand in boost::diagnostic_information.
SKAR_API std::string to_string(const profile_number_info& profile);
SKAR_API std::string to_string(const max_profile_number_info& profile);
SKAR_API std::string to_string(const beam_number_info& beam);
SKAR_API std::string to_string(const start_beam_number_info& beam);
SKAR_API std::string to_string(const max_beam_number_info& beam);

class SKAR_API ObsDepthOpenError : public Morva::Exception::Error {};
class SKAR_API ObsDepthReadError : public Morva::Exception::Error {};
class SKAR_API ProcDepthOpenError : public Morva::Exception::Error {};
class SKAR_API ProcDepthReadError : public Morva::Exception::Error {};

class SKAR_API NavigationIOError : public bathy::error::BathyException {};
class SKAR_API SlantRangeOpenError : public bathy::error::BathyException {};
class SKAR_API SlantRangeReadError : public bathy::error::BathyException {};

namespace IO {

class SKAR_API SensorOpenError : public bathy::error::BathyException {};
class SKAR_API SensorReadError : public bathy::error::BathyException {};

namespace Navigation {
class SKAR_API ReadError : public bathy::error::BathyException {};
} // namespace Navigation
namespace SSP {
class SKAR_API ReadError : public bathy::error::BathyException {};
} // namespace SSP
namespace TPU {
class SKAR_API ReadError : public bathy::error::BathyException {};
} // namespace TPU

} // namespace IO
} // namespace SKAR

class SKAR_API ContactError : public bathy::error::BathyException {};

namespace MORVAPP {

// A failure that was noted: its number and a further text.
class SKAR_API MORVAErrorInfo {
public:
    explicit MORVAErrorInfo(long number, MORVAUString text = {});
    virtual ~MORVAErrorInfo();
    long number() const noexcept { return code; }
    const MORVAUString& text() const noexcept { return further; }

private:
    long code;
    MORVAUString further;
};

// One that came as an exception: the text holds its diagnostic information.
class SKAR_API MORVAExceptionInfo : public MORVAErrorInfo {
public:
    MORVAExceptionInfo(long number, const std::exception& caught);
};

// Keeps the failures of the process, the newest last, at most as many as `capacity`. May be used from several
// threads at once.
class SKAR_API MORVAErrorManager : public MORVAObject {
public:
    static constexpr std::size_t capacity = 256;
    static MORVAErrorManager& instance();
    MORVAErrorManager(const MORVAErrorManager&) = delete;
    MORVAErrorManager& operator=(const MORVAErrorManager&) = delete;

    // Takes the record in; null is ignored.
    void add(std::shared_ptr<const MORVAErrorInfo> info);
    std::size_t count() const;
    // The newest record, null without any.
    std::shared_ptr<const MORVAErrorInfo> last() const;
    void clear();

    // Writes the number and, where there is one, the further text. A number that was the last one reported is
    // not written again; returns whether anything was written.
    bool report(std::ostream& out, long number, const MORVAUString& further = {});

    // Records what was caught and returns its code; 140054 when it has none or cannot be recorded.
    long translate(const std::exception& caught) noexcept;

private:
    MORVAErrorManager();
    ~MORVAErrorManager() override;

    mutable std::mutex guard;
    std::deque<std::shared_ptr<const MORVAErrorInfo>> records;
    long reported;
};

} // namespace MORVAPP

using MORVAPP::MORVAErrorInfo;
using MORVAPP::MORVAErrorManager;
using MORVAPP::MORVAExceptionInfo;

// The message bundles of the process. A key is a path of table names, separated by '/'.
class SKAR_API BathyResource {
public:
    using icu_error = boost::error_info<struct icu_error_, std::string>;
    static BathyResource& instance();
    BathyResource(const BathyResource&) = delete;
    BathyResource& operator=(const BathyResource&) = delete;

    // Registers compiled bundle data, which must outlive the process, and opens the bundle for "en_CA". A
    // bundle that cannot be opened throws Morva::Exception::Error with ICU's name of the error in icu_error.
    // Meant for the time of loading: not to be called while another thread looks messages up.
    void addBundle(const std::string& name, const void* data);
    // Null if no bundle of that name was added.
    const icu::ResourceBundle* bundle(const std::string& name) const;
    // The text of a key, the key itself where the library's bundle has no text for it.
    MORVAUString message(const std::string& key) const;

private:
    BathyResource() = default;
    ~BathyResource() = default;

    std::map<std::string, icu::ResourceBundle> bundles;
};

namespace skar::errors {

// An exception with its code, its message key and any details, ready for BOOST_THROW_EXCEPTION, through which
// everything is thrown: it makes the exception fit for another thread and notes function, file and line.
template <class Thrown, class... Details>
Thrown failure(long code, const char* key, const Details&... details) {
    Thrown thrown;
    thrown << bathy::error::BathyException::tag_error_code(code)
           << bathy::error::BathyException::tag_additional_details(key);
    (static_cast<void>(thrown << details), ...);
    return thrown;
}

// The same for a failure that has a key and no code.
template <class Thrown, class... Details>
Thrown failure(const char* key, const Details&... details) {
    Thrown thrown;
    thrown << bathy::error::BathyException::tag_additional_details(key);
    (static_cast<void>(thrown << details), ...);
    return thrown;
}

// The code that an exception carries, -1 without one.
SKAR_API long codeOf(const boost::exception& thrown) noexcept;

namespace detail {
template <class Work>
int resultOf(Work&& work) {
    if constexpr (std::is_void_v<std::invoke_result_t<Work>>) {
        std::forward<Work>(work)();
        return 0;
    } else {
        return static_cast<int>(std::forward<Work>(work)());
    }
}
} // namespace detail

// Runs the body of a plain function over a throwing core: its result, 0 for a body without one, or the code
// of the boost::exception that came, -1 without a code. Any other exception passes through.
template <class Work>
int guarded(Work&& work) {
    try {
        return detail::resultOf(std::forward<Work>(work));
    } catch (const boost::exception& thrown) {
        return static_cast<int>(codeOf(thrown));
    }
}

// The same for a body that makes a handle: the handle with *code 0, or null with the code of what came.
template <class Code, class Work>
std::invoke_result_t<Work> guardedOpen(Code* code, Work&& work) {
    Code ignored{};
    Code& result = code == nullptr ? ignored : *code;
    result = 0;
    try {
        return std::forward<Work>(work)();
    } catch (const boost::exception& thrown) {
        result = static_cast<Code>(codeOf(thrown));
        return nullptr;
    }
}

// The form of the sequential readers: every std::exception is recorded in MORVAErrorManager and gives its
// code, 140054 without one.
template <class Work>
int translated(Work&& work) {
    try {
        return detail::resultOf(std::forward<Work>(work));
    } catch (const std::exception& thrown) {
        return static_cast<int>(MORVAErrorManager::instance().translate(thrown));
    }
}

// What a code means, in English, for a person; an empty text for a number that is none of the library's.
SKAR_API std::string meaningOf(long code);

} // namespace skar::errors
