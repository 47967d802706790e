#pragma once

#include <atomic>
#include <csignal>
#include <stop_token>
#include <thread>

namespace orvix::cli {

/// A signal came that asks the program to end. Thrown so that what was begun is cleaned up; the
/// program then ends itself by the same signal.
struct Interrupted {
    int signal = 0;
};

/// Turns SIGINT, SIGTERM, SIGHUP and SIGQUIT into a request to stop while it lives. To be made
/// before other threads are. Signals that the process ignores stay ignored.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    std::stop_token token() const { return stop_.get_token(); }
    /// Throws Interrupted when a signal has come.
    void check() const;

  private:
    void watch();

    sigset_t watched_{}, before_{};
    std::stop_source stop_;
    std::atomic<int> came_ = 0;
    std::atomic<bool> ending_ = false;
    std::thread watcher_;
};

}  // namespace orvix::cli
