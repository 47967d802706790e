#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvix::search {

class Database;

/// A protein of the database that is much like a query.
struct Relative {
    std::string source;     ///< its source word
    double identity = 0.0;  ///< 0..1, of the residues of the local alignment
    int aligned = 0;        ///< residues of that alignment
};

/// The least identity that can be asked for: below it chance alignments begin.
inline constexpr double leastRelativeIdentity = 0.5;

/// The proteins of `database` with at least `identity` (leastRelativeIdentity..1) in their best
/// local alignment with `sequence`, over half of the shorter one or more; the closest first.
/// Proteins that share too few pairs of neighbours with the query at one distance are not aligned;
/// of relatives made by random substitutions and insertions that lost less than one in thousand.
std::vector<Relative> relativesOf(std::string_view sequence, const Database& database,
                                  double identity);

/// A text for Settings::exclList in which `excluded` and the sources of `relatives` occur.
std::string exclusionText(const std::string& excluded, const std::vector<Relative>& relatives);

}  // namespace orvix::search
