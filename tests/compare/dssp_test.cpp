#include "compare/dssp.h"

#include <gtest/gtest.h>

#include "compare/model_residues.h"
#include "structure/pdb.h"

namespace {

using orvix::compare::modelResidues;

std::string states(const PDB& structure) {
    std::string text;
    for (const auto& [number, residue] : modelResidues(structure)) {
        text += residue.dssp;
    }
    return text;
}

// The states of the archive for this chain, made with DSSP 2; a polyproline state that later
// versions know does not occur in them.
TEST(Dssp, ExampleStructureHasTheStatesOfTheReferenceProgram) {
    EXPECT_EQ(states(PDB(ORVIX_EXAMPLES "/ci2.pdb")),
              "CCCBCGGGTTSBHHHHHHHHHHHCTTCEEEEEETTCCCCCCCCTTEEEEEECTTSBBCSCCEEC");
}

TEST(Dssp, ABreakOfTheChainEndsHelixAndAngles) {
    PDB structure(ORVIX_EXAMPLES "/ci2.pdb");
    const auto whole = modelResidues(structure);
    // From residue 18 on, the chain lies a hundred angstrom away.
    for (auto& [number, atoms] : structure.atoms[1]) {
        for (auto& [name, atom] : atoms) {
            atom.coor[0] += number >= 18 ? 100.0F : 0.0F;
        }
    }
    const auto broken = modelResidues(structure);
    // Turns of 12 to 16 and 13 to 17 make a helix of 13 to 16; the next ones start at 18 and 19.
    EXPECT_EQ(states(structure).substr(12, 11), "HHHHCCHHHHH");
    EXPECT_FALSE(broken.at(17).psi);
    EXPECT_FALSE(broken.at(18).phi);
    EXPECT_EQ(broken.at(17).phi, whole.at(17).phi);
    EXPECT_EQ(broken.at(18).psi.has_value(), true);
}

TEST(Dssp, NothingOfNothing) {
    EXPECT_EQ(orvix::compare::dsspStates({}), "");
    EXPECT_EQ(orvix::compare::dsspStates(std::vector<orvix::compare::BackboneResidue>(6)),
              "CCCCCC");
    EXPECT_EQ(orvix::compare::threeState('G'), 'H');
    EXPECT_EQ(orvix::compare::threeState('B'), 'E');
    EXPECT_EQ(orvix::compare::threeState('T'), 'L');
}

}  // namespace
