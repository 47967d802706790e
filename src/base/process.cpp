#include "base/process.h"

#include <ostream>

#include "base/streams.h"

namespace orvix {
namespace {

thread_local int incomplete = 0;

}  // namespace

void finishFile(std::FILE* file, const std::string& name) {
    if (std::fflush(file) != 0 || std::ferror(file) != 0) {
        ++incomplete;
        err() << "\tCan't write file " << name << " to its end\n";
    }
}

int incompleteFiles() {
    return incomplete;
}

}  // namespace orvix
