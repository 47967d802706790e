#include "check/deuteration.h"

#include <cmath>
#include <vector>

#include "base/numbers.h"
#include "results/shift_report.h"
#include "tables/cells.h"

namespace orvix::check {
namespace {

constexpr std::size_t alpha = results::placeOf(results::shiftAtoms, "HA");
constexpr std::size_t ca = results::placeOf(results::shiftAtoms, "CA");
constexpr std::size_t cb = results::placeOf(results::shiftAtoms, "CB");

/// A shift that an estimate comes from, ppm.
struct Carbon {
    double deviation = 0.0, spread = 0.0;
    double isotope = 0.0;  ///< what deuterium does to it
};

std::vector<Carbon> carbonsOf(const ChainShifts& chain, const tables::RowsByText& rows,
                              std::size_t atom) {
    std::vector<Carbon> carbons;
    for (const auto& [number, residue] : chain) {
        const GDB::Entry* row = rows.find(residue.letter);
        if (row != nullptr && residue.settled && residue.observed[atom] && residue.expected[atom]) {
            carbons.push_back(
                {*residue.observed[atom] - residue.expected[atom]->shift,
                 residue.expected[atom]->spread,
                 textToDouble(tables::cellOf(row, std::string(results::shiftAtoms[atom])))});
        }
    }
    return carbons;
}

double meanIsotopeShift(const std::vector<Carbon>& carbons) {
    double sum = 0.0;
    for (const Carbon& carbon : carbons) {
        sum += carbon.isotope;
    }
    return carbons.empty() ? 0.0 : sum / static_cast<double>(carbons.size());
}

/// Logarithm of the ratio of likelihoods: deviations around `offset` that follow the isotope shifts
/// of the residue types, over deviations that do not.
double patternGain(const std::vector<Carbon>& carbons, double offset) {
    const double usual = meanIsotopeShift(carbons);
    double gain = 0.0;
    for (const Carbon& carbon : carbons) {
        const double rest = carbon.deviation - offset;
        gain += logDensity(rest - (carbon.isotope - usual), carbon.spread) -
                logDensity(rest, carbon.spread);
    }
    return gain;
}

}  // namespace

Deuteration judgeDeuteration(const ChainShifts& chain, const Offsets& offsets,
                             const GDB& isotopeShifts) {
    // Usual sizes of what referencing adds to either explanation, and of the part of the isotope
    // shift that another degree of deuteration makes, ppm.
    constexpr double usualOffset = 0.6, usualRest = 0.15;
    // Most samples that are merely referenced low stay below.
    constexpr double leastGain = 1.2;
    // An alpha proton that is assigned sits on a carbon that is not deuterated.
    constexpr double mostAlpha = 0.2;

    Deuteration found;
    const auto& first = offsets.atoms[ca];
    const auto& second = offsets.atoms[cb];
    if (!first || !second) {
        return found;
    }
    const tables::RowsByText rows(isotopeShifts, "RESNAME");
    found.judged = true;
    const std::vector<Carbon> caShifts = carbonsOf(chain, rows, ca);
    const std::vector<Carbon> cbShifts = carbonsOf(chain, rows, cb);
    found.caIsotope = meanIsotopeShift(caShifts);
    found.cbIsotope = meanIsotopeShift(cbShifts);
    // Of two deviations with a common unknown part of the given usual size, the best fit.
    const auto misfit = [&](double caMean, double cbMean, double usual) {
        const double a = first->offset - caMean, b = second->offset - cbMean;
        const double wa = 1.0 / (first->error * first->error);
        const double wb = 1.0 / (second->error * second->error);
        const double common = (wa * a + wb * b) / (wa + wb + 1.0 / (usual * usual));
        return wa * (a - common) * (a - common) + wb * (b - common) * (b - common) +
               common * common / (usual * usual) + std::log1p(usual * usual * (wa + wb));
    };
    found.gain = 0.5 * (misfit(0.0, 0.0, usualOffset) -
                        misfit(found.caIsotope, found.cbIsotope, usualRest)) +
                 patternGain(caShifts, first->offset) + patternGain(cbShifts, second->offset);
    int carbons = 0, protons = 0;
    for (const auto& [number, residue] : chain) {
        carbons += residue.observed[ca] ? 1 : 0;
        protons += residue.observed[ca] && residue.observed[alpha] ? 1 : 0;
    }
    found.alphaShare = carbons > 0 ? static_cast<double>(protons) / carbons : 1.0;
    found.looks = found.gain > leastGain && found.alphaShare < mostAlpha &&
                  first->offset < 0.5 * found.caIsotope && second->offset < 0.5 * found.cbIsotope;
    return found;
}

}  // namespace orvix::check
