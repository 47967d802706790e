#include "search/rerank.h"

#include <cstddef>
#include <cstdlib>

#include "search/db.h"

namespace orvix::search {

namespace {

constexpr double missingTerm = 2.25;

double termOf(const QueryShifts& query, std::size_t position, int atom, const DB& db, int row,
              ProteinBlock block) {
    const auto a = static_cast<std::size_t>(atom);
    const bool inside = row >= block.first && row <= block.last;
    if (query.missing[position][a] || !inside || db.shifts[row][2 * atom + 1] == 0.0F) {
        return missingTerm;
    }
    const double difference =
        static_cast<double>(db.shifts[row][2 * atom]) - query.value[position][a];
    const double ratio = difference / static_cast<double>(db.shifts[row][2 * atom + 1]);
    return ratio * ratio;
}

/// One atom of one window position, as it is when the query has a shift there.
struct Present {
    double value;
    double weight;
    int cell;  ///< of the database value, relative to that of the centre row
    bool missing;
};

}  // namespace

double shiftDistancePlain(const QueryShifts& query, const DB& db, int row, ProteinBlock block) {
    double sum = 0.0;
    for (int j = -query.halfWidth; j <= query.halfWidth; ++j) {
        for (int atom = 0; atom < backboneAtoms; ++atom) {
            sum += static_cast<double>(rerankWeights[std::abs(j)]) *
                   termOf(query, static_cast<std::size_t>(j + query.halfWidth), atom, db, row + j,
                          block);
        }
    }
    return sum;
}

void shiftDistances(const QueryShifts& query, const DB& db, std::span<const int> rows,
                    std::span<double> distances) {
    std::array<Present, maxWindow * backboneAtoms> terms{};
    std::size_t count = 0;
    for (int j = -query.halfWidth; j <= query.halfWidth; ++j) {
        for (int atom = 0; atom < backboneAtoms; ++atom) {
            const auto position = static_cast<std::size_t>(j + query.halfWidth);
            const auto a = static_cast<std::size_t>(atom);
            terms[count++] = {query.value[position][a],
                              static_cast<double>(rerankWeights[std::abs(j)]),
                              j * 2 * backboneAtoms + 2 * atom, query.missing[position][a]};
        }
    }
    // The rows lie far apart, so the memory of those to come is asked for ahead.
    constexpr std::size_t ahead = 8;
    for (std::size_t k = 0; k < rows.size(); ++k) {
        if (k + ahead < rows.size()) {
            const float* const next = db.shifts[rows[k + ahead] - query.halfWidth];
            for (int line = 0; line < (2 * query.halfWidth + 1) * 12; line += 16) {
                __builtin_prefetch(next + line);
            }
        }
        const float* const centre = db.shifts[rows[k]];
        double sum = 0.0;
        for (std::size_t t = 0; t < count; ++t) {
            const Present& term = terms[t];
            const float scale = centre[term.cell + 1];
            const bool missing = term.missing || scale == 0.0F;
            const double divisor = missing ? 1.0 : static_cast<double>(scale);
            const double ratio = (static_cast<double>(centre[term.cell]) - term.value) / divisor;
            sum += term.weight * (missing ? missingTerm : ratio * ratio);
        }
        distances[k] = sum;
    }
}

double tripletDistance(const QueryShifts& query, const DB& db, int row, ProteinBlock block) {
    double sum = 0.0;
    for (int j = -1; j <= 1; ++j) {
        for (int atom = 0; atom < backboneAtoms; ++atom) {
            sum += termOf(query, static_cast<std::size_t>(j + query.halfWidth), atom, db, row + j,
                          block);
        }
    }
    return sum;
}

}  // namespace orvix::search
