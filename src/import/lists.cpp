#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "base/text.h"
#include "import/residue_names.h"
#include "import/sequence_text.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

namespace {

using Words = std::vector<std::string_view>;

bool isResidueName(std::string_view word) {
    static const ResidueNames names;
    return word.size() != 2 && word.size() <= 8 && names.letter(word).letter != 'X';
}

bool isAtomWord(std::string_view word) {
    constexpr std::string_view first = "HCNQMhcnqm";
    constexpr std::string_view others = "ABCDEGHJKLMNOQSXYZabcdeghjklmnoqsxyz0123456789'\"*#%";
    return !word.empty() && word.size() <= 5 && first.find(word[0]) != std::string_view::npos &&
           word.find_first_not_of(others, 1) == std::string_view::npos;
}

bool isElement(std::string_view word) {
    return word == "H" || word == "C" || word == "N" || word == "P" || word == "S" || word == "O" ||
           word == "F";
}

// Reads number, residue name, atom and value from where the residue name stands: the order is
// "number name atom" or "name number atom", then element and isotope where the row has them.
bool readListRow(const Words& words, std::size_t name, ShiftRow& row) {
    int number = 0;
    std::size_t at = name + 1;
    if (name > 0 && parseNumber(words[name - 1], number)) {
        row.number = words[name - 1];
    } else if (at < words.size() && parseNumber(words[at], number)) {
        row.number = words[at++];
    } else {
        return false;
    }
    if (at + 1 >= words.size() || !isAtomWord(words[at])) {
        return false;
    }
    row.residueName = words[name];
    row.atom = words[at++];
    bool deposited = isElement(words[at]) && at + 1 < words.size();
    at += deposited ? 1 : 0;
    double value = 0.0;
    std::size_t codeAt = at + 2;  // behind value and error
    if (deposited && at + 1 < words.size() && parseNumber(words[at], number) &&
        words[at].size() <= 2 && (parseValue(words[at + 1], value) || isMissing(words[at + 1]))) {
        ++at;
        // Behind value, error and, in full rows, a figure of merit.
        codeAt = at + (words.size() > at + 3 ? 3 : 2);
    }
    if (!parseValue(words[at], value) && !isMissing(words[at])) {
        return false;
    }
    row.value = words[at];
    if (deposited && codeAt < words.size() && words[codeAt].size() == 1) {
        row.ambiguity = words[codeAt];
    }
    return true;
}

bool readListRow(const Words& words, ShiftRow& row) {
    // Three letters say more than one, which may be an element or an atom.
    for (const bool longName : {true, false}) {
        for (std::size_t i = 0; i < words.size(); ++i) {
            if ((words[i].size() > 2) == longName && isResidueName(words[i]) &&
                readListRow(words, i, row)) {
                return true;
            }
        }
    }
    return false;
}

// "12.CA 55.1 1", also "A:12.CA".
bool readNmrViewRow(const Words& words, ShiftRow& row) {
    double value = 0.0;
    if (words.size() < 2 || !parseValue(words[1], value)) {
        return false;
    }
    std::string_view place = words[0];
    const std::size_t colon = place.find(':');
    if (colon != std::string_view::npos) {
        row.assembly = place.substr(0, colon);
        place.remove_prefix(colon + 1);
    }
    const std::size_t dot = place.find('.');
    if (dot == std::string_view::npos || !isAtomWord(place.substr(dot + 1)) ||
        !ResidueWords().split(place.substr(0, dot), row)) {
        return false;
    }
    row.atom = place.substr(dot + 1);
    row.value = words[1];
    return true;
}

using RowReader = bool (*)(const Words&, ShiftRow&);

ShiftFile readList(std::string_view text, const std::string& path, const char* format,
                   RowReader readRow) {
    ShiftFile file;
    file.path = path;
    file.format = format;
    TextRows rows(text);
    while (rows.next()) {
        const Words& words = rows.words();
        if (words.empty()) {
            continue;
        }
        ShiftRow row;
        if (readRow(words, row)) {
            row.line = rows.line();
            file.rows.push_back(std::move(row));
        } else if (words[0].starts_with('#') || words[0].starts_with('!')) {
            file.report.add(ImportFinding::unreadText, rows.shown());
        } else {
            file.report.add(ImportFinding::rowIncomplete, rows.shown());
        }
    }
    warnOfCutLine(text, file.report);
    readSequenceBeside(file);
    return file;
}

// How many residues of the rows the sequence has, with the same name where they have one.
bool fitsRows(const ShiftEntity& entity, const std::vector<ShiftRow>& rows) {
    const ResidueNames names;
    std::map<std::string, char> letters;
    for (const SequenceResidue& residue : entity.residues) {
        letters.emplace(residue.number, names.letter(residue.name).letter);
    }
    std::map<std::string, bool> fits;
    for (const ShiftRow& row : rows) {
        const auto found = letters.find(row.number);
        const char own = names.letter(row.residueName).letter;
        fits[row.number] = found != letters.end() && (own == 'X' || own == found->second);
    }
    const auto good =
        std::count_if(fits.begin(), fits.end(), [](const auto& residue) { return residue.second; });
    return 10 * static_cast<std::size_t>(good) >= 9 * fits.size();
}

constexpr auto none = static_cast<std::size_t>(-1);

struct LineSize {
    std::size_t fields = 0;
    std::size_t decimals = none;  // of the last field, when it is empty or a number
};

LineSize sizeOf(const TextRows& rows, char separator) {
    LineSize size;
    size.fields = separator == ' ' ? rows.words().size()
                                   : 1 + static_cast<std::size_t>(std::count(
                                             rows.text().begin(), rows.text().end(), separator));
    std::string_view field = separator == ' ' ? rows.words().back() : rows.text();
    field.remove_prefix(separator == ' ' ? 0 : field.rfind(separator) + 1);
    std::string number(field);
    std::erase_if(number, [](char c) { return c == '"' || isSpace(c); });
    std::replace(number.begin(), number.end(), ',', '.');
    double value = 0.0;
    if (number.empty() || parseValue(number, value)) {
        const std::size_t point = number.find('.');
        size.decimals = point == std::string::npos ? 0 : number.size() - point - 1;
    }
    return size;
}

}  // namespace

void warnOfCutLine(std::string_view text, ImportReport& report, char separator) {
    if (text.empty() || text.back() == '\n') {
        return;
    }
    LineSize before, last;
    std::size_t leastDecimals = none;
    int line = 0;
    TextRows rows(text);
    while (rows.next()) {
        if (!rows.words().empty()) {
            before = last;
            leastDecimals = std::min(leastDecimals, before.decimals);
            last = sizeOf(rows, separator);
            line = rows.line();
        }
    }
    const std::string cut =
        "the file looks cut off: its last line, " + std::to_string(line) + ", has no line end and ";
    if (last.fields < before.fields) {
        report.warn(cut + std::to_string(last.fields) + (separator == ' ' ? " words" : " fields") +
                    ", the one before " + std::to_string(before.fields));
    } else if (last.decimals < leastDecimals && leastDecimals != none) {
        report.warn(cut + "fewer decimals in its last number than all others");
    }
}

void readSequenceBeside(ShiftFile& file) {
    namespace fs = std::filesystem;
    if (file.path == standardInput) {
        return;
    }
    fs::path sequence(file.path);
    if (sequence.extension() == ".gz") {
        sequence.replace_extension();
    }
    sequence.replace_extension(".seq");
    std::error_code failure;
    if (fs::is_regular_file(sequence, failure) && sequence != file.path) {
        file.entities.push_back(readSequenceFile(sequence.string(), file.report));
        return;
    }
    std::vector<std::string> others;
    const fs::path directory = sequence.has_parent_path() ? sequence.parent_path() : fs::path(".");
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        if (entry->path().extension() == ".seq" && entry->path() != file.path) {
            others.push_back(entry->path().string());
        }
    }
    const bool named = std::any_of(file.rows.begin(), file.rows.end(),
                                   [](const ShiftRow& row) { return !isMissing(row.residueName); });
    if (others.size() == 1) {
        ImportReport report;
        ShiftEntity entity = readSequenceFile(others[0], report);
        if (fitsRows(entity, file.rows)) {
            file.report.warn("sequence: " + std::to_string(entity.residues.size()) +
                             " residues from " + others[0] + ", the only .seq beside the file" +
                             (named ? "; the residue names fit" : ""));
            file.entities.push_back(std::move(entity));
            return;
        }
    }
    if (!named) {
        file.report.warn("no residue names in the file and no " + sequence.filename().string() +
                         " beside it");
    }
}

bool isListRow(const Words& words) {
    ShiftRow row;
    return readListRow(words, row);
}

bool isNmrViewRow(const Words& words) {
    ShiftRow row;
    return readNmrViewRow(words, row);
}

ShiftFile readRows(std::string_view text, const std::string& path) {
    return readList(text, path, "rows", readListRow);
}

ShiftFile readNmrView(std::string_view text, const std::string& path) {
    return readList(text, path, "nmrview", readNmrViewRow);
}

}  // namespace orvix::importing
