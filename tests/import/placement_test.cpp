#include "import/placement.h"

#include "import/import_text.h"

namespace orvix {
namespace {

const std::vector<std::string> sequence = {"MET", "LYS", "GLN", "TRP", "GLY", "VAL", "ASP", "PHE",
                                           "HIS", "SER", "ARG", "ALA", "GLU", "THR", "CYS", "ILE",
                                           "PRO", "LEU", "TYR", "ASN", "VAL", "LYS", "ASP", "GLY"};

// CA rows of the residues with these numbers of the sequence, under other numbers.
std::string rowsAt(const std::vector<std::pair<int, int>>& numbers) {
    std::string rows;
    for (const auto& [place, number] : numbers) {
        rows += std::to_string(number) + " " + sequence.at(static_cast<std::size_t>(place - 1)) +
                " CA 50." + std::to_string(place) + "\n";
    }
    return rows;
}

std::vector<std::pair<int, int>> moved(int first, int last, int by) {
    std::vector<std::pair<int, int>> numbers;
    for (int place = first; place <= last; ++place) {
        numbers.emplace_back(place, place + by);
    }
    return numbers;
}

std::string deposited(const std::string& rows, int firstAuthor = 0) {
    return entityFrame("1", sequence, "polypeptide(L)", firstAuthor) +
           shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", rows);
}

// Whether every row came to the residue whose number its value tells.
void expectInPlace(const importing::ImportedTable& table, std::size_t rows) {
    EXPECT_EQ(table.shifts.size(), rows);
    for (const importing::ImportedShift& shift : table.shifts) {
        EXPECT_EQ(shift.valueText, "50." + std::to_string(shift.residue));
    }
}

TEST(Placement, OneShiftOfAllNumbers) {
    const importing::ImportedTable table = importText(deposited(rowsAt(moved(3, 14, 100))));
    expectInPlace(table, 12);
    EXPECT_EQ(table.report.notes().at(0),
              "residue names: 12 of 12 fit the sequence with -100 on the residue numbers of the "
              "file (as they are: 0)");
    EXPECT_EQ(table.authorNumber.at(3), "103");
    EXPECT_EQ(table.report.items(importing::ImportFinding::renumbered).at(0),
              "103 GLN -> 3 (1 rows)");

    // Numbers that fit stay, a mutation or a part outside of the sequence notwithstanding.
    const importing::ImportedTable mutant =
        importText(deposited(rowsAt(moved(3, 14, 0)) + "15 ALA CA 50.15\n"));
    expectInPlace(mutant, 13);
    EXPECT_EQ(mutant.report.notes().at(1), "residue names: 12 of 13 fit the sequence");
    const importing::ImportedTable outside =
        importText(deposited(rowsAt(moved(3, 8, 0)) + "-1 HIS CA 55\n0 SER CA 58\n"));
    expectInPlace(outside, 6);
    EXPECT_TRUE(tells(outside, "2 residues of the shifts lie outside"));
}

TEST(Placement, AuthorNumbersOfTheSequence) {
    // The numbers jump from residue to residue, as only the sequence can tell.
    std::string frame =
        "save_e _Entity.ID 1 loop_ _Entity_comp_index.ID "
        "_Entity_comp_index.Auth_seq_ID _Entity_comp_index.Comp_ID\n";
    std::vector<std::pair<int, int>> numbers;
    for (int place = 1; place <= 24; ++place) {
        numbers.emplace_back(place, 3 * place + 50);
        frame += std::to_string(place) + " " + std::to_string(3 * place + 50) + " " +
                 sequence[static_cast<std::size_t>(place - 1)] + "\n";
    }
    const importing::ImportedTable table = importText(
        frame + "stop_ save_\n" + shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", rowsAt(numbers)));
    expectInPlace(table, 24);
    EXPECT_TRUE(tells(table,
                      "24 of 24 fit the sequence with the residue numbers of the file as its "
                      "author numbers"));
}

TEST(Placement, BlocksWithAShiftEach) {
    std::vector<std::pair<int, int>> numbers = moved(2, 10, 5);
    for (const auto& pair : moved(13, 24, 160)) {
        numbers.push_back(pair);
    }
    const importing::ImportedTable table = importText(deposited(rowsAt(numbers)));
    expectInPlace(table, 21);
    EXPECT_EQ(
        table.report.notes().at(0),
        "residue names: 21 of 21 fit the sequence with -5 on the first residue numbers of the "
        "file, -160 from 173 on (as they are: 0)");

    // Blocks out of order are no placement.
    numbers = moved(2, 10, 100);
    for (const auto& pair : moved(13, 24, 0)) {
        numbers.push_back(pair);
    }
    EXPECT_NE(refusal(deposited(rowsAt(numbers))).find("12 of 21 (57 %) with the numbers as"),
              std::string::npos);
}

TEST(Placement, RefusesWhatFitsNowhere) {
    std::string rows = rowsAt(moved(3, 10, 0));
    for (const char* wrong : {"11 GLY", "12 GLY", "13 TRP", "14 TRP", "15 TRP"}) {
        rows += std::string(wrong) + " CA 50\n";
    }
    const std::string message = refusal(deposited(rows));
    EXPECT_NE(message.find("8 of 13 (61 %) with the numbers as they are"), std::string::npos);
    EXPECT_NE(message.find("--sequence FILE"), std::string::npos);
    EXPECT_NE(message.find("--shift-numbers N"), std::string::npos);

    importing::ImportOptions options;
    options.shiftNumbers = 0;
    const importing::ImportedTable forced = importText(deposited(rows), options);
    EXPECT_EQ(forced.shifts.size(), 13U);
    EXPECT_TRUE(tells(forced, "only 8 of 13 (61 %)"));
    options.shiftNumbers = -10;
    EXPECT_TRUE(tells(importText(deposited(rowsAt(moved(3, 10, 10))), options),
                      "8 of 8 fit the sequence with -10 on the residue numbers of the file, as "
                      "asked for (as they are: 0)"));
    options.shiftNumbers = 20;
    EXPECT_EQ(importText(shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", "1 GLY CA 45"), options)
                  .firstResidue,
              21);

    // Two places that are equally good are none.
    const TemporaryFile repeats(">x\nMKMWVLLMKMWVLL\n");
    options.shiftNumbers.reset();
    options.sequenceFile = repeats.path();
    const std::string twice =
        shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", "32 LYS CA 56\n33 MET CA 55\n34 TRP CA 57");
    EXPECT_NE(refusal(twice, options).find("where others fit as well"), std::string::npos);
}

TEST(PlacementSearch, UnknownLettersAreNotCompared) {
    const importing::PlacementSearch search({{1, 'A'}, {2, 'X'}, {3, 'G'}, {4, 'W'}},
                                            {{11, 'A'}, {12, 'K'}, {13, 'X'}, {14, 'W'}});
    const importing::Placement best = search.best();
    EXPECT_EQ(best.blocks.at(0).shift, -10);
    EXPECT_EQ(best.fitting, 2);
    EXPECT_EQ(best.compared, 2);
    EXPECT_TRUE(importing::PlacementSearch({}, {{1, 'A'}}).best().blocks.empty());
}

}  // namespace
}  // namespace orvix
