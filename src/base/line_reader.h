#pragma once

#include <string>
#include <string_view>

#include "base/line_blocks.h"

namespace orvix {

/// Reads a text file line by line. A line ends at a line feed, which isn't part of it; a last line
/// without one counts. Lines may be of any length and hold any byte.
class LineReader {
  public:
    /// Opens `path`; see `isOpen`.
    explicit LineReader(const std::string& path) : blocks_(path) {}

    /// False when the file can't be read; a directory can't.
    bool isOpen() const { return blocks_.isOpen(); }

    /// Gives the next line, valid until the next call; false at the end of the file.
    bool next(std::string_view& line);

  private:
    LineBlocks blocks_;
    LineBlock block_;
    const char* at_ = block_.end();  // start of what wasn't given out of the block
};

}  // namespace orvix
