#include "networks/residue_window.h"

#include <algorithm>
#include <limits>

namespace orvix::networks {

PositionTable::PositionTable(const ResidueMap& residues) {
    for (const auto& [residue, vector] : residues) {
        residues_.emplace_hint(residues_.end(), ++size_, residue);
        lowest_ = std::min(lowest_, residue);
        highest_ = std::max(highest_, residue);
    }
}

int PositionTable::at(int position) const {
    const auto found = residues_.find(position);
    return found == residues_.end() ? 0 : found->second;
}

bool PositionTable::contiguous(int position, int residue, int reach) const {
    for (int k = -reach; k <= reach; ++k) {
        if (static_cast<long long>(at(position + k)) != static_cast<long long>(residue) + k) {
            return false;
        }
    }
    return true;
}

const std::vector<double>& vectorOf(const ResidueMap& vectors, long long residue) {
    static const std::vector<double> none;
    if (residue < std::numeric_limits<int>::min() || residue > std::numeric_limits<int>::max()) {
        return none;
    }
    const auto found = vectors.find(static_cast<int>(residue));
    return found == vectors.end() ? none : found->second;
}

void append(std::vector<double>& whole, const std::vector<double>& part) {
    whole.insert(whole.end(), part.begin(), part.end());
}

void appendWindows(const std::vector<int>& residues, long long reach,
                   const std::function<void(std::vector<double>& window, long long neighbour,
                                            long long k)>& append,
                   ResidueMap& windows) {
    for (const int residue : residues) {
        std::vector<double>& window = windows[residue];
        for (long long k = -reach; k <= reach; ++k) {
            append(window, residue + k, k);
        }
    }
}

std::vector<double> paddingVector() {
    std::vector<double> padding(20, 0.0);
    for (int atom = 0; atom < 6; ++atom) {
        padding.push_back(0.0);
        padding.push_back(1.0);
    }
    return padding;
}

}  // namespace orvix::networks
