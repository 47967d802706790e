#include <iomanip>
#include <ostream>

#include "restraints/restraint_file.h"

namespace orvix::restraints {

void writeCyana(const RestraintFile& file, std::ostream& out) {
    for (const std::string& line : headLines(file)) {
        out << "# " << line << '\n';
    }
    for (const std::string& line : ambiguousLines(
             file, "None of them is restrained here: the format holds no alternatives")) {
        out << "# " << line << '\n';
    }
    out << "# Limits are a continuous pair: one of them may lie beyond 180 degrees\n";
    for (const DihedralRestraint& restraint : file.set.restraints) {
        out << std::right << std::setw(4) << file.numberText(restraint.residue) << ' ' << std::left
            << std::setw(5) << file.residueName(restraint.residue) << ' ' << std::setw(5)
            << torsionName(restraint.dihedral) << std::right << ' ' << std::setw(9)
            << degreesText(restraint.lower()) << ' ' << std::setw(9)
            << degreesText(restraint.upper()) << '\n';
    }
}

}  // namespace orvix::restraints
