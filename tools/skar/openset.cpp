#include "openset.h"

#include "check/setcheck.h"
#include "codetext.h"
#include "commands/command.h"

#include <skar/errors.h>
#include <skar/log.h>

#include <boost/make_shared.hpp>
#include <fmt/format.h>

#include <exception>
#include <utility>

namespace skar::tool {

namespace {

class Silence : public SKAR::DebugLogger {
public:
    boost::shared_ptr<SKAR::DebugLogger> clone() const override { return boost::make_shared<Silence>(); }
    bool passes(SKAR::DebugLogOutputLevel) const override { return false; }

protected:
    void write(const SKAR::Temporary::String&) override {}
};

} // namespace

namespace {

std::vector<std::string> filesOfSet(const Family& family) {
    std::vector<std::string> names;
    for (const char* suffix : setSuffixes)
        names.push_back(std::string(family.name) + suffix);
    return names;
}

std::unique_ptr<Reader> openForReading(const LinePath& line, const Family& family) {
    return std::make_unique<OpenSet>(line, family, L"query");
}

} // namespace

const Kind sensorKind = {filesOfSet, openForReading, check::checkSet};

OpenSet::OpenSet(const LinePath& line, const Family& family, const wchar_t* token)
    : family_(family), file_((line.native / family.name).string()) {
    startLibrary();
    std::uint32_t code = 0;
    set_ = family.access->open(family, line.store.c_str(), token, &code);
    if (set_ == nullptr)
        throw ToolError(fmt::format("{}: cannot be opened: {}", file_, codeText(static_cast<int>(code))));
}

OpenSet::~OpenSet() {
    if (set_ != nullptr) family_.access->close(set_);
}

// Some reads of the library throw where others return a code.
template <class Call>
void OpenSet::attempt(Call call, const char* step, std::uint32_t record) {
    std::string cause;
    try {
        const int code = call();
        if (code == 0) return;
        cause = codeText(code);
    } catch (const std::exception&) {
        cause = "the file ends or cannot be read on";
    }
    const std::string where = record != 0 ? fmt::format(" {} {}", family_.items.record, record) : "";
    throw ToolError(fmt::format("{}: {}{} failed: {}", file_, step, where, cause));
}

Summary OpenSet::summary() {
    Summary summary;
    attempt([&] { return family_.access->summary(set_, summary); }, "reading the summary");
    return summary;
}

Segment OpenSet::segment(std::uint32_t number) {
    Segment segment;
    attempt([&] { return family_.access->segment(set_, number, segment); }, "reading a line segment");
    return segment;
}

void OpenSet::read(std::uint32_t number, Record& record) {
    read_ = number;
    attempt([&] { return family_.access->read(set_, number, record); }, "reading", number);
}

void OpenSet::readItem(Record& item) {
    attempt([&] { return family_.access->readItem(set_, item); }, "reading in", read_);
}

void OpenSet::begin(std::uint32_t setting1, std::uint32_t setting2) {
    attempt([&] { return family_.access->begin(set_, setting1, setting2); }, "beginning the set");
}

void OpenSet::beginSegment(const std::string& source) {
    attempt([&] { return family_.access->beginSegment(set_, wideText(source).c_str()); },
            "beginning a line segment");
}

void OpenSet::write(const Record& record) {
    ++written_;
    attempt([&] { return family_.access->write(set_, record); }, "writing", written_);
}

void OpenSet::writeItem(const Record& item) {
    attempt([&] { return family_.access->writeItem(set_, item); }, "writing in", written_);
}

void OpenSet::endItems() {
    attempt([&] { return family_.access->endItems(set_); }, "ending", written_);
}

void OpenSet::endSegment() {
    attempt([&] { return family_.access->endSegment(set_, 0); }, "ending a line segment");
}

void OpenSet::finish() {
    attempt([&] { return family_.access->end(set_, 0); }, "ending the set");
    attempt([&] { return family_.access->close(std::exchange(set_, nullptr)); }, "closing");
}

void startLibrary() {
    // The library's log would mix with the data on standard output; what it says also arrives as a code.
    static const int code = (SKAR::setDebugLogger(Silence()), SKARIO_Init(0));
    if (code != 0) throw ToolError("the library cannot be started: " + codeText(code));
}

} // namespace skar::tool
