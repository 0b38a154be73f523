#pragma once

#include <cairo.h>

#include <memory>
#include <string>
#include <vector>

// A picture in memory, y downward, units of a pixel, and what every picture of the command is made with.
namespace skar::tool {

struct Colour {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
};

inline constexpr Colour black{0.0, 0.0, 0.0};
inline constexpr Colour gridColour{0.86, 0.86, 0.86};

// The colours of curves that share a picture.
const Colour& curveColour(std::size_t number);

struct Box {
    double left = 0.0;
    double top = 0.0;
    double width = 0.0;
    double height = 0.0;
    double right() const { return left + width; }
    double bottom() const { return top + height; }
};

// Values along an edge of a box, with ticks at whole steps of 1, 2 or 5 times a power of ten.
class Axis {
public:
    // From the least value at one place of the picture to the most at another. A range of nothing is widened.
    Axis(double least, double most, double from, double to);
    // As above, with the ends moved out to ticks.
    static Axis rounded(double least, double most, double from, double to, int mostTicks = 8);

    double place(double value) const { return from_ + (value - least_) / (most_ - least_) * (to_ - from_); }
    double least() const { return least_; }
    double most() const { return most_; }
    std::vector<double> ticks(int mostTicks = 8) const;
    // With as many digits as tell the ticks apart.
    std::string label(double tick, int mostTicks = 8) const;

private:
    double least_;
    double most_;
    double from_;
    double to_;
};

class Canvas {
public:
    Canvas(int width, int height);

    cairo_t* get() const { return context_.get(); }
    int width() const;
    int height() const;

    void colour(const Colour& colour) const;
    void line(double x0, double y0, double x1, double y1) const;
    void frame(const Box& box) const;
    // UTF-8; anchor 0 puts the start of the text at x, 0.5 its middle, 1 its end.
    void text(double x, double y, const std::string& text, double size, double anchor = 0.0) const;
    // Read upward, its middle at y.
    void upright(double x, double y, const std::string& text, double size) const;
    // Pixels of 0xRRGGBB, row by row, drawn without smoothing into the box; `none` is left out.
    static constexpr std::uint32_t none = 0xFF000000;
    void pixels(const Box& box, const std::vector<std::uint32_t>& colours, int columns, int rows) const;
    // Lines at the ticks with their labels, on the left edge and on the lower edge of a box.
    void valueAxis(const Box& box, const Axis& axis, const std::string& name, int mostTicks) const;
    void timeAxis(const Box& box, const Axis& axis, bool labels) const;

    // Throws ToolError when the file cannot be written.
    void save(const std::string& path) const;

private:
    struct Destroy {
        void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
        void operator()(cairo_t* context) const { cairo_destroy(context); }
    };
    std::unique_ptr<cairo_surface_t, Destroy> surface_;
    std::unique_ptr<cairo_t, Destroy> context_;
};

} // namespace skar::tool
