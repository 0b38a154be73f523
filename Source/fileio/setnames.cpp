#include "fileio/setnames.h"

#include "platform/file.h"

#include <cerrno>
#include <string>

namespace skar::fileio {

namespace {
constexpr const wchar_t* sideFiles[] = {L"", L"LineSegments", L"TmIdx"};

std::wstring pathOf(const wchar_t* linePath, const wchar_t* name, const wchar_t* side,
                    const wchar_t* suffix) {
    return std::wstring(linePath) + L'\\' + name + side + suffix;
}
} // namespace

bool renameFiles(const wchar_t* linePath, const wchar_t* from, const wchar_t* fromSuffix, const wchar_t* to,
                 const wchar_t* toSuffix) {
    if (!linePath) {
        errno = EINVAL;
        return false;
    }
    for (const wchar_t* side : sideFiles)
        if (!platform::renameFile(pathOf(linePath, from, side, fromSuffix).c_str(),
                                  pathOf(linePath, to, side, toSuffix).c_str()))
            return false;
    return true;
}

void removeFiles(const wchar_t* linePath, const wchar_t* name, const wchar_t* suffix) {
    if (!linePath) return;
    for (const wchar_t* side : sideFiles)
        platform::removeFile(pathOf(linePath, name, side, suffix).c_str());
}

} // namespace skar::fileio
