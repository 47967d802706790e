#include "base/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "base/run_end.h"

namespace orvix {
namespace {

/// Holds signals of the calling thread back as long as it lives.
class SignalsHeld {
  public:
    SignalsHeld() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

  private:
    sigset_t before_{};
};

[[noreturn]] void fail(const std::string& path, int problem) {
    throw RunError(path + ": can't be written: " + std::strerror(problem));
}

/// Writes to `descriptor` and closes it; 0 or the cause of a failure.
int fill(int descriptor, std::string_view content) {
    int problem = writeAll(descriptor, content) ? 0 : errno;
    if (close(descriptor) != 0 && problem == 0) {
        problem = errno;
    }
    return problem;
}

/// The permissions of `path` if it is there, else those of any new file.
mode_t permissionsFor(const std::string& path) {
    struct stat there {};
    if (stat(path.c_str(), &there) == 0) {
        return there.st_mode & 0777U;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

}  // namespace

bool writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(descriptor, content.data(), content.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

void writeWholeFile(const std::string& path, std::string_view content) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        fail(path, EISDIR);
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        const int problem = descriptor < 0 ? errno : fill(descriptor, content);
        if (problem != 0) {
            fail(path, problem);
        }
        return;
    }
    const fs::path final = fs::weakly_canonical(fs::absolute(path), error);
    if (error || !final.has_filename()) {
        fail(path, error ? error.value() : EISDIR);
    }
    std::string fresh =
        (final.parent_path() / ("." + final.filename().string() + ".orvix-XXXXXX")).string();
    const SignalsHeld held;
    const int descriptor = mkstemp(fresh.data());
    if (descriptor < 0) {
        fail(path, errno);
    }
    fchmod(descriptor, permissionsFor(final.string()));
    int problem = fill(descriptor, content);
    if (problem == 0 && std::rename(fresh.c_str(), final.c_str()) != 0) {
        problem = errno;
    }
    if (problem != 0) {
        unlink(fresh.c_str());
        fail(path, problem);
    }
}

}  // namespace orvix
