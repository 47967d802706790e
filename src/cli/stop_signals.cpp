#include "cli/stop_signals.h"

namespace orvix::cli {

StopSignals::StopSignals() {
    sigemptyset(&watched_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&watched_, signal);
        }
    }
    // Wakes the watcher at the end, whatever else is ignored.
    sigaddset(&watched_, SIGUSR2);
    pthread_sigmask(SIG_BLOCK, &watched_, &before_);
    watcher_ = std::thread([this] { watch(); });
}

StopSignals::~StopSignals() {
    ending_ = true;
    pthread_kill(watcher_.native_handle(), SIGUSR2);
    watcher_.join();
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void StopSignals::watch() {
    int signal = 0;
    while (!ending_) {
        if (sigwait(&watched_, &signal) == 0 && signal != SIGUSR2) {
            came_ = signal;
            stop_.request_stop();
        }
    }
}

void StopSignals::check() const {
    if (came_ != 0) {
        throw Interrupted{came_};
    }
}

}  // namespace orvix::cli
