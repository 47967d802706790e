#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "base/messages.h"
#include "run/settings.h"
#include "shifts/shift_findings.h"
#include "summaries/result_rows.h"
#include "tables/gdb.h"

namespace orvix {

/// Everything that a run found out about one protein, as plain values. Residues are keyed by their
/// number in the input table; angles in degrees, shifts in ppm, 9999.0 for a missing one.
struct Prediction {
    Settings settings;      ///< as used, with all paths filled in
    std::string inputName;  ///< of the input table

    int tableFirstResid = 1;                      ///< FIRST_RESID of the input table
    std::string tableSequence;                    ///< its SEQUENCE lines as written
    int seqFirstResid = 1;                        ///< number of the first sequence letter
    int seqLength = 0;                            ///< sequence letters
    std::map<int, std::string> sequence;          ///< letter, cysteine state applied
    std::map<int, std::string> sequenceAsRead;    ///< letter as read
    int firstResid = 0, lastResid = 0;            ///< residues worked on
    int firstShiftResid = 0, lastShiftResid = 0;  ///< residues with shift rows
    std::map<int, int> missingCount;              ///< shifts missing of the six
    bool hasReference = false;                    ///< compared with a known structure

    GDB shiftTable;                             ///< working table of secondary shifts, all rows
    shifts::ShiftFindings findings;             ///< outliers, offsets, mismatches
    std::map<std::string, double> shiftOffset;  ///< atom -> accepted referencing offset
    /// Residue -> atom -> what its secondary shift is counted from, for the residues worked on.
    std::map<int, std::map<std::string, double>> referenceShifts;

    std::map<int, summaries::MapRow> maps;             ///< phi/psi maps with their clusters
    std::map<int, summaries::StructureRow> structure;  ///< secondary structure
    std::map<int, summaries::OrderRow> order;          ///< order parameters
    std::map<int, summaries::PhiPsiRow> phiPsi;        ///< torsion angles
    std::map<int, summaries::Chi1Row> chi1;            ///< rotamers
    std::vector<summaries::MatchRow> matches;          ///< database matches

    std::vector<Message> messages;  ///< all that the run had to say, in order

    /// The letter of a residue as tables show it: as read if it is one character, else "?".
    std::string label(int residue) const;
    /// Shifts missing at a residue; 0 where nothing was counted.
    int missingAt(int residue) const;
};

/// The result tables, in the order in which a run ends them.
enum class ResultTable : int { secondaryShifts, maps, structure, order, phiPsi, chi1, matches };
inline constexpr std::array<ResultTable, 7> resultTables = {
    ResultTable::secondaryShifts, ResultTable::maps, ResultTable::structure, ResultTable::order,
    ResultTable::phiPsi,          ResultTable::chi1, ResultTable::matches};

/// File name of a table for the default summary table: pred.tab, predAdjCS.tab, predABP.tab,
/// predSS.tab, predS2.tab, predChi1.tab, predAll.tab.
std::string tableFileName(ResultTable table);
/// The table as text, byte for byte what the program writes.
std::string tableText(const Prediction& prediction, ResultTable table);

}  // namespace orvix
