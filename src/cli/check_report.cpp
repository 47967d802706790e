#include "cli/check_report.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <set>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/version.h"
#include "results/results.h"
#include "run/orvix.h"
#include "tables/cells.h"

namespace orvix::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* nuclei[] = {"HN", "N", "HA", "C", "CA", "CB"};

bool isExpected(const std::string& letter, const std::string& atom, bool firstResidue) {
    if (letter == "P" || letter == "p") {
        return atom != "N" && atom != "HN";
    }
    if (atom == "HN") {
        return !firstResidue;
    }
    return !(letter == "G" && atom == "CB");
}

/// A line of the report, never a long one.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...) {
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

/// A nucleus of the offset estimates and how the report names it.
struct OffsetLine {
    const char* atom;
    const char* name;
};
constexpr OffsetLine offsetLines[] = {{"CA", "CA/CB"}, {"HA", "HA"}, {"C", "C"}};

/// One for each residue and name, however many shifts the residue has.
std::vector<shifts::SequenceMismatch> mismatchesOf(const ORVIX& run) {
    std::vector<shifts::SequenceMismatch> mismatches;
    std::set<std::pair<int, std::string>> seen;
    for (const shifts::SequenceMismatch& mismatch : run.shiftFindings.mismatches) {
        if (seen.emplace(mismatch.residue, mismatch.rowName).second) {
            mismatches.push_back(mismatch);
        }
    }
    return mismatches;
}

std::string offsetText(const ORVIX& run) {
    std::string text = "Referencing offsets (ppm)\n";
    for (const OffsetLine& line : offsetLines) {
        text += printed("  %-6s", line.name);
        const auto found = run.shiftFindings.offsets.find(line.atom);
        if (found == run.shiftFindings.offsets.end() || !found->second.enough ||
            !std::isfinite(found->second.offset) || !std::isfinite(found->second.error)) {
            const int size = found == run.shiftFindings.offsets.end() ? 0 : found->second.size;
            text += printed("too few shifts (%d) for an estimate\n", size);
            continue;
        }
        const shifts::OffsetEstimate& estimate = found->second;
        text += printed("%7.3f +/- %5.3f from %d residues%s\n", estimate.offset, estimate.error,
                        estimate.size, estimate.accepted ? "  ! correct it" : ", not significant");
    }
    return text;
}

std::string outlierText(const ORVIX& run) {
    std::string text = "Outliers (secondary shift beyond the limit of its residue and atom, ppm)\n";
    for (const shifts::ShiftOutlier& outlier : run.shiftFindings.outliers) {
        text += printed("  %5d ", outlier.residue) + outlier.name + " " +
                printed("%-3s", outlier.atom.c_str()) +
                printed("%8.3f  limit %8.3f%s\n", outlier.shift, outlier.limit,
                        outlier.serious ? "  !" : "");
    }
    return text + (run.shiftFindings.outliers.empty() ? "  none\n" : "");
}

std::string completenessText(const ORVIX& run) {
    std::string text = "Completeness (assigned of expected)\n";
    const std::map<std::string, Completeness> all = completenessOf(run);
    for (const char* atom : nuclei) {
        const Completeness& one = all.at(atom);
        text += printed("  %-3s %5d of %5d", atom, one.assigned, one.expected);
        if (one.expected > 0) {
            text += printed("  %5.1f %%", 100.0 * one.assigned / one.expected);
        }
        text += '\n';
    }
    return text;
}

}  // namespace

std::map<std::string, Completeness> completenessOf(const ORVIX& run) {
    std::map<int, std::set<std::string>> assigned;
    for (const auto& [number, row] : run.adjCSTable.entries) {
        const std::string& shift = tables::cellOf(&row, "CS_OBS");
        if (!shift.empty() && tables::shiftFromText(shift) < missingLimit) {
            assigned[textToInt(tables::cellOf(&row, "RESID"))].insert(
                tables::shiftAtom(tables::cellOf(&row, "ATOMNAME")));
        }
    }
    std::map<std::string, Completeness> all;
    for (const char* atom : nuclei) {
        Completeness& one = all[atom];
        for (const auto& [residue, letter] : run.seqOrig) {
            if (letter == "X" || letter == "?" || letter.empty() ||
                !isExpected(letter, atom, residue == run.seqFirstResid)) {
                continue;
            }
            ++one.expected;
            const auto found = assigned.find(residue);
            one.assigned += found != assigned.end() && found->second.count(atom) > 0 ? 1 : 0;
        }
    }
    return all;
}

int findingsOf(const ORVIX& run) {
    const shifts::ShiftFindings& findings = run.shiftFindings;
    std::size_t count = findings.outliers.size() + mismatchesOf(run).size();
    for (const auto& [atom, estimate] : findings.offsets) {
        count += estimate.accepted ? 1 : 0;
    }
    return static_cast<int>(count);
}

nlohmann::ordered_json checkRecord(const ORVIX& run, const std::string& file) {
    Json record;
    record["schema"] = "orvix-check";
    record["schema_version"] = 1;
    record["program"] = {{"name", programName}, {"version", programVersion()}};
    record["input"] = {{"file", file},
                       {"title", run.inTitle},
                       {"first_residue", run.seqFirstResid},
                       {"residue_count", run.seqLength}};
    record["findings"] = findingsOf(run);
    record["outliers"] = Json::array();
    for (const shifts::ShiftOutlier& outlier : run.shiftFindings.outliers) {
        record["outliers"].push_back({{"resid", outlier.residue},
                                      {"resname", outlier.name},
                                      {"atom", outlier.atom},
                                      {"secondary_shift", results::printedNumber(outlier.shift, 3)},
                                      {"limit", results::printedNumber(outlier.limit, 3)},
                                      {"serious", outlier.serious}});
    }
    record["shift_offsets"] = results::offsetsRecord(run);
    record["completeness"] = Json::object();
    const std::map<std::string, Completeness> all = completenessOf(run);
    for (const char* atom : nuclei) {
        record["completeness"][atom] = {{"assigned", all.at(atom).assigned},
                                        {"expected", all.at(atom).expected}};
    }
    record["sequence_mismatches"] = Json::array();
    for (const shifts::SequenceMismatch& mismatch : mismatchesOf(run)) {
        record["sequence_mismatches"].push_back({{"resid", mismatch.residue},
                                                 {"sequence", mismatch.sequenceName},
                                                 {"table", mismatch.rowName}});
    }
    return record;
}

std::string checkText(const ORVIX& run, const std::string& file) {
    std::string text = "Shift check of " + file + "\n";
    text += printed("%d residues from %d on\n\n", run.seqLength, run.seqFirstResid);
    text += outlierText(run) + "\n" + offsetText(run) + "\n" + completenessText(run) + "\n";
    const std::vector<shifts::SequenceMismatch> mismatches = mismatchesOf(run);
    if (!mismatches.empty()) {
        text += "Rows whose residue name is not that of the sequence\n";
        for (const shifts::SequenceMismatch& mismatch : mismatches) {
            text +=
                printed("  %5d ", mismatch.residue) + mismatch.rowName + ", sequence " +
                (mismatch.sequenceName.empty() ? "has no such residue" : mismatch.sequenceName) +
                "\n";
        }
        text += '\n';
    }
    const int count = findingsOf(run);
    return text + (count == 0   ? "No findings\n"
                   : count == 1 ? "1 finding\n"
                                : printed("%d findings\n", count));
}

}  // namespace orvix::cli
