#include "run/orvix.h"
#include "summaries/classification.h"

void ORVIX::vinaClassificationCluster(std::vector<double>& phi, std::vector<double>& psi,
                                      int& consensus, std::vector<double>& weight,
                                      ClusterData& residueClusters) {
    orvix::summaries::Consensus result =
        orvix::summaries::classifyMatches(phi, psi, residueClusters, candidateMax, count);
    phi = std::move(result.phi);
    psi = std::move(result.psi);
    weight = std::move(result.weight);
    consensus = result.count;
}

void ORVIX::classifyResidue(int res) {
    vinaClassificationCluster(matchPhi[res], matchPsi[res], matchCount[res], matchWeight[res],
                              clusters[res]);
    avgPhi[res] = getAVGAngle2(matchPhi[res]);
    avgPsi[res] = getAVGAngle2(matchPsi[res]);
    stdPhi[res] = getSTDAngle(matchPhi[res]);
    stdPsi[res] = getSTDAngle(matchPsi[res]);
}
