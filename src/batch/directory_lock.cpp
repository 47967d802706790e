#include "batch/directory_lock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/run_end.h"

namespace orvix::batch {
namespace {

enum class Outcome { locked, taken };

Outcome lockFile(const std::string& path, short kind, int& descriptor) {
    descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        throw RunError(path + ": can't be opened for writing: " + std::strerror(errno));
    }
    struct flock range {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    // Bound to the open file, so that it also holds between two users in one process.
    if (fcntl(descriptor, F_OFD_SETLK, &range) == 0) {
        return Outcome::locked;
    }
    if (errno == EACCES || errno == EAGAIN) {
        return Outcome::taken;
    }
    throw RunError(path + ": can't be locked: " + std::strerror(errno));
}

}  // namespace

DirectoryLock::DirectoryLock(const std::string& output, const std::string& part) {
    const std::string state = output + "/" + stateDirectory;
    std::error_code error;
    std::filesystem::create_directories(state, error);
    if (error) {
        throw RunError("can't make the directory " + state + ": " + error.message());
    }
    try {
        Outcome outcome = lockFile(state + "/lock", part.empty() ? F_WRLCK : F_RDLCK, whole_);
        if (outcome == Outcome::locked && !part.empty()) {
            outcome = lockFile(state + "/lock" + part, F_WRLCK, part_);
        }
        if (outcome == Outcome::taken) {
            throw RunError(output + ": another batch is at work in this directory");
        }
    } catch (...) {
        release();
        throw;
    }
}

DirectoryLock::~DirectoryLock() {
    release();
}

void DirectoryLock::release() {
    for (const int descriptor : {part_, whole_}) {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
}

}  // namespace orvix::batch
