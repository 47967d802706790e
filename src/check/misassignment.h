#pragma once

#include <vector>

#include "check/offsets.h"

namespace orvix::check {

/// How the shifts of an atom fit at two residues, in spreads of the expectation there.
struct PlaceEvidence {
    std::size_t atom = 0;
    double own = 0.0;    ///< deviation at the residue that they are assigned to
    double other = 0.0;  ///< deviation at the other one
};

/// Shifts of one residue that fit another one much better than their own.
struct Misassignment {
    int first = 0, second = 0;  ///< residues; first is the lower number of a swap
    bool swap = false;          ///< both have shifts, and these fit better exchanged; else the
                                ///< shifts of `first` fit `second`, which has none
    double gain = 0.0;          ///< logarithm of the likelihood ratio
    std::vector<PlaceEvidence> firstShifts, secondShifts;  ///< of the shifts of either residue
};

/// What a search for misassignments asks for.
struct MisassignmentRule {
    double neighbourGain = 0.0;  ///< least gain of residues side by side
    double distantGain = 0.0;    ///< of any others that both have shifts
    double moveGain = 0.0;       ///< of a residue with shifts and one without
};

/// The rule that reports, and the looser one that names shifts to leave out of a second prediction.
extern const MisassignmentRule reportRule, suspicionRule;

/// Pairs of residues whose shifts fit better exchanged, or at the one that has none, best first,
/// each residue in one pair. `offsets` are taken off the measured shifts.
std::vector<Misassignment> findMisassignments(const ChainShifts& chain, const Offsets& offsets,
                                              const MisassignmentRule& rule);

}  // namespace orvix::check
