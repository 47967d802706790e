#include "compare/comparison.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <utility>

#include "base/angles.h"
#include "base/narrow.h"
#include "compare/dssp.h"
#include "summaries/classification.h"
#include "summaries/rotamer_evidence.h"

namespace orvix::compare {
namespace {

using results::FinishedPrediction;
using results::FinishedResidue;

/// The rule of the class `Bad`, asked of the place that has it.
bool isFar(const FinishedResidue& residue, double phi, double psi) {
    summaries::ClassEvidence evidence;
    evidence.count = evidence.candidateMax;
    evidence.phi = *residue.phi;
    evidence.psi = *residue.psi;
    evidence.hasReference = true;
    evidence.referenceBox = summaries::referenceBox(phi, psi);
    evidence.referencePhi = phi;
    evidence.referencePsi = psi;
    evidence.disorderLimit = 1.0;
    return summaries::classWord(evidence) == "Bad";
}

ResidueComparison compareResidue(const FinishedResidue& residue, const ModelResidue& model) {
    ResidueComparison result;
    result.model = model;
    if (residue.phi && residue.psi && model.phi && model.psi) {
        result.deviation = std::hypot(angleDifference(*residue.phi, *model.phi),
                                      angleDifference(*residue.psi, *model.psi));
        if (!trustedClass(residue).empty()) {
            result.far = isFar(residue, *model.phi, *model.psi);
        }
    }
    if (model.chi1) {
        const bool turned = residue.letter == 'V';
        result.rotamer =
            chi1Rotamer(narrowToFloat(turned ? summaries::turnValine(*model.chi1) : *model.chi1));
        if (residue.chi1 && !residue.chi1->rotamer.empty()) {
            result.rotamerAgrees = residue.chi1->rotamer == result.rotamer;
        }
    }
    if (residue.structure) {
        result.stateAgrees = residue.structure->state == std::string(1, threeState(model.dssp));
    }
    return result;
}

ModelComparison compareModel(const FinishedPrediction& prediction, Model model) {
    ModelComparison result;
    double phiSquares = 0.0, psiSquares = 0.0;
    for (const auto& [number, residue] : prediction.residues) {
        const auto found = model.residues.find(number);
        if (found == model.residues.end()) {
            continue;
        }
        const ResidueComparison one = compareResidue(residue, found->second);
        if (one.far) {
            result.trusted.add(!*one.far);
            if (trustedClass(residue) == "Strong") {
                result.strong.add(!*one.far);
            }
            phiSquares += std::pow(angleDifference(*residue.phi, *one.model.phi), 2);
            psiSquares += std::pow(angleDifference(*residue.psi, *one.model.psi), 2);
        }
        if (one.rotamerAgrees) {
            result.rotamers.add(*one.rotamerAgrees);
        }
        if (one.stateAgrees) {
            result.states.add(*one.stateAgrees);
        }
        result.residues.emplace(number, one);
    }
    if (result.trusted.whole > 0) {
        result.phiRmsd = std::sqrt(phiSquares / result.trusted.whole);
        result.psiRmsd = std::sqrt(psiSquares / result.trusted.whole);
    }
    result.model = std::move(model);
    return result;
}

/// Trusted residues that at least one model has, and all that have them put far off.
std::vector<int> disagreeing(const FinishedPrediction& prediction,
                             const std::vector<ModelComparison>& models) {
    std::vector<int> found;
    for (const auto& [number, residue] : prediction.residues) {
        Share far;
        for (const ModelComparison& model : models) {
            const auto one = model.residues.find(number);
            if (one != model.residues.end() && one->second.far) {
                far.add(*one->second.far);
            }
        }
        if (far.whole > 0 && far.part == far.whole) {
            found.push_back(number);
        }
    }
    return found;
}

/// Ranks the models that have enough of the trusted residues, on those that all of them have.
void rank(Comparison& comparison) {
    const double enough = leastCoverage * (comparison.strong + comparison.generous);
    std::vector<ModelComparison*> entrants;
    std::map<int, std::size_t> holders;
    for (ModelComparison& model : comparison.models) {
        if (model.trusted.whole == 0 || model.trusted.whole < enough) {
            continue;
        }
        entrants.push_back(&model);
        for (const auto& [number, residue] : model.residues) {
            holders[number] += residue.far ? 1U : 0U;
        }
    }
    for (const auto& [number, count] : holders) {
        if (count == entrants.size()) {
            comparison.ranked.push_back(number);
        }
    }
    if (comparison.ranked.size() < leastRanked) {
        comparison.ranked.clear();
        return;
    }
    std::vector<std::vector<double>> misfits;
    for (const ModelComparison* const model : entrants) {
        std::vector<double>& row = misfits.emplace_back();
        for (const int number : comparison.ranked) {
            row.push_back(std::min(*model->residues.at(number).deviation, deviationCap));
        }
    }
    const std::vector<Rank> ranks = rankModels(misfits, comparison.rules);
    for (std::size_t i = 0; i < entrants.size(); ++i) {
        entrants[i]->rank = ranks[i];
    }
}

}  // namespace

std::string trustedClass(const results::FinishedResidue& residue) {
    if (residue.classWord == "Bad") {
        constexpr int allMatches = 25;
        return residue.matchCount == allMatches ? "Strong" : "Generous";
    }
    return residue.classWord == "Strong" || residue.classWord == "Generous" ? residue.classWord
                                                                            : std::string();
}

Comparison compareModels(const results::FinishedPrediction& prediction, std::vector<Model> models,
                         const RankingRules& rules) {
    Comparison comparison;
    comparison.rules = rules;
    for (const auto& [number, residue] : prediction.residues) {
        const std::string word = residue.phi && residue.psi ? trustedClass(residue) : "";
        comparison.strong += word == "Strong" ? 1 : 0;
        comparison.generous += word == "Generous" ? 1 : 0;
    }
    for (Model& model : models) {
        comparison.models.push_back(compareModel(prediction, std::move(model)));
    }
    comparison.allDisagree = disagreeing(prediction, comparison.models);
    rank(comparison);
    for (std::size_t i = 0; i < comparison.models.size(); ++i) {
        comparison.order.push_back(i);
    }
    std::stable_sort(comparison.order.begin(), comparison.order.end(),
                     [&](std::size_t a, std::size_t b) {
                         const auto& first = comparison.models[a].rank;
                         const auto& second = comparison.models[b].rank;
                         return first && (!second || first->misfit < second->misfit);
                     });
    return comparison;
}

std::string modelName(const Model& model, bool numbered) {
    std::string name = std::filesystem::path(model.file).filename().string();
    if (numbered) {
        name += " #" + std::to_string(model.number);
    }
    return name + (model.chain.empty() ? "" : " " + model.chain);
}

}  // namespace orvix::compare
