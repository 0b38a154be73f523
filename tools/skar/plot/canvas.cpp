#include "plot/canvas.h"

#include "commands/command.h"
#include "linepath.h"
#include "timetext.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <span>

namespace skar::tool {

namespace {

constexpr std::array<Colour, 8> curveColours{{{0.12, 0.47, 0.71},
                                              {0.84, 0.15, 0.16},
                                              {0.17, 0.63, 0.17},
                                              {0.58, 0.40, 0.74},
                                              {1.00, 0.50, 0.05},
                                              {0.55, 0.34, 0.29},
                                              {0.89, 0.47, 0.76},
                                              {0.50, 0.50, 0.50}}};
constexpr double labelSize = 12.0;

// The least step of 1, 2 or 5 times a power of ten that makes no more than so many of a range.
double stepOf(double range, int most) {
    const double rough = range / most;
    const double decade = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (rough <= factor * decade * (1.0 + 1e-9)) return factor * decade;
    }
    return 10.0 * decade;
}

// Steps in which people count hours.
double timeStepOf(double range, int most) {
    for (const double step :
         {0.1,   0.2,   0.5,   1.0,    2.0,    5.0,    10.0,    15.0,    30.0,    60.0,   120.0,
          300.0, 600.0, 900.0, 1800.0, 3600.0, 7200.0, 10800.0, 21600.0, 43200.0, 86400.0}) {
        if (range / step <= most) return step;
    }
    return 86400.0 * stepOf(range / 86400.0, most);
}

std::vector<double> wholeSteps(double least, double most, double step) {
    std::vector<double> all;
    const double first = std::ceil(least / step - 1e-9);
    for (double i = first; i * step <= most + 1e-9 * step; ++i)
        all.push_back(i * step);
    return all;
}

} // namespace

const Colour& curveColour(std::size_t number) {
    return curveColours[number % curveColours.size()];
}

Axis::Axis(double least, double most, double from, double to)
    : least_(least), most_(most), from_(from), to_(to) {
    const double widened = std::max(1e-6, 1e-9 * std::max(std::abs(least), std::abs(most)));
    if (!(most - least >= widened)) {
        const double middle = (least + most) / 2.0;
        least_ = middle - 1000.0 * widened;
        most_ = middle + 1000.0 * widened;
    }
}

Axis Axis::rounded(double least, double most, double from, double to, int mostTicks) {
    const Axis given(least, most, from, to);
    const double step = stepOf(given.most_ - given.least_, mostTicks);
    return {std::floor(given.least_ / step + 1e-9) * step, std::ceil(given.most_ / step - 1e-9) * step, from,
            to};
}

std::vector<double> Axis::ticks(int mostTicks) const {
    return wholeSteps(least_, most_, stepOf(most_ - least_, mostTicks));
}

std::string Axis::label(double tick, int mostTicks) const {
    const double step = stepOf(most_ - least_, mostTicks);
    const int digits = step < 1.0 ? static_cast<int>(std::ceil(-std::log10(step) - 1e-9)) : 0;
    // Adding 0 takes the sign from a negative zero.
    return fmt::format("{:.{}f}", std::abs(tick) < step / 2.0 ? 0.0 : tick, digits);
}

Canvas::Canvas(int width, int height)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)),
      context_(cairo_create(surface_.get())) {
    colour({1.0, 1.0, 1.0});
    cairo_paint(get());
    cairo_select_font_face(get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_line_width(get(), 1.0);
    colour(black);
}

int Canvas::width() const {
    return cairo_image_surface_get_width(surface_.get());
}

int Canvas::height() const {
    return cairo_image_surface_get_height(surface_.get());
}

void Canvas::colour(const Colour& colour) const {
    cairo_set_source_rgb(get(), colour.red, colour.green, colour.blue);
}

void Canvas::line(double x0, double y0, double x1, double y1) const {
    cairo_move_to(get(), x0, y0);
    cairo_line_to(get(), x1, y1);
    cairo_stroke(get());
}

void Canvas::frame(const Box& box) const {
    cairo_rectangle(get(), box.left, box.top, box.width, box.height);
    cairo_stroke(get());
}

void Canvas::text(double x, double y, const std::string& text, double size, double anchor) const {
    cairo_set_font_size(get(), size);
    cairo_text_extents_t extents;
    cairo_text_extents(get(), text.c_str(), &extents);
    cairo_move_to(get(), x - anchor * extents.x_advance, y);
    cairo_show_text(get(), text.c_str());
}

void Canvas::upright(double x, double y, const std::string& text, double size) const {
    cairo_save(get());
    cairo_translate(get(), x, y);
    cairo_rotate(get(), -std::numbers::pi / 2.0);
    this->text(0.0, 0.0, text, size, 0.5);
    cairo_restore(get());
}

void Canvas::pixels(const Box& box, const std::vector<std::uint32_t>& colours, int columns, int rows) const {
    const std::unique_ptr<cairo_surface_t, Destroy> image(
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, columns, rows));
    unsigned char* const bytes = cairo_image_surface_get_data(image.get());
    if (bytes == nullptr) throw ToolError("no memory for the picture");
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(image.get()));
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const std::uint32_t given =
                colours[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                        static_cast<std::size_t>(column)];
            const std::uint32_t pixel = given == none ? 0U : 0xFF000000U | given;
            std::memcpy(bytes + static_cast<std::size_t>(row) * stride + 4 * static_cast<std::size_t>(column),
                        &pixel, 4);
        }
    }
    cairo_surface_mark_dirty(image.get());
    cairo_save(get());
    cairo_translate(get(), box.left, box.top);
    cairo_scale(get(), box.width / columns, box.height / rows);
    cairo_set_source_surface(get(), image.get(), 0.0, 0.0);
    cairo_pattern_set_filter(cairo_get_source(get()), CAIRO_FILTER_NEAREST);
    cairo_rectangle(get(), 0.0, 0.0, columns, rows);
    cairo_fill(get());
    cairo_restore(get());
}

void Canvas::valueAxis(const Box& box, const Axis& axis, const std::string& name, int mostTicks) const {
    for (const double tick : axis.ticks(mostTicks)) {
        colour(gridColour);
        line(box.left, axis.place(tick), box.right(), axis.place(tick));
        colour(black);
        text(box.left - 6.0, axis.place(tick) + 4.0, axis.label(tick, mostTicks), labelSize, 1.0);
    }
    upright(box.left - 58.0, box.top + box.height / 2.0, name, labelSize);
}

void Canvas::timeAxis(const Box& box, const Axis& axis, bool labels) const {
    constexpr int most = 10;
    const double step = timeStepOf(axis.most() - axis.least(), most);
    UtcWriter utc;
    // Leap seconds keep the store's times from being whole minutes: the day's start counts.
    const double day = parseTime(utc.text(axis.least()).substr(0, 10)).value_or(0.0);
    for (const double sinceDay : wholeSteps(axis.least() - day, axis.most() - day, step)) {
        const double tick = day + sinceDay;
        colour(gridColour);
        line(axis.place(tick), box.top, axis.place(tick), box.bottom());
        if (!labels) continue;
        colour(black);
        const std::string whole = utc.text(tick);
        if (whole.size() < 21) continue;
        const std::string clock = whole.substr(11, step < 1.0 ? 10 : 8);
        text(axis.place(tick), box.bottom() + 16.0, clock, labelSize, 0.5);
    }
    colour(black);
}

void Canvas::save(const std::string& path) const {
    cairo_surface_flush(surface_.get());
    const cairo_status_t status = cairo_surface_write_to_png(surface_.get(), path.c_str());
    if (status != CAIRO_STATUS_SUCCESS)
        throw ToolError(fmt::format("{}: {}", printable(path), cairo_status_to_string(status)));
}

} // namespace skar::tool
