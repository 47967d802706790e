#include <sstream>

#include "companion/command.h"
#include "fuzz_input.h"
#include "restraints/restraint_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvix::RestraintFile file;
    try {
        file.prediction = orvix::readFinishedPrediction(inputFile(data, size));
    } catch (const orvix::InputRejected&) {
        return 0;
    }
    // A sequence may be long without being of interest.
    constexpr std::size_t longest = 2000;
    if (file.prediction.sequence.size() > longest) {
        return 0;
    }
    file.rules.classes = {"Strong", "Generous"};
    file.version = "0";
    file.created = "2000-01-01T00:00:00";
    file.set = orvix::makeRestraints(file.prediction, file.rules);
    for (const orvix::DihedralRestraint& restraint : file.set.restraints) {
        require(restraint.halfWidth >= 20000 && restraint.halfWidth < 180000);
        require(restraint.centre > -180000 && restraint.centre <= 180000);
        require(restraint.spread > 0 || restraint.halfWidth == 20000);
    }
    for (const orvix::Numbering numbering : {orvix::Numbering::table, orvix::Numbering::author}) {
        file.numbering = numbering;
        for (const auto write :
             {&orvix::writeCyana, &orvix::writeCns, &orvix::writeNef, &orvix::writeNmrStar}) {
            try {
                orvix::checkNumbering(file, orvix::RestraintFormat::nef);
                std::ostringstream out;
                write(file, out);
            } catch (const orvix::InputRejected&) {
            }
        }
    }
    return 0;
}
