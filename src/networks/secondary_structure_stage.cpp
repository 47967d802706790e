#include <algorithm>
#include <utility>

#include "networks/class_network.h"
#include "networks/network_input.h"
#include "networks/secondary_structure.h"
#include "networks/sequence_network.h"
#include "networks/stage_network.h"
#include "run/orvix.h"
#include "run/prediction.h"

namespace {

using orvix::networks::ClassValues;
using ValuesByResidue = std::map<int, ClassValues>;

const ClassValues zeroValues(3, 0.0);

const ClassValues& valuesAt(const ValuesByResidue& values, int residue) {
    const auto found = values.find(residue);
    return found == values.end() || found->second.size() != 3 ? zeroValues : found->second;
}

/// The network that stands for a residue by where shifts are missing around it, or zeros where two
/// or more of the three positions lack them.
const ClassValues& selectValues(const ORVIX& run, const ValuesByResidue& complete, int residue) {
    const auto good = [&run](int r) { return run.missingAt(r) <= 3; };
    const bool before = good(residue - 1), here = good(residue), after = good(residue + 1);
    if (before && here && after) {
        return valuesAt(complete, residue);
    }
    if (before && !here && after) {
        return valuesAt(run.ssCenterResult, residue);
    }
    if (!before && here && after) {
        return valuesAt(run.ssPrevResult, residue);
    }
    if (before && here && !after) {
        return valuesAt(run.ssNextResult, residue);
    }
    return zeroValues;
}

bool outOfRange(const ORVIX& run, int residue) {
    return residue < run.firstResid || residue > run.lastResid ||
           (residue == run.firstResid && residue != run.firstCSResid) ||
           (residue == run.lastResid && residue != run.lastCSResid);
}

/// Sum of two class vectors scaled to 1, in single precision.
ClassValues combine(const ClassValues& first, const ClassValues& second) {
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

bool isChainEnd(const ORVIX& run, int residue) {
    return residue == run.firstCSResid || residue == run.lastCSResid || residue == 1 ||
           residue == run.seqFirstResid + run.seqLength - 1;
}

/// What the table says of a residue: the class by shifts, or by sequence where they are silent.
orvix::summaries::StructureRow structureRow(const ORVIX& run, int residue,
                                            const ClassValues& shiftValues) {
    const bool decidedByShifts = std::max({shiftValues[0], shiftValues[1], shiftValues[2]}) != 0.0;
    const bool end = isChainEnd(run, residue);
    orvix::networks::ClassCall call;
    ClassValues shown = shiftValues;
    if (decidedByShifts) {
        call = orvix::networks::callClass(shiftValues, "HEL");
        if (end) {
            call.letter = "L";
            call.confidence = 0.0;
        }
    } else {
        call = orvix::networks::callClass(valuesAt(run.seqSSResult, residue), "hec");
    }
    if (call.letter == "h" || call.letter == "e" || call.letter == "c") {
        shown = valuesAt(run.seqSSResult, residue);
    } else if (end) {
        shown.assign(3, 0.3333);
    }
    orvix::summaries::StructureRow row;
    row.residue = residue;
    row.name = run.residueLabel(residue);
    row.shiftCount =
        18 - run.missingAt(residue - 1) - run.missingAt(residue) - run.missingAt(residue + 1);
    row.ownShiftCount = 6 - run.missingAt(residue);
    row.helix = shown[0];
    row.strand = shown[1];
    row.coil = shown[2];
    row.confidence = orvix::networks::shownConfidence(call.confidence);
    row.letter = call.letter;
    row.chainEnd = decidedByShifts && end;
    row.state = run.seqName(residue);
    const auto original = run.seqOrig.find(residue);
    row.listed = original != run.seqOrig.end() && !original->second.empty();
    return row;
}

}  // namespace

void ORVIX::runSS_Prediction() {
    using namespace orvix::networks;
    const auto classesOf = [this](const NetworkKind& kind, const ResidueMap& input, int code) {
        return runClassNetwork(*stageNetwork(*this, kind), input, code);
    };
    seqSSResult = classesOf(classKind, annInput, 0);
    ssCenterResult = classesOf(classCentreKind, annInput, 2);
    ssPrevResult = classesOf(classPreviousKind, annInput, 1);
    ssNextResult = classesOf(classNextKind, annInput, 3);
    const ValuesByResidue five = classesOf(classFiveKind, residueFirst(annInput), 5);

    std::map<int, std::vector<double>> sequenceInput;
    for (const auto& [residue, letter] : seq) {
        ClassValues values =
            outOfRange(*this, residue) ? zeroValues : selectValues(*this, seqSSResult, residue);
        const auto wide = five.find(residue);
        if (wide != five.end() && wide->second.size() == 3 && values != zeroValues) {
            values = combine(wide->second, values);
        }
        ssShiftResult[residue] = std::move(values);

        const auto scores = blosumRaw.find(orvix::networks::baseLetter(letter));
        if (scores != blosumRaw.end() && scores->second.size() == 20) {
            sequenceInput[residue] = scores->second;
        }
    }
    seqSSResult =
        runSequenceNetwork(*stageNetwork(*this, sequenceKind), sequenceInput, ssShiftResult);

    for (const auto& [residue, shiftValues] : ssShiftResult) {
        structureRows[residue] = structureRow(*this, residue, shiftValues);
    }
    writeTable(orvix::ResultTable::structure);
}
