#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/shift_file.h"

namespace orvix::importing {

/// The longest sequence that is taken, in residues.
inline constexpr std::size_t longestSequence = 20000;

/// The residues of a one-letter sequence as STAR files and FASTA have it: white space, gap signs
/// and a closing star are skipped, a longer name may stand in parentheses. Without numbers.
std::vector<SequenceResidue> readSequenceText(std::string_view text);

/// Numbers the residues 1, 2, 3 ...
void numberFromOne(std::vector<SequenceResidue>& residues);

/// What a chain is whose file doesn't tell: a protein when most of its residues are.
ShiftEntity::Kind kindByResidues(const ShiftEntity& entity);

/// Takes ligands off the end of a chain: residues without a known parent behind a gap in the
/// numbers. Each goes to the report.
void dropLigands(ShiftEntity& entity, ImportReport& report);

/// Throws InputRejected for a sequence above `longestSequence`.
void requireSaneLength(const std::vector<SequenceResidue>& residues, const std::string& path);

/// A CYANA sequence: one residue name a line, with or without its number.
std::vector<SequenceResidue> readSequenceList(std::string_view text, const std::string& path);

}  // namespace orvix::importing
