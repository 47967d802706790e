#include <algorithm>
#include <array>
#include <cstdlib>

#include "search/scan_tables.h"
#include "search/top_scores.h"
#include "search/triplet_scan.h"

namespace orvix::search {

namespace {

/// Rows that are filtered, then scored, in one go: their planes and the list of survivors stay in
/// the nearest cache.
constexpr int chunkRows = 4096;
static_assert(chunkRows % filterGroup == 0);

/// Scores rows in rising order and keeps both lists.
class Scorer {
  public:
    Scorer(const ScanTables& tables, const DatabasePlanes& planes)
        : tables_(tables),
          tile_(planes.tile()),
          place_(planes.place()),
          letter_(planes.letter()),
          blocks_(planes.blocks()),
          halfWidth_(planes.halfWidth()) {}

    void score(const int* rows, int count) {
        for (int k = 0; k < count; ++k) {
            const int row = rows[k];
            if (row > blockEnd_) {
                enterBlockOf(row);
            }
            const float s = scoreOf(row);
            if (s > matches_.threshold()) {
                matches_.insert(s, row);
                if (s > typeMatches_.threshold() && letter_[row] == tables_.ownCode) {
                    typeMatches_.insert(s, row);
                }
            }
        }
    }

    float threshold() const { return matches_.threshold(); }

    ScanHits hits() const { return {matches_.descending(), typeMatches_.descending()}; }

  private:
    float scoreOf(int row) const {
        float s = 0.0F;
        for (int p = 0; p < tables_.positions; ++p) {
            const int at = row + p - halfWidth_;
            const auto slot = static_cast<std::size_t>(tile_[at] * 16 + place_[at]);
            const auto position = static_cast<std::size_t>(p);
            s = static_cast<float>(static_cast<double>(s) + tables_.box[position][slot]);
            s = static_cast<float>(static_cast<double>(s) + tables_.penalty[position][letter_[at]]);
        }
        return s;
    }

    /// Ends the block before. Blocks without a scored row in between change no threshold.
    void enterBlockOf(int row) {
        matches_.endBlock();
        typeMatches_.endBlock();
        while (block_ < blocks_.size() && blocks_[block_].last < row) {
            ++block_;
        }
        blockEnd_ = block_ < blocks_.size() ? blocks_[block_].last : row;
    }

    const ScanTables& tables_;
    const std::uint8_t* tile_;
    const std::uint8_t* place_;
    const std::uint8_t* letter_;
    std::span<const ProteinBlock> blocks_;
    int halfWidth_;
    std::size_t block_ = 0;
    int blockEnd_ = -1;
    TopScores matches_{scanLimit};
    TopScores typeMatches_{scanLimit};
};

/// Rows whose letters allow them, without a look at the maps.
int allowedRows(const ScanTables& tables, const DatabasePlanes& planes, int first, int last,
                int* rows) {
    const std::uint8_t* const centre = planes.centre();
    const std::uint8_t* const letter = planes.letter();
    int count = 0;
    for (int i = first; i < last; ++i) {
        rows[count] = i;
        // Both tests always, so that there is no branch to guess.
        count += static_cast<int>(tables.centreAllowed[centre[i]]) &
                 static_cast<int>(tables.nextAllowed[letter[i + 1]]);
    }
    return count;
}

/// Of `count` rows from `first` on, those that fall short by no more than the limit; in place.
/// `Positions` is the length of the window.
template <int Positions>
int boundedRows(const UnitTables& units, const DatabasePlanes& planes, int first, int last,
                int* rows, int count) {
    constexpr int halfWidth = Positions / 2;
    std::array<std::uint16_t, chunkRows + 2 * maxHalfWidth> slots;
    const std::uint8_t* const tile = planes.tile() + first - halfWidth;
    const std::uint8_t* const place = planes.place() + first - halfWidth;
    for (int i = 0; i < last - first + 2 * halfWidth; ++i) {
        slots[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(tile[i] * 16 + place[i]);
    }
    const std::uint8_t* const letter = planes.letter() - halfWidth;
    int kept = 0;
    for (int k = 0; k < count; ++k) {
        const int row = rows[k];
        const std::uint16_t* const slot = slots.data() + (row - first);
        unsigned sum = 0;
        for (int p = 0; p < Positions; ++p) {
            const auto position = static_cast<std::size_t>(p);
            sum += units.box[position][slot[p]];
            sum += units.letter[position][letter[row + p]];
        }
        rows[kept] = row;
        kept += sum <= units.limit ? 1 : 0;
    }
    return kept;
}

int boundedRows(const UnitTables& units, const DatabasePlanes& planes, int first, int last,
                int* rows, int count) {
    switch (planes.halfWidth()) {
        case 0:
            return boundedRows<1>(units, planes, first, last, rows, count);
        case 1:
            return boundedRows<3>(units, planes, first, last, rows, count);
        case 2:
            return boundedRows<5>(units, planes, first, last, rows, count);
        default:
            return boundedRows<7>(units, planes, first, last, rows, count);
    }
}

}  // namespace

namespace {

using RowFilterForm = int (*)(const RowFilter&, const FilterPlanes&, int, int, int*);

/// The wide filter of a level; null where there is none.
RowFilterForm rowFilter(InstructionLevel level) {
    if (level == InstructionLevel::avx512 && avx512FilterBuilt) {
        return filterRowsAvx512;
    }
    return level != InstructionLevel::portable && avx2FilterBuilt ? filterRowsAvx2 : nullptr;
}

}  // namespace

ScanHits scanFast(const ScanQuery& query, const DatabasePlanes& planes, InstructionLevel level) {
    const ScanTables tables = makeScanTables(query, planes);
    Scorer scorer(tables, planes);
    // In a window of one row no position of the wide filter sees the letter behind the centre.
    const RowFilterForm filterRows = rowFilter(level);
    const bool wide = filterRows != nullptr && planes.halfWidth() > 0;
    FilterBuilder builder(tables, planes, !wide);
    const FilterPlanes columns{planes.tile(), planes.place(), planes.letter(), planes.centre()};
    std::array<int, chunkRows + filterGroup> rows;
    for (int first = 0; first < planes.rows(); first += chunkRows) {
        const int last = std::min(first + chunkRows, planes.rows());
        // A threshold that is behind the time only lets more rows through to the exact score.
        if (builder.sound() && !builder.update(scorer.threshold())) {
            break;
        }
        int count = 0;
        if (wide && builder.sound()) {
            count = filterRows(builder.filter(), columns, first, last, rows.data());
        } else {
            count = allowedRows(tables, planes, first, last, rows.data());
            if (builder.sound()) {
                count = boundedRows(builder.units(), planes, first, last, rows.data(), count);
            }
        }
        scorer.score(rows.data(), count);
    }
    return scorer.hits();
}

}  // namespace orvix::search
