#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::importing {

/// Cuts a text of separated values into records: a field may stand in double quotes, and then hold
/// separators, line ends and doubled quotes. The separator is the one that the first line has:
/// tab, semicolon, comma, or else white space. Lines count from `firstLine`.
class CsvRecords {
  public:
    explicit CsvRecords(std::string_view text, int firstLine = 1);

    /// The next record that isn't empty; false at the end.
    bool next();

    char separator() const { return separator_; }
    int line() const { return line_; }
    const std::vector<std::string>& fields() const { return fields_; }
    std::string shown() const;

  private:
    void readRecord();

    std::string_view text_;
    std::size_t at_ = 0;
    int line_ = 0;
    int nextLine_ = 1;
    char separator_ = ',';
    std::vector<std::string> fields_;
};

/// What the columns of a table of shifts mean.
struct CsvColumns {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    std::size_t number = none;
    std::size_t authorNumber = none;
    std::size_t residueName = none;
    std::size_t rowNumber =
        none;  ///< "#", "No" or "Index": the residue number where no other column is
    std::size_t atom = none;
    std::size_t value = none;
    std::size_t list = none;
    std::size_t entity = none;
    std::size_t assembly = none;
    std::size_t ambiguity = none;
    bool counted = false;  ///< `number` was taken from `rowNumber`
    bool joined = false;   ///< residue and atom may stand in one word: "L1CA", "A.1.MET.CA"
    std::vector<std::string> unread;                         ///< names of columns without a meaning
    std::vector<std::pair<std::size_t, std::string>> atoms;  ///< one column an atom: index, name

    explicit CsvColumns(const std::vector<std::string>& header);

    /// The first line that is a usable header, from 1, and where it begins; comments and a few
    /// lines of text may stand in front. Line 0: there is none.
    static std::pair<int, std::size_t> findHeader(std::string_view text);

    /// A residue, and either atom and value or columns for atoms.
    bool usable() const;
};

}  // namespace orvix::importing
