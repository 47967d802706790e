#pragma once

#include <cstdint>
#include <vector>

namespace orvix::compare {

/// How the error of a ranking is found: residues are drawn with replacement, in blocks of
/// neighbours, since predictions of neighbours come from the same shifts.
struct RankingRules {
    int draws = 2000;        ///< 1 and more
    int block = 5;           ///< residues a block, 1 and more
    std::uint64_t seed = 1;  ///< the same seed gives the same errors on every machine
};

/// The place of one model among others.
struct Rank {
    double misfit = 0.0;     ///< mean over the residues
    double error = 0.0;      ///< its standard error
    int place = 1;           ///< from 1; models with the same misfit share a place
    int low = 1, high = 1;   ///< places that 95 % of the draws lie in
    double bestShare = 0.0;  ///< share of the draws in which it is the best; ties share
    double notWorse = 0.0;   ///< share of the draws in which it fits no worse than the first
};

/// Ranks models by the mean of `misfits` ([model][residue], lower is better, the residues in the
/// order of the sequence and the same for all). Empty for no model; all models need at least one
/// residue.
std::vector<Rank> rankModels(const std::vector<std::vector<double>>& misfits,
                             const RankingRules& rules);

}  // namespace orvix::compare
