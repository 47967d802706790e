#include <limits>
#include <ostream>

#include "base/angles.h"
#include "base/numbers.h"
#include "base/streams.h"
#include "run/citation.h"
#include "run/orvix.h"
#include "structure/pdb.h"
#include "summaries/result_cells.h"
#include "summaries/rotamer_evidence.h"

namespace {

constexpr std::size_t pickLimit = 25;

std::map<std::string, orvix::summaries::RotamerCalibration> readCalibration(
    const std::string& file) {
    GDB table;
    table.loadGDB(file);
    std::map<std::string, orvix::summaries::RotamerCalibration> calibration;
    for (auto& [number, row] : table.entries) {
        orvix::summaries::RotamerCalibration& bins = calibration[row["RESNAME"]];
        for (std::size_t i = 0; i < bins.size(); ++i) {
            // A bin that the table lacks is not known to be 0, and must not pass for it.
            const auto cell = row.find(std::to_string(i));
            bins[i] = cell == row.end() ? std::numeric_limits<float>::quiet_NaN()
                                        : static_cast<float>(orvix::textToDouble(cell->second));
        }
    }
    return calibration;
}

void addRemarks(GDB& table, const std::string& inTitle, const std::string* refTitle) {
    const auto remark = [&table](const char* text) { table.addRemark(text); };
    remark("ORVIX-N Protein Chi1 Conformation Prediction Table");
    table.addRemark(" Prediction Summary for Chemical Shift Input " + inTitle);
    if (refTitle != nullptr) {
        table.addRemark(" Predictions Compared to PDB Input " + *refTitle);
    }
    remark("");
    remark(" Q_Gm is the probability to be with a g- (gauche-) rotamer.");
    remark(" Q_Gp is the probability to be with a g+ (gauche+) rotamer.");
    remark(" Q_t  is the probability to be with a t  (trans)   rotamer.");
    remark("");
    remark(" CS_COUNT is the number of chemical shifts in the query triplets");
    remark(" used to predict chi1 conformation.");
    remark("");
    remark(" CLASS is the classification of the prediction result:");
    remark("   na: no chi1 prediction was made.");
    remark("   g-/g+/t: 3-state chi1 prediction");
    remark("");
    orvix::summaries::addCitation(table);
    remark("");
    table.addRemark(std::string(orvix::versionRemark));
}

void addRow(GDB& table, const orvix::summaries::Chi1Row& row, bool hasReference) {
    const auto set = [&](const char* column, const std::string& value) {
        table.setEntry(row.residue, column, value);
    };
    set("RESID", std::to_string(row.residue));
    set("RESNAME", row.name);
    set("CS_COUNT", std::to_string(row.shiftCount));
    if (hasReference) {
        set("CHI1_OBS", orvix::summaries::realCell(row.observed));
    }
    set("Q_Gm", orvix::summaries::realCell(static_cast<double>(row.prediction.gaucheMinus)));
    set("Q_Gp", orvix::summaries::realCell(static_cast<double>(row.prediction.gauchePlus)));
    set("Q_T", orvix::summaries::realCell(static_cast<double>(row.prediction.trans)));
    set("CLASS", std::string(row.prediction.word));
    const bool known = row.prediction.word != "na";
    set("CHI1", known ? orvix::summaries::realCell(row.chi1) : "9999.0");
    set("DCHI1", known ? orvix::summaries::realCell(row.spread) : "9999.0");
}

}  // namespace

void ORVIX::vinaChi1() {
    std::map<std::string, orvix::summaries::RotamerCalibration> calibration =
        readCalibration(tablePath("chi1.tab"));
    const bool hasReference = !refFile.empty() && refPDB != nullptr && !refPDB->isNull();
    GDB table;
    addRemarks(table, inTitle, hasReference ? &refTitle : nullptr);
    if (hasReference) {
        table.VARS_str_parser("RESID RESNAME CS_COUNT CHI1_OBS  Q_Gm Q_Gp Q_T  CLASS CHI1 DCHI1");
        table.FORMAT_str_parser(" %4d %s %2d %8.3f %5.3f %5.3f %5.3f  %-2s %6.1f %6.1f");
    } else {
        table.VARS_str_parser("RESID RESNAME CS_COUNT Q_Gm Q_Gp Q_T  CLASS CHI1 DCHI1");
        table.FORMAT_str_parser(" %4d %s %2d %5.3f %5.3f %5.3f  %-2s %6.1f %6.1f");
    }
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
        std::vector<double>& candidates = matchChi1[r];
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
        if (hasReference) {
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
        addRow(table, row, hasReference);
        chi1Rows[r] = row;
    }
    table.saveGDB(outBase + "Chi1.tab");
}
