#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orvix {

/// Reads a file, or a pipe, front to back in blocks of whole lines.
class TextBlocks {
  public:
    /// Target size of a block. One line may be longer, up to `longestLine`.
    static constexpr std::size_t blockSize = std::size_t{1} << 20;
    static constexpr std::size_t longestLine = std::size_t{1} << 24;

    /// A path that can't be opened, or that is a directory, leaves isOpen() false.
    explicit TextBlocks(const std::string& path);
    ~TextBlocks();
    TextBlocks(const TextBlocks&) = delete;
    TextBlocks& operator=(const TextBlocks&) = delete;

    bool isOpen() const { return file_ >= 0; }
    /// Size of the file in bytes, 0 for a pipe.
    std::size_t fileSize() const { return fileSize_; }
    /// Puts the next lines into `block`, each with its line feed (the last line of the file gets
    /// one if it has none). False at the end of the file, or when lineTooLong().
    bool next(std::vector<char>& block);
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

}  // namespace orvix
