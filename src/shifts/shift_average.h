#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace orvix::shifts {

/// Shifts of three neighbouring residues at (position - 1) * 6 + atom key - 1, in ppm; above 999.0
/// for a missing one.
using TripletShifts = std::array<double, 18>;

/// The triplet whose shifts are to be averaged: its own shifts and residue names.
struct TripletQuery {
    TripletShifts shifts{};
    std::array<std::string, 3> names;
};

/// How much atoms and positions count.
struct AverageWeights {
    std::span<const double> atomPosition;  ///< [(position - 1) * 6 + atom key], 19 values
    std::span<const double> atom;          ///< [atom key], 7 values
    std::span<const double> position;      ///< [position], 4 values
};

/// Observed triplets: `shifts[row]` has 18 values laid out as above, `names[row]` four texts with
/// the residue names at index 1..3. The rows follow each other in memory.
struct ObservedRows {
    const double* const* shifts = nullptr;
    const std::string* const* names = nullptr;
    int count = 0;
};

/// Residue to residue to similarity; an absent pair reads as 0.0.
using Homology = std::map<std::string, std::map<std::string, double>>;

/// An observed triplet (row from 0) with its score, the lower the nearer.
struct ScoredRow {
    float score = 0.0F;
    int row = 0;
    bool operator==(const ScoredRow&) const = default;
};

/// The `wanted` nearest rows, best first, of those with a score below 200.0. Of rows with one score
/// only the last counts.
///
/// A score is the sum over positions 1 to 3 of the six atom terms, in key order, and then of the
/// residue term. An atom term is (o - x)^2 times the weight of position and atom, or, if o or x is
/// missing, that weight times the weight of the atom; the residue term is the squared similarity
/// times the weight of the position. Terms are doubles; the score is a 32-bit float, rounded at
/// each addition.
std::vector<ScoredRow> nearestRows(const ObservedRows& rows, const TripletQuery& query,
                                   const AverageWeights& weights, const Homology& homology,
                                   int wanted);

/// The same as nearestRows, written down plainly: the form that the fast one is held against.
std::vector<ScoredRow> nearestRowsPlain(const ObservedRows& rows, const TripletQuery& query,
                                        const AverageWeights& weights, const Homology& homology,
                                        int wanted);

/// The same as nearestRows without vector instructions beyond the baseline.
std::vector<ScoredRow> nearestRowsPortable(const ObservedRows& rows, const TripletQuery& query,
                                           const AverageWeights& weights, const Homology& homology,
                                           int wanted);

/// The score of one triplet, written down plainly. `shifts` and `names` as of a row of
/// ObservedRows.
float scoreTriplet(const double* shifts, const std::string* names, const TripletQuery& query,
                   const AverageWeights& weights, const Homology& homology);

/// Rows with a score from here on are no neighbours.
inline constexpr float scoreLimit = 200.0F;

/// Keeps the `wanted` lowest distinct scores below `scoreLimit`, each with the last row that had
/// it. Rows are offered in order.
class NearestRows {
  public:
    explicit NearestRows(int wanted) : wanted_(wanted < 0 ? 0 : static_cast<std::size_t>(wanted)) {}

    /// A score above this changes nothing.
    float limit() const { return limit_; }
    void offer(float score, int row);
    /// Best first.
    std::vector<ScoredRow> rows() const;

  private:
    std::size_t wanted_;
    float limit_ = scoreLimit;
    std::map<float, int> ranking_;
};

}  // namespace orvix::shifts
