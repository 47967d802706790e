#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "base/run_end.h"
#include "import/shift_import.h"
#include "tables/temporary_file.h"

/// Imports a text as a file would be.
inline orvix::importing::ImportedTable importText(
    const std::string& text, const orvix::importing::ImportOptions& options = {}) {
    const TemporaryFile file(text);
    return orvix::importing::importShifts(file.path(), options);
}

/// The message of a text that is refused; empty when it is taken.
inline std::string refusal(const std::string& text,
                           const orvix::importing::ImportOptions& options = {}) {
    try {
        importText(text, options);
    } catch (const orvix::InputRejected& error) {
        return error.what();
    }
    return {};
}

/// The rows of a table as "12 G HA2 3.95", one string a row.
inline std::vector<std::string> rowsOf(const orvix::importing::ImportedTable& table) {
    std::vector<std::string> rows;
    for (const orvix::importing::ImportedShift& shift : table.shifts) {
        rows.push_back(std::to_string(shift.residue) + " " + shift.residueName + " " + shift.atom +
                       " " + shift.valueText);
    }
    return rows;
}

using Rows = std::vector<std::string>;

/// Whether a text occurs in the notes or warnings of a report.
inline bool tells(const orvix::importing::ImportedTable& table, const std::string& text) {
    const auto holds = [&text](const std::string& line) {
        return line.find(text) != std::string::npos;
    };
    const auto& notes = table.report.notes();
    const auto& warnings = table.report.warnings();
    return std::any_of(notes.begin(), notes.end(), holds) ||
           std::any_of(warnings.begin(), warnings.end(), holds);
}

/// A frame of NMR-STAR 3 with an entity of these residues, numbered from 1.
inline std::string entityFrame(const std::string& id, const std::vector<std::string>& names,
                               const std::string& type = "polypeptide(L)", int firstAuthor = 0) {
    std::ostringstream text;
    text << "save_entity_" << id << "\n _Entity.Sf_category entity\n _Entity.ID " << id
         << "\n _Entity.Name 'molecule " << id << "'\n _Entity.Polymer_type " << type
         << "\n loop_\n _Entity_comp_index.ID\n _Entity_comp_index.Auth_seq_ID\n"
         << " _Entity_comp_index.Comp_ID\n";
    for (std::size_t i = 0; i < names.size(); ++i) {
        text << i + 1 << ' ';
        if (firstAuthor == 0) {
            text << ". ";
        } else {
            text << firstAuthor + static_cast<int>(i) << ' ';
        }
        text << names[i] << '\n';
    }
    text << " stop_\nsave_\n";
    return text.str();
}

/// A frame of shifts in NMR-STAR 3 with the columns given, one tag a word.
inline std::string shiftFrame(const std::string& list, const std::string& columns,
                              const std::string& rows) {
    std::ostringstream text;
    text << "save_shifts_" << list << "\n _Assigned_chem_shift_list.Sf_category "
         << "assigned_chemical_shifts\n _Assigned_chem_shift_list.ID " << list << "\n loop_\n";
    std::istringstream words(columns);
    for (std::string word; words >> word;) {
        text << "  _Atom_chem_shift." << word << '\n';
    }
    text << rows << "\n stop_\nsave_\n";
    return text.str();
}
