#include "shell.h"
#include "support/realdata.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

namespace skar::test {

namespace fs = std::filesystem;

namespace {

std::string textOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

} // namespace

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

std::vector<std::string> Outcome::lines() const {
    return split(out, '\n');
}

Outcome runSkar(const std::string& arguments, const std::string& redirect) {
    const fs::path stem = fs::temp_directory_path() / ("skar_outcome_" + std::to_string(getpid()));
    const fs::path out = stem.string() + ".out";
    const fs::path err = stem.string() + ".err";
    const std::string target = redirect.empty() ? quoted(out) : redirect;
    const std::string command = quoted(SKAR_COMMAND) + " " + arguments + " >" + target + " 2>" + quoted(err);
    const int result = std::system(command.c_str());
    Outcome outcome;
    outcome.status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    if (redirect.empty()) outcome.out = textOf(out);
    outcome.err = textOf(err);
    fs::remove(out);
    fs::remove(err);
    return outcome;
}

std::vector<std::uint8_t> bytesOf(const fs::path& file) {
    const std::string text = textOf(file);
    return {text.begin(), text.end()};
}

void writeBytes(const fs::path& file, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void writeGolden(const std::string& name, const fs::path& line) {
    const fs::path source = fs::path(SKAR_SOURCE_DIR) / "tests/golden" / name;
    for (const fs::directory_entry& entry : fs::directory_iterator(source)) {
        if (entry.path().extension() != ".hex") continue;
        std::vector<std::uint8_t> bytes;
        for (const std::string& field : split(textOf(entry.path()), '\n')) {
            if (field.starts_with('#')) continue;
            const std::string digits = split(field, ' ').at(1);
            for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
                bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
        }
        writeBytes(line / entry.path().stem(), bytes);
    }
}

ToolTest::ToolTest() {
    std::string name = (fs::temp_directory_path() / "skar_tool_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder = name;
    line = folder / "project" / "vessel" / "2024-153" / "0001";
}

ToolTest::~ToolTest() {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

void ToolTest::expectIndependentReaderAgrees(const char* script, const std::string& realFile,
                                             const std::string& said, bool mayLose) {
    const fs::path file = skar::tests::realData(SKAR_SOURCE_DIR) / realFile;
    SKAR_SKIP_WITHOUT(file);
    if (std::system("python3 --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "python3 is not there";

    const Outcome imported = runSkar("import --line " + line.string() + " " + file.string());
    ASSERT_TRUE(imported.status == 0 || (mayLose && imported.status == 3)) << imported.err;
    const fs::path found = folder / "compared";
    const std::string command = std::string("python3 " SKAR_SOURCE_DIR "/tests/tool/") + script +
                                " " SKAR_COMMAND " " + line.string() + " " + file.string() + " > " +
                                found.string() + " 2>&1";
    const int status = std::system(command.c_str());
    EXPECT_EQ(status, 0) << textOf(found);
    EXPECT_EQ(textOf(found), said + "\n");
    EXPECT_EQ(runSkar("check " + line.string()).status, 0);
}

void ToolTest::simulate(const std::string& options) {
    const Outcome outcome = runSkar("simulate " + line.string() + " " + options);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    ASSERT_EQ(outcome.err, "");
}

namespace {

constexpr std::uint32_t teld = 0x54454C44;
constexpr std::uint32_t gyro = 1;
// 2024-06-01T08:00:00Z is 1401696016 s after the start of 1980, leap seconds counted: 16 s into this minute.
constexpr std::uint32_t referenceMinute = 23361600;
constexpr std::uint32_t firstTime = 16000;

} // namespace

GyroWords::GyroWords() {
    constexpr std::uint32_t t = firstTime;
    data = {teld, gyro, 1, 1,
            // status, records, ticks per second, reference minute, extents of time and value
            7, 4, 1000, referenceMinute, t, t + 300, 5, 40,
            // status, time, value
            0, t, 10,       //
            0, t + 100, 20, //
            3, t + 200, 5,  //
            0, t + 300, 40};
    segments = {teld, gyro, 2, 1, 2,
                // status, twice the length, "a.raw", first and last record, extents
                0, 5, 5, 0x612E7261, 0x77000000, 1, 2, t, t + 100, 10, 20, //
                9, 5, 5, 0x622E7261, 0x77000000, 3, 4, t + 200, t + 300, 5, 40};
    index = {teld, gyro, 3, 1, 1, 512,
             // entries, smallest and largest time; entries, then time and offset of each
             4, t, t + 300, 4, t, 48, t + 100, 60, t + 200, 72, t + 300, 84};
}

void GyroWords::write(const fs::path& line) const {
    fs::create_directories(line);
    const auto store = [&](const char* name, const std::vector<std::uint32_t>& words) {
        std::vector<std::uint8_t> bytes;
        for (const std::uint32_t word : words) {
            for (const unsigned shift : {24U, 16U, 8U, 0U})
                bytes.push_back(static_cast<std::uint8_t>(word >> shift));
        }
        writeBytes(line / name, bytes);
    };
    store("Gyro", data);
    store("GyroLineSegments", segments);
    store("GyroTmIdx", index);
}

} // namespace skar::test
