#pragma once

/// The marks of missing values, the same for shifts (ppm) and angles (degrees).
namespace orvix {

/// Above this value an angle or a shift is missing.
inline constexpr double missingLimit = 999.0;
/// The mark of a missing value.
inline constexpr double missingValue = 9999.0;

}  // namespace orvix
