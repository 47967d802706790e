#include "base/line_reader.h"

#include <cstring>

namespace orvix {

bool LineReader::next(std::string_view& line) {
    if (at_ == block_.end()) {
        if (!isOpen() || !blocks_.next(block_)) {
            at_ = block_.end();
            return false;
        }
        at_ = block_.begin();
    }
    const void* const feed = std::memchr(at_, '\n', static_cast<std::size_t>(block_.end() - at_));
    const char* const end = static_cast<const char*>(feed);
    line = std::string_view(at_, static_cast<std::size_t>(end - at_));
    at_ = end + 1;
    return true;
}

}  // namespace orvix
