#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "batch/store.h"

namespace orvix::batch {

/// What a store says of its proteins for an index of them.
struct StoreIndex {
    /// Name -> the part of the protein's record of results that an index is made of: the title, the
    /// class and secondary structure of each residue, completeness, outliers, offsets.
    std::map<std::string, nlohmann::ordered_json> proteins;
    std::vector<Failure> failures;
};

/// Reads it; `path` is a store. Throws RunError, also for a file that is no store of this version.
StoreIndex readStoreIndex(const std::string& path);

}  // namespace orvix::batch
