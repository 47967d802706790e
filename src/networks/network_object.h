#pragma once

#include <string>
#include <vector>

#include "networks/ann.h"
#include "networks/network_weights.h"
#include "networks/residue_window.h"
#include "networks/weight_maps.h"

namespace orvix::networks {

// What the network classes share: their containers, seen as the weights and maps of a pass.

/// Level 1 or 2 of a network object, valid as long as its containers don't change.
class ObjectLevel {
  public:
    ObjectLevel(const ANN& network, int level, int memberCount);
    operator LevelWeights() const { return {members_, files_}; }

  private:
    std::vector<Member> members_;
    std::string files_;
};

/// The containers of one layer file by member, as a loader takes them.
struct LayerFile {
    std::string path;
    std::vector<LayerWeights> members;
    int rows = 0, columns = 0;
};

/// The files of a network object in their order (WI, WL1, WL2 of level 1, then, with two `levels`,
/// of level 2), named with `extension`: ".tab" or ".bin".
std::vector<LayerFile> layerFiles(ANN& network, int levels, int memberCount,
                                  const std::string& extension);

/// Loads all text files of a network object, which from now on must have all their rows.
void loadTextFiles(ANN& network, int levels, int memberCount, WeightRules rules);

/// What the paths of the files of a network object begin with.
std::string filePrefix(const ANN& network);

inline PassMaps passMaps(ANN& network) {
    return {network.level1Input, network.level1Output, network.level2Input, network.level2Output};
}

}  // namespace orvix::networks
