#pragma once

#include <span>

namespace orvix::structure {

/// Torsion angle of four points about the line b-c, in degrees, -180..180; positive for a clockwise
/// turn of c-d against b-a seen from b to c, and +180 for a flat trans arrangement. 9999.0 when
/// three of the points lie on a line or a coordinate is not finite. Computed in double.
double dihedralDegrees(std::span<const float, 3> a, std::span<const float, 3> b,
                       std::span<const float, 3> c, std::span<const float, 3> d);

}  // namespace orvix::structure
