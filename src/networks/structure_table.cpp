// The tables of secondary structure as text.
#include "networks/structure_table.h"

#include <cstdio>
#include <string_view>

#include "networks/secondary_structure.h"
#include "run/citation.h"

namespace orvix::networks {
namespace {

std::string remarks(const summaries::TableHeader& header) {
    std::string text = "REMARK Secondary Structure Prediction for Chemical Shift Input " +
                       header.inTitle +
                       "\n \n"
                       "REMARK     H-Helix    E-Strand   L-Coil (Chemical shift based)\n"
                       "REMARK     h-Helix    e-Strand   c-Coil (Sequence based)\n"
                       " \n"
                       "REMARK Reference:\n";
    for (std::string_view line : citation) {
        text += "REMARK ";
        text.append(line) += '\n';
    }
    text += " \nDATA FIRST_RESID " + std::to_string(header.firstResid) + "\n \n";
    return text;
}

void appendRow(std::string& text, const summaries::StructureRow& row) {
    char line[1200];
    std::snprintf(line, sizeof line, " %4d %1s %2d %2d %8.3f %8.3f %8.3f %4.2f %s\n", row.residue,
                  row.name.c_str(), row.shiftCount, row.ownShiftCount, row.helix, row.strand,
                  row.coil, row.confidence, row.letter.c_str());
    text += line;
}

}  // namespace

std::string structureTable(const summaries::TableHeader& header,
                           const std::map<int, summaries::StructureRow>& rows) {
    ClassBlocks blocks("");
    std::string lines;
    for (const auto& [residue, row] : rows) {
        blocks.add(row.state, row.letter, row.confidence);
        if (row.listed) {
            appendRow(lines, row);
        }
    }
    return remarks(header) + blocks.finish() +
           "VARS RESID RESNAME CS_CNT CS_CNT_R2 Q_H Q_E Q_L CONFIDENCE SS_CLASS\n"
           "FORMAT %4d %1s %2d %2d %8.3f %8.3f %8.3f %4.2f %s\n\n" +
           lines;
}

std::string sequenceStructureTable(const std::string& title, int firstResid,
                                   const std::map<int, summaries::StructureRow>& rows) {
    ClassBlocks blocks("\n");
    std::string lines;
    for (const auto& [residue, row] : rows) {
        blocks.add(row.state, row.letter, row.confidence);
        char line[1200];
        std::snprintf(line, sizeof line, " %4d %1s %8.3f %8.3f %8.3f %4.2f %s\n", row.residue,
                      row.name.c_str(), row.helix, row.strand, row.coil, row.confidence,
                      row.letter.c_str());
        lines += line;
    }
    return "REMARK  Neural network secondary structure prediction for " + title +
           "\nREMARK  Predictions using amino acid sequence alone\n"
           "REMARK     h-Helix    e-Strand   c-Coil \n\n"
           "DATA FIRST_RESID " +
           std::to_string(firstResid) + "\n\n" + blocks.finish() +
           "VARS RESID RESNAME Q_H Q_E Q_L CONFIDENCE SS_CLASS\n"
           "FORMAT %4d %1s %8.3f %8.3f %8.3f %4.2f %s\n\n" +
           lines;
}

}  // namespace orvix::networks
