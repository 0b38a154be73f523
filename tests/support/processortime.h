#pragma once

#include <ctime>

namespace skar::tests {

// Time the calling thread has spent computing since this was made, in seconds. A clock on the wall would hold
// the other tests of a busy machine against the one that asks.
class ProcessorTime {
public:
    double seconds() const { return now() - start; }

private:
    static double now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    }
    double start = now();
};

// What the answer to a damaged file may cost, in seconds.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr double hostileLimit = 1.0;
#else
constexpr double hostileLimit = 0.1;
#endif

} // namespace skar::tests
