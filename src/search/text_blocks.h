#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orvix::search {

/// Some whole lines, each with its line feed, in memory that may be read a little beyond either
/// end.
class TextBlock {
  public:
    /// Bytes readable before the first and behind the last one; they hold anything.
    static constexpr std::size_t margin = 64;

    const char* begin() const { return memory_.data() + margin; }
    const char* end() const { return begin() + length_; }
    std::size_t size() const { return length_; }

  private:
    friend class TextBlocks;
    std::vector<char> memory_ = std::vector<char>(2 * margin);
    std::size_t length_ = 0;
};

/// Reads a file, or a pipe, front to back in blocks of whole lines.
class TextBlocks {
  public:
    /// Target size of a block. One line may be longer, up to `longestLine`.
    static constexpr std::size_t blockSize = std::size_t{1} << 19;
    static constexpr std::size_t longestLine = std::size_t{1} << 24;

    /// A path that can't be opened, or that is a directory, leaves isOpen() false.
    explicit TextBlocks(const std::string& path);
    ~TextBlocks();
    TextBlocks(const TextBlocks&) = delete;
    TextBlocks& operator=(const TextBlocks&) = delete;

    bool isOpen() const { return file_ >= 0; }
    /// Size of the file in bytes, 0 for a pipe.
    std::size_t fileSize() const { return fileSize_; }
    /// Puts the next lines into `block`; the last line of the file gets a line feed if it has none.
    /// False at the end of the file, or when lineTooLong().
    bool next(TextBlock& block);
    /// Whether the reading ended at a line longer than `longestLine`.
    bool lineTooLong() const { return lineTooLong_; }

  private:
    std::size_t readInto(char* to, std::size_t room);

    int file_ = -1;
    std::size_t fileSize_ = 0;
    bool lineTooLong_ = false;
    bool atEnd_ = false;
    std::vector<char> rest_;  ///< begin of a line whose end was not in the last block
};

}  // namespace orvix::search
