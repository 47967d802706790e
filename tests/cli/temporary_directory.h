#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

/// A directory of its own for one test, removed with all it holds.
class TemporaryDirectory {
  public:
    TemporaryDirectory() : path_(testing::TempDir() + "companion_XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string path(const std::string& name) const { return path_ + "/" + name; }
    void write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << text;
    }
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

/// The message of the error of type `Error` that `action` throws; empty when it throws none.
template <typename Error, typename Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}
