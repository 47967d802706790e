#include "results/gather.h"

#include <cmath>
#include <cstdio>
#include <set>
#include <span>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/statistics.h"
#include "base/text.h"
#include "base/version.h"
#include "run/prediction.h"
#include "summaries/result_cells.h"
#include "tables/cell_format.h"
#include "tables/cells.h"

namespace orvix::results {
namespace {

bool isKnown(double value) {
    return value < missingLimit;
}

/// A value of the summary, chi1 or match table, which go through the text of a cell; none for
/// missing.
std::optional<double> cellNumber(double value, int decimals) {
    return isKnown(value) ? printedNumber(textToDouble(summaries::realCell(value)), decimals)
                          : std::nullopt;
}

/// The print format of a column.
tables::CellFormat formatOf(const GDB& table, const std::string& column) {
    for (const auto& [index, name] : table.vars) {
        const auto spec = table.formats.find(index);
        if (name == column && spec != table.formats.end()) {
            return tables::CellFormat(spec->second);
        }
    }
    return tables::CellFormat("");
}

/// A shift of the table of secondary shifts in the digits that it is printed with.
std::optional<double> shiftOf(const tables::CellFormat& format, const std::string& cell) {
    if (cell.empty() || !isKnown(tables::shiftFromText(cell))) {
        return std::nullopt;
    }
    std::string text;
    format.appendCell(text, cell);
    // A column that is not printed as a number has the digits of its cell.
    return textToDouble(format.type() == 'f' ? simplifyWhiteSpace(text) : cell);
}

void addShifts(std::map<int, FinishedResidue>& residues, const GDB& table) {
    const tables::CellFormat observed = formatOf(table, "CS_OBS");
    const tables::CellFormat secondary = formatOf(table, "SHIFT");
    for (const auto& [number, row] : table.entries) {
        const auto residue = residues.find(textToInt(tables::cellOf(&row, "RESID")));
        const std::size_t atom =
            placeOf(shiftAtoms, tables::shiftAtom(tables::cellOf(&row, "ATOMNAME")));
        if (residue == residues.end() || atom == shiftAtoms.size()) {
            continue;
        }
        const auto take = [&](const tables::CellFormat& format, const char* column,
                              std::optional<double>& shift) {
            if (const auto value = shiftOf(format, tables::cellOf(&row, column))) {
                shift = value;
            }
        };
        take(observed, "CS_OBS", residue->second.shifts[atom]);
        take(secondary, "SHIFT", residue->second.secondaryShifts[atom]);
    }
}

void addBackbone(FinishedResidue& residue, const summaries::PhiPsiRow& row) {
    residue.classWord = row.classWord;
    residue.shiftCount = row.shiftCount;
    if (row.classWord == "None") {
        return;
    }
    residue.phi = cellNumber(row.phi, 3);
    residue.psi = cellNumber(row.psi, 3);
    // A spread without its angle is none.
    residue.phiSpread = isKnown(row.phi) ? cellNumber(row.phiSpread, 3) : std::nullopt;
    residue.psiSpread = isKnown(row.psi) ? cellNumber(row.psiSpread, 3) : std::nullopt;
    residue.score = printedNumber(textToDouble(summaries::realCell(row.distance)), 3);
    residue.matchCount = row.count;
}

std::optional<FinishedStructure> structureOf(const summaries::StructureRow& row) {
    if (row.letter == "x") {
        return std::nullopt;
    }
    const bool bySequence = row.letter == "h" || row.letter == "e" || row.letter == "c";
    FinishedStructure structure;
    structure.state = row.letter == "H" || row.letter == "h"   ? "H"
                      : row.letter == "E" || row.letter == "e" ? "E"
                                                               : "L";
    structure.confidence = printedNumber(row.confidence, 2);
    structure.helix = printedNumber(row.helix, 3);
    structure.strand = printedNumber(row.strand, 3);
    structure.coil = printedNumber(row.coil, 3);
    structure.source = bySequence ? "sequence" : row.chainEnd ? "chain end" : "shifts";
    return structure;
}

FinishedChi1 chi1Of(const summaries::Chi1Row& row) {
    const summaries::RotamerPrediction& prediction = row.prediction;
    FinishedChi1 chi1;
    const bool called = prediction.word != "na";
    if (called) {
        chi1.rotamer = prediction.word;
    }
    if (called && isKnown(row.chi1)) {
        chi1.angle = cellNumber(row.chi1, 1);
        chi1.spread = cellNumber(row.spread, 1);
    }
    // Probabilities sum to 1, or there are none.
    if (prediction.gaucheMinus != 0.0F || prediction.gauchePlus != 0.0F ||
        prediction.trans != 0.0F) {
        chi1.gaucheMinus = cellNumber(static_cast<double>(prediction.gaucheMinus), 3);
        chi1.gauchePlus = cellNumber(static_cast<double>(prediction.gauchePlus), 3);
        chi1.trans = cellNumber(static_cast<double>(prediction.trans), 3);
    }
    chi1.turned = row.turned;
    return chi1;
}

void addReference(FinishedResidue& residue, const summaries::PhiPsiRow* row,
                  const summaries::Chi1Row* chi1) {
    const double phi = row == nullptr ? missingValue : row->referencePhi;
    const double psi = row == nullptr ? missingValue : row->referencePsi;
    const double observed = chi1 == nullptr ? missingValue : chi1->observed;
    if (isKnown(phi) || isKnown(psi) || isKnown(observed)) {
        residue.reference = {cellNumber(phi, 3), cellNumber(psi, 3), cellNumber(observed, 3)};
    }
}

void addMap(FinishedResidue& residue, const summaries::MapRow& row) {
    for (const double value : row.values) {
        residue.map.push_back(printedNumber(value, 3));
    }
    for (const summaries::MapCluster& one : row.clusters) {
        if (!one.boxes.empty()) {
            residue.clusters.push_back({one.boxes[0], printedNumber(one.sum, 3), one.boxes});
        }
    }
}

void addMatch(FinishedResidue& residue, const summaries::MatchRow& row) {
    const summaries::MatchNeighbour& centre = row.residues[1];
    FinishedMatch match;
    match.source = row.source;
    match.window = row.databaseLetters;
    match.residue = centre.residue;
    match.phi = cellNumber(static_cast<double>(centre.phi), 1);
    match.psi = cellNumber(static_cast<double>(centre.psi), 1);
    match.chi1 = cellNumber(static_cast<double>(centre.chi1), 0);
    match.score = cellNumber(row.score, 3);
    match.used = row.weight > 0.0;
    residue.matches.push_back(std::move(match));
}

/// Mean and spread of the shifts of the used matches, by residue and atom.
void addMatchedShifts(std::map<int, FinishedResidue>& residues,
                      const std::vector<summaries::MatchRow>& matches) {
    std::map<int, std::array<std::vector<double>, 6>> shifts;
    for (const summaries::MatchRow& row : matches) {
        for (std::size_t atom = 0; row.weight > 0.0 && atom < shiftAtoms.size(); ++atom) {
            const auto shift = static_cast<double>(row.residues[1].shifts[atom]);
            if (isKnown(shift)) {
                shifts[row.residue][atom].push_back(shift);
            }
        }
    }
    for (const auto& [number, byAtom] : shifts) {
        const auto residue = residues.find(number);
        for (std::size_t atom = 0; residue != residues.end() && atom < byAtom.size(); ++atom) {
            const std::vector<double>& values = byAtom[atom];
            if (!values.empty()) {
                residue->second.matchedShifts[atom] = {
                    printedNumber(mean(values), 3),
                    values.size() > 1 ? printedNumber(sampleDeviation(values), 3) : std::nullopt,
                    static_cast<int>(values.size())};
            }
        }
    }
}

template <typename Row>
const Row* rowOf(const std::map<int, Row>& rows, int residue) {
    const auto found = rows.find(residue);
    return found == rows.end() ? nullptr : &found->second;
}

FinishedResidue residueOf(const Prediction& prediction, const ResultsOrigin& origin, int number) {
    const summaries::PhiPsiRow* backbone = rowOf(prediction.phiPsi, number);
    const summaries::StructureRow* structure = rowOf(prediction.structure, number);
    const summaries::Chi1Row* chi1 = rowOf(prediction.chi1, number);

    FinishedResidue residue;
    residue.label = prediction.label(number)[0];
    const std::string* letter = rowOf(prediction.sequence, number);
    residue.letter = letter == nullptr || letter->empty() ? '?' : (*letter)[0];
    if (const std::string* author = rowOf(origin.authorNumber, number)) {
        residue.authorNumber = *author;
    }
    residue.matchCount = 0;
    residue.classWord = "None";
    if (backbone != nullptr) {
        addBackbone(residue, *backbone);
    } else if (structure != nullptr) {
        residue.shiftCount = structure->shiftCount;
    }
    if (const auto* order = rowOf(prediction.order, number);
        order != nullptr && isKnown(order->s2)) {
        residue.s2 = printedNumber(order->s2, 3);
    }
    if (structure != nullptr) {
        residue.structure = structureOf(*structure);
    }
    if (chi1 != nullptr) {
        residue.chi1 = chi1Of(*chi1);
    }
    addReference(residue, backbone, chi1);
    if (const auto* map = rowOf(prediction.maps, number)) {
        addMap(residue, *map);
    }
    return residue;
}

}  // namespace

std::optional<double> printedNumber(double value, int decimals) {
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return textToDouble(text);
}

FinishedPrediction finishedPrediction(const Prediction& prediction, const ResultsOrigin& origin,
                                      const GDB& shiftLimits) {
    FinishedPrediction finished;
    finished.programName = programName;
    finished.programVersion = programVersion();
    finished.inputFile = origin.inputFile;
    finished.title = prediction.settings.inTitle;
    for (const auto& [residue, letter] : prediction.sequenceAsRead) {
        finished.sequence += letter;
    }
    finished.firstResidue = prediction.seqFirstResid;
    finished.settings = origin.settings;
    finished.check = shiftReport(prediction, shiftLimits);

    std::set<int> numbers;
    for (const auto& [residue, letter] : prediction.sequenceAsRead) {
        numbers.insert(residue);
    }
    for (const auto& [residue, row] : prediction.phiPsi) {
        numbers.insert(residue);
    }
    for (const int number : numbers) {
        finished.residues.emplace(number, residueOf(prediction, origin, number));
    }
    addShifts(finished.residues, prediction.shiftTable);
    for (const summaries::MatchRow& row : prediction.matches) {
        if (const auto residue = finished.residues.find(row.residue);
            residue != finished.residues.end()) {
            addMatch(residue->second, row);
        }
    }
    addMatchedShifts(finished.residues, prediction.matches);
    return finished;
}

}  // namespace orvix::results
