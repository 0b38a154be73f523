#include "import/georeference.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace skar::import {

namespace {

constexpr double semiMajor = 6378137.0;
constexpr double flattening = 1.0 / 298.257223563;
constexpr double semiMinor = semiMajor * (1.0 - flattening);
constexpr double eccentricity2 = flattening * (2.0 - flattening);
constexpr double secondEccentricity2 = eccentricity2 / (1.0 - eccentricity2);

} // namespace

double nearestTurn(double reference, double longitude) {
    constexpr double turn = 2.0 * std::numbers::pi;
    return longitude - turn * std::round((longitude - reference) / turn);
}

std::optional<PositionFix> positionAt(const std::vector<PositionFix>& track, Micros time) {
    const auto after = std::ranges::lower_bound(track, time, {}, &PositionFix::time);
    if (after == track.end()) return std::nullopt;
    if (after->time == time) return *after;
    if (after == track.begin()) return std::nullopt;
    const PositionFix& before = *std::prev(after);
    const double part =
        static_cast<double>(time - before.time) / static_cast<double>(after->time - before.time);
    PositionFix fix;
    fix.time = time;
    fix.latitude = std::lerp(before.latitude, after->latitude, part);
    fix.longitude = std::lerp(before.longitude, nearestTurn(before.longitude, after->longitude), part);
    fix.accuracy = std::max(before.accuracy, after->accuracy);
    return fix;
}

ShipFrame::ShipFrame(double latitude, double longitude, double heading)
    : sinLatitude_(std::sin(latitude)), cosLatitude_(std::cos(latitude)), longitude_(longitude),
      sinHeading_(std::sin(heading)), cosHeading_(std::cos(heading)),
      normal_(semiMajor / std::sqrt(1.0 - eccentricity2 * sinLatitude_ * sinLatitude_)) {}

ShipFrame::Place ShipFrame::below(double x, double y, double z) const {
    const double north = x * cosHeading_ - y * sinHeading_;
    const double east = x * sinHeading_ + y * cosHeading_;
    // Earth-centred, with the ship's meridian as that of zero.
    const double outward = normal_ * cosLatitude_ - north * sinLatitude_ - z * cosLatitude_;
    const double axial =
        normal_ * (1.0 - eccentricity2) * sinLatitude_ + north * cosLatitude_ - z * sinLatitude_;
    // Bowring's latitude; so near to the ellipsoid it is exact to far below a millimetre.
    const double equatorial = std::hypot(outward, east);
    const double reduced = std::atan2(axial * semiMajor, equatorial * semiMinor);
    const double sine = std::sin(reduced);
    const double cosine = std::cos(reduced);
    Place place;
    place.latitude = std::atan2(axial + secondEccentricity2 * semiMinor * sine * sine * sine,
                                equatorial - eccentricity2 * semiMajor * cosine * cosine * cosine);
    place.longitude = longitude_ + std::atan2(east, outward);
    return place;
}

} // namespace skar::import
