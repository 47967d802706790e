#include "networks/surface_network.h"

#include <algorithm>
#include <limits>

#include "networks/level_pass.h"

namespace orvix::networks {
namespace {

constexpr int reach = 2;
// Level 2 is the one pass that is worth several threads.
constexpr int level2Threads = 10;

void appendNeighbours(const std::vector<int>& residues, const ResidueMap& vectors,
                      ResidueMap& windows) {
    appendWindows(
        residues, reach,
        [&](std::vector<double>& window, long long r, long long) {
            append(window, vectorOf(vectors, r));
        },
        windows);
}

// The mean of the maps of full length; zeros if there are none.
std::vector<double> meanMap(const ResidueMap& chain, const ResidueMap& maps, std::size_t boxes) {
    std::vector<double> mean(boxes, 0.0);
    int summed = 0;
    for (const auto& [residue, vector] : chain) {
        const std::vector<double>& map = vectorOf(maps, residue);
        if (map.size() != boxes) {
            continue;
        }
        for (std::size_t k = 0; k < boxes; ++k) {
            mean[k] += map[k];
        }
        ++summed;
    }
    if (summed > 0) {
        for (double& value : mean) {
            value /= summed;
        }
    }
    return mean;
}

}  // namespace

void passSurfaceNetwork(const LevelWeights& level1, const LevelWeights& level2,
                        const ResidueMap& input, std::size_t boxes, PassMaps maps) {
    const PositionTable positions(input);
    std::vector<int> central;
    int position = 0;
    for (const auto& [residue, vector] : input) {
        ++position;
        if (static_cast<long long>(residue) >= positions.lowest() + reach &&
            static_cast<long long>(residue) <= positions.highest() - reach &&
            positions.contiguous(position, residue, reach)) {
            central.push_back(residue);
        }
    }
    appendNeighbours(central, input, maps.level1Input);
    evaluateLevel(level1, maps.level1Input, plainMean, 1, maps.level1Output);

    const std::vector<double> mean = meanMap(input, maps.level1Output, boxes);
    for (const auto& [residue, vector] : input) {
        std::vector<double>& map = maps.level1Output[residue];
        if (map.size() < boxes) {
            append(map, mean);
        }
        maps.level2Output[residue] = map;
    }
    appendNeighbours(central, maps.level1Output, maps.level2Input);
    evaluateLevel(level2, maps.level2Input, plainMean, level2Threads, maps.level2Output);
}

void passHybridNetwork(const LevelWeights& level1, ResidueMap& input, ResidueMap& level1Input,
                       ResidueMap& level1Output) {
    PositionTable positions(input);
    std::vector<int> chain;
    for (const auto& [residue, vector] : input) {
        chain.push_back(residue);
    }
    // The neighbours of the last numbers that an int holds can't be stored and aren't needed.
    if (positions.lowest() > std::numeric_limits<int>::min()) {
        input[positions.lowest() - 1] = paddingVector();
        positions.set(0, positions.lowest() - 1);
    }
    if (positions.highest() < std::numeric_limits<int>::max()) {
        input[positions.highest() + 1] = paddingVector();
        positions.set(positions.size() + 1, positions.highest() + 1);
    }
    std::vector<int> central;
    int position = 0;
    for (const int residue : chain) {
        ++position;
        if (residue > positions.lowest() && residue < positions.highest() &&
            positions.contiguous(position, residue, reach)) {
            central.push_back(residue);
        }
    }
    appendNeighbours(central, input, level1Input);
    evaluateLevel(level1, level1Input, plainMean, 1, level1Output);
}

ResidueMap runSurfaceNetwork(const NetworkWeights& weights, const ResidueMap& input) {
    ResidueMap input1, output1, input2, output2;
    const int boxes = weights.shape().level1.output;
    passSurfaceNetwork(weights.level(1), weights.level(2), input,
                       static_cast<std::size_t>(std::max(0, boxes)),
                       {input1, output1, input2, output2});
    return output2;
}

ResidueMap runHybridNetwork(const NetworkWeights& weights, ResidueMap input) {
    ResidueMap windows, maps;
    passHybridNetwork(weights.level(1), input, windows, maps);
    return maps;
}

}  // namespace orvix::networks
