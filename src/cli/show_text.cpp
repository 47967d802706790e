#include "cli/show_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>

#include "base/angles.h"
#include "results/plain_words.h"

namespace orvix::cli {
namespace {

using results::FinishedChi1;
using results::FinishedPrediction;
using results::FinishedResidue;

constexpr double wrongFrom = 60.0;    // degrees off the reference
constexpr double valineTurn = 120.0;  // between valine's chi1 in the tables and N-CA-CB-CG1

/// Colours by their terminal codes; bold and dim for classes that differ by more than colour.
const std::map<std::string, std::string> classColours = {{"Strong", "32"}, {"Generous", "36"},
                                                         {"Warn", "33"},   {"Dyn", "35"},
                                                         {"Bad", "1;31"},  {"None", "2"}};
constexpr const char* alarmColour = "1;31";
constexpr const char* noteColour = "33";

/// A number right-aligned in `width`, or a point.
std::string cell(const std::optional<double>& value, int width, int decimals) {
    char text[64];
    if (!value) {
        std::snprintf(text, sizeof text, "%*s", width, ".");
    } else {
        std::snprintf(text, sizeof text, "%*.*f", width, decimals, *value);
    }
    return text;
}

std::string left(const std::string& text, std::size_t width) {
    return text + std::string(text.size() < width ? width - text.size() : 0, ' ');
}

std::string right(const std::string& text, std::size_t width) {
    return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

bool isTrusted(const FinishedResidue& residue) {
    return residue.classWord == "Strong" || residue.classWord == "Generous" ||
           residue.classWord == "Bad";
}

/// How far a residue is off the reference in the phi/psi plane, degrees.
std::optional<double> distance(const FinishedResidue& residue) {
    if (!residue.reference || !residue.phi || !residue.psi || !residue.reference->phi ||
        !residue.reference->psi) {
        return std::nullopt;
    }
    return std::hypot(angleDifference(*residue.phi, *residue.reference->phi),
                      angleDifference(*residue.psi, *residue.reference->psi));
}

/// The reference's rotamer in the convention of the chi1 table; empty for none.
std::string referenceRotamer(const FinishedResidue& residue) {
    if (!residue.reference || !residue.reference->chi1) {
        return {};
    }
    double chi1 = *residue.reference->chi1;
    if (residue.chi1 && residue.chi1->turned) {
        chi1 = wrapOnce(chi1 - valineTurn);
    }
    return std::string(chi1Rotamer(static_cast<float>(chi1)));
}

std::optional<double> bestProbability(const FinishedChi1& chi1) {
    if (!chi1.gaucheMinus || !chi1.gauchePlus || !chi1.trans) {
        return std::nullopt;
    }
    return std::max({*chi1.gaucheMinus, *chi1.gauchePlus, *chi1.trans});
}

/// Makes the lines of one prediction.
class Page {
  public:
    Page(const FinishedPrediction& prediction, const ShowStyle& style)
        : prediction_(prediction), style_(style), reference_(prediction.hasReference()) {
        for (const results::Outlier& outlier : prediction.check.outliers) {
            char& sign = signs_.emplace(outlier.residue, '*').first->second;
            sign = outlier.gross ? '!' : sign;
        }
        for (const auto& [number, residue] : prediction.residues) {
            author_ = author_ || (!residue.authorNumber.empty() &&
                                  residue.authorNumber != std::to_string(number));
        }
    }

    std::string text() {
        std::string text = heading();
        for (const auto& [number, residue] : prediction_.residues) {
            text += line(number, residue);
        }
        return text + legend() + totals();
    }

  private:
    std::string coloured(const std::string& text, const std::string& colour) const {
        return style_.colours && !colour.empty() ? "\033[" + colour + "m" + text + "\033[0m" : text;
    }

    std::string heading() const {
        std::string names = " residue    phi +/-   psi +/-  class    SS        S2  chi1  ";
        if (reference_) {
            names += "| reference  off  chi1";
        }
        if (style_.wide) {
            names += "  chi1 +/-   g-   g+   t    helix strand coil   matches  score  shifts";
            names += author_ ? "  author" : "";
        }
        return names + "\n";
    }

    std::string line(int number, const FinishedResidue& residue) const {
        const auto sign = signs_.find(number);
        std::string text = sign == signs_.end()  ? " "
                           : sign->second == '!' ? coloured("!", alarmColour)
                                                 : coloured("*", noteColour);
        text += residue.label + right(std::to_string(number), 6);
        text += cell(residue.phi, 7, 0) + cell(residue.phiSpread, 4, 0);
        text += cell(residue.psi, 6, 0) + cell(residue.psiSpread, 4, 0);
        const auto colour = classColours.find(residue.classWord);
        text += "  " + coloured(left(residue.classWord, 8),
                                colour == classColours.end() ? "" : colour->second);
        text += " " + (residue.structure
                           ? residue.structure->state + cell(residue.structure->confidence, 5, 2)
                           : left(".", 6));
        text += cell(residue.s2, 6, 2);
        text += "  " + left(!residue.chi1                   ? ""
                            : residue.chi1->rotamer.empty() ? "."
                                                            : residue.chi1->rotamer,
                            2);
        text += residue.chi1 ? cell(bestProbability(*residue.chi1), 5, 2) : std::string(5, ' ');
        text += reference_ ? referenceText(residue) : "";
        text += style_.wide ? wideText(residue) : "";
        text.resize(text.find_last_not_of(' ') + 1);
        return text + "\n";
    }

    std::string referenceText(const FinishedResidue& residue) const {
        const results::FinishedReference none;
        const results::FinishedReference& known = residue.reference ? *residue.reference : none;
        const std::optional<double> off = distance(residue);
        const std::string rotamer = referenceRotamer(residue);
        const bool wrong = off && *off >= wrongFrom && isTrusted(residue);
        const bool otherRotamer = residue.chi1 && !residue.chi1->rotamer.empty() &&
                                  !rotamer.empty() && residue.chi1->rotamer != rotamer;
        return " |" + cell(known.phi, 5, 0) + cell(known.psi, 5, 0) +
               coloured(cell(off, 5, 0), wrong ? alarmColour : "") + "  " +
               coloured(left(rotamer, 2), otherRotamer ? noteColour : "");
    }

    std::string wideText(const FinishedResidue& residue) const {
        const FinishedChi1 noChi1;
        const FinishedChi1& chi1 = residue.chi1 ? *residue.chi1 : noChi1;
        const results::FinishedStructure noStructure;
        const results::FinishedStructure& structure =
            residue.structure ? *residue.structure : noStructure;
        std::string text = cell(chi1.angle, 7, 0) + cell(chi1.spread, 4, 0);
        text += cell(chi1.gaucheMinus, 6, 2) + cell(chi1.gauchePlus, 5, 2) + cell(chi1.trans, 5, 2);
        text +=
            cell(structure.helix, 7, 2) + cell(structure.strand, 6, 2) + cell(structure.coil, 6, 2);
        text += cell(residue.matchCount, 9, 0) + cell(residue.score, 8, 3) +
                cell(residue.shiftCount, 6, 0);
        return text + (author_ ? right(residue.authorNumber, 9) : "");
    }

    std::string legend() const {
        const auto named = [&](const char* word) { return coloured(word, classColours.at(word)); };
        std::string text = "\nphi, psi in degrees with their spreads. Classes: " + named("Strong") +
                           " all best matches\n  agree, " + named("Generous") + " most agree, " +
                           named("Warn") + " they do not (do not use), " + named("Dyn") +
                           " mobile,\n  " +
                           (reference_ ? named("Bad") + " off the reference, " : "") +
                           named("None") + " too few shifts.\n";
        text +=
            "SS: H helix, E strand, L coil, with confidence. S2: order parameter, 1 is rigid.\n"
            "chi1: g- -60, g+ 60, t 180 degrees, with probability";
        text += hasTurned() ? ";\n  valine's is turned by -120 degrees.\n" : ".\n";
        if (!signs_.empty()) {
            text += coloured("*", noteColour) + " a shift of the residue is an outlier, " +
                    coloured("!", alarmColour) + " a gross one.\n";
        }
        if (reference_) {
            text += "off: distance from the reference in the phi/psi plane, degrees.\n";
        }
        return text;
    }

    bool hasTurned() const {
        return std::any_of(
            prediction_.residues.begin(), prediction_.residues.end(),
            [](const auto& one) { return one.second.chi1 && one.second.chi1->turned; });
    }

    std::string totals() const {
        std::string text = "\n" + results::classCounts(prediction_) + "\n";
        int compared = 0, wrong = 0, rotamers = 0, rightRotamers = 0;
        double phiSquares = 0.0, psiSquares = 0.0;
        for (const auto& [number, residue] : prediction_.residues) {
            const std::optional<double> off = distance(residue);
            if (off && isTrusted(residue)) {
                ++compared;
                if (*off >= wrongFrom) {
                    ++wrong;
                } else {
                    phiSquares +=
                        std::pow(angleDifference(*residue.phi, *residue.reference->phi), 2);
                    psiSquares +=
                        std::pow(angleDifference(*residue.psi, *residue.reference->psi), 2);
                }
            }
            const std::string known = referenceRotamer(residue);
            if (residue.chi1 && !residue.chi1->rotamer.empty() && !known.empty()) {
                ++rotamers;
                rightRotamers += residue.chi1->rotamer == known ? 1 : 0;
            }
        }
        if (compared > 0) {
            text += "Against the reference, Strong, Generous and Bad residues: " +
                    std::to_string(compared) + " compared,\n  " + std::to_string(wrong) +
                    " off by 60 degrees or more";
            if (compared > wrong) {
                text += "; rmsd of the others: phi" +
                        cell(std::sqrt(phiSquares / (compared - wrong)), 5, 1) + ", psi" +
                        cell(std::sqrt(psiSquares / (compared - wrong)), 5, 1) + " degrees";
            }
            text += "\n";
        }
        if (rotamers > 0) {
            text += "chi1 rotamers predicted and known: " + std::to_string(rotamers) +
                    ", of these right: " + std::to_string(rightRotamers) + "\n";
        }
        return text;
    }

    const FinishedPrediction& prediction_;
    const ShowStyle style_;
    const bool reference_;
    bool author_ = false;
    std::map<int, char> signs_;
};

}  // namespace

std::string showText(const FinishedPrediction& prediction, const ShowStyle& style) {
    return Page(prediction, style).text();
}

}  // namespace orvix::cli
