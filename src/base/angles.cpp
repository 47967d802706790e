#include "base/angles.h"

#include <cmath>

#include "base/missing.h"

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

}  // namespace orvix
