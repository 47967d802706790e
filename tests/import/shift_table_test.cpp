#include "import/import_text.h"
#include "tables/gdb.h"

namespace orvix {
namespace {

std::string list(const std::string& rows) {
    return shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val Ambiguity_code", rows);
}

TEST(ShiftTable, GlycineProtonsFindTheirPlaces) {
    const auto protons = [](const std::string& rows) {
        return rowsOf(importText(list("1 GLY CA 45 1\n" + rows)));
    };
    const auto with = [](Rows rows) {
        rows.push_back("1 G CA 45");
        return rows;
    };
    EXPECT_EQ(protons("1 GLY HA 3.9 1"), with({"1 G HA2 3.9"}));
    EXPECT_EQ(protons("1 GLY HA3 3.9 1"), with({"1 G HA3 3.9"}));
    EXPECT_EQ(protons("1 GLY HA1 3.9 1\n1 GLY HA2 4.1 1"), with({"1 G HA2 3.9", "1 G HA3 4.1"}));
    EXPECT_EQ(protons("1 GLY HA1 3.9 1\n1 GLY HA3 4.1 1"), with({"1 G HA2 3.9", "1 G HA3 4.1"}));
    EXPECT_EQ(protons("1 GLY HAy 3.9 1\n1 GLY HA3 4.1 1"), with({"1 G HA2 3.9", "1 G HA3 4.1"}));

    EXPECT_EQ(protons("1 GLY HA% 3.9 1\n1 GLY HA% 4.1 1"), with({"1 G HA2 3.9", "1 G HA3 4.1"}));
    EXPECT_EQ(protons("1 GLY HA% 3.9 1\n1 GLY HA% 3.90 1"), with({"1 G HA2 3.9"}));

    const importing::ImportedTable full =
        importText(list("1 GLY QA 4.0 1\n1 GLY HA2 3.9 1\n1 GLY HA3 4.1 1\n1 GLY HA1 4.2 1"));
    EXPECT_EQ(rowsOf(full), (Rows{"1 G HA2 3.9", "1 G HA3 4.1"}));
    EXPECT_EQ(full.report.items(importing::ImportFinding::pairBesideSingle).size(), 2U);
    EXPECT_TRUE(full.report.items(importing::ImportFinding::glycineRenamed).empty());
    // The names mean nothing in another residue.
    const importing::ImportedTable other =
        importText(list("1 ALA HA 4.3 1\n1 ALA HA2 4.0 1\n1 ALA QA 4 1"));
    EXPECT_EQ(rowsOf(other), (Rows{"1 A HA 4.3"}));
    EXPECT_EQ(other.report.items(importing::ImportFinding::notRead).size(), 2U);
}

TEST(ShiftTable, OneValueForEachAtom) {
    const importing::ImportedTable table =
        importText(list("1 MET H 8.10 1\n1 MET HN 8.1 1\n1 MET C 176 1\n1 MET CO 177 1\n"
                        "1 MET H1 8.5 1\n1 MET CA 0.000 1\n1 MET CB 9999.0 1\n1 MET HG2 2 1"));
    EXPECT_EQ(rowsOf(table), (Rows{"1 M C 176", "1 M HN 8.10"}));
    EXPECT_EQ(table.report.items(importing::ImportFinding::duplicateEqual).size(), 1U);
    ASSERT_EQ(table.report.items(importing::ImportFinding::duplicateDifferent).size(), 1U);
    EXPECT_NE(
        table.report.items(importing::ImportFinding::duplicateDifferent)[0].find("kept: line"),
        std::string::npos);
    EXPECT_EQ(table.report.items(importing::ImportFinding::aminoTerminus).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::valueZero).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::valueMissing).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::notRead).size(), 1U);
    EXPECT_NE(refusal(list("1 MET CA . 1")).find("among its 1 rows (without a value: 1)"),
              std::string::npos);
}

TEST(ShiftTable, AmbiguityRangesAndForeignResidues) {
    // Four names fit; the residues outside of the sequence don't speak against them.
    const std::string text = entityFrame("1", {"MET", "LYS", "SER", "TRP", "VAL"}) +
                             list(
                                 "1 MET CA 55 5\n1 MET CB 33 9\n2 LYS N 56.0 1\n3 SER CA . 1\n"
                                 "4 TRP CA . 1\n5 ALA N 120 1\n7 XXX CA 45 1\nx XXX CB 45 1");
    importing::ImportOptions options;
    const importing::ImportedTable table = importText(text, options);
    EXPECT_EQ(rowsOf(table), (Rows{"1 M CA 55", "1 M CB 33", "2 K N 56.0", "5 A N 120"}));
    EXPECT_EQ(table.fit.text, "residue names: 4 of 5 fit the sequence");
    EXPECT_EQ(table.report.items(importing::ImportFinding::ambiguous).size(), 2U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::residueMismatch).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::outOfRange).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::outsideSequence).size(), 1U);
    EXPECT_EQ(table.report.items(importing::ImportFinding::numberUnreadable).size(), 1U);
    options.maxAmbiguity = 5;
    EXPECT_EQ(importText(text, options).report.items(importing::ImportFinding::tooAmbiguous).size(),
              1U);
}

TEST(ShiftTable, WritesWhatTheRunReads) {
    importing::ImportedTable table;
    table.title = "Umlaut \xC3\xBC\nand a line";
    table.sequence = std::string(120, 'A');
    table.firstResidue = -3;
    table.shifts = {{-3, "A", "HN", "8.1234", 8.1234}, {1004, "A", "CA", "52.5", 52.5}};
    std::ostringstream out;
    importing::writeShiftTable(table, out);
    const TemporaryFile file(out.str());
    EXPECT_TRUE(importing::isShiftTable(file.path()));
    const GDB read(file.path());
    EXPECT_EQ(read.remarks, (Rows{"Umlaut \xC3\xBC and a line"}));
    EXPECT_EQ(read.firstResid, -3);
    EXPECT_EQ(read.residList.size(), 120U);
    ASSERT_EQ(read.entries.size(), 2U);
    EXPECT_EQ(read.entries.at(1).at("SHIFT"), "8.1234");
    EXPECT_EQ(read.entries.at(2).at("RESID"), "1004");
    EXPECT_NE(refusal(out.str()).find("already"), std::string::npos);
}

TEST(InputTable, IsLookedThrough) {
    const std::string head =
        "DATA SEQUENCE MK\nVARS RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n\n";
    const auto warnings = [&head](const std::string& rows) {
        return importing::lookAtShiftTable(head + rows, "x.tab").warnings();
    };
    EXPECT_TRUE(warnings("1 M CA 55.1\n2 K CA 56.1").empty());
    EXPECT_EQ(warnings("1 M CA 55.1\n1 M CA 55.3\n"),
              (Rows{"line 6 gives 1 CA a second time, after line 5: 55.1, then 55.3"}));
    EXPECT_EQ(warnings("1 M CA 55.1 sure\n"),
              (Rows{"line 5 has 5 words where the table has 4 columns: 1 M CA 55.1 sure"}));
    EXPECT_EQ(warnings("1 M CA 55.1\n2 K C").size(), 2U);
    std::string many;
    for (int i = 0; i < 30; ++i) {
        many += "1 M CA 55.1\n";
    }
    EXPECT_EQ(warnings(many).size(), 11U);
    try {
        warnings("1 M CA 55.1\n2 K HA 4,180\n");
        ADD_FAILURE() << "a decimal comma is taken";
    } catch (const InputRejected& error) {
        EXPECT_EQ(std::string(error.what()),
                  "x.tab:6: the shift 4,180 has a decimal comma; write it with a point, 4.180");
    }
}

TEST(ShiftTable, ReportCutsOnlyWhenAsked) {
    const importing::ImportedTable table =
        importText(list("1 MET CA 55 1\n1 MET CG 1 1\n1 MET CD 2 1\n1 MET CE 3 1"));
    std::ostringstream whole;
    std::ostringstream cut;
    importing::writeImportReport(table, whole);
    importing::writeImportReport(table, cut, 2);
    EXPECT_NE(whole.str().find("1 MET CE 3"), std::string::npos);
    EXPECT_EQ(cut.str().find("1 MET CE 3"), std::string::npos);
    EXPECT_NE(cut.str().find("... and 1 more"), std::string::npos);
}

}  // namespace
}  // namespace orvix
