#include "run/process.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace orvix {

void endProcess(int status, const std::string& errorText) {
    std::cout.flush();
    std::fflush(stdout);
    std::fwrite(errorText.data(), 1, errorText.size(), stderr);
    std::fflush(stderr);
    std::exit(status);
}

}  // namespace orvix
