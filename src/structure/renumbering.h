#pragma once

#include <map>
#include <memory>
#include <string>

class PDB;

namespace orvix::structure {

/// How a structure lies on the sequence of a query.
struct StructureFit {
    int aligned = 0;            ///< residues of the structure with a partner in the sequence
    int identical = 0;          ///< those of them with the same letter
    bool oneOffset = true;      ///< whether one number added to all residue numbers does it
    int offset = 0;             ///< that number; without one, that of the first aligned residue
    std::map<int, int> number;  ///< residue number of the structure -> number in the query

    /// Share of the aligned residues with the same letter, 0..1.
    double identity() const;
};

/// Places the residues of a structure on `sequence` (residue number -> letter; a run of numbers).
/// The structure's own distances in the sequence, its numbers, are kept where one offset serves
/// about as well as an alignment with gaps. Residues beyond the ends of the sequence are numbered
/// on; residues that the sequence lacks in its middle, and their neighbours, have no number.
StructureFit fitStructure(const PDB& structure, const std::map<int, std::string>& sequence);

/// The structure with the numbers of `fit`; residues without one are left out.
std::unique_ptr<PDB> renumbered(const PDB& structure, const StructureFit& fit);

}  // namespace orvix::structure
