#pragma once

#include <span>

namespace orvix {

/// Arithmetic mean, summed in order; 0.0 for none.
double mean(std::span<const double> values);
/// Sample standard deviation (divisor n - 1); 0.0 for fewer than two values.
double sampleDeviation(std::span<const double> values);
/// Largest of the first three values minus the second largest; 0.0 for fewer than three.
double classMargin(std::span<const double> values);

}  // namespace orvix
