// A database of known proteins with its blocks and scan planes.
#include "search/database.h"

#include <utility>

#include "search/db.h"

namespace orvix::search {

std::vector<ProteinBlock> cutProteins(const DB& db) {
    std::vector<ProteinBlock> proteins;
    const std::string* current = nullptr;
    int start = 0;
    for (int i = 0; i < db.dbSize; ++i) {
        const std::string& source = db.sources[i];
        // Rows of one protein share their source text, so most tests end at the address.
        if (current != nullptr && current != &source && *current != source) {
            proteins.push_back({start, i - 1});
            start = i;
        }
        current = &source;
    }
    if (db.dbSize > 0) {
        proteins.push_back({start, db.dbSize - 1});
    }
    return proteins;
}

Database::Database(std::unique_ptr<DB> rows)
    : rows_(std::move(rows)), proteins_(cutProteins(*rows_)) {}

Database::Database(std::unique_ptr<DB> rows, std::vector<ProteinBlock> proteins, Planes planes)
    : rows_(std::move(rows)), proteins_(std::move(proteins)), planes_(std::move(planes)) {}

Database::~Database() = default;

std::shared_ptr<const DatabasePlanes> Database::planes(int halfWidth) const {
    const std::lock_guard lock(mutex_);
    auto& planes = planes_.at(static_cast<std::size_t>(halfWidth));
    if (planes == nullptr) {
        planes = std::make_shared<const DatabasePlanes>(*rows_, proteins_, halfWidth);
    }
    return planes;
}

}  // namespace orvix::search
