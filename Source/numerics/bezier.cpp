#include <skar/interpolation.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace {

constexpr int mostPoints = SKAR_BEZIER_POINTS;
constexpr int growth = 20;

// C(n, k) of the degrees 2 to 4; the rows before them keep the index plain.
constexpr double binomial[mostPoints][mostPoints] = {
    {1, 1, 1, 1, 1}, {1, 1, 1, 1, 1}, {1, 2, 1, 0, 0}, {1, 3, 3, 1, 0}, {1, 4, 6, 4, 1}};

// A point is one number in one of the families and two in the other.
template <class Segment>
struct Channels;
template <>
struct Channels<BezierSegment> {
    static constexpr int count = 2;
    static double* of(BezierSegment& segment, int channel) { return channel == 0 ? segment.x : segment.y; }
};
template <>
struct Channels<SingleValueBezierSegment> {
    static constexpr int count = 1;
    static double* of(SingleValueBezierSegment& segment, int) { return segment.value; }
};

template <class Structure>
using SegmentOf = std::remove_pointer_t<decltype(Structure::segments)>;

// Truncated, and within an int whatever the time.
int milliseconds(double seconds) {
    using Limits = std::numeric_limits<int>;
    const double value = std::trunc(seconds * 1000);
    if (std::isnan(value)) return 0;
    return static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

template <class Structure>
Structure* make(int expectedPoints) {
    auto* bezier = static_cast<Structure*>(std::calloc(1, sizeof(Structure)));
    if (bezier == nullptr) return nullptr;
    bezier->capacity = static_cast<int>((expectedPoints / mostPoints + 1) * 1.5);
    const auto room = static_cast<std::size_t>(std::max(bezier->capacity, 1));
    bezier->segments = static_cast<SegmentOf<Structure>*>(std::calloc(room, sizeof(SegmentOf<Structure>)));
    if (bezier->segments == nullptr) {
        std::free(bezier);
        return nullptr;
    }
    return bezier;
}

template <class Structure>
void release(Structure* bezier) {
    if (bezier == nullptr) return;
    std::free(bezier->segments);
    std::free(bezier);
}

template <class Structure>
bool grow(Structure& bezier) {
    const int before = std::max(bezier.capacity, 0);
    if (before > std::numeric_limits<int>::max() - growth) return false;
    const auto room = static_cast<std::size_t>(before + growth);
    auto* segments = static_cast<SegmentOf<Structure>*>(
        std::realloc(bezier.segments, room * sizeof(SegmentOf<Structure>)));
    if (segments == nullptr) return false;
    std::fill(segments + before, segments + room, SegmentOf<Structure>{});
    bezier.segments = segments;
    bezier.capacity = static_cast<int>(room);
    return true;
}

template <class Segment>
void setPoint(Segment& segment, int index, int offset, const double* point) {
    segment.offset[index] = offset;
    for (int channel = 0; channel < Channels<Segment>::count; ++channel)
        Channels<Segment>::of(segment, channel)[index] = point[channel];
}

template <class Structure>
void insert(Structure* bezier, double time, const double* point) {
    using Segment = SegmentOf<Structure>;
    if (bezier == nullptr || (bezier->current >= bezier->capacity && !grow(*bezier))) return;
    const int count = bezier->segments[bezier->current].count;
    const bool opensNext = count == mostPoints - 1;
    if (opensNext && bezier->current + 2 >= bezier->capacity && !grow(*bezier)) return;

    Segment& segment = bezier->segments[bezier->current];
    if (count == 0) {
        segment.startTime = time;
        bezier->used = bezier->current + 1;
    }
    setPoint(segment, count, count == 0 ? 0 : milliseconds(time - segment.startTime), point);
    segment.endTime = time;
    segment.count = count + 1;
    bezier->reject = 0;
    if (!opensNext) return;

    // The next segment overlaps this one by two points, so that the curve goes on without a kink.
    Segment& next = bezier->segments[++bezier->current];
    bezier->used = bezier->current + 1;
    constexpr int shared = mostPoints - 2;
    double sharedPoint[Channels<Segment>::count];
    for (int channel = 0; channel < Channels<Segment>::count; ++channel)
        sharedPoint[channel] = Channels<Segment>::of(segment, channel)[shared];
    next.startTime = segment.startTime + segment.offset[shared] / 1000.0;
    next.endTime = time;
    next.count = 2;
    setPoint(next, 0, 0, sharedPoint);
    setPoint(next, 1, milliseconds(time - next.startTime), point);
}

template <class Structure>
void cut(Structure* bezier) {
    if (bezier == nullptr || bezier->reject != 0 || bezier->current >= bezier->capacity) return;
    if (bezier->segments[bezier->current].count == 0) return;
    if (bezier->used + 1 >= bezier->capacity && !grow(*bezier)) return;
    ++bezier->used;
    bezier->segments[++bezier->current].count = 0;
}

template <class Segment>
void copyPoint(Segment& segment, int index, double* result) {
    for (int channel = 0; channel < Channels<Segment>::count; ++channel)
        result[channel] = Channels<Segment>::of(segment, channel)[index];
}

template <class Segment>
void interpolateLine(Segment& segment, double time, double* result) {
    const double passed = time - segment.startTime;
    if (segment.offset[1] == 0) {
        copyPoint(segment, passed <= segment.endTime - time ? 0 : 1, result);
        return;
    }
    for (int channel = 0; channel < Channels<Segment>::count; ++channel) {
        const double* points = Channels<Segment>::of(segment, channel);
        result[channel] = (points[1] - points[0]) * (passed * 1000) / segment.offset[1] + points[0];
    }
}

template <class Segment>
int nearestPoint(const Segment& segment, int offset) {
    const auto distance = [&](int index) { return std::abs(std::int64_t{segment.offset[index]} - offset); };
    int nearest = 0;
    for (int i = 1; i < segment.count; ++i)
        if (distance(i) < distance(nearest)) nearest = i;
    return nearest;
}

template <class Segment>
void interpolateCurve(Segment& segment, double time, double* result) {
    const int offset = milliseconds(time - segment.startTime);
    int i = 1;
    while (i < segment.count && segment.offset[i] < offset)
        ++i;
    const int degree = segment.count - 1;
    if (i == segment.count || segment.offset[i] == segment.offset[i - 1]) {
        copyPoint(segment, nearestPoint(segment, offset), result);
        return;
    }
    const double before = segment.offset[i - 1];
    const double u =
        (offset - before) / degree / (segment.offset[i] - before) + (i - 1) / static_cast<double>(degree);
    double powers[mostPoints] = {1.0};
    double rests[mostPoints] = {1.0};
    for (int k = 1; k <= degree; ++k) {
        powers[k] = powers[k - 1] * u;
        rests[k] = rests[k - 1] * (1 - u);
    }
    for (int channel = 0; channel < Channels<Segment>::count; ++channel) {
        const double* points = Channels<Segment>::of(segment, channel);
        double sum = 0.0;
        for (int k = 0; k <= degree; ++k)
            sum += binomial[degree][k] * powers[k] * rests[degree - k] * points[k];
        result[channel] = sum;
    }
}

template <class Structure>
int interpolate(Structure* bezier, double time, double* result) {
    using Segment = SegmentOf<Structure>;
    std::fill_n(result, Channels<Segment>::count, 0.0);
    if (bezier == nullptr || bezier->capacity < 1 || bezier->segments[0].count == 0) return 1;
    if (time < bezier->segments[0].startTime) {
        copyPoint(bezier->segments[0], 0, result);
        return 1;
    }
    const bool cacheHolds = bezier->cache > 0 && bezier->cache < bezier->capacity &&
                            !(time < bezier->segments[bezier->cache].startTime);
    int index = cacheHolds ? bezier->cache : 0;
    for (;; ++index) {
        Segment& segment = bezier->segments[index];
        if (segment.count == 0) {
            copyPoint(bezier->segments[index - 1], 0, result);
            return 1;
        }
        if (segment.startTime <= time && time <= segment.endTime) break;
        if (segment.startTime > time || index + 1 >= std::min(bezier->used, bezier->capacity)) {
            copyPoint(segment, 0, result);
            return 1;
        }
    }
    bezier->cache = index;
    Segment& segment = bezier->segments[index];
    switch (segment.count) {
    case 1:
        copyPoint(segment, 0, result);
        return time == segment.startTime ? 0 : 1;
    case 2:
        interpolateLine(segment, time, result);
        return 0;
    default:
        interpolateCurve(segment, time, result);
        return 0;
    }
}

} // namespace

BezierStruct* initBezier(int expectedPoints) {
    return make<BezierStruct>(expectedPoints);
}

SingleValueBezierStruct* initSingleValueBezier(int expectedPoints) {
    return make<SingleValueBezierStruct>(expectedPoints);
}

void freeBezier(BezierStruct* bezier) {
    release(bezier);
}

void freeSingleValueBezier(SingleValueBezierStruct* bezier) {
    release(bezier);
}

void insertPosIntoStruct(BezierStruct* bezier, double time, double x, double y) {
    const double point[] = {x, y};
    insert(bezier, time, point);
}

void insertValueIntoStruct(SingleValueBezierStruct* bezier, double time, double value) {
    insert(bezier, time, &value);
}

void setBezierRejectStatus(BezierStruct* bezier) {
    cut(bezier);
}

int interpBezier(BezierStruct* bezier, double time, double* x, double* y) {
    double point[2];
    const int result = interpolate(bezier, time, point);
    if (x != nullptr) *x = point[0];
    if (y != nullptr) *y = point[1];
    return result;
}

int interpSingleValueBezier(SingleValueBezierStruct* bezier, double time, double* value) {
    double point = 0.0;
    const int result = interpolate(bezier, time, &point);
    if (value != nullptr) *value = point;
    return result;
}
