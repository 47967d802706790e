#include "base/narrow.h"

#include <limits>

namespace orvix {

float narrowToFloat(double value) {
    constexpr double limit = std::numeric_limits<float>::max();
    if (value > limit) {
        return std::numeric_limits<float>::infinity();
    }
    if (value < -limit) {
        return -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(value);
}

}  // namespace orvix
