#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace skar::test {

using Json = nlohmann::json;

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;

    Json json() const { return Json::parse(out); }
    std::vector<std::string> lines() const;
};

// Runs the command with arguments in the shell's syntax; redirect: in place of a captured standard output.
Outcome runSkar(const std::string& arguments, const std::string& redirect = "");

std::vector<std::string> split(const std::string& text, char separator);
std::vector<std::uint8_t> bytesOf(const std::filesystem::path& file);
void writeBytes(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes);
// From one cut of a file to the next, where each takes a run of the command: an instrumented one takes long
// to start.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t cutStep = 13;
#else
inline constexpr std::size_t cutStep = 1;
#endif

// Puts the files of a case under tests/golden into a line.
void writeGolden(const std::string& name, const std::filesystem::path& line);

// A folder of its own for every test, with the path of a line in it.
class ToolTest : public testing::Test {
protected:
    ToolTest();
    ~ToolTest() override;

    // Imports a real file, named below their folder, and compares the line by a script of this folder that
    // reads the file without any code of the tool; `said` is what the script has to say. Skips where the
    // files or python are not there.
    void expectIndependentReaderAgrees(const char* script, const std::string& realFile,
                                       const std::string& said, bool mayLose = false);
    // Simulates a short line with those further options and expects success.
    void simulate(const std::string& options = "--duration 60");

    std::filesystem::path folder;
    std::filesystem::path line;
};

// A heading set written word by word: four records at 0, 100, 200 and 300 ms after 2024-06-01T08:00:00Z with
// the headings 10, 20, 5 and 40 in steps of 1e-7, two segments of two records.
struct GyroWords {
    std::vector<std::uint32_t> data;
    std::vector<std::uint32_t> segments;
    std::vector<std::uint32_t> index;

    GyroWords();
    void write(const std::filesystem::path& line) const;
};

} // namespace skar::test
