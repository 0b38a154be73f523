#pragma once

#include "simulate/voyage.h"

namespace skar::tool {

// The way of the ship over ground: parallel lines joined by half circles, at constant speed.
class Track {
public:
    explicit Track(const Voyage& voyage);

    struct Point {
        double latitude = 0.0;
        double longitude = 0.0;
        double course = 0.0; // from north, not reduced to one turn
    };
    // Where the ship, or what it tows that far behind, is at a time; offsets in metres move the point.
    Point at(double time, double astern = 0.0, double northOffset = 0.0, double eastOffset = 0.0) const;
    double courseAt(double time, double astern = 0.0) const;

    // In metres and radians of the plane of the first line.
    struct Local {
        double along = 0.0;     // from the first position, in the first line's direction
        double starboard = 0.0; // of the first line
        double turned = 0.0;    // against the first line's heading
    };
    Local localAt(double time, double astern = 0.0) const;

private:
    Local local(double distance) const;

    Voyage voyage_;
    double lineLength_;
    double radius_;
};

} // namespace skar::tool
