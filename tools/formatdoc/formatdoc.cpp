#include "fileio/formats.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// formatdoc [--check] PAGE...
//
// A page says where a table goes:
//
//   <!-- layout: Navigation record -->
//   (replaced)
//   <!-- end of layout -->
//
// With --check nothing is written; status 1 when a page is not what would be written.
namespace {

constexpr std::string_view opening = "<!-- layout: ";
constexpr std::string_view openingEnd = " -->\n";
constexpr std::string_view closing = "<!-- end of layout -->";

std::string tableOf(std::string_view name) {
    std::string text = "| offset | word | type | coding |\n|---|---|---|---|\n";
    std::size_t offset = 0;
    for (const auto& word : skar::fileio::formatTable(name)) {
        text += "| " + std::to_string(offset) + " | `" + word.name + "` | " + word.wordType + " | " +
                word.meaning + " |\n";
        offset += skar::fileio::wordSize;
    }
    return offset == 0 ? std::string() : text + "\n" + std::to_string(offset) + " bytes.\n";
}

// The page with its tables as the library has them; nothing for a page that names a table the library has
// not.
std::optional<std::string> filled(const std::string& page) {
    std::string result;
    std::size_t at = 0;
    for (;;) {
        const std::size_t mark = page.find(opening, at);
        if (mark == std::string::npos) return result + page.substr(at);
        const std::size_t nameEnd = page.find(openingEnd, mark);
        const std::size_t end = page.find(closing, mark);
        if (nameEnd == std::string::npos || end == std::string::npos) return std::nullopt;
        const std::size_t nameStart = mark + opening.size();
        const std::string table = tableOf(std::string_view(page).substr(nameStart, nameEnd - nameStart));
        if (table.empty()) return std::nullopt;
        result += page.substr(at, nameEnd + openingEnd.size() - at) + "\n" + table + "\n";
        at = end;
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    bool check = false;
    int status = 0;
    for (const std::string_view argument : arguments) {
        if (argument == "--check") {
            check = true;
            continue;
        }
        const std::string path(argument);
        std::ifstream file(path);
        const std::string page((std::istreambuf_iterator<char>(file)), {});
        const auto text = filled(page);
        if (!file || !text) {
            std::fprintf(stderr,
                         "formatdoc: %s: cannot be read, or names a layout that the library has not\n",
                         path.c_str());
            return 2;
        }
        if (*text == page) continue;
        if (check) {
            std::fprintf(stderr, "formatdoc: %s: its tables are not the library's; run ./dev docs\n",
                         path.c_str());
            status = 1;
        } else {
            std::ofstream(path) << *text;
        }
    }
    return status;
}
