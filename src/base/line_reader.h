#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace orvix {

/// Reads a text file line by line in large blocks. A line ends at a line feed, which isn't part of
/// it; a last line without one counts. Lines may be of any length and hold any byte.
class LineReader {
  public:
    LineReader() = default;

    /// Opens `path`; see `isOpen`.
    explicit LineReader(const std::string& path) { open(path); }

    ~LineReader() { close(); }
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    /// Opens `path`. False when it can't be read; a directory can't.
    bool open(const std::string& path);

    void close();
    bool isOpen() const { return descriptor_ >= 0; }

    /// Gives the next line, valid until the next call; false at the end of the file.
    bool next(std::string_view& line);

  private:
    bool fill();

    int descriptor_ = -1;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;    // start of what wasn't given out yet
    std::size_t scanned_ = 0;  // no line feed in [begin_, scanned_)
    std::size_t end_ = 0;      // end of what was read
    bool atEnd_ = false;
};

/// Replaces `text` by the whole content of `path`; false when it can't be opened or read.
bool readWholeFile(const std::string& path, std::string& text);

}  // namespace orvix
