#pragma once

#include "linepath.h"

#include <cstdint>
#include <string>
#include <vector>

namespace skar::tool {

class Progress;

// What a picture of a line shows.
struct Pictured {
    struct Sensor {
        const char* name;
        std::uint64_t records = 0;
        std::uint64_t items = 0;    // beams
        std::uint64_t rejected = 0; // beams left out for their status
    };
    // Where in the picture, in pixels.
    struct Panel {
        std::string name;
        double left = 0.0;
        double top = 0.0;
        double width = 0.0;
        double height = 0.0;
    };
    std::vector<Sensor> sensors;
    std::vector<Panel> panels;
    int width = 0;
    int height = 0;
};

// Draws track, swath and motion of a line into a PNG file. Reads every record once, holds none of them.
// Throws ToolError when the line has nothing to draw or the file cannot be written.
Pictured drawLine(const LinePath& line, const std::string& picture, int width, Progress& progress);

} // namespace skar::tool
