#include "access/access.h"

#include <cfloat>
#include <limits>

// Pings and their beams. The order of the values is that of the quantities in the table of families.
namespace skar::tool {

namespace {

constexpr double missing = std::numeric_limits<double>::quiet_NaN();

// The observed depths and those that were recomputed have everything but the opening in common.
constexpr Access observedAccess(decltype(Access::open) open) {
    return {
        .open = open,
        .close = ObservedDepthsClose,
        .summary =
            [](_TELD_Sensor* set, Summary& to) {
                std::uint32_t toolType = 0, beams = 0;
                const int code =
                    ObservedDepthsSummary(set, &toolType, &to.segments, &to.records, &beams, &to.time.min,
                                          &to.time.max, &to.extents[0].min, &to.extents[0].max, &to.status);
                to.items = beams;
                to.settings = {{"toolType", toolType}};
                return code;
            },
        .segment =
            [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
                wchar_t* name = nullptr;
                const int code = ObservedDepthsLineSegment(set, number, &name, &to.begin, &to.end,
                                                           &to.time.min, &to.time.max, &to.extents[0].min,
                                                           &to.extents[0].max, &to.status);
                takeName(name, to.source);
                return code;
            },
        .read =
            [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
                return ObservedDepthsReadProfile(set, number, &to.numItems, &to.firstItem, &to.time,
                                                 &to.values[0], &to.values[1], &to.status);
            },
        .readItem =
            [](_TELD_Sensor* set, Record& to) {
                const int code = ObservedDepthsReadSeq(set, &to.time, &to.values[0], &to.values[1],
                                                       &to.values[2], &to.values[3], &to.status);
                if (set->version > 1) to.values[3] = missing;
                return code;
            },
        .begin = [](_TELD_Sensor* set, std::uint32_t toolType,
                    std::uint32_t) { return ObservedDepthsBgnSeqWriteSummary(set, toolType); },
        .beginSegment = ObservedDepthsBgnSeqWriteLineSegment,
        .write =
            [](_TELD_Sensor* set, const Record& ping) {
                return ObservedDepthsBgnSeqWriteProfile(set, ping.numItems, ping.firstItem, ping.time,
                                                        ping.values[0], ping.values[1], ping.status);
            },
        .writeItem =
            [](_TELD_Sensor* set, const Record& beam) {
                return ObservedDepthsSeqWrite(set, beam.time, beam.values[0], beam.values[1], beam.values[2],
                                              0.0, beam.status);
            },
        .endItems = ObservedDepthsEndSeqWriteProfile,
        .endSegment = ObservedDepthsEndSeqWriteLineSegment,
        .end = ObservedDepthsEndSeqWriteSummary,
    };
}

} // namespace

const Access observedDepthsAccess =
    observedAccess([](const Family&, const wchar_t* line, const wchar_t* token, std::uint32_t* code) {
        return ObservedDepthsOpenDir(line, token, code);
    });
const Access newObservedDepthsAccess =
    observedAccess([](const Family&, const wchar_t* line, const wchar_t* token, std::uint32_t* code) {
        return ObservedDepthsNewOpenDir(line, token, code);
    });

const Access processedDepthsAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return ProcessedDepthsOpenDir(line, token, code); },
    .close = ProcessedDepthsClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            std::uint32_t toolType = 0, extra = 0, beams = 0;
            const int code = ProcessedDepthsSummary(
                set, &toolType, &extra, &to.segments, &to.records, &beams, &to.time.min, &to.time.max,
                &to.extents[0].min, &to.extents[0].max, &to.extents[1].min, &to.extents[1].max,
                &to.extents[2].min, &to.extents[2].max, &to.status);
            to.items = beams;
            to.settings = {{"toolType", toolType}, {"summaryExtra", extra}};
            return code;
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code = ProcessedDepthsLineSegment(set, number, &name, &to.begin, &to.end, &to.time.min,
                                                        &to.time.max, &to.extents[0].min, &to.extents[0].max,
                                                        &to.extents[1].min, &to.extents[1].max,
                                                        &to.extents[2].min, &to.extents[2].max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            auto& v = to.values;
            const int code = ProcessedDepthsReadProfile(
                set, number, &to.numItems, &to.firstItem, &to.time, &v[0], &v[2], &v[3], &v[1], &v[4], &v[5],
                &v[6], &v[7], &v[8], &v[9], &v[10], &v[11], &v[12], &v[13], &to.status);
            for (std::size_t i = 6; i <= 13; ++i) {
                if (v[i] == DBL_MAX) v[i] = missing;
            }
            return code;
        },
    .readItem =
        [](_TELD_Sensor* set, Record& to) {
            auto& v = to.values;
            const int code =
                ProcessedDepthsReadSeq(set, &to.time, &v[3], &v[4], &v[1], &v[2], &v[0], &v[5], &to.status);
            if (set->version > 2) v[3] = v[4] = v[5] = missing;
            return code;
        },
    .begin = ProcessedDepthsBgnSeqWriteSummary,
    .beginSegment = ProcessedDepthsBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& ping) {
            const auto& v = ping.values;
            return ProcessedDepthsBgnSeqWriteProfile(set, ping.numItems, ping.firstItem, ping.time, v[0],
                                                     v[2], v[3], v[1], v[4], v[5], v[6], v[7], v[8], v[9],
                                                     v[10], v[11], v[12], v[13], ping.status);
        },
    .writeItem =
        [](_TELD_Sensor* set, const Record& beam) {
            const auto& v = beam.values;
            return ProcessedDepthsSeqWrite(set, beam.time, v[3], v[4], v[1], v[2], v[0], v[5], beam.status);
        },
    .endItems = ProcessedDepthsEndSeqWriteProfile,
    .endSegment = ProcessedDepthsEndSeqWriteLineSegment,
    .end = ProcessedDepthsEndSeqWriteSummary,
};

const Access slantRangeAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return SLRangeOpenDir(line, token, code); },
    .close = SLRangeClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            std::uint32_t toolType = 0, beams = 0;
            const int code = SLRangeSummary(set, &toolType, &to.segments, &to.records, &beams, &to.time.min,
                                            &to.time.max, &to.status);
            to.items = beams;
            to.settings = {{"toolType", toolType}};
            return code;
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code = SLRangeLineSegment(set, number, &name, &to.begin, &to.end, &to.time.min,
                                                &to.time.max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            return SLRangeReadProfile(set, number, &to.numItems, &to.firstItem, &to.time, &to.values[0],
                                      &to.values[1], &to.status);
        },
    .readItem =
        [](_TELD_Sensor* set, Record& to) {
            return SLRangeReadSeq(set, &to.time, &to.values[0], &to.values[1], &to.values[2], &to.values[3],
                                  &to.status);
        },
    .begin = [](_TELD_Sensor* set, std::uint32_t toolType,
                std::uint32_t) { return SLRangeBgnSeqWriteSummary(set, toolType); },
    .beginSegment = SLRangeBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& ping) {
            return SLRangeBgnSeqWriteProfile(set, ping.numItems, ping.firstItem, ping.time, ping.values[0],
                                             ping.values[1], ping.status);
        },
    .writeItem =
        [](_TELD_Sensor* set, const Record& beam) {
            const auto& v = beam.values;
            return SLRangeSeqWrite(set, beam.time, v[0], v[1], v[2], v[3], beam.status);
        },
    .endItems = SLRangeEndSeqWriteProfile,
    .endSegment = SLRangeEndSeqWriteLineSegment,
    .end = SLRangeEndSeqWriteSummary,
};

const Access uncertaintyAccess = {
    .open = [](const Family&, const wchar_t* line, const wchar_t* token,
               std::uint32_t* code) { return TPEOpenDir(line, token, code); },
    .close = TPEClose,
    .summary =
        [](_TELD_Sensor* set, Summary& to) {
            std::uint32_t type1 = 0, type2 = 0, beams = 0;
            const int code = TPESummary(set, &to.segments, &to.records, &beams, &to.time.min, &to.time.max,
                                        &type1, &type2, &to.extents[0].min, &to.extents[0].max,
                                        &to.extents[1].min, &to.extents[1].max, &to.status);
            to.items = beams;
            to.settings = {{"toolType1", type1}, {"toolType2", type2}};
            return code;
        },
    .segment =
        [](_TELD_Sensor* set, std::uint32_t number, Segment& to) {
            wchar_t* name = nullptr;
            const int code = TPELineSegment(set, number, &name, &to.begin, &to.end, &to.time.min,
                                            &to.time.max, &to.status);
            takeName(name, to.source);
            return code;
        },
    .read =
        [](_TELD_Sensor* set, std::uint32_t number, Record& to) {
            std::uint32_t tag = 0;
            const int code =
                TPEReadProfile(set, number, &to.numItems, &to.firstItem, &to.time, &tag, &to.status);
            to.values[0] = tag;
            return code;
        },
    .readItem =
        [](_TELD_Sensor* set, Record& to) {
            return TPEReadSeq(set, &to.time, &to.values[0], &to.values[1], &to.status);
        },
    .begin = TPEBgnSeqWriteSummary,
    .beginSegment = TPEBgnSeqWriteLineSegment,
    .write =
        [](_TELD_Sensor* set, const Record& ping) {
            return TPEBgnSeqWriteProfile(set, ping.numItems, ping.firstItem, ping.time,
                                         static_cast<std::uint32_t>(ping.values[0]), ping.status);
        },
    .writeItem =
        [](_TELD_Sensor* set, const Record& beam) {
            return TPESeqWrite(set, beam.time, beam.values[0], beam.values[1], beam.status);
        },
    .endItems = TPEEndSeqWriteProfile,
    .endSegment = TPEEndSeqWriteLineSegment,
    .end = TPEEndSeqWriteSummary,
};

} // namespace skar::tool
