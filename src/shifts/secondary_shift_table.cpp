// The table of secondary shifts as text.
#include "shifts/secondary_shift_table.h"

#include "base/missing.h"
#include "run/citation.h"
#include "tables/cells.h"

namespace orvix::shifts {

std::string secondaryShiftTable(const GDB& working, const std::string& title) {
    GDB table = tables::headerOf(working);
    int number = 0;
    for (const auto& [from, row] : working.entries) {
        if (tables::shiftFromText(tables::cellOf(&row, "SHIFT")) < missingLimit) {
            table.entries[++number] = row;
        }
    }
    table.addRemark("ORVIX-N Protein Secondary Chemical Shift Table for " + title);
    for (const char* remark :
         {"", " SHIFT is secondary chemical shift", "", " CS_OBS is the original chemical shift",
          "", " CS_ADJ is the adjustment used to calculate SHIFT.", ""}) {
        table.addRemark(remark);
    }
    table.addRemark(std::string(versionRemark));
    return table.tableText();
}

}  // namespace orvix::shifts
