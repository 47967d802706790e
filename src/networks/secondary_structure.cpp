#include "networks/secondary_structure.h"

#include <algorithm>

#include "base/statistics.h"

namespace orvix::networks {

ClassCall callClass(const ClassValues& values, std::string_view letters) {
    ClassCall call;
    if (values.size() != 3) {
        return call;
    }
    const double top = std::max({values[0], values[1], values[2]});
    if (top == 0.0) {
        return call;
    }
    call.confidence = classMargin(values);
    call.letter = top == values[0] ? letters[0] : top == values[1] ? letters[1] : letters[2];
    return call;
}

ShiftNetwork chooseNetwork(const MissingCounts& missing, int residue) {
    const auto good = [&missing](int r) { return missingOf(missing, r) <= 3; };
    const bool before = good(residue - 1), here = good(residue), after = good(residue + 1);
    if (static_cast<int>(before) + static_cast<int>(here) + static_cast<int>(after) < 2) {
        return ShiftNetwork::none;
    }
    return !before  ? ShiftNetwork::previous
           : !here  ? ShiftNetwork::centre
           : !after ? ShiftNetwork::next
                    : ShiftNetwork::complete;
}

bool outsideShifts(const ResidueRange& range, int residue) {
    return residue < range.first || residue > range.last ||
           (residue == range.first && residue != range.firstShift) ||
           (residue == range.last && residue != range.lastShift);
}

bool isChainEnd(const ResidueRange& range, int residue) {
    return residue == range.firstShift || residue == range.lastShift || residue == 1 ||
           residue == range.lastSequence;
}

ClassValues combineClasses(const ClassValues& first, const ClassValues& second) {
    const auto a = static_cast<float>(first[0] + second[0]);
    const auto b = static_cast<float>(first[1] + second[1]);
    const auto c = static_cast<float>(first[2] + second[2]);
    const float total = a + b + c;
    if (total == 0.0F) {
        return second;
    }
    const float s = 1.0F / total;
    return {static_cast<double>(a * s), static_cast<double>(b * s), static_cast<double>(c * s)};
}

ClassDecision decideClass(const ClassValues& byShifts, const ClassValues& bySequence,
                          bool chainEnd) {
    ClassDecision decision;
    decision.values = byShifts;
    if (std::max({byShifts[0], byShifts[1], byShifts[2]}) != 0.0) {
        decision.byRule = chainEnd;
        decision.call = chainEnd ? ClassCall{"L", 0.0} : callClass(byShifts, "HEL");
    } else {
        decision.call = callClass(bySequence, "hec");
    }
    const std::string& letter = decision.call.letter;
    if (letter == "h" || letter == "e" || letter == "c") {
        decision.values = bySequence;
    } else if (chainEnd) {
        decision.values.assign(3, 0.3333);
    }
    return decision;
}

double shownConfidence(double confidence) {
    return confidence >= 1.0 ? 0.9999 : confidence;
}

void ClassBlocks::add(const std::string& residue, const std::string& letter, double confidence) {
    residues_ += residue;
    letters_ += letter;
    digits_ += std::to_string(static_cast<int>(10.0 * confidence));
    ++count_;
    if (count_ % 10 == 0) {
        residues_ += ' ';
        letters_ += ' ';
        digits_ += ' ';
    }
    if (count_ % 50 == 0) {
        text_ += block();
    }
}

std::string ClassBlocks::finish() {
    return text_ + beforeLast_ + block();
}

std::string ClassBlocks::block() {
    std::string lines = "DATA SEQUENCE     " + residues_ + "\nDATA PREDICTED_SS " + letters_ +
                        "\nDATA CONFIDENCE   " + digits_ + "\n\n";
    residues_.clear();
    letters_.clear();
    digits_.clear();
    return lines;
}

}  // namespace orvix::networks
