#pragma once

#include <cstdio>
#include <string>

#include "base/process.h"

namespace orvix {

/// Writes a text file in large blocks. Text is appended to `text()`, each line closed by `endLine`.
class TextWriter {
  public:
    /// Opens `path`, truncating it; see `isOpen`.
    explicit TextWriter(const std::string& path)
        : path_(path), file_(std::fopen(path.c_str(), "wb")) {}

    ~TextWriter() {
        if (file_ != nullptr) {
            flush();
            finishFile(file_, path_);
            std::fclose(file_);
        }
    }

    TextWriter(const TextWriter&) = delete;
    TextWriter& operator=(const TextWriter&) = delete;

    bool isOpen() const { return file_ != nullptr; }
    std::string& text() { return text_; }

    void endLine() {
        text_ += '\n';
        if (text_.size() >= blockSize) {
            flush();
        }
    }

  private:
    static constexpr std::size_t blockSize = std::size_t{1} << 18;

    void flush() {
        std::fwrite(text_.data(), 1, text_.size(), file_);
        text_.clear();
    }

    std::string path_;
    std::FILE* file_;
    std::string text_;
};

}  // namespace orvix
