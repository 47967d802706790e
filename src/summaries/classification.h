#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "search/clusterdata.h"

namespace orvix::summaries {

/// The winning group of a residue's matches.
struct Consensus {
    std::vector<double> phi, psi;  ///< angles of the winner: by rank, then as they were attached
    std::vector<double> weight;    ///< by rank: 1.0 for members of the winner
    int count = 0;                 ///< candidateMax, K, or the winners among the first K
};

/// Sorts ranked matches into the clusters of the residue's map, attaches stragglers within 40
/// degrees, and keeps the largest group (the highest number among equals). `phi` and `psi` by rank;
/// at most `candidateMax` matches are looked at. `required` is K.
Consensus classifyMatches(std::span<const double> phi, std::span<const double> psi,
                          const ClusterData& clusters, int candidateMax, int required);

/// What decides the class word of a residue.
struct ClassEvidence {
    int count = 0;  ///< consensus count
    int candidateMax = 25;
    int required = 10;                                              ///< K
    double phi = 0.0, psi = 0.0, phiSpread = 0.0, psiSpread = 0.0;  ///< degrees
    bool hasReference = false;
    int referenceBox = 0;  ///< 0 switches the test against the reference off
    double referencePhi = 0.0, referencePsi = 0.0;  ///< degrees
    double disorder = 0.0;                          ///< 1 - S2, above 999.0 for none
    double disorderLimit = 0.4;
};

/// `Strong`, `Generous`, `Warn`, `Bad` or `Dyn` for a residue that has matches.
std::string_view classWord(const ClassEvidence& evidence);

/// Box of a pair of reference angles; 0 if either is missing or the box lies outside 0..323.
int referenceBox(double phi, double psi);

}  // namespace orvix::summaries
