#pragma once

#include <map>
#include <span>
#include <utility>
#include <vector>

#include "base/cpu.h"
#include "search/database_planes.h"

class DB;

/// The database scan of one query residue.
///
/// A window of rows i-h..i+h inside one protein, without a gap in numbering, is scored against the
/// box maps of the query residues around the centre. The score is a 32-bit float that starts at 0.
/// For each offset from -h to h, and in this order, two terms are added, each sum formed in double
/// and rounded to float:
///     (double)weight * value of the row's box in the map of the query residue there,
///     0.1 * similarity of the two letters, where that is negative.
/// A score above the threshold of the `matches` takes its place there, and takes over the place of
/// an equal one. Rows of the query's own type that also pass the threshold of the `typeMatches` are
/// listed there too. After each protein both lists are cut to their highest `scanLimit` distinct
/// scores; the lowest score left by a cut is the new threshold.
namespace orvix::search {

inline constexpr int scanLimit = 1000;
inline constexpr int maxHalfWidth = 3;
inline constexpr int maxWindow = 2 * maxHalfWidth + 1;
/// Weight by distance from the centre.
inline constexpr float scanWeights[maxHalfWidth + 1] = {1.0F, 0.81F, 0.64F, 0.49F};

/// The query side of a scan: centre residue and the maps by residue number. What a map lacks reads
/// 0, and no letter.
struct ScanQuery {
    int res;
    int halfWidth;  ///< 0..maxHalfWidth
    const std::map<int, char>& seqChar;
    const std::map<int, std::map<int, double>>& resWeight;
    const std::map<char, std::map<char, double>>& blosum;

    /// Letter of residue r, or NUL.
    char letterAt(int r) const;
    /// Letter of the centre, with the second states of cysteine and histidine taken as the first.
    char centreLetter() const;
    /// Whether matches of the centre's own type are listed: not for A, G and P.
    bool typeSpecific() const;
    /// Similarity of two letters.
    double similarity(char query, char row) const;
};

/// Score and database row, from the highest score to the lowest; no two scores are equal.
using ScoredRows = std::vector<std::pair<float, int>>;

struct ScanHits {
    ScoredRows matches;
    ScoredRows typeMatches;
};

/// The rules above, word for word, on ordered maps. The plain form.
ScanHits scanPlain(const ScanQuery& query, const DB& db, std::span<const ProteinBlock> blocks);

/// The same result from the planes of the database, which must be usable and of the query's
/// half-width. The processor must have `level`; every level gives the same bits.
ScanHits scanFast(const ScanQuery& query, const DatabasePlanes& planes,
                  InstructionLevel level = instructionLevel());

}  // namespace orvix::search
