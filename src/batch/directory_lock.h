#pragma once

#include <string>

namespace orvix::batch {

/// Name of the hidden directory of a batch inside its output directory.
inline constexpr const char* stateDirectory = ".batch";

/// Keeps a second batch out of an output directory as long as it lives. Parts of one batch may
/// share a directory, each part once.
class DirectoryLock {
  public:
    /// Makes `output` and its state directory where they are missing. `part` names the part, empty
    /// for a whole batch. Throws RunError when somebody else has the lock or it can't be made.
    DirectoryLock(const std::string& output, const std::string& part);
    ~DirectoryLock();
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

  private:
    void release();

    int whole_ = -1, part_ = -1;
};

}  // namespace orvix::batch
