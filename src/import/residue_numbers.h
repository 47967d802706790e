#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "import/placement.h"
#include "import/residue_names.h"
#include "import/row_selection.h"

namespace orvix::importing {

/// A residue number as it is looked up: "012" and "+12" are "12".
std::string numberKey(const std::string& text);

/// The sequence of a table and the way from a row to its residue.
///
/// Rows find their residue by its number. When fewer than 90 % of their residue names fit there,
/// they are placed by the names: with a constant shift of the numbers, as the author numbers of
/// the sequence, or in blocks with a shift each.
class ResidueNumbers {
  public:
    static constexpr int none = -1;

    /// Settles sequence and numbers for the rows chosen; reports every choice. Throws InputRejected
    /// for author numbers that can't number a table, and when the residue names of the rows fit the
    /// sequence nowhere.
    ResidueNumbers(RowSelection& selection, const ResidueNames& names, const ImportOptions& options,
                   const std::string& path, ImportReport& report);

    const NameFit& fit() const { return fit_; }

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
    // A residue name of the rows, once for each residue number.
    struct RowName {
        std::string key;  // number in the rows
        char letter = 'X';
        auto operator<=>(const RowName&) const = default;
    };

    const std::string& rowNumber(const ShiftRow& row) const;
    void residuesFromRows(const std::vector<ShiftRow>& rows, int shift);
    void place(const std::vector<ShiftRow>& rows, bool numbered, const ImportOptions& options);
    bool placeByNames(const std::vector<RowName>& names, bool numbered);
    bool placeFree(const std::vector<RowName>& names, const Placement& best);
    bool placeNumbered(const std::vector<RowName>& names, const Placement& best);
    bool placeByAuthors(const std::vector<RowName>& names);
    void indexResidues(std::string SequenceResidue::*number, int shift);
    void indexBlocks(const std::vector<RowName>& names, const Placement& placement);
    NameFit countFit(const std::vector<RowName>& names) const;
    void tellFit(const NameFit& before, const std::string& how);
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
    bool moved_ = false;           // the rows' numbers aren't those of the sequence
    bool fromRows_ = false;        // there is no sequence but the rows
    NameFit fit_;
    std::vector<SequenceResidue> residues_;
    std::vector<ResidueLetter> letters_;
    std::vector<int> numbers_;
    std::string SequenceResidue::*number_ = &SequenceResidue::number;  // what rows are placed by
    std::map<std::string, int> index_;                                 // number in rows to residue
    std::set<std::string> twice_;             // numbers of more than one residue
    std::map<int, std::string> rowNumberOf_;  // residue to its number in rows
    std::map<std::string, int> authorIndex_;  // for rows without one
};

}  // namespace orvix::importing
