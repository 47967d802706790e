#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/statistics.h"
#include "run/orvix.h"
#include "search/db.h"
#include "shifts/observed_triplets.h"
#include "shifts/shift_average.h"
#include "tables/cells.h"

namespace {

constexpr int atomCount = 6;

/// The query of a triplet record. Its shifts have passed through text: six significant digits.
orvix::shifts::TripletQuery queryOf(const ORVIX& run,
                                    const std::map<std::string, std::string>& record) {
    orvix::shifts::TripletQuery query;
    for (std::size_t p = 0; p < 3; ++p) {
        const std::string suffix = "_R" + std::to_string(p + 1);
        query.names[p] = orvix::tables::cellOf(&record, "RESNAME" + suffix);
        for (const auto& [key, atom] : run.atomNames) {
            query.shifts[p * atomCount + static_cast<std::size_t>(key) - 1] =
                orvix::textToDouble(orvix::tables::cellOf(&record, atom + suffix));
        }
    }
    return query;
}

orvix::shifts::AverageWeights weightsOf(const ORVIX& run) {
    return {run.atomPosWeight, run.atomWeight, run.posWeight};
}

/// Means by atom over the rows that have the atom; 0.0 where none has.
class AtomMeans {
  public:
    void add(int key, double shift) {
        if (shift < orvix::missingLimit) {
            sums_[static_cast<std::size_t>(key)] += shift;
            ++counts_[static_cast<std::size_t>(key)];
        }
    }
    double mean(int key) const {
        const auto k = static_cast<std::size_t>(key);
        return counts_[k] == 0 ? 0.0 : sums_[k] / counts_[k];
    }

  private:
    std::array<double, atomCount + 1> sums_{};
    std::array<int, atomCount + 1> counts_{};
};

/// The shifts and letters of a database window of three, in the form of an observed triplet.
struct DatabaseWindow {
    orvix::shifts::TripletShifts shifts;
    std::array<std::string, 4> names;

    DatabaseWindow(const DB& database, int center) {
        for (int p = 0; p < 3; ++p) {
            const int row = center - 1 + p;
            for (int key = 1; key <= atomCount; ++key) {
                shifts[static_cast<std::size_t>(p * atomCount + key - 1)] =
                    shiftOf(database, row, key);
            }
            names[static_cast<std::size_t>(p) + 1] = std::string(1, database.resNames[row]);
        }
    }

    static double shiftOf(const DB& database, int row, int key) {
        const float* cells = database.shifts[row];
        const float scale = cells[2 * key - 1];
        return scale == 0.0F ? orvix::missingValue : static_cast<double>(cells[2 * key - 2]);
    }
};

bool isWindow(const DB& database, int center) {
    const std::string& source = database.sources[center];
    return database.sources[center - 1] == source && database.sources[center + 1] == source &&
           static_cast<long long>(database.resids[center - 1]) + 1 == database.resids[center] &&
           static_cast<long long>(database.resids[center]) + 1 == database.resids[center + 1];
}

}  // namespace

bool ORVIX::calcAverageCS_orig(int res, std::map<std::string, double>& avg) {
    if (!(firstResid < res && res < lastResid)) {
        return false;
    }
    const std::map<std::string, std::string> record = getTriplet(res);
    if (!testTriplet(record)) {
        return false;
    }
    const orvix::shifts::ObservedRows rows =
        triplets == nullptr ? orvix::shifts::ObservedRows() : triplets->rows();
    const std::vector<orvix::shifts::ScoredRow> nearest =
        orvix::shifts::nearestRows(rows, queryOf(*this, record), weightsOf(*this), homology, count);

    // The means are taken over the shifts that a row kept at a distance by its source still has.
    AtomMeans means;
    for (const orvix::shifts::ScoredRow& row : nearest) {
        for (const auto& [key, atom] : atomNames) {
            means.add(key, triplets->middleShift(row.row, key));
        }
    }
    for (const auto& [key, atom] : atomNames) {
        avg[atom] = means.mean(key);
    }
    return true;
}

bool ORVIX::calcAverageCS(int res, std::map<std::string, double>& avg, DB* known) {
    if (known == nullptr || !(firstResid < res && res < lastResid)) {
        return false;
    }
    const std::map<std::string, std::string> record = getTriplet(res);
    if (!testTriplet(record)) {
        return false;
    }
    const orvix::shifts::TripletQuery query = queryOf(*this, record);
    orvix::shifts::NearestRows nearest(count);
    for (int center = 1; center < known->dbSize - 1; ++center) {
        if (!isWindow(*known, center)) {
            continue;
        }
        const DatabaseWindow window(*known, center);
        const float score = orvix::shifts::scoreTriplet(window.shifts.data(), window.names.data(),
                                                        query, weightsOf(*this), homology);
        nearest.offer(score, center);
    }
    AtomMeans means;
    for (const orvix::shifts::ScoredRow& row : nearest.rows()) {
        for (const auto& [key, atom] : atomNames) {
            means.add(key, DatabaseWindow::shiftOf(*known, row.row, key));
        }
    }
    for (const auto& [key, atom] : atomNames) {
        avg[atom] = means.mean(key);
    }
    return true;
}
