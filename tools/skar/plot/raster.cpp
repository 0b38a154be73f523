#include "plot/raster.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace skar::tool {

Raster::Raster(int columns, int rows)
    : columns_(columns), rows_(rows),
      cells_(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)) {}

std::size_t Raster::at(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
           static_cast<std::size_t>(column);
}

void Raster::add(int column, int row, double value) {
    if (column < 0 || column >= columns_ || row < 0 || row >= rows_) return;
    Cell& cell = cells_[at(column, row)];
    cell.sum += value;
    cell.count += 1.0;
}

std::optional<double> Raster::mean(int column, int row) const {
    if (column < 0 || column >= columns_ || row < 0 || row >= rows_) return std::nullopt;
    const Cell& cell = cells_[at(column, row)];
    if (cell.count == 0.0) return std::nullopt;
    return cell.sum / cell.count;
}

void Raster::closeGaps(int depth) {
    // Grown by so many cells and shrunk by as many, the outline stays where it was.
    std::vector<std::uint8_t> grown(cells_.size());
    const auto spread = [&](std::uint8_t value) {
        const std::vector<std::uint8_t> before = grown;
        for (int row = 0; row < rows_; ++row) {
            for (int column = 0; column < columns_; ++column) {
                if (before[at(column, row)] != value) continue;
                for (const auto& [x, y] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
                    const int toColumn = column + x;
                    const int toRow = row + y;
                    if (toColumn >= 0 && toColumn < columns_ && toRow >= 0 && toRow < rows_)
                        grown[at(toColumn, toRow)] = value;
                }
            }
        }
    };
    for (std::size_t i = 0; i < cells_.size(); ++i)
        grown[i] = cells_[i].count > 0.0 ? 1 : 0;
    for (int i = 0; i < depth; ++i)
        spread(1);
    for (int i = 0; i < depth; ++i)
        spread(0);

    for (int i = 0; i < depth; ++i) {
        const std::vector<Cell> before = cells_;
        bool changed = false;
        for (int row = 0; row < rows_; ++row) {
            for (int column = 0; column < columns_; ++column) {
                const std::size_t place = at(column, row);
                if (before[place].count > 0.0 || grown[place] == 0) continue;
                Cell filled;
                for (int y = std::max(0, row - 1); y <= std::min(rows_ - 1, row + 1); ++y) {
                    for (int x = std::max(0, column - 1); x <= std::min(columns_ - 1, column + 1); ++x) {
                        const Cell& neighbour = before[at(x, y)];
                        if (neighbour.count == 0.0) continue;
                        filled.sum += neighbour.sum / neighbour.count;
                        filled.count += 1.0;
                    }
                }
                if (filled.count == 0.0) continue;
                cells_[place] = filled;
                changed = true;
            }
        }
        if (!changed) break;
    }
}

std::optional<std::pair<double, double>> Raster::quantiles(double low, double high) const {
    std::vector<double> means;
    for (const Cell& cell : cells_) {
        if (cell.count > 0.0) means.push_back(cell.sum / cell.count);
    }
    if (means.empty()) return std::nullopt;
    const auto quantile = [&](double part) {
        const auto nth =
            means.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(means.size() - 1));
        std::ranges::nth_element(means, nth);
        return *nth;
    };
    const double lower = quantile(low);
    return std::pair{lower, quantile(high)};
}

std::uint32_t depthColour(double part, double light) {
    static constexpr std::array<Colour, 8> scale{{{0.60, 0.04, 0.12},
                                                  {0.89, 0.32, 0.12},
                                                  {0.98, 0.72, 0.22},
                                                  {0.80, 0.90, 0.38},
                                                  {0.33, 0.77, 0.52},
                                                  {0.13, 0.57, 0.74},
                                                  {0.17, 0.31, 0.66},
                                                  {0.20, 0.09, 0.42}}};
    const double place = std::clamp(part, 0.0, 1.0) * (scale.size() - 1);
    const auto index = std::min(static_cast<std::size_t>(place), scale.size() - 2);
    const double rest = place - static_cast<double>(index);
    const auto channel = [&](double Colour::*which) {
        const double value = std::lerp(scale[index].*which, scale[index + 1].*which, rest) * light;
        return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255.0));
    };
    return channel(&Colour::red) << 16U | channel(&Colour::green) << 8U | channel(&Colour::blue);
}

namespace {

// How much the floor falls towards the lower right from one cell to the next; 0 at edges.
double fall(const Raster& raster, int column, int row) {
    const auto here = raster.mean(column, row);
    const auto left = raster.mean(column - 1, row);
    const auto above = raster.mean(column, row - 1);
    return here && left && above ? *here - *left + *here - *above : 0.0;
}

// What most falls stay below; rough data is lit as softly as smooth data.
double usualFall(const Raster& raster) {
    std::vector<double> falls;
    for (int row = 0; row < raster.rows(); ++row) {
        for (int column = 0; column < raster.columns(); ++column) {
            const double each = std::abs(fall(raster, column, row));
            if (each > 0.0) falls.push_back(each);
        }
    }
    if (falls.empty()) return 1.0;
    const auto nth = falls.begin() + static_cast<std::ptrdiff_t>(falls.size() * 9 / 10);
    std::ranges::nth_element(falls, nth);
    return *nth;
}

} // namespace

void drawDepths(const Canvas& canvas, const Box& box, const Raster& raster, double shallow, double deep,
                Lighting lighting) {
    const double range = std::max(deep - shallow, 1e-3);
    const double usual = lighting == Lighting::upperLeft ? usualFall(raster) : 0.0;
    std::vector<std::uint32_t> colours;
    colours.reserve(static_cast<std::size_t>(raster.columns()) * static_cast<std::size_t>(raster.rows()));
    for (int row = 0; row < raster.rows(); ++row) {
        for (int column = 0; column < raster.columns(); ++column) {
            const auto depth = raster.mean(column, row);
            if (!depth) {
                colours.push_back(Canvas::none);
                continue;
            }
            constexpr double contrast = 0.35;
            const double light =
                usual > 0.0 ? 1.0 - contrast * std::tanh(fall(raster, column, row) / (1.5 * usual)) : 1.0;
            colours.push_back(depthColour((*depth - shallow) / range, light));
        }
    }
    canvas.pixels(box, colours, raster.columns(), raster.rows());
}

void drawDepthScale(const Canvas& canvas, const Box& box, double shallow, double deep) {
    constexpr int steps = 128;
    std::vector<std::uint32_t> colours(steps);
    for (int i = 0; i < steps; ++i)
        colours[static_cast<std::size_t>(i)] = depthColour((i + 0.5) / steps);
    canvas.pixels(box, colours, 1, steps);
    canvas.frame(box);
    const Axis axis(shallow, deep, box.top, box.bottom());
    for (const double tick : axis.ticks(5))
        canvas.text(box.right() + 5.0, axis.place(tick) + 4.0, axis.label(tick, 5), 12.0);
    canvas.text(box.left - 4.0, box.top - 8.0, "depth, m", 12.0);
}

} // namespace skar::tool
