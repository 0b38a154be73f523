#include "plot/waterfall.h"

#include "access/imagery.h"
#include "commands/command.h"
#include "plot/canvas.h"
#include "plot/raster.h"
#include "progress.h"
#include "timetext.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace skar::tool {

namespace {

constexpr const char* kinds[] = {"SSSSideScan", "SSSProcessedSideScan", "NewSSSProcessedSideScan"};
constexpr std::uint32_t mostRows = 2400;
constexpr double nanosecond = 1e-9;
constexpr double decimetre = 0.1;
constexpr double usualSoundSpeed = 1500.0;

constexpr int leftMargin = 90;
constexpr int rightMargin = 20;
constexpr int topMargin = 56;
constexpr int bottomMargin = 56;
constexpr double titleSize = 15.0;
constexpr double textSize = 12.0;

const Family& presentImagery(const LinePath& line) {
    for (const char* name : kinds) {
        const Family* const family = findFamily(name);
        if (isPresent(line, *family)) return *family;
    }
    throw ToolError(fmt::format("{}: holds no side scan imagery ({})", printable(line.native.string()),
                                fmt::join(kinds, ", ")));
}

// What the pings have in common, from a first look at all of them.
struct Survey {
    std::uint32_t longest = 0; // samples of a side
    double farthest = 0.0;     // of a side, seconds
    bool timed = true;         // all with samples tell the time between two
    double soundSpeed = 0.0;
    double firstTime = 0.0;
    double lastTime = 0.0;

    void add(const SideScanPing& ping) {
        const std::uint32_t count = std::max(ping.counts[0], ping.counts[1]);
        longest = std::max(longest, count);
        farthest = std::max(farthest, count * (ping.sampleInterval * nanosecond));
        timed = timed && (count == 0 || ping.sampleInterval != 0);
        // Other recorders may keep something else there.
        const double speed = ping.parameter3 * decimetre;
        if (soundSpeed == 0.0 && speed >= 1300.0 && speed <= 1700.0) soundSpeed = speed;
    }
};

// Seconds between two samples, or 1 where distances are counted in samples.
double stepOf(const SideScanPing& ping, const Survey& survey) {
    return survey.timed ? ping.sampleInterval * nanosecond : 1.0;
}

// In two-byte samples 0 stands for no value.
double meanOf(const SideScanPing& ping, std::size_t side, std::size_t begin, std::size_t end) {
    const bool zeroIsNone = (ping.status & SideScanPing::twoByteSamples) != 0;
    double sum = 0.0;
    std::size_t count = 0;
    for (std::size_t i = begin; i < end; ++i) {
        const std::uint16_t sample = ping.sample(side, i);
        if (zeroIsNone && sample == 0) continue;
        sum += sample;
        ++count;
    }
    return count != 0 ? sum / static_cast<double>(count) : std::nan("");
}

void addPing(Raster& raster, int row, const SideScanPing& ping, double step, double columnStep) {
    const int perSide = raster.columns() / 2;
    for (std::size_t side = 0; side < 2; ++side) {
        const std::size_t count = ping.counts[side];
        for (int i = 0; i < perSide; ++i) {
            const auto begin = static_cast<std::size_t>(i * columnStep / step + 1e-6);
            if (begin >= count) break;
            const auto next = static_cast<std::size_t>((i + 1) * columnStep / step + 1e-6);
            const double mean = meanOf(ping, side, begin, std::min(std::max(next, begin + 1), count));
            if (!std::isnan(mean)) raster.add(side == 0 ? perSide - 1 - i : perSide + i, row, mean);
        }
    }
}

void drawImage(const Canvas& canvas, const Box& box, const Raster& raster, double black, double white) {
    constexpr double most = 255.0;
    std::vector<std::uint32_t> pixels;
    for (int row = 0; row < raster.rows(); ++row) {
        for (int column = 0; column < raster.columns(); ++column) {
            const std::optional<double> mean = raster.mean(column, row);
            const double part = mean ? std::clamp((*mean - black) / (white - black), 0.0, 1.0) : 0.0;
            const auto grey = static_cast<std::uint32_t>(std::lround(most * part));
            pixels.push_back(grey << 16U | grey << 8U | grey);
        }
    }
    canvas.pixels(box, pixels, raster.columns(), raster.rows());
}

// The longest of 1, 2 or 5 times a power of ten that fits.
double wholeLength(double most) {
    const double decade = std::pow(10.0, std::floor(std::log10(most)));
    for (const double factor : {5.0, 2.0}) {
        if (factor * decade <= most) return factor * decade;
    }
    return decade;
}

void drawScaleBar(const Canvas& canvas, const Box& box, const Waterfall& shown) {
    const double pixel = box.width / (2.0 * shown.columnsPerSide);
    const double length = wholeLength(shown.columnWidth / pixel * box.width / 8.0);
    const double pixels = length / shown.columnWidth * pixel;
    const double y = box.bottom() + 18.0;
    canvas.colour({0.0, 0.0, 0.0});
    for (const double edge : {box.left, box.left + pixels})
        canvas.line(edge, y - 4.0, edge, y + 4.0);
    canvas.line(box.left, y, box.left + pixels, y);
    std::string text = fmt::format("{:.6g} {}", length, shown.unit);
    if (shown.soundSpeed != 0.0) {
        text += fmt::format(" slant range, {}{:.0f} m/s", shown.speedAssumed ? "taken at " : "at ",
                            shown.soundSpeed);
    }
    canvas.text(box.left, y + 20.0, text, textSize);
}

void drawTimes(const Canvas& canvas, const Box& box, const std::vector<double>& times) {
    constexpr double apart = 80.0;
    const double rowHeight = box.height / static_cast<double>(times.size());
    const auto every = std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(apart / rowHeight)));
    UtcWriter utc;
    for (std::size_t row = 0; row < times.size(); row += every) {
        const std::string text = utc.text(times[row]);
        const double y = box.top + static_cast<double>(row) * rowHeight;
        canvas.line(box.left - 6.0, y, box.left, y);
        if (text.size() >= 21) canvas.text(box.left - 10.0, y + 4.0, text.substr(11, 10), textSize, 1.0);
    }
}

} // namespace

Waterfall drawWaterfall(const LinePath& line, const std::string& picture, int width, Progress& progress) {
    Waterfall shown;
    shown.family = &presentImagery(line);
    SideScanReader set(line, *shown.family);
    shown.pings = set.summary().records;
    Survey survey;
    SideScanPing ping;
    for (std::uint32_t number = 1; number <= shown.pings; ++number) {
        set.readPing(number, ping);
        survey.add(ping);
        if (number == 1) survey.firstTime = ping.time;
        survey.lastTime = ping.time;
        if (number % 256 == 0) progress.show(number / 2);
    }
    if (survey.longest == 0)
        throw ToolError(
            fmt::format("{}: {} has no samples", printable(line.native.string()), shown.family->name));

    const int space = (width - leftMargin - rightMargin) / 2;
    shown.columnsPerSide =
        static_cast<int>(std::min<std::uint32_t>(static_cast<std::uint32_t>(space), survey.longest));
    shown.pingsPerRow = (shown.pings + mostRows - 1) / mostRows;
    const double reach = survey.timed ? survey.farthest : survey.longest;
    const double columnStep = reach / shown.columnsPerSide;
    shown.columnWidth = columnStep;
    if (survey.timed) {
        shown.speedAssumed = survey.soundSpeed == 0.0;
        shown.soundSpeed = shown.speedAssumed ? usualSoundSpeed : survey.soundSpeed;
        shown.columnWidth = columnStep * shown.soundSpeed / 2.0;
    } else {
        shown.unit = "samples";
    }

    const auto rows = static_cast<int>((shown.pings + shown.pingsPerRow - 1) / shown.pingsPerRow);
    Raster raster(2 * shown.columnsPerSide, rows);
    std::vector<double> times;
    for (std::uint32_t number = 1; number <= shown.pings; ++number) {
        set.readPing(number, ping);
        if ((number - 1) % shown.pingsPerRow == 0) times.push_back(ping.time);
        addPing(raster, static_cast<int>((number - 1) / shown.pingsPerRow), ping, stepOf(ping, survey),
                columnStep);
        if (number % 256 == 0) progress.show((shown.pings + number) / 2);
    }
    const auto stretch = raster.quantiles(0.01, 0.99).value_or(std::pair(0.0, 1.0));
    shown.black = stretch.first;
    shown.white = std::max(stretch.second, stretch.first + 1.0);

    // Few pings or samples are drawn larger, by whole pixels, so that they can be seen.
    const int wider = std::max(1, space / shown.columnsPerSide);
    constexpr int leastHeight = 300;
    const int taller = std::clamp(leastHeight / rows, 1, 20);
    const Box box{leftMargin, topMargin, 2.0 * shown.columnsPerSide * wider,
                  static_cast<double>(rows) * taller};
    constexpr int leastWidth = 400; // for the texts
    shown.width = std::max(leastWidth, static_cast<int>(box.right()) + rightMargin);
    shown.height = topMargin + rows * taller + bottomMargin;
    shown.image = {"imagery", box.left, box.top, box.width, box.height};
    const Canvas canvas(shown.width, shown.height);
    drawImage(canvas, box, raster, shown.black, shown.white);
    canvas.colour(black);
    UtcWriter utc;
    canvas.text(leftMargin, 20.0,
                fmt::format("{}  {}: {} pings, {} to {}", printable(line.native.filename().string()),
                            shown.family->name, shown.pings, utc.text(survey.firstTime),
                            utc.text(survey.lastTime)),
                titleSize);
    canvas.text(box.left, topMargin - 8.0, "port", textSize);
    canvas.text(box.right(), topMargin - 8.0, "starboard", textSize, 1.0);
    drawTimes(canvas, box, times);
    drawScaleBar(canvas, box, shown);
    canvas.save(picture);
    return shown;
}

} // namespace skar::tool
