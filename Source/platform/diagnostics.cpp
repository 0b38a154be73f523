#include <skar/files.h>
#include <skar/log.h>

#include "platform/standardstream.h"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <locale>
#include <optional>
#include <string>

namespace {

using SKAR::Temporary::String;

constexpr const wchar_t* console = L"/dev/tty";

boost::shared_ptr<std::FILE>& diagnosticsFile() {
    // Not destroyed with the library: the standard streams outlive it and what is printed last still arrives.
    static auto& file = *new boost::shared_ptr<std::FILE>;
    return file;
}

// A variable that is set to nothing counts as one that is not set.
std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

bool equalsIgnoringCase(const std::string& left, const char* right) {
    return boost::algorithm::iequals(left, right, std::locale::classic());
}

bool namesConsole(const std::string& value) {
    return equalsIgnoringCase(value, "YES") || equalsIgnoringCase(value, "CONSOLE");
}

void turnToConsole() {
    skar::platform::turnStandardStream(console, "r", stdin);
    skar::platform::turnStandardStream(console, "w", stderr);
    skar::platform::turnStandardStream(console, "w", stdout);
}

void turnOutputTo(const std::string& path) {
    diagnosticsFile() = SKAR::reOpenFile(String(path).getTerminatedBuffer(), L"w", stdout);
}

int wholeNumber(const std::string& text) {
    const long value = std::strtol(text.c_str(), nullptr, 10);
    return static_cast<int>(
        std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void setLevel(int value) {
    if (value < SKAR::debugLogEverything || value > SKAR::debugLogMost) return;
    SKAR::getDebugLogger().setDebuggingLevel(static_cast<SKAR::DebugLogOutputLevel>(value));
    skarDebugLog(SKAR::debugLogNotices, "Debug level set to %d\n", value);
}

} // namespace

int SKAR_IO_StartDiagnostics(void) {
    diagnosticsFile().reset();
    if (const std::optional<std::string> output = environment("CONSOLE")) {
        if (namesConsole(*output)) {
            turnToConsole();
        } else if (!equalsIgnoringCase(*output, "NO")) {
            turnOutputTo(*output);
        }
    }
    if (const std::optional<std::string> level = environment("SKAR_DEBUG_LEVEL"))
        setLevel(wholeNumber(*level));
    return 0;
}

int SKAR_IO_StopDiagnostics(void) {
    diagnosticsFile().reset();
    return 0;
}
