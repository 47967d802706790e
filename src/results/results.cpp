#include "results/results.h"

#include <cmath>
#include <cstdio>
#include <set>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/text.h"
#include "base/version.h"
#include "run/orvix.h"
#include "summaries/result_cells.h"
#include "tables/cell_format.h"
#include "tables/cells.h"

namespace orvix::results {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* atoms[] = {"N", "HA", "C", "CA", "CB", "HN"};

bool isKnown(double value) {
    return value < missingLimit;
}

/// A value of the summary or chi1 table, which go through the text of a cell; null for missing.
Json cellNumber(double value, int decimals) {
    return isKnown(value) ? printedNumber(textToDouble(summaries::realCell(value)), decimals)
                          : Json();
}

/// Shifts of the table of secondary shifts by residue and atom.
class Shifts {
  public:
    explicit Shifts(const ORVIX& run) {
        const GDB& table = run.adjCSTable;
        const tables::CellFormat observed(specifier(table, "CS_OBS"));
        const tables::CellFormat secondary(specifier(table, "SHIFT"));
        for (const auto& [number, row] : table.entries) {
            const int residue = textToInt(tables::cellOf(&row, "RESID"));
            const std::string atom = tables::shiftAtom(tables::cellOf(&row, "ATOMNAME"));
            take(observed, tables::cellOf(&row, "CS_OBS"), observed_[residue][atom]);
            take(secondary, tables::cellOf(&row, "SHIFT"), secondary_[residue][atom]);
        }
    }
    Json observed(int residue) const { return byAtom(observed_, residue); }
    Json secondary(int residue) const { return byAtom(secondary_, residue); }

  private:
    using ByResidue = std::map<int, std::map<std::string, Json>>;

    static std::string specifier(const GDB& table, const std::string& column) {
        for (const auto& [index, name] : table.vars) {
            const auto spec = table.formats.find(index);
            if (name == column && spec != table.formats.end()) {
                return spec->second;
            }
        }
        return {};
    }
    static void take(const tables::CellFormat& format, const std::string& cell, Json& shift) {
        if (cell.empty() || !isKnown(tables::shiftFromText(cell))) {
            return;
        }
        std::string text;
        format.appendCell(text, cell);
        // A column that is not printed as a number has the digits of its cell.
        shift = textToDouble(format.type() == 'f' ? simplifyWhiteSpace(text) : cell);
    }
    static Json byAtom(const ByResidue& shifts, int residue) {
        const auto found = shifts.find(residue);
        Json record;
        for (const char* atom : atoms) {
            record[atom] = Json();
            if (found != shifts.end()) {
                const auto shift = found->second.find(atom);
                if (shift != found->second.end()) {
                    record[atom] = shift->second;
                }
            }
        }
        return record;
    }

    ByResidue observed_, secondary_;
};

template <typename Row>
const Row* rowOf(const std::map<int, Row>& rows, int residue) {
    const auto found = rows.find(residue);
    return found == rows.end() ? nullptr : &found->second;
}

void addBackbone(Json& record, const summaries::PhiPsiRow* row,
                 const summaries::StructureRow* structure) {
    const bool predicted = row != nullptr && row->classWord != "None";
    const auto angle = [&](double value) { return predicted ? cellNumber(value, 3) : Json(); };
    record["phi"] = angle(predicted ? row->phi : missingValue);
    record["psi"] = angle(predicted ? row->psi : missingValue);
    // A spread without its angle is none.
    record["phi_spread"] = predicted && isKnown(row->phi) ? angle(row->phiSpread) : Json();
    record["psi_spread"] = predicted && isKnown(row->psi) ? angle(row->psiSpread) : Json();
    record["score"] =
        predicted ? printedNumber(textToDouble(summaries::realCell(row->distance)), 3) : Json();
    record["match_count"] = predicted ? row->count : 0;
    if (row != nullptr) {
        record["shift_count"] = row->shiftCount;
    } else {
        record["shift_count"] = structure != nullptr ? Json(structure->shiftCount) : Json();
    }
    record["class"] = row != nullptr ? row->classWord : "None";
}

Json structureRecord(const summaries::StructureRow* row) {
    if (row == nullptr || row->letter == "x") {
        return {};
    }
    const bool bySequence = row->letter == "h" || row->letter == "e" || row->letter == "c";
    const char state = row->letter == "H" || row->letter == "h"   ? 'H'
                       : row->letter == "E" || row->letter == "e" ? 'E'
                                                                  : 'L';
    Json record;
    record["state"] = std::string(1, state);
    record["confidence"] = printedNumber(row->confidence, 2);
    record["helix"] = printedNumber(row->helix, 3);
    record["strand"] = printedNumber(row->strand, 3);
    record["coil"] = printedNumber(row->coil, 3);
    record["source"] = bySequence ? "sequence" : row->chainEnd ? "chain end" : "shifts";
    return record;
}

Json chi1Record(const summaries::Chi1Row* row) {
    if (row == nullptr) {
        return {};
    }
    const summaries::RotamerPrediction& prediction = row->prediction;
    const bool called = prediction.word != "na";
    const bool known = called && isKnown(row->chi1);
    // Probabilities sum to 1, or there are none.
    const bool probable =
        prediction.gaucheMinus != 0.0F || prediction.gauchePlus != 0.0F || prediction.trans != 0.0F;
    const auto probability = [&](float value) {
        return probable ? cellNumber(static_cast<double>(value), 3) : Json();
    };
    Json record;
    record["angle"] = known ? cellNumber(row->chi1, 1) : Json();
    record["spread"] = known ? cellNumber(row->spread, 1) : Json();
    record["rotamer"] = called ? Json(std::string(prediction.word)) : Json();
    record["g_minus"] = probability(prediction.gaucheMinus);
    record["g_plus"] = probability(prediction.gauchePlus);
    record["trans"] = probability(prediction.trans);
    record["turned"] = row->turned;
    return record;
}

Json referenceRecord(const summaries::PhiPsiRow* row, const summaries::Chi1Row* chi1) {
    const double phi = row == nullptr ? missingValue : row->referencePhi;
    const double psi = row == nullptr ? missingValue : row->referencePsi;
    const double observed = chi1 == nullptr ? missingValue : chi1->observed;
    if (!isKnown(phi) && !isKnown(psi) && !isKnown(observed)) {
        return {};
    }
    Json record;
    record["phi"] = cellNumber(phi, 3);
    record["psi"] = cellNumber(psi, 3);
    record["chi1"] = cellNumber(observed, 3);
    return record;
}

Json residueRecord(const ORVIX& run, const ResultsOrigin& origin, const Shifts& shifts,
                   int residue) {
    const summaries::PhiPsiRow* backbone = rowOf(run.phiPsiRows, residue);
    const summaries::StructureRow* structure = rowOf(run.structureRows, residue);
    const summaries::OrderRow* order = rowOf(run.orderRows, residue);
    const summaries::Chi1Row* chi1 = rowOf(run.chi1Rows, residue);
    const auto author = origin.authorNumber.find(residue);

    Json record;
    record["resid"] = residue;
    record["resname"] = run.residueLabel(residue);
    record["state_letter"] = run.seqName(residue).empty() ? "?" : run.seqName(residue);
    record["author_resid"] = author == origin.authorNumber.end() ? Json() : Json(author->second);
    record["shifts"] = shifts.observed(residue);
    record["secondary_shifts"] = shifts.secondary(residue);
    addBackbone(record, backbone, structure);
    record["s2"] = order != nullptr && isKnown(order->s2) ? printedNumber(order->s2, 3) : Json();
    record["secondary_structure"] = structureRecord(structure);
    record["chi1"] = chi1Record(chi1);
    record["reference"] = referenceRecord(backbone, chi1);
    return record;
}

std::string sequenceText(const ORVIX& run) {
    std::string text;
    for (const auto& [residue, letter] : run.seqOrig) {
        text += letter;
    }
    return text;
}

}  // namespace

nlohmann::ordered_json printedNumber(double value, int decimals) {
    if (!std::isfinite(value)) {
        return {};
    }
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return textToDouble(text);
}

nlohmann::ordered_json offsetsRecord(const ORVIX& run) {
    Json record;
    for (const char* atom : {"CA", "CB", "HA", "C"}) {
        // CA and CB are referenced together.
        const auto found = run.shiftFindings.offsets.find(std::string(atom) == "CB" ? "CA" : atom);
        record[atom] = Json();
        if (found == run.shiftFindings.offsets.end() || !found->second.enough ||
            !std::isfinite(found->second.offset) || !std::isfinite(found->second.error)) {
            continue;
        }
        const shifts::OffsetEstimate& estimate = found->second;
        record[atom]["offset"] = printedNumber(estimate.offset, 3);
        record[atom]["error"] = printedNumber(estimate.error, 3);
        record[atom]["count"] = estimate.size;
        record[atom]["significant"] = estimate.accepted;
        record[atom]["applied"] = estimate.accepted && run.offsetCorrect;
    }
    return record;
}

nlohmann::ordered_json resultsRecord(const ORVIX& run, const ResultsOrigin& origin) {
    Json record;
    record["schema"] = resultsSchema;
    record["schema_version"] = resultsVersion;
    record["program"] = {{"name", programName}, {"version", programVersion()}};
    record["input"] = {{"file", origin.inputFile},
                       {"title", run.inTitle},
                       {"sequence", sequenceText(run)},
                       {"first_residue", run.seqFirstResid}};
    record["settings"] = origin.settings;
    record["shift_offsets"] = offsetsRecord(run);

    std::set<int> residues;
    for (const auto& [residue, letter] : run.seqOrig) {
        residues.insert(residue);
    }
    for (const auto& [residue, row] : run.phiPsiRows) {
        residues.insert(residue);
    }
    const Shifts shifts(run);
    record["residues"] = Json::array();
    for (int residue : residues) {
        record["residues"].push_back(residueRecord(run, origin, shifts, residue));
    }
    return record;
}

std::string recordText(const nlohmann::ordered_json& record) {
    return record.dump(1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace orvix::results
