#pragma once

#include <skar/datafile.h>

#include <cstdint>
#include <vector>

// Where each record of a raw file lies: an attribute file, filled in memory while the raw file is walked and
// written at once. The time of every record of the file itself is 0; the raw record's is an attribute.
class SKAR_API SKARRawDataIndex : public SKARDataFile {
public:
    struct rawDataIndexStruct {
        int recordType = 0;
        std::int64_t recordByteOffset = 0;
        int recordLength = 0;
        int profileNumber = -1; // -1 where the record gave no profile
        double timestamp = 0.0; // seconds
    };

    // The kind of raw file; stored, not looked at.
    enum RawDataFileType : std::uint32_t {
        rawDataUnknown = 0,
        rawDataKongsbergAll = 1,
        rawDataNmea = 2,
        rawDataRecorderLog = 3,
        rawDataGsf = 4,
        rawDataXtf = 5,
    };

    // The name comes last here. In create mode the attributes are registered; in the others they are the
    // file's own.
    SKARRawDataIndex(const MORVAUString& directory, const MORVAUString& sourceFileName, AccessType access,
                     long& status, const MORVAUString& fileName);
    ~SKARRawDataIndex() override;

    // Adds a raw record, without a profile.
    void addRawDataIndexArray(int recordType, std::int64_t recordByteOffset, int recordLength,
                              double timestamp);
    // Of the record added last; does nothing before the first.
    void setSKARProfileNumber(int profileNumber);
    std::vector<rawDataIndexStruct>& getRawDataIndexArray();

    // Writes all records that were added, or one of zeros where there are none, and keeps them: a second call
    // writes them again. The code of the first record that could not be written.
    std::uint32_t writeRawDataIndex(RawDataFileType type);

private:
    std::vector<rawDataIndexStruct> records;
};
