#pragma once

#include <string>

#include "check/offsets.h"

class GDB;

namespace orvix::check {

/// Whether CA and CB shifts are those of a deuterated protein: low by what deuterium does to
/// either, which differs between the two, while a referencing error moves both alike.
struct Deuteration {
    bool judged = false;     ///< there are estimates of both nuclei
    bool looks = false;      ///< deuterium explains the shifts better, and alpha protons are rare
    double caIsotope = 0.0;  ///< mean isotope shift of the residues with an estimate, ppm
    double cbIsotope = 0.0;
    double gain = 0.0;        ///< logarithm of the likelihood ratio, deuterium over an offset
    double alphaShare = 0.0;  ///< residues with an HA shift among those with CA
};

/// `isotopeShifts` is the table of deuterium isotope shifts by residue type.
Deuteration judgeDeuteration(const ChainShifts& chain, const Offsets& offsets,
                             const GDB& isotopeShifts);

}  // namespace orvix::check
