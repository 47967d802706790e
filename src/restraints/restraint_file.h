#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "restraints/dihedral_restraint.h"
#include "restraints/restraint_names.h"
#include "results/finished_prediction.h"

namespace orvix::restraints {

enum class RestraintFormat { cyana, cns, nef, nmrStar };

/// Which numbers stand in a file.
enum class Numbering { table, author };

/// All that goes into a restraint file.
struct RestraintFile {
    results::FinishedPrediction prediction;
    std::string source;  ///< path of its results file
    RestraintRules rules;
    RestraintSet set;
    RestraintNames names;
    Numbering numbering = Numbering::table;
    std::string segment;      ///< CNS segment identifier; empty for none
    std::string chain = "A";  ///< NEF chain code, NMR-STAR author chain
    std::string version;      ///< of this program
    std::string created;      ///< time of writing, UTC, as 2026-01-31T12:00:00

    /// Residue number as it stands in the file. Throws InputRejected when the author's numbers are
    /// asked for and there is none for the residue.
    std::string numberText(int residue) const;
    /// Author's number, or the table's where there is none.
    std::string authorText(int residue) const;
    std::string residueName(int residue) const;
};

/// What the head of every file says: program, source, classes, rule of the intervals, numbering.
std::vector<std::string> headLines(const RestraintFile& file);

/// How the head says the rule of `RestraintRules::ambiguous`, and what the format makes of it in
/// `meaning`; empty without the rule.
std::vector<std::string> ambiguousLines(const RestraintFile& file, const std::string& meaning);

/// `text` in printable 7-bit ASCII; anything else becomes "?".
std::string asciiText(const std::string& text);

/// CYANA torsion angle restraints: number, name, angle, lower and upper limit.
void writeCyana(const RestraintFile& file, std::ostream& out);
/// CNS and Xplor dihedral assign statements: centre and half width.
void writeCns(const RestraintFile& file, std::ostream& out);
/// NEF 1.1: meta data, molecular system, the shifts used, and the restraints.
void writeNef(const RestraintFile& file, std::ostream& out);
/// NMR-STAR 3.2: entry, software, assembly, entity and the restraints.
void writeNmrStar(const RestraintFile& file, std::ostream& out);

/// Throws InputRejected when the numbers asked for don't serve the format: none for a residue, one
/// for two residues, or one with letters where the format takes integers.
void checkNumbering(const RestraintFile& file, RestraintFormat format);

}  // namespace orvix::restraints
