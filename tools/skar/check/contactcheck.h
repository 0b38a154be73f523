#pragma once

#include "check/report.h"
#include "check/setcheck.h"
#include "linepath.h"

namespace skar::tool::check {

// Name of the file of contacts.
inline constexpr const char* contactFile = "Contact";

// Holds every line of the contacts against their form. The result's records are those that decode.
SetResult checkContacts(const LinePath& line, Report& report);

} // namespace skar::tool::check
