#pragma once

#include <string>

namespace skar::tool {

// A code of the library with its meaning, as in "5000046 (the sensor does not exist in the line)".
std::string codeText(int code);

} // namespace skar::tool
