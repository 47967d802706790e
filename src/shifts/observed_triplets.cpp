// The table of observed triplets as flat arrays.
#include "shifts/observed_triplets.h"

#include <algorithm>

#include "base/numbers.h"
#include "tables/cells.h"
#include "tables/gdb.h"

namespace orvix::shifts {
namespace {

constexpr std::array<const char*, 6> atoms = {"N", "HA", "C", "CA", "CB", "HN"};
/// Far from any shift: a row with it is never among the nearest.
constexpr double outOfReach = 99.0;

/// Column names of the shifts of a row, in the order of its 18 values.
std::array<std::string, 18> shiftColumns() {
    std::array<std::string, 18> columns;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i] = std::string(atoms[i % 6]) + "_R" + std::to_string(i / 6 + 1);
    }
    return columns;
}

}  // namespace

ObservedTriplets::ObservedTriplets(const GDB& table) : shifts_(rowLimit, 18), names_(rowLimit, 4) {
    const std::array<std::string, 18> columns = shiftColumns();
    const std::array<std::string, 3> nameColumns = {"RESNAME_R1", "RESNAME_R2", "RESNAME_R3"};
    middle_.reserve(std::min<std::size_t>(table.entries.size(), rowLimit));
    for (const auto& [number, row] : table.entries) {
        if (++count_ == rowLimit) {
            --count_;
            break;
        }
        sources_.push_back(tables::cellOf(&row, "SOURCE"));
        double* const shifts = shifts_.face()[count_];
        for (std::size_t j = 0; j < columns.size(); ++j) {
            shifts[j] = textToDouble(tables::cellOf(&row, columns[j]));
        }
        for (std::size_t k = 0; k < nameColumns.size(); ++k) {
            names_.face()[count_][k + 1] = tables::cellOf(&row, nameColumns[k]);
        }
        std::array<double, 6>& middle = middle_.emplace_back();
        for (std::size_t atom = 0; atom < middle.size(); ++atom) {
            middle[atom] = tables::shiftFromText(tables::cellOf(&row, columns[6 + atom]));
        }
    }
}

ObservedTriplets::ObservedTriplets(const ObservedTriplets& whole, const Excluded& excluded)
    : count_(whole.count_),
      shifts_(rowLimit, 18),
      names_(rowLimit, 4),
      middle_(whole.middle_),
      sources_(whole.sources_) {
    for (int row = 1; row <= count_; ++row) {
        double* const shifts = shifts_.face()[row];
        if (excluded(sources_[static_cast<std::size_t>(row) - 1])) {
            std::fill_n(shifts, 18, outOfReach);
        } else {
            std::copy_n(whole.shifts_.face()[row], 18, shifts);
        }
        std::copy_n(whole.names_.face()[row], 4, names_.face()[row]);
    }
}

ObservedRows ObservedTriplets::rows() const {
    return {shifts_.face() + 1, names_.face() + 1, count_};
}

}  // namespace orvix::shifts
