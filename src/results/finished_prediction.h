#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvix::results {

/// Keys of the shifts of a residue in a results file, in the order of `FinishedResidue::shifts`.
inline constexpr std::array<std::string_view, 6> resultShiftAtoms = {"N",  "HA", "C",
                                                                     "CA", "CB", "HN"};

/// The chi1 prediction of a residue.
struct FinishedChi1 {
    std::optional<double> angle;   ///< degrees, as the table has it
    std::optional<double> spread;  ///< degrees
    std::string rotamer;           ///< g-, g+, t; empty for none
    bool turned = false;           ///< angle and rotamer are turned by -120 degrees (valine)
};

/// What a finished prediction says about one residue. A value that is missing, or that stands as a
/// mark of a missing one (999.0 and more), is empty.
struct FinishedResidue {
    char letter = 'X';         ///< as the prediction took it: c is an oxidised cysteine
    std::string authorNumber;  ///< empty for none
    std::string classWord;     ///< Strong, Generous, Warn, Dyn, Bad or None
    std::array<std::optional<double>, 6> shifts;           ///< ppm, by `resultShiftAtoms`
    std::optional<double> phi, psi, phiSpread, psiSpread;  ///< degrees
    std::optional<FinishedChi1> chi1;
};

/// A finished prediction as its results file holds it.
struct FinishedPrediction {
    std::string file;                         ///< path of the results file
    std::string programName, programVersion;  ///< of the program that predicted
    std::string inputFile, title;
    std::string sequence;  ///< one letter a residue, without white space
    int firstResidue = 1;  ///< number of the first letter
    std::map<int, FinishedResidue> residues;

    int lastResidue() const { return firstResidue + static_cast<int>(sequence.size()) - 1; }
    bool inSequence(int residue) const {
        return residue >= firstResidue && residue <= lastResidue();
    }
    /// Letter of a residue of the sequence, with its cysteine state where there is a record.
    char letter(int residue) const;
};

/// Reads a results file, or `results.json` in a directory. Throws InputRejected with the place in
/// the file and what was expected there.
FinishedPrediction readFinishedPrediction(const std::string& path);

}  // namespace orvix::results
