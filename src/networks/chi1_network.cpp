#include "networks/chi1_network.h"

#include "networks/level_pass.h"

namespace orvix::networks {

std::vector<double> chi1Scores(const LevelWeights& level1,
                               const std::vector<std::vector<double>>& inputs) {
    ResidueMap windows, results;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        windows.emplace_hint(windows.end(), static_cast<int>(i) + 1, inputs[i]);
    }
    evaluateLevel(level1, windows, plainMean, 1, results, "fragment");
    std::vector<double> scores;
    for (const auto& [i, values] : results) {
        scores.push_back(values.empty() ? 0.0 : values.front());
    }
    return scores;
}

}  // namespace orvix::networks
