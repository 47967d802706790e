#pragma once

#include <array>
#include <string_view>

namespace orvix {

/// The version remark that closes the banner and the result tables.
inline constexpr std::string_view versionRemark =
    " ORVIX-N Version 4.21 Rev 2016.343.11.31 ORVIXN_INFO";

/// The citation block of the banner and of the result tables: author line, two title lines,
/// journal line.
inline constexpr std::array<std::string_view, 4> citation = {
    " The ORVIX-N developers,", " \"ORVIX-N: protein backbone and sidechain torsion angles from",
    " NMR chemical shifts by neural networks and database mining\",",
    " distributed with the program (docs/guide.md)."};

}  // namespace orvix
