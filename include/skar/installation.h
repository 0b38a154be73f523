#ifndef SKAR_INSTALLATION_H
#define SKAR_INSTALLATION_H

#include <skar/export.h>

#include <stdbool.h>
#include <wchar.h>

/* The measured places of a vessel's antennas and transducers, kept in "InstallationParameter.xml" in its data
   directory. Metres and degrees, as they were entered. */

/* Puts the directory, a backslash and "InstallationParameter.xml" into `out`, a buffer of the caller's that
   has room for them and the terminator. Nothing happens if an argument is null. */
SKAR_EXPORT void getInstallationParameterFileName(const wchar_t* directory, wchar_t* out);

/* The places of antennas 1 to 3, 0 where the file says nothing, and which of them is in use, 1 where it does
   not say. False, with the outputs as they were, without such a file. A null output is left out. */
SKAR_EXPORT bool ReadAntPositionFromXMLFile(const wchar_t* directory, double* x1, double* y1, double* z1,
                                            double* x2, double* y2, double* z2, double* x3, double* y3,
                                            double* z3, int* positioningSystem);

/* The height of the waterline; DBL_MAX where there is no file or the file says nothing. */
SKAR_EXPORT double getWaterlineFromXML(const wchar_t* directory);

#ifdef __cplusplus

#include <skar/cstring.h>
#include <skar/strings.h>

#include <map>
#include <vector>

// For each of up to six transducers X, Y, Z, roll, pitch and heading: those ahead of the first one that lacks
// one of the six. False, with the output as it was, without such a file.
SKAR_API bool ReadTransducerOffsetsFromXMLFile(const wchar_t* directory,
                                               std::vector<std::vector<double>>& offsets);

namespace SKAR::IO {

// Every number of the file under its name.
class SKAR_API InstallationParameters {
public:
    InstallationParameters();
    InstallationParameters(const InstallationParameters&);
    InstallationParameters& operator=(const InstallationParameters&);
    virtual ~InstallationParameters();

    // Reads the file of a directory. False, with an empty table, if there is none or it is another kind of
    // file.
    bool open(const SKAR::Temporary::String& directory);
    // The value of a name, the default without one.
    double get(const SKAR::Temporary::String& name, double defaultValue) const;
    const std::map<SKAR::Temporary::String, double>& get() const { return values; }

private:
    std::map<SKAR::Temporary::String, double> values;
};

} // namespace SKAR::IO

namespace SKARIOUtils {

// The standards of accuracy that an order of survey or a zone of confidence has to meet.
struct IHOAccuracy {
    double a = 0.0;                 // constant part of the depth's error, m
    double b = 0.0;                 // part that grows with the depth
    double horizontal = 0.0;        // error of position, m
    double percentageOfDepth = 0.0; // further error of position, % of the depth
};
struct IHOData {
    // S-44: special order, 1a, 1b, 2; S-57: zones A1, A2, B, C.
    IHOAccuracy standards[4];
    double reserved[4] = {0.0, 0.0, 0.0, 0.0};
};

// The table of S-44 orders, or of S-57 zones, of an XML file; what it does not state is 0. Status 0, or -1
// with all at 0 if the file cannot be read or has no such table.
SKAR_API IHOData GetS44Values(const CString& file, long& status);
SKAR_API IHOData GetS57Values(const CString& file, long& status);

} // namespace SKARIOUtils

#endif

#endif
