#pragma once

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>
#include <vector>

namespace skar::tool {

// Object keys stay in the order in which a command sets them.
using Json = nlohmann::ordered_json;

// One line on standard error, under the command's name.
void printError(const std::string& text);
void printJson(const Json& value);

enum class Align { left, right };

// A table for people: columns as wide as their widest cell, two blanks apart.
class Table {
public:
    struct Column {
        std::string heading;
        Align align = Align::left;
    };
    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}
    // Missing cells at the end of a row are empty.
    void add(std::vector<std::string> cells);
    bool empty() const { return rows_.empty(); }
    void print(std::FILE* stream = stdout) const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace skar::tool
