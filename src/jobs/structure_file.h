#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

class PDB;

namespace orvix::jobs {

/// A protein chain of one model of a structure file.
struct StructureChain {
    int model = 1;      ///< place of its model in the file, from 1
    std::string chain;  ///< name of the chain; empty where the file gives none
    std::shared_ptr<const PDB> atoms;
};

/// The protein chains of all models of a file in PDB or mmCIF form, plain or gzip, in the order of
/// the file. Modified residues have the name of the residue that they are made of; the first of
/// alternate conformations counts. Residue numbers are the author's; of a chain with insertion
/// codes they are counted from 1, one more at each break. Throws InputRejected for a file that
/// can't be read or holds no protein.
std::vector<StructureChain> readStructureFile(const std::string& file);

/// A chain with the residue numbers of a query.
struct PlacedModel {
    int model = 1;
    std::string chain;
    std::string placement;  ///< in words, how it lies on the sequence
    std::shared_ptr<const PDB> structure;
};

/// Which of the chains of a model that are the query's protein are taken.
enum class ChainChoice { best, all };

/// The chains of `file` that are the protein of `sequence` (residue number -> letter), with its
/// numbers: at least 80 % of the aligned residues have the same name, and at least half of the
/// shorter of both is aligned. Of several chains of a model the best is the one with most identical
/// residues, of equals the first. Models without such a chain are left out. Throws InputRejected
/// for a file that can't be read and for one without any such chain.
std::vector<PlacedModel> placedModels(const std::string& file,
                                      const std::map<int, std::string>& sequence,
                                      ChainChoice choice);

}  // namespace orvix::jobs
