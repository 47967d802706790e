#include <ostream>

#include "base/missing.h"
#include "base/streams.h"
#include "order/rci.h"
#include "run/orvix.h"
#include "run/prediction.h"

namespace {

// What the method leaves of rigidity: S2 = 1 - (its value), with this constant in place of 1.
constexpr double s2Base = 1.003;

}  // namespace

void ORVIX::runS2_Prediction() {
    orvix::out() << "RCI prediction ...\n";

    RCI engine;
    engine.runRCI(annInput, secShift, seq);
    s2 = engine.s2;
    for (const auto& [residue, value] : s2) {
        orderRows[residue] = {residue, residueLabel(residue), tripletShiftCount(residue),
                              6 - missingAt(residue),
                              value > orvix::missingLimit ? orvix::missingValue : s2Base - value};
    }

    writeTable(orvix::ResultTable::order);
}
