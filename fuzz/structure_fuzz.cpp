#include "fuzz_input.h"
#include "structure/pdb.h"

namespace {

/// Numbers of residues may lie far apart; the ends are where the care is needed.
constexpr int residuesAtEnd = 30;

void askAbout(PDB& structure, int residue) {
    structure.getPhi(1, residue);
    structure.getPsi(1, residue);
    structure.getOmega(1, residue);
    structure.getChi1(1, residue);
    structure.getChi2(1, residue);
    structure.isSSBonded(1, residue);
    for (const char* const atom : {"N", "HN", "HA", "HA2", "CA", "CB", "O"}) {
        structure.getOrbitalShift(1, residue, atom);
        structure.getHBondDist(residue, atom);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    PDB structure(inputFile(data, size));
    structure.initHBond(2.5F, 2.5F);
    structure.initOrbitalShift();
    const long long first = structure.firstRes;
    const long long last = structure.lastRes;
    for (long long i = first - 1; i <= last + 1 && i <= first + residuesAtEnd; ++i) {
        askAbout(structure, static_cast<int>(i));
    }
    for (long long i = last - residuesAtEnd; i <= last + 1 && first <= last; ++i) {
        askAbout(structure, static_cast<int>(i));
    }
    for (auto& [number, atom] : structure.atomsByNum[1]) {
        structure.getHBondDist(atom);
        structure.isDonor(atom);
        structure.isAcceptor(atom);
    }
    return 0;
}
