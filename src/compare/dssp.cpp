#include "compare/dssp.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <string_view>

namespace orvix::compare {
namespace {

constexpr double longestBond = 2.5;   // angstrom, between C and N
constexpr double furthestCa = 9.0;    // angstrom, of residues that can share a hydrogen bond
constexpr double bondEnergy = -0.5;   // kcal/mol
constexpr double leastEnergy = -9.9;  // kcal/mol, of atoms that clash
constexpr double clash = 0.5;         // angstrom
/// Charges 0.42 and 0.20 e times 332 kcal angstrom / mol e^2.
constexpr double coupling = 27.888;
constexpr double bendAngle = 70.0;  // degrees

double distance(const Point& a, const Point& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

enum class Bridge { none, parallel, antiparallel };

/// A run of bridges between two stretches of the chain, `j` rising or falling with `i`.
struct Ladder {
    Bridge kind = Bridge::none;
    std::size_t iFirst = 0, iLast = 0, jLow = 0, jHigh = 0;
    bool isStrand() const { return iLast > iFirst; }
};

class Assignment {
  public:
    explicit Assignment(const std::vector<BackboneResidue>& chain)
        : chain_(chain), states_(chain.size(), 'C') {
        placeProtons();
        findBonds();
        cutChain();
    }

    std::string states() {
        markLadders();
        markHelices();
        markTurnsAndBends();
        return states_;
    }

  private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    struct Bond {
        std::size_t acceptor = none;
        double energy = 0.0;
    };

    void placeProtons() {
        protons_.resize(chain_.size());
        for (std::size_t i = 1; i < chain_.size(); ++i) {
            const BackboneResidue& before = chain_[i - 1];
            if (chain_[i].isProline || !areBonded(before, chain_[i]) || !before.o) {
                continue;
            }
            const double length = distance(*before.c, *before.o);
            if (length > 0.0) {
                Point proton = *chain_[i].n;
                for (std::size_t k = 0; k < 3; ++k) {
                    proton[k] += ((*before.c)[k] - (*before.o)[k]) / length;
                }
                protons_[i] = proton;
            }
        }
    }

    double energy(std::size_t donor, std::size_t acceptor) const {
        const BackboneResidue& d = chain_[donor];
        const BackboneResidue& a = chain_[acceptor];
        const double on = distance(*a.o, *d.n), ch = distance(*a.c, *protons_[donor]),
                     oh = distance(*a.o, *protons_[donor]), cn = distance(*a.c, *d.n);
        if (std::min({on, ch, oh, cn}) < clash) {
            return leastEnergy;
        }
        // The original program works with thousandths.
        return std::round(1000.0 * coupling * (1.0 / on + 1.0 / ch - 1.0 / oh - 1.0 / cn)) / 1000.0;
    }

    void findBonds() {
        bonds_.resize(chain_.size());
        for (std::size_t donor = 0; donor < chain_.size(); ++donor) {
            for (std::size_t acceptor = 0; protons_[donor] && acceptor < chain_.size();
                 ++acceptor) {
                const BackboneResidue& a = chain_[acceptor];
                const bool neighbour = acceptor == donor || acceptor + 1 == donor;
                if (neighbour || !a.c || !a.o || !a.ca || !chain_[donor].ca ||
                    distance(*a.ca, *chain_[donor].ca) > furthestCa) {
                    continue;
                }
                const Bond bond{acceptor, energy(donor, acceptor)};
                auto& [best, second] = bonds_[donor];
                if (bond.energy < best.energy) {
                    second = best;
                    best = bond;
                } else if (bond.energy < second.energy) {
                    second = bond;
                }
            }
        }
    }

    void cutChain() {
        piece_.resize(chain_.size());
        for (std::size_t i = 1; i < chain_.size(); ++i) {
            piece_[i] = piece_[i - 1] + (areBonded(chain_[i - 1], chain_[i]) ? 0 : 1);
        }
    }

    /// Whether residues `first` to `last` are there and one piece of chain.
    bool isUnbroken(std::size_t first, std::size_t last) const {
        return last < chain_.size() && piece_[first] == piece_[last];
    }

    /// Whether the NH of `donor` is bonded to the CO of `acceptor`.
    bool bonded(std::size_t donor, std::size_t acceptor) const {
        const auto& [best, second] = bonds_[donor];
        return (best.acceptor == acceptor && best.energy < bondEnergy) ||
               (second.acceptor == acceptor && second.energy < bondEnergy);
    }

    Bridge bridge(std::size_t i, std::size_t j) const {
        if (!isUnbroken(i - 1, i + 1) || !isUnbroken(j - 1, j + 1)) {
            return Bridge::none;
        }
        if ((bonded(i + 1, j) && bonded(j, i - 1)) || (bonded(j + 1, i) && bonded(i, j - 1))) {
            return Bridge::parallel;
        }
        if ((bonded(i + 1, j - 1) && bonded(j + 1, i - 1)) || (bonded(j, i) && bonded(i, j))) {
            return Bridge::antiparallel;
        }
        return Bridge::none;
    }

    std::vector<Ladder> ladders() const {
        std::vector<Ladder> found;
        for (std::size_t i = 1; i + 4 < chain_.size(); ++i) {
            for (std::size_t j = i + 3; j + 1 < chain_.size(); ++j) {
                const Bridge kind = bridge(i, j);
                if (kind == Bridge::none) {
                    continue;
                }
                const auto extended = std::find_if(found.begin(), found.end(), [&](Ladder& one) {
                    return one.kind == kind && one.iLast + 1 == i &&
                           (kind == Bridge::parallel ? one.jHigh + 1 == j : one.jLow == j + 1);
                });
                if (extended == found.end()) {
                    found.push_back({kind, i, i, j, j});
                } else {
                    extended->iLast = i;
                    (kind == Bridge::parallel ? extended->jHigh : extended->jLow) = j;
                }
            }
        }
        return found;
    }

    /// Whether `b` goes on where `a` ends, but for a bulge: up to one residue left out on one side
    /// and four on the other.
    bool isBulge(const Ladder& a, const Ladder& b) const {
        if (a.kind != b.kind || b.iFirst <= a.iLast || !isUnbroken(a.iFirst, b.iLast) ||
            !isUnbroken(std::min(a.jLow, b.jLow), std::max(a.jHigh, b.jHigh))) {
            return false;
        }
        const bool parallel = a.kind == Bridge::parallel;
        const std::size_t end = parallel ? a.jHigh : b.jHigh;
        const std::size_t start = parallel ? b.jLow : a.jLow;
        const std::size_t iStep = b.iFirst - a.iLast;
        return start > end && ((start - end < 6 && iStep < 3) || (start - end < 3 && iStep < 6));
    }

    void joinBulges(std::vector<Ladder>& all) const {
        std::sort(all.begin(), all.end(), [](const Ladder& a, const Ladder& b) {
            return a.iFirst != b.iFirst ? a.iFirst < b.iFirst : a.jLow < b.jLow;
        });
        for (std::size_t a = 0; a < all.size(); ++a) {
            for (std::size_t b = a + 1; b < all.size();) {
                if (isBulge(all[a], all[b])) {
                    all[a].iLast = all[b].iLast;
                    all[a].jLow = std::min(all[a].jLow, all[b].jLow);
                    all[a].jHigh = std::max(all[a].jHigh, all[b].jHigh);
                    all.erase(all.begin() + static_cast<std::ptrdiff_t>(b));
                } else {
                    ++b;
                }
            }
        }
    }

    void markLadders() {
        std::vector<Ladder> all = ladders();
        joinBulges(all);
        for (const Ladder& ladder : all) {
            const auto mark = [&](std::size_t first, std::size_t last) {
                for (std::size_t i = first; i <= last; ++i) {
                    states_[i] = ladder.isStrand() || states_[i] == 'E' ? 'E' : 'B';
                }
            };
            mark(ladder.iFirst, ladder.iLast);
            mark(ladder.jLow, ladder.jHigh);
        }
    }

    bool isTurn(std::size_t i, std::size_t length) const {
        return isUnbroken(i, i + length) && bonded(i + length, i);
    }

    /// Two turns in a row make a helix. An alpha helix takes any residue, a 3-10 helix free ones, a
    /// pi helix those of an alpha helix too, as the later versions of the original program do.
    void markHelices() {
        struct Helix {
            char letter;
            std::size_t length;
            std::string_view taken;  ///< states that it may replace
        };
        for (const Helix& helix :
             {Helix{'H', 4, "CEBH"}, Helix{'G', 3, "CG"}, Helix{'I', 5, "CIH"}}) {
            const std::size_t length = helix.length;
            for (std::size_t i = 1; i + length < chain_.size(); ++i) {
                if (!isTurn(i - 1, length) || !isTurn(i, length)) {
                    continue;
                }
                const auto begin = states_.begin() + static_cast<std::ptrdiff_t>(i);
                const auto end = begin + static_cast<std::ptrdiff_t>(length);
                if (std::all_of(begin, end, [&](char state) {
                        return helix.taken.find(state) != std::string_view::npos;
                    })) {
                    std::fill(begin, end, helix.letter);
                }
            }
        }
    }

    bool isInTurn(std::size_t i) const {
        for (const std::size_t length : {std::size_t{3}, std::size_t{4}, std::size_t{5}}) {
            for (std::size_t back = 1; back < length && back <= i; ++back) {
                if (isTurn(i - back, length)) {
                    return true;
                }
            }
        }
        return false;
    }

    bool isBend(std::size_t i) const {
        if (i < 2 || !isUnbroken(i - 2, i + 2) || !chain_[i - 2].ca || !chain_[i].ca ||
            !chain_[i + 2].ca) {
            return false;
        }
        double product = 0.0, first = 0.0, second = 0.0;
        for (std::size_t k = 0; k < 3; ++k) {
            const double in = (*chain_[i].ca)[k] - (*chain_[i - 2].ca)[k];
            const double out = (*chain_[i + 2].ca)[k] - (*chain_[i].ca)[k];
            product += in * out;
            first += in * in;
            second += out * out;
        }
        const double cosine = product / std::sqrt(first * second);
        return cosine < std::cos(bendAngle * std::numbers::pi / 180.0);
    }

    void markTurnsAndBends() {
        for (std::size_t i = 0; i < chain_.size(); ++i) {
            if (states_[i] == 'C') {
                states_[i] = isInTurn(i) ? 'T' : isBend(i) ? 'S' : 'C';
            }
        }
    }

    const std::vector<BackboneResidue>& chain_;
    std::vector<std::optional<Point>> protons_;
    std::vector<std::array<Bond, 2>> bonds_;  ///< of each donor, the best first
    std::vector<int> piece_;
    std::string states_;
};

}  // namespace

bool areBonded(const BackboneResidue& a, const BackboneResidue& b) {
    return a.c && b.n && distance(*a.c, *b.n) <= longestBond;
}

std::string dsspStates(const std::vector<BackboneResidue>& chain) {
    return Assignment(chain).states();
}

char threeState(char dssp) {
    return dssp == 'H' || dssp == 'G' || dssp == 'I' ? 'H' : dssp == 'E' || dssp == 'B' ? 'E' : 'L';
}

}  // namespace orvix::compare
