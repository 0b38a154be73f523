#include "simulate/track.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace skar::tool {

namespace {

using std::numbers::pi;

// WGS 84
constexpr double semiMajorAxis = 6378137.0;
constexpr double eccentricitySquared = 6.69437999014e-3;

double primeVertical(double latitude) {
    const double sine = std::sin(latitude);
    return semiMajorAxis / std::sqrt(1.0 - eccentricitySquared * sine * sine);
}

double meridian(double latitude) {
    const double sine = std::sin(latitude);
    return primeVertical(latitude) * (1.0 - eccentricitySquared) / (1.0 - eccentricitySquared * sine * sine);
}

} // namespace

double Voyage::lineLength() const {
    const double turns = (lines - 1.0) * pi * spacing / 2.0;
    return (distance() - turns) / lines;
}

Track::Track(const Voyage& voyage)
    : voyage_(voyage), lineLength_(voyage.lineLength()), radius_(voyage.spacing / 2.0) {}

Track::Local Track::local(double distance) const {
    const double stretch = lineLength_ + pi * radius_;
    const double line = std::clamp(std::floor(distance / stretch), 0.0, voyage_.lines - 1.0);
    const bool outward = std::fmod(line, 2.0) == 0.0;
    const double sailed = distance - line * stretch;
    const bool last = line == voyage_.lines - 1.0;

    Local place;
    place.starboard = line * voyage_.spacing;
    if (sailed <= lineLength_ || last) {
        place.along = outward ? sailed : lineLength_ - sailed;
        place.turned = outward ? 0.0 : pi;
        return place;
    }
    const double angle = (sailed - lineLength_) / radius_;
    place.along = outward ? lineLength_ + radius_ * std::sin(angle) : -radius_ * std::sin(angle);
    place.starboard += radius_ * (1.0 - std::cos(angle));
    place.turned = outward ? angle : pi - angle;
    return place;
}

Track::Point Track::at(double time, double astern, double northOffset, double eastOffset) const {
    const Local place = localAt(time, astern);
    const double cosine = std::cos(voyage_.heading);
    const double sine = std::sin(voyage_.heading);
    const double north = place.along * cosine - place.starboard * sine + northOffset;
    const double east = place.along * sine + place.starboard * cosine + eastOffset;

    Point point;
    point.latitude = voyage_.latitude + north / meridian(voyage_.latitude);
    point.longitude = voyage_.longitude + east / (primeVertical(point.latitude) * std::cos(point.latitude));
    point.course = voyage_.heading + place.turned;
    return point;
}

Track::Local Track::localAt(double time, double astern) const {
    return local(voyage_.speed * (time - voyage_.start) - astern);
}

double Track::courseAt(double time, double astern) const {
    return voyage_.heading + localAt(time, astern).turned;
}

} // namespace skar::tool
