#include "import/placement.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace orvix::importing {

namespace {

constexpr char noResidue = '\0';

// More pairs of a row and a residue than this are not compared; the rows are thinned evenly.
constexpr std::size_t mostCompared = 8'000'000;

// A block is kept when so many of its names fit; a new block has to gain more than `newBlockCost`.
constexpr int smallestBlock = 5;
constexpr int newBlockCost = 3;
constexpr std::size_t mostShifts = 32;  // tried for blocks
constexpr std::size_t mostBlocks = 8;

}  // namespace

PlacementSearch::PlacementSearch(const std::vector<NumberedLetter>& sequence,
                                 std::vector<NumberedLetter> rows)
    : rows_(std::move(rows)) {
    std::erase_if(rows_, [](const NumberedLetter& row) { return row.letter == 'X'; });
    std::stable_sort(
        rows_.begin(), rows_.end(),
        [](const NumberedLetter& a, const NumberedLetter& b) { return a.number < b.number; });
    if (sequence.empty()) {
        return;
    }
    const auto [low, high] = std::minmax_element(
        sequence.begin(), sequence.end(),
        [](const NumberedLetter& a, const NumberedLetter& b) { return a.number < b.number; });
    firstNumber_ = low->number;
    letters_.assign(static_cast<std::size_t>(high->number - low->number) + 1, noResidue);
    for (const NumberedLetter& residue : sequence) {
        letters_[static_cast<std::size_t>(residue.number - firstNumber_)] = residue.letter;
    }
    if (!rows_.empty()) {
        lowestShift_ = firstNumber_ - rows_.back().number;
        const int highestShift = high->number - rows_.front().number;
        shiftCount_ = static_cast<std::size_t>(highestShift - lowestShift_) + 1;
    }
}

char PlacementSearch::letterAt(int number) const {
    const int place = number - firstNumber_;
    return place < 0 || static_cast<std::size_t>(place) >= letters_.size()
               ? noResidue
               : letters_[static_cast<std::size_t>(place)];
}

Placement PlacementSearch::at(int shift) const {
    return at(shift, 0, rows_.size());
}

Placement PlacementSearch::at(int shift, std::size_t first, std::size_t end) const {
    Placement placement;
    placement.blocks = {{first < end ? rows_[first].number : 0, shift}};
    for (std::size_t i = first; i < end; ++i) {
        const char there = letterAt(rows_[i].number + shift);
        placement.compared += there == 'X' ? 0 : 1;
        placement.fitting += there == rows_[i].letter ? 1 : 0;
    }
    return placement;
}

std::vector<int> PlacementSearch::countFits(std::size_t first, std::size_t end) const {
    const std::size_t step = (end - first) * letters_.size() / mostCompared + 1;
    std::array<std::vector<int>, 128> places;  // of each letter
    for (std::size_t i = 0; i < letters_.size(); ++i) {
        if (letters_[i] > 0) {
            places[static_cast<std::size_t>(letters_[i])].push_back(firstNumber_ +
                                                                    static_cast<int>(i));
        }
    }
    std::vector<int> fits(shiftCount_, 0);
    for (std::size_t i = first; i < end; i += step) {
        for (const int place : places[static_cast<std::size_t>(rows_[i].letter)]) {
            ++fits[static_cast<std::size_t>(place - rows_[i].number - lowestShift_)];
        }
    }
    return fits;
}

Placement PlacementSearch::best() const {
    if (rows_.empty() || letters_.empty()) {
        return {};
    }
    const std::vector<int> fits = countFits(0, rows_.size());
    const int most = *std::max_element(fits.begin(), fits.end());
    int shift = 0;
    bool found = false;
    int equals = 0;
    for (std::size_t i = 0; i < fits.size(); ++i) {
        const int candidate = lowestShift_ + static_cast<int>(i);
        if (fits[i] == most) {
            ++equals;
            if (!found || std::abs(candidate) < std::abs(shift)) {
                shift = candidate;
                found = true;
            }
        }
    }
    Placement placement = at(shift);
    placement.unique = equals == 1;
    return placement;
}

std::vector<int> PlacementSearch::likelyShifts() const {
    const std::vector<int> fits = countFits(0, rows_.size());
    std::vector<int> shifts;
    for (std::size_t i = 0; i < fits.size(); ++i) {
        if (fits[i] >= smallestBlock) {
            shifts.push_back(lowestShift_ + static_cast<int>(i));
        }
    }
    std::stable_sort(shifts.begin(), shifts.end(), [&](int a, int b) {
        return fits[static_cast<std::size_t>(a - lowestShift_)] >
               fits[static_cast<std::size_t>(b - lowestShift_)];
    });
    shifts.resize(std::min(shifts.size(), mostShifts));
    return shifts;
}

bool PlacementSearch::onlyShift(int shift, std::size_t first, std::size_t end) const {
    const std::vector<int> fits = countFits(first, end);
    const int own = fits[static_cast<std::size_t>(shift - lowestShift_)];
    return std::count_if(fits.begin(), fits.end(), [own](int count) { return count >= own; }) == 1;
}

Placement PlacementSearch::inBlocks() const {
    if (rows_.empty() || letters_.empty()) {
        return {};
    }
    const std::vector<int> shifts = likelyShifts();
    const std::size_t count = shifts.size();
    if (count < 2) {
        return {};
    }
    // The best way to each row under each shift; a way may change its shift where places rise.
    std::vector<std::vector<int>> from(rows_.size(), std::vector<int>(count, -1));
    std::vector<int> score(count, 0);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        std::vector<int> next(count);
        for (std::size_t k = 0; k < count; ++k) {
            int best = score[k];
            int previous = static_cast<int>(k);
            for (std::size_t other = 0; i > 0 && other < count; ++other) {
                if (score[other] - newBlockCost > best &&
                    rows_[i].number + shifts[k] > rows_[i - 1].number + shifts[other]) {
                    best = score[other] - newBlockCost;
                    previous = static_cast<int>(other);
                }
            }
            from[i][k] = previous;
            next[k] = best + (letterAt(rows_[i].number + shifts[k]) == rows_[i].letter ? 1 : 0);
        }
        score = std::move(next);
    }
    auto at =
        static_cast<std::size_t>(std::max_element(score.begin(), score.end()) - score.begin());
    Placement whole;
    whole.unique = true;
    std::size_t end = rows_.size();
    for (std::size_t i = rows_.size(); i-- > 0;) {
        const auto previous = static_cast<std::size_t>(from[i][at]);
        if (i > 0 && previous == at) {
            continue;
        }
        const Placement block = this->at(shifts[at], i, end);
        if (block.fitting < smallestBlock || !block.fits() || whole.blocks.size() == mostBlocks) {
            return {};
        }
        whole.unique = whole.unique && onlyShift(shifts[at], i, end);
        whole.fitting += block.fitting;
        whole.compared += block.compared;
        whole.blocks.insert(whole.blocks.begin(), block.blocks[0]);
        end = i;
        at = previous;
    }
    return whole.blocks.size() < 2 ? Placement{} : whole;
}

}  // namespace orvix::importing
