#include "import/kongsberginstallation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace skar::import {

namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks(" \t\r\n\0", 5);
    const std::size_t first = text.find_first_not_of(blanks);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

// How the arrays of transducers make heads.
enum class Heads { separate, combined, sharedTransmitter, unknown };

// Sounders whose heads both send and receive; in the files of older software nothing else tells.
constexpr std::array<std::uint16_t, 5> combinedModels{2045, 3000, 3001, 3002, 3020};

class Reader {
public:
    Reader(const KongsbergInstallation& in, std::uint64_t& bad) : in_(in), bad_(bad) {}

    bool has(const std::string& key) const { return in_.fields.contains(key); }

    std::string text(const std::string& key) const {
        const auto found = in_.fields.find(key);
        return found == in_.fields.end() ? std::string() : found->second;
    }

    std::optional<double> number(const std::string& key, double limit) {
        const std::string value = text(key);
        if (value.empty()) return std::nullopt;
        double parsed = 0.0;
        const auto [stop, error] = std::from_chars(value.data(), value.data() + value.size(), parsed);
        if (error == std::errc() && stop == value.data() + value.size() && std::abs(parsed) <= limit)
            return parsed;
        ++bad_;
        return std::nullopt;
    }

    int choice(const std::string& key, int otherwise) {
        constexpr double largest = 1000.0;
        return static_cast<int>(number(key, largest).value_or(otherwise));
    }

    // The file counts x forward and y to starboard.
    std::optional<Mounting> mounting(const std::string& prefix, bool isTurned) {
        const auto forward = number(prefix + "X", farthest);
        const auto starboard = number(prefix + "Y", farthest);
        const auto down = number(prefix + "Z", farthest);
        if (!forward || !starboard || !down) return std::nullopt;
        Mounting mounting{*starboard, *forward, *down};
        if (isTurned) {
            mounting.pitch = number(prefix + "P", fullTurn).value_or(0.0);
            mounting.roll = number(prefix + "R", fullTurn).value_or(0.0);
        }
        return mounting;
    }

    std::optional<SonarArray> array(int number_, const std::string& serial) {
        const std::string prefix = "S" + std::to_string(number_);
        const auto place = mounting(prefix, true);
        if (!place) return std::nullopt;
        SonarArray array{*place, serial};
        array.mounting.heading = number(prefix + "H", fullTurn).value_or(0.0);
        return array;
    }

    std::optional<MotionSensor> motionSensor(const std::string& choiceKey) {
        constexpr int first = 2;
        constexpr int second = 3;
        constexpr std::array<int, 2> ofVelocity{8, 9};
        int chosen = choice(choiceKey, first);
        if (std::find(ofVelocity.begin(), ofVelocity.end(), chosen) != ofVelocity.end())
            chosen = choice("VSN", 0) + 1;
        if (chosen != first && chosen != second) return std::nullopt;
        const std::string prefix = chosen == first ? "MS" : "NS";
        const auto place = mounting(prefix, true);
        if (!place) return std::nullopt;
        MotionSensor sensor{chosen - 1, *place};
        sensor.mounting.heading = number(prefix + "G", fullTurn).value_or(0.0);
        constexpr double milliseconds = 1000.0;
        sensor.delay = number(prefix + "D", longestDelay * milliseconds).value_or(0.0) / milliseconds;
        return sensor;
    }

    std::optional<Antenna> antenna() {
        const int system = choice("APS", 0) + 1;
        const std::string prefix = "P" + std::to_string(system);
        const auto place = mounting(prefix, false);
        if (!place) return std::nullopt;
        return Antenna{system,
                       place->x,
                       place->y,
                       place->z,
                       number(prefix + "D", longestDelay).value_or(0.0),
                       text(prefix + "G")};
    }

    Heads heads() {
        const bool onlyOne = !has("S2X");
        if (!has("STC")) {
            const bool isCombined = onlyOne || std::find(combinedModels.begin(), combinedModels.end(),
                                                         in_.model) != combinedModels.end();
            return isCombined ? Heads::combined : Heads::separate;
        }
        switch (choice("STC", -1)) {
        case 0:
            return onlyOne ? Heads::combined : Heads::separate;
        case 1:
        case 2:
            return Heads::combined;
        case 3:
            return Heads::sharedTransmitter;
        default:
            return onlyOne ? Heads::combined : Heads::unknown;
        }
    }

    std::optional<Sonar> sonar(const std::map<std::uint32_t, std::uint32_t>& beams) {
        Sonar sonar{"Kongsberg", "EM " + std::to_string(in_.model), {}, {}};
        const auto add = [&](std::vector<SonarArray>& arrays, int number_, const std::string& serial) {
            if (const auto found = array(number_, serial)) arrays.push_back(*found);
        };
        const std::array<std::string, 2> serials{serialOf("R1S", in_.serial),
                                                 serialOf("R2S", in_.secondSerial)};
        const Heads kind = heads();
        switch (kind) {
        case Heads::separate:
        case Heads::sharedTransmitter:
            add(sonar.transmitters, 1, serialOf("TXS", 0));
            add(sonar.receivers, 2, serials[0]);
            if (kind == Heads::sharedTransmitter) add(sonar.receivers, 3, serials[1]);
            break;
        case Heads::combined:
            add(sonar.receivers, 1, serials[0]);
            if (has("S2X")) add(sonar.receivers, 2, serials[1]);
            sonar.transmitters = sonar.receivers;
            break;
        case Heads::unknown:
            break;
        }
        if (sonar.receivers.empty() || sonar.transmitters.empty()) return std::nullopt;
        if (sonar.receivers.size() > 1) {
            const auto before = beams.find(in_.serial);
            if (before != beams.end()) sonar.receivers[1].firstBeam = before->second + 1;
        }
        return sonar;
    }

    static constexpr double farthest = 10'000.0;
    static constexpr double fullTurn = 360.0;
    static constexpr double longestDelay = 1000.0;

private:
    std::string serialOf(const std::string& key, std::uint16_t otherwise) const {
        if (has(key)) return text(key);
        return otherwise == 0 ? std::string() : std::to_string(otherwise);
    }

    const KongsbergInstallation& in_;
    std::uint64_t& bad_;
};

} // namespace

bool decode(const KongsbergFrame& frame, KongsbergInstallation& installation) {
    Cursor in = frame.cursor();
    in.skip(2); // start mark and type
    installation.model = in.read<std::uint16_t>();
    in.skip(10); // date, time and counter
    installation.serial = in.read<std::uint16_t>();
    installation.secondSerial = in.read<std::uint16_t>();
    if (in.failed()) return false;
    const Bytes rest = frame.body.subspan(in.position());
    std::string_view text(reinterpret_cast<const char*>(rest.data()), rest.size());
    while (!text.empty()) {
        const std::string_view field = text.substr(0, text.find(','));
        text.remove_prefix(std::min(field.size() + 1, text.size()));
        const std::size_t equals = field.find('=');
        if (equals == field.npos) continue;
        installation.fields.emplace(trimmed(field.substr(0, equals)), trimmed(field.substr(equals + 1)));
    }
    return !installation.fields.empty();
}

Installation layoutOf(const KongsbergInstallation& installation,
                      const std::map<std::uint32_t, std::uint32_t>& beams, std::uint64_t& bad) {
    Reader reader(installation, bad);
    return {reader.sonar(beams),
            reader.antenna(),
            reader.motionSensor("ARO"),
            reader.motionSensor("AHE"),
            reader.number("GCG", Reader::fullTurn),
            reader.number("WLZ", Reader::farthest)};
}

} // namespace skar::import
