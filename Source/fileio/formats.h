#pragma once

#include "fileio/layout.h"

#include <span>
#include <string_view>

// The layouts of all families, for whoever shows them: the pages in docs/formats take their tables from here.
namespace skar::fileio {

struct FormatTable {
    std::string_view name; // "Navigation record"
    std::span<const FieldPage> words;
};

// A family's tables. Each family defines its own beside its layouts.
using FormatTables = std::span<const FormatTable>;
FormatTables simpleSensorFormat();
FormatTables navigationFormat();
FormatTables observedDepthsFormat();
FormatTables processedDepthsFormat();
FormatTables slantRangeFormat();
FormatTables tpeFormat();
FormatTables sspFormat();
FormatTables sensorParametersFormat();
FormatTables eventMarkFormat();
FormatTables sideScanFormat();
FormatTables sssFormat();
FormatTables sssProcFormat();

// The table of that name; empty for a name that no family has.
std::span<const FieldPage> formatTable(std::string_view name);

} // namespace skar::fileio
