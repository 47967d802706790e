#include <filesystem>

#include "import/import_text.h"
#include "tables/gdb.h"

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

    // The only one there under another name serves when the residue names fit.
    const std::filesystem::path directory =
        std::filesystem::path(file.path()).string() + "_directory";
    std::filesystem::create_directory(directory);
    std::ofstream(directory / "a.prot") << filled({"MET M", "LYS+ K", "GLY G"});
    std::ofstream(directory / "b.seq") << "ALA 11\nMET\nLYS\nGLY\n";
    EXPECT_EQ(importing::importShifts((directory / "a.prot").string(), {}).sequence, "AMKG");
    std::ofstream(directory / "b.seq") << "ALA 11\nTRP\nLYS\nGLY\n";
    EXPECT_EQ(importing::importShifts((directory / "a.prot").string(), {}).sequence, "MKG");
    std::filesystem::remove_all(directory);

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

TEST(Csv, HeadersOfOtherPrograms) {
    const Rows wide{"1 M N 120.1", "1 M CA 55", "1 M HN 8.1", "2 K N 121", "2 K CA 56", "2 K HN 8"};
    for (const char* header :
         {"Residue;Type;15N;1HN;13CA\n", "#;Res;N;HN;CA\n", "No;AA;N (ppm);H;C\u03B1 [ppm]\n",
          "Residue #;aa;N15;H1;CA\n",
          "# any comment\n# Residue N HN CA of a title\nProtein of a friend\n! "
          "more\nNo.;Residue;\u03B4N;H_N;C-alpha\n"}) {
        EXPECT_EQ(rowsOf(importText(header + std::string("1;M;120.1;8.1;55\n2;K;121;8;56\n"))),
                  wide)
            << header;
    }
    const Rows list{"1 M CA 55.1", "2 K HN 8.1"};
    for (const char* text :
         {"Seq,Residue,Atom,Chemical Shift (ppm)\n1,MET,CA,55.1\n2,LYS,H,8.1\n",
          "NmrResidue,NmrAtom,Value\nA.1.MET,CA,55.1\nA.2.LYS,H,8.1\nA.@3.,C,1\n",
          "#,NmrAtom,Value\n1,NA:A.1.MET.CA,55.1\n2,NA:A.2.LYS.H,8.1\n",
          "Assignment,Atom,Shift\nMET-1,CA,55.1\nLYS-2,H,8.1\n",
          "Residue_seq_code,Residue_label,Atom_name,Chem_shift_value\n1,MET,CA,55.1\n2,LYS,H,8.1\n",
          "resi resn nucleus cs\n1 MET CA 55.1\n2 LYS H 8.1\n",
          "Index,Residue,Atom,Shift\n1,MET,CA,55.1\n2,LYS,H,8.1\n",
          "#\tNucleus\tResidue\tAssign Name\tShift\n1\t13C\t1Met\tCA\t55.1\n2\t1H\t2Lys\tH\t8.1\n",
          "Assignment,Shift\nM1CA,55.1\nK2-H,8.1\n"}) {
        EXPECT_EQ(rowsOf(importText(text)), list) << text;
    }
    EXPECT_NE(refusal("#,Res,Atom,Shift\n1,M,C,175\n2,M,CA,55.1\n3,K,CA,55\n4,K,C,175\n")
                  .find("counts the rows"),
              std::string::npos);
    // Beside a name without one, a hyphen is a minus.
    EXPECT_EQ(rowsOf(importText("Assignment,Atom,Shift\nG-1,CA,45\nM1,CA,55.1\n")),
              (Rows{"-1 G CA 45", "1 M CA 55.1"}));
}

TEST(Lists, RowsWithoutAHeader) {
    const Rows expected{"1 M CA 55.1", "2 K C 176.1"};
    for (const char* text :
         {"1 1 MET CA C 55.1 0.1 1\n2 2 LYS C C 176.1 0.1 1\n",
          "1 1 1 1 MET CA C 13 55.1 0.1 . 1\n2 1 1 2 LYS C C 13 176.1 0.1 . 1\n",
          "1 M CA 55.1\n2 K C 176.1\n", "# by hand\nMET 1 CA 55.1\nLYS 2 C 176.1\n"}) {
        const importing::ImportedTable table = importText(text);
        EXPECT_EQ(table.format, "rows");
        EXPECT_EQ(rowsOf(table), expected) << text;
    }
    const importing::ImportedTable code =
        importText("1 1 2 LYS CA C 13 56.1 0.1 . 4 .\n1 1 3 LYS CA C 13 . . . 1 .\nLYS CA\n");
    EXPECT_EQ(code.report.items(importing::ImportFinding::ambiguous).size(), 1U);
    EXPECT_EQ(code.report.items(importing::ImportFinding::valueMissing).size(), 1U);
    EXPECT_TRUE(tells(code, "row that can't be read: 1, the first is line 3"));
}

TEST(Lists, NmrViewNeedsASequence) {
    const TemporaryFile sequence(">x\nMKA\n");
    importing::ImportOptions options;
    options.sequenceFile = sequence.path();
    const importing::ImportedTable table =
        importText("1.CA 55.1 1\n2.HN 8.1 1\n3.QB 1.3 1\n", options);
    EXPECT_EQ(table.format, "nmrview");
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.1", "2 K HN 8.1"}));
    EXPECT_TRUE(tells(table, "the rows have none"));
}

// What an editor that drops the last line end leaves is whole; what ends in a line is not.
TEST(CutFiles, AreToldFromFilesWithoutALastLineEnd) {
    const std::string columns = "1 55.100 0.02 CA 1 MET\n2 56.100 0.02 CA 2 LYS";
    const std::string table = "Residue,Atom,Shift\nM1,CA,55.100\nK2,CA,56.100";
    const std::string quoted = "\"Residue\";\"Atom\";\"Shift\"\n\"M1\";\"CA\";\"55,100\"\n";
    const std::string wide = "Residue,N,CA,CB\nM1,120.1,55.1,\nK2,121.5,56.3,\nA3,122.4,52.3,";
    for (const auto& [text, cut] :
         {std::pair{columns, false}, std::pair{columns.substr(0, columns.size() - 4), true},
          std::pair{table, false}, std::pair{table.substr(0, table.size() - 1), true},
          std::pair{table.substr(0, table.size() - 6), true},
          std::pair{table.substr(0, table.size() - 9), true},
          std::pair{quoted + "\"K2\";\"CA\";\"56,100\"", false},
          std::pair{quoted + "\"K2\";\"CA\";\"56,1", true}, std::pair{wide, false},
          std::pair{wide.substr(0, wide.size() - 3), true}, std::pair{wide + '\n', false}}) {
        EXPECT_EQ(tells(importText(text), "looks cut off"), cut) << text;
    }
}

// One protein in every form, as a user gets it.
TEST(BundledExamples, HoldTheSameShiftsInEveryForm) {
    const std::string directory = ORVIX_EXAMPLES_DIR;
    const GDB table(directory + "/ci2.tab");
    Rows expected;
    for (const auto& [index, entry] : table.entries) {
        expected.push_back(entry.at("RESID") + " " + entry.at("RESNAME") + " " +
                           entry.at("ATOMNAME") + " " + entry.at("SHIFT"));
    }
    std::sort(expected.begin(), expected.end());
    for (const char* name :
         {"ci2_v3.str", "ci2_v21.str", "ci2.nef", "ci2.prot", "ci2_resonances.list", "ci2_wide.csv",
          "ci2_ccpnmr.csv", "ci2_rows.txt", "ci2_nmrview.ppm"}) {
        Rows rows = rowsOf(importing::importShifts(directory + "/forms/" + name, {}));
        std::sort(rows.begin(), rows.end());
        EXPECT_EQ(rows, expected) << name;
    }
}

TEST(UnknownForm, IsNamedOrListsTheKnownOnes) {
    const std::string known = "known forms: nmrstar3, nmrstar21, nef, xeasy, sparky, csv";
    for (const auto& [text, named] :
         {std::pair{"some prose\n", "no known form"}, std::pair{"loop_ _a 1 stop_", "STAR file"},
          std::pair{"%PDF\xff\xfe", "PDF"}, std::pair{">x\nMKL\n", "FASTA"},
          std::pair{"MET 1\nLYS 2\n", "is a sequence"},
          std::pair{"ATOM      1  N   MET A   1\n", "coordinate file"},
          std::pair{"Assignment w1 w2\n\nM1N-H 120 8\n", "peak list"},
          std::pair{"VARS RESID RESNAME ATOMNAME SHIFT\n1 M CA 55\n", "no DATA SEQUENCE line"},
          std::pair{"DATA SEQUENCE M\nVARS RESID ATOMNAME\n", "column SHIFT missing"}}) {
        const std::string message = refusal(text);
        EXPECT_NE(message.find(known), std::string::npos) << text;
        EXPECT_NE(message.find(named), std::string::npos) << message;
    }
    EXPECT_NE(refusal(" \n\n").find("the file is empty"), std::string::npos);
    importing::ImportOptions options;
    options.format = "xml";
    EXPECT_NE(refusal("x", options).find("known forms"), std::string::npos);
}

}  // namespace
}  // namespace orvix
