#include "fuzz_input.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "base/process.h"

namespace {

// Throwing out of a handler is no road for a program; here no parallel region is left open by it,
// and the target goes on with its next input.
void throwEnd(int /*status*/, const std::string& errorText) {
    throw ProcessEnded(errorText);
}

[[maybe_unused]] const orvix::EndHandler before = orvix::setEndHandler(throwEnd);

}  // namespace

MemoryFile::MemoryFile() : descriptor_(::memfd_create("input", 0)) {
    if (descriptor_ < 0) {
        std::abort();
    }
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

MemoryFile::~MemoryFile() {
    ::close(descriptor_);
}

void MemoryFile::fill(const std::uint8_t* data, std::size_t size) {
    std::size_t done = 0;
    bool good = ::ftruncate(descriptor_, 0) == 0;
    while (good && done < size) {
        const ssize_t written =
            ::pwrite(descriptor_, data + done, size - done, static_cast<off_t>(done));
        good = written > 0;
        done += good ? static_cast<std::size_t>(written) : 0;
    }
    if (!good) {
        std::abort();
    }
}

const std::string& inputFile(const std::uint8_t* data, std::size_t size) {
    static MemoryFile file;
    file.fill(data, size);
    return file.path();
}
