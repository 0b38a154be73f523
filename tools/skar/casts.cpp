#include "casts.h"

#include "codetext.h"
#include "commands/command.h"
#include "import/lineimport.h"

#include <skar/skario.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <sstream>
#include <system_error>

namespace skar::tool {

namespace {

using import::Cast;
using import::CastSample;
using import::Micros;

MORVAUString fileText(const std::string& path) {
    return MORVAUString(wideText(path).c_str());
}

const char* nameOf(const SvpFile& file) {
    if (dynamic_cast<const CHSSvpFile*>(&file) != nullptr) return "chs";
    if (dynamic_cast<const RANSvpFile_Dat*>(&file) != nullptr) return "dat";
    if (dynamic_cast<const RANSvpFile_Edf*>(&file) != nullptr) return "edf";
    return "native";
}

// The date that the fifth field of a CHS header has of itself: "201203212242", seconds may follow.
std::optional<Micros> headerDate(const SvpFile::SvpSections& section) {
    std::istringstream words(section.headerText.toUTF8());
    std::string word;
    for (int i = 0; i < 5; ++i)
        words >> word;
    if (word.size() < 12 || word.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    const auto number = [&word](std::size_t from, std::size_t count) {
        return std::stoi(word.substr(from, count));
    };
    const auto day = import::midnight(number(0, 4), number(4, 2), number(6, 2));
    if (!day || number(8, 2) > 23 || number(10, 2) > 59) return std::nullopt;
    return *day + (Micros{number(8, 2)} * 60 + number(10, 2)) * 60 * import::microsPerSecond;
}

LoadedCasts fromLibrary(const std::string& path) {
    int status = 0;
    const std::unique_ptr<SvpFile> file(SvpFile::GetSvpFormat(fileText(path), status));
    if (file == nullptr) throw ToolError(printable(path) + ": out of memory");
    const int result = file->ReadInData();
    if (result != 0)
        throw ToolError(fmt::format("{}: no casts could be read, as {} file: {}", printable(path),
                                    nameOf(*file), codeText(result)));
    LoadedCasts loaded;
    loaded.format = nameOf(*file);
    // A dat file gives the position with every record only.
    const auto* dat = dynamic_cast<const RANSvpFile_Dat*>(file.get());
    for (const SvpFile::SvpSections& section : file->GetRecordsInFile()) {
        Cast cast;
        const auto time = microsOf(section.time);
        cast.time = time.value_or(*import::midnight(1980, 1, 1));
        const bool understood = dat != nullptr ? !dat->GetDataList().empty() : !section.latitude.isEmpty();
        if (understood) {
            cast.latitude = dat != nullptr ? dat->GetDataList().front().latitude : section.GetLatitude();
            cast.longitude = dat != nullptr ? dat->GetDataList().front().longitude : section.GetLongitude();
            // What the formats write where there is no position.
            if (*cast.latitude == 0.0 && *cast.longitude == 0.0)
                cast.latitude = cast.longitude = std::nullopt;
        }
        for (const SvpFile::SvpValues& value : section.values)
            cast.samples.push_back({value.depth, value.velocity});
        loaded.casts.push_back(std::move(cast));
        // A time that the file does not have is the start of 1980.
        bool timed = time.has_value() && section.time != 0.0;
        if (!timed) {
            const auto dated = headerDate(section);
            if (dated) loaded.casts.back().time = *dated;
            loaded.remarks.push_back(
                fmt::format("Cast {} has no time{}.", loaded.casts.size(),
                            dated ? ": that of its header is taken" : " that could be read"));
            timed = dated.has_value();
        }
        loaded.timed.push_back(timed);
    }
    return loaded;
}

double storeTime(const Cast& cast) {
    return StoreClock().seconds(cast.time);
}

double orZero(const std::optional<double>& value) {
    return value.value_or(0.0);
}

struct CalendarTime {
    import::CalendarDay day;
    std::int64_t hour;
    std::int64_t minute;
    std::int64_t second;
};
CalendarTime calendarTime(Micros time) {
    const std::int64_t seconds =
        ((time % import::microsPerDay) + import::microsPerDay) % import::microsPerDay / 1000000;
    return {import::calendarDay(time), seconds / 3600, seconds / 60 % 60, seconds % 60};
}

// The two formats of one cast carry a further column of which nothing but its presence is known. A seed has a
// line per value with whole metres, which no reading changes; depths and speeds are set behind it.
std::string datSeed(const Cast& cast) {
    const CalendarTime at = calendarTime(cast.time);
    std::string bytes;
    for (std::size_t i = 0; i < cast.samples.size(); ++i) {
        bytes += fmt::format("{:+.4f},{:+.4f},{},{:02}/{:02}/{} {:02}:{:02}:{:02},1,{:+.4f}\n",
                             orZero(cast.latitude), orZero(cast.longitude), i, at.day.day, at.day.month,
                             at.day.year, at.hour, at.minute, at.second, cast.samples[i].speed);
    }
    return bytes;
}

std::string edfPosition(const char* label, const std::optional<double>& position, const char* hemispheres) {
    const double size = std::fabs(orZero(position));
    const double degrees = std::trunc(size);
    return fmt::format("{:<14}:  {} {:6.3f}{}\n", label, static_cast<int>(degrees), (size - degrees) * 60,
                       hemispheres[orZero(position) < 0 ? 1 : 0]);
}

std::string edfSeed(const Cast& cast) {
    const CalendarTime at = calendarTime(cast.time);
    std::string bytes = fmt::format("// Sound velocity profile\nDate of Launch:  {:02}/{:02}/{}\n"
                                    "Time of Launch:  {:02}:{:02}:{:02}\n",
                                    at.day.day, at.day.month, at.day.year, at.hour, at.minute, at.second);
    bytes += edfPosition("Latitude", cast.latitude, "NS") + edfPosition("Longitude", cast.longitude, "EW");
    bytes += "Depth (m) - Auxiliary - Sound Velocity (m/s)\n\n";
    for (std::size_t i = 0; i < cast.samples.size(); ++i)
        bytes += fmt::format("{} 1.00 {:.4f}\n", i, cast.samples[i].speed);
    return bytes;
}

template <class Format>
std::unique_ptr<SvpFile> make(const MORVAUString& file) {
    return std::make_unique<Format>(file);
}

void writeSeed(const std::string& path, const std::string& bytes) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
        std::fflush(file.get()) != 0)
        throw ToolError(printable(path) + ": could not be written");
}

// A file of the given name that goes with the object.
class ScratchFile {
public:
    explicit ScratchFile(std::string path) : path_(std::move(path)) {}
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

private:
    std::string path_;
};

// Fills a file object with the casts.
void fill(SvpFile& file, const CastTarget& target, const std::vector<Cast>& casts, const std::string& path) {
    if (target.seed != nullptr) {
        const std::string seed = path + ".seed" + (std::string(target.name) == "edf" ? ".edf" : "");
        const ScratchFile scratch(seed);
        writeSeed(seed, target.seed(casts.front()));
        file.SetFileName(fileText(seed));
        const int result = file.ReadInData();
        file.SetFileName(fileText(path));
        if (result != 0) throw ToolError(fmt::format("{}: {}", printable(path), codeText(result)));
        auto sample = casts.front().samples.begin();
        for (SvpFile::SvpValues& value : file.GetRecordsInFile().head()->values) {
            value.depth = sample->depth;
            value.velocity = sample->speed;
            ++sample;
        }
        return;
    }
    for (const Cast& cast : casts) {
        SvpFile::SvpSections section(storeTime(cast), MORVAUString(), MORVAUString(), SvpFile::isNew);
        if (cast.latitude) section.latitude = MORVAUString(positionText(*cast.latitude, 2).c_str());
        if (cast.longitude) section.longitude = MORVAUString(positionText(*cast.longitude, 3).c_str());
        for (const CastSample& sample : cast.samples)
            section.values.emplace(sample.depth, sample.speed, SvpFile::isNew);
        file.GetRecordsInFile().append(std::move(section));
    }
}

void widen(double& largest, double change) {
    largest = std::max(largest, std::fabs(change));
}

// What the file holds now against what it should hold: each value against the nearest depth that was kept.
void compare(const Cast& wanted, const SvpFile& file, const SvpFile::SvpSections& kept,
             WrittenCasts& written) {
    widen(written.largestTimeChange, storeTime(wanted) - kept.time);
    const auto* dat = dynamic_cast<const RANSvpFile_Dat*>(&file);
    const bool records = dat != nullptr && !dat->GetDataList().empty();
    const double latitude = records ? dat->GetDataList().front().latitude : kept.GetLatitude();
    const double longitude = records ? dat->GetDataList().front().longitude : kept.GetLongitude();
    widen(written.largestPositionChange, orZero(wanted.latitude) - latitude);
    widen(written.largestPositionChange, orZero(wanted.longitude) - longitude);
    auto next = kept.values.begin();
    std::size_t left = kept.values.count();
    for (std::size_t i = 0; i < wanted.samples.size(); ++i) {
        const CastSample& sample = wanted.samples[i];
        // Dropped is a value whose follower lies nearer to what the file goes on with.
        const bool dropped =
            left == 0 ||
            (left < wanted.samples.size() - i && i + 1 < wanted.samples.size() &&
             std::fabs(wanted.samples[i + 1].depth - next->depth) < std::fabs(sample.depth - next->depth));
        if (dropped) {
            ++written.missing;
            continue;
        }
        const double change = next->depth - sample.depth;
        written.depthsChanged += std::fabs(change) > 1e-9 ? 1 : 0;
        widen(written.largestDepthChange, change);
        widen(written.largestSpeedChange, next->velocity - sample.speed);
        ++written.values;
        ++next;
        --left;
    }
}

} // namespace

std::string positionText(double degrees, int degreeDigits) {
    const auto hundredths = std::llround(std::fabs(degrees) * 360000.0);
    return fmt::format("{}{:0{}}:{:02}:{:02}.{:02}", degrees < 0 ? "-" : "", hundredths / 360000,
                       degreeDigits, hundredths / 6000 % 60, hundredths / 100 % 60, hundredths % 100);
}

LoadedCasts loadCasts(const std::string& path) {
    try {
        import::FileSource source(path);
        if (auto file = import::readCastFile(source)) {
            LoadedCasts loaded;
            loaded.format = file->format;
            loaded.remarks = std::move(file->assumptions);
            if (file->unparsable != 0)
                loaded.remarks.push_back(
                    fmt::format("{} lines hold no value and are left out.", file->unparsable));
            loaded.timed.assign(file->casts.size(), true);
            loaded.casts = std::move(file->casts);
            return loaded;
        }
    } catch (const import::ImportError& error) {
        const std::string text = error.what();
        throw ToolError(printable(text.starts_with(path) ? text : path + ": " + text));
    }
    return fromLibrary(path);
}

std::span<const CastTarget> castTargets() {
    static constexpr std::array<CastTarget, 4> table{{
        {"native", make<SkarSvpFile>, nullptr},
        {"chs", make<CHSSvpFile>, nullptr},
        {"dat", make<RANSvpFile_Dat>, datSeed},
        {"edf", make<RANSvpFile_Edf>, edfSeed},
    }};
    return table;
}

WrittenCasts writeCasts(const std::string& path, const CastTarget& target, std::vector<Cast> casts,
                        const std::string& source) {
    // The file takes the place of the one before, which nothing but a file may lose.
    std::error_code ignored;
    if (std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored))
        throw ToolError(printable(path) + ": is no file");
    WrittenCasts written;
    std::ranges::stable_sort(casts, {}, &Cast::time);
    for (Cast& cast : casts) {
        import::WayDown way = import::wayDown(cast);
        written.outOfRange += way.outOfRange;
        written.notDeeper += way.notDeeper;
        cast.samples = std::move(way.samples);
    }
    std::erase_if(casts, [](const Cast& cast) { return cast.samples.empty(); });
    if (casts.empty())
        throw ToolError(printable(path) + ": no cast has a value between 1400 and 2000 m/s to write");
    if (target.seed != nullptr && casts.size() > 1)
        throw ToolError(fmt::format("{}: a {} file holds one cast, not {}; choose one with --cast",
                                    printable(path), target.name, casts.size()));
    if (std::string(target.name) == "dat" &&
        (orZero(casts[0].latitude) == 0.0 || orZero(casts[0].longitude) == 0.0))
        throw ToolError(printable(path) + ": a dat file needs a position, which the cast does not have");

    const auto file = target.make(fileText(path));
    fill(*file, target, casts, path);
    if (auto* native = dynamic_cast<SkarSvpFile*>(file.get())) native->setSourceFile(fileText(source));
    if (file->UpdateDataFile() != 0) {
        const auto why = MORVAErrorManager::instance().last();
        throw ToolError(fmt::format("{}: could not be written{}", printable(path),
                                    why == nullptr ? "" : ": " + why->text().toUTF8()));
    }
    const int result = file->ReadInData();
    if (result != 0) throw ToolError(fmt::format("{}: {}", printable(path), codeText(result)));
    const auto& kept = file->GetRecordsInFile();
    written.casts = kept.count();
    auto section = kept.begin();
    for (const Cast& cast : casts) {
        if (section == kept.end()) break;
        compare(cast, *file, *section++, written);
    }
    return written;
}

} // namespace skar::tool
