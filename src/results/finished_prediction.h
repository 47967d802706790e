#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "results/shift_report.h"

namespace orvix::results {

/// The secondary structure of a residue.
struct FinishedStructure {
    std::string state;  ///< H, E or L
    std::optional<double> confidence, helix, strand, coil;
    std::string source;  ///< shifts, sequence, or chain end
    bool operator==(const FinishedStructure&) const = default;
};

/// The chi1 prediction of a residue.
struct FinishedChi1 {
    std::optional<double> angle;                           ///< degrees, as the table has it
    std::optional<double> spread;                          ///< degrees
    std::string rotamer;                                   ///< g-, g+, t; empty for none
    std::optional<double> gaucheMinus, gauchePlus, trans;  ///< probabilities
    bool turned = false;  ///< angle, rotamer and probabilities are turned by -120 degrees (valine)
    bool operator==(const FinishedChi1&) const = default;
};

/// Angles of the known structure that was named for comparison, degrees; chi1 is never turned.
struct FinishedReference {
    std::optional<double> phi, psi, chi1;
    bool operator==(const FinishedReference&) const = default;
};

/// A cluster of a phi/psi map.
struct FinishedCluster {
    int seed = 0;  ///< its highest box
    std::optional<double> sum;
    std::vector<int> boxes;  ///< the seed first, then by falling value
    bool operator==(const FinishedCluster&) const = default;
};

/// A stretch of the database that was found for a residue.
struct FinishedMatch {
    std::string source;                    ///< word of the database protein
    std::string window;                    ///< letters of the stretch
    int residue = 0;                       ///< number of its centre
    std::optional<double> phi, psi, chi1;  ///< degrees, of the centre
    std::optional<double> score;
    bool used = false;  ///< one of the group that the prediction was taken from
    bool operator==(const FinishedMatch&) const = default;
};

/// The secondary shifts that the used matches of a residue have for an atom, ppm.
struct MatchedShift {
    std::optional<double> mean, spread;
    int count = 0;
    bool operator==(const MatchedShift&) const = default;
};

/// What a finished prediction says about one residue. A value that is missing, or that stands as a
/// mark of a missing one (999.0 and more), is empty.
struct FinishedResidue {
    char label = 'X';          ///< letter as in the input
    char letter = 'X';         ///< as the prediction took it: c is an oxidised cysteine
    std::string authorNumber;  ///< empty for none
    ByAtom shifts{}, secondaryShifts{};
    std::optional<double> phi, psi, phiSpread, psiSpread;  ///< degrees
    std::optional<double> score;
    std::optional<int> matchCount, shiftCount;
    std::string classWord;  ///< Strong, Generous, Warn, Dyn, Bad or None
    std::optional<double> s2;
    std::optional<FinishedStructure> structure;
    std::optional<FinishedChi1> chi1;
    std::optional<FinishedReference> reference;
    std::vector<std::optional<double>> map;  ///< 324 boxes; empty for none
    std::vector<FinishedCluster> clusters;
    std::vector<FinishedMatch> matches;  ///< best first
    std::array<std::optional<MatchedShift>, 6> matchedShifts{};
    bool operator==(const FinishedResidue&) const = default;
};

/// What the prediction was asked to do.
struct FinishedSettings {
    std::string dataDirectory;
    std::string reference;  ///< file; empty for none
    bool noProton = false, isotopeCorrection = false, offsetCorrection = false;
    bool autoReference = false;  ///< offsets were looked for and corrected before the run
    bool keepCysteines = false, clip = true;
    std::optional<double> s2Threshold = 0.6;
    std::string exclude;  ///< empty for nothing
    std::optional<int> first, last;
    std::optional<int> count = 10;
    bool operator==(const FinishedSettings&) const = default;
};

/// An offset that was taken off the shifts of a nucleus before the run.
struct CorrectedReference {
    std::string nucleus;                  ///< an atom, or CA/CB
    std::optional<double> offset, error;  ///< ppm
    int count = 0;                        ///< shifts that it comes from
    bool operator==(const CorrectedReference&) const = default;
};

/// A finished prediction as its results file holds it. Numbers have the digits that the tables
/// print.
struct FinishedPrediction {
    std::string programName, programVersion;  ///< of the program that predicted
    std::string inputFile, title;
    std::string sequence;  ///< one letter a residue, without white space
    int firstResidue = 1;  ///< number of the first letter
    FinishedSettings settings;
    ShiftReport check;
    std::vector<CorrectedReference> correctedReferences;
    std::map<int, FinishedResidue> residues;

    int lastResidue() const { return firstResidue + static_cast<int>(sequence.size()) - 1; }
    bool inSequence(int residue) const {
        return residue >= firstResidue && residue <= lastResidue();
    }
    /// Letter of a residue of the sequence, with its cysteine state where there is a record.
    char letter(int residue) const;
    /// Whether any residue has the angles of a known structure.
    bool hasReference() const;
    bool operator==(const FinishedPrediction&) const = default;
};

}  // namespace orvix::results
