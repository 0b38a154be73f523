#include "commands/output.h"

#include <fmt/format.h>

#include <algorithm>

namespace skar::tool {

namespace {

// Width on the screen: bytes that continue a UTF-8 character take none.
std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

void printRow(std::FILE* stream, const std::vector<Table::Column>& columns,
              const std::vector<std::size_t>& widths, const std::vector<std::string>& cells) {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const std::string cell = i < cells.size() ? cells[i] : std::string();
        const std::string pad(widths[i] - width(cell), ' ');
        line += i == 0 ? "" : "  ";
        line += columns[i].align == Align::right ? pad + cell : cell + pad;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    fmt::print(stream, "{}\n", line);
}

} // namespace

void printError(const std::string& text) {
    std::string line = text;
    std::replace(line.begin(), line.end(), '\n', ' ');
    fmt::print(stderr, "skar: {}\n", line);
}

void printJson(const Json& value) {
    // A name from a file need not be UTF-8; it must not stop the output.
    fmt::print("{}\n", value.dump(2, ' ', false, Json::error_handler_t::replace));
}

void Table::add(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
}

void Table::print(std::FILE* stream) const {
    std::vector<std::string> headings;
    std::vector<std::size_t> widths;
    for (const Column& column : columns_) {
        headings.push_back(column.heading);
        widths.push_back(width(column.heading));
    }
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < std::min(row.size(), widths.size()); ++i)
            widths[i] = std::max(widths[i], width(row[i]));
    }
    printRow(stream, columns_, widths, headings);
    for (const auto& row : rows_)
        printRow(stream, columns_, widths, row);
}

} // namespace skar::tool
