// made_data DIRECTORY: writes the made data directory for whole runs of the programs.
#include <iostream>

#include "support/made_data.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: made_data DIRECTORY\n";
        return 2;
    }
    try {
        orvix::test::writeMadeData(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
