#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "search/database_planes.h"
#include "search/query_shifts.h"
#include "search/triplet_scan.h"

class DB;

namespace orvix::search {

/// What the search of one residue yields. The lists run by rank, best first.
struct TripletResult {
    std::map<double, int> matches;      ///< all ranked candidates: key -> database row
    std::map<double, int> typeMatches;  ///< candidates of the residue's own type: raw score -> row
    std::vector<double> phi, psi;       ///< degrees, of the selected matches
    std::vector<double> score;          ///< their keys
    std::vector<int> index;             ///< their database rows
    bool typeSpecific = false;          ///< whether the residue has a same-type list at all
    std::vector<double> chi1;           ///< degrees, of the best same-type matches
    std::string verboseText;            ///< a line for each selected match, if `verbose`
};

/// Everything that the search of any residue reads. The maps belong to the caller and must stay as
/// they are meanwhile; any number of threads may search with one input.
struct SearchInput {
    const DB* db = nullptr;
    std::shared_ptr<const DatabasePlanes> planes;  ///< of `db`; null for nothing to search
    int windowLength = 7;                          ///< divisor of the shift distance
    int candidateMax = 25;                         ///< matches that are selected
    bool verbose = false;                          ///< whether to tell of each selected match
    ShiftRows shifts;                              ///< of the query
    const std::map<int, char>* letters = nullptr;  ///< residue -> letter
    const std::map<int, std::map<int, double>>* maps = nullptr;      ///< residue -> box -> value
    const std::map<char, std::map<char, double>>* blosum = nullptr;  ///< letter -> letter -> score

    /// The scan of residue `res`.
    ScanQuery query(int res) const;
};

/// Scans the database for residue `res` and ranks what it found. The result depends on the
/// arguments alone, and nothing is written but the return value.
TripletResult searchResidue(const SearchInput& input, int res);

}  // namespace orvix::search
