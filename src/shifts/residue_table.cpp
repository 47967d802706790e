#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/run_end.h"
#include "base/statistics.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "run/prediction.h"
#include "shifts/residue_numbers.h"
#include "structure/pdb.h"
#include "tables/cells.h"

namespace {

using orvix::missingLimit;
using orvix::missingValue;
using orvix::tables::cellOf;
using orvix::tables::shiftFromText;
using orvix::tables::shiftText;

constexpr double oxidisedFrom = 34.0;  // ppm, CB of a cysteine
constexpr int toleratedMismatches = 4;

bool isCysteine(const std::string& letter) {
    return letter == "c" || letter == "C";
}

/// One-letter name of a RESNAME cell; any other text as it is.
std::string letterOf(const std::string& name) {
    return name.size() == 3 ? PDB::getOneAAName(name) : name;
}

/// First row of each residue and atom of the input table.
class InputRows {
  public:
    explicit InputRows(const GDB& table) {
        for (const auto& [number, row] : table.entries) {
            atoms_[cellOf(&row, "RESID")].emplace(cellOf(&row, "ATOMNAME"), &row);
        }
    }
    /// Null for none; the number is compared as text, so "007" is not residue 7.
    const GDB::Entry* find(int residue, const std::string& atom) const {
        const std::string number = std::to_string(residue);
        const auto rows = atoms_.find(number);
        if (rows == atoms_.end()) {
            return nullptr;
        }
        const auto row = rows->second.find(atom);
        return row == rows->second.end() ? nullptr : row->second;
    }

  private:
    using ByAtom = std::unordered_map<std::string_view, const GDB::Entry*>;
    std::unordered_map<std::string_view, ByAtom> atoms_;
};

/// The reference shifts of residues: random coil values adjusted for the residue itself, its two
/// neighbours and, on demand, deuterium.
class ReferenceShifts {
  public:
    explicit ReferenceShifts(const ORVIX& run)
        : run_(run),
          randomCoil_(run.randCoilTable, "RESNAME"),
          own_(run.rcAdjTable, "RESNAME"),
          previous_(run.rcPrevTable, "RESNAME"),
          next_(run.rcNextTable, "RESNAME") {}

    double value(const std::string& name, const std::string& prev, const std::string& next,
                 const std::string& atom) const {
        double reference =
            cell(randomCoil_.find(name), atom, missingValue) + cell(own_.find(name), atom, 0.0) +
            cell(previous_.find(prev), atom, 0.0) + cell(next_.find(next), atom, 0.0);
        if (run_.isoCorrect && (atom == "CA" || atom == "CB")) {
            reference += isotope(name, atom);
        }
        return reference;
    }

  private:
    static double cell(const GDB::Entry* row, const std::string& atom, double withoutRow) {
        return row == nullptr ? withoutRow : shiftFromText(cellOf(row, atom));
    }
    double isotope(const std::string& name, const std::string& atom) const {
        const auto residue = run_.isoAdj.find(name);
        if (residue == run_.isoAdj.end()) {
            return 0.0;
        }
        const auto correction = residue->second.find(atom);
        return correction == residue->second.end() ? 0.0 : correction->second;
    }

    const ORVIX& run_;
    orvix::tables::RowsByText randomCoil_, own_, previous_, next_;
};

void startWorkingTable(ORVIX& run) {
    run.adjCSTable = orvix::tables::headerOf(run.inTable);
    run.adjCSTable.addVAR("CS_OBS", " %9.3f");
    run.adjCSTable.addVAR("CS_ADJ", " %9.3f");
}

void takeSequence(ORVIX& run) {
    run.seqFirstResid = run.inTable.firstResid;
    run.seq = run.inTable.residList;
    run.seqOrig = run.inTable.residList;
    run.seqLength = static_cast<int>(run.seq.size());
    for (const auto& [residue, letter] : run.seq) {
        run.missingCount[residue] = 6;
    }
}

[[noreturn]] void refuse(const std::string& words, const char* tail = ", exit ...") {
    throw orvix::RunEnd(orvix::EndReason::input, -1, " " + words + tail + "\n", words);
}

void requireInput(const ORVIX& run) {
    if (run.seqLength == 0) {
        refuse("A full amino acid sequence is required in the DATA SEQUENCE header");
    }
    if (run.inTable.varsCount == 0 || run.inTable.vars.empty()) {
        refuse("No entry found in the VARS header");
    }
    if (run.inTable.entries.empty()) {
        refuse("No chemical shift data found in file " + run.inFile, "");
    }
    for (const char* column : {"RESID", "RESNAME", "ATOMNAME", "SHIFT"}) {
        const auto& vars = run.inTable.vars;
        if (std::none_of(vars.begin(), vars.end(),
                         [column](const auto& var) { return var.second == column; })) {
            refuse(std::string("No column ") + column + " found in the VARS header");
        }
    }
    orvix::shifts::requireResidueNumbers(run.seqFirstResid, run.seq.begin()->first,
                                         run.seq.rbegin()->first);
}

/// The CB shift decides on the state of a cysteine, whatever state the table or sequence names.
void assignCysteineStates(ORVIX& run) {
    for (const auto& [number, row] : run.inTable.entries) {
        if (cellOf(&row, "ATOMNAME") != "CB" || !isCysteine(letterOf(cellOf(&row, "RESNAME")))) {
            continue;
        }
        const auto residue = run.seq.find(orvix::textToInt(cellOf(&row, "RESID")));
        if (residue != run.seq.end() && isCysteine(residue->second)) {
            const double shift = shiftFromText(cellOf(&row, "SHIFT"));
            residue->second = shift >= oxidisedFrom ? "c" : "C";
        }
    }
}

/// Compares the residue names of the rows with the sequence and notes the range they cover.
void checkSequence(ORVIX& run) {
    run.firstCSResid = 999;
    run.lastCSResid = -999;
    int mismatches = 0;
    for (const auto& [number, row] : run.inTable.entries) {
        const int residue = orvix::textToInt(cellOf(&row, "RESID"));
        run.firstCSResid = std::min(run.firstCSResid, residue);
        run.lastCSResid = std::max(run.lastCSResid, residue);

        const std::string& letter = run.seqName(residue);
        std::string name = letterOf(cellOf(&row, "RESNAME"));
        const char first = name.empty() ? '\0' : name[0];
        if (!(first >= 'A' && first <= 'Y') &&
            std::string_view("cph?").find(first) == std::string_view::npos) {
            name.assign(1, 'X');
        }
        if (!run.noOxiCysCheck && (isCysteine(letter) || isCysteine(name))) {
            name = letter;
        }
        if (name != letter) {
            orvix::err() << "WARNING: Residue Type Mismatch: Residue " << residue
                         << " SEQUENCE: " << letter
                         << " Chemical Shift Table: " << cellOf(&row, "RESNAME") << ".\n";
            run.shiftFindings.mismatches.push_back({residue, letter, cellOf(&row, "RESNAME")});
            ++mismatches;
        }
    }
    if (mismatches > toleratedMismatches) {
        orvix::err() << "Format Errors: Too Many Sequence Mismatches: " << mismatches << ", "
                     << toleratedMismatches + 1 << " Max.\n";
    }
}

void narrowRange(ORVIX& run) {
    const long long sequenceEnd = static_cast<long long>(run.seqFirstResid) + run.seqLength - 1;
    if (run.lastCSResid < sequenceEnd) {
        ++run.lastCSResid;
    }
    for (int* end : {&run.firstResid, &run.lastResid}) {
        *end = std::max(*end, run.firstCSResid);
        *end = std::min(*end, run.lastCSResid);
    }
    if (run.firstResid > run.lastResid) {
        std::swap(run.firstResid, run.lastResid);
    }
    const long long width = static_cast<long long>(run.lastResid) - run.firstResid + 1;
    if (width > orvix::shifts::widestRange || run.firstResid < -orvix::shifts::highestNumber ||
        run.lastResid > orvix::shifts::highestNumber) {
        refuse("Residue range " + std::to_string(run.firstResid) + " to " +
               std::to_string(run.lastResid) + " is too large, at most " +
               std::to_string(orvix::shifts::widestRange) + " residues");
    }
}

/// One row of the working table with its place in `shiftMatrix`.
struct AtomRow {
    GDB::Entry cells;
    double secondary = missingValue;  ///< shift minus reference, 9999.0 for none
};

/// `shift` minus `reference`; 9999.0 without a reference.
double secondaryShift(double shift, double reference) {
    return reference < missingLimit ? shift - reference : missingValue;
}

AtomRow foundRow(const GDB::Entry& input, double reference) {
    AtomRow row{input};
    const double shift = shiftFromText(cellOf(&input, "SHIFT"));
    row.secondary = secondaryShift(shift, reference);
    row.cells["SHIFT"] = shiftText(row.secondary);
    row.cells["CS_OBS"] = shiftText(shift);
    row.cells["CS_ADJ"] = shiftText(reference);
    return row;
}

AtomRow emptyRow(int residue, const std::string& name, const std::string& atom) {
    AtomRow row;
    row.cells = {{"RESID", std::to_string(residue)},
                 {"RESNAME", name},
                 {"ATOMNAME", atom},
                 {"SHIFT", "9999"}};
    return row;
}

/// Turns the HA row of a glycine into the mean of its two alpha protons, or the one there is. A row
/// with the plain name HA has no say in the shift. False when there is no shift.
bool mergeGlycineProtons(const InputRows& rows, int residue, double reference, AtomRow& row) {
    const GDB::Entry* ha2 = rows.find(residue, "HA2");
    const GDB::Entry* ha3 = rows.find(residue, "HA3");
    const double shift2 = ha2 == nullptr ? missingValue : shiftFromText(cellOf(ha2, "SHIFT"));
    const double shift3 = ha3 == nullptr ? missingValue : shiftFromText(cellOf(ha3, "SHIFT"));
    double shift = missingValue;
    if (shift2 < missingLimit && shift3 < missingLimit) {
        shift = (shift2 + shift3) * 0.5;
    } else if (shift2 < missingLimit) {
        shift = shift2;
    } else if (shift3 < missingLimit) {
        shift = shift3;
    }
    if (ha2 != nullptr) {
        row.cells = *ha2;
    } else if (ha3 != nullptr) {
        row.cells = *ha3;
    }
    row.secondary = secondaryShift(shift, reference);
    row.cells["ATOMNAME"] = "HA";
    row.cells["SHIFT"] = shiftText(reference < missingLimit ? row.secondary : shift);
    row.cells["CS_OBS"] = shiftText(shift);
    row.cells["CS_ADJ"] = shiftText(reference);
    return shift < missingLimit;
}

/// Fills the working table, `shiftMatrix`, `secShift` and `missingCount` for one residue.
void prepareResidue(ORVIX& run, const InputRows& rows, const ReferenceShifts& references,
                    int residue, int& tableRow) {
    const std::string& name = run.seqName(residue);
    const std::string none;
    const std::string& prev = residue > run.seqFirstResid ? run.seqName(residue - 1) : none;
    const std::string& next = residue < run.seq.rbegin()->first ? run.seqName(residue + 1) : none;
    run.seqChar[residue] = name.empty() ? '\0' : name[0];

    int missing = 0;
    for (const auto& [key, atom] : run.atomNames) {
        const double reference = references.value(name, prev, next, atom);
        const GDB::Entry* input = rows.find(residue, atom);
        if (input == nullptr && atom == "HN") {
            input = rows.find(residue, "H");
        }
        AtomRow row =
            input != nullptr ? foundRow(*input, reference) : emptyRow(residue, name, atom);
        bool present = input != nullptr;
        if (name == "G" && atom == "HA") {
            present = mergeGlycineProtons(rows, residue, reference, row);
        }
        if (run.noProton && (atom == "HA" || atom == "HN")) {
            present = false;
        }
        missing += present ? 0 : 1;

        run.shiftMatrix[residue - run.firstResid][key - 1] = row.secondary;
        run.secShift[residue][atom] = reference;
        run.adjCSTable.entries[++tableRow] = std::move(row.cells);
    }
    run.missingCount[residue] = missing;
}

/// Takes the estimated referencing offsets off the shifts of the working table.
void applyOffsets(ORVIX& run) {
    const auto offsetOf = [&run](const std::string& atom) {
        const auto offset = run.shiftOffset.find(atom);
        return offset == run.shiftOffset.end() ? 0.0 : offset->second;
    };
    for (auto& [number, row] : run.adjCSTable.entries) {
        const std::string& name = cellOf(&row, "ATOMNAME");
        const bool isAlpha = name == "HA1" || name == "HA2" || name == "HA3";
        const double offset = offsetOf(isAlpha ? "HA" : name);
        const double shift = shiftFromText(cellOf(&row, "SHIFT"));
        if (offset != 0.0 && shift < missingLimit) {
            row["SHIFT"] = shiftText(shift - offset);
        }
    }
    const std::pair<const char*, const char*> nuclei[] = {
        {"CA", "13Ca and 13Cb"}, {"HA", "1Ha"}, {"C", "13C'"}};
    for (const auto& [atom, words] : nuclei) {
        const double offset = offsetOf(atom);
        if (offset == 0.0) {
            continue;
        }
        char text[400];
        std::snprintf(text, sizeof text,
                      " %6.3f ppm referencing offset applied for %s chemical shifts", offset,
                      words);
        run.adjCSTable.addRemark(text);
        orvix::err() << text << "\n";
    }
}

}  // namespace

void ORVIX::prepareShifts() {
    startWorkingTable(*this);
    takeSequence(*this);
    requireInput(*this);
    // One place past either end of the chain counts as a residue without shifts.
    missingCount[seqFirstResid - 1] = 6;
    missingCount[seq.rbegin()->first + 1] = 6;

    if (!noOxiCysCheck) {
        assignCysteineStates(*this);
    }
    checkSequence(*this);
    narrowRange(*this);

    provideShiftMatrix(static_cast<std::size_t>(lastResid - firstResid) + 1);
    const InputRows rows(inTable);
    const ReferenceShifts references(*this);
    int tableRow = 0;
    for (int residue = firstResid; residue <= lastResid; ++residue) {
        prepareResidue(*this, rows, references, residue, tableRow);
    }
    if (isoCorrect) {
        adjCSTable.addRemark(
            " Deuterium Isotope Shifts Correction Applied for 13Ca and 13Cb Nuclei");
    }
    checkCS();
    if (offsetCorrect) {
        applyOffsets(*this);
    }
}

void ORVIX::getResInfo() {
    prepareShifts();
    writeTable(orvix::ResultTable::secondaryShifts);
    if (checkOnly) {
        throw orvix::RunEnd(orvix::EndReason::complete, -1, "", "the shifts are checked");
    }
}
