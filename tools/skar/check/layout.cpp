#include "check/layout.h"

#include <algorithm>
#include <array>

namespace skar::tool::check {

namespace {

constexpr Word pingTimes[] = {{"smallest time", Role::minTime}, {"largest time", Role::maxTime}};
constexpr Word depthExtents[] = {{"smallest time", Role::minTime},
                                 {"largest time", Role::maxTime},
                                 {"smallest depth", Role::min},
                                 {"largest depth", Role::max}};

constexpr Word observedSummary[] = {
    {"status", Role::plain},
    {"tool type", Role::plain},
    {"number of pings", Role::recordCount},
    {"number of beams", Role::itemCount},
    {"clock accuracy", Role::scale},
    {"clock accuracy of beams", Role::scale},
    {"reference time", Role::plain},
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
    {"smallest depth", Role::min},
    {"largest depth", Role::max},
};
constexpr Word ping1[] = {{"status", Role::plain},
                          {"number of beams", Role::items},
                          {"time", Role::time},
                          {"latitude", Role::plain},
                          {"longitude", Role::plain}};
constexpr Word ping2[] = {{"status", Role::plain},
                          {"range of beams", Role::itemRange},
                          {"time", Role::time},
                          {"latitude", Role::plain},
                          {"longitude", Role::plain}};
constexpr Word observedBeam1[] = {{"status", Role::plain}, {"z", Role::value},    {"x", Role::plain},
                                  {"y", Role::plain},      {"time", Role::plain}, {"extra", Role::plain}};
constexpr Word observedBeam2[] = {
    {"status and time", Role::plain}, {"z", Role::value}, {"x", Role::plain}, {"y", Role::plain}};

constexpr Word processedSummary[] = {
    {"status", Role::plain},
    {"tool type", Role::plain},
    {"number of pings", Role::recordCount},
    {"number of beams", Role::itemCount},
    {"clock accuracy", Role::scale},
    {"clock accuracy of beams", Role::scale},
    {"reference time", Role::plain},
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
    {"extra", Role::plain},
    {"position scale", Role::scale},
    {"position scale of beams", Role::scale},
    {"reference latitude", Role::plain},
    {"smallest latitude", Role::plain},
    {"largest latitude", Role::plain},
    {"reference longitude", Role::plain},
    {"smallest longitude", Role::plain},
    {"largest longitude", Role::plain},
    {"smallest depth", Role::min},
    {"largest depth", Role::max},
};
constexpr Word processedExtents[] = {
    {"smallest time", Role::minTime},    {"largest time", Role::maxTime},
    {"smallest depth", Role::min},       {"largest depth", Role::max},
    {"smallest latitude", Role::plain},  {"largest latitude", Role::plain},
    {"smallest longitude", Role::plain}, {"largest longitude", Role::plain},
};
constexpr Word other = {"value", Role::plain};
constexpr Word processedPing1[] = {{"status", Role::plain},
                                   {"number of beams", Role::items},
                                   {"time", Role::time},
                                   {"latitude", Role::plain},
                                   {"longitude", Role::plain},
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other};
constexpr Word processedPing2[] = {{"status", Role::plain},
                                   {"number of beams", Role::items},
                                   {"time", Role::time},
                                   {"latitude", Role::plain},
                                   {"longitude", Role::plain},
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other,
                                   other};
constexpr Word processedPing3[] = {{"status", Role::plain},
                                   {"range of beams", Role::itemRange},
                                   {"time", Role::time},
                                   {"latitude", Role::plain},
                                   {"longitude", Role::plain},
                                   other,
                                   other,
                                   other,
                                   other,
                                   other};
constexpr Word processedBeam1[] = {
    {"status", Role::plain},   {"depth", Role::value},     {"x", Role::plain},    {"y", Role::plain},
    {"latitude", Role::plain}, {"longitude", Role::plain}, {"time", Role::plain}, {"extra", Role::plain}};
constexpr Word processedBeam3[] = {{"status and time", Role::plain},
                                   {"depth", Role::value},
                                   {"latitude", Role::plain},
                                   {"longitude", Role::plain}};

constexpr auto rangeSummary = std::span(observedSummary).first(9);
constexpr Word rangeBeam[] = {{"status and time", Role::plain},
                              {"range", Role::plain},
                              {"travel", Role::plain},
                              {"angles", Role::plain}};

constexpr Word uncertaintySummary[] = {
    {"status", Role::plain},
    {"tool type 1", Role::plain},
    {"tool type 2", Role::plain},
    {"number of pings", Role::recordCount},
    {"number of beams", Role::itemCount},
    {"clock accuracy", Role::scale},
    {"clock accuracy of beams", Role::scale},
    {"reference time", Role::plain},
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
    other,
    other,
    other,
    other,
    other,
    other,
    other,
    other,
};
constexpr Word uncertaintyPing[] = {
    {"status", Role::plain}, {"range of beams", Role::itemRange}, {"time", Role::time}, {"tag", Role::plain}};
constexpr Word uncertaintyBeam[] = {
    {"status and time", Role::plain}, {"tpe1", Role::plain}, {"tpe2", Role::plain}};

constexpr auto flatSummary = std::span(seriesSummary).first(6);
// The extents are finer than the values, which are cut.
constexpr Word soundSpeedSummary[] = {
    {"status", Role::plain},          {"number of records", Role::recordCount},
    {"clock accuracy", Role::scale},  {"reference time", Role::plain},
    {"smallest time", Role::minTime}, {"largest time", Role::maxTime},
    {"smallest value", Role::plain},  {"largest value", Role::plain},
};
constexpr Word soundSpeedRecord[] = {{"status", Role::plain}, {"time", Role::time}, {"values", Role::plain}};
constexpr Word soundSpeedExtents[] = {
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
    {"smallest value", Role::plain},
    {"largest value", Role::plain},
};

constexpr std::size_t sonarWords = 29;
constexpr auto sonarRecord = [] {
    std::array<Word, sonarWords> words{};
    words.fill(other);
    words[1] = {"time", Role::time};
    return words;
}();
constexpr Word sonarSummary[] = {
    {"status", Role::plain},          {"sonar type", Role::sonar},
    {"sonar version", Role::sonar},   {"number of records", Role::recordCount},
    {"clock accuracy", Role::scale},  {"reference time", Role::plain},
    {"smallest time", Role::minTime}, {"largest time", Role::maxTime},
};

constexpr std::size_t markWords = 3 + 20; // the text fills 80 bytes
constexpr auto markRecord = [] {
    std::array<Word, markWords> words{};
    words.fill(other);
    words[2] = {"time", Role::time};
    return words;
}();

constexpr Word imagerySummary[] = {
    {"status", Role::plain},         {"number of pings", Role::recordCount}, {"clock accuracy", Role::scale},
    {"reference time", Role::plain}, {"smallest time", Role::minTime},       {"largest time", Role::maxTime},
    {"version", Role::plain},
};
constexpr std::size_t towedWords = 17;
constexpr auto towedPing = [] {
    std::array<Word, towedWords> words{};
    words.fill(other);
    words[0] = {"status", Role::width};
    words[1] = {"time", Role::time};
    words[10] = {"sample counts", Role::samples};
    words[16] = {"second sample counts", Role::samples};
    return words;
}();
constexpr Word processedImagePing[] = {
    {"status", Role::width}, {"time", Role::time}, other, other, {"sample counts", Role::samples}};

constexpr Word amplitudeSummary[] = {
    {"status", Role::plain},
    {"number of pings", Role::recordCount},
    {"number of beams", Role::itemCount},
    {"clock accuracy", Role::scale},
    {"reference time", Role::plain},
    {"smallest time", Role::minTime},
    {"largest time", Role::maxTime},
};
constexpr Word amplitudePing[] = {
    {"time", Role::time}, {"range of beams", Role::itemRange}, {"parameters", Role::plain}, other};
constexpr Word amplitudeBeam[] = {{"amplitudes", Role::plain}};
constexpr Word tracedBeam[] = {
    {"amplitudes", Role::plain}, {"trace samples", Role::trace}, {"trace offset", Role::traceAt}};

constexpr Layout observedLayouts[] = {{observedSummary, ping1, depthExtents, observedBeam1},
                                      {observedSummary, ping2, depthExtents, observedBeam2}};
constexpr Layout processedLayouts[] = {{processedSummary, processedPing1, processedExtents, processedBeam1},
                                       {processedSummary, processedPing2, processedExtents, processedBeam1},
                                       {processedSummary, processedPing3, processedExtents, processedBeam3}};
constexpr Layout rangeLayouts[] = {{rangeSummary, ping2, pingTimes, rangeBeam},
                                   {rangeSummary, ping2, pingTimes, rangeBeam}};
constexpr Layout uncertaintyLayouts[] = {{uncertaintySummary, uncertaintyPing, pingTimes, uncertaintyBeam}};
constexpr Layout soundSpeedLayouts[] = {{soundSpeedSummary, soundSpeedRecord, soundSpeedExtents}};
constexpr Layout sonarLayouts[] = {{sonarSummary, sonarRecord, pingTimes}};
constexpr Layout markLayouts[] = {{flatSummary, markRecord, pingTimes}};
constexpr Layout towedLayouts[] = {{imagerySummary, towedPing, pingTimes, {}, true}};
constexpr Layout processedImageLayouts[] = {{imagerySummary, processedImagePing, pingTimes, {}, true}};
constexpr Layout amplitudeLayouts[] = {{amplitudeSummary, amplitudePing, pingTimes, amplitudeBeam}};
constexpr Layout tracedLayouts[] = {{amplitudeSummary, amplitudePing, pingTimes, tracedBeam}};
constexpr OtherType otherAmplitudes[] = {{10, tracedLayouts}, {20, amplitudeLayouts}};
constexpr Layout seriesLayouts[] = {{seriesSummary, seriesRecord, seriesExtents}};
constexpr Layout trackLayouts[] = {{trackSummary, trackRecord, trackExtents}};

std::span<const Layout> layoutsOf(const Family& family) {
    if (family.formats != nullptr) {
        for (const OtherType& type : family.formats->others) {
            if (type.storedType == family.storedType) return type.versions;
        }
        return family.formats->versions;
    }
    if (family.coding == Coding::byQuantity) return trackLayouts;
    return seriesLayouts;
}

} // namespace

const Formats observedDepthsFormats = {observedLayouts};
const Formats processedDepthsFormats = {processedLayouts};
const Formats slantRangeFormats = {rangeLayouts};
const Formats uncertaintyFormats = {uncertaintyLayouts};
const Formats soundSpeedFormats = {soundSpeedLayouts};
const Formats sonarSettingsFormats = {sonarLayouts};
const Formats eventMarkFormats = {markLayouts};
const Formats multibeamImageryFormats = {amplitudeLayouts, otherAmplitudes};
const Formats towedImageryFormats = {towedLayouts, {}, true};
const Formats processedImageryFormats = {processedImageLayouts, {}, true};

bool acceptsType(const Family& family, std::uint32_t sensorType) {
    return sensorType == family.storedType ||
           (family.formats != nullptr &&
            std::ranges::find(family.formats->others, sensorType, &OtherType::storedType) !=
                family.formats->others.end());
}

bool acceptsVersion(const Family& family, std::uint32_t version) {
    return (family.formats != nullptr && family.formats->versionIsCallers) ||
           (version >= 1 && version <= newestVersion(family));
}

std::uint32_t newestVersion(const Family& family) {
    return static_cast<std::uint32_t>(layoutsOf(family).size());
}

const Layout& layoutOf(const Family& family, std::uint32_t version) {
    const std::span<const Layout> layouts = layoutsOf(family);
    return version >= 1 && version <= layouts.size() ? layouts[version - 1] : layouts.back();
}

} // namespace skar::tool::check
