#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string>

// Files of real ships are no part of the sources. Tests of them skip where they are not there.
namespace skar::tests {

// Their folder: the environment names it, or it lies beside the checkout.
inline std::filesystem::path realData(const std::filesystem::path& checkout) {
    const char* named = std::getenv("SKAR_REAL_DATA");
    return named != nullptr ? std::filesystem::path(named) : checkout / ".." / "shared" / "data";
}

// Ends a test whose file or folder is not there.
#define SKAR_SKIP_WITHOUT(path)                                                                              \
    if (!std::filesystem::exists(path))                                                                      \
    GTEST_SKIP() << (path) << " is not there; set SKAR_REAL_DATA to its folder"

// Names a test after its file, for a parameter with a member `name`.
inline constexpr auto namedAfterFile = [](const auto& test) {
    std::string name = test.param.name;
    for (char& c : name)
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    return name;
};

} // namespace skar::tests
