#include "platform/file.h"
#include "strings/numbers.h"
#include "svp/textfile.h"

#include <skar/codes.h>
#include <skar/soundvelocity.h>

#include <unicode/locid.h>

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <iterator>
#include <new>
#include <string>

namespace codes = skar::codes;
namespace svp = skar::svp;

SvpFile::SvpValues::SvpValues(double valueDepth, double valueVelocity, std::uint32_t valueStatus)
    : velocity(valueVelocity), depth(valueDepth), status(valueStatus), fromFile(valueStatus == isRead) {}

SvpFile::SvpSections::SvpSections(double sectionTime, const MORVAUString& sectionLatitude,
                                  const MORVAUString& sectionLongitude, std::uint32_t sectionStatus)
    : time(sectionTime), latitude(sectionLatitude), longitude(sectionLongitude), status(sectionStatus) {}

SvpFile::SvpSections::~SvpSections() = default;

double SvpFile::SvpSections::GetLatitude() const {
    return LLDGStringToDouble(latitude);
}

double SvpFile::SvpSections::GetLongitude() const {
    return LLDGStringToDouble(longitude);
}

bool SvpFile::SvpSections::operator==(const SvpSections& other) const {
    return time == other.time && longitude == other.longitude && latitude == other.latitude &&
           status == other.status && headerText == other.headerText;
}

SvpFile::~SvpFile() = default;

int SvpFile::validate() {
    const bool live = std::any_of(sections.begin(), sections.end(), [](const SvpSections& section) {
        return section.status != isRemoved &&
               std::any_of(section.values.begin(), section.values.end(),
                           [](const SvpValues& value) { return value.status != isRemoved; });
    });
    return live ? 0 : 1;
}

int SvpFile::ReadInData() {
    return codes::success;
}

int SvpFile::UpdateDataFile() {
    return codes::success;
}

SvpFile* SvpFile::GetSvpFormat(const MORVAUString& file, int& status) {
    status = codes::success;
    if (isRANEdfFormat(file)) return new (std::nothrow) RANSvpFile_Edf(file);
    if (isCHSFormat(file)) return new (std::nothrow) CHSSvpFile(file);
    if (isRANDatFormat(file)) return new (std::nothrow) RANSvpFile_Dat(file);
    return new (std::nothrow) SkarSvpFile(file);
}

bool SvpFile::isRANEdfFormat(const MORVAUString& file) {
    MORVAUString path = file;
    path.findAndReplace(L'\\', L'/');
    icu::UnicodeString name(path.unicode(), path.lastIndexOf(L'/') + 1);
    return name.toLower(icu::Locale::getRoot()).indexOf(icu::UnicodeString(u".edf")) >= 0;
}

bool SvpFile::isCHSFormat(const MORVAUString& file) {
    std::FILE* stream = skar::platform::openFile(file.getTerminatedBuffer(), "rb");
    if (stream == nullptr) return false;
    const bool opens = std::fgetc(stream) == '(';
    std::fclose(stream);
    return opens;
}

bool SvpFile::isRANDatFormat(const MORVAUString& file) {
    bool decodes = false;
    svp::readLines(file, [&decodes](svp::TextLines& lines) {
        RANSvpFile_Dat::RAN_DAT record;
        decodes =
            lines.next() && lines.next() &&
            RANSvpFile_Dat::DecodeData(lines.terminated(), record.latitude, record.longitude, record.depth,
                                       record.date, record.time, record.auxiliary, record.velocity);
        return codes::success;
    });
    return decodes;
}

double SvpFile::LLDGStringToDouble(const MORVAUString& text) {
    const std::string position = svp::bytesOf(text);
    const std::size_t first = position.find(':');
    const std::size_t second = first == std::string::npos ? first : position.find(':', first + 1);
    if (second == std::string::npos) return 0.0;
    const std::string_view view(position);
    const auto part = [](std::string_view number) { return std::fabs(skar::strings::toNumber(number)); };
    const double degrees =
        part(view.substr(0, first)) +
        (part(view.substr(first + 1, second - first - 1)) + part(view.substr(second + 1)) / 60) / 60;
    return position.find('-') != std::string::npos ? -degrees : degrees;
}

SvpFile::SvpSections* SvpFile::findSection(double time) {
    const auto found = std::find_if(sections.begin(), sections.end(),
                                    [time](const SvpSections& section) { return section.time == time; });
    return found == sections.end() ? nullptr : &*found;
}

const SvpFile::SvpSections* SvpFile::GetSection(double time) const {
    return const_cast<SvpFile*>(this)->findSection(time);
}

SvpFile::SvpValues* SvpFile::findValue(SvpSections& section, double depth) const {
    const auto found =
        std::find_if(section.values.begin(), section.values.end(), [this, depth](const SvpValues& value) {
            return epsilon >= std::fabs(depth - value.depth);
        });
    return found == section.values.end() ? nullptr : &*found;
}

int SvpFile::AddSvpSection(double time, const MORVAUString& latitude, const MORVAUString& longitude) {
    if (findSection(time) != nullptr) return codes::svpTimePresent;
    sections.insertBefore([time](const SvpSections& section) { return section.time > time; },
                          SvpSections(time, latitude, longitude, isNew));
    return codes::success;
}

int SvpFile::SetSvpSection(double time, const MORVAUString& latitude, const MORVAUString& longitude) {
    SvpSections* section = findSection(time);
    if (section == nullptr) return codes::svpNoSection;
    if (section->status == isRemoved) return codes::svpSectionRemoved;
    section->latitude = latitude;
    section->longitude = longitude;
    return codes::success;
}

int SvpFile::GetSvpSection(double time, MORVAUString& latitude, MORVAUString& longitude) {
    const SvpSections* section = findSection(time);
    if (section == nullptr) return codes::svpNoSection;
    if (section->status == isRemoved) return codes::svpSectionRemoved;
    latitude = section->latitude;
    longitude = section->longitude;
    return codes::success;
}

int SvpFile::RemoveSection(double time) {
    SvpSections* section = findSection(time);
    if (section == nullptr) return codes::svpSectionNotFound;
    section->status = isRemoved;
    return codes::success;
}

int SvpFile::AddSvpValue(double time, double depth, double velocity) {
    SvpSections* section = findSection(time);
    if (section == nullptr) return codes::svpNoSectionForValue;
    if (SvpValues* value = findValue(*section, depth)) {
        if (value->status != isRemoved) return codes::svpDepthPresent;
        value->depth = depth;
        value->velocity = velocity;
        value->status = isNew;
        return codes::success;
    }
    section->values.insertBefore([depth](const SvpValues& value) { return value.depth > depth; },
                                 SvpValues(depth, velocity, isNew));
    return codes::success;
}

int SvpFile::liveValue(double time, double depth, SvpValues*& value) {
    SvpSections* section = findSection(time);
    if (section == nullptr) return codes::svpSectionNotFound;
    if (section->status == isRemoved) return codes::svpSectionRemoved;
    value = findValue(*section, depth);
    if (value == nullptr) return codes::svpValueNotFound;
    return value->status == isRemoved ? codes::svpValueRemoved : codes::success;
}

int SvpFile::GetSvpValue(double time, double depth, double& velocity) {
    SvpValues* value = nullptr;
    const int result = liveValue(time, depth, value);
    if (result == codes::success) velocity = value->velocity;
    return result;
}

int SvpFile::SetSvpValue(double time, double depth, double velocity) {
    SvpValues* value = nullptr;
    const int result = liveValue(time, depth, value);
    if (result == codes::success) value->velocity = velocity;
    return result;
}

int SvpFile::RemoveSvpValue(double time, double depth) {
    SvpSections* section = findSection(time);
    if (section == nullptr) return codes::svpSectionNotFound;
    SvpValues* value = findValue(*section, depth);
    if (value == nullptr) return codes::svpValueNotFound;
    value->status = isRemoved;
    return codes::success;
}

long getSVPFileNameDir(const wchar_t* directory, wchar_t* out) {
    if (directory == nullptr || out == nullptr) return codes::svpNullArgument;
    std::wcscpy(out, directory);
    std::wcscat(out, L"\\Svp");
    return codes::success;
}

std::FILE* OpenSVPFileDir(const wchar_t* directory, const wchar_t* mode, wchar_t* openedPath) {
    static constexpr const wchar_t* names[] = {L"SoundSpeedProfile", L"Svp", L"SVP"};
    if (directory == nullptr || mode == nullptr || openedPath == nullptr) return nullptr;
    const bool writes = mode[0] == L'w';
    std::string narrowMode;
    for (const wchar_t* p = mode; *p != L'\0'; ++p)
        narrowMode.push_back(*p < 128 ? static_cast<char>(*p) : '?');
    for (const wchar_t* name : names) {
        if (writes && name != names[1]) continue;
        const std::wstring path = std::wstring(directory) + L'\\' + name;
        if (std::FILE* stream = skar::platform::openFile(path.c_str(), narrowMode.c_str())) {
            std::wcscpy(openedPath, path.c_str());
            return stream;
        }
    }
    openedPath[0] = L'\0';
    return nullptr;
}
