#include "search/database_planes.h"

#include <algorithm>
#include <utility>

#include "search/db.h"

namespace orvix::search {

namespace {

struct SlotTable {
    SlotTable() {
        for (int box = 0; box < boxCount; ++box) {
            const int row = box / 18;
            const int column = box % 18;
            slots[static_cast<std::size_t>(box)] =
                (row / 4 * 5 + column / 4) * 16 + row % 4 * 4 + column % 4;
        }
    }
    std::array<int, boxCount> slots;
};

bool inOrder(std::span<const ProteinBlock> blocks) {
    int behind = 0;
    for (const ProteinBlock& block : blocks) {
        if (block.last < block.first) {
            continue;
        }
        if (block.first < behind) {
            return false;
        }
        behind = block.last + 1;
    }
    return true;
}

}  // namespace

int slotOfBox(int box) {
    static const SlotTable table;
    return box >= 0 && box < boxCount ? table.slots[static_cast<std::size_t>(box)] : strayTile * 16;
}

DatabasePlanes::DatabasePlanes(const DB& db, std::span<const ProteinBlock> blocks, int halfWidth)
    : rows_(db.dbSize), halfWidth_(halfWidth), blocks_(blocks.begin(), blocks.end()) {
    struct Planes {
        std::vector<std::uint8_t> tile, place, letter, centre;
    };
    const std::size_t size = static_cast<std::size_t>(rows_) + 2 * margin;
    const auto planes = std::make_shared<Planes>();
    planes->tile.assign(size, strayTile);
    planes->place.assign(size, 0);
    planes->letter.assign(size, noLetter);
    planes->centre.assign(size, noLetter);
    kept_.usable = inOrder(blocks);

    std::array<int, 256> codes;
    codes.fill(-1);
    for (int i = 0; i < rows_; ++i) {
        const std::size_t at = static_cast<std::size_t>(i) + margin;
        const int slot = slotOfBox(db.boxes[i]);
        planes->tile[at] = static_cast<std::uint8_t>(slot / 16);
        planes->place[at] = static_cast<std::uint8_t>(slot % 16);
        kept_.hasStrayBoxes = kept_.hasStrayBoxes || slot == strayTile * 16;
        int& code = codes[static_cast<unsigned char>(db.resNames[i])];
        if (code < 0) {
            code = std::min(static_cast<int>(kept_.letters.size()), noLetter);
            kept_.usable = kept_.usable && code < noLetter;
            if (code < noLetter) {
                kept_.letters.push_back(db.resNames[i]);
            }
        }
        planes->letter[at] = static_cast<std::uint8_t>(code);
    }

    for (const ProteinBlock& block : blocks) {
        // Rows behind the last gap in numbering, up to and with the row looked at.
        int run = 0;
        for (int i = block.first; i <= block.last; ++i) {
            const bool follows =
                i > block.first && static_cast<long long>(db.resids[i]) - db.resids[i - 1] == 1;
            run = follows ? run + 1 : 1;
            if (run >= 2 * halfWidth + 1) {
                const std::size_t middle = static_cast<std::size_t>(i - halfWidth) + margin;
                planes->centre[middle] = planes->letter[middle];
            }
        }
    }
    kept_.tile = planes->tile;
    kept_.place = planes->place;
    kept_.letter = planes->letter;
    kept_.centre = planes->centre;
    owner_ = planes;
}

DatabasePlanes::DatabasePlanes(const KeptPlanes& kept, std::span<const ProteinBlock> blocks,
                               int halfWidth, std::shared_ptr<const void> owner)
    : rows_(static_cast<int>(kept.tile.size()) - 2 * margin),
      halfWidth_(halfWidth),
      blocks_(blocks.begin(), blocks.end()),
      kept_(kept),
      owner_(std::move(owner)) {}

}  // namespace orvix::search
