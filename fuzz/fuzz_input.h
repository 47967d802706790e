#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

/// What stands for the end of the process in a fuzz target: the library's `endProcess` throws it
/// here, so that a target goes on with the next input.
class ProcessEnded : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

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

/// Runs `action`; an end of the process within is as good as a return.
template <typename Action>
void untilProcessEnds(Action action) {
    try {
        action();
    } catch (const ProcessEnded&) {
    }
}

/// Reports a finding of the target's own.
inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}
