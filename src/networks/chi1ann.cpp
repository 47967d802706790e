#include "networks/chi1ann.h"

#include <ostream>
#include <utility>

#include "base/streams.h"
#include "networks/level_pass.h"
#include "networks/weight_table.h"

namespace {

std::vector<double> meanOf(const orvix::networks::EnsembleOutput& results, std::size_t window) {
    std::vector<double> mean;
    orvix::networks::appendPlainMean(results[0][window], results[1][window], results[2][window],
                                     mean);
    return mean;
}

double firstValue(const std::vector<double>& values) {
    return values.empty() ? 0.0 : values.front();
}

}  // namespace

CHI1ANN::CHI1ANN(int inputWidth1, int hiddenWidth1, int outputWidth1, const std::string& dir,
                 const std::string& name)
    : ANN(inputWidth1, hiddenWidth1, outputWidth1, dir, name), chi1Loaded(false) {}

CHI1ANN::~CHI1ANN() = default;

double CHI1ANN::runANNLevel1(std::vector<double> input) {
    if (!chi1Loaded) {
        loadWeights();
    }
    level1Input.clear();
    level1Input[1] = std::move(input);
    calcLevel1();
    return firstValue(level1Output[1]);
}

std::vector<double> CHI1ANN::runANNLevel1Batch(const std::vector<std::vector<double>>& inputs) {
    std::vector<double> scores;
    if (inputs.empty()) {
        return scores;
    }
    if (!chi1Loaded) {
        loadWeights();
    }
    std::vector<const std::vector<double>*> windows;
    std::vector<std::size_t> lengths;
    for (const std::vector<double>& input : inputs) {
        windows.push_back(&input);
        lengths.push_back(input.size());
    }
    const auto members = orvix::networks::ensembleWeights(*this, 1, 3);
    if (const auto mismatch = orvix::networks::checkEnsemble(members, lengths)) {
        orvix::networks::failLayerCheck(*mismatch);
    }
    const orvix::networks::EnsembleOutput results =
        orvix::networks::runEnsemble(orvix::networks::bestLayerKernel(), members, windows, 1);
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        scores.push_back(firstValue(meanOf(results, i)));
    }
    level1Input.clear();
    level1Input[1] = inputs.back();
    level1Output[1] = meanOf(results, inputs.size() - 1);
    return scores;
}

void CHI1ANN::runANN(std::map<int, std::vector<double>>& input) {
    if (!chi1Loaded) {
        loadWeights();
    }
    if (&input != &level1Input) {
        level1Input = input;
    }
    calcLevel1();
}

void CHI1ANN::calcLevel1() {
    const auto members = orvix::networks::ensembleWeights(*this, 1, 3);
    const orvix::networks::EnsembleOutput results =
        orvix::networks::evaluateLevel(members, level1Input, 1);
    std::size_t at = 0;
    for (const auto& [residue, window] : level1Input) {
        level1Output[residue] = meanOf(results, at);
        ++at;
    }
}

void CHI1ANN::calcLevel1_single() {
    const auto members = orvix::networks::ensembleWeights(*this, 1, 1);
    const orvix::networks::EnsembleOutput results =
        orvix::networks::evaluateLevel(members, level1Input, 1);
    std::size_t at = 0;
    for (const auto& [residue, window] : level1Input) {
        level1Output[residue] = results[0][at];
        ++at;
    }
}

void CHI1ANN::applyVecAverage(std::vector<double>& a, std::vector<double>& b,
                              std::vector<double>& c, std::vector<double>& out) {
    orvix::networks::appendPlainMean(a, b, c, out);
}

void CHI1ANN::loadWeights() {
    loadedFromFiles = true;
    orvix::networks::forEachLayerFile(
        *this, 1, ".tab",
        [this](const std::string& file, orvix::networks::WeightRows* w, std::vector<double>* b,
               int rows, int cols) {
            loadWeightBias3(file, w[0], b[0], w[1], b[1], w[2], b[2], rows, cols);
        });
    chi1Loaded = true;
}

void CHI1ANN::loadWeights1() {
    orvix::networks::forEachLayerFile(
        *this, 1, ".bin",
        [this](const std::string& file, orvix::networks::WeightRows* w, std::vector<double>* b,
               int rows, int cols) { loadWeightBias1(file, w[0], b[0], rows, cols); });
}

void CHI1ANN::loadWeightBias3(const std::string& file, std::map<int, std::vector<double>>& w0,
                              std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                              std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                              std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    orvix::networks::distributeRows(
        orvix::networks::readWeightTable(file, orvix::networks::WeightRules::text, cols), members,
        rows);
}

void CHI1ANN::loadWeightBias1(const std::string& file, std::map<int, std::vector<double>>& w,
                              std::vector<double>& b, int rows, int cols) {
    const orvix::networks::LayerWeights member[] = {{&w, &b}};
    if (!orvix::networks::loadBinaryRows(file, member, rows, cols)) {
        orvix::err() << " unable to open ANN parameter file " << file << "\n";
    }
}

void CHI1ANN::loadWeightBiasBIN3(const std::string& file, std::map<int, std::vector<double>>& w0,
                                 std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                                 std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                                 std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    orvix::networks::loadBinaryRows(file, members, rows, cols);
}
