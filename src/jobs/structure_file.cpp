#include "jobs/structure_file.h"

// Debian's gemmi is headers alone. It is used here and nowhere else: the library of the prediction
// itself reads structures with its own class.
#include <algorithm>
#include <cmath>
#include <exception>
#include <gemmi/cif.hpp>
#include <gemmi/mmcif.hpp>
#include <gemmi/modify.hpp>
#include <gemmi/pdb.hpp>
#include <gemmi/polyheur.hpp>
#include <utility>

#include "base/residues.h"
#include "base/run_end.h"
#include "import/residue_names.h"
#include "import/shift_text.h"
#include "structure/pdb.h"
#include "structure/renumbering.h"

namespace orvix::jobs {
namespace {

constexpr double leastIdentity = 0.8;
/// Neighbours whose C and N are further apart, in angstrom, are not bonded.
constexpr double longestBond = 2.5;
/// A large ensemble in mmCIF form holds more text than any shift file.
constexpr std::size_t structureTextLimit = std::size_t{512} << 20;

/// Whether the first line that is no comment opens a data block.
bool isCif(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::size_t first = text.find_first_not_of(" \t", at);
        if (first < end && text[first] != '#') {
            return importing::foldLower(text.substr(first, 5)) == "data_";
        }
        at = end + 1;
    }
    return false;
}

gemmi::Structure parseStructure(const std::string& file) {
    const std::string text = importing::readShiftText(file, structureTextLimit);
    try {
        gemmi::Structure structure = isCif(text)
                                         ? gemmi::make_structure(gemmi::cif::read_string(text))
                                         : gemmi::read_pdb_string(text, file);
        gemmi::setup_entities(structure);
        gemmi::remove_alternative_conformations(structure);
        return structure;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw InputRejected(file + ": no structure in PDB or mmCIF form: " + error.what());
    }
}

const gemmi::Atom* atomNamed(const gemmi::Residue& residue, const char* name) {
    for (const gemmi::Atom& atom : residue.atoms) {
        if (atom.name == name) {
            return &atom;
        }
    }
    return nullptr;
}

/// Three-letter name of the residue, or of the one that it is made of.
std::string parentName(const std::string& name) {
    static const importing::ResidueNames names;
    char letter = names.letter(name).letter;
    if (letter == 'X') {
        const char tabulated = gemmi::find_tabulated_residue(name).one_letter_code;
        letter = tabulated >= 'a' && tabulated <= 'z' ? static_cast<char>(tabulated - 'a' + 'A')
                                                      : tabulated;
    }
    const Residue* const residue = findResidue(letter);
    return residue == nullptr ? name : std::string(residue->name);
}

/// The residues of a chain that have a backbone.
std::vector<const gemmi::Residue*> backbone(gemmi::Chain& chain) {
    gemmi::ResidueSpan span = chain.get_polymer();
    if (span.size() == 0) {
        span = chain.whole();
    }
    std::vector<const gemmi::Residue*> found;
    for (const gemmi::Residue& residue : span) {
        if (atomNamed(residue, "N") != nullptr && atomNamed(residue, "CA") != nullptr &&
            atomNamed(residue, "C") != nullptr && residue.seqid.num.has_value()) {
            found.push_back(&residue);
        }
    }
    return found;
}

/// Numbers of the residues, each once: the author's, or counted where insertion codes or an order
/// of their own make these useless.
std::vector<int> numbersOf(const std::vector<const gemmi::Residue*>& residues) {
    std::vector<int> numbers;
    bool plain = true;
    for (const gemmi::Residue* const residue : residues) {
        const int number = residue->seqid.num.value;
        plain =
            plain && !residue->seqid.has_icode() && (numbers.empty() || number > numbers.back());
        numbers.push_back(number);
    }
    for (std::size_t i = 0; !plain && i < residues.size(); ++i) {
        const bool bonded =
            i == 0 ||
            atomNamed(*residues[i - 1], "C")->pos.dist(atomNamed(*residues[i], "N")->pos) <=
                longestBond;
        numbers[i] = i == 0 ? 1 : numbers[i - 1] + (bonded ? 1 : 2);
    }
    return numbers;
}

std::vector<CORdata> atomRecords(gemmi::Chain& chain) {
    const std::vector<const gemmi::Residue*> residues = backbone(chain);
    const std::vector<int> numbers = numbersOf(residues);
    std::vector<CORdata> records;
    for (std::size_t i = 0; i < residues.size(); ++i) {
        const std::string name = parentName(residues[i]->name);
        for (const gemmi::Atom& atom : residues[i]->atoms) {
            CORdata record;
            record.atomNum = static_cast<int>(records.size()) + 1;
            record.resNum = numbers[i];
            record.atomName = atom.name == "H" ? "HN" : atom.name;
            record.resName = name;
            record.chainName = chain.name;
            const double place[3] = {atom.pos.x, atom.pos.y, atom.pos.z};
            if (!std::isfinite(place[0] + place[1] + place[2])) {
                continue;
            }
            for (std::size_t k = 0; k < 3; ++k) {
                record.coor[k] = record.coorCopy[k] = static_cast<float>(place[k]);
            }
            record.tempFactor = atom.b_iso;
            records.push_back(std::move(record));
        }
    }
    return records;
}

std::string shareText(const structure::StructureFit& fit) {
    return std::to_string(fit.identical) + " of " + std::to_string(fit.aligned) +
           " aligned residues (" + std::to_string(std::lround(std::floor(100.0 * fit.identity()))) +
           " %) have the name of the sequence";
}

std::string placementText(const PDB& structure, const structure::StructureFit& fit) {
    if (!fit.oneOffset) {
        return shareText(fit) + "; residues numbered by an alignment with gaps, " +
               std::to_string(structure.residName1.size() - fit.number.size()) + " left out";
    }
    return shareText(fit) + (fit.offset == 0 ? "; residue numbers as they stand"
                                             : "; residue numbers changed by " +
                                                   std::string(fit.offset > 0 ? "+" : "") +
                                                   std::to_string(fit.offset));
}

bool isSameProtein(const PDB& structure, const structure::StructureFit& fit,
                   const std::map<int, std::string>& sequence) {
    // Few residues can agree by chance wherever they are put.
    const std::size_t least = std::min(structure.residName1.size(), sequence.size()) / 2;
    return fit.identity() >= leastIdentity && static_cast<std::size_t>(fit.aligned) >= least;
}

/// A chain with its place on the sequence.
struct Candidate {
    const StructureChain* chain = nullptr;
    structure::StructureFit fit;
};

}  // namespace

std::vector<StructureChain> readStructureFile(const std::string& file) {
    gemmi::Structure structure = parseStructure(file);
    std::vector<StructureChain> chains;
    bool anyAtoms = false;
    for (std::size_t model = 0; model < structure.models.size(); ++model) {
        for (gemmi::Chain& chain : structure.models[model].chains) {
            anyAtoms = anyAtoms || !chain.residues.empty();
            const std::vector<CORdata> records = atomRecords(chain);
            if (!records.empty()) {
                chains.push_back({static_cast<int>(model) + 1, chain.name,
                                  std::make_shared<const PDB>(file, records)});
            }
        }
    }
    if (chains.empty()) {
        throw InputRejected(file + (anyAtoms ? ": no protein residues with N, CA and C found"
                                             : ": no ATOM records found"));
    }
    return chains;
}

std::vector<PlacedModel> placedModels(const std::string& file,
                                      const std::map<int, std::string>& sequence,
                                      ChainChoice choice) {
    const std::vector<StructureChain> chains = readStructureFile(file);
    std::vector<Candidate> taken;
    Candidate closest;
    for (const StructureChain& chain : chains) {
        Candidate one{&chain, structure::fitStructure(*chain.atoms, sequence)};
        if (closest.chain == nullptr || one.fit.identical > closest.fit.identical) {
            closest = one;
        }
        if (!isSameProtein(*chain.atoms, one.fit, sequence)) {
            continue;
        }
        const bool rival = choice == ChainChoice::best && !taken.empty() &&
                           taken.back().chain->model == chain.model;
        if (!rival) {
            taken.push_back(std::move(one));
        } else if (one.fit.identical > taken.back().fit.identical) {
            taken.back() = std::move(one);
        }
    }
    if (taken.empty()) {
        throw InputRejected(file + ": is no structure of this protein: " + shareText(closest.fit) +
                            (chains.size() > 1 ? " in its best chain" : "") +
                            "; at least 80 % of the residues, over half of the shorter of both, "
                            "have to fit");
    }
    std::vector<PlacedModel> placed;
    for (const Candidate& one : taken) {
        placed.push_back({one.chain->model, one.chain->chain,
                          placementText(*one.chain->atoms, one.fit),
                          structure::renumbered(*one.chain->atoms, one.fit)});
    }
    return placed;
}

}  // namespace orvix::jobs
