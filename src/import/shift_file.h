#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "import/import_report.h"
#include "import/shift_import.h"

namespace orvix::importing {

/// One shift as its file has it. Texts that the file doesn't give are empty.
struct ShiftRow {
    int line = 0;
    std::string list;
    std::string entity;
    std::string assembly;
    std::string number;        ///< residue number that addresses the sequence
    std::string authorNumber;  ///< the authors' residue number
    std::string residueName;   ///< as in the file, one or more letters
    std::string atom;
    std::string value;
    std::string ambiguity;
};

/// One residue of a sequence.
struct SequenceResidue {
    std::string name;          ///< one letter or a longer name
    std::string number;        ///< residue number in rows
    std::string authorNumber;  ///< may be empty
};

/// A molecule of the file.
struct ShiftEntity {
    enum class Kind { unknown, polypeptide, other };

    std::string id;
    std::string name;
    std::vector<std::string> aliases;  ///< other words that rows may name it by
    Kind kind = Kind::unknown;
    std::vector<SequenceResidue> residues;
    /// The rows' numbers are known to be those of `residues`; else they are aligned by name.
    bool numbered = true;
};

/// A list of shifts: one set of conditions, or one frame.
struct ShiftList {
    std::string id;
    std::string name;
    std::string conditions;
};

/// A non-standard residue whose parent the file itself names.
struct ResidueParent {
    std::string name;
    std::string parent;
};

/// What a reader finds in a shift file, before any choice is made and with every row.
struct ShiftFile {
    std::string path;
    std::string format;
    std::string title;
    std::vector<ShiftList> lists;
    std::vector<ShiftEntity> entities;
    std::vector<ResidueParent> parents;
    std::vector<ShiftRow> rows;
    ImportReport report;
};

// One reader for each form. They throw InputRejected for what they can't read.
ShiftFile readNmrStar3(std::string_view text, const std::string& path);
ShiftFile readNmrStar21(std::string_view text, const std::string& path);
ShiftFile readNef(std::string_view text, const std::string& path);
ShiftFile readXeasy(std::string_view text, const std::string& path);
ShiftFile readSparky(std::string_view text, const std::string& path);
ShiftFile readCsv(std::string_view text, const std::string& path);
ShiftFile readRows(std::string_view text, const std::string& path);
ShiftFile readNmrView(std::string_view text, const std::string& path);

/// Whether a line is a row of a list without a header, or of an NMRView list.
bool isListRow(const std::vector<std::string_view>& words);
bool isNmrViewRow(const std::vector<std::string_view>& words);

/// What keeps a text with the header of an input table from being one, in words; empty for a text
/// without such a header.
std::string nameBrokenTable(std::string_view text);

/// What a text that has none of the forms is instead, in words; empty when that isn't known.
std::string nameWrongForm(std::string_view text);

/// Warns when the last line of a list has no line end, and fewer fields than the one before or
/// fewer decimals in its last number than all others. A blank as `separator` stands for white
/// space.
void warnOfCutLine(std::string_view text, ImportReport& report, char separator = ' ');

/// Takes the sequence from the CYANA `.seq` beside a list: of the same stem, or the only one there
/// if the residues of the rows fit it.
void readSequenceBeside(ShiftFile& file);

/// The form of a text, one of `importFormats`, or nothing.
std::string findFormat(std::string_view text);

/// Reads a sequence, FASTA or a list of residue names with or without numbers.
ShiftEntity readSequenceFile(const std::string& path, ImportReport& report);

/// A row in one line of a report: place, residue, atom, value, and the list, entity and member that
/// it belongs to where the file has those.
std::string describe(const ShiftRow& row);

/// Makes the choices, the numbering and the names: the table that a run reads.
ImportedTable buildShiftTable(ShiftFile file, const ImportOptions& options);

}  // namespace orvix::importing
