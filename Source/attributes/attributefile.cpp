#include "attributes/attributefile.h"

#include "fileio/coding.h"
#include "fileio/handle.h"
#include "fileio/xdr.h"
#include "platform/file.h"

#include <skar/codes.h>
#include <skar/log.h>

#include <algorithm>
#include <new>

namespace skar::attributes {

namespace {

constexpr std::size_t longestName = 255; // of an attribute, in bytes
const MORVAUString indexSuffix(L"TmIdx");

// A zero inside would hide the end of the path, so that such a one names no file.
std::FILE* openPath(const MORVAUString& path, const char* mode) {
    const bool hidden = path.unicode().indexOf(char16_t{0}) >= 0;
    return platform::openFile(hidden ? nullptr : path.getTerminatedBuffer(), mode);
}

void close(std::FILE*& stream) noexcept {
    if (stream) std::fclose(stream);
    stream = nullptr;
}

} // namespace

void AttributeList::add(dataType type, const MORVAUString& name) {
    attributes_.push_back({type, name, {}, 0, slotOf(type)});
}

std::size_t AttributeList::find(const MORVAUString& name) const noexcept {
    const auto at = std::find_if(begin(), end(), [&](const Attribute& each) { return each.name == name; });
    return static_cast<std::size_t>(at - begin());
}

AttributeFile::AttributeFile(const MORVAUString& filePath, const MORVAUString& sourceFileName,
                             std::uint32_t sensorNumber, AccessType accessType, std::uint32_t version)
    : access(accessType), sensor(sensorNumber), dataVersion(version), path(filePath), source(sourceFileName) {
}

AttributeFile::~AttributeFile() {
    complete();
    dropSummaryBlocks();
    if (!writes() || records != 0) return;
    if (madeIndex_) platform::removeFile((path + indexSuffix).getTerminatedBuffer());
    if (madeData_) platform::removeFile(path.getTerminatedBuffer());
}

void AttributeFile::complete() {
    if (indexStream_ && file_ && writes()) {
        if (!file_->flush()) dropUnwritten();
        writeIndex();
        updateSummary();
    } else if (file_ && access == SKARDataFile::update && summaryChanged) {
        updateSummary();
    }
    file_.reset();
    close(indexStream_);
    close(dataStream_);
}

// What did not reach the disk must not be counted: keeps the records that lie within the file.
void AttributeFile::dropUnwritten() {
    const std::int64_t size = file_->size();
    std::int64_t end = file_->position();
    while (records > 0 && end > size) {
        const auto* last = index.find(numSets, firstSet, lastSet, records);
        if (!last) break;
        end = last->offset;
        --records;
    }
    std::uint32_t left = records;
    for (auto* set = firstSet; set; set = set->next) {
        set->numRecords = std::min(set->numRecords, left);
        left -= set->numRecords;
    }
}

std::string AttributeFile::shownPath() const {
    return path.toUTF8();
}

int AttributeFile::open(AccessType accessType, Place& place) {
    if (dataStream_ || indexStream_) return codes::failed;
    access = accessType;
    int code = openStreams();
    if (code == codes::success) {
        file_.emplace(dataStream_);
        code = writes() ? writeValidation() : readSummary(place);
    }
    code = judgeLastError(code);
    if (!writes()) {
        if (code == codes::success) readIndex();
        close(indexStream_);
    }
    return code;
}

int AttributeFile::openStreams() {
    const char* indexMode = writes() ? "wb" : "rb";
    dataStream_ = openPath(path, access == SKARDataFile::update ? "rb+" : indexMode);
    madeData_ = writes() && dataStream_;
    // The index of a file that cannot be made is left as it is, and the last error says what hindered.
    if (dataStream_ || !writes()) indexStream_ = openPath(path + indexSuffix, indexMode);
    madeIndex_ = writes() && indexStream_;
    if (dataStream_ && indexStream_) return codes::success;
    return writes() ? codes::attributeFileCreate : codes::lineOpen;
}

// Looks at the last error also where the files were opened: callers count on what an error that was left from
// before does to the result.
int AttributeFile::judgeLastError(int code) const {
    static constexpr struct {
        std::uint32_t error;
        int code;
        const char* text;
    } rows[] = {
        {platform::errorFileNotFound, codes::sensorMissing,
         "SKAR IO was unable to find the data file '%s'\n"},
        {platform::errorTooManyOpenFiles, codes::attributeTooMany,
         "SKAR IO could not open '%s' because there are too many files open on the system.\n"},
        {platform::errorAccessDenied, codes::attributeDenied,
         "SKAR IO could not open '%s' because access is denied by the system.\n"},
        {platform::errorNotEnoughMemory, codes::attributeNoSpace,
         "SKAR IO could not open '%s' because there is not enough disk space available.\n"},
    };
    const std::uint32_t error = platform::lastError();
    if (error == platform::errorNone || error == platform::errorAlreadyExists) return code;
    for (const auto& row : rows) {
        if (row.error != error) continue;
            // The texts are the table's own, each with one %s.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        skarDebugLog(SKAR::debugLogFileProblems, row.text, shownPath().c_str());
#pragma GCC diagnostic pop
        return row.code;
    }
    skarDebugLog(SKAR::debugLogFileProblems,
                 "SKAR IO could not open '%s'.  Windows returned the following error:\n\t%s\n",
                 shownPath().c_str(), MORVAUString(platform::lastErrorText(error).c_str()).toUTF8().c_str());
    return code == codes::success ? codes::lineOpen : code;
}

int AttributeFile::readValidation(Place& place) {
    if (!file_ || !file_->seek(0)) return codes::dataValidationRead;
    place.position = 0;
    place.reposition = true;
    const std::byte* bytes = file_->read(4 * wordSize);
    if (!bytes || loadWord(bytes) != fileio::teldToken ||
        loadWord(bytes + 2 * wordSize) != fileio::fileTypeData)
        return codes::dataValidationRead;
    fileVersion = loadWord(bytes + 3 * wordSize);
    place.position = file_->position();
    return codes::success;
}

int AttributeFile::writeValidation() {
    std::byte bytes[4 * wordSize];
    Encoder to(bytes);
    for (const std::uint32_t word : {fileio::teldToken, sensor, fileio::fileTypeData, fileVersion})
        to.word(word);
    const bool written = file_ && file_->seek(0) && file_->write(bytes, sizeof bytes);
    return written ? codes::success : codes::dataValidationWrite;
}

int AttributeFile::readIndex() try {
    if (!indexStream_ || std::fseek(indexStream_, 0, SEEK_SET) != 0) return codes::timeIndexRead;
    qon_XDR stream;
    qon_xdrstdio_create(&stream, indexStream_, XDR_DECODE);
    const fileio::XdrScope scope(stream);
    std::uint32_t token = 0;
    std::uint32_t sets = 0;
    if (!qon_xdr_u_int(&stream, &token) || token != fileio::teldToken ||
        !qon_xdr_u_int(&stream, &fileVersion) || !qon_xdr_u_int(&stream, &sets) ||
        !qon_xdr_u_int(&stream, &setCapacity))
        return codes::timeIndexRead;
    const auto step = fileio::readTmIdxSets(indexList(), index, sets, setCapacity, indexStream_, stream);
    if (step == fileio::TmIdxStep::done) return codes::success;
    return step == fileio::TmIdxStep::memory ? codes::outOfMemory : codes::timeIndexRead;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

int AttributeFile::writeIndex() {
    if (!indexStream_ || std::fseek(indexStream_, 0, SEEK_SET) != 0) return codes::timeIndexWrite;
    const bool written = fileio::writeTmIdxSets(
        indexStream_, {fileio::teldToken, fileVersion, numSets, setCapacity}, firstSet);
    return written && std::fflush(indexStream_) == 0 ? codes::success : codes::timeIndexWrite;
}

_TELD_TmIdxSet* AttributeFile::allocateSet() {
    // An entry is put into a set until it has the full count, whatever the capacity says.
    _TELD_TmIdxSet* set = index.append(indexList(), std::max(setCapacity, fileio::fullTmIdxSet));
    if (!set)
        skarDebugLog(SKAR::debugLogFileProblems,
                     "TmIdxSetAlloc: malloc() returned NULL.  No memory available.\n");
    return set;
}

int AttributeFile::enterInIndex(std::int32_t encodedTime) {
    const std::int64_t offset = file_ ? file_->position() : -1;
    if (offset < 0 || offset > std::numeric_limits<std::int32_t>::max()) return codes::failed;
    if (!index.takesEntry(lastSet) && !allocateSet()) {
        skarDebugLog(SKAR::debugLogFileProblems, "TmIdxEntry: out of memory\n");
        return codes::outOfMemory;
    }
    index.enter(*lastSet, encodedTime, static_cast<std::int32_t>(offset));
    return codes::success;
}

int AttributeFile::offsetOf(std::uint32_t number, int& offset) const {
    if (number == 0) {
        skarDebugLog(SKAR::debugLogFileProblems, "TmIdxMapIndexToByteOffset: record number is invalid\n");
        return codes::recordZero;
    }
    const auto* entry = index.find(numSets, firstSet, lastSet, number);
    if (!entry) {
        skarDebugLog(SKAR::debugLogFileProblems,
                     "TmIdxMapIndexToByteOffset: requested record number not found\n");
        return codes::recordNotIndexed;
    }
    offset = entry->offset;
    return codes::success;
}

int AttributeFile::addAttribute(AttributeList& list, dataType type, const MORVAUString& name) {
    if (!writes()) return codes::attributeAccess;
    if (!registering || name.toUTF8().size() > longestName) return codes::attributeTooLate;
    list.add(type, name);
    if (&list == &dataAttributes && slotOf(type).isVariable()) variableRecords = true;
    return codes::success;
}

int AttributeFile::setSummaryValue(std::size_t at, const dataValue& value, int count) {
    Attribute& attribute = summaryAttributes[at];
    if (!attribute.slot.isVariable()) {
        attribute.value = value;
        attribute.count = 0;
        return codes::success;
    }
    if (count < 0 || (count > 0 && !value.byteArray)) return codes::failed;
    dataValue copy;
    if (count > 0 && !copyBlock(attribute.slot, value, static_cast<std::uint64_t>(count), copy))
        return codes::outOfMemory;
    freeBlock(attribute.value);
    attribute.value = copy;
    attribute.count = count;
    return codes::success;
}

void AttributeFile::dropSummaryBlocks() noexcept {
    for (Attribute& attribute : summaryAttributes)
        if (attribute.slot.isVariable()) freeBlock(attribute.value);
}

} // namespace skar::attributes
