// The torsion angles and classes of all residues.
#include <cmath>
#include <ostream>
#include <vector>

#include "base/missing.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "run/prediction.h"
#include "structure/pdb.h"
#include "summaries/classification.h"

namespace {

/// Angles of a residue in the known structure; those of no residue are missing.
struct KnownAngles {
    double phi = orvix::missingValue, psi = orvix::missingValue;
};

KnownAngles knownAngles(const ORVIX& run, int residue) {
    return {static_cast<double>(run.refPDB->getPhi(1, residue)),
            static_cast<double>(run.refPDB->getPsi(1, residue))};
}

/// Whether a residue has a prediction: matches, and a place inside the range and the shifts.
bool isPredicted(const ORVIX& run, int residue, const std::vector<double>& phi,
                 const std::vector<double>& psi) {
    const bool rim = residue == run.firstResid || residue == run.lastResid ||
                     residue == run.firstCSResid || residue == run.lastCSResid;
    return !rim && !(phi.empty() && psi.empty());
}

/// What the class of a predicted residue rests on, but for the order parameter. Of the known
/// structure, residues inside the range of the shifts count.
orvix::summaries::ClassEvidence evidenceFor(const ORVIX& run,
                                            const orvix::summaries::PhiPsiRow& row) {
    orvix::summaries::ClassEvidence evidence;
    evidence.count = row.count;
    evidence.candidateMax = run.candidateMax;
    evidence.required = run.count;
    evidence.phi = row.phi;
    evidence.psi = row.psi;
    evidence.phiSpread = row.phiSpread;
    evidence.psiSpread = row.psiSpread;
    evidence.disorderLimit = run.s2Limit;
    evidence.hasReference = run.hasReference();
    if (evidence.hasReference && row.residue > run.firstCSResid && row.residue < run.lastCSResid) {
        evidence.referencePhi = row.referencePhi;
        evidence.referencePsi = row.referencePsi;
        evidence.referenceBox = orvix::summaries::referenceBox(row.referencePhi, row.referencePsi);
    }
    return evidence;
}

}  // namespace

orvix::summaries::PhiPsiRow ORVIX::summarize(int res) {
    orvix::summaries::PhiPsiRow row;
    row.residue = res;
    row.name = residueLabel(res);
    row.shiftCount = tripletShiftCount(res);
    if (hasReference()) {
        const KnownAngles known = knownAngles(*this, res);
        row.referencePhi = known.phi;
        row.referencePsi = known.psi;
    }
    if (!isPredicted(*this, res, matchPhi[res], matchPsi[res])) {
        return row;
    }
    row.phi = getAVGAngle2(matchPhi[res]);
    row.psi = getAVGAngle2(matchPsi[res]);
    row.phiSpread = getSTDAngle(matchPhi[res]);
    row.psiSpread = getSTDAngle(matchPsi[res]);
    // The sum of scores that absurd shifts give can pass all bounds.
    const double distance = getAverage(matchScore[res]);
    row.distance = std::isfinite(distance) ? distance : orvix::missingValue;
    row.count = matchCount[res];

    const double disorder = s2[res] - 0.003;
    row.s2 = 1.0 - (disorder > orvix::missingLimit ? 0.0 : disorder);
    orvix::summaries::ClassEvidence evidence = evidenceFor(*this, row);
    evidence.disorder = disorder;
    row.classWord = orvix::summaries::classWord(evidence);
    return row;
}

void ORVIX::vina() {
    orvix::out() << "Summarizing Phi/Psi Predictions ...\n";
    phiPsiRows.clear();
    for (int r = firstResid; r <= lastResid; ++r) {
        phiPsiRows[r] = summarize(r);
    }
    writeTable(orvix::ResultTable::phiPsi);
}
