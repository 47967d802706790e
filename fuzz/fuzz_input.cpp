#include "fuzz_input.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

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
