#include <ostream>
#include <vector>

#include "base/missing.h"
#include "base/streams.h"
#include "run/citation.h"
#include "run/orvix.h"
#include "structure/pdb.h"
#include "summaries/classification.h"
#include "summaries/result_cells.h"

namespace {

/// Angles and box of a residue in the reference structure.
struct ReferenceAngles {
    double phi = 0.0, psi = 0.0;
    int box = 0;
};

void addRemarks(GDB& table, const std::string& inTitle, const std::string* refTitle) {
    const auto remark = [&table](const char* text) { table.addRemark(text); };
    remark("ORVIX-N Protein Backbone Torsion Angle Prediction Table");
    table.addRemark(" Prediction Summary for Chemical Shift Input " + inTitle);
    if (refTitle != nullptr) {
        table.addRemark(" Predictions Compared to PDB Input " + *refTitle);
    }
    remark("");
    remark(" PHI is the predicted torsion angle C(i-1) N(i)  CA(i) C(i)   (degrees).");
    remark(" PSI is the predicted torsion angle N(i)   CA(i) C(i)  N(i+1) (degrees).");
    remark("");
    remark(" DPHI and DPSI are the estimated standard deviations of the");
    remark(" prediction errors in PHI and PSI (degrees).");
    remark("");
    remark(" DIST is the ORVIX-N database matching score.");
    remark("");
    remark(" S2 is the Halvorn RCI chemical shift order parameter,");
    remark(" JACS, 127(43), 14970-14971.");
    remark("");
    remark(" COUNT is the number of database triplets used to form");
    remark(" the torsion angle predictions.");
    remark("");
    remark(" CLASS is the classification of the prediction result:");
    remark("   None: no torsion prediction was made.");
    remark("");
    remark("   Strong/Generous: majority consensus in database matches;");
    remark("   prediction is likely to be good.");
    remark("");
    remark("   Warn: no consensus in database matches, do not use prediction.");
    remark("");
    remark("   Dyn:  RCI-S2 value indicates that residue has dynamic conformation.");
    remark("");
    if (refTitle != nullptr) {
        remark("   Bad:  predictions with large deviation to reference PDB.");
        remark("");
    }
    orvix::summaries::addCitation(table);
    remark("");
    table.addRemark(std::string(orvix::versionRemark));
}

void addRow(GDB& table, const orvix::summaries::PhiPsiRow& row) {
    const auto set = [&](const char* column, const std::string& value) {
        table.setEntry(row.residue, column, value);
    };
    set("RESID", std::to_string(row.residue));
    set("RESNAME", row.name);
    set("PHI", orvix::summaries::realCell(row.phi));
    set("PSI", orvix::summaries::realCell(row.psi));
    set("DPHI", orvix::summaries::realCell(row.phiSpread));
    set("DPSI", orvix::summaries::realCell(row.psiSpread));
    set("DIST", orvix::summaries::realCell(row.distance));
    set("COUNT", std::to_string(row.count));
    set("CS_COUNT", std::to_string(row.shiftCount));
    set("S2", orvix::summaries::realCell(row.s2));
    set("CLASS", row.classWord);
}

std::map<int, ReferenceAngles> referenceAngles(PDB& reference, int first, int last) {
    std::map<int, ReferenceAngles> angles;
    for (int r = first; r <= last; ++r) {
        ReferenceAngles& residue = angles[r];
        residue.phi = reference.getPhi(1, r);
        residue.psi = reference.getPsi(1, r);
        residue.box = orvix::summaries::referenceBox(residue.phi, residue.psi);
    }
    return angles;
}

}  // namespace

void ORVIX::vina() {
    const bool hasReference = !refFile.empty() && refPDB != nullptr && !refPDB->isNull();
    GDB table;
    addRemarks(table, inTitle, hasReference ? &refTitle : nullptr);
    table.setData("FIRST_RESID", std::to_string(inTable.firstResid));
    table.setData("SEQUENCE", inTable.getData("SEQUENCE"));
    table.VARS_str_parser("RESID RESNAME PHI PSI DPHI DPSI DIST S2 COUNT CS_COUNT CLASS");
    table.FORMAT_str_parser(" %4d %s %8.3f %8.3f %8.3f %8.3f %8.3f %5.3f %2d %2d %s");

    std::map<int, ReferenceAngles> reference;
    if (hasReference) {
        reference = referenceAngles(*refPDB, firstCSResid + 1, lastCSResid - 1);
    }
    orvix::out() << "Summarizing Phi/Psi Predictions ...\n";

    for (int r = firstResid; r <= lastResid; ++r) {
        orvix::summaries::PhiPsiRow row;
        row.residue = r;
        row.name = residueLabel(r);
        row.shiftCount = 18 - missingAt(r - 1) - missingAt(r) - missingAt(r + 1);
        if (hasReference) {
            row.referencePhi = static_cast<double>(refPDB->getPhi(1, r));
            row.referencePsi = static_cast<double>(refPDB->getPsi(1, r));
        }
        const bool rim = r == firstResid || r == lastResid || r == firstCSResid || r == lastCSResid;
        if (!rim && !(matchPhi[r].empty() && matchPsi[r].empty())) {
            row.phi = getAVGAngle2(matchPhi[r]);
            row.psi = getAVGAngle2(matchPsi[r]);
            row.phiSpread = getSTDAngle(matchPhi[r]);
            row.psiSpread = getSTDAngle(matchPsi[r]);
            row.distance = getAverage(matchScore[r]);
            row.count = matchCount[r];

            const double disorder = s2[r] - 0.003;
            row.s2 = 1.0 - (disorder > orvix::missingLimit ? 0.0 : disorder);

            orvix::summaries::ClassEvidence evidence;
            evidence.count = row.count;
            evidence.candidateMax = candidateMax;
            evidence.required = count;
            evidence.phi = row.phi;
            evidence.psi = row.psi;
            evidence.phiSpread = row.phiSpread;
            evidence.psiSpread = row.psiSpread;
            evidence.hasReference = hasReference;
            if (const auto known = reference.find(r); known != reference.end()) {
                evidence.referenceBox = known->second.box;
                evidence.referencePhi = known->second.phi;
                evidence.referencePsi = known->second.psi;
            }
            evidence.disorder = disorder;
            evidence.disorderLimit = s2Limit;
            row.classWord = orvix::summaries::classWord(evidence);
        }
        addRow(table, row);
        phiPsiRows[r] = row;
    }
    table.saveGDB(sumFile);
}
