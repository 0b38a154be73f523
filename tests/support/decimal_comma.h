#pragma once

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace skar::tests {

// A process whose numbers have a comma, as those of many callers, from construction to destruction. Where no
// such locale is installed it is made for the time being.
class DecimalComma {
public:
    DecimalComma() {
        if (std::setlocale(LC_ALL, name) == nullptr) {
            const std::string made =
                "localedef -i de_DE -f UTF-8 " + (folder / name).string() + " > /dev/null 2>&1";
            if (std::system(made.c_str()) == 0) {
                ::setenv("LOCPATH", folder.path().c_str(), 1);
                std::setlocale(LC_ALL, name);
            }
        }
        std::array<char, 8> half;
        std::snprintf(half.data(), half.size(), "%.1f", 0.5);
        holds = half.data() == std::string("0,5");
    }
    ~DecimalComma() {
        std::setlocale(LC_ALL, "C");
        ::unsetenv("LOCPATH");
    }
    DecimalComma(const DecimalComma&) = delete;
    DecimalComma& operator=(const DecimalComma&) = delete;

    // False where the locale could not be had.
    explicit operator bool() const { return holds; }

private:
    static constexpr const char* name = "de_DE.UTF-8";
    TemporaryDirectory folder;
    bool holds = false;
};

} // namespace skar::tests
