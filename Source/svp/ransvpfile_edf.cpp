#include "svp/ransvpfile.h"

#include "strings/numbers.h"

#include <skar/codes.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

namespace codes = skar::codes;
namespace svp = skar::svp;
using skar::strings::append;
using skar::strings::Scanner;

namespace {

constexpr std::size_t valueColumn = 17;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// Whether the line begins with the label, given in lower case.
bool isLabelled(std::string_view line, std::string_view label) {
    return line.size() >= label.size() &&
           std::equal(label.begin(), label.end(), line.begin(), [](char a, char b) { return a == lower(b); });
}

std::string_view valueOf(std::string_view line) {
    return line.size() > valueColumn ? line.substr(valueColumn) : std::string_view();
}

// "26 28.620N" as degrees, minutes and seconds, negative in the hemisphere named. A text that is no position
// leaves the result alone.
void convertPosition(std::string_view text, char negativeHemisphere, int degreeDigits, MORVAUString& result) {
    Scanner scanner(text);
    std::int32_t degrees = 0;
    std::string minutesText;
    if (!scanner.whole(degrees) || !scanner.word(minutesText)) return;
    const char hemisphere = lower(minutesText.back());
    if (hemisphere >= 'a' && hemisphere <= 'z') minutesText.pop_back();
    const double minutes = std::clamp(skar::strings::toNumber(minutesText), 0.0, 1e9);
    const double wholeMinutes = std::trunc(minutes);
    const bool negative = hemisphere == negativeHemisphere || degrees < 0;
    std::string position = negative ? "-" : "";
    append(position, std::abs(std::int64_t{degrees}), degreeDigits, true);
    position += ':';
    append(position, static_cast<std::int64_t>(wholeMinutes), 2, true);
    position += ':';
    append(position, static_cast<std::int64_t>(std::trunc((minutes - wholeMinutes) * 60 + 0.5)), 2, true);
    result = svp::textOf(position);
}

void appendPosition(std::string& text, std::string_view label, double position, char positive,
                    char negative) {
    const double size = std::fabs(position);
    const double degrees = std::trunc(size);
    text += label;
    append(text, degrees, {.decimals = 0});
    text += ' ';
    append(text, (size - degrees) * 60, {.decimals = 3, .width = 6});
    text += position < 0 ? negative : positive;
    text += '\n';
}

std::string headerBytes(const MORVAUString& before, const MORVAUString& after, double latitude,
                        double longitude) {
    std::string text = svp::bytesOf(before);
    appendPosition(text, "Latitude      :  ", latitude, 'N', 'S');
    appendPosition(text, "Longitude     :  ", longitude, 'E', 'W');
    return text + svp::bytesOf(after);
}

} // namespace

bool RANSvpFile_Edf::DecodeData(const char* line, double& auxiliary, double& depth, double& velocity) {
    if (line == nullptr) return false;
    Scanner scanner{std::string_view(line)};
    double numbers[3] = {};
    if (!std::all_of(std::begin(numbers), std::end(numbers),
                     [&scanner](double& n) { return scanner.number(n); }) ||
        !svp::plausible(numbers[1], numbers[2]))
        return false;
    depth = numbers[0];
    auxiliary = numbers[1];
    velocity = numbers[2];
    return true;
}

void RANSvpFile_Edf::GenerateHeader(MORVAUString& out, double latitude, double longitude) const {
    out = svp::textOf(headerBytes(linesBeforePosition, linesAfterPosition, latitude, longitude));
}

int RANSvpFile_Edf::ReadInData() {
    sections.clear();
    records.clear();
    linesBeforePosition = linesAfterPosition = MORVAUString();
    latitudeText = longitudeText = MORVAUString(L"00:00:00");
    return svp::readLines(fileName, [this](svp::TextLines& lines) {
        std::string before;
        std::string after;
        bool positioned = false;
        bool hasDate = false;
        bool hasTime = false;
        std::int32_t date[3] = {};
        double seconds = 0.0;
        const auto keep = [&] { (positioned ? after : before).append(lines.line()) += '\n'; };
        while (lines.next()) {
            const std::string_view line = lines.line();
            if (isLabelled(line, "latitude")) {
                convertPosition(valueOf(line), 's', 2, latitudeText);
                positioned = true;
                continue;
            }
            if (isLabelled(line, "longitude")) {
                convertPosition(valueOf(line), 'w', 3, longitudeText);
                positioned = true;
                continue;
            }
            if (isLabelled(line, "date of")) {
                hasDate = svp::threeNumbers(valueOf(line), "/", date);
            } else if (isLabelled(line, "time of")) {
                hasTime = svp::timeOfDay(valueOf(line), seconds);
            } else if (line.starts_with("Depth (m)")) {
                // Both lines come back behind the position, so that the header ends there again.
                positioned = true;
                keep();
                if (lines.next()) keep();
                break;
            }
            keep();
        }
        linesBeforePosition = svp::textOf(before);
        linesAfterPosition = svp::textOf(after);
        if (!hasDate || !hasTime) return static_cast<int>(codes::svpNoValidSection);

        SvpSections& section =
            sections.emplace(svp::timeOf(date[2], date[1], date[0], seconds), latitudeText, longitudeText);
        svp::DepthGate gate;
        while (lines.next()) {
            RAN_EDF record;
            if (!DecodeData(lines.terminated(), record.auxiliary, record.depth, record.velocity) ||
                !gate.passes(record.depth))
                continue;
            records.push_back(record);
            section.values.emplace(record.depth, record.velocity, isRead);
        }
        return static_cast<int>(codes::success);
    });
}

int RANSvpFile_Edf::UpdateDataFile() {
    if (svp::lacksRecords(records)) return codes::failed;
    const auto writeLine = [](std::string& text, const SvpValues& value, const RAN_EDF& record) {
        append(text, value.depth, {.decimals = 1});
        text += ' ';
        append(text, record.auxiliary, {.decimals = 2});
        text += ' ';
        append(text, value.velocity, {.decimals = 2});
        text += '\n';
    };
    return svp::saveText(fileName, [this, writeLine](svp::TextOutput& output) {
        return std::all_of(sections.begin(), sections.end(), [&](const SvpSections& section) {
            if (section.status == isRemoved) return true;
            output.text() += headerBytes(linesBeforePosition, linesAfterPosition, section.GetLatitude(),
                                         section.GetLongitude());
            return svp::writeWithRecords(output, section.values, records, writeLine);
        });
    });
}
