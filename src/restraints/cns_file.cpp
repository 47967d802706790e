#include <algorithm>
#include <iomanip>
#include <optional>
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

void writeAtoms(const RestraintFile& file, const DihedralRestraint& restraint, std::ostream& out) {
    const auto atoms = torsionAtoms(restraint, file.prediction.letter(restraint.residue));
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        out << (i == 0 ? "" : i == 2 ? "\n       " : " ");
        writeSelection(file, atoms[i], out);
    }
    out << "  " << energyConstant << ' ' << std::setw(8) << degreesText(restraint.centre) << ' '
        << std::setw(7) << degreesText(restraint.halfWidth) << ' ' << exponent << '\n';
}

void writeComment(const RestraintFile& file, const DihedralRestraint& restraint,
                  const std::string& more, std::ostream& out) {
    out << "\n! " << file.residueName(restraint.residue) << ' '
        << file.numberText(restraint.residue) << ' ' << torsionName(restraint.dihedral) << more
        << '\n';
}

/// An angle of two islands: a choice, or one interval over both where these touch.
void writeChoice(const RestraintFile& file, const AmbiguousRestraint& restraint,
                 DihedralRestraint IslandRestraint::*angle, std::ostream& out) {
    const DihedralRestraint& first = restraint.islands[0].*angle;
    const DihedralRestraint& second = restraint.islands[1].*angle;
    const std::string matches = std::to_string(restraint.islands[0].matches) + " and " +
                                std::to_string(restraint.islands[1].matches) + " matches";
    if (const std::optional<DihedralRestraint> both = joinedInterval(first, second)) {
        if (both->halfWidth < wholeCircle) {
            writeComment(file, *both, ", one interval over two islands of " + matches, out);
            out << "assign ";
            writeAtoms(file, *both, out);
        }
        return;
    }
    writeComment(file, first, ", either of two islands of " + matches, out);
    out << "assign ";
    writeAtoms(file, first, out);
    out << "    or ";
    writeAtoms(file, second, out);
}

}  // namespace

void writeCns(const RestraintFile& file, std::ostream& out) {
    for (const std::string& line : headLines(file)) {
        out << "! " << line << '\n';
    }
    for (const std::string& line : ambiguousLines(
             file,
             "An angle is in the one interval or (or) in the other, phi and psi each for itself; "
             "intervals that touch are joined")) {
        out << "! " << line << '\n';
    }
    out << "! Each statement: four atoms, energy constant, centre, half width, exponent\n"
        << "! Statements: " << file.set.restraints.size()
        << (file.set.ambiguous.empty() ? "" : " and those of the ambiguous residues") << "\n";
    for (const DihedralRestraint& restraint : file.set.restraints) {
        writeComment(file, restraint, "", out);
        out << "assign ";
        writeAtoms(file, restraint, out);
    }
    for (const AmbiguousRestraint& restraint : file.set.ambiguous) {
        writeChoice(file, restraint, &IslandRestraint::phi, out);
        writeChoice(file, restraint, &IslandRestraint::psi, out);
    }
}

}  // namespace orvix::restraints
