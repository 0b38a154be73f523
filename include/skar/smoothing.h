#ifndef SKAR_SMOOTHING_H
#define SKAR_SMOOTHING_H

#include <skar/export.h>

#include <wchar.h>

/* How the sensors of a line are filtered and smoothed: the XML file "smoothCoefficients" of a line or sensor
   directory. */

#define SKAR_SMOOTHING_NAME 256

typedef struct SmoothingCoefficients {
    wchar_t sensorName[SKAR_SMOOTHING_NAME];
    int boxLength;         /* values, or seconds where boxLenIsTime is 1 */
    int boxLenIsTime;      /* 0 or 1 */
    double upperThreshold; /* in the unit of the sensor; two decimals are stored */
    double lowerThreshold;
    int filterEnabled;     /* 0 or 1 */
    int filterBreakInterp; /* 0 or 1 */
    int smoothEnabled;     /* 0 or 1 */
    int type;
    struct SmoothingCoefficients* next;
    struct SmoothingCoefficients* previous;
} SmoothingCoefficients;

/* A record of its own, to be freed with FreeSmoothingCoefficients. Null for a name that is null or longer
   than 255 characters, a negative length or threshold, a flag other than 0 and 1, and without memory. */
SKAR_EXPORT SmoothingCoefficients* AllocSmoothingCoefficientNode(const wchar_t* name, int boxLength,
                                                                 int boxLenIsTime, double upperThreshold,
                                                                 double lowerThreshold, int filterEnabled,
                                                                 int smoothEnabled, int type,
                                                                 int filterBreakInterp);

/* Frees a record and all that its next pointers lead to. Null is accepted. */
SKAR_EXPORT void FreeSmoothingCoefficients(SmoothingCoefficients* list);

/* The records of a file, or of "smoothCoefficients" in a directory, in the order of the file; the caller's.
   Null with status 0 for a file without records. Null with status 5017100 for a null argument, with -1 or the
   number of the parser's error for a file that cannot be read or is none of smoothing coefficients. A null
   status is left out. */
SKAR_EXPORT SmoothingCoefficients* ReadSmoothingCoefficentFile(const wchar_t* fileName, long* status);
SKAR_EXPORT SmoothingCoefficients* GetAllSmoothingCoefficents(const wchar_t* directory, long* status);

/* The record of one sensor, the caller's; null with status 0 if the file has none. Status 5017100 for a null
   directory and one without the file, 5017101 for a null name, else as above. */
SKAR_EXPORT SmoothingCoefficients* GetSmoothingCoefficent(const wchar_t* directory, const wchar_t* sensorName,
                                                          long* status);

/* Merge the records into those of a file, or of "smoothCoefficients" in a directory, and write it. A sensor
   that the file knows keeps its lower threshold and its break of interpolation; a new one goes to the front.
   The list stays the caller's. Return 0 for a null list, 5017100 for a null name, else the number of bytes
   written, or -1 with the file as it was. */
SKAR_EXPORT long SaveSmoothingCoefficentsFile(const wchar_t* fileName, const SmoothingCoefficients* list);
SKAR_EXPORT long SaveSmoothingCoefficents(const wchar_t* directory, const SmoothingCoefficients* list);

#endif
