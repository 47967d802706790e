#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace orvix::cli {

/// Name of the page in a directory of results.
inline constexpr const char* pageFile = "report.html";

/// The bytes of a file. Throws InputRejected when it can't be read or is empty.
std::string readText(const std::string& file);

/// The report page of a finished prediction with its restraint files as `orvix export` writes them
/// by default. `text` is the content of the results file `source`, `predicted` its time, UTC with
/// a Z, or empty; `comparison` is a file of `orvix compare --json` for these results, or empty.
/// Throws InputRejected for a text that is no results file, and for a comparison that is none of
/// it.
std::string predictionPage(const std::string& text, const std::string& source,
                           const std::string& predicted, const std::string& comparison = {});

/// The page of a shift check, from its record.
std::string checkPage(const nlohmann::ordered_json& record);

}  // namespace orvix::cli
