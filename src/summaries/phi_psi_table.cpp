// The summary table as text.
#include "run/citation.h"
#include "summaries/result_cells.h"
#include "summaries/result_tables.h"
#include "tables/gdb.h"

namespace orvix::summaries {
namespace {

void addRemarks(GDB& table, const TableHeader& header) {
    const auto remark = [&table](const char* text) { table.addRemark(text); };
    remark("ORVIX-N Protein Backbone Torsion Angle Prediction Table");
    table.addRemark(" Prediction Summary for Chemical Shift Input " + header.inTitle);
    if (header.hasReference) {
        table.addRemark(" Predictions Compared to PDB Input " + header.refTitle);
    }
    remark("");
    remark(" PHI is the predicted torsion angle C(i-1) N(i)  CA(i) C(i)   (degrees).");
    remark(" PSI is the predicted torsion angle N(i)   CA(i) C(i)  N(i+1) (degrees).");
    remark("");
    remark(" DPHI and DPSI are the estimated standard deviations of the");
    remark(" prediction errors in PHI and PSI (degrees).");
    remark("");
    remark(" DIST is the ORVIX-N database matching score.");
    remark("");
    remark(" S2 is the Halvorn RCI chemical shift order parameter,");
    remark(" JACS, 127(43), 14970-14971.");
    remark("");
    remark(" COUNT is the number of database triplets used to form");
    remark(" the torsion angle predictions.");
    remark("");
    remark(" CLASS is the classification of the prediction result:");
    remark("   None: no torsion prediction was made.");
    remark("");
    remark("   Strong/Generous: majority consensus in database matches;");
    remark("   prediction is likely to be good.");
    remark("");
    remark("   Warn: no consensus in database matches, do not use prediction.");
    remark("");
    remark("   Dyn:  RCI-S2 value indicates that residue has dynamic conformation.");
    remark("");
    if (header.hasReference) {
        remark("   Bad:  predictions with large deviation to reference PDB.");
        remark("");
    }
    addCitation(table);
    remark("");
    table.addRemark(std::string(versionRemark));
}

void addRow(GDB& table, const PhiPsiRow& row) {
    const auto set = [&](const char* column, const std::string& value) {
        table.setEntry(row.residue, column, value);
    };
    set("RESID", std::to_string(row.residue));
    set("RESNAME", row.name);
    set("PHI", realCell(row.phi));
    set("PSI", realCell(row.psi));
    set("DPHI", realCell(row.phiSpread));
    set("DPSI", realCell(row.psiSpread));
    set("DIST", realCell(row.distance));
    set("COUNT", std::to_string(row.count));
    set("CS_COUNT", std::to_string(row.shiftCount));
    set("S2", realCell(row.s2));
    set("CLASS", row.classWord);
}

}  // namespace

std::string phiPsiTable(const TableHeader& header, const std::map<int, PhiPsiRow>& rows) {
    GDB table;
    addRemarks(table, header);
    table.setData("FIRST_RESID", std::to_string(header.firstResid));
    table.setData("SEQUENCE", header.sequence);
    table.VARS_str_parser("RESID RESNAME PHI PSI DPHI DPSI DIST S2 COUNT CS_COUNT CLASS");
    table.FORMAT_str_parser(" %4d %s %8.3f %8.3f %8.3f %8.3f %8.3f %5.3f %2d %2d %s");
    for (const auto& [residue, row] : rows) {
        addRow(table, row);
    }
    return table.tableText();
}

}  // namespace orvix::summaries
