#pragma once

#include "linepath.h"

#include <skar/skario.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace skar::tool {

// A measured quantity as every command names it.
struct Quantity {
    const char* name;
    const char* unit;
    const char* convention; // zero and sign

    bool isAngle() const { return std::string_view(unit) == "rad"; }
};

struct Extent {
    double min = 0.0;
    double max = 0.0;
};

inline constexpr std::size_t maxQuantities = 3;

struct Summary {
    std::uint32_t segments = 0;
    std::uint32_t records = 0;
    std::uint32_t status = 0;
    Extent time;
    std::array<Extent, maxQuantities> extents{};
};

struct Segment {
    std::string source;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::uint32_t status = 0;
    Extent time;
    std::array<Extent, maxQuantities> extents{};

    bool hasRecords() const { return begin >= 1 && begin <= end; }
};

struct Record {
    double time = 0.0;
    std::array<double, maxQuantities> values{};
    std::uint32_t status = 0;
};

struct Family;

// The library's functions for a group of families, in one form. All return 0 or a code of the library.
struct Access {
    _TELD_Sensor* (*open)(const Family& family, const wchar_t* line, const wchar_t* token,
                          std::uint32_t* code);
    int (*close)(_TELD_Sensor* set);
    int (*summary)(_TELD_Sensor* set, Summary& summary);
    int (*segment)(_TELD_Sensor* set, std::uint32_t number, Segment& segment);
    int (*read)(_TELD_Sensor* set, std::uint32_t number, Record& record);
    int (*begin)(_TELD_Sensor* set);
    int (*beginSegment)(_TELD_Sensor* set, const wchar_t* source);
    int (*write)(_TELD_Sensor* set, const Record& record);
    int (*endSegment)(_TELD_Sensor* set, std::uint32_t status);
    int (*end)(_TELD_Sensor* set, std::uint32_t status);
};

// How the values of a record are coded; it decides the layout of the files.
enum class Coding { millis, fine, position };

// A sensor that the commands know. One more time series is one more row of the table.
struct Family {
    const char* name; // of the data file and on the command line
    std::uint32_t id;
    std::uint32_t storedType; // sensor type in the validation records
    Coding coding;
    const char* about;
    std::span<const Quantity> quantities;
    std::size_t
        numExtents; // how many of the quantities, from the first, have extents in summary and segments
    const Access* access;
};

std::span<const Family> families();

// The row of a sensor's name, in any case; null when there is none.
const Family* findFamily(std::string_view name);

const char* codingText(Coding coding);

// A sensor's data file is named after it; the names of its side files end so.
inline constexpr const char* segmentsSuffix = "LineSegments";
inline constexpr const char* indexSuffix = "TmIdx";
inline constexpr const char* setSuffixes[] = {"", segmentsSuffix, indexSuffix};

// The files of the line that belong to none of these families' sets, sorted.
std::vector<std::string> otherFiles(const LinePath& line, std::span<const Family* const> known);

// Whether the data file of the sensor is in the line.
bool isPresent(const LinePath& line, const Family& family);

// An open sensor of a line. Every failure is a ToolError that names the file and the library's code.
class OpenSet {
public:
    // token: "query", "update" or "create".
    OpenSet(const LinePath& line, const Family& family, const wchar_t* token);
    ~OpenSet();
    OpenSet(const OpenSet&) = delete;
    OpenSet& operator=(const OpenSet&) = delete;

    std::uint32_t version() const { return set_->version; }
    Summary summary();
    Segment segment(std::uint32_t number);
    void read(std::uint32_t number, Record& record);

    void begin();
    void beginSegment(const std::string& source);
    void write(const Record& record);
    void endSegment();
    // Ends the writing. Only after it has returned are the files whole.
    void finish();

private:
    void test(int code, const char* step, std::uint32_t record = 0);

    const Family& family_;
    std::string file_;
    _TELD_Sensor* set_;
    std::uint32_t written_ = 0;
};

// Readies the library once; a ToolError when it cannot.
void startLibrary();

} // namespace skar::tool
