// The checks that make a table a shift table, and their reports.

#include "tables/gdb2.h"
#include "tables/temporary_file.h"

namespace {

const char columns[] = "VARS RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n";

// What loading `content` as a shift table gives.
struct Loaded {
    explicit Loaded(const std::string& content) {
        const TemporaryFile file(content);
        stream = errorOutput([&] { answer = table.loadORVIX(file.path()); });
    }

    GDB2 table;
    bool answer = false;
    std::string stream;
};

void expectError(const std::string& content, const std::string& stream, const std::string& text) {
    const Loaded loaded(content);
    EXPECT_FALSE(loaded.answer) << content;
    EXPECT_EQ(loaded.stream, stream) << content;
    EXPECT_EQ(loaded.table.errorText, text) << content;
    EXPECT_EQ(loaded.table.noticeText, "") << content;
}

TEST(Gdb2LoadOrvix, PassesACleanTableInSilence) {
    const Loaded loaded(
        "DATA FIRST_RESID 5\nDATA SEQUENCE Mc\nVARS X SHIFT ATOMNAME RESNAME RESID\n"
        "FORMAT %s %f %s %s %d\n. 120.5 N M 5\n. 54.2 CA c 6\n");
    EXPECT_TRUE(loaded.answer);
    EXPECT_EQ(loaded.stream + loaded.table.noticeText + loaded.table.errorText, "");
    EXPECT_EQ(loaded.table.lastResid, 6);
    EXPECT_EQ(loaded.table.getFloatNodeVal(1, "SHIFT"), 120.5f);
}

TEST(Gdb2LoadOrvix, NeedsASequenceBeforeItLooksAtColumns) {
    const char text[] =
        "ORVIX Format Error: Table is missing expected DATA SEQUENCE header lines.\n";
    expectError(std::string(columns) + "1 M N 1\n", text, text);
    expectError("DATA sequence M\nVARS A\nFORMAT %d\n1\n", text, text);
    // The report of the table reader stands alone.
    expectError("DATA SEQUENCE M\n", "Format Error: Missing input table keyword VARS\n",
                "Format Error: Missing input table keyword VARS\n");
}

TEST(Gdb2LoadOrvix, AssumesTheFirstResidue) {
    const Loaded loaded("DATA SEQUENCE MQ\n" + std::string(columns) + "2 Q N 1\n");
    EXPECT_TRUE(loaded.answer);
    EXPECT_EQ(loaded.stream,
              "ORVIX Format Notice: Table is missing DATA FIRST_RESID specification.\n"
              "ORVIX Format Notice: Assuming FIRST_RESID value of 1.\n");
    EXPECT_EQ(loaded.table.noticeText, loaded.stream);
    EXPECT_EQ(loaded.table.firstResid, 1);
}

TEST(Gdb2LoadOrvix, ChecksColumnsInOrder) {
    const std::string header = "DATA FIRST_RESID 1\nDATA SEQUENCE M\n";
    const auto missing = [&](const std::string& vars, const std::string& name) {
        const std::string text =
            "ORVIX Format Error: Table is missing expected " + name + " variable in VARS line.\n";
        expectError(header + "VARS " + vars + " X\nFORMAT %d %d %d %d\n1 1 1 1\n", text, text);
    };
    missing("RESID RESNAME SHIFT", "ATOMNAME");
    missing("RESID RESNAME atomname", "ATOMNAME");

    const std::string rows = "\n1 1 1 1\n";
    const auto wrong = [&](const std::string& vars, const std::string& format,
                           const std::string& stream, const std::string& text) {
        expectError(header + "VARS " + vars + "\nFORMAT " + format + rows, stream, text);
    };
    wrong("RESID RESNAME ATOMNAME SHIFT", "%s %d %d %d",
          "ORVIX Format Error: ATOMNAME variable with a string type (%s) is expected in FORMAT "
          "line.\n",
          "ORVIX Format Error: ATOMNAME variable with a string type (%%s) is expected in FORMAT "
          "line.\n");
    wrong("RESID RESNAME ATOMNAME X", "%d %s %s %d",
          "ORVIX Format Error: Table is missing expected SHIFT variable in VARS line.\n",
          "ORVIX Format Error: Table is missing expected SHIFT variable in VARS line.\n");
    wrong("RESID RESNAME ATOMNAME SHIFT", "%s %d %s %d",
          "ORVIX Format Error: SHIFT variable with a float type (%f) is expected in FORMAT line.\n",
          "ORVIX Format Error: SHIFT variable with a float type (%%f) is expected in FORMAT "
          "line.\n");
    wrong("X RESNAME ATOMNAME SHIFT", "%d %d %s %f",
          "ORVIX Format Error: Table is missing expected RESID variable in VARS line.\n",
          "ORVIX Format Error: Table is missing expected RESID variable in VARS line.\n");
    wrong("RESID RESNAME ATOMNAME SHIFT", "%s %d %s %f",
          "ORVIX Format Error: RESID variable with an integer type (%d) is expected in FORMAT "
          "line.\n",
          "ORVIX Format Error: RESID variable with an integer type (%%d) is expected in FORMAT "
          "line.\n");
    wrong("RESID X ATOMNAME SHIFT", "%d %d %s %f",
          "ORVIX Format Error: Table is missing expected RESNAME variable in VARS line.\n",
          "ORVIX Format Error: Table is missing expected RESNAME variable in VARS line.\n");
    wrong("RESID RESNAME ATOMNAME SHIFT", "%d %f %s %f",
          "ORVIX Format Error: RESNAME variable with a string type (%s) is expected in FORMAT "
          "line.\n",
          "ORVIX Format Error: RESNAME variable with a string type (%%s) is expected in FORMAT "
          "line.\n");
}

std::string mismatch(const std::string& resid, const std::string& letter, const std::string& name) {
    return "ORVIX Format Notice: Residue type mismatch, residue " + resid + " SEQUENCE: " + letter +
           " Chemical Shift Table: " + name + ".\n";
}

TEST(Gdb2LoadOrvix, ReportsEachDifferingNameOnce) {
    const std::string header = "DATA FIRST_RESID 8\nDATA SEQUENCE MQcAW\n";
    const Loaded loaded(header + columns +
                        "8 A N 1\n8 A CA 2\n9 Q N 3\n8 G HA 1\n10 C N 4\n1000 W N 5\n"
                        "8 M CB 2\n-12 TRP N 1\n8 A C 9\n");
    EXPECT_TRUE(loaded.answer) << "four residues";
    EXPECT_EQ(loaded.stream, mismatch("  8", "M", "A") + mismatch("  8", "M", "G") +
                                 mismatch(" 10", "c", "C") + mismatch("1000", " ", "W") +
                                 mismatch("-12", " ", "TRP") +
                                 "ORVIX Format Notice: Sequence mismatches,    4 ( 5 Max).\n");
    EXPECT_EQ(loaded.table.noticeText, loaded.stream);
    EXPECT_EQ(loaded.table.errorText, "");
    // Asking for a residue outside the sequence has made an empty entry.
    EXPECT_EQ(loaded.table.residList.at(1000), "");
    EXPECT_EQ(loaded.table.lastResid, 12);

    const Loaded fifth(header + columns + "8 A N 1\n9 A N 1\n10 A N 1\n11 G N 1\n12 A N 1\n");
    const std::string notices = mismatch("  8", "M", "A") + mismatch("  9", "Q", "A") +
                                mismatch(" 10", "c", "A") + mismatch(" 11", "A", "G") +
                                mismatch(" 12", "W", "A");
    const std::string error = "ORVIX Format Errors: Too many sequence mismatches,    5 ( 5 Max).\n";
    EXPECT_FALSE(fifth.answer);
    EXPECT_EQ(fifth.stream, notices + error);
    EXPECT_EQ(fifth.table.noticeText, notices);
    EXPECT_EQ(fifth.table.errorText, notices + error);
    EXPECT_EQ(fifth.table.getLineEntryCount(), 5);
}

TEST(Gdb2LoadOrvix, ComparesNothingWithAnEmptySequence) {
    const Loaded loaded("DATA FIRST_RESID 1\nDATA SEQUENCE\n" + std::string(columns) + "1 M N 1\n");
    EXPECT_TRUE(loaded.answer);
    EXPECT_EQ(loaded.stream, "");
}

}  // namespace
