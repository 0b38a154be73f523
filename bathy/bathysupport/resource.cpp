#include <skar/errors.h>

#include <unicode/locid.h>
#include <unicode/udata.h>

extern "C" const char SkarMessages_dat[];

namespace {

constexpr const char* libraryBundle = "SkarMessages";

// A library whose messages cannot be opened still works: its keys show as they are.
bool registerMessages() noexcept {
    try {
        BathyResource::instance().addBundle(libraryBundle, SkarMessages_dat);
        return true;
    } catch (...) {
        return false;
    }
}

[[maybe_unused]] const bool messagesRegistered = registerMessages();

} // namespace

BathyResource& BathyResource::instance() {
    // Never destroyed: messages may be wanted as long as the process lives.
    static BathyResource& resource = *new BathyResource;
    return resource;
}

void BathyResource::addBundle(const std::string& name, const void* data) {
    UErrorCode status = U_ZERO_ERROR;
    udata_setAppData(name.c_str(), data, &status);
    icu::ResourceBundle opened(name.c_str(), icu::Locale("en_CA"), status);
    if (U_FAILURE(status)) BOOST_THROW_EXCEPTION(Morva::Exception::Error() << icu_error(u_errorName(status)));
    bundles.insert_or_assign(name, std::move(opened));
}

const icu::ResourceBundle* BathyResource::bundle(const std::string& name) const {
    const auto found = bundles.find(name);
    return found == bundles.end() ? nullptr : &found->second;
}

MORVAUString BathyResource::message(const std::string& key) const {
    const icu::ResourceBundle* messages = bundle(libraryBundle);
    if (messages == nullptr) return MORVAUString(key.c_str());
    icu::ResourceBundle table(*messages);
    UErrorCode status = U_ZERO_ERROR;
    for (std::size_t start = 0; start <= key.size();) {
        const std::size_t end = std::min(key.find('/', start), key.size());
        table = table.get(key.substr(start, end - start).c_str(), status);
        start = end + 1;
    }
    const icu::UnicodeString text = table.getString(status);
    return U_SUCCESS(status) ? MORVAUString(text) : MORVAUString(key.c_str());
}
