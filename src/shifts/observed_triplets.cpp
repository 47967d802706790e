// The table of observed triplets as flat arrays.
#include "shifts/observed_triplets.h"

#include <algorithm>
#include <utility>

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
    middle_.reserve(std::min<std::size_t>(table.entries.size(), rowLimit) * 6);
    for (const auto& [number, row] : table.entries) {
        if (++count_ == rowLimit) {
            --count_;
            break;
        }
        const std::string source = tables::cellOf(&row, "SOURCE");
        if (sources_.empty() || sources_.back() != source) {
            sources_.push_back(source);
        }
        sourceOf_.push_back(static_cast<int>(sources_.size()) - 1);
        double* const shifts = shifts_.face()[count_];
        for (std::size_t j = 0; j < columns.size(); ++j) {
            shifts[j] = textToDouble(tables::cellOf(&row, columns[j]));
        }
        for (std::size_t k = 0; k < nameColumns.size(); ++k) {
            names_.face()[count_][k + 1] = tables::cellOf(&row, nameColumns[k]);
        }
        for (std::size_t atom = 0; atom < 6; ++atom) {
            middle_.push_back(tables::shiftFromText(tables::cellOf(&row, columns[6 + atom])));
        }
    }
}

ObservedTriplets::ObservedTriplets(const ObservedTriplets& whole, const Excluded& excluded)
    : count_(whole.count_),
      shifts_(rowLimit, 18),
      names_(rowLimit, 4),
      middle_(whole.middle_),
      sources_(whole.sources_),
      sourceOf_(whole.sourceOf_) {
    std::vector<char> left;
    for (const std::string& source : sources_) {
        left.push_back(excluded(source) ? 1 : 0);
    }
    for (int row = 1; row <= count_; ++row) {
        double* const shifts = shifts_.face()[row];
        const int source = sourceOf_[static_cast<std::size_t>(row) - 1];
        if (left[static_cast<std::size_t>(source)] != 0) {
            std::fill_n(shifts, 18, outOfReach);
        } else {
            std::copy_n(whole.shifts_.face()[row], 18, shifts);
        }
        std::copy_n(whole.names_.face()[row], 4, names_.face()[row]);
    }
}

ObservedTriplets::ObservedTriplets(Kept kept, std::shared_ptr<const void> owner)
    : count_(static_cast<int>(kept.sourceOf.size())),
      shifts_(const_cast<double*>(kept.shifts.data()), rowLimit, 18),
      names_(rowLimit, 4),
      middle_(kept.middle.begin(), kept.middle.end()),
      sources_(std::move(kept.sources)),
      sourceOf_(std::move(kept.sourceOf)),
      owner_(std::move(owner)) {
    std::size_t next = 0;
    for (int row = 1; row <= count_; ++row) {
        for (int position = 1; position <= 3; ++position) {
            names_.face()[row][position] = std::move(kept.names[next++]);
        }
    }
}

ObservedTriplets::Kept ObservedTriplets::kept() const {
    Kept kept;
    kept.shifts = {shifts_.face()[0], std::size_t{rowLimit} * 18};
    kept.middle = middle_;
    for (int row = 1; row <= count_; ++row) {
        kept.names.insert(kept.names.end(), names_.face()[row] + 1, names_.face()[row] + 4);
    }
    kept.sources = sources_;
    kept.sourceOf = sourceOf_;
    return kept;
}

ObservedRows ObservedTriplets::rows() const {
    return {shifts_.face() + 1, names_.face() + 1, count_};
}

}  // namespace orvix::shifts
