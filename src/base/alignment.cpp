// Affine gap alignment: Gotoh (1982) J Mol Biol 162:705-708.
#include "base/alignment.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace orvix {
namespace {

constexpr int match = 5, mismatch = -4, gapOpen = -10, gapMore = -1;
constexpr int worst = std::numeric_limits<int>::min() / 2;

char upper(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

bool alike(char a, char b) {
    return upper(a) == upper(b) && upper(a) != 'X';
}

// Ways of a cell, for the way back.
enum Way : std::uint8_t {
    stop = 0,
    pair = 1,
    gapInSecond = 2,
    gapInFirst = 3,
    bestMask = 3,
    openSecond = 4,
    openFirst = 8
};

/// Fills the ways of all cells row by row and follows them back from the best end.
class Filling {
  public:
    Filling(std::string_view first, std::string_view second, bool local)
        : first_(first),
          second_(second),
          local_(local),
          width_(second.size() + 1),
          ways_((first.size() + 1) * width_, stop) {}

    Alignment align() {
        std::vector<int> best(width_, 0), down(width_, worst);
        for (std::size_t i = 1; i <= first_.size(); ++i) {
            fillRow(i, best, down);
        }
        return wayBack();
    }

  private:
    void fillRow(std::size_t i, std::vector<int>& best, std::vector<int>& down) {
        int diagonal = best[0], right = worst;
        for (std::size_t j = 1; j < width_; ++j) {
            const bool same = alike(first_[i - 1], second_[j - 1]);
            std::uint8_t way = pair;
            int score = diagonal + (same ? match : mismatch);
            diagonal = best[j];
            if (best[j] + gapOpen >= down[j] + gapMore) {
                way |= openSecond;
            }
            down[j] = std::max(best[j] + gapOpen, down[j] + gapMore);
            if (best[j - 1] + gapOpen >= right + gapMore) {
                way |= openFirst;
            }
            right = std::max(best[j - 1] + gapOpen, right + gapMore);
            const auto take = [&](int value, Way kind) {
                if (value > score) {
                    score = value;
                    way = static_cast<std::uint8_t>((way & ~bestMask) | kind);
                }
            };
            take(down[j], gapInSecond);
            take(right, gapInFirst);
            if (local_ && score <= 0) {
                score = 0;
                way = static_cast<std::uint8_t>(way & ~bestMask);
            }
            best[j] = score;
            ways_[i * width_ + j] = way;
            const bool end = local_ || i == first_.size() || j + 1 == width_;
            if (end && score > bestEnd_) {
                bestEnd_ = score;
                endFirst_ = i;
                endSecond_ = j;
            }
        }
    }

    Alignment wayBack() const {
        Alignment result;
        result.partner.assign(second_.size(), -1);
        std::size_t i = endFirst_, j = endSecond_;
        while (i > 0 && j > 0) {
            const std::uint8_t way = ways_[i * width_ + j];
            switch (way & bestMask) {
                case pair:
                    result.partner[j - 1] = static_cast<int>(i) - 1;
                    ++result.aligned;
                    result.identical += alike(first_[i - 1], second_[j - 1]) ? 1 : 0;
                    --i;
                    --j;
                    break;
                case gapInSecond:
                    while ((ways_[i * width_ + j] & openSecond) == 0) {
                        --i;
                    }
                    --i;
                    break;
                case gapInFirst:
                    while ((ways_[i * width_ + j] & openFirst) == 0) {
                        --j;
                    }
                    --j;
                    break;
                default:
                    return result;
            }
        }
        return result;
    }

    std::string_view first_, second_;
    bool local_;
    std::size_t width_;
    std::vector<std::uint8_t> ways_;
    int bestEnd_ = 0;
    std::size_t endFirst_ = 0, endSecond_ = 0;
};

}  // namespace

Alignment alignWhole(std::string_view first, std::string_view second) {
    return Filling(first, second, false).align();
}

Alignment alignLocal(std::string_view first, std::string_view second) {
    return Filling(first, second, true).align();
}

Alignment alignShifted(std::string_view first, std::string_view second, int shift) {
    Alignment result;
    result.partner.assign(second.size(), -1);
    for (std::size_t j = 0; j < second.size(); ++j) {
        const long long i = static_cast<long long>(j) + shift;
        if (i >= 0 && i < static_cast<long long>(first.size())) {
            result.partner[j] = static_cast<int>(i);
            ++result.aligned;
            result.identical += alike(first[static_cast<std::size_t>(i)], second[j]) ? 1 : 0;
        }
    }
    return result;
}

}  // namespace orvix
