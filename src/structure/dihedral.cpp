#include "structure/dihedral.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "base/missing.h"

namespace orvix::structure {
namespace {

using Vector = std::array<double, 3>;
using Point = std::span<const float, 3>;

Vector minus(Point p, Point q) {
    return {static_cast<double>(p[0]) - q[0], static_cast<double>(p[1]) - q[1],
            static_cast<double>(p[2]) - q[2]};
}

Vector cross(const Vector& p, const Vector& q) {
    return {p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]};
}

double dot(const Vector& p, const Vector& q) {
    return p[0] * q[0] + p[1] * q[1] + p[2] * q[2];
}

// By the arc tangent, which is better conditioned than the arc cosine on either side of 0.5.
double arcCosine(double cosine) {
    const double sine = std::sqrt(1.0 - cosine * cosine);
    if (std::fabs(cosine) < 0.5) {
        return std::numbers::pi / 2.0 - std::atan(cosine / sine);
    }
    const double angle = std::atan(sine / cosine);
    return cosine > 0.0 ? angle : angle + std::numbers::pi;
}

}  // namespace

double dihedralDegrees(Point a, Point b, Point c, Point d) {
    constexpr double degreesPerRadian = 57.29577951;

    const Vector axis = minus(c, b);
    const Vector normalA = cross(axis, minus(a, b));
    const Vector normalB = cross(axis, minus(d, c));
    const double length = std::sqrt(dot(normalA, normalA) * dot(normalB, normalB));
    const double projection = dot(normalA, normalB);
    if (!(length > 0.0) || !std::isfinite(length) || !std::isfinite(projection)) {
        return missingValue;
    }
    const double angle = arcCosine(std::clamp(projection / length, -1.0, 1.0));
    const double side = dot(cross(normalA, normalB), axis);
    return degreesPerRadian * (side >= 0.0 ? 1.0 : -1.0) * angle;
}

}  // namespace orvix::structure
