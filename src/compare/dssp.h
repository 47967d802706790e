#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace orvix::compare {

using Point = std::array<double, 3>;  ///< x, y, z in angstrom

/// The backbone of a residue, as far as it is there.
struct BackboneResidue {
    std::optional<Point> n, ca, c, o;
    bool isProline = false;  ///< has no proton to bond with
};

/// Whether the C of `a` is bonded to the N of `b`: both there, 2.5 angstrom apart at most.
bool areBonded(const BackboneResidue& a, const BackboneResidue& b);

/// States of secondary structure, one letter a residue, by the rules of Kabsch and Sander
/// (Biopolymers 22, 2577, 1983): H, G, I helices of four, three and five residues a turn, E a
/// strand of a ladder, B a lone bridge, T a turn, S a bend, C none of these. Amide protons are put
/// 1 angstrom from N, opposite to the carbonyl before it; a hydrogen bond has less than
/// -0.5 kcal/mol and is one of the two best of its proton. Bonds to other chains are not seen.
std::string dsspStates(const std::vector<BackboneResidue>& chain);

/// H for H, G and I, E for E and B, L for all else.
char threeState(char dssp);

}  // namespace orvix::compare
