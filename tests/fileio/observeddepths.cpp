#include "observeddepths.h"

#include <skar/paths.h>

namespace skar::tests {

Golden goldenDepths(int version) {
    return golden("observed_depths_" + std::to_string(version));
}

std::vector<TwinPing> TwinOfDepths::pings() const {
    std::vector<TwinPing> all;
    for (const Segment& segment : segments)
        all.insert(all.end(), segment.pings.begin(), segment.pings.end());
    return all;
}

TwinOfDepths depthsTwin(const std::string& text) {
    TwinOfDepths twin;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind;
        std::string direction;
        words >> kind;
        if (kind == "toolType") words >> twin.toolType;
        if (kind == "summaryStatus") words >> twin.summaryStatus;
        if (kind == "segment") {
            TwinOfDepths::Segment segment;
            words >> segment.status >> std::ws;
            std::getline(words, segment.name);
            twin.segments.push_back(segment);
        }
        if (kind == "ping") {
            TwinPing ping;
            words >> ping.read.status >> ping.read.startBeam >> ping.read.numDepths;
            ping.written = ping.read;
            for (PingView* each : {&ping.written, &ping.read})
                words >> direction >> each->time >> each->latitude >> each->longitude;
            twin.segments.back().pings.push_back(ping);
        }
        if (kind == "beam") {
            BeamView written;
            BeamView read;
            words >> written.status;
            read.status = written.status;
            words >> direction >> written.time >> written.y >> written.x >> written.z;
            words >> direction >> read.time >> read.y >> read.x >> read.z >> read.extra;
            twin.segments.back().pings.back().writtenBeams.push_back(written);
            twin.segments.back().pings.back().readBeams.push_back(read);
        }
        EXPECT_FALSE(words.fail()) << line;
    }
    return twin;
}

int writeDepths(_TELD_Sensor* sensor, const TwinOfDepths& twin) {
    int first = 0;
    const auto note = [&](int code) {
        if (first == 0) first = code;
    };
    note(ObservedDepthsBgnSeqWriteSummary(sensor, twin.toolType));
    for (const auto& segment : twin.segments) {
        wchar_t* name = SKARConvertASCIICharToWide(segment.name.c_str());
        note(ObservedDepthsBgnSeqWriteLineSegment(sensor, name));
        SKARIO_free(name);
        for (const TwinPing& ping : segment.pings) {
            const PingView& header = ping.written;
            note(ObservedDepthsBgnSeqWriteProfile(sensor, header.numDepths, header.startBeam, header.time,
                                                  header.latitude, header.longitude, header.status));
            for (const BeamView& beam : ping.writtenBeams)
                note(ObservedDepthsSeqWrite(sensor, beam.time, beam.y, beam.x, beam.z, 99.5, beam.status));
            note(ObservedDepthsEndSeqWriteProfile(sensor));
        }
        note(ObservedDepthsEndSeqWriteLineSegment(sensor, segment.status));
    }
    note(ObservedDepthsEndSeqWriteSummary(sensor, twin.summaryStatus));
    return first;
}

SegmentExtents segmentOf(_TELD_Sensor* sensor, std::uint32_t number) {
    SegmentExtents view;
    wchar_t* name = nullptr;
    EXPECT_EQ(0, ObservedDepthsLineSegment(sensor, number, &name, &view.begin, &view.end, &view.minTime,
                                           &view.maxTime, &view.minDepth, &view.maxDepth, &view.status));
    char* narrow = SKARConvertWideCharToASCII(name);
    view.name = narrow ? narrow : "";
    SKARIO_free(narrow);
    SKARIO_free(name);
    return view;
}

namespace {
template <class Info, class Value>
void take(const boost::exception& caught, std::optional<Value>& value) {
    if (const auto* found = boost::get_error_info<Info>(caught)) value = static_cast<Value>(*found);
}
} // namespace

Thrown describe(const std::string& kind, const boost::exception& caught) {
    using bathy::error::BathyException;
    Thrown thrown;
    thrown.kind = kind;
    if (const auto* key = boost::get_error_info<BathyException::tag_additional_details>(caught))
        thrown.key = *key;
    take<BathyException::tag_error_code>(caught, thrown.code);
    take<SKAR::stdio_error_info>(caught, thrown.error);
    take<SKAR::profile_number_info>(caught, thrown.profile);
    take<SKAR::max_profile_number_info>(caught, thrown.maxProfile);
    take<SKAR::beam_number_info>(caught, thrown.beam);
    take<SKAR::start_beam_number_info>(caught, thrown.startBeam);
    take<SKAR::max_beam_number_info>(caught, thrown.maxBeam);
    if (const auto* file = boost::get_error_info<SKAR::file_name_info>(caught)) {
        char* narrow = SKARConvertWideCharToASCII(file->toWide().c_str());
        thrown.file = narrow ? narrow : "";
        SKARIO_free(narrow);
    }
    thrown.all = boost::diagnostic_information(caught);
    return thrown;
}

} // namespace skar::tests
