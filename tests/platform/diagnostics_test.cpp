#include "support/temporary_directory.h"

#include <skar/files.h>
#include <skar/log.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using skar::tests::TemporaryDirectory;

class Diagnostics : public testing::Test {
protected:
    void SetUp() override {
        unsetenv("CONSOLE");
        unsetenv("SKAR_DEBUG_LEVEL");
        before = SKAR::getDebugLogger().clone();
        SKAR::setDebugLogger(SKAR::TimedLogger(&out));
    }
    void TearDown() override {
        SKAR::setDebugLogger(*before);
        unsetenv("CONSOLE");
        unsetenv("SKAR_DEBUG_LEVEL");
    }
    // What diagnostics does to the standard streams is tried in a process of its own.
    template <class Body>
    static void inChild(Body body) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            setsid();
            body();
            std::fflush(nullptr);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    std::string logged() const {
        const std::string text = out.str();
        return text.empty() ? text : text.substr(text.find("] ") + 2);
    }
    static int levelNow() { return SKAR::getDebugLogger().getDebuggingLevel(); }

    TemporaryDirectory directory;
    std::ostringstream out;
    boost::shared_ptr<SKAR::DebugLogger> before;
};

TEST_F(Diagnostics, WithoutVariablesNothingChanges) {
    EXPECT_EQ(SKAR_IO_StartDiagnostics(), 0);
    EXPECT_EQ(levelNow(), 1);
    EXPECT_EQ(logged(), "");
    EXPECT_EQ(SKAR_IO_StopDiagnostics(), 0);
}

TEST_F(Diagnostics, LevelFourShowsItsOwnNotice) {
    setenv("SKAR_DEBUG_LEVEL", "4", 1);
    EXPECT_EQ(SKAR_IO_StartDiagnostics(), 0);
    EXPECT_EQ(levelNow(), 4);
    EXPECT_EQ(logged(), "Debug level set to 4\n");
}

TEST_F(Diagnostics, ALevelBelowFourHidesTheNotice) {
    setenv("SKAR_DEBUG_LEVEL", "3", 1);
    EXPECT_EQ(SKAR_IO_StartDiagnostics(), 0);
    EXPECT_EQ(levelNow(), 3);
    EXPECT_EQ(logged(), "");
}

TEST_F(Diagnostics, LevelZeroShowsTheNotice) {
    setenv("SKAR_DEBUG_LEVEL", "0", 1);
    EXPECT_EQ(SKAR_IO_StartDiagnostics(), 0);
    EXPECT_EQ(levelNow(), 0);
    EXPECT_EQ(logged(), "Debug level set to 0\n");
}

TEST_F(Diagnostics, AValueThatIsNoNumberIsZeroAndTrailingTextIsIgnored) {
    setenv("SKAR_DEBUG_LEVEL", "verbose", 1);
    SKAR_IO_StartDiagnostics();
    EXPECT_EQ(levelNow(), 0);
    setenv("SKAR_DEBUG_LEVEL", " 5x", 1);
    SKAR_IO_StartDiagnostics();
    EXPECT_EQ(levelNow(), 5);
}

TEST_F(Diagnostics, LevelsOutsideZeroToFiveChangeNothing) {
    for (const char* value : {"6", "-1", "99999999999999999999", "4294967297", "-99999999999999999999", ""}) {
        setenv("SKAR_DEBUG_LEVEL", value, 1);
        EXPECT_EQ(SKAR_IO_StartDiagnostics(), 0);
        EXPECT_EQ(levelNow(), 1) << value;
        EXPECT_EQ(logged(), "") << value;
    }
}

TEST_F(Diagnostics, AFileNameTakesTheStandardOutputUntilDiagnosticsStop) {
    const std::string file = directory / "log.txt";
    directory.write("log.txt", "what was there");
    directory.write("outside.txt", "");
    inChild([&] {
        SKAR::reOpenFile(directory.wide("outside.txt").c_str(), L"w", stdout).get();
        setenv("CONSOLE", file.c_str(), 1);
        SKAR_IO_StartDiagnostics();
        SKAR::setDebugLogger(*before);
        std::printf("printed\n");
        skarDebugLog(1, "logged\n");
        std::cout.flush();
        SKAR_IO_StopDiagnostics();
        std::printf("after the end\n");
        std::cout << "after the end\n" << std::flush;
    });
    const std::string text = directory.read("log.txt");
    EXPECT_EQ(text.substr(0, 8), "printed\n");
    EXPECT_EQ(text.substr(text.find("] ") + 2), "logged\n");
    EXPECT_EQ(directory.read("outside.txt"), "");
}

TEST_F(Diagnostics, StartingAgainTakesTheNextFile) {
    inChild([&] {
        setenv("CONSOLE", (directory / "first.txt").c_str(), 1);
        SKAR_IO_StartDiagnostics();
        std::printf("one\n");
        setenv("CONSOLE", (directory / "second.txt").c_str(), 1);
        SKAR_IO_StartDiagnostics();
        std::printf("two\n");
        SKAR_IO_StopDiagnostics();
    });
    EXPECT_EQ(directory.read("first.txt"), "one\n");
    EXPECT_EQ(directory.read("second.txt"), "two\n");
}

TEST_F(Diagnostics, AFileThatCannotBeOpenedLeavesTheOutputAsItWas) {
    inChild([&] {
        const auto kept = SKAR::reOpenFile(directory.wide("outside.txt").c_str(), L"w", stdout);
        setenv("CONSOLE", (directory / "missing/log.txt").c_str(), 1);
        if (SKAR_IO_StartDiagnostics() != 0) _exit(1);
        std::printf("still here\n");
        SKAR_IO_StopDiagnostics();
        std::printf("and here\n");
    });
    EXPECT_EQ(directory.read("outside.txt"), "still here\nand here\n");
}

TEST_F(Diagnostics, NoInAnyCaseIsNoFileName) {
    inChild([&] {
        if (chdir(directory.path().c_str()) != 0) _exit(1);
        for (const char* value : {"NO", "no", "No"}) {
            setenv("CONSOLE", value, 1);
            SKAR_IO_StartDiagnostics();
        }
    });
    for (const char* name : {"NO", "no", "No"})
        EXPECT_FALSE(directory.has(name));
}

TEST_F(Diagnostics, WithoutAConsoleTheStreamsStayAsTheyWere) {
    inChild([&] {
        if (chdir(directory.path().c_str()) != 0) _exit(1);
        const auto kept = SKAR::reOpenFile(directory.wide("outside.txt").c_str(), L"w", stdout);
        for (const char* value : {"YES", "yes", "CONSOLE", "Console"}) {
            setenv("CONSOLE", value, 1);
            if (SKAR_IO_StartDiagnostics() != 0) _exit(1);
            std::printf("%s\n", value);
            if (SKAR_IO_StopDiagnostics() != 0) _exit(1);
        }
    });
    EXPECT_EQ(directory.read("outside.txt"), "YES\nyes\nCONSOLE\nConsole\n");
    EXPECT_FALSE(directory.has("YES") || directory.has("yes") || directory.has("CONSOLE"));
}

TEST_F(Diagnostics, YesInAnyCaseTurnsTheStreamsToTheConsole) {
    std::fflush(nullptr);
    int console = -1;
    const pid_t child = forkpty(&console, nullptr, nullptr, nullptr);
    if (child < 0) GTEST_SKIP() << "no pseudo terminal here";
    if (child == 0) {
        const auto kept = SKAR::reOpenFile(directory.wide("outside.txt").c_str(), L"w", stdout);
        setenv("CONSOLE", "yes", 1);
        SKAR_IO_StartDiagnostics();
        std::printf("on the console\n");
        std::fflush(nullptr);
        _exit(0);
    }
    std::string seen;
    char buffer[256];
    for (ssize_t size; (size = read(console, buffer, sizeof buffer)) > 0;)
        seen.append(buffer, static_cast<std::size_t>(size));
    close(console);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(seen, "on the console\r\n");
    EXPECT_EQ(directory.read("outside.txt"), "");
}

TEST(SharedFiles, TheLastCopyClosesTheFile) {
    const TemporaryDirectory directory;
    boost::shared_ptr<std::FILE> file = SKAR::openFile(directory.wide("Gyro").c_str(), L"wb");
    ASSERT_NE(file, nullptr);
    boost::shared_ptr<std::FILE> copy = file;
    std::fputs("buffered", file.get());
    file.reset();
    EXPECT_EQ(directory.read("Gyro"), "");
    copy.reset();
    EXPECT_EQ(directory.read("Gyro"), "buffered");
}

TEST(SharedFiles, AFileThatCannotBeOpenedGivesNull) {
    const TemporaryDirectory directory;
    EXPECT_EQ(SKAR::openFile(directory.wide("missing").c_str(), L"rb"), nullptr);
    EXPECT_EQ(SKAR::openFile(nullptr, L"rb"), nullptr);
    EXPECT_EQ(SKAR::openFile(directory.wide("missing").c_str(), nullptr), nullptr);
    EXPECT_EQ(SKAR::openFile(directory.wide("missing").c_str(), L"no mode"), nullptr);
    EXPECT_EQ(SKAR::openFile(directory.wide("missing").c_str(), L"\u00F8"), nullptr);
    EXPECT_FALSE(directory.has("missing"));
}

TEST(SharedFiles, ReopeningClosesTheOldFile) {
    const TemporaryDirectory directory;
    std::FILE* first = std::fopen((directory / "first").c_str(), "w");
    ASSERT_NE(first, nullptr);
    std::fputs("one", first);
    const boost::shared_ptr<std::FILE> second =
        SKAR::reOpenFile(directory.wide("second").c_str(), L"wb", first);
    ASSERT_NE(second, nullptr);
    std::fputs("two", second.get());
    std::fflush(second.get());
    EXPECT_EQ(directory.read("first"), "one");
    EXPECT_EQ(directory.read("second"), "two");
}

} // namespace
