#include "cli/signal_watch.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "cli/command.h"

namespace orvix::cli {

SignalWatch::SignalWatch() {
    sigset_t watched;
    sigemptyset(&watched);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&watched, signal);
        }
    }
    if (sigprocmask(SIG_BLOCK, &watched, &before_) != 0) {
        throw RunError(std::string("can't watch for signals: ") + std::strerror(errno));
    }
    descriptor_ = signalfd(-1, &watched, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor_ < 0) {
        const int problem = errno;
        sigprocmask(SIG_SETMASK, &before_, nullptr);
        throw RunError(std::string("can't watch for signals: ") + std::strerror(problem));
    }
}

SignalWatch::~SignalWatch() {
    release();
}

void SignalWatch::check() {
    signalfd_siginfo info{};
    if (read(descriptor_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        throw Interrupted{static_cast<int>(info.ssi_signo)};
    }
}

void SignalWatch::release() {
    if (descriptor_ >= 0) {
        close(descriptor_);
        descriptor_ = -1;
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
}

}  // namespace orvix::cli
