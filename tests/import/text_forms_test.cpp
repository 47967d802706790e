#include <filesystem>

#include "import/import_text.h"

namespace orvix {
namespace {

TEST(Xeasy, SequenceFromColumnsFileOrOption) {
    const std::string rows =
        "# list of a friend\n 1  55.100 0.020 CA 12%n\n 2 8.100 0.0 HN 13%n\n"
        " 3 999.000 0.0 CB 12%n\n 4 3.9 0.1 HA1 14%n\n 5 4.1 0.1 HA2 14%n\n"
        " 6 120.0 0.1 N\n 7 7.0 0.1 QD . \n";
    const auto filled = [&rows](const std::vector<std::string>& names) {
        std::string text = rows;
        std::size_t at = 0;
        while ((at = text.find("%n")) != std::string::npos) {
            const int number = std::stoi(text.substr(at - 2, 2));
            text.replace(at, 2,
                         names.empty() ? "" : " " + names[static_cast<std::size_t>(number - 12)]);
        }
        return text;
    };
    const Rows expected{"12 M CA 55.100", "13 K HN 8.100", "14 G HA2 3.9", "14 G HA3 4.1"};

    const importing::ImportedTable named = importText(filled({"MET M", "LYS+ K", "GLY G"}));
    EXPECT_EQ(named.format, "xeasy");
    EXPECT_EQ(named.sequence, "MKG");
    EXPECT_EQ(rowsOf(named), expected);
    EXPECT_EQ(named.report.items(importing::ImportFinding::valueMissing).size(), 1U);
    EXPECT_EQ(named.report.items(importing::ImportFinding::rowIncomplete).size(), 1U);
    EXPECT_EQ(named.report.items(importing::ImportFinding::unassigned).size(), 1U);
    EXPECT_EQ(named.report.items(importing::ImportFinding::glycineRenamed).size(), 2U);

    // A sequence beside the file goes by its numbers.
    const TemporaryFile file(filled({}));
    const std::filesystem::path beside =
        std::filesystem::path(file.path()).replace_extension(".seq");
    std::ofstream(beside) << "# chain\nALA 11\nMET\nLYS+\nGLY 14\nCYSS\n";
    const importing::ImportedTable besides = importing::importShifts(file.path(), {});
    std::filesystem::remove(beside);
    EXPECT_EQ(besides.sequence, "AMKGC");
    EXPECT_EQ(besides.firstResidue, 11);
    EXPECT_EQ(rowsOf(besides), expected);

    // A sequence without numbers is placed by the residue names.
    const TemporaryFile fasta(">some protein\nSSAMKG\nW*\n");
    importing::ImportOptions options;
    options.sequenceFile = fasta.path();
    const importing::ImportedTable aligned =
        importText(filled({"MET M", "LYS+ K", "GLY G"}), options);
    EXPECT_EQ(aligned.sequence, "SSAMKGW");
    EXPECT_EQ(aligned.firstResidue, 9);
    EXPECT_EQ(rowsOf(aligned), expected);
    EXPECT_TRUE(tells(aligned, "3 of 3 fit the sequence; its first letter is residue 9"));
}

TEST(Sparky, GroupsOfAllKinds) {
    const importing::ImportedTable table = importText(
        " Group   Atom  Nuc    Shift   SDev  Assignments\n\n    R2   CA  13C   56.539  0.003   3\n"
        "    R2   N  15N   121.1  0.0   3\n   GLY4  HA  1H  3.95  0.0  1\n    ?    N   15N 118.0 0 "
        "1\n"
        "    K3  CO 13C 176.2 0 2\n    K3  HN\n");
    EXPECT_EQ(table.format, "sparky");
    EXPECT_EQ(table.sequence, "RKG");
    EXPECT_EQ(rowsOf(table), (Rows{"2 R N 121.1", "2 R CA 56.539", "3 K C 176.2", "4 G HA2 3.95"}));
    EXPECT_EQ(table.report.items(importing::ImportFinding::unassigned).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::rowIncomplete).size(), 1U);

    const importing::ImportedTable chains =
        importText("Group Atom Nuc Shift\n1G7 CA 13C 45.0\n1A8 CA 13C 52.0\n2G7 CA 13C 45.5\n");
    EXPECT_EQ(rowsOf(chains), (Rows{"7 G CA 45.0", "8 A CA 52.0"}));
    EXPECT_EQ(chains.report.items(importing::ImportFinding::assemblyConflict).size(), 1U);
}

TEST(Csv, LongWideAndServerForms) {
    const importing::ImportedTable tags = importText(
        "_Atom_chem_shift.Seq_ID,_Atom_chem_shift.Comp_ID,_Atom_chem_shift.Atom_ID,"
        "_Atom_chem_shift.Val,_Atom_chem_shift.Val_err\n1,MET,CA,\"55.1\",0.1\n2,LYS,H,?,\n"
        "2,LYS,N,120.3,\"a \"\"b\"\",\nc\"\n2,LYS\n3,LYS,C,1,2,3\n");
    EXPECT_EQ(tags.format, "csv");
    EXPECT_EQ(rowsOf(tags), (Rows{"1 M CA 55.1", "2 K N 120.3"}));
    EXPECT_EQ(tags.report.items(importing::ImportFinding::valueMissing).size(), 1U);
    EXPECT_EQ(tags.report.items(importing::ImportFinding::notRead).size(),
              1U);  // "2,LYS" has no atom
    EXPECT_EQ(tags.report.items(importing::ImportFinding::rowIncomplete).size(),
              1U);  // too many fields
    EXPECT_EQ(tags.report.items(importing::ImportFinding::unreadText).size(), 1U);

    const importing::ImportedTable commas =
        importText("residue;number;atom;shift\nMET;4;CA;55,1\n");
    EXPECT_EQ(rowsOf(commas), (Rows{"4 M CA 55.1"}));
    EXPECT_EQ(commas.report.items(importing::ImportFinding::valueRewritten).size(), 1U);

    const importing::ImportedTable wide =
        importText("Residue\tN\tHN\tCO\tHB2\nM1\t\t8.2\t176.1\t2\nG2\t110.0\n");
    EXPECT_EQ(rowsOf(wide), (Rows{"1 M C 176.1", "1 M HN 8.2", "2 G N 110.0"}));
    EXPECT_EQ(wide.report.items(importing::ImportFinding::unreadText), (Rows{"column HB2"}));

    const importing::ImportedTable server =
        importText("#NUM AA HA HN N15 CA CB CO\n1 M 4.2 0.00 0.00 55.1 33.0 0.00\n");
    EXPECT_EQ(rowsOf(server), (Rows{"1 M HA 4.2", "1 M CA 55.1", "1 M CB 33.0"}));
    EXPECT_EQ(server.report.items(importing::ImportFinding::valueZero).size(), 3U);
}

TEST(UnknownForm, ListsTheKnownOnes) {
    for (const char* text : {"", "some prose\n", "loop_ _a 1 stop_", "1 2 3\n", "%PDF\xff\xfe"}) {
        const std::string message = refusal(text);
        EXPECT_NE(message.find("known forms: nmrstar3, nmrstar21, nef, xeasy, sparky, csv"),
                  std::string::npos)
            << text;
    }
    importing::ImportOptions options;
    options.format = "xml";
    EXPECT_NE(refusal("x", options).find("known forms"), std::string::npos);
}

}  // namespace
}  // namespace orvix
