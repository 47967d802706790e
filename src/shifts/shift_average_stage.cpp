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
#include "shifts/shift_average.h"
#include "tables/cells.h"

namespace {

constexpr int atomCount = 6;
constexpr int observedLimit = 24000;  // rows of obsShift and obsResName

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

/// Rows of the observed triplets, with the row number of the first. The numbers follow each other,
/// since nothing but the table reader makes them; what lies past a gap is left out.
orvix::shifts::ObservedRows observedRows(const ORVIX& run, int& firstNumber) {
    orvix::shifts::ObservedRows rows;
    const std::map<int, GDB::Entry>& entries = run.obsCSTable.entries;
    if (entries.empty() || run.obsShift == nullptr || run.obsResName == nullptr) {
        return rows;
    }
    firstNumber = entries.begin()->first;
    const long long span = static_cast<long long>(entries.rbegin()->first) - firstNumber + 1;
    long long count = span;
    if (span != static_cast<long long>(entries.size())) {
        count = 0;
        for (const auto& entry : entries) {
            if (entry.first != firstNumber + count) {
                break;
            }
            ++count;
        }
    }
    if (firstNumber < 1 || firstNumber >= observedLimit) {
        return rows;
    }
    rows.shifts = run.obsShift + firstNumber;
    rows.names = run.obsResName + firstNumber;
    rows.count = static_cast<int>(std::min<long long>(count, observedLimit - firstNumber));
    return rows;
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
    int firstNumber = 1;
    const orvix::shifts::ObservedRows rows = observedRows(*this, firstNumber);
    const std::vector<orvix::shifts::ScoredRow> nearest =
        orvix::shifts::nearestRows(rows, queryOf(*this, record), weightsOf(*this), homology, count);

    // The means are taken over the cells of the table, which a row that is kept at a distance by
    // its source still has.
    AtomMeans means;
    for (const orvix::shifts::ScoredRow& row : nearest) {
        const auto cells = obsCSTable.entries.find(firstNumber + row.row);
        for (const auto& [key, atom] : atomNames) {
            means.add(key, orvix::tables::shiftFromText(
                               orvix::tables::cellOf(&cells->second, atom + "_R2")));
        }
    }
    for (const auto& [key, atom] : atomNames) {
        avg[atom] = means.mean(key);
    }
    return true;
}

bool ORVIX::calcAverageCS(int res, std::map<std::string, double>& avg, DB* database) {
    if (database == nullptr || !(firstResid < res && res < lastResid)) {
        return false;
    }
    const std::map<std::string, std::string> record = getTriplet(res);
    if (!testTriplet(record)) {
        return false;
    }
    const orvix::shifts::TripletQuery query = queryOf(*this, record);
    orvix::shifts::NearestRows nearest(count);
    for (int center = 1; center < database->dbSize - 1; ++center) {
        if (!isWindow(*database, center)) {
            continue;
        }
        const DatabaseWindow window(*database, center);
        const float score = orvix::shifts::scoreTriplet(window.shifts.data(), window.names.data(),
                                                        query, weightsOf(*this), homology);
        nearest.offer(score, center);
    }
    AtomMeans means;
    for (const orvix::shifts::ScoredRow& row : nearest.rows()) {
        for (const auto& [key, atom] : atomNames) {
            means.add(key, DatabaseWindow::shiftOf(*database, row.row, key));
        }
    }
    for (const auto& [key, atom] : atomNames) {
        avg[atom] = means.mean(key);
    }
    return true;
}
