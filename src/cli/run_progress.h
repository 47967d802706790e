#pragma once

#include <string>

#include "base/messages.h"

namespace orvix::cli {

/// What a run says on standard error while it goes on: its status in one line that is overwritten,
/// on a terminal only, and its first warnings.
class RunProgress {
  public:
    /// `rest` names where warnings beyond the first ones can be read; empty for nowhere.
    explicit RunProgress(std::string rest);
    ~RunProgress() { clear(); }
    RunProgress(const RunProgress&) = delete;
    RunProgress& operator=(const RunProgress&) = delete;

    /// Takes the next piece of what the run says.
    void hear(const Message& message);
    /// Removes the status and tells how many warnings were held back.
    void finish();

  private:
    void show(const std::string& line);
    void warn(const std::string& line);
    void clear();

    std::string rest_;
    bool terminal_;
    bool shown_ = false;
    int warnings_ = 0;
    std::string pendingStatus_, pendingWarning_;
};

}  // namespace orvix::cli
