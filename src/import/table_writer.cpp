#include <algorithm>
#include <array>
#include <cstdio>

#include "base/run_end.h"
#include "base/text.h"
#include "import/shift_import.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

// One line without anything that a terminal or a reader could stumble over.
std::string oneLine(const std::string& text) {
    std::string line = simplifyWhiteSpace(text);
    line.erase(std::remove_if(line.begin(), line.end(),
                              [](char c) { return static_cast<unsigned char>(c) < ' '; }),
               line.end());
    return line;
}

std::string padded(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

void writeSequence(const std::string& sequence, std::ostream& out) {
    constexpr std::size_t groupLength = 10;
    constexpr std::size_t lineLength = 50;
    for (std::size_t i = 0; i < sequence.size(); i += groupLength) {
        if (i % lineLength == 0) {
            out << (i > 0 ? "\n" : "") << "DATA SEQUENCE";
        }
        out << ' ' << sequence.substr(i, groupLength);
    }
    out << "\n\n";
}

}  // namespace

void writeShiftTable(const ImportedTable& table, std::ostream& out) {
    const std::string title = oneLine(table.title);
    if (!title.empty()) {
        out << "REMARK " << title << '\n';
    }
    out << "\nDATA FIRST_RESID " << table.firstResidue << '\n';
    writeSequence(table.sequence, out);
    out << "VARS   RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n\n";
    for (const ImportedShift& shift : table.shifts) {
        out << padded(std::to_string(shift.residue), 4) << ' ' << shift.residueName << ' '
            << padded(shift.atom, 4) << ' ' << padded(shift.valueText, 8) << '\n';
    }
}

bool isShiftTable(const std::string& path) {
    try {
        return isShiftTableText(readShiftText(path));
    } catch (const InputRejected&) {
        return false;
    }
}

bool isShiftTableText(std::string_view text) {
    bool sequence = false;
    bool columns = false;
    std::vector<std::string_view> words;
    std::string_view rest = text;
    while (!rest.empty() && !(sequence && columns)) {
        const std::size_t end = rest.find('\n');
        splitWords(rest.substr(0, end), words);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (words.size() > 1 && equalsFolded(words[0], "DATA")) {
            sequence = sequence || equalsFolded(words[1], "SEQUENCE");
        } else if (words.size() > 1 && equalsFolded(words[0], "VARS")) {
            const auto has = [&words](std::string_view name) {
                return std::find(words.begin(), words.end(), name) != words.end();
            };
            columns = has("RESID") && has("ATOMNAME") && has("SHIFT");
        }
    }
    return sequence && columns;
}

}  // namespace orvix::importing
