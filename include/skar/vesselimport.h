#ifndef SKAR_VESSELIMPORT_H
#define SKAR_VESSELIMPORT_H

#include <skar/export.h>

#include <wchar.h>

/* Vessels in the text form that came before XML. It is only read; docs/legacy-vessel.md has its grammar. The
   parser's messages go to the error stream; the scanner's go to the file "<process number>.lex" in the
   directory that TMP or else TEMP names, if there is one. Both functions may be used from several threads. */

/* Reads a text and stores it as a vessel file beside it, under its whole name with ".skv" behind it. 0, the
   code of SKARVesselImport, or that of the store: -1 if the file could not be written. */
SKAR_EXPORT long SKARVesselConvert(const wchar_t* fileName);

#ifdef __cplusplus
class SKARVessel;

/* Adds the entries of a text to a vessel, gives it the outline, if the text has one, and names it as above.
   5000401 for a null name and for a file that cannot be read, is no such text or has no navigation entry: the
   vessel is as it was, and so it is with 5100103 for a depth sensor that is neither Swath nor Sweep. 5100008
   for an entry at a time that is taken: what came before it stays. 5000402 without a list of navigation
   entries, 5000009 without memory, -1 for a null vessel. */
SKAR_EXPORT long SKARVesselImport(const wchar_t* fileName, SKARVessel* vessel);
#endif

#endif
