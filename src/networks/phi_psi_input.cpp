#include "networks/phi_psi_input.h"

#include <array>

#include "base/missing.h"
#include "base/numbers.h"
#include "networks/network_input.h"
#include "run/orvix.h"

namespace orvix::networks {
namespace {

/// The order of the shift pairs in a network vector.
constexpr std::array<const char*, 6> networkAtoms = {"HN", "N", "HA", "C", "CA", "CB"};

}  // namespace

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
    static const std::map<std::string, double> none;
    std::map<std::string, double> average;
    const bool averaged = run.missingAt(residue) != 0 && run.calcAverageCS_orig(residue, average);
    const auto found = shifts.find(residue);
    const std::map<std::string, double>& known = found == shifts.end() ? none : found->second;

    std::vector<double> vector;
    vector.reserve(residueVectorSize);
    for (const char* atom : networkAtoms) {
        const auto shift = known.find(atom);
        const double value = shift == known.end() ? 0.0 : shift->second;
        const bool present = !(value > missingLimit);
        vector.push_back(present ? value : averaged ? average[atom] : 0.0);
        vector.push_back(present ? 0.0 : 1.0);
    }
    const auto scores = run.blosumScaled.find(baseLetter(run.seqName(residue)));
    if (scores != run.blosumScaled.end()) {
        vector.insert(vector.end(), scores->second.begin(), scores->second.end());
    }
    return vector;
}

}  // namespace orvix::networks
