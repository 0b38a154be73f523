#pragma once

#include <string_view>

namespace skar::xml {

// Whether parsing the document would cost libxml2 far more than its length: its checks for attributes that
// come twice, its search for prefixes and its table of names all grow with the square of what they hold.
// Looks at the bytes alone, in one pass.
bool costsTooMuch(std::string_view document);

} // namespace skar::xml
