// The search of a run: database, protein blocks, the search of one residue.
#include <algorithm>
#include <cstddef>
#include <ostream>
#include <span>
#include <utility>

#include "base/streams.h"
#include "model/model.h"
#include "run/orvix.h"
#include "search/database.h"
#include "search/db.h"
#include "search/map_clusters.h"
#include "search/triplet_search.h"

namespace {

/// The protein blocks behind the empty first one, limited to the rows that there are.
std::vector<orvix::search::ProteinBlock> blocksOf(const ORVIX& run) {
    std::vector<orvix::search::ProteinBlock> blocks;
    const auto valueAt = [](const std::map<int, int>& numbers, int key) {
        const auto found = numbers.find(key);
        return found == numbers.end() ? 0 : found->second;
    };
    for (int k = 1; k <= run.dbProteinCount - 1; ++k) {
        blocks.push_back({std::max(valueAt(run.dbProteinFirst, k), 0),
                          std::min(valueAt(run.dbProteinLast, k), run.db->dbSize - 1)});
    }
    return blocks;
}

/// Puts the protein blocks behind the empty first one into the members of the run.
void listProteins(ORVIX& run, std::span<const orvix::search::ProteinBlock> proteins) {
    run.dbProteinFirst = {{0, 0}};
    run.dbProteinLast = {{0, -1}};
    run.dbProteinCount = 1;
    for (const orvix::search::ProteinBlock& block : proteins) {
        run.dbProteinFirst.emplace_hint(run.dbProteinFirst.end(), run.dbProteinCount, block.first);
        run.dbProteinLast.emplace_hint(run.dbProteinLast.end(), run.dbProteinCount, block.last);
        ++run.dbProteinCount;
    }
}

/// The scan's form of the database for windows of `halfWidth`. A database that is no model's has
/// none yet.
std::shared_ptr<const orvix::search::DatabasePlanes> planesOf(const ORVIX& run, int halfWidth) {
    if (run.database != nullptr && run.db == &run.database->rows()) {
        return run.database->planes(halfWidth);
    }
    return std::make_shared<const orvix::search::DatabasePlanes>(*run.db, blocksOf(run), halfWidth);
}

}  // namespace

void ORVIX::loadDatabase() {
    if (!noPath) {
        orvix::out() << "Reading " << dbFile << ", " << std::flush;
    }
    takeDatabase(model->database(dbFile, exclList));
    if (!noPath) {
        orvix::out() << db->dbSize << " Residues Read\n";
    }
    orvix::out() << "Searching database ..." << std::endl;
    listProteins(*this, database->proteins());
}

void ORVIX::cutProteinBlocks() {
    listProteins(*this, orvix::search::cutProteins(*db));
}

orvix::search::SearchInput ORVIX::searchInput() const {
    orvix::search::SearchInput input;
    const int halfWidth = (alignLen - 1) / 2;
    if (db != nullptr && halfWidth >= 0 && halfWidth <= orvix::search::maxHalfWidth) {
        input.db = db;
        input.planes = planesOf(*this, halfWidth);
    }
    input.windowLength = alignLen;
    input.candidateMax = candidateMax;
    input.verbose = !noVerb;
    input.shifts = {shiftMatrix, firstResid, lastResid};
    input.letters = &seqChar;
    input.maps = &resWeight;
    input.blosum = &blosum;
    return input;
}

int ORVIX::getClusterInfo(std::vector<double>& map, ClusterData& out) {
    return orvix::search::clusterMap(map, out);
}

void ORVIX::searchDB(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches) {
    orvix::search::TripletResult result = orvix::search::searchResidue(searchInput(), res);
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
