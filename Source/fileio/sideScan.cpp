#include "fileio/formats.h"
#include "fileio/imagery.h"
#include "platform/file.h"

#include <skar/multibeamsidescan.h>
#include <skar/paths.h>
#include <skar/sensortype.h>

#include <limits>

// The amplitudes of a multibeam sounder, of three systems.
namespace skar::fileio {

namespace {

using Id = SKAR::IO::SensorType::ID;

struct Profile {
    std::uint32_t beams = 0;
    std::uint32_t firstBeam = 0;
    double time = 0.0;
    double value = 0.0;
    std::int32_t a = 0;
    std::int32_t b = 0;
    std::int32_t c = 0;
    std::int32_t d = 0;
    std::int32_t e = 0;
};

struct Beam {
    std::int32_t first = 0;
    std::int32_t second = 0;
    std::int32_t third = 0;
    std::int32_t fourth = 0;
    std::int32_t count = 0;
    std::int32_t value = 0;
    std::uint32_t trace = 0; // byte offset in the trace file
};

constexpr std::uint32_t byteAt(std::int32_t value, unsigned shift) {
    return (static_cast<std::uint32_t>(value) & 0xFF) << shift;
}
constexpr std::int32_t signedByte(std::uint32_t word, unsigned shift) {
    return static_cast<std::int8_t>(word >> shift);
}

// Four bytes from the top, the first of them unsigned and the others signed. What has no member is 0.
template <class Record, std::int32_t Record::*... Members>
struct ByteRow {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "bytes from the top, the first unsigned and the others signed";
    static bool encode(const Scale&, const Record& record, std::uint32_t& word) noexcept {
        unsigned shift = 32;
        word = 0;
        ((word |= byteAt(record.*Members, shift -= 8)), ...);
        return true;
    }
    static void decodeInto(const Scale&, std::uint32_t word, Record& record) noexcept {
        unsigned shift = 32;
        ((record.*Members = signedByte(word, shift -= 8)), ...);
        constexpr std::int32_t Record::*members[] = {Members...};
        record.*members[0] = static_cast<std::int32_t>(word >> 24);
    }
};

struct LowByte {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "in bits 0 to 7, signed";
    static bool encode(const Scale&, std::int32_t value, std::uint32_t& word) noexcept {
        word = byteAt(value, 0);
        return true;
    }
    static std::int32_t decode(const Scale&, std::uint32_t word) noexcept { return signedByte(word, 0); }
};

struct Tenths {
    static constexpr const char* wordType = "int";
    static constexpr const char* meaning = "value * 10, cut and not rounded";
    static bool encode(const Scale&, double value, std::uint32_t& word) noexcept {
        return lowWord(value * 10.0, word);
    }
    static double decode(const Scale&, std::uint32_t word) noexcept {
        return static_cast<std::int32_t>(word) / 10.0;
    }
};

// The third byte parameter is put in first and then gives way to the 16-bit one, of which it comes back as
// the upper half.
struct BytesAndHalf {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning =
        "A in bits 24 to 31, B in bits 16 to 23, signed, D in bits 0 to 15; C is read from bits 8 to 15";
    static bool encode(const Scale&, const Profile& p, std::uint32_t& word) noexcept {
        word = byteAt(p.a, 24) | byteAt(p.b, 16) | byteAt(p.c, 8);
        word = (word & 0xFFFF0000) | (static_cast<std::uint32_t>(p.d) & 0xFFFF);
        return true;
    }
    static void decodeInto(const Scale&, std::uint32_t word, Profile& p) noexcept {
        p.a = static_cast<std::int32_t>(word >> 24);
        p.b = signedByte(word, 16);
        p.c = signedByte(word, 8);
        p.d = static_cast<std::int32_t>(word & 0xFFFF);
    }
};

// The second element is not cut on its way in.
struct ByteAndRest {
    static constexpr const char* wordType = "u_int";
    static constexpr const char* meaning = "first in bits 24 to 31, ORed with second; second in bits 0 to 23";
    static bool encode(const Scale&, const Beam& beam, std::uint32_t& word) noexcept {
        word = byteAt(beam.first, 24) | static_cast<std::uint32_t>(beam.second);
        return true;
    }
    static void decodeInto(const Scale&, std::uint32_t word, Beam& beam) noexcept {
        beam.first = static_cast<std::int32_t>(word >> 24);
        beam.second = static_cast<std::int32_t>(word & 0xFFFFFF);
    }
};

constexpr auto timeField = field<Time>("time", &Profile::time);
constexpr auto rangeField = field<Halves<&Profile::beams, &Profile::firstBeam>>("beams, firstBeam", Whole{});

constexpr auto em100Layout = layout<Profile>(
    timeField, rangeField,
    field<ByteRow<Profile, &Profile::a, &Profile::b, &Profile::c, &Profile::d>>("A, B, C, D", Whole{}),
    field<LowByte>("E", &Profile::e));
constexpr auto elacLayout = layout<Profile>(
    timeField, rangeField, field<ByteRow<Profile, &Profile::a, &Profile::b, &Profile::c>>("A, B, C", Whole{}),
    field<LowByte>("D", &Profile::d));
constexpr auto em1000Layout = layout<Profile>(timeField, rangeField, field<Tenths>("value", &Profile::value),
                                              field<BytesAndHalf>("A, B, D", Whole{}));
constexpr auto bytesField = field<ByteRow<Beam, &Beam::first, &Beam::second, &Beam::third, &Beam::fourth>>(
    "first, second, third, fourth", Whole{});
constexpr auto em100Beam = layout<Beam>(bytesField);
constexpr auto elacBeam = layout<Beam>(field<ByteAndRest>("first, second", Whole{}));
constexpr auto em1000Beam =
    layout<Beam>(bytesField, field<Halves<&Beam::count, &Beam::value>>("count, value", Whole{}),
                 field<Unsigned>("trace", &Beam::trace));

using Handle = _TELD_Sensor;
constexpr auto summaryLayout = layout<Handle>(
    field<Unsigned>("summaryStatus", &Handle::summaryStatus),
    field<Unsigned>("numProfiles", &Handle::numRecords), field<Unsigned>("numBeams", &Handle::numDepths),
    field<Signed>("clockAccuracy", &Handle::clockAccuracy),
    field<Signed>("referenceTime", &Handle::referenceTime), field<Time>("minTime", &Handle::minTime),
    field<Time>("maxTime", &Handle::maxTime));

using Segment = _TELD_LineSegment;
constexpr auto extentsLayout =
    layout<Segment>(field<Time>("minTime", &Segment::minTime), field<Time>("maxTime", &Segment::maxTime));

constexpr codes::Block base = codes::sideScan;
constexpr Family family = {
    .name = "SideScan",
    .sensorId = Id::SideScanEM100,
    .storedType = Id::SideScanEM100,
    .base = base,
    .summary = block<summaryLayout, Handle>(),
    .extents = block<extentsLayout, Segment>(),
    .recordSize = em100Layout.size,
    .nullHandle = base + Offset::nullHandle,
    .testsSensor = true,
    .otherTypes = {Id::SideScanEM1000, Id::SideScanELAC},
    .noStructure = base + Offset::wrongSensor,
    .keepsStatusShadow = false,
    .segmentOutputsOptional = true,
    .segmentOpen = {.fixedCode = base + Offset::openFile, .onWriting = base + Offset::writeSegments},
};

// In what the systems differ.
struct EM100 {
    static constexpr std::uint32_t type = Id::SideScanEM100;
    static constexpr auto& header = em100Layout;
    static constexpr auto& beam = em100Beam;
};
struct EM1000 {
    static constexpr std::uint32_t type = Id::SideScanEM1000;
    static constexpr auto& header = em1000Layout;
    static constexpr auto& beam = em1000Beam;
};
struct ELAC {
    static constexpr std::uint32_t type = Id::SideScanELAC;
    static constexpr auto& header = elacLayout;
    static constexpr auto& beam = elacBeam;
};

// The arrays of a caller, by the member of a beam that each belongs to.
template <class Element>
struct Column {
    Element* elements;
    std::int32_t Beam::*member;
};

int checkProfileWriter(const _TELD_Sensor* sensor, std::uint32_t type) {
    if (!sensor) return family.nullHandle;
    if (!sensor->pReadStruct || !family.has(sensor->sensorType)) return family.code(Offset::wrongSensor);
    const bool first = imageryState(*sensor).common.recordsWritten == 0 && sensor->accessType == TELD_CREATE;
    if (!first && sensor->sensorType != type) return family.code(Offset::wrongSensor);
    return sensor->accessType == TELD_CREATE ? codes::success : family.code(Offset::wrongAccess);
}

template <class System, std::size_t N>
int writeProfile(_TELD_Sensor* sensor, const Profile& profile,
                 const std::array<Column<const std::int32_t>, N>& columns) try {
    if (const int code = checkProfileWriter(sensor, System::type)) return code;
    for (const auto& column : columns)
        if (profile.beams != 0 && !column.elements) return codes::failed;
    ImageryState& state = imageryState(*sensor);
    sensor->sensorType = System::type;
    ++sensor->numRecords;
    std::array<std::byte, System::header.size> head;
    if (sensor->firstRecord && !setReferences(*sensor, profile.time)) return family.code(Offset::encode);
    if (!System::header.encode(*sensor, profile, head.data())) return family.code(Offset::encode);
    sensor->firstRecord = 0;
    std::vector<std::byte>& beams = sensor->state->samples[0];
    beams.resize(profile.beams * System::beam.size);
    std::uint64_t trace = state.traceOffset;
    for (std::uint32_t i = 0; i < profile.beams; ++i) {
        Beam beam;
        for (const auto& column : columns)
            beam.*column.member = column.elements[i];
        beam.trace = static_cast<std::uint32_t>(trace);
        if (beam.count < 0 || beam.count > 0xFFFF) return family.code(Offset::encode);
        trace += static_cast<std::uint32_t>(beam.count);
        System::beam.encode(*sensor, beam, beams.data() + i * System::beam.size);
    }
    if (trace > std::numeric_limits<std::uint32_t>::max()) return family.code(Offset::encode);
    const Samples entries = {beams.data(), beams.size()};
    constexpr std::size_t timeOffset = System::header.offsetOf("time");
    if (const int code =
            appendImage(*sensor, family, profile.time,
                        static_cast<std::int32_t>(loadWord(head.data() + timeOffset)), head, {&entries, 1}))
        return code;
    sensor->numDepths += profile.beams; // of the profiles that are in the file
    state.traceOffset = static_cast<std::uint32_t>(trace);
    return codes::success;
} catch (const std::bad_alloc&) {
    return codes::outOfMemory;
}

// The head of a profile. The file stands at its beams then.
template <class System>
int readProfile(_TELD_Sensor* sensor, std::uint32_t number, Profile& profile) {
    if (!sensor) return family.nullHandle;
    if (sensor->sensorType != System::type) return family.code(Offset::wrongSensor);
    if (const int code = checkHandle(family, sensor, "ReadProfile", inQuery, Structure::needed)) return code;
    if (const int code = seekImage(*sensor, family, number)) return code;
    const std::byte* stored = sensor->state->file.read(System::header.size);
    if (!stored) return family.code(Offset::read);
    const RecordSpan span = recordSpan(sensor->decodeXDRStream, XDR_DECODE);
    if (span.size < System::header.size) return family.code(Offset::decode);
    std::memcpy(span.bytes, stored, System::header.size);
    System::header.decode(*sensor, stored, profile);
    return codes::success;
}

// The samples of all beams, which stand in the trace file in one run.
int readTraces(const _TELD_Sensor& sensor, std::uint32_t offset, std::uint64_t size, void* traces) {
    if (!sensor.traceFile) return family.code(Offset::read);
    const std::int64_t there = platform::streamSize(sensor.traceFile);
    if (there < 0) return family.code(Offset::seek);
    std::size_t got = 0;
    // A sum that the file cannot have is not read in part: the caller need not have room for it.
    if (offset + size > static_cast<std::uint64_t>(there) ||
        !platform::readAt(sensor.traceFile, offset, traces, size, got) || got < size)
        return family.code(Offset::read);
    return codes::success;
}

template <class System, std::size_t N>
int readBeams(_TELD_Sensor* sensor, std::uint32_t number, double* time,
              const std::array<Column<std::int32_t>, N>& columns, void* traces = nullptr) {
    Profile profile;
    if (const int code = readProfile<System>(sensor, number, profile)) return code;
    const std::byte* stored = nullptr;
    if (profile.beams != 0) {
        stored = sensor->state->file.read(profile.beams * System::beam.size);
        if (!stored) return family.code(Offset::read);
    }
    std::uint64_t samples = 0;
    std::uint32_t firstTrace = 0;
    for (std::uint32_t i = 0; i < profile.beams; ++i) {
        Beam beam;
        System::beam.decode(*sensor, stored + i * System::beam.size, beam);
        for (const auto& column : columns)
            if (column.elements) column.elements[i] = beam.*column.member;
        if (i == 0) firstTrace = beam.trace;
        samples += static_cast<std::uint32_t>(beam.count);
    }
    if (traces && samples != 0)
        if (const int code = readTraces(*sensor, firstTrace, samples, traces)) return code;
    give(time, profile.time);
    return codes::success;
}

// The system of the file that is there; that of the first where there is none that could be told.
std::uint32_t systemOf(const wchar_t* linePath) {
    if (!linePath) return family.sensorId;
    MORVAUString path(linePath);
    SKARIOUtils::appendPath(path, SKARIOUtils::sensorIDToName(family.sensorId));
    std::FILE* file = platform::openFile(path.toWide().c_str(), "rb");
    if (!file) return family.sensorId;
    std::array<std::byte, 2 * wordSize> words;
    std::size_t got = 0;
    const bool read = platform::readAt(file, 0, words.data(), words.size(), got) && got == words.size();
    std::fclose(file);
    const std::uint32_t type = read ? loadWord(words.data() + wordSize) : 0;
    return family.has(type) ? type : family.sensorId;
}

} // namespace

FormatTables sideScanFormat() {
    static constexpr FormatTable tables[] = {
        {"Side scan summary", pagesOf<summaryLayout, Handle>},
        {"EM100 profile", pagesOf<em100Layout, Profile>},
        {"EM100 beam", pagesOf<em100Beam, Beam>},
        {"ELAC profile", pagesOf<elacLayout, Profile>},
        {"ELAC beam", pagesOf<elacBeam, Beam>},
        {"EM1000 profile", pagesOf<em1000Layout, Profile>},
        {"EM1000 beam", pagesOf<em1000Beam, Beam>},
        {"Side scan segment extents", pagesOf<extentsLayout, Segment>},
    };
    return tables;
}

} // namespace skar::fileio

using namespace skar;
using namespace skar::fileio;

_TELD_Sensor* SideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    const bool existing = TELD_DecodeAccessTypeToken(accessToken) != TELD_CREATE;
    return openImagery(family, existing ? systemOf(linePath) : family.sensorId, linePath, accessToken, code);
}
_TELD_Sensor* EM100SideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    return openImagery(family, EM100::type, linePath, accessToken, code);
}
_TELD_Sensor* EM1000SideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    return openImagery(family, EM1000::type, linePath, accessToken, code);
}
_TELD_Sensor* ELACSideScanOpenDir(const wchar_t* linePath, const wchar_t* accessToken, long* code) {
    return openImagery(family, ELAC::type, linePath, accessToken, code);
}

int SideScanClose(_TELD_Sensor* sensor) {
    return closeSensor(family, sensor);
}

int SideScanSummary(_TELD_Sensor* sensor, std::uint32_t* numLineSegments, std::uint32_t* numProfiles,
                    std::uint32_t* numBeams, double* minTime, double* maxTime, std::uint32_t* status) {
    if (const int code =
            imagerySummary(family, sensor, numLineSegments, numProfiles, minTime, maxTime, status))
        return code;
    give(numBeams, sensor->numDepths);
    return codes::success;
}

int SideScanLineSegment(_TELD_Sensor* sensor, std::uint32_t segment, wchar_t** sourceFileName,
                        std::uint32_t* firstProfile, std::uint32_t* lastProfile, double* minTime,
                        double* maxTime, std::uint32_t* status) {
    return imagerySegment(family, sensor, segment, sourceFileName, firstProfile, lastProfile, minTime,
                          maxTime, status);
}

int SideScanBgnSeqWriteSummary(_TELD_Sensor* sensor) {
    return beginSummary(family, sensor);
}

int SideScanBgnSeqWriteLineSegment(_TELD_Sensor* sensor, const wchar_t* sourceFileName) {
    return beginSegment(family, sensor, sourceFileName);
}

int EM100SideScanSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t beams, std::uint32_t firstBeam,
                                 double time, std::int32_t A, std::int32_t B, std::int32_t C, std::int32_t D,
                                 std::int32_t E, const std::int32_t* first, const std::int32_t* second,
                                 const std::int32_t* third, const std::int32_t* fourth) {
    return writeProfile<EM100, 4>(
        sensor, {beams, firstBeam, time, 0.0, A, B, C, D, E},
        {{{first, &Beam::first}, {second, &Beam::second}, {third, &Beam::third}, {fourth, &Beam::fourth}}});
}

int ELACSideScanSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t beams, std::uint32_t firstBeam,
                                double time, std::int32_t A, std::int32_t B, std::int32_t C, std::int32_t D,
                                const std::int32_t* first, const std::int32_t* second) {
    return writeProfile<ELAC, 2>(sensor, {beams, firstBeam, time, 0.0, A, B, C, D, 0},
                                 {{{first, &Beam::first}, {second, &Beam::second}}});
}

int EM1000SideScanSeqWriteProfile(_TELD_Sensor* sensor, std::uint32_t beams, std::uint32_t firstBeam,
                                  double time, double value, std::int32_t A, std::int32_t B, std::int32_t C,
                                  const std::int32_t* first, const std::int32_t* second,
                                  const std::int32_t* third, const std::int32_t* fourth,
                                  const std::int32_t* counts, const std::int32_t* values, std::int32_t D) {
    return writeProfile<EM1000, 6>(sensor, {beams, firstBeam, time, value, A, B, C, D, 0},
                                   {{{first, &Beam::first},
                                     {second, &Beam::second},
                                     {third, &Beam::third},
                                     {fourth, &Beam::fourth},
                                     {counts, &Beam::count},
                                     {values, &Beam::value}}});
}

int EM1000SideScanSeqWriteTrace(_TELD_Sensor* sensor, std::uint32_t size, const void* buffer) {
    if (const int code = checkHandle(family, sensor, "SeqWriteTrace", inCreate, Structure::needed))
        return code;
    if (size == 0) return codes::success;
    if (!buffer) return codes::failed;
    return sensor->traceFile && std::fwrite(buffer, 1, size, sensor->traceFile) == size
               ? codes::success
               : family.code(Offset::write);
}

int SideScanEndSeqWriteLineSegment(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSegment(family, sensor, status);
}

int SideScanEndSeqWriteSummary(_TELD_Sensor* sensor, std::uint32_t status) {
    return endSummary(family, sensor, status);
}

namespace {

// What all systems have of a head.
void handOut(const Profile& profile, std::uint32_t* beams, std::uint32_t* firstBeam, double* time,
             std::int32_t* A, std::int32_t* B, std::int32_t* C, std::int32_t* D) {
    give(beams, profile.beams);
    give(firstBeam, profile.firstBeam);
    give(time, profile.time);
    give(A, profile.a);
    give(B, profile.b);
    give(C, profile.c);
    give(D, profile.d);
}

} // namespace

int EM100SideScanReadProfile(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t* beams,
                             std::uint32_t* firstBeam, double* time, std::int32_t* A, std::int32_t* B,
                             std::int32_t* C, std::int32_t* D, std::int32_t* E) {
    Profile profile;
    if (const int code = readProfile<EM100>(sensor, number, profile)) return code;
    handOut(profile, beams, firstBeam, time, A, B, C, D);
    give(E, profile.e);
    return codes::success;
}

int ELACSideScanReadProfile(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t* beams,
                            std::uint32_t* firstBeam, double* time, std::int32_t* A, std::int32_t* B,
                            std::int32_t* C, std::int32_t* D) {
    Profile profile;
    if (const int code = readProfile<ELAC>(sensor, number, profile)) return code;
    handOut(profile, beams, firstBeam, time, A, B, C, D);
    return codes::success;
}

int EM1000SideScanReadProfile(_TELD_Sensor* sensor, std::uint32_t number, std::uint32_t* beams,
                              std::uint32_t* firstBeam, double* time, double* value, std::int32_t* A,
                              std::int32_t* B, std::int32_t* C, std::int32_t* D) {
    Profile profile;
    if (const int code = readProfile<EM1000>(sensor, number, profile)) return code;
    handOut(profile, beams, firstBeam, time, A, B, C, D);
    give(value, profile.value);
    return codes::success;
}

int EM100SideScanRead(_TELD_Sensor* sensor, std::uint32_t profile, double* time, std::int32_t* first,
                      std::int32_t* second, std::int32_t* third, std::int32_t* fourth) {
    return readBeams<EM100, 4>(
        sensor, profile, time,
        {{{first, &Beam::first}, {second, &Beam::second}, {third, &Beam::third}, {fourth, &Beam::fourth}}});
}

int ELACSideScanRead(_TELD_Sensor* sensor, std::uint32_t profile, double* time, std::int32_t* first,
                     std::int32_t* second) {
    return readBeams<ELAC, 2>(sensor, profile, time, {{{first, &Beam::first}, {second, &Beam::second}}});
}

int EM1000SideScanRead(_TELD_Sensor* sensor, std::uint32_t profile, double* time, std::int32_t* first,
                       std::int32_t* second, std::int32_t* third, std::int32_t* fourth, std::int32_t* counts,
                       std::int32_t* values, void* traces) {
    return readBeams<EM1000, 6>(sensor, profile, time,
                                {{{first, &Beam::first},
                                  {second, &Beam::second},
                                  {third, &Beam::third},
                                  {fourth, &Beam::fourth},
                                  {counts, &Beam::count},
                                  {values, &Beam::value}}},
                                traces);
}

int SideScanSetSummaryStatus(_TELD_Sensor* sensor, std::uint32_t status) {
    return setSummaryStatus(family, sensor, status);
}

int SideScanSetLineSegmentStatus(_TELD_Sensor* sensor, std::uint32_t segment, std::uint32_t status) {
    return setSegmentStatus(family, sensor, segment, status);
}

int SideScanRemoveDir(const wchar_t* linePath) {
    return SensorRemoveDir(linePath, L"SideScan");
}
