#include "vessel/check.h"

#include "vessel/vocabulary.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace skar::tool::vessel {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

// A text of the file within a sentence.
std::string quoted(std::string_view text) {
    constexpr std::size_t most = 60;
    if (text.size() <= most) return fmt::format("\"{}\"", text);
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    return fmt::format("\"{}...\" ({} bytes)", text.substr(0, end), text.size());
}

bool sameName(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](unsigned char x, unsigned char y) {
        const auto lower = [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c + 0; };
        return lower(x) == lower(y);
    });
}

template <class Number>
std::optional<Number> wholeText(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return std::nullopt;
    text = text.substr(first, text.find_last_not_of(blanks) + 1 - first);
    if (text.starts_with('+') && text.size() > 1 && text[1] != '-') text.remove_prefix(1);
    Number number{};
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
    return number;
}

// The number of an attribute, not where the library reads another one than stands there.
std::optional<double> numberOf(const xmlNode* element, const char* name) {
    const std::optional<std::string> text = attributeOf(element, name);
    return text ? wholeText<double>(*text) : std::nullopt;
}

// As the library takes numbers of time texts: whatever digits come first.
std::int64_t leadingNumber(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return 0;
    text.remove_prefix(first);
    if (text.starts_with('+')) text.remove_prefix(1);
    std::int64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

struct TimePart {
    std::size_t start;
    std::size_t digits;
    std::int64_t least;
    std::int64_t most;
    const char* name;
};
constexpr std::array<TimePart, 5> timeParts{{{0, 4, 1900, 3000, "year"},
                                             {5, 3, 0, 366, "day of the year"},
                                             {9, 2, 0, 23, "hour"},
                                             {12, 2, 0, 59, "minute"},
                                             {15, 2, 0, 59, "second"}}};
constexpr std::size_t timeLength = 17;

class Checker {
public:
    Checker(check::Report& report, Checked& checked) : report_(report), checked_(checked) {}

    void root(const xmlNode* element) {
        if (!sameName(nameOf(element), vesselRoot().name)) {
            return refuse("root", element,
                          fmt::format("the root is {}, not {}", quoted(nameOf(element)), vesselRoot().name));
        }
        if (attributeOf(element, "Version").value_or("").empty())
            return refuse("version-missing", element, "the root has no Version");
        attributes(element, vesselRoot());
        texts(element);
        for (const xmlNode* each = firstElement(element); each != nullptr && checked_.refusal.empty();
             each = nextElement(each))
            topElement(each);
    }

private:
    void error(const char* code, const xmlNode* place, std::string text) {
        report_.error(code, lineOf(place), std::move(text));
    }
    void warning(const char* code, const xmlNode* place, std::string text) {
        report_.warning(code, lineOf(place), std::move(text));
    }
    // The library ends its loading here.
    void refuse(const char* code, const xmlNode* place, const std::string& text) {
        error(code, place, text + "; the file is not loaded beyond this");
        checked_.refusal = text;
        checked_.refusalLine = lineOf(place);
    }

    void topElement(const xmlNode* element) {
        for (const KnownElement& known : vesselRoot().children) {
            if (!sameName(nameOf(element), known.name)) continue;
            if (known.rule == Rule::shape && ++shapes_ > 1)
                error("repeated", element,
                      "a second VesselShape; its points are added to those of the first");
            return parts(element, known);
        }
        for (const KnownElement& known : sensorLists()) {
            if (nameOf(element) == known.name) return list(element, known);
            if (sameName(nameOf(element), known.name)) {
                return error(
                    "unknown-element", element,
                    fmt::format("{} is no kind of sensor; {} would be", quoted(nameOf(element)), known.name));
            }
        }
        warning(
            "unknown-element", element,
            fmt::format("{} is neither a part of a vessel nor a kind of sensor", quoted(nameOf(element))));
    }

    // The attributes and the children of an element that is known.
    void parts(const xmlNode* element, const KnownElement& known) {
        attributes(element, known);
        texts(element);
        if (known.hasRows()) return rows(element, known);
        std::vector<const KnownElement*> seen;
        for (const xmlNode* each = firstElement(element); each != nullptr && checked_.refusal.empty();
             each = nextElement(each)) {
            const KnownElement* part = childOf(known, each);
            if (part == nullptr) {
                warning("unknown-element", each,
                        fmt::format("{} is not known in {}", quoted(nameOf(each)), known.name));
            } else if (std::ranges::find(seen, part) != seen.end()) {
                error("repeated", each, fmt::format("a second {}; the first one counts", part->name));
            } else {
                // Only an extent that is whole ends the search for one.
                if (known.rule != Rule::shape || part->hasRows() || isExtent(each)) seen.push_back(part);
                parts(each, *part);
            }
        }
        if (known.rule == Rule::shape) shape(element);
        if (known.rule == Rule::soundSpeeds) secondHead(element);
        if (known.rule == Rule::depths) depth(element);
    }

    static const KnownElement* childOf(const KnownElement& known, const xmlNode* child) {
        const auto found = std::ranges::find_if(
            known.children, [&](const KnownElement& part) { return sameName(nameOf(child), part.name); });
        if (found != known.children.end()) return &*found;
        // The extent of a shape is taken from whatever has its attributes.
        if (known.rule == Rule::shape && isExtent(child)) return &known.children.back();
        return nullptr;
    }

    static bool isExtent(const xmlNode* element) {
        return attributeOf(element, "Length") && attributeOf(element, "Width") &&
               attributeOf(element, "Height");
    }

    void attributes(const xmlNode* element, const KnownElement& known) {
        for (const xmlAttr* each = element->properties; each != nullptr; each = each->next) {
            const std::string_view name = reinterpret_cast<const char*>(each->name);
            const auto found = std::ranges::find_if(
                known.attributes, [&](const KnownAttribute& attribute) { return name == attribute.name; });
            if (found == known.attributes.end())
                warning("unknown-attribute", element,
                        fmt::format("{} of {} is not known", quoted(name), nameOf(element)));
            else
                value(element, *found);
        }
    }

    void texts(const xmlNode* element) {
        for (const xmlNode* each = element->children; each != nullptr; each = each->next) {
            if (each->type != XML_TEXT_NODE && each->type != XML_CDATA_SECTION_NODE) continue;
            const std::string_view text = reinterpret_cast<const char*>(each->content);
            if (text.find_first_not_of(blanks) != text.npos)
                warning("unknown-text", element,
                        fmt::format("the text {} in {} is not read", quoted(text), nameOf(element)));
        }
    }

    void value(const xmlNode* element, const KnownAttribute& attribute) {
        const std::string text = attributeOf(element, attribute.name).value_or("");
        const auto wrong = [&](const char* code, const char* what) {
            error(code, element,
                  fmt::format("{} of {} is {}: {}", attribute.name, nameOf(element), quoted(text), what));
        };
        switch (attribute.kind) {
        case ValueKind::number:
            if (!wholeText<double>(text))
                wrong("number", "no number");
            else if (!std::isfinite(*wholeText<double>(text)))
                wrong("number", "not finite");
            break;
        case ValueKind::whole:
            if (!wholeText<std::int64_t>(text)) wrong("number", "no whole number");
            break;
        case ValueKind::yesNo:
            if (!sameName(text, "yes") && !sameName(text, "no") && !sameName(text, "true") &&
                !sameName(text, "false"))
                wrong("flag", "counts as No");
            break;
        case ValueKind::exactYesNo:
            if (text != "Yes" && text != "No") wrong("flag", "counts as No, which only \"Yes\" does not");
            break;
        case ValueKind::sensorClass:
            if (text != "Swath" && text != "Sweep") wrong("sensor-class", "neither Swath nor Sweep");
            break;
        case ValueKind::text:
        case ValueKind::time:
            break;
        }
    }

    void list(const xmlNode* element, const KnownElement& known) {
        ++checked_.lists;
        if (firstElement(element) == nullptr)
            warning("empty-list", element, fmt::format("{} has no entries", known.name));
        else if (!kinds_.insert(known.name).second)
            error("repeated", element, fmt::format("a second {}; its entries are dropped", known.name));
        parts(element, known);
    }

    void rows(const xmlNode* element, const KnownElement& known) {
        if (known.rule == Rule::transducers) strayNodes(element);
        const KnownElement& row = known.children.front();
        Series series;
        std::set<std::uint32_t> numbers;
        for (const xmlNode* each = firstElement(element); each != nullptr && checked_.refusal.empty();
             each = nextElement(each)) {
            if (!sameName(nameOf(each), row.name))
                warning("row-name", each, fmt::format("{} counts as {}", quoted(nameOf(each)), row.name));
            switch (known.rule) {
            case Rule::entries:
                entry(each, series);
                break;
            case Rule::transducers:
                transducer(each, numbers);
                break;
            case Rule::draftRows:
                tableRow(each, "Speed", series, true);
                break;
            case Rule::gyroRows:
                tableRow(each, "Azimuth", series, false);
                break;
            default:
                break;
            }
            if (!checked_.refusal.empty()) return;
            if (known.rule != Rule::entries && known.rule != Rule::transducers) missing(each, known, row);
            parts(each, row);
        }
    }

    // What rows of one kind are ordered by, with the line of each.
    struct Series {
        std::map<double, std::uint64_t> seen;
        std::optional<double> before;
    };

    void entry(const xmlNode* element, Series& series) {
        ++checked_.entries;
        const std::string text = attributeOf(element, "value").value_or("");
        if (text.empty()) return refuse("time", element, "an entry without a time");
        const DecodedTime time = decodeTime(text);
        if (!time.refusal.empty())
            return refuse("time", element, fmt::format("the time {}: {}", quoted(text), time.refusal));
        if (!time.remark.empty())
            warning("time-text", element, fmt::format("the time {}: {}", quoted(text), time.remark));
        const auto [found, isNew] = series.seen.emplace(time.seconds, lineOf(element));
        if (!isNew) {
            error("entry-twice", element,
                  fmt::format("the time {} is that of line {}; this entry is dropped", quoted(text),
                              found->second));
        } else if (series.before && time.seconds < *series.before) {
            warning("entry-order", element,
                    fmt::format("the time {} lies before that of the entry ahead of it", quoted(text)));
        }
        series.before = time.seconds;
    }

    void tableRow(const xmlNode* element, const char* key, Series& series, bool isUnique) {
        const std::optional<double> value = numberOf(element, key);
        if (!value || !std::isfinite(*value)) return;
        const auto [found, isNew] = series.seen.emplace(*value, lineOf(element));
        if (!isNew) {
            const std::string text =
                fmt::format("{} {:g} is there already, in line {}", key, *value, found->second);
            if (isUnique)
                error("row-twice", element, text + "; the later row counts");
            else
                warning("row-twice", element, text);
        } else if (series.before && *value < *series.before) {
            warning("row-order", element,
                    fmt::format("{} {:g} stands behind {:g}", key, *value, *series.before));
        }
        series.before = *value;
    }

    void missing(const xmlNode* element, const KnownElement& known, const KnownElement& row) {
        for (const KnownAttribute& attribute : row.attributes) {
            if (attributeOf(element, attribute.name)) continue;
            error("missing", element,
                  fmt::format("no {}; {}", attribute.name,
                              known.rule == Rule::gyroRows ? "it counts as 0" : "the row is passed over"));
        }
    }

    // Every node in the list of transducers is taken for one.
    void strayNodes(const xmlNode* element) {
        for (const xmlNode* each = element->children; each != nullptr; each = each->next) {
            if (each->type == XML_ELEMENT_NODE) continue;
            return refuse("transducer-number", each,
                          fmt::format("a {} among the transducers, which has no number",
                                      each->type == XML_COMMENT_NODE ? "comment" : "text"));
        }
    }

    static bool fitsNumber(std::int64_t number) {
        return number != 0 && number >= std::numeric_limits<std::int32_t>::min() &&
               number <= std::int64_t{std::numeric_limits<std::uint32_t>::max()};
    }

    void transducer(const xmlNode* element, std::set<std::uint32_t>& numbers) {
        const std::optional<std::string> text = attributeOf(element, "Number");
        if (!text) return refuse("transducer-number", element, "a transducer without Number");
        const std::int64_t number = leadingNumber(*text);
        if (!fitsNumber(number))
            return refuse("transducer-number", element,
                          fmt::format("the Number {} of a transducer", quoted(*text)));
        const std::optional<std::string> beam = attributeOf(element, "StartBeam");
        if (beam && !fitsNumber(leadingNumber(*beam)))
            return refuse("start-beam", element,
                          fmt::format("the StartBeam {} of a transducer", quoted(*beam)));
        checked_.transducers.insert(static_cast<std::uint32_t>(number));
        if (!numbers.insert(static_cast<std::uint32_t>(number)).second)
            error("transducer-twice", element,
                  fmt::format("a second transducer {}; it replaces the first", number));
    }

    void shape(const xmlNode* element) {
        const bool plan = child(element, "PlanCoordinates") != nullptr;
        const bool profile = child(element, "ProfileCoordinates") != nullptr;
        const char* lacking = !plan ? "PlanCoordinates" : !profile ? "ProfileCoordinates" : nullptr;
        for (const xmlNode* each = firstElement(element); each != nullptr; each = nextElement(each)) {
            const bool extent = isExtent(each);
            const bool points = sameName(nameOf(each), "ProfileCoordinates");
            if (sameName(nameOf(each), "RP") && !extent)
                error("passed-over", each, "RP without Length, Width and Height is passed over");
            else if (lacking != nullptr && (extent || (points && !plan)))
                error("passed-over", each,
                      fmt::format("{} is passed over, since the shape has no {}", nameOf(each), lacking));
        }
    }

    static const xmlNode* child(const xmlNode* parent, const char* name) {
        const xmlNode* found = firstElement(parent);
        while (found != nullptr && !sameName(nameOf(found), name))
            found = nextElement(found);
        return found;
    }

    void secondHead(const xmlNode* entry) {
        const std::string dual = attributeOf(child(entry, "DualHead"), "value").value_or("");
        if (sameName(dual, "yes") || sameName(dual, "true")) return;
        for (const char* name : {"Offsets", "MountAngle"}) {
            const xmlNode* place = child(entry, name);
            for (const xmlAttr* each = place == nullptr ? nullptr : place->properties; each != nullptr;
                 each = each->next) {
                const std::string_view attribute = reinterpret_cast<const char*>(each->name);
                if (attribute.ends_with('2'))
                    warning("not-in-force", place,
                            fmt::format("{} of {}, but there is no second head", attribute, name));
            }
        }
    }

    void depth(const xmlNode* entry) {
        const xmlNode* sensorClass = child(entry, "SensorClass");
        if (sensorClass == nullptr) error("sensor-class", entry, "no SensorClass, neither Swath nor Sweep");
        if (sameName(attributeOf(sensorClass, "value").value_or(""), "Sweep")) return;
        const KnownElement& known = depthEntry();
        ofSweepIn(entry, known);
        const KnownElement* list = nullptr;
        for (const KnownElement& part : known.children) {
            if (part.rule == Rule::transducers) list = &part;
        }
        for (const xmlNode* each = firstElement(child(entry, list->name)); each != nullptr;
             each = nextElement(each))
            ofSweepIn(each, list->children.front());
    }

    static const KnownElement& depthEntry() {
        const auto list = std::ranges::find_if(sensorLists(), [](const KnownElement& known) {
            return known.children.front().rule == Rule::depths;
        });
        return list->children.front();
    }

    void ofSweepIn(const xmlNode* element, const KnownElement& known) {
        for (const KnownElement& part : known.children) {
            const xmlNode* found = part.ofSweep ? child(element, part.name) : nullptr;
            if (found != nullptr)
                warning("not-in-force", found, fmt::format("{} counts for the class Sweep only", part.name));
        }
    }

    check::Report& report_;
    Checked& checked_;
    std::set<std::string> kinds_;
    int shapes_ = 0;
};

} // namespace

DecodedTime decodeTime(const std::string& text) {
    DecodedTime time;
    if (text.size() < timeLength) {
        time.refusal = fmt::format("shorter than {} characters", timeLength);
        return time;
    }
    for (const auto& [at, sign] : {std::pair{4, '-'}, {8, ' '}, {11, ':'}, {14, ':'}}) {
        if (text[static_cast<std::size_t>(at)] == sign) continue;
        time.refusal = fmt::format("no '{}' at position {}", sign, at);
        return time;
    }
    std::array<std::int64_t, timeParts.size()> values{};
    for (std::size_t i = 0; i < timeParts.size(); ++i) {
        const TimePart& part = timeParts[i];
        const std::string_view used = std::string_view(text).substr(part.start, timeLength - part.start);
        const std::string_view digits = used.substr(0, part.digits);
        values[i] = leadingNumber(used);
        if (values[i] < part.least || values[i] > part.most) {
            time.refusal = fmt::format("the {} is {}", part.name, values[i]);
            return time;
        }
        if (digits.find_first_not_of("0123456789") != digits.npos)
            time.remark = fmt::format("the {} reads as {}", part.name, values[i]);
    }
    const std::chrono::year year(static_cast<int>(values[0]));
    if (time.remark.empty() && (values[1] == 0 || (values[1] == 366 && !year.is_leap())))
        time.remark = fmt::format("the year has no day {}", values[1]);
    if (time.remark.empty() && text.size() > timeLength) time.remark = "what follows the second is not read";
    const auto days = std::chrono::sys_days(year / 1 / 1).time_since_epoch().count() + values[1] - 1;
    time.seconds = static_cast<double>(days * 86400 + values[2] * 3600 + values[3] * 60 + values[4]);
    return time;
}

Checked checkVessel(const Document& document, check::Report& report) {
    Checked checked;
    if (document.tree == nullptr) {
        checked.refusal = (document.legacy ? "no XML: " : "not well-formed XML: ") + document.failure;
        checked.refusalLine = document.line;
        report.error("xml", document.line, checked.refusal);
    } else if (document.declaresEntities()) {
        report.error("entities", lineOf(document.root()),
                     "the document type declares entities; the file is not looked into");
    } else {
        Checker(report, checked).root(document.root());
    }
    return checked;
}

} // namespace skar::tool::vessel
