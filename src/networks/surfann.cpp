#include "networks/surfann.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <utility>

#include "base/streams.h"
#include "networks/level_pass.h"
#include "networks/residue_window.h"
#include "networks/weight_table.h"

namespace {

constexpr int windowReach = 2;
constexpr int level2Threads = 10;

void combine(const ANN::ResidueMap& windows, const orvix::networks::EnsembleOutput& results,
             ANN::ResidueMap& outputs) {
    std::size_t at = 0;
    for (const auto& [residue, window] : windows) {
        std::vector<double> mean;
        orvix::networks::appendPlainMean(results[0][at], results[1][at], results[2][at], mean);
        outputs[residue] = std::move(mean);
        ++at;
    }
}

std::vector<double> joinNeighbours(const ANN::ResidueMap& vectors, int residue) {
    std::vector<double> window;
    for (int k = -windowReach; k <= windowReach; ++k) {
        orvix::networks::append(
            window, orvix::networks::vectorOf(vectors, static_cast<long long>(residue) + k));
    }
    return window;
}

void reportThreads(int threads) {
    orvix::out() << "\nThe number of processes is " << threads << ".\n";
}

}  // namespace

SURFANN::SURFANN() {
    input_code = 5;
}

SURFANN::SURFANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2,
                 int hiddenWidth2, int outputWidth2, const std::string& dir,
                 const std::string& name)
    : ANN(inputWidth1, hiddenWidth1, outputWidth1, inputWidth2, hiddenWidth2, outputWidth2, dir,
          name) {
    input_code = 5;
}

void SURFANN::setHybrid(int flag) {
    hybrid = flag;
}

void SURFANN::setThread(int threads) {
    threadCount = threads;
}

void SURFANN::runANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();

    const orvix::networks::PositionTable positions(rawInput);
    std::vector<int> central;
    int position = 0;
    for (const auto& [residue, vector] : rawInput) {
        ++position;
        if (static_cast<long long>(residue) >= positions.lowest() + windowReach &&
            static_cast<long long>(residue) <= positions.highest() - windowReach &&
            positions.contiguous(position, residue, windowReach)) {
            central.push_back(residue);
        }
    }
    for (const int residue : central) {
        orvix::networks::append(level1Input[residue], joinNeighbours(rawInput, residue));
    }
    calcLevel1();

    const std::size_t boxes = static_cast<std::size_t>(std::max(0, outputSize1));
    std::vector<double> mean(boxes, 0.0);
    int summed = 0;
    for (const auto& [residue, vector] : rawInput) {
        const std::vector<double>& map = orvix::networks::vectorOf(level1Output, residue);
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

    for (const auto& [residue, vector] : rawInput) {
        std::vector<double>& map = level1Output[residue];
        if (map.size() < boxes) {
            orvix::networks::append(map, mean);
        }
        level2Output[residue] = map;
    }
    for (const int residue : central) {
        orvix::networks::append(level2Input[residue], joinNeighbours(level1Output, residue));
    }
    calcLevel2_omp();
}

void SURFANN::runHybridANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();

    orvix::networks::PositionTable positions(rawInput);
    std::vector<int> chain;
    for (const auto& [residue, vector] : rawInput) {
        chain.push_back(residue);
    }
    // The neighbours of the last numbers that an int holds can't be stored and aren't needed.
    if (positions.lowest() > std::numeric_limits<int>::min()) {
        rawInput[positions.lowest() - 1] = orvix::networks::paddingVector();
        positions.set(0, positions.lowest() - 1);
    }
    if (positions.highest() < std::numeric_limits<int>::max()) {
        rawInput[positions.highest() + 1] = orvix::networks::paddingVector();
        positions.set(positions.size() + 1, positions.highest() + 1);
    }

    int position = 0;
    for (const int residue : chain) {
        ++position;
        if (residue > positions.lowest() && residue < positions.highest() &&
            positions.contiguous(position, residue, windowReach)) {
            orvix::networks::append(level1Input[residue], joinNeighbours(rawInput, residue));
        }
    }
    calcLevel1();
}

void SURFANN::loadWeights() {
    loadedFromFiles = true;
    orvix::networks::forEachLayerFile(
        *this, hybrid != 0 ? 1 : 2, ".tab",
        [this](const std::string& file, orvix::networks::WeightRows* w, std::vector<double>* b,
               int rows, int cols) {
            loadWeightBias3(file, w[0], b[0], w[1], b[1], w[2], b[2], rows, cols);
        });
}

void SURFANN::loadWeightsBIN() {
    loadedFromFiles = true;
    orvix::networks::forEachLayerFile(
        *this, 2, ".bin",
        [this](const std::string& file, orvix::networks::WeightRows* w, std::vector<double>* b,
               int rows, int cols) {
            loadWeightBias3BIN(file, w[0], b[0], w[1], b[1], w[2], b[2], rows, cols);
        });
}

void SURFANN::loadWeightBias3_omp(const std::string& file, std::map<int, std::vector<double>>& w0,
                                  std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                                  std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                                  std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    const int threads = std::max(1, threadCount);
    orvix::networks::WeightTable table =
        orvix::networks::readWeightTable(file, orvix::networks::WeightRules::text, cols, threads);
    reportThreads(threads);
    orvix::networks::distributeRows(std::move(table), members, rows);
}

void SURFANN::loadWeightBias3BIN(const std::string& file, std::map<int, std::vector<double>>& w0,
                                 std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                                 std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                                 std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    orvix::networks::loadBinaryRows(file, members, rows, cols);
}

void SURFANN::calcLevel1() {
    const auto members = orvix::networks::ensembleWeights(*this, 1, 3);
    combine(level1Input, orvix::networks::evaluateLevel(members, level1Input, 1), level1Output);
}

void SURFANN::calcLevel1_omp() {
    const auto members = orvix::networks::ensembleWeights(*this, 1, 3);
    const int threads = std::max(1, threadCount);
    reportThreads(threads);
    combine(level1Input, orvix::networks::evaluateLevel(members, level1Input, threads),
            level1Output);
}

void SURFANN::calcLevel2_omp() {
    const auto members = orvix::networks::ensembleWeights(*this, 2, 3);
    combine(level2Input, orvix::networks::evaluateLevel(members, level2Input, level2Threads),
            level2Output);
}

void SURFANN::applyVecAverage(std::vector<double>& a, std::vector<double>& b,
                              std::vector<double>& c, std::vector<double>& out) {
    orvix::networks::appendPlainMean(a, b, c, out);
}
