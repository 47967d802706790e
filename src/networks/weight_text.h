#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/line_blocks.h"
#include "networks/weight_table.h"

namespace orvix::networks {

/// Reader of the text of one weight table: the header is understood, then the blocks of rows go to
/// any number of threads.
class WeightText {
  public:
    WeightText(WeightRules rules, int columns)
        : rules_(rules), columns_(columns > 0 ? static_cast<std::size_t>(columns) : 0) {}

    /// Reads a regular file on up to `threads` threads, 0 for as many as its size is worth. Nothing
    /// when a line is one that the table class has rules for.
    std::optional<WeightTable> read(const std::string& path, int threads);

  private:
    /// Returns the first line behind the FORMAT line; null for a header out of the ordinary.
    const char* readHeader(const LineBlock& block);
    bool takeNames(std::string_view line);
    bool takeFormats(std::string_view line);
    bool readRows(const char* p, const char* end, WeightTable& table) const;

    const WeightRules rules_;
    const std::size_t columns_;       // weights in a row
    std::vector<std::size_t> slots_;  // column of the file -> weight, bias (columns_) or none
};

}  // namespace orvix::networks
