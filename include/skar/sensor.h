#ifndef SKAR_SENSOR_H
#define SKAR_SENSOR_H

#include <skar/export.h>

#include <stdint.h>
#include <wchar.h>
#ifdef __cplusplus
#include <cstdio>
#include <string>
#endif

/* The handle of one sensor's open file set in one line, and the frame that all families stand on.

   A handle is made by a family's XxxOpenDir and ended by its XxxClose; it serves one thread at a time. Plain functions
   return 0 for success or a code of <skar/codes.h>; records and line segments count from 1. */

typedef struct _TELD_Sensor _TELD_Sensor;
typedef struct _TELD_LineSegment _TELD_LineSegment;
typedef struct _TELD_TmIdxSet _TELD_TmIdxSet;
typedef struct qon_XDR qon_XDR;

/* Access types, as the tokens "create", "query" and "update" of an open give them. */
enum { TELD_CREATE = 1, TELD_QUERY = 2, TELD_UPDATE = 3 };

/* Readies the library; to be called once before any open. With a non-zero argument the environment is set up from
   the registry first: a failure of that prints a line, leaves the library unready and returns 5028700 to 5028702. */
SKAR_EXPORT int SKARIO_Init(unsigned char setUpEnvironment);
/* Non-zero once SKARIO_Init has succeeded. */
SKAR_EXPORT unsigned int GetHeader(void);
/* Always 0. */
SKAR_EXPORT int isDataUpdated(const void* first, const void* second);

/* The access type of a token (compared exactly), or 5000035 for an unknown, empty or null one, with a log line. */
SKAR_EXPORT int TELD_DecodeAccessTypeToken(const wchar_t* token);

/* Opens the file set of a sensor in a line directory. Null on failure, the code in *returnCode: 5000046 when the sensor
   is not there (query and update), else 5000020 to 5000025, or 0xFFFFFFFF when the failure carries no code. The
   caller owns the handle; SensorFree ends it. Families complete it in their XxxOpenDir. */
SKAR_EXPORT _TELD_Sensor* SensorOpenDir(const wchar_t* linePath, uint32_t sensorId, const wchar_t* accessToken,
                                        uint32_t* returnCode);
/* Frees the handle and all it owns and closes its files; writes nothing of the family. 0, also for null; -1 when a
   file could not be closed (the handle is gone all the same). */
SKAR_EXPORT int SensorFree(_TELD_Sensor* sensor);
/* Removes the data file, its LineSegments and its TmIdx from a line. Always 0. */
SKAR_EXPORT int SensorRemoveDir(const wchar_t* linePath, const wchar_t* sensorFileName);

/* 1 if the path is a directory that can be inspected, else 0. */
SKAR_EXPORT int LineExists(const wchar_t* linePath);
/* Makes the project, vessel, day and line directories that are missing below an existing root. 0, or 5000034. */
SKAR_EXPORT int LineCreateHierarchy(const wchar_t* linePath);

/* The validation record at the head of the data file: 5000027 when it cannot be read or is another sensor's, 5000028
   when it cannot be written, -1 for null. After success the file stands at byte 16. */
SKAR_EXPORT int TELD_ReadDataValidationRecord(_TELD_Sensor* sensor);
SKAR_EXPORT int TELD_WriteDataValidationRecord(_TELD_Sensor* sensor);
/* The same four words of a LineSegments file, on an open stream: 5000029 and 5000030. */
SKAR_EXPORT int TELD_ReadLnSegValidationRecord(_TELD_Sensor* sensor, qon_XDR* stream);
SKAR_EXPORT int TELD_WriteLnSegValidationRecord(_TELD_Sensor* sensor, qon_XDR* stream);

/* Appends a line segment with empty extents to the handle's list. The handle owns it; null when memory is short. */
SKAR_EXPORT _TELD_LineSegment* LnSegAlloc(_TELD_Sensor* sensor);
/* The segment with that number, counted from 1, or null. */
SKAR_EXPORT _TELD_LineSegment* LnSegIndexSearch(_TELD_Sensor* sensor, int32_t segmentNumber);

/* Makes the status shadow for numRecords records. 0, or -1. */
SKAR_EXPORT int SensorAllocStatusShadow(_TELD_Sensor* sensor);

/* The time index: a record number (from 1) to a byte offset in the data file, with each record's encoded time. */

/* Adds the entry of the record about to be written. 0, 5000009 without memory, -1 for null or when the offset does not
   fit the 31 bits that an entry has for it. */
SKAR_EXPORT int TmIdxEntry(_TELD_Sensor* sensor, int32_t encodedTime);
/* The byte offset of a record. 0, -1 for null arguments, 5000036 for record 0, 5000037 past the last one. */
SKAR_EXPORT int TmIdxMapIndexToByteOffset(_TELD_Sensor* sensor, uint32_t recordNumber, int32_t* offset);
/* Reads the TmIdx file into the handle: 5000038 when it cannot be opened, 5000039 when it is wrong, 5000009. */
SKAR_EXPORT int TmIdxRead(_TELD_Sensor* sensor);
/* Writes the TmIdx file whole: 5000038 when it cannot be opened, 5000040 when it cannot be written. */
SKAR_EXPORT int TmIdxWrite(_TELD_Sensor* sensor);

#ifdef __cplusplus

/* One segment of a line: the records beginIndex to endIndex, all from one source file. */
struct _TELD_LineSegment {
    std::uint32_t nameLength;    /* of the name, in characters */
    wchar_t* name;               /* source file name, from wcsdup; owned */
    std::uint32_t beginIndex;    /* first record or profile */
    std::uint32_t endIndex;      /* last record or profile */
    double min[3];               /* extents of up to three quantities; DBL_MAX while there are none */
    double max[3];               /* -DBL_MAX while there are none */
    std::uint32_t status;
    double minTime;              /* seconds */
    double maxTime;
    _TELD_LineSegment* next;
    _TELD_LineSegment* previous;
};

/* One entry of the time index. */
struct _TELD_TmIdxPair {
    std::int32_t time;   /* encoded */
    std::int32_t offset; /* of the record in the data file, bytes */
};

/* A block of the time index; the blocks of a handle form a list in record order. */
struct _TELD_TmIdxSet {
    std::uint32_t numRecords; /* entries in use */
    std::int32_t minTime;     /* smallest encoded time; 0x7FFFFFFF while empty */
    std::int32_t maxTime;     /* largest encoded time; the most negative value while empty */
    _TELD_TmIdxPair* offsets; /* owned by the handle */
    _TELD_TmIdxSet* next;
};

/* An XDR stream: big-endian 32-bit words in memory or in a stdio file. */
struct qon_XDR_ops;
struct qon_XDR {
    std::uint32_t x_op;  /* 0 encode, 1 decode, 2 free */
    qon_XDR_ops* x_ops;  /* made with the stream, owned */
    void* x_public;
    void* x_private;     /* memory: the position; stdio: the FILE* */
    void* x_base;        /* memory: start of the buffer */
    std::int32_t x_handy; /* memory: bytes left */
};

namespace skar::fileio {
struct HandleState;
}

struct _TELD_Sensor {
    std::uint32_t sensorType; /* as the validation records hold it */
    std::uint32_t version;    /* of the data file */
    std::uint32_t accessType; /* TELD_CREATE, TELD_QUERY or TELD_UPDATE */
    std::wstring project;     /* directory names of the line path */
    std::wstring vessel;
    std::wstring day;
    std::wstring line;
    std::wstring linePath; /* as passed to the open */
    void* pReadStruct;     /* the family's record buffer and read state, from malloc; owned */
    void* auxiliary;       /* the block cache, where a family has switched it on */
    std::wstring dataFilePath;
    std::FILE* dataFile;
    std::wstring traceFilePath; /* side scan of ids 9 and 10 only */
    std::FILE* traceFile;
    qon_XDR encodeXDRStream; /* over the family's record buffer */
    qon_XDR decodeXDRStream;
    std::uint32_t summaryExtra; /* family's own: the coordinate type of navigation */
    std::uint32_t summaryStatus;
    std::uint32_t toolType;     /* of the profile families */
    std::uint32_t sonarType;    /* of the sensor parameters */
    std::uint32_t sonarVersion;
    std::uint32_t numRecords; /* records, or profiles */
    double minTime;           /* seconds; DBL_MAX and -DBL_MAX while there is no record */
    double maxTime;
    double min[3];
    double max[3];
    std::wstring lineSegmentsPath;
    std::uint32_t numLineSegments;
    _TELD_LineSegment* firstLineSegment;
    _TELD_LineSegment* lastLineSegment;
    std::wstring tmIdxPath;
    std::uint32_t numTmIdxSets;
    std::uint32_t maxTmIdxSetSize; /* capacity of one set; 512, or the file's */
    _TELD_TmIdxSet* firstTmIdxSet;
    _TELD_TmIdxSet* lastTmIdxSet;
    std::int32_t clockAccuracy;      /* encoded time units per second */
    std::int32_t positionScale;      /* position step, units of 1e-9 */
    std::int32_t referenceTime;      /* minutes */
    std::int32_t referenceLatitude;  /* units of 1e-7 */
    std::int32_t referenceLongitude; /* units of 1e-7 */
    std::int32_t secondaryClockAccuracy;
    std::int32_t secondaryPositionScale;
    std::uint32_t firstRecord;         /* the next write sets the references */
    std::uint8_t statusChanged;        /* a shadow status was altered since the last save */
    std::uint8_t* statusShadowChanged; /* a flag per record, from 1; owned */
    std::uint32_t* statusShadow;       /* a status per record, from 1; owned */
    std::int32_t (*encodeValue)(double);
    double (*decodeValue)(std::int32_t);
    std::uint32_t numDepths;   /* of the profile families: beams over all profiles */
    std::uint32_t toolType2;   /* of the uncertainties */
    skar::fileio::HandleState* state; /* the library's own: read window, write buffer, index of the index; owned */
};

namespace SKAR::IO {

/* As SensorOpenDir, but throws SensorOpenError with code, key and details. */
SKAR_API _TELD_Sensor* SensorOpen(const wchar_t* linePath, unsigned int sensorId, const wchar_t* accessToken);

/* As the TELD_ functions, but throw: SensorReadError with 5000027 and the key of the test that failed, and
   Morva::Exception::Error naming the step. */
SKAR_API void ReadDataValidationRecord(_TELD_Sensor& sensor);
SKAR_API void WriteDataValidationRecord(_TELD_Sensor& sensor);

} // namespace SKAR::IO

#endif
#endif
