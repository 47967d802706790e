#include "restraints/dihedral_restraint.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "base/angles.h"
#include "base/residues.h"
#include "restraints/restraint_names.h"
#include "restraints/two_islands.h"

namespace orvix::restraints {

namespace {

constexpr int halfTurn = wholeCircle;
/// The turn that the tables give to valine's chi1, undone.
constexpr double valineTurn = 120.0;

int thousandths(double degrees) {
    return static_cast<int>(std::lround(degrees * 1000.0));
}

/// The same direction above -180 to 180 degrees.
int onCircle(int angle) {
    while (angle > halfTurn) {
        angle -= 2 * halfTurn;
    }
    while (angle <= -halfTurn) {
        angle += 2 * halfTurn;
    }
    return angle;
}

double rotamerCentre(const std::string& rotamer) {
    return rotamer == "g-" ? -60.0 : rotamer == "g+" ? 60.0 : 180.0;
}

bool hasChi1(char letter) {
    return letter != 'A' && letter != 'G' && letter != 'P' && letter != 'p';
}

/// Whether nothing is known of a residue of the sequence, neither type nor shift nor name: it fills
/// a gap of the numbering.
bool isGap(const results::FinishedPrediction& prediction, int number, const std::set<int>& named) {
    const auto found = prediction.residues.find(number);
    return !isKnownLetter(prediction.letter(number)) && named.count(number) == 0 &&
           (found == prediction.residues.end() ||
            std::none_of(found->second.shifts.begin(), found->second.shifts.end(),
                         [](const std::optional<double>& shift) { return shift.has_value(); }));
}

/// Collects the restraints of one residue after the other.
class Collector {
  public:
    Collector(const RestraintRules& rules, RestraintSet& set) : rules_(rules), set_(set) {}

    /// The interval about `centre`, or a count of why there is none. Null when there is none.
    const DihedralRestraint* add(int residue, Dihedral dihedral, std::optional<double> centre,
                                 std::optional<double> spread) {
        // A spread of 0 stands for no pick and one of 180 for a single one: neither is an error
        // estimate.
        if (!centre || !spread || !(*spread > 0.0 && *spread < 180.0)) {
            ++set_.withoutValue;
            return nullptr;
        }
        const DihedralRestraint restraint = interval(residue, dihedral, *centre, *spread);
        if (restraint.halfWidth >= halfTurn) {
            ++set_.wholeCircle;
            return nullptr;
        }
        set_.restraints.push_back(restraint);
        return &set_.restraints.back();
    }

    void addChi1(int residue, const results::FinishedChi1& chi1) {
        if (chi1.rotamer.empty()) {
            ++set_.withoutRotamer;
            return;
        }
        if (!chi1.angle) {
            ++set_.withoutValue;
            return;
        }
        const double turn = chi1.turned ? valineTurn : 0.0;
        const double centre =
            rules_.chi1Centre == Chi1Centre::rotamer ? rotamerCentre(chi1.rotamer) : *chi1.angle;
        const DihedralRestraint* const restraint =
            add(residue, Dihedral::chi1, centre + turn, chi1.spread);
        if (restraint != nullptr) {
            const int off = onCircle(thousandths(*chi1.angle + turn) - restraint->centre);
            if (std::abs(off) > restraint->halfWidth) {
                set_.outsideRotamer.push_back(residue);
            }
        }
    }

    /// The choice between two islands; nothing where an interval would be the whole circle.
    void addAmbiguous(int residue, const std::vector<results::FinishedMatch>& matches) {
        const std::optional<std::array<MatchIsland, 2>> two = twoIslands(matches);
        if (!two) {
            return;
        }
        AmbiguousRestraint restraint;
        restraint.residue = residue;
        for (std::size_t i = 0; i < two->size(); ++i) {
            const MatchIsland& one = (*two)[i];
            restraint.islands[i] = {interval(residue, Dihedral::phi, one.phi, one.phiSpread),
                                    interval(residue, Dihedral::psi, one.psi, one.psiSpread),
                                    one.count};
            if (restraint.islands[i].phi.halfWidth >= halfTurn ||
                restraint.islands[i].psi.halfWidth >= halfTurn) {
                ++set_.wholeCircle;
                return;
            }
        }
        set_.ambiguous.push_back(restraint);
    }

  private:
    DihedralRestraint interval(int residue, Dihedral dihedral, double centre, double spread) const {
        const double width = std::max(rules_.spreadFactor * spread, rules_.minimum);
        return {residue, dihedral, onCircle(thousandths(centre)),
                thousandths(std::min(width, 180.0)), thousandths(spread)};
    }

    const RestraintRules& rules_;
    RestraintSet& set_;
};

}  // namespace

std::optional<DihedralRestraint> joinedInterval(const DihedralRestraint& first,
                                                const DihedralRestraint& second) {
    const int apart = onCircle(second.centre - first.centre);
    if (std::abs(apart) > first.halfWidth + second.halfWidth) {
        return std::nullopt;
    }
    const int lower = std::min(-first.halfWidth, apart - second.halfWidth);
    const int upper = std::max(first.halfWidth, apart + second.halfWidth);
    return DihedralRestraint{first.residue, first.dihedral,
                             onCircle(first.centre + (lower + upper) / 2), (upper - lower + 1) / 2,
                             std::max(first.spread, second.spread)};
}

int RestraintSet::count(Dihedral dihedral) const {
    int count = 0;
    for (const DihedralRestraint& restraint : restraints) {
        count += restraint.dihedral == dihedral ? 1 : 0;
    }
    return count;
}

RestraintSet makeRestraints(const results::FinishedPrediction& prediction,
                            const RestraintRules& rules, const std::set<int>& namedResidues) {
    RestraintSet set;
    Collector collector(rules, set);
    for (const auto& [number, residue] : prediction.residues) {
        const bool chosen = rules.classes.count(residue.classWord) > 0;
        const bool mayChoose = rules.ambiguous && residue.classWord == "Warn";
        if (!chosen && !mayChoose) {
            continue;
        }
        const bool atEnd = number == prediction.residues.begin()->first ||
                           number == prediction.residues.rbegin()->first ||
                           !prediction.inSequence(number - 1) || !prediction.inSequence(number + 1);
        if (mayChoose) {
            const bool whole = !atEnd && isKnownLetter(residue.letter) &&
                               !isGap(prediction, number - 1, namedResidues) &&
                               !isGap(prediction, number + 1, namedResidues);
            if (whole) {
                collector.addAmbiguous(number, residue.matches);
            }
            continue;
        }
        if (atEnd) {
            set.endResidues.push_back(number);
            continue;
        }
        if (!isKnownLetter(residue.letter) && namedResidues.count(number) == 0) {
            set.unknownResidues.push_back(number);
            continue;
        }
        // An angle does not reach over a gap: the atom at its other side is not bonded.
        const bool missingBefore = isGap(prediction, number - 1, namedResidues);
        const bool missingBehind = isGap(prediction, number + 1, namedResidues);
        if (missingBefore || missingBehind) {
            set.gapResidues.push_back(number);
        }
        if (!missingBefore) {
            collector.add(number, Dihedral::phi, residue.phi, residue.phiSpread);
        }
        if (!missingBehind) {
            collector.add(number, Dihedral::psi, residue.psi, residue.psiSpread);
        }
        if (rules.withChi1 && residue.chi1 && isKnownLetter(residue.letter) &&
            hasChi1(residue.letter)) {
            collector.addChi1(number, *residue.chi1);
        }
    }
    return set;
}

std::array<TorsionAtom, 4> torsionAtoms(const DihedralRestraint& restraint, char letter) {
    const int i = restraint.residue;
    switch (restraint.dihedral) {
        case Dihedral::phi:
            return {{{i - 1, "C"}, {i, "N"}, {i, "CA"}, {i, "C"}}};
        case Dihedral::psi:
            return {{{i, "N"}, {i, "CA"}, {i, "C"}, {i + 1, "N"}}};
        case Dihedral::chi1:
            break;
    }
    const Residue* const residue = findResidue(letter);
    const bool known = residue != nullptr && !residue->gamma.empty();
    const std::string gamma(known ? residue->gamma : "CG");
    return {{{i, "N"}, {i, "CA"}, {i, "CB"}, {i, gamma}}};
}

std::string torsionName(Dihedral dihedral) {
    return dihedral == Dihedral::phi ? "PHI" : dihedral == Dihedral::psi ? "PSI" : "CHI1";
}

std::string degreesText(int thousandths) {
    const int size = std::abs(thousandths);
    char text[32];
    std::snprintf(text, sizeof text, "%s%d.%03d", thousandths < 0 ? "-" : "", size / 1000,
                  size % 1000);
    return text;
}

}  // namespace orvix::restraints
