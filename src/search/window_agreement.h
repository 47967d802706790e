#pragma once

#include <span>

#include "search/database_planes.h"

class DB;

namespace orvix::search {

/// The angles predicted at one window position, in degrees, and whether they are to be trusted.
struct PredictedAngles {
    double phi = 0.0;
    double psi = 0.0;
    bool trusted = false;
};

/// Whether `rowAngle` lies within `limit` degrees of `predicted` on the circle. An angle above
/// 999.0 on either side never does.
bool anglesAgree(double predicted, double rowAngle, double limit);

/// Whether the rows around `row` have angles that agree with those of all trusted positions of the
/// window, which are listed from the first to the last, the centre in the middle. A row that the
/// database does not hold agrees with none.
bool windowAgrees(std::span<const PredictedAngles> window, const DB& db, int row, double limit);

}  // namespace orvix::search
