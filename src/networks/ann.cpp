#include "networks/ann.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "networks/class_network.h"
#include "networks/level_pass.h"
#include "networks/network_object.h"

namespace {

constexpr int memberCount = 3;
constexpr std::size_t shiftEntries = 12;

void appendVector(std::vector<double>& whole, const std::vector<double>& part) {
    whole.insert(whole.end(), part.begin(), part.end());
}

}  // namespace

ANN::ANN() {
    getSlashChar();
}

ANN::ANN(const std::string& dir, const std::string& name) : annDir(dir), annName(name) {
    getSlashChar();
}

ANN::ANN(int inputWidth1, int hiddenWidth1, int outputWidth1, const std::string& dir,
         const std::string& name)
    : annDir(dir),
      annName(name),
      inputSize1(inputWidth1),
      hiddenSize1(hiddenWidth1),
      outputSize1(outputWidth1) {
    getSlashChar();
}

ANN::ANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2, int hiddenWidth2,
         int outputWidth2, const std::string& dir, const std::string& name)
    : ANN(inputWidth1, hiddenWidth1, outputWidth1, dir, name) {
    inputSize2 = inputWidth2;
    hiddenSize2 = hiddenWidth2;
    outputSize2 = outputWidth2;
}

void ANN::set_input_code(int code) {
    input_code = code;
}

void ANN::runANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();

    using orvix::networks::ObjectLevel;
    orvix::networks::passClassNetwork(ObjectLevel(*this, 1, memberCount),
                                      ObjectLevel(*this, 2, memberCount), rawInput, input_code,
                                      orvix::networks::passMaps(*this));
}

void ANN::loadWeights() {
    orvix::networks::loadTextFiles(*this, 2, memberCount, orvix::networks::WeightRules::typed);
}

void ANN::loadWeightBias3(const std::string& file, std::map<int, std::vector<double>>& w0,
                          std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                          std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                          std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    orvix::networks::distributeRows(
        orvix::networks::readWeightTable(file, orvix::networks::WeightRules::typed, cols), members,
        rows);
}

void ANN::calcLevel1() {
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 1, memberCount), level1Input,
                                   orvix::networks::weightedMean, 1, level1Output);
}

void ANN::calcLevel2() {
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 2, memberCount), level2Input,
                                   orvix::networks::weightedMean, 1, level2Output);
}

void ANN::applyANNTransformation(std::vector<double>& inp, std::map<int, std::vector<double>>& w,
                                 std::vector<double>& b, std::vector<double>& out, int mode) {
    const orvix::networks::Layer layer = orvix::networks::viewLayer(w, b, 0);
    if (const auto mismatch = orvix::networks::checkLayer(inp.size(), layer)) {
        orvix::networks::failLayerCheck(*mismatch, "", "");
    }
    if (mode != 0 && mode != 1) {
        return;
    }
    std::vector<double> results(layer.view.rows.size());
    orvix::networks::layerPlain(
        layer.view, inp,
        mode == 1 ? orvix::networks::Activation::tanh : orvix::networks::Activation::linear,
        results);
    appendVector(out, results);
}

void ANN::applyVecAverage(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                          std::vector<double>& out) {
    const std::vector<double>* const members[] = {&a, &b, &c};
    appendVector(out, orvix::networks::weightedMean(members));
}

void ANN::applyVecNormalization(std::vector<double>& v) {
    orvix::networks::normaliseClasses(v);
}

double ANN::getConfidence(std::vector<double>& v) {
    return orvix::networks::margin(v);
}

int ANN::getNumberMissCS(std::vector<double>& v) {
    int missing = 0;
    for (std::size_t k = 1; k < std::min(shiftEntries, v.size()); k += 2) {
        missing += v[k] == 1.0 ? 1 : 0;
    }
    return missing;
}

void ANN::getSlashChar() {
    const char* const path = std::getenv("PATH");
    if (path == nullptr) {
        slashChar.assign(1, '\\');
        return;
    }
    const std::string text = path;
    if (text.find('/') != std::string::npos) {
        slashChar.assign(1, '/');
    } else if (text.find('\\') != std::string::npos) {
        slashChar.assign(1, '\\');
    }
}

char* ANN::itoa(int value, char* buffer, int /*base*/) {
    std::snprintf(buffer, 12, "%d", value);
    return buffer;
}

char* ANN::ftoa(float value, char* buffer, char form, int precision) {
    constexpr std::size_t room = 64;
    const int digits = std::clamp(precision, 0, 9);
    const double wide = static_cast<double>(value);
    switch (form) {
        case 'e':
            std::snprintf(buffer, room, "%.*e", digits, wide);
            break;
        case 'f':
            std::snprintf(buffer, room, "%.*f", digits, wide);
            break;
        default:
            std::snprintf(buffer, room, "%.*g", digits, wide);
            break;
    }
    return buffer;
}
