#include "order/rci.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/missing.h"

namespace {

constexpr std::size_t pairValues = 12;           // six pairs (shift, flag)
constexpr int unusableFrom = 5;                  // missing atoms of a residue without usable data
constexpr double missing = orvix::missingValue;  // no index
constexpr double indexCap = 0.6;
constexpr std::size_t atomCount = 6;

// Columns of the tables for the atoms in the order of the pairs: HN, N, HA, C, CA, CB.
constexpr int tableColumn[atomCount] = {4, 0, 5, 1, 2, 3};
const char* const atomWords[atomCount] = {"HN", "N", "HA", "C", "CA", "CB"};

// Up to this width every number from the first to the last residue gets its entries. Wider ranges
// come from a stray number alone; there only residues with data and their neighbours are looked at,
// since everything further away has no result anyway.
constexpr std::int64_t denseRange = 1'000'000;

struct Range {
    std::int64_t first = 999;
    std::int64_t last = -999;
};

Range residueRange(const std::map<int, std::vector<double>>& cs) {
    Range range;
    if (!cs.empty()) {
        range.first = std::min<std::int64_t>(range.first, cs.begin()->first);
        range.last = std::max<std::int64_t>(range.last, cs.rbegin()->first);
    }
    return range;
}

std::vector<int> residuesOf(const std::map<int, std::vector<double>>& cs, const Range& range) {
    std::vector<int> residues;
    if (range.last - range.first < denseRange) {
        for (std::int64_t i = range.first; i <= range.last; ++i) {
            residues.push_back(static_cast<int>(i));
        }
        return residues;
    }
    for (const auto& entry : cs) {
        for (std::int64_t i = entry.first - std::int64_t{1}; i <= entry.first + std::int64_t{1};
             ++i) {
            if (i >= range.first && i <= range.last && (residues.empty() || i > residues.back())) {
                residues.push_back(static_cast<int>(i));
            }
        }
    }
    return residues;
}

// The three residues around i; two at an end of the chain, and a chain of one stands alone.
Range window(std::int64_t i, const Range& range) {
    return {std::max(i - 1, range.first), std::min(i + 1, range.last)};
}

int tableRow(const std::string& letter) {
    // No letter is found at the first place, and so taken as A.
    const std::size_t row = RCI::AAseqList.find(letter);
    return static_cast<int>(row == std::string::npos ? RCI::AAseqList.size() - 1 : row);
}

// Table rows of a residue and of its neighbours, with G past the ends of the chain.
struct Neighbours {
    int current, previous, previous2, next, next2;

    Neighbours(std::int64_t i, const Range& range, const std::map<int, std::string>& seq) {
        const auto row = [&seq](std::int64_t residue) {
            const bool isNumber = residue >= INT32_MIN && residue <= INT32_MAX;
            const auto found = isNumber ? seq.find(static_cast<int>(residue)) : seq.end();
            return tableRow(found == seq.end() ? std::string() : found->second);
        };
        current = row(i);
        previous = row(i - 1);
        previous2 = row(i - 2);
        next = row(i + 1);
        next2 = row(i + 2);
        const int pastEnd = tableRow("G");
        if (i == range.first) {
            previous = previous2 = pastEnd;
        } else if (i == range.first + 1) {
            previous2 = pastEnd;
        } else if (i == range.last - 1) {
            next2 = pastEnd;
        } else if (i == range.last) {
            next = next2 = pastEnd;
        }
    }

    double reference(int column) const {
        return RCI::preceed_res_effect[previous][column] + RCI::random_coil[current][column] +
               RCI::next_res_effect[next][column] +
               RCI::preceed_preceed_res_effect[previous2][column] +
               RCI::next_next_res_effect[next2][column];
    }
};

}  // namespace

RCI::RCI() {
    initWeightCoefficient();
}

void RCI::initWeightCoefficient() {
    // HN takes no part.
    for (double weight : {0.0, 0.59, 0.85, 0.72, 0.72, 0.15}) {
        weightCoefficient.push_back(weight);
    }
}

void RCI::runRCI(std::map<int, std::vector<double>>& cs,
                 std::map<int, std::map<std::string, double>>& adjust,
                 std::map<int, std::string>& sequence) {
    inCS = cs;
    csAdjust = adjust;
    seq = sequence;
    avgCS.clear();
    missingAtoms.clear();
    rci.clear();
    s2.clear();

    inCS_convert_ORVIX2RCI();
    applyThreePointsCSAveraging();
    countMissingAtoms();
    calcIndex();
    applyEndCorrection();
    applyFinalSmooth();
    calcS2();
}

void RCI::inCS_convert_ORVIX2RCI() {
    const Range range = residueRange(inCS);
    for (auto& [residue, values] : inCS) {
        if (values.size() < pairValues) {
            values.clear();
            continue;
        }
        const Neighbours neighbours(residue, range, seq);
        const auto letter = seq.find(residue);
        const bool isPro = letter != seq.end() && letter->second == "P";
        const bool isGly = letter != seq.end() && letter->second == "G";
        std::map<std::string, double>& adjust = csAdjust[residue];

        std::vector<double> converted(values.begin(), values.begin() + pairValues);
        for (std::size_t atom = 0; atom < atomCount; ++atom) {
            const std::string name = atomWords[atom];
            double& shift = converted[2 * atom];
            if (isPro && (name == "HN" || name == "N")) {
                shift = 0.0;
            } else if (!(isGly && name == "CB")) {
                shift = shift + adjust[name] - neighbours.reference(tableColumn[atom]);
            }
        }
        values = std::move(converted);
    }
}

void RCI::applyThreePointsCSAveraging() {
    const Range range = residueRange(inCS);
    for (int residue : residuesOf(inCS, range)) {
        const Range around = window(residue, range);
        std::vector<double> averages;
        for (std::size_t atom = 0; atom < atomCount; ++atom) {
            double sum = 0.0;
            int count = 0;
            for (std::int64_t j = around.first; j <= around.last; ++j) {
                const std::vector<double>& values = inCS[static_cast<int>(j)];
                if (values.size() >= pairValues && values[2 * atom] != 0.0) {
                    sum += std::fabs(values[2 * atom]);
                    ++count;
                }
            }
            averages.push_back(count == 0 ? 0.0 : sum / count);
        }
        avgCS[residue] = std::move(averages);
    }
}

void RCI::countMissingAtoms() {
    for (const auto& [residue, values] : inCS) {
        int count = unusableFrom;
        if (values.size() >= pairValues) {
            count = 0;
            for (std::size_t flag = 3; flag < pairValues; flag += 2) {
                count += values[flag] == 1.0 ? 1 : 0;
            }
        }
        const auto letter = seq.find(residue);
        if (letter != seq.end() && letter->second == "G") {
            ++count;
        }
        missingAtoms[residue] = count;
    }
}

double RCI::calcRCI(std::vector<double>& a, std::vector<double>& weights) {
    if (a.size() != atomCount || weights.size() != atomCount) {
        return -1.0;
    }
    double total = 0.0;
    int weighted = 0;
    for (std::size_t k = 1; k < atomCount; ++k) {
        total += weights[k] * std::fabs(a[k]);
        weighted += weights[k] != 0.0 ? 1 : 0;
    }
    const double r = 1.0 / (5.0 * total / weighted);
    return r * std::sqrt(r);
}

void RCI::calcIndex() {
    // Brings the atoms to one scale; protons move least.
    constexpr double scale[atomCount] = {10.0, 1.0, 10.0, 2.5, 2.5, 2.5};
    constexpr double scaledFloor = 0.5;
    for (const auto& [residue, averages] : avgCS) {
        if (averages.size() != atomCount) {
            continue;
        }
        std::vector<double> scaled(atomCount);
        for (std::size_t k = 0; k < atomCount; ++k) {
            scaled[k] = scale[k] * averages[k];
            if (std::fabs(scaled[k]) < scaledFloor) {
                scaled[k] = scaledFloor;
            }
        }
        const double index = std::min(calcRCI(scaled, weightCoefficient), indexCap);
        rci[residue] = index * 0.8888888888888888;
    }
}

void RCI::applyEndCorrection() {
    const Range range = residueRange(inCS);
    const auto usable = [this](std::int64_t i) {
        return missingAtoms[static_cast<int>(i)] < unusableFrom;
    };
    const auto pushPast = [this](std::int64_t i, double peak) {
        double& value = rci[static_cast<int>(i)];
        value += 2.0 * (peak - value);
        value = std::min(value, indexCap);
    };

    // The start of the chain goes by the literal numbers 1 to 4.
    std::int64_t peakAt = 1;
    double peak = -1.0;
    for (std::int64_t i = 1; i <= 4; ++i) {
        if (i < range.first || (i == 4 && range.first == 4) || !usable(i)) {
            continue;
        }
        if (rci[static_cast<int>(i)] > peak) {
            peak = rci[static_cast<int>(i)];
            peakAt = i;
        }
    }
    for (std::int64_t i = peakAt - 1; i >= 1; --i) {
        if (usable(i)) {
            pushPast(i, peak);
        }
    }

    peakAt = range.last;
    peak = -1.0;
    for (std::int64_t i = range.last - 3; i <= range.last; ++i) {
        if (usable(i) && rci[static_cast<int>(i)] > peak) {
            peak = rci[static_cast<int>(i)];
            peakAt = i;
        }
    }
    for (std::int64_t i = peakAt + 1; i <= range.last; ++i) {
        if (usable(i)) {
            pushPast(i, peak);
        }
    }
}

void RCI::applyFinalSmooth() {
    const Range range = residueRange(inCS);
    std::map<int, double> smoothed;
    for (int residue : residuesOf(inCS, range)) {
        const Range around = window(residue, range);
        double sum = 0.0;
        int count = 0;
        for (std::int64_t j = around.first; j <= around.last; ++j) {
            if (missingAtoms[static_cast<int>(j)] < unusableFrom) {
                sum += rci[static_cast<int>(j)];
                ++count;
            }
        }
        smoothed[residue] = count == 0 ? missing : sum / count;
    }
    rci = std::move(smoothed);
}

void RCI::calcS2() {
    for (const auto& entry : inCS) {
        const double index = rci[entry.first];
        s2[entry.first] = index == missing ? missing : 0.4 * std::log(1.0 + 17.7 * index);
    }
}
