#include "networks/level_pass.h"

#include "base/run_end.h"

namespace orvix::networks {

MemberWeights memberWeights(ANN& network, int level, int member) {
    // Rows that a file lacks show here and nowhere else; weights that a caller filled in by hand
    // may have any size that fits.
    const auto least = [&network](int rows) {
        return network.loadedFromFiles && rows > 0 ? static_cast<std::size_t>(rows) : 0;
    };
    if (level == 1) {
        return {
            {{&network.level1WI[member], &network.level1BI[member], least(network.inputSize1)},
             {&network.level1WL1[member], &network.level1BL1[member], least(network.hiddenSize1)},
             {&network.level1WL2[member], &network.level1BL2[member], least(network.outputSize1)}}};
    }
    return {{{&network.level2WI[member], &network.level2BI[member], least(network.inputSize2)},
             {&network.level2WL1[member], &network.level2BL1[member], least(network.hiddenSize2)},
             {&network.level2WL2[member], &network.level2BL2[member], least(network.outputSize2)}}};
}

std::vector<MemberWeights> ensembleWeights(ANN& network, int level, int count) {
    std::vector<MemberWeights> members;
    for (int m = 0; m < count; ++m) {
        members.push_back(memberWeights(network, level, m));
    }
    return members;
}

void failLayerCheck(const LayerMismatch& mismatch) {
    throw RunEnd(EndReason::dataDirectory, 0, mismatch.text(),
                 "a network's weights don't fit its input");
}

EnsembleOutput evaluateLevel(std::span<const MemberWeights> members, const ANN::ResidueMap& windows,
                             int threads) {
    std::vector<const std::vector<double>*> inputs;
    std::vector<std::size_t> lengths;
    for (const auto& [residue, window] : windows) {
        inputs.push_back(&window);
        lengths.push_back(window.size());
    }
    if (const auto mismatch = checkEnsemble(members, lengths)) {
        failLayerCheck(*mismatch);
    }
    return runEnsemble(bestLayerKernel(), members, inputs, threads);
}

void appendPlainMean(std::span<const double> a, std::span<const double> b,
                     std::span<const double> c, std::vector<double>& out) {
    if (a.size() != b.size() || a.size() != c.size()) {
        return;
    }
    for (std::size_t k = 0; k < a.size(); ++k) {
        out.push_back((a[k] + b[k] + c[k]) * 0.3333333333333333);
    }
}

void forEachLayerFile(ANN& network, int levels, const std::string& extension,
                      const LayerLoader& load) {
    const std::string base = network.annDir + network.slashChar + network.annName;
    const auto layer = [&](const char* name, WeightRows* weights, std::vector<double>* biases,
                           int rows, int columns) {
        load(base + name + extension, weights, biases, rows, columns);
    };
    const int in1 = network.inputSize1, hidden1 = network.hiddenSize1;
    layer(".level1.WI", network.level1WI, network.level1BI, in1, in1);
    layer(".level1.WL1", network.level1WL1, network.level1BL1, hidden1, in1);
    layer(".level1.WL2", network.level1WL2, network.level1BL2, network.outputSize1, hidden1);
    if (levels < 2) {
        return;
    }
    const int in2 = network.inputSize2, hidden2 = network.hiddenSize2;
    layer(".level2.WI", network.level2WI, network.level2BI, in2, in2);
    layer(".level2.WL1", network.level2WL1, network.level2BL1, hidden2, in2);
    layer(".level2.WL2", network.level2WL2, network.level2BL2, network.outputSize2, hidden2);
}

}  // namespace orvix::networks
