#include "companion/program.h"

int main(int argc, char** argv) {
    return orvix::runProgram(argc, argv);
}
