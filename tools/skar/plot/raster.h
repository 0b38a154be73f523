#pragma once

#include "plot/canvas.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace skar::tool {

// Means of the values that fell into each cell of a picture; its memory depends on its size alone.
class Raster {
public:
    Raster(int columns, int rows);
    int columns() const { return columns_; }
    int rows() const { return rows_; }

    // Outside of the raster nothing happens.
    void add(int column, int row, double value);
    std::optional<double> mean(int column, int row) const;
    // Gives empty cells between full ones the mean of their neighbours, so many cells deep.
    void closeGaps(int depth);
    // Two quantiles of the means; nothing when all cells are empty.
    std::optional<std::pair<double, double>> quantiles(double low, double high) const;

private:
    struct Cell {
        double sum = 0.0;
        double count = 0.0;
    };
    std::size_t at(int column, int row) const;
    int columns_;
    int rows_;
    std::vector<Cell> cells_;
};

// The colour of a part from 0, shallow, to 1, deep.
std::uint32_t depthColour(double part, double light = 1.0);

enum class Lighting { none, upperLeft };

// Draws the raster into the box in the colours from the shallow to the deep value.
void drawDepths(const Canvas& canvas, const Box& box, const Raster& raster, double shallow, double deep,
                Lighting lighting);
// The colours and their depths.
void drawDepthScale(const Canvas& canvas, const Box& box, double shallow, double deep);

} // namespace skar::tool
