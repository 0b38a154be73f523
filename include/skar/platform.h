#ifndef SKAR_PLATFORM_H
#define SKAR_PLATFORM_H

#include <skar/export.h>

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

/* Where the library touches the system other than through files. None of this may be used by two threads at
   once: it changes the working directory or the environment of the process. */

/* Replaces the shortcuts (.lnk files) in a path by what they lead to, as resolveShortcut below, and copies
   the result into a buffer of `capacity` characters, terminator included. `flag` 0 accepts a shortcut that
   leads nowhere and leaves it in the path; any other value fails then. Returns 0, or -1 for that, for a null
   argument and for a result that does not fit; the buffer is empty then. */
SKAR_EXPORT int SKARResolveShortcut(const wchar_t* path, int flag, wchar_t* buffer, size_t capacity);

/* Description and version ("1.2.3.4") from the version resource of a Windows program or library. Each output
   points to a buffer of at least 256 characters, or to null: then a buffer is made, the caller's to free with
   SKARIO_free, also after a failure. Longer descriptions are cut. Returns 0, or -1 with both texts empty if
   the file has no version resource or cannot be read, and -1 for a null argument or a buffer that cannot be
   made. */
SKAR_EXPORT int SKARGetFileInfo(const wchar_t* path, wchar_t** description, wchar_t** version);

/* The last-error word of the calling thread, 0 at its start, in the numbers that the store knows: file
   operations of the library set it when they fail, and one that makes a file to 0 or 183. The opening of an
   attribute file looks at it even where it went well; a caller that has no use for what failed before sets it
   to 0 first. */
SKAR_EXPORT uint32_t SKARGetLastError(void);
SKAR_EXPORT void SKARSetLastError(uint32_t code);

#ifdef __cplusplus

#include <skar/strings.h>

// Ahead of the functions of the same names below: the system's header cannot be read any more once they are
// known.
#if __has_include(<dirent.h>)
#include <dirent.h>
#endif

namespace SKAR {

// An open enumeration of a directory, and what it found. The names are those of the C library with other
// types, so that <dirent.h> may be included beside this header and neither takes the other's place.
struct Directory;
struct DirectoryEntry {
    wchar_t d_name[260];
};

} // namespace SKAR

// Opens the enumeration of a directory and makes that the working directory of the process until closedir.
// One can be open at a time. Null if there is one already, if the path is no directory that can be entered,
// and if the present working directory has more than 256 characters; the working directory stays then.
SKAR_API SKAR::Directory* opendir(const wchar_t* path);
// The next name, "." and ".." among them, in one buffer that the next call overwrites; null at the end. What
// is listed is the working directory at the first call.
SKAR_API SKAR::DirectoryEntry* readdir(SKAR::Directory* directory);
// Starts again, in the directory that was opened.
SKAR_API void rewinddir(SKAR::Directory* directory);
// Restores the working directory. Returns 0, or -1 if that failed or the argument is null.
SKAR_API int closedir(SKAR::Directory* directory);

// Sets up the reading of shortcuts, and ends it. The reader needs neither; 0 is success.
SKAR_API int initSrhotcutSupport();
SKAR_API void terminateShortcutSupport();

// Replaces each stretch of the path that ends in an element with ".lnk" by the target of that shortcut, until
// no such element is left. The target that the shortcut gives relative to itself goes before the one in full;
// the first that exists holds. A shortcut without such a target stays in the path. Returns 0, or -1 if a
// shortcut stayed; where shortcuts lead in a circle the path stays as it was.
SKAR_API int resolveShortcut(MORVAPP::MORVAUString& path);

#endif

#endif
