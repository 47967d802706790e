#include "networks/ann.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "networks/level_pass.h"
#include "networks/residue_window.h"
#include "networks/weight_table.h"

namespace {

constexpr std::size_t residueVectorLength = 32;
constexpr std::size_t shiftEntries = 12;
constexpr std::size_t classCount = 3;

// The part of a neighbour's vector that window mode `code` takes; k is the place in the window.
std::vector<double> cutVector(const std::vector<double>& vector, int code, int k) {
    std::vector<double> kept;
    const bool dropShifts =
        (code == 1 && k == -1) || (code == 2 && k == 0) || (code == 3 && k == 1);
    for (std::size_t j = 0; j < vector.size(); ++j) {
        const bool drop =
            code == 4 ? j == 0 || j == 1 || j == 4 || j == 5 : dropShifts && j < shiftEntries;
        if (!drop) {
            kept.push_back(vector[j]);
        }
    }
    return kept;
}

// One neighbour of a five-residue window: the padding flag, but for the centre, and the vector, or
// the padding where there is none of the right length.
void appendFlagged(std::vector<double>& window, const std::vector<double>& vector,
                   std::size_t length, bool centre, const std::vector<double>& padding) {
    if (vector.size() != length) {
        window.push_back(1.0);
        orvix::networks::append(window, padding);
        return;
    }
    if (!centre) {
        window.push_back(0.0);
    }
    orvix::networks::append(window, vector);
}

bool insideChain(const orvix::networks::PositionTable& positions, int residue) {
    return residue >= positions.lowest() && residue <= positions.highest();
}

// The mean of the level 1 results, scaled to sum 1; equal thirds if there is nothing to scale.
std::vector<double> meanClasses(const ANN::ResidueMap& outputs) {
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

void combine(ANN& network, const ANN::ResidueMap& windows, orvix::networks::EnsembleOutput results,
             ANN::ResidueMap& outputs) {
    std::size_t at = 0;
    for (const auto& [residue, window] : windows) {
        std::vector<double> mean;
        network.applyVecAverage(results[0][at], results[1][at], results[2][at], mean);
        outputs[residue] = std::move(mean);
        ++at;
    }
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

    const orvix::networks::PositionTable positions(rawInput);
    const bool wide = input_code == 5;
    const int reach = wide ? 2 : 1;
    const auto hasWindow = [&](int residue, int position) {
        return residue != positions.lowest() && residue != positions.highest() &&
               positions.contiguous(position, residue, reach);
    };

    const std::vector<double> noResidue = orvix::networks::paddingVector();
    int position = 0;
    for (const auto& [residue, vector] : rawInput) {
        if (!hasWindow(residue, ++position)) {
            continue;
        }
        std::vector<double>& window = level1Input[residue];
        for (int k = -reach; k <= reach; ++k) {
            const int r = residue + k;
            const std::vector<double>& part = orvix::networks::vectorOf(rawInput, r);
            if (!wide) {
                orvix::networks::append(window, cutVector(part, input_code, k));
            } else {
                appendFlagged(window, insideChain(positions, r) ? part : std::vector<double>(),
                              residueVectorLength, k == 0, noResidue);
            }
        }
    }
    calcLevel1();

    const std::vector<double> mean = meanClasses(level1Output);
    for (const auto& [residue, vector] : rawInput) {
        std::vector<double>& classes = level1Output[residue];
        if (classes.size() < classCount) {
            orvix::networks::append(classes, mean);
        }
        level2Output[residue] = classes;
    }

    const std::vector<double> noClasses(classCount, 0.0);
    position = 0;
    for (const auto& [residue, vector] : rawInput) {
        if (!hasWindow(residue, ++position)) {
            continue;
        }
        std::vector<double>& window = level2Input[residue];
        for (int k = -reach; k <= reach; ++k) {
            const int r = residue + k;
            const std::vector<double>& part = orvix::networks::vectorOf(level1Output, r);
            if (!wide) {
                orvix::networks::append(window, part);
            } else {
                appendFlagged(window, insideChain(positions, r) ? part : std::vector<double>(),
                              classCount, k == 0, noClasses);
            }
        }
    }
    calcLevel2();

    for (auto& [residue, classes] : level2Output) {
        applyVecNormalization(classes);
    }
}

void ANN::loadWeights() {
    loadedFromFiles = true;
    orvix::networks::forEachLayerFile(
        *this, 2, ".tab",
        [this](const std::string& file, orvix::networks::WeightRows* w, std::vector<double>* b,
               int rows, int cols) {
            loadWeightBias3(file, w[0], b[0], w[1], b[1], w[2], b[2], rows, cols);
        });
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
    const auto members = orvix::networks::ensembleWeights(*this, 1, 3);
    combine(*this, level1Input, orvix::networks::evaluateLevel(members, level1Input, 1),
            level1Output);
}

void ANN::calcLevel2() {
    const auto members = orvix::networks::ensembleWeights(*this, 2, 3);
    combine(*this, level2Input, orvix::networks::evaluateLevel(members, level2Input, 1),
            level2Output);
}

void ANN::applyANNTransformation(std::vector<double>& inp, std::map<int, std::vector<double>>& w,
                                 std::vector<double>& b, std::vector<double>& out, int mode) {
    const orvix::networks::LayerWeights weights{&w, &b};
    if (const auto mismatch = orvix::networks::checkLayer(inp.size(), weights)) {
        orvix::networks::failLayerCheck(*mismatch);
    }
    if (mode != 0 && mode != 1) {
        return;
    }
    const orvix::networks::LayerView layer = orvix::networks::viewLayer(weights);
    std::vector<double> results(layer.rows.size());
    orvix::networks::layerPlain(
        layer, inp,
        mode == 1 ? orvix::networks::Activation::tanh : orvix::networks::Activation::linear,
        results);
    orvix::networks::append(out, results);
}

void ANN::applyVecAverage(std::vector<double>& a, std::vector<double>& b, std::vector<double>& c,
                          std::vector<double>& out) {
    if (a.size() != b.size() || a.size() != c.size()) {
        return;
    }
    const double w[] = {getConfidence(a), getConfidence(b), getConfidence(c)};
    const double sum = w[0] + w[1] + w[2];
    if (sum == 0.0) {
        orvix::networks::appendPlainMean(a, b, c, out);
        return;
    }
    const double scale = 1 / sum;
    for (std::size_t k = 0; k < a.size(); ++k) {
        out.push_back((a[k] * w[0] + b[k] * w[1] + c[k] * w[2]) * scale);
    }
}

void ANN::applyVecNormalization(std::vector<double>& v) {
    if (v.size() < classCount) {
        return;
    }
    v.resize(classCount);
    for (double& value : v) {
        if (value < 0.0 || std::isnan(value)) {
            value = 0.0;
        } else if (value > 1.0) {
            value = 1.0;
        }
    }
    const double sum = v[0] + v[1] + v[2];
    if (sum == 0.0) {
        v.assign(classCount, 1.0 / 3.0);
        return;
    }
    const double scale = 1 / sum;
    for (double& value : v) {
        // A denormal sum has no finite inverse; such values are nothing to tell classes by.
        value = std::isfinite(scale) ? value * scale : 1.0 / 3.0;
    }
}

double ANN::getConfidence(std::vector<double>& v) {
    if (v.size() != classCount) {
        return -1.0;
    }
    const auto [least, most] = std::minmax_element(v.begin(), v.end());
    return 2 * *most + *least - (v[0] + v[1] + v[2]);
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
