#include <ostream>
#include <vector>

#include "base/missing.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "run/prediction.h"
#include "structure/pdb.h"
#include "summaries/classification.h"

namespace {

/// Angles and box of a residue in the reference structure.
struct ReferenceAngles {
    double phi = 0.0, psi = 0.0;
    int box = 0;
};

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
    const bool compared = hasReference();
    std::map<int, ReferenceAngles> reference;
    if (compared) {
        reference = referenceAngles(*refPDB, firstCSResid + 1, lastCSResid - 1);
    }
    orvix::out() << "Summarizing Phi/Psi Predictions ...\n";

    for (int r = firstResid; r <= lastResid; ++r) {
        orvix::summaries::PhiPsiRow row;
        row.residue = r;
        row.name = residueLabel(r);
        row.shiftCount = 18 - missingAt(r - 1) - missingAt(r) - missingAt(r + 1);
        if (compared) {
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
            evidence.hasReference = compared;
            if (const auto known = reference.find(r); known != reference.end()) {
                evidence.referenceBox = known->second.box;
                evidence.referencePhi = known->second.phi;
                evidence.referencePsi = known->second.psi;
            }
            evidence.disorder = disorder;
            evidence.disorderLimit = s2Limit;
            row.classWord = orvix::summaries::classWord(evidence);
        }
        phiPsiRows[r] = row;
    }
    writeTable(orvix::ResultTable::phiPsi);
}
