#include "base/line_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orvix {
namespace {

constexpr std::size_t blockSize = std::size_t{1} << 20;

// read(2) that isn't troubled by signals; -1 on failure, 0 at the end.
ssize_t readSome(int descriptor, char* to, std::size_t count) {
    ssize_t got = 0;
    do {
        got = ::read(descriptor, to, count);
    } while (got < 0 && errno == EINTR);
    return got;
}

}  // namespace

bool LineReader::open(const std::string& path) {
    close();
    descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) {
        return false;
    }
    if (!buffer_) {
        buffer_.reset(new char[blockSize]);
        capacity_ = blockSize;
    }
    // A directory opens but can't be read, so the first block decides.
    const ssize_t got = readSome(descriptor_, buffer_.get(), capacity_);
    if (got < 0) {
        close();
        return false;
    }
    end_ = static_cast<std::size_t>(got);
    atEnd_ = got == 0;
    return true;
}

void LineReader::close() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    descriptor_ = -1;
    begin_ = scanned_ = end_ = 0;
    atEnd_ = false;
}

// Reads one more block behind what is there; false at the end of the file. A read error inside a
// file ends it there.
bool LineReader::fill() {
    if (atEnd_) {
        return false;
    }
    if (begin_ > 0) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        end_ -= begin_;
        scanned_ -= begin_;
        begin_ = 0;
    }
    if (capacity_ - end_ < blockSize / 2) {
        std::unique_ptr<char[]> larger(new char[capacity_ * 2]);
        std::memcpy(larger.get(), buffer_.get(), end_);
        buffer_ = std::move(larger);
        capacity_ *= 2;
    }
    const ssize_t got = readSome(descriptor_, buffer_.get() + end_, capacity_ - end_);
    if (got <= 0) {
        atEnd_ = true;
        return false;
    }
    end_ += static_cast<std::size_t>(got);
    return true;
}

bool LineReader::next(std::string_view& line) {
    if (!isOpen()) {
        return false;
    }
    scanned_ = begin_;
    while (true) {
        const char* from = buffer_.get() + scanned_;
        const void* feed = std::memchr(from, '\n', end_ - scanned_);
        if (feed != nullptr) {
            const std::size_t at =
                static_cast<std::size_t>(static_cast<const char*>(feed) - buffer_.get());
            line = std::string_view(buffer_.get() + begin_, at - begin_);
            begin_ = at + 1;
            return true;
        }
        scanned_ = end_;
        if (!fill()) {
            break;
        }
    }
    if (begin_ == end_) {
        return false;
    }
    line = std::string_view(buffer_.get() + begin_, end_ - begin_);
    begin_ = end_;
    return true;
}

bool readWholeFile(const std::string& path, std::string& text) {
    text.clear();
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    struct stat status;
    std::size_t room = blockSize;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size >= 0) {
        // One byte more than the size lets the last read see the end without growing the text.
        room = static_cast<std::size_t>(status.st_size) + 1;
    }
    std::size_t used = 0;
    ssize_t got = 0;
    while (true) {
        if (used == text.size()) {
            text.resize(used == 0 ? room : used * 2);
        }
        got = readSome(descriptor, text.data() + used, text.size() - used);
        if (got <= 0) {
            break;
        }
        used += static_cast<std::size_t>(got);
    }
    ::close(descriptor);
    text.resize(used);
    return got == 0;
}

}  // namespace orvix
