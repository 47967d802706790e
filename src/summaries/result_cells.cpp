#include "summaries/result_cells.h"

#include <cstdio>

#include "run/citation.h"
#include "tables/gdb.h"

namespace orvix::summaries {

std::string realCell(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.6lg", value);
    return text;
}

std::string fixedCell(double value) {
    // A float at its largest has 39 digits in front of the point.
    char text[340];
    std::snprintf(text, sizeof text, "%.6lf", value);
    return text;
}

void addCitation(GDB& table) {
    table.addRemark("Reference:");
    for (std::string_view line : citation) {
        table.addRemark(std::string(line));
    }
}

}  // namespace orvix::summaries
