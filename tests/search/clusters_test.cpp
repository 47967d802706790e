#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "run/orvix.h"
#include "search/map_clusters.h"

namespace {

/// Zeros but for the given boxes.
std::vector<double> mapOf(const std::map<int, double>& boxes) {
    std::vector<double> map(324, 0.0);
    for (const auto& [box, value] : boxes) {
        map[static_cast<std::size_t>(box)] = value;
    }
    return map;
}

std::vector<int> members(const ClusterData& found, int c) {
    return {found.clusterMember[c] + 1, found.clusterMember[c] + 1 + found.clusterSize[c]};
}

class Clusters : public testing::Test {
  protected:
    int find(const std::vector<double>& map) { return orvix::search::clusterMap(map, *found_); }
    std::unique_ptr<ClusterData> found_ = std::make_unique<ClusterData>();
};

TEST_F(Clusters, SeedAndNeighboursInFallingValue) {
    // Around the corner of the grid: rows 17 and 0, columns 17 and 0 are one box apart.
    const auto box = [](int row, int column) { return row * 18 + column; };
    ASSERT_EQ(find(mapOf({{box(0, 0), 0.5},
                          {box(17, 0), 0.9},
                          {box(0, 17), 0.9},
                          {box(17, 17), 0.3},
                          {box(1, 1), 0.4},
                          {box(16, 16), 0.6},
                          {box(8, 8), 0.8}})),
              1);
    EXPECT_EQ(found_->clusterCount, 1);
    EXPECT_EQ(found_->peakCount, 7);
    EXPECT_DOUBLE_EQ(found_->mapMean, 4.4 / 324);
    // Of two equal values the lower box comes first; the lone peak is in no cluster.
    EXPECT_EQ(members(*found_, 1), (std::vector<int>{box(0, 17), box(17, 0), box(16, 16), box(0, 0),
                                                     box(1, 1), box(17, 17)}));
    EXPECT_DOUBLE_EQ(found_->clusterSum[1], 3.6);
    EXPECT_EQ(found_->boxCluster[box(1, 1)], 1);
    EXPECT_EQ(found_->boxCluster[box(8, 8)], 0);
    EXPECT_EQ(found_->peakBox[3], box(8, 8));
    EXPECT_EQ(found_->peakValue[3], 0.8);
    EXPECT_EQ(found_->boxValue[box(8, 8)], 0.8);
}

TEST_F(Clusters, RadiusIsInclusiveAndNeighboursAreNotFollowed) {
    // On one grid row: 6 boxes away belongs, 7 does not, whatever lies between.
    ASSERT_EQ(find(mapOf({{0, 0.9}, {1, 0.8}, {2, 0.7}, {3, 0.65}, {5, 0.6}, {6, 0.5}, {7, 0.4}})),
              1);
    EXPECT_EQ(members(*found_, 1), (std::vector<int>{0, 1, 2, 3, 5, 6}));
    // (3, 5) is less than 6 away, (4, 5) more: sqrt(34) and sqrt(41).
    ASSERT_EQ(find(mapOf({{0, 0.9},
                          {1, 0.8},
                          {2, 0.7},
                          {3, 0.6},
                          {4, 0.55},
                          {3 * 18 + 5, 0.5},
                          {4 * 18 + 5, 0.4}})),
              1);
    EXPECT_EQ(found_->boxCluster[3 * 18 + 5], 1);
    EXPECT_EQ(found_->boxCluster[4 * 18 + 5], 0);
}

TEST_F(Clusters, PeakWithFourNeighboursIsTakenInByTheNext) {
    // Box 0 sees 2, 3, 5, 6; box 2 sees all the others.
    ASSERT_EQ(find(mapOf({{0, 0.9}, {2, 0.8}, {3, 0.7}, {5, 0.6}, {6, 0.5}, {8, 0.4}})), 1);
    EXPECT_EQ(members(*found_, 1), (std::vector<int>{2, 0, 3, 5, 6, 8}));
    EXPECT_EQ(found_->peakBox[1], 0);
}

TEST_F(Clusters, UndoneClusterGivesItsNumberBack) {
    // The first seed, column 3, takes columns 0..9 within reach. Column 10 sees 4..9 (taken) and
    // 11, 12: three members, undone. Three rows off, far from all that, stands a sound cluster.
    std::map<int, double> boxes = {{3, 0.99}, {4, 0.9}, {5, 0.9},   {6, 0.9},  {7, 0.9},
                                   {8, 0.9},  {9, 0.9}, {10, 0.95}, {11, 0.5}, {12, 0.5}};
    for (int column = 6; column < 12; ++column) {
        boxes[9 * 18 + column] = 0.3;
    }
    ASSERT_EQ(find(mapOf(boxes)), 2);
    EXPECT_EQ(members(*found_, 1), (std::vector<int>{3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(found_->clusterMember[2][1], 9 * 18 + 6);
    EXPECT_EQ(found_->clusterSize[2], 6);
    EXPECT_EQ(found_->boxCluster[10], 0);
    EXPECT_EQ(found_->boxCluster[11], 0);
    EXPECT_EQ(found_->clusterSize[3], 0);
}

TEST_F(Clusters, MapsWithoutIslands) {
    EXPECT_EQ(find({}), 0);
    EXPECT_EQ(found_->mapMean, 0.0);
    EXPECT_EQ(found_->mapStd, 0.0);
    EXPECT_EQ(found_->peakCount, 0);
    // Zeros reach their threshold of 0 again and again.
    EXPECT_EQ(find(std::vector<double>(324, 0.0)), 0);
    EXPECT_EQ(found_->peakCount, 324);
    EXPECT_EQ(found_->peakBox[324], 0);
    EXPECT_EQ(found_->boxCluster[0], 0);
    EXPECT_EQ(found_->clusterSize[1], 0);
    std::vector<double> map(324, 0.5);
    map[7] = 0.25;
    map[9] = 0.75;
    EXPECT_EQ(find(map), 0);
}

TEST_F(Clusters, OtherSizesStayInside) {
    std::mt19937 random(4);
    for (std::size_t size : {1U, 5U, 100U, 323U, 324U, 325U, 1000U}) {
        std::vector<double> map(size);
        for (double& value : map) {
            value = random() % 4 == 0 ? static_cast<double>(random()) / 4e9 : 0.0;
        }
        const int count = find(map);
        EXPECT_LE(count, 64);
        std::set<int> seen;
        for (int c = 1; c <= count; ++c) {
            EXPECT_GE(found_->clusterSize[c], 5);
            for (int box : members(*found_, c)) {
                EXPECT_TRUE(seen.insert(box).second);
                EXPECT_EQ(found_->boxCluster[box], c);
            }
        }
    }
}

TEST_F(Clusters, TheRunForwardsToThis) {
    ORVIX run;
    std::vector<double> map = mapOf({{0, 0.9}, {1, 0.8}, {2, 0.7}, {5, 0.6}, {6, 0.5}, {7, 0.4}});
    EXPECT_EQ(run.getClusterInfo(map, *found_), 1);
    EXPECT_EQ(found_->clusterSize[1], 6);
}

}  // namespace
