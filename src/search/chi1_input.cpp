#include "search/chi1_input.h"

#include <cmath>
#include <cstddef>

#include "base/missing.h"
#include "search/db.h"

namespace orvix::search {

namespace {

constexpr double radians = 0.017453292519943295;
constexpr double missingShiftTerm = 1.5;
constexpr float emptyAngles[3] = {0.0F, 0.0F, static_cast<float>(missingValue)};
constexpr float emptyShifts[12] = {};

}  // namespace

std::vector<double> chi1Input(const QueryShifts& query, const DB& db, int row) {
    std::vector<double> input;
    input.reserve(chi1Inputs);
    for (int j = -1; j <= 1; ++j) {
        const bool held = db.holds(row + j);
        const float* const angles = held ? db.angles[row + j] : emptyAngles;
        const float* const shifts = held ? db.shifts[row + j] : emptyShifts;
        for (int k = 0; k < 2; ++k) {
            const double angle = static_cast<double>(angles[k]) * radians;
            input.push_back(std::sin(angle));
            input.push_back(std::cos(angle));
        }
        const auto chi1 = static_cast<double>(angles[2]);
        const bool hasChi1 = chi1 < missingLimit;
        input.push_back(hasChi1 ? std::sin(chi1 * radians) : 0.0);
        input.push_back(hasChi1 ? std::cos(chi1 * radians) : 0.0);
        input.push_back(hasChi1 ? 0.0 : 1.0);
        const auto position = static_cast<std::size_t>(j + 1);
        for (std::size_t atom = 0; atom < backboneAtoms; ++atom) {
            const auto scale = static_cast<double>(shifts[2 * atom + 1]);
            input.push_back(
                query.missing[position][atom] || scale == 0.0
                    ? missingShiftTerm
                    : (static_cast<double>(shifts[2 * atom]) - query.value[position][atom]) /
                          scale);
        }
    }
    return input;
}

}  // namespace orvix::search
