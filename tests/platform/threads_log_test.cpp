#include <skar/log.h>

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(DebugLogThreads, LinesDoNotMix) {
    std::ostringstream out;
    const boost::shared_ptr<SKAR::DebugLogger> before = SKAR::getDebugLogger().clone();
    SKAR::setDebugLogger(SKAR::TimedLogger(&out));
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int line = 0; line < 200; ++line)
                skarDebugLog(1, "whole %s\n", "line");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    SKAR::setDebugLogger(*before);
    std::istringstream lines(out.str());
    const std::regex whole(R"(\[[^\]]+\] whole line)");
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        ASSERT_TRUE(std::regex_match(line, whole)) << line;
    EXPECT_EQ(count, 800);
}

} // namespace
