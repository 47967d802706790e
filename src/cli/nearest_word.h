#pragma once

#include <string>
#include <vector>

namespace orvix::cli {

/// The one of `known` that `word` was most likely meant to be; empty when none is near. Swapped
/// neighbours count as one change. The first of equals.
std::string nearestWord(const std::string& word, const std::vector<std::string>& known);

}  // namespace orvix::cli
