#include <sstream>

#include "base/run_end.h"
#include "fuzz_input.h"
#include "restraints/restraint_file.h"
#include "results/results_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvix::restraints::RestraintFile file;
    try {
        file.prediction =
            orvix::results::parseResults({reinterpret_cast<const char*>(data), size}, "input");
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
    file.set = orvix::restraints::makeRestraints(file.prediction, file.rules);
    for (const orvix::restraints::DihedralRestraint& restraint : file.set.restraints) {
        require(restraint.halfWidth >= 20000 && restraint.halfWidth < 180000);
        require(restraint.centre > -180000 && restraint.centre <= 180000);
        require(restraint.spread > 0 || restraint.halfWidth == 20000);
    }
    for (const orvix::restraints::Numbering numbering :
         {orvix::restraints::Numbering::table, orvix::restraints::Numbering::author}) {
        file.numbering = numbering;
        for (const auto write : {&orvix::restraints::writeCyana, &orvix::restraints::writeCns,
                                 &orvix::restraints::writeNef, &orvix::restraints::writeNmrStar}) {
            try {
                orvix::restraints::checkNumbering(file, orvix::restraints::RestraintFormat::nef);
                std::ostringstream out;
                write(file, out);
            } catch (const orvix::InputRejected&) {
            }
        }
    }
    return 0;
}
