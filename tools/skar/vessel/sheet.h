#pragma once

#include <skar/vesselsensors.h>

#include <cstdint>
#include <set>
#include <string>
#include <variant>
#include <vector>

// The entries of a vessel as rows with headings and units.
namespace skar::tool::vessel {

// Nothing, a number, a whole number, a flag, a text.
using Value = std::variant<std::monostate, double, std::int64_t, bool, std::string>;

struct Cell {
    const char* key;     // in JSON
    const char* heading; // of its column, with the unit
    Value value;
};
using Cells = std::vector<Cell>;

// Rows of an entry beyond its own: transducers, the rows of a table.
struct Part {
    const char* key;
    const char* title;
    bool many; // any number of rows, not one
    std::vector<Cells> rows;
};

struct Sheet {
    Cells cells;
    std::vector<Part> parts;
};

// `numbers` are those that transducers may have beyond the first ones.
Sheet sheetOf(const SKARVesselSensorConfig& entry, const std::set<std::uint32_t>& numbers);

std::string textOf(const Value& value);

} // namespace skar::tool::vessel
