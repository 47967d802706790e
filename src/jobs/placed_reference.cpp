#include "jobs/placed_reference.h"

#include <cmath>
#include <limits>
#include <utility>

#include "base/angles.h"
#include "base/missing.h"
#include "jobs/structure_file.h"
#include "structure/pdb.h"

namespace orvix::jobs {
namespace {

/// phi and psi of all residues of a model, in the order of the query.
std::vector<double> backboneAngles(const PDB& structure,
                                   const std::map<int, std::string>& sequence) {
    PDB asked = structure;
    std::vector<double> angles;
    for (const auto& [number, letter] : sequence) {
        angles.push_back(static_cast<double>(asked.getPhi(1, number)));
        angles.push_back(static_cast<double>(asked.getPsi(1, number)));
    }
    return angles;
}

/// Root of the mean square difference of the angles that both have, degrees; 0 without any.
double angleRmsd(const std::vector<double>& a, const std::vector<double>& b) {
    double squares = 0.0;
    int count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] < missingLimit && b[i] < missingLimit) {
            squares += std::pow(angleDifference(a[i], b[i]), 2);
            ++count;
        }
    }
    return count > 0 ? std::sqrt(squares / count) : 0.0;
}

struct Representative {
    std::size_t place = 0;
    double meanRmsd = 0.0;  ///< from the other models, degrees
};

Representative nearestToOthers(const std::vector<PlacedModel>& models,
                               const std::map<int, std::string>& sequence) {
    std::vector<std::vector<double>> angles;
    for (const PlacedModel& model : models) {
        angles.push_back(backboneAngles(*model.structure, sequence));
    }
    Representative best{0, std::numeric_limits<double>::infinity()};
    for (std::size_t i = 0; i < angles.size(); ++i) {
        double sum = 0.0;
        for (const std::vector<double>& other : angles) {
            sum += angleRmsd(angles[i], other);
        }
        const double mean = sum / static_cast<double>(angles.size() - 1);
        if (mean < best.meanRmsd) {
            best = {i, mean};
        }
    }
    return best;
}

}  // namespace

std::shared_ptr<const PDB> placedReference(const std::string& file,
                                           const std::map<int, std::string>& sequence,
                                           std::vector<std::string>& notes) {
    if (file.empty()) {
        return nullptr;
    }
    const std::vector<PlacedModel> models = placedModels(file, sequence, ChainChoice::best);
    std::string note = file + ": ";
    std::size_t chosen = 0;
    if (models.size() > 1) {
        const Representative nearest = nearestToOthers(models, sequence);
        chosen = nearest.place;
        note += "of " + std::to_string(models.size()) + " models, number " +
                std::to_string(models[chosen].model) +
                " stands for all: the nearest to the others, phi and psi " +
                std::to_string(std::lround(nearest.meanRmsd)) +
                " degrees from them (orvix compare takes each); ";
    }
    const PlacedModel& model = models[chosen];
    if (!model.chain.empty()) {
        note += "chain " + model.chain + ": ";
    }
    notes.push_back(note + model.placement);
    return model.structure;
}

}  // namespace orvix::jobs
