#include "search/query_shifts.h"

#include <cstddef>

#include "base/missing.h"
#include "run/orvix.h"

namespace orvix::search {

QueryShifts queryShifts(const ORVIX& run, int res, int halfWidth) {
    QueryShifts shifts;
    shifts.halfWidth = halfWidth;
    for (int j = -halfWidth; j <= halfWidth; ++j) {
        const auto position = static_cast<std::size_t>(j + halfWidth);
        const int r = res + j;
        const bool inRange =
            run.shiftMatrix != nullptr && r >= run.firstResid && r <= run.lastResid;
        for (std::size_t atom = 0; atom < backboneAtoms; ++atom) {
            const double q = inRange ? run.shiftMatrix[r - run.firstResid][atom] : missingValue;
            shifts.missing[position][atom] = !(q < missingLimit);
            shifts.value[position][atom] = shifts.missing[position][atom] ? 0.0 : q;
        }
    }
    return shifts;
}

}  // namespace orvix::search
