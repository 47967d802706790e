#include "search/search_context.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <unordered_map>
#include <utility>

#include "base/missing.h"
#include "run/orvix.h"
#include "search/database_planes.h"
#include "search/db.h"
#include "search/match_line.h"
#include "search/query_shifts.h"
#include "search/rerank.h"
#include "search/triplet_scan.h"

namespace orvix::search {

namespace {

constexpr double perTripletTerm = 0.05555555555555555;  ///< 3 residues of 6 atoms
constexpr std::size_t sameTypeAngles = 20;

/// Ranking key and database row, in rising order of keys that all differ.
using RankedRows = std::vector<std::pair<double, int>>;

/// The protein blocks behind the empty first one, limited to the rows that there are.
std::vector<ProteinBlock> blocksOf(const ORVIX& run) {
    std::vector<ProteinBlock> blocks;
    const auto valueAt = [](const std::map<int, int>& numbers, int key) {
        const auto found = numbers.find(key);
        return found == numbers.end() ? 0 : found->second;
    };
    for (int k = 1; k <= run.dbProteinCount - 1; ++k) {
        blocks.push_back({std::max(valueAt(run.dbProteinFirst, k), 0),
                          std::min(valueAt(run.dbProteinLast, k), run.db->dbSize - 1)});
    }
    return blocks;
}

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

}  // namespace

struct SearchContext::Data {
    const ORVIX& run;
    int halfWidth;
    bool defined;  ///< whether there are weights for this window
    std::vector<ProteinBlock> blocks;
    std::shared_ptr<const DatabasePlanes> planes;

    ScanHits scan(int res) const {
        const ScanQuery query{res, halfWidth, run.seqChar, run.resWeight, run.blosum};
        return planes->usable() ? scanFast(query, *planes) : scanPlain(query, *run.db, blocks);
    }

    /// The protein of a row that the scan found.
    ProteinBlock blockOf(int row) const {
        if (!planes->usable()) {
            return blockOfRow(blocks, row);
        }
        const auto behind =
            std::upper_bound(blocks.begin(), blocks.end(), row,
                             [](int r, const ProteinBlock& block) { return r < block.first; });
        return behind == blocks.begin() ? ProteinBlock{row, row} : *(behind - 1);
    }

    /// Shift distance over similarity of the candidates with a score above 0. Candidates whose
    /// shifts give no number have no place.
    RankedRows rerank(const ScoredRows& scored, const QueryShifts& shifts) const {
        std::vector<int> rows;
        rows.reserve(scored.size());
        for (const auto& [score, row] : scored) {
            rows.push_back(row);
        }
        std::vector<double> distances(rows.size());
        shiftDistances(shifts, *run.db, rows, distances);
        RankedRows keys;
        keys.reserve(rows.size());
        for (std::size_t k = 0; k < rows.size(); ++k) {
            const double key =
                distances[k] / (run.alignLen * 6.0) / static_cast<double>(scored[k].first);
            if (scored[k].first > 0.0F && !std::isnan(key)) {
                keys.emplace_back(key, rows[k]);
            }
        }
        return rankByKey(std::move(keys));
    }

    /// Ranks `scored` and fills the lists of the selected matches.
    void select(const ScoredRows& scored, const QueryShifts& shifts, TripletResult& result) const {
        const auto most = static_cast<std::size_t>(std::max(run.candidateMax, 1));
        const float cut = scored.empty() ? 0.0F : scored[std::min(most, scored.size()) - 1].first;
        RankedRows ranked;
        std::span<const std::pair<double, int>> kept;
        if (cut > 0.0F) {
            ranked = rerank(scored, shifts);
            kept = std::span(ranked).first(std::min(ranked.size(), most));
        } else {
            // The evidence of the maps is too poor to divide by. The list begins at the lowest of
            // the best scores and loses the single highest.
            ranked = keysOf(scored);
            kept = ranked;
            if (ranked.size() > most) {
                kept = kept.last(most + 1).first(most);
            }
        }
        std::unordered_map<int, float> rawScore;
        if (!run.noVerb) {
            for (const auto& [score, row] : scored) {
                rawScore[row] = score;
            }
        }
        for (const auto& [key, row] : kept) {
            result.phi.push_back(static_cast<double>(run.db->angles[row][0]));
            result.psi.push_back(static_cast<double>(run.db->angles[row][1]));
            result.score.push_back(key);
            result.index.push_back(row);
            if (!run.noVerb) {
                result.verboseText += matchLine(*run.db, row, static_cast<int>(result.index.size()),
                                                key, static_cast<double>(rawScore[row]), "");
            }
        }
        result.matches = asMap(ranked);
    }

    /// Chi1 of the same-type candidates whose triplets agree best.
    void listChi1(const ScoredRows& scored, const QueryShifts& shifts,
                  TripletResult& result) const {
        RankedRows keys;
        for (const auto& [score, row] : scored) {
            const double distance =
                tripletDistance(shifts, *run.db, row, blockOf(row)) * perTripletTerm;
            const double key = distance / static_cast<double>(score);
            if (score > 0.0F && !std::isnan(key)) {
                keys.emplace_back(key, row);
            }
        }
        for (const auto& [key, row] : rankByKey(std::move(keys))) {
            if (result.chi1.size() == sameTypeAngles) {
                break;
            }
            const auto chi1 = static_cast<double>(run.db->angles[row][2]);
            if (!(chi1 > missingLimit)) {
                result.chi1.push_back(chi1);
            }
        }
        result.typeMatches = asMap(keysOf(scored));
    }
};

SearchContext::SearchContext(const ORVIX& run) {
    const int halfWidth = (run.alignLen - 1) / 2;
    auto data = std::make_unique<Data>(
        Data{run,
             halfWidth,
             run.db != nullptr && halfWidth >= 0 && halfWidth <= maxHalfWidth,
             {},
             nullptr});
    if (data->defined) {
        data->blocks = blocksOf(run);
        if (run.db->planes == nullptr || !run.db->planes->fit(*run.db, data->blocks, halfWidth)) {
            run.db->planes =
                std::make_shared<const DatabasePlanes>(*run.db, data->blocks, halfWidth);
        }
        data->planes = run.db->planes;
    }
    data_ = std::move(data);
}

SearchContext::~SearchContext() = default;

TripletResult searchResidue(const SearchContext& context, int res) {
    const SearchContext::Data& data = *context.data_;
    TripletResult result;
    if (!data.defined) {
        return result;
    }
    const ScanQuery query{res, data.halfWidth, data.run.seqChar, data.run.resWeight,
                          data.run.blosum};
    result.typeSpecific = query.typeSpecific();
    const ScanHits hits = data.scan(res);
    data.select(hits.matches, queryShifts(data.run, res, data.halfWidth), result);
    if (result.typeSpecific) {
        data.listChi1(hits.typeMatches, queryShifts(data.run, res, std::max(data.halfWidth, 1)),
                      result);
    }
    return result;
}

}  // namespace orvix::search
