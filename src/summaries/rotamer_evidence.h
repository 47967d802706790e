#pragma once

#include <array>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::summaries {

/// Relative likelihood of a rotamer whose mean network score falls in bin 0..10; NaN for a bin that
/// is not known.
using RotamerCalibration = std::array<float, 11>;

/// Probabilities of the three rotamers of a side chain and what follows from them.
struct RotamerPrediction {
    float gaucheMinus = 0.0F, gauchePlus = 0.0F, trans = 0.0F;
    std::string_view word = "na";  ///< g-, g+, t, or na below a probability of 0.6
};

/// Bin of a group of network scores: 10 for fewer than three, else ten times their mean (clamped
/// to 0..1), truncated. The mean is held in single precision.
int scoreBin(std::span<const double> scores);

/// Probabilities from the scores of the fragments by rotamer word. With `valine` the three groups
/// change places by one rotamer: valine's chi1 is counted from CG1, which lies a third of a turn
/// from where the branch of the other residues lies. A likelihood sum of 0,
/// or a bin that is not known, gives three zeros.
RotamerPrediction predictRotamer(const std::map<std::string, std::vector<double>>& scores,
                                 const RotamerCalibration& calibration, bool valine);

/// A valine chi1 in the convention of the other residues: turned by -120 degrees into -180..180;
/// 9999.0 for a missing angle.
double turnValine(double chi1);

}  // namespace orvix::summaries
