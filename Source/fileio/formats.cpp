#include "fileio/formats.h"

namespace skar::fileio {

std::span<const FieldPage> formatTable(std::string_view name) {
    for (const auto family :
         {simpleSensorFormat, navigationFormat, observedDepthsFormat, processedDepthsFormat, slantRangeFormat,
          tpeFormat, sspFormat, sensorParametersFormat, eventMarkFormat, sideScanFormat, sssFormat,
          sssProcFormat})
        for (const FormatTable& table : family())
            if (table.name == name) return table.words;
    return {};
}

} // namespace skar::fileio
