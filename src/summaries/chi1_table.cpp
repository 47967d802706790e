// The chi1 table as text.
#include "run/citation.h"
#include "summaries/result_cells.h"
#include "summaries/result_tables.h"
#include "tables/gdb.h"

namespace orvix::summaries {
namespace {

void addRemarks(GDB& table, const TableHeader& header) {
    const auto remark = [&table](const char* text) { table.addRemark(text); };
    remark("ORVIX-N Protein Chi1 Conformation Prediction Table");
    table.addRemark(" Prediction Summary for Chemical Shift Input " + header.inTitle);
    if (header.hasReference) {
        table.addRemark(" Predictions Compared to PDB Input " + header.refTitle);
    }
    remark("");
    remark(" Q_Gm is the probability to be with a g- (gauche-) rotamer.");
    remark(" Q_Gp is the probability to be with a g+ (gauche+) rotamer.");
    remark(" Q_t  is the probability to be with a t  (trans)   rotamer.");
    remark("");
    remark(" CS_COUNT is the number of chemical shifts in the query triplets");
    remark(" used to predict chi1 conformation.");
    remark("");
    remark(" CLASS is the classification of the prediction result:");
    remark("   na: no chi1 prediction was made.");
    remark("   g-/g+/t: 3-state chi1 prediction");
    remark("");
    addCitation(table);
    remark("");
    table.addRemark(std::string(versionRemark));
}

void addRow(GDB& table, const Chi1Row& row, bool hasReference) {
    const auto set = [&](const char* column, const std::string& value) {
        table.setEntry(row.residue, column, value);
    };
    set("RESID", std::to_string(row.residue));
    set("RESNAME", row.name);
    set("CS_COUNT", std::to_string(row.shiftCount));
    if (hasReference) {
        set("CHI1_OBS", realCell(row.observed));
    }
    set("Q_Gm", realCell(static_cast<double>(row.prediction.gaucheMinus)));
    set("Q_Gp", realCell(static_cast<double>(row.prediction.gauchePlus)));
    set("Q_T", realCell(static_cast<double>(row.prediction.trans)));
    set("CLASS", std::string(row.prediction.word));
    const bool known = row.prediction.word != "na";
    set("CHI1", known ? realCell(row.chi1) : "9999.0");
    set("DCHI1", known ? realCell(row.spread) : "9999.0");
}

}  // namespace

std::string chi1Table(const TableHeader& header, const std::map<int, Chi1Row>& rows) {
    GDB table;
    addRemarks(table, header);
    if (header.hasReference) {
        table.VARS_str_parser("RESID RESNAME CS_COUNT CHI1_OBS  Q_Gm Q_Gp Q_T  CLASS CHI1 DCHI1");
        table.FORMAT_str_parser(" %4d %s %2d %8.3f %5.3f %5.3f %5.3f  %-2s %6.1f %6.1f");
    } else {
        table.VARS_str_parser("RESID RESNAME CS_COUNT Q_Gm Q_Gp Q_T  CLASS CHI1 DCHI1");
        table.FORMAT_str_parser(" %4d %s %2d %5.3f %5.3f %5.3f  %-2s %6.1f %6.1f");
    }
    for (const auto& [residue, row] : rows) {
        addRow(table, row, header.hasReference);
    }
    return table.tableText();
}

}  // namespace orvix::summaries
