#include "networks/network_input.h"

#include "base/missing.h"

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

std::vector<double> residueVector(const std::map<std::string, double>& shifts,
                                  const std::map<std::string, double>* averages,
                                  const std::vector<double>& scores) {
    const auto valueOf = [](const std::map<std::string, double>& values, const char* atom) {
        const auto found = values.find(atom);
        return found == values.end() ? 0.0 : found->second;
    };
    std::vector<double> vector;
    vector.reserve(residueVectorSize);
    for (const char* atom : networkAtoms) {
        const double value = valueOf(shifts, atom);
        const bool present = !(value > missingLimit);
        vector.push_back(present ? value : averages != nullptr ? valueOf(*averages, atom) : 0.0);
        vector.push_back(present ? 0.0 : 1.0);
    }
    vector.insert(vector.end(), scores.begin(), scores.end());
    return vector;
}

std::string baseLetter(const std::string& letter) {
    return letter == "c" ? "C" : letter == "h" ? "H" : letter;
}

}  // namespace orvix::networks
