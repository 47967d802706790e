#include "search/query_shifts.h"

#include <cstddef>

#include "base/missing.h"

namespace orvix::search {

QueryShifts queryShifts(const ShiftRows& shifts, int res, int halfWidth) {
    QueryShifts query;
    query.halfWidth = halfWidth;
    for (int j = -halfWidth; j <= halfWidth; ++j) {
        const auto position = static_cast<std::size_t>(j + halfWidth);
        const int r = res + j;
        const bool inRange = shifts.rows != nullptr && r >= shifts.first && r <= shifts.last;
        for (std::size_t atom = 0; atom < backboneAtoms; ++atom) {
            const double q = inRange ? shifts.rows[r - shifts.first][atom] : missingValue;
            query.missing[position][atom] = !(q < missingLimit);
            query.value[position][atom] = query.missing[position][atom] ? 0.0 : q;
        }
    }
    return query;
}

}  // namespace orvix::search
