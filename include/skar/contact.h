#ifndef SKAR_CONTACT_H
#define SKAR_CONTACT_H

#include <skar/export.h>

#include <wchar.h>

/* The contacts of a line: marked features of its imagery, one per line of the text file "Contact". The files
   have been written in four versions; all are read, version 4 is written. Numbers stand in the file with a
   decimal point whatever the locale, text as UTF-8. An object serves one thread at a time.

   Codes: 5024001 the file could not be opened or made, 5024002 not closed, 5024003 a line of 8192 bytes or
   more, -1 a null or closed handle, a file without its two header lines, or a line that does not decode. */

#ifdef __cplusplus

#include <cstdint>
#include <cstdio>
#include <vector>

struct ContactFile {
    std::FILE* file = nullptr;
    std::uint32_t version = 0;
    bool torn = false; /* a line was not written whole; the next one does not go on behind it */
};

/* Texts end with a terminator. The meaning of the values, measures, codes and identifiers is the caller's. */
struct Contact {
    int number = 0; /* -1 after a line that does not decode */
    int kind = 0;   /* 1 a point, 2 a list of points */
    int profile = 0;
    wchar_t sourceName[20] = {}; /* "LINE0001.XTF": the point is the ninth character */
    wchar_t sourceSubName[4] = {};
    wchar_t secondName[20] = {};
    wchar_t secondSubName[4] = {};
    int numPoints = 0;
    int lowestProfile = 0; /* over the points, as reading found them */
    int highestProfile = 0;
    std::vector<int> pointProfile;
    std::vector<float> pointFirst;
    std::vector<float> pointSecond;
    std::vector<double> pointLatitude;
    std::vector<double> pointLongitude;
    std::vector<double> pointSpare1; /* not in the file; 0 after reading */
    std::vector<double> pointSpare2;
    double value = 0.0; /* this and the position: of a single point */
    double latitude = 0.0;
    double longitude = 0.0;
    double measures[3] = {};
    int codes[2] = {};
    wchar_t secondIdentifier[13] = {};
    wchar_t firstIdentifier[9] = {};
    wchar_t remark[81] = {};
    bool flag = false;
};
#else
typedef struct ContactFile ContactFile;
typedef struct Contact Contact;
#endif

/* Makes the file of a line, in place of one that is there, for WriteContactRecord. `colourMap` may be null;
   its line is left out then. The caller ends the handle with ContactClose. Null and 5024001 on failure. */
SKAR_EXPORT ContactFile* ContactNewDir(const wchar_t* linePath, char* colourMap, long* code);
/* Opens the file for reading. Null on failure: 5024001, or -1 for a file without its header. */
SKAR_EXPORT ContactFile* ContactOpenDir(const wchar_t* linePath, long* code);
/* Ends the handle; null is accepted. 5024002 if the file could not be closed: the handle is gone all the
   same. */
SKAR_EXPORT int ContactClose(ContactFile* contacts);
/* The version, and the colour map's name up to its first blank, empty where there is none; each output may be
   null, `colourMap` has room for 8192 characters. 0 or -1. */
SKAR_EXPORT int ContactSummary(ContactFile* contacts, int* version, wchar_t* colourMap);

/* The first contact, and the one behind the last that was read. 1 if a contact was read; otherwise 0, with
   code 0 at the end of the file and -1 for a line that does not decode or a null argument. */
SKAR_EXPORT int ReadFirstContact(ContactFile* contacts, Contact* contact, long* code);
SKAR_EXPORT int ReadNextContact(ContactFile* contacts, Contact* contact, long* code);
/* The contact of that number, searched from the head of the file past lines that do not decode: 1, or 0 if
   there is none; `contact` holds the last that was read then. */
SKAR_EXPORT int GetContact(ContactFile* contacts, unsigned number, Contact* contact, long* code);
/* Takes one line of a file of that version apart. 0, or -1 with the contact's number at -1; fields behind the
   fault are as they were. */
SKAR_EXPORT int DecodeContactRecord(int version, const wchar_t* line, Contact* contact);
/* Appends a contact, in a file made by ContactNewDir; one opened for reading is left as it is without a word.
   Commas and line ends in texts become blanks. 0, 5024003, or -1 for a null argument, a kind other than 1 and
   2, or fewer points than numPoints. */
SKAR_EXPORT int WriteContactRecord(ContactFile* contacts, Contact* contact);
/* Removes the file of a line. 0 or -1. */
SKAR_EXPORT int ContactRemoveDir(const wchar_t* linePath);

#endif
