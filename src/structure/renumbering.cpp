#include "structure/renumbering.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "base/alignment.h"
#include "structure/pdb.h"

namespace orvix::structure {
namespace {

/// An alignment with gaps has to place more residues than this rightly that one offset doesn't.
constexpr int worthGaps = 2;

char letterOf(const std::string& name) {
    return name.size() == 1 ? name[0] : 'X';
}

struct Chain {
    std::vector<int> numbers;
    std::string letters;
};

template <class Letters>
Chain chainOf(const Letters& letters) {
    Chain chain;
    for (const auto& [number, letter] : letters) {
        chain.numbers.push_back(number);
        chain.letters += letterOf(letter);
    }
    return chain;
}

bool isNumber(long long number) {
    return number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
}

/// The fit when `offset` is added to all numbers.
StructureFit fitAt(long long offset, const Chain& chain,
                   const std::map<int, std::string>& sequence) {
    StructureFit fit;
    fit.offset = static_cast<int>(offset);
    for (std::size_t i = 0; i < chain.numbers.size(); ++i) {
        const long long number = chain.numbers[i] + offset;
        if (!isNumber(number)) {
            continue;
        }
        fit.number[chain.numbers[i]] = static_cast<int>(number);
        const auto found = sequence.find(static_cast<int>(number));
        if (found != sequence.end()) {
            ++fit.aligned;
            fit.identical +=
                alignShifted(found->second, std::string(1, chain.letters[i]), 0).identical;
        }
    }
    return fit;
}

/// The offset that most aligned residues share, tried beside the numbers as they stand.
StructureFit bestOffset(const Alignment& alignment, const Chain& chain, const Chain& query,
                        const std::map<int, std::string>& sequence) {
    std::map<long long, int> votes;
    for (std::size_t i = 0; i < chain.numbers.size(); ++i) {
        if (alignment.partner[i] >= 0) {
            ++votes[static_cast<long long>(
                        query.numbers[static_cast<std::size_t>(alignment.partner[i])]) -
                    chain.numbers[i]];
        }
    }
    StructureFit best = fitAt(0, chain, sequence);
    for (const auto& [offset, count] : votes) {
        if (count > best.identical && isNumber(offset)) {
            StructureFit fit = fitAt(offset, chain, sequence);
            if (fit.identical > best.identical) {
                best = std::move(fit);
            }
        }
    }
    return best;
}

/// The numbers of an alignment with gaps.
StructureFit fitWithGaps(const Alignment& alignment, const Chain& chain, const Chain& query) {
    StructureFit fit;
    fit.oneOffset = false;
    fit.aligned = alignment.aligned;
    fit.identical = alignment.identical;
    const std::vector<int>& partner = alignment.partner;
    std::size_t first = 0, last = partner.size();
    while (first < partner.size() && partner[first] < 0) {
        ++first;
    }
    while (last > first && partner[last - 1] < 0) {
        --last;
    }
    if (first == last) {
        return fit;
    }
    const auto numberOf = [&](std::size_t place) {
        return static_cast<long long>(query.numbers[static_cast<std::size_t>(partner[place])]);
    };
    const auto unplaced = [&](std::size_t place) {
        return place >= first && place < last && partner[place] < 0;
    };
    fit.offset = static_cast<int>(numberOf(first) - chain.numbers[first]);
    for (std::size_t i = 0; i < partner.size(); ++i) {
        long long number = 0;
        if (i < first) {
            number = numberOf(first) + chain.numbers[i] - chain.numbers[first];
        } else if (i >= last) {
            number = numberOf(last - 1) + chain.numbers[i] - chain.numbers[last - 1];
        } else if (unplaced(i) || (i > 0 && unplaced(i - 1)) || unplaced(i + 1)) {
            // Torsion angles across the cut would join atoms that aren't bonded.
            continue;
        } else {
            number = numberOf(i);
        }
        if (isNumber(number)) {
            fit.number[chain.numbers[i]] = static_cast<int>(number);
        }
    }
    return fit;
}

}  // namespace

double StructureFit::identity() const {
    return aligned > 0 ? static_cast<double>(identical) / aligned : 0.0;
}

StructureFit fitStructure(const PDB& structure, const std::map<int, std::string>& sequence) {
    const Chain chain = chainOf(structure.residName1), query = chainOf(sequence);
    const Alignment alignment = alignWhole(query.letters, chain.letters);
    StructureFit shifted = bestOffset(alignment, chain, query, sequence);
    if (alignment.identical > shifted.identical + worthGaps) {
        return fitWithGaps(alignment, chain, query);
    }
    return shifted;
}

std::unique_ptr<PDB> renumbered(const PDB& structure, const StructureFit& fit) {
    auto result = std::make_unique<PDB>(structure);
    result->atomsByNum.clear();
    result->atoms.clear();
    result->residName1.clear();
    result->residName3.clear();
    result->firstRes = 9999;
    result->lastRes = -9999;
    std::map<int, CORdata>& bySerial = result->atomsByNum[1];
    for (const auto& [old, number] : fit.number) {
        result->residName1[number] = structure.residName1.at(old);
        result->residName3[number] = structure.residName3.at(old);
        result->firstRes = std::min(result->firstRes, number);
        result->lastRes = std::max(result->lastRes, number);
    }
    for (const auto& [serial, atom] : structure.atomsByNum.at(1)) {
        const auto found = fit.number.find(atom.resNum);
        if (found != fit.number.end()) {
            bySerial[serial] = atom;
            bySerial[serial].resNum = found->second;
        }
    }
    for (const auto& [old, named] : structure.atoms.at(1)) {
        const auto found = fit.number.find(old);
        if (found != fit.number.end()) {
            auto& target = result->atoms[1][found->second];
            target = named;
            for (auto& [name, atom] : target) {
                atom.resNum = found->second;
            }
        }
    }
    return result;
}

}  // namespace orvix::structure
