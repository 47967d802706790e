#pragma once

#include <span>
#include <string_view>

namespace orvix {

/// a - b on the circle, one turn of correction; 999.0 if either is above 999.0. Degrees.
double angleDifference(double a, double b);
/// `difference` brought once into -180..180. Degrees.
double wrapOnce(double difference);
/// Mean of angles that may straddle +/-180; 9999.0 for none. Degrees.
double meanAngle(std::span<const double> angles);
/// Spread about `meanAngle` with divisor n - 1; 0.0 for none, 180.0 for one. Degrees.
double angleSpread(std::span<const double> angles);
/// Rotamer word of chi1 in degrees: "g-" (-120, 0], "g+" (0, 120], "na" above 999.0, else "t".
std::string_view chi1Rotamer(float chi1);

}  // namespace orvix
