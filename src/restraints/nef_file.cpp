#include <charconv>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <sstream>

#include "base/run_end.h"
#include "restraints/restraint_file.h"
#include "restraints/star_text.h"

namespace orvix::restraints {

namespace {

struct ShiftNucleus {
    const char* atom;  ///< NEF name
    const char* element;
    const char* isotope;
};

/// By the order of `shiftAtoms`.
constexpr ShiftNucleus nuclei[] = {{"N", "N", "15"},  {"HA", "H", "1"},  {"C", "C", "13"},
                                   {"CA", "C", "13"}, {"CB", "C", "13"}, {"H", "H", "1"}};

/// The restraints' own digits, so that one file never has the identifier of another.
std::string fingerprint(const RestraintFile& file) {
    std::ostringstream text;
    for (const DihedralRestraint& restraint : file.set.restraints) {
        text << restraint.residue << torsionName(restraint.dihedral) << restraint.centre << ' '
             << restraint.halfWidth << '\n';
    }
    for (const AmbiguousRestraint& restraint : file.set.ambiguous) {
        for (const IslandRestraint& island : restraint.islands) {
            text << restraint.residue << ' ' << island.phi.centre << ' ' << island.phi.halfWidth
                 << ' ' << island.psi.centre << ' ' << island.psi.halfWidth << '\n';
        }
    }
    text << file.prediction.sequence << file.source;
    std::uint64_t hash = 0xcbf29ce484222325U;  // FNV-1a
    for (const char c : text.str()) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
    }
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

/// The digits of a shift, no more and no fewer than it has.
std::string shiftText(double ppm) {
    char digits[400];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, ppm, std::chars_format::fixed).ptr;
    return {digits, end};
}

/// Names for the four atoms' columns.
void addAtomTags(std::vector<std::string>& tags) {
    for (const char* const number : {"_1", "_2", "_3", "_4"}) {
        for (const char* const name :
             {"chain_code", "sequence_code", "residue_name", "atom_name"}) {
            tags.push_back(std::string(name) + number);
        }
    }
}

StarFrameWriter openFrame(std::ostream& out, const std::string& category, const std::string& code) {
    return {out, category, category, code, "sf_category", "sf_framecode"};
}

void writeMetaData(const RestraintFile& file, std::ostream& out) {
    StarFrameWriter frame = openFrame(out, "nef_nmr_meta_data", "nef_nmr_meta_data");
    frame.tag("format_name", "nmr_exchange_format");
    frame.tag("format_version", "1.1");
    frame.tag("program_name", "orvix");
    frame.tag("program_version", file.version);
    frame.tag("creation_date", file.created);
    frame.tag("uuid", "orvix-" + file.created + "-" + fingerprint(file));
}

void writeMolecularSystem(const RestraintFile& file, std::ostream& out) {
    const results::FinishedPrediction& prediction = file.prediction;
    StarFrameWriter frame = openFrame(out, "nef_molecular_system", "nef_molecular_system");
    frame.beginLoop("nef_sequence", {"index", "chain_code", "sequence_code", "residue_name",
                                     "linking", "residue_variant", "cis_peptide"});
    const int first = prediction.firstResidue;
    const int last = prediction.lastResidue();
    for (int i = first; i <= last; ++i) {
        const std::string linking = first == last ? "single"
                                    : i == first  ? "start"
                                    : i == last   ? "end"
                                                  : "middle";
        // An oxidised cysteine has lost its thiol proton.
        const std::string variant = prediction.letter(i) == 'c' ? "-HG" : "";
        frame.row({std::to_string(i - first + 1), file.chain, file.numberText(i),
                   file.residueName(i), linking, variant, ""});
    }
    frame.endLoop();
}

void writeShifts(const RestraintFile& file, std::ostream& out) {
    StarFrameWriter frame =
        openFrame(out, "nef_chemical_shift_list", "nef_chemical_shift_list_prediction_input");
    frame.beginLoop("nef_chemical_shift",
                    {"chain_code", "sequence_code", "residue_name", "atom_name", "value",
                     "value_uncertainty", "element", "isotope_number"});
    for (const auto& [number, residue] : file.prediction.residues) {
        for (std::size_t i = 0; i < residue.shifts.size(); ++i) {
            if (!residue.shifts[i]) {
                continue;
            }
            // The prediction takes the mean of a glycine's two alpha protons.
            const bool mean = residue.letter == 'G' && results::shiftAtoms[i] == "HA";
            frame.row({file.chain, file.numberText(number), file.residueName(number),
                       mean ? "QA" : nuclei[i].atom, shiftText(*residue.shifts[i]), "",
                       nuclei[i].element, nuclei[i].isotope});
        }
    }
    frame.endLoop();
}

/// A row of the restraint loop.
std::vector<std::string> restraintRow(const RestraintFile& file, int index, int id,
                                      const std::string& combination,
                                      const DihedralRestraint& restraint) {
    std::vector<std::string> row = {std::to_string(index), std::to_string(id), combination};
    const char letter = file.prediction.letter(restraint.residue);
    for (const TorsionAtom& atom : torsionAtoms(restraint, letter)) {
        row.insert(row.end(), {file.chain, file.numberText(atom.residue),
                               file.residueName(atom.residue), atom.name});
    }
    row.insert(row.end(), {"1.0", degreesText(restraint.centre), degreesText(restraint.spread), "",
                           degreesText(restraint.lower()), degreesText(restraint.upper()), "",
                           torsionName(restraint.dihedral)});
    return row;
}

void writeRestraints(const RestraintFile& file, std::ostream& out) {
    if (file.set.restraints.empty() && file.set.ambiguous.empty()) {
        return;
    }
    StarFrameWriter frame =
        openFrame(out, "nef_dihedral_restraint_list", "nef_dihedral_restraint_list_predicted");
    frame.tag("potential_type", "square-well-parabolic");
    frame.tag("restraint_origin", "chemical_shift");
    std::vector<std::string> tags = {"index", "restraint_id", "restraint_combination_id"};
    addAtomTags(tags);
    for (const char* const name :
         {"weight", "target_value", "target_value_uncertainty", "lower_linear_limit", "lower_limit",
          "upper_limit", "upper_linear_limit", "name"}) {
        tags.emplace_back(name);
    }
    frame.beginLoop("nef_dihedral_restraint", tags);
    int index = 0, id = 0;
    for (const DihedralRestraint& restraint : file.set.restraints) {
        frame.row(restraintRow(file, ++index, ++id, "", restraint));
    }
    for (const AmbiguousRestraint& restraint : file.set.ambiguous) {
        ++id;
        for (std::size_t i = 0; i < restraint.islands.size(); ++i) {
            const std::string combination = std::to_string(i + 1);
            for (const DihedralRestraint& one : restraint.islands[i].both()) {
                frame.row(restraintRow(file, ++index, id, combination, one));
            }
        }
    }
    frame.endLoop();
}

bool hasShifts(const results::FinishedPrediction& prediction) {
    for (const auto& [number, residue] : prediction.residues) {
        for (const std::optional<double>& shift : residue.shifts) {
            if (shift) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

void writeNef(const RestraintFile& file, std::ostream& out) {
    if (!hasShifts(file.prediction)) {
        throw InputRejected(file.source +
                            ": holds no shifts; expected some, as a NEF file needs a shift list");
    }
    out << "data_nef_orvix_" << starName(file.prediction.title) << "\n\n";
    for (const std::string& line : headLines(file)) {
        out << "# " << line << '\n';
    }
    for (const std::string& line : ambiguousLines(
             file,
             "Rows of one restraint_id: those of one restraint_combination_id hold together, or "
             "those of the other")) {
        out << "# " << line << '\n';
    }
    out << "# Limits are a continuous pair: one of them may lie beyond 180 degrees\n"
        << "# Glycine's QA is the mean of its alpha protons, or the one that is assigned\n";
    writeMetaData(file, out);
    writeMolecularSystem(file, out);
    writeShifts(file, out);
    writeRestraints(file, out);
}

}  // namespace orvix::restraints
