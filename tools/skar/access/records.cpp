#include "access/access.h"

#include <algorithm>
#include <limits>

// The flat files that are no time series.
namespace skar::tool {

namespace {

constexpr double missing = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint32_t reson8100 = 1;

} // namespace

const Access soundSpeedAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return SspOpenDir(line, token, code); },
    .close = SspClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            return SspSummary(set, &to.segments, &to.records, &to.time.min, &to.time.max, &to.extents[0].min,
                              &to.extents[0].max, &to.status);
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code = SspLineSegment(set, number, &name, &to.begin, &to.end, &to.time.min,
                                            &to.time.max, &to.extents[0].min, &to.extents[0].max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            return SspRead(set, number, &to.time, &to.values[0], &to.values[1], &to.status);
        },
    .readItem = nullptr,
    .begin = [](_TELD_Sensor* set, std::uint32_t, std::uint32_t) { return SspBgnSeqWriteSummary(set); },
    .beginSegment = SspBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            return SspSeqWrite(set, record.time, record.values[0], record.values[1], record.status);
        },
    .writeItem = nullptr,
    .endItems = nullptr,
    .endSegment = SspEndSeqWriteLineSegment,
    .end = SspEndSeqWriteSummary,
};

const Access sonarSettingsAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return SensorParametersOpenDir(line, token, reson8100, code); },
    .close = SensorParametersClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            std::uint32_t type = 0, version = 0;
            const int code = SensorParametersSummary(set, &type, &version, &to.segments, &to.records,
                                                     &to.time.min, &to.time.max, &to.status);
            to.settings = {{"sonarType", type}, {"sonarVersion", version}};
            return code;
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code = SensorParametersLineSegment(set, number, &name, &to.begin, &to.end, &to.time.min,
                                                         &to.time.max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            to.time = missing;
            to.status = 0;
            std::ranges::fill(to.values, missing);
            const int code = SensorParametersRead(set, number, &to.time, &to.status);
            // Of other sonars than this one the file has no records.
            if (code != 0 || set->sonarType != reson8100 || set->sonarVersion != 1) return code;
            std::uint32_t w[26] = {};
            auto& v = to.values;
            const int decoded = SensorParametersDecodeReson8100_V1(
                set, &to.time, &to.status, &w[1], &w[2], &w[3], &w[4], &w[5], &v[5], &w[7], &w[8], &w[9],
                &w[10], &w[11], &w[12], &w[13], &w[14], &w[15], &v[15], &v[16], &w[18], &w[19], &v[19],
                &v[20], &v[21], &v[22], &w[24], &w[25]);
            for (const std::size_t whole : {1, 2, 3, 4, 5, 7, 8, 9, 10, 11, 12, 13, 14, 15, 18, 19, 24, 25})
                v[whole - 1] = w[whole];
            return decoded;
        },
    .readItem = nullptr,
    .begin = [](_TELD_Sensor*, std::uint32_t, std::uint32_t) { return 0; },
    .beginSegment = SensorParametersBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            const auto& v = record.values;
            const auto w = [&v](std::size_t number) { return static_cast<std::uint32_t>(v[number - 1]); };
            return SensorParametersSeqWriteReson8100_V1(set, record.time, record.status, w(1), w(2), w(3),
                                                        w(4), w(5), v[5], w(7), w(8), w(9), w(10), w(11),
                                                        w(12), w(13), w(14), w(15), v[15], v[16], w(18),
                                                        w(19), v[19], v[20], v[21], v[22], w(24), w(25));
        },
    .writeItem = nullptr,
    .endItems = nullptr,
    .endSegment = SensorParametersEndSeqWriteLineSegment,
    .end = SensorParametersEndSeqWriteSummary,
};

const Access eventMarkAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return EMOpenDir(line, token, code); },
    .close = EMClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            return EMSummary(set, &to.segments, &to.records, &to.time.min, &to.time.max, &to.status);
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code =
                EMLineSegment(set, number, &name, &to.begin, &to.end, &to.time.min, &to.time.max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            std::uint32_t mark = 0;
            wchar_t text[SKAR_EVENT_MARK_TEXT] = {};
            const int code = EMRead(set, number, &mark, &to.time, text, &to.status);
            to.values[0] = mark;
            to.texts.resize(2);
            to.texts[1] = narrowText(text);
            return code;
        },
    .readItem = nullptr,
    .begin = [](_TELD_Sensor* set, std::uint32_t, std::uint32_t) { return EMBgnSeqWriteSummary(set); },
    .beginSegment = EMBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& record) {
            return EMSeqWrite(set, static_cast<std::uint32_t>(record.values[0]), record.time,
                              wideText(record.texts.at(1)).c_str(), record.status);
        },
    .writeItem = nullptr,
    .endItems = nullptr,
    .endSegment = EMEndSeqWriteLineSegment,
    .end = EMEndSeqWriteSummary,
};

} // namespace skar::tool
