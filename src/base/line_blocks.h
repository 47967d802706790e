#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <string>

namespace orvix {

/// Some whole lines, each with its line feed.
class LineBlock {
  public:
    /// Bytes readable before the first and behind the last one; they hold anything.
    static constexpr std::size_t margin = 64;

    const char* begin() const { return memory_.get() + margin; }
    const char* end() const { return begin() + length_; }
    std::size_t size() const { return length_; }

  private:
    friend class LineBlocks;
    char* data() { return memory_.get() + margin; }
    void provide(std::size_t room);

    std::unique_ptr<char[]> memory_ = std::make_unique<char[]>(2 * margin);
    std::size_t room_ = 0;
    std::size_t length_ = 0;
};

/// Reads a text file, or a pipe, front to back in blocks of whole lines. Lines may hold any byte.
class LineBlocks {
  public:
    /// Most bytes of a block, but for a longer line, which makes a block of its own size.
    static constexpr std::size_t blockSize = std::size_t{1} << 19;

    /// Opens `path`; see `isOpen`. The reading ends before a block with a line that is much longer
    /// than `longestLine` bytes.
    explicit LineBlocks(const std::string& path,
                        std::size_t longestLine = std::numeric_limits<std::size_t>::max());
    ~LineBlocks();
    LineBlocks(const LineBlocks&) = delete;
    LineBlocks& operator=(const LineBlocks&) = delete;

    /// False when the file can't be read; a directory can't.
    bool isOpen() const { return file_ >= 0; }
    /// Size of the file in bytes, 0 for a pipe.
    std::size_t fileSize() const { return fileSize_; }

    /// Puts the next lines into `block`; the last line of the file gets a line feed if it has none.
    /// False at the end of the file, or when lineTooLong(). A read error ends the file.
    bool next(LineBlock& block);
    bool lineTooLong() const { return lineTooLong_; }

    /// Works through the rest of the file on up to `threads` threads. `take` is called for each
    /// block in file order, by one thread at a time, until it answers false; what it gets is the
    /// number of the block, from 0. `work` then follows for that block on the same thread while
    /// others take the next ones. Neither may throw.
    void share(int threads, const std::function<bool(const LineBlock&, std::size_t)>& take,
               const std::function<void(const LineBlock&, std::size_t)>& work);

  private:
    const std::size_t longestLine_;
    int file_ = -1;
    std::size_t fileSize_ = 0;
    bool lineTooLong_ = false;
    bool atEnd_ = false;
    LineBlock rest_;  // what was read and not given out: the begin of the next line
};

}  // namespace orvix
