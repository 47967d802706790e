#include "structure/pdb.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "structure_text.h"

namespace {

TEST(Pdb, ReadsTheFieldsOfALine) {
    PDB pdb = readStructure(
        "HEADER    SOMETHING\n\n"
        "ATOM     12  CA  LEU B -42      -1.500   2.250 100.125  1.00 33.25           C  \n"
        "ATOM     13 1HB  LEU B -42       0.000   0.000   0.000  1.00 33.25\n"
        "ATOM     14  H   LEU B -42       0.000   0.000   0.000  1.00\n");
    EXPECT_FALSE(pdb.isNull());
    const CORdata& atom = pdb.atoms[1][-42]["CA"];
    EXPECT_EQ(atom.atomNum, 12);
    EXPECT_EQ(atom.resNum, -42);
    EXPECT_EQ(atom.resName, "LEU");
    EXPECT_EQ(atom.chainName, "B");
    EXPECT_EQ(atom.coor[0], -1.5F);
    EXPECT_EQ(atom.coor[1], 2.25F);
    EXPECT_EQ(atom.coor[2], 100.125F);
    EXPECT_EQ(atom.coorCopy[2], 100.125F);
    EXPECT_EQ(atom.tempFactor, 33.25F);
    EXPECT_EQ(pdb.atomsByNum[1][13].atomName, "HB1");
    EXPECT_EQ(pdb.atomsByNum[1][14].atomName, "HN");
    EXPECT_EQ(pdb.atomsByNum[1][14].tempFactor, 0.0F);
    EXPECT_EQ(pdb.residName3[-42], "LEU");
    EXPECT_EQ(pdb.residName1[-42], "L");
    EXPECT_EQ(pdb.firstRes, -42);
    EXPECT_EQ(pdb.lastRes, -42);
}

TEST(Pdb, ReadsTheFirstChainOfTheFirstModel) {
    const std::string atoms = atomLine(1, " N", "ALA", 5, 1, 2, 3) + "\n" +
                              atomLine(2, " CA", "MSE", 6, 1, 2, 3, "HETATM") + "\n" +
                              atomLine(3, " CA", "GLY", 7, 1, 2, 3) + "\n";
    for (const char* end : {"TER", "END", "ENDMDL", "TERMINUS"}) {
        PDB pdb = readStructure(atoms + end + "\n" + atomLine(4, " N", "ALA", 8, 1, 2, 3) + "\n");
        EXPECT_EQ(pdb.atomsByNum[1].size(), 2U) << end;
        EXPECT_EQ(pdb.residName1, (std::map<int, std::string>{{5, "A"}, {7, "G"}})) << end;
        EXPECT_EQ(pdb.lastRes, 7);
    }
    PDB empty = readStructure("END\n" + atoms);
    EXPECT_FALSE(empty.isNull());
    EXPECT_TRUE(empty.atoms.empty());
    EXPECT_EQ(empty.getPhi(1, 5), 9999.0F);
}

TEST(Pdb, LaterLineOfAnAtomReplacesTheEarlier) {
    PDB pdb = readStructure(atomLine(1, " CA", "ALA", 5, 1, 0, 0) + "\n" +
                            atomLine(2, " CA", "ALA", 5, 2, 0, 0) + "\n");
    EXPECT_EQ(pdb.atoms[1][5]["CA"].coor[0], 2.0F);
    EXPECT_EQ(pdb.atomsByNum[1].size(), 2U);
}

TEST(Pdb, MissingFileAndDirectory) {
    for (const std::string& path :
         {testing::TempDir() + "no_such_structure.pdb", testing::TempDir()}) {
        testing::internal::CaptureStderr();
        PDB pdb(path);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "\tPDB error:: Can't open PDB file " + path + " for reading\n");
        EXPECT_TRUE(pdb.isNull());
        EXPECT_EQ(pdb.fileName, path);
        EXPECT_EQ(pdb.firstRes, 9999);
        EXPECT_EQ(pdb.lastRes, -9999);
    }
}

TEST(Pdb, ShortLinesAreCountedAndSkipped) {
    const std::string line = atomLine(1, " CA", "ALA", 5, 1, 2, 3);
    testing::internal::CaptureStderr();
    // 59 columns and the carriage return of a DOS line are too few, 60 are enough.
    PDB pdb = readStructure("ATOM\r\n" + line.substr(0, 59) + "\r\n" +
                            atomLine(2, " CA", "GLY", 6, 7, 8, 9).substr(0, 60) + "\r\n");
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_NE(message.find("2 ATOM line(s) shorter than 60 columns"), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), message.size() - 1);
    EXPECT_EQ(pdb.residName1, (std::map<int, std::string>{{6, "G"}}));
    EXPECT_EQ(pdb.atoms[1][6]["CA"].coor[2], 9.0F);
    CORdata record;
    record.atomName = "CA";
    pdb.loadPDB_Entry("ATOM", record);
    EXPECT_TRUE(record.atomName.empty());
}

TEST(Pdb, SurvivesJunk) {
    std::mt19937 random(7);
    std::string junk;
    for (int i = 0; i < 20000; ++i) {
        if (i % 97 == 0) {
            junk += "\nATOM";
        }
        junk += static_cast<char>(random() % 256);
    }
    junk += "\nATOM      1  N   ALA A   1    9e999999-1e30000nan     \n";
    testing::internal::CaptureStderr();
    PDB pdb = readStructure(junk);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(pdb.isNull());
    EXPECT_EQ(pdb.getPhi(1, 2147483647), 9999.0F);
    EXPECT_EQ(pdb.getPhi(1, -2147483647 - 1), 9999.0F);
    EXPECT_EQ(pdb.getPsi(1, 2147483647), 9999.0F);
    EXPECT_FALSE(pdb.isSSBonded(1, 1));
}

std::string cysteine(int serial, int number, double x) {
    return atomLine(serial, " SG", "CYS", number, x, 0, 0) + "\n";
}

TEST(Pdb, Disulfides) {
    // Exactly 2.5 apart, four residues away.
    PDB bonded = readStructure(cysteine(1, 10, 1.0) + cysteine(2, 14, 3.5));
    EXPECT_EQ(bonded.residName1, (std::map<int, std::string>{{10, "c"}, {14, "c"}}));
    EXPECT_EQ(bonded.residName3[14], "cys");
    EXPECT_TRUE(bonded.isSSBonded(1, 10));
    EXPECT_TRUE(bonded.isSSBonded(99, 14));
    EXPECT_FALSE(bonded.isSSBonded(1, 11));

    PDB close = readStructure(cysteine(1, 10, 1.0) + cysteine(2, 13, 2.0));
    EXPECT_EQ(close.residName1, (std::map<int, std::string>{{10, "C"}, {13, "C"}}));
    PDB far = readStructure(cysteine(1, 10, 1.0) + cysteine(2, 14, 3.501));
    EXPECT_EQ(far.residName1[10], "C");

    // Without SG both records would lie at the origin.
    PDB bare = readStructure(atomLine(1, " CA", "CYS", 10, 5, 0, 0) + "\n" +
                             atomLine(2, " CA", "CYS", 20, 9, 0, 0) + "\n");
    EXPECT_EQ(bare.residName1, (std::map<int, std::string>{{10, "C"}, {20, "C"}}));
}

TEST(Pdb, ResidueLetters) {
    EXPECT_EQ(PDB::getOneAAName("ARG+"), "R");
    EXPECT_EQ(PDB::getOneAAName("HIS+"), "H");
    EXPECT_EQ(PDB::getOneAAName("LYS+"), "K");
    EXPECT_EQ(PDB::getOneAAName("cys"), "c");
    EXPECT_EQ(PDB::getOneAAName("his"), "h");
    EXPECT_EQ(PDB::getOneAAName("ala"), "X");
    EXPECT_EQ(PDB::getOneAAName(""), "X");
    std::string letters;
    for (const char* name :
         {"ALA", "CYS", "ASP", "GLU", "PHE", "GLY", "HIS", "ILE", "LYS", "LEU",
          "MET", "ASN", "PRO", "GLN", "ARG", "SER", "THR", "VAL", "TRP", "TYR"}) {
        letters += PDB::getOneAAName(name);
    }
    EXPECT_EQ(letters, "ACDEFGHIKLMNPQRSTVWY");
}

}  // namespace
