#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "search/database_planes.h"
#include "search/scan_filter.h"
#include "search/triplet_scan.h"

namespace orvix::search {

/// The maps of a query as flat tables, by window position (offset + halfWidth), and by slot of a
/// box or code of a letter.
struct ScanTables {
    int positions = 0;
    /// (double)weight * value of the box: the product that the score adds, unrounded.
    std::array<std::array<double, slotCount>, maxWindow> box{};
    /// 0.1 * similarity where it is negative, else 0.0; adding that zero changes no bit.
    std::array<std::array<double, letterCodes>, maxWindow> penalty{};
    std::array<bool, letterCodes> centreAllowed{};  ///< letters that may stand at the centre
    std::array<bool, letterCodes> nextAllowed{};    ///< and behind it
    int ownCode = -1;  ///< letter code of the query's own type; -1 if that is not listed
};

ScanTables makeScanTables(const ScanQuery& query, const DatabasePlanes& planes);

/// The filter for any processor: shortfalls in the same units, by window position (offset +
/// halfWidth). Forbidden letters are not marked in it.
struct UnitTables {
    std::array<std::array<std::uint16_t, slotCount>, maxWindow> box{};
    std::array<std::array<std::uint16_t, letterCodes>, maxWindow> letter{};
    unsigned limit = 0;  ///< greatest sum that survives
};

/// Makes and keeps the filter of a scan, in units that follow the rising threshold.
class FilterBuilder {
  public:
    /// `unitTables` says whether units() is wanted, else filter() is.
    FilterBuilder(const ScanTables& tables, const DatabasePlanes& planes, bool unitTables);

    /// Whether the terms allow a bound at all: they are finite and of ordinary size.
    bool sound() const { return sound_; }
    /// Sets the filter for scores above `threshold`; false if no row can reach such a score.
    bool update(float threshold);
    const RowFilter& filter() const { return filter_; }
    const UnitTables& units() const { return units_; }

  private:
    void scale();
    void scaleUnits();

    bool unitTables_;
    RowFilter filter_{};
    UnitTables units_{};
    bool sound_ = true;
    double best_ = 0.0;    ///< highest score that any row could have
    double slack_ = 0.0;   ///< bound of all roundings of a score
    double budget_ = 0.0;  ///< shortfall that the current units were made for
    double unit_ = 0.0;
    /// What slots and letters fall short of the best at their position, in score.
    struct Shortfalls {
        int window = 0;  ///< position in `tables_`
        double base = 0.0;
        std::array<double, slotCount> box{};
        std::array<double, letterCodes> letter{};
        std::array<bool, letterCodes> forbidden{};
        std::array<int, tileCount> tile{};  ///< listed tiles
    };
    std::array<Shortfalls, maxWindow> shortfalls_;
};

}  // namespace orvix::search
