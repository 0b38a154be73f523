#pragma once

#include "families.h"

#include <skar/skario.h>

namespace skar::tool {

// The library's functions for a group of families, in one form. All return 0 or a code of the library; those
// that a group has no use for are null.
struct Access {
    _TELD_Sensor* (*open)(const Family& family, const wchar_t* line, const wchar_t* token,
                          std::uint32_t* code);
    int (*close)(_TELD_Sensor* set);
    int (*summary)(_TELD_Sensor* set, Summary& summary);
    int (*segment)(_TELD_Sensor* set, std::uint32_t number, Segment& segment);
    int (*read)(_TELD_Sensor* set, std::uint32_t number, Record& record);
    int (*readItem)(_TELD_Sensor* set, Record& item);
    int (*begin)(_TELD_Sensor* set, std::uint32_t setting1, std::uint32_t setting2);
    int (*beginSegment)(_TELD_Sensor* set, const wchar_t* source);
    // A record, or the head of one whose items follow.
    int (*write)(_TELD_Sensor* set, const Record& record);
    int (*writeItem)(_TELD_Sensor* set, const Record& item);
    int (*endItems)(_TELD_Sensor* set);
    int (*endSegment)(_TELD_Sensor* set, std::uint32_t status);
    int (*end)(_TELD_Sensor* set, std::uint32_t status);
};

// A sensor's data file is named after it; the names of its side files end so.
inline constexpr const char* segmentsSuffix = "LineSegments";
inline constexpr const char* indexSuffix = "TmIdx";
inline constexpr const char* setSuffixes[] = {"", segmentsSuffix, indexSuffix};

// An open sensor of a line. Every failure is a ToolError that names the file and the library's code.
class OpenSet : public Reader {
public:
    // token: "query", "update" or "create".
    OpenSet(const LinePath& line, const Family& family, const wchar_t* token);
    ~OpenSet() override;
    OpenSet(const OpenSet&) = delete;
    OpenSet& operator=(const OpenSet&) = delete;

    std::uint32_t version() const override { return set_->version; }
    Summary summary() override;
    Segment segment(std::uint32_t number) override;
    void read(std::uint32_t number, Record& record) override;
    void readItem(Record& item) override;

    // The settings are those of the summary, in its order.
    void begin(std::uint32_t setting1 = 0, std::uint32_t setting2 = 0);
    void beginSegment(const std::string& source);
    // Where the family has items, numItems of them must follow, then endItems.
    void write(const Record& record);
    void writeItem(const Record& item);
    void endItems();
    void endSegment();
    // Ends the writing. Only after it has returned are the files whole.
    void finish();

private:
    template <class Call>
    void attempt(Call call, const char* step, std::uint32_t record = 0);

    const Family& family_;
    std::string file_;
    _TELD_Sensor* set_;
    std::uint32_t written_ = 0;
    std::uint32_t read_ = 0;
};

// The kind of all sensors of the store.
extern const Kind sensorKind;

// Readies the library once; a ToolError when it cannot.
void startLibrary();

} // namespace skar::tool
