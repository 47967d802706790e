#pragma once

#include <string>

namespace orvix {

/// A line of what a run says, with its line feed: a status (for the standard output) or a warning
/// (for the standard error stream).
struct Message {
    enum class Stream { out, err };
    Stream stream = Stream::out;
    std::string text;
    bool operator==(const Message&) const = default;
};

}  // namespace orvix
