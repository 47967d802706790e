#pragma once

#include <csignal>

namespace orvix::cli {

/// A signal came that asks the program to end. Thrown so that what was begun is cleaned up; the
/// program then ends itself by the same signal.
struct Interrupted {
    int signal = 0;
};

/// Holds back SIGINT, SIGTERM and SIGHUP while it lives, so that they arrive at chosen points only.
/// Signals that the process ignores stay ignored.
class SignalWatch {
  public:
    /// Throws RunError when the system refuses.
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    /// Readable once a signal has come.
    int descriptor() const { return descriptor_; }
    /// Throws Interrupted when a signal has come.
    void check();
    /// In a forked child: signals act there as they did before the watch.
    void release();

  private:
    sigset_t before_;
    int descriptor_ = -1;
};

}  // namespace orvix::cli
