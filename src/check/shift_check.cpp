#include "check/shift_check.h"

#include <filesystem>
#include <set>
#include <utility>

#include "base/message_log.h"
#include "base/missing.h"
#include "base/numbers.h"
#include "model/model.h"
#include "results/shift_report.h"
#include "run/prediction.h"
#include "tables/cells.h"

namespace orvix::check {
namespace {

/// The atom of a row of an input table; `atomCount` for others. Both protons of a glycine are HA.
std::size_t rowAtom(const GDB::Entry& row) {
    const std::string atom = tables::shiftAtom(tables::cellOf(&row, "ATOMNAME"));
    const bool alpha = atom == "HA1" || atom == "HA2" || atom == "HA3";
    return results::placeOf(results::shiftAtoms, alpha ? "HA" : std::string_view(atom));
}

void dropResidues(GDB& table, const std::set<int>& residues) {
    for (auto row = table.entries.begin(); row != table.entries.end();) {
        const int residue = textToInt(tables::cellOf(&row->second, "RESID"));
        row = residues.count(residue) > 0 ? table.entries.erase(row) : std::next(row);
    }
}

std::set<int> suspiciousResidues(const ChainShifts& chain, const Offsets& offsets) {
    // More would take from the second prediction what it stands on.
    const std::size_t most = chain.size() / 8;
    std::set<int> residues;
    for (const Misassignment& one : findMisassignments(chain, offsets, suspicionRule)) {
        if (residues.size() + 2 > most) {
            break;
        }
        residues.insert({one.first, one.second});
    }
    return residues;
}

void add(std::optional<NucleusOffset>& offset, const std::optional<NucleusOffset>& first) {
    if (offset && first) {
        offset->offset += first->offset;
    }
}

}  // namespace

bool hasShiftModel(const Settings& settings) {
    std::error_code ignored;
    return std::filesystem::exists(ShiftModel::tablePath(settings.tabDir), ignored);
}

Offsets offsetsToCorrect(const ShiftCheck& check) {
    Offsets kept;
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        const auto& offset = check.offsets.atoms[atom];
        if (offset && !isCarbon(atom) && isToCorrect(results::shiftAtoms[atom], *offset)) {
            kept.atoms[atom] = offset;
        }
    }
    if (check.offsets.carbons && !check.deuteration.looks &&
        isToCorrect(carbonsName, *check.offsets.carbons)) {
        kept.carbons = check.offsets.carbons;
    }
    return kept;
}

ShiftInput correctedInput(const ShiftInput& input, const Offsets& offsets) {
    ShiftInput corrected = input;
    for (auto& [number, row] : corrected.table.entries) {
        const std::size_t atom = rowAtom(row);
        const double shift = tables::shiftFromText(tables::cellOf(&row, "SHIFT"));
        if (atom < atomCount && shift < missingLimit && offsetOf(offsets, atom) != 0.0) {
            row["SHIFT"] = tables::shiftText(shift - offsetOf(offsets, atom));
        }
    }
    const auto remark = [&](std::string_view name, const std::optional<NucleusOffset>& offset) {
        if (offset) {
            corrected.table.addRemark(" " + tables::shiftText(offset->offset) +
                                      " ppm referencing offset taken off the shifts of " +
                                      std::string(name));
        }
    };
    remark(carbonsName, offsets.carbons);
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        if (!isCarbon(atom)) {
            remark(results::shiftAtoms[atom], offsets.atoms[atom]);
        }
    }
    return corrected;
}

ShiftCheck checkByPrediction(const std::shared_ptr<const Model>& model, const ShiftInput& input,
                             const Settings& settings, const RunControl& control) {
    ShiftCheck check;
    check.prediction = predict(model, input, settings, control);
    const ShiftModel shiftModel = [&] {
        // What the loading of tables says is of no use to anybody here.
        MessageLog unheard;
        const ScopedStreams streams(unheard.streams());
        return ShiftModel::load(*model, check.prediction.settings.tabDir);
    }();
    check.chain = chainShifts(check.prediction, shiftModel);
    const Offsets first = estimateOffsets(check.chain);
    const std::set<int> suspicious = suspiciousResidues(check.chain, first);

    ShiftInput again = correctedInput(input, first);
    dropResidues(again.table, suspicious);
    RunControl quiet = control;
    quiet.listener = nullptr;
    const Prediction second = predict(model, std::move(again), settings, quiet);
    const ChainShifts expected = chainShifts(second, shiftModel);
    check.offsets = estimateOffsets(expected);
    for (std::size_t atom = 0; atom < atomCount; ++atom) {
        add(check.offsets.atoms[atom], isCarbon(atom) ? first.carbons : first.atoms[atom]);
    }
    add(check.offsets.carbons, first.carbons);
    for (auto& [number, residue] : check.chain) {
        if (const auto found = expected.find(number); found != expected.end()) {
            residue.expected = found->second.expected;
            residue.settled = found->second.settled;
        }
    }
    if (!check.prediction.settings.isoCorrect) {
        check.deuteration =
            judgeDeuteration(check.chain, check.offsets,
                             *model->table(check.prediction.settings.tabDir + "/isoadj.tab"));
    }
    check.misassignments = findMisassignments(check.chain, check.offsets, reportRule);
    return check;
}

}  // namespace orvix::check
