#include "platform/debuglog.h"

#include <gtest/gtest.h>

#include <limits>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace {

using SKAR::DebugLogger;
using SKAR::DebugLogOutputLevel;
using SKAR::TimedLogger;

constexpr const char* stamp = R"(\[\d{4}-[A-Z][a-z]{2}-\d{2} \d{2}:\d{2}:\d{2}\] )";

DebugLogOutputLevel level(int number) {
    return static_cast<DebugLogOutputLevel>(number);
}

// Puts a logger on a stream in the place of the process's and takes it away again.
class DebugLog : public testing::Test {
protected:
    void SetUp() override {
        before = SKAR::getDebugLogger().clone();
        SKAR::setDebugLogger(TimedLogger(&out));
    }
    void TearDown() override { SKAR::setDebugLogger(*before); }
    void expectLines(const std::string& pattern) const {
        EXPECT_TRUE(std::regex_match(out.str(), std::regex(pattern))) << out.str();
    }

    std::ostringstream out;
    boost::shared_ptr<DebugLogger> before;
};

TEST_F(DebugLog, StartsAtLevelOneAndPassesItAndZero) {
    const TimedLogger logger(&out);
    EXPECT_EQ(logger.getDebuggingLevel(), 1);
    EXPECT_TRUE(logger.passes(level(0)));
    EXPECT_TRUE(logger.passes(level(1)));
    EXPECT_FALSE(logger.passes(level(2)));
}

TEST_F(DebugLog, LevelZeroPassesAllLevels) {
    TimedLogger logger(&out);
    logger.setDebuggingLevel(level(0));
    for (int number = 0; number <= 6; ++number)
        EXPECT_TRUE(logger.passes(level(number)));
}

TEST_F(DebugLog, AHigherLevelPassesTheLowerOnes) {
    TimedLogger logger(&out);
    logger.setDebuggingLevel(level(4));
    EXPECT_TRUE(logger.passes(level(4)));
    EXPECT_FALSE(logger.passes(level(5)));
}

TEST_F(DebugLog, ALineIsTheTimeInBracketsAndTheTextAsItStands) {
    skarDebugLog(1, "could not open '%s' (%d)\n", "Gyro", 2);
    skarDebugLog(1, "no newline");
    expectLines(std::string(stamp) + "could not open 'Gyro' \\(2\\)\n" + stamp + "no newline");
}

TEST_F(DebugLog, TheTimeIsTheLocalOneToTheSecond) {
    std::time_t time = 0;
    std::string expected;
    do {
        out.str("");
        time = std::time(nullptr);
        skarDebugLog(1, "now");
        char text[64];
        std::tm local{};
        localtime_r(&time, &local);
        std::strftime(text, sizeof text, "[%Y-%b-%d %H:%M:%S] now", &local);
        expected = text;
    } while (std::time(nullptr) != time);
    EXPECT_EQ(out.str(), expected);
}

TEST_F(DebugLog, ATimeWithoutLocalFormThrows) {
    try {
        skar::platform::localTimeText(std::numeric_limits<std::time_t>::max());
        FAIL() << "was converted";
    } catch (const std::runtime_error& thrown) {
        EXPECT_STREQ(thrown.what(), "could not convert calendar time to local time");
    }
}

TEST_F(DebugLog, AnEmptyTextWritesNothing) {
    SKAR::getDebugLogger().setDebuggingLevel(level(2));
    skarDebugLog(2, "%s", "");
    skarDebugLog(2, "%c after a zero", 0);
    SKAR::getDebugLogger().log(level(2), SKAR::Temporary::String());
    EXPECT_EQ(out.str(), "");
}

TEST_F(DebugLog, ANullFormatWritesNothing) {
    const char* volatile none = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    skarDebugLog(1, none);
#pragma GCC diagnostic pop
    EXPECT_EQ(out.str(), "");
}

TEST_F(DebugLog, WhatDoesNotPassIsNotWritten) {
    skarDebugLog(2, "hidden\n");
    EXPECT_EQ(out.str(), "");
    SKAR::getDebugLogger().setDebuggingLevel(level(2));
    skarDebugLog(2, "shown\n");
    expectLines(std::string(stamp) + "shown\n");
}

TEST_F(DebugLog, TextsOfAnyLengthAndInUTF8AreWrittenWhole) {
    const std::string longText(100000, 'x');
    skarDebugLog(1, "\xC3\xB8%s\n", longText.c_str());
    EXPECT_EQ(out.str().substr(out.str().find("] ") + 2), "\xC3\xB8" + longText + "\n");
}

TEST_F(DebugLog, ATextThatCannotBeFormattedShowsItsFormat) {
    const wchar_t outsideAnyLocale[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
    skarDebugLog(1, "path %ls\n", outsideAnyLocale);
    expectLines(std::string(stamp) + "path %ls\n");
}

class CountingLogger : public DebugLogger {
public:
    boost::shared_ptr<DebugLogger> clone() const override {
        return boost::shared_ptr<DebugLogger>(new CountingLogger(*this));
    }
    bool passes(DebugLogOutputLevel messageLevel) const override {
        ++asked;
        return DebugLogger::passes(messageLevel);
    }
    static inline int asked = 0;
    static inline int written = 0;
    static inline bool fails = false;

protected:
    void write(const SKAR::Temporary::String&) override {
        if (fails) throw std::runtime_error("disk full");
        ++written;
    }
};

TEST_F(DebugLog, AFilteredLineCostsOneVirtualCall) {
    SKAR::setDebugLogger(CountingLogger());
    CountingLogger::asked = CountingLogger::written = 0;
    skarDebugLog(2, "%s\n", "hidden");
    EXPECT_EQ(CountingLogger::asked, 1);
    EXPECT_EQ(CountingLogger::written, 0);
}

TEST_F(DebugLog, AFailedWriteComesThroughLogAndLeavesTheLoggerUnlocked) {
    CountingLogger logger;
    CountingLogger::written = 0;
    CountingLogger::fails = true;
    EXPECT_THROW(logger.log(level(1), "first"), std::runtime_error);
    SKAR::setDebugLogger(logger);
    EXPECT_NO_THROW(skarDebugLog(1, "of a plain function"));
    CountingLogger::fails = false;
    logger.log(level(1), "second");
    EXPECT_EQ(CountingLogger::written, 1);
}

TEST_F(DebugLog, TheProcessKeepsACopyOfTheLogger) {
    {
        TimedLogger logger(&out);
        logger.setDebuggingLevel(level(3));
        SKAR::setDebugLogger(logger);
        logger.setDebuggingLevel(level(5));
    }
    EXPECT_EQ(SKAR::getDebugLogger().getDebuggingLevel(), 3);
    skarDebugLog(3, "through the copy's stream\n");
    expectLines(std::string(stamp) + "through the copy's stream\n");
}

TEST_F(DebugLog, SettingTheLoggerThatIsSetKeepsIt) {
    SKAR::setDebugLogger(SKAR::getDebugLogger());
    skarDebugLog(1, "still here\n");
    expectLines(std::string(stamp) + "still here\n");
}

} // namespace
