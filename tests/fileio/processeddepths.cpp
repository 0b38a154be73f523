#include "processeddepths.h"

#include <cfloat>

namespace skar::tests::processed {

namespace {

template <std::size_t Count>
void take(std::istringstream& words, std::array<double, Count>& values) {
    for (double& value : values) {
        std::string word;
        words >> word;
        value = word == "-" ? DBL_MAX : std::strtod(word.c_str(), nullptr);
    }
}

template <class Info, class Value>
void take(const boost::exception& caught, std::optional<Value>& value) {
    if (const auto* found = boost::get_error_info<Info>(caught)) value = static_cast<Value>(*found);
}

} // namespace

Twin twinOf(int version) {
    Twin twin;
    std::istringstream lines(golden(goldenName(version)).twin());
    bool ofBeam = false;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "toolType") words >> twin.toolType;
        if (kind == "summaryExtra") words >> twin.extra;
        if (kind == "summaryStatus") words >> twin.status;
        if (kind == "segment") {
            TwinSegment& segment = twin.segments.emplace_back();
            words >> segment.status >> std::ws;
            std::getline(words, segment.name);
        }
        if (kind == "extents") {
            TwinSegment& segment = twin.segments.back();
            words >> segment.begin >> segment.end;
            take(words, segment.extents);
        }
        if (kind == "ping") {
            TwinPing& ping = twin.segments.back().pings.emplace_back();
            words >> ping.read.status >> ping.read.startBeam >> ping.read.numDepths;
            ping.written = ping.read;
            ofBeam = false;
        }
        if (kind == "beam") {
            TwinPing& ping = twin.segments.back().pings.back();
            words >> ping.readBeams.emplace_back().status;
            ping.writtenBeams.push_back(ping.readBeams.back());
            ofBeam = true;
        }
        if (kind == "written" || kind == "read") {
            TwinPing& ping = twin.segments.back().pings.back();
            const bool read = kind == "read";
            if (ofBeam) {
                take(words, (read ? ping.readBeams : ping.writtenBeams).back().values);
            } else {
                take(words, (read ? ping.read : ping.written).place);
                take(words, (read ? ping.read : ping.written).eight);
            }
        }
        EXPECT_FALSE(words.fail()) << line;
    }
    return twin;
}

int write(_TELD_Sensor* sensor, const Twin& twin) {
    int first = 0;
    const auto note = [&](int code) {
        if (first == 0) first = code;
    };
    note(ProcessedDepthsBgnSeqWriteSummary(sensor, twin.toolType, twin.extra));
    for (const TwinSegment& segment : twin.segments) {
        wchar_t* name = SKARConvertASCIICharToWide(segment.name.c_str());
        note(ProcessedDepthsBgnSeqWriteLineSegment(sensor, name));
        SKARIO_free(name);
        for (const TwinPing& ping : segment.pings) {
            const Ping& h = ping.written;
            note(ProcessedDepthsBgnSeqWriteProfile(sensor, h.numDepths, h.startBeam, h.place[0], h.place[1],
                                                   h.place[2], h.place[3], h.place[4], h.place[5], h.place[6],
                                                   h.eight[0], h.eight[1], h.eight[2], h.eight[3], h.eight[4],
                                                   h.eight[5], h.eight[6], h.eight[7], h.status));
            for (const Beam& b : ping.writtenBeams)
                note(ProcessedDepthsSeqWrite(sensor, b.values[0], b.values[1], b.values[2], b.values[3],
                                             b.values[4], b.values[5], b.values[6], b.status));
            note(ProcessedDepthsEndSeqWriteProfile(sensor));
        }
        note(ProcessedDepthsEndSeqWriteLineSegment(sensor, segment.status));
    }
    note(ProcessedDepthsEndSeqWriteSummary(sensor, twin.status));
    return first;
}

Thrown describe(const std::string& kind, const boost::exception& caught) {
    using bathy::error::BathyException;
    Thrown thrown;
    thrown.kind = kind;
    if (const auto* found = boost::get_error_info<BathyException::tag_additional_details>(caught))
        thrown.key = *found;
    take<BathyException::tag_error_code>(caught, thrown.code);
    take<SKAR::stdio_error_info>(caught, thrown.error);
    take<SKAR::byte_offset_info>(caught, thrown.offset);
    take<SKAR::profile_number_info>(caught, thrown.profile);
    take<SKAR::max_profile_number_info>(caught, thrown.maxProfile);
    take<SKAR::beam_number_info>(caught, thrown.beam);
    take<SKAR::start_beam_number_info>(caught, thrown.startBeam);
    take<SKAR::max_beam_number_info>(caught, thrown.maxBeam);
    take<SKAR::unsupported_processed_depths_version>(caught, thrown.version);
    if (const auto* file = boost::get_error_info<SKAR::file_name_info>(caught)) {
        char* narrow = SKARConvertWideCharToASCII(file->toWide().c_str());
        thrown.file = narrow ? narrow : "";
        SKARIO_free(narrow);
    }
    return thrown;
}

} // namespace skar::tests::processed
