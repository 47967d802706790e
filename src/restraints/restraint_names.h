#pragma once

#include <map>
#include <set>
#include <string>

#include "results/finished_prediction.h"

namespace orvix::restraints {

/// Whether a one-letter name of a residue stands for an amino acid: the 20, c (oxidised cysteine),
/// h (second histidine state) and p.
bool isKnownLetter(char letter);

/// Three-letter residue names as a structure program knows them: standard names, the names of its
/// library for special states, and what the user says.
class RestraintNames {
  public:
    /// Standard names; with `cyana` an oxidised cysteine is CYSS.
    explicit RestraintNames(bool cyana = false);

    /// Takes an entry KEY=NAME. The key is a residue number, a one-letter name as in the tables (c,
    /// h, X count as such), or a three- or four-letter name that is to be replaced. The more
    /// special key wins. Throws std::invalid_argument with what is wrong.
    void addEntry(const std::string& entry);

    /// Name of a residue; UNK for an unknown type that has no entry.
    std::string name(int residue, char letter) const;

    /// Residue numbers that have entries.
    const std::map<int, std::string>& numbered() const { return byNumber_; }

    /// The residues of unknown type that have a name nevertheless.
    std::set<int> namedUnknown(const results::FinishedPrediction& prediction) const;

  private:
    std::string standardName(char letter) const;

    bool cyana_;
    std::map<int, std::string> byNumber_;
    std::map<char, std::string> byLetter_;
    std::map<std::string, std::string> byName_;
};

}  // namespace orvix::restraints
