#pragma once

#include <array>

namespace orvix {

/// Smoothed relative density of residues in known structures over the 18 by 18 boxes of 20 degrees
/// of the phi/psi plane; index = phi bin * 18 + psi bin, bins counted from -180 degrees.
extern const std::array<double, 324> phiPsiDensity;

/// The factor by which a raw network map is weighted: the square root of the density, at least
/// 0.03.
std::array<double, 324> phiPsiPrior();

}  // namespace orvix
