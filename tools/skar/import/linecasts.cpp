#include "import/linecasts.h"

#include "casts.h"
#include "commands/command.h"
#include "import/cast.h"

#include <skar/soundvelocity.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iterator>

namespace skar::tool {

namespace {

using import::Cast;

bool hasValues(const Cast& cast) {
    return !import::wayDown(cast).samples.empty();
}

// The one that the library finds, which may have an older name; empty without one.
std::string presentFile(const LinePath& line) {
    std::wstring opened(line.store.size() + 20, L'\0');
    std::FILE* const stream = OpenSVPFileDir(line.store.c_str(), L"rb", opened.data());
    if (stream == nullptr) return {};
    std::fclose(stream);
    return (line.native / narrowText(opened.c_str() + opened.find_last_of(L"/\\") + 1)).string();
}

} // namespace

PlannedCasts planCasts(std::span<const RawFile> files, std::span<const std::string> wanted) {
    PlannedCasts planned;
    if (!wanted.empty() && std::ranges::find(wanted, castFileName) == wanted.end()) return planned;
    for (const RawFile& file : files) {
        const std::size_t before = planned.casts.size();
        std::ranges::copy_if(file.data.casts, std::back_inserter(planned.casts), hasValues);
        if (planned.casts.size() != before) planned.files.push_back(&file);
    }
    // A recorder repeats the profile in use, in each file and at every change of a setting.
    std::sort(planned.casts.begin(), planned.casts.end());
    planned.casts.erase(std::unique(planned.casts.begin(), planned.casts.end()), planned.casts.end());
    for (const Cast& cast : planned.casts)
        planned.values += import::wayDown(cast).samples.size();
    return planned;
}

void refuseOverwriting(const LinePath& line, const PlannedCasts& planned) {
    if (planned.casts.empty()) return;
    const std::string present = presentFile(line);
    if (!present.empty())
        throw ToolError(fmt::format("{}: is there already; --force writes over it", printable(present)));
}

void writeCasts(const LinePath& line, const PlannedCasts& planned) {
    if (planned.casts.empty()) return;
    std::string source;
    for (const RawFile* file : planned.files)
        source += (source.empty() ? "" : ", ") + file->name;
    std::string path = presentFile(line);
    if (path.empty()) path = (line.native / castFileName).string();
    const WrittenCasts written = writeCasts(path, castTargets().front(), planned.casts, source);
    if (written.casts != planned.casts.size() || written.values != planned.values)
        throw ToolError(printable(path) + ": could not be written whole");
}

} // namespace skar::tool
