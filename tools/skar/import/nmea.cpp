#include "import/nmea.h"

#include "import/textlines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace skar::import {

NmeaVerdict parseNmea(std::string_view text, NmeaSentence& sentence, bool& hasChecksum) {
    sentence = {};
    hasChecksum = false;
    if (text.empty() || (text[0] != '$' && text[0] != '!')) return NmeaVerdict::unparsable;
    sentence.encapsulated = text[0] == '!';
    std::string_view body = text.substr(1);
    const auto printable = [](char c) { return c >= 0x20 && c < 0x7F; };
    if (!std::all_of(body.begin(), body.end(), printable)) return NmeaVerdict::unparsable;

    if (const std::size_t star = body.rfind('*'); star != std::string_view::npos) {
        const auto nibble = [](char c) {
            const std::string_view hex = "0123456789ABCDEF0123456789abcdef";
            const std::size_t at = hex.find(c);
            return at == std::string_view::npos ? -1 : static_cast<int>(at % 16);
        };
        std::string_view stored = body.substr(star + 1);
        while (stored.ends_with(' '))
            stored.remove_suffix(1);
        body = body.substr(0, star);
        if (stored.size() != 2 || nibble(stored[0]) < 0 || nibble(stored[1]) < 0)
            return NmeaVerdict::unparsable;
        int sum = 0;
        for (const char c : body)
            sum ^= static_cast<unsigned char>(c);
        if (sum != nibble(stored[0]) * 16 + nibble(stored[1])) return NmeaVerdict::checksum;
        hasChecksum = true;
    }

    sentence.parameters = fields(body, ',');
    const std::string_view address = sentence.parameters.front();
    sentence.parameters.erase(sentence.parameters.begin());
    const auto alphanumeric = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); };
    if (address.size() < 3 || !std::all_of(address.begin(), address.end(), alphanumeric))
        return NmeaVerdict::unparsable;
    if (address[0] == 'P') {
        sentence.type = address;
    } else if (address.size() == 5) {
        sentence.talker = address.substr(0, 2);
        sentence.type = address.substr(2);
    } else {
        return NmeaVerdict::unparsable;
    }
    return NmeaVerdict::sound;
}

std::uint32_t nmeaTypeNumber(const NmeaSentence& sentence) {
    const std::string_view name = sentence.type.substr(sentence.talker.empty() ? 1 : 0, 4);
    std::uint32_t number = 0;
    for (const char c : name)
        number = number << 8U | static_cast<unsigned char>(c);
    return number;
}

std::optional<Micros> nmeaTimeOfDay(std::string_view text) {
    if (text.size() < 6 || (text.size() > 6 && text[6] != '.')) return std::nullopt;
    const auto hours = digits(text.substr(0, 2));
    const auto minutes = digits(text.substr(2, 2));
    const auto seconds = decimal(text.substr(4));
    if (!hours || !minutes || !seconds || *hours > 23 || *minutes > 59 ||
        !(*seconds >= 0.0 && *seconds < 61.0))
        return std::nullopt;
    return (Micros{*hours} * 3600 + Micros{*minutes} * 60) * microsPerSecond +
           static_cast<Micros>(std::llround(*seconds * 1e6));
}

std::optional<double> nmeaAngle(std::string_view text, std::string_view hemisphere, int limit) {
    const std::size_t point = std::min(text.find('.'), text.size());
    if (point < 3 || point > 5 || hemisphere.size() != 1) return std::nullopt;
    const auto degrees = digits(text.substr(0, point - 2));
    const auto minutes = decimal(text.substr(point - 2));
    if (!degrees || !minutes || !(*minutes >= 0.0 && *minutes < 60.0)) return std::nullopt;
    const bool northSouth = limit == 90;
    const char positive = northSouth ? 'N' : 'E';
    const char negative = northSouth ? 'S' : 'W';
    const double value = *degrees + *minutes / 60.0;
    if (value > limit || (hemisphere[0] != positive && hemisphere[0] != negative)) return std::nullopt;
    return radiansFromDegrees(hemisphere[0] == positive ? value : -value);
}

namespace {

// Sentences say the time of day; the date comes now and then. A time of day belongs to the day on which it
// lies nearest to the time before it, which holds across midnight and over small steps back.
class SentenceClock {
public:
    static Micros nearest(Micros timeOfDay, Micros reference) {
        const Micros begin = reference - ((reference % microsPerDay) + microsPerDay) % microsPerDay;
        Micros best = begin + timeOfDay;
        for (const Micros other : {best - microsPerDay, best + microsPerDay}) {
            if (std::abs(other - reference) < std::abs(best - reference)) best = other;
        }
        return best;
    }

    bool dated() const { return dated_; }
    bool known() const { return known_; }
    Micros now() const { return now_; }
    Micros timeOfDay(Micros time) {
        now_ = dated_ ? nearest(time, now_) : time;
        known_ = true;
        return now_;
    }
    void setDated(Micros time) {
        now_ = time;
        known_ = dated_ = true;
    }

private:
    Micros now_ = 0;
    bool known_ = false;
    bool dated_ = false;
};

// A sentence type of one talker that gives a quantity. Of several only the best enters the line.
template <typename Record>
struct Candidate {
    std::string type;
    std::string talker;
    int rank = 0;
    std::vector<Record> records;
    std::uint64_t undated = 0; // so many at the beginning
};

template <typename Record>
class Choice {
public:
    Candidate<Record>& of(std::string_view type, std::string_view talker, int rank) {
        for (auto& candidate : candidates_) {
            if (candidate.type == type && candidate.talker == talker) return candidate;
        }
        candidates_.push_back({std::string(type), std::string(talker), rank, {}, 0});
        return candidates_.back();
    }
    std::vector<Candidate<Record>>& all() { return candidates_; }

    // Moves the records of the first rank, and of the talker with most of them, to the series. True when
    // others stayed behind.
    bool settle(Series<Record>& series, LeftOutCounter& leftOut, const char* quantity) {
        const auto best = std::min_element(candidates_.begin(), candidates_.end(), [](auto& a, auto& b) {
            if (a.records.empty() != b.records.empty()) return b.records.empty();
            return a.rank != b.rank ? a.rank < b.rank : a.records.size() > b.records.size();
        });
        if (best == candidates_.end() || best->records.empty()) return false;
        bool others = false;
        for (auto& candidate : candidates_) {
            if (&candidate == &*best || candidate.records.empty()) continue;
            others = true;
            leftOut.add(std::string(quantity) + " of " + candidate.talker + candidate.type,
                        best->talker + best->type + " is preferred", candidate.records.size());
        }
        series.records = std::move(best->records);
        series.origin = best->talker + best->type;
        return others;
    }

private:
    std::vector<Candidate<Record>> candidates_;
};

class NmeaImport {
public:
    void line(const TextLine& line);
    RawData finish();

    bool position(const NmeaSentence& in, int rank, std::size_t first, std::string_view time);
    void gga(const NmeaSentence& in, int rank);
    void gns(const NmeaSentence& in, int rank);
    void rmc(const NmeaSentence& in, int rank);
    void gll(const NmeaSentence& in, int rank);
    void zda(const NmeaSentence& in, int rank);
    void heading(const NmeaSentence& in, int rank);
    void magneticHeading(const NmeaSentence& in, int rank);
    void pashr(const NmeaSentence& in, int rank);
    void gst(const NmeaSentence& in, int rank);

private:
    void pashrErrors(const NmeaSentence& in, int rank);
    void load(const NmeaSentence& sentence);
    void keepPlace(const TextLine& line, const NmeaSentence& sentence);
    void dateIndex(Micros first);
    void mergeErrors();
    void problem(ProblemKind kind) { data_.problems.add(kind, offset_); }
    // Sets the clock to the sentence's own time; false when it has none that can be read.
    bool ownTime(std::string_view text);
    void date(Micros dated);
    template <typename Record>
    void keep(Choice<Record>& choice, std::string_view type, const NmeaSentence& in, int rank,
              const Record& record);
    void keepAngle(Choice<TimedValue>& choice, const NmeaSentence& in, int rank, std::string_view text,
                   double limit);
    template <typename Record>
    void dateBackwards(Choice<Record>& choice, Micros first);
    template <typename Record>
    void dropUndated(Choice<Record>& choice);

    Choice<TimedValue>& scalar(ScalarKind kind) { return scalars_[static_cast<std::size_t>(kind)]; }

    RawData data_;
    LeftOutCounter leftOut_;
    SentenceClock clock_;
    std::uint64_t offset_ = 0;
    Choice<PositionFix> positions_;
    std::array<Choice<TimedValue>, scalarKinds> scalars_;
    Choice<ErrorFigures> positionErrors_;
    Choice<ErrorFigures> motionErrors_;
    std::size_t undatedPlaces_ = 0;
    std::vector<std::uint64_t> undatedOffsets_;
    std::uint64_t undated_ = 0;
    std::uint64_t withoutChecksum_ = 0;
    bool untimedHeadings_ = false;
    bool motion_ = false;
};

// The sentences that are taken in. Rank 1 is preferred to rank 2 and so on: a position with its quality to
// one without, a heading with a time of its own to one without, a true heading to a magnetic one.
struct SentenceType {
    std::string_view type;
    void (NmeaImport::*load)(const NmeaSentence& in, int rank);
    int rank;
};
constexpr std::array<SentenceType, 11> sentenceTypes{{
    {"GGA", &NmeaImport::gga, 1},
    {"GNS", &NmeaImport::gns, 2},
    {"RMC", &NmeaImport::rmc, 3},
    {"GLL", &NmeaImport::gll, 4},
    {"ZDA", &NmeaImport::zda, 0},
    {"PASHR", &NmeaImport::pashr, 1},
    {"GST", &NmeaImport::gst, 1},
    {"HDT", &NmeaImport::heading, 2},
    {"THS", &NmeaImport::heading, 3},
    {"HDG", &NmeaImport::magneticHeading, 4},
    {"HDM", &NmeaImport::magneticHeading, 5},
}};
constexpr int magneticRank = 6;

void NmeaImport::line(const TextLine& line) {
    offset_ = line.offset;
    if (line.overlong) return problem(ProblemKind::unparsable);
    if (line.text.empty() || line.text.starts_with('#')) return;
    // A logger may put its own time stamp ahead of the sentence.
    const std::size_t begin = line.text.find_first_of("$!");
    NmeaSentence sentence;
    bool hasChecksum = false;
    NmeaVerdict verdict = NmeaVerdict::unparsable;
    if (begin != std::string_view::npos) verdict = parseNmea(line.text.substr(begin), sentence, hasChecksum);
    if (verdict != NmeaVerdict::sound || !hasChecksum) {
        if (line.unfinished) return problem(ProblemKind::truncated);
        if (verdict == NmeaVerdict::checksum) return problem(ProblemKind::checksum);
        if (verdict == NmeaVerdict::unparsable || begin != 0) return problem(ProblemKind::unparsable);
        ++withoutChecksum_;
    }
    load(sentence);
    keepPlace(line, sentence);
}

void NmeaImport::load(const NmeaSentence& sentence) {
    const auto row = std::find_if(sentenceTypes.begin(), sentenceTypes.end(),
                                  [&](const SentenceType& type) { return type.type == sentence.type; });
    if (row == sentenceTypes.end() || sentence.encapsulated) {
        const std::string name =
            (sentence.encapsulated ? "!" : "") + std::string(sentence.talker) + std::string(sentence.type);
        return leftOut_.add(name, "sentence not carried over");
    }
    (this->*row->load)(sentence, row->rank);
}

// A sentence without a time of its own is of the time of the one before it, as headings are.
void NmeaImport::keepPlace(const TextLine& line, const NmeaSentence& sentence) {
    data_.index.push_back({line.offset, clock_.known() ? clock_.now() : RawRecord::untimed,
                           nmeaTypeNumber(sentence), static_cast<std::uint32_t>(line.text.size())});
    if (!clock_.dated()) undatedPlaces_ = data_.index.size();
}

void NmeaImport::dateIndex(Micros first) {
    Micros following = first;
    for (; undatedPlaces_ != 0; --undatedPlaces_) {
        Micros& time = data_.index[undatedPlaces_ - 1].time;
        if (time != RawRecord::untimed) time = following = SentenceClock::nearest(time, following);
    }
}

bool NmeaImport::ownTime(std::string_view text) {
    if (text.empty()) {
        problem(ProblemKind::noValue);
        return false;
    }
    const auto time = nmeaTimeOfDay(text);
    if (!time) {
        problem(ProblemKind::unparsable);
        return false;
    }
    clock_.timeOfDay(*time);
    return true;
}

template <typename Record>
void NmeaImport::dateBackwards(Choice<Record>& choice, Micros first) {
    for (auto& candidate : choice.all()) {
        Micros following = first;
        for (std::uint64_t i = candidate.undated; i-- != 0;) {
            Micros& time = candidate.records[i].time;
            time = following = SentenceClock::nearest(time, following);
        }
        candidate.undated = 0;
    }
}

template <typename Record>
void NmeaImport::dropUndated(Choice<Record>& choice) {
    for (auto& candidate : choice.all()) {
        if (candidate.undated != 0) candidate.records.clear();
    }
}

void NmeaImport::date(Micros dated) {
    if (!clock_.dated()) {
        dateBackwards(positions_, dated);
        for (auto& choice : scalars_)
            dateBackwards(choice, dated);
        dateBackwards(positionErrors_, dated);
        dateBackwards(motionErrors_, dated);
        dateIndex(dated);
        for (std::uint64_t i = 0; i < undated_; ++i) {
            const std::size_t kept = undatedOffsets_.size();
            data_.problems.add(ProblemKind::datedLater, undatedOffsets_[std::min<std::size_t>(i, kept - 1)]);
        }
        undated_ = 0;
    } else if (std::abs(dated - clock_.now()) > microsPerDay / 2) {
        problem(ProblemKind::clockJump);
    }
    clock_.setDated(dated);
}

template <typename Record>
void NmeaImport::keep(Choice<Record>& choice, std::string_view type, const NmeaSentence& in, int rank,
                      const Record& record) {
    auto& candidate = choice.of(type, in.talker, rank);
    candidate.records.push_back(record);
    if (!clock_.dated()) {
        ++candidate.undated;
        ++undated_;
        if (undatedOffsets_.size() < Problems::offsetsKept) undatedOffsets_.push_back(offset_);
    }
}

bool NmeaImport::position(const NmeaSentence& in, int rank, std::size_t first, std::string_view time) {
    if (!ownTime(time)) return false;
    if (in.parameter(first).empty() || in.parameter(first + 2).empty()) {
        problem(ProblemKind::noValue);
        return false;
    }
    const auto latitude = nmeaAngle(in.parameter(first), in.parameter(first + 1), 90);
    const auto longitude = nmeaAngle(in.parameter(first + 2), in.parameter(first + 3), 180);
    if (!latitude || !longitude) {
        problem(ProblemKind::unparsable);
        return false;
    }
    keep(positions_, in.type, in, rank, PositionFix{clock_.now(), *latitude, *longitude, 0.0});
    return true;
}

void NmeaImport::gga(const NmeaSentence& in, int rank) {
    const auto quality = digits(in.parameter(5));
    if (!quality || *quality == 0) return problem(quality ? ProblemKind::noFix : ProblemKind::unparsable);
    position(in, rank, 1, in.parameter(0));
}

void NmeaImport::gns(const NmeaSentence& in, int rank) {
    // A letter per satellite system, N where it has no fix.
    const std::string_view mode = in.parameter(5);
    if (mode.find_first_not_of('N') == std::string_view::npos) return problem(ProblemKind::noFix);
    position(in, rank, 1, in.parameter(0));
}

void NmeaImport::rmc(const NmeaSentence& in, int rank) {
    // A receiver that warns may also not know the date.
    if (in.parameter(1) != "A") return problem(ProblemKind::noFix);
    const std::string_view text = in.parameter(8);
    const auto time = nmeaTimeOfDay(in.parameter(0));
    if (!text.empty() && time) {
        const auto number = digits(text);
        const int year = number.value_or(0) % 100;
        const auto day = number && text.size() == 6 ? midnight(year < 80 ? 2000 + year : 1900 + year,
                                                               *number / 100 % 100, *number / 10000)
                                                    : std::nullopt;
        if (day)
            date(*day + *time);
        else
            problem(ProblemKind::unparsable);
    }
    position(in, rank, 2, in.parameter(0));
}

void NmeaImport::gll(const NmeaSentence& in, int rank) {
    if (in.parameters.size() > 5 && in.parameter(5) != "A") return problem(ProblemKind::noFix);
    position(in, rank, 0, in.parameter(4));
}

void NmeaImport::zda(const NmeaSentence& in, int) {
    if (in.parameter(0).empty() || in.parameter(3).empty()) return problem(ProblemKind::noValue);
    const auto time = nmeaTimeOfDay(in.parameter(0));
    const auto day = midnight(digits(in.parameter(3)).value_or(0), digits(in.parameter(2)).value_or(0),
                              digits(in.parameter(1)).value_or(0));
    if (!time || !day) return problem(ProblemKind::unparsable);
    date(*day + *time);
}

void NmeaImport::keepAngle(Choice<TimedValue>& choice, const NmeaSentence& in, int rank,
                           std::string_view text, double limit) {
    if (text.empty()) return problem(ProblemKind::noValue);
    const auto degrees = decimal(text);
    if (!degrees) return problem(ProblemKind::unparsable);
    const bool compass = limit == 360.0;
    if (*degrees > limit || *degrees < (compass ? 0.0 : -limit)) return problem(ProblemKind::badValue);
    keep(choice, in.type, in, rank, TimedValue{clock_.now(), radiansFromDegrees(*degrees)});
}

void NmeaImport::heading(const NmeaSentence& in, int rank) {
    // THS may say that its heading is not to be used.
    if (in.type == "THS" && in.parameter(1) == "V") return problem(ProblemKind::noValue);
    if (in.parameter(0).empty()) return problem(ProblemKind::noValue);
    if (!clock_.known()) return problem(ProblemKind::noDate);
    untimedHeadings_ = true;
    keepAngle(scalar(ScalarKind::gyro), in, rank, in.parameter(0), 360.0);
}

void NmeaImport::magneticHeading(const NmeaSentence& in, int rank) {
    if (in.parameter(0).empty()) return problem(ProblemKind::noValue);
    if (!clock_.known()) return problem(ProblemKind::noDate);
    const auto magnetic = decimal(in.parameter(0));
    if (!magnetic) return problem(ProblemKind::unparsable);
    if (*magnetic < 0.0 || *magnetic > 360.0) return problem(ProblemKind::badValue);

    // Easterly deviation and variation count up to the true heading; both may be empty.
    double correction = 0.0;
    bool isTrue = false;
    if (in.type == "HDG") {
        for (const std::size_t index : {std::size_t{1}, std::size_t{3}}) {
            if (in.parameter(index).empty()) continue;
            const auto part = decimal(in.parameter(index));
            const std::string_view side = in.parameter(index + 1);
            if (!part || (side != "E" && side != "W")) return problem(ProblemKind::unparsable);
            correction += side == "E" ? *part : -*part;
            isTrue = isTrue || index == 3;
        }
    }
    untimedHeadings_ = true;
    const double degrees = std::fmod(*magnetic + correction + 720.0, 360.0);
    keep(scalar(ScalarKind::gyro), isTrue ? "HDG" : "HDG or HDM without variation: magnetic heading", in,
         isTrue ? rank : magneticRank, TimedValue{clock_.now(), radiansFromDegrees(degrees)});
}

void NmeaImport::pashr(const NmeaSentence& in, int rank) {
    // The maker has other messages under this name; this one begins with the time.
    if (!in.parameter(0).empty() && !nmeaTimeOfDay(in.parameter(0)))
        return leftOut_.add("PASHR of other content", "sentence not carried over");
    if (!ownTime(in.parameter(0))) return;
    motion_ = true;
    pashrErrors(in, rank);
    if (in.parameter(2) == "T") keepAngle(scalar(ScalarKind::gyro), in, rank, in.parameter(1), 360.0);
    keepAngle(scalar(ScalarKind::roll), in, rank, in.parameter(3), 180.0);
    keepAngle(scalar(ScalarKind::pitch), in, rank, in.parameter(4), 180.0);
    const std::string_view heave = in.parameter(5);
    if (heave.empty()) return problem(ProblemKind::noValue);
    const auto metres = decimal(heave);
    if (!metres) return problem(ProblemKind::unparsable);
    if (std::abs(*metres) > 1000.0) return problem(ProblemKind::badValue);
    keep(scalar(ScalarKind::heave), in.type, in, rank, TimedValue{clock_.now(), *metres});
}

void NmeaImport::pashrErrors(const NmeaSentence& in, int rank) {
    ErrorFigures figures{clock_.now()};
    const std::pair<ErrorKind, std::size_t> fields[] = {
        {ErrorKind::roll, 6}, {ErrorKind::pitch, 7}, {ErrorKind::heading, 8}};
    bool any = false;
    for (const auto& [kind, field] : fields) {
        const auto degrees = decimal(in.parameter(field));
        if (!degrees || *degrees < 0.0 || *degrees > 180.0) continue;
        figures[kind] = radiansFromDegrees(*degrees);
        any = true;
    }
    if (any) keep(motionErrors_, in.type, in, rank, figures);
}

void NmeaImport::gst(const NmeaSentence& in, int rank) {
    if (!ownTime(in.parameter(0))) return;
    ErrorFigures figures{clock_.now()};
    const std::pair<ErrorKind, std::size_t> fields[] = {{ErrorKind::north, 5}, {ErrorKind::east, 6}};
    for (const auto& [kind, field] : fields) {
        if (in.parameter(field).empty()) return problem(ProblemKind::noValue);
        const auto metres = decimal(in.parameter(field));
        if (!metres) return problem(ProblemKind::unparsable);
        if (*metres < 0.0) return problem(ProblemKind::badValue);
        figures[kind] = *metres;
    }
    keep(positionErrors_, in.type, in, rank, figures);
}

// What the two sources say becomes one series, in which a figure holds until its source says the next.
void NmeaImport::mergeErrors() {
    Series<ErrorFigures> position;
    Series<ErrorFigures> motion;
    positionErrors_.settle(position, leftOut_, "position errors");
    motionErrors_.settle(motion, leftOut_, "motion errors");
    auto& merged = data_.errorFigures;
    for (Series<ErrorFigures>* series : {&position, &motion}) {
        if (series->records.empty()) continue;
        merged.origin += (merged.origin.empty() ? "" : ", ") + series->origin;
        merged.records.insert(merged.records.end(), series->records.begin(), series->records.end());
    }
    if (position.records.empty() || motion.records.empty()) return;
    std::stable_sort(merged.records.begin(), merged.records.end(),
                     [](const ErrorFigures& a, const ErrorFigures& b) { return a.time < b.time; });
    std::vector<ErrorFigures> whole;
    ErrorFigures held;
    for (const ErrorFigures& figures : merged.records) {
        held.time = figures.time;
        for (std::size_t i = 0; i < errorKinds; ++i) {
            if (!std::isnan(figures.values[i])) held.values[i] = figures.values[i];
        }
        if (!whole.empty() && whole.back().time == held.time)
            whole.back() = held;
        else
            whole.push_back(held);
    }
    merged.records = std::move(whole);
    data_.conventions.emplace_back("Error figures of one sentence hold until the next one of its kind.");
}

RawData NmeaImport::finish() {
    if (undated_ != 0) {
        dropUndated(positions_);
        for (auto& choice : scalars_)
            dropUndated(choice);
        dropUndated(positionErrors_);
        dropUndated(motionErrors_);
        for (std::uint64_t i = 0; i < undated_; ++i) {
            const std::size_t kept = undatedOffsets_.size();
            data_.problems.add(ProblemKind::noDate, undatedOffsets_[std::min<std::size_t>(i, kept - 1)]);
        }
    }
    bool chosen = positions_.settle(data_.navigation, leftOut_, "position");
    static constexpr std::array names{"heading", "heave", "pitch", "roll"};
    for (std::size_t i = 0; i < names.size(); ++i)
        scalars_[i].settle(data_.scalars[i], leftOut_, names[i]);

    auto& say = data_.conventions;
    if (data_.records() != 0) say.emplace_back("Times are UTC; the date is that of ZDA or RMC.");
    if (chosen) {
        say.emplace_back(
            "Preferred: position GGA, GNS, RMC, GLL; heading PASHR, HDT, THS, HDG with variation, "
            "magnetic; of several talkers the one with most sentences.");
    }
    if (untimedHeadings_) {
        say.emplace_back("Heading sentences without a time carry the time of the sentence before them.");
    }
    if (data_[ScalarKind::gyro].origin.ends_with("HDG")) {
        say.emplace_back("Headings are magnetic headings with the deviation and variation of the sentence.");
    } else if (data_[ScalarKind::gyro].origin.ends_with("magnetic heading")) {
        say.emplace_back("Headings are magnetic: the file gives no variation.");
    }
    if (motion_) say.emplace_back("Roll, pitch and heave keep the sign of the sentence, which names none.");
    if (!data_[ScalarKind::heave].records.empty()) data_.heaveSign = "sign of the sentence";
    if (withoutChecksum_ != 0) {
        say.emplace_back(std::to_string(withoutChecksum_) +
                         " sentences came without a checksum and were taken as they are.");
    }
    if (!data_.navigation.records.empty()) say.emplace_back("Positions carry no accuracy.");
    mergeErrors();
    for (std::size_t i = 0; i < undatedPlaces_; ++i)
        data_.index[i].time = RawRecord::untimed;
    data_.leftOut = leftOut_.take();
    sortByTime(data_);
    return std::move(data_);
}

} // namespace

bool looksLikeNmea(Bytes head) {
    MemorySource source(head);
    TextLines lines(source);
    TextLine line;
    NmeaSentence sentence;
    bool hasChecksum = false;
    while (lines.next(line)) {
        const std::size_t begin = std::min(line.text.find_first_of("$!"), line.text.size());
        if (parseNmea(line.text.substr(begin), sentence, hasChecksum) == NmeaVerdict::sound && hasChecksum)
            return true;
    }
    return false;
}

RawData readNmea(ByteSource& source) {
    NmeaImport import;
    TextLines lines(source);
    TextLine line;
    while (lines.next(line))
        import.line(line);
    return import.finish();
}

} // namespace skar::import
