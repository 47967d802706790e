// The findings of the shift check as a report.

#include "results/shift_report.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "base/missing.h"
#include "base/numbers.h"
#include "results/gather.h"
#include "run/prediction.h"
#include "tables/cells.h"

namespace orvix::results {
namespace {

std::string letterOf(const std::map<int, std::string>& sequence, int residue) {
    const auto found = sequence.find(residue);
    return found == sequence.end() ? std::string() : found->second;
}

std::optional<ReferencingOffset> offsetOf(const Prediction& prediction, std::string_view nucleus) {
    const auto found =
        prediction.findings.offsets.find(nucleus == "CB" ? "CA" : std::string(nucleus));
    if (found == prediction.findings.offsets.end() || !found->second.enough ||
        !std::isfinite(found->second.offset) || !std::isfinite(found->second.error)) {
        return std::nullopt;
    }
    const shifts::OffsetEstimate& estimate = found->second;
    ReferencingOffset offset;
    offset.offset = printedNumber(estimate.offset, 3);
    offset.error = printedNumber(estimate.error, 3);
    offset.uncertainty = printedNumber(referencingUncertainty(nucleus, estimate.error), 3);
    offset.count = estimate.size;
    offset.significant = estimate.accepted;
    offset.applied = estimate.accepted && prediction.settings.offsetCorrect;
    return offset;
}

ReferencingLine lineOf(const shifts::OffsetGroupFit& group) {
    ReferencingLine line;
    line.count = group.size;
    line.expected = printedNumber(group.expected, 3);
    if (group.used) {
        line.slope = printedNumber(group.line.slope, 4);
        line.intercept = printedNumber(group.line.intercept, 3);
        line.error = printedNumber(group.line.error, 3);
    }
    return line;
}

bool isExpected(const std::string& letter, std::string_view atom, bool firstResidue) {
    if (letter == "P" || letter == "p") {
        return atom != "N" && atom != "HN";
    }
    if (atom == "HN") {
        return !firstResidue;
    }
    return !(letter == "G" && atom == "CB");
}

std::array<Completeness, 6> completenessOf(const Prediction& prediction) {
    std::map<int, std::set<std::string>> assigned;
    for (const auto& [number, row] : prediction.shiftTable.entries) {
        const std::string& shift = tables::cellOf(&row, "CS_OBS");
        if (!shift.empty() && tables::shiftFromText(shift) < missingLimit) {
            assigned[textToInt(tables::cellOf(&row, "RESID"))].insert(
                tables::shiftAtom(tables::cellOf(&row, "ATOMNAME")));
        }
    }
    std::array<Completeness, 6> all{};
    for (std::size_t i = 0; i < shiftAtoms.size(); ++i) {
        const std::string atom(shiftAtoms[i]);
        for (const auto& [residue, letter] : prediction.sequenceAsRead) {
            if (letter == "X" || letter == "?" || letter.empty() ||
                !isExpected(letter, atom, residue == prediction.seqFirstResid)) {
                continue;
            }
            ++all[i].expected;
            const auto found = assigned.find(residue);
            all[i].assigned += found != assigned.end() && found->second.count(atom) > 0 ? 1 : 0;
        }
    }
    return all;
}

std::vector<NameMismatch> mismatchesOf(const Prediction& prediction) {
    std::vector<NameMismatch> mismatches;
    std::set<std::pair<int, std::string>> seen;
    for (const shifts::SequenceMismatch& one : prediction.findings.mismatches) {
        if (seen.emplace(one.residue, one.rowName).second) {
            mismatches.push_back({one.residue, one.sequenceName, one.rowName});
        }
    }
    return mismatches;
}

std::optional<ShiftLimits> limitsOf(const GDB::Entry* row, const std::string& atom) {
    const std::string& low = tables::cellOf(row, atom + "_MIN");
    const std::string& high = tables::cellOf(row, atom + "_MAX");
    if (low.empty() || high.empty()) {
        return std::nullopt;
    }
    const std::optional<double> least = printedNumber(textToDouble(low), 3);
    const std::optional<double> most = printedNumber(textToDouble(high), 3);
    return least && most ? std::optional(ShiftLimits{*least, *most}) : std::nullopt;
}

}  // namespace

double referencingUncertainty(std::string_view nucleus, double error) {
    return (nucleus == "HA" ? 3.0 : 2.5) * error;
}

ShiftReport shiftReport(const Prediction& prediction, const GDB& shiftLimits) {
    ShiftReport report;
    for (std::size_t i = 0; i < offsetNuclei.size(); ++i) {
        report.offsets[i] = offsetOf(prediction, offsetNuclei[i]);
    }
    const int lastResidue = prediction.seqFirstResid + prediction.seqLength - 1;
    for (const shifts::ShiftOutlier& one : prediction.findings.outliers) {
        const bool atEnd = one.residue <= prediction.seqFirstResid || one.residue >= lastResidue;
        report.outliers.push_back({one.residue, one.name, one.atom, printedNumber(one.shift, 3),
                                   printedNumber(one.limit, 3), one.serious,
                                   one.serious && !atEnd});
    }
    report.completeness = completenessOf(prediction);
    report.mismatches = mismatchesOf(prediction);
    for (std::size_t i = 0; i < lineNuclei.size(); ++i) {
        const auto found = prediction.findings.offsets.find(std::string(lineNuclei[i]));
        if (found != prediction.findings.offsets.end()) {
            report.lines[i] = {lineOf(found->second.negative), lineOf(found->second.positive)};
        }
    }
    for (const auto& [residue, label] : prediction.sequenceAsRead) {
        const std::string letter = letterOf(prediction.sequence, residue);
        const GDB::Entry* row = tables::findRow(shiftLimits, "RESNAME", letter);
        if (row == nullptr || letter.empty() || report.limits.count(letter) > 0) {
            continue;
        }
        for (std::size_t i = 0; i < shiftAtoms.size(); ++i) {
            report.limits[letter][i] = limitsOf(row, std::string(shiftAtoms[i]));
        }
    }
    return report;
}

}  // namespace orvix::results
