#include <zlib.h>

#include "import/import_text.h"

namespace orvix {
namespace {

const std::string columns =
    "Entity_assembly_ID Entity_ID Seq_ID Comp_ID Atom_ID Val Ambiguity_code";

importing::ImportOptions with(std::string importing::ImportOptions::*option,
                              const std::string& value) {
    importing::ImportOptions options;
    options.*option = value;
    return options;
}

TEST(NmrStar3, ColumnsRowsAndValuesOfAnyLayout) {
    const importing::ImportedTable table = importText(
        "data_1 save_e _Entry.Title\n;A title,\n  of two lines\n;\nsave_\n" +
        entityFrame("1", {"MET", "GLY", "LYS"}) +
        shiftFrame("1", "Val Details Atom_ID Comp_ID Seq_ID Ambiguity_code",
                   "8.30 'two words' H LYS 3 1   120.5\n;\na text\n;\n N LYS 3 . 55.10 $ref CA MET "
                   "1 1\n. . CB MET 1 1\n? . C MET 1 1\nabc . HA MET 1 1"));
    EXPECT_EQ(table.title, "A title, of two lines");
    EXPECT_EQ(table.sequence, "MGK");
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.10", "3 K N 120.5", "3 K HN 8.30"}));
    EXPECT_EQ(table.report.items(importing::ImportFinding::valueMissing).size(), 2U);
    ASSERT_EQ(table.report.items(importing::ImportFinding::valueNotNumber).size(), 1U);
    EXPECT_NE(table.report.items(importing::ImportFinding::valueNotNumber)[0].find("1 MET HA abc"),
              std::string::npos);
    EXPECT_EQ(table.report.items(importing::ImportFinding::atomRenamed).size(), 1U);
}

// The template that depositors fill in has no Seq_ID, no Entity_ID and nothing but the loop.
TEST(NmrStar3, FallsBackForMissingColumns) {
    const std::string template_ =
        shiftFrame("1", "ID Entity_assembly_ID Comp_index_ID Comp_ID Atom_ID Val",
                   "1 1 5 ALA CA 52.5\n2 1 7 GLY CA 45.1");
    const importing::ImportedTable alone = importText(template_);
    EXPECT_EQ(alone.sequence, "AXG");
    EXPECT_EQ(alone.firstResidue, 5);
    EXPECT_TRUE(tells(alone, "no sequence"));

    const std::string assembly =
        "save_a loop_ _Entity_assembly.ID _Entity_assembly.Entity_ID 1 2 2 1 stop_ save_\n";
    const importing::ImportedTable second =
        importText(assembly + entityFrame("1", {"GLY", "GLY", "GLY", "GLY", "GLY", "GLY", "GLY"}) +
                   entityFrame("2", {"SER", "SER", "SER", "SER", "ALA", "SER", "GLY"}) + template_);
    EXPECT_EQ(second.sequence, "SSSSASG");
    EXPECT_EQ(second.shifts.size(), 2U);

    // Author numbers alone, placed by the sequence's own author numbers or by residue names.
    const std::string byAuthor =
        shiftFrame("1", "Auth_seq_ID Comp_ID Atom_ID Val", "394 ALA CA 52.5\n395 TRP CA 57.1");
    for (const int firstAuthor : {392, 0}) {
        const importing::ImportedTable table = importText(
            entityFrame("1", {"GLY", "SER", "ALA", "TRP"}, "polypeptide(L)", firstAuthor) +
            byAuthor);
        EXPECT_EQ(rowsOf(table), (Rows{"3 A CA 52.5", "4 W CA 57.1"})) << firstAuthor;
        EXPECT_EQ(table.authorNumber.at(3), "394");
        EXPECT_EQ(table.report.items(importing::ImportFinding::renumbered).size(), 2U);
    }
}

TEST(NmrStar3, TakesTheFullestListAndListsTheOthers) {
    const std::string text = entityFrame("1", {"MET", "GLY"}) +
                             shiftFrame("1", columns, "1 1 1 MET CA 55.1 1") +
                             shiftFrame("2", columns, "1 1 1 MET CA 55.9 1 1 1 2 GLY CA 45.0 1");
    const importing::ImportedTable fullest = importText(text);
    EXPECT_EQ(rowsOf(fullest), (Rows{"1 M CA 55.9", "2 G CA 45.0"}));
    EXPECT_TRUE(tells(fullest, "several shift lists; taken: 2"));
    EXPECT_TRUE(tells(fullest, "shift list 1 (shifts_1): 1 rows, N 0, HN 0, HA 0, C 0, CA 1"));
    EXPECT_EQ(fullest.report.items(importing::ImportFinding::otherList).size(), 1U);
    EXPECT_EQ(rowsOf(importText(text, with(&importing::ImportOptions::list, "1"))),
              (Rows{"1 M CA 55.1"}));
    EXPECT_EQ(rowsOf(importText(text, with(&importing::ImportOptions::list, "shifts_1"))).size(),
              1U);
    EXPECT_NE(refusal(text, with(&importing::ImportOptions::list, "7")).find("it has 1, 2"),
              std::string::npos);
}

TEST(NmrStar3, TakesTheOnlyPolypeptide) {
    const std::string text = entityFrame("1", {"G", "C"}, "polyribonucleotide") +
                             entityFrame("2", {"MET"}) + entityFrame("3", {"ALA"}) +
                             shiftFrame("1", columns,
                                        "1 1 1 G C2 90 1\n2 2 1 MET CA 55.1 1\n2 2 1 MET CB 33 1\n"
                                        "3 3 1 ALA CA 52.2 1");
    const importing::ImportedTable table = importText(text);
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.1", "1 M CB 33"}));
    EXPECT_TRUE(tells(table, "several molecules"));
    EXPECT_EQ(table.report.items(importing::ImportFinding::otherEntity).size(), 2U);
    EXPECT_EQ(importText(text, with(&importing::ImportOptions::entity, "3")).sequence, "A");
    EXPECT_EQ(importText(text, with(&importing::ImportOptions::entity, "molecule 3")).sequence,
              "A");
    EXPECT_NE(refusal(text, with(&importing::ImportOptions::entity, "1")).find("no polypeptide"),
              std::string::npos);
}

TEST(NmrStar3, MembersOfOneEntityAreKeptApart) {
    const std::string text =
        entityFrame("1", {"MET", "LYS"}) +
        shiftFrame("1", columns,
                   "1 1 1 MET CA 55.10 1\n2 1 1 MET CA 55.15 1\n1 1 2 LYS CA 56.00 1\n"
                   "2 1 2 LYS CA 56.06 1\n1 1 2 LYS N 121 1");
    const importing::ImportedTable table = importText(text);
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.10", "2 K N 121", "2 K CA 56.00"}));
    EXPECT_EQ(table.report.items(importing::ImportFinding::otherAssembly).size(), 2U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::assemblyConflict).size(),
              1U);  // 56.06, not 55.15
    EXPECT_EQ(rowsOf(importText(text, with(&importing::ImportOptions::assembly, "2"))),
              (Rows{"1 M CA 55.15", "2 K CA 56.06"}));
    EXPECT_NE(refusal(text, with(&importing::ImportOptions::assembly, "9")).find("1, 2"),
              std::string::npos);
}

TEST(NmrStar3, NumbersByAuthors) {
    const auto text = [](const std::string& authors) {
        return entityFrame("1", {"GLY", "SER", "MET", "LYS"}) +
               shiftFrame("1", "Seq_ID Auth_seq_ID Comp_ID Atom_ID Val", authors);
    };
    const importing::ImportOptions authors = with(&importing::ImportOptions::numbering, "auth");
    const std::string tagged = "2 -1 SER CA 58.0\n3 1 MET CA 55.1\n4 . LYS CA 56.2";
    const importing::ImportedTable holes = importText(text(tagged), authors);
    EXPECT_EQ(holes.firstResidue, -2);
    EXPECT_EQ(holes.sequence, "GSXMK");
    EXPECT_EQ(rowsOf(holes), (Rows{"-1 S CA 58.0", "1 M CA 55.1", "2 K CA 56.2"}));
    EXPECT_EQ(holes.report.items(importing::ImportFinding::renumbered).size(), 3U);
    EXPECT_EQ(importText(text(tagged)).authorNumber.at(2), "-1");

    const importing::ImportedTable large =
        importText(text("3 1001 MET CA 55.1\n4 1002 LYS CA 56.2"), authors);
    EXPECT_EQ(rowsOf(large), (Rows{"3 M CA 55.1", "4 K CA 56.2"}));
    EXPECT_EQ(large.authorNumber.at(4), "1002");
    EXPECT_NE(refusal(text("3 24B MET CA 55.1"), authors).find("24B"), std::string::npos);
    EXPECT_NE(refusal(text("3 9 MET CA 55.1\n4 8 LYS CA 56.2"), authors).find("rise"),
              std::string::npos);
}

TEST(NmrStar3, ReadsWhatArchivesGetWrong) {
    // Two loops in a frame, a sequence on the tag line, DOS lines, no stop_, a row that is cut off.
    std::string text =
        "data_x\nsave_p\n_Entity.ID 1\n_Entity.Polymer_seq_one_letter_code GA(MSE)\nsave_\n"
        "save_s\nloop_\n_Atom_chem_shift.Seq_ID\n_Atom_chem_shift.Atom_ID\n_Atom_chem_shift.Val\n"
        "1 CA 45.2\nstop_\nloop_\n_atom_chem_shift.Seq_ID\n_Atom_Chem_shift.Atom_ID\n"
        "_Atom_chem_shift.Val # ppm\n2 CA 52.5 # sure\n3 CA 55.0\n2 CB";
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
        text.insert(at, "\r");
    }
    const importing::ImportedTable table = importText(text);
    EXPECT_EQ(table.sequence, "GAM");
    EXPECT_EQ(rowsOf(table), (Rows{"1 G CA 45.2", "2 A CA 52.5", "3 M CA 55.0"}));
    EXPECT_TRUE(tells(table, "2 shift loops"));
    ASSERT_EQ(table.report.items(importing::ImportFinding::rowIncomplete).size(), 1U);
    EXPECT_NE(table.report.items(importing::ImportFinding::rowIncomplete)[0].find("2 CB"),
              std::string::npos);
    EXPECT_EQ(table.report.items(importing::ImportFinding::residueReplaced).size(), 1U);
}

TEST(NmrStar3, UnknownResiduesStayAsX) {
    const importing::ImportedTable table = importText(
        entityFrame("1", {"PHF", "SEP", "UNK1"}) +
        "save_c _Chem_comp.ID UNK1 _Chem_comp.Mon_nstd_parent_comp_ID TRP save_\n" +
        shiftFrame("1", columns, "1 1 1 PHF CA 57.1 1\n1 1 1 PHF H1 7 1\n1 1 2 SEP CA 58 1"));
    EXPECT_EQ(table.sequence, "XSW");
    EXPECT_EQ(rowsOf(table), (Rows{"1 X CA 57.1", "2 S CA 58"}));
    EXPECT_EQ(table.report.items(importing::ImportFinding::residueReplaced).size(), 3U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::notRead).size(), 1U);
}

TEST(NmrStar3, TakesTheNumberColumnThatFitsTheSequence) {
    const importing::ImportedTable table =
        importText(entityFrame("1", {"MET", "LYS", "ALA"}) +
                   shiftFrame("1", "Seq_ID Comp_index_ID Comp_ID Atom_ID Val",
                              "11 1 MET CA 55.1\n12 2 LYS CA 56.2\n13 3 ALA CA 52.1"));
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55.1", "2 K CA 56.2", "3 A CA 52.1"}));
    EXPECT_TRUE(tells(table, "Comp_index_ID is used"));
}

TEST(NmrStar3, FindsSequencesWhereverTheyStand) {
    const std::string rows = shiftFrame("1", "Entity_assembly_ID Comp_index_ID Comp_ID Atom_ID Val",
                                        "1 2 LYS CA 56.2\n1 3 ALA CA 52.1");
    for (const char* sequence :
         {"loop_ _Entity_comp_index.ID _Entity_comp_index.Comp_ID 1 MET 2 LYS 3 ALA stop_\n",
          "save_m loop_ _Chem_comp_assembly.Entity_assembly_ID _Chem_comp_assembly.Comp_index_ID "
          "_Chem_comp_assembly.Comp_ID 1 1 MET 1 2 LYS 1 3 ALA stop_ save_\n",
          "_Entity.Polymer_seq_one_letter_code MKA\n",
          "loop_ _Entity_poly_seq.Mon_ID MET LYS ALA stop_\n"}) {
        const importing::ImportedTable table = importText(sequence + rows);
        EXPECT_EQ(table.sequence, "MKA") << sequence;
        EXPECT_EQ(table.fit.text, "residue names: 2 of 2 fit the sequence") << sequence;
    }
    // Author numbers alone stay where there is no sequence.
    EXPECT_EQ(
        importText(shiftFrame("1", "Auth_seq_ID Comp_ID Atom_ID Val", "40 LYS CA 56")).firstResidue,
        40);
}

TEST(NmrStar3, MendsLinksToTheOnlyProtein) {
    const std::string molecules =
        "save_a loop_ _Entity_assembly.ID _Entity_assembly.Entity_ID _Entity_assembly.Asym_ID 1 1 "
        "A 2 2 B stop_ save_\n" +
        entityFrame("1", {"MET", "LYS"}) + entityFrame("2", {"DG"}, "polydeoxyribonucleotide");
    const auto rows = [&](const std::string& id) {
        return molecules + shiftFrame("1", "Entity_ID Seq_ID Comp_ID Atom_ID Val",
                                      id + " 1 MET CA 55.1\n" + id + " 2 LYS CA 56.2\n");
    };
    for (const char* id : {"A", "$entity_1", "entity_1", "'molecule 1'", "Z"}) {
        const importing::ImportedTable table = importText(rows(id));
        EXPECT_EQ(table.shifts.size(), 2U) << id;
        EXPECT_TRUE(tells(table, "the shifts are of a molecule")) << id;
    }
    EXPECT_NE(refusal(rows("Z") + entityFrame("3", {"ALA"})).find("molecules Z with 2"),
              std::string::npos);
}

TEST(NmrStar21, ReadsMoleculeAndAuthorNumbers) {
    const std::string text =
        "data_1 save_entry _Saveframe_category entry_information _Entry_title 'Old one' save_\n"
        "save_system loop_ _Mol_system_component_name _Mol_label 'chain A' $prot 'chain B' $rna "
        "stop_ save_\n"
        "save_rna _Saveframe_category monomeric_polymer _Mol_polymer_class RNA save_\n"
        "save_prot\n_Saveframe_category monomeric_polymer\n_Mol_polymer_class protein\n"
        "_Mol_residue_sequence MKX\nloop_ _Residue_seq_code _Residue_author_seq_code "
        "_Residue_label 1 7 MET 2 8 LYS 3 9 GLY stop_ save_\n"
        "save_reference loop_ _Mol_common_name _Chem_shift_value DSS 0.00 stop_ save_\n"
        "save_shifts\n_Sample_conditions_label $cond\n_Mol_system_component_name 'chain A'\nloop_\n"
        "_Residue_author_seq_code _Residue_seq_code _Residue_label _Atom_name _Chem_shift_value "
        "_Chem_shift_ambiguity_code\n8 2 LYS H 8.1 1 9 3 GLY HA2 3.9 2 9 3 GLY HA3 4.1 2\n"
        "7 1 MET CA . 1\nstop_\nsave_";
    const importing::ImportedTable table = importText(text);
    EXPECT_EQ(table.format, "nmrstar21");
    EXPECT_EQ(table.title, "Old one");
    EXPECT_EQ(table.sequence, "MKG");
    EXPECT_EQ(rowsOf(table), (Rows{"2 K HN 8.1", "3 G HA2 3.9", "3 G HA3 4.1"}));
    EXPECT_EQ(table.authorNumber.at(2), "8");
    EXPECT_TRUE(tells(table, "cond, chain A"));
    EXPECT_EQ(table.report.items(importing::ImportFinding::valueMissing).size(), 1U);
    EXPECT_EQ(importText(text, with(&importing::ImportOptions::numbering, "auth")).firstResidue, 7);
}

// Of the protein of the shifts, not of a buffer or of heavy water.
TEST(NmrStar, HearsOfADeuteratedSample) {
    const auto deposited = [](const char* entity, const char* labels) {
        return entityFrame("1", {"MET"}) +
               "save_sample\nloop_\n_Sample_component.Entity_ID\n"
               "_Sample_component.Isotopic_labeling\n" +
               std::string(entity) + " " + labels + "\nstop_\nsave_\n" +
               shiftFrame("1", columns, "1 1 1 MET CA 55.1 1");
    };
    const auto older = [](const char* molecule, const char* labels) {
        return "save_prot _Saveframe_category monomeric_polymer _Mol_polymer_class protein loop_ "
               "_Residue_seq_code _Residue_label 1 MET stop_ save_\nsave_sample loop_ _Mol_label "
               "_Isotopic_labeling " +
               std::string(molecule) + " " + labels +
               " stop_ save_\nsave_shifts loop_ _Residue_seq_code _Residue_label _Atom_name "
               "_Chem_shift_value 1 MET CA 55.1 stop_ save_";
    };
    for (const auto& [text, said] : {std::pair{deposited("1", "'[U-13C; U-15N; U-2H]'"), true},
                                     std::pair{deposited("1", "'[U-13C; U-15N]'"), false},
                                     std::pair{deposited(".", "'[U-2H]'"), false},
                                     std::pair{older("$prot", "'[U-2H; U-15N]'"), true},
                                     std::pair{older("TRIS", "'[U-2H]'"), false}}) {
        const importing::ImportedTable table = importText(text);
        EXPECT_EQ(table.report.deuterated, said) << text;
        EXPECT_EQ(tells(table, "--iso"), said) << text;
    }
}

TEST(NmrStar21, TakesGzip) {
    const TemporaryFile file;
    const std::string text =
        "data_1 save_s loop_ _Residue_seq_code _Residue_label _Atom_name "
        "_Chem_shift_value 1 GLY CA 45.1 stop_ save_";
    gzFile out = gzopen(file.path().c_str(), "wb");
    ASSERT_EQ(gzwrite(out, text.data(), static_cast<unsigned>(text.size())),
              static_cast<int>(text.size()));
    gzclose(out);
    EXPECT_EQ(rowsOf(importing::importShifts(file.path(), {})), (Rows{"1 G CA 45.1"}));

    const std::string whole = file.content();
    const TemporaryFile cut(whole.substr(0, whole.size() / 2));
    EXPECT_THROW(importing::importShifts(cut.path(), {}), InputRejected);
}

}  // namespace
}  // namespace orvix
