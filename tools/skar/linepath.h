#pragma once

#include <filesystem>
#include <string>

namespace skar::tool {

// A line's directory, <root>/<project>/<vessel>/<day>/<line>, made absolute.
struct LinePath {
    std::filesystem::path native; // for the tool's own file operations
    std::wstring store;           // for the library

    // The elements of the path by their role; empty when the path is too short.
    std::string root() const;
    std::string project() const { return element(3); }
    std::string vessel() const { return element(2); }
    std::string day() const { return element(1); }
    std::string name() const { return element(0); }

private:
    std::string element(int fromEnd) const;
};

// Takes the platform's form or backslashes. A ToolError with the status of bad usage for what is no path.
LinePath linePath(const std::string& text);
// As above, and a ToolError when there is no such directory.
LinePath existingLine(const std::string& text);

// Between UTF-8 and the wide text of the library; what is invalid becomes U+FFFD.
std::wstring wideText(const std::string& text);
std::string narrowText(const wchar_t* text);

// For people's eyes: control characters of a text that came from a file appear as \xNN.
std::string printable(const std::string& text);

} // namespace skar::tool
