#pragma once

#include <array>
#include <string>
#include <string_view>

#include "networks/check_file.h"

namespace orvix::importing {

/// Substitution scores in half bits, by places of `profileLetters`.
using SubstitutionScores = std::array<std::array<double, 20>, 20>;

/// Reads the ASCII matrix of PSI-BLAST (its option -out_ascii_pssm): a line with the 20 column
/// letters, then one line a residue: number, letter, 20 scores, and more columns that are not
/// looked at. A row becomes the target frequencies that the scores stand for, background *
/// exp(0.3176 * score) scaled to 1; frequencies of Robinson and Robinson (PNAS 88, 1991, 8880) as
/// background. Answers what is wrong with the text (with the line number), or an empty string.
std::string profileFromPssm(std::string_view text, networks::SequenceProfile& profile);

/// Reads a multiple alignment in FASTA form whose first sequence is the query; columns in which the
/// query has a gap are left out. Sequences are weighted by position (Henikoff and Henikoff, JMB
/// 243, 1994, 574), and pseudocounts from the substitution scores are mixed in (Altschul et al.,
/// NAR 25, 1997, 3389; weight 10). Letters other than the 20 count as unknown. Answers as above.
std::string profileFromAlignment(std::string_view text, const SubstitutionScores& scores,
                                 networks::SequenceProfile& profile);

}  // namespace orvix::importing
