#include "networks/network_input.h"

namespace orvix::networks {

std::map<int, std::vector<double>> residueFirst(const std::map<int, std::vector<double>>& input) {
    std::map<int, std::vector<double>> result;
    for (const auto& [residue, vector] : input) {
        std::vector<double>& turned = result[residue];
        if (vector.size() < residueVectorSize) {
            continue;
        }
        turned.reserve(residueVectorSize);
        for (std::size_t i = shiftEntryCount; i < residueVectorSize; ++i) {
            turned.push_back(vector[i] * 10.0);
        }
        turned.insert(turned.end(), vector.begin(), vector.begin() + shiftEntryCount);
    }
    return result;
}

std::string baseLetter(const std::string& letter) {
    return letter == "c" ? "C" : letter == "h" ? "H" : letter;
}

}  // namespace orvix::networks
