// The whole prediction run.
#include <ostream>

#include "base/streams.h"
#include "run/orvix.h"

void ORVIX::orvixPredict() {
    init();
    orvix::out() << "Analyzing " << (noPath ? "Chemical Shifts" : inFile) << " ..." << std::endl;
    getResInfo();
    runABP_Prediction();
    checkpoint();
    runSS_Prediction();
    runS2_Prediction();
    checkpoint();

    deriveSearchMap();
    searchPhase = true;
    loadDatabase();
    Candidates candidates = firstPass();
    if (noVerb) {
        orvix::err() << std::endl;
    } else {
        orvix::out() << "Searching database using predicted angles ...\n";
    }
    secondPass(candidates);

    vina();
    vinaChi1();
    writePredAll();
}
