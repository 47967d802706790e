#include "search/window_agreement.h"

#include <cmath>

#include "base/angles.h"
#include "base/missing.h"
#include "search/db.h"

namespace orvix::search {

bool anglesAgree(double predicted, double rowAngle, double limit) {
    if (predicted > missingLimit || rowAngle > missingLimit) {
        return false;
    }
    return !(std::abs(wrapOnce(predicted - rowAngle)) > limit);
}

bool windowAgrees(std::span<const PredictedAngles> window, const DB& db, int row, double limit) {
    const int halfWidth = static_cast<int>(window.size() / 2);
    for (int p = 0; p < static_cast<int>(window.size()); ++p) {
        const PredictedAngles& predicted = window[static_cast<std::size_t>(p)];
        if (!predicted.trusted) {
            continue;
        }
        const int at = row + p - halfWidth;
        if (!db.holds(at)) {
            return false;
        }
        const float* const angles = db.angles[at];
        if (!anglesAgree(predicted.phi, static_cast<double>(angles[0]), limit) ||
            !anglesAgree(predicted.psi, static_cast<double>(angles[1]), limit)) {
            return false;
        }
    }
    return true;
}

}  // namespace orvix::search
