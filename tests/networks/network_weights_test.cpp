#include "networks/network_weights.h"

#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "base/run_end.h"
#include "base/streams.h"
#include "networks/chi1_network.h"
#include "networks/chi1ann.h"
#include "networks/class_network.h"
#include "networks/network_files.h"
#include "networks/sequence_network.h"
#include "networks/ssann.h"
#include "networks/surface_network.h"
#include "networks/surfann.h"

namespace {

using orvix::networks::loadNetwork;
using orvix::networks::NetworkShape;
using orvix::networks::WeightRules;

std::string messageOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const orvix::RunEnd& end) {
        EXPECT_EQ(end.status(), 0);
        EXPECT_EQ(end.reason(), orvix::EndReason::dataDirectory);
        return end.what();
    }
    return "went on";
}

TEST(NetworkWeights, GiveTheBitsOfTheNetworkClasses) {
    NetworkFiles files;
    files.writeLevel("ss.level1", 96, 4, 3, 3, 1);
    files.writeLevel("ss.level2", 9, 5, 3, 3, 2);
    ANN::ResidueMap input = randomResidues(numbersFrom(1, 12), 32);
    ANN classes(96, 4, 3, 9, 5, 3, files.dir(), "ss");
    classes.runANN(input);
    const auto ss = loadNetwork(files.path("ss"), {{96, 4, 3}, {9, 5, 3}, 3}, WeightRules::typed);
    EXPECT_EQ(runClassNetwork(*ss, input, 0), classes.level2Output);

    files.writeLevel("surf.level1", 160, 6, 7, 3, 3);
    files.writeLevel("surf.level2", 35, 6, 7, 3, 4);
    SURFANN surface(160, 6, 7, 35, 6, 7, files.dir(), "surf");
    surface.runANN(input);
    const auto surf =
        loadNetwork(files.path("surf"), {{160, 6, 7}, {35, 6, 7}, 3}, WeightRules::typed);
    EXPECT_EQ(runSurfaceNetwork(*surf, input), surface.level2Output);
    SURFANN hybrid(160, 6, 7, 35, 6, 7, files.dir(), "surf");
    hybrid.setHybrid(1);
    hybrid.runHybridANN(input);
    EXPECT_EQ(runHybridNetwork(*surf, input), hybrid.level1Output);

    files.writeLevel("seq.level1", 62, 4, 3, 5, 5);
    files.writeLevel("seq.level2", 11, 4, 3, 5, 6);
    ANN::ResidueMap letters = randomResidues(numbersFrom(1, 9), 20);
    ANN::ResidueMap known{{4, {0.0, 1.0, 0.0}}, {6, {0.0, 0.0, 0.0}}};
    SSANN sequence(62, 4, 3, 11, 4, 3, files.dir(), "seq");
    sequence.setOrder(5);
    sequence.setKNOWN_SS(known);
    sequence.runANN(letters);
    const auto seq = loadNetwork(files.path("seq"), {{62, 4, 3}, {11, 4, 3}, 5}, WeightRules::text);
    EXPECT_EQ(runSequenceNetwork(*seq, letters, known), sequence.level2Output);

    files.writeLevel("chi1.level1", 39, 5, 1, 3, 7);
    CHI1ANN chi1(39, 5, 1, files.dir(), "chi1");
    const auto weights = loadNetwork(files.path("chi1"), {{39, 5, 1}, {}, 3}, WeightRules::text);
    std::vector<std::vector<double>> fragments;
    std::vector<double> scores;
    for (const auto& [number, vector] : randomResidues(numbersFrom(1, 5), 39)) {
        fragments.push_back(vector);
        scores.push_back(chi1.runANNLevel1(vector));
    }
    EXPECT_EQ(chi1Scores(weights->level(1), fragments), scores);
}

TEST(NetworkWeights, OneValueServesManyThreads) {
    NetworkFiles files;
    files.writeLevel("ss.level1", 96, 4, 3, 3, 1);
    files.writeLevel("ss.level2", 9, 5, 3, 3, 2);
    const auto weights =
        loadNetwork(files.path("ss"), {{96, 4, 3}, {9, 5, 3}, 3}, WeightRules::typed);
    std::vector<ANN::ResidueMap> inputs, alone, together(4);
    for (unsigned i = 0; i < 4; ++i) {
        inputs.push_back(randomResidues(numbersFrom(1, 30), 32, i));
        alone.push_back(runClassNetwork(*weights, inputs[i], 0));
    }
    EXPECT_NE(alone[0], alone[1]);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] { together[i] = runClassNetwork(*weights, inputs[i], 0); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(together, alone);
}

TEST(NetworkWeights, MissingFilesWarnAndEndTheRunAtTheFirstWindow) {
    NetworkFiles files;
    const NetworkShape shape{{96, 4, 3}, {9, 5, 3}, 3};
    std::ostringstream out, err;
    const orvix::ScopedStreams streams({&out, &err});
    const auto none = loadNetwork(files.path("none"), shape, WeightRules::typed);
    std::string six;
    for (int i = 0; i < 6; ++i) {
        six += "\tFile Error: Can't open input file for reading\n";
    }
    // The warnings stay with the value, for each run that uses it.
    EXPECT_EQ(none->warnings(), six);
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(runClassNetwork(*none, randomResidues({1, 2}, 32), 0).size(), 2u);
    EXPECT_EQ(messageOf([&] {
                  runClassNetwork(*none, randomResidues({4, 5, 6, 7}, 32), 0);
              }),
              "network file " + files.path("none.level1.WI.tab") +
                  " doesn't fit the input of residue 5: member 1 has 0 of 96 rows");
    // By the text rules the first file that is not there ends the load.
    EXPECT_EQ(messageOf([&] { loadNetwork(files.path("none"), shape, WeightRules::text); }),
              "Can't open file " + files.path("none.level1.WI.tab") + " for reading");
}

TEST(NetworkWeights, MessagesNameTheFileThatDoesNotFit) {
    NetworkFiles files;
    files.writeLevel("ss.level1", 96, 4, 3, 3, 1);
    files.writeLevel("ss.level2", 9, 5, 3, 3, 2);
    const NetworkShape shape{{96, 4, 3}, {9, 5, 3}, 3};
    files.writeWeights("ss.level2.WL1.tab", 14, 9, 8);
    const auto load = [&] { return loadNetwork(files.path("ss"), shape, WeightRules::typed); };
    const ANN::ResidueMap input = randomResidues(numbersFrom(11, 5), 32);
    EXPECT_EQ(messageOf([&] { runClassNetwork(*load(), input, 0); }),
              "network file " + files.path("ss.level2.WL1.tab") +
                  " doesn't fit the input of residue 12: member 3 has 4 of 5 rows");
    // A window that is short has a residue of its own.
    files.writeWeights("ss.level2.WL1.tab", 15, 9, 8);
    ANN::ResidueMap brief = input;
    brief[15].pop_back();
    EXPECT_EQ(messageOf([&] { runClassNetwork(*load(), brief, 0); }),
              "network file " + files.path("ss.level1.WI.tab") +
                  " doesn't fit the input of residue 14: member 1 has 96 weights for 95 input "
                  "values");
}

}  // namespace
