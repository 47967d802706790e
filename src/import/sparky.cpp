#include <algorithm>

#include "base/run_end.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

namespace {

std::size_t columnOf(const std::vector<std::string_view>& header, const char* name) {
    for (std::size_t i = 0; i < header.size(); ++i) {
        if (foldLower(header[i]) == name) {
            return i;
        }
    }
    return header.size();
}

}  // namespace

ShiftFile readSparky(std::string_view text, const std::string& path) {
    ShiftFile file;
    file.path = path;
    file.format = "sparky";
    TextRows rows(text);
    ResidueWords residues;
    std::size_t group = 0;
    std::size_t atom = 0;
    std::size_t shift = 0;
    bool header = false;
    while (rows.next()) {
        const auto& words = rows.words();
        if (words.empty()) {
            continue;
        }
        if (!header) {
            group = columnOf(words, "group");
            atom = columnOf(words, "atom");
            shift = columnOf(words, "shift");
            if (std::max({group, atom, shift}) >= words.size()) {
                throw InputRejected(atLine(path, rows.line(),
                                           "expected the header of a resonance list: Group Atom "
                                           "Nuc Shift SDev Assignments"));
            }
            header = true;
            continue;
        }
        if (words.size() <= std::max({group, atom, shift})) {
            file.report.add(ImportFinding::rowIncomplete, rows.shown());
            continue;
        }
        ShiftRow row;
        row.line = rows.line();
        row.atom = words[atom];
        row.value = words[shift];
        if (!residues.split(words[group], row)) {
            file.report.add(ImportFinding::unassigned, rows.shown());
            continue;
        }
        file.rows.push_back(std::move(row));
    }
    residues.settle(file.rows);
    warnOfCutLine(text, file.report);
    return file;
}

}  // namespace orvix::importing
