#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "networks/weight_table.h"

namespace orvix::networks {

/// The text of one weight table, open for reading: the header is understood, the rows are read in
/// parts that may go to different threads.
class WeightText {
  public:
    /// A stretch of the file that begins and ends with whole lines.
    struct Part {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    WeightText() = default;
    ~WeightText();
    WeightText(const WeightText&) = delete;
    WeightText& operator=(const WeightText&) = delete;

    /// Opens a regular file and reads its header; false when either is out of the ordinary.
    bool open(const std::string& path, WeightRules rules, int columns);

    /// Bytes behind the FORMAT line.
    std::size_t bodySize() const { return size_ - body_; }

    /// The body in up to `count` parts of about the same size, at least one.
    std::vector<Part> split(int count) const;

    /// Appends the rows of a part; false when a line is one that the table class has rules for.
    bool readRows(const Part& part, WeightTable& table) const;

  private:
    bool readHeader();
    bool takeNames(std::string_view line);
    bool takeFormats(std::string_view line);
    std::size_t lineStart(std::size_t from) const;
    bool parseLines(const char* p, const char* end, std::vector<double>& cells,
                    WeightTable& table) const;

    int descriptor_ = -1;
    std::size_t size_ = 0;
    std::size_t body_ = 0;
    WeightRules rules_ = WeightRules::typed;
    std::size_t columns_ = 0;         // weights in a row
    std::vector<std::size_t> slots_;  // column of the file -> weight, bias (columns_) or none
};

}  // namespace orvix::networks
