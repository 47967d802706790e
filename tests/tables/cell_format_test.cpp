#include "tables/cell_format.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

std::string cell(const std::string& spec, const std::string& text) {
    std::string out;
    orvix::tables::CellFormat(spec).appendCell(out, text);
    return out;
}

#pragma GCC diagnostic ignored "-Wformat-nonliteral"

TEST(CellFormat, PrintsAsPrintfDoes) {
    char expected[1000];
    for (const char* spec : {"%d", "%4d", "%-6d|", " %06d  ", "%--5d", "%0-7d", "%5.3d", "%.0d",
                             "%4.d", "%06.3d", "50%% %d"}) {
        for (const char* text : {"0", "7", "-12345678", "3.9", "word", ""}) {
            std::snprintf(expected, sizeof expected, spec, std::atoi(text));
            EXPECT_EQ(cell(spec, text), expected) << spec;
        }
    }
    for (const char* spec :
         {"%f", " %9.3f", "%-9.1f|", "%09.2f", "%.0f", "%4.f", "%300.200f", "%.20f"}) {
        for (const char* text : {"0", "-0", "1.0005", "2.5", "1e300", "nan", "-inf", "word", ""}) {
            std::snprintf(expected, sizeof expected, spec, std::atof(text));
            EXPECT_EQ(cell(spec, text), expected) << spec;
        }
    }
    for (const char* spec : {"%s", "%4s  ", "%-4s|", "%.2s", "%6.3s", "%.s"}) {
        for (const char* text : {"", "a", "longer"}) {
            std::snprintf(expected, sizeof expected, spec, text);
            EXPECT_EQ(cell(spec, text), expected) << spec;
        }
    }
}

TEST(CellFormat, SpecifiersWithoutMeaningPrintTheBareType) {
    EXPECT_EQ(cell("%4.2.1d", "42.7"), "42");
    EXPECT_EQ(cell(" %4-d ", "42"), " 42 ");
    EXPECT_EQ(cell("%.-5f", "1.5"), "1.500000");
    EXPECT_EQ(cell("%8-s  ", "ab"), "ab  ");
    EXPECT_EQ(cell("%99999999999d", "5"), "5");
    EXPECT_EQ(cell("%.99999999999f", "5"), "5.000000");
    EXPECT_EQ(cell("%65536s", "a"), "a");
    EXPECT_EQ(cell("%65535s", "a").size(), 65535u);
    EXPECT_EQ(cell("%4d %d", "5"), "");
    EXPECT_EQ(cell("%4x", "5"), "");
    EXPECT_EQ(cell("", "5"), "");
    // One "s" makes it text, whatever stands behind the percent sign.
    EXPECT_EQ(cell("s %d", "5"), "5");
}

TEST(CellFormat, PrintsCellsOfAnyLengthWhole) {
    const std::string text(3000000, 'x');
    EXPECT_TRUE(cell("%4s ", text) == text + " ");
    EXPECT_EQ(cell("%.60000f", "1").size(), 60002u);
    const std::string withNul("a\0b", 3);
    EXPECT_EQ(cell("%5s", withNul), "  " + withNul);
}

}  // namespace
