#pragma once

#include <functional>
#include <string>

namespace orvix::cli {

class SignalWatch;

/// Told to `runLibrary` by its work.
class LibraryStage {
  public:
    /// Whether an end of the library now speaks about the input.
    void setReadingInput(bool reading);
};

/// What the caller wants to hear while the library works; empty functions for nothing.
struct LibraryListener {
    std::function<void(const std::string& line)> status;   ///< of its standard output
    std::function<void(const std::string& line)> warning;  ///< of its standard error
};

/// What a finished run left.
struct LibraryOutcome {
    std::string result;  ///< what the work returned
    std::string log;     ///< both streams of the library, in order
};

/// Runs `work` in a child process and waits for it. The library ends its process wherever it can't
/// go on, with a message and often with status 0; here every end but the return of `work` is an
/// error with that message: InputRejected, with `inputName` in front, when it speaks about the
/// input, RunError for all else, a crash included. Errors of the companion that `work` throws come
/// back as what they are.
///
/// With `signals`, a signal that came in ends the child, and Interrupted is thrown.
LibraryOutcome runLibrary(const std::function<std::string(LibraryStage&)>& work,
                          const std::string& inputName, const LibraryListener& listener,
                          SignalWatch* signals = nullptr);

}  // namespace orvix::cli
