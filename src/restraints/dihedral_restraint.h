#pragma once

#include <array>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "results/finished_prediction.h"

namespace orvix::restraints {

enum class Dihedral { phi, psi, chi1 };

/// Where the interval of a chi1 restraint is centred.
enum class Chi1Centre { rotamer, angle };

/// What becomes a restraint, and how wide it is.
struct RestraintRules {
    std::set<std::string> classes = {"Strong"};  ///< of Strong and Generous
    double spreadFactor = 2.0;                   ///< k
    double minimum = 20.0;                       ///< least half width in degrees
    bool withChi1 = true;
    Chi1Centre chi1Centre = Chi1Centre::rotamer;
    /// Residues of class Warn whose matches fall in two clear islands (two_islands.h) get a choice.
    bool ambiguous = false;
};

/// One interval of a torsion angle: centre plus or minus half width. All three numbers are in
/// thousandths of a degree, the last place of the result tables, so that limits formed from them
/// agree to the digit in every format.
struct DihedralRestraint {
    int residue = 0;
    Dihedral dihedral = Dihedral::phi;
    int centre = 0;     ///< above -180 to 180 degrees, in the convention of the atoms
    int halfWidth = 0;  ///< above 0, below 180 degrees
    int spread = 0;     ///< of the prediction

    /// The limits as a continuous pair, lower < upper; one of them may lie beyond 180 degrees.
    int lower() const { return centre - halfWidth; }
    int upper() const { return centre + halfWidth; }
};

/// Half width of the whole circle in thousandths of a degree: no restraint.
inline constexpr int wholeCircle = 180000;

/// The interval over two intervals of an angle that overlap or touch; none where they are apart.
/// Its half width is `wholeCircle` or more where nothing is left outside.
std::optional<DihedralRestraint> joinedInterval(const DihedralRestraint& first,
                                                const DihedralRestraint& second);

/// phi and psi of one island of matches.
struct IslandRestraint {
    DihedralRestraint phi, psi;
    int matches = 0;
    std::array<DihedralRestraint, 2> both() const { return {phi, psi}; }
};

/// A residue with the choice between two islands, the larger first: phi and psi of the one, or phi
/// and psi of the other.
struct AmbiguousRestraint {
    int residue = 0;
    std::array<IslandRestraint, 2> islands;
};

/// The restraints of a prediction in order of residues, and what was left out of them.
struct RestraintSet {
    std::vector<DihedralRestraint> restraints;
    std::vector<AmbiguousRestraint> ambiguous;  ///< empty unless the rules ask for them
    int count(Dihedral dihedral) const;

    int withoutValue = 0;          ///< angles of chosen residues without a usable value or spread
    int withoutRotamer = 0;        ///< side chains of chosen residues without a predicted rotamer
    int wholeCircle = 0;           ///< angles whose interval would be the whole circle
    std::vector<int> endResidues;  ///< chosen residues at an end of the chain or of the run
    std::vector<int> unknownResidues;  ///< chosen residues of unknown type
    std::vector<int> gapResidues;     ///< chosen residues beside a gap, which no angle reaches into
    std::vector<int> outsideRotamer;  ///< chi1 angle outside the interval about its rotamer
};

/// Restraints for the residues of the chosen classes. Never one from a missing value, a spread of 0
/// (no pick) or of 180 degrees and more (a single pick), nor for the first and the last residue.
/// Residues of unknown type are left out, but for `namedResidues`, which the user has named.
RestraintSet makeRestraints(const results::FinishedPrediction& prediction,
                            const RestraintRules& rules, const std::set<int>& namedResidues = {});

/// An atom of a torsion angle.
struct TorsionAtom {
    int residue = 0;
    std::string name;
};

/// The four atoms of a restraint; `letter` is the residue's type.
std::array<TorsionAtom, 4> torsionAtoms(const DihedralRestraint& restraint, char letter);

/// PHI, PSI or CHI1.
std::string torsionName(Dihedral dihedral);

/// Thousandths of a degree as text with three places.
std::string degreesText(int thousandths);

}  // namespace orvix::restraints
