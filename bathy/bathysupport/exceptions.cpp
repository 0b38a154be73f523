#include <skar/errors.h>

namespace Morva::Exception {

Error::Error(std::string messageId) : id(std::move(messageId)) {}
Error::~Error() noexcept = default;
const char* Error::what() const noexcept {
    return id.c_str();
}

AssertionError::AssertionError() : Error("MESSAGE_ID_INTERNAL_ERROR") {}
AssertionError::~AssertionError() noexcept = default;

IOError::~IOError() noexcept = default;

FileAccessError::FileAccessError() : IOError("MESSAGE_ID_FILE_ACCESS_ERROR") {}
FileAccessError::~FileAccessError() noexcept = default;

Handler::~Handler() = default;
bool NullHandler::handle(const std::exception&) {
    return false;
}

} // namespace Morva::Exception

namespace Morva::Foundation {

XMLError::XMLError(std::string messageId) : Error(std::move(messageId)) {}
XMLError::~XMLError() noexcept = default;

} // namespace Morva::Foundation

namespace bathy::error {

BathyException::~BathyException() noexcept = default;

const char* BathyException::what() const noexcept {
    const std::string* key = boost::get_error_info<tag_additional_details>(*this);
    return key == nullptr ? std::exception::what() : key->c_str();
}

} // namespace bathy::error

namespace SKAR {

namespace {

template <class Info>
std::string labelled(const char* label, const Info& info) {
    return label + std::to_string(info.value()) + "\n";
}

} // namespace

std::string to_string(const profile_number_info& profile) {
    return labelled("SKAR Profile number: ", profile);
}
std::string to_string(const max_profile_number_info& profile) {
    return labelled("Maximum SKAR Profile number: ", profile);
}
std::string to_string(const beam_number_info& beam) {
    return labelled("SKAR beam number: ", beam);
}
std::string to_string(const start_beam_number_info& beam) {
    return labelled("Start SKAR beam number: ", beam);
}
std::string to_string(const max_beam_number_info& beam) {
    return labelled("Maximum SKAR beam number: ", beam);
}

} // namespace SKAR
