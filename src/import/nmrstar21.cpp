#include <algorithm>
#include <map>
#include <set>

#include "import/sequence_text.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/star_document.h"

namespace orvix::importing {

namespace {

class Star21Reader {
  public:
    Star21Reader(std::string_view text, const std::string& path) : document_(text, path) {
        file_.path = path;
        file_.format = "nmrstar21";
    }

    ShiftFile read() {
        reportOddities(document_, file_.report);
        for (const StarFrame& frame : document_.frames) {
            if (file_.title.empty()) {
                file_.title = plainText(frame.item("_entry_title"));
            }
            readComponents(frame);
            readPolymer(frame);
            noteDeuteration(frame);
        }
        for (const StarFrame& frame : document_.frames) {
            readShifts(frame);
        }
        return std::move(file_);
    }

  private:
    // Names of the parts of the system, and the molecule frame of each.
    void readComponents(const StarFrame& frame) {
        for (const StarLoop* loop : frame.loopsWith("_mol_label")) {
            const std::size_t name = loop->column("_mol_system_component_name");
            const std::size_t label = loop->column("_mol_label");
            // Loops of samples and sources have the label too.
            for (std::size_t row = 0; name != StarLoop::none && row < loop->rowCount(); ++row) {
                componentMolecule_[plainText(loop->cell(row, name))] =
                    labelText(loop->cell(row, label));
            }
        }
    }

    void readPolymer(const StarFrame& frame) {
        // Old files call it monomeric_polymer or monomeric_biopolymer.
        const std::string category = foldLower(plainText(frame.item("_saveframe_category")));
        if (!category.starts_with("monomeric_") &&
            (!category.empty() || frame.item("_mol_residue_sequence").missing)) {
            return;
        }
        ShiftEntity entity;
        entity.id = frame.name;
        entity.name = plainText(frame.item("_name_common"));
        const std::string polymer = foldLower(plainText(frame.item("_mol_polymer_class")));
        if (polymer == "protein" || polymer.find("peptide") != std::string::npos) {
            entity.kind = ShiftEntity::Kind::polypeptide;
        } else if (!polymer.empty()) {
            entity.kind = ShiftEntity::Kind::other;
        }
        for (const StarLoop* loop : frame.loopsWith("_residue_label")) {
            const std::size_t number = loop->column("_residue_seq_code");
            const std::size_t author = loop->column("_residue_author_seq_code");
            const std::size_t label = loop->column("_residue_label");
            for (std::size_t row = 0; row < loop->rowCount(); ++row) {
                entity.residues.push_back({plainText(loop->cell(row, label)),
                                           plainText(loop->cell(row, number)),
                                           plainText(loop->cell(row, author))});
            }
        }
        const StarValue letters = frame.item("_mol_residue_sequence");
        if (!letters.missing && entity.kind != ShiftEntity::Kind::other) {
            std::vector<SequenceResidue> sequence = readSequenceText(letters.text);
            if (entity.residues.empty()) {
                entity.residues = std::move(sequence);
                numberFromOne(entity.residues);
            } else if (sequence.size() != entity.residues.size()) {
                file_.report.warn("molecule " + entity.id + ": its one-letter sequence has " +
                                  std::to_string(sequence.size()) + " residues, its residue loop " +
                                  std::to_string(entity.residues.size()) + "; the loop is used");
            }
        }
        requireSaneLength(entity.residues, file_.path);
        file_.entities.push_back(std::move(entity));
    }

    void noteDeuteration(const StarFrame& frame) {
        for (const StarLoop* loop : frame.loopsWith("_isotopic_labeling")) {
            const std::size_t column = loop->column("_isotopic_labeling");
            const std::size_t molecule = loop->column("_mol_label");
            for (std::size_t row = 0; row < loop->rowCount(); ++row) {
                const std::string text = plainText(loop->cell(row, column));
                const bool ofMolecule = plainText(loop->cell(row, molecule)).starts_with('$');
                if (ofMolecule && text.find("2H") != std::string::npos &&
                    deuterated_.insert(text).second) {
                    file_.report.deuterated = true;
                    file_.report.note("deuterated sample (" + text +
                                      "): consider the option --iso of orvix predict");
                }
            }
        }
    }

    void readShifts(const StarFrame& frame) {
        std::vector<const StarLoop*> loops = frame.loopsWith("_chem_shift_value");
        // Referencing frames have the same tag for the shifts of their standards.
        std::erase_if(loops, [](const StarLoop* loop) {
            return loop->column("_atom_name") == StarLoop::none ||
                   (loop->column("_residue_label") == StarLoop::none &&
                    loop->column("_residue_seq_code") == StarLoop::none);
        });
        if (loops.empty()) {
            return;
        }
        if (loops.size() > 1) {
            file_.report.warn("frame " + frame.name + " has " + std::to_string(loops.size()) +
                              " shift loops, from lines " + std::to_string(loops[0]->line) +
                              " and " + std::to_string(loops[1]->line) + " on; all are read");
        }
        const std::string component = plainText(frame.item("_mol_system_component_name"));
        const bool named = std::any_of(
            frame.items.begin(), frame.items.end(),
            [](const auto& item) { return item.first == "_mol_system_component_name"; });
        if (named && component.empty() && file_.entities.size() == 1) {
            file_.report.warn("frame " + frame.name + " names no molecule; taken: the only one, " +
                              file_.entities[0].id);
        }
        ShiftList list;
        list.id = std::to_string(file_.lists.size() + 1);
        list.name = frame.name;
        list.conditions = labelText(frame.item("_sample_conditions_label"));
        if (!component.empty()) {
            list.conditions += (list.conditions.empty() ? "" : ", ") + component;
        }
        for (const StarLoop* loop : loops) {
            readRows(*loop, list.id, moleculeOf(component));
        }
        file_.lists.push_back(std::move(list));
    }

    std::string moleculeOf(const std::string& component) const {
        const auto found = componentMolecule_.find(component);
        if (found != componentMolecule_.end()) {
            return found->second;
        }
        return file_.entities.size() == 1 ? file_.entities[0].id : std::string();
    }

    void readRows(const StarLoop& loop, const std::string& list, const std::string& molecule) {
        requireWholeRows(loop, file_.path);
        const std::size_t number = loop.column("_residue_seq_code");
        const std::size_t author = loop.column("_residue_author_seq_code");
        const std::size_t label = loop.column("_residue_label");
        const std::size_t atom = loop.column("_atom_name");
        const std::size_t value = loop.column("_chem_shift_value");
        const std::size_t ambiguity = loop.column("_chem_shift_ambiguity_code");
        for (std::size_t i = 0; i < loop.rowCount(); ++i) {
            ShiftRow row;
            row.line = loop.cell(i, 0).line;
            row.list = list;
            row.entity = molecule;
            row.number = plainText(loop.cell(i, number));
            row.authorNumber = plainText(loop.cell(i, author));
            row.residueName = plainText(loop.cell(i, label));
            row.atom = plainText(loop.cell(i, atom));
            row.value = plainText(loop.cell(i, value));
            row.ambiguity = plainText(loop.cell(i, ambiguity));
            file_.rows.push_back(std::move(row));
        }
        reportIncompleteRow(loop, file_.report);
    }

    StarDocument document_;
    ShiftFile file_;
    std::map<std::string, std::string> componentMolecule_;
    std::set<std::string> deuterated_;
};

}  // namespace

ShiftFile readNmrStar21(std::string_view text, const std::string& path) {
    return Star21Reader(text, path).read();
}

}  // namespace orvix::importing
