#pragma once

#include <vector>

#include "search/rerank.h"

class DB;

namespace orvix::search {

inline constexpr int chi1InputsPerRow = 13;
inline constexpr int chi1Inputs = 3 * chi1InputsPerRow;

/// Input of a chi1 network for one database row: for the row before, itself and the row behind, in
/// turn, the sine and cosine of phi, of psi and of chi1, a flag for a residue without chi1, and six
/// terms (value - q) / scale, 1.5 where either side has no shift. A row that the database does not
/// hold has neither chi1 nor shifts. `query` has a half-width of 1.
std::vector<double> chi1Input(const QueryShifts& query, const DB& db, int row);

}  // namespace orvix::search
