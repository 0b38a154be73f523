#pragma once

#include <skar/strings.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

// Reading and writing of the text files of casts. What is no UTF-8 in them comes back byte for byte: such
// bytes stand in the strings as the lone surrogates U+DC80 to U+DCFF.
namespace skar::svp {

MORVAUString textOf(std::string_view bytes);
std::string bytesOf(const MORVAUString& text);

// The lines of a stream as fgets gives them to a buffer of 256 bytes: of a longer line the rest is the next
// one, and what follows a zero is lost. Line ends, CR LF among them, are cut off. The stream stays the
// caller's.
class TextLines {
public:
    explicit TextLines(std::FILE* from) : stream(from) {}

    // False at the end of the file and when it cannot be read any further.
    bool next();
    // The line that was read last, valid until the next one.
    std::string_view line() const { return {text.data(), length}; }
    // The same for functions that want a terminator and may write into it.
    char* terminated() { return text.data(); }
    // Goes back to the start of the file.
    void rewind();
    // Whether the file ended too early.
    bool failed() const { return broken; }

private:
    static constexpr std::size_t longest = 255;

    bool fill();

    std::FILE* stream;
    std::array<char, 65536> block;
    std::size_t at = 0;
    std::size_t end = 0;
    bool exhausted = false;
    bool broken = false;
    std::array<char, longest + 1> text;
    std::size_t length = 0;
};

// Opens the file, runs the body over its lines and closes it. 5016011 if it cannot be opened, -1 if it cannot
// be read to its end, else what the body gives.
int readLines(const MORVAUString& file, const std::function<int(TextLines&)>& body);

// Text on its way into a file.
class TextOutput {
public:
    explicit TextOutput(std::FILE* to) : stream(to) {}

    // The text so far, to append to.
    std::string& text() { return pending; }
    // Writes the text once enough of it has come together. False after a failed write.
    bool step() { return pending.size() < blockSize || write(); }
    bool write();
    bool failed() const { return broken; }

private:
    static constexpr std::size_t blockSize = 65536;

    std::FILE* stream;
    std::string pending;
    bool broken = false;
};

// Writes the file anew with what the body puts out. The result is 0, or -1 with the file as it was: when
// something could not be written, the reason goes to MORVAErrorManager; when the body gives false it has
// noted its own.
int saveText(const MORVAUString& file, const std::function<bool(TextOutput&)>& body);

// Notes why a file was not saved and gives -1.
int notSaved(const std::wstring& why);

} // namespace skar::svp
