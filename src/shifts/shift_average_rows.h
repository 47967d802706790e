#pragma once

#include <array>
#include <string>

#include "shifts/shift_average.h"

namespace orvix::shifts {

/// A query and its weights, laid out for the scoring of many rows.
struct RowScorer {
    TripletShifts query;
    TripletShifts weight;               ///< of the squared difference
    TripletShifts missingTerm;          ///< the term of a missing shift
    std::array<bool, 18> queryMissing;  ///< every row takes the missing term
    /// Residue term by position and the one character of the row's residue name.
    std::array<std::array<double, 256>, 3> residueTerm;
    const Homology* homology;
    std::array<const std::map<std::string, double>*, 3> similarity;  ///< null for none
    std::array<double, 3> positionWeight;

    RowScorer(const TripletQuery& triplet, const AverageWeights& weights, const Homology& table);

    /// Residue term of a row's residue name at a position from 0.
    double nameTerm(std::size_t position, const std::string& name) const {
        if (name.size() == 1) {
            return residueTerm[position][static_cast<unsigned char>(name[0])];
        }
        return longNameTerm(position, name);
    }
    double longNameTerm(std::size_t position, const std::string& name) const;
};

/// Scores `count` rows from `first` on into `scores`. Same bits either way.
void scoreRowsPortable(const RowScorer& scorer, const ObservedRows& rows, int first, int count,
                       float* scores);
/// In AVX2 lanes, one row a lane; `count` is a multiple of 16. Only for a processor with AVX2.
void scoreRowsAvx2(const RowScorer& scorer, const ObservedRows& rows, int first, int count,
                   float* scores);
/// Whether this build and this processor have the AVX2 form.
bool hasAvx2Scoring();

}  // namespace orvix::shifts
