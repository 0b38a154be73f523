#pragma once

#include "shell.h"

#include <cairo.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

// A picture that the command has written.
namespace skar::test {

struct Pixel {
    int red = 0;
    int green = 0;
    int blue = 0;
    bool isColoured() const { return std::max({red, green, blue}) - std::min({red, green, blue}) > 30; }
};

class Picture {
public:
    explicit Picture(const std::filesystem::path& file)
        : surface_(cairo_image_surface_create_from_png(file.c_str()), cairo_surface_destroy) {}
    bool isGood() const { return cairo_surface_status(surface_.get()) == CAIRO_STATUS_SUCCESS; }
    int width() const { return cairo_image_surface_get_width(surface_.get()); }
    int height() const { return cairo_image_surface_get_height(surface_.get()); }
    Pixel at(double x, double y) const {
        std::uint32_t value = 0;
        std::memcpy(&value,
                    cairo_image_surface_get_data(surface_.get()) +
                        static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface_.get()) +
                        4 * static_cast<std::ptrdiff_t>(x),
                    4);
        return {static_cast<int>(value >> 16U & 0xFFU), static_cast<int>(value >> 8U & 0xFFU),
                static_cast<int>(value & 0xFFU)};
    }
    std::size_t colours(const Json& panel) const {
        std::set<std::uint32_t> all;
        for (double y = 1; y < panel["height"]; ++y) {
            for (double x = 1; x < panel["width"]; ++x) {
                const Pixel pixel = at(panel["left"].get<double>() + x, panel["top"].get<double>() + y);
                if (pixel.isColoured())
                    all.insert(static_cast<std::uint32_t>(pixel.red << 16 | pixel.green << 8 | pixel.blue));
            }
        }
        return all.size();
    }

private:
    std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> surface_;
};

} // namespace skar::test
