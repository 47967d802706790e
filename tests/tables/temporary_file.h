#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A file of its own for one test, removed at its end.
class TemporaryFile {
  public:
    TemporaryFile() {
        static int count = 0;
        path_ = testing::TempDir() + "tables_" + std::to_string(::getpid()) + "_" +
                std::to_string(count++) + ".tab";
    }

    explicit TemporaryFile(const std::string& content) : TemporaryFile() {
        std::ofstream(path_, std::ios::binary) << content;
    }

    ~TemporaryFile() { std::remove(path_.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }

    std::string content() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

  private:
    std::string path_;
};

/// What `action` writes to the standard error stream.
template <typename Action>
std::string errorOutput(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}
