#include "shifts/residue_numbers.h"

#include <cstdlib>
#include <string>

#include "base/run_end.h"

namespace orvix::shifts {

void requireResidueNumbers(long long stated, long long lowest, long long highest) {
    for (long long number : {stated, lowest, highest}) {
        if (std::llabs(number) > highestNumber) {
            const std::string message =
                "Residue numbers from " + std::to_string(stated) + " on are out of range";
            throw RunEnd(EndReason::input, -1, " " + message + ", exit ...\n", message);
        }
    }
}

}  // namespace orvix::shifts
