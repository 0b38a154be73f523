#include <skar/codes.h>
#include <skar/rmsfiles.h>

#include <span>

namespace {

using SKARIOAttributes::dataType;
using SKARIOAttributes::dataValue;

constexpr auto noCode = static_cast<std::uint32_t>(skar::codes::failed);

// What a file of this kind is called and holds.
struct Kind {
    const wchar_t* fileName;
    unsigned sensor;
    unsigned dataVersion;
    std::span<const wchar_t* const> flags;
    dataType columnType;
    std::span<const wchar_t* const> columns;
};

constexpr const wchar_t* rmsFlags[] = {L"POSITION_SET", L"HEAVE_SET", L"ROLL_SET", L"PITCH_SET", L"GYRO_SET"};
constexpr const wchar_t* rmsColumns[] = {L"N_RMS",    L"E_RMS",     L"HEAVE_RMS",
                                         L"ROLL_RMS", L"PITCH_RMS", L"GYRO_RMS"};
constexpr const wchar_t* trueHeaveFlags[] = {L"TRUEHEAVE_SET"};
constexpr const wchar_t* trueHeaveColumns[] = {L"TRUEHEAVE_RMS"};
constexpr const wchar_t* tideColumns[] = {L"Tide_Error"};

constexpr Kind rms = {L"RMS", 58, 1, rmsFlags, SKARIOAttributes::typeFloat, rmsColumns};
constexpr Kind trueHeaveRms = {L"TrueHeaveRMS", 75, 1, trueHeaveFlags, SKARIOAttributes::typeFloat,
                               trueHeaveColumns};
constexpr Kind tideError = {L"TideError", 59, 1, {}, SKARIOAttributes::typeDouble, tideColumns};

void registerAttributes(SKARDataFile& file, SKARDataFile::AccessType access, const Kind& kind) {
    if (access != SKARDataFile::create) return;
    for (const wchar_t* name : kind.flags)
        file.AddSummaryAttribute(SKARIOAttributes::typeBoolean, name);
    for (const wchar_t* name : kind.columns)
        file.AddAttribute(kind.columnType, name);
}

// Null after a failure.
template <class File>
std::shared_ptr<File> opened(const wchar_t* directory, const wchar_t* source, SKARDataFile::AccessType access,
                             long& status) {
    auto file = std::make_shared<File>(MORVAUString(directory), MORVAUString(source), access, status);
    return status == skar::codes::success ? file : nullptr;
}

// Which of a file's columns are of that type: a file of the name may describe itself as something else.
std::vector<bool> columnsOf(SKARDataFile& file, dataType type) {
    std::vector<MORVAUString> names;
    std::vector<dataType> types;
    file.GetAttributesName(names, types);
    std::vector<bool> columns;
    for (const dataType each : types)
        columns.push_back(each == type);
    return columns;
}
bool has(const std::vector<bool>& columns, std::size_t column) {
    return column < columns.size() && columns[column];
}

} // namespace

SKARRmsFile::SKARRmsFile(const MORVAUString& directory, const MORVAUString& sourceFileName, AccessType access,
                         long& status)
    : SKARDataFile(directory, rms.fileName, sourceFileName, rms.sensor, access, rms.dataVersion, status,
                   true) {
    registerAttributes(*this, access, rms);
}
SKARRmsFile::~SKARRmsFile() = default;

SKARTrueHeaveRmsFile::SKARTrueHeaveRmsFile(const MORVAUString& directory, const MORVAUString& sourceFileName,
                                           AccessType access, long& status)
    : SKARDataFile(directory, trueHeaveRms.fileName, sourceFileName, trueHeaveRms.sensor, access,
                   trueHeaveRms.dataVersion, status, true) {
    registerAttributes(*this, access, trueHeaveRms);
}
SKARTrueHeaveRmsFile::~SKARTrueHeaveRmsFile() = default;

SKARTideError::SKARTideError(const MORVAUString& directory, const MORVAUString& sourceFileName,
                             AccessType access, long& status)
    : SKARDataFile(directory, tideError.fileName, sourceFileName, tideError.sensor, access,
                   tideError.dataVersion, status, true) {
    registerAttributes(*this, access, tideError);
}
SKARTideError::~SKARTideError() = default;

namespace SKAR {

RMSFile::RMSFile(const wchar_t* directory, long& status)
    : file(opened<SKARRmsFile>(directory, L"", SKARDataFile::query, status)) {
    if (!file) return;
    records = static_cast<unsigned long>(file->GetNumberOfRecords());
    minTime = file->GetMinTime();
    maxTime = file->GetMaxTime();
    columns = columnsOf(*file, rms.columnType);
    scratch.resize(columns.size());
}
RMSFile::~RMSFile() = default;
RMSFile::RMSFile(const RMSFile& other) = default;
RMSFile& RMSFile::operator=(const RMSFile& other) = default;

std::uint32_t RMSFile::read(dataField field, unsigned recordNumber, double& time, double& value,
                            unsigned& status) {
    if (!file) return noCode;
    if (const auto code = file->ReadRecord(time, status, scratch, static_cast<int>(recordNumber)))
        return code;
    if (field > gyroRms || !has(columns, field)) return noCode;
    value = scratch[field].float32;
    return skar::codes::success;
}

unsigned long RMSFile::getNumberOfRecords() const {
    return records;
}
double RMSFile::getMinTime() const {
    return minTime;
}
double RMSFile::getMaxTime() const {
    return maxTime;
}

TideErrorFile::TideErrorFile(const wchar_t* directory, long& status)
    : file(opened<SKARTideError>(directory, L"", SKARDataFile::query, status)) {
    if (!file) return;
    records = static_cast<unsigned long>(file->GetNumberOfRecords());
    minTime = file->GetMinTime();
    maxTime = file->GetMaxTime();
}
TideErrorFile::TideErrorFile(const wchar_t* directory, const wchar_t* sourceFileName, long& status)
    : file(opened<SKARTideError>(directory, sourceFileName, SKARDataFile::create, status)) {}
TideErrorFile::~TideErrorFile() = default;
TideErrorFile::TideErrorFile(const TideErrorFile& other) = default;
TideErrorFile& TideErrorFile::operator=(const TideErrorFile& other) = default;

std::uint32_t TideErrorFile::read(unsigned recordNumber, double& time, double& value, unsigned& status) {
    if (!file) return noCode;
    std::vector<dataValue> values;
    if (const auto code = file->ReadRecord(time, status, values, static_cast<int>(recordNumber))) return code;
    if (!has(columnsOf(*file, tideError.columnType), 0)) return noCode;
    value = values[0].float64;
    return skar::codes::success;
}

std::uint32_t TideErrorFile::write(double time, double value, unsigned status) {
    if (!file) return noCode;
    std::vector<dataValue> values(1);
    values[0].float64 = value;
    return file->WriteRecord(time, status, values, {});
}

unsigned long TideErrorFile::getNumberOfRecords() const {
    return records;
}
double TideErrorFile::getMinTime() const {
    return minTime;
}
double TideErrorFile::getMaxTime() const {
    return maxTime;
}

} // namespace SKAR
