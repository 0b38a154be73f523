#pragma once

#include <skar/attributetypes.h>
#include <skar/export.h>
#include <skar/strings.h>

#include <cstdint>
#include <memory>
#include <vector>

struct _TELD_TmIdxSet;

namespace skar::attributes {
class AttributeFile;

// Where an object stands in the records of the file that it shares with its copies.
struct Place {
    std::int64_t position = 0; // of the next byte to be read
    std::uint32_t record = 0;  // the last one read, 0 before any
    bool reposition = false;   // the position must be looked up before the next read
    std::uint32_t status = 0;  // of the last record read or written
};
} // namespace skar::attributes

// A file that names its attributes itself: a summary that tells their names and types, records of one value
// each, and an index of times and offsets beside it ("TmIdx" behind the file's name).
//
// Creating: make the object, register the attributes, set those of the summary, write records; the first one
// writes the summary and closes the registration, and destroying the object completes the files. A file that
// got no record is removed then. Reading: make the object for query, read records by number, from 1.
//
// Operations return 0 or a code of <skar/codes.h>; none throws for what a file holds. A copy is a view of the
// same file with a place of its own in the records; the last of them completes and closes the file. An object
// and its copies serve one thread at a time.
class SKAR_API SKARDataFile {
public:
    enum AccessType : std::uint32_t { create = 0, query = 1, update = 2 };
    using dataType = SKARIOAttributes::dataType;
    using dataValue = SKARIOAttributes::dataValue;

    // `sensor` and `dataVersion` go into a created file. With `open` the files are opened at once and
    // `status` gets the code of that, else 0. The last-error word of the thread is part of the result, also
    // where the opening went well: a number that an earlier call left there, other than 0 and 183, gives
    // 5000025 or the code that stands for it (see SKARSetLastError).
    SKARDataFile(const MORVAUString& directory, const MORVAUString& fileName,
                 const MORVAUString& sourceFileName, unsigned sensor, AccessType access, unsigned dataVersion,
                 long& status, bool open);
    SKARDataFile(const SKARDataFile& other);
    SKARDataFile& operator=(const SKARDataFile& other);

    // The order of the virtual operations is that of the table that callers are bound to.

    virtual ~SKARDataFile();
    // Opens the files, once. Create: 5000026 when one cannot be made, 5000028 when the head cannot be
    // written. Query and update: 5000025 when one cannot be opened, 5000026 and 5000027 when the summary
    // cannot be read. By the last error: 5000046 not found, 5000014 to 5000016. -1 for an object whose files
    // are open.
    virtual void InitXDR(AccessType access, long& status);

    virtual unsigned GetNumberOfAttributes() const;
    virtual unsigned GetNumberOfSummaryAttributes() const;
    virtual std::uint64_t GetNumberOfRecords() const;
    virtual unsigned GetFileVersionNumber() const;
    virtual unsigned GetDataVersionNumber() const;
    // Bytes of the summary record.
    virtual unsigned GetSummeryRecordSize() const;
    // Writing: bytes of a record without what is variable. Reading: bytes of the largest record.
    virtual unsigned GetDataRecordSize() const;

    // Values of the summary. Blocks stay the object's. `count` (`counts`: one for each) gets the number of
    // elements and may be null. 5000063 for a name that is none, -1 for an index that is none.
    virtual std::uint32_t GetSummaryAttribute(int index, dataValue& value, int* count);
    virtual std::uint32_t GetSummaryAttribute(const MORVAUString& name, dataValue& value, int* count);
    virtual std::uint32_t GetAllSummaryAttributes(std::vector<MORVAUString>& names,
                                                  std::vector<dataType>& types,
                                                  std::vector<dataValue>& values, int* counts);

    // The value that was put beside a data attribute with SetDataAttribute; records do not touch it. The form
    // with a name looks among the attributes of the summary and takes the position found there. 5000063.
    virtual std::uint32_t GetDataAttribute(const std::uint64_t& index, dataValue& value);
    virtual std::uint32_t GetDataAttribute(const MORVAUString& name, dataValue& value);
    virtual std::uint32_t GetAllDataAttributes(std::vector<MORVAUString>& names, std::vector<dataType>& types,
                                               std::vector<dataValue>& values);
    virtual std::uint32_t GetAttributesName(std::vector<MORVAUString>& names, std::vector<dataType>& types);
    // Always 0; the index has all bits set for a name that is none.
    virtual std::uint32_t GetAttributeIndex(std::uint64_t& index, const MORVAUString& name) const;

    virtual unsigned GetSummaryRecordStatus() const;
    // Of the last record read or written.
    virtual unsigned GetDataRecordStatus() const;
    // Bytes of a summary without attributes.
    virtual unsigned GetMinimumSummaryRecordSize();
    // Seconds.
    virtual double GetMinTime() const;
    virtual double GetMaxTime() const;
    virtual std::uint32_t GetSourceFileName(MORVAUString& name) const;

    // Bytes of the record at the present position behind its size word, which is read; 5000058 when it cannot
    // be. A file of version 1 has no such word and all records one size.
    virtual std::uint32_t GetCurrentRecordSize(unsigned& size);
    // Moves to a record where the position has to be established anew: 5000064 without an offset for it,
    // 5000058 when there is no such position.
    virtual std::uint32_t RecalcByteOffset(int& recordNumber, int& byteOffset);

    // Registers an attribute. 5000061 outside create mode, 5000062 once a record was written and for a name
    // of more than 255 bytes in UTF-8.
    virtual std::uint32_t AddAttribute(const dataType& type, const MORVAUString& name);
    virtual std::uint32_t AddSummaryAttribute(const dataType& type, const MORVAUString& name);

    // Sets a value of the summary; blocks are copied. Reaches the file if it is set before the first record.
    // 5000061 in query mode, 5000063 for a name that is none, -1 for an index that is none, for a negative
    // count and for a null block with a count, 5000009 without memory.
    virtual std::uint32_t SetSummaryAttribute(int index, const dataValue& value, int count);
    virtual std::uint32_t SetSummaryAttribute(const MORVAUString& name, const dataValue& value, int count);
    // Reaches the file when the object goes. 5000061 in query mode.
    virtual std::uint32_t SetSummaryRecordStatus(const unsigned& status);
    // Keeps a value beside a data attribute, in memory only. 5000063; the form with a name 5000061 in query
    // mode.
    virtual std::uint32_t SetDataAttribute(const std::uint64_t& index, const dataValue& value);
    virtual std::uint32_t SetDataAttribute(const MORVAUString& name, const dataValue& value);

    // Writes a record. `time` in seconds, within 24 days of the first record's; a value for each attribute
    // and, for those that are variable, a count: without one such an attribute is left out of the record. The
    // length of a string is its own; its count must be that length. 5000061 outside create mode, 5000026 for
    // what cannot be coded and for an index or a summary that cannot take the record, 5000059 when it cannot
    // be written.
    virtual std::uint32_t WriteRecord(const double& time, const unsigned& status,
                                      const std::vector<dataValue>& values, std::vector<int> counts);

    // Reads a record by its number, or the next one for -999. The number of the last record read does not
    // move the file: the bytes behind that record are read under its number. Blocks are the caller's to
    // delete (delete[]). 5000061 in create mode, 5000064 for a number that is none, 5000081 for a record
    // larger than the largest of the file, 5000058 when it cannot be read, 5000026 when a value cannot be
    // decoded: blocks before that value are the caller's all the same.
    virtual std::uint32_t ReadRecord(double& time, unsigned& status, std::vector<dataValue>& values,
                                     std::vector<int>& counts, int recordNumber);
    // The same without what is variable: those values are null.
    virtual std::uint32_t ReadRecord(double& time, unsigned& status, std::vector<dataValue>& values,
                                     int recordNumber);

    // The codings of the store. Results of 32 bits are the low ones of a rounded value; a value that has none
    // gives 0.
    virtual double TELD_DecodeDepthPosition(double reference, int value, int scale);
    virtual int TELD_EncodeDepthPosition(double value, double reference, int scale);
    virtual double TELD_DecodeDepthTime(double reference, int scale, int value);
    virtual int TELD_EncodeDepthTime(double time, double reference, int scale);
    virtual double TELD_DecodeMeters(int value);
    virtual int TELD_EncodeMeters(double value);
    virtual double TELD_DecodePosition(int reference, int scale, int value);
    virtual int TELD_EncodeRefPosition(double value);
    virtual int TELD_EncodePosition(double value, int reference, int scale);
    virtual double TELD_DecodeRadians(int value);
    virtual int TELD_EncodeRadians(double value);
    virtual double TELD_DecodeSeconds(int value);
    virtual int TELD_EncodeSeconds(double value);
    virtual double TELD_DecodeTime(int reference, int scale, int value);
    virtual double TELD_DecodeRefTime(int value);
    virtual int TELD_EncodeRefTime(double time);
    virtual int TELD_EncodeTime(double time, int reference, int scale);

protected:
    // 5000027 and 5000028.
    virtual std::uint32_t TELD_ReadDataValidationRecord();
    virtual std::uint32_t TELD_WriteDataValidationRecord();
    // 5000026; 5000027 when the head of the file is none.
    virtual std::uint32_t ReadSummary();
    virtual std::uint32_t WriteSummary();
    // Rewrites the six words of the summary that change with the records.
    virtual std::uint32_t UpdateSummary();
    // An empty set at the end of the index, null without memory. The index owns it.
    virtual _TELD_TmIdxSet* TmIdxSetAlloc();
    // 5000039 and 5000040.
    virtual std::uint32_t TmIdxRead();
    virtual std::uint32_t TmIdxWrite();
    virtual void TmIdxSetFree(_TELD_TmIdxSet* set);
    // Enters an encoded time with the present position of the data file: 5000009; -1 when the position is
    // beyond the 31 bits that an entry has for it.
    virtual std::uint32_t TmIdxEntry(int time);
    // 5000036 for record 0, 5000037 past the last one.
    virtual std::uint32_t TmIdxMapIndexToByteOffset(unsigned recordNumber, int& byteOffset);
    // Bytes of a record with these values. Attributes without a count add nothing.
    virtual unsigned CalculateSizeOfDataRecord(const std::vector<int>& counts,
                                               const std::vector<dataValue>& values);

private:
    std::shared_ptr<skar::attributes::AttributeFile> file;
    skar::attributes::Place place;
};
