#include "networks/phi_psi_input.h"

#include "base/missing.h"
#include "base/numbers.h"
#include "networks/network_input.h"
#include "run/orvix.h"

namespace orvix::networks {

ShiftsByResidue clippedShifts(ORVIX& run) {
    ShiftsByResidue shifts;
    for (auto& [number, row] : run.adjCSTable.entries) {
        std::string atom = row["ATOMNAME"];
        if (atom == "H") {
            atom = "HN";
        }
        const int residue = textToInt(row["RESID"]);
        double shift = run.clipSShift(residue, textToDouble(row["SHIFT"]), atom);
        // An exact 0.0 would read as "no shift" further on.
        if (shift == 0.0) {
            shift = 0.001;
        }
        if (run.noProton && (atom == "HA" || atom == "HN")) {
            shift = missingValue;
        }
        shifts[residue][atom] = shift;
    }
    return shifts;
}

std::vector<double> residueInput(ORVIX& run, int residue, const ShiftsByResidue& shifts) {
    static const std::map<std::string, double> noShifts;
    static const std::vector<double> noScores;
    std::map<std::string, double> averages;
    const bool averaged = run.missingAt(residue) != 0 && run.calcAverageCS_orig(residue, averages);
    const auto known = shifts.find(residue);
    const auto scores = run.blosumScaled.find(baseLetter(run.seqName(residue)));
    return residueVector(known == shifts.end() ? noShifts : known->second,
                         averaged ? &averages : nullptr,
                         scores == run.blosumScaled.end() ? noScores : scores->second);
}

}  // namespace orvix::networks
