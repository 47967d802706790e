#include "cli/run_talk.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "base/text.h"
#include "base/version.h"

namespace orvix::cli {
namespace {

constexpr int shownWarnings = 10;
constexpr std::size_t widestStatus = 78;

}  // namespace

RunTalk::RunTalk(std::string rest)
    : rest_(std::move(rest)), terminal_(isatty(STDERR_FILENO) == 1) {}

LibraryListener RunTalk::listener() {
    LibraryListener listener;
    if (terminal_) {
        listener.status = [this](const std::string& line) { show(line); };
    }
    listener.warning = [this](const std::string& line) { warn(line); };
    return listener;
}

void RunTalk::show(const std::string& text) {
    std::cerr << "\r\033[K" << text.substr(0, widestStatus) << std::flush;
    shown_ = true;
}

void RunTalk::warn(const std::string& text) {
    if (++warnings_ <= shownWarnings) {
        clear();
        std::cerr << programName << ": " << simplifyWhiteSpace(text) << '\n';
    }
}

void RunTalk::clear() {
    if (shown_) {
        std::cerr << "\r\033[K" << std::flush;
        shown_ = false;
    }
}

void RunTalk::finish() {
    clear();
    if (warnings_ > shownWarnings) {
        std::cerr << programName << ": " << warnings_ - shownWarnings << " more warnings"
                  << (rest_.empty() ? "" : ", see " + rest_) << '\n';
        warnings_ = 0;
    }
}

}  // namespace orvix::cli
