#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/phi_psi_grid.h"

class DB;

namespace orvix::search {

/// Rows first..last of one protein.
struct ProteinBlock {
    int first;
    int last;
    bool operator==(const ProteinBlock&) const = default;
};

/// Boxes are kept as a tile of 4 x 4 boxes and the place in it, so that the values of the boxes of
/// a tile fit one 16 byte table. 25 tiles cover the 18 x 18 grid; one more stands for any index
/// that is no box.
inline constexpr int tileCount = 26;
inline constexpr int strayTile = 25;
inline constexpr int slotCount = tileCount * 16;

/// Tile * 16 + place of a box index, or of any other int (the first slot of the stray tile).
int slotOfBox(int box);

/// Letters are kept as codes in order of first appearance. The last code stands for no letter, and
/// in the plane of centres for a row that can't be the middle of a window.
inline constexpr int letterCodes = 32;
inline constexpr int noLetter = letterCodes - 1;

/// Planes that were built before, read where they are kept. Each has the rows and the margins of
/// `DatabasePlanes`.
struct KeptPlanes {
    bool usable = false, hasStrayBoxes = false;
    std::string letters;
    std::span<const std::uint8_t> tile, place, letter, centre;
};

/// The columns of a database that the scan looks at, one byte a row, for one window half-width.
/// Read-only once built.
class DatabasePlanes {
  public:
    /// Rows readable before the first and behind the last one.
    static constexpr int margin = 128;

    /// `halfWidth` 0..3. Blocks must lie inside the rows of `db`.
    DatabasePlanes(const DB& db, std::span<const ProteinBlock> blocks, int halfWidth);
    /// Planes that `owner` keeps.
    DatabasePlanes(const KeptPlanes& kept, std::span<const ProteinBlock> blocks, int halfWidth,
                   std::shared_ptr<const void> owner);
    DatabasePlanes(const DatabasePlanes&) = delete;
    DatabasePlanes& operator=(const DatabasePlanes&) = delete;

    /// Whether the fast scan can be used: blocks in rising order without overlap, and few letters.
    bool usable() const { return kept_.usable; }
    int rows() const { return rows_; }
    int halfWidth() const { return halfWidth_; }
    std::span<const ProteinBlock> blocks() const { return blocks_; }
    /// Whether some row has a box index that is no box.
    bool hasStrayBoxes() const { return kept_.hasStrayBoxes; }
    /// Letter of each code in use.
    const std::string& letters() const { return kept_.letters; }

    const std::uint8_t* tile() const { return kept_.tile.data() + margin; }
    const std::uint8_t* place() const { return kept_.place.data() + margin; }
    const std::uint8_t* letter() const { return kept_.letter.data() + margin; }
    /// Letter code of the rows that can be the middle of a window: h rows inside their block, with
    /// residue numbers that run on without a gap. noLetter elsewhere.
    const std::uint8_t* centre() const { return kept_.centre.data() + margin; }
    /// What a later run can take over.
    const KeptPlanes& kept() const { return kept_; }

  private:
    int rows_;
    int halfWidth_;
    std::vector<ProteinBlock> blocks_;
    KeptPlanes kept_;
    std::shared_ptr<const void> owner_;
};

}  // namespace orvix::search
