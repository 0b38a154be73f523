#ifndef SKAR_LOG_H
#define SKAR_LOG_H

#include <skar/export.h>

#ifdef __GNUC__
#define SKAR_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define SKAR_PRINTF(text, first)
#endif

/* Writes a line to the process's log if its level lets it pass. The text is formatted as printf does, in
   UTF-8, and ends its lines itself. Levels: 1 errors, 2 file problems, 4 notices. Returns nothing and never
   fails. */
SKAR_EXPORT void skarDebugLog(int level, const char* format, ...) SKAR_PRINTF(2, 3);

/* Sets diagnostics up from the environment: CONSOLE names the file that takes the standard output (YES or
   CONSOLE: the console, NO: nothing), SKAR_DEBUG_LEVEL the log's level, 0 to 5. Returns 0. */
SKAR_EXPORT int SKAR_IO_StartDiagnostics(void);

/* Ends what SKAR_IO_StartDiagnostics began and closes the file. Returns 0. */
SKAR_EXPORT int SKAR_IO_StopDiagnostics(void);

#ifdef __cplusplus

#include <skar/strings.h>

#include <boost/smart_ptr/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <iosfwd>

namespace SKAR {

// How much is logged: 0 lets everything pass, and a higher number lets more pass than a lower one.
enum DebugLogOutputLevel : int {
    debugLogEverything = 0,
    debugLogErrors = 1,
    debugLogFileProblems = 2,
    debugLogNotices = 4,
    debugLogMost = 5,
};

// Where the library's diagnostic text goes. A copy shares nothing but the level and what the derived class
// shares.
class SKAR_API DebugLogger {
public:
    DebugLogger() = default;
    DebugLogger(const DebugLogger& other) : level(other.level) {}
    DebugLogger& operator=(const DebugLogger&) = delete;
    virtual ~DebugLogger();
    virtual boost::shared_ptr<DebugLogger> clone() const = 0;
    // True if the logger's level is at least the given one, or 0.
    virtual bool passes(DebugLogOutputLevel messageLevel) const;

protected:
    virtual void write(const Temporary::String& message) = 0;

public:
    DebugLogOutputLevel getDebuggingLevel() const noexcept { return level; }
    void setDebuggingLevel(DebugLogOutputLevel newLevel) noexcept { level = newLevel; }
    // Writes a message that passes; one at a time, whichever threads log. What the writing throws comes
    // through.
    void log(DebugLogOutputLevel messageLevel, const Temporary::String& message);

private:
    DebugLogOutputLevel level = debugLogErrors;
    boost::timed_mutex guard;
};

// Writes "[local time] message" to a stream, which must outlive the logger and its copies.
class SKAR_API TimedLogger : public DebugLogger {
public:
    explicit TimedLogger(std::ostream* stream) : out(stream) {}
    TimedLogger(const TimedLogger& other) = default;
    ~TimedLogger() override;
    boost::shared_ptr<DebugLogger> clone() const override;

protected:
    // An empty message writes nothing. Throws std::runtime_error if the clock's time has no local time.
    void write(const Temporary::String& message) override;

private:
    std::ostream* out;
};

// The logger of the process, at first a TimedLogger on the standard output.
SKAR_API DebugLogger& getDebugLogger();
// Takes a copy of the logger in its place. Not to be called while another thread logs.
SKAR_API void setDebugLogger(const DebugLogger& logger);

} // namespace SKAR

#endif

#endif
