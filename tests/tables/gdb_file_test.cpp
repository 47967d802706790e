// The text form of GDB: reading, writing, and what bad files do.

#include <climits>

#include "support/run_end.h"
#include "tables/gdb.h"
#include "tables/temporary_file.h"

namespace {

using Words = std::vector<std::string>;

GDB loaded(const std::string& content) {
    const TemporaryFile file(content);
    return GDB(file.path());
}

std::string saved(GDB& table) {
    const TemporaryFile file;
    table.saveGDB(file.path());
    return file.content();
}

std::string residues(const GDB& table) {
    std::string letters;
    for (const auto& [resid, name] : table.residList) {
        letters += name;
    }
    return letters;
}

TEST(GdbLoad, ReadsAllKindsOfLines) {
    const std::string content =
        "remark  Chemical  shifts  \n"
        "Data\tFIRST_RESID \t 5\n"
        "DATA SEQUENCE MQ  IF\n"
        "\n"
        " vars  RESID RESNAME\tATOMNAME  SHIFT \n"
        "FORMAT %4d %1s %4s  %8.3f \n"
        "\n"
        "   5 M    N   120.5\n"
        "this line is dropped because\n"
        "# Q HA 4.5\n"
        "   6 q    h   word";
    const TemporaryFile file(content);
    const GDB table(file.path());
    EXPECT_EQ(table.fileName, file.path());
    EXPECT_EQ(table.remarks, Words{" Chemical  shifts  "});
    EXPECT_EQ(table.dataLines, (Words{"FIRST_RESID 5", "SEQUENCE MQ IF"}));
    EXPECT_EQ(table.varsLine, "RESID RESNAME ATOMNAME SHIFT");
    EXPECT_EQ(table.formatLine, " %4d %1s %4s  %8.3f ");
    EXPECT_EQ(table.varsCount, 4);
    EXPECT_EQ(table.formats,
              (std::map<int, std::string>{{0, "%4d "}, {1, "%1s "}, {2, "%4s  "}, {3, "%8.3f "}}));
    ASSERT_EQ(table.getEntryCount(), 3);
    EXPECT_EQ(
        table.entries.at(1),
        (GDB::Entry{{"RESID", "5"}, {"RESNAME", "M"}, {"ATOMNAME", "N"}, {"SHIFT", "120.5"}}));
    EXPECT_EQ(table.entries.at(2).at("RESID"), "#");
    EXPECT_EQ(table.entries.at(3).at("SHIFT"), "word");
    EXPECT_EQ(table.firstResid, 5);
    EXPECT_EQ(table.residList.begin()->first, 5);
    EXPECT_EQ(residues(table), "MQIF");
}

TEST(GdbLoad, KeywordLinesMayBeRowsToo) {
    const GDB table = loaded(
        "VARS A B C\nREMARK not yet\nDATA key value\n1 2 3\nFORMAT %s %s %s\n"
        "REMARK one two\nDATA key VALUE\nremark\n");
    EXPECT_EQ(table.remarks, (Words{"not yet", "one two", ""}));
    EXPECT_EQ(table.dataLines, (Words{"key value", "key VALUE"}));
    ASSERT_EQ(table.getEntryCount(), 2);
    EXPECT_EQ(table.entries.at(1).at("A"), "REMARK");
    EXPECT_EQ(table.entries.at(2).at("C"), "VALUE");
}

TEST(GdbLoad, LaterHeadersDropRowsAndNumberOn) {
    // The VARS line is itself the second row before it clears the rows.
    const GDB table = loaded("VARS A B\nFORMAT %s %s\n1 2\nVARS C\nx\nFORMAT %d\n3\n4\n");
    EXPECT_EQ(table.varsCount, 1);
    ASSERT_EQ(table.getEntryCount(), 2);
    EXPECT_EQ(table.entries.at(4).at("C"), "3");
    EXPECT_EQ(table.entries.at(5).at("C"), "4");
}

TEST(GdbLoad, RepeatedColumnNamesShareTheLaterCell) {
    GDB table = loaded("VARS A B A\nFORMAT %s %s %s\n1 2 3\n");
    EXPECT_EQ(table.varsCount, 3);
    EXPECT_EQ(table.entries.at(1), (GDB::Entry{{"A", "3"}, {"B", "2"}}));
    EXPECT_EQ(saved(table), "\n\nVARS   A B A \nFORMAT %s %s %s\n\n3 2 3\n");
}

TEST(GdbLoad, FormatLinesThatDontFitLeaveNoSpecifiers) {
    for (const char* header :
         {"FORMAT %s %s\nVARS A B\n", "VARS A B\nFORMAT %s\n", "VARS A B\nFORMAT\n",
          "VARS A B\nFORMAT %4s %%\n", "VARS A B\nFORMAT %s %s %s\n"}) {
        GDB table = loaded(std::string(header) + "1 2\n");
        EXPECT_TRUE(table.formats.empty()) << header;
        EXPECT_EQ(table.getEntryCount(), 1) << header;
        EXPECT_EQ(saved(table), "\n\nVARS   A B \nFORMAT \n\n\n") << header;
    }
    const GDB table = loaded("VARS A B\nFORMAT junk %s %d\n");
    EXPECT_EQ(table.formats, (std::map<int, std::string>{{0, "%s "}, {1, "%d"}}));
}

TEST(GdbLoad, TablesWithoutHeaderHaveNoRows) {
    for (const char* content :
         {"", "\n\n", "1 2\n", "VARS A B\n1 2\n", "VARS\nFORMAT\nx\n", "FORMAT %s\nx\n"}) {
        const GDB table = loaded(content);
        EXPECT_EQ(table.getEntryCount(), 0) << content;
        EXPECT_EQ(table.firstResid, 1) << content;
    }
}

TEST(GdbLoad, BareKeywordsStoreEmptyTexts) {
    GDB table = loaded("REMARK\nREMARK \nDATA\n DATA \t\n");
    EXPECT_EQ(table.remarks, (Words{"", ""}));
    EXPECT_EQ(table.dataLines, (Words{"", ""}));
    EXPECT_EQ(saved(table), "REMARK \nREMARK \n\nDATA \nDATA \n\nVARS   \nFORMAT \n\n");
}

TEST(GdbLoad, WalksTheSequenceAfterTheWholeFile) {
    const GDB table = loaded(
        "DATA SEQUENCE AcZ\ndata Sequence phx?1 Y\nDATA FIRST_RESID -1\nDATA FIRST_RESID 7\n");
    EXPECT_EQ(table.firstResid, -1);
    EXPECT_EQ(table.residList.begin()->first, -1);
    EXPECT_EQ(residues(table), "AcXphX?XY");

    EXPECT_EQ(loaded("DATA FIRST_RESID\n").firstResid, 0);
    EXPECT_EQ(loaded("DATA FIRST_RESID x\n").firstResid, 0);
    const GDB last = loaded("DATA FIRST_RESID 99999999999\nDATA SEQUENCE ACD\n");
    EXPECT_EQ(last.residList, (std::map<int, std::string>{{INT_MAX, "D"}}));
}

TEST(GdbLoad, SecondLoadAppendsHeaderAndReplacesRows) {
    const TemporaryFile first("REMARK a\nDATA SEQUENCE AC\nVARS A B\nFORMAT %s %s\n1 2\n3 4\n");
    const TemporaryFile second("REMARK b\nVARS C\nFORMAT %s\nx\n");
    GDB table(first.path());
    table.loadGDB(second.path());
    EXPECT_EQ(table.remarks, (Words{"a", "b"}));
    EXPECT_EQ(residues(table), "ACAC");
    EXPECT_EQ(table.entries, (std::map<int, GDB::Entry>{{1, {{"C", "x"}}}}));
}

TEST(GdbLoad, TakesForeignLineEndsAndBytes) {
    GDB crlf =
        loaded("REMARK text\r\nDATA SEQUENCE AC\r\nVARS A B\r\nFORMAT %s %3d\r\n\r\nx 7\r\n");
    EXPECT_EQ(crlf.remarks, Words{"text\r"});
    EXPECT_EQ(residues(crlf), "AC");
    EXPECT_EQ(crlf.entries.at(1), (GDB::Entry{{"A", "x"}, {"B", "7"}}));
    EXPECT_EQ(crlf.formats.at(1), "%3d\r");

    std::string binary;
    for (unsigned i = 0; i < 100000; ++i) {
        binary += static_cast<char>(i * i >> 3);
    }
    EXPECT_EQ(loaded(binary).varsCount, 0);
    const std::string nul("VARS A B\nFORMAT %s %s\n\0 \xff\n", 26);
    EXPECT_EQ(loaded(nul).entries.at(1).at("A"), std::string(1, '\0'));

    const std::string huge(10000000, 'w');
    const GDB table = loaded("VARS A B\nFORMAT %s %s\n1 " + huge + "\n" + huge +
                             "\nDATA SEQUENCE " + std::string(100000, 'w'));
    EXPECT_EQ(table.entries.at(1).at("B").size(), huge.size());
    // "DATA SEQUENCE ..." has three words, so it is no row of two columns.
    EXPECT_EQ(table.getEntryCount(), 1);
    EXPECT_EQ(table.residList.size(), 100000u);
}

TEST(GdbDeathTest, FatalFilesEndTheProcessWithStatusZero) {
    const std::string missing = testing::TempDir() + "no/such.tab";
    EXPECT_END(GDB{missing}, 0, testing::Eq("\tCan't open file " + missing + " for reading\n"));
    const std::string directory = testing::TempDir();
    EXPECT_END(GDB{directory}, 0, testing::Eq("\tCan't open file " + directory + " for reading\n"));
    const struct {
        const char* format;
        const char* specifier;
    } cases[] = {{"%4d %q ", "%q "}, {"%4d text %s", "%4d text "}, {"%%", "%"}, {"%4d%+d", "%+d"}};
    for (const auto& bad : cases) {
        EXPECT_END(loaded(std::string("VARS A B\nFORMAT ") + bad.format + "\n"), 0,
                   testing::Eq(std::string("\tBad format syntax '") + bad.specifier + "'\n"));
    }
}

TEST(GdbSave, WritesHeaderAndRowsWithMissingCells) {
    GDB table;
    table.addRemark(" two");
    table.setData("FIRST_RESID", "3");
    table.setData("SEQUENCE", "");
    table.setData("SEQUENCE", " AC  DE\t");
    table.setData("sequence", "AC  DE");
    table.VARS_str_parser("I S R");
    table.FORMAT_str_parser("%3d %-4s %8.3f");
    table.setEntry(7, "I", "2.9");
    table.setEntry(7, "R", "word");
    table.setEntry(-1, "S", "longer than four");
    table.setEntry(-1, "R", "1.0005");
    EXPECT_EQ(saved(table),
              "REMARK  two\n\nDATA FIRST_RESID 3\nDATA SEQUENCE AC DE\nDATA sequence AC  DE\n\n"
              "VARS   I S R \nFORMAT %3d %-4s %8.3f\n\n"
              "  0 longer than four    1.000\n  2         0.000\n");
    table.set_plaintext();
    EXPECT_EQ(saved(table), "  0 longer than four    1.000\n  2         0.000\n");
}

TEST(GdbSave, CutsSequencesIntoChunks) {
    const auto lines = [](std::size_t letters) {
        GDB table;
        table.setData("SEQUENCE", std::string(letters, 'A'));
        return saved(table);
    };
    const std::string full = "DATA SEQUENCE " + std::string(55, 'A') + "\n";
    const std::string tail = "\nVARS   \nFORMAT \n\n";
    EXPECT_EQ(lines(110), "\n" + full + full + tail);
    EXPECT_EQ(lines(120),
              "\n" + full + full + "DATA SEQUENCE " + std::string(10, 'A') + "\n" + tail);
    EXPECT_EQ(lines(0), "\n" + tail);

    // Blanks count as characters of a chunk, and may end one.
    GDB table;
    table.setData("SEQUENCE", std::string(54, 'A') + "  " + std::string(3, 'C'));
    EXPECT_EQ(saved(table),
              "\nDATA SEQUENCE " + std::string(54, 'A') + " \nDATA SEQUENCE CCC\n" + tail);
}

TEST(GdbSave, WrittenTablesReadBack) {
    const std::string content =
        "REMARK a  b \nREMARK c\n\nDATA FIRST_RESID 2\nDATA SEQUENCE ACDEF\n\n"
        "VARS   RESID NAME SHIFT \nFORMAT %4d %-4s %8.3f \n\n   2 CA     55.100 \n   3 N     "
        "120.000 \n";
    GDB table = loaded(content);
    EXPECT_EQ(saved(table), content);
}

TEST(GdbSave, ReportsAFileItCannotWrite) {
    GDB table;
    const std::string path = testing::TempDir() + "no/such.tab";
    EXPECT_EQ(errorOutput([&] { table.saveGDB(path); }), "\tCan't save file " + path + "\n");
}

}  // namespace
