#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "import/import_report.h"

namespace orvix::importing {

/// How a shift file is to be read. The defaults suit a file with one protein.
struct ImportOptions {
    std::string format;             ///< one of `importFormats`; empty: found from the content
    std::string list;               ///< shift list, by number or frame name; empty: the fullest one
    std::string entity;             ///< entity (NEF: chain); empty: the only polypeptide
    std::string assembly;           ///< assembly member; empty: the one with most backbone shifts
    std::string numbering = "seq";  ///< "seq": place in the sequence; "auth": the authors' numbers
    std::string sequenceFile;       ///< FASTA or CYANA `.seq`; overrules the file's own sequence
    int maxAmbiguity = 0;           ///< rows with a higher ambiguity code are dropped; 0: none
    /// Added to the residue numbers of the rows; empty: found by the residue names where needed.
    std::optional<int> shiftNumbers;
};

/// One row of the input table.
struct ImportedShift {
    int residue = 0;          ///< in the numbering of the table
    std::string residueName;  ///< one letter
    std::string atom;         ///< N HN HA HA2 HA3 C CA CB
    std::string valueText;    ///< ppm, the digits of the file
    double value = 0.0;       ///< ppm
};

/// How the residue names of the rows fit the sequence that the table has.
struct NameFit {
    int fitting = 0;
    int compared = 0;  ///< residues with a known name on both sides
    std::string text;  ///< one line, which also tells how the rows were placed
};

/// A shift file as the run wants it.
struct ImportedTable {
    std::string title;     ///< may be empty; one line
    std::string format;    ///< the form that the file was read as
    std::string sequence;  ///< one letter a residue, numbered on from `firstResidue`
    int firstResidue = 1;
    std::vector<ImportedShift> shifts;        ///< by residue, then N HA HA2 HA3 C CA CB HN
    std::map<int, std::string> authorNumber;  ///< table number to the authors', where known
    NameFit fit;
    ImportReport report;
};

/// Names of the forms that can be read, as `ImportOptions::format` takes them.
const std::vector<std::string>& importFormats();

/// Reads a shift file, plain or gzip, of any known form. Throws InputRejected for a file that can't
/// be read, has an unknown form or no usable shift, and for options that name nothing in it.
ImportedTable importShifts(const std::string& path, const ImportOptions& options);

/// The same for a text that `readShiftText` has read; `path` is its name in messages and the place
/// where a sequence file is looked for.
ImportedTable importShiftText(const std::string& text, const std::string& path,
                              const ImportOptions& options);

/// Looks through an input table of `orvixn`: rows with a word too many or too few, atoms given
/// twice, an end within a line. Throws InputRejected for a shift with a decimal comma, which a run
/// would cut off at the comma.
ImportReport lookAtShiftTable(std::string_view text, const std::string& path);

/// True for a text that is an input table of `orvixn`.
bool isShiftTableText(std::string_view text);

/// True for a file that already is an input table of `orvixn`. False for one that can't be read.
bool isShiftTable(const std::string& path);

/// Writes the input table of `orvixn`.
void writeShiftTable(const ImportedTable& table, std::ostream& out);

/// Writes the report as text; see `ImportReport::write` for the limit.
void writeImportReport(const ImportedTable& table, std::ostream& out, std::size_t itemLimit = 0);

}  // namespace orvix::importing
