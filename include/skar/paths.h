#ifndef SKAR_PATHS_H
#define SKAR_PATHS_H

#include <skar/export.h>

#include <stddef.h>
#include <wchar.h>

/* Paths of the store: root\project\vessel\day\line, where root may hold backslashes itself. The slash is
   accepted; results have the backslash on every platform. */

/* Copies the path of the vessel file that belongs to a line into a buffer of `capacity` characters. Returns
   0, or 5000006 for a null argument and for a path that, with its terminator, does not fit; the buffer is
   left alone then. Whether there is such a file is not looked at. */
SKAR_EXPORT int SKARFindVesselConfigurationDir(const wchar_t* linePath, wchar_t* buffer, size_t capacity);

/* A copy in UTF-8, or of UTF-8 in wide characters; what the other form cannot hold becomes U+FFFD. The
   caller's, to be freed with SKARIO_free. Null for null and without memory. */
SKAR_EXPORT char* SKARConvertWideCharToASCII(const wchar_t* text);
SKAR_EXPORT wchar_t* SKARConvertASCIICharToWide(const char* text);

/* Frees what the library returned to the caller: names, converted texts. Null is accepted. */
SKAR_EXPORT void SKARIO_free(void* block);

#ifdef __cplusplus

#include <skar/strings.h>

#include <compare>
#include <cstdint>
#include <set>

namespace SKARIOUtils {

using MORVAPP::MORVAUString;

// Takes a day path apart. False, with the outputs filled as far as it got, if a name is missing. Without a
// root, root is empty. One separator at the end is passed over.
SKAR_API bool pathToPVD(const MORVAUString& path, MORVAUString& root, MORVAUString& project,
                        MORVAUString& vessel, MORVAUString& day);
// The same for the path of a line; the name of the line may be empty.
SKAR_API bool pathToPVDL(const MORVAUString& path, MORVAUString& root, MORVAUString& project,
                         MORVAUString& vessel, MORVAUString& day, MORVAUString& line);

// Puts exactly one backslash between the two; an empty leaf leaves it at the end.
SKAR_API void appendPath(MORVAUString& base, const MORVAUString& leaf);

// The name of a sensor, empty for an id that has none.
SKAR_API MORVAUString sensorIDToName(unsigned int sensorId);

// Whether a line has the data file of a sensor. False for an id without a name.
SKAR_API bool sensorExists(const MORVAUString& line, const MORVAUString& sensorName);
SKAR_API bool sensorExists(const MORVAUString& line, unsigned int sensorId);

// Makes what is missing of the four directories below an existing root. False if there is no root or one
// cannot be made; those already made stay.
SKAR_API bool createLineDirectory(const MORVAUString& root, const MORVAUString& project,
                                  const MORVAUString& vessel, const MORVAUString& day,
                                  const MORVAUString& line);

// Removes a directory and all in it, stopping with false at the first entry that cannot be removed. Symbolic
// links in it are removed, not followed.
SKAR_API bool deleteFolder(const MORVAUString& path);

// The path of the vessel file that belongs to a line, root\VesselConfig\vessel.skv, resolved as below where
// that leads to a file.
SKAR_API MORVAUString getVesselFileName(const MORVAUString& linePath);

// Finds a vessel file: as named, by a shortcut beside it, without its four-character extension, and by a
// shortcut to that. Returns 0 with the name found, or 5000006 with the name as it was.
SKAR_API int resolveVesselName(MORVAUString& name);

// A sounding with its data. As a key it is its profile, then its beam.
struct SoundingRecord {
    std::uint32_t profile = 0;
    std::uint32_t beam = 0;
    std::uint32_t data[2] = {0, 0};

    friend bool operator==(const SoundingRecord& a, const SoundingRecord& b) {
        return a.profile == b.profile && a.beam == b.beam;
    }
    friend std::strong_ordering operator<=>(const SoundingRecord& a, const SoundingRecord& b) {
        const auto byProfile = a.profile <=> b.profile;
        return byProfile != 0 ? byProfile : a.beam <=> b.beam;
    }
};

// Soundings in the order of profile and beam, each once.
class SKAR_API SoundingStatusRecordList {
public:
    using const_iterator = std::set<SoundingRecord>::const_iterator;

    SoundingStatusRecordList();
    SoundingStatusRecordList(const SoundingStatusRecordList&);
    SoundingStatusRecordList& operator=(const SoundingStatusRecordList&);
    virtual ~SoundingStatusRecordList();

    // Adds a sounding, or replaces the data of the one with its profile and beam.
    void put(const SoundingRecord& record);
    // The sounding, end() without it.
    const_iterator find(std::uint32_t profile, std::uint32_t beam) const;
    const_iterator begin() const { return records.begin(); }
    const_iterator end() const { return records.end(); }
    std::size_t size() const { return records.size(); }

private:
    std::set<SoundingRecord> records;
};

} // namespace SKARIOUtils

#endif

#endif
