// The one way by which text files are read.
#include "base/line_blocks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "base/parallel.h"

namespace orvix {
namespace {

// read(2) that isn't troubled by signals; -1 on failure, 0 at the end.
ssize_t readSome(int file, char* to, std::size_t count) {
    ssize_t got = 0;
    do {
        got = ::read(file, to, count);
    } while (got < 0 && errno == EINTR);
    return got;
}

}  // namespace

// Keeps what is there.
void LineBlock::provide(std::size_t room) {
    if (room > room_) {
        std::unique_ptr<char[]> larger(new char[room + 2 * margin]);
        std::copy(begin(), end(), larger.get() + margin);
        memory_ = std::move(larger);
        room_ = room;
    }
}

LineBlocks::LineBlocks(const std::string& path, std::size_t longestLine)
    : longestLine_(longestLine), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) {
        return;
    }
    struct stat status {};
    if (::fstat(file_, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        fileSize_ = static_cast<std::size_t>(status.st_size);
    }
    // A directory opens but can't be read, so the first bytes decide.
    constexpr std::size_t firstRoom = 4096;
    rest_.provide(firstRoom);
    const ssize_t got = readSome(file_, rest_.data(), firstRoom);
    if (got < 0) {
        ::close(file_);
        file_ = -1;
        return;
    }
    rest_.length_ = static_cast<std::size_t>(got);
    atEnd_ = got == 0;
}

LineBlocks::~LineBlocks() {
    if (file_ >= 0) {
        ::close(file_);
    }
}

bool LineBlocks::next(LineBlock& block) {
    block.length_ = 0;
    std::swap(block, rest_);
    std::size_t& length = block.length_;
    // Behind the room is a place for the line feed of the last line.
    std::size_t room = std::max(blockSize, length);
    block.provide(room + 1);
    while (!atEnd_) {
        while (length < room && !atEnd_) {
            const ssize_t got = readSome(file_, block.data() + length, room - length);
            length += got > 0 ? static_cast<std::size_t>(got) : 0;
            atEnd_ = got <= 0;
        }
        if (atEnd_) {
            break;
        }
        const void* const feed = ::memrchr(block.begin(), '\n', length);
        if (feed != nullptr) {
            const char* const behind = static_cast<const char*>(feed) + 1;
            rest_.length_ = 0;
            rest_.provide(static_cast<std::size_t>(block.end() - behind));
            std::copy(behind, block.end(), rest_.data());
            rest_.length_ = static_cast<std::size_t>(block.end() - behind);
            length -= rest_.length_;
            return true;
        }
        if (length > longestLine_) {
            lineTooLong_ = true;
            atEnd_ = true;
            length = 0;
            return false;
        }
        room *= 2;
        block.provide(room + 1);
    }
    if (length > 0 && block.end()[-1] != '\n') {
        block.data()[length++] = '\n';
    }
    return length > 0;
}

void LineBlocks::share(int threads, const std::function<bool(const LineBlock&, std::size_t)>& take,
                       const std::function<void(const LineBlock&, std::size_t)>& work) {
    std::mutex mutex;
    bool ended = false;
    std::size_t taken = 0;
    parallelFor(threads, threads, [&](int) {
        LineBlock block;
        while (true) {
            std::unique_lock<std::mutex> hold(mutex);
            if (ended || !next(block) || !take(block, taken)) {
                ended = true;
                return;
            }
            const std::size_t number = taken++;
            hold.unlock();
            work(block, number);
        }
    });
}

}  // namespace orvix
