// Import of deposited shift files in NMR-STAR version 2.

#include <string>
#include <string_view>
#include <vector>

#include "tables/gdb2.h"
#include "tables/shift_table_reports.h"
#include "tables/star_shift_table.h"

namespace {

constexpr orvix::tables::StarTexts texts = {
    "NMR-Star v2",
    "_Mol_residue_sequence",
    "_Residue_seq_code",
    "A _Mol_residue_sequence section seems to be missing",
    "    for a full amino acid sequence definition.",
    "Conversion of BMRB NMR-Star Version 2 Format Chemical Shifts",
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
            if (first != ";") {
                table_.addSequence(first);
            }
            table_.countSequence();
        }
        if (inLoop_ && isTag) {
            ++tagCount_;
        }
        if (isData && words.size() == static_cast<std::size_t>(tagCount_) &&
            orvix::tables::holdsColumns(words, columns_)) {
            table_.addRow(words, columns_);
        }
        act(first);
    }

    const orvix::tables::StarShiftColumns& columns() const { return columns_; }

  private:
    void act(const std::string& first) {
        if (first == "_MOL_RESIDUE_SEQUENCE") {
            inSequence_ = true;
        } else if (first == ";") {
            // The line that closes the text also ends the search for one.
            inSequence_ = inSequence_ && !inText_;
            inText_ = inSequence_;
        } else if (first == "LOOP_") {
            inLoop_ = true;
            tagCount_ = 0;
        } else if (first == "STOP_") {
            inLoop_ = inSequence_ = inText_ = false;
            tagCount_ = 0;
            columns_.residue = 0;
        } else if (first == "_RESIDUE_SEQ_CODE") {
            columns_.residue = tagCount_;
        } else if (first == "_RESIDUE_LABEL") {
            columns_.name = tagCount_;
        } else if (first == "_ATOM_NAME") {
            columns_.atom = tagCount_;
        } else if (first == "_CHEM_SHIFT_VALUE") {
            columns_.value = tagCount_;
        }
    }

    orvix::tables::StarShiftTable& table_;
    bool inLoop_ = false;
    bool inSequence_ = false;  // the tag of the sequence was met
    bool inText_ = false;      // inside its text
    int tagCount_ = 0;
    orvix::tables::StarShiftColumns columns_;
};

}  // namespace

bool GDB2::loadNMRStar2(const std::string& file) {
    fileName = file;
    return orvix::tables::readStarShifts<Scanner>(*this, texts, file);
}
