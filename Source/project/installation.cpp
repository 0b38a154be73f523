#include "xml/nodes.h"
#include "xml/numbertext.h"

#include <skar/errors.h>
#include <skar/installation.h>
#include <skar/xml.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cwchar>
#include <limits>
#include <string>
#include <string_view>

namespace xml = skar::xml;
using SKAR::IO::InstallationParameters;
using SKAR::Temporary::String;

namespace {

constexpr const char* rootName = "InstallationParameters";
constexpr const wchar_t* fileOfDirectory = L"\\InstallationParameter.xml";
constexpr int transducers = 6;
constexpr std::array<const char*, 6> offsetNames = {"X", "Y", "Z", "Roll", "Pitch", "Heading"};

std::string trimmed(const std::string& text) {
    constexpr const char* blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

void put(double* target, double value) {
    if (target != nullptr) *target = value;
}

int wholeOf(double value) {
    using Limits = std::numeric_limits<int>;
    return std::isnan(value) ? 0 : static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

SKARIOUtils::IHOData readAccuracies(const CString& file, long& status, const char* table,
                                    const std::array<const char*, 4>& groups) {
    using SKARIOUtils::IHOAccuracy;
    struct Column {
        const char* element;
        double IHOAccuracy::*value;
    };
    static constexpr Column columns[] = {{"a", &IHOAccuracy::a},
                                         {"b", &IHOAccuracy::b},
                                         {"Horizontal", &IHOAccuracy::horizontal},
                                         {"PercentageOfDepth", &IHOAccuracy::percentageOfDepth}};
    SKARIOUtils::IHOData data;
    status = -1;
    const xml::Document document = xml::parseFile(file.GetString());
    const xmlNode* root = document == nullptr ? nullptr : xmlDocGetRootElement(document.get());
    const xmlNode* standards = root == nullptr ? nullptr : xml::child(root, table);
    if (standards == nullptr) return data;
    status = 0;
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const xmlNode* group = xml::child(standards, groups[i]);
        for (const Column& column : columns) {
            const xmlNode* element = group == nullptr ? nullptr : xml::child(group, column.element);
            if (const auto text = xml::attribute(element, "value"))
                data.standards[i].*column.value = xml::numberOf(*text);
        }
    }
    return data;
}

} // namespace

namespace SKAR::IO {

InstallationParameters::InstallationParameters() = default;
InstallationParameters::InstallationParameters(const InstallationParameters&) = default;
InstallationParameters& InstallationParameters::operator=(const InstallationParameters&) = default;
InstallationParameters::~InstallationParameters() = default;

bool InstallationParameters::open(const String& directory) {
    values.clear();
    try {
        MORVAXMLDocument document;
        document.openDocument(directory + MORVAUString(fileOfDirectory));
        const xmlNode* root = document.getRoot();
        if (root == nullptr || std::string_view(reinterpret_cast<const char*>(root->name)) != rootName)
            return false;
        std::vector<xmlNodePtr> nodes;
        document.xPathSearch(MORVAUString("//InstallationParameters/*"), nodes);
        for (const xmlNode* node : nodes) {
            if (!xml::hasAttribute(node, "value")) continue;
            const std::string value = trimmed(xml::attribute(node, "value").value_or(""));
            values[String(trimmed(reinterpret_cast<const char*>(node->name)))] = xml::numberOf(value);
        }
        return true;
    } catch (const Morva::Exception::Error&) {
        return false;
    }
}

double InstallationParameters::get(const String& name, double defaultValue) const {
    const auto found = values.find(name);
    return found == values.end() ? defaultValue : found->second;
}

} // namespace SKAR::IO

void getInstallationParameterFileName(const wchar_t* directory, wchar_t* out) {
    if (directory == nullptr || out == nullptr) return;
    std::wcscpy(out, directory);
    std::wcscat(out, fileOfDirectory);
}

bool ReadAntPositionFromXMLFile(const wchar_t* directory, double* x1, double* y1, double* z1, double* x2,
                                double* y2, double* z2, double* x3, double* y3, double* z3,
                                int* positioningSystem) {
    InstallationParameters parameters;
    if (!parameters.open(String(directory))) return false;
    double* const outputs[3][3] = {{x1, y1, z1}, {x2, y2, z2}, {x3, y3, z3}};
    for (int antenna = 0; antenna < 3; ++antenna) {
        const std::string name = "Position" + std::to_string(antenna + 1);
        for (int axis = 0; axis < 3; ++axis)
            put(outputs[antenna][axis], parameters.get(String(name + "XYZ"[axis]), 0.0));
    }
    if (positioningSystem != nullptr)
        *positioningSystem = wholeOf(parameters.get(String("PositioningSystem"), 1.0));
    return true;
}

double getWaterlineFromXML(const wchar_t* directory) {
    InstallationParameters parameters;
    parameters.open(String(directory));
    return parameters.get(String("Waterline"), DBL_MAX);
}

bool ReadTransducerOffsetsFromXMLFile(const wchar_t* directory, std::vector<std::vector<double>>& offsets) {
    InstallationParameters parameters;
    if (!parameters.open(String(directory))) return false;
    offsets.clear();
    for (int transducer = 1; transducer <= transducers; ++transducer) {
        const std::string name = "Transducer" + std::to_string(transducer);
        std::vector<double> record;
        for (const char* offset : offsetNames)
            record.push_back(parameters.get(String(name + offset), DBL_MAX));
        // Only the transducers ahead of the first incomplete one count.
        if (std::find(record.begin(), record.end(), DBL_MAX) != record.end()) break;
        offsets.push_back(std::move(record));
    }
    return true;
}

namespace SKARIOUtils {

IHOData GetS44Values(const CString& file, long& status) {
    return readAccuracies(file, status, "S44", {"SpecialOrder", "Order1a", "Order1b", "Order2"});
}

IHOData GetS57Values(const CString& file, long& status) {
    return readAccuracies(file, status, "S57", {"A1", "A2", "B", "C"});
}

} // namespace SKARIOUtils
