#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/run_end.h"

/// A file in memory with a path of its own, for readers that take one.
class MemoryFile {
  public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    /// Replaces the content.
    void fill(const std::uint8_t* data, std::size_t size);
    const std::string& path() const { return path_; }

  private:
    int descriptor_;
    std::string path_;
};

/// The input of a target as a file; the same file for every input.
const std::string& inputFile(const std::uint8_t* data, std::size_t size);

/// Runs `action`; an end of the run within is as good as a return.
template <typename Action>
void untilRunEnds(Action action) {
    try {
        action();
    } catch (const orvix::RunEnd&) {
    }
}

/// Reports a finding of the target's own.
inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}
