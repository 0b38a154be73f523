#pragma once

#include <skar/datafile.h>

#include <cstdint>
#include <memory>
#include <vector>

// Files of error figures beside the sensors of a line, a record for each epoch. Whether a column means
// anything is told by a flag of the summary, to be set before the first record.

// "RMS": flags POSITION_SET, HEAVE_SET, ROLL_SET, PITCH_SET, GYRO_SET; the floats N_RMS, E_RMS, HEAVE_RMS,
// ROLL_RMS, PITCH_RMS, GYRO_RMS.
class SKAR_API SKARRmsFile : public SKARDataFile {
public:
    SKARRmsFile(const MORVAUString& directory, const MORVAUString& sourceFileName, AccessType access,
                long& status);
    ~SKARRmsFile() override;
};

// "TrueHeaveRMS": flag TRUEHEAVE_SET, float TRUEHEAVE_RMS.
class SKAR_API SKARTrueHeaveRmsFile : public SKARDataFile {
public:
    SKARTrueHeaveRmsFile(const MORVAUString& directory, const MORVAUString& sourceFileName, AccessType access,
                         long& status);
    ~SKARTrueHeaveRmsFile() override;
};

// "TideError": double Tide_Error.
class SKAR_API SKARTideError : public SKARDataFile {
public:
    SKARTideError(const MORVAUString& directory, const MORVAUString& sourceFileName, AccessType access,
                  long& status);
    ~SKARTideError() override;
};

namespace SKAR {

// Reads one column of a line's RMS file at a time. Copies share the file.
class SKAR_API RMSFile {
public:
    enum dataField : std::uint32_t {
        northRms = 0,
        eastRms = 1,
        heaveRms = 2,
        rollRms = 3,
        pitchRms = 4,
        gyroRms = 5,
    };

    // After a failure `status` has the code and there is nothing to read.
    RMSFile(const wchar_t* directory, long& status);
    ~RMSFile();
    RMSFile(const RMSFile& other);
    RMSFile& operator=(const RMSFile& other);

    // Codes and record numbers as of ReadRecord. -1 for a column that is none, after the record has been
    // read, and without a file.
    std::uint32_t read(dataField field, unsigned recordNumber, double& time, double& value, unsigned& status);

    // As they were at the opening.
    unsigned long getNumberOfRecords() const;
    double getMinTime() const;
    double getMaxTime() const;

private:
    std::shared_ptr<SKARRmsFile> file;
    unsigned long records = 0;
    double minTime = 0.0;
    double maxTime = 0.0;
    std::vector<bool> columns; // whether they are what this reads
    std::vector<SKARDataFile::dataValue> scratch;
};

// Reads or writes a line's tide errors. Copies share the file.
class SKAR_API TideErrorFile {
public:
    // Opens for reading.
    TideErrorFile(const wchar_t* directory, long& status);
    // Makes a file; without a record it is gone with the object.
    TideErrorFile(const wchar_t* directory, const wchar_t* sourceFileName, long& status);
    ~TideErrorFile();
    TideErrorFile(const TideErrorFile& other);
    TideErrorFile& operator=(const TideErrorFile& other);

    // Codes as of ReadRecord and WriteRecord, -1 without a file.
    std::uint32_t read(unsigned recordNumber, double& time, double& value, unsigned& status);
    std::uint32_t write(double time, double value, unsigned status);

    // As they were at the opening; 0 for a file that is being written.
    unsigned long getNumberOfRecords() const;
    double getMinTime() const;
    double getMaxTime() const;

private:
    std::shared_ptr<SKARTideError> file;
    unsigned long records = 0;
    double minTime = 0.0;
    double maxTime = 0.0;
};

} // namespace SKAR
