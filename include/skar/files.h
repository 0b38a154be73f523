#pragma once

#include <skar/export.h>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <cstdio>

namespace SKAR {

// Opens a file of the store by its wide path in a stdio mode ("rb", "wb", ...). The last copy of the pointer
// closes the stream. A file that cannot be opened gives a pointer that holds null; errno tells why.
SKAR_API boost::shared_ptr<std::FILE> openFile(const wchar_t* path, const wchar_t* mode);

// The same on a stream that is open. A standard stream is turned to the file, and stays as it was if that
// cannot be opened; the last copy of the pointer closes the file, and what the stream gets afterwards goes
// nowhere. Any other stream is closed first in any case.
SKAR_API boost::shared_ptr<std::FILE> reOpenFile(const wchar_t* path, const wchar_t* mode, std::FILE* stream);

} // namespace SKAR
