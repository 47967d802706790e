#include "search/text_blocks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace orvix::search {

TextBlocks::TextBlocks(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status {};
    if (file_ < 0) {
        return;
    }
    if (fstat(file_, &status) != 0 || S_ISDIR(status.st_mode)) {
        close(file_);
        file_ = -1;
    } else if (S_ISREG(status.st_mode) && status.st_size > 0) {
        fileSize_ = static_cast<std::size_t>(status.st_size);
    }
}

TextBlocks::~TextBlocks() {
    if (file_ >= 0) {
        close(file_);
    }
}

std::size_t TextBlocks::readInto(char* to, std::size_t room) {
    std::size_t have = 0;
    while (have < room) {
        const ssize_t got = read(file_, to + have, room - have);
        if (got > 0) {
            have += static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            // An error in the middle ends the text like its end.
            atEnd_ = true;
            break;
        }
    }
    return have;
}

bool TextBlocks::next(TextBlock& block) {
    // The block keeps its memory from call to call; only its length counts.
    const auto provide = [&block](std::size_t room) {
        const std::size_t size = room + 2 * TextBlock::margin;
        if (block.memory_.size() < size) {
            block.memory_.resize(size);
        }
        return block.memory_.data() + TextBlock::margin;
    };
    std::size_t length = rest_.size();
    std::size_t room = length + blockSize;
    char* text = provide(room + 1);
    if (length > 0) {
        std::memcpy(text, rest_.data(), length);
        rest_.clear();
    }
    block.length_ = 0;
    while (!atEnd_) {
        const std::size_t old = length;
        length += readInto(text + old, room - old);
        const void* const found = length > old ? memrchr(text + old, '\n', length - old) : nullptr;
        if (found != nullptr && !atEnd_) {
            block.length_ = static_cast<std::size_t>(static_cast<const char*>(found) - text) + 1;
            rest_.assign(text + block.length_, text + length);
            return true;
        }
        if (!atEnd_) {
            if (length > longestLine) {
                lineTooLong_ = true;
                atEnd_ = true;
                return false;
            }
            room += length;
            text = provide(room + 1);
        }
    }
    if (length > 0 && text[length - 1] != '\n') {
        text[length++] = '\n';
    }
    block.length_ = length;
    return length > 0;
}

}  // namespace orvix::search
