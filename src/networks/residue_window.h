#pragma once

#include <functional>
#include <map>
#include <vector>

#include "networks/ensemble_pass.h"

namespace orvix::networks {

/// Which residue stands at which position of a chain: positions 1 to n in order of residue number.
/// A position without an entry reads as residue number 0.
class PositionTable {
  public:
    explicit PositionTable(const ResidueMap& residues);

    int lowest() const { return lowest_; }    ///< lowest residue number, 9999 at most
    int highest() const { return highest_; }  ///< highest residue number, -9999 at least
    int size() const { return size_; }

    int at(int position) const;
    void set(int position, int residue) { residues_[position] = residue; }

    /// Whether the positions up to `reach` before and behind `position` hold the residue numbers
    /// up to `reach` below and above that of `residue`.
    bool contiguous(int position, int residue, int reach) const;

  private:
    std::map<int, int> residues_;
    int size_ = 0;
    int lowest_ = 9999;
    int highest_ = -9999;
};

/// The vector of a residue; an empty one if it has none. Takes wide numbers, so that a neighbour
/// of the last int can be asked for.
const std::vector<double>& vectorOf(const ResidueMap& vectors, long long residue);

/// Appends `part` to `whole`.
void append(std::vector<double>& whole, const std::vector<double>& part);

/// What a network keeps of one pass over a chain: by residue number the windows and the results of
/// both levels. Windows are appended to what is there, results replace it.
struct PassMaps {
    ResidueMap& level1Input;
    ResidueMap& level1Output;
    ResidueMap& level2Input;
    ResidueMap& level2Output;
};

/// Appends to `windows` the windows of `residues`: for each the parts of the residues from `reach`
/// below to `reach` above it, in this order. `append` adds the part of `neighbour`, which stands
/// `k` places from the centre, to a window.
void appendWindows(const std::vector<int>& residues, long long reach,
                   const std::function<void(std::vector<double>& window, long long neighbour,
                                            long long k)>& append,
                   ResidueMap& windows);

/// A residue of no type without shifts: 20 zeros, then six pairs of 0.0 and 1.0.
std::vector<double> paddingVector();

}  // namespace orvix::networks
