#include "jobs/structure_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "base/run_end.h"
#include "jobs/placed_reference.h"
#include "structure/pdb.h"
#include "support/temporary.h"

namespace {

using orvix::InputRejected;
using orvix::jobs::ChainChoice;
using orvix::jobs::PlacedModel;
using orvix::jobs::placedModels;
using orvix::jobs::readStructureFile;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string example = ORVIX_EXAMPLES "/ci2.pdb";

/// The ATOM lines of the example.
std::vector<std::string> exampleLines() {
    std::ifstream file(example);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("ATOM", 0) == 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

/// The residue number of a line.
int numberOf(const std::string& line) {
    return std::stoi(line.substr(22, 4));
}

std::string numbered(std::string line, int number, char insertion = ' ') {
    char text[16];
    std::snprintf(text, sizeof text, "%4d%c", number, insertion);
    return line.replace(22, 5, text);
}

/// The sequence of the example, its first residue as `first`.
std::map<int, std::string> sequence(int first = 1) {
    std::map<int, std::string> letters;
    for (const auto& [number, letter] : PDB(example).residName1) {
        letters[number - 1 + first] = letter;
    }
    return letters;
}

/// The example in mmCIF form, with the author's numbers moved by 100.
std::string mmcif() {
    std::string text =
        "# a comment\ndata_made\nloop_\n_atom_site.group_PDB\n_atom_site.id\n"
        "_atom_site.type_symbol\n_atom_site.label_atom_id\n_atom_site.label_alt_id\n"
        "_atom_site.label_comp_id\n_atom_site.label_asym_id\n_atom_site.label_entity_id\n"
        "_atom_site.label_seq_id\n_atom_site.pdbx_PDB_ins_code\n_atom_site.Cartn_x\n"
        "_atom_site.Cartn_y\n_atom_site.Cartn_z\n_atom_site.occupancy\n"
        "_atom_site.B_iso_or_equiv\n_atom_site.auth_seq_id\n_atom_site.auth_asym_id\n"
        "_atom_site.pdbx_PDB_model_num\n";
    int serial = 0;
    for (const std::string& line : exampleLines()) {
        std::istringstream words(line);
        std::string record, name, residue, chain, x, y, z;
        int number = 0, read = 0;
        words >> record >> read >> name >> residue >> chain >> number >> x >> y >> z;
        ++serial;
        text += "ATOM " + std::to_string(serial) + " " + name.substr(0, 1) + " " + name + " . " +
                residue + " Q 1 " + std::to_string(number) + " ? " + x + " " + y + " " + z +
                " 1.00 10.0 " + std::to_string(number + 100) + " Q 1\n";
    }
    return text;
}

void writeGzip(const std::string& path, const std::string& text) {
    gzFile file = gzopen(path.c_str(), "wb");
    gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
    gzclose(file);
}

/// Largest difference of phi and psi of two structures in degrees, 999 where one has none.
double largestDifference(const PDB& one, const PDB& other) {
    PDB a = one, b = other;
    double largest = 0.0;
    for (int i = a.firstRes; i <= a.lastRes; ++i) {
        largest = std::max(largest, static_cast<double>(std::abs(a.getPhi(1, i) - b.getPhi(1, i))));
        largest = std::max(largest, static_cast<double>(std::abs(a.getPsi(1, i) - b.getPsi(1, i))));
    }
    return largest;
}

TEST(StructureFile, AllFormsGiveTheSameChain) {
    const orvix::test::TemporaryDirectory directory;
    const std::string packed = directory.path("model.pdb.gz");
    writeGzip(packed, joined(exampleLines()));
    const std::string cif = directory.write("model.cif", mmcif());
    const std::string packedCif = directory.path("model.dat");
    writeGzip(packedCif, mmcif());
    const PDB known(example);
    for (const std::string& file : {example, packed, cif, packedCif}) {
        const std::vector<PlacedModel> placed = placedModels(file, sequence(), ChainChoice::best);
        ASSERT_EQ(placed.size(), 1U) << file;
        EXPECT_EQ(placed[0].structure->residName1, known.residName1) << file;
        EXPECT_EQ(largestDifference(known, *placed[0].structure), 0.0) << file;
        EXPECT_THAT(placed[0].placement, HasSubstr("64 of 64 aligned residues (100 %)")) << file;
    }
    EXPECT_THAT(placedModels(cif, sequence(), ChainChoice::best)[0].placement,
                HasSubstr("changed by -100"));
    EXPECT_EQ(placedModels(cif, sequence(), ChainChoice::best)[0].chain, "Q");
}

TEST(StructureFile, ChainIsFoundByItsSequence) {
    std::string text;
    // Another protein first, then the protein with its first ten residues missing, then whole.
    for (const auto& [chain, least] : {std::pair<char, int>{'A', 0}, {'B', 11}, {'C', 1}}) {
        for (std::string line : exampleLines()) {
            if (numberOf(line) < least) {
                continue;
            }
            line[21] = chain;
            if (chain == 'A') {
                line.replace(17, 3, numberOf(line) % 2 == 0 ? "GLY" : "TRP");
            }
            text += line + "\n";
        }
        text += "TER\n";
    }
    const orvix::test::TemporaryFile file(text + "END\n");
    const auto best = placedModels(file.path(), sequence(), ChainChoice::best);
    ASSERT_EQ(best.size(), 1U);
    EXPECT_EQ(best[0].chain, "C");
    const auto all = placedModels(file.path(), sequence(), ChainChoice::all);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].chain, "B");
    EXPECT_EQ(all[0].structure->firstRes, 11);
}

TEST(StructureFile, ModifiedAndAlternateResiduesAndInsertionCodes) {
    std::string text;
    for (std::string line : exampleLines()) {
        const int number = numberOf(line);
        if (line.substr(17, 3) == "MET") {
            line.replace(17, 3, "MSE").replace(0, 6, "HETATM");
        }
        if (number == 30) {
            std::string other = line;
            other[16] = 'B';
            other.replace(30, 8, "  99.000");
            line[16] = 'A';
            text += line + "\n" + other + "\n";
            continue;
        }
        // 40, 40A, 40B, 41 ... in place of 40, 41, 42, 43
        text += (number == 41   ? numbered(line, 40, 'A')
                 : number == 42 ? numbered(line, 40, 'B')
                 : number > 42  ? numbered(line, number - 2)
                                : line) +
                "\n";
    }
    const orvix::test::TemporaryFile file(text);
    const auto placed = placedModels(file.path(), sequence(), ChainChoice::best);
    EXPECT_EQ(placed[0].structure->residName1, PDB(example).residName1);
    EXPECT_EQ(largestDifference(PDB(example), *placed[0].structure), 0.0);
}

TEST(StructureFile, EveryModelOfAnEnsembleIsReadAndTheMiddleOneStandsForIt) {
    // Three models whose residues from 20 on lie at 0, 1 and 5 angstrom from where they were: the
    // angles of 19 and 20 of the second are nearest to those of both others.
    std::string text;
    for (const auto& [model, shift] : {std::pair<int, double>{1, 0.0}, {2, 0.4}, {3, 0.9}}) {
        text += "MODEL        " + std::to_string(model) + "\n";
        for (std::string line : exampleLines()) {
            if (numberOf(line) >= 20) {
                char place[16];
                std::snprintf(place, sizeof place, "%8.3f", std::stod(line.substr(30, 8)) + shift);
                line.replace(30, 8, place);
            }
            text += line + "\n";
        }
        text += "ENDMDL\n";
    }
    const orvix::test::TemporaryFile file(text);
    const auto placed = placedModels(file.path(), sequence(5), ChainChoice::best);
    ASSERT_EQ(placed.size(), 3U);
    EXPECT_EQ(placed[2].model, 3);
    EXPECT_GT(largestDifference(*placed[0].structure, *placed[2].structure), 5.0);
    std::vector<std::string> notes;
    const auto chosen = orvix::jobs::placedReference(file.path(), sequence(5), notes);
    EXPECT_EQ(largestDifference(*chosen, *placed[1].structure), 0.0);
    EXPECT_THAT(notes, ElementsAre(testing::AllOf(HasSubstr("of 3 models, number 2"),
                                                  HasSubstr("changed by +4"))));
}

TEST(StructureFile, WhatIsNoStructureIsRefusedWithItsName) {
    const orvix::test::TemporaryDirectory directory;
    const auto message = [&](const std::string& name, const std::string& text) -> std::string {
        try {
            placedModels(directory.write(name, text), sequence(), ChainChoice::best);
        } catch (const InputRejected& error) {
            return error.what();
        }
        return "taken";
    };
    EXPECT_THAT(message("empty.pdb", ""), HasSubstr("empty.pdb: no ATOM records found"));
    EXPECT_THAT(message("cut.pdb", "ATOM      1  N   LEU A   1       6.563\n"),
                HasSubstr("cut.pdb: no structure in PDB or mmCIF form"));
    EXPECT_THAT(message("cut.cif", "data_x\nloop_\n_atom_site.id\n_atom_site.type_symbol\n1\n"),
                HasSubstr("cut.cif: no structure in PDB or mmCIF form"));
    EXPECT_THAT(message("other.cif", "data_x\n_entry.id x\n"), HasSubstr("no ATOM records"));
    std::vector<std::string> lines = exampleLines();
    lines.resize(100);
    EXPECT_THAT(message("short.pdb", joined(lines)), HasSubstr("taken"));
    for (std::string& line : lines) {
        line.replace(17, 3, "GLY");
    }
    EXPECT_THAT(message("glycine.pdb", joined(lines)),
                HasSubstr("is no structure of this protein"));
    EXPECT_THROW(readStructureFile(directory.path("nowhere.pdb")), InputRejected);
}

}  // namespace
