#include "check/offsets.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "results/shift_report.h"

namespace orvix::check {
namespace {

constexpr std::size_t leastShifts = 8;

/// A nucleus by `results::shiftAtoms`, ppm. Measured on proteins apart from those of the figures in
/// docs/check.md.
struct Nucleus {
    double zero = 0.0;      ///< estimate of well referenced shifts
    double ownError = 0.0;  ///< what estimates from any number of shifts differ by
    double least = 0.0;     ///< smaller offsets are not told from what proteins differ by
};
constexpr std::array<Nucleus, atomCount> nuclei = {{{-0.22, 0.22, 0.62},
                                                    {0.0, 0.025, 0.075},
                                                    {0.0, 0.10, 0.30},
                                                    {0.0, 0.13, 0.35},
                                                    {0.0, 0.11, 0.35},
                                                    {0.0, 0.045, 0.15}}};
constexpr double carbonError = 0.09, leastCarbons = 0.28;
constexpr double errorsOffZero = 1.8;

struct Deviation {
    double value = 0.0, spread = 0.0;
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The place of heavy-tailed values of known relative spreads by Tukey's biweight, and its error.
NucleusOffset robustPlace(const std::vector<Deviation>& deviations) {
    constexpr double tuning = 5.0;
    constexpr int rounds = 30;
    std::vector<double> values;
    values.reserve(deviations.size());
    for (const Deviation& one : deviations) {
        values.push_back(one.value);
    }
    NucleusOffset place;
    place.offset = median(values);
    place.count = static_cast<int>(deviations.size());
    double scale = 1.0;
    for (int round = 0; round < rounds; ++round) {
        std::vector<double> sizes;
        sizes.reserve(deviations.size());
        for (const Deviation& one : deviations) {
            sizes.push_back(std::fabs(one.value - place.offset) / one.spread);
        }
        scale = std::max(0.5, 1.4826 * median(sizes));
        double sum = 0.0, weights = 0.0, squares = 0.0;
        for (std::size_t i = 0; i < deviations.size(); ++i) {
            const double z = sizes[i] / (tuning * scale);
            const double kept = z < 1.0 ? (1.0 - z * z) * (1.0 - z * z) : 0.0;
            const double weight = kept / (deviations[i].spread * deviations[i].spread);
            sum += weight * deviations[i].value;
            weights += weight;
            squares += weight * weight * deviations[i].spread * deviations[i].spread;
        }
        if (!(weights > 0.0)) {
            break;
        }
        place.offset = sum / weights;
        place.error = scale * std::sqrt(squares) / weights;
    }
    return place;
}

}  // namespace

Offsets estimateOffsets(const ChainShifts& chain) {
    Offsets offsets;
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        std::vector<Deviation> deviations;
        for (const auto& [number, residue] : chain) {
            if (residue.settled && !residue.end && residue.observed[atom] &&
                residue.expected[atom]) {
                deviations.push_back({*residue.observed[atom] - residue.expected[atom]->shift,
                                      residue.expected[atom]->spread});
            }
        }
        if (deviations.size() >= leastShifts) {
            NucleusOffset offset = robustPlace(deviations);
            offset.offset -= nuclei[atom].zero;
            offset.error = std::hypot(offset.error, nuclei[atom].ownError);
            offsets.atoms[atom] = offset;
        }
    }
    const auto& ca = offsets.atoms[results::placeOf(results::shiftAtoms, "CA")];
    const auto& cb = offsets.atoms[results::placeOf(results::shiftAtoms, "CB")];
    if (ca && cb) {
        const double caWeight = 1.0 / (ca->error * ca->error),
                     cbWeight = 1.0 / (cb->error * cb->error);
        NucleusOffset both;
        both.offset = (ca->offset * caWeight + cb->offset * cbWeight) / (caWeight + cbWeight);
        both.error = std::max(carbonError, 1.0 / std::sqrt(caWeight + cbWeight));
        both.count = ca->count + cb->count;
        offsets.carbons = both;
    } else {
        offsets.carbons = ca ? ca : cb;
    }
    return offsets;
}

bool isCarbon(std::size_t atom) {
    return results::shiftAtoms[atom] == "CA" || results::shiftAtoms[atom] == "CB";
}

double offsetOf(const Offsets& offsets, std::size_t atom) {
    const auto& offset = isCarbon(atom) ? offsets.carbons : offsets.atoms[atom];
    return offset ? offset->offset : 0.0;
}

bool isToCorrect(std::string_view name, const NucleusOffset& offset) {
    const std::size_t atom = results::placeOf(results::shiftAtoms, name);
    const double least = atom < atomCount ? nuclei[atom].least : leastCarbons;
    return std::fabs(offset.offset) >= least &&
           std::fabs(offset.offset) > errorsOffZero * offset.error;
}

}  // namespace orvix::check
