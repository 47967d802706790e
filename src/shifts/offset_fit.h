#pragma once

#include <span>
#include <vector>

namespace orvix::shifts {

/// A line y = slope x + intercept through points; `error` is the standard error of the residuals.
/// With less than two points, or all at one x, members are not numbers.
struct LineFit {
    double slope = 0.0;
    double intercept = 0.0;
    double error = 0.0;
};

/// Least squares over all points; `x` and `y` have the same length. All sums run in point order.
LineFit fitLine(std::span<const double> x, std::span<const double> y);

/// Points of one nucleus in residues of one sign of d = CA - CB: x is d, y the secondary shift of
/// the nucleus, both in ppm.
struct OffsetGroup {
    std::vector<double> x;
    std::vector<double> y;
    double expected = 0.0;  ///< intercept of well referenced shifts, ppm
};

/// The line of one group as the estimate used it.
struct OffsetGroupFit {
    int size = 0;       ///< points
    bool used = false;  ///< more than 9 points; else there is no line
    LineFit line;
    double expected = 0.0;  ///< intercept of well referenced shifts, ppm
};

/// The referencing offset of a nucleus. A well referenced nucleus crosses d = 0 at a known shift,
/// so the offset is what the fitted intercept has beyond it.
struct OffsetEstimate {
    bool enough = false;    ///< a group has more than 9 points; else offset and error are 0.0
    bool accepted = false;  ///< clearly off zero, and from more than 10 points
    double offset = 0.0;    ///< ppm
    double error = 0.0;     ///< ppm
    int size = 0;           ///< points of both groups
    OffsetGroupFit negative, positive;
};

/// Fits each group of more than 9 points and weighs the two by their sizes.
OffsetEstimate estimateOffset(const OffsetGroup& negative, const OffsetGroup& positive);

}  // namespace orvix::shifts
