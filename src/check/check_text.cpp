#include "check/check_text.h"

#include <array>
#include <cstdio>

#include "run/prediction.h"

namespace orvix::check {
namespace {

std::string fixed(double value, int width, int decimals) {
    char text[400];
    std::snprintf(text, sizeof text, "%*.*f", width, decimals, value);
    return text;
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string offsetLine(const std::string& name, const std::optional<NucleusOffset>& offset,
                       const std::string& verdict) {
    return "  " + padded(name, 7) +
           (offset ? fixed(offset->offset, 7, 3) + " +/- " + fixed(offset->error, 5, 3) + " from " +
                         std::to_string(offset->count) + " shifts" + verdict + "\n"
                   : "too few shifts of residues with a predicted conformation\n");
}

std::string offsetText(const ShiftCheck& check) {
    const auto verdict = [](std::string_view name, const std::optional<NucleusOffset>& offset) {
        return offset && isToCorrect(name, *offset) ? "  ! correct it" : "";
    };
    const Offsets& offsets = check.offsets;
    std::string text =
        "Referencing offsets against the predicted conformation (ppm, with standard errors)\n";
    text += offsetLine(std::string(carbonsName), offsets.carbons,
                       check.deuteration.looks ? "" : verdict(carbonsName, offsets.carbons));
    for (const std::string_view name : {"CA", "CB", "C", "HA", "N", "HN"}) {
        const std::size_t atom = results::placeOf(results::shiftAtoms, name);
        text += offsetLine((isCarbon(atom) ? "  " : "") + std::string(name), offsets.atoms[atom],
                           isCarbon(atom) ? "" : verdict(name, offsets.atoms[atom]));
    }
    if (check.deuteration.looks) {
        text += "  The sample looks deuterated: CA and CB are low as deuterium makes them (" +
                fixed(check.deuteration.caIsotope, 0, 2) + " and " +
                fixed(check.deuteration.cbIsotope, 0, 2) +
                " ppm), hardly any HA. If it is, check again with --iso\n";
    }
    return text;
}

std::string evidenceText(const std::vector<PlaceEvidence>& evidence) {
    std::string text;
    for (const PlaceEvidence& one : evidence) {
        text += (text.empty() ? "" : ", ") + std::string(results::shiftAtoms[one.atom]) + " " +
                fixed(one.own, 0, 1) + " (" + fixed(one.other, 0, 1) + ")";
    }
    return text;
}

std::string nameOf(int number, const ChainShifts& chain) {
    const auto residue = chain.find(number);
    return (residue == chain.end() ? "?" : residue->second.letter) + std::to_string(number);
}

std::string misassignmentsText(const ShiftCheck& check) {
    std::string text =
        "Possible misassignments (deviations in spreads at their place, in brackets at the "
        "other)\n";
    for (const Misassignment& one : check.misassignments) {
        text += "  " + misassignmentText(one, check.chain);
    }
    return text + (check.misassignments.empty() ? "  none\n" : "");
}

}  // namespace

std::string correctionWords(const Offsets& offsets, bool deuterated) {
    std::string list;
    const auto add = [&](std::string_view name, const std::optional<NucleusOffset>& one) {
        if (one) {
            const bool proton = name[0] == 'H';
            list += (list.empty() ? "" : ", ") + std::string(name) + " by " +
                    fixed(one->offset, 0, proton ? 3 : 2) + " +/- " +
                    fixed(one->error, 0, proton ? 3 : 2) + " ppm";
        }
    };
    add(carbonsName, offsets.carbons);
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        add(results::shiftAtoms[atom], offsets.atoms[atom]);
    }
    std::string text = list.empty() ? "Referencing: no offset to correct"
                                    : "Referencing was corrected before the run: " + list;
    return text + (deuterated ? "; CA and CB stay, the sample looks deuterated" : "");
}

std::string misassignmentText(const Misassignment& one, const ChainShifts& chain) {
    const std::string first = nameOf(one.first, chain), second = nameOf(one.second, chain);
    std::string text = first +
                       (one.swap ? " and " + second + " fit better exchanged"
                                 : " fits " + second + " better, which has no shifts") +
                       ", likelihood ratio exp(" + fixed(one.gain, 0, 1) + ")\n      " +
                       padded(first, 6) + evidenceText(one.firstShifts) + "\n";
    if (one.swap) {
        text += "      " + padded(second, 6) + evidenceText(one.secondShifts) + "\n";
    }
    return text;
}

results::FindingCounts countFindings(const results::ShiftReport& report, const ShiftCheck& check) {
    results::ShiftReport others = report;
    for (std::size_t i = 0; i < results::offsetNuclei.size(); ++i) {
        const std::size_t atom = results::placeOf(results::shiftAtoms, results::offsetNuclei[i]);
        if (isCarbon(atom) ? check.offsets.carbons : check.offsets.atoms[atom]) {
            others.offsets[i].reset();
        }
    }
    results::FindingCounts counts = results::countFindings(others);
    const Offsets wrong = offsetsToCorrect(check);
    counts.offsets += wrong.carbons ? 1 : 0;
    for (const auto& offset : wrong.atoms) {
        counts.offsets += offset ? 1 : 0;
    }
    counts.misassignments = static_cast<int>(check.misassignments.size());
    return counts;
}

std::string checkText(const results::ShiftReport& report, const ShiftCheck& check,
                      const std::string& file) {
    return results::checkText(report, file, check.prediction.seqFirstResid,
                              check.prediction.seqLength,
                              results::CheckAddition{offsetText(check), misassignmentsText(check),
                                                     countFindings(report, check)});
}

}  // namespace orvix::check
