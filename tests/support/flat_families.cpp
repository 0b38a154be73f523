#include "support/flat_families.h"

#include <skar/paths.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace skar::tests {

namespace {

constexpr double firstTime = 1.0e9 + 12.345;

// Reference minute and positions of a set whose first record is sample 1.
std::int32_t minuteOf(double time) {
    return static_cast<std::int32_t>(std::floor(time / 60.0 + 0.5));
}
std::int32_t rounded(double value) {
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(static_cast<std::int64_t>(std::round(value))));
}

template <auto Read, auto ReadSeq, auto Summary, auto LineSegment, auto SeqWrite>
FlatFamily simple(FlatFamily row) {
    row.base = 5001200;
    row.nullHandle = 5000019;
    row.segmentsMissing = 5028600;
    row.segmentsNotWritten = 5028600;
    row.overThrowing = true;
    row.stored = row.id;
    row.write = [](_TELD_Sensor* sensor, const Sample& s) {
        return SeqWrite(sensor, s.time, s.values[0], s.status);
    };
    row.read = [](_TELD_Sensor* sensor, std::uint32_t n, Sample& s) {
        return Read(sensor, n, &s.time, &s.values[0], &s.status);
    };
    row.readSeq = [](_TELD_Sensor* sensor, Sample& s) {
        return ReadSeq(sensor, &s.time, &s.values[0], &s.status);
    };
    row.summary = [](_TELD_Sensor* sensor, SummaryView& v) {
        return Summary(sensor, &v.segments, &v.records, &v.minTime, &v.maxTime, &v.min[0], &v.max[0],
                       &v.status);
    };
    row.segment = [](_TELD_Sensor* sensor, std::uint32_t n, SegmentView& v) {
        wchar_t* name = nullptr;
        const int code = LineSegment(sensor, n, &name, &v.begin, &v.end, &v.minTime, &v.maxTime, &v.min[0],
                                     &v.max[0], &v.status);
        if (name) v.name = name;
        SKARIO_free(name);
        return code;
    };
    return row;
}

template <auto Read, auto ReadSeq, auto Summary, auto LineSegment, auto SeqWrite, auto BeginSummary>
FlatFamily track(FlatFamily row, std::uint32_t stored) {
    row.base = 5000100;
    row.nullHandle = 5000112;
    row.segmentsMissing = 5000132;
    row.segmentsNotWritten = 5000102;
    row.shape = Shape::position;
    row.head = 72;
    row.record = 20;
    row.quantities = 3;
    row.ranged = 2;
    row.stored = stored;
    row.track = true;
    row.beginSummary = [](_TELD_Sensor* sensor) { return BeginSummary(sensor, 2u); };
    row.write = [](_TELD_Sensor* sensor, const Sample& s) {
        return SeqWrite(sensor, s.time, s.values[0], s.values[1], s.values[2], s.status);
    };
    row.read = [](_TELD_Sensor* sensor, std::uint32_t n, Sample& s) {
        return Read(sensor, n, &s.time, &s.values[0], &s.values[1], &s.values[2], &s.status);
    };
    row.readSeq = [](_TELD_Sensor* sensor, Sample& s) {
        return ReadSeq(sensor, &s.time, &s.values[0], &s.values[1], &s.values[2], &s.status);
    };
    row.summary = [](_TELD_Sensor* sensor, SummaryView& v) {
        return Summary(sensor, &v.segments, &v.records, &v.coordinateType, &v.minTime, &v.maxTime, &v.min[0],
                       &v.max[0], &v.min[1], &v.max[1], &v.status);
    };
    row.segment = [](_TELD_Sensor* sensor, std::uint32_t n, SegmentView& v) {
        wchar_t* name = nullptr;
        const int code = LineSegment(sensor, n, &name, &v.begin, &v.end, &v.minTime, &v.maxTime, &v.min[0],
                                     &v.max[0], &v.min[1], &v.max[1], &v.status);
        if (name) v.name = name;
        SKARIO_free(name);
        return code;
    };
    return row;
}

FlatFamily ssp(FlatFamily row) {
    row.base = 5002800;
    row.nullHandle = 5002812;
    row.segmentsMissing = 5002801;
    row.segmentsNotWritten = 5002802;
    row.stored = row.id;
    row.shape = Shape::twoValues;
    row.quantities = 2;
    row.beginSummary = SspBgnSeqWriteSummary;
    row.write = [](_TELD_Sensor* sensor, const Sample& s) {
        return SspSeqWrite(sensor, s.time, s.values[0], s.values[1], s.status);
    };
    row.read = [](_TELD_Sensor* sensor, std::uint32_t n, Sample& s) {
        return SspRead(sensor, n, &s.time, &s.values[0], &s.values[1], &s.status);
    };
    row.readSeq = [](_TELD_Sensor* sensor, Sample& s) {
        return SspReadSeq(sensor, &s.time, &s.values[0], &s.values[1], &s.status);
    };
    row.summary = [](_TELD_Sensor* sensor, SummaryView& v) {
        return SspSummary(sensor, &v.segments, &v.records, &v.minTime, &v.maxTime, &v.min[0], &v.max[0],
                          &v.status);
    };
    row.segment = [](_TELD_Sensor* sensor, std::uint32_t n, SegmentView& v) {
        wchar_t* name = nullptr;
        const int code = SspLineSegment(sensor, n, &name, &v.begin, &v.end, &v.minTime, &v.maxTime, &v.min[0],
                                        &v.max[0], &v.status);
        if (name) v.name = name;
        SKARIO_free(name);
        return code;
    };
    return row;
}

std::string markText(double number) {
    return "mark " + std::to_string(static_cast<std::uint32_t>(number));
}
// A text that is not the number's shows as another number.
int takeMark(int code, std::uint32_t number, const std::wstring& text, Sample& s) {
    const std::string expected = markText(number);
    if (code == 0) s.values[0] = std::wstring(expected.begin(), expected.end()) == text ? number : -1.0;
    return code;
}

FlatFamily marks(FlatFamily row) {
    row.base = 5000700;
    row.nullHandle = 5000712;
    row.segmentsMissing = 5000701;
    row.segmentsNotWritten = 5000702;
    row.stored = row.id;
    row.shape = Shape::mark;
    row.head = 40;
    row.record = 92;
    row.ranged = 0;
    row.beginSummary = EMBgnSeqWriteSummary;
    row.write = [](_TELD_Sensor* sensor, const Sample& s) {
        const std::string text = markText(s.values[0]);
        return EMSeqWrite(sensor, static_cast<std::uint32_t>(s.values[0]), s.time,
                          std::wstring(text.begin(), text.end()).c_str(), s.status);
    };
    row.read = [](_TELD_Sensor* sensor, std::uint32_t n, Sample& s) {
        std::uint32_t number = 0;
        wchar_t text[SKAR_EVENT_MARK_TEXT] = L"";
        const int code = EMRead(sensor, n, &number, &s.time, text, &s.status);
        return takeMark(code, number, text, s);
    };
    row.readSeq = [](_TELD_Sensor* sensor, Sample& s) {
        std::uint32_t number = 0;
        wchar_t text[SKAR_EVENT_MARK_TEXT] = L"";
        const int code = EMReadSeq(sensor, &number, &s.time, text, &s.status);
        return takeMark(code, number, text, s);
    };
    row.summary = [](_TELD_Sensor* sensor, SummaryView& v) {
        return EMSummary(sensor, &v.segments, &v.records, &v.minTime, &v.maxTime, &v.status);
    };
    row.segment = [](_TELD_Sensor* sensor, std::uint32_t n, SegmentView& v) {
        wchar_t* name = nullptr;
        const int code = EMLineSegment(sensor, n, &name, &v.begin, &v.end, &v.minTime, &v.maxTime, &v.status);
        if (name) v.name = name;
        SKARIO_free(name);
        return code;
    };
    return row;
}

// The functions of a family that have the same arguments in all of them.
#define SKAR_TESTS_COMMON(File, Prefix, number)                                                              \
    .name = #File, .id = number, .open = File##OpenDir, .close = Prefix##Close,                              \
    .beginSegment = Prefix##BgnSeqWriteLineSegment, .endSegment = Prefix##EndSeqWriteLineSegment,            \
    .endSummary = Prefix##EndSeqWriteSummary, .setSummaryStatus = Prefix##SetSummaryStatus,                  \
    .setSegmentStatus = Prefix##SetLineSegmentStatus, .setRecordStatus = Prefix##SetRecordStatus,            \
    .save = Prefix##SaveStatusToDisk
#define SKAR_TESTS_SIMPLE(Prefix, number, coding)                                                            \
    {                                                                                                        \
        FlatFamily row{SKAR_TESTS_COMMON(Prefix, Prefix, number)};                                           \
        row.fine = coding == 1;                                                                              \
        row.beginSummary = Prefix##BgnSeqWriteSummary;                                                       \
        rows.push_back(                                                                                      \
            simple<Prefix##Read, Prefix##ReadSeq, Prefix##Summary, Prefix##LineSegment, Prefix##SeqWrite>(   \
                row));                                                                                       \
    }
#define SKAR_TESTS_TRACK(File, Prefix, number, storedType)                                                   \
    rows.push_back(                                                                                          \
        track<Prefix##Read, Prefix##ReadSeq, Prefix##Summary, Prefix##LineSegment, Prefix##SeqWrite,         \
              Prefix##BgnSeqWriteSummary>(FlatFamily{SKAR_TESTS_COMMON(File, Prefix, number)}, storedType));

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
std::vector<FlatFamily> makeFamilies() {
    std::vector<FlatFamily> rows;
    SKAR_SIMPLE_SENSORS(SKAR_TESTS_SIMPLE)
    SKAR_TESTS_TRACK(Navigation, Navigation, 3, 3)
    SKAR_TESTS_TRACK(SSSNavigation, SSSNavigation, 12, 12)
    SKAR_TESTS_TRACK(NavigationNew, Navigation, 76, 3)
    rows.push_back(ssp(FlatFamily{SKAR_TESTS_COMMON(Ssp, Ssp, 54)}));
    rows.back().name = "SSP";
    rows.push_back(marks(FlatFamily{SKAR_TESTS_COMMON(EM, EM, 32)}));
    rows.back().name = "EventMark";
    return rows;
}
#pragma GCC diagnostic pop

// Times and values from the least to the most, as the file codes them.
struct Range {
    std::int32_t least = INT32_MAX;
    std::int32_t most = INT32_MIN;
    void take(std::int32_t coded) {
        least = std::min(least, coded);
        most = std::max(most, coded);
    }
};

struct Coded {
    std::int32_t time;
    std::array<std::int32_t, 3> values;
};

} // namespace

std::ostream& operator<<(std::ostream& out, const FlatFamily& family) {
    return out << family.name;
}

const std::vector<FlatFamily>& flatFamilies() {
    static const std::vector<FlatFamily> rows = makeFamilies();
    return rows;
}

const FlatFamily& flatFamily(std::string_view name) {
    for (const FlatFamily& family : flatFamilies())
        if (name == family.name) return family;
    throw std::out_of_range("no such family");
}

Sample FlatFamily::sample(std::uint32_t number) const {
    const double n = number;
    Sample s;
    s.time = firstTime + 0.25 * (n - 1);
    s.status = 0x80000000u + number * 3;
    if (shape == Shape::twoValues)
        s.values = {1400.0 + number % 1000, 3.0 * (number % 2000), 0.0};
    else if (shape == Shape::mark)
        s.values[0] = 10.0 * n;
    else if (track)
        s.values = {0.7 + 1e-6 * n, -2.1 - 3e-6 * n, 12.5 * n};
    else
        s.values[0] = fine ? std::sin(n) : 10.0 * std::sin(n) - 0.125 * n;
    return s;
}

std::int32_t FlatFamily::codedTime(double time, std::int32_t referenceMinute) const {
    return rounded((time - referenceMinute * 60.0) * 1000.0);
}

std::int32_t FlatFamily::codedValue(std::size_t value, double physical, std::int32_t reference) const {
    if (track && value < 2) return rounded((physical - reference * 1e-7) / 1e-9);
    return rounded(physical * (fine ? 1e7 : 1e3));
}

FlatSet flatSet(const FlatFamily& family, const std::vector<std::uint32_t>& perSegment,
                std::uint32_t version) {
    const Sample first = family.sample(1);
    const std::int32_t minute = minuteOf(first.time);
    const std::array<std::int32_t, 3> reference =
        family.track
            ? std::array<std::int32_t, 3>{rounded(first.values[0] / 1e-7), rounded(first.values[1] / 1e-7), 0}
            : std::array<std::int32_t, 3>{};
    const std::size_t quantities = family.quantities;
    const std::size_t ranged = family.ranged;
    const auto coded = [&](std::uint32_t number) {
        const Sample s = family.sample(number);
        Coded c{family.codedTime(s.time, minute), {}};
        for (std::size_t i = 0; i < quantities; ++i)
            c.values[i] = family.codedValue(i, s.values[i], reference[i]);
        return c;
    };
    const auto extents = [&](Bytes& bytes, std::uint32_t from, std::uint32_t to) {
        Range time;
        std::array<Range, 2> values;
        for (std::uint32_t n = from; n <= to; ++n) {
            const Coded c = coded(n);
            time.take(c.time);
            for (std::size_t i = 0; i < ranged; ++i)
                values[i].take(c.values[i]);
        }
        bytes.word("minTime", time.least).word("maxTime", time.most);
        return values;
    };

    std::uint32_t records = 0;
    for (const std::uint32_t count : perSegment)
        records += count;

    FlatSet set;
    Bytes& data = set.data;
    data.validation(family.stored, 1, version);
    data.word("status", 0x5A).word("numRecords", records).word("clockAccuracy", 1000);
    data.word("referenceTime", minute);
    const auto whole = extents(data, 1, records);
    if (family.track) {
        data.word("coordinateType", 2).word("positionScale", 1).word("referenceLatitude", reference[0]);
        data.word("minLat", whole[0].least).word("maxLat", whole[0].most);
        data.word("referenceLongitude", reference[1]);
        data.word("minLong", whole[1].least).word("maxLong", whole[1].most);
    } else if (ranged > 0) {
        data.word("minValue", whole[0].least).word("maxValue", whole[0].most);
    }
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t n = 1; n <= records; ++n) {
        const Coded c = coded(n);
        offsets.push_back(static_cast<std::uint32_t>(data.size()));
        const std::string record = "record " + std::to_string(n) + ' ';
        const Sample s = family.sample(n);
        data.word(record + "status", s.status);
        if (family.shape == Shape::mark)
            data.word(record + "number", static_cast<std::uint32_t>(s.values[0]));
        data.word(record + "encodedTime", c.time);
        if (family.shape == Shape::mark) {
            const std::string text = markText(s.values[0]);
            data.raw(record + "text", text).zeros(record + "text", 80 - text.size());
            continue;
        }
        if (family.shape == Shape::twoValues) {
            data.word(record + "values", c.values[0] / 100 * 0x10000 + c.values[1] / 100);
            continue;
        }
        for (std::size_t i = 0; i < quantities; ++i)
            data.word(record + "value " + std::to_string(i), c.values[i]);
    }

    set.segments.validation(family.stored, 2, version).word("numLineSegments", perSegment.size());
    std::uint32_t next = 1;
    char letter = 'a';
    for (const std::uint32_t count : perSegment) {
        const std::string name = std::string(1, letter++) + ".raw";
        set.segments.word("status", 0x100 + next).word("sourceFileNameLength", name.size());
        set.segments.text("sourceFileName", name);
        set.segments.word("beginIndex", next).word("endIndex", next + count - 1);
        const auto own = extents(set.segments, next, next + count - 1);
        for (std::size_t i = 0; i < ranged; ++i)
            set.segments.word("min " + std::to_string(i), own[i].least)
                .word("max " + std::to_string(i), own[i].most);
        next += count;
    }

    constexpr std::uint32_t full = 512;
    const std::uint32_t sets = (records + full - 1) / full;
    set.index.validation(family.stored, 3, version).word("numTmIdxSets", sets).word("maxTmIdxSetSize", full);
    const auto inSet = [&](std::uint32_t s) { return std::min(full, records - s * full); };
    for (std::uint32_t s = 0; s < sets; ++s) {
        Range time;
        for (std::uint32_t i = 0; i < inSet(s); ++i)
            time.take(coded(s * full + i + 1).time);
        set.index.word("set numRecords", inSet(s)).word("set minTime", time.least);
        set.index.word("set maxTime", time.most);
    }
    for (std::uint32_t s = 0; s < sets; ++s) {
        set.index.word("array count", inSet(s));
        for (std::uint32_t i = 0; i < inSet(s); ++i)
            set.index.word("time", coded(s * full + i + 1).time).word("offset", offsets[s * full + i]);
    }
    return set;
}

QuietOutput::~QuietOutput() {
    std::istringstream lines(testing::internal::GetCapturedStdout());
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("qon_xdr")) std::cout << line << '\n';
}

int writeLine(const FlatFamily& family, const std::wstring& line,
              const std::vector<std::uint32_t>& perSegment) {
    std::uint32_t opened = 0;
    _TELD_Sensor* sensor = family.open(line.c_str(), L"create", &opened);
    if (!sensor) return static_cast<int>(opened);
    int first = 0;
    const auto keep = [&first](int code) {
        if (first == 0) first = code;
    };
    keep(family.beginSummary(sensor));
    std::uint32_t number = 0;
    wchar_t letter = L'a';
    for (const std::uint32_t count : perSegment) {
        keep(family.beginSegment(sensor, (std::wstring(1, letter++) + L".raw").c_str()));
        const std::uint32_t status = 0x100 + number + 1;
        for (std::uint32_t i = 0; i < count; ++i)
            keep(family.write(sensor, family.sample(++number)));
        keep(family.endSegment(sensor, status));
    }
    keep(family.endSummary(sensor, 0x5A));
    keep(family.close(sensor));
    return first;
}

ReadAll readAll(const FlatFamily& family, _TELD_Sensor* sensor) {
    constexpr std::uint32_t most = 4096; // a count from a hostile file may be anything
    ReadAll result;
    Sample sample;
    SummaryView summary;
    while (result.inOrder < most && family.readSeq(sensor, sample) == 0)
        ++result.inOrder;
    family.summary(sensor, summary);
    for (std::uint32_t n = 0; n <= std::min(summary.records, most); ++n)
        if (family.read(sensor, n, sample) == 0) ++result.byNumber;
    for (const std::uint32_t n : {summary.records, summary.records - 1, summary.records + 1, 0xFFFFFFFFu})
        family.read(sensor, n, sample);
    SegmentView segment;
    for (std::uint32_t n = 0; n <= std::min(summary.segments, most) + 1; ++n)
        family.segment(sensor, n, segment);
    return result;
}

} // namespace skar::tests
