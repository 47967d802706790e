#include "tables/star_shift_table.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "base/numbers.h"
#include "base/text.h"

namespace orvix::tables {

StarShiftTable::StarShiftTable(GDB2& table, const StarTexts& texts)
    : table_(table), texts_(texts), mismatches_(table, texts.format) {}

void StarShiftTable::prepare() {
    table_.varsLine = "RESID RESNAME ATOMNAME SHIFT";
    table_.formatLine = "%4d %1s %4s %8.3f";
    table_.varsStrParser(table_.varsLine);
    table_.formatStrParser(table_.formatLine);
    table_.initNodes();
}

void StarShiftTable::addSequence(std::string_view letters) {
    table_.firstResid = 1;
    appendSequence(letters, table_.firstResid, table_.residList);
}

void StarShiftTable::countSequence() {
    table_.firstResid = 1;
    table_.lastResid = static_cast<int>(std::min<std::size_t>(table_.residList.size(), INT_MAX));
}

void StarShiftTable::addRow(const std::vector<std::string_view>& words,
                            const StarShiftColumns& columns) {
    const int resid = textToInt(wordAt(words, columns.residue));
    std::string name(wordAt(words, columns.name));
    if (name.size() == 3) {
        name = GDB2::three2One(name);
    } else if (name.size() != 1) {
        table_.residList[resid] = "?";
    }
    nameResidue(resid, name, texts_.rowSource);

    LineNode& row = *table_.getLineEntry(table_.addNewLineEntry());
    row.cells[0] = LineNode::Val(resid);
    row.cells[1] = LineNode::Val(name);
    row.cells[2] = LineNode::Val(std::string(wordAt(words, columns.atom)));
    row.cells[3] = LineNode::Val(textToFloat(wordAt(words, columns.value)));
}

void StarShiftTable::nameResidue(int resid, const std::string& name, const std::string& source) {
    std::string& entry = table_.residList[resid];
    if (entry.empty() ||
        (entry != name && mismatches_.report(resid, texts_.sequenceSource, entry, source, name))) {
        entry = name;
    }
}

// Every number from the first residue to the last gets a name, so that the sequence can be written
// in one piece.
bool StarShiftTable::fillUndefined() {
    if (table_.residList.empty()) {
        return true;
    }
    const std::string format = texts_.format;
    table_.firstResid = table_.residList.begin()->first;
    table_.lastResid = table_.residList.rbegin()->first;
    const std::int64_t first = table_.firstResid;
    const std::int64_t last = table_.lastResid;
    const auto named = static_cast<std::int64_t>(table_.residList.size());
    if (last - first + 1 - named > mostUndefined) {
        return failLoad(table_, format + " Format Errors: Residue numbers from " +
                                    std::to_string(first) + " to " + std::to_string(last) +
                                    " leave more than " + std::to_string(mostUndefined) +
                                    " residues undefined.\n");
    }
    bool anyUndefined = false;
    for (std::int64_t resid = first; resid <= last; ++resid) {
        std::string& name = table_.residList[static_cast<int>(resid)];
        if (name.empty()) {
            name = "?";
            anyUndefined = true;
            giveNotice(table_, format + " Format Notice: Residue type for residue " +
                                   padLeft(std::to_string(resid), 3) + " is not defined.\n");
        }
    }
    if (anyUndefined) {
        giveNotice(table_, format + " Format Notice: " + texts_.missingSequence + "\n");
        giveNotice(table_, format + " Format Notice: " + texts_.missingSequenceDetail + "\n");
    }
    return true;
}

bool StarShiftTable::finish(const StarShiftColumns& columns) {
    if (columns.none()) {
        table_.initNodes();  // drops the rows of earlier loops, if any
        return false;
    }
    const bool filled = fillUndefined();
    table_.addRemark(texts_.remark);
    table_.addRemark("");
    table_.setData("FIRST_RESID", table_.firstResid);
    return mismatches_.conclude() && filled;
}

std::string_view wordAt(const std::vector<std::string_view>& words, int column) {
    const auto index = static_cast<std::size_t>(column) - 1;
    return column > 0 && index < words.size() ? words[index] : std::string_view();
}

bool holdsColumns(const std::vector<std::string_view>& words, const StarShiftColumns& columns) {
    const auto widest = std::max({columns.residue, columns.name, columns.atom, columns.value});
    return columns.complete() && static_cast<std::size_t>(widest) <= words.size();
}

std::string foldToUpper(std::string_view word) {
    std::string folded(word);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return folded;
}

}  // namespace orvix::tables
