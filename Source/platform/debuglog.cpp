#include "platform/debuglog.h"

#include <boost/date_time/posix_time/conversion.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/date_time/posix_time/time_formatters.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>

namespace skar::platform {

std::string localTimeText(std::time_t time) {
    std::tm local{};
    if (localtime_r(&time, &local) == nullptr)
        throw std::runtime_error("could not convert calendar time to local time");
    return boost::posix_time::to_simple_string(boost::posix_time::ptime_from_tm(local));
}

} // namespace skar::platform

namespace SKAR {

namespace {

// Never destroyed: whoever logs while the process ends still finds it.
boost::shared_ptr<DebugLogger>& processLogger() {
    static auto& logger = *new boost::shared_ptr<DebugLogger>(boost::make_shared<TimedLogger>(&std::cout));
    return logger;
}

} // namespace

DebugLogger::~DebugLogger() = default;

bool DebugLogger::passes(DebugLogOutputLevel messageLevel) const {
    return level == debugLogEverything || level >= messageLevel;
}

void DebugLogger::log(DebugLogOutputLevel messageLevel, const Temporary::String& message) {
    if (!passes(messageLevel)) return;
    const boost::lock_guard<boost::timed_mutex> lock(guard);
    write(message);
}

TimedLogger::~TimedLogger() = default;

boost::shared_ptr<DebugLogger> TimedLogger::clone() const {
    return boost::make_shared<TimedLogger>(*this);
}

void TimedLogger::write(const Temporary::String& message) {
    if (message.isEmpty() || out == nullptr) return;
    *out << '[' << skar::platform::localTimeText(std::time(nullptr)) << "] " << message;
}

DebugLogger& getDebugLogger() {
    return *processLogger();
}

void setDebugLogger(const DebugLogger& logger) {
    processLogger() = logger.clone();
}

} // namespace SKAR

namespace {

// The formatted text; where it cannot be formatted (a wide argument that the locale does not hold), the
// format as it stands, which still says what happened.
std::string formatted(const char* format, std::va_list arguments) {
    std::va_list measured;
    va_copy(measured, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0) return format;
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

} // namespace

void skarDebugLog(int level, const char* format, ...) {
    const auto outputLevel = static_cast<SKAR::DebugLogOutputLevel>(level);
    SKAR::DebugLogger& logger = SKAR::getDebugLogger();
    if (format == nullptr || !logger.passes(outputLevel)) return;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        const std::string text = formatted(format, arguments);
        // %c may have put a zero into the text, which ends it.
        if (text.c_str()[0] != '\0') logger.log(outputLevel, SKAR::Temporary::String(text.c_str(), "utf8"));
    } catch (const std::exception&) {
        // A log that cannot be written must not fail what it tells about.
    }
    va_end(arguments);
}
