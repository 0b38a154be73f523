#ifndef SKAR_INTERPOLATION_H
#define SKAR_INTERPOLATION_H

#include <skar/export.h>

/* Interpolation of time series. A Bezier structure takes points in order of time and is then asked for any
   time; its curve is of pieces of at most five points. Times are seconds of any scale. A structure serves one
   thread. */

/* The most points of a piece. */
#define SKAR_BEZIER_POINTS 5

typedef struct BezierSegment {
    double startTime;
    double endTime;
    int count;                      /* points, 0 to 5 */
    int offset[SKAR_BEZIER_POINTS]; /* milliseconds after startTime */
    double x[SKAR_BEZIER_POINTS];
    double y[SKAR_BEZIER_POINTS];
} BezierSegment;

typedef struct BezierStruct {
    int capacity; /* segments there is room for */
    int used;
    int reject;  /* set by the caller for as long as he rejects data; reset by every insertion */
    int current; /* segment that takes the next point */
    int cache;   /* segment that the last search found */
    BezierSegment* segments;
} BezierStruct;

/* The same for one value instead of a position. */
typedef struct SingleValueBezierSegment {
    double startTime;
    double endTime;
    int count;
    int offset[SKAR_BEZIER_POINTS];
    double value[SKAR_BEZIER_POINTS];
} SingleValueBezierSegment;

typedef struct SingleValueBezierStruct {
    int capacity;
    int used;
    int reject;
    int current;
    int cache;
    SingleValueBezierSegment* segments;
} SingleValueBezierStruct;

/* A structure with room for about so many points; it grows when there are more. The caller's, to be freed
   with the function below. Null without memory. */
SKAR_EXPORT BezierStruct* initBezier(int expectedPoints);
SKAR_EXPORT SingleValueBezierStruct* initSingleValueBezier(int expectedPoints);

/* Free a structure with its points. Null is accepted. */
SKAR_EXPORT void freeBezier(BezierStruct* bezier);
SKAR_EXPORT void freeSingleValueBezier(SingleValueBezierStruct* bezier);

/* Add a point, none earlier than those before it. Without memory, and on a null structure, nothing is added.
 */
SKAR_EXPORT void insertPosIntoStruct(BezierStruct* bezier, double time, double x, double y);
SKAR_EXPORT void insertValueIntoStruct(SingleValueBezierStruct* bezier, double time, double value);

/* Cuts the curve behind the last point, so that none leads across a gap of rejected data. Does nothing while
   the structure's reject flag is set, which is the caller's to set after the first rejected point. */
SKAR_EXPORT void setBezierRejectStatus(BezierStruct* bezier);

/* The position or value at a time. Return 0 for a time on the curve. For any other they return 1 with the
   first point of the first segment ahead of it, of the segment behind the gap it lies in (of the one before
   the gap while there is no other), or of the last one; with zeros where there is no point at all. A null
   output is left out. */
SKAR_EXPORT int interpBezier(BezierStruct* bezier, double time, double* x, double* y);
SKAR_EXPORT int interpSingleValueBezier(SingleValueBezierStruct* bezier, double time, double* value);

/* The value at x of the polynomial through `count` points, at most 10, in any order of their different xs,
   and an estimate of its error. Returns 0, or -1 with a line on the standard error for more points and for
   two with equal xs. No point gives 0. */
SKAR_EXPORT int InterpPolynomial(const double* xs, const double* ys, int count, double x, double* y,
                                 double* errorEstimate);

/* The value at x of the straight line between two points, x0 not greater than x1; beyond them the nearer
   point's. Returns y. */
SKAR_EXPORT double* LinearInterp(double x0, double y0, double x1, double y1, double x, double* y);

#endif
