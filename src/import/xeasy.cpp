#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

namespace {

// Columns: index, shift, error, atom, residue number, and in newer files residue name and letter.
enum Column : std::size_t { index = 0, shift = 1, error = 2, atom = 3, number = 4, name = 5 };

}  // namespace

ShiftFile readXeasy(std::string_view text, const std::string& path) {
    ShiftFile file;
    file.path = path;
    file.format = "xeasy";
    TextRows rows(text);
    while (rows.next()) {
        const auto& words = rows.words();
        if (words.empty()) {
            continue;
        }
        if (words[0].starts_with('#')) {
            file.report.add(ImportFinding::unreadText, rows.shown());
            continue;
        }
        if (words.size() <= number) {
            file.report.add(ImportFinding::rowIncomplete, rows.shown());
            continue;
        }
        ShiftRow row;
        row.line = rows.line();
        row.value = words[shift];
        row.atom = words[atom];
        row.number = words[number];
        // A trailing column in brackets holds isotope marks, not a name.
        if (words.size() > name && !words[name].starts_with('#') && !words[name].starts_with('[')) {
            row.residueName = words[name];
        }
        int residue = 0;
        if (!parseNumber(row.number, residue)) {
            file.report.add(ImportFinding::unassigned, rows.shown());
            continue;
        }
        file.rows.push_back(std::move(row));
    }
    warnOfCutLine(text, file.report);
    readSequenceBeside(file);
    return file;
}

}  // namespace orvix::importing
