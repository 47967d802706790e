// A program of your own on the library: predicts one protein and prints the residues whose angles
// can be trusted.
//   residue_angles SHIFTS.tab [DATA-DIRECTORY]
#include <cstdio>
#include <iostream>
#include <sstream>

#include "base/run_end.h"
#include "base/streams.h"
#include "run/orvix.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: residue_angles SHIFTS.tab [DATA-DIRECTORY]\n";
        return 2;
    }
    ORVIX run;
    std::ostringstream status, warnings;  // what the run says as it goes
    try {
        const orvix::ScopedStreams streams({&status, &warnings});
        run.setArgs({{"in", argv[1]}, {"orvixNDir", argc > 2 ? argv[2] : ORVIX_DATA_DIR}});
        run.orvixPredict();  // writes the seven tables into the working directory, too
    } catch (const orvix::RunEnd& end) {
        std::cerr << warnings.str() << end.what() << '\n';
        return 1;
    }
    for (const auto& [residue, row] : run.phiPsiRows) {
        if (row.classWord == "Strong") {
            std::printf("%4d %s  phi %8.3f +- %6.3f  psi %8.3f +- %6.3f\n", residue,
                        row.name.c_str(), row.phi, row.phiSpread, row.psi, row.psiSpread);
        }
    }
}
