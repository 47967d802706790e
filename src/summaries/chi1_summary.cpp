#include <limits>
#include <ostream>

#include "base/angles.h"
#include "base/numbers.h"
#include "base/streams.h"
#include "model/model.h"
#include "run/orvix.h"
#include "run/prediction.h"
#include "structure/pdb.h"
#include "summaries/rotamer_evidence.h"
#include "tables/cells.h"

namespace {

constexpr std::size_t pickLimit = 25;

std::map<std::string, orvix::summaries::RotamerCalibration> readCalibration(const GDB& table) {
    std::map<std::string, orvix::summaries::RotamerCalibration> calibration;
    for (const auto& [number, row] : table.entries) {
        orvix::summaries::RotamerCalibration& bins =
            calibration[orvix::tables::cellOf(&row, "RESNAME")];
        for (std::size_t i = 0; i < bins.size(); ++i) {
            // A bin that the table lacks is not known to be 0, and must not pass for it.
            const auto cell = row.find(std::to_string(i));
            bins[i] = cell == row.end() ? std::numeric_limits<float>::quiet_NaN()
                                        : static_cast<float>(orvix::textToDouble(cell->second));
        }
    }
    return calibration;
}

/// The letter by which a residue is calibrated: the states of cysteine and histidine are their own.
std::string calibratedLetter(const std::string& name) {
    return name == "c" ? "C" : name == "h" ? "H" : name;
}

/// The best candidates of a rotamer, at most `pickLimit`; `turned` as valine's are.
std::vector<double> candidatesOf(std::string_view rotamer, const std::vector<double>& candidates,
                                 bool turned) {
    std::vector<double> picks;
    for (const double candidate : candidates) {
        const double chi1 = turned ? orvix::summaries::turnValine(candidate) : candidate;
        if (picks.size() < pickLimit && orvix::chi1Rotamer(static_cast<float>(chi1)) == rotamer) {
            picks.push_back(chi1);
        }
    }
    return picks;
}

}  // namespace

orvix::summaries::Chi1Row ORVIX::summarizeChi1(
    int res, const orvix::summaries::RotamerCalibration& calibration) {
    orvix::summaries::Chi1Row row;
    row.residue = res;
    row.name = residueLabel(res);
    row.turned = seqName(res) == "V";
    row.shiftCount = tripletShiftCount(res);
    if (hasReference()) {
        row.observed = static_cast<double>(refPDB->getChi1(1, res));
    }
    row.prediction = orvix::summaries::predictRotamer(chi1Result[res], calibration, row.turned);
    std::vector<double> picks = candidatesOf(row.prediction.word, matchChi1[res], row.turned);
    row.chi1 = getAVGAngle2(picks);
    row.spread = getSTDAngle(picks);
    return row;
}

void ORVIX::vinaChi1() {
    std::map<std::string, orvix::summaries::RotamerCalibration> calibration =
        readCalibration(*model->table(tablePath("chi1.tab")));
    orvix::out() << "Summarizing Chi1 Predictions ..." << std::endl;
    chi1Rows.clear();
    for (int r = firstResid; r <= lastResid; ++r) {
        const std::string letter = calibratedLetter(seqName(r));
        if (letter != "A" && letter != "G" && letter != "P") {
            chi1Rows[r] = summarizeChi1(r, calibration[letter]);
        }
    }
    writeTable(orvix::ResultTable::chi1);
}
