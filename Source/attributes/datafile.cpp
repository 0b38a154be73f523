#include "attributes/attributefile.h"

#include "fileio/coding.h"

#include <skar/codes.h>
#include <skar/datafile.h>
#include <skar/paths.h>

#include <cstdlib>

using namespace skar;
using skar::attributes::Attribute;
using skar::attributes::AttributeFile;
using skar::attributes::AttributeList;

namespace {

constexpr auto noCode = static_cast<std::uint32_t>(codes::failed);

std::uint32_t code(int result) {
    return static_cast<std::uint32_t>(result);
}

MORVAUString joined(const MORVAUString& directory, const MORVAUString& name) {
    MORVAUString path = directory;
    SKARIOUtils::appendPath(path, name);
    return path;
}

void describe(const AttributeList& list, std::vector<MORVAUString>& names,
              std::vector<SKARIOAttributes::dataType>& types) {
    names.clear();
    types.clear();
    for (const Attribute& each : list) {
        names.push_back(each.name);
        types.push_back(each.type);
    }
}

// An encoder of the store as the class gives it out: the word alone.
template <class Encode, class... Arguments>
int coded(Encode encode, Arguments... arguments) {
    std::uint32_t word = 0;
    encode(arguments..., word);
    return static_cast<int>(word);
}

} // namespace

SKARDataFile::SKARDataFile(const MORVAUString& directory, const MORVAUString& fileName,
                           const MORVAUString& sourceFileName, unsigned sensor, AccessType access,
                           unsigned dataVersion, long& status, bool open)
    : file(std::make_shared<AttributeFile>(joined(directory, fileName), sourceFileName, sensor, access,
                                           dataVersion)) {
    status = codes::success;
    if (open) SKARDataFile::InitXDR(access, status);
}

SKARDataFile::SKARDataFile(const SKARDataFile& other) = default;
SKARDataFile& SKARDataFile::operator=(const SKARDataFile& other) = default;
SKARDataFile::~SKARDataFile() = default;

void SKARDataFile::InitXDR(AccessType access, long& status) {
    status = file->open(access, place);
}

unsigned SKARDataFile::GetNumberOfAttributes() const {
    return static_cast<unsigned>(file->dataAttributes.size());
}
unsigned SKARDataFile::GetNumberOfSummaryAttributes() const {
    return static_cast<unsigned>(file->summaryAttributes.size());
}
std::uint64_t SKARDataFile::GetNumberOfRecords() const {
    return file->records;
}
unsigned SKARDataFile::GetFileVersionNumber() const {
    return file->fileVersion;
}
unsigned SKARDataFile::GetDataVersionNumber() const {
    return file->dataVersion;
}
unsigned SKARDataFile::GetSummeryRecordSize() const {
    return file->summarySize;
}
unsigned SKARDataFile::GetDataRecordSize() const {
    return file->recordSize;
}

std::uint32_t SKARDataFile::GetSummaryAttribute(int index, dataValue& value, int* count) {
    if (static_cast<unsigned>(index) >= file->summaryAttributes.size()) return noCode;
    const Attribute& attribute = file->summaryAttributes[static_cast<unsigned>(index)];
    value = attribute.value;
    if (count) *count = attribute.count;
    return codes::success;
}

std::uint32_t SKARDataFile::GetSummaryAttribute(const MORVAUString& name, dataValue& value, int* count) {
    const std::size_t at = file->summaryAttributes.find(name);
    if (at == file->summaryAttributes.size()) return codes::attributeMissing;
    return GetSummaryAttribute(static_cast<int>(at), value, count);
}

std::uint32_t SKARDataFile::GetAllSummaryAttributes(std::vector<MORVAUString>& names,
                                                    std::vector<dataType>& types,
                                                    std::vector<dataValue>& values, int* counts) {
    describe(file->summaryAttributes, names, types);
    values.resize(file->summaryAttributes.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = file->summaryAttributes[i].value;
        if (counts) counts[i] = file->summaryAttributes[i].count;
    }
    return codes::success;
}

std::uint32_t SKARDataFile::GetDataAttribute(const std::uint64_t& index, dataValue& value) {
    if (index >= file->dataAttributes.size()) return codes::attributeMissing;
    value = file->dataAttributes[index].value;
    return codes::success;
}

// Callers are used to the name being looked for among the attributes of the summary.
std::uint32_t SKARDataFile::GetDataAttribute(const MORVAUString& name, dataValue& value) {
    const std::size_t at = file->summaryAttributes.find(name);
    if (at == file->summaryAttributes.size() || at >= file->dataAttributes.size())
        return codes::attributeMissing;
    value = file->dataAttributes[at].value;
    return codes::success;
}

std::uint32_t SKARDataFile::GetAllDataAttributes(std::vector<MORVAUString>& names,
                                                 std::vector<dataType>& types,
                                                 std::vector<dataValue>& values) {
    describe(file->dataAttributes, names, types);
    values.resize(names.size());
    for (std::uint64_t i = 0; i < values.size(); ++i)
        GetDataAttribute(i, values[i]);
    return codes::success;
}

std::uint32_t SKARDataFile::GetAttributesName(std::vector<MORVAUString>& names,
                                              std::vector<dataType>& types) {
    describe(file->dataAttributes, names, types);
    return codes::success;
}

std::uint32_t SKARDataFile::GetAttributeIndex(std::uint64_t& index, const MORVAUString& name) const {
    const std::size_t at = file->dataAttributes.find(name);
    index = at == file->dataAttributes.size() ? ~std::uint64_t{0} : at;
    return codes::success;
}

unsigned SKARDataFile::GetSummaryRecordStatus() const {
    return file->status;
}
unsigned SKARDataFile::GetDataRecordStatus() const {
    return place.status;
}

// The words of a summary without attributes, and its text.
unsigned SKARDataFile::GetMinimumSummaryRecordSize() {
    constexpr unsigned words = 14;
    return static_cast<unsigned>((words + 1) * fileio::wordSize +
                                 attributes::padded(file->source.toUTF8().size()));
}

double SKARDataFile::GetMinTime() const {
    return file->minTime;
}
double SKARDataFile::GetMaxTime() const {
    return file->maxTime;
}
std::uint32_t SKARDataFile::GetSourceFileName(MORVAUString& name) const {
    name = file->source;
    return codes::success;
}

std::uint32_t SKARDataFile::GetCurrentRecordSize(unsigned& size) {
    const std::int64_t before = place.position;
    const std::uint32_t result = code(file->readSizeWord(place, size));
    if (place.position != before) place.reposition = true; // a read goes to the record all the same
    return result;
}
std::uint32_t SKARDataFile::RecalcByteOffset(int& recordNumber, int& byteOffset) {
    return code(file->reposition(place, recordNumber, byteOffset));
}

std::uint32_t SKARDataFile::AddAttribute(const dataType& type, const MORVAUString& name) {
    return code(file->addAttribute(file->dataAttributes, type, name));
}
std::uint32_t SKARDataFile::AddSummaryAttribute(const dataType& type, const MORVAUString& name) {
    return code(file->addAttribute(file->summaryAttributes, type, name));
}

std::uint32_t SKARDataFile::SetSummaryAttribute(int index, const dataValue& value, int count) {
    if (!file->changes()) return codes::attributeAccess;
    if (static_cast<unsigned>(index) >= file->summaryAttributes.size()) return noCode;
    return code(file->setSummaryValue(static_cast<unsigned>(index), value, count));
}
std::uint32_t SKARDataFile::SetSummaryAttribute(const MORVAUString& name, const dataValue& value, int count) {
    if (!file->changes()) return codes::attributeAccess;
    const std::size_t at = file->summaryAttributes.find(name);
    if (at == file->summaryAttributes.size()) return codes::attributeMissing;
    return code(file->setSummaryValue(at, value, count));
}
std::uint32_t SKARDataFile::SetSummaryRecordStatus(const unsigned& status) {
    if (!file->changes()) return codes::attributeAccess;
    file->status = status;
    file->summaryChanged = true;
    return codes::success;
}

std::uint32_t SKARDataFile::SetDataAttribute(const std::uint64_t& index, const dataValue& value) {
    if (index >= file->dataAttributes.size()) return codes::attributeMissing;
    file->dataAttributes[index].value = value;
    return codes::success;
}
std::uint32_t SKARDataFile::SetDataAttribute(const MORVAUString& name, const dataValue& value) {
    if (!file->changes()) return codes::attributeAccess;
    return SetDataAttribute(std::uint64_t{file->dataAttributes.find(name)}, value);
}

std::uint32_t SKARDataFile::WriteRecord(const double& time, const unsigned& status,
                                        const std::vector<dataValue>& values, std::vector<int> counts) {
    const std::uint32_t result = code(file->writeRecord(time, status, values, counts));
    if (result == codes::success) place.status = status;
    place.reposition = true;
    return result;
}
std::uint32_t SKARDataFile::ReadRecord(double& time, unsigned& status, std::vector<dataValue>& values,
                                       std::vector<int>& counts, int recordNumber) {
    return code(file->readRecord(place, time, status, values, &counts, recordNumber));
}
std::uint32_t SKARDataFile::ReadRecord(double& time, unsigned& status, std::vector<dataValue>& values,
                                       int recordNumber) {
    return code(file->readRecord(place, time, status, values, nullptr, recordNumber));
}

double SKARDataFile::TELD_DecodeDepthPosition(double reference, int value, int scale) {
    return fileio::TELD_DecodeDepthPosition(reference, value, scale);
}
int SKARDataFile::TELD_EncodeDepthPosition(double value, double reference, int scale) {
    return coded(fileio::TELD_EncodeDepthPosition, value, reference, scale);
}
double SKARDataFile::TELD_DecodeDepthTime(double reference, int scale, int value) {
    return fileio::TELD_DecodeDepthTime(reference, scale, value);
}
int SKARDataFile::TELD_EncodeDepthTime(double time, double reference, int scale) {
    return coded(fileio::TELD_EncodeDepthTime, time, reference, scale);
}
double SKARDataFile::TELD_DecodeMeters(int value) {
    return fileio::TELD_DecodeMeters(value);
}
int SKARDataFile::TELD_EncodeMeters(double value) {
    return coded(fileio::TELD_EncodeMeters, value);
}
double SKARDataFile::TELD_DecodePosition(int reference, int scale, int value) {
    return fileio::TELD_DecodePosition(value, reference, scale);
}
int SKARDataFile::TELD_EncodeRefPosition(double value) {
    return coded(fileio::TELD_EncodeRefPosition, value);
}
int SKARDataFile::TELD_EncodePosition(double value, int reference, int scale) {
    return coded(fileio::TELD_EncodePosition, value, reference, scale);
}
double SKARDataFile::TELD_DecodeRadians(int value) {
    return fileio::TELD_DecodeRadians(value);
}
int SKARDataFile::TELD_EncodeRadians(double value) {
    return coded(fileio::TELD_EncodeRadians, value);
}
double SKARDataFile::TELD_DecodeSeconds(int value) {
    return fileio::TELD_DecodeSeconds(value);
}
int SKARDataFile::TELD_EncodeSeconds(double value) {
    return coded(fileio::TELD_EncodeSeconds, value);
}
double SKARDataFile::TELD_DecodeTime(int reference, int scale, int value) {
    return fileio::TELD_DecodeTime(value, reference, scale);
}
double SKARDataFile::TELD_DecodeRefTime(int value) {
    return fileio::TELD_DecodeRefTime(value);
}
int SKARDataFile::TELD_EncodeRefTime(double time) {
    return coded(fileio::TELD_EncodeRefTime, time);
}
int SKARDataFile::TELD_EncodeTime(double time, int reference, int scale) {
    return coded(fileio::TELD_EncodeTime, time, reference, scale);
}

std::uint32_t SKARDataFile::TELD_ReadDataValidationRecord() {
    return code(file->readValidation(place));
}
std::uint32_t SKARDataFile::TELD_WriteDataValidationRecord() {
    return code(file->writeValidation());
}
std::uint32_t SKARDataFile::ReadSummary() {
    return code(file->readSummary(place));
}
std::uint32_t SKARDataFile::WriteSummary() {
    place.reposition = true;
    return code(file->writeSummary());
}
std::uint32_t SKARDataFile::UpdateSummary() {
    place.reposition = true;
    return code(file->updateSummary());
}
_TELD_TmIdxSet* SKARDataFile::TmIdxSetAlloc() {
    return file->allocateSet();
}
std::uint32_t SKARDataFile::TmIdxRead() {
    return code(file->readIndex());
}
std::uint32_t SKARDataFile::TmIdxWrite() {
    return code(file->writeIndex());
}
void SKARDataFile::TmIdxSetFree(_TELD_TmIdxSet* set) {
    if (!set || file->index.remove(file->indexList(), set)) return;
    // One that the index does not own is the caller's, from malloc.
    std::free(set->offsets);
    std::free(set);
}
std::uint32_t SKARDataFile::TmIdxEntry(int time) {
    return code(file->enterInIndex(time));
}
std::uint32_t SKARDataFile::TmIdxMapIndexToByteOffset(unsigned recordNumber, int& byteOffset) {
    return code(file->offsetOf(recordNumber, byteOffset));
}
unsigned SKARDataFile::CalculateSizeOfDataRecord(const std::vector<int>& counts,
                                                 const std::vector<dataValue>& values) {
    constexpr std::uint64_t most = ~std::uint32_t{0};
    return static_cast<unsigned>(std::min(file->sizeOfRecord(counts, values), most));
}
