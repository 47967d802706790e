#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <streambuf>
#include <string>
#include <vector>

/// Files of the data tools: tab-separated tables, output that appears when it is complete, a place
/// for what nobody wants.
namespace orvix::tool {

namespace fs = std::filesystem;

/// Ends the tool with status 1.
[[noreturn]] inline void fail(const std::string& text) {
    std::cerr << "orvix-data: " << text << '\n';
    std::exit(1);
}

// ---- text tables --------------------------------------------------------------------------------

using Row = std::map<std::string, std::string>;

/// Rows of a tab-separated table, cells by the names in its first line.
inline std::vector<Row> readTsv(const fs::path& path) {
    std::ifstream in(path);
    if (!in) {
        fail("can't open " + path.string());
    }
    const auto cells = [](const std::string& line) {
        std::vector<std::string> out(1);
        for (const char c : line) {
            if (c == '\t') {
                out.emplace_back();
            } else {
                out.back() += c;
            }
        }
        return out;
    };
    std::string line;
    std::getline(in, line);
    const std::vector<std::string> names = cells(line);
    std::vector<Row> rows;
    while (std::getline(in, line)) {
        const std::vector<std::string> values = cells(line);
        Row row;
        for (std::size_t i = 0; i < std::min(names.size(), values.size()); ++i) {
            row[names[i]] = values[i];
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// A file that gets its final name only when it is complete.
class NewFile {
  public:
    explicit NewFile(const fs::path& path)
        : path_(path),
          part_(path.string() + ".part"),
          file_(std::fopen(part_.c_str(), "wb"), &std::fclose) {
        if (file_ == nullptr) {
            fail("can't write " + part_.string());
        }
    }
    std::FILE* get() const { return file_.get(); }
    void finish() {
        const bool bad = std::ferror(file_.get()) != 0;
        if (std::fclose(file_.release()) != 0 || bad) {
            fail("can't write " + part_.string());
        }
        fs::rename(part_, path_);
    }

  private:
    fs::path path_, part_;
    File file_;
};

/// Silences the progress lines of a run while it lives.
class Quiet {
  public:
    Quiet() : out_(std::cout.rdbuf(nullptr)), err_(std::cerr.rdbuf(nullptr)) {}
    ~Quiet() {
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(err_);
        std::cout.clear();
        std::cerr.clear();
    }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

  private:
    std::streambuf *out_, *err_;
};

/// Where the runs leave the tables that nobody wants.
class ScratchDirectory {
  public:
    ScratchDirectory() {
        std::error_code none;
        std::string name = (fs::temp_directory_path(none) / "orvix-data-XXXXXX").string();
        if (none || mkdtemp(name.data()) == nullptr) {
            fail("can't make a directory for temporary files; does that of TMPDIR exist?");
        }
        path_ = name;
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;
    fs::path path() const { return path_; }

  private:
    fs::path path_;
};

}  // namespace orvix::tool
