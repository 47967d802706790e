#pragma once

#include <string>
#include <string_view>

namespace orvix::tables {

/// A column's print specifier, read once and applied to many cells with the results of C's printf.
///
/// A specifier comes from a file, so printf is handed one made anew from its parts. One that C
/// gives no meaning to (flags or a second point behind the digits, a width or precision above
/// `widest`) prints the cell as its type, without width, between the white space that surrounds it.
/// Cells print whole at any length.
class CellFormat {
  public:
    static constexpr int widest = 65535;

    explicit CellFormat(std::string_view spec);

    /// 's', 'd' or 'f': the first of these that the specifier holds exactly once; NUL when there is
    /// none, and then nothing is printed.
    char type() const { return type_; }

    /// Append `text` as a cell; as a number it goes through `atoi` or `atof`.
    void appendCell(std::string& out, std::string_view text) const;

    /// Append a value of this type. A value of another type than the column's prints without width.
    void appendText(std::string& out, std::string_view text) const;
    void appendInt(std::string& out, int value) const;
    void appendReal(std::string& out, double value) const;

  private:
    bool parse(std::string_view spec);

    char type_ = '\0';
    bool meaningful_ = false;
    bool leftAligned_ = false;
    int width_ = 0;
    int precision_ = -1;  // none
    std::string safe_;    // the specifier without what surrounds it
    std::string before_;
    std::string after_;
};

}  // namespace orvix::tables
