#include <algorithm>
#include <set>

#include "base/run_end.h"
#include "import/residue_numbers.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

// Fewer names than these don't show that rows belong somewhere else than their numbers say.
constexpr int fewestNames = 4;

std::string share(int fitting, int compared) {
    std::string text = std::to_string(fitting) + " of " + std::to_string(compared);
    return compared > 0 ? text + " (" + std::to_string(100 * fitting / compared) + " %)" : text;
}

// A single mutation in a short peptide is no reason to doubt its numbers.
bool fitsButOne(int fitting, int compared) {
    return fitting >= fewestNames && compared - fitting <= 1;
}

bool fitsWell(const NameFit& fit) {
    return (fit.compared > 0 && 10 * fit.fitting >= 9 * fit.compared) ||
           fitsButOne(fit.fitting, fit.compared);
}

std::string added(int shift) {
    return (shift < 0 ? "" : "+") + std::to_string(shift);
}

}  // namespace

void ResidueNumbers::place(const std::vector<ShiftRow>& rows, bool numbered,
                           const ImportOptions& options) {
    std::set<RowName> found;
    for (const ShiftRow& row : rows) {
        const char letter = names_.letter(row.residueName).letter;
        if (letter != 'X' && !isMissing(rowNumber(row))) {
            found.insert({numberKey(rowNumber(row)), letter});
        }
    }
    const std::vector<RowName> names(found.begin(), found.end());
    const bool authorsKnown = std::any_of(
        residues_.begin(), residues_.end(),
        [](const SequenceResidue& residue) { return !isMissing(residue.authorNumber); });
    const bool free = !numbered || (byAuthorNumber_ && !authorsKnown);
    if (byAuthorNumber_ && !free && !options.shiftNumbers) {
        number_ = &SequenceResidue::authorNumber;
    }
    const int shift = options.shiftNumbers.value_or(0);
    NameFit asTheyAre;
    if (options.shiftNumbers) {
        indexResidues(number_, 0);
        asTheyAre = countFit(names);
    }
    indexResidues(number_, shift);
    fit_ = countFit(names);
    if (options.shiftNumbers) {
        moved_ = shift != 0;
        tellFit(asTheyAre,
                "with " + added(shift) + " on the residue numbers of the file, as asked for");
        if (!fitsWell(fit_) && !names.empty()) {
            report_.warn("after --shift-numbers " + std::to_string(shift) + " only " +
                         share(fit_.fitting, fit_.compared) + " of the residue names fit");
        }
    } else if (fromRows_) {
        fit_.text = "residue names: the sequence is made of them, so their fit says nothing";
        report_.noteSecond(fit_.text);
    } else if (names.empty()) {
        fit_.text = "residue names: the rows have none that could be compared with the sequence";
        report_.noteSecond(fit_.text);
    } else if (!placeByNames(names, !free)) {
        throw InputRejected(
            path_ + ": the residue names of the shifts don't fit the sequence: " + fit_.text +
            "; expected 90 %. Give the right sequence with --sequence FILE, or "
            "what to add to the residue numbers with --shift-numbers N");
    }
}

// On success the index and `fit_` are set; else the text of `fit_` tells what was tried.
bool ResidueNumbers::placeByNames(const std::vector<RowName>& names, bool numbered) {
    const NameFit before = fit_;
    if (numbered && fitsWell(before)) {
        tellFit(before, {});
        return true;
    }
    std::vector<NumberedLetter> sequence;
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        int value = 0;
        if (parseNumber(residues_[i].*number_, value)) {
            sequence.push_back({value, letters_[i].letter});
        }
    }
    std::vector<NumberedLetter> rows;
    for (const RowName& name : names) {
        int value = 0;
        if (parseNumber(name.key, value)) {
            rows.push_back({value, name.letter});
        }
    }
    const PlacementSearch search(sequence, rows);
    const Placement best = search.best();
    if ((numbered ? placeNumbered(names, best) : placeFree(names, best)) ||
        (numbered && placeByAuthors(names))) {
        return true;
    }
    const Placement blocks = search.inBlocks();
    if (blocks.unique && blocks.fits()) {
        indexBlocks(names, blocks);
        std::string how = "with";
        for (std::size_t i = 0; i < blocks.blocks.size(); ++i) {
            how += (i == 0 ? " " : ", ") + added(blocks.blocks[i].shift) +
                   (i == 0 ? " on the first residue numbers of the file"
                           : " from " + std::to_string(blocks.blocks[i].first) + " on");
        }
        moved_ = true;
        fit_ = countFit(names);
        tellFit(before, how);
        return true;
    }
    // Rows outside of the sequence don't speak against the numbers of the others.
    const auto inside =
        static_cast<int>(std::count_if(names.begin(), names.end(), [this](const RowName& name) {
            return index_.count(name.key) > 0;
        }));
    const int outside = static_cast<int>(names.size()) - inside;
    if (numbered && before.fitting >= fewestNames && 2 * outside <= inside &&
        10 * before.fitting >= 9 * (before.compared - outside)) {
        fit_ = before;
        tellFit(before, std::to_string(outside) + " lie outside of it");
        report_.warn(std::to_string(outside) +
                     " residues of the shifts lie outside of the sequence and are left out; a "
                     "longer sequence can be given with --sequence");
        return true;
    }
    fit_.text = share(before.fitting, before.compared) + " with the numbers as they are";
    if (!best.blocks.empty() && best.blocks[0].shift != 0) {
        fit_.text += ", " + share(best.fitting, best.compared) + " at best, with " +
                     added(best.blocks[0].shift) + " on them" +
                     (best.unique ? "" : ", where others fit as well");
    }
    return false;
}

// A sequence that has numbers of its own keeps them.
bool ResidueNumbers::placeNumbered(const std::vector<RowName>& names, const Placement& best) {
    if (!best.fits() || !best.unique || best.fitting < fewestNames) {
        return false;
    }
    const NameFit before = fit_;
    const int shift = best.blocks[0].shift;
    indexResidues(number_, shift);
    moved_ = true;
    fit_ = countFit(names);
    tellFit(before, "with " + added(shift) + " on the residue numbers of the file");
    return true;
}

// A sequence without numbers takes those of the rows.
bool ResidueNumbers::placeFree(const std::vector<RowName>& names, const Placement& best) {
    if (best.blocks.empty() || !(best.fits() || fitsButOne(best.fitting, best.compared)) ||
        !(best.unique || best.blocks[0].shift == 0)) {
        return false;
    }
    const int shift = best.blocks[0].shift;
    const auto number = byAuthorNumber_ ? &SequenceResidue::authorNumber : &SequenceResidue::number;
    for (SequenceResidue& residue : residues_) {
        int value = 0;
        parseNumber(residue.*number_, value);
        residue.*number = std::to_string(value - shift);
    }
    number_ = number;
    indexResidues(number_, 0);
    fit_ = countFit(names);
    tellFit(fit_, "its first letter is residue " + residues_.front().*number_ + " of the file");
    return true;
}

bool ResidueNumbers::placeByAuthors(const std::vector<RowName>& names) {
    if (byAuthorNumber_) {
        return false;
    }
    const NameFit before = fit_;
    const std::map<std::string, int> index = index_;
    indexResidues(&SequenceResidue::authorNumber, 0);
    fit_ = countFit(names);
    if (fit_.fitting >= fewestNames && 10 * fit_.fitting >= 9 * fit_.compared) {
        moved_ = true;
        tellFit(before, "with the residue numbers of the file as its author numbers");
        return true;
    }
    index_ = index;
    fit_ = before;
    return false;
}

void ResidueNumbers::indexResidues(std::string SequenceResidue::*number, int shift) {
    index_.clear();
    int at = 0;
    for (const SequenceResidue& residue : residues_) {
        const std::string& text = residue.*number;
        int value = 0;
        const std::string key = shift != 0 && parseNumber(text, value)
                                    ? std::to_string(value - shift)
                                    : numberKey(text);
        if (!isMissing(text) && !index_.emplace(key, at).second) {
            twice_.insert(text);
        }
        ++at;
    }
}

void ResidueNumbers::indexBlocks(const std::vector<RowName>& names, const Placement& placement) {
    const std::map<std::string, int> residues = std::move(index_);
    index_.clear();
    for (const RowName& name : names) {
        int value = 0;
        if (!parseNumber(name.key, value)) {
            continue;
        }
        std::size_t block = 0;
        while (block + 1 < placement.blocks.size() && placement.blocks[block + 1].first <= value) {
            ++block;
        }
        const int place = value + placement.blocks[block].shift;
        // Behind its last row a block must not reach into the next one.
        const bool free =
            block + 1 == placement.blocks.size() ||
            place < placement.blocks[block + 1].first + placement.blocks[block + 1].shift;
        const auto residue = residues.find(std::to_string(place));
        if (free && residue != residues.end()) {
            index_.emplace(name.key, residue->second);
        }
    }
}

NameFit ResidueNumbers::countFit(const std::vector<RowName>& names) const {
    NameFit fit;
    for (const RowName& name : names) {
        const auto found = index_.find(name.key);
        const char there =
            found == index_.end() ? '\0' : letters_[static_cast<std::size_t>(found->second)].letter;
        fit.compared += there == 'X' ? 0 : 1;
        fit.fitting += there == name.letter ? 1 : 0;
    }
    return fit;
}

// The line that every import has. What was done to the numbers goes in front of everything else.
void ResidueNumbers::tellFit(const NameFit& before, const std::string& how) {
    fit_.text = "residue names: " + std::to_string(fit_.fitting) + " of " +
                std::to_string(fit_.compared) + " fit the sequence" +
                (how.empty() ? "" : (moved_ ? " " : "; ") + how);
    if (moved_) {
        fit_.text += " (as they are: " + std::to_string(before.fitting) + ")";
        report_.noteFirst(fit_.text);
    } else {
        report_.noteSecond(fit_.text);
    }
}

}  // namespace orvix::importing
