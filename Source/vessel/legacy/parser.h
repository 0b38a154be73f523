#pragma once

#include "vessel/legacy/parse.h"

#include <string_view>

// What the generated scanner and parser work on.
namespace skar::vessel::legacy {

class Parser {
public:
    // The text ends with two zeros, which are not part of it. It is written to while it is scanned.
    Parser(std::string& text, const Surroundings& given);
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    // The tree, null if there is a message or no navigation entry.
    Tree run();

    void* allocate(void* block, std::size_t size) { return allocator(block, size); }

    // For the scanner. Texts and times of a token; false without memory and for a time that there is not.
    bool copyText(std::string_view token, char*& copy);
    static bool timeOf(const char* token, double& seconds);
    // "undefined input" and a state that fails: both go to the trace.
    void undefinedInput(const char* input);
    void failedState(int state);

    // For the parser: prints a message.
    void message(const char* text);

    // Each starts an entry at the end of its list; what follows fills it. False, after a message, without
    // memory.
    bool beginDepth(double time);
    bool beginGyro(double time);
    bool beginHeave(double time);
    bool beginNavigation(double time);
    bool beginPitch(double time);
    bool beginRoll(double time);
    bool beginDraft(double time);
    bool beginSoundVelocity(double time);
    bool beginWaterline(double time);
    bool beginTowed(double time);

    // Where the fields go that several kinds have.
    struct Places {
        EquipmentTexts* equipment = nullptr;
        Remarks* remarks = nullptr;
        double* latency = nullptr;
        double* offset = nullptr;
        bool* apply = nullptr;
        Offsets* position = nullptr;
        Offsets* position2 = nullptr;
        Angles* mount = nullptr;
        Angles* mount2 = nullptr;
    };
    Places places;
    DepthEntry& depth() { return *lastDepth; }
    NavigationEntry& navigation() { return *lastNavigation; }
    WaterlineEntry& waterline() { return *lastWaterline; }
    TowedEntry& towed() { return *lastTowed; }

    // The text is the place's from then on.
    static void put(char*& place, char* text);
    // False, after a message, for what is no whole number of 32 bits or less than the least.
    bool count(double number, std::uint32_t least, std::uint32_t& place);
    // Something on a second head was given.
    void secondHead() { secondHeadGiven = true; }
    bool addBeam(bool disabled, const Offsets& offsets);
    bool addDraft(double speed, double draft);
    // False, after a message, if the rows are not as many as the beams, or a second head has no start beam.
    bool endDepth();

private:
    template <class Entry>
    bool begin(Entry*& head, Entry*& last, double time);
    template <class Value>
    bool grow(Value*& values, std::size_t used, const char* failure);
    void openTrace();

    std::string& text;
    void* (*allocator)(void* block, std::size_t size);
    std::FILE* messages;
    std::FILE* trace = nullptr;
    Tree tree;
    bool failed = false;
    bool secondHeadGiven = false;

    DepthEntry* lastDepth = nullptr;
    AngleEntry* lastGyro = nullptr;
    HeaveEntry* lastHeave = nullptr;
    NavigationEntry* lastNavigation = nullptr;
    AngleEntry* lastPitch = nullptr;
    AngleEntry* lastRoll = nullptr;
    DraftEntry* lastDraft = nullptr;
    SoundVelocityEntry* lastSoundVelocity = nullptr;
    WaterlineEntry* lastWaterline = nullptr;
    TowedEntry* lastTowed = nullptr;
};

// The scanner over a text; one that could not be made gives no token.
class Scanner {
public:
    Scanner(Parser& parser, std::string& text);
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;
    // False without memory.
    explicit operator bool() const { return ready; }
    void* state() const { return scanner; }

private:
    void* scanner = nullptr;
    bool ready = false;
};

} // namespace skar::vessel::legacy
