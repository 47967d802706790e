#include "check/misassignment.h"

#include <algorithm>
#include <cstdlib>
#include <set>

namespace orvix::check {
namespace {

/// Fewer atoms say too little of a residue.
constexpr std::size_t leastAtoms = 3;

struct Place {
    int number = 0;
    const ResidueShifts* residue = nullptr;
    std::array<std::optional<double>, atomCount> shifts{};  ///< offsets taken off
    bool assigned = false;                                  ///< has any shift
};

/// What the shifts of `from` gain by a move to `to`, over the atoms of which `both` has shifts too
/// if it is given.
struct Move {
    double gain = 0.0;
    std::vector<PlaceEvidence> evidence;
};

Move moveOf(const Place& from, const Place& to, bool exchanged) {
    Move move;
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        const auto& own = from.residue->expected[atom];
        const auto& other = to.residue->expected[atom];
        if (!from.shifts[atom] || !own || !other || (exchanged && !to.shifts[atom])) {
            continue;
        }
        const double here = *from.shifts[atom] - own->shift;
        const double there = *from.shifts[atom] - other->shift;
        move.gain += logDensity(there, other->spread) - logDensity(here, own->spread);
        move.evidence.push_back({atom, here / own->spread, there / other->spread});
    }
    return move;
}

std::vector<Place> placesOf(const ChainShifts& chain, const Offsets& offsets) {
    std::vector<Place> places;
    for (const auto& [number, residue] : chain) {
        Place place{number, &residue, residue.observed, false};
        for (std::size_t atom = 0; atom < atomCount; ++atom) {
            if (place.shifts[atom]) {
                *place.shifts[atom] -= offsetOf(offsets, atom);
                place.assigned = true;
            }
        }
        places.push_back(place);
    }
    return places;
}

}  // namespace

const MisassignmentRule reportRule{4.0, 10.0, 10.0};
const MisassignmentRule suspicionRule{2.0, 7.0, 7.0};

std::vector<Misassignment> findMisassignments(const ChainShifts& chain, const Offsets& offsets,
                                              const MisassignmentRule& rule) {
    const std::vector<Place> places = placesOf(chain, offsets);
    std::vector<Misassignment> all;
    for (std::size_t i = 0; i < places.size(); ++i) {
        for (std::size_t j = 0; j < places.size(); ++j) {
            const bool swap = places[j].assigned;
            if (i == j || !places[i].assigned || (swap && j < i)) {
                continue;
            }
            const Move there = moveOf(places[i], places[j], swap);
            const Move back = swap ? moveOf(places[j], places[i], true) : Move{};
            const double gain = there.gain + back.gain;
            const bool neighbours = std::abs(places[j].number - places[i].number) == 1;
            const double least = !swap        ? rule.moveGain
                                 : neighbours ? rule.neighbourGain
                                              : rule.distantGain;
            if (there.evidence.size() >= leastAtoms && gain >= least) {
                all.push_back({places[i].number, places[j].number, swap, gain, there.evidence,
                               back.evidence});
            }
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const Misassignment& a, const Misassignment& b) {
        return a.gain > b.gain;
    });
    std::vector<Misassignment> best;
    std::set<int> taken;
    for (Misassignment& one : all) {
        if (taken.count(one.first) == 0 && taken.count(one.second) == 0) {
            taken.insert({one.first, one.second});
            best.push_back(std::move(one));
        }
    }
    return best;
}

}  // namespace orvix::check
