#include "shifts/shift_average.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using Search = std::vector<orvix::shifts::ScoredRow> (*)(const orvix::shifts::ObservedRows&,
                                                         const orvix::shifts::TripletQuery&,
                                                         const orvix::shifts::AverageWeights&,
                                                         const orvix::shifts::Homology&, int);

/// Observed triplets, a query and weights that can be set cell by cell.
struct Case {
    std::vector<std::array<double, 18>> shifts;
    std::vector<std::array<std::string, 4>> names;
    orvix::shifts::TripletQuery query;
    orvix::shifts::Homology homology;
    std::vector<double> atomPosition = std::vector<double>(19, 1.0);
    std::vector<double> atom = std::vector<double>(7, 10.0);
    std::vector<double> position = std::vector<double>(4, 1.0);

    void addRow(double firstShift) {
        shifts.emplace_back();
        shifts.back().fill(0.0);
        shifts.back()[0] = firstShift;
        names.push_back({"", "A", "A", "A"});
    }
    std::vector<orvix::shifts::ScoredRow> run(Search search, int wanted) const {
        std::vector<const double*> shiftRows;
        std::vector<const std::string*> nameRows;
        for (std::size_t i = 0; i < shifts.size(); ++i) {
            shiftRows.push_back(shifts[i].data());
            nameRows.push_back(names[i].data());
        }
        return search({shiftRows.data(), nameRows.data(), static_cast<int>(shifts.size())}, query,
                      {atomPosition, atom, position}, homology, wanted);
    }
};

class ShiftAverage : public testing::TestWithParam<Search> {};

TEST_P(ShiftAverage, TermsOfTheScore) {
    Case c;
    c.addRow(0.0);
    c.query.names = {"A", "G", "K"};
    c.query.shifts[0] = 3.0;  // 9 * 0.5
    c.atomPosition[1] = 0.5;
    c.query.shifts[7] = 9999.0;  // 2 * 10
    c.atomPosition[8] = 2.0;
    c.shifts[0][17] = 1000.0;  // 4 * 10
    c.atomPosition[18] = 4.0;
    c.homology["G"]["A"] = 3.0;  // 9 * 0.25
    c.position[2] = 0.25;
    const auto nearest = c.run(GetParam(), 5);
    ASSERT_EQ(nearest.size(), 1U);
    EXPECT_EQ(nearest[0].score, 4.5F + 20.0F + 40.0F + 2.25F);
}

TEST_P(ShiftAverage, OrderTiesAndLimit) {
    Case c;
    for (double shift : {3.0, 1.0, 2.0, -1.0, 3.0, 15.0, std::sqrt(200.0) + 1e-6, 2.0}) {
        c.addRow(shift);
    }
    c.query.names = {"A", "A", "A"};
    const auto rows = [&](int wanted) {
        std::vector<int> result;
        for (const orvix::shifts::ScoredRow& row : c.run(GetParam(), wanted)) {
            result.push_back(row.row);
        }
        return result;
    };
    // One row for each score, the later one; 225 and what rounds to 200 are too far.
    EXPECT_EQ(rows(10), (std::vector<int>{3, 7, 4}));
    EXPECT_EQ(rows(2), (std::vector<int>{3, 7}));
    EXPECT_EQ(rows(1), (std::vector<int>{3}));
    EXPECT_EQ(rows(0), (std::vector<int>{}));
    EXPECT_EQ(rows(-5), (std::vector<int>{}));
    EXPECT_EQ(rows(std::numeric_limits<int>::max()), (std::vector<int>{3, 7, 4}));
}

TEST_P(ShiftAverage, EachAdditionIsRoundedToFloat) {
    Case c;
    c.addRow(0.0);
    c.query.names = {"A", "A", "A"};
    // 100 + 3.8e-6 stays 100 in 32 bits, however often it is added.
    c.query.shifts.fill(std::sqrt(3.8e-6));
    c.query.shifts[0] = 10.0;
    const auto nearest = c.run(GetParam(), 1);
    ASSERT_EQ(nearest.size(), 1U);
    EXPECT_EQ(nearest[0].score, 100.0F);
}

INSTANTIATE_TEST_SUITE_P(Forms, ShiftAverage,
                         testing::Values(orvix::shifts::nearestRowsPlain,
                                         orvix::shifts::nearestRowsPortable,
                                         orvix::shifts::nearestRows));

TEST(ShiftAverageForms, SameBits) {
    std::mt19937 random(11);
    std::normal_distribution<double> shift(0.0, 1.5);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const std::vector<std::string> names = {"A", "G", "K", "c", "?", "", "LYS", "\xE9"};
    const auto name = [&] { return names[static_cast<std::size_t>(unit(random) * 8.0)]; };
    const auto value = [&] {
        const double kind = unit(random);
        return kind < 0.15    ? 9999.0
               : kind < 0.151 ? std::nan("")
               : kind < 0.152 ? 999.0
               : kind < 0.3   ? std::round(shift(random))  // ties
                              : shift(random);
    };
    for (int round = 0; round < 40; ++round) {
        Case c;
        const int rows = round < 20 ? round * 3 : 700 + round * 37;
        for (int i = 0; i < rows; ++i) {
            c.addRow(0.0);
            for (double& x : c.shifts.back()) {
                x = round % 4 == 0 ? std::round(value()) : value();
            }
            for (std::size_t k = 1; k <= 3; ++k) {
                c.names.back()[k] = name();
            }
        }
        for (double& x : c.query.shifts) {
            x = value();
        }
        for (std::string& n : c.query.names) {
            n = name();
        }
        for (const std::string& a : names) {
            for (const std::string& b : names) {
                if (unit(random) < 0.8) {
                    c.homology[a][b] = round % 4 == 0 ? 1.0 : unit(random) * 3.0;
                }
            }
        }
        for (double& w : c.atomPosition) {
            w = round % 4 == 0 ? 1.0 : unit(random);
        }
        for (int wanted : {1, 10, 1000000}) {
            const auto plain = c.run(orvix::shifts::nearestRowsPlain, wanted);
            EXPECT_EQ(c.run(orvix::shifts::nearestRowsPortable, wanted), plain) << rows;
            EXPECT_EQ(c.run(orvix::shifts::nearestRows, wanted), plain) << rows;
        }
    }
}

}  // namespace
