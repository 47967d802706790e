#include "networks/chi1ann.h"

#include <ostream>
#include <utility>

#include "base/streams.h"
#include "networks/chi1_network.h"
#include "networks/level_pass.h"
#include "networks/network_object.h"

namespace {

constexpr int memberCount = 3;

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
    return level1Output[1].empty() ? 0.0 : level1Output[1].front();
}

std::vector<double> CHI1ANN::runANNLevel1Batch(const std::vector<std::vector<double>>& inputs) {
    if (inputs.empty()) {
        return {};
    }
    if (!chi1Loaded) {
        loadWeights();
    }
    std::vector<double> scores =
        orvix::networks::chi1Scores(orvix::networks::ObjectLevel(*this, 1, memberCount), inputs);
    level1Input.clear();
    level1Input[1] = inputs.back();
    calcLevel1();
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
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 1, memberCount), level1Input,
                                   orvix::networks::plainMean, 1, level1Output);
}

void CHI1ANN::calcLevel1_single() {
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 1, 1), level1Input,
                                   orvix::networks::plainMean, 1, level1Output);
}

void CHI1ANN::applyVecAverage(std::vector<double>& a, std::vector<double>& b,
                              std::vector<double>& c, std::vector<double>& out) {
    const std::vector<double>* const members[] = {&a, &b, &c};
    orvix::networks::append(out, orvix::networks::plainMean(members));
}

void CHI1ANN::loadWeights() {
    orvix::networks::loadTextFiles(*this, 1, memberCount, orvix::networks::WeightRules::text);
    chi1Loaded = true;
}

void CHI1ANN::loadWeights1() {
    for (const auto& file : orvix::networks::layerFiles(*this, 1, 1, ".bin")) {
        loadWeightBias1(file.path, *file.members[0].rows, *file.members[0].bias, file.rows,
                        file.columns);
    }
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
