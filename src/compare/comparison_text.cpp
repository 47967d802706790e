#include "compare/comparison_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

namespace orvix::compare {
namespace {

constexpr std::size_t lineWidth = 80;
/// Models side by side in one block of the list of residues.
constexpr std::size_t modelsInBlock = 50;

std::string padLeft(const std::string& text, std::size_t width) {
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

std::string padRight(const std::string& text, std::size_t width) {
    return text + std::string(text.size() < width ? width - text.size() : 0, ' ');
}

std::string fixed(double value, int decimals) {
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string percent(const Share& share) {
    return share.whole == 0 ? "-" : std::to_string(std::lround(100.0 * share.part / share.whole));
}

std::string rounded(const std::optional<double>& value) {
    return value ? std::to_string(std::lround(*value)) : "-";
}

/// Stands for a blank that no line is broken at.
constexpr char tiedBlank = '\1';

/// `text` broken at blanks into lines of the width, the further ones indented.
std::string wrapped(const std::string& text, std::size_t indent) {
    std::string result, line;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::string word = text.substr(at, end - at);
        if (!line.empty() && line.size() + 1 + word.size() > lineWidth) {
            result += line + '\n';
            line = std::string(indent, ' ') + word;
        } else {
            line += (line.empty() ? "" : " ") + word;
        }
        at = end + 1;
    }
    result += line + '\n';
    std::replace(result.begin(), result.end(), tiedBlank, ' ');
    return result;
}

class Text {
  public:
    Text(const results::FinishedPrediction& prediction, const Comparison& comparison)
        : prediction_(prediction), comparison_(comparison) {
        std::map<std::string, std::set<int>> numbers;
        for (const ModelComparison& one : comparison.models) {
            numbers[one.model.file].insert(one.model.number);
        }
        files_ = numbers.size();
        for (const auto& [file, all] : numbers) {
            numbered_[file] = all.size() > 1 || *all.begin() > 1;
        }
    }

    std::string text() const {
        return head() + "\n" + disagreement() + "\n" + ranking() + "\n" + names() + residues();
    }

  private:
    std::string residueName(int number) const {
        return prediction_.residues.at(number).label + std::to_string(number);
    }

    std::string classOf(int number) const { return trustedClass(prediction_.residues.at(number)); }

    std::string head() const {
        const std::size_t count = comparison_.models.size();
        return wrapped(prediction_.title + ": " + std::to_string(prediction_.residues.size()) +
                           " residues, " + std::to_string(comparison_.strong) + " Strong and " +
                           std::to_string(comparison_.generous) + " Generous; " +
                           std::to_string(count) + (count == 1 ? " model of " : " models of ") +
                           std::to_string(files_) + (files_ == 1 ? " file" : " files"),
                       2);
    }

    std::string disagreement() const {
        if (comparison_.allDisagree.empty()) {
            return "No residue of class Strong or Generous is far from its shifts in all models.\n";
        }
        std::string text = "Far from the shifts in all models (class, degrees off in the nearest):";
        const char* separator = " ";
        for (const int number : comparison_.allDisagree) {
            double least = 360.0;
            for (const ModelComparison& model : comparison_.models) {
                const auto found = model.residues.find(number);
                if (found != model.residues.end() && found->second.deviation) {
                    least = std::min(least, *found->second.deviation);
                }
            }
            text += separator + residueName(number) + tiedBlank + "(" + classOf(number) + "," +
                    tiedBlank + std::to_string(std::lround(least)) + ")";
            separator = ", ";
        }
        return wrapped(text, 2);
    }

    std::string ranking() const {
        std::string text =
            "  M rank    95 %  misfit    +-  best  !worse  Strong        phi  psi  chi1   SS\n";
        for (const std::size_t place : comparison_.order) {
            const ModelComparison& one = comparison_.models[place];
            text += padLeft(std::to_string(place + 1), 3);
            if (one.rank) {
                const Rank& rank = *one.rank;
                text += padLeft(std::to_string(rank.place), 5) +
                        padLeft(std::to_string(rank.low) + "-" + std::to_string(rank.high), 8) +
                        padLeft(fixed(rank.misfit, 1), 8) + padLeft(fixed(rank.error, 1), 6) +
                        padLeft(fixed(rank.bestShare, 2), 6) + padLeft(fixed(rank.notWorse, 2), 8);
            } else {
                text += "    -       -       -     -     -       -";
            }
            text +=
                padLeft(std::to_string(one.strong.part) + "/" + std::to_string(one.strong.whole),
                        8) +
                padLeft(percent(one.strong), 4) + " %" + padLeft(rounded(one.phiRmsd), 5) +
                padLeft(rounded(one.psiRmsd), 5) + padLeft(percent(one.rotamers), 6) +
                padLeft(percent(one.states), 5) + '\n';
        }
        return text + "\n" + legend();
    }

    std::string legend() const {
        const std::string ranked =
            comparison_.ranked.empty()
                ? "No ranks: the models share fewer than " + std::to_string(leastRanked) +
                      " residues of class Strong or Generous."
                : "Ranks rest on the " + std::to_string(comparison_.ranked.size()) +
                      " residues of class Strong or Generous that all ranked models have. A model "
                      "without half of these residues is not ranked.";
        return wrapped(ranked, 2) +
               wrapped(
                   "misfit: mean distance from the prediction in phi and psi, degrees, each up "
                   "to " +
                       std::to_string(std::lround(deviationCap)) + "; 95 %: places in 95 % of " +
                       std::to_string(comparison_.rules.draws) +
                       " draws of residues; best, !worse: share of the draws in which it fits "
                       "best, and no worse than the first",
                   2) +
               wrapped(
                   "Strong: not far from the prediction, of those the model has; phi, psi: "
                   "rmsd of Strong and Generous, degrees; chi1, SS: rotamers and helix, strand "
                   "or neither as predicted, %",
                   2);
    }

    std::string names() const {
        std::string text;
        for (std::size_t i = 0; i < comparison_.models.size(); ++i) {
            const Model& model = comparison_.models[i].model;
            text += wrapped(padLeft(std::to_string(i + 1), 3) + "  " +
                                modelName(model, numbered_.at(model.file)) + ": " + model.placement,
                            5);
        }
        return text;
    }

    /// Of each residue that some model puts far off, which models do.
    std::string residues() const {
        std::string text;
        for (std::size_t begin = 0; begin < comparison_.order.size(); begin += modelsInBlock) {
            const std::size_t end = std::min(begin + modelsInBlock, comparison_.order.size());
            std::string rows;
            for (const auto& [number, residue] : prediction_.residues) {
                std::string marks;
                for (std::size_t i = begin; i < end; ++i) {
                    const auto& found = comparison_.models[comparison_.order[i]].residues;
                    const auto one = found.find(number);
                    marks += one == found.end() || !one->second.far ? ' '
                             : *one->second.far                     ? 'x'
                                                                    : '.';
                }
                if (marks.find('x') != std::string::npos) {
                    rows += padRight(residueName(number), 7) + padRight(classOf(number), 9) +
                            padLeft(rounded(residue.phi), 5) + padLeft(rounded(residue.psi), 5) +
                            "  " + marks + '\n';
                }
            }
            if (!rows.empty()) {
                text += "\nResidue          phi  psi  models in the order above" +
                        (comparison_.order.size() > modelsInBlock
                             ? ", " + std::to_string(begin + 1) + " to " + std::to_string(end)
                             : std::string()) +
                        ": x far, . near\n" + rows;
            }
        }
        return text;
    }

    const results::FinishedPrediction& prediction_;
    const Comparison& comparison_;
    std::size_t files_ = 0;
    std::map<std::string, bool> numbered_;  ///< whether a file's models need their numbers
};

}  // namespace

std::string comparisonText(const results::FinishedPrediction& prediction,
                           const Comparison& comparison) {
    return Text(prediction, comparison).text();
}

}  // namespace orvix::compare
