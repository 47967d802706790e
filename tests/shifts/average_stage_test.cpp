#include <memory>
#include <sstream>

#include "search/db.h"
#include "shift_fixture.h"
#include "shifts/observed_triplets.h"

namespace {

using orvix::shifts::ObservedTriplets;

/// Three alanines whose own shifts are all 0 but for the CB of the middle, which is missing, and
/// four observed triplets.
class AverageStage : public ShiftRun {
  protected:
    AverageStage() {
        std::string rows;
        for (int r = 1; r <= 5; ++r) {
            for (const auto& [key, atom] : run.atomNames) {
                if (r != 3 || atom != "CB") {
                    rows += std::to_string(r) + " A " + atom + " 0\n";
                }
            }
        }
        run.rcAdjTable = run.rcPrevTable = run.rcNextTable = GDB();
        run.randCoilTable =
            tableFrom("VARS RESNAME N HA C CA CB HN\nFORMAT %s %f %f %f %f %f %f\nA 0 0 0 0 0 0\n");
        setInput("AAAAA", rows);
        prepare();
        for (double& weight : run.atomPosWeight) {
            weight = 1.0;
        }
        for (double& weight : run.atomWeight) {
            weight = 2.0;
        }
        for (double& weight : run.posWeight) {
            weight = 1.0;
        }
        run.homology["A"]["G"] = 10.0;
    }
    /// Fills the observed triplets as the stage before does: CB and CA of the middle residue, all
    /// other shifts 0.
    void observe(const std::vector<std::pair<std::string, std::string>>& middles) {
        std::string vars = "VARS", formats = "\nFORMAT";
        for (int k = 1; k <= 3; ++k) {
            for (const auto& [key, atom] : run.atomNames) {
                vars += " " + atom + "_R" + std::to_string(k);
                formats += " %f";
            }
        }
        std::string rows;
        for (const auto& [ca, cb] : middles) {
            rows += "known A A A 0 0 0 0 0 0 0 0 0 " + ca + " " + cb + " 0 0 0 0 0 0 0\n";
        }
        triplets_ = tableFrom("VARS SOURCE RESNAME_R1 RESNAME_R2 RESNAME_R3" + vars.substr(4) +
                              "\nFORMAT %s %s %s %s" + formats.substr(7) + "\n" + rows);
        run.takeTriplets(std::make_shared<const ObservedTriplets>(triplets_));
    }

    GDB triplets_;
};

TEST_F(AverageStage, MeansOverTheNearestRows) {
    observe({{"3", "1"}, {"1", "7"}, {"2", "9999"}, {"1.5", "3"}, {"20", "50"}});
    std::map<std::string, double> average;
    ASSERT_TRUE(run.calcAverageCS_orig(3, average));
    // CA 20 is too far. The other four: CB from three of them.
    EXPECT_EQ(average, (std::map<std::string, double>{{"N", 0.0},
                                                      {"HA", 0.0},
                                                      {"C", 0.0},
                                                      {"CA", (1.0 + 1.5 + 2.0 + 3.0) / 4.0},
                                                      {"CB", (7.0 + 3.0 + 1.0) / 3.0},
                                                      {"HN", 0.0}}));
    run.count = 2;
    ASSERT_TRUE(run.calcAverageCS_orig(3, average));
    EXPECT_EQ(average["CB"], 5.0);
    // Another residue name at the first place puts the nearest row behind.
    triplets_.entries[2]["RESNAME_R1"] = "G";
    run.takeTriplets(std::make_shared<const ObservedTriplets>(triplets_));
    ASSERT_TRUE(run.calcAverageCS_orig(3, average));
    EXPECT_EQ(average["CB"], 3.0);
}

TEST_F(AverageStage, OnlyInsideTheRange) {
    observe({{"1", "7"}});
    std::map<std::string, double> average;
    EXPECT_FALSE(run.calcAverageCS_orig(1, average));
    EXPECT_FALSE(run.calcAverageCS_orig(5, average));
    run.missingCount[2] = run.missingCount[3] = 6;
    EXPECT_FALSE(run.calcAverageCS_orig(3, average));
    EXPECT_TRUE(average.empty());
    // A row whose shifts were put at a distance may still be near enough; its cells count.
    run.missingCount[2] = run.missingCount[3] = 0;
    for (double& weight : run.atomPosWeight) {
        weight = 1e-4;
    }
    run.takeTriplets(std::make_shared<const ObservedTriplets>(
        *run.triplets, [](const std::string& source) { return source == "known"; }));
    EXPECT_EQ(run.obsShift[1][9], 99.0);
    EXPECT_EQ(run.obsResName[1][2], "A");
    ASSERT_TRUE(run.calcAverageCS_orig(3, average));
    EXPECT_EQ(average["CA"], 1.0);
    EXPECT_EQ(average["CB"], 7.0);
}

TEST_F(AverageStage, WithoutObservedTriplets) {
    std::map<std::string, double> average;
    ASSERT_TRUE(run.calcAverageCS_orig(3, average));
    EXPECT_EQ(average.size(), 6U);
    EXPECT_EQ(average["CB"], 0.0);
}

TEST_F(AverageStage, AgainstTheDatabase) {
    std::ostringstream file;
    const auto residue = [&file](const std::string& source, int number, double cb, double scale) {
        file << source << " A " << number << " -60 -40 180 120 0 1 0 1 0 1 0 1 " << cb << " "
             << scale << " 0 1\n";
    };
    residue("one", 1, 1.0, 1.0);
    residue("one", 2, 4.0, 1.0);
    residue("one", 3, 1.0, 1.0);
    residue("two", 1, 1.0, 1.0);  // no window across proteins
    residue("two", 2, 2.0, 0.0);  // no shift of its own
    residue("two", 3, 2.5, 1.0);
    residue("two", 9, 100.0, 1.0);  // nor across a gap
    DB database(orvix::test::TemporaryFile(file.str()).path());
    ASSERT_EQ(database.dbSize, 7);
    std::map<std::string, double> average;
    ASSERT_TRUE(run.calcAverageCS(3, average, &database));
    EXPECT_EQ(average["CB"], 4.0);
    EXPECT_EQ(average["CA"], 0.0);
    EXPECT_FALSE(run.calcAverageCS(3, average, nullptr));
}

}  // namespace
