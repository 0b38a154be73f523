#include <skar/errors.h>

#include <ostream>

namespace MORVAPP {

namespace {

constexpr long nothingReported = 0;

long codeOrDefault(const std::exception& caught) noexcept {
    const long* code = boost::get_error_info<bathy::error::BathyException::tag_error_code>(caught);
    return code == nullptr ? skar::codes::withoutCode : *code;
}

} // namespace

MORVAErrorInfo::MORVAErrorInfo(long number, MORVAUString text) : code(number), further(std::move(text)) {}
MORVAErrorInfo::~MORVAErrorInfo() = default;

MORVAExceptionInfo::MORVAExceptionInfo(long number, const std::exception& caught)
    : MORVAErrorInfo(number, MORVAUString(boost::diagnostic_information(caught).c_str())) {}

MORVAErrorManager::MORVAErrorManager() : reported(nothingReported) {}
MORVAErrorManager::~MORVAErrorManager() = default;

MORVAErrorManager& MORVAErrorManager::instance() {
    // Never destroyed, so that a failure during the end of the process can still be recorded.
    static MORVAErrorManager& manager = *new MORVAErrorManager;
    return manager;
}

void MORVAErrorManager::add(std::shared_ptr<const MORVAErrorInfo> info) {
    if (info == nullptr) return;
    const std::lock_guard lock(guard);
    records.push_back(std::move(info));
    if (records.size() > capacity) records.pop_front();
}

std::size_t MORVAErrorManager::count() const {
    const std::lock_guard lock(guard);
    return records.size();
}

std::shared_ptr<const MORVAErrorInfo> MORVAErrorManager::last() const {
    const std::lock_guard lock(guard);
    return records.empty() ? nullptr : records.back();
}

void MORVAErrorManager::clear() {
    const std::lock_guard lock(guard);
    records.clear();
    reported = nothingReported;
}

bool MORVAErrorManager::report(std::ostream& out, long number, const MORVAUString& further) {
    const std::lock_guard lock(guard);
    if (number == reported) return false;
    reported = number;
    out << "MORVA Framework error:\n###### " << number << " ######\n";
    if (!further.isEmpty()) out << "Extented Message: " << further << '\n';
    return true;
}

long MORVAErrorManager::translate(const std::exception& caught) noexcept {
    try {
        const long code = codeOrDefault(caught);
        add(std::make_shared<MORVAExceptionInfo>(code, caught));
        return code;
    } catch (...) {
        return skar::codes::withoutCode;
    }
}

} // namespace MORVAPP
