#include "structure/renumbering.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "structure_text.h"

namespace {

using orvix::structure::fitStructure;
using orvix::structure::renumbered;
using orvix::structure::StructureFit;

const std::map<char, const char*> names = {{'A', "ALA"}, {'D', "ASP"}, {'E', "GLU"}, {'F', "PHE"},
                                           {'G', "GLY"}, {'I', "ILE"}, {'K', "LYS"}, {'L', "LEU"},
                                           {'M', "MET"}, {'P', "PRO"}, {'R', "ARG"}, {'T', "THR"}};

/// A chain of N, CA, C atoms along a zigzag, numbered from `first`.
PDB chain(const std::string& letters, int first) {
    std::string text;
    int serial = 0;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        for (const char* atom : {"N", "CA", "C"}) {
            ++serial;
            text += atomLine(serial, atom, names.at(letters[i]), first + static_cast<int>(i),
                             1.2 * serial, serial % 2, 0.3 * (serial % 5)) +
                    "\n";
        }
    }
    return readStructure(text);
}

std::map<int, std::string> sequence(const std::string& letters, int first) {
    std::map<int, std::string> result;
    for (char letter : letters) {
        result[first++] = std::string(1, letter);
    }
    return result;
}

const std::string protein = "MKTAEDFGILPRKTAGGEDL";

TEST(Renumbering, OneOffsetIsFoundAndAnglesMoveWithTheResidues) {
    PDB structure = chain(protein, 501);
    const StructureFit fit = fitStructure(structure, sequence(protein, 3));
    EXPECT_TRUE(fit.oneOffset);
    EXPECT_EQ(fit.offset, -498);
    EXPECT_EQ(fit.identical, 20);
    const auto moved = renumbered(structure, fit);
    EXPECT_EQ(moved->firstRes, 3);
    EXPECT_EQ(moved->lastRes, 22);
    EXPECT_EQ(moved->residName1.at(9), "F");
    for (int residue = 3; residue <= 22; ++residue) {
        EXPECT_EQ(moved->getPhi(1, residue), structure.getPhi(1, residue + 498));
        EXPECT_EQ(moved->getPsi(1, residue), structure.getPsi(1, residue + 498));
    }
    EXPECT_EQ(moved->atomsByNum.at(1).size(), structure.atomsByNum.at(1).size());
    EXPECT_EQ(moved->atomsByNum.at(1).at(1).resNum, 3);
}

TEST(Renumbering, NumbersThatFitStayAlsoBeyondTheSequenceAndForAMutant) {
    const PDB structure = chain("GG" + protein, -1);
    std::string mutant = protein;
    mutant[4] = 'K';
    const StructureFit fit = fitStructure(structure, sequence(mutant, 1));
    EXPECT_TRUE(fit.oneOffset);
    EXPECT_EQ(fit.offset, 0);
    EXPECT_EQ(fit.aligned, 20);
    EXPECT_EQ(fit.identical, 19);
    EXPECT_EQ(renumbered(structure, fit)->firstRes, -1);
}

TEST(Renumbering, ResiduesThatTheSequenceLacksAreLeftOutWithTheirNeighbours) {
    const std::string loop = protein.substr(0, 10) + "TTT" + protein.substr(10);
    PDB structure = chain(loop, 1);
    const StructureFit fit = fitStructure(structure, sequence(protein, 1));
    EXPECT_FALSE(fit.oneOffset);
    EXPECT_EQ(fit.identical, 20);
    const auto moved = renumbered(structure, fit);
    EXPECT_EQ(moved->residName1.count(10), 0U);
    EXPECT_EQ(moved->residName1.count(11), 0U);
    EXPECT_EQ(moved->getPsi(1, 8), structure.getPsi(1, 8));
    EXPECT_EQ(moved->getPsi(1, 9), 9999.0F);
    EXPECT_EQ(moved->getPhi(1, 13), structure.getPhi(1, 16));
    EXPECT_EQ(moved->getPhi(1, 12), 9999.0F);
}

TEST(Renumbering, AnotherProteinFitsBadlyAndFarNumbersCostNothing) {
    const StructureFit other = fitStructure(chain("FFFGGGLLLPPPRRRIIIDD", 1), sequence(protein, 1));
    EXPECT_TRUE(other.identity() < 0.8 || other.aligned < 10);
    PDB far = chain(protein, 9000);
    EXPECT_EQ(fitStructure(far, sequence(protein, 2147483600)).offset, 2147474600);
    EXPECT_EQ(fitStructure(PDB("no such file"), sequence(protein, 1)).aligned, 0);
}

}  // namespace
