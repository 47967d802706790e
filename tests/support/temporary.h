#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace orvix::test {

/// The whole text of a file; empty when there is none.
inline std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A directory of its own for one test, removed with all it holds.
class TemporaryDirectory {
  public:
    TemporaryDirectory() : path_(testing::TempDir() + "XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no temporary directory " + path_);
        }
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }
    std::string path(const std::string& name) const { return path_ + "/" + name; }

    /// Writes a file, with the directories it lies in; its path.
    std::string write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }
    std::string read(const std::string& name) const { return contents(path(name)); }
    /// Names of what it holds, hidden ones too.
    std::set<std::string> names(const std::string& below = "") const {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path(below))) {
            found.insert(entry.path().filename().string());
        }
        return found;
    }

  private:
    std::string path_;
};

/// A file of its own for one test, removed at its end.
class TemporaryFile {
  public:
    /// Only the name; nothing stands there yet.
    TemporaryFile() : path_(directory_.path("file.tab")) {}
    explicit TemporaryFile(const std::string& text) : TemporaryFile() {
        std::ofstream(path_, std::ios::binary) << text;
    }

    const std::string& path() const { return path_; }
    std::string content() const { return contents(path_); }

  private:
    TemporaryDirectory directory_;
    std::string path_;
};

}  // namespace orvix::test
