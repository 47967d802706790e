#include <algorithm>
#include <map>
#include <set>

#include "base/run_end.h"
#include "import/residue_names.h"
#include "import/sequence_text.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/star_document.h"

namespace orvix::importing {

namespace {

// The columns of a shift loop that say something about a row.
struct ShiftColumns {
    explicit ShiftColumns(const StarLoop& loop) : loop_(loop) {}

    std::string text(std::size_t row, const char* tag) const {
        return plainText(loop_.cell(row, loop_.column(std::string("_atom_chem_shift.") + tag)));
    }

    std::string text(std::size_t row, const char* tag, const char* otherTag) const {
        std::string first = text(row, tag);
        return first.empty() ? text(row, otherTag) : first;
    }

  private:
    const StarLoop& loop_;
};

class Star3Reader {
  public:
    Star3Reader(std::string_view text, const std::string& path) : document_(text, path) {
        file_.path = path;
        file_.format = "nmrstar3";
    }

    ShiftFile read() {
        reportOddities(document_, file_.report);
        for (const StarFrame& frame : document_.frames) {
            readTitle(frame);
            readParents(frame);
            readAssembly(frame);
            readEntity(frame);
            noteDeuteration(frame);
        }
        for (const StarFrame& frame : document_.frames) {
            readBareSequences(frame);
        }
        nameChains();
        for (const StarFrame& frame : document_.frames) {
            readShifts(frame);
        }
        chooseNumberColumn();
        return std::move(file_);
    }

  private:
    void readTitle(const StarFrame& frame) {
        if (file_.title.empty()) {
            file_.title = plainText(frame.item("_entry.title"));
        }
    }

    void readParents(const StarFrame& frame) {
        const std::string name = plainText(frame.item("_chem_comp.id"));
        for (const char* tag :
             {"_chem_comp.mon_nstd_parent_comp_id", "_chem_comp.std_deriv_three_letter_code"}) {
            const std::string parent = plainText(frame.item(tag));
            if (!name.empty() && !parent.empty()) {
                file_.parents.push_back({name, parent});
                return;
            }
        }
    }

    void readAssembly(const StarFrame& frame) {
        for (const StarLoop* loop : frame.loopsWith("_entity_assembly.id")) {
            const std::size_t id = loop->column("_entity_assembly.id");
            const std::size_t entity = loop->column("_entity_assembly.entity_id");
            const std::size_t label = loop->column("_entity_assembly.entity_label");
            for (std::size_t row = 0; row < loop->rowCount(); ++row) {
                memberEntity_[plainText(loop->cell(row, id))] = plainText(loop->cell(row, entity));
                memberLabel_[plainText(loop->cell(row, id))] = labelText(loop->cell(row, label));
                for (const char* tag : {"_entity_assembly.asym_id", "_entity_assembly.pdb_chain_id",
                                        "_entity_assembly.entity_label"}) {
                    const std::string chain = labelText(loop->cell(row, loop->column(tag)));
                    if (!chain.empty()) {
                        chainEntity_.emplace_back(chain, plainText(loop->cell(row, entity)));
                    }
                }
            }
        }
    }

    // Depositors also write the chain or the frame into Entity_ID.
    void nameChains() {
        for (const auto& [chain, id] : chainEntity_) {
            for (ShiftEntity& entity : file_.entities) {
                if (entity.id == id) {
                    entity.aliases.push_back(chain);
                }
            }
        }
    }

    void readEntity(const StarFrame& frame) {
        const bool isEntity = plainText(frame.item("_entity.sf_category")) == "entity" ||
                              !frame.item("_entity.id").missing ||
                              !frame.item("_entity.polymer_seq_one_letter_code").missing;
        if (!isEntity) {
            return;
        }
        ShiftEntity entity;
        entity.id = plainText(frame.item("_entity.id"));
        entity.name = plainText(frame.item("_entity.name"));
        if (entity.name.empty()) {
            entity.name = frame.name;
        }
        if (entity.id.empty()) {
            entity.id = std::to_string(file_.entities.size() + 1);
        }
        const std::string polymer = foldLower(plainText(frame.item("_entity.polymer_type")));
        const std::string type = foldLower(plainText(frame.item("_entity.type")));
        if (polymer == "polypeptide(l)") {
            entity.kind = ShiftEntity::Kind::polypeptide;
        } else if (polymer.find("nucleotide") != std::string::npos ||
                   polymer.starts_with("polysaccharide") || polymer == "polypeptide(d)" ||
                   (!type.empty() && type != "polymer")) {
            entity.kind = ShiftEntity::Kind::other;
        }
        if (!frame.name.empty()) {
            entity.aliases.push_back(frame.name);
        }
        readResidues(frame, entity);
        frameEntity_[frame.name] = entity.id;
        file_.entities.push_back(std::move(entity));
    }

    void readResidues(const StarFrame& frame, ShiftEntity& entity) {
        readResidueLoop(frame, "_entity_comp_index.id", "_entity_comp_index.comp_id",
                        "_entity_comp_index.auth_seq_id", entity);
        if (entity.residues.empty()) {
            readResidueLoop(frame, "_entity_poly_seq.comp_index_id", "_entity_poly_seq.mon_id",
                            "_entity_poly_seq.auth_seq_id", entity);
        }
        const StarValue code = frame.item("_entity.polymer_seq_one_letter_code");
        const StarValue canonical = frame.item("_entity.polymer_seq_one_letter_code_can");
        if (entity.kind == ShiftEntity::Kind::other) {
            return;
        }
        std::vector<SequenceResidue> letters;
        for (const StarValue& text : {canonical, code}) {
            if (text.missing) {
                continue;
            }
            letters = readSequenceText(text.text);
            // A letter for a residue whose name means nothing: the depositor knows its parent.
            for (std::size_t i = 0; letters.size() == entity.residues.size() && i < letters.size();
                 ++i) {
                if (ResidueNames().letter(entity.residues[i].name).letter == 'X' &&
                    letters[i].name != "X") {
                    file_.parents.push_back({entity.residues[i].name, letters[i].name});
                }
            }
        }
        if (entity.residues.empty()) {
            entity.residues = std::move(letters);
            numberFromOne(entity.residues);
        } else if (!letters.empty() && letters.size() != entity.residues.size()) {
            file_.report.warn("entity " + entity.id + ": its one-letter sequence has " +
                              std::to_string(letters.size()) + " residues, its residue loop " +
                              std::to_string(entity.residues.size()) + "; the loop is used");
        }
        requireSaneLength(entity.residues, file_.path);
    }

    void readResidueLoop(const StarFrame& frame, const char* idTag, const char* nameTag,
                         const char* authorTag, ShiftEntity& entity) {
        for (const StarLoop* loop : frame.loopsWith(idTag)) {
            const std::size_t id = loop->column(idTag);
            const std::size_t name = loop->column(nameTag);
            const std::size_t author = loop->column(authorTag);
            for (std::size_t row = 0; row < loop->rowCount(); ++row) {
                entity.residues.push_back({plainText(loop->cell(row, name)),
                                           plainText(loop->cell(row, id)),
                                           plainText(loop->cell(row, author))});
            }
        }
        const auto number = [](const SequenceResidue& residue) {
            int value = 0;
            return parseNumber(residue.number, value) ? value : 0;
        };
        std::stable_sort(entity.residues.begin(), entity.residues.end(),
                         [&](const SequenceResidue& a, const SequenceResidue& b) {
                             return number(a) < number(b);
                         });
    }

    // Uploads often have the residues in a loop that belongs to no entity.
    void readBareSequences(const StarFrame& frame) {
        const bool entityFrame = frameEntity_.count(frame.name) > 0;
        if (!entityFrame) {
            readBareLoops(frame, "_entity_comp_index", "id", "comp_id");
            readBareLoops(frame, "_entity_poly_seq", "comp_index_id", "mon_id");
        }
        readBareLoops(frame, "_chem_comp_assembly", "comp_index_id", "comp_id");
    }

    void readBareLoops(const StarFrame& frame, const std::string& category, const char* numberTag,
                       const char* nameTag) {
        for (const StarLoop* loop : frame.loopsWith(category + "." + nameTag)) {
            const auto text = [&](std::size_t row, const char* tag) {
                return plainText(loop->cell(row, loop->column(category + "." + tag)));
            };
            std::map<std::string, ShiftEntity> found;
            std::vector<std::string> order;
            for (std::size_t row = 0; row < loop->rowCount(); ++row) {
                const std::string member = text(row, "entity_assembly_id");
                std::string id = entityOf(text(row, "entity_id"), member);
                if (id.empty()) {
                    id = member.empty() ? "1" : member;
                    memberEntity_[member] = id;
                }
                if (found[id].id.empty()) {
                    found[id].id = id;
                    order.push_back(id);
                }
                ShiftEntity& entity = found[id];
                std::string number = text(row, numberTag);
                if (number.empty()) {
                    number = std::to_string(entity.residues.size() + 1);
                }
                const auto same = [&number](const SequenceResidue& residue) {
                    return residue.number == number;
                };
                // A second member of the same molecule repeats its residues.
                if (entity.residues.size() > longestSequence ||
                    std::none_of(entity.residues.begin(), entity.residues.end(), same)) {
                    entity.residues.push_back(
                        {text(row, nameTag), number, text(row, "auth_seq_id")});
                }
            }
            for (const std::string& id : order) {
                addBareEntity(std::move(found[id]));
            }
        }
    }

    void addBareEntity(ShiftEntity bare) {
        requireSaneLength(bare.residues, file_.path);
        const auto known =
            std::find_if(file_.entities.begin(), file_.entities.end(),
                         [&bare](const ShiftEntity& entity) { return entity.id == bare.id; });
        if (known == file_.entities.end()) {
            dropLigands(bare, file_.report);
            bare.kind = kindByResidues(bare);
            file_.entities.push_back(std::move(bare));
        } else if (known->residues.empty() && known->kind != ShiftEntity::Kind::other) {
            known->residues = std::move(bare.residues);
        }
    }

    void noteDeuteration(const StarFrame& frame) {
        for (const StarLoop* loop : frame.loopsWith("_sample_component.isotopic_labeling")) {
            const std::size_t labels = loop->column("_sample_component.isotopic_labeling");
            const std::size_t entity = loop->column("_sample_component.entity_id");
            for (std::size_t row = 0; row < loop->rowCount(); ++row) {
                const std::string text = plainText(loop->cell(row, labels));
                if (!plainText(loop->cell(row, entity)).empty() &&
                    text.find("2H") != std::string::npos && deuterated_.insert(text).second) {
                    file_.report.deuterated = true;
                    file_.report.note("deuterated sample (" + text +
                                      "): consider the option --iso of orvix predict");
                }
            }
        }
    }

    void readShifts(const StarFrame& frame) {
        std::vector<const StarLoop*> loops;
        for (const StarLoop& loop : frame.loops) {
            const bool shifts = std::any_of(
                loop.tags.begin(), loop.tags.end(),
                [](const std::string& tag) { return tag.starts_with("_atom_chem_shift."); });
            if (shifts && !loop.values.empty()) {
                loops.push_back(&loop);
            }
        }
        if (loops.empty()) {
            return;
        }
        if (loops.size() > 1) {
            file_.report.warn("frame " + frame.name + " has " + std::to_string(loops.size()) +
                              " shift loops, from lines " + std::to_string(loops[0]->line) +
                              " and " + std::to_string(loops[1]->line) + " on; all are read");
        }
        ShiftList list;
        list.id = plainText(frame.item("_assigned_chem_shift_list.id"));
        list.name = frame.name;
        list.conditions =
            labelText(frame.item("_assigned_chem_shift_list.sample_condition_list_label"));
        if (list.id.empty()) {
            list.id = std::to_string(file_.lists.size() + 1);
        }
        const bool taken = !listIds_.insert(list.id).second;
        if (taken) {
            file_.report.warn("frame " + frame.name + " has the list number " + list.id +
                              " of another frame and is known by its name");
            list.id = frame.name + "@" + std::to_string(frame.line);
        }
        for (const StarLoop* loop : loops) {
            readRows(*loop, list.id, taken);
        }
        file_.lists.push_back(std::move(list));
    }

    void readRows(const StarLoop& loop, const std::string& frameList, bool ownList) {
        requireWholeRows(loop, file_.path);
        const auto has = [&loop](const char* tag) { return loop.column(tag) != StarLoop::none; };
        if (!has("_atom_chem_shift.val") && !has("_atom_chem_shift.chem_shift_val")) {
            throw InputRejected(atLine(file_.path, loop.line, "the shift loop has no column Val"));
        }
        if (!has("_atom_chem_shift.atom_id") && !has("_atom_chem_shift.auth_atom_id")) {
            throw InputRejected(
                atLine(file_.path, loop.line, "the shift loop has no column Atom_ID"));
        }
        const ShiftColumns columns(loop);
        for (std::size_t i = 0; i < loop.rowCount(); ++i) {
            ShiftRow row;
            row.line = loop.cell(i, 0).line;
            row.list = columns.text(i, "assigned_chem_shift_list_id");
            if (row.list.empty() || ownList) {
                row.list = frameList;
            }
            row.assembly = columns.text(i, "entity_assembly_id");
            row.entity = entityOf(columns.text(i, "entity_id"), row.assembly);
            row.authorNumber = columns.text(i, "auth_seq_id");
            row.residueName = columns.text(i, "comp_id", "auth_comp_id");
            row.atom = columns.text(i, "atom_id", "auth_atom_id");
            row.value = columns.text(i, "val", "chem_shift_val");
            row.ambiguity = columns.text(i, "ambiguity_code", "chem_shift_ambiguity_code");
            sequenceIds_.push_back(columns.text(i, "seq_id"));
            indexIds_.push_back(columns.text(i, "comp_index_id"));
            file_.rows.push_back(std::move(row));
        }
        reportIncompleteRow(loop, file_.report);
    }

    std::string entityOf(const std::string& given, const std::string& member) const {
        if (!given.empty()) {
            return given;
        }
        const auto entity = memberEntity_.find(member);
        if (entity != memberEntity_.end() && !entity->second.empty()) {
            return entity->second;
        }
        const auto label = memberLabel_.find(member);
        if (label != memberLabel_.end()) {
            const auto named = frameEntity_.find(label->second);
            if (named != frameEntity_.end()) {
                return named->second;
            }
        }
        return file_.entities.size() == 1 ? file_.entities[0].id : std::string();
    }

    // Seq_ID and Comp_index_ID agree in the archive, but depositors also write their own numbers
    // into one of them. The one whose residue names fit the sequence better addresses it.
    void chooseNumberColumn() {
        std::map<std::pair<std::string, std::string>, std::string> names;
        for (const ShiftEntity& entity : file_.entities) {
            for (const SequenceResidue& residue : entity.residues) {
                names[{entity.id, residue.number}] = foldUpper(residue.name);
            }
        }
        int sequenceFits = 0;
        int indexFits = 0;
        int different = 0;
        for (std::size_t i = 0; i < file_.rows.size(); ++i) {
            const ShiftRow& row = file_.rows[i];
            if (sequenceIds_[i].empty() || indexIds_[i].empty() ||
                sequenceIds_[i] == indexIds_[i]) {
                continue;
            }
            ++different;
            const auto fits = [&](const std::string& number) {
                const auto found = names.find({row.entity, number});
                return found != names.end() && found->second == foldUpper(row.residueName) ? 1 : 0;
            };
            sequenceFits += fits(sequenceIds_[i]);
            indexFits += fits(indexIds_[i]);
        }
        const bool byIndex = indexFits > sequenceFits;
        if (different > 0) {
            file_.report.warn("Seq_ID and Comp_index_ID differ in " + std::to_string(different) +
                              " rows; " + (byIndex ? "Comp_index_ID" : "Seq_ID") +
                              " is used, which fits the sequence in " +
                              std::to_string(std::max(indexFits, sequenceFits)) + " of them");
        }
        for (std::size_t i = 0; i < file_.rows.size(); ++i) {
            const std::string& first = byIndex ? indexIds_[i] : sequenceIds_[i];
            file_.rows[i].number =
                !first.empty() ? first : (byIndex ? sequenceIds_[i] : indexIds_[i]);
        }
    }

    StarDocument document_;
    ShiftFile file_;
    std::map<std::string, std::string> memberEntity_;  // assembly member to entity id
    std::map<std::string, std::string> memberLabel_;   // assembly member to the entity's frame
    std::map<std::string, std::string> frameEntity_;   // frame name to entity id
    std::vector<std::pair<std::string, std::string>> chainEntity_;  // chain or label, entity id
    std::set<std::string> listIds_;
    std::set<std::string> deuterated_;
    std::vector<std::string> sequenceIds_;  // of each row
    std::vector<std::string> indexIds_;     // of each row
};

}  // namespace

ShiftFile readNmrStar3(std::string_view text, const std::string& path) {
    return Star3Reader(text, path).read();
}

}  // namespace orvix::importing
