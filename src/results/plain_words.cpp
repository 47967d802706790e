#include "results/plain_words.h"

#include <cmath>
#include <cstdio>
#include <map>

#include "results/check_report.h"

namespace orvix::results {
namespace {

constexpr std::size_t listedItems = 6;

/// The first items of a list, and how many more there are.
std::string listed(const std::vector<std::string>& items) {
    std::string text;
    for (std::size_t i = 0; i < items.size() && i < listedItems; ++i) {
        text += (i > 0 ? ", " : "") + items[i];
    }
    if (items.size() > listedItems) {
        text += " and " + std::to_string(items.size() - listedItems) + " more";
    }
    return text;
}

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string outlierWords(const ShiftReport& report) {
    std::vector<std::string> gross, others;
    for (const Outlier& outlier : report.outliers) {
        (outlier.gross ? gross : others).push_back(outlierName(outlier));
    }
    const std::size_t all = gross.size() + others.size();
    if (all == 0) {
        return {};
    }
    std::string text = "Outliers: " + std::to_string(all) + ", ";
    if (gross.empty()) {
        return text + "none gross: " + listed(others);
    }
    text += std::to_string(gross.size()) + " gross: " + listed(gross);
    if (!others.empty()) {
        text += "; the others: " + listed(others);
    }
    return text + ". Check the assignment of gross ones";
}

std::string offsetWords(const ShiftReport& report, bool deuterated) {
    std::string toCorrect, applied;
    for (const std::string_view nucleus : lineNuclei) {
        const auto& offset = report.offsets[placeOf(offsetNuclei, nucleus)];
        const bool worth = offset && isWorthCorrecting(nucleus, *offset);
        if (!offset || (!worth && !offset->applied) || (deuterated && nucleus == "CA")) {
            continue;
        }
        const int decimals = nucleus == "HA" ? 2 : 1;
        std::string& list = offset->applied ? applied : toCorrect;
        list += (list.empty() ? "" : ", ") + std::string(nucleus == "CA" ? "CA and CB" : nucleus) +
                " by " + fixed(offset->offset.value_or(0.0), decimals) + " +/- " +
                fixed(offset->uncertainty.value_or(0.0), decimals) + " ppm";
    }
    std::string text;
    if (!applied.empty()) {
        text = "Referencing was corrected: " + applied;
    }
    if (!toCorrect.empty()) {
        text += (text.empty() ? "Referencing" : "; it") + std::string(" looks off: ") + toCorrect +
                "; correct the shifts, or run again with --offset";
    }
    return text;
}

std::string nameWords(const ShiftReport& report) {
    std::vector<std::string> items;
    for (const NameMismatch& one : report.mismatches) {
        items.push_back(std::to_string(one.residue) + " " + one.tableName + " (sequence " +
                        (one.sequenceName.empty() ? "-" : one.sequenceName) + ")");
    }
    return items.empty() ? std::string()
                         : "Residue names that are not those of the sequence: " + listed(items);
}

std::string deuterationWords(bool said, bool looks) {
    if (said) {
        return std::string("The entry says that the sample is deuterated") +
               (looks ? ", and CA and CB are low together: run again with --iso"
                      : ": if CA and CB are of a deuterated protein, run again with --iso");
    }
    return looks ? "The sample looks deuterated (no HA, CA and CB low together): if it is, run "
                   "again with --iso"
                 : "";
}

}  // namespace

std::string classCounts(const FinishedPrediction& prediction) {
    std::map<std::string, int> counts;
    for (const auto& [number, residue] : prediction.residues) {
        ++counts[residue.classWord];
    }
    std::string text = std::to_string(prediction.residues.size()) + " residues";
    const char* separator = ": ";
    for (const char* word : {"Strong", "Generous", "Warn", "Dyn", "Bad", "None"}) {
        if (counts[word] > 0) {
            text += separator + std::string(word) + " " + std::to_string(counts[word]);
            separator = ", ";
        }
    }
    return text;
}

bool looksDeuterated(const ShiftReport& report) {
    constexpr double least = -1.0, most = -0.2;  // ppm, CA and CB of a deuterated sample
    const Completeness& alpha = report.completeness[placeOf(shiftAtoms, "HA")];
    const auto& offset = report.offsets[placeOf(offsetNuclei, "CA")];
    return alpha.assigned * 20 < alpha.expected && offset && offset->significant &&
           offset->offset.value_or(0.0) > least && offset->offset.value_or(0.0) < most;
}

std::vector<std::string> plainWords(const FinishedPrediction& prediction, bool saidDeuterated) {
    const ShiftReport& report = prediction.check;
    const bool uncorrected = !prediction.settings.isotopeCorrection;
    const bool deuterated = uncorrected && looksDeuterated(report);
    std::vector<std::string> lines = {classCounts(prediction)};
    const std::string found[] = {outlierWords(report), offsetWords(report, deuterated),
                                 deuterationWords(uncorrected && saidDeuterated, deuterated),
                                 nameWords(report)};
    for (const std::string& line : found) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    if (lines.size() == 1) {
        lines.emplace_back("The shifts show no outliers and no offsets of the referencing");
    }
    return lines;
}

}  // namespace orvix::results
