#include "networks/ssann.h"

#include <algorithm>

#include "networks/level_pass.h"
#include "networks/network_object.h"
#include "networks/sequence_network.h"

namespace {

// Members that take part; any other order runs none.
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
    using orvix::networks::WeightRules;
    loadedFromFiles = true;
    if (memberCount(order) > 0) {
        orvix::networks::loadTextFiles(*this, 2, memberCount(order),
                                       order == 3 ? WeightRules::typed : WeightRules::text);
    }
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
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 1, memberCount(order)),
                                   level1Input, orvix::networks::weightedMean, 1, level1Output);
}

void SSANN::calcLevel2() {
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 2, memberCount(order)),
                                   level2Input, orvix::networks::weightedMean, 1, level2Output);
}

void SSANN::applyVecAverage5(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                             std::vector<double>& d, std::vector<double>& e,
                             std::vector<double>& out) {
    const std::vector<double>* const members[] = {&a, &b, &c, &d, &e};
    orvix::networks::append(out, orvix::networks::weightedMean(members));
}

void SSANN::runANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();
    using orvix::networks::ObjectLevel;
    orvix::networks::passSequenceNetwork(
        ObjectLevel(*this, 1, memberCount(order)), ObjectLevel(*this, 2, memberCount(order)),
        rawInput, knownSS, orvix::networks::sequenceHalfWidth(inputSize1),
        static_cast<std::size_t>(std::max(0, outputSize1)), orvix::networks::passMaps(*this));
}
