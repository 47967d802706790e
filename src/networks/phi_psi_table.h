#pragma once

#include <span>
#include <string>

namespace orvix::networks {

/// The columns of a residue in the phi/psi map table in front of its 324 box values.
struct PhiPsiTableRow {
    int residue = 0;
    std::string name;       ///< one letter
    int windowShifts = 0;   ///< shifts known in the window of five residues
    int residueShifts = 0;  ///< shifts known at the residue
    int clusterCount = 0;
    double firstShare = 0.0;  ///< share of the first cluster
};

/// Remarks, column names and formats of the phi/psi map table.
std::string phiPsiTableHeader(const std::string& title);

/// Appends the line of one residue, `map` holding its 324 box values.
void appendPhiPsiRow(std::string& text, const PhiPsiTableRow& row, std::span<const double> map);

}  // namespace orvix::networks
