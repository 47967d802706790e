#pragma once

#include <cstddef>
#include <vector>

namespace orvix::importing {

/// A residue number and the letter that stands beside it.
struct NumberedLetter {
    int number = 0;
    char letter = 'X';
};

/// How row numbers lie on a sequence, and how well the residue names fit there.
struct Placement {
    /// Rows numbered `first` and above, up to the next block, are residue number + `shift`.
    struct Block {
        int first = 0;
        int shift = 0;
    };

    std::vector<Block> blocks;  ///< by rising `first`; empty when nothing was found
    int fitting = 0;            ///< names that fit
    int compared = 0;           ///< names of rows whose place isn't an X of the sequence
    bool unique = false;        ///< no other placement of its kind fits as many names

    /// Whether at least 90 % of the names fit.
    bool fits() const { return compared > 0 && 10 * fitting >= 9 * compared; }
};

/// Places rows on sequences by their residue names. Letters X count as unknown on both sides.
class PlacementSearch {
  public:
    /// `sequence` by number, each number once; `rows` in any order, one entry for each residue.
    PlacementSearch(const std::vector<NumberedLetter>& sequence, std::vector<NumberedLetter> rows);

    /// The placement with one constant shift.
    Placement at(int shift) const;

    /// The constant shift that fits most names; of equals 0, then the smallest change.
    Placement best() const;

    /// Two blocks and more that keep the order of the residues, each with a shift of its own that
    /// is better for it than any other. Without blocks when there are none in which at least five
    /// names and 90 % fit.
    Placement inBlocks() const;

  private:
    char letterAt(int number) const;
    std::vector<int> countFits(std::size_t first, std::size_t end) const;
    Placement at(int shift, std::size_t first, std::size_t end) const;
    bool onlyShift(int shift, std::size_t first, std::size_t end) const;
    std::vector<int> likelyShifts() const;

    int firstNumber_ = 0;
    std::vector<char> letters_;         // of the sequence from firstNumber_ on
    std::vector<NumberedLetter> rows_;  // with known letters, by number
    int lowestShift_ = 0;
    std::size_t shiftCount_ = 0;
};

}  // namespace orvix::importing
