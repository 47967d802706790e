#pragma once

#include <string>

#include "check/shift_check.h"
#include "results/check_report.h"

namespace orvix::check {

/// Counts what the check by prediction found: its offsets instead of the run's own where it has an
/// estimate of the nucleus, and possible misassignments.
results::FindingCounts countFindings(const results::ShiftReport& report, const ShiftCheck& check);

/// The whole check as text for people.
std::string checkText(const results::ShiftReport& report, const ShiftCheck& check,
                      const std::string& file);

/// What a correction of the referencing by these offsets took off, in words.
std::string correctionWords(const Offsets& offsets, bool deuterated);

/// "L41 and K42 fit better exchanged", with the evidence: how far off the shifts are at their own
/// place and at the other.
std::string misassignmentText(const Misassignment& one, const ChainShifts& chain);

}  // namespace orvix::check
