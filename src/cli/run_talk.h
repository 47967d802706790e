#pragma once

#include <string>

#include "cli/library_run.h"

namespace orvix::cli {

/// What a run says on standard error while it goes on: its status in one line that is overwritten,
/// on a terminal only, and its first warnings.
class RunTalk {
  public:
    /// `rest` names where warnings beyond the first ones can be read; empty for nowhere.
    explicit RunTalk(std::string rest);
    ~RunTalk() { clear(); }
    RunTalk(const RunTalk&) = delete;
    RunTalk& operator=(const RunTalk&) = delete;

    /// Valid as long as this object.
    LibraryListener listener();
    /// Removes the status and tells how many warnings were held back.
    void finish();

  private:
    void show(const std::string& text);
    void warn(const std::string& text);
    void clear();

    std::string rest_;
    bool terminal_;
    bool shown_ = false;
    int warnings_ = 0;
};

}  // namespace orvix::cli
