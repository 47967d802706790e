// The secondary structure stage: five networks on the shifts, one on the sequence, the classes.
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

/// The class values of the network that stands for a residue; zeros where none does.
const ClassValues& chosenValues(const ORVIX& run, const ValuesByResidue& complete, int residue) {
    using orvix::networks::ShiftNetwork;
    switch (orvix::networks::chooseNetwork(run.missingCount, residue)) {
        case ShiftNetwork::complete:
            return valuesAt(complete, residue);
        case ShiftNetwork::centre:
            return valuesAt(run.ssCenterResult, residue);
        case ShiftNetwork::previous:
            return valuesAt(run.ssPrevResult, residue);
        case ShiftNetwork::next:
            return valuesAt(run.ssNextResult, residue);
        case ShiftNetwork::none:
            break;
    }
    return zeroValues;
}

/// The class values of each residue of the sequence by shifts; zeros where they decide nothing.
ValuesByResidue valuesByShifts(const ORVIX& run, const ValuesByResidue& complete,
                               const ValuesByResidue& five) {
    const orvix::networks::ResidueRange range = orvix::networks::residueRange(run);
    ValuesByResidue result;
    for (const auto& [residue, letter] : run.seq) {
        ClassValues values = orvix::networks::outsideShifts(range, residue)
                                 ? zeroValues
                                 : chosenValues(run, complete, residue);
        const auto wide = five.find(residue);
        if (wide != five.end() && wide->second.size() == 3 && values != zeroValues) {
            values = orvix::networks::combineClasses(wide->second, values);
        }
        result[residue] = std::move(values);
    }
    return result;
}

/// The substitution scores of the residues that have any.
orvix::networks::ResidueMap sequenceInput(const ORVIX& run) {
    orvix::networks::ResidueMap input;
    for (const auto& [residue, letter] : run.seq) {
        const auto scores = run.blosumRaw.find(orvix::networks::baseLetter(letter));
        if (scores != run.blosumRaw.end() && scores->second.size() == 20) {
            input[residue] = scores->second;
        }
    }
    return input;
}

orvix::summaries::StructureRow structureRow(const ORVIX& run, int residue,
                                            const ClassValues& byShifts) {
    const orvix::networks::ClassDecision decision = orvix::networks::decideClass(
        byShifts, valuesAt(run.seqSSResult, residue),
        orvix::networks::isChainEnd(orvix::networks::residueRange(run), residue));
    orvix::summaries::StructureRow row;
    row.residue = residue;
    row.name = run.residueLabel(residue);
    row.shiftCount = run.tripletShiftCount(residue);
    row.ownShiftCount = 6 - run.missingAt(residue);
    row.helix = decision.values[0];
    row.strand = decision.values[1];
    row.coil = decision.values[2];
    row.confidence = orvix::networks::shownConfidence(decision.call.confidence);
    row.letter = decision.call.letter;
    row.chainEnd = decision.byRule;
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

    ssShiftResult = valuesByShifts(*this, seqSSResult, five);
    seqSSResult =
        runSequenceNetwork(*stageNetwork(*this, sequenceKind), sequenceInput(*this), ssShiftResult);

    for (const auto& [residue, byShifts] : ssShiftResult) {
        structureRows[residue] = structureRow(*this, residue, byShifts);
    }
    writeTable(orvix::ResultTable::structure);
}
