// A run as a value.
#include "run/predict.h"

#include <utility>

#include "base/message_log.h"
#include "base/parallel.h"
#include "base/run_end.h"
#include "run/orvix.h"
#include "structure/pdb.h"

namespace orvix {
namespace {

/// A table that can't be read is the fault of the input.
template <class Load>
ShiftInput loadInput(const std::string& name, const Load& load) {
    ShiftInput input{name, {}, nullptr};
    try {
        load(input.table);
    } catch (const RunEnd& end) {
        throw RunEnd(EndReason::input, end.status(), end.text(), end.what());
    }
    return input;
}

void loadReference(ORVIX& run, const std::shared_ptr<const PDB>& given) {
    if (run.refFile.empty()) {
        return;
    }
    if (given != nullptr) {
        run.refPDB = new PDB(*given);
        return;
    }
    run.refPDB = new PDB(run.refFile);
    if (run.refPDB->isNull() || run.refPDB->atoms.empty()) {
        throw InputRejected(run.refFile +
                            (run.refPDB->isNull() ? ": can't be read" : ": no ATOM records found"));
    }
}

/// Moves the results out of a run that is done with them.
Prediction takeResults(ORVIX& run) {
    Prediction result;
    result.settings = run.settings();
    result.inputName = run.inFile;
    result.tableFirstResid = run.inTable.firstResid;
    result.tableSequence = run.inTable.getData("SEQUENCE");
    result.seqFirstResid = run.seqFirstResid;
    result.seqLength = run.seqLength;
    result.sequence = std::move(run.seq);
    result.sequenceAsRead = std::move(run.seqOrig);
    result.firstResid = run.firstResid;
    result.lastResid = run.lastResid;
    result.firstShiftResid = run.firstCSResid;
    result.lastShiftResid = run.lastCSResid;
    result.missingCount = std::move(run.missingCount);
    result.hasReference = run.hasReference();
    result.shiftTable = std::move(run.adjCSTable);
    result.findings = std::move(run.shiftFindings);
    result.shiftOffset = std::move(run.shiftOffset);
    result.referenceShifts = std::move(run.secShift);
    result.maps = std::move(run.mapRows);
    result.structure = std::move(run.structureRows);
    result.order = std::move(run.orderRows);
    result.phiPsi = std::move(run.phiPsiRows);
    result.chi1 = std::move(run.chi1Rows);
    result.matches = std::move(run.matchRows);
    return result;
}

/// Carries out `stages` on a run of its own.
template <class Stages>
Prediction carryOut(const std::shared_ptr<const Model>& model, ShiftInput input,
                    const Settings& settings, const RunControl& control, const Stages& stages) {
    MessageLog log(control.listener);
    const ScopedStreams streams(log.streams());
    const ScopedThreadLimit limit(control.threads);
    ORVIX run(model);
    run.tablesToFiles = false;
    run.stop = control.stop;
    run.takeSettings(settings);
    const std::shared_ptr<const PDB> reference = input.reference;
    run.takeInput(std::move(input));
    loadReference(run, reference);
    run.checkpoint();
    stages(run);
    Prediction result = takeResults(run);
    result.messages = log.take();
    return result;
}

}  // namespace

ShiftInput shiftInput(std::string_view text, const std::string& name) {
    return loadInput(name, [&](GDB& table) { table.loadText(text, name); });
}

ShiftInput readShiftInput(const std::string& path) {
    return loadInput(path, [&](GDB& table) { table.loadGDB(path); });
}

Prediction predict(const std::shared_ptr<const Model>& model, ShiftInput input,
                   const Settings& settings, const RunControl& control) {
    return carryOut(model, std::move(input), settings, control,
                    [](ORVIX& run) { run.orvixPredict(); });
}

Prediction checkShifts(const std::shared_ptr<const Model>& model, ShiftInput input,
                       const Settings& settings, const RunControl& control) {
    return carryOut(model, std::move(input), settings, control, [](ORVIX& run) {
        run.init();
        run.prepareShifts();
    });
}

std::string Prediction::label(int residue) const {
    const auto found = sequenceAsRead.find(residue);
    return found != sequenceAsRead.end() && found->second.size() == 1 ? found->second : "?";
}

int Prediction::missingAt(int residue) const {
    const auto found = missingCount.find(residue);
    return found == missingCount.end() ? 0 : found->second;
}

}  // namespace orvix
