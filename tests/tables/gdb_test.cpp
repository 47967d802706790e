#include "tables/gdb.h"

#include "support/run_end.h"
#include "tables/temporary_file.h"

namespace {

using Words = std::vector<std::string>;

GDB shiftTable() {
    GDB table;
    table.presetClass("ORVIX_SHIFT");
    return table;
}

TEST(GdbText, SplitsAndSimplifies) {
    EXPECT_EQ(GDB::simplifyWhiteSpace(" \t a  b\v\f\r\nc "), "a b c");
    EXPECT_EQ(GDB::simplifyWhiteSpace(""), "");
    EXPECT_EQ(GDB::simplifyWhiteSpace(" \n"), "");
    EXPECT_EQ(GDB::split_WhiteSpace(" a\tb "), (Words{"a", "b"}));
    EXPECT_EQ(GDB::split_WhiteSpace("  "), Words());
    EXPECT_EQ(GDB::split_WhiteSpace(""), Words{""});
    EXPECT_EQ(GDB::split("ab", "1ab2abab3ab"), (Words{"1", "2", "3"}));
    EXPECT_EQ(GDB::split(',', ",a,,b"), (Words{"a", "b"}));
    EXPECT_EQ(GDB::split(" ", ""), Words());
    EXPECT_EQ(GDB::split("", "abc"), Words{"abc"});
    EXPECT_EQ(GDB::contains("aaaa", "aa"), 3);
    EXPECT_EQ(GDB::contains("abc", "x"), 0);
    EXPECT_EQ(GDB::contains("a%b%", '%'), 2);
    // A no-break space is no white space, a vertical tab is.
    EXPECT_FALSE(GDB::isSpace('\xa0'));
    EXPECT_TRUE(GDB::isSpace('\v'));
    EXPECT_FALSE(GDB::isSpace('\x0e'));
    EXPECT_TRUE(GDB::isDigit('0') && GDB::isDigit('9'));
    EXPECT_FALSE(GDB::isDigit('/') || GDB::isDigit(':'));
}

TEST(GdbText, SectionJoinsPieces) {
    char out[32];
    const std::string text = "a,,b,c";
    EXPECT_EQ(GDB::section(text, ',', out, 0, 1), out);
    EXPECT_STREQ(out, "a,b");
    EXPECT_STREQ(GDB::section(text, ',', out, 2, 2), "c");
    EXPECT_STREQ(GDB::section(text, ',', out, 1, 7), "b,c,");
    EXPECT_STREQ(GDB::section(text, ',', out, 3, 7), "");
    EXPECT_STREQ(GDB::section(text, ',', out, 2, 1), "");
    EXPECT_STREQ(GDB::section("", ',', out, 0, 0), "");
}

TEST(GdbText, ChecksSpecifiers) {
    for (const char* good : {"%d", "%4d", "%-4s", "%8.3f", " %9.3f", "%4s  ", "%4.2.1d", "%4-d",
                             "%--5d", "%s\r", "%0123456789.-f"}) {
        EXPECT_TRUE(GDB::checkFormat(good)) << good;
    }
    for (const char* bad : {"", " ", "%", "d", "%4", "%4x", "%%d", "%4 d", "%4dd", "%ds", "%4d x",
                            "x%4d", "%+d", "%D", "%ld", "% d"}) {
        EXPECT_FALSE(GDB::checkFormat(bad)) << bad;
    }
    EXPECT_FALSE(GDB::checkFormat(std::string("%\0d", 3)));
}

TEST(Gdb, DataLinesAddUp) {
    GDB table;
    table.setData("KEY", "a  b");
    table.setData("key", "c");
    table.setData("OTHER", "d");
    table.setData("KEY", "");
    EXPECT_EQ(table.getData("KEY"), " a  b c ");
    EXPECT_EQ(table.getData("key"), "");
    EXPECT_EQ(table.dataLines[0], "KEY a  b");
    table.dataLines.emplace_back("BARE");
    EXPECT_EQ(table.getData("BARE"), " ");
    EXPECT_EQ(table.getData("BAR"), "");
}

TEST(Gdb, RowsAreKeyedByNumber) {
    GDB table = shiftTable();
    table.setEntry(10, "RESID", "1");
    EXPECT_EQ(table.getEntryCount(), 1);
    EXPECT_EQ(table.entries.begin()->first, 10);
    table.setEntry(10, "RESID", "2");
    EXPECT_EQ(table.getEntry(10)["RESID"], "2");
    // Each call opens a row of its own.
    table.addEntry("RESID", "3");
    table.addEntry("RESNAME", "A");
    table.addEntry("SHIFT", "1.0");
    EXPECT_EQ(table.getEntryCount(), 4);
    EXPECT_EQ(table.entries.at(3).size(), 1u);
    EXPECT_TRUE(table.getEntry(77).empty());
    EXPECT_EQ(table.getEntryCount(), 5);
    EXPECT_EQ(table.getResidName(5), "");
    EXPECT_EQ(table.residList.size(), 1u);
}

TEST(Gdb, FindsTheNthMatch) {
    GDB table = shiftTable();
    const char* const rows[][3] = {
        {"1", "A", "N"}, {"1", "A", "CA"}, {"2", "G", "N"}, {"1", "G", "N"}};
    int number = 0;
    for (const auto& row : rows) {
        ++number;
        table.setEntry(number, "RESID", row[0]);
        table.setEntry(number, "RESNAME", row[1]);
        table.setEntry(number, "ATOMNAME", row[2]);
    }
    EXPECT_EQ(table.getEntry("RESID", "1", 2)["ATOMNAME"], "CA");
    EXPECT_EQ(table.getEntry("RESID", "1", "ATOMNAME", "N", 2)["RESNAME"], "G");
    EXPECT_TRUE(table.getEntry("RESID", "1", "ATOMNAME", "N", 3).empty());
    EXPECT_TRUE(table.getEntry("RESID", "1", 0).empty());
    EXPECT_TRUE(table.getEntry("RESID", "1", -1).empty());
    EXPECT_TRUE(table.getEntry("RESID", "1.0", 1).empty());
    // A cell that isn't there counts as empty, and asking doesn't make it.
    EXPECT_EQ(table.getEntry("NONE", "", 1)["ATOMNAME"], "N");
    EXPECT_TRUE(table.getEntry("NONE", "x", 1).empty());
    EXPECT_EQ(table.entries.at(1).size(), 3u);
}

TEST(GdbDeathTest, SetEntryRefusesUnknownColumns) {
    GDB table = shiftTable();
    EXPECT_END(table.setEntry(1, "shift", "1"), 0,
               testing::Eq(std::string("\tInvalid varible name 'shift'\n")));
    EXPECT_END(table.addEntry("", "1"), 0, testing::Eq(std::string("\tInvalid varible name ''\n")));
}

TEST(Gdb, AddVarAddsOrReplaces) {
    GDB table = shiftTable();
    table.setEntry(1, "RESID", "1");
    EXPECT_EQ(errorOutput([&] { table.addVAR("EXTRA", " %9.3f"); }), "");
    table.addVAR("RESNAME", "%-5s ");
    EXPECT_EQ(table.varsCount, 5);
    EXPECT_EQ(table.vars.at(4), "EXTRA");
    EXPECT_EQ(table.formats.at(4), " %9.3f");
    EXPECT_EQ(table.formats.at(1), "%-5s ");
    EXPECT_EQ(table.entries.at(1).size(), 1u);

    EXPECT_EQ(errorOutput([&] { table.addVAR("A B", "%4x"); }), "\tBad format syntax '%4x'\n");
    EXPECT_EQ(errorOutput([&] { table.addVAR("A B", "%4d"); }),
              "\tInvalid varible name 'A B' (with space)\n");
    EXPECT_EQ(table.varsCount, 5);
}

TEST(Gdb, SetVarTakesItsIndexFromOne) {
    GDB table = shiftTable();
    EXPECT_EQ(errorOutput([&] {
                  table.setVAR(1, "NUMBER", "%5d ");
                  table.setVAR(5, "LAST", "%s");
              }),
              "");
    EXPECT_EQ(table.varsCount, 5);
    EXPECT_EQ(table.vars.at(0), "NUMBER");
    EXPECT_EQ(table.formats.at(0), "%5d ");
    EXPECT_EQ(table.vars.at(4), "LAST");
    for (const int index : {0, -1, 7}) {
        EXPECT_EQ(errorOutput([&] { table.setVAR(index, "X", "%s"); }),
                  "\tPlease use number 1-6 as index for varible 'X' with format '%s'\n");
    }
    EXPECT_EQ(errorOutput([&] { table.setVAR(0, "X", "%"); }), "\tBad format syntax '%'\n");
    EXPECT_EQ(errorOutput([&] { table.setVAR(0, "X Y", "%d"); }),
              "\tInvalid varible name 'X Y' (with space)\n");
    EXPECT_EQ(table.varsCount, 5);
}

TEST(Gdb, ColumnTypesComeFromTheSpecifier) {
    GDB table = shiftTable();
    EXPECT_TRUE(table.isVarInt("RESID") && table.isVarString("RESNAME") &&
                table.isVarFloat("SHIFT"));
    EXPECT_FALSE(table.isVarFloat("RESID") || table.isVarInt("SHIFT") ||
                 table.isVarString("SHIFT"));
    EXPECT_FALSE(table.isVarInt("resid"));
    EXPECT_TRUE(table.isVarInt(0) && table.isVarString(2) && table.isVarFloat(3));
    EXPECT_FALSE(table.isVarInt(9));
    EXPECT_EQ(table.formats.at(9), "");
}

TEST(Gdb, PresetsSetColumnsAndDropRows) {
    GDB table = shiftTable();
    table.setEntry(1, "RESID", "1");
    table.presetClass("ORVIX_PRED");
    EXPECT_EQ(table.className, "ORVIX_PRED");
    EXPECT_EQ(table.varsCount, 9);
    EXPECT_EQ(table.vars.at(8), "SOURCE");
    EXPECT_EQ(table.formats.at(4), "%5.3f ");
    EXPECT_EQ(table.formats.at(8), "%s");
    EXPECT_TRUE(table.entries.empty());
    table.presetClass("OTHER");
    EXPECT_EQ(table.className, "ORVIX_PRED");
    EXPECT_EQ(table.varsCount, 9);
}

TEST(Gdb, CopiesAreIndependent) {
    GDB table = shiftTable();
    table.setEntry(1, "SHIFT", "1.5");
    GDB copy = table;
    copy.setEntry(1, "SHIFT", "2.5");
    copy.addVAR("EXTRA", "%d");
    EXPECT_EQ(table.entries[1]["SHIFT"], "1.5");
    EXPECT_EQ(table.varsCount, 4);
    table = copy;
    EXPECT_EQ(table.varsCount, 5);
}

}  // namespace
