#include <algorithm>
#include <iomanip>
#include <ostream>

#include "restraints/restraint_file.h"

namespace orvix::restraints {

namespace {

/// Energy constant in kcal/mol/rad^2; the exponent gives a parabola outside the interval.
constexpr const char* energyConstant = "1.0";
constexpr const char* exponent = "2";
/// A segment identifier has four columns.
constexpr std::size_t segmentWidth = 4;

void writeSelection(const RestraintFile& file, const TorsionAtom& atom, std::ostream& out) {
    out << '(';
    if (!file.segment.empty()) {
        std::string segment = file.segment;
        segment.resize(std::max(segment.size(), segmentWidth), ' ');
        out << "segid \"" << segment << "\" and ";
    }
    out << "resid " << std::right << std::setw(4) << file.numberText(atom.residue) << " and name "
        << std::left << std::setw(3) << atom.name << std::right << ')';
}

}  // namespace

void writeCns(const RestraintFile& file, std::ostream& out) {
    for (const std::string& line : headLines(file)) {
        out << "! " << line << '\n';
    }
    out << "! Each statement: four atoms, energy constant, centre, half width, exponent\n"
        << "! Statements: " << file.set.restraints.size() << '\n';
    for (const DihedralRestraint& restraint : file.set.restraints) {
        const char letter = file.prediction.letter(restraint.residue);
        const auto atoms = torsionAtoms(restraint, letter);
        out << "\n! " << file.residueName(restraint.residue) << ' '
            << file.numberText(restraint.residue) << ' ' << torsionName(restraint.dihedral)
            << "\nassign ";
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            out << (i == 0 ? "" : i == 2 ? "\n       " : " ");
            writeSelection(file, atoms[i], out);
        }
        out << "  " << energyConstant << ' ' << std::setw(8) << degreesText(restraint.centre) << ' '
            << std::setw(7) << degreesText(restraint.halfWidth) << ' ' << exponent << '\n';
    }
}

}  // namespace orvix::restraints
