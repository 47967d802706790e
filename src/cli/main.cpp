#include <cstdlib>
#include <string_view>

#include "base/cpu.h"
#include "cli/program.h"

int main(int argc, char** argv) {
    if (const char* level = std::getenv(orvix::instructionLevelVariable)) {
        orvix::limitInstructionLevel(std::string_view(level));
    }
    return orvix::cli::runProgram(argc, argv);
}
