#include "import/star_document.h"

#include <random>

#include "base/run_end.h"
#include "import/import_text.h"
#include "import/shift_text.h"
#include "import/star_tokens.h"

namespace orvix {
namespace {

std::vector<std::string> valuesOf(const std::string& text) {
    std::vector<std::string> values;
    const importing::StarDocument document(text, "file");
    for (const importing::StarFrame& frame : document.frames) {
        for (const auto& [tag, value] : frame.items) {
            values.push_back(tag + "=" + std::string(value.text));
        }
        for (const importing::StarLoop& loop : frame.loops) {
            for (const importing::StarValue& value : loop.values) {
                values.emplace_back(value.text);
            }
        }
    }
    return values;
}

TEST(StarDocument, ReadsEveryFormOfValue) {
    EXPECT_EQ(valuesOf("data_x save_a _T 'two words' _u \"it's\" _V $label#x _w 'RNA (5'-R)-3''\n"
                       "_text\n;first\n  ;second\n;\n_z # comment\n 'a#b' save_"),
              (Rows{"_t=two words", "_u=it's", "_v=$label#x", "_w=RNA (5'-R)-3'",
                    "_text=first\n  ;second", "_z=a#b"}));
}

TEST(StarDocument, LoopsNeedNeitherLinesNorStop) {
    EXPECT_EQ(
        valuesOf("lOop_ _a _b 1 2 3\n4 sTop_ Loop_ _c 5 SAVE_f _d 6 LOOP_ _e _f\n7\n;\n8\n;\n"),
        (Rows{"1", "2", "3", "4", "5", "_d=6", "7", "\n8"}));
    const std::string text = "save_a loop_ _a data_like 2 save_ loop_ _b 3";
    const importing::StarDocument document(text, "file");
    ASSERT_EQ(document.frames.size(), 3U);
    EXPECT_EQ(document.frames[1].name, "a");
    EXPECT_EQ(document.frames[1].loops.at(0).values.size(), 2U);
    EXPECT_TRUE(document.frames[1].loops[0].closed);
    EXPECT_FALSE(document.frames[2].loops.at(0).closed);
}

TEST(StarDocument, AStrayQuoteIsAWord) {
    const std::string text = "_a 'x\n_b y' loop_ _c ' 5'-end";
    EXPECT_EQ(valuesOf(text), (Rows{"_a='x", "_b=y'", "'", "5'-end"}));
    EXPECT_EQ(importing::StarDocument(text, "file").remarks.size(), 2U);
}

TEST(StarDocument, OnlyBareSignsAreMissing) {
    const std::string text = "loop_ _a . ? '.' \"?\"";
    const importing::StarDocument document(text, "file");
    std::vector<bool> missing;
    for (const importing::StarValue& value : document.frames.at(0).loops.at(0).values) {
        missing.push_back(value.missing);
    }
    EXPECT_EQ(missing, (std::vector<bool>{true, true, false, false}));
}

TEST(StarDocument, NamesTheLineOfWhatIsNotClosed) {
    const auto message = [](const std::string& text) -> std::string {
        try {
            const importing::StarDocument document(text, "file");
            for (const importing::StarFrame& frame : document.frames) {
                for (const importing::StarLoop& loop : frame.loops) {
                    importing::requireWholeRows(loop, "file");
                }
            }
        } catch (const InputRejected& error) {
            return error.what();
        }
        return "taken";
    };
    EXPECT_EQ(message("_a 1\n\n_b\n;text\n").rfind("file:4: ", 0), 0U);
    EXPECT_EQ(message("loop_ _a _b\n1 2\n3\n4 5\n6 7\n stop_").rfind("file:3: ", 0), 0U);
    EXPECT_EQ(message("loop_ _a _b\n1 2\n3"), "taken");  // cut off by the end of the file
}

TEST(StarDocument, TellsWhatIsCut) {
    const auto cuts = [](const std::string& text) {
        return importing::StarDocument(text, "file").cuts;
    };
    EXPECT_TRUE(cuts("data_x save_a _a 1 loop_ _b 1 2 stop_ save_").empty());
    EXPECT_EQ(cuts("save_a\nloop_ _b 1\nstop_"),
              (Rows{"the frame a from line 1 on has no closing save_"}));
    EXPECT_EQ(cuts("save_a\nloop_ _b 1 save_b _c 1 save_"),
              (Rows{"the frame a from line 1 on has no closing save_",
                    "the loop from line 2 on has no closing stop_"}));
    EXPECT_EQ(cuts("loop_ _a _b\n1 2\n3 stop_"),
              (Rows{"the loop from line 1 on ends within a row: 1 of 2 values"}));
}

TEST(StarDocument, ManyTagsInARowAreALoop) {
    const std::string loop = "_a\n_b\n_c\n1 2 3\n4 5 6\n";
    const importing::StarDocument document(loop, "file");
    EXPECT_EQ(document.frames.at(0).loops.at(0).rowCount(), 2U);
    // Too few values: only the last tag has one.
    EXPECT_EQ(valuesOf("_a\n_b\n_c 1\n_d 2\n"), (Rows{"_c=1", "_d=2"}));
    EXPECT_EQ(importing::StarDocument("_a _b _c 1 _d 2", "file").remarks.size(), 2U);
    EXPECT_EQ(valuesOf("_a\n_b 1\n"), (Rows{"_b=1"}));
}

// Broken files of any kind are refused or read; never anything else.
TEST(StarDocument, AnyBytesAreReadOrRefused) {
    const std::string whole =
        "data_x\n" + entityFrame("1", {"MET", "GLY", "ALA"}) +
        shiftFrame("1", "Seq_ID Comp_ID Atom_ID Val", "1 MET CA 55.1\n2 GLY HA2 3.9\n") +
        "_t\n;a\n;\n'q r' \"s\"";
    const char pieces[] = "'\"\n;#_$. \t\r\0\xff\x80";
    std::mt19937 random(1);
    int taken = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string text = whole;
        for (unsigned change = random() % 4; change-- > 0;) {
            text[random() % text.size()] = pieces[random() % (sizeof pieces - 1)];
        }
        text.resize(random() % 4 == 0 ? random() % text.size() : text.size());
        taken += refusal(text).empty() ? 1 : 0;
    }
    EXPECT_GT(taken, 100);
    EXPECT_LT(taken, 3000);
}

TEST(ShiftText, UnpacksAndLimits) {
    const TemporaryFile file(
        "\xEF\xBB\xBF"
        "a\r\nb\rc");
    EXPECT_EQ(importing::readShiftText(file.path()), "a\nb\nc");
    // UTF-16 of both byte orders, with and without a mark; beyond 16 bits there are two units.
    const std::string text = "loop_ \u03B1\U0001F9EA\n";
    const std::u16string units = u"loop_ \u03B1\U0001F9EA\r\n";
    for (const bool little : {true, false}) {
        for (const bool mark : {true, false}) {
            std::string bytes;
            for (const char16_t unit : (mark ? u"\uFEFF" : u"") + units) {
                const std::string both{static_cast<char>(unit >> 8),
                                       static_cast<char>(unit & 0xFF)};
                bytes += little ? std::string(both.rbegin(), both.rend()) : both;
            }
            EXPECT_EQ(importing::readShiftText(TemporaryFile(bytes).path()), text);
        }
    }
    EXPECT_THROW(importing::readShiftText(file.path(), 4), InputRejected);
    EXPECT_THROW(importing::readShiftText("/nowhere/at/all"), InputRejected);
    EXPECT_THROW(importing::readShiftText(testing::TempDir()), InputRejected);
}

}  // namespace
}  // namespace orvix
