#include "fileio/sensortype.h"
#include "platform/file.h"

#include <skar/codes.h>
#include <skar/paths.h>
#include <skar/platform.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace platform = skar::platform;

namespace SKARIOUtils {
namespace {

constexpr wchar_t separator = L'\\';
const MORVAUString shortcutExtension(L".lnk");

// The path for the file functions. A zero inside would hide the end of it, so that has no such form.
const wchar_t* filePath(const MORVAUString& path) {
    return path.unicode().indexOf(char16_t{0}) >= 0 ? nullptr : path.getTerminatedBuffer();
}

bool exists(const MORVAUString& path) {
    return platform::pathAccessible(filePath(path));
}

MORVAUString withoutLastSeparator(const MORVAUString& path) {
    MORVAUString result = path;
    result.findAndReplace(L'/', separator);
    if (result.endsWith(separator)) {
        result.truncate(result.length() - 1);
    }
    return result;
}

// Cuts the path at its last separator, what stands behind it being the name. False without a separator.
bool splitLast(MORVAUString& path, MORVAUString& name) {
    const std::int32_t at = path.lastIndexOf(separator);
    if (at < 0) {
        return false;
    }
    path.extract(at + 1, path.length() - at - 1, name);
    path.truncate(at);
    return true;
}

} // namespace

bool pathToPVD(const MORVAUString& path, MORVAUString& root, MORVAUString& project, MORVAUString& vessel,
               MORVAUString& day) {
    MORVAUString rest = withoutLastSeparator(path);
    root = MORVAUString();
    for (MORVAUString* name : {&day, &vessel}) {
        if (!splitLast(rest, *name) || name->isEmpty()) {
            return false;
        }
    }
    if (splitLast(rest, project)) {
        root = rest;
    } else {
        project = rest;
    }
    return !project.isEmpty();
}

bool pathToPVDL(const MORVAUString& path, MORVAUString& root, MORVAUString& project, MORVAUString& vessel,
                MORVAUString& day, MORVAUString& line) {
    MORVAUString rest = withoutLastSeparator(path);
    root = MORVAUString();
    return splitLast(rest, line) && pathToPVD(rest, root, project, vessel, day);
}

void appendPath(MORVAUString& base, const MORVAUString& leaf) {
    MORVAUString appended = leaf;
    while (appended.startsWith(separator)) {
        appended.remove(0, 1);
    }
    while (base.endsWith(separator)) {
        base.truncate(base.length() - 1);
    }
    base += separator;
    base += appended;
}

MORVAUString sensorIDToName(unsigned int sensorId) {
    const auto* row = skar::fileio::sensorRow(sensorId);
    return row == nullptr ? MORVAUString() : MORVAUString(row->name);
}

bool sensorExists(const MORVAUString& line, const MORVAUString& sensorName) {
    MORVAUString path = line;
    appendPath(path, sensorName);
    return exists(path);
}

bool sensorExists(const MORVAUString& line, unsigned int sensorId) {
    const MORVAUString name = sensorIDToName(sensorId);
    return !name.isEmpty() && sensorExists(line, name);
}

bool createLineDirectory(const MORVAUString& root, const MORVAUString& project, const MORVAUString& vessel,
                         const MORVAUString& day, const MORVAUString& line) {
    if (!exists(root)) {
        return false;
    }
    MORVAUString path = root;
    for (const MORVAUString* element : {&project, &vessel, &day, &line}) {
        appendPath(path, *element);
        if (!exists(path) && !platform::makeDirectory(filePath(path))) {
            return false;
        }
    }
    return true;
}

bool deleteFolder(const MORVAUString& path) {
    return platform::removeTree(filePath(path));
}

MORVAUString getVesselFileName(const MORVAUString& linePath) {
    MORVAUString name;
    MORVAUString project;
    MORVAUString vessel;
    MORVAUString day;
    MORVAUString line;
    pathToPVDL(linePath, name, project, vessel, day, line);
    appendPath(name, MORVAUString(L"VesselConfig"));
    appendPath(name, vessel);
    name += MORVAUString(L".skv");
    resolveVesselName(name);
    return name;
}

int resolveVesselName(MORVAUString& name) {
    constexpr std::int32_t extensionLength = 4;
    MORVAUString plain = name;
    for (const bool withoutExtension : {false, true}) {
        if (withoutExtension && !plain.truncate(plain.length() - extensionLength)) {
            break;
        }
        if (exists(plain)) {
            name = plain;
            return skar::codes::success;
        }
        MORVAUString shortcut = plain + shortcutExtension;
        if (exists(shortcut)) {
            resolveShortcut(shortcut);
            name = shortcut;
            return skar::codes::success;
        }
    }
    return skar::codes::vesselFileMissing;
}

SoundingStatusRecordList::SoundingStatusRecordList() = default;
SoundingStatusRecordList::SoundingStatusRecordList(const SoundingStatusRecordList&) = default;
SoundingStatusRecordList& SoundingStatusRecordList::operator=(const SoundingStatusRecordList&) = default;
SoundingStatusRecordList::~SoundingStatusRecordList() = default;

void SoundingStatusRecordList::put(const SoundingRecord& record) {
    records.erase(record);
    records.insert(record);
}

SoundingStatusRecordList::const_iterator SoundingStatusRecordList::find(std::uint32_t profile,
                                                                        std::uint32_t beam) const {
    return records.find({profile, beam, {0, 0}});
}

} // namespace SKARIOUtils

int SKARFindVesselConfigurationDir(const wchar_t* linePath, wchar_t* buffer, size_t capacity) {
    if (linePath == nullptr || buffer == nullptr) {
        return skar::codes::vesselFileMissing;
    }
    const std::wstring path = SKARIOUtils::getVesselFileName(MORVAPP::MORVAUString(linePath)).toWide();
    if (path.empty() || path.size() >= capacity) {
        return skar::codes::vesselFileMissing;
    }
    std::wmemcpy(buffer, path.c_str(), path.size() + 1);
    return skar::codes::success;
}

char* SKARConvertWideCharToASCII(const wchar_t* text) {
    return text == nullptr ? nullptr : ::strdup(MORVAPP::MORVAUString(text).getNarrowBuffer());
}

wchar_t* SKARConvertASCIICharToWide(const char* text) {
    return text == nullptr ? nullptr : ::wcsdup(MORVAPP::MORVAUString(text).getTerminatedBuffer());
}

void SKARIO_free(void* block) {
    std::free(block);
}
