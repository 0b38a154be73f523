#ifndef SKAR_SOUNDVELOCITY_H
#define SKAR_SOUNDVELOCITY_H

#include <skar/export.h>

#include <stdio.h>
#include <wchar.h>

/* Sound velocity files: casts of depth and sound speed in four text formats. */

/* Puts the directory, a backslash and "Svp" into `out`, a buffer of the caller's that has room for them and
   the terminator. Returns 0, or 5016029 for a null argument. */
SKAR_EXPORT long getSVPFileNameDir(const wchar_t* directory, wchar_t* out);

/* Opens the sound velocity file of a line directory in a stdio mode. A mode that begins with 'w' opens "Svp";
   any other takes the first of "SoundSpeedProfile", "Svp" and "SVP" that opens. `openedPath`, a buffer of the
   caller's with room for the directory and 19 characters more, receives the path. The stream is the caller's
   to close; null, with an empty path, if none opens, and null for a null argument. */
SKAR_EXPORT FILE* OpenSVPFileDir(const wchar_t* directory, const wchar_t* mode, wchar_t* openedPath);

#ifdef __cplusplus

#include <skar/strings.h>

#include <cstddef>
#include <cstdint>
#include <list>

// The casts of one file. Edits mark sections and values as new or removed; UpdateDataFile writes what is not
// removed. An object serves one thread at a time. The base class itself reads and writes nothing.
//
// Times are seconds since the start of 1980 (UTCs80), depths metres, positive down, velocities metres per
// second, and positions texts of degrees, minutes and seconds, "45:30:00", negative with a '-'. The functions
// that return an int give 0 or one of the codes 5016001 to 5016011 (<skar/codes.h>).
class SKAR_API SvpFile {
public:
    // What `status` of a section and of a value holds.
    enum Status : std::uint32_t { isNew = 0, isRead = 1, isRemoved = 2 };

    class SKAR_API SvpValues {
    public:
        SvpValues() = default;
        SvpValues(double valueDepth, double valueVelocity, std::uint32_t valueStatus);

        double velocity = 0.0; // m/s
        double depth = 0.0;    // m
        std::uint32_t status = isRead;

        // Whether the value was read from a file and may have fields there that the model has no place for,
        // also after it was removed and added again.
        bool cameFromFile() const { return fromFile; }

    private:
        bool fromFile = true;
    };

    class SKAR_API SvpSections {
    public:
        SvpSections() = default;
        SvpSections(double sectionTime, const MORVAUString& sectionLatitude,
                    const MORVAUString& sectionLongitude, std::uint32_t sectionStatus = isRead);
        SvpSections(const SvpSections&) = default;
        SvpSections(SvpSections&&) = default;
        SvpSections& operator=(const SvpSections&) = default;
        SvpSections& operator=(SvpSections&&) = default;
        virtual ~SvpSections();

        double GetTime() const { return time; }
        // Degrees, negative to the south and west; 0 for a text that is no position.
        double GetLatitude() const;
        double GetLongitude() const;
        std::uint32_t GetStatus() const { return status; }
        MORVASList<SvpValues>& GetValues() { return values; }
        const MORVASList<SvpValues>& GetValues() const { return values; }

        // Equal time, position texts, status and header text; the values play no part.
        bool operator==(const SvpSections& other) const;

        double time = 0.0;
        MORVAUString latitude;
        MORVAUString longitude;
        std::uint32_t status = isRead;
        // The section's line or lines in the file, where the format has such.
        MORVAUString headerText;
        MORVASList<SvpValues> values;
    };

    SvpFile() = default;
    explicit SvpFile(const MORVAUString& file) : fileName(file) {}
    SvpFile(const SvpFile&) = default;
    SvpFile(SvpFile&&) = default;
    SvpFile& operator=(const SvpFile&) = default;
    SvpFile& operator=(SvpFile&&) = default;
    virtual ~SvpFile();

    // 0 if the file would hold data: a section with a value, neither of them removed. Else 1.
    virtual int validate();
    // Replaces the sections by those of the file. What was read before a failure stays.
    virtual int ReadInData();
    // Writes the file anew: 0, or -1 with the reason in MORVAErrorManager and the file as it was.
    virtual int UpdateDataFile();

    // An object for the format that the file's name and first bytes show, nothing read yet; a SkarSvpFile for
    // one that none claims or that cannot be opened. The caller deletes it. `status` becomes 0.
    static SvpFile* GetSvpFormat(const MORVAUString& file, int& status);
    // The last element of the path holds ".edf" in any case.
    static bool isRANEdfFormat(const MORVAUString& file);
    // The first byte is '('.
    static bool isCHSFormat(const MORVAUString& file);
    // The second line is a record of RANSvpFile_Dat.
    static bool isRANDatFormat(const MORVAUString& file);
    // Degrees of a position text, negative if it has a '-' anywhere; 0 with fewer than two colons.
    static double LLDGStringToDouble(const MORVAUString& text);

    void SetFileName(const MORVAUString& file) { fileName = file; }
    const MORVAUString& GetFileName() const { return fileName; }
    // How far a value's depth may be from the one asked for, in metres.
    void SetEpsilon(double tolerance) { epsilon = tolerance; }
    MORVASList<SvpSections>& GetRecordsInFile() { return sections; }
    const MORVASList<SvpSections>& GetRecordsInFile() const { return sections; }

    // Adds a section in order of time; 5016007 if there is one of exactly this time.
    int AddSvpSection(double time, const MORVAUString& latitude, const MORVAUString& longitude);
    // The position of the section of this time: 5016008 without one, 5016003 if it is removed.
    int SetSvpSection(double time, const MORVAUString& latitude, const MORVAUString& longitude);
    int GetSvpSection(double time, MORVAUString& latitude, MORVAUString& longitude);
    // Marks a section as removed; 5016005 without one.
    int RemoveSection(double time);

    // Adds a value in order of depth, or takes a removed one within the tolerance up again. 5016002 without
    // the section, 5016001 if there is a value at this depth.
    int AddSvpValue(double time, double depth, double velocity);
    // The velocity of the first value within the tolerance. 5016005 without the section, 5016003 if that is
    // removed, 5016006 without a value, 5016004 if that is removed.
    int GetSvpValue(double time, double depth, double& velocity);
    int SetSvpValue(double time, double depth, double velocity);
    // Marks the first value within the tolerance as removed, whatever the section's status and its own:
    // 5016005 without the section, 5016006 without a value.
    int RemoveSvpValue(double time, double depth);
    // Null when no section has exactly this time.
    const SvpSections* GetSection(double time) const;

protected:
    SvpSections* findSection(double time);
    SvpValues* findValue(SvpSections& section, double depth) const;

    MORVASList<SvpSections> sections;
    MORVAUString fileName;
    double epsilon = 0.009;

private:
    int liveValue(double time, double depth, SvpValues*& value);
};

// The library's own format:
//
//     [SVP_VERSION_2]
//     name of the file the casts came from
//     Section 2026-045 12:30:00 45:30:00 -063:15:00
//       10.000000 1480.500000
//
// A value is read if its depth is not negative and greater than the one before it and its velocity is 1400 to
// 2000. Files of version 1, without the first two lines, are read as well.
class SKAR_API SkarSvpFile : public SvpFile {
public:
    SkarSvpFile() = default;
    explicit SkarSvpFile(const MORVAUString& file) : SvpFile(file) {}

    // 5016011 if the file cannot be opened, else as ReadSvpFile.
    int ReadInData() override;
    int UpdateDataFile() override;
    // Reads from a stream, which stays open. -1 for a null or empty stream and for one that cannot be read;
    // 5016009 for a bad section header, a value ahead of the first one, and no section at all.
    int ReadSvpFile(FILE* stream);

    // A section's line. 5016009, with the section as it was, if it is none.
    static int ParseSectionHeader(const char* line, SvpSections& section);
    // A line of depth and velocity and nothing else.
    static bool ParseSection(const char* line, SvpValues& value);

    // The second line of the file. Empty, the file's own name is written.
    void setSourceFile(const MORVAUString& name) { sourceFile = name; }
    const MORVAUString& getSourceFile() const { return sourceFile; }
    // Of the file that was read, 1 or 2; what is written is version 2.
    int getVersion() const { return version; }

private:
    MORVAUString sourceFile;
    int version = 2;
};

// The format of the Canadian Hydrographic Service: sections that begin with a line in parentheses.
class SKAR_API CHSSvpFile : public SvpFile {
public:
    // What such a line says of its section.
    class SKAR_API SectionHeader {
    public:
        // 0, or -1 with nothing changed if the text is no such line. A cast time that is no date gives the
        // time 0. The text ends at its terminator; the size is not used.
        long readFrom(const char* text, std::size_t size);

        double getTime() const { return time; }
        // Degrees.
        double getLatitude() const { return latitude; }
        double getLongitude() const { return longitude; }
        double getVersion() const { return version; }
        std::uint32_t getNumRecords() const { return records; }

    private:
        double time = 0.0;
        double latitude = 0.0;
        double longitude = 0.0;
        double version = 0.0;
        std::uint32_t records = 0;
    };

    CHSSvpFile() = default;
    explicit CHSSvpFile(const MORVAUString& file) : SvpFile(file) {}

    // 5016011 if the file cannot be opened, -1 if it cannot be read to its end.
    int ReadInData() override;
    int UpdateDataFile() override;

    // The parts of a section's line, positions as texts of whole seconds. A line that is none sets the
    // version to 0 and leaves the other outputs alone.
    static void ParseHeader(char* line, double& version, double& time, MORVAUString& latitude,
                            MORVAUString& longitude, int& records);
    // A line for a section of this class's making, with the time of now as its date.
    static void GenerateHeader(MORVAUString& out, double time, double latitude, double longitude,
                               int records);
    // Puts position and number of records into a section's line; a text without fourteen fields stays as it
    // is.
    static void UpdateHeader(MORVAUString& header, double latitude, double longitude, int records);

    // Of the last section that was read; 0 if its line was not understood.
    double getVersion() const { return version; }

private:
    double version = 0.0;
};

// A format of the Royal Australian Navy, one cast per file and every field on each line.
class SKAR_API RANSvpFile_Dat : public SvpFile {
public:
    struct RAN_DAT {
        double latitude = 0.0;  // degrees
        double longitude = 0.0; // degrees
        double depth = 0.0;     // m
        MORVAUString date;      // day, month and year
        MORVAUString time;      // hours, minutes and seconds
        double auxiliary = 0.0;
        double velocity = 0.0; // m/s
    };

    RANSvpFile_Dat() = default;
    explicit RANSvpFile_Dat(const MORVAUString& file) : SvpFile(file) {}

    // 5016011 if the file cannot be opened, 5016009 if no line of it is a record, -1 if it cannot be read to
    // its end.
    int ReadInData() override;
    // -1 also for a cast of which no record was read.
    int UpdateDataFile() override;

    // Takes a line apart, turning its commas into blanks. False, with the outputs as they were, unless it has
    // seven fields, of which latitude, longitude, auxiliary value and velocity are not 0 and the velocity is
    // 1000 to 2000.
    static bool DecodeData(char* line, double& latitude, double& longitude, double& depth, MORVAUString& date,
                           MORVAUString& time, double& auxiliary, double& velocity);
    // Seconds since 1980; what a text does not give counts as 0.
    static double DecodeTimeStamp(MORVAUString date, MORVAUString time);

    // The lines that were read.
    const std::list<RAN_DAT>& GetDataList() const { return records; }

private:
    std::list<RAN_DAT> records;
};

// A format of the Royal Australian Navy for expendable probes, one cast per file under a header of labelled
// lines.
class SKAR_API RANSvpFile_Edf : public SvpFile {
public:
    struct RAN_EDF {
        double auxiliary = 0.0;
        double depth = 0.0;    // m
        double velocity = 0.0; // m/s
    };

    RANSvpFile_Edf() = default;
    explicit RANSvpFile_Edf(const MORVAUString& file) : SvpFile(file) {}

    // 5016011 if the file cannot be opened, 5016009 if its header lacks the date or the time, -1 if it cannot
    // be read to its end.
    int ReadInData() override;
    // -1 also for a cast of which no record was read.
    int UpdateDataFile() override;

    // False, with the outputs as they were, unless the line begins with three numbers, of which auxiliary
    // value and velocity are not 0 and the velocity is 1000 to 2000.
    static bool DecodeData(const char* line, double& auxiliary, double& depth, double& velocity);
    // The header that was read, with this position in degrees.
    void GenerateHeader(MORVAUString& out, double latitude, double longitude) const;

    // The lines that were read.
    const std::list<RAN_EDF>& GetDataList() const { return records; }

private:
    std::list<RAN_EDF> records;
    MORVAUString linesBeforePosition;
    MORVAUString linesAfterPosition;
    MORVAUString latitudeText;
    MORVAUString longitudeText;
};

#endif

#endif
