// The two passes of the database search.
#include <ostream>
#include <utility>
#include <vector>

#include "base/parallel.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "search/triplet_search.h"

namespace {

void announceResidue(const ORVIX& run, int residue) {
    if (!run.noVerb) {
        orvix::out() << "\nResidue (center) " << run.seqName(residue) << ' ' << residue << " of "
                     << run.firstCSResid << " to " << run.lastCSResid << '\n';
    }
}

/// Searches residues side by side; the results stand in their order.
std::vector<orvix::search::TripletResult> searchAll(const orvix::search::SearchInput& input,
                                                    const std::vector<int>& residues,
                                                    const std::stop_token& stop) {
    std::vector<orvix::search::TripletResult> results(residues.size());
    orvix::parallelForDynamic(
        static_cast<int>(residues.size()), orvix::availableThreads(), [&](int i) {
            const auto place = static_cast<std::size_t>(i);
            if (!stop.stop_requested()) {
                results[place] = orvix::search::searchResidue(input, residues[place]);
            }
        });
    return results;
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

std::vector<int> ORVIX::residuesToSearch() const {
    std::vector<int> residues;
    for (int r = firstResid; r <= lastResid; ++r) {
        if (r >= firstCSResid && r <= lastCSResid && r != seqFirstResid &&
            r != seqFirstResid + seqLength - 1) {
            residues.push_back(r);
        }
    }
    return residues;
}

ORVIX::Candidates ORVIX::firstPass() {
    const std::vector<int> residues = residuesToSearch();
    std::vector<int> complete;
    for (int r : residues) {
        if (checkCSCompleteness(r)) {
            complete.push_back(r);
        }
    }
    std::vector<orvix::search::TripletResult> results = searchAll(searchInput(), complete, stop);
    checkpoint();

    Candidates candidates;
    auto result = results.begin();
    for (int r : residues) {
        announceResidue(*this, r);
        if (!checkCSCompleteness(r)) {
            continue;
        }
        storeTripletResult(r, *result);
        candidates.matches[r] = std::move(result->matches);
        candidates.typeMatches[r] = std::move(result->typeMatches);
        classifyResidue(r);
        ++result;
    }
    return candidates;
}

void ORVIX::secondPass(Candidates& candidates) {
    for (int r : residuesToSearch()) {
        checkpoint();
        announceResidue(*this, r);
        if (!checkCSCompleteness(r)) {
            continue;
        }
        searchDB2(r, candidates.matches[r], candidates.typeMatches[r]);
        if (matchCount[r] < count) {
            classifyResidue(r);
        }
    }
}
