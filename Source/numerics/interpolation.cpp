#include <skar/interpolation.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace {

constexpr int mostSamples = 10;

void put(double* target, double value) {
    if (target != nullptr) *target = value;
}

} // namespace

double* LinearInterp(double x0, double y0, double x1, double y1, double x, double* y) {
    if (x <= x0) {
        put(y, y0);
    } else if (x >= x1) {
        put(y, y1);
    } else {
        put(y, (x - x0) / (x1 - x0) * (y1 - y0) + y0);
    }
    return y;
}

int InterpPolynomial(const double* xs, const double* ys, int count, double x, double* y,
                     double* errorEstimate) {
    if (count > mostSamples) {
        std::fprintf(stderr, "InterpPolynomial(): %s %d\n",
                     "Cannot interpolate polynomials of degree greater than", mostSamples - 1);
        return -1;
    }
    put(y, 0.0);
    put(errorEstimate, 0.0);
    if (count < 1) return 0;
    if (xs == nullptr || ys == nullptr) return -1;

    int nearest = 0;
    for (int i = 1; i < count; ++i)
        if (std::fabs(x - xs[i]) < std::fabs(x - xs[nearest])) nearest = i;
    // Neville's scheme: C and D are the differences to the polynomials one degree lower.
    std::array<double, mostSamples> c;
    std::array<double, mostSamples> d;
    std::copy_n(ys, count, c.begin());
    std::copy_n(ys, count, d.begin());
    double sum = ys[nearest];
    int index = nearest - 1;
    put(y, sum);
    for (int m = 1; m < count; ++m) {
        for (int i = 0; i < count - m; ++i) {
            const double ho = xs[i] - x;
            const double hp = xs[i + m] - x;
            const double w = c[static_cast<std::size_t>(i) + 1] - d[static_cast<std::size_t>(i)];
            double den = ho - hp;
            if (den == 0.0) {
                std::fprintf(stderr, "InterpPolynomial(): %s %s %s\n", "2 x values of the original sample",
                             "points are equal to one another", "(or within round off error)");
                return -1;
            }
            den = w / den;
            d[static_cast<std::size_t>(i)] = hp * den;
            c[static_cast<std::size_t>(i)] = ho * den;
        }
        const bool upward = 2 * (index + 1) < count - m;
        const double correction =
            upward ? c[static_cast<std::size_t>(index + 1)] : d[static_cast<std::size_t>(index)];
        if (!upward) --index;
        sum += correction;
        put(y, sum);
        put(errorEstimate, correction);
    }
    return 0;
}
