#include "xml/nodes.h"
#include "xml/numbertext.h"

#include <skar/codes.h>
#include <skar/paths.h>
#include <skar/smoothing.h>
#include <skar/xml.h>

#include <libxml/xmlerror.h>

#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <memory>
#include <string>

namespace codes = skar::codes;
namespace xml = skar::xml;

namespace {

constexpr const char* rootName = "SKARSmoothingCoefficients";
constexpr const char* sensorElement = "SKAR_SENSOR";
constexpr const wchar_t* fileOfDirectory = L"smoothCoefficients";
constexpr double fileVersion = 1.0;

using Record = SmoothingCoefficients;

// An element of a sensor, in the order of the file: the member it holds, and what saving does with it.
struct Field {
    const char* element;
    int Record::*whole;
    double Record::*real;
    // Whether a record that the file holds already takes the new value.
    bool merged;
};
// A changed lower threshold or break of interpolation of a sensor that the file knows is not taken over:
// programs that share the file rely on it.
constexpr Field fields[] = {
    {"BOX_LENGTH", &Record::boxLength, nullptr, true},
    {"BOX_LEN_IS_TIME", &Record::boxLenIsTime, nullptr, true},
    {"UPPER_THRESHOLD", nullptr, &Record::upperThreshold, true},
    {"LOWER_THRESHOLD", nullptr, &Record::lowerThreshold, false},
    {"FILTER_ENABLED", &Record::filterEnabled, nullptr, true},
    {"SMOOTH_ENABLED", &Record::smoothEnabled, nullptr, true},
    {"FILTER_BREAK_INTERP", &Record::filterBreakInterp, nullptr, false},
    {"TYPE", &Record::type, nullptr, true},
};

struct RecordDeleter {
    void operator()(Record* record) const { FreeSmoothingCoefficients(record); }
};
using List = std::unique_ptr<Record, RecordDeleter>;

// A zeroed record of that name; null if the name does not fit.
Record* newRecord(const wchar_t* name) {
    if (std::wcslen(name) >= std::size(Record().sensorName)) return nullptr;
    auto* record = static_cast<Record*>(std::calloc(1, sizeof(Record)));
    if (record != nullptr) std::wcscpy(record->sensorName, name);
    return record;
}

template <class Node>
auto* findRecord(Node* list, const wchar_t* name) {
    while (list != nullptr && std::wcscmp(list->sensorName, name) != 0)
        list = list->next;
    return list;
}

void readFields(const xmlNode* sensor, Record& record) {
    for (const Field& field : fields) {
        const auto text = xml::attribute(xml::child(sensor, field.element), "value");
        if (!text) continue;
        if (field.whole != nullptr) {
            record.*field.whole = xml::integerOf(*text);
        } else {
            record.*field.real = xml::numberOf(*text);
        }
    }
}

List readRecords(const wchar_t* fileName, long& status) {
    status = codes::failed;
    xmlResetLastError();
    const xml::Document document = xml::parseFile(fileName);
    if (document == nullptr) {
        const xmlError* error = xmlGetLastError();
        if (error != nullptr && error->code != 0) status = error->code;
        return nullptr;
    }
    const xmlNode* root = xmlDocGetRootElement(document.get());
    if (root == nullptr || std::string(reinterpret_cast<const char*>(root->name)) != rootName ||
        xml::numberOf(xml::attribute(root, "Version").value_or("")) != fileVersion)
        return nullptr;
    status = codes::success;
    List list;
    Record* last = nullptr;
    for (const xmlNode* sensor = xml::firstElement(root); sensor != nullptr;
         sensor = xml::nextElement(sensor)) {
        if (!xml::hasAttribute(sensor, "value")) continue;
        Record* record = newRecord(xml::wideOf(xml::attribute(sensor, "value").value_or("")).c_str());
        if (record == nullptr) continue;
        readFields(sensor, *record);
        if (last == nullptr) {
            list.reset(record);
        } else {
            last->next = record;
        }
        last = record;
    }
    return list;
}

// Numbers as the file's decimal patterns print them, the same in every locale.
class Pattern {
public:
    explicit Pattern(const char16_t* pattern)
        : format(pattern, new icu::DecimalFormatSymbols(icu::Locale::getRoot(), status), status) {}
    template <class Number>
    std::string text(Number number) const {
        icu::UnicodeString units;
        std::string utf8;
        format.format(number, units).toUTF8String(utf8);
        return utf8;
    }

private:
    UErrorCode status = U_ZERO_ERROR;
    icu::DecimalFormat format;
};

long writeRecords(const wchar_t* fileName, const Record* list) {
    const Pattern wholePattern(u"#########");
    const Pattern realPattern(u"#######0.00");
    MORVAXMLDocument document;
    document.newDocument(MORVAUString(rootName));
    xml::setAttribute(document.getRoot(), "Version", Pattern(u"#0.00").text(fileVersion));
    for (; list != nullptr; list = list->next) {
        xmlNode* sensor = xml::newChild(document.getRoot(), sensorElement);
        if (sensor == nullptr) return codes::failed;
        xml::setAttribute(sensor, "value", xml::utf8Of(list->sensorName));
        for (const Field& field : fields) {
            xmlNode* element = xml::newChild(sensor, field.element);
            if (element == nullptr) return codes::failed;
            xml::setAttribute(element, "value",
                              field.whole != nullptr ? wholePattern.text(list->*field.whole)
                                                     : realPattern.text(list->*field.real));
        }
    }
    return xml::saveFile(document.getDocument(), fileName, "UTF-8", true);
}

std::wstring fileIn(const wchar_t* directory) {
    MORVAUString path(directory);
    SKARIOUtils::appendPath(path, fileOfDirectory);
    return path.toWide();
}

void put(long* status, long value) {
    if (status != nullptr) *status = value;
}

bool isFlag(int value) {
    return value == 0 || value == 1;
}

} // namespace

SmoothingCoefficients* AllocSmoothingCoefficientNode(const wchar_t* name, int boxLength, int boxLenIsTime,
                                                     double upperThreshold, double lowerThreshold,
                                                     int filterEnabled, int smoothEnabled, int type,
                                                     int filterBreakInterp) {
    const bool withinLimits = name != nullptr && boxLength >= 0 && isFlag(boxLenIsTime) &&
                              upperThreshold >= 0 && lowerThreshold >= 0 && isFlag(filterEnabled) &&
                              isFlag(smoothEnabled) && isFlag(filterBreakInterp);
    Record* record = withinLimits ? newRecord(name) : nullptr;
    if (record == nullptr) return nullptr;
    record->boxLength = boxLength;
    record->boxLenIsTime = boxLenIsTime;
    record->upperThreshold = upperThreshold;
    record->lowerThreshold = lowerThreshold;
    record->filterEnabled = filterEnabled;
    record->filterBreakInterp = filterBreakInterp;
    record->smoothEnabled = smoothEnabled;
    record->type = type;
    return record;
}

void FreeSmoothingCoefficients(SmoothingCoefficients* list) {
    while (list != nullptr) {
        Record* next = list->next;
        std::free(list);
        list = next;
    }
}

SmoothingCoefficients* ReadSmoothingCoefficentFile(const wchar_t* fileName, long* status) {
    long result = codes::smoothingNoFile;
    List list;
    if (fileName != nullptr) list = readRecords(fileName, result);
    put(status, result);
    return list.release();
}

SmoothingCoefficients* GetAllSmoothingCoefficents(const wchar_t* directory, long* status) {
    return ReadSmoothingCoefficentFile(directory == nullptr ? nullptr : fileIn(directory).c_str(), status);
}

SmoothingCoefficients* GetSmoothingCoefficent(const wchar_t* directory, const wchar_t* sensorName,
                                              long* status) {
    put(status, codes::smoothingNoFile);
    if (directory == nullptr) return nullptr;
    put(status, codes::smoothingNoSensor);
    if (sensorName == nullptr) return nullptr;
    put(status, codes::smoothingNoFile);
    if (!SKARIOUtils::sensorExists(MORVAUString(directory), MORVAUString(fileOfDirectory))) return nullptr;
    const List list(GetAllSmoothingCoefficents(directory, status));
    const Record* found = findRecord(list.get(), sensorName);
    if (found == nullptr) return nullptr;
    Record* record = newRecord(found->sensorName);
    if (record == nullptr) return nullptr;
    *record = *found;
    record->next = record->previous = nullptr;
    return record;
}

long SaveSmoothingCoefficentsFile(const wchar_t* fileName, const SmoothingCoefficients* list) {
    if (list == nullptr) return codes::success;
    if (fileName == nullptr) return codes::smoothingNoFile;
    long ignored = 0;
    List merged = readRecords(fileName, ignored);
    for (const Record* given = list; given != nullptr; given = given->next) {
        if (Record* known = findRecord(merged.get(), given->sensorName)) {
            for (const Field& field : fields) {
                if (!field.merged) continue;
                if (field.whole != nullptr) {
                    known->*field.whole = given->*field.whole;
                } else {
                    known->*field.real = given->*field.real;
                }
            }
            continue;
        }
        Record* added = newRecord(given->sensorName);
        if (added == nullptr) return codes::failed;
        *added = *given;
        added->next = merged.release();
        added->previous = nullptr;
        merged.reset(added);
    }
    return writeRecords(fileName, merged.get());
}

long SaveSmoothingCoefficents(const wchar_t* directory, const SmoothingCoefficients* list) {
    if (directory == nullptr) return list == nullptr ? codes::success : codes::smoothingNoFile;
    return SaveSmoothingCoefficentsFile(fileIn(directory).c_str(), list);
}
