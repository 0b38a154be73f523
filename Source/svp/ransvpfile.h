#pragma once

#include "svp/textfile.h"

#include <skar/soundvelocity.h>

#include <cmath>
#include <cstdint>
#include <list>
#include <string_view>

// What the two formats of the Royal Australian Navy have in common: a list of the file's records beside the
// values.
namespace skar::svp {

inline bool plausible(double auxiliary, double velocity) {
    return auxiliary != 0.0 && velocity >= 1000.0 && velocity <= 2000.0;
}

// Seconds of the day of "hours:minutes:seconds"; false, with what is missing counted as 0, without all three.
bool timeOfDay(std::string_view text, double& seconds);
// Three numbers with one of the separators between them.
bool threeNumbers(std::string_view text, std::string_view separators, std::int32_t (&numbers)[3]);
// Seconds since 1980.
double timeOf(std::int32_t year, std::int32_t month, std::int32_t day, double seconds);

// Takes depths as whole centimetres, and only such as increase.
class DepthGate {
public:
    bool passes(double& depth) {
        const double centimetres = std::trunc(depth * 100);
        if (!(centimetres > previous)) return false;
        previous = centimetres;
        depth = centimetres / 100;
        return true;
    }

private:
    double previous = -2147483647.0;
};

// Walks values and records side by side and writes each live value with the fields of its record; a new
// value, which has no record, takes those of the value written before it, or of the first record. False after
// a failed write.
template <class Record, class WriteLine>
bool writeWithRecords(TextOutput& output, const MORVASList<SvpFile::SvpValues>& values,
                      const std::list<Record>& records, WriteLine writeLine) {
    auto current = records.begin();
    const Record* fields = &records.front();
    for (const SvpFile::SvpValues& value : values) {
        const bool hasRecord = value.cameFromFile() && current != records.end();
        if (value.status != SvpFile::isRemoved) {
            if (hasRecord) fields = &*current;
            writeLine(output.text(), value, *fields);
            if (!output.step()) return false;
        }
        if (hasRecord) ++current;
    }
    return true;
}

// Whether a file of these sections would need a record and has none; notes the reason.
template <class Record>
bool lacksRecords(const std::list<Record>& records) {
    if (!records.empty()) return false;
    notSaved(L"The cast has no record whose other fields could be written with its values.");
    return true;
}

} // namespace skar::svp
