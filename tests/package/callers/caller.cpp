// Writes a heading series and reads it back through both interface layers. The argument is an existing
// folder.
#include <skar/skario.h>
#include <skar/version.h>

#include <cmath>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr int recordCount = 100;

double headingOf(int record) {
    return 0.02 * record;
}

void require(bool holds, const char* what) {
    if (!holds) throw std::runtime_error(what);
}

void write(const std::wstring& line) {
    std::uint32_t code = 0;
    require(LineCreateHierarchy(line.c_str()) == 0, "the line's folders");
    _TELD_Sensor* gyro = GyroOpenDir(line.c_str(), L"create", &code);
    require(gyro != nullptr, "create");
    require(GyroBgnSeqWriteSummary(gyro) == 0, "begin of the summary");
    require(GyroBgnSeqWriteLineSegment(gyro, L"compass.raw") == 0, "begin of the segment");
    for (int i = 1; i <= recordCount; ++i)
        require(GyroSeqWrite(gyro, 1.0e8 + 0.1 * i, headingOf(i), 0) == 0, "a record");
    require(GyroEndSeqWriteLineSegment(gyro, 0) == 0, "end of the segment");
    require(GyroEndSeqWriteSummary(gyro, 0) == 0, "end of the summary");
    require(GyroClose(gyro) == 0, "close");
}

void read(const std::wstring& line) {
    std::uint32_t code = 0;
    _TELD_Sensor* gyro = GyroOpenDir(line.c_str(), L"query", &code);
    require(gyro != nullptr, "query");
    for (int i = 1; i <= recordCount; ++i) {
        double time = 0, heading = 0;
        std::uint32_t status = 0;
        require(GyroReadSeq(gyro, &time, &heading, &status) == 0, "the next record");
        require(std::abs(heading - headingOf(i)) <= 0.5e-7, "the heading as written");
    }
    require(GyroClose(gyro) == 0, "close after reading");
}

// What the library throws can be caught by its type in a program that is built apart from it.
void catchAnError(const std::wstring& line) {
    bool caught = false;
    try {
        SKAR::IO::SensorOpen((line + L"Missing").c_str(), 1, L"query");
    } catch (const std::exception&) {
        caught = true;
    }
    require(caught, "an error for a line that is not there");
}

} // namespace

int main(int argc, char** argv) try {
    require(argc == 2, "one argument");
    const std::wstring line = (std::filesystem::path(argv[1]) / "Survey/Vessel/2024-001/Line1").wstring();
    require(SKARIO_Init(0) == 0, "SKARIO_Init");
    write(line);
    read(line);
    catchAnError(line);
    std::cout << "Skar_ioDev " SKAR_VERSION ": " << recordCount << " records written and read\n";
    return 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << " failed\n";
    return 1;
}
