#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace orvix::batch {

/// The 128 bit hash (XXH3) of a sequence of texts. Each text enters with its length, so that their
/// borders count too.
class ContentHash {
  public:
    ContentHash();
    ~ContentHash();
    ContentHash(const ContentHash&) = delete;
    ContentHash& operator=(const ContentHash&) = delete;

    void add(std::string_view text);
    /// The content of a regular file of at most `limit` bytes. Throws InputRejected.
    void addFile(const std::string& path, std::size_t limit = ~std::size_t{0});
    /// 32 hexadecimal digits.
    std::string digits() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Hash of the names and contents of all files below `directory`. Hidden ones are left out, and
/// prepared images, which change no result. Throws
/// InputRejected for a file that can't be read.
std::string directoryHash(const std::string& directory);

}  // namespace orvix::batch
