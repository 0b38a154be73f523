#include <skar/codes.h>
#include <skar/rawdataindex.h>

namespace {

constexpr unsigned sensorNumber = 70;
constexpr unsigned dataVersion = 2;

// The attributes in the order of the values of a record.
enum Column : std::size_t { recordType, byteOffset, recordLength, profileNumber, timestamp };
constexpr struct {
    const wchar_t* name;
    SKARIOAttributes::dataType type;
} columns[] = {{L"RecordType", SKARIOAttributes::typeUInt32},
               {L"RecordByteOffset", SKARIOAttributes::typeUInt64},
               {L"RecordLength", SKARIOAttributes::typeUInt32},
               {L"SKARProfileNumber", SKARIOAttributes::typeUInt32},
               {L"SKARTimestamp", SKARIOAttributes::typeDouble}};

} // namespace

SKARRawDataIndex::SKARRawDataIndex(const MORVAUString& directory, const MORVAUString& sourceFileName,
                                   AccessType access, long& status, const MORVAUString& fileName)
    : SKARDataFile(directory, fileName, sourceFileName, sensorNumber, access, dataVersion, status, true) {
    if (access != create) return;
    AddSummaryAttribute(SKARIOAttributes::typeUInt32, L"DataType");
    for (const auto& column : columns)
        AddAttribute(column.type, column.name);
}

SKARRawDataIndex::~SKARRawDataIndex() = default;

void SKARRawDataIndex::addRawDataIndexArray(int type, std::int64_t offset, int length, double time) {
    records.push_back({type, offset, length, -1, time});
}

void SKARRawDataIndex::setSKARProfileNumber(int number) {
    if (!records.empty()) records.back().profileNumber = number;
}

std::vector<SKARRawDataIndex::rawDataIndexStruct>& SKARRawDataIndex::getRawDataIndexArray() {
    return records;
}

std::uint32_t SKARRawDataIndex::writeRawDataIndex(RawDataFileType type) {
    dataValue kind;
    kind.uint32 = type;
    SetSummaryAttribute(0, kind, 0);
    // An index without records has one of zeros, so that it stays when the object goes.
    std::vector<dataValue> values(std::size(columns));
    if (records.empty()) return WriteRecord(0.0, 0, values, {});
    for (const rawDataIndexStruct& record : records) {
        values[recordType].uint32 = static_cast<std::uint32_t>(record.recordType);
        values[byteOffset].uint64 = static_cast<std::uint64_t>(record.recordByteOffset);
        values[recordLength].uint32 = static_cast<std::uint32_t>(record.recordLength);
        values[profileNumber].uint32 = static_cast<std::uint32_t>(record.profileNumber);
        values[timestamp].float64 = record.timestamp;
        if (const std::uint32_t code = WriteRecord(0.0, 0, values, {})) return code;
    }
    return skar::codes::success;
}
