// Columns, rows and cells of GDB2.

#include <memory>
#include <type_traits>

#include "tables/gdb2.h"
#include "tables/temporary_file.h"

namespace {

static_assert(!std::is_copy_constructible_v<GDB2> && !std::is_copy_assignable_v<GDB2>);

// Columns I, R and S with three rows; R repeats.
class Gdb2Rows : public testing::Test {
  protected:
    Gdb2Rows() {
        table.setVarsFormat("I R S", "%3d %6.2f %-4s", false);
        for (int i = 1; i <= 3; ++i) {
            table.addNewLineEntry();
            table.setNode(i, "I", i);
            table.setNode(i, "R", 0.5f * static_cast<float>(i % 2));
            table.setNode(i, "S", "s" + std::to_string(i));
        }
    }

    GDB2 table;
};

TEST_F(Gdb2Rows, NewRowsAreBlank) {
    EXPECT_EQ(table.addNewLineEntry(), 4);
    EXPECT_EQ(table.getLineEntry(4)->lineIndex, 4);
    EXPECT_EQ(table.getStringNodeVal(4, "I"), "0");
    EXPECT_EQ(table.getStringNodeVal(4, "R"), "0");
    EXPECT_EQ(table.getStringNodeVal(4, "S"), ".");
    int number = 9;
    table.addNewLineEntryWithVal("I", &number);
    table.addNewLineEntryWithVal("R", 7);
    table.addNewLineEntryWithVal("S", 1.25f);
    table.addNewLineEntryWithVal("I", std::string("12x"));
    EXPECT_EQ(table.getLineEntryCount(), 8);
    EXPECT_EQ(table.getIntNodeVal(5, "I"), 9);
    EXPECT_EQ(table.getFloatNodeVal(6, "R"), 7.0f);
    EXPECT_EQ(table.getStringNodeVal(7, "S"), "1.25");
    EXPECT_EQ(table.getIntNodeVal(8, "I"), 12);

    GDB2 empty;
    int row = 0;
    EXPECT_EQ(errorOutput([&] { row = empty.addNewLineEntry(); }),
              "GDB init error:: no valid VARS read or VARS and its FORMAT not matched! \n"
              "GDB operation error:: unable to generate a new line entry");
    EXPECT_EQ(row, -1);
}

TEST_F(Gdb2Rows, CellsConvertBetweenTypes) {
    EXPECT_EQ(table.getFloatNodeVal(2, "I"), 2.0f);
    EXPECT_EQ(table.getFloatNodeVal(1, "S"), 0.0f);
    EXPECT_EQ(table.getIntNodeVal(1, "R"), 0);
    EXPECT_TRUE(table.setNode(1, "R", -2.75f));
    EXPECT_EQ(table.getIntNodeVal(1, "R"), -2);
    EXPECT_EQ(table.getStringNodeVal(1, "R"), "-2.75");
    EXPECT_TRUE(table.setNode(1, "R", "1234567.5"));
    EXPECT_EQ(table.getStringNodeVal(1, "R"), "1.23457e+06");
    EXPECT_TRUE(table.setNode(1, "I", 7.9f));
    EXPECT_EQ(table.getIntNodeVal(1, "I"), 7);
    EXPECT_TRUE(table.setNode(1, "S", "3.5"));
    EXPECT_EQ(table.getFloatNodeVal(1, "S"), 3.5f);
    EXPECT_EQ(table.getIntNodeVal(1, "S"), 3);
    std::string text = "pointer";
    EXPECT_TRUE(table.setNode(3, 3, &text));
    EXPECT_EQ(*static_cast<std::string*>(table.getNodeVal(3, "S")), "pointer");
    float real = 8.0f;
    EXPECT_TRUE(table.setNode("R", &real));
    EXPECT_EQ(*static_cast<float*>(table.getNodeVal(3, 2)), 8.0f);
}

TEST_F(Gdb2Rows, OutOfRangeCellsHaveSentinels) {
    for (const int row : {0, -1, 4}) {
        EXPECT_EQ(table.getFloatNodeVal(row, "I"), 9999.0f);
        EXPECT_EQ(table.getIntNodeVal(row, "I"), 9999);
        EXPECT_EQ(table.getStringNodeVal(row, "I"), "NULL");
        EXPECT_EQ(table.getNodeVal(row, 1), nullptr);
        EXPECT_EQ(table.getLineEntry(row), nullptr);
        EXPECT_FALSE(table.setNode(row, "I", 1));
    }
    EXPECT_EQ(table.getFloatNodeVal(1, "X"), 9999.0f);
    EXPECT_EQ(table.getIntNodeVal(1, "X"), 9999);
    EXPECT_EQ(table.getStringNodeVal(1, "X"), "NULL");
    EXPECT_EQ(table.getNodeVal(1, 0), nullptr);
    EXPECT_EQ(table.getNodeVal(1, 4), nullptr);
    EXPECT_EQ(table.getNodeVal(1, "X"), nullptr);
    EXPECT_FALSE(table.setNode(1, "X", std::string("a")));
    EXPECT_FALSE(table.setNode(1, 1, static_cast<void*>(nullptr)));
    GDB2 empty;
    int value = 1;
    EXPECT_FALSE(empty.setNode("I", &value));
    EXPECT_EQ(empty.getLineEntry("I", &value, 1), nullptr);
}

TEST_F(Gdb2Rows, FindsRowsByValue) {
    float half = 0.5f;
    std::string text = "s3";
    EXPECT_EQ(table.getLineEntry("R", &half, 2), table.getLineEntry(3));
    EXPECT_EQ(table.getLineEntry("R", &half, 3), nullptr);
    EXPECT_EQ(table.getLineEntry("R", &half, 0), nullptr);
    EXPECT_EQ(table.getLineEntry("X", &half, 1), nullptr);
    EXPECT_EQ(table.getLineEntry("R", &half, "S", &text, 1), table.getLineEntry(3));
    EXPECT_EQ(table.getLineEntry("R", &half, "S", &text, 2), nullptr);
    EXPECT_EQ(table.getLineEntries("R", &half),
              (std::vector<LineNode*>{table.getLineEntry(1), table.getLineEntry(3)}));
    EXPECT_EQ(table.getLineEntryIndex("R", 0.5f, 2), 3);
    EXPECT_EQ(table.getLineEntryIndex("R", "0.50", 1), 1);
    EXPECT_EQ(table.getLineEntryIndex("I", 2.9f, 1), 2);
    EXPECT_EQ(table.getLineEntryIndex("S", 5, 1), -1);
    EXPECT_EQ(table.getLineEntryIndex("X", 5, 1), -1);
    EXPECT_EQ(table.getLineEntryIndice("R", std::string("0.5")), (std::vector<int>{1, 3}));
    EXPECT_EQ(table.getLineEntryIndice("I", 2), std::vector<int>{2});
    EXPECT_EQ(table.getLineEntryIndice("R", 2.0f), std::vector<int>());
}

TEST_F(Gdb2Rows, ColumnsAnswerByName) {
    EXPECT_EQ(table.getVarsCount(), 3);
    EXPECT_EQ(table.getVarIndex1("S"), 3);
    EXPECT_EQ(table.getVarIndex1("s"), 0);
    EXPECT_EQ(table.getVarType("R"), 1);
    EXPECT_EQ(table.getVarType("X"), -1);
    EXPECT_TRUE(table.isVarInt("I") && table.isVarFloat("R") && table.isVarString("S"));
    EXPECT_TRUE(table.isVarInt(0) && table.isVarFloat(1) && table.isVarString(2));
    EXPECT_FALSE(table.isVarInt("X") || table.isVarInt(1) || table.isVarString(7));
    EXPECT_EQ(GDB2::getTypeFromFormatStr(" %4d "), 0);
    EXPECT_EQ(GDB2::getTypeFromFormatStr("%8.3f"), 1);
    EXPECT_EQ(GDB2::getTypeFromFormatStr("%s"), 2);
    EXPECT_EQ(GDB2::getTypeFromFormatStr("%x"), -1);

    ASSERT_TRUE(table.varsStrParser("A B A"));
    EXPECT_EQ(table.getVarIndex1("A"), 3);
}

TEST_F(Gdb2Rows, SetVarsFormatSparesRowsUnlessForced) {
    EXPECT_TRUE(table.setVarsFormat("X", "%d", false));
    EXPECT_EQ(table.getVarsCount(), 3);
    EXPECT_TRUE(table.setVarsFormat("X", "%d", true));
    EXPECT_EQ(table.getLineEntryCount(), 0);
    EXPECT_EQ(table.addNewLineEntry(), 1);
    EXPECT_EQ(table.getStringNodeVal(1, "X"), "0");
    bool answer = true;
    errorOutput([&] { answer = table.setVarsFormat("X Y", "%d", true); });
    EXPECT_FALSE(answer);
}

TEST_F(Gdb2Rows, AddVarGivesEveryRowACell) {
    EXPECT_TRUE(table.addVar("T", "%3s"));
    EXPECT_TRUE(table.addVar("J", "%3d "));
    EXPECT_EQ(table.formats.at(3), "%3s ");
    EXPECT_EQ(table.formats.at(4), "%3d ");
    EXPECT_EQ(table.getStringNodeVal(1, "T"), ".");
    EXPECT_EQ(table.getIntNodeVal(3, "J"), 0);
    EXPECT_EQ(table.getLineEntry(1)->cellCount, 5);
    table.addNewLineEntry();
    EXPECT_EQ(table.getStringNodeVal(4, "T"), ".");
    // A name that exists changes its column.
    EXPECT_TRUE(table.addVar("R", "%5d"));
    EXPECT_EQ(table.getVarsCount(), 5);
    EXPECT_EQ(table.getVarType("R"), 0);
    EXPECT_EQ(table.getLineEntry(1)->cells[1].type, 0);

    bool answer = true;
    EXPECT_EQ(errorOutput([&] { answer = table.addVar("A B", "%x"); }),
              "GDB format error:: Bad format syntax '%x'\n");
    EXPECT_FALSE(answer);
    EXPECT_EQ(errorOutput([&] { answer = table.setVar(1, "A B", "%d"); }),
              "GDB format error:: Invalid VAR name 'A B' (with space)\n");
    EXPECT_FALSE(answer);
}

TEST_F(Gdb2Rows, SetVarRenamesAndConverts) {
    EXPECT_TRUE(table.setVar(2, "TEXT", "%6s "));
    EXPECT_EQ(table.getVarIndex1("R"), 0);
    EXPECT_EQ(table.getVarIndex1("TEXT"), 2);
    EXPECT_EQ(table.getStringNodeVal(1, "TEXT"), "0.5");
    EXPECT_TRUE(table.setVar(2, "TEXT", "%6.1f "));
    EXPECT_EQ(table.getFloatNodeVal(1, "TEXT"), 0.5f);
    // One past the last column adds one, also under a name that exists.
    EXPECT_TRUE(table.setVar(4, "S", "%d"));
    EXPECT_EQ(table.getVarsCount(), 4);
    EXPECT_EQ(table.getVarIndex1("S"), 4);
    EXPECT_TRUE(table.setVar(4, "OTHER", "%d"));
    EXPECT_EQ(table.getVarIndex1("S"), 3) << "the earlier column of that name is found again";
    for (const int index : {0, 6, -3}) {
        bool answer = true;
        EXPECT_EQ(errorOutput([&] { answer = table.setVar(index, "X", "%d"); }),
                  "GDB operation error:: Access an VAR node with an invalid index number - " +
                      std::to_string(index));
        EXPECT_FALSE(answer);
    }
    const TemporaryFile file;
    table.plainText = true;
    table.saveGDB(file.path());
    EXPECT_EQ(file.content(), "  1    0.5 s1  0\n  2    0.0 s2  0\n  3    0.5 s3  0\n");
}

TEST(Gdb2, BuildsATableFromColumns) {
    GDB2 table;
    EXPECT_EQ(table.firstResid, 1);
    EXPECT_EQ(table.lastResid, -9999);
    EXPECT_TRUE(table.addVar("A", "%d"));
    EXPECT_TRUE(table.addVar("B", "%4.1f"));
    table.addNewLineEntryWithVal("B", 2.25f);
    EXPECT_EQ(table.getStringNodeVal(1, "B"), "2.25");
    table.presetClass("ORVIX_PRED");
    EXPECT_EQ(table.getVarsCount(), 2);
    table.presetClass("ORVIX_SHIFT");
    EXPECT_EQ(table.className, "ORVIX_SHIFT");
    EXPECT_EQ(table.getLineEntryCount(), 0);
    EXPECT_EQ(table.addNewLineEntry(), 1);
    EXPECT_EQ(table.getStringNodeVal(1, "ATOMNAME"), ".");
}

TEST(Gdb2, TranslatesResidueNames) {
    EXPECT_EQ(GDB2::three2One("TRP"), "W");
    EXPECT_EQ(GDB2::three2One("cys"), "c");
    EXPECT_EQ(GDB2::three2One("pro"), "p");
    for (const char* name : {"", "ala", "Ala", "ARG+", "LYS+", "A", "XXX"}) {
        EXPECT_EQ(GDB2::three2One(name), "?") << name;
    }
}

TEST(LineNodeVal, CopiesOwnTheirValue) {
    LineNode::Val text(std::string("a text that is too long for any small buffer"));
    LineNode::Val copy = text;
    *static_cast<std::string*>(copy.value) += "!";
    EXPECT_FALSE(text.equals(copy));
    LineNode::Val moved = std::move(copy);
    EXPECT_EQ(moved.toText().back(), '!');
    moved = LineNode::Val(2.5f);
    EXPECT_EQ(*static_cast<float*>(moved.value), 2.5f);
    std::vector<LineNode::Val> cells;
    for (int i = 0; i < 100; ++i) {
        cells.push_back(i % 2 == 0 ? LineNode::Val(i) : LineNode::Val(std::to_string(i)));
    }
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(cells[static_cast<std::size_t>(i)].toInt(), i);
    }
    moved = static_cast<const LineNode::Val&>(moved);
    EXPECT_EQ(moved.toFloat(), 2.5f);
}

}  // namespace
