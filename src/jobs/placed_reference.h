#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class PDB;

namespace orvix::jobs {

/// The structure of `file` with the residue numbers of the query's `sequence` (residue number ->
/// letter); null for an empty name. Adds to `notes` how it was placed. Throws InputRejected for a
/// file without atoms and for a structure of another protein.
std::shared_ptr<const PDB> placedReference(const std::string& file,
                                           const std::map<int, std::string>& sequence,
                                           std::vector<std::string>& notes);

}  // namespace orvix::jobs
