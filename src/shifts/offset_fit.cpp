#include "shifts/offset_fit.h"

#include <cmath>

#include "base/statistics.h"

namespace orvix::shifts {

LineFit fitLine(std::span<const double> x, std::span<const double> y) {
    const auto n = static_cast<double>(x.size());
    std::vector<double> xy(x.size());
    std::vector<double> xx(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        xy[i] = x[i] * y[i];
        xx[i] = x[i] * x[i];
    }
    const double meanX = mean(x);
    const double meanY = mean(y);
    LineFit fit;
    fit.slope = (n * mean(xy) - n * meanY * meanX) / (n * mean(xx) - n * meanX * meanX);
    fit.intercept = meanY - fit.slope * meanX;
    std::vector<double> residuals(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        residuals[i] = y[i] - (fit.intercept + fit.slope * x[i]);
    }
    fit.error = sampleDeviation(residuals) / std::sqrt(n);
    return fit;
}

OffsetEstimate estimateOffset(const OffsetGroup& negative, const OffsetGroup& positive) {
    constexpr std::size_t leastGroup = 10;
    constexpr int leastPoints = 11;
    constexpr double errorsOffZero = 5.0;

    const auto fitted = [](const OffsetGroup& group) {
        OffsetGroupFit fit;
        fit.size = static_cast<int>(group.x.size());
        fit.used = group.x.size() >= leastGroup;
        fit.expected = group.expected;
        if (fit.used) {
            fit.line = fitLine(group.x, group.y);
        }
        return fit;
    };
    const auto below = static_cast<double>(negative.x.size());
    const auto above = static_cast<double>(positive.x.size());

    OffsetEstimate estimate;
    estimate.negative = fitted(negative);
    estimate.positive = fitted(positive);
    const OffsetGroupFit& minus = estimate.negative;
    const OffsetGroupFit& plus = estimate.positive;
    const double offBelow = minus.line.intercept - minus.expected;
    const double offAbove = plus.line.intercept - plus.expected;
    estimate.size = minus.size + plus.size;
    estimate.enough = minus.used || plus.used;
    if (minus.used && plus.used) {
        estimate.offset = (offAbove * above + offBelow * below) / (above + below);
        const double errorAbove = above * plus.line.error;
        const double errorBelow = below * minus.line.error;
        estimate.error =
            std::sqrt(errorAbove * errorAbove + errorBelow * errorBelow) / (above + below);
    } else if (estimate.enough) {
        estimate.offset = plus.used ? offAbove : offBelow;
        estimate.error = plus.used ? plus.line.error : minus.line.error;
    }
    estimate.accepted = std::fabs(estimate.offset) > errorsOffZero * estimate.error &&
                        estimate.error > 0.0 && estimate.size >= leastPoints;
    return estimate;
}

}  // namespace orvix::shifts
