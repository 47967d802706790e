#include <algorithm>
#include <map>

#include "base/text.h"
#include "import/residue_names.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

namespace {

struct Mark {
    std::string_view start;  // of a line, in lower case
    const char* form;
};

constexpr Mark marks[] = {
    {"%pdf", "is a PDF document"},
    {"pk\x03\x04", "is a zip archive or an office document"},
    {"<!doctype", "is a web page"},
    {"<html", "is a web page"},
    {"\x89png", "is a picture"},
    {"<?xml", "is an XML document"},
    {">", "is a FASTA sequence without shifts"},
    {"_atom_site.", "is a coordinate file (mmCIF) without shifts"},
    {"atom  ", "is a coordinate file (PDB) without shifts"},
    {"assign (", "is a restraint file without shifts"},
    {"# number of dimensions", "is an XEASY peak list; expected the resonance list (.prot)"},
};

bool isSequenceList(std::string_view text) {
    const ResidueNames names;
    TextRows rows(text);
    int residues = 0;
    while (rows.next()) {
        const auto& words = rows.words();
        int number = 0;
        if (words.empty() || words[0].starts_with('#')) {
            continue;
        }
        if (words.size() > 2 || words[0].size() < 3 || names.letter(words[0]).letter == 'X' ||
            (words.size() == 2 && !parseNumber(words[1], number))) {
            return false;
        }
        ++residues;
    }
    return residues > 1;
}

}  // namespace

std::string nameBrokenTable(std::string_view text) {
    bool sequence = false;
    int line = 0;
    std::vector<std::string> columns;
    TextRows rows(text);
    while (rows.next()) {
        const auto& words = rows.words();
        if (words.size() > 1 && equalsFolded(words[0], "VARS") && columns.empty()) {
            columns.assign(words.begin() + 1, words.end());
            line = rows.line();
        }
        sequence = sequence || (words.size() > 1 && equalsFolded(words[0], "DATA") &&
                                equalsFolded(words[1], "SEQUENCE"));
    }
    const auto has = [&columns](std::string_view name) {
        return std::find(columns.begin(), columns.end(), name) != columns.end();
    };
    if (columns.empty()) {
        return sequence ? "is an input table without a VARS line" : "";
    }
    if (has("PHI") || has("SS_CLASS") || has("S2")) {
        return "is a table of predictions without shifts";
    }
    for (const char* name : {"RESID", "ATOMNAME", "SHIFT"}) {
        if (!has(name)) {
            return "looks like an input table: column " + std::string(name) +
                   " missing in its VARS line, " + std::to_string(line);
        }
    }
    return sequence ? "" : "looks like an input table: no DATA SEQUENCE line";
}

std::string nameWrongForm(std::string_view text) {
    std::string table = nameBrokenTable(text);
    if (!table.empty()) {
        return table;
    }
    TextRows rows(text);
    bool star = false;
    const bool binary = text.find('\0') != std::string_view::npos;
    while (rows.next() && (!binary || rows.line() == 1)) {
        const std::string line = foldLower(rows.text());
        for (const Mark& mark : marks) {
            if (line.starts_with(mark.start)) {
                return mark.form;
            }
        }
        const auto& words = rows.words();
        if (words.size() > 1 && equalsFolded(words[0], "ASSIGNMENT") &&
            equalsFolded(words[1], "W1")) {
            return "is a Sparky peak list; expected the resonance list";
        }
        star = star || (!words.empty() && (equalsFolded(words[0], "LOOP_") ||
                                           foldLower(words[0]).starts_with("save_")));
    }
    if (star) {
        return "is a STAR file without a loop of chemical shifts";
    }
    if (!binary && isSequenceList(text)) {
        return "is a sequence without shifts";
    }
    return binary ? "is a binary file" : "";
}

}  // namespace orvix::importing
