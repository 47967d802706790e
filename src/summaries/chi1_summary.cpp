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

}  // namespace

void ORVIX::vinaChi1() {
    std::map<std::string, orvix::summaries::RotamerCalibration> calibration =
        readCalibration(*model->table(tablePath("chi1.tab")));
    const bool compared = hasReference();
    orvix::out() << "Summarizing Chi1 Predictions ..." << std::endl;

    for (int r = firstResid; r <= lastResid; ++r) {
        std::string letter = seqName(r);
        if (letter == "c") {
            letter = "C";
        } else if (letter == "h") {
            letter = "H";
        }
        if (letter == "A" || letter == "G" || letter == "P") {
            continue;
        }
        const bool valine = letter == "V";
        std::vector<double> candidates = matchChi1[r];
        if (valine) {
            for (double& chi1 : candidates) {
                chi1 = orvix::summaries::turnValine(chi1);
            }
        }
        orvix::summaries::Chi1Row row;
        row.residue = r;
        row.name = residueLabel(r);
        row.turned = valine;
        row.shiftCount = 18 - missingAt(r - 1) - missingAt(r) - missingAt(r + 1);
        if (compared) {
            row.observed = static_cast<double>(refPDB->getChi1(1, r));
        }
        row.prediction =
            orvix::summaries::predictRotamer(chi1Result[r], calibration[letter], valine);

        std::vector<double> picks;
        for (double chi1 : candidates) {
            if (picks.size() < pickLimit &&
                orvix::chi1Rotamer(static_cast<float>(chi1)) == row.prediction.word) {
                picks.push_back(chi1);
            }
        }
        row.chi1 = getAVGAngle2(picks);
        row.spread = getSTDAngle(picks);
        chi1Rows[r] = row;
    }
    writeTable(orvix::ResultTable::chi1);
}
