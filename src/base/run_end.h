#pragma once

#include <stdexcept>
#include <string>

namespace orvix {

/// Why something can't go on.
enum class EndReason {
    usage,          ///< options that can't be used together or have no meaning
    input,          ///< the shift table or another file of the user
    dataDirectory,  ///< a table, a network or the database is missing or broken
    system,         ///< a file that can't be written, no memory, a signal
    complete        ///< all that was asked for is done, such as the check of the shifts alone
};

/// The one way in which the library stops short: thrown wherever a run or a command can't go on.
/// Nothing in the library catches it but to add what it knows.
class RunEnd : public std::runtime_error {
  public:
    /// `text` is what `orvixn` writes to the standard error stream, as it stands; it leaves with
    /// `status`. `message` is the same for people, a line without indent or line feed.
    RunEnd(EndReason reason, int status, std::string text, const std::string& message)
        : std::runtime_error(message), reason_(reason), status_(status), text_(std::move(text)) {}
    /// An end whose message names the cause and needs no text of its own.
    RunEnd(EndReason reason, const std::string& message)
        : RunEnd(reason, 1, message + "\n", message) {}

    EndReason reason() const { return reason_; }
    int status() const { return status_; }
    const std::string& text() const { return text_; }

  private:
    EndReason reason_;
    int status_;
    std::string text_;
};

/// The input can't be used as it is: the message names file, line where there is one, and what was
/// expected.
class InputRejected : public RunEnd {
  public:
    explicit InputRejected(const std::string& message) : RunEnd(EndReason::input, message) {}
};

/// Something around a run failed (a file can't be written, the data directory is not there).
class RunError : public RunEnd {
  public:
    explicit RunError(const std::string& message) : RunEnd(EndReason::system, message) {}
};

}  // namespace orvix
