#include <cstdio>
#include <memory>
#include <ostream>
#include <string>

#include "base/process.h"
#include "base/streams.h"
#include "order/rci.h"
#include "run/orvix.h"

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// What the method leaves of rigidity: S2 = 1 - (its value), with this constant in place of 1.
constexpr double s2Base = 1.003;

}  // namespace

void ORVIX::runS2_Prediction() {
    orvix::out() << "RCI prediction ...\n";

    RCI engine;
    engine.runRCI(annInput, secShift, seq);
    s2 = engine.s2;
    for (const auto& [residue, value] : s2) {
        const int own = missingAt(residue);
        const int around = own + missingAt(residue - 1) + missingAt(residue + 1);
        orderRows[residue] = {residue, residueLabel(residue), 18 - around, 6 - own,
                              value > 999.0 ? 9999.0 : s2Base - value};
    }

    const std::string name = outBase + "S2.tab";
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name.c_str(), "w"));
    if (!file) {
        orvix::err() << "\tCan't open file " << name << " !!!\n";
        return;
    }
    std::fprintf(file.get(),
                 "REMARK  Predicted order parameter (S2) from backbone chemical shifts for %s\n"
                 "REMARK    from Ivar Halvorn's RCI method, JACS, 127(43), 14970-14971\n"
                 "\n"
                 "VARS RESID RESNAME CS_CNT CS_CNT_R2 S2 \n"
                 "FORMAT %%4d %%1s %%2d %%2d %%8.3f \n"
                 "\n",
                 inTitle.c_str());
    for (const auto& [residue, row] : orderRows) {
        std::fprintf(file.get(), " %4d %1s %2d %2d %8.3f\n", residue, row.name.c_str(),
                     row.shiftCount, row.ownShiftCount, row.s2);
    }
    orvix::finishFile(file.get(), name);
}
