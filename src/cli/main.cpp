#include "cli/program.h"

int main(int argc, char** argv) {
    return orvix::cli::runProgram(argc, argv);
}
