#pragma once

#include <string_view>

namespace orvix {

/// An amino acid, or a state of one, as all rooms know it.
struct Residue {
    std::string_view name;   ///< three letters; a state of its own has small ones
    char letter;             ///< small for a state of its own
    std::string_view gamma;  ///< the atom that ends chi1; empty for a residue without it

    /// One of the twenty, not a state.
    bool isStandard() const { return letter >= 'A' && letter <= 'Z'; }
};

inline constexpr Residue residues[] = {
    {"ALA", 'A', ""},    {"CYS", 'C', "SG"},  {"cys", 'c', "SG"}, {"ASP", 'D', "CG"},
    {"GLU", 'E', "CG"},  {"PHE", 'F', "CG"},  {"GLY", 'G', ""},   {"HIS", 'H', "CG"},
    {"his", 'h', "CG"},  {"ILE", 'I', "CG1"}, {"LYS", 'K', "CG"}, {"LEU", 'L', "CG"},
    {"MET", 'M', "CG"},  {"ASN", 'N', "CG"},  {"PRO", 'P', "CG"}, {"pro", 'p', "CG"},
    {"GLN", 'Q', "CG"},  {"ARG", 'R', "CG"},  {"SER", 'S', "OG"}, {"THR", 'T', "OG1"},
    {"VAL", 'V', "CG1"}, {"TRP", 'W', "CG"},  {"TYR", 'Y', "CG"}};

/// By exact name or letter; null for none.
constexpr const Residue* findResidue(std::string_view name) {
    for (const Residue& residue : residues) {
        if (residue.name == name) {
            return &residue;
        }
    }
    return nullptr;
}
constexpr const Residue* findResidue(char letter) {
    for (const Residue& residue : residues) {
        if (residue.letter == letter) {
            return &residue;
        }
    }
    return nullptr;
}

}  // namespace orvix
