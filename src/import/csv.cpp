#include "import/csv.h"

#include <algorithm>
#include <set>

#include "base/run_end.h"
#include "base/text.h"
#include "import/atom_names.h"
#include "import/residue_names.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

CsvRecords::CsvRecords(std::string_view text, int firstLine) : text_(text), nextLine_(firstLine) {
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

namespace {

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

// A column name in lower case without units, signs between its words and Greek letters.
std::string headerKey(const std::string& header) {
    std::string name = header;
    for (const auto& [from, to] :
         {std::pair{"\u03B1", "a"}, std::pair{"\u0391", "a"}, std::pair{"\u03B2", "b"},
          std::pair{"\u0392", "b"}, std::pair{"\u03B4", "delta "}, std::pair{"\u2032", "'"},
          std::pair{"\u2019", "'"}}) {
        replaceAll(name, from, to);
    }
    name = foldLower(name.substr(0, name.find_first_of("([")));
    while (!name.empty() && (isSpace(name.back()) || name.back() == '.')) {
        name.pop_back();
    }
    // Tag names of STAR serve as headers too: only the part behind the point counts.
    name.erase(0, name.rfind('.') + 1);
    if (name != "#") {
        std::erase_if(name, [](char c) { return c == '#' || c == '_' || c == '-' || isSpace(c); });
    }
    return name;
}

// "13ca", "1hn", "calpha", "cashift": the atom of a column; other names as they are.
std::string headerAtom(std::string name) {
    replaceAll(name, "alpha", "a");
    replaceAll(name, "beta", "b");
    for (const std::string_view around : {"delta", "shift", "ppm"}) {
        if (name.size() > around.size() && name.starts_with(around)) {
            name.erase(0, around.size());
        } else if (name.size() > around.size() && name.ends_with(around)) {
            name.resize(name.size() - around.size());
        }
    }
    for (const std::string_view isotope : {"15n", "13c", "1h"}) {
        if (name.starts_with(isotope)) {
            name.erase(0, isotope.size() - 1);
        }
    }
    return foldUpper(name);
}

// "H1" beside "N15" is the amide proton; beside "H2" it is one of an amino group.
bool hasAmideAsH1(const std::vector<std::string>& header) {
    const auto has = [&header](std::string_view name) {
        return std::any_of(header.begin(), header.end(),
                           [&](const std::string& column) { return headerKey(column) == name; });
    };
    return has("n15") && !has("h2");
}

}  // namespace

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
    std::size_t type = none;     // a residue name where no other column is
    std::size_t nucleus = none;  // an atom where no other column is
    for (std::size_t i = 0; i < header.size(); ++i) {
        const std::string name = headerKey(header[i]);
        const std::string atomName = name == "h1" && hasAmideAsH1(header) ? "HN" : headerAtom(name);
        if (isOneOf(name,
                    {"seqid",      "compindexid", "resid",  "resnum",         "residuenumber",
                     "residueid",  "num",         "number", "sequencecode",   "sequencenumber",
                     "resno",      "residueno",   "resnr",  "resi",           "seqno",
                     "seq",        "position",    "pos",    "residueseqcode", "group",
                     "nmrresidue", "assignment",  "assign"})) {
            take(number, i);
            joined = joined || name.starts_with("assign");
        } else if (isOneOf(name, {"#", "no", "nr", "index"})) {
            take(rowNumber, i);
        } else if (isOneOf(name, {"authseqid", "authornumber"})) {
            take(authorNumber, i);
        } else if (isOneOf(name,
                           {"compid", "resname", "resname1", "resname3", "residuename",
                            "residuelabel", "residuetype", "restype", "resn", "aa", "aminoacid"})) {
            take(residueName, i);
        } else if (isOneOf(name, {"atomid", "atomname", "atom", "nmratom", "assignname"})) {
            take(atom, i);
        } else if (isOneOf(name, {"val", "value", "shift", "chemicalshift", "cs", "ppm", "shiftppm",
                                  "chemshift", "delta", "shiftvalue", "chemshiftvalue"})) {
            take(value, i);
        } else if (isOneOf(name, {"assignedchemshiftlistid", "listid", "list"})) {
            take(list, i);
        } else if (isOneOf(name,
                           {"entityid", "entity", "chain", "chaincode", "chainid", "nmrchain"})) {
            take(entity, i);
        } else if (isOneOf(name, {"entityassemblyid"})) {
            take(assembly, i);
        } else if (isOneOf(name, {"ambiguitycode", "ambiguity"})) {
            take(ambiguity, i);
        } else if (readAtomName(atomName, 'G').kind != AtomName::Kind::other) {
            atoms.emplace_back(i, atomName);
        } else if (isOneOf(name, {"residue", "res"})) {
            take(residue, i);
        } else if (name == "type") {
            take(type, i);
        } else if (isOneOf(name, {"nucleus", "name"})) {
            take(nucleus, i);
        } else {
            unread.push_back(header[i]);
        }
    }
    if (residueName == none) {
        residueName = type;
    }
    if (atom == none && atoms.empty()) {
        atom = nucleus;
    } else if (nucleus != none) {
        unread.push_back(header[nucleus]);
    }
    if (residue != none) {
        const bool numbered = number != none || (rowNumber != none && residueName == none);
        take(numbered ? residueName : number, residue);
    }
    if (number == none && authorNumber == none && atom != none && value != none &&
        headerKey(header[atom]) == "nmratom") {
        number = atom;  // the whole address stands there
        joined = true;
    }
    if (number == none && authorNumber == none) {
        std::swap(number, rowNumber);
        counted = number != none;
    }
    if (number == none) {
        std::swap(number, authorNumber);
    }
    if (atom != none && value != none) {
        atoms.clear();
    }
}

namespace {

// Whether a record can be a row under these columns, as far as its number and a value tell.
bool isRowOf(const CsvColumns& columns, const std::vector<std::string>& fields) {
    const auto field = [&fields](std::size_t column) {
        return column < fields.size() ? fields[column] : std::string();
    };
    const auto isValue = [&field](std::size_t column) {
        std::string text = field(column);
        std::replace(text.begin(), text.end(), ',', '.');
        double value = 0.0;
        return isMissing(text) || parseValue(text, value);
    };
    ShiftRow row;
    const std::string number = field(columns.number);
    const bool placed = number.find('@') != std::string::npos || ResidueWords().split(number, row);
    return placed && (columns.atoms.empty()
                          ? isValue(columns.value)
                          : std::all_of(columns.atoms.begin(), columns.atoms.end(),
                                        [&](const auto& atom) { return isValue(atom.first); }));
}

}  // namespace

std::pair<int, std::size_t> CsvColumns::findHeader(std::string_view text) {
    constexpr int mostLinesBefore = 50;
    constexpr std::size_t lookedAt = 8192;
    std::pair<int, std::size_t> first{0, 0};
    TextRows rows(text);
    while (rows.next() && rows.line() <= mostLinesBefore) {
        const auto& words = rows.words();
        if (words.empty()) {
            continue;
        }
        // The heads of an input table would pass for columns.
        if (equalsFolded(words[0], "VARS") || equalsFolded(words[0], "DATA")) {
            return {0, 0};
        }
        const auto at = static_cast<std::size_t>(rows.text().data() - text.data());
        CsvRecords records(text.substr(at, lookedAt));
        if (!records.next()) {
            continue;
        }
        const CsvColumns columns(records.fields());
        if (!columns.usable()) {
            continue;
        }
        // Titles may read like a header; what follows tells.
        if (records.next() && isRowOf(columns, records.fields())) {
            return {rows.line(), at};
        }
        if (first.first == 0 && !words[0].starts_with('#')) {
            first = {rows.line(), at};
        }
    }
    return first;
}

bool CsvColumns::usable() const {
    return number != none && ((value != none && (atom != none || joined)) || !atoms.empty());
}

namespace {

class CsvReader {
  public:
    CsvReader(std::string_view text, const std::string& path)
        : text_(text),
          header_(CsvColumns::findHeader(text)),
          records_(text.substr(header_.second), std::max(header_.first, 1)) {
        file_.path = path;
        file_.format = "csv";
    }

    ShiftFile read() {
        TextRows before(text_);
        while (before.next() && before.line() < header_.first) {
            if (!before.words().empty()) {
                file_.report.add(ImportFinding::unreadText, before.shown());
            }
        }
        records_.next();
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
            if (!records_.fields()[0].starts_with('#')) {
                readRecord(columns);
            } else {
                file_.report.add(ImportFinding::unreadText, records_.shown());
            }
        }
        residues_.settle(file_.rows);
        requireResidueNumbers(columns);
        warnOfCutLine(text_, file_.report, records_.separator());
        return std::move(file_);
    }

  private:
    std::string field(std::size_t column) const {
        const auto& fields = records_.fields();
        return column < fields.size() ? fields[column] : std::string();
    }

    // A running number of the rows would make a residue of every shift.
    void requireResidueNumbers(const CsvColumns& columns) const {
        std::set<std::string> numbers, atoms;
        for (const ShiftRow& row : file_.rows) {
            numbers.insert(row.number);
            atoms.insert(row.atom);
        }
        if (columns.counted && atoms.size() > 1 && numbers.size() == file_.rows.size() &&
            numbers.size() > atoms.size()) {
            throw InputRejected(
                atLine(file_.path, header_.first,
                       "the only column of numbers counts the rows; expected one of residue "
                       "numbers"));
        }
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
        std::string residue = field(columns.number);
        std::string name = row.residueName;
        const std::string assembly = row.assembly;
        std::string atom = field(columns.atom);
        // "A.1.MET.CA" as the atom, "M1" as the name of a residue in a numbered row.
        if (atom.find('.') != std::string::npos) {
            atom.erase(0, atom.rfind('.') + 1);
        }
        if (std::any_of(name.begin(), name.end(), isDigit) &&
            ResidueNames().letter(name).letter == 'X') {
            residue = name;
            name.clear();
        }
        row.atom = atom;
        if (residue.find('@') != std::string::npos) {
            file_.report.add(ImportFinding::unassigned, records_.shown());
            return;
        }
        if (records_.fields().size() > columnCount_ || isMissing(residue) ||
            !residues_.split(residue, row)) {
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
            row.value = field(columns.value);
            file_.rows.push_back(std::move(row));
            return;
        }
        for (const auto& [column, columnAtom] : columns.atoms) {
            if (!field(column).empty()) {
                row.atom = columnAtom;
                row.value = field(column);
                file_.rows.push_back(row);
            }
        }
    }

    std::string_view text_;
    std::pair<int, std::size_t> header_;
    CsvRecords records_;
    ResidueWords residues_;
    ShiftFile file_;
    std::size_t columnCount_ = 0;
};

}  // namespace

ShiftFile readCsv(std::string_view text, const std::string& path) {
    return CsvReader(text, path).read();
}

}  // namespace orvix::importing
