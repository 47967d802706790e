#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "compare/model_residues.h"
#include "compare/ranking.h"
#include "results/finished_prediction.h"

namespace orvix::compare {

/// A model that is held against a prediction, with the residue numbers of the prediction.
struct Model {
    std::string file;
    int number = 1;     ///< place in the file, from 1
    std::string chain;  ///< empty where the file names none
    std::string placement;
    std::map<int, ModelResidue> residues;
};

/// One residue of a model beside the prediction.
struct ResidueComparison {
    ModelResidue model;
    /// Distance of model and prediction in the plane of phi and psi, degrees.
    std::optional<double> deviation;
    /// Whether a residue of class Strong or Generous is `Bad` by this model; empty for others.
    std::optional<bool> far;
    std::string rotamer;  ///< of the model, in the convention of the prediction; empty for none
    std::optional<bool> rotamerAgrees;  ///< where a rotamer was predicted
    std::optional<bool> stateAgrees;    ///< helix, strand or neither, where it was predicted
};

/// So many of so many.
struct Share {
    int part = 0, whole = 0;
    void add(bool counts) {
        part += counts ? 1 : 0;
        ++whole;
    }
};

/// A model beside the prediction.
struct ModelComparison {
    Model model;
    std::map<int, ResidueComparison> residues;  ///< those of the sequence that the model has
    Share strong;                               ///< residues of class Strong that are not far
    Share trusted;                              ///< residues of class Strong and Generous likewise
    std::optional<double> phiRmsd, psiRmsd;     ///< over the trusted ones, degrees
    Share rotamers, states;                     ///< that agree
    std::optional<Rank> rank;                   ///< empty for a model that could not be ranked
};

/// What a comparison found.
struct Comparison {
    std::vector<ModelComparison> models;  ///< in the order given
    std::vector<std::size_t> order;       ///< places in `models`, best first, the unranked last
    int strong = 0, generous = 0;         ///< residues of these classes with angles
    std::vector<int> allDisagree;  ///< trusted residues that are far in every model that has them
    std::vector<int> ranked;       ///< residues that the ranking rests on
    RankingRules rules;
};

/// A model that has less than this share of the trusted residues is not ranked.
inline constexpr double leastCoverage = 0.5;
/// Fewest residues that a ranking rests on.
inline constexpr std::size_t leastRanked = 10;
/// A deviation counts in the ranking up to this, degrees: how far a wrong residue is off says
/// little more than that it is wrong.
inline constexpr double deviationCap = 90.0;

/// The class that the shifts alone gave to a residue, Strong or Generous; empty for any other. A
/// prediction with a reference says Bad for residues that it found far off.
std::string trustedClass(const results::FinishedResidue& residue);

/// Holds models against a prediction.
Comparison compareModels(const results::FinishedPrediction& prediction, std::vector<Model> models,
                         const RankingRules& rules);

/// Name of a model in few words: file without its folders, number where `numbered`, chain.
std::string modelName(const Model& model, bool numbered);

}  // namespace orvix::compare
