#ifndef SKAR_TIME_H
#define SKAR_TIME_H

#include <skar/export.h>

#include <stdint.h>

/* Conversions between the store's two ways to count time: the calendar triple of year, day of the year (1 to
   366, "JD" in these names) and seconds of the day; and seconds since the start of 1970 or 1980, leap seconds
   included
   ("UTCs70", "UTCs80"). The calendar is the Gregorian in all years. Leap seconds are known up to the middle
   of 2012; later dates have the last offset. A null output is left out where nothing else is said. All
   functions may be used from several threads. */

/* Seconds of the day from hours, minutes, seconds and a fraction of a second; nothing is checked. */
SKAR_EXPORT double TmHMSXtoS(int32_t hours, int32_t minutes, int32_t seconds, double fraction);

/* The way back, truncating toward zero. What does not fit an int32_t becomes the nearest end of its range,
   and what is no number 0. */
SKAR_EXPORT void TmStoHMSX(double seconds, int32_t* hours, int32_t* minutes, int32_t* wholeSeconds,
                           double* fraction);

/* Seconds from the first time to the second, without leap seconds; negative if the second is earlier. */
SKAR_EXPORT double TmYDSminusYDS(int32_t year1, int32_t day1, double seconds1, int32_t year2, int32_t day2,
                                 double seconds2);

/* Adds `delta` seconds. Meant for day 1 and seconds 0: from a later day the seconds come out short by 86400
   for every day after the first, and a negative delta counts back from the start of the year whatever day and
   seconds say. Gives -1, -1 and -1.0 for an output that is null, negative seconds, a day outside 1 to 366, a
   year outside 1900 to 3000 here or in the result, and what is no number. */
SKAR_EXPORT void TmYDSplusS(int32_t year, int32_t day, double seconds, double delta, int32_t* resultYear,
                            int32_t* resultDay, double* resultSeconds);

/* Month (1 to 12) and day of the month of a day of the year; a day outside the year is not refused. */
SKAR_EXPORT void TmYJDtoMD(int32_t year, int32_t dayOfYear, int32_t* month, int32_t* dayOfMonth);

/* Day of the year; 0 for a month outside 1 to 12 or a day outside 1 to 31. A day beyond its month counts on
   into the next. */
SKAR_EXPORT int32_t TmYMDtoJD(int32_t year, int32_t month, int32_t day);

/* Seconds since 1980 as seconds since 1970: 315532800 more. */
SKAR_EXPORT double TmUTCs80toUTCs70(double seconds);

/* Atomic time minus UTC in seconds on a date, 19 (also before 1980) to 35. */
SKAR_EXPORT int32_t TmGetTAIUTCOffset(int32_t year, int32_t day);

/* A count of seconds as year, day and seconds of the day. A time within a leap second falls in the day
   before. Outputs as of TmYDSplusS if the count leads outside 1900 to 3000; nothing is written if an output
   is null. */
SKAR_EXPORT void TmUTCs70toYDS(double utcSeconds, int32_t* year, int32_t* day, double* seconds);
SKAR_EXPORT void TmUTCs80toYDS(double utcSeconds, int32_t* year, int32_t* day, double* seconds);

/* The way back; nothing is checked. */
SKAR_EXPORT double TmYDStoUTCs70(int32_t year, int32_t day, double seconds);
SKAR_EXPORT double TmYDStoUTCs80(int32_t year, int32_t day, double seconds);

#endif
