// The text form of GDB2: reading, writing, and its reports.

#include "tables/gdb2.h"
#include "tables/temporary_file.h"

namespace {

using Words = std::vector<std::string>;

const char shiftTable[] =
    "REMARK  Shifts \n"
    "\n"
    "DATA  FIRST_RESID   5\n"
    "DATA SEQUENCE MQ cZ\n"
    " \t\n"
    "VARS RESID NAME SHIFT\n"
    "FORMAT %4d %-4s %8.3f\n"
    "\n"
    "5 N 120.5\n"
    "REMARK is one\n"
    "REMARK of a kind\n"
    "no row\n"
    "6.9 CA 16777217";

std::string saved(GDB2& table) {
    const TemporaryFile file;
    table.saveGDB(file.path());
    return file.content();
}

// Loads `content`, which must fail with these reports.
void expectFailure(const std::string& content, const std::string& stream, const std::string& text) {
    const TemporaryFile file(content);
    GDB2 table;
    bool answer = true;
    EXPECT_EQ(errorOutput([&] { answer = table.loadGDB(file.path()); }), stream) << content;
    EXPECT_FALSE(answer) << content;
    EXPECT_EQ(table.errorText, text) << content;
    EXPECT_EQ(table.getLineEntryCount(), 0) << content;
    EXPECT_EQ(table.lastResid, -9999) << content;
    EXPECT_EQ(table.getFloatNodeVal(1, "A"), 9999.0f);
}

TEST(Gdb2Load, ReadsTypedRows) {
    const TemporaryFile file(shiftTable);
    GDB2 table;
    bool answer = false;
    EXPECT_EQ(errorOutput([&] { answer = table.loadGDB(file.path()); }), "");
    EXPECT_TRUE(answer);
    EXPECT_EQ(table.errorText, "");
    EXPECT_EQ(table.fileName, file.path());
    EXPECT_EQ(table.varsLine, "RESID NAME SHIFT");
    EXPECT_EQ(table.formatLine, " %4d %-4s %8.3f");
    EXPECT_EQ(table.varIndex,
              (std::map<std::string, int>{{"RESID", 1}, {"NAME", 2}, {"SHIFT", 3}}));
    EXPECT_EQ(table.varTypes[0], 0);
    EXPECT_EQ(table.varTypes[1], 2);
    EXPECT_EQ(table.varTypes[2], 1);
    ASSERT_EQ(table.getLineEntryCount(), 3);
    const LineNode& last = *table.getLineEntry(3);
    EXPECT_EQ(last.cellCount, 3);
    EXPECT_EQ(last.lineIndex, 3);
    EXPECT_EQ(last.cells[1].type, 2);
    EXPECT_EQ(*static_cast<int*>(last.cells[0].value), 6);
    EXPECT_EQ(*static_cast<std::string*>(last.cells[1].value), "CA");
    EXPECT_EQ(*static_cast<float*>(last.cells[2].value), 16777216.0f);
    // A row that begins with a keyword is a row and nothing else; one of four words is a remark.
    EXPECT_EQ(table.getStringNodeVal(2, "NAME"), "is");
    EXPECT_EQ(table.getIntNodeVal(2, "RESID"), 0);
    EXPECT_EQ(table.headerLines, (Words{" Shifts ", "", "DATA  FIRST_RESID   5",
                                        "DATA SEQUENCE MQ cZ", "", "of a kind"}));
    EXPECT_EQ(table.residList,
              (std::map<int, std::string>{{5, "M"}, {6, "Q"}, {7, "c"}, {8, "X"}}));
    EXPECT_EQ(table.lastResid, 8);
    EXPECT_EQ(table.getResidName(8), "X");
    EXPECT_EQ(table.getResidName(9), "");
    EXPECT_EQ(table.getResidName(4), "");
}

TEST(Gdb2Load, NumbersResiduesAtTheirLine) {
    const TemporaryFile file(
        "DATA SEQUENCE AC\nDATA FIRST_RESID 7\nDATA first_resid 9\nDATA FIRST_RESID\nDATA\n"
        "data sequence X\nDATA SEQUENCE\nVARS A B\nFORMAT %s %s\n1 2\n");
    GDB2 table(file.path());
    EXPECT_EQ(table.firstResid, 7);
    EXPECT_EQ(table.residList, (std::map<int, std::string>{{1, "A"}, {2, "C"}}));
    EXPECT_EQ(table.lastResid, 8);
    EXPECT_EQ(table.getData("FIRST_RESID"), " 7 ");
    EXPECT_EQ(table.getData("sequence"), "");
    EXPECT_EQ(table.getData("SEQUENCE"), " AC ");
}

TEST(Gdb2Load, ReportsEachFailure) {
    expectFailure("", "Format Error: Missing input table keyword VARS\n",
                  "Format Error: Missing input table keyword VARS\n");
    expectFailure("VARS A B\nFORMAT %d %d\n1\n1 2 3\n",
                  "Format Error: No valid data found and read from input file \n",
                  "Format Error: No valid data found and read from input file \n");
    expectFailure("VARS A\n1\n", "Format Error: No valid data found and read from input file \n",
                  "Format Error: No valid data found and read from input file \n");
    expectFailure("VARS \nFORMAT %d\n", "GDB init error:: VARS line is empty.",
                  "\tFormat Error: VARS line is empty");
    expectFailure("FORMAT %d\nVARS A\n1\n",
                  "GDB init error:: FORMAT line needs to be specified after a VARS line.",
                  "\tFormat Error: FORMAT line needs to be specified after a VARS line.");
    expectFailure("VARS A B\nFORMAT %d\n1 2\n",
                  "GDB init error:: FORMAT and VARS lines contain different number of columns.",
                  "\tFormat Error: FORMAT and VARS lines contain different number of columns");
    expectFailure("VARS A B\nFORMAT %d %x \n1 2\n", "GDB init error:: Bad FORMAT syntax '%x '\n",
                  "\tFormat Error: Invalid FORMAT line \"  %d %x \"\n"
                  "\t              Bad FORMAT syntax '%x '\n");

    GDB2 table;
    bool answer = true;
    EXPECT_EQ(errorOutput([&] { answer = table.loadGDB(testing::TempDir()); }),
              "\tFile Error: Can't open input file for reading\n");
    EXPECT_FALSE(answer);
    EXPECT_EQ(table.errorText, "\tFile Error: Can't open input file for reading\n");
    errorOutput([&] { table.loadGDB("/nonexistent"); });
    EXPECT_EQ(table.errorText,
              "\tFile Error: Can't open input file for reading\n"
              "\tFile Error: Can't open input file for reading\n");
}

TEST(Gdb2Load, LimitsTheNumberOfColumns) {
    std::string names = "VARS";
    std::string specifiers = "FORMAT";
    std::string row;
    for (int i = 0; i < GDB2::maxColumns; ++i) {
        names += " " + std::to_string(i);
        specifiers += " %f";
        row += std::to_string(i) + " ";
    }
    const TemporaryFile widest(names + "\n" + specifiers + "\n" + row + "\n");
    GDB2 table(widest.path());
    EXPECT_EQ(table.getFloatNodeVal(1, "1999"), 1999.0f);
    EXPECT_EQ(errorOutput([&] { EXPECT_FALSE(table.addVar("more", "%d")); }),
              "GDB operation error:: a table has at most 2000 columns.\n");

    const TemporaryFile wider(names + " x\n" + specifiers + " %f\n" + row + "1\n");
    GDB2 other;
    const std::string report = errorOutput([&] { other.loadGDB(wider.path()); });
    EXPECT_EQ(report.substr(0, report.find('\n')),
              "GDB init error:: a table has at most 2000 columns.");
    EXPECT_EQ(other.getLineEntryCount(), 0);
}

TEST(Gdb2Load, LaterHeadersDropRows) {
    // A line of two words is a row of the first table, even when it begins with a keyword.
    const TemporaryFile file(
        "VARS A B\nFORMAT %d %s\n1 2\nVARS A\nVARS A C D\n1 2\nFORMAT %f %d %s\n1.5 2 x\n");
    GDB2 table(file.path());
    EXPECT_EQ(table.getLineEntryCount(), 1);
    EXPECT_EQ(table.getFloatNodeVal(1, "A"), 1.5f);
    EXPECT_EQ(table.getFloatNodeVal(1, "B"), 9999.0f);
    // A second load into the table does the same.
    const TemporaryFile second("VARS C\nFORMAT %s\nword\nwords\n");
    EXPECT_TRUE(table.loadGDB(second.path()));
    EXPECT_EQ(table.getLineEntryCount(), 2);
    EXPECT_EQ(table.getStringNodeVal(2, "C"), "words");
}

TEST(Gdb2Load, SurvivesForeignBytes) {
    std::string binary = "VARS A B\r\nFORMAT %d %f\r\n1 2\r\n";
    for (unsigned i = 0; i < 100000; ++i) {
        binary += static_cast<char>(i * i >> 3);
    }
    binary += "\n99999999999 1e99\n" + std::string(10000000, 'x');
    const TemporaryFile file(binary);
    GDB2 table(file.path());
    EXPECT_EQ(table.getFloatNodeVal(1, "B"), 2.0f);
    const int last = table.getLineEntryCount();
    EXPECT_EQ(table.getIntNodeVal(last, "A"), 2147483647);
    EXPECT_EQ(table.getIntNodeVal(last, "B"), 2147483647);
}

TEST(Gdb2Save, KeepsTheHeaderInPlace) {
    const TemporaryFile file(shiftTable);
    GDB2 table(file.path());
    EXPECT_EQ(saved(table),
              "REMARK  Shifts \n\nDATA FIRST_RESID 5\nDATA SEQUENCE MQcX\n\nREMARK of a kind\n"
              "VARS   RESID NAME SHIFT \nFORMAT %4d %-4s %8.3f\n\n"
              "   5 N     120.500\n   0 is      0.000\n   6 CA   16777216.000\n");
    table.plainText = true;
    EXPECT_EQ(saved(table), "   5 N     120.500\n   0 is      0.000\n   6 CA   16777216.000\n");
}

TEST(Gdb2Save, WritesTheSequenceOnceInGroups) {
    GDB2 table;
    for (int i = 1; i <= 62; ++i) {
        table.residList[i] = "A";
    }
    const std::string group(10, 'A');
    std::string full = "DATA SEQUENCE ";
    for (int i = 0; i < 5; ++i) {
        full += group + " ";
    }
    const std::string sequence = full + "\nDATA SEQUENCE " + group + " AA\n";
    const std::string tail = "VARS   \nFORMAT \n\n";
    EXPECT_EQ(saved(table), "\n" + sequence + tail);
    table.addRemark("DATA SEQUENCE old");
    table.setData("SEQUENCE", "older");
    table.addRemark("");
    table.setData("N", 5);
    table.setData("R", 1.5f);
    table.addRemark("DATA  KEY   a  b");
    EXPECT_EQ(saved(table), sequence + "\nDATA N 5\nDATA R 1.500000\nDATA KEY a b\n" + tail);
    EXPECT_EQ(table.getData("KEY"), " a b");
}

TEST(Gdb2Save, ReportsAFileItCannotWrite) {
    GDB2 table;
    const std::string path = testing::TempDir() + "no/such.tab";
    EXPECT_EQ(errorOutput([&] { table.saveGDB(path); }), "\tFile Error: Can't save file " + path);
}

}  // namespace
