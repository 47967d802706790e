#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace orvix::importing {

/// What can happen to a datum of a shift file on its way into the input table. The order is that of
/// the report.
enum class ImportFinding {
    // The datum isn't in the table.
    valueMissing,
    valueNotNumber,
    valueZero,
    rowIncomplete,
    unassigned,
    otherList,
    otherEntity,
    otherAssembly,
    outsideSequence,
    numberUnreadable,
    aminoTerminus,
    pairBesideSingle,
    tooAmbiguous,
    duplicateDifferent,
    duplicateEqual,
    notRead,
    // The datum is in the table under another name, number or text.
    renumbered,
    atomRenamed,
    glycineRenamed,
    valueRewritten,
    residueReplaced,
    // The datum is in the table as it was, and deserves a look.
    assemblyConflict,
    residueMismatch,
    ambiguous,
    outOfRange,
    unreadText,
};

/// Everything that an import says about its file. Nothing is left out, dropped or changed without
/// an item here.
class ImportReport {
  public:
    /// One fact about the file or a choice that was made.
    void note(const std::string& text) { notes_.push_back(text); }

    /// A fact that goes in front of all others.
    void noteFirst(const std::string& text) { notes_.insert(notes_.begin(), text); }

    /// A fact that goes behind the first one.
    void noteSecond(const std::string& text) {
        notes_.insert(notes_.begin() + (notes_.empty() ? 0 : 1), text);
    }

    /// A choice or state of the file that can spoil the result.
    void warn(const std::string& text) { warnings_.push_back(text); }

    /// One datum and what became of it; the datum as it stands in the file, with its line.
    void add(ImportFinding finding, const std::string& item) { items_[finding].push_back(item); }

    const std::vector<std::string>& notes() const { return notes_; }
    const std::vector<std::string>& warnings() const { return warnings_; }

    /// Items of one kind, in file order; empty when there are none.
    const std::vector<std::string>& items(ImportFinding finding) const;

    /// Why data are not in the table, with counts, in one line; empty when all are.
    std::string losses() const;

    /// Writes the report. With `itemLimit` above 0 a longer list of items is cut there, and the
    /// number of those left out is told.
    void write(std::ostream& out, std::size_t itemLimit = 0) const;

    bool deuterated = false;  ///< the file says so of its sample

  private:
    std::vector<std::string> notes_;
    std::vector<std::string> warnings_;
    std::map<ImportFinding, std::vector<std::string>> items_;
};

}  // namespace orvix::importing
