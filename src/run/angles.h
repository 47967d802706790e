#pragma once

#include <span>
#include <string_view>

namespace orvix {

/// Above this value an angle or a shift is missing.
inline constexpr double missingLimit = 999.0;
/// The mark of a missing value.
inline constexpr double missingValue = 9999.0;

/// a - b on the circle, one turn of correction; 999.0 if either is above 999.0. Degrees.
double angleDifference(double a, double b);
/// `difference` brought once into -180..180. Degrees.
double wrapOnce(double difference);
/// Mean of angles that may straddle +/-180; 9999.0 for none. Degrees.
double meanAngle(std::span<const double> angles);
/// Spread about `meanAngle` with divisor n - 1; 0.0 for none, 180.0 for one. Degrees.
double angleSpread(std::span<const double> angles);
/// Arithmetic mean, summed in order; 0.0 for none.
double mean(std::span<const double> values);
/// Sample standard deviation (divisor n - 1); 0.0 for fewer than two values.
double sampleDeviation(std::span<const double> values);
/// Largest of the first three values minus the second largest; 0.0 for fewer than three.
double classMargin(std::span<const double> values);
/// Rotamer word of chi1 in degrees: "g-" (-120, 0], "g+" (0, 120], "na" above 999.0, else "t".
std::string_view chi1Rotamer(float chi1);
/// Bin 0..17 of an angle on the grid of 20 degree boxes: trunc((angle + 180) * 0.05) mod 18.
/// Angles that are not finite or far out of range give bin 0.
int angleBin(double angle);

}  // namespace orvix
