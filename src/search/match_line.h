#pragma once

#include <string>

class DB;

namespace orvix::search {

/// The line that tells of one selected match: database row, rank, phi, psi, ranking key, raw score,
/// letter and number of the row and its neighbours, source, then `tail` and a line feed.
std::string matchLine(const DB& db, int row, int rank, double key, double rawScore,
                      const char* tail);

}  // namespace orvix::search
