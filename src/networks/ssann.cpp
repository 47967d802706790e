#include "networks/ssann.h"

#include <utility>

#include "networks/level_pass.h"
#include "networks/residue_window.h"
#include "networks/weight_table.h"

namespace {

constexpr std::size_t residueLength = 20;
constexpr std::size_t classCount = 3;

// A residue's classes count as known if one of them is not 0; a single value never does.
bool isKnown(const std::vector<double>& classes) {
    if (classes.size() == 1) {
        return false;
    }
    for (std::size_t k = 0; k < classes.size() && k < classCount; ++k) {
        if (classes[k] != 0.0) {
            return true;
        }
    }
    return false;
}

// A side residue's block counts only in its full length, so a missing vector leaves the window
// short and the layer check tells of it.
void appendBlock(std::vector<double>& window, const std::vector<double>& vector,
                 std::size_t length) {
    if (vector.size() == length) {
        window.push_back(0.0);
        orvix::networks::append(window, vector);
    }
}

void appendPadding(std::vector<double>& window, std::size_t length) {
    window.push_back(1.0);
    window.insert(window.end(), length, 0.0);
}

void combine(SSANN& network, const ANN::ResidueMap& windows,
             orvix::networks::EnsembleOutput results, ANN::ResidueMap& outputs) {
    std::size_t at = 0;
    for (const auto& [residue, window] : windows) {
        std::vector<double> mean;
        if (network.order == 3) {
            network.applyVecAverage(results[0][at], results[1][at], results[2][at], mean);
        } else if (network.order == 5) {
            network.applyVecAverage5(results[0][at], results[1][at], results[2][at], results[3][at],
                                     results[4][at], mean);
        }
        outputs[residue] = std::move(mean);
        ++at;
    }
}

int memberCount(int order) {
    return order == 3 || order == 5 ? order : 0;
}

}  // namespace

SSANN::SSANN() = default;

SSANN::SSANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2, int hiddenWidth2,
             int outputWidth2, const std::string& dir, const std::string& name)
    : ANN(inputWidth1, hiddenWidth1, outputWidth1, inputWidth2, hiddenWidth2, outputWidth2, dir,
          name) {}

SSANN::~SSANN() = default;

void SSANN::setOrder(int members) {
    order = members;
}

void SSANN::setKNOWN_SS(std::map<int, std::vector<double>>& known) {
    knownSS = known;
}

void SSANN::loadWeights() {
    loadedFromFiles = true;
    orvix::networks::forEachLayerFile(
        *this, 2, ".tab",
        [this](const std::string& file, orvix::networks::WeightRows* w, std::vector<double>* b,
               int rows, int cols) {
            if (order == 3) {
                loadWeightBias3(file, w[0], b[0], w[1], b[1], w[2], b[2], rows, cols);
            } else if (order == 5) {
                loadWeightBias5(file, w[0], b[0], w[1], b[1], w[2], b[2], w[3], b[3], w[4], b[4],
                                rows, cols);
            }
        });
}

void SSANN::loadWeightBias5(const std::string& file, std::map<int, std::vector<double>>& w0,
                            std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                            std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                            std::vector<double>& b2, std::map<int, std::vector<double>>& w3,
                            std::vector<double>& b3, std::map<int, std::vector<double>>& w4,
                            std::vector<double>& b4, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {
        {&w0, &b0}, {&w1, &b1}, {&w2, &b2}, {&w3, &b3}, {&w4, &b4}};
    orvix::networks::distributeRows(
        orvix::networks::readWeightTable(file, orvix::networks::WeightRules::text, cols), members,
        rows);
}

void SSANN::calcLevel1() {
    const auto members = orvix::networks::ensembleWeights(*this, 1, memberCount(order));
    combine(*this, level1Input, orvix::networks::evaluateLevel(members, level1Input, 1),
            level1Output);
}

void SSANN::calcLevel2() {
    const auto members = orvix::networks::ensembleWeights(*this, 2, memberCount(order));
    combine(*this, level2Input, orvix::networks::evaluateLevel(members, level2Input, 1),
            level2Output);
}

void SSANN::applyVecAverage5(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                             std::vector<double>& d, std::vector<double>& e,
                             std::vector<double>& out) {
    if (b.size() != a.size() || c.size() != a.size() || d.size() != a.size() ||
        e.size() != a.size()) {
        return;
    }
    double w[] = {getConfidence(a), getConfidence(b), getConfidence(c), getConfidence(d),
                  getConfidence(e)};
    double sum = w[0] + w[1] + w[2] + w[3] + w[4];
    if (sum == 0.0) {
        for (double& weight : w) {
            weight = 1.0;
        }
        sum = 5.0;
    }
    const double scale = 1 / sum;
    for (std::size_t k = 0; k < a.size(); ++k) {
        out.push_back((a[k] * w[0] + b[k] * w[1] + c[k] * w[2] + d[k] * w[3] + e[k] * w[4]) *
                      scale);
    }
}

void SSANN::runANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();

    const orvix::networks::PositionTable positions(rawInput);
    const long long lowest = positions.lowest();
    const long long highest = positions.highest();
    const long long half = ((static_cast<long long>(inputSize1) + 1) / 21 - 1) / 2;

    for (const auto& [residue, vector] : rawInput) {
        std::vector<double>& window = level1Input[residue];
        for (long long k = -half; k <= half; ++k) {
            const long long r = residue + k;
            if (k == 0) {
                orvix::networks::append(window, vector);
            } else if (r < lowest || r > highest) {
                appendPadding(window, residueLength);
            } else {
                appendBlock(window, orvix::networks::vectorOf(rawInput, r), residueLength);
            }
        }
    }
    calcLevel1();

    const std::size_t width = outputSize1 > 0 ? static_cast<std::size_t>(outputSize1) : 0;
    for (const auto& [residue, vector] : rawInput) {
        std::vector<double>& classes = level1Output[residue];
        if (classes.size() < width) {
            classes.resize(width, 0.0);
        }
        level2Output[residue] = classes;
    }

    for (const auto& [residue, vector] : rawInput) {
        std::vector<double>& window = level2Input[residue];
        for (long long k = -half; k <= half; ++k) {
            const long long r = residue + k;
            const std::vector<double>& known = orvix::networks::vectorOf(knownSS, r);
            if (k == 0) {
                orvix::networks::append(
                    window, isKnown(known) ? known : orvix::networks::vectorOf(level1Output, r));
            } else if (isKnown(known)) {
                appendBlock(window, known, classCount);
            } else if (r < lowest || r > highest) {
                appendPadding(window, classCount);
            } else {
                appendBlock(window, orvix::networks::vectorOf(level1Output, r), classCount);
            }
        }
    }
    calcLevel2();

    for (auto& [residue, classes] : level2Output) {
        applyVecNormalization(classes);
    }
}
