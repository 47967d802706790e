#include "networks/network_kinds.h"

namespace orvix::networks {

const NetworkKind surfaceKind{"surf20", {{160, 180, 324}, {1620, 360, 324}, 3}, WeightRules::typed};
const NetworkKind hybridSurfaceKind{"surf20_hyb", {{160, 180, 324}, {}, 3}, WeightRules::typed};

const NetworkKind classKind{"ss", {{96, 20, 3}, {9, 6, 3}, 3}, WeightRules::typed};
const NetworkKind classCentreKind{"ss.center", {{84, 20, 3}, {9, 6, 3}, 3}, WeightRules::typed};
const NetworkKind classPreviousKind{"ss.prev", {{84, 20, 3}, {9, 6, 3}, 3}, WeightRules::typed};
const NetworkKind classNextKind{"ss.next", {{84, 20, 3}, {9, 6, 3}, 3}, WeightRules::typed};
const NetworkKind classFiveKind{"ss5", {{164, 40, 3}, {19, 6, 3}, 3}, WeightRules::typed};

const NetworkKind sequenceKind{"seqSS", {{272, 60, 3}, {51, 15, 3}, 3}, WeightRules::typed};
const NetworkKind profileKind{"seqSS15", {{314, 70, 3}, {59, 15, 3}, 5}, WeightRules::text};

const NetworkKind shiftModelKind{"shiftmodel", {{170, 48, 6}, {}, 3}, WeightRules::text};

NetworkKind chi1Kind(char letter) {
    return {std::string("chi1_") + letter, {{39, 15, 1}, {}, 3}, WeightRules::text};
}

std::vector<NetworkKind> allNetworkKinds() {
    std::vector<NetworkKind> kinds{surfaceKind,     hybridSurfaceKind, classKind,
                                   classCentreKind, classPreviousKind, classNextKind,
                                   classFiveKind,   sequenceKind,      profileKind};
    for (const char* letter = chi1NetworkLetters; *letter != '\0'; ++letter) {
        kinds.push_back(chi1Kind(*letter));
    }
    return kinds;
}

std::vector<std::string> networkFiles(const NetworkKind& kind) {
    std::vector<std::string> files;
    for (std::size_t level = 1; level <= kind.shape.levels(); ++level) {
        for (const char* layer : layerNames) {
            files.push_back(kind.name + ".level" + std::to_string(level) + "." + layer + ".tab");
        }
    }
    return files;
}

}  // namespace orvix::networks
