#include "svp/ransvpfile.h"

#include "strings/numbers.h"

#include <skar/codes.h>
#include <skar/time.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>

namespace codes = skar::codes;
namespace svp = skar::svp;
using skar::strings::append;
using skar::strings::Fixed;
using skar::strings::Scanner;
using skar::strings::toNumber;

namespace skar::svp {

bool threeNumbers(std::string_view text, std::string_view separators, std::int32_t (&numbers)[3]) {
    Scanner scanner(text);
    for (std::size_t i = 0; i < 3; ++i) {
        const bool separated = i == 0 || std::any_of(separators.begin(), separators.end(),
                                                     [&](char c) { return scanner.literal(c); });
        if (!separated || !scanner.whole(numbers[i])) return false;
    }
    return true;
}

bool timeOfDay(std::string_view text, double& seconds) {
    std::int32_t parts[3] = {};
    const bool complete = threeNumbers(text, ":", parts);
    seconds = TmHMSXtoS(parts[0], parts[1], parts[2], 0.0);
    return complete;
}

double timeOf(std::int32_t year, std::int32_t month, std::int32_t day, double seconds) {
    return TmYDStoUTCs80(year, TmYMDtoJD(year, month, day), seconds);
}

} // namespace skar::svp

bool RANSvpFile_Dat::DecodeData(char* line, double& latitude, double& longitude, double& depth,
                                MORVAUString& date, MORVAUString& time, double& auxiliary, double& velocity) {
    if (line == nullptr) return false;
    const std::string_view text(line);
    std::replace(line, line + text.size(), ',', ' ');
    Scanner scanner(text);
    std::array<std::string, 7> tokens;
    const bool seven = std::all_of(tokens.begin(), tokens.end(),
                                   [&scanner](std::string& token) { return scanner.word(token); }) &&
                       scanner.atEnd();
    if (!seven) return false;
    const double numbers[] = {toNumber(tokens[0]), toNumber(tokens[1]), toNumber(tokens[2]),
                              toNumber(tokens[5]), toNumber(tokens[6])};
    const bool finite =
        std::all_of(std::begin(numbers), std::end(numbers), [](double n) { return std::isfinite(n); });
    if (!finite || numbers[0] == 0.0 || numbers[1] == 0.0 || !svp::plausible(numbers[3], numbers[4]))
        return false;
    latitude = numbers[0];
    longitude = numbers[1];
    depth = numbers[2];
    date = svp::textOf(tokens[3]);
    time = svp::textOf(tokens[4]);
    auxiliary = numbers[3];
    velocity = numbers[4];
    return true;
}

double RANSvpFile_Dat::DecodeTimeStamp(MORVAUString date, MORVAUString time) {
    double seconds = 0.0;
    svp::timeOfDay(svp::bytesOf(time), seconds);
    std::int32_t parts[3] = {};
    svp::threeNumbers(svp::bytesOf(date), "/-.:", parts);
    return svp::timeOf(parts[2], parts[1], parts[0], seconds);
}

int RANSvpFile_Dat::ReadInData() {
    sections.clear();
    records.clear();
    return svp::readLines(fileName, [this](svp::TextLines& lines) {
        svp::DepthGate gate;
        while (lines.next()) {
            RAN_DAT record;
            if (!DecodeData(lines.terminated(), record.latitude, record.longitude, record.depth, record.date,
                            record.time, record.auxiliary, record.velocity))
                continue;
            if (sections.isEmpty()) sections.emplace().time = DecodeTimeStamp(record.date, record.time);
            if (!gate.passes(record.depth)) continue;
            records.push_back(record);
            sections.last()->values.emplace(record.depth, record.velocity, isRead);
        }
        return sections.isEmpty() ? codes::svpNoValidSection : codes::success;
    });
}

int RANSvpFile_Dat::UpdateDataFile() {
    if (svp::lacksRecords(records)) return codes::failed;
    const auto writeLine = [](std::string& text, const SvpValues& value, const RAN_DAT& record) {
        constexpr Fixed degreesForm{.decimals = 4, .width = 8, .plus = true};
        append(text, record.latitude, degreesForm);
        text += " ,";
        append(text, record.longitude, degreesForm);
        text += " ,";
        append(text, value.depth, {.decimals = 3, .width = 8, .plus = true, .zeros = true});
        text += " ," + svp::bytesOf(record.date) + ' ' + svp::bytesOf(record.time) + ", ";
        append(text, record.auxiliary, degreesForm);
        text += " ,";
        append(text, value.velocity, {.decimals = 4, .width = 10, .plus = true});
        text += '\n';
    };
    return svp::saveText(fileName, [this, writeLine](svp::TextOutput& output) {
        return std::all_of(sections.begin(), sections.end(), [&](const SvpSections& section) {
            if (section.status == isRemoved) return true;
            output.text() += svp::bytesOf(section.headerText);
            return svp::writeWithRecords(output, section.values, records, writeLine);
        });
    });
}
