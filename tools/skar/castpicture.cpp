#include "castpicture.h"

#include "commands/command.h"
#include "linepath.h"
#include "plot/canvas.h"

#include <algorithm>
#include <numbers>
#include <vector>

namespace skar::tool {

namespace {

constexpr int width = 720;
constexpr int height = 900;
constexpr Box frame{90.0, 84.0, width - 116.0, height - 120.0};
constexpr double titleSize = 15.0;
constexpr double textSize = 12.0;
constexpr std::size_t mostNamed = 8;
// A few values show as points, many would hide the curve.
constexpr std::size_t mostPoints = 100;

void drawSpeedAxis(const Canvas& canvas, const Axis& speeds) {
    for (const double tick : speeds.ticks()) {
        canvas.colour(gridColour);
        canvas.line(speeds.place(tick), frame.top, speeds.place(tick), frame.bottom());
        canvas.colour(black);
        canvas.text(speeds.place(tick), frame.top - 8.0, speeds.label(tick), textSize, 0.5);
    }
    canvas.text(frame.left + frame.width / 2.0, frame.top - 28.0, "sound speed, m/s", textSize, 0.5);
}

void drawCast(const Canvas& canvas, const import::Cast& cast, const Axis& speeds, const Axis& depths) {
    cairo_t* const context = canvas.get();
    cairo_new_path(context);
    for (const import::CastSample& sample : cast.samples)
        cairo_line_to(context, speeds.place(sample.speed), depths.place(sample.depth));
    cairo_stroke(context);
    if (cast.samples.size() > mostPoints) return;
    for (const import::CastSample& sample : cast.samples) {
        cairo_arc(context, speeds.place(sample.speed), depths.place(sample.depth), 2.5, 0.0,
                  2.0 * std::numbers::pi);
        cairo_fill(context);
    }
}

} // namespace

void drawCasts(const std::string& path, std::span<const NamedCast> casts, const std::string& title) {
    std::vector<double> speedValues;
    std::vector<double> depthValues;
    for (const auto& [cast, name] : casts) {
        for (const import::CastSample& sample : cast.samples) {
            speedValues.push_back(sample.speed);
            depthValues.push_back(sample.depth);
        }
    }
    if (speedValues.empty()) throw ToolError(printable(title) + ": there is no value to draw");
    const auto [slowest, fastest] = std::ranges::minmax(speedValues);
    const auto [highest, deepest] = std::ranges::minmax(depthValues);
    const Axis speeds = Axis::rounded(slowest, fastest, frame.left, frame.right());
    const Axis depths = Axis::rounded(std::min(0.0, highest), deepest, frame.top, frame.bottom());

    const Canvas canvas(width, height);
    canvas.text(width / 2.0, 26.0, printable(title), titleSize, 0.5);
    drawSpeedAxis(canvas, speeds);
    canvas.valueAxis(frame, depths, "depth, m", 8);
    canvas.frame(frame);
    cairo_set_line_width(canvas.get(), 1.6);
    for (std::size_t i = 0; i < casts.size(); ++i) {
        canvas.colour(curveColour(i));
        drawCast(canvas, casts[i].cast, speeds, depths);
        if (casts.size() > mostNamed) continue;
        canvas.text(frame.left + 12.0,
                    frame.bottom() - 12.0 - 18.0 * static_cast<double>(casts.size() - 1 - i),
                    printable(casts[i].name), textSize);
    }
    canvas.save(path);
}

} // namespace skar::tool
