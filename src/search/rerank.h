#pragma once

#include <array>
#include <span>

#include "search/database_planes.h"
#include "search/triplet_scan.h"

class DB;

/// How well the shifts of a database window agree with those of the query: a sum over window
/// positions, and within a position over the atoms N, HA, C, CA, CB, HN, of ((value - q) /
/// scale)^2, or of 2.25 where either side has no shift. Database values are 32-bit floats, all
/// arithmetic is done in double, in that order. A row outside the protein of the centre has no
/// shifts.
namespace orvix::search {

inline constexpr int backboneAtoms = 6;
/// Weight by distance from the centre.
inline constexpr float rerankWeights[maxHalfWidth + 1] = {1.0F, 0.64F, 0.36F, 0.25F};

/// Secondary shifts of the query around its centre, in ppm, by offset + halfWidth.
struct QueryShifts {
    int halfWidth = 0;  ///< 0..maxHalfWidth
    std::array<std::array<double, backboneAtoms>, maxWindow> value{};
    std::array<std::array<bool, backboneAtoms>, maxWindow> missing{};
};

/// The weighted sum over -halfWidth..halfWidth. The plain form; `block` is the protein of `row`.
double shiftDistancePlain(const QueryShifts& query, const DB& db, int row, ProteinBlock block);

/// The same, for many rows at once: `distances[k]` belongs to `rows[k]`, and every row must lie
/// halfWidth rows inside its protein. The bits of the plain form.
void shiftDistances(const QueryShifts& query, const DB& db, std::span<const int> rows,
                    std::span<double> distances);

/// The sum over the centre and its neighbours without weights, whatever the half-width; the query
/// must hold these positions (a half-width of at least 1).
double tripletDistance(const QueryShifts& query, const DB& db, int row, ProteinBlock block);

}  // namespace orvix::search
