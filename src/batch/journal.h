#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "results/finished_prediction.h"

namespace orvix::batch {

/// Counts of a finished prediction, as the list of a batch has them.
inline constexpr std::array<std::string_view, 10> countNames = {
    "residues", "predicted", "strong", "generous", "warn",
    "dyn",      "bad",       "none",   "outliers", "gross"};
using Counts = std::array<int, countNames.size()>;
Counts countsOf(const results::FinishedPrediction& finished);

/// A job that came to its end.
struct JournalEntry {
    std::string name;
    std::string key;  ///< hash of all that its result depends on
    Counts counts{};
    bool operator==(const JournalEntry&) const = default;
};

/// The record of finished jobs of an output directory: one line for each, appended only after its
/// results are safe on the disk. A line that was not written whole is not there: every line begins
/// with a hash of its rest.
class Journal {
  public:
    /// Opens the journal of one part for appending and reads those of all parts. Throws RunError.
    Journal(const std::string& stateDirectory, const std::string& part);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    /// The last entry of that name; nullptr for none. Valid until the next `append`.
    const JournalEntry* find(const std::string& name) const;
    /// Adds entries and brings them to the disk. Throws RunError.
    void append(const std::vector<JournalEntry>& entries);

  private:
    void readAll(const std::string& path);

    std::string path_;
    int descriptor_ = -1;
    std::map<std::string, JournalEntry> entries_;
};

}  // namespace orvix::batch
