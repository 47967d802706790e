#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "search/database_planes.h"
#include "search/triplet_scan.h"

class DB;

namespace orvix::search {

/// Most rows of a database that a run searches.
inline constexpr int databaseCapacity = 2330110;

/// The stretches of consecutive rows with one source word, in order.
std::vector<ProteinBlock> cutProteins(const DB& db);

/// A loaded database with all that is derived from it alone. Shared by any number of searches.
class Database {
  public:
    /// Planes of each half-width, where they are known.
    using Planes = std::array<std::shared_ptr<const DatabasePlanes>, maxHalfWidth + 1>;

    explicit Database(std::unique_ptr<DB> rows);
    /// Rows whose proteins and planes are known.
    Database(std::unique_ptr<DB> rows, std::vector<ProteinBlock> proteins, Planes planes);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    DB& rows() const { return *rows_; }
    std::span<const ProteinBlock> proteins() const { return proteins_; }
    /// The scan's form of the rows for windows of `halfWidth` 0..maxHalfWidth, made at its first
    /// use.
    std::shared_ptr<const DatabasePlanes> planes(int halfWidth) const;

  private:
    std::unique_ptr<DB> rows_;
    std::vector<ProteinBlock> proteins_;
    mutable std::mutex mutex_;
    mutable Planes planes_;
};

}  // namespace orvix::search
