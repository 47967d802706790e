#include "networks/sequence_network.h"

#include <algorithm>

#include "networks/level_pass.h"

namespace orvix::networks {
namespace {

constexpr std::size_t residueLength = 20;
constexpr std::size_t classCount = 3;

// A residue's classes count as known if one of them is not 0; a single value never does.
bool isKnown(const std::vector<double>& classes) {
    if (classes.size() == 1) {
        return false;
    }
    const auto end =
        classes.begin() + static_cast<std::ptrdiff_t>(std::min(classes.size(), classCount));
    return std::any_of(classes.begin(), end, [](double value) { return value != 0.0; });
}

// A side residue's block counts only in its full length, so a missing vector leaves the window
// short and the layer check tells of it.
void appendBlock(std::vector<double>& window, const std::vector<double>& vector,
                 std::size_t length) {
    if (vector.size() == length) {
        window.push_back(0.0);
        append(window, vector);
    }
}

void appendPadding(std::vector<double>& window, std::size_t length) {
    window.push_back(1.0);
    window.insert(window.end(), length, 0.0);
}

}  // namespace

long long sequenceHalfWidth(int inputs) {
    return ((static_cast<long long>(inputs) + 1) / 21 - 1) / 2;
}

void passSequenceNetwork(const LevelWeights& level1, const LevelWeights& level2,
                         const ResidueMap& input, const ResidueMap& known, long long half,
                         std::size_t classes, PassMaps maps) {
    const PositionTable positions(input);
    std::vector<int> residues;
    for (const auto& [residue, vector] : input) {
        residues.push_back(residue);
    }
    const auto addNeighbour = [&positions](std::vector<double>& window, long long r, long long k,
                                           const ResidueMap& vectors, std::size_t length) {
        if (k == 0) {
            append(window, vectorOf(vectors, r));
        } else if (r < positions.lowest() || r > positions.highest()) {
            appendPadding(window, length);
        } else {
            appendBlock(window, vectorOf(vectors, r), length);
        }
    };

    appendWindows(
        residues, half,
        [&](std::vector<double>& window, long long r, long long k) {
            addNeighbour(window, r, k, input, residueLength);
        },
        maps.level1Input);
    evaluateLevel(level1, maps.level1Input, weightedMean, 1, maps.level1Output);

    for (const int residue : residues) {
        std::vector<double>& result = maps.level1Output[residue];
        if (result.size() < classes) {
            result.resize(classes, 0.0);
        }
        maps.level2Output[residue] = result;
    }

    appendWindows(
        residues, half,
        [&](std::vector<double>& window, long long r, long long k) {
            const std::vector<double>& given = vectorOf(known, r);
            if (!isKnown(given)) {
                addNeighbour(window, r, k, maps.level1Output, classCount);
            } else if (k == 0) {
                append(window, given);
            } else {
                appendBlock(window, given, classCount);
            }
        },
        maps.level2Input);
    evaluateLevel(level2, maps.level2Input, weightedMean, 1, maps.level2Output);

    for (auto& [residue, values] : maps.level2Output) {
        normaliseClasses(values);
    }
}

ResidueMap runSequenceNetwork(const NetworkWeights& weights, const ResidueMap& input,
                              const ResidueMap& known) {
    ResidueMap input1, output1, input2, output2;
    const NetworkShape::Level& level = weights.shape().level1;
    passSequenceNetwork(
        weights.level(1), weights.level(2), input, known, sequenceHalfWidth(level.input),
        static_cast<std::size_t>(std::max(0, level.output)), {input1, output1, input2, output2});
    return output2;
}

}  // namespace orvix::networks
