#pragma once

#include <string>
#include <vector>

namespace orvix {

/// A piece of what a run says: a status text (for the standard output) or a warning (for the
/// standard error stream), as it stands, with its line feeds.
struct Message {
    enum class Stream { out, err };
    Stream stream = Stream::out;
    std::string text;
    bool operator==(const Message&) const = default;
};

}  // namespace orvix
