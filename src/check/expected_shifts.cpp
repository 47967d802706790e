#include "check/expected_shifts.h"

#include <cmath>
#include <vector>

#include "base/missing.h"
#include "base/numbers.h"
#include "results/shift_report.h"
#include "run/prediction.h"
#include "tables/cells.h"

namespace orvix::check {
namespace {

/// Spreads around expectations without known angles, in spreads of those with them.
constexpr double unsettledFactor = 1.4;

std::optional<double> knownAngle(double angle) {
    return angle < missingLimit ? std::optional(angle) : std::nullopt;
}

Conformation conformationOf(const Prediction& prediction, int residue, const std::string& letter) {
    Conformation one;
    one.letter = letter;
    if (const auto row = prediction.structure.find(residue); row != prediction.structure.end()) {
        const summaries::StructureRow& shares = row->second;
        // Shares above 1 stand for no prediction.
        if (shares.helix <= 1.0 && shares.strand <= 1.0 && shares.coil <= 1.0) {
            one.states = {shares.helix, shares.strand, shares.coil};
        }
    }
    if (const auto row = prediction.phiPsi.find(residue); row != prediction.phiPsi.end()) {
        if (row->second.classWord == "Strong" || row->second.classWord == "Generous") {
            one.phi = knownAngle(row->second.phi);
            one.psi = knownAngle(row->second.psi);
        }
    }
    if (const auto row = prediction.chi1.find(residue); row != prediction.chi1.end()) {
        one.rotamer = std::string(row->second.prediction.word);
    }
    return one;
}

void addObserved(ChainShifts& chain, const GDB& table) {
    for (const auto& [number, row] : table.entries) {
        const auto residue = chain.find(textToInt(tables::cellOf(&row, "RESID")));
        const std::size_t atom = results::placeOf(
            results::shiftAtoms, tables::shiftAtom(tables::cellOf(&row, "ATOMNAME")));
        const std::string& cell = tables::cellOf(&row, "CS_OBS");
        if (residue != chain.end() && atom < atomCount && !cell.empty()) {
            const double shift = tables::shiftFromText(cell);
            if (shift < missingLimit) {
                residue->second.observed[atom] = shift;
            }
        }
    }
}

}  // namespace

double logDensity(double deviation, double spread) {
    constexpr double freedom = 4.0;
    const double z = deviation / spread;
    return -std::log(spread) - 0.5 * (freedom + 1.0) * std::log1p(z * z / freedom);
}

ChainShifts chainShifts(const Prediction& prediction, const ShiftModel& model) {
    std::vector<Conformation> conformations;
    std::vector<int> numbers;
    for (const auto& [residue, letter] : prediction.sequence) {
        numbers.push_back(residue);
        conformations.push_back(conformationOf(prediction, residue, letter));
    }
    const std::vector<ByAtom> secondary = model.expected(conformations);
    ChainShifts chain;
    for (std::size_t k = 0; k < numbers.size(); ++k) {
        const auto references = prediction.referenceShifts.find(numbers[k]);
        if (references == prediction.referenceShifts.end()) {
            continue;
        }
        ResidueShifts& residue = chain[numbers[k]];
        residue.letter = conformations[k].letter;
        residue.settled = conformations[k].phi && conformations[k].psi;
        residue.end = k == 0 || k + 1 == numbers.size();
        for (std::size_t i = 0; i < atomCount; ++i) {
            const auto reference = references->second.find(std::string(results::shiftAtoms[i]));
            const double spread = model.spread(residue.letter, i);
            if (reference != references->second.end() && reference->second < missingLimit &&
                spread > 0.0) {
                residue.expected[i] = {reference->second + secondary[k][i],
                                       residue.settled ? spread : unsettledFactor * spread};
            }
        }
    }
    addObserved(chain, prediction.shiftTable);
    return chain;
}

}  // namespace orvix::check
