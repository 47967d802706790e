#pragma once

#include <string>

#include "results/shift_report.h"

namespace orvix::results {

/// Which findings make `orvix check` end with the status of findings.
enum class FailOn { none, offset, gross, any };

/// What a check found, counted by what it asks of the user.
struct FindingCounts {
    int outliers = 0;        ///< all shifts beyond their limits
    int gross = 0;           ///< those of them far beyond
    int offsets = 0;         ///< nuclei whose offset should be corrected
    int otherOffsets = 0;    ///< nuclei with a significant offset too small to act on
    int mismatches = 0;      ///< residues whose name is not that of the sequence
    int misassignments = 0;  ///< pairs of residues whose shifts fit better exchanged
    int all() const { return outliers + offsets + otherOffsets + mismatches + misassignments; }
};
FindingCounts countFindings(const ShiftReport& report);

/// Whether these findings fail a check of that strictness: `offset` is for offsets that should be
/// corrected, `gross` for these, gross outliers and wrong residue names, `any` for any finding.
bool failsCheck(const FindingCounts& counts, FailOn strictness);

/// Whether an offset is one to correct: significant for the run, more than twice its uncertainty,
/// and not below what well referenced proteins show.
bool isWorthCorrecting(std::string_view nucleus, const ReferencingOffset& offset);

/// What a check beside a prediction has to say: sections of the text, and all findings counted.
struct CheckAddition {
    std::string offsets, misassignments;
    FindingCounts counts;
};

/// The report as text for people. With an addition, its offsets are the ones that are judged.
std::string checkText(const ShiftReport& report, const std::string& file, int firstResidue,
                      int residueCount, const std::optional<CheckAddition>& addition = {});

/// "L1 C" for an outlier: letter, number, atom.
std::string outlierName(const Outlier& outlier);

}  // namespace orvix::results
