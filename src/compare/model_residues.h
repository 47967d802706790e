#pragma once

#include <map>
#include <optional>

class PDB;

namespace orvix::compare {

/// What a structure says about one residue; angles in degrees.
struct ModelResidue {
    std::optional<double> phi, psi, chi1;
    char dssp = 'C';  ///< see `dsspStates`
};

/// The residues of a structure by number. Neighbours in the numbering whose C and N are too far
/// apart for a bond have no angle that reaches across.
std::map<int, ModelResidue> modelResidues(const PDB& structure);

}  // namespace orvix::compare
