#include "cli/library_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <streambuf>

#include "base/run_end.h"
#include "cli/command.h"
#include "cli/signal_watch.h"

namespace orvix::cli {
namespace {

// First byte of what the child sends at its end.
constexpr char finishedMark = 'F';
constexpr char rejectedMark = 'R';
constexpr char failedMark = 'E';
// Stands in front of what was written to the standard error stream.
constexpr char warningMark = '\x01';

void writeAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = write(descriptor, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return;
        }
        done += static_cast<std::size_t>(n);
    }
}

// ---- the child ----------------------------------------------------------------------------------

int resultDescriptor = -1;
bool readingInput = false;
std::string nameOfInput;

[[noreturn]] void leave(char mark, const std::string& text) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    writeAll(resultDescriptor, mark + text);
    _exit(0);
}

/// A message of the library without its indent and its last words.
std::string plainMessage(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\n");
    if (first == std::string::npos) {
        return {};
    }
    std::string plain = text.substr(first, text.find_last_not_of(" \t\n") + 1 - first);
    const std::string exitWords = ", exit ...";
    if (plain.size() > exitWords.size() &&
        plain.compare(plain.size() - exitWords.size(), std::string::npos, exitWords) == 0) {
        plain.resize(plain.size() - exitWords.size());
    }
    return plain;
}

/// Unusable input ends the library with status -1, and in whatever way while it is read.
void takeEnd(int status, const std::string& errorText) {
    std::string message = plainMessage(errorText);
    if (message.empty()) {
        message = "the run ended early without a message";
    }
    if (readingInput || status == -1) {
        leave(rejectedMark, nameOfInput + ": " + message);
    }
    leave(failedMark, message);
}

/// Marks whole lines and keeps them in order with those of the standard output.
class WarningBuffer : public std::streambuf {
  protected:
    int_type overflow(int_type character) override {
        if (traits_type::eq_int_type(character, traits_type::eof())) {
            return traits_type::not_eof(character);
        }
        line_ += traits_type::to_char_type(character);
        if (line_.back() == '\n') {
            std::cout.flush();
            std::fflush(stdout);
            writeAll(STDOUT_FILENO, warningMark + line_);
            line_.clear();
        }
        return character;
    }

  private:
    std::string line_;
};

[[noreturn]] void runChild(const std::function<std::string(LibraryStage&)>& work, int logEnd,
                           int resultEnd, pid_t parent, SignalWatch* signals) {
    if (signals != nullptr) {
        signals->release();
        // A signal to the whole group is for the parent to answer.
        for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
            std::signal(signal, SIG_IGN);
        }
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(1);
    }
    std::signal(SIGPIPE, SIG_DFL);
    dup2(logEnd, STDOUT_FILENO);
    dup2(logEnd, STDERR_FILENO);
    close(logEnd);
    resultDescriptor = resultEnd;
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    // Not to be destroyed ahead of the stream that writes to it.
    std::cerr.rdbuf(new WarningBuffer);
    // The library reads the directory separator off PATH.
    const char* path = std::getenv("PATH");
    if (path == nullptr || std::strchr(path, '/') == nullptr) {
        setenv("PATH", "/usr/bin:/bin", 1);
    }
    try {
        LibraryStage stage;
        leave(finishedMark, work(stage));
    } catch (const InputRejected& error) {
        leave(rejectedMark, error.what());
    } catch (const RunError& error) {
        leave(failedMark, error.what());
    } catch (const RunEnd& end) {
        takeEnd(end.status(), end.text());
    } catch (const std::exception& error) {
        leave(failedMark, error.what());
    } catch (...) {
        leave(failedMark, "the run failed for an unknown reason");
    }
}

// ---- the parent ---------------------------------------------------------------------------------

class Pipe {
  public:
    Pipe() {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0) {
            throw RunError(std::string("can't start the run: ") + std::strerror(errno));
        }
    }
    ~Pipe() {
        closeRead();
        closeWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int readEnd() const { return ends_[0]; }
    int writeEnd() const { return ends_[1]; }
    void closeRead() { closeEnd(ends_[0]); }
    void closeWrite() { closeEnd(ends_[1]); }
    /// Appends what is there; false at the end.
    bool take(std::string& text) {
        std::array<char, 65536> block;
        const ssize_t n = read(readEnd(), block.data(), block.size());
        if (n > 0) {
            text.append(block.data(), static_cast<std::size_t>(n));
            return true;
        }
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
            return true;
        }
        closeRead();
        return false;
    }

  private:
    static void closeEnd(int& end) {
        if (end >= 0) {
            close(end);
            end = -1;
        }
    }
    std::array<int, 2> ends_ = {-1, -1};
};

/// The child; killed and waited for if it is still there at the end.
class Child {
  public:
    explicit Child(pid_t id) : id_(id) {}
    ~Child() {
        if (id_ > 0) {
            kill(id_, SIGKILL);
            wait();
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    int wait() {
        int status = 0;
        while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        id_ = -1;
        return status;
    }

  private:
    pid_t id_;
};

/// Cuts the log into lines as it comes in.
class LogReader {
  public:
    explicit LogReader(const LibraryListener& listener) : listener_(listener) {}

    std::string& pending() { return pending_; }
    const std::string& log() const { return log_; }

    void takeLines(bool atEnd) {
        std::size_t begin = 0;
        for (std::size_t end = pending_.find('\n'); end != std::string::npos;
             end = pending_.find('\n', begin)) {
            takeLine(pending_.substr(begin, end - begin));
            begin = end + 1;
        }
        pending_.erase(0, begin);
        if (atEnd && !pending_.empty()) {
            takeLine(pending_);
            pending_.clear();
        }
    }

  private:
    void takeLine(std::string line) {
        // A warning may come in the middle of a status line.
        const std::size_t mark = line.find(warningMark);
        const bool warning = mark != std::string::npos;
        log_.append(line, 0, mark);
        line.erase(0, warning ? mark + 1 : 0);
        log_ += (warning ? line : "") + '\n';
        const auto& tell = warning ? listener_.warning : listener_.status;
        if (tell && line.find_first_not_of(" \t") != std::string::npos) {
            tell(line);
        }
    }

    const LibraryListener& listener_;
    std::string pending_, log_;
};

std::string earlyEnd(int status) {
    if (WIFSIGNALED(status)) {
        return std::string("the run was ended by a signal: ") + strsignal(WTERMSIG(status));
    }
    return "the run ended early with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

void LibraryStage::setReadingInput(bool reading) {
    readingInput = reading;
}

LibraryOutcome runLibrary(const std::function<std::string(LibraryStage&)>& work,
                          const std::string& inputName, const LibraryListener& listener,
                          SignalWatch* signals) {
    Pipe logPipe, resultPipe;
    // What is still in a buffer would be written by both processes.
    std::cout.flush();
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t id = fork();
    if (id < 0) {
        throw RunError(std::string("can't start the run: ") + std::strerror(errno));
    }
    if (id == 0) {
        nameOfInput = inputName;
        runChild(work, logPipe.writeEnd(), resultPipe.writeEnd(), parent, signals);
    }
    Child child(id);
    logPipe.closeWrite();
    resultPipe.closeWrite();

    LogReader log(listener);
    std::string result;
    bool logOpen = true, resultOpen = true;
    while (logOpen || resultOpen) {
        // poll passes over negative descriptors.
        std::array<pollfd, 3> watched = {
            {{logPipe.readEnd(), POLLIN, 0},
             {resultPipe.readEnd(), POLLIN, 0},
             {signals == nullptr ? -1 : signals->descriptor(), POLLIN, 0}}};
        if (poll(watched.data(), watched.size(), -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            throw RunError(std::string("can't follow the run: ") + std::strerror(errno));
        }
        if (watched[2].revents != 0) {
            signals->check();
        }
        if (watched[0].revents != 0) {
            logOpen = logPipe.take(log.pending());
            log.takeLines(!logOpen);
        }
        if (watched[1].revents != 0) {
            resultOpen = resultPipe.take(result);
        }
    }
    const int status = child.wait();
    if (result.empty() || !WIFEXITED(status)) {
        throw RunError(earlyEnd(status));
    }
    const char mark = result[0];
    result.erase(0, 1);
    if (mark == rejectedMark) {
        throw InputRejected(result);
    }
    if (mark == failedMark) {
        throw RunError(result);
    }
    return {result, log.log()};
}

}  // namespace orvix::cli
