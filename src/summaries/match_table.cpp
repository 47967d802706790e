// The table of database matches as text.
#include <array>
#include <string>

#include "run/citation.h"
#include "summaries/result_cells.h"
#include "summaries/result_tables.h"
#include "tables/gdb.h"

namespace orvix::summaries {
namespace {

/// What the column names of the database residue before, at and behind the centre end with.
constexpr std::array<const char*, 3> suffixes = {"_L1", "", "_R1"};

/// Shift columns in table order, with the place of the atom in a row.
struct ShiftColumn {
    const char* name;
    const char* format;
    std::size_t atom;
};
constexpr std::array<ShiftColumn, 6> shiftColumns = {{{"HN", " %5.2f", 5},
                                                      {"N", " %5.1f", 0},
                                                      {"HA", " %5.2f", 1},
                                                      {"C", " %5.1f", 2},
                                                      {"CA", " %5.1f", 3},
                                                      {"CB", " %5.1f", 4}}};

void setColumns(GDB& table) {
    std::string names = "INDEX RESID_Q_CENTER RESNAMES_Q DIST W RESNAMES_DB ";
    std::string formats = "%4d %4d %7s %6.3f %4.2f  %s";
    const auto add = [&](const std::string& name, const char* format) {
        names += ' ' + name;
        formats += format;
    };
    for (const std::string suffix : suffixes) {
        add("RESID" + suffix, " %4d");
        add("PHI" + suffix, " %6.1f");
        add("PSI" + suffix, " %6.1f");
        add("CHI1" + suffix, " %4.0f");
        for (const ShiftColumn& column : shiftColumns) {
            add(column.name + suffix, column.format);
        }
    }
    add("SOURCE", " %s");
    table.VARS_str_parser(names);
    table.FORMAT_str_parser(formats);
}

void addRemarks(GDB& table, const std::string& inTitle) {
    const auto remark = [&table](const char* text) { table.addRemark(text); };
    remark("ORVIX-N Protein Backbone Torsion Angle Prediction Table");
    table.addRemark(" Database Penta-peptide Matches for " + inTitle);
    remark("");
    remark(" RESID_Q_CENTER is the residue id of query penta-peptide sequence.");
    remark("");
    remark(" RESNAMES_Q is the query penta-peptide sequence.");
    remark("");
    remark(" DIST is the ORVIX-N database matching score.");
    remark("");
    remark(" W is a weighting factor used to calculate the average predicted angles.");
    remark("");
    remark(" RESNAMES_DB is the database penta-peptide sequence.");
    remark("");
    remark(" *_L1 are the residue numbers, phi/psi/chi1 torsion angles (degrees) ");
    remark(" or the chemical shifts of the third residue of the database");
    remark(" penta-peptide.");
    remark("");
    remark(" RESID is the residue number of center residue of database penta-peptide.");
    remark("");
    remark(" HN N HA C CA CB are secondary chemical shifts of center residue ");
    remark(" of database penta-peptide.");
    remark("");
    remark(" PHI/PSI/CHI1 is the phi/psi/chi1 torsion angles (degrees) of the ");
    remark(" center residue of the database penta-peptide.");
    remark("");
    remark(" *_R1 are the residue numbers, phi/psi/chi1 torsion angles (degrees) ");
    remark(" or the chemical shifts of the fifth residue of the database");
    remark(" penta-peptide.");
    remark("");
    remark(" SOURCE is protein name of the database triplet.");
    remark("");
    table.addRemark(std::string(versionRemark));
    remark("");
}

void addNeighbour(GDB::Entry& row, const MatchNeighbour& residue, const std::string& suffix) {
    row["RESID" + suffix] = std::to_string(residue.residue);
    row["PHI" + suffix] = realCell(static_cast<double>(residue.phi));
    row["PSI" + suffix] = realCell(static_cast<double>(residue.psi));
    row["CHI1" + suffix] = realCell(static_cast<double>(residue.chi1));
    for (const ShiftColumn& column : shiftColumns) {
        row[column.name + suffix] = fixedCell(static_cast<double>(residue.shifts[column.atom]));
    }
}

void addRow(GDB& table, const MatchRow& match) {
    const int number = static_cast<int>(table.entries.size()) + 1;
    GDB::Entry& row = table.entries[number];
    row["INDEX"] = std::to_string(number);
    row["RESID_Q_CENTER"] = std::to_string(match.residue);
    row["RESNAMES_Q"] = match.queryLetters;
    row["DIST"] = realCell(match.score);
    row["W"] = realCell(match.weight);
    row["RESNAMES_DB"] = match.databaseLetters;
    for (std::size_t k = 0; k < suffixes.size(); ++k) {
        if (match.residues[k].held) {
            addNeighbour(row, match.residues[k], suffixes[k]);
        }
    }
    row["SOURCE"] = match.source;
}

}  // namespace

std::string matchTable(const TableHeader& header, const std::vector<MatchRow>& rows) {
    GDB table;
    setColumns(table);
    addRemarks(table, header.inTitle);
    table.setData("FIRST_RESID", std::to_string(header.firstResid));
    table.setData("SEQUENCE", header.sequence);
    for (const MatchRow& row : rows) {
        addRow(table, row);
    }
    return table.tableText();
}

}  // namespace orvix::summaries
