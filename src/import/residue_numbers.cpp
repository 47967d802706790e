#include "import/residue_numbers.h"

#include <algorithm>
#include <set>

#include "base/run_end.h"
#include "import/sequence_text.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

// Numbers with holes: at most so many letters X may be put in.
constexpr int mostGaps = 1000;

}  // namespace

std::string numberKey(const std::string& text) {
    int number = 0;
    return parseNumber(text, number) ? std::to_string(number) : text;
}

ResidueNumbers::ResidueNumbers(RowSelection& selection, const ResidueNames& names,
                               const ImportOptions& options, const std::string& path,
                               ImportReport& report)
    : names_(names), path_(path), report_(report) {
    const std::vector<ShiftRow>& rows = selection.rows;
    byAuthorNumber_ = std::all_of(rows.begin(), rows.end(),
                                  [](const ShiftRow& row) { return isMissing(row.number); });
    residues_ = selection.entity.residues;
    fromRows_ = residues_.empty();
    if (fromRows_) {
        residuesFromRows(rows, options.shiftNumbers.value_or(0));
    }
    for (const SequenceResidue& residue : residues_) {
        letters_.push_back(names_.letter(residue.name));
    }
    place(rows, selection.entity.numbered, options);
    for (const std::string& text : twice_) {
        report_.warn("two residues of the sequence have the number " + text +
                     "; the first one is used");
    }
    collectAuthorNumbers(rows);
    number(options);
    reportResidues(rows);
}

const std::string& ResidueNumbers::rowNumber(const ShiftRow& row) const {
    return byAuthorNumber_ ? row.authorNumber : row.number;
}

int ResidueNumbers::residueOf(const ShiftRow& row) const {
    const bool byAuthor = byAuthorNumber_ || isMissing(row.number);
    const auto& index = byAuthor && !byAuthorNumber_ ? authorIndex_ : index_;
    const auto found = index.find(numberKey(byAuthor ? row.authorNumber : row.number));
    return found == index.end() ? none : found->second;
}

std::string ResidueNumbers::sequence() const {
    std::string letters;
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        if (i > 0) {
            letters.append(static_cast<std::size_t>(numbers_[i] - numbers_[i - 1] - 1), 'X');
        }
        letters += letters_[i].letter;
    }
    return letters;
}

std::map<int, std::string> ResidueNumbers::authorNumbers() const {
    std::map<int, std::string> known;
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        const SequenceResidue& residue = residues_[i];
        if (!isMissing(residue.authorNumber)) {
            known[numbers_[i]] = residue.authorNumber;
        } else if (!isMissing(residue.number) && residue.number != std::to_string(numbers_[i])) {
            known[numbers_[i]] = residue.number;
        }
    }
    return known;
}

void ResidueNumbers::residuesFromRows(const std::vector<ShiftRow>& rows, int shift) {
    std::map<int, std::string> found;
    for (const ShiftRow& row : rows) {
        int value = 0;
        if (parseNumber(rowNumber(row), value)) {
            std::string& name = found[value + shift];
            if (isMissing(name)) {
                name = row.residueName;
            }
        }
    }
    for (const auto& [value, name] : found) {
        residues_.push_back({isMissing(name) ? "X" : name, std::to_string(value), {}});
    }
    if (residues_.empty()) {
        throw InputRejected(path_ + ": no row has a residue number that can be used");
    }
    requireSaneLength(residues_, path_);
    const int span = found.rbegin()->first - found.begin()->first + 1;
    report_.warn("the file has no sequence: it is made of the residue names of the rows, " +
                 std::to_string(found.begin()->first) + " to " +
                 std::to_string(found.rbegin()->first) + ", with " +
                 std::to_string(span - static_cast<int>(found.size())) +
                 " unknown residues; give the whole sequence with --sequence");
}

void ResidueNumbers::collectAuthorNumbers(const std::vector<ShiftRow>& rows) {
    // What the rows say goes before the table of residues: it is nearer to the data.
    std::map<int, std::string> found;
    std::set<std::pair<int, std::string>> conflicts;
    for (const ShiftRow& row : rows) {
        const int at = residueOf(row);
        if (at == none || isMissing(row.authorNumber)) {
            continue;
        }
        const auto [entry, fresh] = found.emplace(at, row.authorNumber);
        if (!fresh && entry->second != row.authorNumber &&
            conflicts.insert({at, row.authorNumber}).second) {
            report_.warn("residue " + residues_[static_cast<std::size_t>(at)].number +
                         " has the author numbers " + entry->second + " and " + row.authorNumber +
                         "; the first one is used");
        }
    }
    for (auto& [at, text] : found) {
        residues_[static_cast<std::size_t>(at)].authorNumber = text;
    }
    for (const ShiftRow& row : rows) {
        const int at = residueOf(row);
        if (at != none) {
            rowNumberOf_.emplace(at, isMissing(rowNumber(row)) ? row.authorNumber : rowNumber(row));
        }
    }
    if (moved_) {
        for (const auto& [at, text] : rowNumberOf_) {
            std::string& author = residues_[static_cast<std::size_t>(at)].authorNumber;
            author = isMissing(author) ? text : author;
        }
    }
    int at = 0;
    for (const SequenceResidue& residue : residues_) {
        if (!isMissing(residue.authorNumber)) {
            authorIndex_.emplace(numberKey(residue.authorNumber), at);
        }
        ++at;
    }
}

void ResidueNumbers::number(const ImportOptions& options) {
    numbers_.assign(residues_.size(), 0);
    if (options.numbering == "auth" ? !numberByAuthors() : !numberByFile()) {
        for (std::size_t i = 0; i < numbers_.size(); ++i) {
            numbers_[i] = static_cast<int>(i) + 1;
        }
        report_.warn(
            "the residue numbers of the file can't number a table (no whole numbers, not "
            "rising, or too far apart): residues are numbered from 1");
    }
    renumberLarge();
    const int gaps = numbers_.back() - numbers_.front() + 1 - static_cast<int>(numbers_.size());
    if (gaps > 0) {
        report_.warn(std::to_string(gaps) +
                     " residue numbers between the first and the last are not in the sequence and "
                     "stand in it as X");
    }
}

bool ResidueNumbers::numberByAuthors() {
    std::vector<bool> known(residues_.size(), false);
    std::size_t first = residues_.size();
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        const std::string& text = residues_[i].authorNumber;
        if (isMissing(text)) {
            continue;
        }
        if (!parseNumber(text, numbers_[i])) {
            throw InputRejected(path_ + ": the author number " + text + " of residue " +
                                residues_[i].number + " is no whole number; use --numbering seq");
        }
        known[i] = true;
        first = std::min(first, i);
    }
    if (first == residues_.size()) {
        report_.warn("the file has no author numbers beside its own; its own are used");
        return numberByFile();
    }
    // Residues without a number of their own go on from their neighbours.
    for (std::size_t i = first; i-- > 0;) {
        numbers_[i] = numbers_[i + 1] - 1;
    }
    for (std::size_t i = first + 1; i < residues_.size(); ++i) {
        if (!known[i]) {
            numbers_[i] = numbers_[i - 1] + 1;
        }
        if (numbers_[i] <= numbers_[i - 1]) {
            throw InputRejected(path_ + ": the author numbers don't rise along the sequence (" +
                                std::to_string(numbers_[i - 1]) + ", then " +
                                std::to_string(numbers_[i]) + "); use --numbering seq");
        }
    }
    if (numbers_.back() - numbers_.front() + 1 > static_cast<int>(numbers_.size()) + mostGaps) {
        throw InputRejected(path_ + ": the author numbers leave more than " +
                            std::to_string(mostGaps) + " residues out; use --numbering seq");
    }
    return true;
}

bool ResidueNumbers::numberByFile() {
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        if (!parseNumber(residues_[i].number, numbers_[i]) ||
            (i > 0 && numbers_[i] <= numbers_[i - 1])) {
            return false;
        }
    }
    return numbers_.back() - numbers_.front() + 1 <= static_cast<int>(numbers_.size()) + mostGaps;
}

// A run counts the range of its shift rows from -999 and 999.
void ResidueNumbers::renumberLarge() {
    constexpr int largest = 999;
    const int first = numbers_.front();
    const int span = numbers_.back() - first + 1;
    if (numbers_.back() <= largest && first >= -largest) {
        return;
    }
    if (first == 1 || span > largest) {
        report_.note("residue numbers above 999: the sequence itself is longer");
        return;
    }
    for (int& value : numbers_) {
        value -= first - 1;
    }
    report_.warn("residue numbers " + std::to_string(first) + " to " +
                 std::to_string(first + span - 1) +
                 " are outside of -999 to 999: residues are numbered from 1");
}

void ResidueNumbers::reportResidues(const std::vector<ShiftRow>& rows) {
    using Kind = ResidueLetter::Kind;
    std::map<int, int> shifts;
    for (const ShiftRow& row : rows) {
        ++shifts[residueOf(row)];
    }
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        const SequenceResidue& residue = residues_[i];
        const ResidueLetter letter = letters_[i];
        const auto row = rowNumberOf_.find(static_cast<int>(i));
        const std::string own = row != rowNumberOf_.end() ? row->second
                                : byAuthorNumber_ && !isMissing(residue.authorNumber)
                                    ? residue.authorNumber
                                    : residue.number;
        const std::string place = own + " " + residue.name;
        if (letter.kind != Kind::standard) {
            report_.add(
                ImportFinding::residueReplaced,
                place + " -> " + letter.letter +
                    (letter.kind == Kind::unknown ? ", no known parent: a run can't use its shifts"
                                                  : ""));
        }
        const auto count = shifts.find(static_cast<int>(i));
        if (count != shifts.end() && own != std::to_string(numbers_[i])) {
            report_.add(ImportFinding::renumbered, place + " -> " + std::to_string(numbers_[i]) +
                                                       " (" + std::to_string(count->second) +
                                                       " rows)");
        }
    }
    reportTag();
}

void ResidueNumbers::reportTag() {
    for (std::size_t i = 0; i < residues_.size(); ++i) {
        int author = 0;
        if (!parseNumber(residues_[i].authorNumber, author)) {
            continue;
        }
        const int ahead = static_cast<int>(i) - author + 1;  // residues in front of number 1
        if (ahead > 0 && ahead <= static_cast<int>(residues_.size())) {
            report_.note("the first " + std::to_string(ahead) +
                         " residues have author numbers below 1, as an expression tag has; they "
                         "stay in the sequence");
        }
        break;
    }
    if (sequence().find("HHHHHH") != std::string::npos) {
        report_.note("the sequence holds a histidine tag; it stays in the sequence");
    }
}

}  // namespace orvix::importing
