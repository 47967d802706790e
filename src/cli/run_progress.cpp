#include "cli/run_progress.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "base/text.h"
#include "base/version.h"

namespace orvix::cli {
namespace {

constexpr int shownWarnings = 10;
constexpr std::size_t widestStatus = 78;

/// Appends `text` to what is pending and hands on the lines that are whole.
template <typename Take>
void takeLines(std::string& pending, const std::string& text, Take take) {
    pending += text;
    std::size_t begin = 0;
    for (std::size_t end = pending.find('\n'); end != std::string::npos;
         end = pending.find('\n', begin)) {
        if (const std::string line = simplifyWhiteSpace(pending.substr(begin, end - begin));
            !line.empty()) {
            take(line);
        }
        begin = end + 1;
    }
    pending.erase(0, begin);
}

}  // namespace

RunProgress::RunProgress(std::string rest)
    : rest_(std::move(rest)), terminal_(isatty(STDERR_FILENO) == 1) {}

void RunProgress::hear(const Message& message) {
    if (message.stream == Message::Stream::err) {
        takeLines(pendingWarning_, message.text, [this](const std::string& line) { warn(line); });
    } else if (terminal_) {
        takeLines(pendingStatus_, message.text, [this](const std::string& line) { show(line); });
    }
}

void RunProgress::show(const std::string& line) {
    std::cerr << "\r\033[K" << line.substr(0, widestStatus) << std::flush;
    shown_ = true;
}

void RunProgress::warn(const std::string& line) {
    if (++warnings_ <= shownWarnings) {
        clear();
        std::cerr << programName << ": " << line << '\n';
    }
}

void RunProgress::clear() {
    if (shown_) {
        std::cerr << "\r\033[K" << std::flush;
        shown_ = false;
    }
}

void RunProgress::finish() {
    clear();
    if (warnings_ > shownWarnings) {
        std::cerr << programName << ": " << warnings_ - shownWarnings << " more warnings"
                  << (rest_.empty() ? "" : ", see " + rest_) << '\n';
        warnings_ = 0;
    }
}

}  // namespace orvix::cli
