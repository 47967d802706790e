#pragma once

#include <map>
#include <string>
#include <string_view>

namespace orvix::importing {

/// The letter of a residue name, and how sure it is.
struct ResidueLetter {
    enum class Kind {
        standard,  ///< one of the twenty, or a letter
        state,     ///< a protonation or oxidation state of one of the twenty
        modified,  ///< a modified residue, under its parent's letter
        unknown    ///< no known parent: X
    };

    char letter = 'X';
    Kind kind = Kind::unknown;
};

/// Residue names of all forms to letters. Names count in any case; a D amino acid has no parent
/// here, since the reference shifts are of no use for its angles.
class ResidueNames {
  public:
    /// Adds what a file says about one of its own residues.
    void addParent(std::string_view name, std::string_view parent);

    /// A missing name gives X of the kind unknown.
    ResidueLetter letter(std::string_view name) const;

  private:
    std::map<std::string, char> parents_;
};

}  // namespace orvix::importing
