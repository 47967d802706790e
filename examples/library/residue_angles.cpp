// A program of your own on the library: predicts each shift table that is named and prints the
// residues whose angles can be trusted.
//   residue_angles SHIFTS.tab...
#include <cstdio>
#include <memory>

#include "base/run_end.h"
#include "model/model.h"
#include "run/predict.h"

namespace {

void printStrong(const orvix::Prediction& prediction) {
    for (const auto& [residue, row] : prediction.phiPsi) {
        if (row.classWord == "Strong") {
            std::printf("%4d %s  phi %8.3f +- %6.3f  psi %8.3f +- %6.3f\n", residue,
                        row.name.c_str(), row.phi, row.phiSpread, row.psi, row.psiSpread);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Loads the data when they are first asked for, once; any number of threads may share it.
    const auto model = std::make_shared<const orvix::Model>();
    orvix::Settings settings;
    settings.tabDir = ORVIX_DATA_DIR "/tab";
    int failed = 0;
    for (int i = 1; i < argc; ++i) {
        try {
            settings.inTitle = argv[i];
            printStrong(orvix::predict(model, orvix::readShiftInput(argv[i]), settings));
        } catch (const orvix::RunEnd& end) {
            std::fprintf(stderr, "%s: %s\n", argv[i], end.what());
            failed = 1;
        }
    }
    return failed;
}
