// The database and its scan planes as sections of an image.
#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "images/image_components.h"
#include "images/image_texts.h"
#include "search/db.h"
#include "search/db_reader.h"

namespace orvix::images {
namespace {

/// Zero rows behind the last one.
constexpr std::size_t spareRows = 64;

constexpr int halfWidths = search::maxHalfWidth + 1;

/// The columns of a database, wherever they are.
struct Columns {
    Section<float> shifts, angles;
    Section<int> resids, boxes, protein;
    Section<char> resNames;
};

template <class T>
bool take(const ImageFile& image, const std::string& name, Section<T>& section) {
    const auto found = image.section<T>(name);
    section = found.value_or(Section<T>());
    return found.has_value();
}

bool takeColumns(const ImageFile& image, const std::string& name, Columns& columns) {
    if (!take(image, name + "/shifts", columns.shifts) ||
        !take(image, name + "/angles", columns.angles) ||
        !take(image, name + "/resids", columns.resids) ||
        !take(image, name + "/boxes", columns.boxes) ||
        !take(image, name + "/protein", columns.protein) ||
        !take(image, name + "/resNames", columns.resNames)) {
        return false;
    }
    const std::size_t rows = columns.resids.size();
    return rows >= spareRows && columns.shifts.size() == 12 * rows &&
           columns.angles.size() == 3 * rows && columns.boxes.size() == rows &&
           columns.protein.size() == rows && columns.resNames.size() == rows;
}

std::string planeName(const std::string& name, int halfWidth) {
    return name + "/centre" + std::to_string(halfWidth);
}

bool takePlanes(const ImageFile& image, const std::string& name, std::size_t rows,
                std::array<search::KeptPlanes, halfWidths>& planes) {
    search::KeptPlanes common;
    Section<std::uint32_t> flags;
    Section<char> letters;
    if (!take(image, name + "/tile", common.tile) || !take(image, name + "/place", common.place) ||
        !take(image, name + "/letter", common.letter) || !take(image, name + "/flags", flags) ||
        !take(image, name + "/letters", letters) || flags.size() != 2) {
        return false;
    }
    const std::size_t size = rows + 2 * std::size_t{search::DatabasePlanes::margin};
    common.usable = flags[0] != 0;
    common.hasStrayBoxes = flags[1] != 0;
    common.letters.assign(letters.begin(), letters.end());
    for (int h = 0; h < halfWidths; ++h) {
        search::KeptPlanes& kept = planes[static_cast<std::size_t>(h)] = common;
        if (!take(image, planeName(name, h), kept.centre) || kept.centre.size() != size) {
            return false;
        }
    }
    return common.tile.size() == size && common.place.size() == size &&
           common.letter.size() == size;
}

/// Copies the rows of the proteins that stay.
std::unique_ptr<DB> copiedRows(const Columns& columns,
                               std::span<const search::ProteinBlock> proteins,
                               std::vector<std::string> names, const std::string& excluded) {
    auto rows = std::make_unique<DB>();
    constexpr auto capacity = std::size_t{search::databaseCapacity};
    rows->shifts.reset(capacity);
    rows->angles.reset(capacity);
    rows->resids.reset(capacity);
    rows->boxes.reset(capacity);
    rows->resNames.reset(capacity);
    rows->sources.protein.reset(capacity);
    for (const search::ProteinBlock& block : proteins) {
        const auto first = static_cast<std::size_t>(block.first);
        const auto count = static_cast<std::size_t>(block.last - block.first + 1);
        if (search::isExcluded(excluded, names[static_cast<std::size_t>(columns.protein[first])])) {
            continue;
        }
        const int at = rows->dbSize;
        std::copy_n(&columns.shifts[first * 12], count * 12, rows->shifts[at]);
        std::copy_n(&columns.angles[first * 3], count * 3, rows->angles[at]);
        std::copy_n(&columns.resids[first], count, &rows->resids[at]);
        std::copy_n(&columns.boxes[first], count, &rows->boxes[at]);
        std::copy_n(&columns.resNames[first], count, &rows->resNames[at]);
        std::copy_n(&columns.protein[first], count, &rows->sources.protein[at]);
        rows->dbSize += static_cast<int>(count);
    }
    rows->sources.names = std::move(names);
    return rows;
}

std::unique_ptr<DB> mappedRows(const Columns& columns, std::vector<std::string> names,
                               const std::shared_ptr<const ImageFile>& image) {
    auto rows = std::make_unique<DB>();
    rows->shifts.show(columns.shifts, image);
    rows->angles.show(columns.angles, image);
    rows->resids.show(columns.resids, image);
    rows->boxes.show(columns.boxes, image);
    rows->resNames.show(columns.resNames, image);
    rows->sources.protein.show(columns.protein, image);
    rows->sources.names = std::move(names);
    rows->dbSize = static_cast<int>(columns.resids.size() - spareRows);
    return rows;
}

}  // namespace

void addDatabase(ImageWriter& writer, const std::string& name, const search::Database& database) {
    const DB& db = database.rows();
    const std::size_t rows = static_cast<std::size_t>(db.dbSize) + spareRows;
    // The arrays of a loaded database are as long as its capacity; what is behind the last row is
    // zero.
    const auto column = [&](const std::string& part, const auto* cells, std::size_t width) {
        using Cell = std::remove_cvref_t<decltype(*cells)>;
        std::vector<Cell> copy(rows * width);
        std::copy_n(cells, static_cast<std::size_t>(db.dbSize) * width, copy.begin());
        writer.add(name + "/" + part, std::span<const Cell>(copy));
    };
    column("shifts", db.shifts[0], 12);
    column("angles", db.angles[0], 3);
    column("resids", db.resids.data(), 1);
    column("boxes", db.boxes.data(), 1);
    column("resNames", db.resNames.data(), 1);
    column("protein", db.sources.protein.data(), 1);
    addTexts(writer, name + "/sources", db.sources.names);
    writer.add(name + "/proteins", database.proteins());

    for (int h = 0; h < halfWidths; ++h) {
        const search::KeptPlanes& planes = database.planes(h)->kept();
        if (h == 0) {
            const std::uint32_t flags[2] = {planes.usable ? 1U : 0U,
                                            planes.hasStrayBoxes ? 1U : 0U};
            writer.add(name + "/flags", std::span<const std::uint32_t>(flags));
            writer.add(name + "/letters", std::span<const char>(planes.letters));
            writer.add(name + "/tile", planes.tile);
            writer.add(name + "/place", planes.place);
            writer.add(name + "/letter", planes.letter);
        }
        writer.add(planeName(name, h), planes.centre);
    }
}

std::shared_ptr<const search::Database> databaseOf(const std::shared_ptr<const ImageFile>& image,
                                                   const std::string& name, const std::string& path,
                                                   const std::string& excluded) {
    Columns columns;
    Section<search::ProteinBlock> proteins;
    std::array<search::KeptPlanes, halfWidths> kept;
    std::optional<std::vector<std::string>> names = textsOf(*image, name + "/sources");
    if (!names || !takeColumns(*image, name, columns) ||
        !take(*image, name + "/proteins", proteins) ||
        !takePlanes(*image, name, columns.resids.size() - spareRows, kept)) {
        return nullptr;
    }
    const auto labelled = [&](std::unique_ptr<DB> rows) {
        rows->dbFile = path;
        rows->exclList = excluded;
        rows->setMaxDBSize(search::databaseCapacity);
        return rows;
    };
    if (!excluded.empty()) {
        return std::make_shared<const search::Database>(
            labelled(copiedRows(columns, proteins, std::move(*names), excluded)));
    }
    search::Database::Planes planes;
    for (int h = 0; h < halfWidths; ++h) {
        const auto at = static_cast<std::size_t>(h);
        planes[at] = std::make_shared<const search::DatabasePlanes>(kept[at], proteins, h, image);
    }
    return std::make_shared<const search::Database>(
        labelled(mappedRows(columns, std::move(*names), image)),
        std::vector<search::ProteinBlock>(proteins.begin(), proteins.end()), std::move(planes));
}

}  // namespace orvix::images
