#include <skar/interpolation.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace {

struct Freed {
    void operator()(BezierStruct* bezier) const { freeBezier(bezier); }
    void operator()(SingleValueBezierStruct* bezier) const { freeSingleValueBezier(bezier); }
};

// Positions with x the time and y its square, unless a point is given.
class Bezier : public testing::Test {
protected:
    void fill(int count) {
        for (int i = 0; i < count; ++i)
            add(i);
    }
    void add(double time) { insertPosIntoStruct(curve.get(), time, time, time * time); }
    // Result, x and y at a time.
    struct Answer {
        int result;
        double x;
        double y;
        bool operator==(const Answer&) const = default;
        friend std::ostream& operator<<(std::ostream& out, const Answer& answer) {
            return out << answer.result << ": " << answer.x << ", " << answer.y;
        }
    };
    Answer at(double time) {
        Answer answer{7, 7, 7};
        answer.result = interpBezier(curve.get(), time, &answer.x, &answer.y);
        return answer;
    }
    const BezierSegment& segment(int index) const { return curve->segments[index]; }

    std::unique_ptr<BezierStruct, Freed> curve{initBezier(100)};
};

TEST(BezierStructure, HasRoomForOneAndAHalfTimesItsSegments) {
    for (const auto& [points, capacity] : std::vector<std::pair<int, int>>{{0, 1},
                                                                           {4, 1},
                                                                           {5, 3},
                                                                           {9, 3},
                                                                           {10, 4},
                                                                           {100, 31},
                                                                           {-1, 1},
                                                                           {-5, 0},
                                                                           {-10, -1},
                                                                           {INT_MIN, -644245092}}) {
        const std::unique_ptr<BezierStruct, Freed> curve(initBezier(points));
        const std::unique_ptr<SingleValueBezierStruct, Freed> values(initSingleValueBezier(points));
        ASSERT_NE(nullptr, curve);
        ASSERT_NE(nullptr, values);
        EXPECT_EQ(capacity, curve->capacity) << points;
        EXPECT_EQ(capacity, values->capacity) << points;
        EXPECT_NE(nullptr, curve->segments);
        EXPECT_EQ(0, curve->used);
        EXPECT_EQ(0, curve->reject);
        EXPECT_EQ(0, curve->current);
        EXPECT_EQ(0, curve->cache);
        for (int i = 0; i < capacity; ++i)
            EXPECT_EQ(0, curve->segments[i].count);
    }
}

TEST(BezierStructure, ThatIsNullDoesNothing) {
    double x = 7;
    double y = 7;
    insertPosIntoStruct(nullptr, 1, 2, 3);
    insertValueIntoStruct(nullptr, 1, 2);
    setBezierRejectStatus(nullptr);
    EXPECT_EQ(1, interpBezier(nullptr, 1, &x, &y));
    EXPECT_EQ(0, x);
    EXPECT_EQ(0, y);
    EXPECT_EQ(1, interpSingleValueBezier(nullptr, 1, &x));
    freeBezier(nullptr);
    freeSingleValueBezier(nullptr);
}

TEST_F(Bezier, TheFirstPointOpensTheSegment) {
    curve->reject = 1;
    insertPosIntoStruct(curve.get(), 1000.5, 2, 3);
    EXPECT_EQ(1, segment(0).count);
    EXPECT_EQ(1000.5, segment(0).startTime);
    EXPECT_EQ(1000.5, segment(0).endTime);
    EXPECT_EQ(0, segment(0).offset[0]);
    EXPECT_EQ(2, segment(0).x[0]);
    EXPECT_EQ(3, segment(0).y[0]);
    EXPECT_EQ(1, curve->used);
    EXPECT_EQ(0, curve->reject);
}

TEST_F(Bezier, OffsetsAreTruncatedMilliseconds) {
    insertPosIntoStruct(curve.get(), 10.0, 0, 0);
    insertPosIntoStruct(curve.get(), 10.0019, 0, 0);
    insertPosIntoStruct(curve.get(), 1e300, 0, 0);
    insertPosIntoStruct(curve.get(), 9.9981, 0, 0);
    EXPECT_EQ(1, segment(0).offset[1]);
    EXPECT_EQ(INT_MAX, segment(0).offset[2]);
    EXPECT_EQ(-1, segment(0).offset[3]);
    EXPECT_EQ(9.9981, segment(0).endTime);
}

TEST_F(Bezier, TheFifthPointOfASegmentIsTheSecondOfTheNext) {
    fill(4);
    EXPECT_EQ(0, curve->current);
    curve->reject = 1;
    insertPosIntoStruct(curve.get(), 4.25, 40, 41);
    EXPECT_EQ(0, curve->reject);
    EXPECT_EQ(5, segment(0).count);
    EXPECT_EQ(4250, segment(0).offset[4]);
    EXPECT_EQ(4.25, segment(0).endTime);
    EXPECT_EQ(1, curve->current);
    EXPECT_EQ(2, curve->used);
    EXPECT_EQ(2, segment(1).count);
    EXPECT_EQ(3.0, segment(1).startTime);
    EXPECT_EQ(4.25, segment(1).endTime);
    EXPECT_EQ(0, segment(1).offset[0]);
    EXPECT_EQ(3, segment(1).x[0]);
    EXPECT_EQ(9, segment(1).y[0]);
    EXPECT_EQ(1250, segment(1).offset[1]);
    EXPECT_EQ(40, segment(1).x[1]);
    EXPECT_EQ(41, segment(1).y[1]);
    add(5);
    EXPECT_EQ(3, segment(1).count);
}

TEST_F(Bezier, TheStartOfTheNextSegmentIsOfWholeMilliseconds) {
    for (const double time : {0.0, 1.0, 2.0, 3.0009, 4.0})
        add(time);
    EXPECT_EQ(3.0, segment(1).startTime);
    EXPECT_EQ(3.0009, segment(1).x[0]);
    EXPECT_EQ(1000, segment(1).offset[1]);
}

TEST_F(Bezier, GrowsByTwentySegments) {
    curve.reset(initBezier(0));
    ASSERT_EQ(1, curve->capacity);
    fill(4);
    EXPECT_EQ(1, curve->capacity);
    add(4);
    EXPECT_EQ(21, curve->capacity);
    for (int i = 2; i < 21; ++i)
        EXPECT_EQ(0, segment(i).count);
    fill(1);
    for (int i = 5; curve->used < 20; ++i)
        add(i);
    EXPECT_EQ(21, curve->capacity);
    for (int i = 100; curve->used < 21; ++i)
        add(i);
    EXPECT_EQ(41, curve->capacity);
}

TEST_F(Bezier, OfNoCapacityGrowsWithTheFirstPoint) {
    curve.reset(initBezier(-10));
    EXPECT_EQ((Answer{1, 0, 0}), at(0));
    setBezierRejectStatus(curve.get());
    EXPECT_EQ(0, curve->used);
    fill(30);
    EXPECT_GT(curve->capacity, curve->used);
    EXPECT_EQ(0, at(10.5).result);
}

TEST_F(Bezier, WithoutPointsGivesZeros) {
    EXPECT_EQ((Answer{1, 0, 0}), at(5));
    EXPECT_EQ(1, interpBezier(curve.get(), 5, nullptr, nullptr));
}

TEST_F(Bezier, BeforeTheFirstPointGivesThatPoint) {
    add(5);
    add(6);
    EXPECT_EQ((Answer{1, 5, 25}), at(4.999));
}

TEST_F(Bezier, OfOnePointIsOnTheCurveAtItsTimeOnly) {
    add(5);
    EXPECT_EQ((Answer{0, 5, 25}), at(5));
    EXPECT_EQ((Answer{1, 5, 25}), at(5.1));
}

TEST_F(Bezier, OfTwoPointsIsALineInMilliseconds) {
    insertPosIntoStruct(curve.get(), 10, 1, -2);
    insertPosIntoStruct(curve.get(), 12, 2, -6);
    EXPECT_EQ((Answer{0, 1, -2}), at(10));
    EXPECT_EQ((Answer{0, 1.25, -3}), at(10.5));
    EXPECT_EQ((Answer{0, 2, -6}), at(12));
    EXPECT_EQ((Answer{1, 1, -2}), at(12.001));
}

// The formula with pow and factorials, for a segment of points at the times 0, 1, 2, ...
double bernstein(const std::vector<double>& points, double u) {
    const int n = static_cast<int>(points.size()) - 1;
    double sum = 0;
    for (int k = 0; k <= n; ++k)
        sum += std::tgamma(n + 1) / std::tgamma(k + 1) / std::tgamma(n - k + 1) * std::pow(u, k) *
               std::pow(1 - u, n - k) * points[static_cast<std::size_t>(k)];
    return sum;
}

TEST_F(Bezier, OfThreeToFivePointsIsABezierCurve) {
    for (const std::vector<double>& points :
         std::vector<std::vector<double>>{{1, 4, -2}, {1, 4, -2, 8}, {1, 4, -2, 8, 16}}) {
        curve.reset(initBezier(10));
        for (std::size_t i = 0; i < points.size(); ++i)
            insertPosIntoStruct(curve.get(), static_cast<double>(i), points[i], 10 * points[i]);
        const double n = static_cast<double>(points.size()) - 1;
        for (double time = 0; time <= n; time += 0.125) {
            const Answer answer = at(time);
            EXPECT_EQ(0, answer.result);
            EXPECT_NEAR(bernstein(points, time / n), answer.x, 1e-12) << time;
            EXPECT_NEAR(10 * bernstein(points, time / n), answer.y, 1e-11) << time;
        }
    }
}

TEST_F(Bezier, TakesControlPointsAsEvenlySpaced) {
    // Three points at 0, 1 and 4 s; 2.5 s is half way in the second span, so u is 0.75.
    insertPosIntoStruct(curve.get(), 0, 0, 1);
    insertPosIntoStruct(curve.get(), 1, 8, 1);
    insertPosIntoStruct(curve.get(), 4, 16, 1);
    EXPECT_EQ((Answer{0, 2 * 0.25 * 0.75 * 8 + 0.75 * 0.75 * 16, 1}), at(2.5));
    EXPECT_EQ((Answer{0, 2 * 0.75 * 0.25 * 8 + 0.25 * 0.25 * 16, 1}), at(0.5));
}

TEST_F(Bezier, CountsWholeMillisecondsOnACurve) {
    fill(3);
    EXPECT_EQ(at(0.5), at(0.5009));
    EXPECT_FALSE(at(0.5) == at(0.501));
}

TEST_F(Bezier, TheEndOfASegmentBelongsToIt) {
    fill(8);
    EXPECT_EQ((Answer{0, 4, 16}), at(4));
    EXPECT_EQ(0, curve->cache);
    EXPECT_EQ(0, at(4.001).result);
    EXPECT_EQ(1, curve->cache);
}

TEST_F(Bezier, FindsAnyTimeInAnyOrder) {
    fill(400);
    for (const double time : {399.0, 0.0, 200.5, 200.25, 3.5, 398.75, 100.0, 100.0}) {
        const Answer answer = at(time);
        EXPECT_EQ(0, answer.result);
        EXPECT_NEAR(time, answer.x, 0.5);
    }
}

TEST_F(Bezier, BehindTheLastPointGivesTheFirstOfTheLastSegment) {
    fill(4);
    EXPECT_EQ((Answer{1, 0, 0}), at(3.5));
    fill(8);
}

TEST_F(Bezier, ACutOpensANewSegmentUnlessTheFlagIsSet) {
    fill(3);
    curve->reject = 1;
    setBezierRejectStatus(curve.get());
    EXPECT_EQ(0, curve->current);
    EXPECT_EQ(1, curve->reject);
    curve->reject = 0;
    setBezierRejectStatus(curve.get());
    EXPECT_EQ(0, curve->reject);
    EXPECT_EQ(1, curve->current);
    EXPECT_EQ(2, curve->used);
    EXPECT_EQ(0, segment(1).count);
    setBezierRejectStatus(curve.get());
    EXPECT_EQ(1, curve->current);
    EXPECT_EQ(2, curve->used);
}

TEST_F(Bezier, ACutOfAnEmptyStructureDoesNothing) {
    setBezierRejectStatus(curve.get());
    EXPECT_EQ(0, curve->current);
    EXPECT_EQ(0, curve->used);
}

TEST_F(Bezier, ACutGrowsTheStructure) {
    curve.reset(initBezier(0));
    fill(3);
    setBezierRejectStatus(curve.get());
    EXPECT_EQ(21, curve->capacity);
    EXPECT_EQ(0, segment(1).count);
}

TEST_F(Bezier, ATimeInAGapIsNotOnTheCurve) {
    for (const double time : {10.0, 11.0, 12.0})
        add(time);
    setBezierRejectStatus(curve.get());
    EXPECT_EQ((Answer{1, 10, 100}), at(15));
    add(20);
    EXPECT_EQ((Answer{1, 20, 400}), at(15));
    add(21);
    EXPECT_EQ((Answer{1, 20, 400}), at(15));
    EXPECT_EQ(0, at(11).result);
    EXPECT_EQ(0, at(20.5).result);
    EXPECT_EQ(20.5, at(20.5).x);
}

TEST_F(Bezier, PointsWithinAMillisecondGiveTheNearest) {
    insertPosIntoStruct(curve.get(), 10, 1, 1);
    insertPosIntoStruct(curve.get(), 10.0008, 2, 2);
    EXPECT_EQ((Answer{0, 1, 1}), at(10.0001));
    EXPECT_EQ((Answer{0, 2, 2}), at(10.0007));
    insertPosIntoStruct(curve.get(), 10.0009, 3, 3);
    EXPECT_EQ((Answer{0, 1, 1}), at(10.0005));
    EXPECT_EQ((Answer{0, 1, 1}), at(10.0009));
}

TEST_F(Bezier, TimesThatGoBackStayWithinThePoints) {
    for (const double time : {10.0, 12.0, 11.0})
        add(time);
    EXPECT_EQ(0, at(10.5).result);
    insertPosIntoStruct(curve.get(), 9.0, 4, 4);
    insertPosIntoStruct(curve.get(), 20.0, 5, 5);
    for (double time = 8; time < 22; time += 0.25)
        EXPECT_TRUE(std::isfinite(at(time).x));
    curve.reset(initBezier(10));
    for (const double time : {10.0, 8.0, 7.0, 6.0, 5.0, 4.0})
        add(time);
    EXPECT_EQ((Answer{1, 6, 36}), at(10.5));
}

TEST_F(Bezier, TimesThatAreNoNumbersStayWithinThePoints) {
    fill(7);
    EXPECT_EQ(1, at(NAN).result);
    EXPECT_EQ(1, at(INFINITY).result);
    EXPECT_EQ((Answer{1, 0, 0}), at(-INFINITY));
    insertPosIntoStruct(curve.get(), NAN, 1, 1);
    insertPosIntoStruct(curve.get(), INFINITY, 1, 1);
    for (double time = 0; time < 10; time += 0.5)
        at(time);
    at(NAN);
}

TEST(SingleValueBezier, IsTheSameForOneValue) {
    const std::unique_ptr<BezierStruct, Freed> curve(initBezier(0));
    const std::unique_ptr<SingleValueBezierStruct, Freed> values(initSingleValueBezier(0));
    for (int i = 0; i < 200; ++i) {
        const double time = i * 0.3;
        const double value = std::sin(i);
        insertPosIntoStruct(curve.get(), time, 1, value);
        insertValueIntoStruct(values.get(), time, value);
    }
    EXPECT_EQ(curve->capacity, values->capacity);
    EXPECT_EQ(curve->used, values->used);
    for (double time = -1; time < 65; time += 0.07) {
        double y = 7;
        double value = 7;
        EXPECT_EQ(interpBezier(curve.get(), time, nullptr, &y),
                  interpSingleValueBezier(values.get(), time, &value));
        EXPECT_EQ(y, value);
        EXPECT_EQ(curve->cache, values->cache);
    }
    EXPECT_EQ(1, interpSingleValueBezier(values.get(), 1e9, nullptr));
}

TEST(LinearInterp, IsTheLineBetweenAndTheNearerPointBeyond) {
    double y = 0;
    EXPECT_EQ(&y, LinearInterp(1, 10, 3, 20, 1.5, &y));
    EXPECT_EQ((1.5 - 1) / (3.0 - 1) * (20 - 10) + 10, y);
    EXPECT_EQ(10, *LinearInterp(1, 10, 3, 20, 1, &y));
    EXPECT_EQ(10, *LinearInterp(1, 10, 3, 20, -5, &y));
    EXPECT_EQ(20, *LinearInterp(1, 10, 3, 20, 3, &y));
    EXPECT_EQ(20, *LinearInterp(1, 10, 3, 20, 9, &y));
    EXPECT_EQ(nullptr, LinearInterp(1, 10, 3, 20, 2, nullptr));
}

TEST(LinearInterp, TestsTheFirstPointFirst) {
    double y = 0;
    EXPECT_EQ(10, *LinearInterp(2, 10, 2, 20, 2, &y));
    EXPECT_EQ(20, *LinearInterp(2, 10, 2, 20, 2.5, &y));
    EXPECT_EQ(10, *LinearInterp(3, 10, 1, 20, 2, &y));
}

class Polynomial : public testing::Test {
protected:
    int interpolate(const std::vector<double>& xs, const std::vector<double>& ys, double x) {
        return InterpPolynomial(xs.data(), ys.data(), static_cast<int>(xs.size()), x, &y, &error);
    }
    double y = 7;
    double error = 7;
};

TEST_F(Polynomial, ThroughOnePointIsItsValue) {
    EXPECT_EQ(0, interpolate({3}, {5}, 100));
    EXPECT_EQ(5, y);
    EXPECT_EQ(0, error);
    EXPECT_EQ(0, interpolate({}, {}, 1));
    EXPECT_EQ(0, y);
    EXPECT_EQ(0, error);
}

TEST_F(Polynomial, ThroughTwoPointsIsTheLine) {
    // The nearest point is the first; the correction is 0.25 of the way to the second.
    EXPECT_EQ(0, interpolate({1, 3}, {10, 20}, 1.5));
    EXPECT_EQ(12.5, y);
    EXPECT_EQ(2.5, error);
    // From the second it leads back.
    EXPECT_EQ(0, interpolate({1, 3}, {10, 20}, 2.5));
    EXPECT_EQ(17.5, y);
    EXPECT_EQ(-2.5, error);
}

TEST_F(Polynomial, ThroughThreePointsIsWorkedByHand) {
    // y = x^2 at 0, 1, 3, asked for at 2. The first of the equally near samples, x 1, starts with 1. Its
    // neighbours' lines at 2: through 0 and 1 that is 2, through 1 and 3 it is 5. D of the first pair is 1, C
    // of the second 4. 2 * (0 + 1) is not below 3 - 1: the step takes D and gives 2; then 2 * 0 is below 3 -
    // 2: C of all gives 4.
    EXPECT_EQ(0, interpolate({0, 1, 3}, {0, 1, 9}, 2));
    EXPECT_EQ(4, y);
    EXPECT_EQ(2, error);
}

TEST_F(Polynomial, OfTenSamplesIsTheirPolynomial) {
    std::vector<double> xs;
    std::vector<double> ys;
    const auto cubic = [](double x) { return 2 - x + 0.5 * x * x - 0.25 * x * x * x; };
    for (const double x : {-4, 7, 1, -2, 3, 0, 5, -1, 2, 6}) {
        xs.push_back(x);
        ys.push_back(cubic(x));
    }
    for (const double x : {-3.5, 0.25, 1.0, 4.0, 6.9}) {
        EXPECT_EQ(0, interpolate(xs, ys, x));
        EXPECT_NEAR(cubic(x), y, 1e-10);
        EXPECT_NEAR(0, error, 1e-6);
    }
}

TEST_F(Polynomial, OfElevenSamplesIsRefused) {
    std::vector<double> xs(11);
    for (std::size_t i = 0; i < xs.size(); ++i)
        xs[i] = static_cast<double>(i);
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, interpolate(xs, xs, 2.5));
    EXPECT_EQ("InterpPolynomial(): Cannot interpolate polynomials of degree greater than 9\n",
              testing::internal::GetCapturedStderr());
    xs.pop_back();
    EXPECT_EQ(0, interpolate(xs, xs, 2.5));
    EXPECT_NEAR(2.5, y, 1e-12);
}

TEST_F(Polynomial, OfEqualSamplesIsRefused) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, interpolate({1, 2, 2}, {1, 2, 3}, 1.5));
    EXPECT_EQ("InterpPolynomial(): 2 x values of the original sample points are equal to one another (or "
              "within round "
              "off error)\n",
              testing::internal::GetCapturedStderr());
}

TEST_F(Polynomial, MayLeaveOutItsOutputs) {
    const double xs[] = {1, 3};
    EXPECT_EQ(0, InterpPolynomial(xs, xs, 2, 2, nullptr, nullptr));
    EXPECT_EQ(-1, InterpPolynomial(nullptr, xs, 2, 2, &y, &error));
    EXPECT_EQ(0, InterpPolynomial(xs, xs, -3, 2, &y, &error));
}

} // namespace
