#include "plot/lineplot.h"

#include "commands/command.h"
#include "families.h"
#include "plot/raster.h"
#include "progress.h"
#include "timetext.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>

namespace skar::tool {

namespace {

constexpr double leftMargin = 90.0;
constexpr double rightMargin = 90.0;
constexpr double topMargin = 60.0;
constexpr double gap = 34.0;
constexpr double titleSize = 17.0;
constexpr double nameSize = 13.0;
constexpr double leastMapHeight = 120.0;
constexpr double mostMapHeight = 620.0;
constexpr double swathHeight = 240.0;
constexpr double seriesHeight = 110.0;
// Rejections of any hand.
constexpr std::uint32_t rejected = 0xF0000000U;

struct Span {
    double min = std::numeric_limits<double>::infinity();
    double max = -std::numeric_limits<double>::infinity();
    void widen(double value) {
        if (!std::isfinite(value)) return;
        min = std::min(min, value);
        max = std::max(max, value);
    }
    bool known() const { return min <= max; }
    double length() const { return max - min; }
};

// A sensor of the line with records in it.
struct Present {
    const Family* family = nullptr;
    std::unique_ptr<Reader> set;
    Summary summary;
};

std::optional<Present> present(const LinePath& line, const char* name) {
    Present found;
    found.family = findFamily(name);
    if (!isPresent(line, *found.family)) return std::nullopt;
    found.set = found.family->kind->open(line, *found.family);
    found.summary = found.set->summary();
    if (found.summary.records == 0) return std::nullopt;
    return found;
}

void note(Pictured& pictured, const char* name, const Box& box) {
    pictured.panels.push_back({name, box.left, box.top, box.width, box.height});
}

// A plane that touches the earth at a position, turned so that what was measured lies along the picture.
class Plane {
public:
    struct Point {
        double x = 0.0; // metres, to the right
        double y = 0.0; // up
    };
    Plane(double latitude, double longitude) : latitude_(latitude), longitude_(longitude) {
        constexpr double radius = 6378137.0;
        constexpr double eccentricity2 = 6.69437999014e-3;
        const double sine = std::sin(latitude);
        const double root = std::sqrt(1.0 - eccentricity2 * sine * sine);
        perLatitude_ = radius * (1.0 - eccentricity2) / (root * root * root);
        perLongitude_ = radius / root * std::cos(latitude);
    }
    Point at(double latitude, double longitude) const {
        const double turns = (longitude - longitude_) / (2.0 * std::numbers::pi);
        const double east = (turns - std::round(turns)) * 2.0 * std::numbers::pi * perLongitude_;
        const double north = (latitude - latitude_) * perLatitude_;
        return {east * cosine_ + north * sine_, north * cosine_ - east * sine_};
    }
    // Turns the direction, from east to north, to the right; never upside down.
    void turn(double direction) {
        const double halfTurns = std::round(direction / std::numbers::pi);
        angle_ = direction - halfTurns * std::numbers::pi;
        cosine_ = std::cos(angle_);
        sine_ = std::sin(angle_);
    }
    double angle() const { return angle_; }

private:
    double latitude_;
    double longitude_;
    double perLatitude_;
    double perLongitude_;
    double angle_ = 0.0;
    double cosine_ = 1.0;
    double sine_ = 0.0;
};

// The direction in which points spread most.
double mainDirection(const std::vector<Plane::Point>& points) {
    Plane::Point mean;
    for (const auto& point : points) {
        mean.x += point.x / static_cast<double>(points.size());
        mean.y += point.y / static_cast<double>(points.size());
    }
    double xx = 0.0;
    double yy = 0.0;
    double xy = 0.0;
    for (const auto& point : points) {
        xx += (point.x - mean.x) * (point.x - mean.x);
        yy += (point.y - mean.y) * (point.y - mean.y);
        xy += (point.x - mean.x) * (point.y - mean.y);
    }
    return 0.5 * std::atan2(2.0 * xy, xx - yy);
}

// Records at steps that leave no more than so many.
template <typename Take>
void readSome(Reader& set, std::uint32_t records, std::uint32_t most, Take take) {
    const std::uint32_t step = (records - 1) / most + 1;
    Record record;
    for (std::uint64_t number = 1; number <= records; number += step) {
        set.read(static_cast<std::uint32_t>(number), record);
        take(record);
    }
}

bool hasPlace(double latitude, double longitude) {
    return std::isfinite(latitude) && std::isfinite(longitude) && (latitude != 0.0 || longitude != 0.0);
}

// Track and placed depths, seen from above.
class Map {
public:
    Map(const LinePath& line, double width)
        : track_(present(line, "Navigation")), depths_(present(line, "ProcessedDepths")) {
        std::vector<std::pair<double, double>> places;
        const auto take = [&](const Record& record) {
            if (hasPlace(record.values[0], record.values[1]))
                places.emplace_back(record.values[0], record.values[1]);
        };
        constexpr std::uint32_t mostPoints = 20000;
        if (track_) readSome(*track_->set, track_->summary.records, mostPoints, take);
        if (places.empty() && depths_) readSome(*depths_->set, depths_->summary.records, mostPoints, take);
        if (places.empty()) return;

        plane_.emplace(places.front().first, places.front().second);
        for (const auto& [latitude, longitude] : places)
            points_.push_back(plane_->at(latitude, longitude));
        plane_->turn(mainDirection(points_));
        Span across;
        Span along;
        const auto widen = [&](const Plane::Point& point) {
            along.widen(point.x);
            across.widen(point.y);
        };
        points_.clear();
        for (const auto& [latitude, longitude] : places) {
            points_.push_back(plane_->at(latitude, longitude));
            widen(points_.back());
        }
        if (depths_) {
            readSome(*depths_->set, depths_->summary.records, mostPoints, [&](const Record& ping) {
                for (const double latitude : {ping.values[2], ping.values[3]}) {
                    for (const double longitude : {ping.values[4], ping.values[5]}) {
                        if (hasPlace(latitude, longitude)) widen(plane_->at(latitude, longitude));
                    }
                }
            });
        }
        const double least = std::max(10.0, 0.02 * std::max(along.length(), across.length()));
        const auto pad = [least](Span& span) {
            const double more = std::max(0.02 * span.length(), (least - span.length()) / 2.0);
            span.min -= more;
            span.max += more;
        };
        pad(along);
        pad(across);
        metresPerPixel_ = std::max(along.length() / width, across.length() / mostMapHeight);
        width_ = width;
        height_ = std::max(leastMapHeight, std::ceil(across.length() / metresPerPixel_));
        left_ = (along.min + along.max) / 2.0 - width_ / 2.0 * metresPerPixel_;
        top_ = (across.min + across.max) / 2.0 + height_ / 2.0 * metresPerPixel_;
    }

    bool empty() const { return points_.empty(); }
    double height() const { return height_; }

    void draw(const Canvas& canvas, double top, Progress& progress, Pictured& pictured) {
        const Box box{leftMargin, top, width_, height_};
        note(pictured, "map", box);
        if (depths_) drawSwath(canvas, box, progress, pictured);
        if (track_) pictured.sensors.push_back({"Navigation", track_->summary.records});
        canvas.colour(black);
        cairo_set_line_width(canvas.get(), depths_ ? 0.7 : 1.5);
        cairo_new_path(canvas.get());
        for (const auto& point : points_)
            cairo_line_to(canvas.get(), box.left + column(point), box.top + row(point));
        cairo_stroke(canvas.get());
        const auto& start = points_.front();
        cairo_arc(canvas.get(), box.left + column(start), box.top + row(start), 4.0, 0.0,
                  2.0 * std::numbers::pi);
        cairo_fill(canvas.get());
        cairo_set_line_width(canvas.get(), 1.0);
        canvas.frame(box);
        canvas.text(box.left, box.top - 8.0, "Track (dot: start) and depths from above", nameSize);
        drawScaleBar(canvas, box);
        drawNorth(canvas, box.right() - 26.0, box.top + 30.0);
    }

private:
    double column(const Plane::Point& point) const { return (point.x - left_) / metresPerPixel_; }
    double row(const Plane::Point& point) const { return (top_ - point.y) / metresPerPixel_; }

    void drawSwath(const Canvas& canvas, const Box& box, Progress& progress, Pictured& pictured) {
        Raster raster(static_cast<int>(width_), static_cast<int>(height_));
        Pictured::Sensor sensor{"ProcessedDepths", depths_->summary.records, depths_->summary.items};
        Record ping;
        Record beam;
        progress.next("reading ProcessedDepths", depths_->summary.records);
        for (std::uint32_t number = 1; number <= depths_->summary.records; ++number) {
            depths_->set->read(number, ping);
            for (std::uint32_t i = 0; i < ping.numItems; ++i) {
                depths_->set->readItem(beam);
                if ((beam.status & rejected) != 0 || !hasPlace(beam.values[1], beam.values[2])) {
                    ++sensor.rejected;
                    continue;
                }
                const Plane::Point point = plane_->at(beam.values[1], beam.values[2]);
                raster.add(static_cast<int>(std::clamp(std::floor(column(point)), -1.0, 1e6)),
                           static_cast<int>(std::clamp(std::floor(row(point)), -1.0, 1e6)), beam.values[0]);
            }
            if (number % 64 == 0) progress.show(number);
        }
        pictured.sensors.push_back(sensor);
        constexpr int widestGap = 6;
        raster.closeGaps(widestGap);
        const auto range = raster.quantiles(0.01, 0.99);
        if (!range) return;
        drawDepths(canvas, box, raster, range->first, range->second, Lighting::upperLeft);
        const double tall = std::min(box.height - 8.0, 180.0);
        drawDepthScale(canvas, {box.right() + 16.0, box.bottom() - tall, 14.0, tall}, range->first,
                       range->second);
    }

    void drawScaleBar(const Canvas& canvas, const Box& box) const {
        const double wanted = 0.2 * width_ * metresPerPixel_;
        const double decade = std::pow(10.0, std::floor(std::log10(wanted)));
        const double metres = wanted >= 5.0 * decade   ? 5.0 * decade
                              : wanted >= 2.0 * decade ? 2.0 * decade
                                                       : decade;
        const double length = metres / metresPerPixel_;
        const double y = box.bottom() + 12.0;
        canvas.line(box.left, y, box.left + length, y);
        canvas.line(box.left, y - 4.0, box.left, y + 4.0);
        canvas.line(box.left + length, y - 4.0, box.left + length, y + 4.0);
        const std::string text =
            metres >= 1000.0 ? fmt::format("{:g} km", metres / 1000.0) : fmt::format("{:g} m", metres);
        canvas.text(box.left + length + 8.0, y + 4.0, text, 12.0);
    }

    void drawNorth(const Canvas& canvas, double x, double y) const {
        // North lies to the left of the right-hand direction by as much as the plane was turned.
        const double angle = std::numbers::pi / 2.0 - plane_->angle();
        const double dx = std::cos(angle);
        const double dy = -std::sin(angle);
        constexpr double half = 14.0;
        canvas.line(x - half * dx, y - half * dy, x + half * dx, y + half * dy);
        cairo_move_to(canvas.get(), x + half * dx, y + half * dy);
        cairo_line_to(canvas.get(), x + 5.0 * dx - 4.0 * dy, y + 5.0 * dy + 4.0 * dx);
        cairo_line_to(canvas.get(), x + 5.0 * dx + 4.0 * dy, y + 5.0 * dy - 4.0 * dx);
        cairo_close_path(canvas.get());
        cairo_fill(canvas.get());
        canvas.text(x + 21.0 * dx, y + 21.0 * dy + 4.0, "N", 12.0, 0.5);
    }

    std::optional<Present> track_;
    std::optional<Present> depths_;
    std::optional<Plane> plane_;
    std::vector<Plane::Point> points_;
    double metresPerPixel_ = 1.0;
    double width_ = 0.0;
    double height_ = 0.0;
    double left_ = 0.0;
    double top_ = 0.0;
};

// Observed depths over time, across track.
class Swath {
public:
    explicit Swath(const LinePath& line) : depths_(present(line, "ObservedDepths")) {}
    bool empty() const { return !depths_; }
    void widen(Span& time) const {
        if (!depths_) return;
        time.widen(depths_->summary.time.min);
        time.widen(depths_->summary.time.max);
    }

    void draw(const Canvas& canvas, const Box& box, const Axis& time, Progress& progress,
              Pictured& pictured) {
        const std::uint32_t pings = depths_->summary.records;
        Pictured::Sensor sensor{"ObservedDepths", pings, depths_->summary.items};
        note(pictured, "swath", box);
        progress.next("reading ObservedDepths", pings);
        const Span across = reach();
        const Axis side = Axis::rounded(across.min, across.max, box.top, box.bottom(), 6);
        Raster raster(static_cast<int>(box.width), static_cast<int>(box.height));
        Record ping;
        Record beam;
        std::vector<std::pair<double, double>> row;
        double previous = depths_->summary.time.min;
        for (std::uint32_t number = 1; number <= pings; ++number) {
            depths_->set->read(number, ping);
            row.clear();
            for (std::uint32_t i = 0; i < ping.numItems; ++i) {
                depths_->set->readItem(beam);
                if ((beam.status & rejected) == 0)
                    row.emplace_back(side.place(beam.values[0]) - box.top, beam.values[2]);
                else
                    ++sensor.rejected;
            }
            // A ping fills the time since the one before it, unless the sounder paused.
            const double column = time.place(ping.time) - box.left;
            const double pause = ping.time - previous;
            const double spacing = depths_->summary.time.max - depths_->summary.time.min;
            const double usual = pings > 1 ? spacing / (pings - 1.0) : 0.0;
            const double from = pause <= 3.0 * usual ? time.place(previous) - box.left + 1.0 : column;
            paint(raster, row, static_cast<int>(std::floor(std::min(from, column))),
                  static_cast<int>(std::floor(column)));
            previous = ping.time;
            if (number % 64 == 0) progress.show(number);
        }
        pictured.sensors.push_back(sensor);
        if (const auto range = raster.quantiles(0.01, 0.99)) {
            drawDepths(canvas, box, raster, range->first, range->second, Lighting::none);
            drawDepthScale(canvas, {box.right() + 16.0, box.top + 20.0, 14.0, box.height - 28.0},
                           range->first, range->second);
        }
        for (const double tick : side.ticks(6))
            canvas.text(box.left - 6.0, side.place(tick) + 4.0, side.label(tick, 6), 12.0, 1.0);
        canvas.upright(box.left - 58.0, box.top + box.height / 2.0, "across track, m", 12.0);
        canvas.frame(box);
        canvas.text(box.left, box.top - 8.0, "Observed depths, port side up", nameSize);
    }

private:
    // How far to the sides the accepted beams of some pings reach.
    Span reach() {
        Span across;
        Record beam;
        constexpr std::uint32_t mostPings = 2000;
        readSome(*depths_->set, depths_->summary.records, mostPings, [&](const Record& ping) {
            for (std::uint32_t i = 0; i < ping.numItems; ++i) {
                depths_->set->readItem(beam);
                if ((beam.status & rejected) == 0) across.widen(beam.values[0]);
            }
        });
        if (!across.known()) across.widen(0.0);
        return across;
    }

    static void paint(Raster& raster, const std::vector<std::pair<double, double>>& row, int from, int to) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const auto& [place, depth] = row[i];
            int first = static_cast<int>(std::floor(place));
            int last = first;
            // Neighbours share what lies between them; a wider gap is one in the data.
            constexpr double widestGap = 12.0;
            if (i + 1 < row.size() && std::abs(row[i + 1].first - place) < widestGap) {
                const int next = static_cast<int>(std::floor(row[i + 1].first));
                if (next > first) last = next - 1;
                if (next < first) first = next + 1;
            }
            for (int column = from; column <= to; ++column) {
                for (int y = first; y <= last; ++y)
                    raster.add(column, y, depth);
            }
        }
    }

    std::optional<Present> depths_;
};

// A series over time; many records share a column of the picture, which shows their extremes.
class Curve {
public:
    Curve(const LinePath& line, const char* name, const char* label, double factor)
        : name_(name), label_(label), factor_(factor), series_(present(line, name)) {}
    bool empty() const { return !series_; }
    void widen(Span& time) const {
        if (!series_) return;
        time.widen(series_->summary.time.min);
        time.widen(series_->summary.time.max);
    }

    void draw(const Canvas& canvas, const Box& box, const Axis& time, std::size_t number, Progress& progress,
              Pictured& pictured) {
        const std::uint32_t records = series_->summary.records;
        pictured.sensors.push_back({name_, records});
        note(pictured, name_, box);
        progress.next(fmt::format("reading {}", name_), records);
        struct Column {
            Span values;
            double first = 0.0;
            double last = 0.0;
        };
        std::vector<Column> columns(static_cast<std::size_t>(box.width) + 1);
        Span all;
        Record record;
        for (std::uint32_t i = 1; i <= records; ++i) {
            series_->set->read(i, record);
            const double place = std::floor(time.place(record.time) - box.left);
            const double value = record.values[0] * factor_;
            if (!(place >= 0.0) || place >= static_cast<double>(columns.size()) || !std::isfinite(value))
                continue;
            Column& column = columns[static_cast<std::size_t>(place)];
            if (!column.values.known()) column.first = value;
            column.last = value;
            column.values.widen(value);
            all.widen(value);
            if (i % 65536 == 0) progress.show(i);
        }
        if (!all.known()) return;
        const Axis axis = Axis::rounded(all.min, all.max, box.bottom(), box.top, 4);
        canvas.timeAxis(box, time, false);
        canvas.valueAxis(box, axis, label_, 4);
        canvas.colour(curveColour(number));
        cairo_new_path(canvas.get());
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const Column& column = columns[i];
            if (!column.values.known()) continue;
            const double x = box.left + static_cast<double>(i) + 0.5;
            for (const double value : {column.first, column.values.min, column.values.max, column.last})
                cairo_line_to(canvas.get(), x, axis.place(value));
        }
        cairo_stroke(canvas.get());
        canvas.colour(black);
        canvas.frame(box);
    }

private:
    const char* name_;
    const char* label_;
    double factor_;
    std::optional<Present> series_;
};

} // namespace

Pictured drawLine(const LinePath& line, const std::string& picture, int width, Progress& progress) {
    constexpr double degrees = 180.0 / std::numbers::pi;
    const double inner = width - leftMargin - rightMargin;
    Map map(line, inner);
    Swath swath(line);
    std::vector<Curve> curves;
    for (const auto& [name, label, factor] : {std::tuple{"Heave", "heave, m", 1.0},
                                              {"Pitch", "pitch, °", degrees},
                                              {"Roll", "roll, °", degrees},
                                              {"Gyro", "heading, °", degrees},
                                              {"Tide", "tide, m", 1.0}}) {
        Curve curve(line, name, label, factor);
        if (!curve.empty()) curves.push_back(std::move(curve));
    }
    Span times;
    swath.widen(times);
    for (const Curve& curve : curves)
        curve.widen(times);
    if (map.empty() && !times.known())
        throw ToolError(
            fmt::format("{}: neither track nor depths nor motion to draw", printable(line.native.string())));

    double height = topMargin + gap / 2.0;
    if (!map.empty()) height += map.height() + gap + 12.0;
    if (!swath.empty()) height += swathHeight + gap;
    height += static_cast<double>(curves.size()) * (seriesHeight + gap / 3.0) + gap;

    Pictured pictured;
    pictured.width = width;
    pictured.height = static_cast<int>(std::ceil(height));
    const Canvas canvas(pictured.width, pictured.height);
    UtcWriter utc;
    std::string title = printable(line.native.filename().string());
    if (times.known()) title += fmt::format("    {} to {}", utc.text(times.min), utc.text(times.max));
    canvas.text(leftMargin, 26.0, title, titleSize);

    double top = topMargin;
    if (!map.empty()) {
        map.draw(canvas, top, progress, pictured);
        top += map.height() + gap + 12.0;
    }
    if (times.known()) {
        const Axis time(times.min, times.max, leftMargin, leftMargin + inner);
        Box box{leftMargin, top, inner, swathHeight};
        if (!swath.empty()) {
            swath.draw(canvas, box, time, progress, pictured);
            if (curves.empty()) canvas.timeAxis(box, time, true);
            box.top += swathHeight + gap;
        }
        box.height = seriesHeight;
        for (std::size_t i = 0; i < curves.size(); ++i) {
            curves[i].draw(canvas, box, time, i, progress, pictured);
            if (i + 1 == curves.size()) canvas.timeAxis(box, time, true);
            box.top += seriesHeight + gap / 3.0;
        }
    }
    progress.wipe();
    canvas.save(picture);
    return pictured;
}

} // namespace skar::tool
