#include "fileio/segments.h"

#include "fileio/xdr.h"
#include "platform/file.h"
#include "platform/positionedio.h"
#include "platform/safefile.h"

#include <skar/log.h>
#include <skar/paths.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstdlib>
#include <memory>
#include <new>

namespace skar::fileio {

namespace {

enum class Purpose { reading, writing };

struct FreeText {
    void operator()(void* text) const noexcept { std::free(text); }
};
template <class Character>
using Text = std::unique_ptr<Character, FreeText>;

// The file name as the log shows it.
Text<char> narrow(const std::wstring& path) {
    return Text<char>(SKARConvertWideCharToASCII(path.c_str()));
}

int openFailure(const _TELD_Sensor& sensor, const Family& family, Purpose purpose) {
    const SegmentOpenFailure& failure = family.segmentOpen;
    if (failure.fixedCode != 0)
        return purpose == Purpose::writing && failure.onWriting != 0 ? failure.onWriting : failure.fixedCode;
    const std::uint32_t cause = platform::lastError();
    const Text<char> path = narrow(sensor.lineSegmentsPath);
    const char* shown = path ? path.get() : "";
    const struct {
        std::uint32_t cause;
        const char* line;
    } table[] = {
        {platform::errorFileNotFound, "SKAR IO was unable to find the data file '%s'\n"},
        {platform::errorTooManyOpenFiles,
         "SKAR IO could not open '%s' because there are too many files open on the system.\n"},
        {platform::errorAccessDenied,
         "SKAR IO could not open '%s' because access is denied by the system.\n"},
        {platform::errorNotEnoughMemory,
         "SKAR IO could not open '%s' because there is not enough disk space available.\n"},
    };
    int code = failure.otherCode;
    const auto* row = std::find_if(std::begin(table), std::end(table),
                                   [&](const auto& each) { return each.cause == cause; });
    if (row != std::end(table)) {
        skarDebugLog(2, row->line, shown);
        code = failure.firstOfTable + static_cast<int>(row - std::begin(table));
    } else if (failure.logsOther) {
        const Text<char> text = narrow(platform::lastErrorText(cause));
        skarDebugLog(2, "SKAR IO could not open '%s'.  Windows returned the following error:\n\t%s\n", shown,
                     text ? text.get() : "");
    }
    return purpose == Purpose::writing && failure.onWriting != 0 ? failure.onWriting : code;
}

// Text with a length before it. It cannot have more bytes than are left in the file; nothing is allocated for
// one that claims to, and the stream tells what it tells of bytes that are not there.
bool decodeName(qon_XDR& stream, std::FILE* file, std::uint32_t nameLength, char*& stored) {
    const std::int64_t end = platform::streamSize(file);
    const std::int64_t ahead = end - std::ftell(file) - static_cast<std::int64_t>(wordSize);
    const std::int64_t most = std::max<std::int64_t>(ahead, 0);
    if (qon_xdr_string(&stream, &stored,
                       static_cast<std::uint32_t>(std::min<std::int64_t>(nameLength, most))))
        return true;
    if (!stored && ahead >= 0 && nameLength > ahead) {
        std::byte missing;
        std::fseek(file, static_cast<long>(end), SEEK_SET);
        stream.x_ops->getbytes(&stream, &missing, 1);
    }
    return false;
}

// What a word of the file could not be decoded by is logged where the family does so.
bool undecoded(const Family& family, const char* word, const char* coder) {
    if (family.segmentWordLog)
        skarDebugLog(1, "%s() failed, unable to decode %s.   %s() failed.\n", family.segmentWordLog, word,
                     coder);
    return false;
}

bool decodeWord(const Family& family, qon_XDR& stream, const char* name, std::uint32_t& word) {
    return qon_xdr_u_int(&stream, &word) || undecoded(family, name, "qon_xdr_u_int");
}

bool readSegment(_TELD_Sensor& sensor, const Family& family, qon_XDR& stream, std::FILE* file) {
    std::uint32_t status = 0;
    std::uint32_t nameLength = 0;
    if (!decodeWord(family, stream, "number of segment status", status) ||
        !decodeWord(family, stream, "sourceFileNameLength", nameLength))
        return false;
    char* stored = nullptr;
    const bool decoded = decodeName(stream, file, nameLength, stored);
    const Text<char> name(stored);
    if (!decoded) return undecoded(family, "sourceFileName", "qon_xdr_string");
    _TELD_LineSegment* segment = LnSegAlloc(&sensor);
    if (!segment) throw std::bad_alloc();
    segment->status = status;
    segment->name = SKARConvertASCIICharToWide(stored);
    if (!segment->name) throw std::bad_alloc();
    segment->nameLength = static_cast<std::uint32_t>(std::wcslen(segment->name));
    if (!decodeWord(family, stream, "beginIndex", segment->beginIndex) ||
        !decodeWord(family, stream, "endIndex", segment->endIndex))
        return false;
    std::array<std::byte, 64> extents;
    std::byte* at = extents.data();
    for (const FieldPage& page : family.extents.pages) {
        std::uint32_t word = 0;
        if (!qon_xdr_u_int(&stream, &word)) return undecoded(family, page.complaint, "qon_xdr_int");
        storeWord(at, word);
        at += wordSize;
    }
    family.extents.decode(sensor, extents.data(), *segment);
    return true;
}

bool writeSegment(const _TELD_Sensor& sensor, const Family& family, qon_XDR& stream,
                  const _TELD_LineSegment& segment) {
    const Text<char> name(SKARConvertWideCharToASCII(segment.name ? segment.name : L""));
    if (!name) return false;
    char* text = name.get();
    std::uint32_t status = segment.status;
    auto nameLength = static_cast<std::uint32_t>(std::strlen(text));
    std::uint32_t beginIndex = segment.beginIndex;
    std::uint32_t endIndex = segment.endIndex;
    if (!qon_xdr_u_int(&stream, &status) || !qon_xdr_u_int(&stream, &nameLength) ||
        !qon_xdr_string(&stream, &text, nameLength) || !qon_xdr_u_int(&stream, &beginIndex) ||
        !qon_xdr_u_int(&stream, &endIndex))
        return false;
    std::array<std::byte, 64> extents;
    family.extents.encode(sensor, segment, extents.data());
    for (std::size_t at = 0; at < family.extents.size; at += wordSize) {
        std::uint32_t word = loadWord(&extents[at]);
        if (!qon_xdr_u_int(&stream, &word)) return false;
    }
    return true;
}

int readAll(_TELD_Sensor& sensor, const Family& family, qon_XDR& stream, std::FILE* file) {
    if (const int code = TELD_ReadLnSegValidationRecord(&sensor, &stream)) return code;
    std::int32_t count = 0;
    if (!qon_xdr_int(&stream, &count)) {
        undecoded(family, "number of line segments", "qon_xdr_int");
        return family.code(Offset::decodeSegments);
    }
    if (count < 0) return family.code(Offset::decodeSegments);
    for (std::int32_t i = 0; i < count; ++i)
        if (!readSegment(sensor, family, stream, file)) return family.code(Offset::decodeSegments);
    return codes::success;
}

} // namespace

int readSegments(_TELD_Sensor& sensor, const Family& family) try {
    std::FILE* file = platform::openFile(sensor.lineSegmentsPath.c_str(), "rb");
    if (!file) return openFailure(sensor, family, Purpose::reading);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> closer(file, std::fclose);
    qon_XDR stream;
    qon_xdrstdio_create(&stream, file, XDR_DECODE);
    const XdrScope scope(stream);
    return readAll(sensor, family, stream, file);
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

int writeSegments(_TELD_Sensor& sensor, const Family& family) try {
    platform::SafeFile file(sensor.lineSegmentsPath);
    if (!file.stream()) return openFailure(sensor, family, Purpose::writing);
    qon_XDR stream;
    qon_xdrstdio_create(&stream, file.stream(), XDR_ENCODE);
    const XdrScope scope(stream);
    const int failed = family.code(Offset::writeSegments);
    if (const int code = TELD_WriteLnSegValidationRecord(&sensor, &stream)) return failed;
    auto count = static_cast<std::int32_t>(sensor.numLineSegments);
    if (!qon_xdr_int(&stream, &count)) return failed;
    for (const auto* segment = sensor.firstLineSegment; segment; segment = segment->next)
        if (!writeSegment(sensor, family, stream, *segment)) return failed;
    return file.commit() ? codes::success : failed;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

} // namespace skar::fileio

using namespace skar;

_TELD_LineSegment* LnSegAlloc(_TELD_Sensor* sensor) {
    if (!sensor) return nullptr;
    auto* segment = new (std::nothrow) _TELD_LineSegment{};
    if (!segment) return nullptr;
    for (double& least : segment->min)
        least = DBL_MAX;
    for (double& most : segment->max)
        most = -DBL_MAX;
    segment->minTime = DBL_MAX;
    segment->maxTime = -DBL_MAX;
    segment->previous = sensor->lastLineSegment;
    (sensor->lastLineSegment ? sensor->lastLineSegment->next : sensor->firstLineSegment) = segment;
    sensor->lastLineSegment = segment;
    ++sensor->numLineSegments;
    return segment;
}

_TELD_LineSegment* LnSegIndexSearch(_TELD_Sensor* sensor, std::int32_t segmentNumber) {
    if (!sensor) {
        skarDebugLog(1, "LnSegIndexSearch: sensor is invalid (empty)\n");
        return nullptr;
    }
    if (segmentNumber < 1) return nullptr;
    _TELD_LineSegment* segment = sensor->firstLineSegment;
    while (segment && --segmentNumber > 0)
        segment = segment->next;
    return segment;
}
