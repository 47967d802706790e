#include "networks/class_network.h"

#include <algorithm>
#include <cmath>

#include "networks/level_pass.h"
#include "networks/network_input.h"

namespace orvix::networks {
namespace {

constexpr std::size_t classCount = 3;
constexpr int wideCode = 5;

// Adds the part of a neighbour's vector that window mode `code` takes.
void appendCut(std::vector<double>& window, const std::vector<double>& vector, int code,
               long long k) {
    const bool dropShifts =
        (code == 1 && k == -1) || (code == 2 && k == 0) || (code == 3 && k == 1);
    for (std::size_t j = 0; j < vector.size(); ++j) {
        const bool drop =
            code == 4 ? j == 0 || j == 1 || j == 4 || j == 5 : dropShifts && j < shiftEntryCount;
        if (!drop) {
            window.push_back(vector[j]);
        }
    }
}

// One neighbour of a five-residue window: the padding flag, but for the centre, and the vector, or
// the padding where there is none of the right length.
void appendFlagged(std::vector<double>& window, const std::vector<double>& vector, bool centre,
                   const std::vector<double>& padding) {
    if (vector.size() != padding.size()) {
        window.push_back(1.0);
        append(window, padding);
        return;
    }
    if (!centre) {
        window.push_back(0.0);
    }
    append(window, vector);
}

std::vector<int> residuesWithWindow(const ResidueMap& input, const PositionTable& positions,
                                    int reach) {
    std::vector<int> residues;
    int position = 0;
    for (const auto& [residue, vector] : input) {
        if (positions.contiguous(++position, residue, reach) && residue != positions.lowest() &&
            residue != positions.highest()) {
            residues.push_back(residue);
        }
    }
    return residues;
}

// The mean of the level 1 results, scaled to sum 1; equal thirds if there is nothing to scale.
std::vector<double> meanClasses(const ResidueMap& outputs) {
    double sums[classCount] = {};
    for (const auto& [residue, classes] : outputs) {
        for (std::size_t k = 0; k < std::min(classCount, classes.size()); ++k) {
            sums[k] += classes[k];
        }
    }
    const double total = sums[0] + sums[1] + sums[2];
    if (total == 0.0 || !std::isfinite(total)) {
        return std::vector<double>(classCount, 1.0 / 3.0);
    }
    return {sums[0] / total, sums[1] / total, sums[2] / total};
}

}  // namespace

void passClassNetwork(const LevelWeights& level1, const LevelWeights& level2,
                      const ResidueMap& input, int code, PassMaps maps) {
    const PositionTable positions(input);
    const int reach = code == wideCode ? 2 : 1;
    const std::vector<int> residues = residuesWithWindow(input, positions, reach);
    const auto inChain = [&](const ResidueMap& vectors, long long r) -> const std::vector<double>& {
        static const std::vector<double> none;
        return r < positions.lowest() || r > positions.highest() ? none : vectorOf(vectors, r);
    };

    const std::vector<double> noResidue = paddingVector();
    appendWindows(
        residues, reach,
        [&](std::vector<double>& window, long long r, long long k) {
            if (code == wideCode) {
                appendFlagged(window, inChain(input, r), k == 0, noResidue);
            } else {
                appendCut(window, vectorOf(input, r), code, k);
            }
        },
        maps.level1Input);
    evaluateLevel(level1, maps.level1Input, weightedMean, 1, maps.level1Output);

    const std::vector<double> mean = meanClasses(maps.level1Output);
    for (const auto& [residue, vector] : input) {
        std::vector<double>& classes = maps.level1Output[residue];
        if (classes.size() < classCount) {
            append(classes, mean);
        }
        maps.level2Output[residue] = classes;
    }

    const std::vector<double> noClasses(classCount, 0.0);
    appendWindows(
        residues, reach,
        [&](std::vector<double>& window, long long r, long long k) {
            if (code == wideCode) {
                appendFlagged(window, inChain(maps.level1Output, r), k == 0, noClasses);
            } else {
                append(window, vectorOf(maps.level1Output, r));
            }
        },
        maps.level2Input);
    evaluateLevel(level2, maps.level2Input, weightedMean, 1, maps.level2Output);

    for (auto& [residue, classes] : maps.level2Output) {
        normaliseClasses(classes);
    }
}

ResidueMap runClassNetwork(const NetworkWeights& weights, const ResidueMap& input, int code) {
    ResidueMap input1, output1, input2, output2;
    passClassNetwork(weights.level(1), weights.level(2), input, code,
                     {input1, output1, input2, output2});
    return output2;
}

}  // namespace orvix::networks
