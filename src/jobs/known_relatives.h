#pragma once

#include <optional>
#include <string>

namespace orvix {
class Model;
struct Prediction;
struct Settings;
}  // namespace orvix

namespace orvix::jobs {

/// Identity from which on a protein of the database counts as a relative that a user should know
/// of.
inline constexpr int usualRelativePercent = 90;

/// Looks the query of `checked` up in the database and names its relatives in one line, empty
/// without any. With `percentLeftOut` those of this identity and more are to be left out: adds
/// their sources to the exclusions of `settings`.
std::string findRelatives(const Model& model, const Prediction& checked,
                          std::optional<int> percentLeftOut, Settings& settings);

}  // namespace orvix::jobs
