#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "compare/comparison.h"

namespace orvix::compare {

inline constexpr std::string_view comparisonSchema = "orvix-compare";
inline constexpr int comparisonVersion = 1;

/// The comparison as the text of a JSON record (docs/compare.md); `source` is the results file.
std::string comparisonRecord(const results::FinishedPrediction& prediction,
                             const Comparison& comparison, const std::string& source);

/// One line for each residue and model, tab separated, with a head line; "." for what is missing.
std::string comparisonTable(const results::FinishedPrediction& prediction,
                            const Comparison& comparison);

/// Reads the text of a comparison's record for a page of `prediction`; `name` stands for it in
/// messages. Throws InputRejected for a text of another kind and for one of another prediction.
nlohmann::ordered_json parseComparison(const std::string& text, const std::string& name,
                                       const results::FinishedPrediction& prediction);

}  // namespace orvix::compare
