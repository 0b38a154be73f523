#pragma once

#include "import/rawfile.h"

#include <optional>
#include <vector>

// Where on the earth a beam has hit, from the ship's track and the beam's offsets.
namespace skar::import {

// The longitude that is the same place and nearest to the reference: it goes on across the date line.
double nearestTurn(double reference, double longitude);

// The position at a time between two fixes of the track, which is in order of time; nothing outside of them.
std::optional<PositionFix> positionAt(const std::vector<PositionFix>& track, Micros time);

// The ship at a ping, on the ellipsoid of WGS 84.
class ShipFrame {
public:
    // Radians; the heading clockwise from north.
    ShipFrame(double latitude, double longitude, double heading);

    struct Place {
        double latitude = 0.0;
        double longitude = 0.0; // without a jump against the ship's
    };
    // Below the offsets of a beam, metres: forward, to starboard and down positive.
    Place below(double x, double y, double z) const;

private:
    double sinLatitude_;
    double cosLatitude_;
    double longitude_;
    double sinHeading_;
    double cosHeading_;
    double normal_; // radius of curvature across the meridian
};

} // namespace skar::import
