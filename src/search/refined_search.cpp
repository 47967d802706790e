#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/angles.h"
#include "base/missing.h"
#include "base/statistics.h"
#include "base/streams.h"
#include "model/model.h"
#include "networks/chi1_network.h"
#include "networks/chi1ann.h"
#include "networks/network_kinds.h"
#include "networks/network_object.h"
#include "run/orvix.h"
#include "search/chi1_input.h"
#include "search/db.h"
#include "search/match_line.h"
#include "search/query_shifts.h"
#include "search/window_agreement.h"

namespace {

using Candidates = std::map<double, int>;
using RawScores = std::unordered_map<int, double>;

constexpr int lastUsableIndex = 2330110;
constexpr double matchLimit = 80.0;  ///< degrees
constexpr double chi1Limit = 50.0;
constexpr int chi1Candidates = 100;
constexpr std::size_t scoresPerRotamer = 10;

bool isUsable(const ORVIX& run, int index) {
    return index >= 1 && index <= lastUsableIndex && run.db != nullptr && run.db->holds(index);
}

template <class Value>
Value valueAt(const std::map<int, Value>& values, int key) {
    const auto found = values.find(key);
    return found == values.end() ? Value() : found->second;
}

/// The predictions around `res`; those with too few agreeing matches are not trusted.
std::vector<orvix::search::PredictedAngles> predictionsAround(const ORVIX& run, int res) {
    const int h = std::clamp((run.alignLen - 1) / 2, 0, orvix::search::maxHalfWidth);
    std::vector<orvix::search::PredictedAngles> window;
    for (int r = res - h; r <= res + h; ++r) {
        window.push_back({valueAt(run.avgPhi, r), valueAt(run.avgPsi, r),
                          valueAt(run.matchCount, r) >= run.count});
    }
    return window;
}

void keepLowest(Candidates& candidates, int most) {
    const auto excess = static_cast<int>(candidates.size()) - most;
    if (excess > 0) {
        candidates.erase(std::prev(candidates.end(), excess), candidates.end());
    }
}

void keepHighest(Candidates& candidates, int most) {
    const auto excess = static_cast<int>(candidates.size()) - most;
    if (excess > 0) {
        candidates.erase(candidates.begin(), std::next(candidates.begin(), excess));
    }
}

/// Replaces `matches` by those that agree with the predictions, or, where the key of the last rank
/// is not above 0, by the ones of the highest keys, agreeing or not.
void filterMatches(const ORVIX& run, int res, Candidates& matches, RawScores& keyOf) {
    const std::vector<orvix::search::PredictedAngles> window = predictionsAround(run, res);
    Candidates agreeing;
    double cut = 0.0;
    int rank = 0;
    for (auto it = matches.rbegin(); it != matches.rend(); ++it) {
        const auto& [key, index] = *it;
        if (++rank <= run.candidateMax) {
            cut = key;
        }
        if (orvix::search::windowAgrees(window, *run.db, index, matchLimit)) {
            agreeing[key] = index;
        }
        keyOf[index] = key;
    }
    if (cut > 0.0) {
        matches = std::move(agreeing);
        keepLowest(matches, run.candidateMax + 1);
    } else {
        keepHighest(matches, run.candidateMax + 1);
    }
}

/// Fills the match lists of `res` from the lowest keys of `matches`. An index that can't be used
/// has a rank all the same.
void listMatches(ORVIX& run, int res, const Candidates& matches, const RawScores& keyOf) {
    run.matchPhi[res].clear();
    run.matchPsi[res].clear();
    run.matchScore[res].clear();
    int rank = 0;
    for (const auto& [key, index] : matches) {
        if (++rank > run.candidateMax) {
            break;
        }
        if (!isUsable(run, index)) {
            continue;
        }
        run.matchPhi[res].push_back(static_cast<double>(run.db->angles[index][0]));
        run.matchPsi[res].push_back(static_cast<double>(run.db->angles[index][1]));
        run.matchScore[res].push_back(key);
        run.matchIndex[res][rank] = index;
        if (!run.noVerb) {
            orvix::out() << orvix::search::matchLine(*run.db, index, rank, key, keyOf.at(index),
                                                     " r2");
        }
    }
}

/// Leaves the candidates that agree with the predictions, and of them the lowest keys.
void filterSameType(const ORVIX& run, int res, Candidates& typeMatches) {
    const std::vector<orvix::search::PredictedAngles> window = predictionsAround(run, res);
    Candidates agreeing;
    for (const auto& [key, index] : typeMatches) {
        if (isUsable(run, index) &&
            orvix::search::windowAgrees(window, *run.db, index, chi1Limit)) {
            agreeing[key] = index;
        }
    }
    typeMatches = std::move(agreeing);
    keepLowest(typeMatches, chi1Candidates + 1);
}

using RotamerScores = std::map<std::string, std::vector<double>>;

const std::vector<double>& scoresOf(const RotamerScores& groups, const std::string& rotamer) {
    static const std::vector<double> none;
    const auto found = groups.find(rotamer);
    return found == groups.end() ? none : found->second;
}

/// The best scores of each rotamer, until the three real ones have all they can hold.
RotamerScores groupByRotamer(const ORVIX& run, const Candidates& typeMatches) {
    RotamerScores groups;
    for (const auto& [key, index] : typeMatches) {
        if (scoresOf(groups, "g+").size() >= scoresPerRotamer &&
            scoresOf(groups, "g-").size() >= scoresPerRotamer &&
            scoresOf(groups, "t").size() >= scoresPerRotamer) {
            break;
        }
        if (!isUsable(run, index)) {
            continue;
        }
        std::vector<double>& group =
            groups[std::string(orvix::chi1Rotamer(run.db->angles[index][2]))];
        if (group.size() < scoresPerRotamer) {
            group.push_back(key);
        }
    }
    return groups;
}

/// Scores by a network object that holds its weights, else by those of the model. A run asks for
/// these once, so that it says once what their loading has to say.
std::vector<double> chi1Scores(ORVIX& run, CHI1ANN& network, char letter,
                               const std::vector<std::vector<double>>& inputs) {
    if (network.chi1Loaded) {
        return network.runANNLevel1Batch(inputs);
    }
    std::shared_ptr<const orvix::networks::NetworkWeights>& weights = run.chi1Weights[letter];
    if (weights == nullptr) {
        weights = run.model->network(orvix::networks::filePrefix(network),
                                     orvix::networks::chi1Kind(letter));
    }
    return orvix::networks::chi1Scores(weights->level(1), inputs);
}

void printGroups(const RotamerScores& groups, std::size_t candidates) {
    orvix::out() << " cluster-specific statistics for " << candidates << " chi1 prediction: \n";
    const std::pair<const char*, const char*> rotamers[] = {
        {"g-", " \tbest matched fragments with g- "},
        {"g+", " \tbest matched fragments with g+ "},
        {"t", " \tbest matched fragments with t  "}};
    for (const auto& [rotamer, text] : rotamers) {
        const std::vector<double>& scores = scoresOf(groups, rotamer);
        // One score alone has no deviation; it counts as 0 like that of an empty group.
        orvix::out() << "  " << scores.size() << text << orvix::mean(scores) << " +/- "
                     << orvix::sampleDeviation(scores) << std::endl;
    }
}

}  // namespace

void ORVIX::searchDB2(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches) {
    const char letter = valueAt(seqChar, res);
    const bool typeSpecific = letter != 'G' && letter != 'A' && letter != 'P';
    if (!noVerb) {
        orvix::out() << " checking " << matches.size() << " preliminary fragments\n";
    }
    if (valueAt(matchCount, res) < count) {
        RawScores keyOf;
        filterMatches(*this, res, matches, keyOf);
        listMatches(*this, res, matches, keyOf);
    }
    if (!typeSpecific) {
        return;
    }
    filterSameType(*this, res, typeMatches);
    evalChi1WithANN(res, typeMatches);
    chi1Result[res] = groupByRotamer(*this, typeMatches);
    if (!noVerb) {
        printGroups(chi1Result[res], typeMatches.size());
    }
    std::vector<double>& chi1 = matchChi1[res];
    chi1.clear();
    for (const auto& [key, index] : typeMatches) {
        if (isUsable(*this, index) &&
            !(static_cast<double>(db->angles[index][2]) > orvix::missingLimit)) {
            chi1.push_back(static_cast<double>(db->angles[index][2]));
        }
    }
}

int ORVIX::evalChi1WithANN(int res, std::map<double, int>& typeMatches) {
    std::string letter = seqName(res);
    if (letter == "c" || letter == "h") {
        letter = letter == "c" ? "C" : "H";
    }
    if (std::string_view(orvix::networks::chi1NetworkLetters).find(letter) == std::string::npos) {
        return -1;
    }
    const auto found = chi1Nets.find(letter);
    if (found == chi1Nets.end() || found->second == nullptr) {
        return -1;
    }
    const orvix::search::QueryShifts query =
        orvix::search::queryShifts({shiftMatrix, firstResid, lastResid}, res, 1);
    std::vector<std::vector<double>> inputs;
    std::vector<int> rows;
    for (const auto& [key, index] : typeMatches) {
        if (isUsable(*this, index)) {
            inputs.push_back(orvix::search::chi1Input(query, *db, index));
            rows.push_back(index);
        }
    }
    typeMatches.clear();
    if (inputs.empty()) {
        return 0;
    }
    const std::vector<double> scores = chi1Scores(*this, *found->second, letter[0], inputs);
    for (std::size_t k = 0; k < scores.size(); ++k) {
        // No order among keys holds with one that is no number.
        if (!std::isnan(scores[k])) {
            typeMatches[scores[k]] = rows[k];
        }
    }
    return 0;
}
