#include "base/process.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

namespace orvix {
namespace {

EndHandler endHandler = nullptr;
int incomplete = 0;

}  // namespace

void endProcess(int status, const std::string& errorText) {
    std::cout.flush();
    std::fflush(stdout);
    if (endHandler != nullptr) {
        endHandler(status, errorText);
    }
    std::fwrite(errorText.data(), 1, errorText.size(), stderr);
    std::fflush(stderr);
    std::exit(status);
}

EndHandler setEndHandler(EndHandler handler) {
    return std::exchange(endHandler, handler);
}

void finishFile(std::FILE* file, const std::string& name) {
    if (std::fflush(file) != 0 || std::ferror(file) != 0) {
        ++incomplete;
        std::cerr << "\tCan't write file " << name << " to its end\n";
    }
}

int incompleteFiles() {
    return incomplete;
}

}  // namespace orvix
