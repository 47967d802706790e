#include "cli/output_options.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <filesystem>
#include <iostream>

#include "base/run_end.h"

namespace orvix::cli {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const std::string& option, const std::string& what) {
    throw CLI::ValidationError(option, what);
}

/// Whether the standard output is a pipe that nobody reads any more.
bool readerIsGone() {
    pollfd watched{STDOUT_FILENO, POLLOUT, 0};
    return poll(&watched, 1, 0) == 1 && (watched.revents & POLLERR) != 0;
}

}  // namespace

bool sameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    if (fs::equivalent(a, b, error) && !error) {
        return true;
    }
    const fs::path first = fs::weakly_canonical(fs::absolute(a), error);
    return !error && first == fs::weakly_canonical(fs::absolute(b), error) && !error;
}

void requireOutput(const std::string& output, const std::vector<std::string>& inputs,
                   const std::string& option) {
    if (output.empty()) {
        refuse(option, "the name of the file to write is empty");
    }
    std::error_code error;
    if (fs::is_directory(output, error)) {
        refuse(option, output + " is a directory");
    }
    for (const std::string& input : inputs) {
        if (sameFile(output, input) && fs::is_regular_file(output, error)) {
            refuse(option, output + " is the input and would be overwritten");
        }
    }
}

void writeResult(const std::string& text) {
    if (std::cout << text << std::flush) {
        return;
    }
    if (readerIsGone()) {
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    throw RunError("the standard output can't be written");
}

}  // namespace orvix::cli
