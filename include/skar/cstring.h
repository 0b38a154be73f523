#pragma once

#include <skar/strings.h>

#include <string>

// The text type of the application framework, as far as two exported signatures need it.
class CString {
public:
    CString() = default;
    // A null text gives an empty string.
    CString(const wchar_t* content) : text(content == nullptr ? L"" : content) {}
    // UTF-8.
    CString(const char* content) : text(MORVAUString(content).toWide()) {}

    int GetLength() const { return static_cast<int>(text.size()); }
    bool IsEmpty() const { return text.empty(); }
    const wchar_t* GetString() const { return text.c_str(); }
    operator const wchar_t*() const { return text.c_str(); }

private:
    std::wstring text;
};
