// Shift tables out of deposited files of both versions.

#include <random>

#include "tables/gdb2.h"
#include "tables/temporary_file.h"

namespace {

using Residues = std::map<int, std::string>;
using Words = std::vector<std::string>;

// What importing `content` gives.
struct Imported {
    Imported(int version, const std::string& content) {
        const TemporaryFile file(content);
        stream = errorOutput([&] {
            answer =
                version == 2 ? table.loadNMRStar2(file.path()) : table.loadNMRStar3(file.path());
        });
        for (int row = 1; row <= table.getLineEntryCount(); ++row) {
            rows += (row > 1 ? "|" : "") + table.getStringNodeVal(row, "RESID") + " " +
                    table.getStringNodeVal(row, "RESNAME") + " " +
                    table.getStringNodeVal(row, "ATOMNAME") + " " +
                    table.getStringNodeVal(row, "SHIFT");
        }
    }

    GDB2 table;
    bool answer = false;
    std::string stream;
    std::string rows;  // joined by "|"
};

// A shift loop of version 2 with the residue number, name, atom and value as first columns but one.
std::string loop2(const std::string& rows) {
    return "loop_\n _Atom_shift_assign_ID\n _Residue_seq_code\n _Residue_label\n _Atom_name\n"
           " _Chem_shift_value\n\n" +
           rows + "stop_\n";
}

std::string sequence2(const std::string& lines) {
    return "_Mol_residue_sequence\n;\n" + lines + ";\n";
}

std::string loop3(const std::string& rows) {
    return "loop_\n _Atom_chem_shift.ID\n _Atom_chem_shift.Entity_ID\n _Atom_chem_shift.Seq_ID\n"
           " _Atom_chem_shift.Comp_ID\n _Atom_chem_shift.Atom_ID\n _Atom_chem_shift.Val\n" +
           rows + "stop_\n";
}

std::string sequence3(const std::string& lines) {
    return "_Entity.Polymer_seq_one_letter_code\n;\n" + lines + ";\n";
}

std::string residues3(const std::string& rows) {
    return "loop_\n _Entity_comp_index.ID\n _Entity_comp_index.Comp_ID\n"
           " _Entity_comp_index.Entity_ID\n" +
           rows + "stop_\n";
}

std::string mismatch2(const std::string& resid, const std::string& entry, const std::string& name) {
    return "NMR-Star v2 Format Notice: Residue type mismatch, residue " + resid +
           " _Mol_residue_sequence: " + entry + " _Residue_seq_code: " + name + ".\n";
}

std::string mismatch3(const std::string& resid, const std::string& entry, const std::string& name,
                      const std::string& source) {
    return "NMR-Star v3 Format Notice: Residue type mismatch, residue " + resid +
           " _Entity.Polymer_seq_one_letter_code: " + entry + " " + source + ": " + name + ".\n";
}

TEST(NmrStar2, MakesAShiftTable) {
    Imported file(
        2, "data_1\nsave_x\n" + sequence2("\nMQ ZZ\nc*Z\r\n") + "\nLOOP_\n_Other\n7\nSTOP_\n" +
               loop2("1 1 MET N 120.5\n2 2 GLN ca 54.25\n\n3 2 GLN HA\n4 4 Q H x\n") + "save_\n");
    EXPECT_TRUE(file.answer);
    EXPECT_EQ(file.rows, "1 M N 120.5|2 Q ca 54.25|4 Q H 0");
    // Only the first word of a sequence line counts, in upper case.
    EXPECT_EQ(file.table.residList, (Residues{{1, "M"}, {2, "Q"}, {3, "C"}, {4, "Q"}, {5, "X"}}));
    EXPECT_EQ(file.stream, mismatch2("  4", "X", "Q") +
                               "NMR-Star v2 Format Notice: Sequence mismatches,    1 ( 5 Max).\n");
    EXPECT_EQ(file.table.noticeText, file.stream);
    EXPECT_EQ(file.table.errorText, "");
    EXPECT_EQ(file.table.lastResid, 5);
    EXPECT_EQ(file.table.varsLine, "RESID RESNAME ATOMNAME SHIFT");
    EXPECT_EQ(file.table.formatLine, "%4d %1s %4s %8.3f");
    EXPECT_EQ(file.table.headerLines,
              (Words{"Conversion of BMRB NMR-Star Version 2 Format Chemical Shifts", "",
                     "DATA FIRST_RESID 1"}));
    EXPECT_EQ(file.table.getResidName(5), "X");

    const TemporaryFile written;
    file.table.saveGDB(written.path());
    EXPECT_EQ(written.content(),
              "REMARK Conversion of BMRB NMR-Star Version 2 Format Chemical Shifts\n\n"
              "DATA FIRST_RESID 1\n\nDATA SEQUENCE MQCQX\n"
              "VARS   RESID RESNAME ATOMNAME SHIFT \nFORMAT %4d %1s %4s %8.3f\n\n"
              "   1 M    N  120.500\n   2 Q   ca   54.250\n   4 Q    H    0.000\n");
}

TEST(NmrStar2, NamesResiduesWithoutASequence) {
    Imported file(2, loop2("1 -2 GLY N 110\n2 1 Ala N 1\n"));
    EXPECT_TRUE(file.answer);
    EXPECT_EQ(file.table.residList, (Residues{{-2, "G"}, {-1, "?"}, {0, "?"}, {1, "?"}}));
    EXPECT_EQ(file.table.firstResid, -2);
    EXPECT_EQ(file.table.lastResid, 1);
    EXPECT_EQ(file.rows, "-2 G N 110|1 ? N 1");
    EXPECT_EQ(file.stream,
              "NMR-Star v2 Format Notice: Residue type for residue  -1 is not defined.\n"
              "NMR-Star v2 Format Notice: Residue type for residue   0 is not defined.\n"
              "NMR-Star v2 Format Notice: A _Mol_residue_sequence section seems to be missing\n"
              "NMR-Star v2 Format Notice:     for a full amino acid sequence definition.\n");
    EXPECT_EQ(file.table.noticeText, file.stream);
    EXPECT_EQ(file.table.headerLines.back(), "DATA FIRST_RESID -2");
}

TEST(NmrStar2, KeepsToItsColumns) {
    // A row needs all four columns and as many words as its loop has tags. The residue column
    // lasts to the end of its loop, the others to the next tag; a tag outside a loop sets 0.
    EXPECT_EQ(Imported(2,
                       "loop_\n_Residue_label\n_Atom_name\n_Chem_shift_value\nALA N 1\nstop_\n"
                       "loop_\n_x\n_y\n_Residue_seq_code\nALA N 3\nstop_\n")
                  .rows,
              "3 A N 3");
    EXPECT_EQ(Imported(2, "_Residue_label\n" + loop2("1 1 ALA N 1\n") + "loop_\n_a\n1\nstop_\n" +
                              "loop_\n_Residue_seq_code\n1\nstop_\n")
                  .rows,
              "1 A N 1")
        << "columns beyond the words of a row";
    // The first word travels in upper case.
    EXPECT_EQ(Imported(2,
                       "loop_\n_Residue_label\n_Atom_name\n_Chem_shift_value\n"
                       "_Residue_seq_code\nala n 1 3\nstop_\n")
                  .rows,
              "3 A n 1");
    // No end to the last loop.
    EXPECT_EQ(Imported(2,
                       "loop_\n_Residue_seq_code\n_Residue_label\n_Atom_name\n"
                       "_Chem_shift_value\n3 A N 1")
                  .rows,
              "3 A N 1");
}

TEST(NmrStar2, FileWithoutShifts) {
    for (const std::string& content : {std::string(), sequence2("MQ\n"), std::string("\n;\n;\n"),
                                       std::string("loop_\n_a\n1\nstop_\n")}) {
        Imported file(2, content);
        EXPECT_FALSE(file.answer) << content;
        EXPECT_EQ(file.stream + file.table.errorText, "") << content;
        EXPECT_EQ(file.table.getLineEntryCount(), 0);
        EXPECT_EQ(file.table.headerLines.size(), 0U);
    }
    // A loop that has the columns and no rows.
    Imported bare(2, loop2(""));
    EXPECT_TRUE(bare.answer);
    EXPECT_EQ(bare.table.residList.size(), 0U);

    for (const int version : {2, 3}) {
        GDB2 table;
        bool answer = true;
        EXPECT_EQ(errorOutput([&] {
                      answer = version == 2 ? table.loadNMRStar2(testing::TempDir())
                                            : table.loadNMRStar3("/nonexistent");
                  }),
                  "File Error: Can't open input file for reading\n");
        EXPECT_FALSE(answer);
        EXPECT_EQ(table.errorText, "File Error: Can't open input file for reading\n");
        EXPECT_EQ(table.getVarsCount(), 0);
    }
}

TEST(NmrStar2, CountsResiduesThatDiffer) {
    const std::string sequence = sequence2("AAAAAA\n");
    // The entry takes each new name; a name that was met isn't reported again. Longer names turn
    // the entry into "?" first.
    Imported four(2, sequence + loop2("1 1 GLY N 1\n2 1 GLY CA 1\n3 1 ALA N 1\n4 1 GLY HA 1\n"
                                      "5 2 NALA N 1\n6 2 NALA CA 1\n7 3 DG N 1\n8 4 A N 1\n"
                                      "9 5 ala N 1\n"));
    EXPECT_TRUE(four.answer);
    EXPECT_EQ(four.stream, mismatch2("  1", "A", "G") + mismatch2("  1", "G", "A") +
                               mismatch2("  2", "?", "NALA") + mismatch2("  3", "?", "DG") +
                               mismatch2("  5", "A", "?") +
                               "NMR-Star v2 Format Notice: Sequence mismatches,    4 ( 5 Max).\n");
    EXPECT_EQ(four.table.residList,
              (Residues{{1, "A"}, {2, "?"}, {3, "DG"}, {4, "A"}, {5, "?"}, {6, "A"}}));
    EXPECT_EQ(four.rows.substr(four.rows.find("2 NALA")),
              "2 NALA N 1|2 NALA CA 1|3 DG N 1|4 A N 1|5 ? N 1");

    Imported five(2, sequence + loop2("1 1 GLY N 1\n1 2 GLY N 1\n1 3 GLY N 1\n1 4 GLY N 1\n"
                                      "1 5 GLY N 1\n"));
    const std::string error =
        "NMR-Star v2 Format Errors: Too many sequence mismatches,    5 ( 5 Max).\n";
    EXPECT_FALSE(five.answer);
    EXPECT_EQ(five.table.errorText, error);
    EXPECT_EQ(five.stream, five.table.noticeText + error);
    EXPECT_EQ(five.table.getLineEntryCount(), 5);
    EXPECT_EQ(five.table.headerLines.size(), 3U);
}

TEST(NmrStar2, RefusesAnAbsurdRangeOfResidues) {
    for (const int version : {2, 3}) {
        const std::string v = std::to_string(version);
        Imported file(version, version == 2
                                   ? loop2("1 -99999999999 GLY N 1\n2 99999999999 GLY N 2\n")
                                   : loop3("1 1 -99999999999 GLY N 1\n2 1 99999999999 GLY N 2\n"));
        EXPECT_FALSE(file.answer);
        EXPECT_EQ(file.stream, "NMR-Star v" + v +
                                   " Format Errors: Residue numbers from -2147483648 to 2147483647 "
                                   "leave more than 100000 residues undefined.\n");
        EXPECT_EQ(file.table.errorText, file.stream);
        EXPECT_EQ(file.table.getLineEntryCount(), 2);
    }
}

TEST(NmrStar3, MakesAShiftTableOfEntityOne) {
    Imported file(3, "data_1\n" + sequence3("MQ;C more\nh\n") + "_Entity.Target_identifier .\n" +
                         residues3("1 ALA 1\n") +
                         loop3("1 1 1 MET N 120.5\n2 2 1 GLY N 1\n3 1 2 GLN CA 54.25\n4 1 2 GLN\n"
                               "5 01 2 GLN HA 4\n6 1 4 H H 8\n"));
    EXPECT_TRUE(file.answer);
    EXPECT_EQ(file.rows, "1 M N 120.5|2 Q CA 54.25|4 H H 8");
    EXPECT_EQ(file.table.residList, (Residues{{1, "M"}, {2, "Q"}, {3, "C"}, {4, "H"}}));
    EXPECT_EQ(file.stream, "") << "the list of residues waits for the end of the sequence's loop";
    EXPECT_EQ(file.table.lastResid, 4);
    EXPECT_EQ(file.table.headerLines,
              (Words{"Conversion of BMRB NMR-Star Version 3 Format Chemical Shifts", "",
                     "DATA FIRST_RESID 1"}));
}

TEST(NmrStar3, ReadsOneShiftLoop) {
    Imported file(3, loop3("1 1 1 MET N 1\n") + loop3("1 1 1 MET N 2\n"));
    EXPECT_EQ(file.rows, "1 M N 1");
    // Other tags of the category count for the row as well.
    Imported extra(3, "loop_\n_Atom_chem_shift_x.ID\n" + loop3("1 1 1 MET N 2\n").substr(6));
    EXPECT_EQ(extra.rows, "");
    Imported wide(3, "loop_\n_Atom_chem_shift_x.ID\n" + loop3("0 1 1 1 MET N 2\n").substr(6));
    EXPECT_EQ(wide.rows, "1 M N 2");
}

TEST(NmrStar3, TakesNamesFromTheListOfResidues) {
    Imported file(3, residues3("3 MET 1\n4 MSE 1\n5 DG 1\n6 c 1\n6 ALA 2\n7 ALA\n8 TRP 1\n") +
                         loop3("1 1 4 GLY N 1\n2 1 8 TRPX N 1\n"));
    EXPECT_TRUE(file.answer);
    EXPECT_EQ(file.table.getLineEntryCount(), 2);
    EXPECT_EQ(file.table.residList,
              (Residues{{3, "M"}, {4, "G"}, {5, "?"}, {6, "c"}, {7, "?"}, {8, "TRPX"}}));
    EXPECT_EQ(file.rows, "4 G N 1|8 TRPX N 1");
    EXPECT_EQ(file.stream,
              mismatch3("  4", "?", "G", "_Atom_chem_shift.Seq_ID") +
                  mismatch3("  8", "?", "TRPX", "_Atom_chem_shift.Seq_ID") +
                  "NMR-Star v3 Format Notice: Residue type for residue   7 is not defined.\n"
                  "NMR-Star v3 Format Notice: A _Entity.Polymer_seq_one_letter_code section seems "
                  "to\n"
                  "NMR-Star v3 Format Notice:    be missing for a full amino acid sequence "
                  "definition.\n"
                  "NMR-Star v3 Format Notice: Sequence mismatches,    2 ( 5 Max).\n");

    // Behind a sequence the list counts once a loop has ended, and may disagree.
    std::string list;
    for (int i = 1; i <= 5; ++i) {
        list += std::to_string(i) + " GLY 1\n";
    }
    Imported five(
        3, sequence3("AAAAA\n") + "loop_\nstop_\n" + residues3(list) + loop3("1 1 1 GLY N 1\n"));
    EXPECT_FALSE(five.answer);
    EXPECT_EQ(five.stream.substr(0, five.stream.find('\n') + 1),
              mismatch3("  1", "A", "G", "_Entity_comp_index.ID"));
    EXPECT_EQ(five.table.errorText,
              "NMR-Star v3 Format Errors: Too many sequence mismatches,    5 ( 5 Max).\n");
}

TEST(NmrStar3, TextFlagFlipsWithEverySemicolon) {
    // An unrelated text in front of the sequence closes before it; an odd one turns it around.
    EXPECT_EQ(
        Imported(3, ";\ntext\n;\n" + sequence3("MQ\n") + loop3("1 1 1 M N 1\n")).table.residList,
        (Residues{{1, "M"}, {2, "Q"}}));
    EXPECT_EQ(Imported(3, ";\n" + sequence3("MQ\n") + loop3("1 1 1 M N 1\n")).table.residList.at(2),
              "O")
        << "the letters of the line that opens the loop";
    Imported without(3, sequence3("MQ\n"));
    EXPECT_FALSE(without.answer);
    EXPECT_EQ(without.stream, "");
    EXPECT_EQ(without.table.getLineEntryCount(), 0);
}

TEST(NmrStar, SurvivesShuffledFiles) {
    // Lines of real files in any order, and bytes of any kind.
    const Words pieces = {"loop_",
                          "stop_",
                          ";",
                          "_Mol_residue_sequence",
                          "_Residue_seq_code",
                          "_Residue_label",
                          "_Atom_name",
                          "_Chem_shift_value",
                          "_Entity.Polymer_seq_one_letter_code",
                          "_Entity_comp_index.ID",
                          "_Entity_comp_index.Comp_ID",
                          "_Entity_comp_index.Entity_ID",
                          "_Atom_chem_shift.Entity_ID",
                          "_Atom_chem_shift.Seq_ID",
                          "_Atom_chem_shift.Comp_ID",
                          "_Atom_chem_shift.Atom_ID",
                          "_Atom_chem_shift.Val",
                          "1",
                          "1 2",
                          "1 ALA",
                          "1 1 1",
                          "1 2 GLY 1",
                          "1 1 1 GLY N",
                          "\x80\xff _ ;",
                          "5 4 3 2 1 0"};
    std::mt19937 random(11);
    int withRows = 0;
    for (int round = 0; round < 300; ++round) {
        std::string content;
        for (int line = 0; line < 400; ++line) {
            content += pieces[random() % pieces.size()] + "\n";
        }
        for (const int version : {2, 3}) {
            Imported file(version, content);
            withRows += file.table.getLineEntryCount() > 0 ? 1 : 0;
            const TemporaryFile written;
            file.table.saveGDB(written.path());
            EXPECT_EQ(file.answer,
                      file.table.errorText.empty() && file.table.headerLines.size() == 3);
        }
    }
    EXPECT_GT(withRows, 10);
}

}  // namespace
