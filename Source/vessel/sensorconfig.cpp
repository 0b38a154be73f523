#include "vessel/fields.h"

#include <skar/codes.h>
#include <skar/time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

using skar::vessel::Field;

struct SKARVesselSensorConfig::Table {
    static constexpr Field<SKARVesselSensorConfig> fields[] = {
        {"Comment", "value", &SKARVesselSensorConfig::comment},
        {"Authorization", "value", &SKARVesselSensorConfig::authorization},
        {"Latency", "value", &SKARVesselSensorConfig::latency},
    };
};

namespace {

constexpr std::size_t timeTextLength = 17;

// Empty for a time without a date in the calendar.
std::string timeText(double seconds) {
    std::int32_t year = -1;
    std::int32_t day = -1;
    double ofDay = -1;
    TmUTCs80toYDS(seconds, &year, &day, &ofDay);
    if (year < 0 || ofDay < 0) return {};
    // The first instant of 1981 comes as a day behind the last of 1980, which no reader takes.
    if (const std::int32_t days = TmYMDtoJD(year, 12, 31); day > days) {
        day -= days;
        ++year;
    }
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
    double fraction = 0;
    TmStoHMSX(ofDay, &hour, &minute, &second, &fraction);
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%03d %02d:%02d:%02d", year, day, hour, minute, second);
    return text.data();
}

struct TimePart {
    std::size_t start;
    std::uint32_t least;
    std::uint32_t most;
    const char* name;
    const char* label;
};

constexpr TimePart timeParts[] = {
    {0, 1900, 3000, "year", "Year"}, {5, 0, 366, "julian day", "JDay"}, {9, 0, 23, "hour", "hour"},
    {12, 0, 59, "minute", "Minute"}, {15, 0, 59, "seconds", "Seconds"},
};

struct TimeSign {
    std::size_t place;
    char sign;
};

constexpr TimeSign timeSigns[] = {{4, '-'}, {8, ' '}, {11, ':'}, {14, ':'}};

} // namespace

SKARVesselSensorConfig::SKARVesselSensorConfig(const wchar_t* kind, double time)
    : timeStamp(time), name(kind == nullptr ? L"" : kind) {}

SKARVesselSensorConfig::~SKARVesselSensorConfig() = default;

long SKARVesselSensorConfig::setComment(const wchar_t* text) {
    comment = skar::vessel::copyOf(text);
    return 0;
}

long SKARVesselSensorConfig::setAuthorization(const wchar_t* text) {
    authorization = skar::vessel::copyOf(text);
    return 0;
}

long SKARVesselSensorConfig::setLatency(double seconds) {
    latency = seconds;
    return 0;
}

void SKARVesselSensorConfig::setTimeStamp(double time) noexcept {
    textStands = textStands && time == timeStamp;
    timeStamp = time;
}

long SKARVesselSensorConfig::decodeTime(const char* text, double& seconds) {
    const std::string_view given = text == nullptr ? std::string_view() : text;
    const char* shown = text == nullptr ? "NULL" : text;
    if (given.size() < timeTextLength) {
        std::printf("decodeTime(): Invalid format.  Supplied string (%s) is less than 17 characters.\n",
                    shown);
        return skar::codes::vesselTimeText;
    }
    for (const TimeSign& each : timeSigns) {
        if (given[each.place] != each.sign) {
            std::printf(
                "decodeTime(): Invalid format.  Supplied string (%s) does not have a '%c' at position "
                "%zu.\n",
                shown, each.sign, each.place);
            return skar::codes::vesselTimeText;
        }
    }
    const std::string_view used = given.substr(0, timeTextLength);
    std::array<std::int32_t, std::size(timeParts)> values{};
    for (std::size_t part = 0; part < values.size(); ++part) {
        const TimePart& limits = timeParts[part];
        const std::string_view digits = used.substr(limits.start);
        values[part] = skar::xml::integerOf(digits);
        // A negative number counts as a very large one.
        const auto number = static_cast<std::uint32_t>(values[part]);
        if (number >= limits.least && number <= limits.most) continue;
        std::printf("decodeTime(): Invalid %s.  Supplied string (%s).  %s = %d", limits.name, shown,
                    limits.label, values[part]);
        if (part + 1 == values.size()) std::printf(", SecondStr = %s", std::string(digits).c_str());
        std::printf("\n");
        return skar::codes::vesselTimeText;
    }
    const auto [year, day, hour, minute, second] = values;
    seconds = TmYDStoUTCs80(year, day, TmHMSXtoS(hour, minute, second, 0.0));
    return 0;
}

wchar_t* SKARVesselSensorConfig::readStringAttributeFromChild(xmlNode* parent, const wchar_t* child,
                                                              const wchar_t* attribute) {
    if (child == nullptr || attribute == nullptr) return nullptr;
    const xmlNode* place = skar::xml::child(parent, skar::xml::utf8Of(child).c_str());
    const skar::vessel::Text text = skar::vessel::textIn(place, skar::xml::utf8Of(attribute).c_str());
    if (!text) return nullptr;
    auto* copy = new wchar_t[text->size() + 1];
    std::copy_n(text->c_str(), text->size() + 1, copy);
    return copy;
}

long SKARVesselSensorConfig::load(xmlNode* entry) {
    const std::optional<std::string> text = skar::xml::attribute(entry, "value");
    if (!text) return -1;
    if (const long result = decodeTime(text->c_str(), timeStamp); result != 0) return result;
    latency = 0;
    skar::vessel::loadFields(*this, entry, Table::fields);
    element = entry;
    textStands = true;
    return 0;
}

long SKARVesselSensorConfig::store(xmlNode* parentList) {
    const std::string text = timeText(timeStamp);
    if (parentList == nullptr || (text.empty() && !textStands)) return -1;
    if (element != nullptr && element->doc != parentList->doc) {
        // The vessel has a new document; what the old one holds beyond the library's knowledge comes along.
        element = xmlDocCopyNode(element, parentList->doc, 1);
        if (element == nullptr || xmlAddChild(parentList, element) == nullptr) {
            xmlFreeNode(element);
            element = nullptr;
            return -1;
        }
    }
    if (element == nullptr) {
        textStands = false;
        element = skar::xml::newChild(parentList, "TimeStamp");
        if (element == nullptr) return -1;
    }
    if (!textStands) skar::xml::setAttribute(element, "value", text);
    textStands = true;
    skar::vessel::storeFields(*this, element, Table::fields);
    return 0;
}
