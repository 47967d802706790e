#include "results/check_report.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace orvix::results {
namespace {

/// A line of the report, never a long one.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...) {
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

/// A nucleus of the offset estimates: how the report names it, and the least offset (ppm) that is
/// worth a correction. Below it more estimates are wrong than right.
struct OffsetLine {
    std::string_view nucleus;
    const char* name;
    double least;
};
constexpr OffsetLine offsetLines[] = {{"CA", "CA/CB", 0.5}, {"HA", "HA", 0.2}, {"C", "C", 1.0}};

std::string offsetText(const ShiftReport& report, bool judged) {
    std::string text = judged ? "Referencing offsets (ppm)\n"
                              : "Offsets of the line over CA - CB, which --offset takes (ppm)\n";
    for (const OffsetLine& line : offsetLines) {
        text += printed("  %-6s", line.name);
        const auto& offset = report.offsets[placeOf(offsetNuclei, line.nucleus)];
        if (!offset) {
            const ReferencingLines& lines = report.lines[placeOf(lineNuclei, line.nucleus)];
            text += printed("too few shifts (%d) for an estimate\n",
                            lines.negative.count + lines.positive.count);
            continue;
        }
        text += printed("%7.3f +/- %5.3f from %d residues", offset->offset.value_or(0.0),
                        offset->uncertainty.value_or(0.0), offset->count);
        if (!judged) {
            text += '\n';
            continue;
        }
        text += isWorthCorrecting(line.nucleus, *offset) ? "  ! correct it\n"
                : offset->significant                    ? ", too small to act on\n"
                                                         : ", not significant\n";
    }
    return text;
}

std::string outlierText(const ShiftReport& report) {
    std::string text = "Outliers (secondary shift beyond the limit of its residue and atom, ppm)\n";
    for (const Outlier& outlier : report.outliers) {
        text += printed("  %5d ", outlier.residue) + outlier.name + " " +
                printed("%-3s", outlier.atom.c_str()) +
                printed("%8.3f  limit %8.3f%s\n", outlier.shift.value_or(0.0),
                        outlier.limit.value_or(0.0), outlier.gross ? "  ! gross" : "");
    }
    return text + (report.outliers.empty() ? "  none\n" : "");
}

std::string completenessText(const ShiftReport& report) {
    std::string text = "Completeness (assigned of expected)\n";
    for (const std::string_view atom : {"HN", "N", "HA", "C", "CA", "CB"}) {
        const Completeness& one = report.completeness[placeOf(shiftAtoms, atom)];
        text += printed("  %-3s %5d of %5d", std::string(atom).c_str(), one.assigned, one.expected);
        if (one.expected > 0) {
            text += printed("  %5.1f %%", 100.0 * one.assigned / one.expected);
        }
        text += '\n';
    }
    return text;
}

std::string mismatchText(const ShiftReport& report) {
    std::string text = "Rows whose residue name is not that of the sequence\n";
    for (const NameMismatch& mismatch : report.mismatches) {
        text += printed("  %5d ", mismatch.residue) + mismatch.tableName + ", sequence " +
                (mismatch.sequenceName.empty() ? "has no such residue" : mismatch.sequenceName) +
                "\n";
    }
    return text;
}

std::string countText(const FindingCounts& counts) {
    if (counts.all() == 0) {
        return "No findings\n";
    }
    std::string text;
    const auto add = [&](int count, const char* one, const char* many) {
        if (count > 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(count) + (count == 1 ? one : many);
        }
    };
    add(counts.outliers, " outlier", " outliers");
    if (counts.outliers > 0) {
        text += " (" + (counts.gross == 0 ? "none" : std::to_string(counts.gross)) + " gross)";
    }
    add(counts.offsets, " offset to correct", " offsets to correct");
    add(counts.otherOffsets, " offset too small to act on", " offsets too small to act on");
    add(counts.misassignments, " possible misassignment", " possible misassignments");
    add(counts.mismatches, " wrong residue name", " wrong residue names");
    return text + "\n";
}

}  // namespace

bool isWorthCorrecting(std::string_view nucleus, const ReferencingOffset& offset) {
    const auto* const line =
        std::find_if(std::begin(offsetLines), std::end(offsetLines), [&](const OffsetLine& one) {
            return one.nucleus == nucleus || (nucleus == "CB" && one.nucleus == "CA");
        });
    const double size = std::fabs(offset.offset.value_or(0.0));
    return offset.significant && line != std::end(offsetLines) && size >= line->least &&
           size > 2.0 * offset.uncertainty.value_or(0.0);
}

FindingCounts countFindings(const ShiftReport& report) {
    FindingCounts counts;
    counts.outliers = static_cast<int>(report.outliers.size());
    for (const Outlier& outlier : report.outliers) {
        counts.gross += outlier.gross ? 1 : 0;
    }
    for (const OffsetLine& line : offsetLines) {
        const auto& offset = report.offsets[placeOf(offsetNuclei, line.nucleus)];
        if (offset && offset->significant) {
            ++(isWorthCorrecting(line.nucleus, *offset) ? counts.offsets : counts.otherOffsets);
        }
    }
    counts.mismatches = static_cast<int>(report.mismatches.size());
    return counts;
}

bool failsCheck(const FindingCounts& counts, FailOn strictness) {
    switch (strictness) {
        case FailOn::none:
            return false;
        case FailOn::offset:
            return counts.offsets > 0;
        case FailOn::gross:
            return counts.offsets + counts.gross + counts.mismatches > 0;
        case FailOn::any:
            break;
    }
    return counts.all() > 0;
}

std::string outlierName(const Outlier& outlier) {
    return outlier.name + std::to_string(outlier.residue) + " " + outlier.atom;
}

std::string checkText(const ShiftReport& report, const std::string& file, int firstResidue,
                      int residueCount, const std::optional<CheckAddition>& addition) {
    std::string text = "Shift check of " + file + "\n";
    text += printed("%d residues from %d on\n\n", residueCount, firstResidue);
    text += outlierText(report) + "\n";
    if (addition) {
        text += addition->offsets + "\n";
    }
    text += offsetText(report, !addition) + "\n";
    if (addition) {
        text += addition->misassignments + "\n";
    }
    text += completenessText(report) + "\n";
    if (!report.mismatches.empty()) {
        text += mismatchText(report) + "\n";
    }
    return text + countText(addition ? addition->counts : countFindings(report));
}

}  // namespace orvix::results
