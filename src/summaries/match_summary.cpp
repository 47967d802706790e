// The database matches of all residues, for their table.
#include <algorithm>

#include "run/orvix.h"
#include "run/prediction.h"
#include "search/db.h"

namespace {

/// Letters of the database residues from `first` to `last`, "?" where the database has none.
std::string databaseLetters(const DB& db, int first, int last) {
    std::string letters;
    for (int i = first; i <= last; ++i) {
        letters += db.holds(i) ? db.resNames[i] : '?';
    }
    return letters;
}

orvix::summaries::MatchNeighbour neighbour(const DB& db, int row) {
    orvix::summaries::MatchNeighbour residue;
    residue.held = db.holds(row);
    if (residue.held) {
        residue.residue = db.resids[row];
        residue.phi = db.angles[row][0];
        residue.psi = db.angles[row][1];
        residue.chi1 = db.angles[row][2];
        for (std::size_t atom = 0; atom < residue.shifts.size(); ++atom) {
            residue.shifts[atom] = db.shifts[row][2 * atom];
        }
    }
    return residue;
}

/// Everything of a match that the database tells.
orvix::summaries::MatchRow matchAt(const DB& db, int row, int reach) {
    orvix::summaries::MatchRow match;
    match.databaseLetters = databaseLetters(db, row - reach, row + reach);
    match.residues = {neighbour(db, row - 1), neighbour(db, row), neighbour(db, row + 1)};
    match.source = db.sources[row];
    return match;
}

/// Letters of the query from `first` to `last`, "?" for what is no single letter.
std::string queryLetters(const ORVIX& run, int first, int last) {
    std::string letters;
    for (int r = first; r <= last; ++r) {
        const std::string& name = run.seqName(r);
        letters += name.size() == 1 ? name : "?";
    }
    return letters;
}

}  // namespace

void ORVIX::writePredAll() {
    const int reach = (alignLen - 1) / 2;
    matchRows.clear();
    for (int r : residuesToSearch()) {
        const std::vector<double>& scores = matchScore[r];
        const std::vector<double>& weights = matchWeight[r];
        // Ranks beyond the lists are left over from a longer list of the first pass.
        const std::size_t ranks = std::min(scores.size(), weights.size());
        const std::string letters = queryLetters(*this, r - reach, r + reach);
        for (const auto& [rank, index] : matchIndex[r]) {
            if (rank < 1 || static_cast<std::size_t>(rank) > ranks || !db->holds(index)) {
                continue;
            }
            const auto place = static_cast<std::size_t>(rank) - 1;
            orvix::summaries::MatchRow& match = matchRows.emplace_back(matchAt(*db, index, reach));
            match.residue = r;
            match.queryLetters = letters;
            match.score = scores[place];
            match.weight = weights[place];
        }
    }
    writeTable(orvix::ResultTable::matches);
}
