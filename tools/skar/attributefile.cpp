#include "attributefile.h"

#include "codetext.h"
#include "commands/command.h"
#include "families.h"
#include "openset.h"

#include <boost/endian/conversion.hpp>
#include <fmt/compile.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <set>

namespace skar::tool {

namespace fs = std::filesystem;
using SKARIOAttributes::dataValue;
using SKARIOAttributes::typeRow;
using SKARIOAttributes::valueKind;

namespace {

struct KnownFile {
    std::string_view name;
    const char* about;
};
constexpr KnownFile knownFiles[] = {
    {"RawDataIndex", "where each record of a raw file lies"},
    {"RMS", "error figures of position and motion"},
    {"TrueHeaveRMS", "error figures of the delayed heave"},
    {"TideError", "error of the tide"},
};

constexpr std::uint32_t token = 0x54454C44; // "TELD"
constexpr std::uint32_t typeData = 1;
constexpr std::uint32_t typeIndex = 3;
using Head = std::array<std::uint32_t, 4>;

std::optional<Head> headOf(const fs::path& path) {
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored)) return std::nullopt;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    unsigned char bytes[sizeof(Head)];
    if (!file || std::fread(bytes, sizeof bytes, 1, file.get()) != 1) return std::nullopt;
    Head head;
    for (std::size_t i = 0; i < head.size(); ++i)
        head[i] = boost::endian::load_big_u32(bytes + 4 * i);
    return head;
}

// The data files of the other sensors have segments beside them, and an index that repeats their sensor type.
bool describesItself(const LinePath& line, const std::string& name) {
    const auto data = headOf(line.native / name);
    if (!data || (*data)[0] != token || (*data)[2] != typeData) return false;
    std::error_code ignored;
    if (fs::exists(line.native / (name + segmentsSuffix), ignored)) return false;
    const auto index = headOf(line.native / (name + indexSuffix));
    const bool ofOthers = index && (*index)[1] == (*data)[1] && (*index)[2] == typeIndex;
    return index && (*index)[0] == token && !ofOthers;
}

const KnownFile* knownFile(std::string_view name) {
    const auto row = std::ranges::find(knownFiles, name, &KnownFile::name);
    return row != std::end(knownFiles) ? &*row : nullptr;
}

// An element of a value where it lies in memory, as the C++ type that it is of.
template <class Take>
void withElement(const typeRow& row, const void* at, Take take) {
    const auto as = [&](auto element) {
        std::memcpy(&element, at, sizeof element);
        take(element);
    };
    switch (row.kind) {
    case valueKind::unsignedInteger:
    case valueKind::text:
        return row.width == 1   ? as(std::uint8_t{})
               : row.width == 2 ? as(std::uint16_t{})
               : row.width == 4 ? as(std::uint32_t{})
                                : as(std::uint64_t{});
    case valueKind::signedInteger:
        return row.width == 2 ? as(std::int16_t{}) : row.width == 4 ? as(std::int32_t{}) : as(std::int64_t{});
    case valueKind::real:
        return row.width == 4 ? as(float{}) : as(double{});
    case valueKind::boolean: {
        std::uint8_t byte = 0;
        std::memcpy(&byte, at, 1);
        take(byte != 0);
    }
    }
}

// none: for what is no number; an infinity is one where that is empty.
void appendNumber(fmt::memory_buffer& out, auto number, const char* none) {
    if constexpr (std::is_floating_point_v<decltype(number)>) {
        if (std::isnan(number) || (*none != '\0' && !std::isfinite(number)))
            return fmt::format_to(std::back_inserter(out), "{}", none), void();
    }
    fmt::format_to(std::back_inserter(out), FMT_COMPILE("{}"), number);
}

std::string textOf(const AttributeValue& value) {
    const char* text = value.value.string;
    return text != nullptr ? std::string(text, strnlen(text, static_cast<std::size_t>(value.count))) : "";
}

template <class Append>
void appendElements(const typeRow& row, const AttributeValue& value, const char* between,
                    fmt::memory_buffer& out, Append append) {
    for (int i = 0; i < value.count; ++i) {
        if (i > 0) fmt::format_to(std::back_inserter(out), "{}", between);
        withElement(row, value.value.byteArray + static_cast<std::size_t>(i) * row.width, append);
    }
}

} // namespace

std::vector<std::string> attributeFiles(const LinePath& line) {
    std::set<std::string> ofFamilies;
    for (const Family& family : families()) {
        for (std::string& name : family.kind->files(family))
            ofFamilies.insert(std::move(name));
    }
    std::set<std::string> found;
    std::error_code error;
    for (auto entry = fs::directory_iterator(line.native, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::string_view stem = name;
        if (stem.ends_with(indexSuffix)) stem.remove_suffix(std::string_view(indexSuffix).size());
        if (knownFile(stem) != nullptr)
            found.emplace(stem);
        else if (!ofFamilies.contains(name) && describesItself(line, name))
            found.insert(name);
    }
    if (error) throw ToolError(fmt::format("{}: {}", printable(line.native.string()), error.message()));
    return {found.begin(), found.end()};
}

std::optional<std::string> findAttributeFile(const LinePath& line, std::string_view name) {
    for (const std::string& file : attributeFiles(line)) {
        if (sameName(file, name)) return file;
    }
    return std::nullopt;
}

const char* aboutAttributeFile(std::string_view name) {
    // A line has an index for each of its raw files, the further ones numbered.
    const std::size_t end = name.find_last_not_of("0123456789");
    const KnownFile* row = knownFile(name.substr(0, end == std::string_view::npos ? 0 : end + 1));
    return row != nullptr ? row->about : "";
}

void leaveOutAttributeFiles(std::vector<std::string>& names, const std::vector<std::string>& files) {
    std::erase_if(names, [&](const std::string& name) {
        return std::ranges::any_of(
            files, [&](const std::string& file) { return name == file || name == file + indexSuffix; });
    });
}

const char* AttributeColumn::typeName() const {
    const typeRow* row = SKARIOAttributes::rowOf(type);
    return row != nullptr ? row->name : "unknown";
}

void AttributeValue::appendJson(fmt::memory_buffer& out) const {
    const typeRow* row = SKARIOAttributes::rowOf(type);
    const auto number = [&](auto element) { appendNumber(out, element, "null"); };
    if (row == nullptr)
        fmt::format_to(std::back_inserter(out), "null");
    else if (row->kind == valueKind::text)
        fmt::format_to(
            std::back_inserter(out), "{}",
            nlohmann::json(textOf(*this)).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    else if (!row->isVariable())
        withElement(*row, &value, number);
    else {
        out.push_back('[');
        appendElements(*row, *this, ",", out, number);
        out.push_back(']');
    }
}

void AttributeValue::appendCsv(fmt::memory_buffer& out) const {
    const typeRow* row = SKARIOAttributes::rowOf(type);
    const auto number = [&](auto element) { appendNumber(out, element, ""); };
    if (row == nullptr) return;
    if (row->kind == valueKind::text) {
        out.push_back('"');
        for (const char c : printable(textOf(*this))) {
            if (c == '"') out.push_back(c);
            out.push_back(c);
        }
        out.push_back('"');
    } else if (!row->isVariable()) {
        withElement(*row, &value, number);
    } else {
        appendElements(*row, *this, " ", out, number);
    }
}

std::string AttributeValue::text() const {
    fmt::memory_buffer out;
    appendCsv(out);
    return fmt::to_string(out);
}

std::optional<double> AttributeValue::number() const {
    const typeRow* row = SKARIOAttributes::rowOf(type);
    if (row == nullptr || row->isVariable() || row->kind == valueKind::boolean) return std::nullopt;
    double result = 0.0;
    withElement(*row, &value, [&](auto element) { result = static_cast<double>(element); });
    return result;
}

namespace {

std::vector<AttributeColumn> columnsOf(const std::vector<MORVAUString>& names,
                                       const std::vector<SKARIOAttributes::dataType>& types) {
    std::vector<AttributeColumn> columns;
    for (std::size_t i = 0; i < names.size(); ++i)
        columns.push_back({narrowText(names[i].getTerminatedBuffer()), types[i]});
    return columns;
}

} // namespace

OpenAttributes::OpenAttributes(const LinePath& line, const std::string& name)
    : path_((line.native / name).string()) {
    startLibrary();
    SKARSetLastError(0); // an open that failed before is not this one's
    long code = 0;
    file_.emplace(MORVAUString(line.store.c_str()), MORVAUString(wideText(name).c_str()), MORVAUString(L""),
                  0, SKARDataFile::query, 0, code, true);
    if (code != 0)
        throw ToolError(
            fmt::format("{}: cannot be opened: {}", printable(path_), codeText(static_cast<int>(code))));
    if (const auto head = headOf(path_)) sensorNumber_ = (*head)[1];
    std::vector<MORVAUString> names;
    std::vector<SKARIOAttributes::dataType> types;
    summaryCounts_.resize(file_->GetNumberOfSummaryAttributes());
    file_->GetAllSummaryAttributes(names, types, summaryValues_, summaryCounts_.data());
    summaryColumns_ = columnsOf(names, types);
    file_->GetAttributesName(names, types);
    columns_ = columnsOf(names, types);
}

OpenAttributes::~OpenAttributes() {
    freeBlocks();
}

void OpenAttributes::freeBlocks() {
    for (std::size_t i = 0; i < values_.size() && i < columns_.size(); ++i) {
        const typeRow* row = SKARIOAttributes::rowOf(columns_[i].type);
        if (row != nullptr && row->isVariable()) delete[] values_[i].byteArray;
    }
    values_.clear();
}

std::string OpenAttributes::source() const {
    MORVAUString name;
    file_->GetSourceFileName(name);
    return narrowText(name.getTerminatedBuffer());
}

AttributeValue OpenAttributes::summaryValue(std::size_t column) const {
    return {summaryColumns_[column].type, summaryValues_[column], summaryCounts_[column]};
}

void OpenAttributes::read(std::uint32_t number, double& time, std::uint32_t& status) {
    freeBlocks();
    const std::uint32_t code =
        file_->ReadRecord(time, status, values_, counts_, static_cast<std::int32_t>(number));
    if (code != 0) {
        throw ToolError(fmt::format("{}: reading record {} failed: {}", printable(path_), number,
                                    codeText(static_cast<int>(code))));
    }
}

AttributeValue OpenAttributes::value(std::size_t column) const {
    return {columns_[column].type, values_[column], counts_[column]};
}

} // namespace skar::tool
