#pragma once

#include <map>
#include <optional>

#include "check/shift_model.h"

namespace orvix {
struct Prediction;
}

namespace orvix::check {

/// What the shift of an atom should be.
struct ExpectedShift {
    double shift = 0.0;   ///< ppm
    double spread = 0.0;  ///< of measured shifts around it, ppm, above 0
};

/// Logarithm of the heavy-tailed density of a deviation from an expectation of that spread, up to a
/// constant.
double logDensity(double deviation, double spread);

/// A residue with its measured and its expected shifts.
struct ResidueShifts {
    std::string letter;    ///< state applied
    bool settled = false;  ///< its conformation is predicted; else expectations mean less
    bool end = false;      ///< first or last of the sequence
    std::array<std::optional<double>, atomCount> observed{};         ///< ppm
    std::array<std::optional<ExpectedShift>, atomCount> expected{};  ///< none: atom has no shift
};

/// By residue number.
using ChainShifts = std::map<int, ResidueShifts>;

/// Expected shifts of all residues that the prediction worked on, from its own angles, secondary
/// structure and rotamers, beside the shifts that it was made of.
ChainShifts chainShifts(const Prediction& prediction, const ShiftModel& model);

}  // namespace orvix::check
