#include "results/output_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <ostream>

#include "base/run_end.h"
#include "base/streams.h"
#include "base/version.h"
#include "results/results_file.h"

namespace orvix::results {
namespace {

namespace fs = std::filesystem;

std::string systemText(int problem) {
    return std::strerror(problem);
}

/// The path with links resolved and without a slash at its end, so that it can be renamed.
fs::path resolved(const std::string& name) {
    std::error_code error;
    fs::path path = fs::weakly_canonical(fs::absolute(name), error);
    if (error) {
        throw RunError("can't use " + name + " as a directory: " + error.message());
    }
    return path.has_filename() ? path : path.parent_path();
}

void requireReplaceable(const fs::path& path, bool replace) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    if (!fs::exists(status)) {
        return;
    }
    if (!replace) {
        throw RunError(path.string() + " exists; name another directory, or replace it by --force");
    }
    if (!fs::is_directory(status)) {
        throw RunError(path.string() + " is not a directory; --force replaces directories only");
    }
    if (!fs::is_empty(path, error) && !holdsResults(path.string())) {
        throw RunError(path.string() + " holds no earlier prediction (no " +
                       std::string(resultsFile) +
                       " of this program); --force does not replace such a directory");
    }
}

bool isUnsupported(int problem) {
    return problem == EINVAL || problem == ENOSYS || problem == ENOTSUP;
}

}  // namespace

OutputDirectory::OutputDirectory(const std::string& finalName, bool replace) : replace_(replace) {
    const fs::path path = resolved(finalName);
    final_ = path.string();
    requireReplaceable(path, replace);
    makeParents(path.parent_path());
    std::string pattern =
        (path.parent_path() / ("." + path.filename().string() + ".orvix-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) {
        const int problem = errno;
        removeParents();
        throw RunError("can't write to " + path.parent_path().string() + ": " +
                       systemText(problem));
    }
    work_ = pattern;
    // The final directory has the permissions that any new directory would have.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(work_.c_str(), 0777 & ~mask);
}

OutputDirectory::~OutputDirectory() {
    if (!work_.empty()) {
        std::error_code ignored;
        fs::remove_all(work_, ignored);
        removeParents();
    }
}

void OutputDirectory::makeParents(const fs::path& parent) {
    std::vector<fs::path> missing;
    std::error_code error;
    for (fs::path one = parent; !fs::exists(fs::symlink_status(one, error));
         one = one.parent_path()) {
        missing.push_back(one);
    }
    while (!missing.empty()) {
        if (!fs::create_directory(missing.back(), error) && error) {
            const std::string name = missing.back().string();
            removeParents();
            throw RunError("can't make the directory " + name + ": " + error.message());
        }
        parents_.push_back(missing.back());
        missing.pop_back();
    }
    if (!fs::is_directory(parent, error)) {
        throw RunError(parent.string() + " is not a directory, nothing can be written to it");
    }
}

void OutputDirectory::removeParents() {
    std::error_code ignored;
    for (; !parents_.empty(); parents_.pop_back()) {
        // One that somebody has put a file into stays.
        fs::remove(parents_.back(), ignored);
    }
}

void OutputDirectory::publish() {
    if (renameat2(AT_FDCWD, work_.c_str(), AT_FDCWD, final_.c_str(), RENAME_NOREPLACE) == 0) {
        work_.clear();
        return;
    }
    int problem = errno;
    if (isUnsupported(problem)) {
        std::error_code error;
        problem = EEXIST;
        if (!fs::exists(fs::symlink_status(final_, error))) {
            if (std::rename(work_.c_str(), final_.c_str()) == 0) {
                work_.clear();
                return;
            }
            problem = errno;
        }
    }
    if (problem != EEXIST) {
        throw RunError("can't name the results " + final_ + ": " + systemText(problem));
    }
    requireReplaceable(final_, replace_);
    replaceExisting();
}

void OutputDirectory::replaceExisting() {
    std::string old = work_;
    if (renameat2(AT_FDCWD, work_.c_str(), AT_FDCWD, final_.c_str(), RENAME_EXCHANGE) != 0) {
        if (!isUnsupported(errno)) {
            throw RunError("can't replace " + final_ + ": " + systemText(errno));
        }
        // Without the exchange there is a moment without either, but never a mixture.
        old = work_ + ".old";
        if (std::rename(final_.c_str(), old.c_str()) != 0) {
            throw RunError("can't replace " + final_ + ": " + systemText(errno));
        }
        if (std::rename(work_.c_str(), final_.c_str()) != 0) {
            const int problem = errno;
            if (std::rename(old.c_str(), final_.c_str()) != 0) {
                throw RunError("can't replace " + final_ + ": " + systemText(problem) +
                               "; the earlier prediction is now " + old);
            }
            throw RunError("can't replace " + final_ + ": " + systemText(problem));
        }
    }
    work_.clear();
    std::error_code error;
    fs::remove_all(old, error);
    if (error) {
        orvix::err() << programName << ": warning: can't remove the earlier prediction, now " << old
                     << ": " << error.message() << '\n';
    }
}

}  // namespace orvix::results
