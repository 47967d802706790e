#include "search/text_blocks.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvix {

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

bool TextBlocks::next(std::vector<char>& block) {
    // The block keeps its memory from call to call; only its content counts.
    std::size_t length = rest_.size();
    block.resize(length + blockSize + 1);
    if (length > 0) {
        std::memcpy(block.data(), rest_.data(), length);
        rest_.clear();
    }
    while (!atEnd_) {
        const std::size_t old = length;
        length += readInto(block.data() + old, block.size() - old - 1);
        const char* const begin = block.data() + old;
        const void* const found = length > old ? memrchr(begin, '\n', length - old) : nullptr;
        if (found != nullptr && !atEnd_) {
            const auto used =
                static_cast<std::size_t>(static_cast<const char*>(found) - block.data()) + 1;
            rest_.assign(block.data() + used, block.data() + length);
            block.resize(used);
            return true;
        }
        if (!atEnd_) {
            if (length > longestLine) {
                lineTooLong_ = true;
                atEnd_ = true;
                return false;
            }
            block.resize(block.size() + length);
        }
    }
    if (length > 0 && block[length - 1] != '\n') {
        block[length++] = '\n';
    }
    block.resize(length);
    return length > 0;
}

}  // namespace orvix
