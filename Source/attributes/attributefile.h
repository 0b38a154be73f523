#pragma once

#include "attributes/values.h"
#include "fileio/recordfile.h"
#include "fileio/tmidx.h"

#include <skar/datafile.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace skar::attributes {

using SKARIOAttributes::dataType;

struct Attribute {
    dataType type = SKARIOAttributes::typeUInt32;
    MORVAUString name;
    dataValue value; // of the summary; beside a data attribute whatever the caller put there
    int count = 0;   // elements of a block
    Slot slot;
};

// Attributes in the order of the file.
class AttributeList {
public:
    void add(dataType type, const MORVAUString& name);
    std::size_t size() const noexcept { return attributes_.size(); }
    Attribute& operator[](std::size_t i) noexcept { return attributes_[i]; }
    const Attribute& operator[](std::size_t i) const noexcept { return attributes_[i]; }
    // Position of a name, size() for one that is none.
    std::size_t find(const MORVAUString& name) const noexcept;
    auto begin() noexcept { return attributes_.begin(); }
    auto end() noexcept { return attributes_.end(); }
    auto begin() const noexcept { return attributes_.begin(); }
    auto end() const noexcept { return attributes_.end(); }
    void clear() noexcept { attributes_.clear(); }

private:
    std::vector<Attribute> attributes_;
};

// The pair of files that an object and its copies share; completed and closed with the last of them.
class AttributeFile {
public:
    using AccessType = SKARDataFile::AccessType;

    AttributeFile(const MORVAUString& path, const MORVAUString& source, std::uint32_t sensor,
                  AccessType access, std::uint32_t dataVersion);
    ~AttributeFile();
    AttributeFile(const AttributeFile&) = delete;
    AttributeFile& operator=(const AttributeFile&) = delete;

    int open(AccessType access, Place& place);

    int readValidation(Place& place);
    int writeValidation();
    int readSummary(Place& place);
    int writeSummary();
    int updateSummary();
    int readIndex();
    int writeIndex();

    int addAttribute(AttributeList& list, dataType type, const MORVAUString& name);
    int setSummaryValue(std::size_t index, const dataValue& value, int count);

    int writeRecord(double time, std::uint32_t status, const std::vector<dataValue>& values,
                    const std::vector<int>& counts);
    // Without `counts` what is variable is passed over.
    int readRecord(Place& place, double& time, std::uint32_t& status, std::vector<dataValue>& values,
                   std::vector<int>* counts, int number);
    int readSizeWord(Place& place, std::uint32_t& size);
    int reposition(Place& place, int number, int& offset);
    // Null, with a log line, when memory is short.
    _TELD_TmIdxSet* allocateSet();
    int enterInIndex(std::int32_t encodedTime);
    int offsetOf(std::uint32_t number, int& offset) const;
    std::uint64_t sizeOfRecord(const std::vector<int>& counts, const std::vector<dataValue>& values) const;

    fileio::TmIdxList indexList() { return {numSets, firstSet, lastSet}; }
    bool writes() const noexcept { return access == SKARDataFile::create; }
    bool changes() const noexcept { return access != SKARDataFile::query; }

    AccessType access;
    std::uint32_t sensor;
    std::uint32_t fileVersion = 2;
    std::uint32_t dataVersion;
    MORVAUString path;
    MORVAUString source;

    std::uint32_t status = 0;
    std::uint32_t records = 0;
    std::int32_t scale = 1000;      // ticks per second
    std::int32_t referenceTime = 0; // minutes
    double minTime = std::numeric_limits<double>::max();
    double maxTime = -std::numeric_limits<double>::max();
    std::uint32_t summarySize = 0;
    std::uint32_t recordSize = 0; // the fixed part; after reading a summary that of the largest
    std::uint32_t largestRecord = 0;
    AttributeList summaryAttributes;
    AttributeList dataAttributes;
    bool variableRecords = false;
    bool registering = true;
    bool summaryChanged = false;

    fileio::TimeIndexStore index;
    std::uint32_t numSets = 0;
    std::uint32_t setCapacity = fileio::fullTmIdxSet;
    _TELD_TmIdxSet* firstSet = nullptr;
    _TELD_TmIdxSet* lastSet = nullptr;

private:
    // Where the words of the summary stand that are rewritten, from the start of the summary.
    struct Positions {
        std::uint32_t status = 0;
        std::uint32_t records = 0;
        std::uint32_t reference = 0;
        std::uint32_t minimum = 0;
        std::uint32_t maximum = 0;
        std::uint32_t largest = 0;
    };

    int openStreams();
    int judgeLastError(int code) const;
    std::string shownPath() const;
    std::size_t encodeSummary(std::span<std::byte> buffer, Positions& at) const;
    bool decodeSummary(Decoder& from, Positions& at);
    static bool decodeAttributes(Decoder& from, std::uint32_t count, AttributeList& list);
    void takeSlots();
    void dropSummaryBlocks() noexcept;
    int startRecords(double time);
    bool encodeAttribute(Encoder& to, std::size_t i, const std::vector<dataValue>& values,
                         const std::vector<int>& counts) const;
    const std::byte* record(Place& place, std::uint32_t& size, int& code);
    bool readBytes(Place& place, std::size_t size, const std::byte*& bytes);
    std::uint32_t fixedRecordSize() const noexcept;
    void complete();
    void dropUnwritten();
    bool encodeTime(double time, std::uint32_t& word) const noexcept;
    double decodeTime(std::uint32_t word) const noexcept;

    std::FILE* dataStream_ = nullptr;
    std::FILE* indexStream_ = nullptr;
    bool madeData_ = false;
    bool madeIndex_ = false;
    std::optional<fileio::RecordFile> file_;
    Positions positions_;
    bool hasSummary_ = false;
    std::vector<Slot> slots_;       // of the data attributes
    std::size_t scalarBytes_ = 0;   // of those in a record that are not variable
    std::vector<std::byte> buffer_; // of the record that is being written
};

} // namespace skar::attributes
