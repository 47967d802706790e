#include "networks/weight_table.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "networks/chi1ann.h"
#include "networks/network_files.h"
#include "networks/surfann.h"
#include "support/run_end.h"

namespace {

using orvix::networks::WeightRules;
using orvix::networks::WeightTable;

void expectSame(const WeightTable& got, const WeightTable& expected, const std::string& what) {
    ASSERT_EQ(got.rowCount(), expected.rowCount()) << what;
    ASSERT_EQ(got.columns, expected.columns) << what;
    const std::vector<const double*> gotRows = got.rows(), expectedRows = expected.rows();
    for (std::size_t r = 0; r < got.rowCount(); ++r) {
        EXPECT_EQ(std::memcmp(gotRows[r], expectedRows[r], got.columns * sizeof(double)), 0)
            << what << " row " << r;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(got.bias[r]),
                  std::bit_cast<std::uint64_t>(expected.bias[r]))
            << what << " row " << r;
    }
}

constexpr WeightRules bothRules[] = {WeightRules::typed, WeightRules::text};

TEST(WeightTable, OnePassReadsWhatTheTableClassReads) {
    NetworkFiles files;
    struct Case {
        const char* what;
        std::string text;
        bool fast[2];  // typed, text
    };
    const std::string head = "VARS 1 2 3 b\nFORMAT %8.3f %8.3f %8.3f %8.3f\n";
    const std::vector<Case> cases = {
        {"plain", head + "\n1 2 3 4\n-0.5 .25 7. +8\n", {true, true}},
        {"no line feed at the end", head + "1 2 3 4", {true, true}},
        {"carriage returns and tabs",
         "VARS 1 2 3 b\r\nFORMAT %8.3f %8.3f %8.3f %8.3f\r\n1\t2 \v3\f4\r\n\r\n",
         {true, true}},
        {"odd words",
         head + "1e-3 -2.5E2 0x1p-2 nan\ninf word -0 1,5\n1.5x 12..3 - --1\n. +. 1e 00012.50\n",
         {true, true}},
        {"long numbers",
         head + "0.1234567890123456789 123456789012345678901234567890 1e-300 1e300\n"
                "0.123456789012345 999999999999999 1234567890.12345 0.000000000000001\n"
                "16777217 0.30000001192092896 1.00000005960464477539 33554434.9999999999\n",
         {true, true}},
        {"lines of other lengths",
         head + "1 2 3\n1 2 3 4 5\nREMARK one two three\n# a comment with words\nDATA X 1 2\n"
                "REMARK behind\n5 6 7 8\n",
         {true, true}},
        {"bias first, columns out of order and more than asked for",
         "REMARK r\nDATA K 1\n\nVARS b 3 17 1 2 NAME\nFORMAT %f %f %f %f %f %s\n"
         "10 3 99 1 2 x\n20 6 99 4 5 y\n",
         {true, true}},
        {"missing column and bias", "VARS 1 3\nFORMAT %f %f\n1 3\n", {true, true}},
        {"names twice", "VARS 1 2 3 b 2 b\nFORMAT %f %f %f %f %f %f\n1 2 3 4 5 6\n", {true, true}},
        {"names that only look like columns",
         "VARS 01 2 3 B\nFORMAT %f %f %f %f\n1 2 3 4\n",
         {true, true}},
        {"text cells", "VARS 1 2 3 b\nFORMAT %s %-6s %s %s\n1.5 x 1e2 -4\n", {true, true}},
        {"lower case keywords", "vars 1 2 3 b\nformat %f %f %f %f\n1 2 3 4\n", {true, true}},
        {"integer cells",
         "VARS 1 2 3 b\nFORMAT %d %5d %f %d\n1.9 -2.9 3.9 99999999999\n",
         {false, true}},
        {"integer column that isn't asked for",
         "VARS I 1 2 3 b\nFORMAT %4d %f %f %f %f\n1 1 2 3 4\n",
         {true, true}},
        {"second header",
         head + "1 2 3 4\nVARS 3 2 1 b\nFORMAT %f %f %f %f\n5 6 7 8\n",
         {false, false}},
        {"row that begins like a header",
         head + "1 2 3 4\nformat 2 3 4\n5 6 7 8\n",
         {false, false}},
        {"format before names", "FORMAT %f %f\nVARS 1 2\n1 2\n", {false, false}},
        {"other count of formats", "VARS 1 2 b\nFORMAT %f %f\n1 2 3\n", {false, false}},
        {"no rows", head, {false, false}},
        {"empty file", "", {false, false}},
        {"no header", "1 2 3 4\n", {false, false}},
        {"zero bytes", head + std::string("1\0 2 3 4\n\0 1 2 3\n", 18), {true, true}},
        {"binary",
         std::string("\x7f"
                     "ELF\x02\x01\0\0\xff\xfe\n\n\0\n",
                     14),
         {false, false}},
    };
    for (const Case& c : cases) {
        const std::string path = files.write("t.tab", c.text);
        for (const WeightRules rules : bothRules) {
            const std::string what =
                std::string(c.what) + (rules == WeightRules::typed ? ", typed" : ", text");
            testing::internal::CaptureStderr();
            const WeightTable expected = orvix::networks::readWeightTablePlain(path, rules, 3);
            const std::string report = testing::internal::GetCapturedStderr();

            testing::internal::CaptureStderr();
            const auto fast = orvix::networks::readWeightTableFast(path, rules, 3, 1);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << what;
            EXPECT_EQ(fast.has_value(), c.fast[rules == WeightRules::typed ? 0 : 1]) << what;
            if (fast) {
                EXPECT_EQ(report, "") << what;
                expectSame(*fast, expected, what);
            }
            testing::internal::CaptureStderr();
            expectSame(orvix::networks::readWeightTable(path, rules, 3), expected, what);
            EXPECT_EQ(testing::internal::GetCapturedStderr(), report) << what;
        }
    }
}

TEST(WeightTable, ValuesOfBothRules) {
    NetworkFiles files;
    const std::string path =
        files.write("t.tab", "VARS b 2 1\nFORMAT %f %f %f\n0.1 0.123456789 1\n");
    const WeightTable typed = orvix::networks::readWeightTable(path, WeightRules::typed, 3);
    EXPECT_EQ(typed.blocks,
              (std::vector<std::vector<double>>{{1.0, static_cast<double>(0.123456789f), 9999.0}}));
    EXPECT_EQ(typed.bias, std::vector<double>{static_cast<double>(0.1f)});
    const WeightTable text = orvix::networks::readWeightTable(path, WeightRules::text, 3);
    EXPECT_EQ(text.blocks, (std::vector<std::vector<double>>{{1.0, 0.123456789, 0.0}}));
    EXPECT_EQ(text.bias, std::vector<double>{0.1});
}

TEST(WeightTable, PartsJoinWherever) {
    NetworkFiles files;
    // Longer than a read block, with lines that aren't rows and one longer than any block.
    std::string text = "VARS 1 2 b\nFORMAT %f %f %f\n";
    for (int i = 0; i < 9000; ++i) {
        text += std::to_string(i) + " " + std::to_string(i * 0.001) + " -" + std::to_string(i);
        text += i % 5 == 0 ? "\nREMARK x\n" : i % 11 == 0 ? "\r\n\n" : "\n";
        if (i == 4500) {
            text += "REMARK " + std::string(200000, 'x') + " y z\n";
        }
    }
    const std::string path = files.write("t.tab", text);
    const WeightTable expected = orvix::networks::readWeightTablePlain(path, WeightRules::typed, 2);
    ASSERT_EQ(expected.bias.size(), 9000u);
    for (const int threads : {1, 2, 3, 7, 64}) {
        const auto fast =
            orvix::networks::readWeightTableFast(path, WeightRules::typed, 2, threads);
        ASSERT_TRUE(fast.has_value());
        expectSame(*fast, expected, std::to_string(threads));
    }
    // More parts than lines.
    const std::string small = files.write("s.tab", "VARS 1 2 b\nFORMAT %f %f %f\n1 2 3\n4 5 6");
    const auto fast = orvix::networks::readWeightTableFast(small, WeightRules::text, 2, 50);
    ASSERT_TRUE(fast.has_value());
    expectSame(*fast, orvix::networks::readWeightTablePlain(small, WeightRules::text, 2), "small");
}

TEST(WeightTableDeathTest, FileThatCantBeRead) {
    NetworkFiles files;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(orvix::networks::readWeightTable(files.path("none.tab"), WeightRules::typed, 3)
                    .bias.empty());
    EXPECT_TRUE(orvix::networks::readWeightTable(files.dir(), WeightRules::typed, 3).bias.empty());
    const std::string line = "\tFile Error: Can't open input file for reading\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
    EXPECT_END(orvix::networks::readWeightTable(files.path("none.tab"), WeightRules::text, 3), 0,
               "^\tCan't open file .*none.tab for reading\n$");
}

TEST(DistributeRows, FillsMembersInTurnAndAppends) {
    NetworkFiles files;
    const std::string path =
        files.write("t.tab", "VARS 1 b\nFORMAT %f %f\n1 10\n2 20\n3 30\n4 40\n5 50\n6 60\n7 70\n");
    ANN net;
    const auto load = [&](int rows) {
        net.loadWeightBias3(path, net.level1WI[0], net.level1BI[0], net.level1WI[1],
                            net.level1BI[1], net.level1WI[2], net.level1BI[2], rows, 1);
    };
    load(2);
    using Rows = std::map<int, std::vector<double>>;
    EXPECT_EQ(net.level1WI[0], (Rows{{0, {1.0}}, {1, {2.0}}}));
    EXPECT_EQ(net.level1WI[2], (Rows{{0, {5.0}}, {1, {6.0}}}));
    EXPECT_EQ(net.level1BI[1], (std::vector<double>{30.0, 40.0}));
    load(3);
    EXPECT_EQ(net.level1WI[0], (Rows{{0, {1.0, 1.0}}, {1, {2.0, 2.0}}, {2, {3.0}}}));
    EXPECT_EQ(net.level1WI[2], (Rows{{0, {5.0, 7.0}}, {1, {6.0}}}));
    EXPECT_EQ(net.level1BI[2], (std::vector<double>{50.0, 60.0, 70.0}));
    load(0);
    load(-4);
    EXPECT_EQ(net.level1BI[2].size(), 3u);
}

std::string binary(const std::vector<double>& numbers) {
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(double)};
}

TEST(BinaryWeights, BiasComesFirstAndTheRestIsDropped) {
    NetworkFiles files;
    const std::vector<double> numbers = {10, 1, 2, 20, 3, 4, 30, 5, 6, 40, 7, 8, 50, 9, 10.5};
    const std::string path = files.write("w.bin", binary(numbers));
    using Rows = std::map<int, std::vector<double>>;
    SURFANN surf;
    surf.loadWeightBias3BIN(path, surf.level1WI[0], surf.level1BI[0], surf.level1WI[1],
                            surf.level1BI[1], surf.level1WI[2], surf.level1BI[2], 1, 2);
    EXPECT_EQ(surf.level1WI[1], (Rows{{0, {3, 4}}}));
    EXPECT_EQ(surf.level1BI[2], std::vector<double>{30});

    CHI1ANN chi(2, 2, 1, files.dir(), "w");
    chi.loadWeightBias1(path, chi.level1WI[0], chi.level1BI[0], 2, 2);
    EXPECT_EQ(chi.level1WI[0], (Rows{{0, {1, 2}}, {1, {3, 4}}}));
    chi.loadWeightBiasBIN3(path, chi.level1WL1[0], chi.level1BL1[0], chi.level1WL1[1],
                           chi.level1BL1[1], chi.level1WL1[2], chi.level1BL1[2], 2, 2);
    EXPECT_EQ(chi.level1WL1[2], (Rows{{0, {9, 10.5}}}));
    EXPECT_EQ(chi.level1BL1[1], (std::vector<double>{30, 40}));
}

TEST(BinaryWeights, EndWithinARowLeavesItShort) {
    NetworkFiles files;
    const std::string path = files.write("w.bin", binary({10, 1, 2, 20, 3}) + "abc");
    CHI1ANN chi(2, 2, 1, files.dir(), "w");
    chi.loadWeightBias1(path, chi.level1WI[0], chi.level1BI[0], 1 << 30, 2);
    using Rows = std::map<int, std::vector<double>>;
    EXPECT_EQ(chi.level1WI[0], (Rows{{0, {1, 2}}, {1, {3}}}));
    EXPECT_EQ(chi.level1BI[0], (std::vector<double>{10, 20}));
    chi.loadWeightBias1(path, chi.level1WL1[0], chi.level1BL1[0], 3, 1 << 30);
    EXPECT_EQ(chi.level1WL1[0], (Rows{{0, {1, 2, 20, 3}}}));
    chi.loadWeightBias1(files.write("e.bin", ""), chi.level1WL2[0], chi.level1BL2[0], 3, 2);
    EXPECT_TRUE(chi.level1WL2[0].empty());
    EXPECT_TRUE(chi.level1BL2[0].empty());
}

TEST(BinaryWeights, FileThatCantBeOpened) {
    NetworkFiles files;
    CHI1ANN chi(2, 2, 1, files.dir(), "chi1_Q");
    SURFANN surf(2, 2, 2, 2, 2, 2, files.dir(), "none");
    testing::internal::CaptureStderr();
    surf.loadWeightsBIN();
    chi.loadWeightBiasBIN3(files.path("no.bin"), chi.level1WI[0], chi.level1BI[0], chi.level1WI[1],
                           chi.level1BI[1], chi.level1WI[2], chi.level1BI[2], 2, 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    chi.loadWeights1();
    const std::string base =
        " unable to open ANN parameter file " + files.dir() + "/chi1_Q.level1.";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              base + "WI.bin\n" + base + "WL1.bin\n" + base + "WL2.bin\n");
    EXPECT_TRUE(chi.level1WI[0].empty());
    EXPECT_TRUE(surf.level1WI[0].empty());
}

}  // namespace
