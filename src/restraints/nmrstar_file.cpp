#include <cctype>
#include <ostream>

#include "restraints/restraint_file.h"
#include "restraints/star_text.h"

namespace orvix::restraints {

namespace {

constexpr const char* one = "1";  // the only assembly, entity and list
constexpr const char* entityCode = "protein";
constexpr std::size_t sequenceLine = 60;

/// The frames of one file; all of them carry the entry's identifier.
class StarWriter {
  public:
    StarWriter(const RestraintFile& file, std::ostream& out)
        : file_(file), out_(out), entry_("orvix_" + starName(file.prediction.title)) {}

    void write() {
        out_ << "data_" << entry_ << "\n\n";
        for (const std::string& line : headLines(file_)) {
            out_ << "# " << line << '\n';
        }
        for (const std::string& line : ambiguousDetails()) {
            out_ << "# " << line << '\n';
        }
        out_ << "# Limits are a continuous pair: one of them may lie beyond 180 degrees\n";
        writeEntry();
        writeSoftware();
        writeAssembly();
        writeEntity();
        writeRestraints();
    }

  private:
    StarFrameWriter frame(const std::string& prefix, const std::string& category,
                          const std::string& code) {
        return {out_, prefix, category, code, "Sf_category", "Sf_framecode"};
    }

    void writeEntry() {
        StarFrameWriter entry = frame("Entry", "entry_information", "entry_information");
        entry.tag("ID", entry_);
        entry.tag("Title", file_.prediction.title.empty() ? "Predicted torsion angle restraints"
                                                          : file_.prediction.title);
        entry.tag("Type", "macromolecule");
        entry.tag("Version_type", "original");
        entry.tag("Submission_date", date());
        entry.tag("Accession_date", date());
        entry.tag("Last_release_date", date());
        entry.tag("Original_release_date", date());
        entry.tag("Origination", "author");
        entry.tag("NMR_STAR_version", "3.2");
        entry.tag("Original_NMR_STAR_version", "3.2");
        entry.tag("Experimental_method", "NMR");
    }

    void writeSoftware() {
        StarFrameWriter software = frame("Software", "software", "orvix");
        software.tag("Entry_ID", entry_);
        software.tag("ID", one);
        software.tag("Name", "orvix");
        software.tag("Version", file_.version);
        software.beginLoop("Task", {"Task", "Entry_ID", "Software_ID"});
        software.row({"torsion angle prediction from chemical shifts", entry_, one});
        software.endLoop();
    }

    void writeAssembly() {
        StarFrameWriter assembly = frame("Assembly", "assembly", "assembly");
        assembly.tag("Entry_ID", entry_);
        assembly.tag("ID", one);
        assembly.tag("Name", "assembly");
        assembly.tag("Number_of_components", one);
        assembly.tag("Paramagnetic", "no");
        assembly.beginLoop("Entity_assembly",
                           {"ID", "Entity_assembly_name", "Entity_ID", "Entity_label", "Asym_ID",
                            "Entry_ID", "Assembly_ID"});
        assembly.row(
            {one, entityCode, one, std::string("$") + entityCode, file_.chain, entry_, one});
        assembly.endLoop();
    }

    void writeEntity() {
        const results::FinishedPrediction& prediction = file_.prediction;
        StarFrameWriter entity = frame("Entity", "entity", entityCode);
        entity.tag("Entry_ID", entry_);
        entity.tag("ID", one);
        entity.tag("Name", entityCode);
        entity.tag("Type", "polymer");
        entity.tag("Polymer_type", "polypeptide(L)");
        entity.text("Polymer_seq_one_letter_code", sequenceLines());
        entity.tag("Number_of_monomers", std::to_string(prediction.sequence.size()));

        entity.beginLoop("Entity_comp_index",
                         {"ID", "Auth_seq_ID", "Comp_ID", "Comp_label", "Entry_ID", "Entity_ID"});
        for (int i = prediction.firstResidue; i <= prediction.lastResidue(); ++i) {
            entity.row({place(i), file_.authorText(i), file_.residueName(i), "", entry_, one});
        }
        entity.endLoop();
        entity.beginLoop("Entity_poly_seq",
                         {"Hetero", "Mon_ID", "Num", "Comp_index_ID", "Entry_ID", "Entity_ID"});
        for (int i = prediction.firstResidue; i <= prediction.lastResidue(); ++i) {
            entity.row({"", file_.residueName(i), place(i), place(i), entry_, one});
        }
        entity.endLoop();
    }

    void writeRestraints() {
        if (file_.set.restraints.empty() && file_.set.ambiguous.empty()) {
            return;
        }
        StarFrameWriter list = frame("Torsion_angle_constraint_list", "torsion_angle_constraints",
                                     "torsion_angle_constraints");
        list.tag("Entry_ID", entry_);
        list.tag("ID", one);
        std::vector<std::string> details = headLines(file_);
        const std::vector<std::string> choice = ambiguousDetails();
        details.insert(details.end(), choice.begin(), choice.end());
        list.text("Details", details);
        list.beginLoop("Torsion_angle_constraint", restraintTags());
        int index = 0, id = 0;
        for (const DihedralRestraint& restraint : file_.set.restraints) {
            list.row(restraintRow(restraint, ++index, ++id, ""));
        }
        for (const AmbiguousRestraint& restraint : file_.set.ambiguous) {
            ++id;
            for (std::size_t i = 0; i < restraint.islands.size(); ++i) {
                for (const DihedralRestraint& angle : restraint.islands[i].both()) {
                    list.row(restraintRow(angle, ++index, id, std::to_string(i + 1)));
                }
            }
        }
        list.endLoop();
    }

    static std::vector<std::string> restraintTags() {
        std::vector<std::string> tags = {"Index_ID", "ID", "Combination_ID", "Torsion_angle_name"};
        for (const char* const number : {"_1", "_2", "_3", "_4"}) {
            for (const char* const name : {"Entity_assembly_ID", "Entity_ID", "Comp_index_ID",
                                           "Seq_ID", "Comp_ID", "Atom_ID", "Atom_type"}) {
                tags.push_back(std::string(name) + number);
            }
        }
        for (const char* const name : {"Angle_lower_bound_val", "Angle_upper_bound_val",
                                       "Angle_target_val", "Angle_target_val_err", "Weight"}) {
            tags.emplace_back(name);
        }
        for (const char* const number : {"_1", "_2", "_3", "_4"}) {
            for (const char* const name :
                 {"Auth_asym_ID", "Auth_seq_ID", "Auth_comp_ID", "Auth_atom_ID"}) {
                tags.push_back(std::string(name) + number);
            }
        }
        tags.emplace_back("Entry_ID");
        tags.emplace_back("Torsion_angle_constraint_list_ID");
        return tags;
    }

    std::vector<std::string> ambiguousDetails() const {
        return ambiguousLines(
            file_,
            "Rows of one ID: those of one Combination_ID hold together, or those of the other");
    }

    std::vector<std::string> restraintRow(const DihedralRestraint& restraint, int index, int id,
                                          const std::string& combination) const {
        const char letter = file_.prediction.letter(restraint.residue);
        const auto atoms = torsionAtoms(restraint, letter);
        std::vector<std::string> row = {std::to_string(index), std::to_string(id), combination,
                                        torsionName(restraint.dihedral)};
        for (const TorsionAtom& atom : atoms) {
            row.insert(row.end(),
                       {one, one, place(atom.residue), place(atom.residue),
                        file_.residueName(atom.residue), atom.name, atom.name.substr(0, 1)});
        }
        row.insert(row.end(),
                   {degreesText(restraint.lower()), degreesText(restraint.upper()),
                    degreesText(restraint.centre), degreesText(restraint.spread), "1.0"});
        for (const TorsionAtom& atom : atoms) {
            row.insert(row.end(), {file_.chain, file_.authorText(atom.residue),
                                   file_.residueName(atom.residue), atom.name});
        }
        row.push_back(entry_);
        row.emplace_back(one);
        return row;
    }

    /// Day of writing.
    std::string date() const { return file_.created.substr(0, 10); }

    /// Place in the sequence, from 1: the archive's own numbering.
    std::string place(int residue) const {
        return std::to_string(residue - file_.prediction.firstResidue + 1);
    }

    std::vector<std::string> sequenceLines() const {
        std::vector<std::string> lines;
        for (std::size_t i = 0; i < file_.prediction.sequence.size(); ++i) {
            if (i % sequenceLine == 0) {
                lines.emplace_back();
            }
            const char letter = file_.prediction.sequence[i];
            lines.back() +=
                letter == '?' ? 'X'
                              : static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
        }
        return lines;
    }

    const RestraintFile& file_;
    std::ostream& out_;
    const std::string entry_;
};

}  // namespace

void writeNmrStar(const RestraintFile& file, std::ostream& out) {
    StarWriter(file, out).write();
}

}  // namespace orvix::restraints
