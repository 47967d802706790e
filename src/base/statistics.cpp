#include "base/statistics.h"

#include <algorithm>
#include <cmath>

namespace orvix {

double mean(std::span<const double> values) {
    if (values.empty()) {
        return 0.0;
    }
    double sum = 0.0;
    for (double value : values) {
        sum += value;
    }
    return sum / static_cast<double>(values.size());
}

double sampleDeviation(std::span<const double> values) {
    // One value has no sample deviation; 0.0 keeps "nan" out of the status lines.
    if (values.size() < 2) {
        return 0.0;
    }
    const double center = mean(values);
    double sum = 0.0;
    for (double value : values) {
        sum += (value - center) * (value - center);
    }
    return std::sqrt(sum / static_cast<double>(values.size() - 1));
}

double classMargin(std::span<const double> values) {
    if (values.size() < 3) {
        return 0.0;
    }
    const double low = std::min(values[0], values[1]);
    const double high = std::max(values[0], values[1]);
    return values[2] >= high ? values[2] - high : high - std::max(low, values[2]);
}

}  // namespace orvix
