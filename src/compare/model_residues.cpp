#include "compare/model_residues.h"

#include <string>
#include <vector>

#include "base/missing.h"
#include "compare/dssp.h"
#include "structure/pdb.h"

namespace orvix::compare {
namespace {

using Atoms = std::map<std::string, CORdata>;

std::optional<Point> placeOf(const Atoms& atoms, const std::string& name) {
    const auto found = atoms.find(name);
    if (found == atoms.end()) {
        return std::nullopt;
    }
    const float* const at = found->second.coor;
    return Point{static_cast<double>(at[0]), static_cast<double>(at[1]),
                 static_cast<double>(at[2])};
}

std::optional<double> known(float angle) {
    const auto value = static_cast<double>(angle);
    return value < missingLimit ? std::optional(value) : std::nullopt;
}

}  // namespace

std::map<int, ModelResidue> modelResidues(const PDB& structure) {
    std::vector<BackboneResidue> chain;
    std::vector<int> numbers;
    const auto model = structure.atoms.find(1);
    if (model == structure.atoms.end()) {
        return {};
    }
    for (const auto& [number, atoms] : model->second) {
        BackboneResidue residue{placeOf(atoms, "N"), placeOf(atoms, "CA"), placeOf(atoms, "C"),
                                placeOf(atoms, "O"), false};
        if (!residue.o) {
            residue.o = placeOf(atoms, "OT1");
        }
        residue.isProline = structure.residName1.at(number) == "P";
        chain.push_back(residue);
        numbers.push_back(number);
    }
    const std::string states = dsspStates(chain);
    PDB asked = structure;  // its questions are not const
    std::map<int, ModelResidue> residues;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        ModelResidue& residue = residues[numbers[i]];
        if (i > 0 && areBonded(chain[i - 1], chain[i])) {
            residue.phi = known(asked.getPhi(1, numbers[i]));
        }
        if (i + 1 < chain.size() && areBonded(chain[i], chain[i + 1])) {
            residue.psi = known(asked.getPsi(1, numbers[i]));
        }
        residue.chi1 = known(asked.getChi1(1, numbers[i]));
        residue.dssp = states[i];
    }
    return residues;
}

}  // namespace orvix::compare
