#pragma once

#include <map>
#include <string>

#include "results/finished_prediction.h"

class GDB;

namespace orvix {
struct Prediction;
}  // namespace orvix

namespace orvix::results {

/// What a prediction itself does not know of its origin.
struct ResultsOrigin {
    std::string inputFile;                    ///< as the user named it
    std::map<int, std::string> authorNumber;  ///< residue -> number in the deposited file
    FinishedSettings settings;
};

/// The results of a finished run as one value, with the digits of the tables. `shiftLimits` is the
/// table of secondary shift limits that the run used.
FinishedPrediction finishedPrediction(const Prediction& prediction, const ResultsOrigin& origin,
                                      const GDB& shiftLimits);

/// What the check of the shifts found in a run, finished or not. Expected shifts are N and HN of
/// all residues but prolines, HN not of the first residue either, CB not of glycines, all others of
/// every residue; residues without a known letter count nowhere.
ShiftReport shiftReport(const Prediction& prediction, const GDB& shiftLimits);

/// `value` as a table prints it with `decimals`, as a number again; none for what is not finite.
std::optional<double> printedNumber(double value, int decimals);

}  // namespace orvix::results
