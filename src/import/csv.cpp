#include "import/csv.h"

#include <algorithm>

#include "base/run_end.h"
#include "base/text.h"
#include "import/atom_names.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

CsvRecords::CsvRecords(std::string_view text) : text_(text) {
    std::string_view first;
    TextRows rows(text);
    while (first.empty() && rows.next()) {
        first = rows.words().empty() ? std::string_view() : rows.text();
    }
    separator_ = ' ';
    for (const char candidate : {'\t', ';', ','}) {
        if (first.find(candidate) != std::string_view::npos) {
            separator_ = candidate;
            break;
        }
    }
}

bool CsvRecords::next() {
    while (at_ < text_.size()) {
        readRecord();
        if (std::any_of(fields_.begin(), fields_.end(),
                        [](const std::string& field) { return !field.empty(); })) {
            return true;
        }
    }
    return false;
}

void CsvRecords::readRecord() {
    fields_.clear();
    line_ = nextLine_;
    if (separator_ == ' ') {
        const std::size_t end = std::min(text_.find('\n', at_), text_.size());
        std::vector<std::string_view> words;
        splitWords(text_.substr(at_, end - at_), words);
        fields_.assign(words.begin(), words.end());
        at_ = end + 1;
        ++nextLine_;
        return;
    }
    std::string field;
    bool quoted = false;
    const auto close = [&] {
        fields_.push_back(simplifyWhiteSpace(field));
        field.clear();
    };
    for (; at_ < text_.size(); ++at_) {
        const char c = text_[at_];
        nextLine_ += c == '\n' ? 1 : 0;
        if (quoted) {
            if (c != '"') {
                field += c;
            } else if (at_ + 1 < text_.size() && text_[at_ + 1] == '"') {
                field += text_[++at_];
            } else {
                quoted = false;
            }
        } else if (c == '"') {
            quoted = true;
        } else if (c == separator_) {
            close();
        } else if (c == '\n') {
            ++at_;
            close();
            return;
        } else {
            field += c;
        }
    }
    close();
}

std::string CsvRecords::shown() const {
    std::string text = "line " + std::to_string(line_) + ":";
    for (const std::string& field : fields_) {
        text += " " + (field.empty() ? "-" : field);
    }
    return text;
}

CsvColumns::CsvColumns(const std::vector<std::string>& header) {
    const auto isOneOf = [](const std::string& name, std::initializer_list<const char*> names) {
        return std::any_of(names.begin(), names.end(),
                           [&name](const char* other) { return name == other; });
    };
    const auto take = [](std::size_t& column, std::size_t index) {
        if (column == none) {
            column = index;
        }
    };
    std::size_t residue = none;  // a number or a name
    for (std::size_t i = 0; i < header.size(); ++i) {
        // Tag names of STAR serve as headers too: only the part behind the point counts.
        std::string name = foldLower(header[i]);
        name.erase(0, name.rfind('.') + 1);
        name.erase(0, name.find_first_not_of("#_ "));
        std::replace(name.begin(), name.end(), ' ', '_');
        std::replace(name.begin(), name.end(), '-', '_');
        if (isOneOf(name, {"seq_id", "comp_index_id", "resid", "res_id", "resnum", "res_num",
                           "residue_number", "residue_id", "num", "number", "sequence_code",
                           "resno", "res_no", "seq", "position", "group"})) {
            take(number, i);
        } else if (isOneOf(name, {"auth_seq_id", "author_number"})) {
            take(authorNumber, i);
        } else if (isOneOf(name, {"comp_id", "resname", "res_name", "residue_name", "residue_type",
                                  "restype", "res_type", "aa", "amino_acid"})) {
            take(residueName, i);
        } else if (isOneOf(name, {"atom_id", "atom_name", "atomname", "atom"})) {
            take(atom, i);
        } else if (isOneOf(name, {"val", "value", "shift", "chemical_shift", "cs", "ppm",
                                  "shift_ppm", "shift_(ppm)", "chem_shift"})) {
            take(value, i);
        } else if (isOneOf(name, {"assigned_chem_shift_list_id", "list_id", "list"})) {
            take(list, i);
        } else if (isOneOf(name, {"entity_id", "entity", "chain", "chain_code", "chain_id"})) {
            take(entity, i);
        } else if (isOneOf(name, {"entity_assembly_id"})) {
            take(assembly, i);
        } else if (isOneOf(name, {"ambiguity_code", "ambiguity"})) {
            take(ambiguity, i);
        } else if (readAtomName(name, 'G').kind != AtomName::Kind::other) {
            atoms.emplace_back(i, header[i]);
        } else if (isOneOf(name, {"residue", "res"})) {
            take(residue, i);
        } else {
            unread.push_back(header[i]);
        }
    }
    if (residue != none) {
        take(number == none ? number : residueName, residue);
    }
    if (number == none) {
        std::swap(number, authorNumber);
    }
    if (atom != none && value != none) {
        atoms.clear();
    }
}

bool CsvColumns::usable() const {
    return number != none && ((atom != none && value != none) || !atoms.empty());
}

namespace {

class CsvReader {
  public:
    CsvReader(std::string_view text, const std::string& path) : records_(text) {
        file_.path = path;
        file_.format = "csv";
    }

    ShiftFile read() {
        if (!records_.next()) {
            throw InputRejected(file_.path + ": the file is empty");
        }
        const CsvColumns columns(records_.fields());
        if (!columns.usable()) {
            throw InputRejected(atLine(file_.path, records_.line(),
                                       "expected a header with a residue number and either atom "
                                       "and shift or columns named by atoms"));
        }
        columnCount_ = records_.fields().size();
        for (const std::string& name : columns.unread) {
            file_.report.add(ImportFinding::unreadText, "column " + name);
        }
        while (records_.next()) {
            readRecord(columns);
        }
        return std::move(file_);
    }

  private:
    std::string field(std::size_t column) const {
        const auto& fields = records_.fields();
        return column < fields.size() ? fields[column] : std::string();
    }

    void readRecord(const CsvColumns& columns) {
        ShiftRow row;
        row.line = records_.line();
        row.list = field(columns.list);
        row.entity = field(columns.entity);
        row.assembly = field(columns.assembly);
        row.authorNumber = field(columns.authorNumber);
        row.residueName = field(columns.residueName);
        row.ambiguity = field(columns.ambiguity);
        const std::string residue = field(columns.number);
        const std::string name = row.residueName;
        const std::string assembly = row.assembly;
        if (records_.fields().size() > columnCount_ || isMissing(residue) ||
            !splitResidueWord(residue, row)) {
            file_.report.add(ImportFinding::rowIncomplete, records_.shown());
            return;
        }
        if (!isMissing(name)) {
            row.residueName = name;
        }
        if (!assembly.empty()) {
            row.assembly = assembly;
        }
        if (columns.atoms.empty()) {
            row.atom = field(columns.atom);
            row.value = field(columns.value);
            file_.rows.push_back(std::move(row));
            return;
        }
        for (const auto& [column, atom] : columns.atoms) {
            if (!field(column).empty()) {
                row.atom = atom;
                row.value = field(column);
                file_.rows.push_back(row);
            }
        }
    }

    CsvRecords records_;
    ShiftFile file_;
    std::size_t columnCount_ = 0;
};

}  // namespace

ShiftFile readCsv(std::string_view text, const std::string& path) {
    return CsvReader(text, path).read();
}

}  // namespace orvix::importing
