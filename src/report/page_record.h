#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::report {

/// What a page says of its making.
struct PageOrigin {
    std::string program, version;  ///< of the program that writes the page
    std::string written;    ///< time of writing, UTC, as 2026-01-31T12:00:00Z; empty: not said
    std::string predicted;  ///< time of the prediction likewise; not used for an index
};

/// A restraint file that the page offers: exactly the bytes of `text`.
struct RestraintText {
    std::string format;  ///< cyana, cns or nef
    std::string file;    ///< name under which it is saved
    std::string text;
};

/// The record of `proteinPage` (schema orvix-report, version 1) around a record of results.
/// `comparison` is the record of `orvix compare` for these results, null for none.
nlohmann::ordered_json proteinRecord(nlohmann::ordered_json results,
                                     const std::vector<RestraintText>& restraints,
                                     const PageOrigin& origin,
                                     nlohmann::ordered_json comparison = {});

/// The record of `checkPage` (schema orvix-check-page, version 1) around the record of a check.
nlohmann::ordered_json checkRecord(nlohmann::ordered_json check, const PageOrigin& origin);

/// The row of one protein in an index, from its record of results. `name` is shown; `page` is the
/// path of its page from the index, empty for none. What the results do not hold, or hold in
/// another type than they should, is null or counts as missing.
nlohmann::ordered_json indexEntry(const nlohmann::ordered_json& results, const std::string& name,
                                  const std::string& page);

/// An input of a batch without a prediction.
struct FailedInput {
    std::string name, reason;
};

/// The record of `indexPage` (schema orvix-report-index, version 1). `entries` are made by
/// `indexEntry`, `directory` is shown as the title.
nlohmann::ordered_json indexRecord(std::vector<nlohmann::ordered_json> entries,
                                   const std::vector<FailedInput>& failures,
                                   const std::string& directory, const PageOrigin& origin);

/// `page` with `record` at its `recordMark`. No text of the record can end the element that it
/// stands in; what is no UTF-8 becomes replacement characters.
std::string pageWithRecord(std::string_view page, const nlohmann::ordered_json& record);

}  // namespace orvix::report
