// The order parameter table as text.
#include "order/order_table.h"

#include <cstdio>

namespace orvix::order {

std::string orderTable(const std::string& title, const std::map<int, summaries::OrderRow>& rows) {
    std::string text = "REMARK  Predicted order parameter (S2) from backbone chemical shifts for " +
                       title +
                       "\n"
                       "REMARK    from Ivar Halvorn's RCI method, JACS, 127(43), 14970-14971\n"
                       "\n"
                       "VARS RESID RESNAME CS_CNT CS_CNT_R2 S2 \n"
                       "FORMAT %4d %1s %2d %2d %8.3f \n"
                       "\n";
    for (const auto& [residue, row] : rows) {
        char line[400];
        std::snprintf(line, sizeof line, " %4d %1s %2d %2d %8.3f\n", residue, row.name.c_str(),
                      row.shiftCount, row.ownShiftCount, row.s2);
        text += line;
    }
    return text;
}

}  // namespace orvix::order
