#pragma once

#include <span>

// What a vessel file may hold, as one table: elements, their attributes, and what is special about them.
namespace skar::tool::vessel {

enum class ValueKind {
    text,
    number,
    whole, // of 32 bits, and not 0
    yesNo,
    exactYesNo, // true for "Yes" alone
    sensorClass,
    time
};

struct KnownAttribute {
    const char* name; // counts as written, with its case
    ValueKind kind;
};

enum class Rule {
    none,
    shape,
    entries,     // of a kind, one for each time
    depths,      // an entry with transducers
    soundSpeeds, // an entry with a second head or without
    points,      // rows that count with all their attributes only
    draftRows,
    gyroRows,
    transducers
};

struct KnownElement {
    const char* name; // its case does not count, but for the lists of sensors
    std::span<const KnownAttribute> attributes;
    std::span<const KnownElement> children;
    Rule rule = Rule::none;
    bool ofSweep = false; // counts for that class of depth sensors only

    // Its children are rows of one kind, whatever they are called.
    bool hasRows() const { return rule >= Rule::points || rule == Rule::entries; }
};

// The root with all below it, but for the lists.
const KnownElement& vesselRoot();
// The lists of sensors.
std::span<const KnownElement> sensorLists();

} // namespace skar::tool::vessel
