#pragma once

#include <cstdio>
#include <string>

#include "structure/pdb.h"
#include "support/temporary.h"

/// One atom record in the fixed columns, 66 of them.
inline std::string atomLine(int serial, const std::string& name, const std::string& residue,
                            int number, double x, double y, double z,
                            const std::string& record = "ATOM") {
    char line[120];
    std::snprintf(line, sizeof line, "%-6s%5d %-4s %-3s A%4d    %8.3f%8.3f%8.3f%6.2f%6.2f",
                  record.c_str(), serial, name.c_str(), residue.c_str(), number, x, y, z, 1.0,
                  12.5);
    return line;
}

/// A structure read from `text`.
inline PDB readStructure(const std::string& text) {
    return PDB(orvix::test::TemporaryFile(text).path());
}
