#include "search/db.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include "random_database.h"
#include "search/db_reader.h"
#include "search/db_text.h"
#include "support/run_end.h"

namespace {

const std::string tail = " -57.1 -47.25 -65 117 0.5 1 0.25 0.5 -1.5 2 3 0.75 0 0 -0.125 0.25";

std::string row(const std::string& source, char letter, int number) {
    return source + " " + letter + " " + std::to_string(number) + tail + "\n";
}

void prepare(DB& db, int rows) {
    sizeDatabase(db, rows, 0);
    db.dbSize = 0;
}

/// Bit for bit, all `rows` rows.
void expectSameRows(const DB& a, const DB& b, int rows) {
    for (int i = 0; i < rows; ++i) {
        ASSERT_EQ(std::memcmp(a.shifts[i], b.shifts[i], 12 * sizeof(float)), 0) << i;
        ASSERT_EQ(std::memcmp(a.angles[i], b.angles[i], 3 * sizeof(float)), 0) << i;
        ASSERT_EQ(a.resids[i], b.resids[i]) << i;
        ASSERT_EQ(a.boxes[i], b.boxes[i]) << i;
        ASSERT_EQ(a.resNames[i], b.resNames[i]) << i;
        ASSERT_EQ(a.sources[i], b.sources[i]) << i;
    }
}

/// Reads `text` in the plain and in the fast forms and compares all rows up to the capacity.
void compareForms(const std::string& text, const std::string& exclList, int capacity,
                  int threads = 1) {
    const TextFile file(text);
    DB plain;
    prepare(plain, capacity);
    const orvix::search::DatabaseReading a =
        orvix::search::readDatabasePlain(file.path, exclList, capacity, plain);
    for (orvix::search::LineParser reader :
         {orvix::search::fastLineReader(),
          orvix::search::LineParser(orvix::search::readDatabaseLinePortable)}) {
        DB fast;
        prepare(fast, capacity);
        const orvix::search::DatabaseReading b =
            orvix::search::readDatabase(file.path, exclList, capacity, threads, fast, reader);
        ASSERT_EQ(a.problem, b.problem);
        EXPECT_EQ(a.opened, b.opened);
        if (a.problem.empty()) {
            EXPECT_EQ(a.rows, b.rows);
            EXPECT_EQ(a.full, b.full);
            expectSameRows(plain, fast, a.rows);
            if (a.rows < capacity) {
                EXPECT_EQ(fast.resNames[a.rows], '\0');
                EXPECT_EQ(fast.shifts[a.rows][11], 0.0F);
            }
        }
    }
}

TEST(Database, FieldsGoWhereTheyBelong) {
    const TextFile file("# comment\n\n" + row("1abcA", 'K', 12) + "1abcA c 4294967295 1 2 999.5 8" +
                        " 1 2 3 4 5 6 7 8 9 10 11 12 trailing words\n   \t \n" +
                        row("2xyzB", 'G', 1));
    DB db(file.path);
    ASSERT_EQ(db.dbSize, 3);
    EXPECT_EQ(db.maxDBSize, 2999999);
    EXPECT_EQ(db.dbFile, file.path);
    EXPECT_EQ(db.sources[0], "1abcA");
    EXPECT_EQ(db.resNames[0], 'K');
    EXPECT_EQ(db.resids[0], 12);
    EXPECT_EQ(db.angles[0][0], -57.1F);
    EXPECT_EQ(db.angles[0][2], -65.0F);
    EXPECT_EQ(db.boxes[0], 117);
    EXPECT_EQ(db.shifts[0][0], 0.5F);
    EXPECT_EQ(db.shifts[0][11], 0.25F);
    EXPECT_EQ(db.resids[1], -1);
    EXPECT_EQ(db.shifts[1][11], 12.0F);
    EXPECT_EQ(&db.sources[0], &db.sources[1]);
    EXPECT_EQ(db.sources[2], "2xyzB");
    EXPECT_EQ(db.sources[3], "");
    EXPECT_EQ(db.shifts[db.maxDBSize - 1][11], 0.0F);
}

TEST(Database, FastLinesHaveTheBitsOfThePlainForm) {
    std::mt19937 random(1);
    std::ostringstream text;
    const auto real = [&random] {
        std::string word = random() % 3 == 0 ? "-" : "";
        const auto digits = [&](unsigned most) {
            for (unsigned n = random() % (most + 1); n > 0; --n) {
                word += static_cast<char>('0' + random() % 10);
            }
        };
        word += static_cast<char>('0' + random() % 10);
        digits(random() % 20 == 0 ? 20 : 3);
        if (random() % 4 != 0) {
            word += '.';
            digits(random() % 10 == 0 ? 25 : 6);
        }
        if (random() % 200 == 0) {
            const char* const odd[] = {"nan",
                                       "inf",
                                       "1e-3",
                                       "+5",
                                       "0x1p3",
                                       ".5",
                                       "-.25",
                                       "7.",
                                       "1e40",
                                       "1e-44",
                                       "-0.0",
                                       "16777217",
                                       "1.00000017881393432617"};
            word = odd[random() % 13];
        }
        return word;
    };
    for (int i = 0; i < 6000; ++i) {
        const char* const between[] = {" ", "  ", "\t", " \r ", "\v", "\f"};
        const auto gap = [&] { return between[random() % 50 < 45 ? 0 : random() % 6]; };
        text << "p" << i / 40 << gap() << static_cast<char>('A' + random() % 26) << gap();
        text << random() % 1000 << gap() << real() << gap() << real() << gap() << real() << gap();
        text << (random() % 100 == 0 ? 4000000000U : static_cast<unsigned>(random() % 324));
        for (int k = 0; k < 12; ++k) {
            text << gap() << real();
        }
        text << (random() % 20 == 0 ? "\r\n" : random() % 20 == 0 ? " more\n" : "\n");
        if (random() % 30 == 0) {
            text << (random() % 2 == 0 ? "# note\n" : "\n");
        }
    }
    compareForms(text.str(), "", 7000);
    compareForms(text.str(), "", 5);
    compareForms(text.str(), "p3 p149", 7000);
    compareForms(text.str().substr(0, text.str().size() - 1), "", 7000);
}

TEST(Database, OddLinesFollowTheRulesOfFormattedInput) {
    // Each line alone: either a row, equal in both forms, or the same problem.
    const std::string numbers = " 1 2 3 4 5 6 7 8 9 10 11 12";
    const std::string lines[] = {
        "a A5 1 2 3 4" + numbers,    // letter and number in one word
        "a AB 5 1 2 3 4" + numbers,  // a second letter
        "a A 5.5 1 2 4" + numbers,   // ".5" is the next field
        "a A -3 1 2 3 4" + numbers,  // wraps around
        "a A +3 1 2 3 4" + numbers,
        "a A 99999999999999999999 1 2 3 4" + numbers,
        "a A 3 1 2 3 4" + numbers.substr(0, numbers.size() - 3),  // 18 fields
        "a A 3 1 2 3 4" + numbers + "x",
        "a A 3 1 2 3 4x" + numbers,
        "a A 3 1,5 2 3 4" + numbers,
        " # A 3 1 2 3 4" + numbers,  // no comment behind a blank
        "a",
        "just some words",
        std::string(29, 's') + " A 3 1 2 3 4" + numbers,
        std::string(30, 's') + " A 3 1 2 3 4" + numbers,
        std::string("a\0b A 3 1 2 3 4", 16) + numbers,
        std::string("a A 3 1 2 3 4\0", 14) + numbers,
        std::string("\0", 1),
        "\xff\xfe A 3 1 2 3 4" + numbers,
        "a \xc3 3 1 2 3 4" + numbers,
        "a A 3 1e 2 3 4" + numbers,
        "a A 3 1 2 3 4.0" + numbers,  // the box is whole
        "a A 3 1 2 3 -4" + numbers,
        "a A 3 . 2 3 4" + numbers,
        "a A 3 - 2 3 4" + numbers,
        "a A 3 -. 2 3 4" + numbers,
        "a A 3 1 -2 -.5 4" + numbers,
        "a A 3 1-1 2 3 4" + numbers,
        "a A 3 1.1.1 2 3 4" + numbers,
        "a A 3 /:1 2 3 4" + numbers,
        "a A 3 1 2 3 4 1 2 3 4 5 6 7 8 9 10 11 :",
        "a A 3 -9999999 99999999 -999.999 4" + numbers,
        "a A 12345678 1 2 3 4" + numbers,
        "a A 123456789 1 2 3 4" + numbers,
        "a A 3 infinity -nan 3 4" + numbers,
        "a A 3 " + std::string(5000, '1') + " 2 3 4" + numbers,
        "a A 3 1 2 3 4" + numbers + std::string(100000, 'z'),
    };
    for (const std::string& line : lines) {
        SCOPED_TRACE(line.substr(0, 60));
        compareForms(line + "\n", "", 10);
        compareForms(row("x", 'A', 1) + line + "\r\n" + row("y", 'A', 1), "", 10);
        compareForms(line, "", 10);
    }
}

TEST(Database, DamagedLinesAreReadAlikeOrLeftToThePlainForm) {
    std::mt19937 random(8);
    const std::string sound =
        "1abcA K 12 -57.125 142.5 -65 117 0.5 1 -0.25 0.5 -1.5 2 3 .75 0 0 1. 2";
    const std::string replacements = " \t\r\v.-+#0159xXeE:/\xff";
    int taken = 0;
    for (int round = 0; round < 40000; ++round) {
        std::string line = sound;
        for (unsigned changes = random() % 4; changes > 0; --changes) {
            const std::size_t at = random() % line.size();
            const char byte =
                random() % 30 == 0 ? '\0' : replacements[random() % replacements.size()];
            switch (random() % 3) {
                case 0:
                    line[at] = byte;
                    break;
                case 1:
                    line.insert(at, 1, byte);
                    break;
                default:
                    line.erase(at, 1 + random() % 3);
            }
        }
        const std::string buffer = std::string(orvix::search::lineMargin, '7') + line + "\n" +
                                   std::string(orvix::search::lineMargin, '7');
        struct Cells {
            float shifts[12], angles[3];
            int resid, box;
            char letter;
            orvix::search::DatabaseRow row() { return {shifts, angles, &resid, &box, &letter, {}}; }
        };
        Cells plain{};
        orvix::search::DatabaseRow plainRow = plain.row();
        const orvix::search::LineResult result =
            orvix::search::readDatabaseLinePlain(line, plainRow);
        for (orvix::search::LineParser reader :
             {orvix::search::fastLineReader(),
              orvix::search::LineParser(orvix::search::readDatabaseLinePortable)}) {
            Cells fast{};
            orvix::search::DatabaseRow fastRow = fast.row();
            const char* const begin = buffer.data() + orvix::search::lineMargin;
            const char* const feed = reader(begin, fastRow);
            if (feed == nullptr) {
                continue;
            }
            ++taken;
            ASSERT_EQ(result, orvix::search::LineResult::row) << line;
            ASSERT_EQ(feed, begin + line.size()) << line;
            ASSERT_EQ(fastRow.source, plainRow.source) << line;
            ASSERT_EQ(std::memcmp(fast.shifts, plain.shifts, sizeof plain.shifts), 0) << line;
            ASSERT_EQ(std::memcmp(fast.angles, plain.angles, sizeof plain.angles), 0) << line;
            ASSERT_EQ(fast.resid, plain.resid) << line;
            ASSERT_EQ(fast.box, plain.box) << line;
            ASSERT_EQ(fast.letter, plain.letter) << line;
        }
    }
    EXPECT_GT(taken, 30000);
}

TEST(Database, SeveralThreadsReadTheSame) {
    // Above the size from which the file is shared out, with lines that don't count in between.
    std::string text;
    for (int i = 0; text.size() < (std::size_t{17} << 20); ++i) {
        text += row("p" + std::to_string(i / 97), "ACDEFGHIKL"[i % 10], i % 300);
        if (i % 1000 == 0) {
            text += i % 3000 == 0 ? "# note\n" : i % 2000 == 0 ? "\n" : " \t\n";
        }
    }
    for (int capacity : {1000000, 100000, 5000}) {
        compareForms(text, "", capacity, 3);
    }
    const std::size_t middle = text.find('\n', text.size() / 2) + 1;
    compareForms(text.substr(0, middle) + "broken\n" + text.substr(middle), "", 1000000, 3);
}

TEST(Database, ExclusionTakesTheSourceWordAsPartOfTheList) {
    const TextFile file(row("aa", 'A', 1) + row("b", 'C', 1) + row("aa", 'D', 2) +
                        row("ccc", 'E', 1) + row("b", 'F', 2));
    DB db;
    db.loadDB(file.path, "xbx,cc");
    EXPECT_EQ(db.exclList, "xbx,cc");
    ASSERT_EQ(db.dbSize, 3);
    EXPECT_EQ(db.resNames[1], 'D');
    // Rows that stood apart by a left-out one belong together now.
    EXPECT_EQ(&db.sources[0], &db.sources[1]);
    EXPECT_EQ(db.sources[2], "ccc");
    EXPECT_EQ(db.resNames[3], '\0');
    db.loadDB(file.path, "");
    EXPECT_EQ(db.dbSize, 5);
}

TEST(Database, CapacityEndsTheReading) {
    const TextFile file(row("a", 'A', 1) + row("a", 'C', 2) + row("b", 'D', 1));
    const auto warning = [&file](int size) {
        return "Warning:: Database " + file.path + "is larger than the allocated (" +
               std::to_string(size) + "), not all entries are read!\n";
    };
    DB db;
    for (int size : {1, 2, 3}) {
        db.setMaxDBSize(size);
        testing::internal::CaptureStderr();
        db.loadDB(file.path);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), warning(size));
        EXPECT_EQ(db.dbSize, size);
    }
    db.setMaxDBSize(4);
    EXPECT_EQ(db.dbSize, 3);
    EXPECT_EQ(db.resNames[2], 'D');
    testing::internal::CaptureStderr();
    db.loadDB(file.path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(db.dbSize, 3);
    EXPECT_EQ(db.shifts[3][0], 0.0F);

    for (int size : {0, -7}) {
        db.setMaxDBSize(size);
        testing::internal::CaptureStderr();
        db.loadDB(file.path);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), warning(size));
        EXPECT_EQ(db.dbSize, 0);
    }
    const TextFile empty("# nothing\n\n");
    testing::internal::CaptureStderr();
    db.loadDB(empty.path);
    db.setMaxDBSize(10);
    db.loadDB(empty.path);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(db.dbSize, 0);
}

TEST(DatabaseDeath, FailuresEndTheProcessWithStatusZero) {
    const auto load = [](const std::string& path) {
        DB db;
        db.loadDB(path);
    };
    EXPECT_END(load("no/such/file"), 0, "^\tCan't open database file no/such/file for reading\n$");
    EXPECT_END(load(testing::TempDir()), 0, "Can't open database file");
    const TextFile broken(row("a", 'A', 1) + "\n# x\na A 2 1 2\n");
    EXPECT_END(load(broken.path), 0,
               "^\tDatabase file .*, line 4: not the 19 fields of a residue\n$");
    const TextFile wide(std::string(30, 'w') + " A 1" + tail + "\n");
    EXPECT_END(load(wide.path), 0, "line 1: source word of more than 29 characters\n$");
    const TextFile endless(row("a", 'A', 1) + std::string(std::size_t{18} << 20, 'x'));
    EXPECT_END(load(endless.path), 0, "line 2: ");
}

}  // namespace
