#include "jobs/placed_reference.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/run_end.h"
#include "structure/pdb.h"
#include "structure/renumbering.h"

namespace orvix::jobs {
namespace {

constexpr double leastIdentity = 0.8;

}  // namespace

std::shared_ptr<const PDB> placedReference(const std::string& file,
                                           const std::map<int, std::string>& sequence,
                                           std::vector<std::string>& notes) {
    if (file.empty()) {
        return nullptr;
    }
    const PDB structure(file);
    if (structure.atoms.empty()) {
        throw InputRejected(file + ": no ATOM records found");
    }
    const structure::StructureFit fit = structure::fitStructure(structure, sequence);
    // Few residues can agree by chance wherever they are put.
    const std::size_t least = std::min(structure.residName1.size(), sequence.size()) / 2;
    const std::string share = std::to_string(fit.identical) + " of " + std::to_string(fit.aligned) +
                              " aligned residues (" +
                              std::to_string(std::lround(std::floor(100.0 * fit.identity()))) +
                              " %) have the name of the sequence";
    if (fit.identity() < leastIdentity || static_cast<std::size_t>(fit.aligned) < least) {
        throw InputRejected(file + ": is no structure of this protein: " + share +
                            "; at least 80 % of the residues, over half of the shorter of both, "
                            "have to fit");
    }
    std::string note = file + ": " + share + "; ";
    if (fit.oneOffset && fit.offset == 0) {
        note += "residue numbers as they stand";
    } else if (fit.oneOffset) {
        note += "residue numbers changed by " + std::string(fit.offset > 0 ? "+" : "") +
                std::to_string(fit.offset);
    } else {
        note += "residues numbered by an alignment with gaps, " +
                std::to_string(structure.residName1.size() - fit.number.size()) + " left out";
    }
    notes.push_back(std::move(note));
    return std::make_shared<const PDB>(*structure::renumbered(structure, fit));
}

}  // namespace orvix::jobs
