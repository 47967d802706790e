#include "networks/level_pass.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/run_end.h"

namespace orvix::networks {
namespace {

constexpr std::size_t classCount = 3;

using Members = std::span<const std::vector<double>* const>;

bool sameLength(Members members) {
    return std::all_of(members.begin(), members.end(), [&](const std::vector<double>* member) {
        return member->size() == members.front()->size();
    });
}

// (a * wa + b * wb + ...) * scale for each place, added up from the left.
std::vector<double> scaledSum(Members members, const std::vector<double>& weights, double scale) {
    std::vector<double> sums;
    for (std::size_t k = 0; k < members.front()->size(); ++k) {
        double sum = (*members[0])[k] * weights[0];
        for (std::size_t m = 1; m < members.size(); ++m) {
            sum += (*members[m])[k] * weights[m];
        }
        sums.push_back(sum * scale);
    }
    return sums;
}

}  // namespace

double margin(const std::vector<double>& values) {
    if (values.size() != classCount) {
        return -1.0;
    }
    const auto [least, most] = std::minmax_element(values.begin(), values.end());
    return 2 * *most + *least - (values[0] + values[1] + values[2]);
}

std::vector<double> weightedMean(Members members) {
    if (members.empty() || !sameLength(members)) {
        return {};
    }
    std::vector<double> weights;
    double sum = 0.0;
    for (const std::vector<double>* member : members) {
        weights.push_back(margin(*member));
        sum += weights.back();
    }
    return sum == 0.0 ? plainMean(members) : scaledSum(members, weights, 1 / sum);
}

std::vector<double> plainMean(Members members) {
    if (members.empty() || !sameLength(members)) {
        return {};
    }
    return scaledSum(members, std::vector<double>(members.size(), 1.0),
                     1 / static_cast<double>(members.size()));
}

void normaliseClasses(std::vector<double>& values) {
    if (values.size() < classCount) {
        return;
    }
    values.resize(classCount);
    for (double& value : values) {
        if (value < 0.0 || std::isnan(value)) {
            value = 0.0;
        } else if (value > 1.0) {
            value = 1.0;
        }
    }
    const double sum = values[0] + values[1] + values[2];
    if (sum == 0.0) {
        values.assign(classCount, 1.0 / 3.0);
        return;
    }
    const double scale = 1 / sum;
    for (double& value : values) {
        // A denormal sum has no finite inverse; such values are nothing to tell classes by.
        value = std::isfinite(scale) ? value * scale : 1.0 / 3.0;
    }
}

void failLayerCheck(const LayerMismatch& mismatch, const std::string& files,
                    const std::string& window) {
    std::string message = "a network's weights don't fit its input: " + mismatch.cause();
    if (!files.empty()) {
        message = "network file " + files + "." + layerNames[mismatch.layer] +
                  ".tab doesn't fit the input of " + window + ": " + mismatch.cause();
    }
    throw RunEnd(EndReason::dataDirectory, 0, mismatch.text(), message);
}

void evaluateLevel(const LevelWeights& level, const ResidueMap& windows, Combine combine,
                   int threads, ResidueMap& outputs, const std::string& noun) {
    std::vector<const std::vector<double>*> inputs;
    std::vector<std::size_t> lengths;
    for (const auto& [residue, window] : windows) {
        inputs.push_back(&window);
        lengths.push_back(window.size());
    }
    if (const auto mismatch = checkEnsemble(level.members, lengths)) {
        const auto at = std::next(windows.begin(), static_cast<std::ptrdiff_t>(mismatch->window));
        failLayerCheck(*mismatch, level.files, noun + " " + std::to_string(at->first));
    }
    const EnsembleOutput results = runEnsemble(bestLayerKernel(), level.members, inputs, threads);
    std::vector<const std::vector<double>*> members(level.members.size());
    std::size_t at = 0;
    for (const auto& [residue, window] : windows) {
        for (std::size_t m = 0; m < members.size(); ++m) {
            members[m] = &results[m][at];
        }
        outputs[residue] = combine(members);
        ++at;
    }
}

}  // namespace orvix::networks
