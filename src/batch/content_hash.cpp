#include "batch/content_hash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <vector>

#include "base/run_end.h"
#include "images/image_format.h"

namespace orvix::batch {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t blockSize = std::size_t{1} << 18;

/// An open file, closed at the end.
class OpenFile {
  public:
    explicit OpenFile(const std::string& path)
        // Without O_NONBLOCK a pipe without a writer would hold the caller up.
        : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~OpenFile() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

[[noreturn]] void unreadable(const std::string& path, const std::string& why) {
    throw InputRejected(path + ": can't be read: " + why);
}

}  // namespace

struct ContentHash::State {
    std::unique_ptr<XXH3_state_t, XXH_errorcode (*)(XXH3_state_t*)> xxh{XXH3_createState(),
                                                                        XXH3_freeState};
    void update(const void* data, std::size_t size) { XXH3_128bits_update(xxh.get(), data, size); }
    void length(std::uint64_t value) {
        unsigned char bytes[8];
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(value & 0xFFU);
            value >>= 8U;
        }
        update(bytes, sizeof bytes);
    }
};

ContentHash::ContentHash() : state_(std::make_unique<State>()) {
    if (state_->xxh == nullptr) {
        throw std::bad_alloc();
    }
    XXH3_128bits_reset(state_->xxh.get());
}

ContentHash::~ContentHash() = default;

void ContentHash::add(std::string_view text) {
    state_->length(text.size());
    state_->update(text.data(), text.size());
}

void ContentHash::addFile(const std::string& path, std::size_t limit) {
    const OpenFile file(path);
    struct stat status {};
    if (file.descriptor() < 0 || fstat(file.descriptor(), &status) != 0) {
        unreadable(path, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        unreadable(path, "it is no regular file");
    }
    std::vector<char> block(blockSize);
    std::uint64_t size = 0;
    for (;;) {
        const ssize_t count = read(file.descriptor(), block.data(), block.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            unreadable(path, std::strerror(errno));
        }
        if (count == 0) {
            break;
        }
        size += static_cast<std::uint64_t>(count);
        if (size > limit) {
            throw InputRejected(path + ": is larger than " + std::to_string(limit >> 20U) +
                                " MiB, which no shift file is");
        }
        state_->update(block.data(), static_cast<std::size_t>(count));
    }
    state_->length(size);
}

std::string ContentHash::digits() const {
    const XXH128_hash_t hash = XXH3_128bits_digest(state_->xxh.get());
    char text[33];
    std::snprintf(text, sizeof text, "%016llx%016llx", static_cast<unsigned long long>(hash.high64),
                  static_cast<unsigned long long>(hash.low64));
    return text;
}

std::string directoryHash(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::recursive_directory_iterator at(directory, error), end; !error && at != end;
         at.increment(error)) {
        const bool hidden = at->path().filename().string().starts_with('.');
        std::error_code ignored;
        if (hidden && at->is_directory(ignored)) {
            at.disable_recursion_pending();
        } else if (!hidden && at->path().filename() != images::imageName &&
                   at->is_regular_file(ignored)) {
            names.push_back(at->path().lexically_relative(directory).string());
        }
    }
    if (error) {
        unreadable(directory, error.message());
    }
    std::sort(names.begin(), names.end());
    ContentHash hash;
    for (const std::string& name : names) {
        hash.add(name);
        hash.addFile((fs::path(directory) / name).string());
    }
    return hash.digits();
}

}  // namespace orvix::batch
