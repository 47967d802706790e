#pragma once

#include <array>

namespace orvix {

/// The phi/psi plane in boxes of 20 degrees: 18 bins of either angle, counted from -180 degrees;
/// box = phi bin * 18 + psi bin, 0..323.
inline constexpr int angleBins = 18;
inline constexpr int boxCount = angleBins * angleBins;

/// Bin 0..17 of an angle on the grid of 20 degree boxes: trunc((angle + 180) * 0.05) mod 18.
/// Angles that are not finite or far out of range give bin 0.
int angleBin(double angle);
/// Box 0..323 of a pair of angles (degrees), by `angleBin`.
int boxOf(double phi, double psi);

/// Smoothed relative density of residues in known structures, by box.
extern const std::array<double, boxCount> phiPsiDensity;

/// The factor by which a raw network map is weighted: the square root of the density, at least
/// 0.03.
std::array<double, boxCount> phiPsiPrior();

}  // namespace orvix
