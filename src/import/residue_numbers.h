#pragma once

#include <map>
#include <string>
#include <vector>

#include "import/residue_names.h"
#include "import/row_selection.h"

namespace orvix::importing {

/// The sequence of a table and the way from a row to its residue.
class ResidueNumbers {
  public:
    static constexpr int none = -1;

    /// Settles sequence and numbers for the rows chosen; reports every choice. Throws InputRejected
    /// for author numbers that can't number a table, and when rows and sequence have no name in
    /// common.
    ResidueNumbers(RowSelection& selection, const ResidueNames& names, const ImportOptions& options,
                   const std::string& path, ImportReport& report);

    /// Index of the residue of a row, or `none`.
    int residueOf(const ShiftRow& row) const;

    std::size_t size() const { return residues_.size(); }
    char letter(int residue) const { return letters_[static_cast<std::size_t>(residue)].letter; }
    const SequenceResidue& residue(int residue) const {
        return residues_[static_cast<std::size_t>(residue)];
    }

    /// Number of a residue in the table.
    int tableNumber(int residue) const { return numbers_[static_cast<std::size_t>(residue)]; }

    /// Letters from the first residue to the last, gaps in the numbers as X.
    std::string sequence() const;

    /// Table number to the number that authors or file gave, where known.
    std::map<int, std::string> authorNumbers() const;

  private:
    void residuesFromRows(const std::vector<ShiftRow>& rows);
    void align(const std::vector<ShiftRow>& rows);
    void collectAuthorNumbers(const std::vector<ShiftRow>& rows);
    void number(const ImportOptions& options);
    bool numberByAuthors();
    bool numberByFile();
    void renumberLarge();
    void reportResidues(const std::vector<ShiftRow>& rows);
    void reportTag();

    const ResidueNames& names_;
    const std::string& path_;
    ImportReport& report_;
    bool byAuthorNumber_ = false;  // rows have the authors' numbers only
    std::vector<SequenceResidue> residues_;
    std::vector<ResidueLetter> letters_;
    std::vector<int> numbers_;
    std::map<std::string, int> index_;        // number in rows to residue
    std::map<std::string, int> authorIndex_;  // for rows without one
};

}  // namespace orvix::importing
