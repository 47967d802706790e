#include <algorithm>
#include <ostream>
#include <vector>

#include "base/parallel.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "search/db.h"
#include "search/search_context.h"

namespace {

constexpr int databaseCapacity = 2330110;

using MatchesByResidue = std::map<int, std::map<double, int>>;

/// The residues that both passes look at: in range, with shifts, and neither end of the sequence.
std::vector<int> residuesToSearch(const ORVIX& run) {
    std::vector<int> residues;
    for (int r = run.firstResid; r <= run.lastResid; ++r) {
        if (r >= run.firstCSResid && r <= run.lastCSResid && r != run.seqFirstResid &&
            r != run.seqFirstResid + run.seqLength - 1) {
            residues.push_back(r);
        }
    }
    return residues;
}

void announceResidue(const ORVIX& run, int residue) {
    if (!run.noVerb) {
        orvix::out() << "\nResidue (center) " << run.seqName(residue) << ' ' << residue << " of "
                     << run.firstCSResid << " to " << run.lastCSResid << '\n';
    }
}

}  // namespace

bool ORVIX::checkCSCompleteness(int res) {
    if (!(firstCSResid < res && res < lastCSResid)) {
        return false;
    }
    int poor = 0;
    for (int r = res - 1; r <= res + 1; ++r) {
        const std::string& letter = seqName(r);
        const int allowance = letter == "P" || (letter == "G" && noProton) ? 4 : 3;
        if (missingAt(r) > allowance) {
            ++poor;
        }
    }
    return poor < 2;
}

void ORVIX::deriveSearchMap() {
    for (const auto& [residue, map] : annPhiPsi) {
        const ClusterData& found = clusters[residue];
        bool open = false;
        if (found.clusterCount > 1) {
            // The first cluster does not dominate: the residue is left open. The limit is stricter
            // for a seed at phi >= 0 and psi around -40..120.
            const int seed = found.clusterMember[1][1];
            const double limit = seed % 18 >= 7 && seed % 18 <= 15 && seed > 161 ? 0.65 : 0.6;
            open = annConfidence[residue] < limit;
        }
        std::map<int, double>& weights = resWeight[residue];
        const int boxes = static_cast<int>(std::min<std::size_t>(map.size(), 324));
        for (int i = 0; i < boxes; ++i) {
            const double value = found.boxValue[i];
            if (found.mapMean == 0.0) {
                weights[i] = 0.0;
            } else if (!open) {
                const bool outside =
                    found.boxCluster[i] == 0 || (value - found.mapMean) / found.mapStd < 1.0;
                weights[i] = outside ? -9.99 : std::min(value, 0.98);
            }
        }
    }
}

void ORVIX::cutProteinBlocks() {
    dbProteinCount = 0;
    dbProteinFirst.clear();
    dbProteinLast.clear();
    int start = 0;
    const auto close = [&](int last) {
        dbProteinFirst[dbProteinCount] = start;
        dbProteinLast[dbProteinCount] = last;
        ++dbProteinCount;
    };
    const std::string* current = nullptr;
    for (int i = 0; i < db->dbSize; ++i) {
        const std::string& source = db->sources[i];
        // Rows of one block share their source text, so most tests end at the address.
        if (current != &source && (current == nullptr || *current != source)) {
            close(i - 1);
            start = i;
        }
        current = &source;
    }
    close(db->dbSize - 1);
}

void ORVIX::loadDatabase() {
    if (!noPath) {
        orvix::out() << "Reading " << dbFile << ", " << std::flush;
    }
    delete db;
    db = nullptr;
    db = new DB();
    db->setMaxDBSize(databaseCapacity);
    db->loadDB(dbFile, exclList);
    if (!noPath) {
        orvix::out() << db->dbSize << " Residues Read\n";
    }
    orvix::out() << "Searching database ..." << std::endl;
    cutProteinBlocks();
}

void ORVIX::orvixPredict() {
    init();
    if (noPath) {
        orvix::out() << "Analyzing Chemical Shifts ..." << std::endl;
    } else {
        orvix::out() << "Analyzing " << inFile << " ..." << std::endl;
    }
    getResInfo();
    runABP_Prediction();
    runSS_Prediction();
    runS2_Prediction();

    deriveSearchMap();
    searchPhase = true;
    loadDatabase();

    // First pass. The residues do not depend on each other, so they are searched side by side;
    // their results are taken over, and their lines printed, in order of residue number.
    const std::vector<int> residues = residuesToSearch(*this);
    MatchesByResidue allMatches, allTypeMatches;
    {
        const orvix::search::SearchContext context(*this);
        std::vector<orvix::search::TripletResult> results(residues.size());
        orvix::parallelForDynamic(
            static_cast<int>(residues.size()), orvix::availableThreads(), [&](int i) {
                const auto place = static_cast<std::size_t>(i);
                if (checkCSCompleteness(residues[place])) {
                    results[place] = orvix::search::searchResidue(context, residues[place]);
                }
            });
        for (std::size_t i = 0; i < residues.size(); ++i) {
            const int r = residues[i];
            announceResidue(*this, r);
            if (!checkCSCompleteness(r)) {
                continue;
            }
            storeTripletResult(r, results[i]);
            allMatches[r] = std::move(results[i].matches);
            allTypeMatches[r] = std::move(results[i].typeMatches);
            classifyResidue(r);
        }
    }
    if (noVerb) {
        orvix::err() << std::endl;
    } else {
        orvix::out() << "Searching database using predicted angles ...\n";
    }

    // Second pass, in order: a residue sees the renewed averages of those before it.
    for (int r : residues) {
        announceResidue(*this, r);
        if (!checkCSCompleteness(r)) {
            continue;
        }
        searchDB2(r, allMatches[r], allTypeMatches[r]);
        if (matchCount[r] < count) {
            classifyResidue(r);
        }
    }
    vina();
    vinaChi1();
    writePredAll();
}
