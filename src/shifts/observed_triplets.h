#pragma once

#include <array>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/row_matrix.h"
#include "shifts/shift_average.h"

class GDB;

namespace orvix::shifts {

/// The triplets seen in known structures (orvix_obsCS.tab) in the form that the averaging scans:
/// per row of the table 18 shifts (ppm) at (position - 1) * 6 + atom key - 1 and three residue
/// names at index 1..3. Rows are numbered from 1 as in the table; those from `rowLimit` on are left
/// out.
class ObservedTriplets {
  public:
    static constexpr int rowLimit = 24000;
    /// Whether triplets of a structure are to be kept out of all averages.
    using Excluded = std::function<bool(const std::string& source)>;

    /// The rows in the form in which an image keeps them.
    struct Kept {
        std::span<const double> shifts;  ///< `rowLimit` rows of 18, zero behind the last row
        std::span<const double> middle;  ///< six for each row
        std::vector<std::string> names;  ///< three for each row
        std::vector<std::string> sources;
        std::vector<int> sourceOf;  ///< by row from 0, index into `sources`
    };

    explicit ObservedTriplets(const GDB& table);
    /// Rows whose numbers `owner` keeps.
    ObservedTriplets(Kept kept, std::shared_ptr<const void> owner);
    /// A copy with the rows of excluded structures out of reach.
    ObservedTriplets(const ObservedTriplets& whole, const Excluded& excluded);

    ObservedRows rows() const;
    /// Shift of `atom key` in the middle residue of the `row`th row, from 0; 9999.0 for none.
    /// Excluded rows have theirs too.
    double middleShift(int row, int key) const {
        return middle_[static_cast<std::size_t>(row) * 6 + static_cast<std::size_t>(key) - 1];
    }

    /// What a later run can take over, as long as this is there.
    Kept kept() const;

    /// Both arrays by row number 0..`rowLimit` - 1.
    double** shiftFace() const { return shifts_.face(); }
    std::string** nameFace() const { return names_.face(); }

  private:
    int count_ = 0;
    RowMatrix<double> shifts_;
    RowMatrix<std::string> names_;
    std::vector<double> middle_;        ///< six for each row, from row 0
    std::vector<std::string> sources_;  ///< one for each run of rows with the same
    std::vector<int> sourceOf_;         ///< by row from 0
    std::shared_ptr<const void> owner_;
};

}  // namespace orvix::shifts
