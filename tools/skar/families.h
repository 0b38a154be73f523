#pragma once

#include "linepath.h"

#include <array>
#include <cstdint>
#include <memory>
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
    bool isText = false;

    bool isAngle() const { return std::string_view(unit) == "rad"; }
};

struct Extent {
    double min = 0.0;
    double max = 0.0;
};

inline constexpr std::size_t maxExtents = 3;

// A number of the summary that is neither count nor extent.
struct Setting {
    const char* name;
    std::uint32_t value;
};

struct Summary {
    std::uint32_t segments = 0;
    std::uint32_t records = 0;
    std::uint64_t items = 0; // over all records
    std::uint32_t status = 0;
    Extent time;
    std::array<Extent, maxExtents> extents{};
    std::vector<Setting> settings;
};

struct Segment {
    std::string source;
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::uint32_t status = 0;
    Extent time;
    std::array<Extent, maxExtents> extents{};

    bool hasRecords() const { return begin >= 1 && begin <= end; }
};

inline constexpr std::size_t maxQuantities = 26;

// A record, or an item of one. A value that the file does not have is no number.
struct Record {
    double time = 0.0;
    std::array<double, maxQuantities> values{};
    std::uint32_t status = 0;
    std::vector<std::string> texts = {}; // at the places of the quantities that are texts
    // Of a record that has items.
    std::uint32_t firstItem = 1;
    std::uint32_t numItems = 0;
};

struct Family;
class Progress;
namespace check {
class Report;
struct SetResult;
struct Formats;
} // namespace check

// A family's data of one line, open for reading. Every failure is a ToolError that names file and cause.
class Reader {
public:
    virtual ~Reader() = default;
    virtual std::uint32_t version() const = 0;
    virtual Summary summary() = 0;
    virtual Segment segment(std::uint32_t number) = 0;
    // Records count from 1.
    virtual void read(std::uint32_t number, Record& record) = 0;
    // The next item of the record that was read last; its items come in order.
    virtual void readItem(Record& item) = 0;
};

// What the commands do with a family, whatever keeps its data. A kind serves many families.
struct Kind {
    // Names of the family's files in a line. It is present when the first one is there.
    std::vector<std::string> (*files)(const Family& family);
    std::unique_ptr<Reader> (*open)(const LinePath& line, const Family& family);
    // Null where nothing checks the files; they are listed as not checked.
    check::SetResult (*check)(const LinePath& line, const Family& family, check::Report& report,
                              Progress& progress);
};

// What the items of a record are: the beams of a ping.
struct Items {
    const char* record = "record";
    const char* item = nullptr;
    std::span<const Quantity> quantities = {};
    bool counted = true; // by the summary
};

// How values are coded: one coding for a series, else by quantity.
enum class Coding { millis, fine, byQuantity };

// A sensor of the store in a group that shares its functions.
struct Access;

// What a line can hold and the commands know. One more family is one more row of the table.
struct Family {
    const char* name; // of the data file and on the command line
    const char* about;
    const Kind* kind;
    std::span<const Quantity> quantities; // of a record
    Items items;
    std::span<const Quantity> extents; // in the summary
    std::size_t numSegmentExtents;     // how many of them, from the first, a segment has

    // Of the sensors of the store.
    std::uint32_t id = 0;
    std::uint32_t storedType = 0; // sensor type in the validation records
    Coding coding = Coding::byQuantity;
    const Access* access = nullptr;
    const check::Formats* formats = nullptr; // of their files
    const char* companion = nullptr;         // a further file of the set

    bool hasItems() const { return items.item != nullptr; }
};

std::span<const Family> families();

// Whether two names differ in case only.
bool sameName(std::string_view a, std::string_view b);

// The row of a sensor's name, in any case; null when there is none.
const Family* findFamily(std::string_view name);

const char* codingText(Coding coding);

// The files of the line that belong to none of these families, sorted.
std::vector<std::string> otherFiles(const LinePath& line, std::span<const Family* const> known);

// Whether the data of the family is in the line.
bool isPresent(const LinePath& line, const Family& family);

} // namespace skar::tool
