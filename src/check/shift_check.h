#pragma once

#include <memory>
#include <vector>

#include "check/deuteration.h"
#include "check/misassignment.h"
#include "run/predict.h"

namespace orvix::check {

/// What the shifts of a protein look like beside a prediction of that protein.
struct ShiftCheck {
    Prediction prediction;  ///< of the shifts as given
    ChainShifts chain;      ///< measured shifts as given beside what is expected
    Offsets offsets;        ///< both rounds together
    Deuteration deuteration;
    std::vector<Misassignment> misassignments;  ///< best first
};

/// Predicts, estimates offsets from what the prediction expects, and does so once more with these
/// taken off and without the shifts of suspicious residues. Throws RunEnd as `predict` does.
ShiftCheck checkByPrediction(const std::shared_ptr<const Model>& model, const ShiftInput& input,
                             const Settings& settings, const RunControl& control = {});

/// Whether the data directory of these settings holds a shift model, without which there is no such
/// check.
bool hasShiftModel(const Settings& settings);

/// The offsets among those of a check that are to be corrected; of a sample that looks deuterated
/// not that of CA and CB.
Offsets offsetsToCorrect(const ShiftCheck& check);

/// The input with offsets taken off its shifts, of CA and CB their common one, and a remark on
/// each.
ShiftInput correctedInput(const ShiftInput& input, const Offsets& offsets);

}  // namespace orvix::check
