#include "structure/hydrogen_bonds.h"

#include <gtest/gtest.h>

#include "structure/pdb.h"
#include "structure_text.h"
#include "tables/temporary_file.h"

namespace {

// A carbonyl of residue `carbonyl` and an amide of residue `amide` in line along x, O and HN
// `length` apart: C=O 1.23, N-H 1.0 angstrom. `y` tells apart several of them.
std::string inLine(int serial, int carbonyl, int amide, double length, double y = 0.0) {
    const auto line = [&](int i, const char* name, int residue, double x) {
        return atomLine(serial + i, name, "ALA", residue, x, y, 0.0) + "\n";
    };
    return line(0, " C", carbonyl, 0.0) + line(1, " O", carbonyl, 1.23) +
           line(2, " N", amide, 1.23 + length + 1.0) + line(3, " H", amide, 1.23 + length);
}

PDB bondedStructure(const std::string& text) {
    PDB pdb = readStructure(text);
    pdb.initHBond(0.0F, 0.0F);
    return pdb;
}

TEST(HydrogenBonds, EnergyFallsWithTheCubes) {
    // Worked out by hand for the line C 0, O 1.23, H 4.08, N 5.08: -0.518; with O and H 2.9 apart
    // it is -0.484, which doesn't reach -0.5.
    PDB bonded = bondedStructure(inLine(1, 1, 5, 2.85));
    EXPECT_EQ(bonded.acceptors, (std::map<int, int>{{2, 1}}));
    EXPECT_EQ(bonded.donors, (std::map<int, int>{{4, 3}}));
    EXPECT_NEAR(bonded.getHBondDist(1, "O"), 2.85, 1e-5);
    EXPECT_EQ(bonded.getHBondDist(5, "HN"), bonded.getHBondDist(1, "O"));
    EXPECT_EQ(bonded.getHBondDist(bonded.atoms[1][5]["HN"]), bonded.getHBondDist(1, "O"));
    EXPECT_EQ(bonded.getHBondDist(5, "N"), 0.0F);
    EXPECT_EQ(bonded.getHBondDist(99, "O"), 0.0F);
    EXPECT_TRUE(bondedStructure(inLine(1, 1, 5, 2.9)).hbondDist.empty());
    EXPECT_NEAR(orvix::structure::hydrogenBondEnergy(3.85F, 4.08F, 2.85F, 5.08F), -0.518, 5e-4);
}

TEST(HydrogenBonds, NeedsTheAcceptorNextToTheHydrogen) {
    // Both pairs have the energy 27.888 * 2 * (1/27 - 1/8).
    EXPECT_TRUE(orvix::structure::isHydrogenBond(3.0F, 3.0F, 2.0F, 2.0F));
    EXPECT_FALSE(orvix::structure::isHydrogenBond(3.0F, 3.0F, 2.001F, 2.0F));
    EXPECT_FALSE(orvix::structure::isHydrogenBond(2.0F, 2.0F, 2.0F, 2.0F));
}

TEST(HydrogenBonds, NeighboursAreNeverBonded) {
    for (const int amide : {1, 2, 3, 4, 5}) {
        PDB pdb = bondedStructure(inLine(1, 3, amide, 2.0));
        EXPECT_EQ(pdb.getHBondDist(3, "O") > 0.0F, amide == 1 || amide == 5) << amide;
    }
}

TEST(HydrogenBonds, AtomsKeepTheirShortestBond) {
    // The amide of residue 9 lies between two carbonyls, both pointing at its hydrogen.
    const auto carbonyl = [](int serial, int residue, double y, double length) {
        return atomLine(serial, " C", "GLY", residue, 0, y + length + 1.23, 0) + "\n" +
               atomLine(serial + 1, " O", "GLY", residue, 0, y + length, 0) + "\n";
    };
    const std::string amide =
        atomLine(1, " N", "GLY", 9, 0, -1, 0) + "\n" + atomLine(2, " H", "GLY", 9, 0, 0, 0) + "\n";
    for (const bool shorterFirst : {false, true}) {
        PDB pdb = bondedStructure(amide + carbonyl(3, 1, 0, shorterFirst ? 1.9 : 2.2) +
                                  carbonyl(5, 20, 0, shorterFirst ? 2.2 : 1.9));
        EXPECT_NEAR(pdb.getHBondDist(9, "HN"), 1.9, 1e-5);
        EXPECT_NEAR(pdb.getHBondDist(shorterFirst ? 20 : 1, "O"), 2.2, 1e-5);
        EXPECT_NEAR(pdb.getHBondDist(shorterFirst ? 1 : 20, "O"), 1.9, 1e-5);
    }
}

TEST(HydrogenBonds, RunAgainStartsAfresh) {
    PDB pdb = bondedStructure(inLine(1, 1, 5, 2.0));
    pdb.getHBondDist(77, "X");
    pdb.atomsByNum[1].erase(4);
    pdb.initHBond(1.0F, 2.0F);
    EXPECT_TRUE(pdb.hbondDist.empty() && pdb.donors.empty());
    EXPECT_EQ(pdb.acceptors.size(), 1U);
    const TemporaryFile empty("END\n");
    EXPECT_TRUE(pdb.loadPDB(empty.path()));
    EXPECT_TRUE(pdb.acceptors.empty());
}

struct Rule {
    const char* residue;
    const char* atom;
    const char* partner;
};

// The partner that `ask` finds for an atom of a residue that has the atom and `others`.
template <typename Ask>
std::string partner(const Rule& rule, const std::string& other, Ask ask) {
    CORdata atom;
    atom.atomName = rule.atom;
    atom.resName = rule.residue;
    atom.resNum = 7;
    CORdata heavy = atom;
    heavy.atomName = other;
    PDB pdb = readStructure("END\n");
    pdb.atoms[1][7][rule.atom] = atom;
    pdb.atoms[1][7][other] = heavy;
    return ask(pdb, atom).atomName;
}

TEST(HydrogenBonds, AcceptorsAndDonorsByResidue) {
    const auto acceptor = [](PDB& pdb, const CORdata& atom) { return pdb.isAcceptor(atom); };
    const auto donor = [](PDB& pdb, const CORdata& atom) { return pdb.isDonor(atom); };
    const Rule acceptors[] = {{"GLY", "O", "C"},     {"LYS", "OT1", "C"},  {"UNK", "OT2", "C"},
                              {"ASN", "OD1", "CG"},  {"ASP", "OD1", "CG"}, {"ASP", "OD2", "CG"},
                              {"CYS", "SG", "CB"},   {"cys", "SG", "CB"},  {"GLN", "OE1", "CD"},
                              {"GLU", "OE1", "CD"},  {"GLU", "OE2", "CD"}, {"HIS", "ND1", "CE1"},
                              {"HIS", "NE2", "CE1"}, {"MET", "SD", "CG"},  {"SER", "OG", "CB"},
                              {"THR", "OG1", "CB"},  {"TYR", "OH", "CZ"}};
    for (const Rule& rule : acceptors) {
        EXPECT_EQ(partner(rule, rule.partner, acceptor), rule.partner) << rule.residue << rule.atom;
        EXPECT_EQ(partner(rule, "XX", acceptor), "") << rule.residue << rule.atom;
        EXPECT_EQ(partner(rule, rule.partner, donor), "") << rule.residue << rule.atom;
    }
    const Rule donors[] = {{"GLY", "HN", "N"},     {"GLY", "HA2", "CA"},   {"UNK", "XHA", "CA"},
                           {"ARG", "HE", "NE"},    {"ARG", "HH11", "NH1"}, {"ARG", "HH12", "NH1"},
                           {"ARG", "HH21", "NH2"}, {"ARG", "HH22", "NH2"}, {"ASN", "HD21", "ND2"},
                           {"ASN", "HD22", "ND2"}, {"CYS", "HG", "SG"},    {"cys", "HG", "SG"},
                           {"GLN", "HE21", "NE2"}, {"GLN", "HE22", "NE2"}, {"HIS", "HD1", "ND1"},
                           {"HIS", "HE2", "NE2"},  {"LYS", "HZ1", "NZ"},   {"LYS", "HZ2", "NZ"},
                           {"LYS", "HZ3", "NZ"},   {"SER", "HG", "OG"},    {"THR", "HG1", "OG1"},
                           {"TRP", "HE1", "NE1"},  {"TYR", "HH", "OH"}};
    for (const Rule& rule : donors) {
        EXPECT_EQ(partner(rule, rule.partner, donor), rule.partner) << rule.residue << rule.atom;
        EXPECT_EQ(partner(rule, "XX", donor), "") << rule.residue << rule.atom;
        EXPECT_EQ(partner(rule, rule.partner, acceptor), "") << rule.residue << rule.atom;
    }
    for (const Rule& rule : {Rule{"GLN", "OE2", "CD"}, Rule{"his", "ND1", "CE1"},
                             Rule{"ASN", "OD2", "CG"}, Rule{"ALA", "SG", "CB"},
                             Rule{"LEU", "HG", "CG"}, Rule{"ALA", "H", "N"}, Rule{"GLY", "", ""}}) {
        EXPECT_EQ(partner(rule, rule.partner, acceptor), "") << rule.residue << rule.atom;
        EXPECT_EQ(partner(rule, rule.partner, donor), "") << rule.residue << rule.atom;
    }
}

TEST(HydrogenBonds, OddGeometriesHaveADefinedAnswer) {
    // Atoms on each other, and coordinates that aren't numbers.
    PDB pdb = bondedStructure(inLine(1, 1, 5, 0.0) + inLine(11, 21, 25, -1.0) +
                              "ATOM     31  C   ALA A  41         nan     nan     nan  1.00\n"
                              "ATOM     32  O   ALA A  41         inf     inf     inf  1.00\n");
    EXPECT_EQ(pdb.acceptors.count(32), 1U);
    for (const auto& [residue, atoms] : pdb.hbondDist) {
        for (const auto& [name, length] : atoms) {
            EXPECT_GE(length, 0.0F) << residue << name;
        }
    }
    EXPECT_EQ(pdb.getHBondDist(41, "O"), 0.0F);
}

}  // namespace
