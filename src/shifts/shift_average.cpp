#include "shifts/shift_average.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "base/missing.h"
#include "shifts/shift_average_rows.h"

namespace orvix::shifts {
namespace {

constexpr std::size_t atomKeys = 6;

float addTerm(float score, double term) {
    return static_cast<float>(static_cast<double>(score) + term);
}

double similarityOf(const std::map<std::string, double>* similarity, const std::string& name) {
    if (similarity == nullptr) {
        return 0.0;
    }
    const auto value = similarity->find(name);
    return value == similarity->end() ? 0.0 : value->second;
}

using ScoreRows = void (*)(const RowScorer&, const ObservedRows&, int, int, float*);

std::vector<ScoredRow> nearestRowsBy(ScoreRows scoreBlock, const ObservedRows& rows,
                                     const TripletQuery& query, const AverageWeights& weights,
                                     const Homology& homology, int wanted) {
    constexpr int block = 512;  // rows; their scores stay in the first cache
    const RowScorer scorer(query, weights, homology);
    NearestRows nearest(wanted);
    std::array<float, block> scores;
    for (int first = 0; first < rows.count; first += block) {
        const int count = std::min(block, rows.count - first);
        const int inLanes = count - count % 16;
        scoreBlock(scorer, rows, first, inLanes, scores.data());
        scoreRowsPortable(scorer, rows, first + inLanes, count - inLanes, scores.data() + inLanes);
        for (int i = 0; i < count; ++i) {
            const float score = scores[static_cast<std::size_t>(i)];
            if (score <= nearest.limit()) {
                nearest.offer(score, first + i);
            }
        }
    }
    return nearest.rows();
}

}  // namespace

void NearestRows::offer(float score, int row) {
    if (!(score < scoreLimit) || wanted_ == 0) {
        return;
    }
    // A score that was pushed out can't come back: the limit only falls.
    ranking_[score] = row;
    if (ranking_.size() > wanted_) {
        ranking_.erase(std::prev(ranking_.end()));
    }
    if (ranking_.size() == wanted_) {
        limit_ = ranking_.rbegin()->first;
    }
}

std::vector<ScoredRow> NearestRows::rows() const {
    std::vector<ScoredRow> sorted;
    for (const auto& [score, row] : ranking_) {
        sorted.push_back({score, row});
    }
    return sorted;
}

RowScorer::RowScorer(const TripletQuery& triplet, const AverageWeights& weights,
                     const Homology& table)
    : query(triplet.shifts), homology(&table) {
    for (std::size_t p = 0; p < 3; ++p) {
        for (std::size_t key = 1; key <= atomKeys; ++key) {
            const std::size_t j = p * atomKeys + key - 1;
            weight[j] = weights.atomPosition[j + 1];
            missingTerm[j] = weights.atomPosition[j + 1] * weights.atom[key];
            queryMissing[j] = query[j] > missingLimit;
        }
        const auto row = table.find(triplet.names[p]);
        similarity[p] = row == table.end() ? nullptr : &row->second;
        positionWeight[p] = weights.position[p + 1];
        for (int letter = 0; letter < 256; ++letter) {
            residueTerm[p][static_cast<std::size_t>(letter)] = 0.0 * positionWeight[p];
        }
        if (similarity[p] != nullptr) {
            for (const auto& [name, value] : *similarity[p]) {
                if (name.size() == 1) {
                    residueTerm[p][static_cast<unsigned char>(name[0])] =
                        value * value * positionWeight[p];
                }
            }
        }
    }
}

double RowScorer::longNameTerm(std::size_t position, const std::string& name) const {
    const double value = similarityOf(similarity[position], name);
    return value * value * positionWeight[position];
}

void scoreRowsPortable(const RowScorer& scorer, const ObservedRows& rows, int first, int count,
                       float* scores) {
    for (int i = 0; i < count; ++i) {
        const double* observed = rows.shifts[first + i];
        const std::string* names = rows.names[first + i];
        float score = 0.0F;
        for (std::size_t p = 0; p < 3; ++p) {
            for (std::size_t j = p * atomKeys; j < (p + 1) * atomKeys; ++j) {
                const double difference = observed[j] - scorer.query[j];
                const bool absent = scorer.queryMissing[j] || observed[j] > missingLimit;
                score = addTerm(score, absent ? scorer.missingTerm[j]
                                              : difference * difference * scorer.weight[j]);
            }
            score = addTerm(score, scorer.nameTerm(p, names[p + 1]));
        }
        scores[i] = score;
    }
}

std::vector<ScoredRow> nearestRows(const ObservedRows& rows, const TripletQuery& query,
                                   const AverageWeights& weights, const Homology& homology,
                                   int wanted) {
    const ScoreRows best = hasAvx2Scoring() ? scoreRowsAvx2 : scoreRowsPortable;
    return nearestRowsBy(best, rows, query, weights, homology, wanted);
}

std::vector<ScoredRow> nearestRowsPortable(const ObservedRows& rows, const TripletQuery& query,
                                           const AverageWeights& weights, const Homology& homology,
                                           int wanted) {
    return nearestRowsBy(scoreRowsPortable, rows, query, weights, homology, wanted);
}

float scoreTriplet(const double* shifts, const std::string* names, const TripletQuery& query,
                   const AverageWeights& weights, const Homology& homology) {
    float score = 0.0F;
    for (std::size_t p = 0; p < 3; ++p) {
        for (std::size_t key = 1; key <= atomKeys; ++key) {
            const std::size_t j = p * atomKeys + key;
            const double o = shifts[j - 1];
            const double x = query.shifts[j - 1];
            if (o > missingLimit || x > missingLimit) {
                score = addTerm(score, weights.atomPosition[j] * weights.atom[key]);
            } else {
                score = addTerm(score, (o - x) * (o - x) * weights.atomPosition[j]);
            }
        }
        const auto similarity = homology.find(query.names[p]);
        const double h = similarityOf(similarity == homology.end() ? nullptr : &similarity->second,
                                      names[p + 1]);
        score = addTerm(score, h * h * weights.position[p + 1]);
    }
    return score;
}

std::vector<ScoredRow> nearestRowsPlain(const ObservedRows& rows, const TripletQuery& query,
                                        const AverageWeights& weights, const Homology& homology,
                                        int wanted) {
    std::map<float, int> ranking;
    for (int row = 0; row < rows.count; ++row) {
        const float score =
            scoreTriplet(rows.shifts[row], rows.names[row], query, weights, homology);
        if (score < scoreLimit) {
            ranking[score] = row;
        }
    }
    std::vector<ScoredRow> nearest;
    for (const auto& [score, row] : ranking) {
        if (static_cast<long long>(nearest.size()) >= wanted) {
            break;
        }
        nearest.push_back({score, row});
    }
    return nearest;
}

}  // namespace orvix::shifts
