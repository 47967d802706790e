#include <algorithm>
#include <array>
#include <string>

#include "run/citation.h"
#include "run/orvix.h"
#include "search/db.h"
#include "summaries/result_cells.h"

namespace {

/// A column group of the database residue at the centre or beside it.
struct Neighbour {
    int offset;
    const char* suffix;
};
constexpr std::array<Neighbour, 3> neighbours = {{{-1, "_L1"}, {0, ""}, {1, "_R1"}}};

/// Shift columns in table order, with the place of the atom's value in a database row.
struct ShiftColumn {
    const char* name;
    const char* format;
    int index;
};
constexpr std::array<ShiftColumn, 6> shiftColumns = {{{"HN", " %5.2f", 10},
                                                      {"N", " %5.1f", 0},
                                                      {"HA", " %5.2f", 2},
                                                      {"C", " %5.1f", 4},
                                                      {"CA", " %5.1f", 6},
                                                      {"CB", " %5.1f", 8}}};

void setColumns(GDB& table) {
    std::string names = "INDEX RESID_Q_CENTER RESNAMES_Q DIST W RESNAMES_DB ";
    std::string formats = "%4d %4d %7s %6.3f %4.2f  %s";
    const auto add = [&](const std::string& name, const char* format) {
        names += ' ' + name;
        formats += format;
    };
    for (const Neighbour& n : neighbours) {
        const std::string suffix = n.suffix;
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
    table.addRemark(std::string(orvix::versionRemark));
    remark("");
}

/// Letters of the database residues from `first` to `last`, "?" where the database has none.
std::string databaseLetters(const DB& db, int first, int last) {
    std::string letters;
    for (int i = first; i <= last; ++i) {
        letters += i >= 0 && i < db.dbSize ? db.resNames[i] : '?';
    }
    return letters;
}

}  // namespace

void ORVIX::writePredAll() {
    GDB table;
    setColumns(table);
    addRemarks(table, inTitle);
    table.setData("FIRST_RESID", std::to_string(inTable.firstResid));
    table.setData("SEQUENCE", inTable.getData("SEQUENCE"));

    const int half = (alignLen - 1) / 2;
    int rowNumber = 0;
    for (int r = firstResid; r <= lastResid; ++r) {
        if (r < firstCSResid || r > lastCSResid || r == seqFirstResid ||
            r == seqFirstResid + seqLength - 1) {
            continue;
        }
        const std::vector<double>& scores = matchScore[r];
        const std::vector<double>& weights = matchWeight[r];
        // Ranks beyond the lists are left over from a longer list of the first pass.
        const std::size_t ranks = std::min(scores.size(), weights.size());
        if (ranks == 0) {
            continue;
        }
        std::string queryLetters;
        for (int j = -half; j <= half; ++j) {
            const std::string& name = seqName(r + j);
            queryLetters += name.size() == 1 ? name : "?";
        }
        for (const auto& [rank, index] : matchIndex[r]) {
            if (rank < 1 || static_cast<std::size_t>(rank) > ranks || index < 0 ||
                index >= db->dbSize) {
                continue;
            }
            ++rowNumber;
            std::map<std::string, std::string>& row = table.entries[rowNumber];
            const auto place = static_cast<std::size_t>(rank) - 1;
            row["INDEX"] = std::to_string(rowNumber);
            row["RESID_Q_CENTER"] = std::to_string(r);
            row["RESNAMES_Q"] = queryLetters;
            row["DIST"] = orvix::summaries::realCell(scores[place]);
            row["W"] = orvix::summaries::realCell(weights[place]);
            row["RESNAMES_DB"] = databaseLetters(*db, index - half, index + half);
            for (const Neighbour& n : neighbours) {
                const int i = index + n.offset;
                if (i < 0 || i >= db->dbSize) {
                    continue;
                }
                const std::string suffix = n.suffix;
                row["RESID" + suffix] = std::to_string(db->resids[i]);
                row["PHI" + suffix] =
                    orvix::summaries::realCell(static_cast<double>(db->angles[i][0]));
                row["PSI" + suffix] =
                    orvix::summaries::realCell(static_cast<double>(db->angles[i][1]));
                row["CHI1" + suffix] =
                    orvix::summaries::realCell(static_cast<double>(db->angles[i][2]));
                for (const ShiftColumn& column : shiftColumns) {
                    row[column.name + suffix] = orvix::summaries::fixedCell(
                        static_cast<double>(db->shifts[i][column.index]));
                }
            }
            row["SOURCE"] = db->sources[index];
        }
    }
    table.saveGDB(allFile);
}
