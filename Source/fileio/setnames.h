#pragma once

// The three files of a sensor's set, as a line keeps them: X, XLineSegments and XTmIdx, with a suffix behind
// the name where they are set aside. The joint is a backslash, whatever the line path ends with.
namespace skar::fileio {

// Renames the files in that order and stops at the first that does not go; errno tells why. What was renamed
// stays so, and a file that is in the way is kept.
bool renameFiles(const wchar_t* linePath, const wchar_t* from, const wchar_t* fromSuffix, const wchar_t* to,
                 const wchar_t* toSuffix);
// Removes the files that are there.
void removeFiles(const wchar_t* linePath, const wchar_t* name, const wchar_t* suffix);

} // namespace skar::fileio
