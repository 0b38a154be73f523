#pragma once

#include "families.h"
#include "plot/lineplot.h"

#include <cstdint>
#include <string>

namespace skar::tool {

// What a picture of imagery shows.
struct Waterfall {
    const Family* family = nullptr;
    std::uint32_t pings = 0;
    std::uint32_t pingsPerRow = 1;
    int columnsPerSide = 0;
    double columnWidth = 0.0;  // in the unit
    const char* unit = "m";    // "samples" where the pings do not tell the time between two of them
    double soundSpeed = 0.0;   // by which seconds became metres
    bool speedAssumed = false; // no ping tells it
    double black = 0.0;        // strengths at the ends of the greys
    double white = 0.0;
    Pictured::Panel image;
    int width = 0;
    int height = 0;
};

// Draws the first kind of side scan imagery that the line has into a PNG file: port to the left, time down
// the page, slant range to both sides. Every ping is read twice; memory depends on the picture alone. Throws
// ToolError when the line has none or the file cannot be written.
Waterfall drawWaterfall(const LinePath& line, const std::string& picture, int width, Progress& progress);

} // namespace skar::tool
