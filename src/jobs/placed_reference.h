#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class PDB;

namespace orvix::jobs {

/// The structure of `file` with the residue numbers of the query's `sequence` (residue number ->
/// letter); null for an empty name. Of each model the best chain counts (see `placedModels`); an
/// ensemble is represented by the model whose phi and psi are nearest to those of all others. Adds
/// to `notes` how it was placed, and what was chosen where there was a choice. Throws InputRejected
/// for a file that can't be read and for a structure of another protein.
std::shared_ptr<const PDB> placedReference(const std::string& file,
                                           const std::map<int, std::string>& sequence,
                                           std::vector<std::string>& notes);

}  // namespace orvix::jobs
