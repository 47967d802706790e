#include <cstddef>
#include <ostream>
#include <utility>

#include "base/streams.h"
#include "run/orvix.h"
#include "search/map_clusters.h"
#include "search/search_context.h"

int ORVIX::getClusterInfo(std::vector<double>& map, ClusterData& out) {
    return orvix::search::clusterMap(map, out);
}

void ORVIX::searchDB(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches) {
    orvix::search::TripletResult result =
        orvix::search::searchResidue(orvix::search::SearchContext(*this), res);
    storeTripletResult(res, result);
    matches = std::move(result.matches);
    typeMatches = std::move(result.typeMatches);
}

void ORVIX::storeTripletResult(int res, const orvix::search::TripletResult& result) {
    matchPhi[res] = result.phi;
    matchPsi[res] = result.psi;
    matchScore[res] = result.score;
    for (std::size_t k = 0; k < result.index.size(); ++k) {
        matchIndex[res][static_cast<int>(k) + 1] = result.index[k];
    }
    if (result.typeSpecific) {
        matchChi1[res] = result.chi1;
    }
    orvix::out() << result.verboseText;
}
