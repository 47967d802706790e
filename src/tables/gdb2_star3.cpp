// Import of deposited shift files in NMR-STAR version 3.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/numbers.h"
#include "tables/gdb2.h"
#include "tables/shift_table_reports.h"
#include "tables/star_shift_table.h"

namespace {

constexpr orvix::tables::StarTexts texts = {
    "NMR-Star v3",
    "_Entity.Polymer_seq_one_letter_code",
    "_Atom_chem_shift.Seq_ID",
    "A _Entity.Polymer_seq_one_letter_code section seems to",
    "   be missing for a full amino acid sequence definition.",
    "Conversion of BMRB NMR-Star Version 3 Format Chemical Shifts",
};

constexpr std::string_view wantedEntity = "1";

// Columns of the list of residues, from 1; 0 while a tag hasn't been met.
struct ResidueListColumns {
    int residue = 0;
    int name = 0;
    int entity = 0;

    bool complete() const { return residue > 0 && name > 0 && entity > 0; }
};

// Goes through the file line by line; it looks for a few tags and keeps no save frames.
class Scanner {
  public:
    explicit Scanner(orvix::tables::StarShiftTable& table) : table_(table) {}

    // `words` are those of one line, at least one; the first is replaced by its upper case form.
    void takeLine(std::vector<std::string_view>& words) {
        const bool isTag = words[0].front() == '_';
        const bool isData = inLoop_ && !isTag;
        const std::string first = orvix::tables::foldToUpper(words[0]);
        words[0] = first;

        if (inSequence_ && inText_) {
            takeSequence(first);
        }
        if (inLoop_ && isTag) {
            ++tagCount_;
            if (first.starts_with("_ATOM_CHEM_SHIFT")) {
                ++shiftTagCount_;
            }
        }
        if (isData) {
            takeShiftRow(words);
            takeResidueRow(words);
        }
        act(first);
    }

    const orvix::tables::StarShiftColumns& columns() const { return columns_; }

  private:
    void takeSequence(std::string letters) {
        letters.erase(std::remove(letters.begin(), letters.end(), ';'), letters.end());
        table_.addSequence(letters);
        table_.countSequence();
    }

    void takeShiftRow(const std::vector<std::string_view>& words) {
        if (words.size() == static_cast<std::size_t>(shiftTagCount_) &&
            orvix::tables::wordAt(words, entityColumn_) == wantedEntity &&
            orvix::tables::holdsColumns(words, columns_)) {
            table_.addRow(words, columns_);
        }
    }

    void takeResidueRow(const std::vector<std::string_view>& words) {
        const int widest = std::max(residueList_.residue, residueList_.name);
        if (inSequence_ || !residueList_.complete() ||
            words.size() != static_cast<std::size_t>(tagCount_) ||
            words.size() < static_cast<std::size_t>(widest) ||
            orvix::tables::wordAt(words, residueList_.entity) != wantedEntity) {
            return;
        }
        std::string name(orvix::tables::wordAt(words, residueList_.name));
        if (name.size() == 3) {
            name = GDB2::three2One(name);
        }
        if (name.size() != 1) {
            name = "?";
        }
        table_.nameResidue(orvix::textToInt(orvix::tables::wordAt(words, residueList_.residue)),
                           name, "_Entity_comp_index.ID");
    }

    void act(const std::string& first) {
        if (first == "_ENTITY.POLYMER_SEQ_ONE_LETTER_CODE") {
            inSequence_ = true;
        } else if (first == ";") {
            inText_ = !inText_;
        } else if (first == "LOOP_") {
            inLoop_ = true;
            tagCount_ = 0;
        } else if (first == "STOP_") {
            inLoop_ = inSequence_ = false;
            tagCount_ = 0;
            columns_.residue = 0;
            entityColumn_ = 0;
            residueList_.name = 0;
        } else if (int* const column = columnOf(first)) {
            *column = tagCount_;
        }
    }

    int* columnOf(const std::string& tag) {
        if (tag == "_ENTITY_COMP_INDEX.ID") {
            return &residueList_.residue;
        }
        if (tag == "_ENTITY_COMP_INDEX.COMP_ID") {
            return &residueList_.name;
        }
        if (tag == "_ENTITY_COMP_INDEX.ENTITY_ID") {
            return &residueList_.entity;
        }
        if (tag == "_ATOM_CHEM_SHIFT.ENTITY_ID") {
            return &entityColumn_;
        }
        if (tag == "_ATOM_CHEM_SHIFT.SEQ_ID") {
            return &columns_.residue;
        }
        if (tag == "_ATOM_CHEM_SHIFT.COMP_ID") {
            return &columns_.name;
        }
        if (tag == "_ATOM_CHEM_SHIFT.ATOM_ID") {
            return &columns_.atom;
        }
        return tag == "_ATOM_CHEM_SHIFT.VAL" ? &columns_.value : nullptr;
    }

    orvix::tables::StarShiftTable& table_;
    bool inLoop_ = false;
    bool inSequence_ = false;  // the tag of the sequence was met, and no loop has ended since
    bool inText_ = false;
    int tagCount_ = 0;
    int shiftTagCount_ = 0;  // over all shift loops, so only the rows of the first one fit
    orvix::tables::StarShiftColumns columns_;
    int entityColumn_ = 0;
    ResidueListColumns residueList_;
};

}  // namespace

bool GDB2::loadNMRStar3(const std::string& file) {
    fileName = file;
    return orvix::tables::readStarShifts<Scanner>(*this, texts, file);
}
