#include "run/angles.h"

#include <algorithm>
#include <cmath>

namespace orvix {

double wrapOnce(double difference) {
    if (difference > 180.0) {
        return difference - 360.0;
    }
    if (difference < -180.0) {
        return difference + 360.0;
    }
    return difference;
}

double angleDifference(double a, double b) {
    if (a > missingLimit || b > missingLimit) {
        return missingLimit;
    }
    return wrapOnce(a - b);
}

double meanAngle(std::span<const double> angles) {
    if (angles.empty()) {
        return missingValue;
    }
    if (angles.size() == 1) {
        return angles[0];
    }
    double positiveSum = 0.0, negativeSum = 0.0;
    int positives = 0, negatives = 0;
    for (double angle : angles) {
        if (angle >= 0.0) {
            positiveSum += angle;
            ++positives;
        } else {
            negativeSum += angle;
            ++negatives;
        }
    }
    if (positives == 0) {
        return negativeSum / negatives;
    }
    if (negatives == 0) {
        return positiveSum / positives;
    }
    const int total = positives + negatives;
    if (positiveSum / positives - negativeSum / negatives < 180.0) {
        return (positiveSum + negativeSum) / total;
    }
    double result = (positiveSum + negativeSum + 360.0 * negatives) / total;
    // Also keeps the two loops below from running long on values that are no angles.
    if (!(result <= missingLimit) || result < -1e6) {
        return missingValue;
    }
    while (result > 180.0) {
        result -= 360.0;
    }
    while (result < -180.0) {
        result += 360.0;
    }
    return result;
}

double angleSpread(std::span<const double> angles) {
    if (angles.empty()) {
        return 0.0;
    }
    if (angles.size() == 1) {
        return 180.0;
    }
    const double center = meanAngle(angles);
    double sum = 0.0;
    for (double angle : angles) {
        const double d = wrapOnce(angle - center);
        sum += d * d;
    }
    return std::sqrt(sum / static_cast<double>(angles.size() - 1));
}

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

std::string_view chi1Rotamer(float chi1) {
    if (chi1 > 999.0F) {
        return "na";
    }
    if (chi1 > -120.0F && chi1 <= 0.0F) {
        return "g-";
    }
    if (chi1 > 0.0F && chi1 <= 120.0F) {
        return "g+";
    }
    return "t";
}

int angleBin(double angle) {
    const double bin = (angle + 180.0) * 0.05;
    if (!(bin > -1.0 && bin < 1.0e6)) {
        return 0;
    }
    return static_cast<int>(bin) % 18;
}

}  // namespace orvix
