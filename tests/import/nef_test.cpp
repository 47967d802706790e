#include "import/import_text.h"

namespace orvix {
namespace {

std::string nef(const std::string& sequence, const std::string& shifts,
                const std::string& nameTag = "residue_name") {
    return "data_nef_x\nsave_nef_molecular_system\nloop_\n_nef_sequence.index\n"
           "_nef_sequence.chain_code\n_nef_sequence.sequence_code\n_nef_sequence." +
           nameTag + "\n" + sequence +
           "stop_\nsave_\nsave_nef_chemical_shift_list_a\nloop_\n_nef_chemical_shift.chain_code\n"
           "_nef_chemical_shift.sequence_code\n_nef_chemical_shift." +
           nameTag + "\n_nef_chemical_shift.atom_name\n_nef_chemical_shift.value\n" + shifts +
           "stop_\nsave_\n";
}

TEST(Nef, WildcardsAndUnassignedRows) {
    const std::string sequence = "1 A 394 ASP\n2 A 395 GLY\n3 A 396 GLY\n4 A 397 GLY\n";
    const std::string shifts =
        "A 394 ASP HN 8.4\nA 394 ASP HBx 2.7\nA 394 ASP HB% 2.7\nA 395 GLY HAx 3.9\n"
        "A 395 GLY HAy 4.0\nA 396 GLY HA% 3.95\nA 397 GLY QA 4.05\n@2 SS@12 GLX? CA 55.0\n"
        "A @7 . N 120.1\nA . . N 121.0\nA 397 . C 174.0\n";
    for (const char* tag : {"residue_name", "residue_type"}) {
        const importing::ImportedTable table = importText(nef(sequence, shifts, tag));
        EXPECT_EQ(table.format, "nef");
        EXPECT_EQ(table.sequence, "DGGG");
        EXPECT_EQ(table.firstResidue, 394);
        EXPECT_EQ(rowsOf(table), (Rows{"394 D HN 8.4", "395 G HA2 3.9", "395 G HA3 4.0",
                                       "396 G HA2 3.95", "397 G HA2 4.05", "397 G C 174.0"}));
        EXPECT_EQ(table.report.items(importing::ImportFinding::unassigned).size(), 3U);
        EXPECT_EQ(table.report.items(importing::ImportFinding::notRead).size(), 2U);
        EXPECT_EQ(table.report.items(importing::ImportFinding::glycineRenamed).size(), 4U);
    }
}

TEST(Nef, ChainsAndCodesThatAreNoNumbers) {
    const std::string text = nef("1 A 1 DG\n2 A 2 DC\n3 B 24A MET\n4 B 24B LYS\n",
                                 "A 1 DG C2 80\nB 24A MET CA 55.1\nB 24B LYS CA 56.2\n");
    const importing::ImportedTable table = importText(text);
    EXPECT_EQ(table.sequence, "MK");
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.1", "2 K CA 56.2"}));
    EXPECT_EQ(table.authorNumber.at(2), "24B");
    EXPECT_TRUE(tells(table, "numbered from 1"));
    EXPECT_EQ(table.report.items(importing::ImportFinding::renumbered).size(), 2U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::otherEntity).size(), 1U);
}

TEST(Nef, LigandsBehindTheChainAreNoResidues) {
    const importing::ImportedTable table =
        importText(nef("1 A 1 MET\n2 A 2 TYR_NH2\n3 A 201 ACD\n4 A 202 ZN\n",
                       "A 1 MET CA 55.1\nA 2 TYR_NH2 CA 58.0\nA 201 ACD C 180\n"));
    EXPECT_EQ(table.sequence, "MY");
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.1", "2 Y CA 58.0"}));
    EXPECT_TRUE(tells(table, "residue 202 ZN behind the end of chain A"));
    EXPECT_EQ(table.report.items(importing::ImportFinding::outsideSequence).size(), 1U);
    // Without a gap it is a residue that nobody knows.
    EXPECT_EQ(importText(nef("1 A 1 MET\n2 A 2 UNX\n", "A 1 MET CA 55\n")).sequence, "MX");
}

}  // namespace
}  // namespace orvix
