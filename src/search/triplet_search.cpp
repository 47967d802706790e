// The search of one residue: scan, ranking by shifts, selection.
#include "search/triplet_search.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <unordered_map>
#include <utility>

#include "base/missing.h"
#include "search/db.h"
#include "search/match_line.h"
#include "search/rerank.h"

namespace orvix::search {

namespace {

constexpr double perTripletTerm = 0.05555555555555555;  ///< 3 residues of 6 atoms
constexpr std::size_t sameTypeAngles = 20;

/// Ranking key and database row, in rising order of keys that all differ.
using RankedRows = std::vector<std::pair<double, int>>;

/// Sorts candidates in order of their arrival into an ordered map's content: one entry for each
/// key, with the row that came last.
RankedRows rankByKey(RankedRows candidates) {
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    RankedRows ranked;
    ranked.reserve(candidates.size());
    for (const auto& [key, row] : candidates) {
        if (!ranked.empty() && ranked.back().first == key) {
            ranked.back().second = row;
        } else {
            ranked.emplace_back(key, row);
        }
    }
    return ranked;
}

/// Scores in rising order, as keys.
RankedRows keysOf(const ScoredRows& scored) {
    RankedRows keys;
    keys.reserve(scored.size());
    for (auto it = scored.rbegin(); it != scored.rend(); ++it) {
        keys.emplace_back(static_cast<double>(it->first), it->second);
    }
    return keys;
}

std::map<double, int> asMap(const RankedRows& ranked) {
    return std::map<double, int>(ranked.begin(), ranked.end());
}

ProteinBlock blockOfRow(std::span<const ProteinBlock> blocks, int row) {
    for (const ProteinBlock& block : blocks) {
        if (block.first <= row && row <= block.last) {
            return block;
        }
    }
    return {row, row};
}

ScanHits scan(const SearchInput& input, int res) {
    const ScanQuery query = input.query(res);
    return input.planes->usable() ? scanFast(query, *input.planes)
                                  : scanPlain(query, *input.db, input.planes->blocks());
}

/// The protein of a row that the scan found.
ProteinBlock proteinOf(const SearchInput& input, int row) {
    const std::span<const ProteinBlock> proteins = input.planes->blocks();
    if (!input.planes->usable()) {
        return blockOfRow(proteins, row);
    }
    const auto behind =
        std::upper_bound(proteins.begin(), proteins.end(), row,
                         [](int r, const ProteinBlock& block) { return r < block.first; });
    return behind == proteins.begin() ? ProteinBlock{row, row} : *(behind - 1);
}

/// Shift distance over similarity of the candidates with a score above 0. Candidates whose shifts
/// give no finite number have no place.
RankedRows rerank(const SearchInput& input, const ScoredRows& scored, const QueryShifts& shifts) {
    std::vector<int> rows;
    rows.reserve(scored.size());
    for (const auto& [score, row] : scored) {
        rows.push_back(row);
    }
    std::vector<double> distances(rows.size());
    shiftDistances(shifts, *input.db, rows, distances);
    RankedRows keys;
    keys.reserve(rows.size());
    for (std::size_t k = 0; k < rows.size(); ++k) {
        const double key =
            distances[k] / (input.windowLength * 6.0) / static_cast<double>(scored[k].first);
        if (scored[k].first > 0.0F && std::isfinite(key)) {
            keys.emplace_back(key, rows[k]);
        }
    }
    return rankByKey(std::move(keys));
}

/// The places of the matches to be selected in a ranking.
struct Selection {
    RankedRows ranked;
    std::size_t first = 0, count = 0;

    std::span<const std::pair<double, int>> kept() const {
        return std::span(ranked).subspan(first, count);
    }
};

Selection chooseMatches(const SearchInput& input, const ScoredRows& scored,
                        const QueryShifts& shifts) {
    const auto most = static_cast<std::size_t>(std::max(input.candidateMax, 1));
    const float cut = scored.empty() ? 0.0F : scored[std::min(most, scored.size()) - 1].first;
    Selection chosen;
    if (cut > 0.0F) {
        chosen.ranked = rerank(input, scored, shifts);
        chosen.count = std::min(chosen.ranked.size(), most);
        return chosen;
    }
    // The evidence of the maps is too poor to divide by. The list begins at the lowest of the best
    // scores and loses the single highest.
    chosen.ranked = keysOf(scored);
    chosen.count = std::min(chosen.ranked.size(), most);
    if (chosen.ranked.size() > most) {
        chosen.first = chosen.ranked.size() - most - 1;
    }
    return chosen;
}

std::string describe(const SearchInput& input, const ScoredRows& scored,
                     std::span<const std::pair<double, int>> kept) {
    std::unordered_map<int, float> rawScore;
    for (const auto& [score, row] : scored) {
        rawScore[row] = score;
    }
    std::string text;
    int rank = 0;
    for (const auto& [key, row] : kept) {
        text += matchLine(*input.db, row, ++rank, key, static_cast<double>(rawScore[row]), "");
    }
    return text;
}

/// Ranks `scored` and fills the lists of the selected matches.
void listMatches(const SearchInput& input, const ScoredRows& scored, const QueryShifts& shifts,
                 TripletResult& result) {
    const Selection chosen = chooseMatches(input, scored, shifts);
    for (const auto& [key, row] : chosen.kept()) {
        result.phi.push_back(static_cast<double>(input.db->angles[row][0]));
        result.psi.push_back(static_cast<double>(input.db->angles[row][1]));
        result.score.push_back(key);
        result.index.push_back(row);
    }
    if (input.verbose) {
        result.verboseText = describe(input, scored, chosen.kept());
    }
    result.matches = asMap(chosen.ranked);
}

/// Chi1 of the same-type candidates whose triplets agree best.
void listChi1(const SearchInput& input, const ScoredRows& scored, const QueryShifts& shifts,
              TripletResult& result) {
    RankedRows keys;
    for (const auto& [score, row] : scored) {
        const double distance =
            tripletDistance(shifts, *input.db, row, proteinOf(input, row)) * perTripletTerm;
        const double key = distance / static_cast<double>(score);
        if (score > 0.0F && std::isfinite(key)) {
            keys.emplace_back(key, row);
        }
    }
    for (const auto& [key, row] : rankByKey(std::move(keys))) {
        if (result.chi1.size() == sameTypeAngles) {
            break;
        }
        const auto chi1 = static_cast<double>(input.db->angles[row][2]);
        if (!(chi1 > missingLimit)) {
            result.chi1.push_back(chi1);
        }
    }
    result.typeMatches = asMap(keysOf(scored));
}

}  // namespace

ScanQuery SearchInput::query(int res) const {
    return {res, planes->halfWidth(), *letters, *maps, *blosum};
}

TripletResult searchResidue(const SearchInput& input, int res) {
    TripletResult result;
    if (input.planes == nullptr) {
        return result;
    }
    const int halfWidth = input.planes->halfWidth();
    result.typeSpecific = input.query(res).typeSpecific();
    const ScanHits hits = scan(input, res);
    listMatches(input, hits.matches, queryShifts(input.shifts, res, halfWidth), result);
    if (result.typeSpecific) {
        listChi1(input, hits.typeMatches, queryShifts(input.shifts, res, std::max(halfWidth, 1)),
                 result);
    }
    return result;
}

}  // namespace orvix::search
