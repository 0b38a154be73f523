#include "vessel/legacy/parser.h"

#include "platform/file.h"
#include "vessel/legacy/convert.h"

#include <skar/time.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

int skarLegacyparse(skar::vessel::legacy::Parser& parser, void* scanner);

namespace skar::vessel::legacy {
namespace {

void* allocateFromRuntime(void* block, std::size_t size) {
    return std::realloc(block, size);
}

// The directory for files of the moment, null without one.
const char* traceDirectory() {
    for (const char* name : {"TMP", "TEMP"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return nullptr;
}

// Digits at a place, behind blanks; moves the place to what follows them.
std::int32_t digitsAt(const char*& place) {
    while (*place == ' ')
        ++place;
    std::int32_t value = 0;
    for (; *place >= '0' && *place <= '9'; ++place)
        value = value * 10 + (*place - '0');
    return value;
}

template <class Entry>
concept HasEquipment = requires(Entry& entry) {
    entry.equipment;
};
template <class Entry>
concept HasLatency = requires(Entry& entry) {
    entry.latency;
};
template <class Entry>
concept HasOffset = requires(Entry& entry) {
    entry.offset;
};
template <class Entry>
concept HasApply = requires(Entry& entry) {
    entry.apply;
};
template <class Entry>
concept HasPosition = requires(Entry& entry) {
    entry.position;
};
template <class Entry>
concept HasHeads = requires(Entry& entry) {
    entry.mount2;
};

template <class Entry>
Parser::Places placesOf(Entry& entry) {
    Parser::Places places;
    places.remarks = &entry.remarks;
    if constexpr (HasEquipment<Entry>) places.equipment = &entry.equipment;
    if constexpr (HasLatency<Entry>) places.latency = &entry.latency;
    if constexpr (HasOffset<Entry>) places.offset = &entry.offset;
    if constexpr (HasApply<Entry>) places.apply = &entry.apply;
    if constexpr (HasPosition<Entry>) places.position = &entry.position;
    if constexpr (HasHeads<Entry>) {
        places.position2 = &entry.position2;
        places.mount = &entry.mount;
        places.mount2 = &entry.mount2;
    }
    return places;
}

} // namespace

bool readText(const wchar_t* fileName, std::string& text) {
    if (!platform::readFile(fileName, mostBytes, text)) return false;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool lineEnd = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        if (!lineEnd) text[kept++] = text[i];
    }
    text.resize(kept);
    return true;
}

Tree parse(std::string text, const Surroundings& surroundings) {
    // The end of a text for flex.
    text.append(2, '\0');
    return Parser(text, surroundings).run();
}

Parser::Parser(std::string& given, const Surroundings& surroundings)
    : text(given), allocator(surroundings.allocate != nullptr ? surroundings.allocate : allocateFromRuntime),
      messages(surroundings.messages != nullptr ? surroundings.messages : stderr) {
    openTrace();
}

Parser::~Parser() {
    if (trace != nullptr) std::fclose(trace);
}

void Parser::openTrace() {
    const char* const directory = traceDirectory();
    if (directory == nullptr) return;
    const std::wstring name =
        platform::wideName(directory) + L"\\" + std::to_wstring(platform::processNumber()) + L".lex";
    trace = platform::openOwnFile(name.c_str());
}

Tree Parser::run() {
    void* const block = allocate(nullptr, sizeof(_vesselConfig));
    if (block == nullptr) {
        message("out of memory");
        return nullptr;
    }
    tree = ownTree(new (block) _vesselConfig);
    const Scanner scanner(*this, text);
    if (!scanner) {
        message("out of memory");
        return nullptr;
    }
    const bool parsed = skarLegacyparse(*this, scanner.state()) == 0;
    if (!parsed || failed || tree->navigation == nullptr) tree.reset();
    return tree;
}

bool Parser::copyText(std::string_view token, char*& copy) {
    copy = static_cast<char*>(allocate(nullptr, token.size() + 1));
    if (copy == nullptr) {
        message("out of memory");
        return false;
    }
    std::memcpy(copy, token.data(), token.size());
    copy[token.size()] = '\0';
    return true;
}

// The limits are those of the times in a vessel file, which is what the text becomes.
bool Parser::timeOf(const char* token, double& seconds) {
    const std::int32_t year = digitsAt(token);
    const std::int32_t day = digitsAt(++token);
    const std::int32_t hour = digitsAt(++token);
    const std::int32_t minute = digitsAt(++token);
    seconds = TmYDStoUTCs80(year, day, TmHMSXtoS(hour, minute, 0, 0.0));
    return year >= 1900 && day <= 366 && hour <= 23 && minute <= 59;
}

void Parser::undefinedInput(const char* input) {
    if (trace != nullptr) std::fprintf(trace, "Scanner: undefined input %s\n", input);
}

void Parser::failedState(int state) {
    if (trace != nullptr) std::fprintf(trace, "bad switch yylook2 %d", state);
}

void Parser::message(const char* what) {
    failed = true;
    std::fprintf(messages, "YACC Parser: %s\n", what);
}

template <class Entry>
bool Parser::begin(Entry*& head, Entry*& last, double time) {
    void* const block = allocate(nullptr, sizeof(Entry));
    if (block == nullptr) {
        message("out of memory");
        return false;
    }
    auto* const entry = new (block) Entry;
    entry->time = time;
    (last == nullptr ? head : last->next) = entry;
    last = entry;
    places = placesOf(*entry);
    return true;
}

bool Parser::beginDepth(double time) {
    secondHeadGiven = false;
    return begin(tree->depth, lastDepth, time);
}

bool Parser::beginGyro(double time) {
    return begin(tree->gyro, lastGyro, time);
}

bool Parser::beginHeave(double time) {
    return begin(tree->heave, lastHeave, time);
}

bool Parser::beginNavigation(double time) {
    return begin(tree->navigation, lastNavigation, time);
}

bool Parser::beginPitch(double time) {
    return begin(tree->pitch, lastPitch, time);
}

bool Parser::beginRoll(double time) {
    return begin(tree->roll, lastRoll, time);
}

bool Parser::beginDraft(double time) {
    return begin(tree->draft, lastDraft, time);
}

bool Parser::beginSoundVelocity(double time) {
    return begin(tree->soundVelocity, lastSoundVelocity, time);
}

bool Parser::beginWaterline(double time) {
    return begin(tree->waterline, lastWaterline, time);
}

bool Parser::beginTowed(double time) {
    return begin(tree->towed, lastTowed, time);
}

void Parser::put(char*& place, char* given) {
    std::free(place);
    place = given;
}

bool Parser::count(double number, std::uint32_t least, std::uint32_t& place) {
    if (number < least || number > std::numeric_limits<std::uint32_t>::max() ||
        number != std::trunc(number)) {
        message("syntax error");
        return false;
    }
    place = static_cast<std::uint32_t>(number);
    return true;
}

// Room comes with the rows that are there, whatever number the text announces.
template <class Value>
bool Parser::grow(Value*& values, std::size_t used, const char* failure) {
    constexpr std::size_t first = 4;
    const bool full = used == 0 || (used >= first && (used & (used - 1)) == 0);
    if (!full) return true;
    void* const block = allocate(values, (used == 0 ? first : 2 * used) * sizeof(Value));
    if (block == nullptr) {
        message(failure);
        return false;
    }
    values = static_cast<Value*>(block);
    return true;
}

bool Parser::addBeam(bool disabled, const Offsets& offsets) {
    DepthEntry& entry = *lastDepth;
    if (!grow(entry.beamDisabled, entry.rows, "malloc failed for beamDisabled") ||
        !grow(entry.sweepBeamOffsetX, entry.rows, "malloc failed for sweepBeamOffsetX") ||
        !grow(entry.sweepBeamOffsetY, entry.rows, "malloc failed for sweepBeamOffsetY") ||
        !grow(entry.sweepBeamOffsetZ, entry.rows, "malloc failed for sweepBeamOffsetZ")) {
        return false;
    }
    entry.beamDisabled[entry.rows] = disabled;
    entry.sweepBeamOffsetX[entry.rows] = offsets.x;
    entry.sweepBeamOffsetY[entry.rows] = offsets.y;
    entry.sweepBeamOffsetZ[entry.rows] = offsets.z;
    ++entry.rows;
    return true;
}

bool Parser::addDraft(double speed, double draft) {
    DraftEntry& entry = *lastDraft;
    if (!grow(entry.vesselSpeed, entry.rows, "malloc failed for vesselSpeed") ||
        !grow(entry.vesselDraft, entry.rows, "malloc failed for vesselDraft")) {
        return false;
    }
    entry.vesselSpeed[entry.rows] = speed;
    entry.vesselDraft[entry.rows] = draft;
    ++entry.rows;
    return true;
}

bool Parser::endDepth() {
    const DepthEntry& entry = *lastDepth;
    const bool rowsAreNeeded = entry.rows > 0 || isSweep(entry);
    const bool rowsAreWrong = rowsAreNeeded && entry.rows != entry.numberOfBeams;
    if (rowsAreWrong || (secondHeadGiven && entry.startBeam2 == 0)) {
        message("syntax error");
        return false;
    }
    return true;
}

} // namespace skar::vessel::legacy
