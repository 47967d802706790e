#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "structure/dihedral.h"
#include "structure/pdb.h"
#include "structure_text.h"

namespace {

CORdata at(float x, float y, float z) {
    CORdata atom;
    atom.atomName = "X";
    atom.coor[0] = x;
    atom.coor[1] = y;
    atom.coor[2] = z;
    return atom;
}

PDB emptyStructure() {
    return readStructure("END\n");
}

TEST(Torsions, AngleAboutABond) {
    PDB pdb = emptyStructure();
    // Seen along z, d turns by `degrees` from a; a right-handed turn about b-c is positive.
    for (int degrees = -179; degrees <= 179; degrees += 7) {
        const double turn = degrees * std::numbers::pi / 180.0;
        const CORdata d = at(static_cast<float>(2.0 * std::cos(turn)),
                             static_cast<float>(2.0 * std::sin(turn)), 3.0F);
        EXPECT_NEAR(pdb.getDihedralAngle(at(1.5F, 0, -0.5F), at(0, 0, 0), at(0, 0, 1.5F), d),
                    degrees, 2e-5);
    }
}

TEST(Torsions, FlatArrangements) {
    PDB pdb = emptyStructure();
    EXPECT_EQ(pdb.getDihedralAngle(at(1, 0, 0), at(0, 0, 0), at(0, 0, 1), at(1, 0, 1)), 0.0F);
    EXPECT_EQ(pdb.getDihedralAngle(at(1, 0, 0), at(0, 0, 0), at(0, 0, 1), at(-1, 0, 1)), 180.0F);
    EXPECT_EQ(pdb.getDihedralAngle(at(1, 0, 0), at(0, 0, 0), at(0, 0, 1), at(0, 1, 1)), 90.0F);
    EXPECT_EQ(pdb.getDihedralAngle(at(1, 0, 0), at(0, 0, 0), at(0, 0, 1), at(0, -1, 1)), -90.0F);
}

TEST(Torsions, UndefinedAngles) {
    PDB pdb = emptyStructure();
    const CORdata d = at(1, 0, 1);
    EXPECT_EQ(pdb.getDihedralAngle(at(0, 0, -1), at(0, 0, 0), at(0, 0, 1), d), 9999.0F);
    EXPECT_EQ(pdb.getDihedralAngle(d, d, d, d), 9999.0F);
    EXPECT_EQ(pdb.getDihedralAngle(at(INFINITY, 0, 0), at(0, 0, 0), at(0, 0, 1), d), 9999.0F);
    EXPECT_EQ(pdb.getDihedralAngle(at(NAN, 0, 0), at(0, 0, 0), at(0, 0, 1), d), 9999.0F);
    EXPECT_EQ(pdb.getDihedralAngle(at(1, 0, 0), at(0, 0, 0), at(0, 0, 1), CORdata()), 9999.0F);
}

// Two residues; C of the first, then N, CA, C and CB with a fourth atom of the second, and N of the
// third. Angles about the bonds: right angles all.
std::string shortChain(const std::string& residue, const std::string& fourth) {
    return atomLine(1, " C", "ALA", 1, 1, 0, 0) + "\n" +             //
           atomLine(2, " N", residue, 2, 0, 0, 0) + "\n" +           //
           atomLine(3, " CA", residue, 2, 0, 0, 1) + "\n" +          //
           atomLine(4, " C", residue, 2, 0, 1, 1) + "\n" +           //
           atomLine(5, " CB", residue, 2, -1, 0, 1) + "\n" +         //
           atomLine(6, " " + fourth, residue, 2, -1, 1, 1) + "\n" +  //
           atomLine(7, " N", "ALA", 3, 1, 1, 1) + "\n";
}

TEST(Torsions, NamedAngles) {
    PDB pdb = readStructure(shortChain("LEU", "CG"));
    EXPECT_EQ(pdb.getPhi(1, 2), 90.0F);
    EXPECT_EQ(pdb.getPsi(1, 2), -90.0F);
    EXPECT_EQ(pdb.getChi1(1, 2), -90.0F);
    EXPECT_EQ(pdb.getPhi(1, 1), 9999.0F);
    EXPECT_EQ(pdb.getPsi(1, 3), 9999.0F);
    EXPECT_EQ(pdb.getPhi(2, 2), 9999.0F);
    EXPECT_EQ(pdb.getChi1(1, 77), 9999.0F);
    // Questions leave no trace.
    EXPECT_EQ(pdb.atoms.size(), 1U);
    EXPECT_EQ(pdb.atoms[1].size(), 3U);
    EXPECT_EQ(pdb.residName3.size(), 3U);
}

TEST(Torsions, FourthAtomOfChi1) {
    const std::pair<const char*, const char*> ends[] = {
        {"VAL", "CG1"}, {"ILE", "CG1"}, {"THR", "OG1"}, {"SER", "OG"},
        {"CYS", "SG"},  {"ARG", "CG"},  {"PRO", "CG"},  {"UNK", "CG"}};
    for (const auto& [residue, atom] : ends) {
        EXPECT_EQ(readStructure(shortChain(residue, atom)).getChi1(1, 2), -90.0F) << residue;
        EXPECT_EQ(readStructure(shortChain(residue, "XX")).getChi1(1, 2), 9999.0F) << residue;
    }
    EXPECT_EQ(readStructure(shortChain("ALA", "CG")).getChi1(1, 2), 9999.0F);
    EXPECT_EQ(readStructure(shortChain("GLY", "CG")).getChi1(1, 2), 9999.0F);
    PDB bonded =
        readStructure(shortChain("CYS", "SG") + atomLine(8, " SG", "CYS", 30, -1, 2, 1) + "\n");
    ASSERT_EQ(bonded.residName3[2], "cys");
    EXPECT_EQ(bonded.getChi1(1, 2), -90.0F);
}

TEST(Torsions, Omega) {
    // CA and C of residue 1, then N and CA of residue 2; a right angle about the peptide bond.
    const std::string before =
        atomLine(1, " CA", "ALA", 1, 1, 0, 0) + "\n" + atomLine(2, " C", "ALA", 1, 0, 0, 0) + "\n";
    const std::string after =
        atomLine(3, " N", "GLY", 2, 0, 0, 1) + "\n" + atomLine(4, " CA", "GLY", 2, 0, 1, 1) + "\n";
    PDB pdb = readStructure(before + after);
    EXPECT_EQ(pdb.getOmega(1, 2), 90.0F);
    EXPECT_EQ(pdb.getOmega(1, 1), 9999.0F);
    EXPECT_EQ(pdb.getOmega(1, 3), 9999.0F);
    EXPECT_EQ(pdb.getOmega(2, 2), 9999.0F);
    EXPECT_EQ(pdb.getOmega(1, -2147483647 - 1), 9999.0F);
    EXPECT_EQ(readStructure(after).getOmega(1, 2), 9999.0F);
}

TEST(Torsions, LastAtomsOfChi2) {
    const auto chi2 = [](const std::string& residue, const std::string& third,
                         const std::string& fourth) {
        PDB pdb = readStructure(atomLine(1, " CA", residue, 2, 1, 0, 0) + "\n" +
                                atomLine(2, " CB", residue, 2, 0, 0, 0) + "\n" +
                                atomLine(3, third, residue, 2, 0, 0, 1) + "\n" +
                                atomLine(4, fourth, residue, 2, 0, -1, 1) + "\n");
        return pdb.getChi2(1, 2);
    };
    const struct {
        const char* residue;
        const char* third;
        const char* fourth;
    } ends[] = {{"VAL", "CG1", "HG11"}, {"THR", "CG2", "HG21"}, {"SER", "OG", "HG"},
                {"ILE", "CG1", "CD1"},  {"CYS", "SG", "HG"},    {"ASN", "CG", "OD1"},
                {"ASP", "CG", "OD1"},   {"HIS", "CG", "ND1"},   {"MET", "CG", "SD"},
                {"LEU", "CG", "CD1"},   {"PHE", "CG", "CD1"},   {"TYR", "CG", "CD1"},
                {"TRP", "CG", "CD1"},   {"LYS", "CG", "CD"},    {"GLU", "CG", "CD"},
                {"PRO", "CG", "CD"},    {"UNK", "CG", "CD"}};
    for (const auto& end : ends) {
        EXPECT_EQ(chi2(end.residue, end.third, end.fourth), -90.0F) << end.residue;
        EXPECT_EQ(chi2(end.residue, end.third, "XX"), 9999.0F) << end.residue;
    }
    EXPECT_EQ(chi2("GLY", "CG", "CD"), 9999.0F);
    EXPECT_EQ(chi2("ALA", "CG", "CD"), 9999.0F);
    EXPECT_EQ(readStructure("END\n").getChi2(1, 5), 9999.0F);
    PDB bonded = readStructure(shortChain("CYS", "SG") + atomLine(9, " HG", "CYS", 2, 0, 1, 1) +
                               "\n" + atomLine(8, " SG", "CYS", 30, -1, 2, 1) + "\n");
    ASSERT_EQ(bonded.residName3[2], "cys");
    EXPECT_LT(bonded.getChi2(1, 2), 999.0F);
}

}  // namespace
