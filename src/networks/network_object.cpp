#include "networks/network_object.h"

#include <algorithm>

namespace orvix::networks {

ObjectLevel::ObjectLevel(const ANN& network, int level, int memberCount) {
    // Rows that a file lacks show here and nowhere else; weights that a caller filled in by hand
    // may have any size that fits.
    const auto least = [&network](int rows) {
        return network.loadedFromFiles && rows > 0 ? static_cast<std::size_t>(rows) : 0;
    };
    const ANN& n = network;
    for (int m = 0; m < memberCount; ++m) {
        if (level == 1) {
            members_.push_back({viewLayer(n.level1WI[m], n.level1BI[m], least(n.inputSize1)),
                                viewLayer(n.level1WL1[m], n.level1BL1[m], least(n.hiddenSize1)),
                                viewLayer(n.level1WL2[m], n.level1BL2[m], least(n.outputSize1))});
        } else {
            members_.push_back({viewLayer(n.level2WI[m], n.level2BI[m], least(n.inputSize2)),
                                viewLayer(n.level2WL1[m], n.level2BL1[m], least(n.hiddenSize2)),
                                viewLayer(n.level2WL2[m], n.level2BL2[m], least(n.outputSize2))});
        }
    }
    if (network.loadedFromFiles) {
        files_ = filePrefix(network) + ".level" + std::to_string(level);
    }
}

std::vector<LayerFile> layerFiles(ANN& network, int levels, int memberCount,
                                  const std::string& extension) {
    std::vector<LayerFile> files;
    const std::string prefix = filePrefix(network);
    const auto add = [&](const char* name, WeightRows* weights, std::vector<double>* biases,
                         int rows, int columns) {
        LayerFile file{prefix + name + extension, {}, rows, columns};
        for (int m = 0; m < memberCount; ++m) {
            file.members.push_back({&weights[m], &biases[m]});
        }
        files.push_back(std::move(file));
    };
    ANN& n = network;
    add(".level1.WI", n.level1WI, n.level1BI, n.inputSize1, n.inputSize1);
    add(".level1.WL1", n.level1WL1, n.level1BL1, n.hiddenSize1, n.inputSize1);
    add(".level1.WL2", n.level1WL2, n.level1BL2, n.outputSize1, n.hiddenSize1);
    if (levels > 1) {
        add(".level2.WI", n.level2WI, n.level2BI, n.inputSize2, n.inputSize2);
        add(".level2.WL1", n.level2WL1, n.level2BL1, n.hiddenSize2, n.inputSize2);
        add(".level2.WL2", n.level2WL2, n.level2BL2, n.outputSize2, n.hiddenSize2);
    }
    return files;
}

void loadTextFiles(ANN& network, int levels, int memberCount, WeightRules rules) {
    network.loadedFromFiles = true;
    for (const LayerFile& file : layerFiles(network, levels, memberCount, ".tab")) {
        distributeRows(readWeightTable(file.path, rules, file.columns), file.members, file.rows);
    }
}

std::string filePrefix(const ANN& network) {
    return network.annDir + network.slashChar + network.annName;
}

}  // namespace orvix::networks
