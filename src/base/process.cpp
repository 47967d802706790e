#include "base/process.h"

#include <ostream>

#include "base/streams.h"

namespace orvix {

void finishFile(std::FILE* file, const std::string& name) {
    if (std::fflush(file) != 0 || std::ferror(file) != 0) {
        err() << "\tCan't write file " << name << " to its end\n";
    }
}

}  // namespace orvix
